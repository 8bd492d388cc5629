// The high-score file: its bytes, its defaults and how the table reads it.
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "platform/errors.h"
#include "platform/files.h"
#include "platform/vb.h"
#include "storage/scores_file.h"
#include "table/brindle.h"
#include "tests/harness.h"

namespace bm::test {
namespace {

std::string zeros(size_t n) {
    return std::string(n, '\0');
}

std::string record(const std::string& score, const std::string& run, const std::string& name) {
    return score + run + name + zeros(30);
}

// Writes the table 900, 800, 700, 600, 500 ("No Name" each) and returns it.
storage::ScoreTable writeKnownTable(const std::string& path) {
    storage::ScoreTable table = storage::defaultScoreTable();
    table.scores = {900, 800, 700, 600, 500};
    storage::writeScoreTable(path, table);
    return table;
}

// After the start: the default table, in memory and on the table's labels.
void expectDefaultTable(TestGame& g, const std::string& what) {
    const auto& h = g.state().high;
    for (size_t k = 0; k < 5; ++k) {
        EXPECT_EQ(h.HighScores[k], 0) << what;
        EXPECT_EQ(h.HighNames[k], "No Name") << what;
    }
    EXPECT_EQ(h.LowestHighScore, 0) << what;
    EXPECT_EQ(g.state().score.BestRun, 0) << what;
    EXPECT_EQ(g.table().LbHiScore.caption(), " 0") << what;
    EXPECT_EQ(g.table().LbHiRun.caption(), " 0") << what;
    EXPECT_EQ(g.table().LbHiName.caption(), "No Name") << what;
}

TEST(ScoresFile, RecordBytesCutAndPadTheFields) {
    EXPECT_EQ(storage::scoreRecord(12345, 7, "WENNA"), record(" 12345", " 7", "WENNA     "));
    EXPECT_EQ(storage::scoreRecord(0, 0, ""), record(" 0    ", " 0", "          "));
    // Six digits keep the blank and the first five; a two-digit run keeps its first digit.
    EXPECT_EQ(storage::scoreRecord(123456, 12, "ABCDEFGHIJKL"),
              record(" 12345", " 1", "ABCDEFGHIJ"));
    EXPECT_EQ(storage::scoreRecord(-50, 3, "X").substr(0, 8), "-50    3");
}

TEST(ScoresFile, MissingEmptyShortAndDamagedFilesFallBackToDefaults) {
    TestGame t;
    std::string path = t.path("Scores.log");
    auto expectDefaults = [&](const char* what) {
        TestGame g;
        g.writeFile("Scores.log", t.readFile("Scores.log"));
        g.start();
        expectDefaultTable(g, what);
    };

    {
        TestGame g;  // no file at all: created empty
        g.start();
        EXPECT_EQ(g.state().high.HighNames[0], "No Name");
        EXPECT_TRUE(fileExists(g.path("Scores.log")));
        EXPECT_EQ(fileLen(g.path("Scores.log")), 0);
    }
    t.writeFile("Scores.log", "");
    expectDefaults("empty");
    t.writeFile("Scores.log", record(" 900  ", " 7", "ANNA      "));
    expectDefaults("only record 1");
    std::string five;
    for (const char* s : {" 900  ", " 800  ", "abc   ", " 600  ", " 500  "})
        five += record(s, " 7", "ANNA      ");
    t.writeFile("Scores.log", five);
    expectDefaults("record 3 not a number");
}

TEST(ScoresFile, AGoodTableIsReadInFileOrder) {
    TestGame t;
    std::string five;
    const char* scores[] = {" 700  ", " 12345", " 900  ", " 0    ", " 50   "};
    for (int k = 0; k < 5; ++k)
        five += record(scores[k], k == 0 ? " 9" : " 1", "NAME" + std::to_string(k) + "     ");
    t.writeFile("Scores.log", five);
    t.start();
    const auto& h = t.state().high;
    EXPECT_EQ(h.HighScores[1], 12345);
    EXPECT_EQ(h.HighScores[2], 900);  // nothing sorts the file
    EXPECT_EQ(h.LowestHighScore, 50);
    EXPECT_EQ(h.HighNames[3], "NAME3");
    EXPECT_EQ(t.state().score.BestRun, 9);  // only record 1's run counts
    EXPECT_EQ(t.table().LbHiScore.caption(), "700");
    EXPECT_EQ(t.table().LbHiRun.caption(), " 9");
    EXPECT_EQ(t.table().LbHiName.caption(), "NAME0");
}

TEST(ScoresFile, SixDigitScoresAndLongRunsReadBackCut) {
    TestGame t;
    storage::ScoreTable table = storage::defaultScoreTable();
    table.scores = {123456, 99999, 5000, 400, 30};
    table.bestRun = 12;
    storage::writeScoreTable(t.path("Scores.log"), table);
    EXPECT_EQ(fileLen(t.path("Scores.log")), 240);
    storage::ScoreTable back = storage::readScoreTable(t.path("Scores.log"));
    EXPECT_EQ(back.scores[0], 12345);
    EXPECT_EQ(back.scores[1], 99999);
    EXPECT_EQ(back.bestRun, 1);
    EXPECT_EQ(back.names[2], "No Name");
}

TEST(ScoresFile, BestRecordRewriteKeepsTheOtherRecords) {
    TestGame t;
    std::string path = t.path("Scores.log");
    storage::ScoreTable table = writeKnownTable(path);
    std::string before = t.readFile("Scores.log");
    storage::writeBestRecord(path, 900, 14, "No Name");
    std::string after = t.readFile("Scores.log");
    EXPECT_EQ(after.substr(48), before.substr(48));
    EXPECT_EQ(after.substr(0, 8), " 900   1");
    // On an empty file the rewrite leaves exactly one record.
    t.writeFile("Scores.log", "");
    storage::writeBestRecord(path, 0, 3, "No Name");
    EXPECT_EQ(fileLen(path), 48);
}

TEST(ScoresFile, ANewTableKeepsADamagedFileThatStillHoldsScoresBesideIt) {
    TestGame t;
    std::string path = t.path("Scores.log");
    const std::string damaged = path + storage::kDamagedSuffix;
    storage::ScoreTable table = storage::defaultScoreTable();
    table.scores[0] = 2500;
    // Cut short after two good records: the game played with the default table, and the table
    // it writes next would be all that is left of 3,000 and 2,000.
    const std::string cut = record(" 3000 ", " 2", "BOB       ") +
                            record(" 2000 ", " 2", "AL        ") + record(" 10", "", "");
    t.writeFile("Scores.log", cut.substr(0, 100));
    storage::writeScoreTable(path, table);
    EXPECT_EQ(t.readFile("Scores.log" + std::string(storage::kDamagedSuffix)), cut.substr(0, 100));
    EXPECT_DOUBLE_EQ(storage::readScoreTable(path).scores[0], 2500);

    // A good table, and the one-record file the best run leaves after the scores were erased, hold
    // nothing the new table loses: no copy is made.
    std::filesystem::remove(damaged);
    storage::writeScoreTable(path, table);
    t.writeFile("Scores.log", "");
    storage::writeBestRecord(path, 0, 3, "No Name");
    storage::writeScoreTable(path, table);
    EXPECT_FALSE(std::filesystem::exists(damaged));
}

TEST(ScoresFile, AWriteThatFailsHalfWayLeavesThePreviousTableAndNoTemporaryFile) {
    TestGame t;
    std::string path = t.path("Scores.log");
    storage::ScoreTable table = writeKnownTable(path);
    std::string before = t.readFile("Scores.log");
    // Files may grow to 100 bytes only: the replacement fails after it has been created.
    ::rlimit old{};
    ::getrlimit(RLIMIT_FSIZE, &old);
    ::rlimit small = old;
    small.rlim_cur = 100;
    auto oldSignal = std::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &small);
    table.scores[0] = 1000;
    int error = errorOf([&] { storage::writeScoreTable(path, table); });
    ::setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, oldSignal);
    EXPECT_EQ(error, err::kPathFileAccess);
    EXPECT_EQ(t.readFile("Scores.log"), before);
    for (const auto& entry : std::filesystem::directory_iterator(t.folder))
        EXPECT_NE(entry.path().extension(), ".tmp") << entry.path();
}

