#include "storage/picture_info.h"

namespace bm::storage {

std::string pictureInfoName(std::string_view pictureName) {
    size_t dot = pictureName.find('.');
    std::string stem(dot == std::string_view::npos ? std::string_view{}
                                                   : pictureName.substr(0, dot + 1));
    return stem + "log";
}

std::string pictureInfoText(std::string_view fileBytes) {
    std::string text(fileBytes.substr(0, kPictureInfoLength));
    text.resize(kPictureInfoLength, ' ');
    return text;
}

}  // namespace bm::storage
