#include "storage/custdata.h"

#include "platform/errors.h"

namespace bm::storage {

std::string custDataValue(std::string_view line) {
    const size_t eq = line.find('=');
    std::string_view value = eq == std::string_view::npos ? line : line.substr(eq + 1);
    return std::string(value.substr(0, kCustDataValueLength));
}

CustData parseCustData(std::string_view bytes) {
    CustData data;
    size_t at = 0;
    for (std::string& line : data.lines) {
        if (at >= bytes.size()) {
            data.error = err::kInputPastEndOfFile;
            break;
        }
        const size_t end = bytes.find_first_of("\r\n", at);
        if (end == std::string_view::npos) {
            line = bytes.substr(at);
            at = bytes.size();
        } else {
            line = bytes.substr(at, end - at);
            at = end + 1;
            if (bytes[end] == '\r' && at < bytes.size() && bytes[at] == '\n') ++at;
        }
        ++data.linesRead;
    }
    data.name = custDataValue(data.lines[1]);
    data.company = custDataValue(data.lines[2]);
    return data;
}

}  // namespace bm::storage