TEST(ScoresFile, ALeftoverFromAnInterruptedWriteIsHarmless) {
    // A crash between writing the replacement and renaming it leaves the old file and the new one
    // beside it: the old table is read, and the next write goes through and removes the leftover.
    TestGame t;
    std::string path = t.path("Scores.log");
    storage::ScoreTable table = writeKnownTable(path);
    t.writeFile("Scores.log.k3Jq8Z.tmp", "half a reco");
    EXPECT_EQ(storage::readScoreTable(path).scores[0], 900);
    table.scores[0] = 950;
    storage::writeScoreTable(path, table);
    EXPECT_EQ(storage::readScoreTable(path).scores[0], 950);
    EXPECT_FALSE(std::filesystem::exists(path + ".k3Jq8Z.tmp"));
}

TEST(ScoresFile, ALinkPlantedAtATemporaryNameIsNotFollowed) {
    TestGame t;
    std::string path = t.path("Scores.log");
    storage::ScoreTable table = writeKnownTable(path);
    t.writeFile("elsewhere", "not the game's");
    ASSERT_EQ(::symlink(t.path("elsewhere").c_str(), (path + ".tmp").c_str()), 0);
    table.scores[0] = 990;
    storage::writeScoreTable(path, table);
    storage::writeBestRecord(path, 990, 8, "No Name");
    EXPECT_EQ(t.readFile("elsewhere"), "not the game's");
    EXPECT_FALSE(std::filesystem::is_symlink(path));
    EXPECT_EQ(storage::readScoreTable(path).scores[0], 990);
    EXPECT_EQ(storage::readScoreTable(path).bestRun, 8);
}

