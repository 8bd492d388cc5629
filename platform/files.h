#pragma once
// File services of the runtime: lengths, folder listings, fixed-length record files written
// atomically, and header probes for pictures and sounds.
#include <cstdint>
#include <string>
#include <vector>

namespace bm {

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

// A file of fixed-length records, numbered from 1. Opening creates a missing file with length 0
// (error 76 when its folder does not exist). A record beyond the end reads as zero bytes.
// Every write replaces the whole file through a temporary file renamed into place, so a failed or
// interrupted write leaves the previous contents intact. Write failures raise 75 (or 70, 61).
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
    std::string readAll() const;
    void replace(const std::string& contents) const;
    std::string path_;
    size_t length_;
};

// Writes `contents` to `path` through a temporary file in the same folder, flushed and renamed
// into place. Raises 70 (no permission), 61 (disk full) or 75 (other failures).
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

std::string readFileBytes(const std::string& path, size_t maxBytes = 64 << 20);

}  // namespace bm
