#include "platform/errors.h"

namespace bm {

std::string errorDescription(int number) {
    switch (number) {
        case err::kInvalidProcedureCall:
            return "Invalid procedure call or argument";
        case err::kOverflow:
            return "Overflow";
        case err::kSubscriptOutOfRange:
            return "Subscript out of range";
        case err::kTypeMismatch:
            return "Type mismatch";
        case err::kBadFileName:
            return "Bad file name or number";
        case err::kFileNotFound:
            return "File not found";
        case err::kFileAlreadyOpen:
            return "File already open";
        case err::kDiskFull:
            return "Disk full";
        case err::kInputPastEndOfFile:
            return "Input past end of file";
        case err::kBadRecordNumber:
            return "Bad record number";
        case err::kDeviceUnavailable:
            return "Device unavailable";
        case err::kPermissionDenied:
            return "Permission denied";
        case err::kPathFileAccess:
            return "Path/File access error";
        case err::kPathNotFound:
            return "Path not found";
        case err::kInvalidPicture:
            return "Invalid picture";
        default:
            return "Application-defined or object-defined error";
    }
}

RuntimeError::RuntimeError(int number, const std::string& description)
    : std::runtime_error(description.empty() ? errorDescription(number) : description),
      number_(number) {}

void raise(int number) {
    throw RuntimeError(number);
}

int trapErrors(const std::function<void()>& statement) {
    try {
        statement();
    } catch (const RuntimeError& e) {
        return e.number();
    }
    return 0;
}

}  // namespace bm
