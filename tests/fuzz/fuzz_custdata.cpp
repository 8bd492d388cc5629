// Fuzz target: the bytes of the owner's data file, read as the about box reads them.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "storage/custdata.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const bm::storage::CustData d = bm::storage::parseCustData(bytes);
    // Three lines read, or fewer and the end-of-file error.
    if (d.linesRead < 0 || d.linesRead > 3) std::abort();
    if ((d.error == 0) != (d.linesRead == 3)) std::abort();
    if (d.error != 0 && d.error != 62) std::abort();
    size_t total = 0;
    for (const auto& line : d.lines) {
        if (line.find_first_of("\r\n") != std::string::npos) std::abort();
        total += line.size();
    }
    if (total > size) std::abort();
    // The values shown are parts of their lines, never longer than 25 characters.
    if (d.name.size() > 25 || d.company.size() > 25) std::abort();
    if (d.lines[1].find(d.name) == std::string::npos) std::abort();
    if (d.lines[2].find(d.company) == std::string::npos) std::abort();
    return 0;
}
