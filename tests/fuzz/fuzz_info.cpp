// Fuzz target: the information texts of the pictures, and the names that lead to them.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "storage/picture_info.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view bytes(reinterpret_cast<const char*>(data), size);
    std::string text = bm::storage::pictureInfoText(bytes);
    if (text.size() != bm::storage::kPictureInfoLength) std::abort();
    if (bytes.substr(0, text.size()) != std::string_view(text).substr(0, bytes.size()))
        std::abort();
    // The first line of the input, read as a picture's file name.
    std::string_view name = bytes.substr(0, bytes.find('\n'));
    std::string info = bm::storage::pictureInfoName(name);
    if (info.size() < 3 || info.compare(info.size() - 3, 3, "log") != 0) std::abort();
    if (info.size() > name.size() + 3) std::abort();
    return 0;
}
