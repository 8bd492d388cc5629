#pragma once
// The byte layout of the high-score file: five records of 48 bytes, each the score as text (6
// characters), the best run as text (2), the name (10) and three spare fields of 10 zero bytes.
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace bm::storage {

constexpr size_t kScoreRecordLength = 48;
constexpr int kScoreRecords = 5;
constexpr const char* kScoresFile = "Scores.log";

// One record: Str(score) and Str(run) left-aligned, blank-padded and cut to their fields, the name
// blank-padded and cut to 10 characters, the spares zero.
std::string scoreRecord(double score, int16_t bestRun, std::string_view name);

struct ScoreFields {
    std::string score;  // 6 characters as stored
    std::string run;    // 2
    std::string name;   // 10
};
ScoreFields splitScoreRecord(std::string_view record);

struct ScoreTable {
    std::array<double, 5> scores{};
    std::array<std::string, 5> names{};
    int16_t bestRun = 0;
};
// The table every damaged or missing file falls back to: five zero scores named "No Name".
ScoreTable defaultScoreTable();

// Reads the table from the bytes of a score file. A record beyond the end reads as zero bytes, so
// a short file raises error 13 like a damaged one.
ScoreTable parseScoreTable(std::string_view fileBytes);
// Reads the table from the file at `path` the way the game does: the file is created empty when it
// is missing; a Score or Run field that is not a number raises error 13 (the caller falls back to
// the defaults), and so does anything under the name that is not a regular file; other file errors
// raise their own numbers. Only the five records are read, however long the file is.
ScoreTable readScoreTable(const std::string& path);
// Where a score file that does not read as a table is kept, beside it, when a new table replaces
// it.
constexpr const char* kDamagedSuffix = ".damaged";
// Writes all five records in one replacement of the file. A file there that does not read as a
// table but still holds a score is first copied to `path` + kDamagedSuffix.
void writeScoreTable(const std::string& path, const ScoreTable& table);
// Rewrites record 1 only, keeping records 2 to 5 as they are.
void writeBestRecord(const std::string& path, double score, int16_t bestRun, std::string_view name);

}  // namespace bm::storage
