#include "storage/menu_files.h"

#include <algorithm>

#include "platform/vb.h"

namespace bm::storage {

namespace {
std::string fixed(std::string_view text, size_t length, char pad) {
    std::string field(text.substr(0, length));
    field.resize(length, pad);
    return field;
}
}  // namespace

std::optional<PlayerName> parseNameRecord(std::string_view record) {
    // A short file reads as if padded with blanks: the record read from it is filled up with zero
    // bytes, which end the text.
    record = record.substr(0, std::min(record.find('\0'), kNameRecordLength));
    const std::string field = trim(fixed(record, kNameRecordLength, ' '));
    const size_t at = field.find('@');
    if (at == std::string::npos) return std::nullopt;
    PlayerName name;
    name.firstName = field.substr(0, at);
    name.showTitle = name.firstName + trim(std::string_view(field).substr(at + 1, 40));
    return name;
}

std::string nameRecord(std::string_view firstName, std::string_view suffix) {
    std::string text(firstName);
    text += '@';
    text += suffix;
    return fixed(text, kNameRecordLength, ' ');
}

std::string parsePasswordRecord(std::string_view record) {
    const std::string full = fixed(record, kPasswordRecordLength, ' ');
    std::string_view field = std::string_view(full).substr(kPasswordOffset, kPasswordLength);
    // A record beyond the end of the file (an empty or new file) reads as zero bytes: the field
    // ends at its first zero byte, so such a record holds no password.
    field = field.substr(0, field.find('\0'));
    return trim(field);
}

std::string passwordRecord(std::string_view password) {
    std::string record(kPasswordRecordLength, '\0');
    record.replace(kPasswordOffset, kPasswordLength, fixed(password, kPasswordLength, ' '));
    return record;
}

}  // namespace bm::storage
