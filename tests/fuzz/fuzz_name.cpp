// Fuzz target: the bytes of a name file, read as the menu reads record 1.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "storage/menu_files.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const auto name = bm::storage::parseNameRecord(bytes);
    if (!name) return 0;
    // Both texts come from the 40 bytes of the record, and the title starts with the first name.
    if (name->firstName.size() > 39 || name->showTitle.size() > 39) std::abort();
    if (name->firstName.find('@') != std::string::npos) std::abort();
    if (name->showTitle.compare(0, name->firstName.size(), name->firstName) != 0) std::abort();
    // The record written for that name and suffix reads back the same.
    const std::string suffix = name->showTitle.substr(name->firstName.size());
    const std::string record = bm::storage::nameRecord(name->firstName, suffix);
    if (record.size() != bm::storage::kNameRecordLength) std::abort();
    const auto back = bm::storage::parseNameRecord(record);
    if (!back || back->showTitle != name->showTitle) std::abort();
    return 0;
}
