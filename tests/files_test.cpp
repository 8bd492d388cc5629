// File services: folder listings, record files and the header probes of pictures and sounds.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "platform/errors.h"
#include "platform/files.h"
#include "tests/harness.h"

namespace bm::test {
namespace {

// The names in a folder, sorted.
std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

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

TEST(Files, ASaveRemovesWhatAnInterruptedSaveLeftAndKeepsTheFilesMode) {
    TestGame t(Options{false, 0});
    RecordFile f(t.path("r.log"), 4);
    ASSERT_EQ(::chmod(t.path("r.log").c_str(), 0640), 0);
    t.writeFile("r.log.Q7x2Zk.tmp", "stale");  // left by a save that was killed
    // Names that only look like ours belong to someone else.
    for (const char* other : {"r.log.Q7x2Z.tmp", "r.log.Q7-2Zk.tmp", "s.log.Q7x2Zk.tmp"})
        t.writeFile(other, "not ours");
    f.put(1, "abcd");
    EXPECT_EQ(t.readFile("r.log"), "abcd");
    EXPECT_EQ(namesIn(t.folder), (std::vector<std::string>{"r.log", "r.log.Q7-2Zk.tmp",
                                                           "r.log.Q7x2Z.tmp", "s.log.Q7x2Zk.tmp"}));
    struct stat st;
    ASSERT_EQ(::stat(t.path("r.log").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0640u);
}

TEST(Files, AReadOnlyLinkedOrOddTargetIsAFailedWriteThatLeavesIt) {
    TestGame t(Options{false, 0});
    t.writeFile("r.log", "old!");
    ASSERT_EQ(::chmod(t.path("r.log").c_str(), 0444), 0);
    EXPECT_EQ(errorOf([&] { RecordFile(t.path("r.log"), 4).put(1, "new!"); }),
              err::kPermissionDenied);
    EXPECT_EQ(t.readFile("r.log"), "old!");

    // A link is neither written through nor replaced by a file of its own.
    t.writeFile("elsewhere", "keep me");
    ASSERT_EQ(::symlink(t.path("elsewhere").c_str(), t.path("l.log").c_str()), 0);
    EXPECT_EQ(errorOf([&] { RecordFile(t.path("l.log"), 4).put(1, "new!"); }),
              err::kPathFileAccess);
    EXPECT_EQ(t.readFile("elsewhere"), "keep me");
    EXPECT_TRUE(std::filesystem::is_symlink(t.path("l.log")));

    // A pipe fails at once instead of waiting for a reader; so does a folder.
    ASSERT_EQ(::mkfifo(t.path("p.log").c_str(), 0644), 0);
    std::filesystem::create_directory(t.path("d.log"));
    for (const char* name : {"p.log", "d.log"})
        EXPECT_EQ(errorOf([&] { RecordFile(t.path(name), 4).putAll({"new!"}); }),
                  err::kPathFileAccess)
            << name;
    EXPECT_EQ(namesIn(t.folder),
              (std::vector<std::string>{"d.log", "elsewhere", "l.log", "p.log", "r.log"}));
}

TEST(Files, OnlyRegularFilesAreReadAndOnlyTheBytesAskedFor) {
    TestGame t(Options{false, 0});
    ASSERT_EQ(::mkfifo(t.path("pipe").c_str(), 0644), 0);
    ASSERT_EQ(::symlink("/dev/zero", t.path("zero").c_str()), 0);
    std::filesystem::create_directory(t.path("folder"));
    for (const char* name : {"pipe", "zero", "folder"}) {
        std::string p = t.path(name);
        EXPECT_FALSE(fileExists(p)) << name;
        EXPECT_EQ(fileStamp(p), 0u) << name;
        EXPECT_EQ(errorOf([&] { fileLen(p); }), err::kFileNotFound) << name;
        EXPECT_EQ(readFileBytes(p), "") << name;
        EXPECT_EQ(errorOf([&] { RecordFile(p, 48).getFirst(5); }), err::kPathFileAccess) << name;
    }
    // A sparse file of 1 GiB: reads take only their records; a write keeps the first MiB.
    t.writeFile("big.log", "rec1");
    ASSERT_EQ(::truncate(t.path("big.log").c_str(), 1LL << 30), 0);
    RecordFile big(t.path("big.log"), 4);
    EXPECT_EQ(big.get(1), "rec1");
    EXPECT_EQ(readFileBytes(t.path("big.log"), 6), std::string("rec1\0\0", 6));
    big.put(2, "rec2");
    EXPECT_EQ(fileLen(t.path("big.log")), 1 << 20);
    EXPECT_EQ(big.getFirst(3), std::string("rec1rec2\0\0\0\0", 12));
    EXPECT_EQ(errorOf([&] { big.get(0); }), err::kBadRecordNumber);
    EXPECT_EQ(errorOf([&] { big.put(1 << 20, "x"); }), err::kBadRecordNumber);
}

TEST(Files, GivingUpOnMissingFilesOrARunTimeErrorEndsWithAFailureStatus) {
    // Without the images folder ("Missing Directory"), and with fewer than five pictures
    // (re-install).
    for (int pictures : {-1, 2}) {
        TestGame g(Options{true, std::max(pictures, 0)});
        if (pictures < 0) std::filesystem::remove_all(g.path("images"));
        g.ui.answers.assign(3, mb::kAnswerOk);
        g.start();
        EXPECT_TRUE(g.rt->ended()) << pictures;
        EXPECT_EQ(g.rt->exitCode(), 1) << pictures;
    }
    TestGame g;
    g.start();
    EXPECT_EQ(g.rt->exitCode(), 0);
    g.rt->dispatch([] { raise(err::kDiskFull); });
    EXPECT_TRUE(g.rt->ended());
    EXPECT_EQ(g.rt->exitCode(), 1);
}

}  // namespace
}  // namespace bm::test
