// Fuzz target: the bytes of a password file, read as the menu reads record 1.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "storage/menu_files.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const std::string password = bm::storage::parsePasswordRecord(bytes);
    if (password.size() > bm::storage::kPasswordLength) std::abort();
    if (password.find('\0') != std::string::npos) std::abort();
    if (!password.empty() && (password.front() == ' ' || password.back() == ' ')) std::abort();
    // Written back, the record has its fixed length and gives the same password.
    const std::string record = bm::storage::passwordRecord(password);
    if (record.size() != bm::storage::kPasswordRecordLength) std::abort();
    if (bm::storage::parsePasswordRecord(record) != password) std::abort();
    return 0;
}
