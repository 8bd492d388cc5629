#pragma once
// The information file that goes with each picture of the images folder: one record of 1000
// bytes holding a plain text, one byte a character.
#include <string>
#include <string_view>

namespace bm::storage {

constexpr size_t kPictureInfoLength = 1000;

// The information file's name: the picture's name up to and including its first "." followed by
// "log" ("castle.v2.jpg" goes with "castle.log").
std::string pictureInfoName(std::string_view pictureName);

// The text of the record: the file's first 1000 bytes, padded with blanks to 1000 characters
// (an empty file gives a blank text).
std::string pictureInfoText(std::string_view fileBytes);

}  // namespace bm::storage
