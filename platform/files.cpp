#include "platform/files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <utility>

#include "platform/errors.h"

namespace fs = std::filesystem;

namespace bm {

namespace {

std::string lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

bool globMatch(const char* p, const char* s) {
    if (*p == 0) return *s == 0;
    if (*p == '*') return globMatch(p + 1, s) || (*s && globMatch(p, s + 1));
    if (*s == 0) return false;
    return (*p == '?' || *p == *s) && globMatch(p + 1, s + 1);
}

uint32_t le16(const std::string& b, size_t at) {
    return static_cast<uint8_t>(b[at]) | static_cast<uint8_t>(b[at + 1]) << 8;
}
uint32_t le32(const std::string& b, size_t at) {
    return le16(b, at) | le16(b, at + 2) << 16;
}
uint32_t be16(const std::string& b, size_t at) {
    return static_cast<uint8_t>(b[at]) << 8 | static_cast<uint8_t>(b[at + 1]);
}

[[noreturn]] void raiseWriteError(int e) {
    if (e == EACCES || e == EPERM || e == EROFS) raise(err::kPermissionDenied);
    if (e == ENOSPC || e == EDQUOT) raise(err::kDiskFull);
    if (e == ENOENT) raise(err::kPathNotFound);
    raise(err::kPathFileAccess);
}

// A file descriptor closed when it goes out of scope.
class Fd {
  public:
    explicit Fd(int fd = -1) : fd_(fd) {}
    ~Fd() {
        if (fd_ >= 0) ::close(fd_);
    }
    Fd(Fd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Fd& operator=(Fd&& other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    int get() const { return fd_; }
    bool valid() const { return fd_ >= 0; }
    // Closes now and reports whether the close succeeded (a deferred write error shows here).
    bool close() {
        int fd = fd_;
        fd_ = -1;
        return ::close(fd) == 0;
    }

  private:
    int fd_;
};

bool isRegular(const std::string& path, struct stat& st) {
    return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

// Opens a regular file for reading. Anything else (a pipe, a device, a folder, a socket) is not
// opened at all, and the check is repeated on the open descriptor in case the name was swapped in
// between; O_NONBLOCK keeps even that case from waiting for a writer. Invalid when refused.
Fd openForReading(const std::string& path, struct stat& st) {
    if (!isRegular(path, st)) return Fd();
    Fd fd(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!fd.valid() || ::fstat(fd.get(), &st) != 0 || !S_ISREG(st.st_mode)) return Fd();
    return fd;
}

// Reads up to `length` bytes from `offset`; fewer at the end of the file. False on a read error.
bool readAt(int fd, size_t offset, size_t length, std::string& out) {
    out.assign(length, '\0');
    size_t done = 0;
    while (done < length) {
        ssize_t n =
            ::pread(fd, out.data() + done, length - done, static_cast<off_t>(offset + done));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return false;
        if (n == 0) break;
        done += static_cast<size_t>(n);
    }
    out.resize(done);
    return true;
}

void writeAll(int fd, const std::string& contents) {
    size_t done = 0;
    while (done < contents.size()) {
        ssize_t n = ::write(fd, contents.data() + done, contents.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) raiseWriteError(errno);
        done += static_cast<size_t>(n);
    }
}

std::string folderOf(const std::string& path) {
    size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string nameOf(const std::string& path) {
    size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

// Temporary files of a save are named after their target: "Scores.log.Xy3q9Z.tmp".
constexpr size_t kTempTagLength = 6;
constexpr const char* kTempSuffix = ".tmp";

bool isTempNameOf(const std::string& name, const std::string& target) {
    const size_t suffix = std::strlen(kTempSuffix);
    if (name.size() != target.size() + 1 + kTempTagLength + suffix) return false;
    if (name.compare(0, target.size(), target) != 0 || name[target.size()] != '.') return false;
    if (name.compare(name.size() - suffix, suffix, kTempSuffix) != 0) return false;
    return std::all_of(name.begin() + static_cast<long>(target.size()) + 1,
                       name.end() - static_cast<long>(suffix),
                       [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; });
}

// Removes what an interrupted save of `path` left behind: only names of our own pattern.
void removeStaleTemps(const std::string& path) {
    const std::string folder = folderOf(path), target = nameOf(path);
    DIR* dir = ::opendir(folder.c_str());
    if (!dir) return;
    while (const dirent* entry = ::readdir(dir)) {
        if (isTempNameOf(entry->d_name, target)) ::unlinkat(::dirfd(dir), entry->d_name, 0);
    }
    ::closedir(dir);
}

// A temporary file that is removed again unless it was renamed into place.
struct TempFile {
    std::string path;
    Fd fd;
    ~TempFile() {
        if (!path.empty()) ::unlink(path.c_str());
    }
};

// Creates a temporary file beside `target` under a name nobody else has: O_EXCL never opens an
// existing file and never follows a link planted under the chosen name.
void createTemp(const std::string& target, mode_t mode, TempFile& temp) {
    static const char kAlphabet[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    static std::atomic<uint64_t> counter{0};
    for (int attempt = 0; attempt < 100; ++attempt) {
        uint64_t bits =
            static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count()) ^
            (static_cast<uint64_t>(::getpid()) << 32) ^ (++counter * 0x9E3779B97F4A7C15ULL);
        bits ^= bits >> 29;
        bits *= 0xBF58476D1CE4E5B9ULL;
        bits ^= bits >> 32;
        std::string name = target + ".";
        for (size_t k = 0; k < kTempTagLength; ++k, bits /= 62) name += kAlphabet[bits % 62];
        name += kTempSuffix;
        int fd = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
        if (fd >= 0) {
            temp.path = name;
            temp.fd = Fd(fd);
            return;
        }
        if (errno != EEXIST) raiseWriteError(errno);
    }
    raise(err::kPathFileAccess);
}

// Makes a completed rename survive a power cut. The new file is in place already, so a failure
// here is not reported.
void syncFolder(const std::string& path) {
    Fd dir(::open(folderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (dir.valid()) ::fsync(dir.get());
}

// A file of the game is a few hundred bytes; one that someone made longer is cut to this on the
// next write rather than copied through memory.
constexpr size_t kLongestKeptFile = 1 << 20;

// The player's files (scores, name, password) are created for their owner only; a replacement
// keeps the mode of the file it replaces.
constexpr mode_t kNewFileMode = 0600;

}  // namespace

long long fileLen(const std::string& path) {
    struct stat st;
    if (!isRegular(path, st)) raise(err::kFileNotFound);
    return st.st_size;
}

bool fileExists(const std::string& path) {
    struct stat st;
    return isRegular(path, st);
}

unsigned long long fileStamp(const std::string& path) {
    struct stat st;
    if (!isRegular(path, st)) return 0;
    const auto nanos = static_cast<unsigned long long>(st.st_mtim.tv_sec) * 1000000000ULL +
                       static_cast<unsigned long long>(st.st_mtim.tv_nsec);
    return (nanos * 1000003ULL + static_cast<unsigned long long>(st.st_size)) | 1;
}

void killFile(const std::string& path) {
    if (!fileExists(path)) raise(err::kFileNotFound);
    if (::unlink(path.c_str()) != 0) raise(err::kPathFileAccess);
}

bool matchesPattern(const std::string& name, const std::string& patterns) {
    std::string n = lower(name);
    size_t start = 0;
    while (start <= patterns.size()) {
        size_t end = patterns.find(';', start);
        if (end == std::string::npos) end = patterns.size();
        std::string p = lower(patterns.substr(start, end - start));
        if (!p.empty() && globMatch(p.c_str(), n.c_str())) return true;
        start = end + 1;
    }
    return false;
}

std::vector<std::string> listFiles(const std::string& folder, const std::string& patterns) {
    std::error_code ec;
    if (!fs::is_directory(folder, ec)) raise(err::kPathNotFound);
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder, ec)) {
        if (!entry.is_regular_file(ec)) continue;
        std::string name = entry.path().filename().string();
        if (matchesPattern(name, patterns)) names.push_back(name);
    }
    std::sort(names.begin(), names.end(), [](const std::string& a, const std::string& b) {
        std::string la = lower(a), lb = lower(b);
        return la != lb ? la < lb : a < b;
    });
    return names;
}

std::string readFileBytes(const std::string& path, size_t maxBytes) {
    struct stat st;
    Fd fd = openForReading(path, st);
    std::string data, chunk;
    if (!fd.valid()) return data;
    while (data.size() < maxBytes) {
        if (!readAt(fd.get(), data.size(), std::min<size_t>(maxBytes - data.size(), 1 << 16),
                    chunk))
            return {};
        if (chunk.empty()) break;
        data += chunk;
    }
    return data;
}

void writeFileAtomically(const std::string& path, const std::string& contents) {
    // The file replaced must be one we could also have written in place: a read-only file, a link
    // to somewhere else, or anything but a plain file is a failed write that leaves it untouched.
    mode_t mode = kNewFileMode;
    bool replacing = false;
    struct stat st;
    if (::lstat(path.c_str(), &st) == 0) {
        if (!S_ISREG(st.st_mode)) raise(err::kPathFileAccess);
        // No write permission for anyone counts as read-only also for the superuser.
        if ((st.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0) raise(err::kPermissionDenied);
        Fd probe(::open(path.c_str(), O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
        if (!probe.valid()) raiseWriteError(errno);
        mode = st.st_mode & 0777;
        replacing = true;
    } else if (errno != ENOENT) {
        raiseWriteError(errno);
    }
    removeStaleTemps(path);
    TempFile temp;
    createTemp(path, kNewFileMode, temp);
    writeAll(temp.fd.get(), contents);
    // Given the old file's mode only now: the umask played no part in it.
    if (replacing && ::fchmod(temp.fd.get(), mode) != 0) raiseWriteError(errno);
    if (::fsync(temp.fd.get()) != 0 || !temp.fd.close()) raiseWriteError(errno);
    if (::rename(temp.path.c_str(), path.c_str()) != 0) raiseWriteError(errno);
    temp.path.clear();
    syncFolder(path);
}

RecordFile::RecordFile(std::string path, size_t recordLength)
    : path_(std::move(path)), length_(std::max<size_t>(recordLength, 1)) {
    std::error_code ec;
    fs::path parent = fs::path(path_).parent_path();
    if (!parent.empty() && !fs::is_directory(parent, ec)) raise(err::kPathNotFound);
    struct stat st;
    if (::lstat(path_.c_str(), &st) == 0) return;
    if (errno != ENOENT) raiseWriteError(errno);
    // Created exclusively: a link that appeared under the name in the meantime is left alone.
    Fd fd(
        ::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kNewFileMode));
    if (!fd.valid() && errno != EEXIST) raiseWriteError(errno);
}

std::string RecordFile::read(size_t offset, size_t length) const {
    struct stat st;
    Fd fd = openForReading(path_, st);
    std::string bytes;
    if (!fd.valid() || !readAt(fd.get(), offset, length, bytes)) raise(err::kPathFileAccess);
    bytes.resize(length, '\0');
    return bytes;
}

size_t RecordFile::offsetOf(long recordNumber) const {
    if (recordNumber < 1 || static_cast<size_t>(recordNumber) > kLongestKeptFile / length_)
        raise(err::kBadRecordNumber);
    return static_cast<size_t>(recordNumber - 1) * length_;
}

std::string RecordFile::get(long recordNumber) const {
    return read(offsetOf(recordNumber), length_);
}

std::string RecordFile::getFirst(long count) const {
    if (count < 1) return {};
    return read(0, offsetOf(count) + length_);
}

std::string RecordFile::keptContents(size_t atLeast) const {
    // A file removed since it was opened is written afresh; one that is not a plain file fails
    // when it is replaced.
    struct stat st;
    std::string all;
    Fd fd = openForReading(path_, st);
    if (fd.valid()) {
        size_t keep = std::min(static_cast<size_t>(st.st_size), kLongestKeptFile);
        if (!readAt(fd.get(), 0, keep, all)) raise(err::kPathFileAccess);
    }
    if (all.size() < atLeast) all.resize(atLeast, '\0');
    return all;
}

void RecordFile::put(long recordNumber, const std::string& record) {
    putRecords(offsetOf(recordNumber), {record});
}

void RecordFile::putAll(const std::vector<std::string>& records) {
    if (!records.empty()) offsetOf(static_cast<long>(records.size()));
    putRecords(0, records);
}

void RecordFile::putRecords(size_t at, const std::vector<std::string>& records) {
    std::string all = keptContents(at + records.size() * length_);
    for (size_t k = 0; k < records.size(); ++k) {
        std::string rec = records[k].substr(0, length_);
        rec.resize(length_, '\0');
        all.replace(at + k * length_, length_, rec);
    }
    writeFileAtomically(path_, all);
}

PictureInfo probePictureBytes(const std::string& b) {
    PictureInfo info;
    if (b.size() >= 26 && b[0] == 'B' && b[1] == 'M') {
        uint32_t header = le32(b, 14);
        if (header == 12) {
            info.width = static_cast<int>(le16(b, 18));
            info.height = static_cast<int>(le16(b, 20));
        } else if (header >= 40 && b.size() >= 26) {
            info.width = static_cast<int32_t>(le32(b, 18));
            info.height = std::abs(static_cast<int32_t>(le32(b, 22)));
        }
        info.format = "bmp";
    } else if (b.size() >= 10 &&
               (b.compare(0, 6, "GIF87a") == 0 || b.compare(0, 6, "GIF89a") == 0)) {
        info.width = static_cast<int>(le16(b, 6));
        info.height = static_cast<int>(le16(b, 8));
        info.format = "gif";
    } else if (b.size() >= 24 && b.compare(0, 8, "\x89PNG\r\n\x1a\n") == 0) {
        info.width = static_cast<int>(be16(b, 18) << 16 | be16(b, 20));
        info.height = static_cast<int>(be16(b, 22) << 16 | (b.size() >= 26 ? be16(b, 24) : 0));
        info.format = "png";
    } else if (b.size() >= 4 && static_cast<uint8_t>(b[0]) == 0xFF &&
               static_cast<uint8_t>(b[1]) == 0xD8) {
        // Walk the JPEG markers to the first start-of-frame.
        size_t at = 2;
        while (at + 9 < b.size()) {
            if (static_cast<uint8_t>(b[at]) != 0xFF) break;
            uint8_t marker = static_cast<uint8_t>(b[at + 1]);
            if (marker == 0xFF) {
                ++at;
                continue;
            }
            size_t len = be16(b, at + 2);
            bool sof = marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 &&
                       marker != 0xCC;
            if (sof) {
                info.height = static_cast<int>(be16(b, at + 5));
                info.width = static_cast<int>(be16(b, at + 7));
                info.format = "jpg";
                break;
            }
            if (len < 2) break;
            at += 2 + len;
        }
    }
    if (info.format.empty() || info.width <= 0 || info.height <= 0 || info.width > 30000 ||
        info.height > 30000)
        raise(err::kInvalidPicture);
    return info;
}

PictureInfo probePicture(const std::string& path) {
    if (!fileExists(path)) raise(err::kFileNotFound);
    return probePictureBytes(readFileBytes(path, 1 << 16));
}

double waveDurationBytes(const std::string& b) {
    if (b.size() < 12 || b.compare(0, 4, "RIFF") != 0 || b.compare(8, 4, "WAVE") != 0) return 0;
    size_t at = 12;
    uint32_t byteRate = 0;
    while (at + 8 <= b.size()) {
        std::string id = b.substr(at, 4);
        uint32_t len = le32(b, at + 4);
        if (id == "fmt " && at + 20 <= b.size()) byteRate = le32(b, at + 16);
        if (id == "data") {
            if (byteRate == 0) return 0;
            uint64_t available = b.size() - (at + 8);
            return static_cast<double>(std::min<uint64_t>(len, available)) / byteRate;
        }
        // In 64 bits: a chunk length near 4 GiB must not wrap round to a step of nothing.
        at += size_t{8} + len + (len & 1);
    }
    return 0;
}

double waveDuration(const std::string& path) {
    return waveDurationBytes(readFileBytes(path));
}

}  // namespace bm
