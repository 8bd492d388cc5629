#pragma once
// File services of the runtime: lengths, folder listings, fixed-length record files written
// atomically, and header probes for pictures and sounds.
#include <cstdint>
#include <string>
#include <vector>

namespace bm {

// Only regular files (also through a link) count as files here: a folder, a pipe or a device under
// the name is treated as no file at all.

// Length of a file in bytes; error 53 when it does not exist.
long long fileLen(const std::string& path);
bool fileExists(const std::string& path);
// The file's modification time and length folded together, so a changed file gets a new stamp;
// 0 when the file does not exist.
unsigned long long fileStamp(const std::string& path);
// Deletes a file; error 53 when it does not exist, 75 when it cannot be removed.
void killFile(const std::string& path);

// The files of a folder whose names match one of the patterns ("*.jpg;*.gif"), sorted the way a
// file list shows them (case-insensitive). Error 76 when the folder does not exist.
std::vector<std::string> listFiles(const std::string& folder, const std::string& patterns);
bool matchesPattern(const std::string& name, const std::string& pattern);

// A file of fixed-length records, numbered from 1. Opening creates a missing file with length 0,
// readable and writable by its owner only (error 76 when its folder does not exist); a link or
// anything else already under the name is left as it is. Reads take only the bytes of the records
// asked for; a record beyond the end reads as zero bytes. A file that is not a regular file (a
// pipe, a device, a folder) cannot be read: error 75. Record numbers below 1 or beyond the first
// MiB of the file raise 63. Every write replaces the whole file through writeFileAtomically, so a
// failed or interrupted write leaves the previous contents intact.
class RecordFile {
  public:
    RecordFile(std::string path, size_t recordLength);
    std::string get(long recordNumber) const;
    // Records 1 to `count` in one read, each beyond the end as zero bytes.
    std::string getFirst(long count) const;
    void put(long recordNumber, const std::string& record);
    // Several records in one replacement of the file.
    void putAll(const std::vector<std::string>& records);
    const std::string& path() const { return path_; }

  private:
    size_t offsetOf(long recordNumber) const;
    std::string read(size_t offset, size_t length) const;
    // The file's bytes as a write keeps them, zero-padded to at least `atLeast`.
    std::string keptContents(size_t atLeast) const;
    void putRecords(size_t at, const std::vector<std::string>& records);
    std::string path_;
    size_t length_;
};

// Writes `contents` to `path` through a temporary file in the same folder, created exclusively
// under a unique name, synced and renamed into place; the folder is synced after the rename. The
// file keeps the mode of the one it replaces; a new one is for its owner only.
// Temporary files that an interrupted earlier write of `path` left behind are removed.
// The file replaced must be a regular file that could be opened for writing: a read-only file
// raises 70, a link or anything that is not a regular file 75, and either stays as it was.
// Other failures raise 70 (no permission), 61 (disk full) or 75, and leave `path` untouched.
void writeFileAtomically(const std::string& path, const std::string& contents);

struct PictureInfo {
    int width = 0;
    int height = 0;
    std::string format;  // "bmp", "gif", "jpg", "png"
};
// Reads a picture's size from its header: error 53 when missing, 481 when the bytes are not a
// picture of a known format.
PictureInfo probePicture(const std::string& path);
PictureInfo probePictureBytes(const std::string& bytes);

// Playing time of a PCM wave file in seconds, 0 when it is not a readable wave file.
double waveDuration(const std::string& path);
double waveDurationBytes(const std::string& bytes);

// The first `maxBytes` bytes of a regular file; empty when it is missing, unreadable or not a
// regular file.
std::string readFileBytes(const std::string& path, size_t maxBytes = 64 << 20);

}  // namespace bm
