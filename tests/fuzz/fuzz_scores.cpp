// Fuzz target: the bytes of a high-score file, read as the game reads them.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "platform/errors.h"
#include "storage/scores_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view bytes(reinterpret_cast<const char*>(data), size);
    bm::storage::ScoreTable table;
    try {
        table = bm::storage::parseScoreTable(bytes);
    } catch (const bm::RuntimeError& e) {
        // Only a field that is not a number may fail (the caller then uses the defaults), or a
        // run that does not fit a 16-bit whole number.
        if (e.number() != 13 && e.number() != 6) std::abort();
        return 0;
    }
    // What was read writes back and reads again as the same table, once cut to its fields.
    std::string again;
    for (size_t k = 0; k < 5; ++k)
        again += bm::storage::scoreRecord(table.scores[k], table.bestRun, table.names[k]);
    if (again.size() != 240) std::abort();
    try {
        bm::storage::ScoreTable back = bm::storage::parseScoreTable(again);
        for (size_t k = 0; k < 5; ++k)
            if (back.names[k].size() > 10) std::abort();
    } catch (const bm::RuntimeError&) {
        // A value whose text form is cut to six characters (say "1e+300") may not read back.
    }
    return 0;
}
