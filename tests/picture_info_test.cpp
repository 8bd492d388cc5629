// The information files of the pictures.
#include <gtest/gtest.h>

#include "storage/picture_info.h"

namespace bm::storage {
namespace {

TEST(PictureInfo, NameStopsAtTheFirstDot) {
    EXPECT_EQ(pictureInfoName("castle.jpg"), "castle.log");
    EXPECT_EQ(pictureInfoName("castle.v2.jpg"), "castle.log");
    EXPECT_EQ(pictureInfoName("harbour.night.jpg"), "harbour.log");
}

TEST(PictureInfo, TextIsOneRecordOfAThousandCharacters) {
    EXPECT_EQ(pictureInfoText(""), std::string(1000, ' '));
    std::string text = pictureInfoText("Heather in bloom.");
    EXPECT_EQ(text.size(), 1000u);
    EXPECT_EQ(text.substr(0, 17), "Heather in bloom.");
    EXPECT_EQ(pictureInfoText(std::string(1500, 'x')), std::string(1000, 'x'));
}

}  // namespace
}  // namespace bm::storage
