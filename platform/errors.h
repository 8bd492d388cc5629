#pragma once
// Numbered run-time errors, raised as exceptions and trapped by number where the game says so.
#include <functional>
#include <stdexcept>
#include <string>

namespace bm {

namespace err {
constexpr int kInvalidProcedureCall = 5;
constexpr int kOverflow = 6;
constexpr int kSubscriptOutOfRange = 9;
constexpr int kTypeMismatch = 13;
constexpr int kBadFileName = 52;
constexpr int kFileNotFound = 53;
constexpr int kFileAlreadyOpen = 55;
constexpr int kDiskFull = 61;
constexpr int kInputPastEndOfFile = 62;
constexpr int kBadRecordNumber = 63;
constexpr int kDeviceUnavailable = 68;
constexpr int kPermissionDenied = 70;
constexpr int kPathFileAccess = 75;
constexpr int kPathNotFound = 76;
constexpr int kInvalidPicture = 481;
}  // namespace err

// The standard description of an error number ("Overflow", "File not found", ...).
std::string errorDescription(int number);

class RuntimeError : public std::runtime_error {
  public:
    explicit RuntimeError(int number, const std::string& description = {});
    int number() const { return number_; }

  private:
    int number_;
};

[[noreturn]] void raise(int number);

// Runs one statement with run-time errors trapped: returns the number of the error it raised, 0
// when it raised none. What the statement did before the error stays done.
int trapErrors(const std::function<void()>& statement);

// Thrown to unwind every handler and wait once the program has been ended.
struct ProgramEnded {};

}  // namespace bm
