#pragma once
// The start menu's two small files: the player's name (one 40-byte record) and the menu password
// (one 48-byte record of six fields, the password in the fourth).
#include <optional>
#include <string>
#include <string_view>

namespace bm::storage {

constexpr size_t kNameRecordLength = 40;
constexpr const char* kNameFile = "name.log";

struct PlayerName {
    std::string firstName;  // the text before the first "@"
    std::string showTitle;  // the first name and the trimmed 40 characters after the "@"
};
// Reads record 1 of the name file: the 40-character field, trimmed, split at its first "@".
// Nothing when the record holds no "@".
std::optional<PlayerName> parseNameRecord(std::string_view record);
// The record an installer writes: the first name, "@" and the suffix, blank-padded to 40.
std::string nameRecord(std::string_view firstName, std::string_view suffix);

constexpr size_t kPasswordRecordLength = 48;
constexpr size_t kPasswordOffset = 18;
constexpr size_t kPasswordLength = 10;
constexpr const char* kPasswordFile = "Inf.log";

// The password of record 1: field 4 up to its first zero byte, trimmed of blanks. A record of
// zero bytes (an empty file) holds the empty password.
std::string parsePasswordRecord(std::string_view record);
// A fresh record: zero bytes, with the password blank-padded (and cut) to 10 in field 4.
std::string passwordRecord(std::string_view password);

}  // namespace bm::storage
