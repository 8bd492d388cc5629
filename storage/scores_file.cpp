#include "storage/scores_file.h"

#include <cmath>
#include <vector>

#include "platform/errors.h"
#include "platform/files.h"
#include "platform/vb.h"

namespace bm::storage {

std::string scoreRecord(double score, int16_t bestRun, std::string_view name) {
    std::string rec = fixedText(str(score), 6) + fixedText(str(bestRun), 2) + fixedText(name, 10);
    rec.resize(kScoreRecordLength, '\0');
    return rec;
}

ScoreFields splitScoreRecord(std::string_view record) {
    std::string r(record.substr(0, kScoreRecordLength));
    r.resize(kScoreRecordLength, '\0');
    return {r.substr(0, 6), r.substr(6, 2), r.substr(8, 10)};
}

ScoreTable defaultScoreTable() {
    ScoreTable t;
    for (auto& n : t.names) n = "No Name";
    return t;
}

ScoreTable parseScoreTable(std::string_view fileBytes) {
    ScoreTable t;
    for (int k = 1; k <= kScoreRecords; ++k) {
        size_t at = static_cast<size_t>(k - 1) * kScoreRecordLength;
        ScoreFields f = splitScoreRecord(at < fileBytes.size() ? fileBytes.substr(at) : "");
        t.scores[k - 1] = toNumber(trim(f.score));
        t.names[k - 1] = trim(f.name);
        if (k == 1) t.bestRun = cint(toNumber(trim(f.run)));
    }
    return t;
}

ScoreTable readScoreTable(const std::string& path) {
    RecordFile file(path, kScoreRecordLength);  // creates a missing file empty
    // A pipe, a device or a folder under the name holds no table: it reads like an empty file,
    // which falls back to the defaults as a damaged one does.
    if (!fileExists(path)) return parseScoreTable({});
    return parseScoreTable(file.getFirst(kScoreRecords));
}

namespace {

// Whether the bytes of a score file that does not read as a table still hold a score in some
// record, which a new table would otherwise replace for good.
bool holdsAScore(std::string_view bytes) {
    for (size_t at = 0; at < bytes.size() && at < kScoreRecords * kScoreRecordLength;
         at += kScoreRecordLength) {
        try {
            if (toNumber(trim(splitScoreRecord(bytes.substr(at)).score)) != 0) return true;
        } catch (const RuntimeError&) {
        }
    }
    return false;
}

}  // namespace

void writeScoreTable(const std::string& path, const ScoreTable& table) {
    // The game fell back to the default table when the file did not read as one (damaged, cut
    // short or edited by hand). Before a new table replaces it, its bytes are kept beside it, so
    // scores it still holds can be recovered; when that copy cannot be made the table is written
    // all the same.
    const std::string old = readFileBytes(path, 1 << 20);
    if (!old.empty() && holdsAScore(old)) {
        try {
            parseScoreTable(old);
        } catch (const RuntimeError&) {
            try {
                writeFileAtomically(path + kDamagedSuffix, old);
            } catch (const RuntimeError&) {
            }
        }
    }
    RecordFile file(path, kScoreRecordLength);
    std::vector<std::string> records;
    for (int k = 0; k < kScoreRecords; ++k)
        records.push_back(scoreRecord(table.scores[k], table.bestRun, table.names[k]));
    file.putAll(records);
}

void writeBestRecord(const std::string& path, double score, int16_t bestRun,
                     std::string_view name) {
    RecordFile file(path, kScoreRecordLength);
    file.put(1, scoreRecord(score, bestRun, name));
}

}  // namespace bm::storage
