// File services: folder listings, record files and the header probes of pictures and sounds.
#include <gtest/gtest.h>

#include <filesystem>

#include "platform/errors.h"
#include "platform/files.h"
#include "tests/harness.h"

namespace bm::test {
namespace {

std::string le32(uint32_t v) {
    return {static_cast<char>(v), static_cast<char>(v >> 8), static_cast<char>(v >> 16),
            static_cast<char>(v >> 24)};
}

TEST(Files, ListingsMatchPatternsAndSortLikeAFileList) {
    TestGame t(Options{false, 0});
    std::filesystem::create_directory(t.path("images"));
    for (const char* name : {"b.GIF", "a.jpg", "C.bmp", "a.log", "d.jpeg"})
        t.writeFile(std::string("images/") + name, "x");
    EXPECT_EQ(listFiles(t.path("images"), "*.jpg;*.gif;*.bmp"),
              (std::vector<std::string>{"a.jpg", "b.GIF", "C.bmp"}));
    EXPECT_EQ(errorOf([&] { listFiles(t.path("nothing"), "*.*"); }), err::kPathNotFound);
    EXPECT_EQ(errorOf([&] { fileLen(t.path("nothing.wav")); }), err::kFileNotFound);
}

TEST(Files, RecordFilesCreateReadPastTheEndAndReplaceWhole) {
    TestGame t(Options{false, 0});
    RecordFile f(t.path("r.log"), 4);
    EXPECT_TRUE(fileExists(t.path("r.log")));
    EXPECT_EQ(f.get(3), std::string(4, '\0'));
    f.put(2, "abcdef");  // cut to the record length; record 1 is filled with zero bytes
    EXPECT_EQ(t.readFile("r.log"), std::string(4, '\0') + "abcd");
    f.put(1, "xy");
    EXPECT_EQ(t.readFile("r.log"), std::string("xy\0\0abcd", 8));
    EXPECT_EQ(errorOf([&] { RecordFile(t.path("no/such/folder/r.log"), 4); }), err::kPathNotFound);
}

TEST(Files, PictureHeadersGiveSizesOrInvalidPicture) {
    TestGame t(Options{false, 0});
    writeBmp(t.path("a.bmp"), 33, 21);
    writeGifHeader(t.path("b.gif"), 320, 200);
    EXPECT_EQ(probePicture(t.path("a.bmp")).width, 33);
    EXPECT_EQ(probePicture(t.path("a.bmp")).height, 21);
    EXPECT_EQ(probePicture(t.path("b.gif")).format, "gif");
    t.writeFile("c.jpg", "not a picture");
    EXPECT_EQ(errorOf([&] { probePicture(t.path("c.jpg")); }), err::kInvalidPicture);
    EXPECT_EQ(errorOf([&] { probePicture(t.path("d.jpg")); }), err::kFileNotFound);
}

TEST(Files, WaveLengthsAndDamagedWaves) {
    TestGame t(Options{false, 0});
    writeWave(t.path("a.wav"), 0.25);
    EXPECT_NEAR(waveDuration(t.path("a.wav")), 0.25, 1e-3);
    EXPECT_EQ(waveDuration(t.path("missing.wav")), 0);
    // A chunk that claims almost 4 GiB must end the walk, not wrap round to a step of nothing.
    std::string huge =
        "RIFF" + le32(100) + "WAVE" + "junk" + le32(0xFFFFFFF8u) + std::string(16, 'x');
    EXPECT_EQ(waveDurationBytes(huge), 0);
    std::string noFormat = "RIFF" + le32(100) + "WAVE" + "data" + le32(8) + std::string(8, 'x');
    EXPECT_EQ(waveDurationBytes(noFormat), 0);
}

}  // namespace
}  // namespace bm::test
