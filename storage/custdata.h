#pragma once
// The owner's data file custdata.ini: a text of at least three lines, the second "key=owner's
// name", the third "key=company". Only the position of a line counts, never its key.
#include <array>
#include <string>
#include <string_view>

namespace bm::storage {

constexpr const char* kCustDataFile = "custdata.ini";
// The most of the file that is read: three lines of any sensible length fit many times over.
constexpr size_t kCustDataMaxBytes = 64 * 1024;
// The most characters of a value that are shown.
constexpr size_t kCustDataValueLength = 25;

struct CustData {
    std::array<std::string, 3> lines;  // the first three lines, without their line ends
    int linesRead = 0;
    // 0 when three lines were read, else the error that reading stopped at (62, input past end
    // of file).
    int error = 0;
    std::string name;     // the value of line 2
    std::string company;  // the value of line 3
};

// The part of a line shown for it: from right after its first "=" (further "=" kept), or the
// whole line when it has none; at most 25 characters.
std::string custDataValue(std::string_view line);

// Reads the first three lines of the file's bytes. A line ends at a carriage return, a line feed
// or both together; a last line without an end still counts.
CustData parseCustData(std::string_view bytes);

}  // namespace bm::storage
