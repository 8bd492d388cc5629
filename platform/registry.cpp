#include "platform/registry.h"

#include <cstdint>

#include "platform/errors.h"
#include "platform/ui.h"

namespace bm {

namespace {

std::string hexDigits(unsigned char byte) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string s;
    if (byte >= 16) s += kDigits[byte >> 4];
    s += kDigits[byte & 15];
    return s;
}

// "&h" followed by the digits, converted to a number the way a hexadecimal text converts.
std::string hexToDecimalText(const std::string& digits) {
    if (digits.empty()) return "&h";
    const size_t first = digits.find_first_not_of('0');
    const std::string significant = first == std::string::npos ? "" : digits.substr(first);
    if (significant.size() > 8) raise(err::kOverflow);
    const uint32_t bits = significant.empty() ? 0 : std::stoul(significant, nullptr, 16);
    if (significant.size() <= 4) return std::to_string(static_cast<int16_t>(bits));
    return std::to_string(static_cast<int32_t>(bits));
}

}  // namespace

std::optional<std::string> registryValueText(int type, std::string_view data) {
    if (data.empty()) raise(err::kInvalidProcedureCall);
    std::string_view kept = data.back() == '\0' ? data.substr(0, data.size() - 1) : data;
    switch (type) {
        case reg::kText:
            return std::string(kept);
        case reg::kNumber: {
            std::string digits;
            for (size_t k = kept.size(); k-- > 0;)
                digits += hexDigits(static_cast<unsigned char>(kept[k]));
            return hexToDecimalText(digits);
        }
        default:
            return std::nullopt;
    }
}

}  // namespace bm