TEST(ScoresFile, AReadOnlyTableIsAFailedWriteAndKeptByteForByte) {
    TestGame t;
    std::string path = t.path("Scores.log");
    storage::ScoreTable table = writeKnownTable(path);
    std::string before = t.readFile("Scores.log");
    ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
    table.scores[0] = 1000;
    EXPECT_EQ(errorOf([&] { storage::writeScoreTable(path, table); }), err::kPermissionDenied);
    EXPECT_EQ(errorOf([&] { storage::writeBestRecord(path, 1000, 9, "X"); }),
              err::kPermissionDenied);
    EXPECT_EQ(t.readFile("Scores.log"), before);
    EXPECT_EQ(storage::readScoreTable(path).scores[0], 900);  // it is still read
}

TEST(ScoresFile, APipeADeviceOrAFolderReadsAsTheDefaultsAndAHugeFileAsItsRecords) {
    for (std::string kind : {"pipe", "/dev/zero", "folder"}) {
        TestGame g;
        std::string path = g.path("Scores.log");
        bool made = kind == "pipe"     ? ::mkfifo(path.c_str(), 0644) == 0
                    : kind == "folder" ? std::filesystem::create_directory(path)
                                       : ::symlink(kind.c_str(), path.c_str()) == 0;
        ASSERT_TRUE(made) << kind;
        g.start();
        expectDefaultTable(g, kind);
    }
    TestGame t;
    std::string path = t.path("Scores.log");
    writeKnownTable(path);
    ASSERT_EQ(::truncate(path.c_str(), 1LL << 30), 0);
    t.start();
    EXPECT_EQ(t.state().high.HighScores[4], 500);
}

TEST(ScoresFile, NamesAreUpperCasedInTheFilesCodePage) {
    // Latin-1: accented small letters get their capitals; sharp s, y with diaeresis and the
    // division sign have none and stay.
    EXPECT_EQ(ucase("j\xFCrgen \xE6\xF8\xE9 \xDF\xFF\xF7 z"),
              "J\xDCRGEN \xC6\xD8\xC9 \xDF\xFF\xF7 Z");
}

}  // namespace
}  // namespace bm::test
