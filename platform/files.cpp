#include "platform/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

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

}  // namespace

long long fileLen(const std::string& path) {
    struct stat st;
    if (::stat(path.c_str(), &st) != 0 || S_ISDIR(st.st_mode)) raise(err::kFileNotFound);
    return st.st_size;
}

bool fileExists(const std::string& path) {
    struct stat st;
    return ::stat(path.c_str(), &st) == 0 && !S_ISDIR(st.st_mode);
}

unsigned long long fileStamp(const std::string& path) {
    struct stat st;
    if (::stat(path.c_str(), &st) != 0 || S_ISDIR(st.st_mode)) return 0;
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
    std::ifstream in(path, std::ios::binary);
    if (!in) return {};
    std::string data;
    char buffer[16384];
    while (data.size() < maxBytes && in) {
        in.read(buffer,
                static_cast<std::streamsize>(std::min(sizeof buffer, maxBytes - data.size())));
        data.append(buffer, static_cast<size_t>(in.gcount()));
    }
    return data;
}

void writeFileAtomically(const std::string& path, const std::string& contents) {
    std::string tmp = path + ".tmp";
    int fd = ::open(tmp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) raiseWriteError(errno);
    size_t done = 0;
    while (done < contents.size()) {
        ssize_t n = ::write(fd, contents.data() + done, contents.size() - done);
        if (n < 0) {
            if (errno == EINTR) continue;
            int e = errno;
            ::close(fd);
            ::unlink(tmp.c_str());
            raiseWriteError(e);
        }
        done += static_cast<size_t>(n);
    }
    if (::fsync(fd) != 0 || ::close(fd) != 0) {
        int e = errno;
        ::unlink(tmp.c_str());
        raiseWriteError(e);
    }
    if (::rename(tmp.c_str(), path.c_str()) != 0) {
        int e = errno;
        ::unlink(tmp.c_str());
        raiseWriteError(e);
    }
}

RecordFile::RecordFile(std::string path, size_t recordLength)
    : path_(std::move(path)), length_(recordLength) {
    std::error_code ec;
    fs::path parent = fs::path(path_).parent_path();
    if (!parent.empty() && !fs::is_directory(parent, ec)) raise(err::kPathNotFound);
    if (fs::is_directory(path_, ec)) raise(err::kPathFileAccess);
    if (!fileExists(path_)) {
        int fd = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
        if (fd < 0) raiseWriteError(errno);
        ::close(fd);
    }
}

std::string RecordFile::readAll() const {
    std::ifstream in(path_, std::ios::binary);
    if (!in) raise(err::kPathFileAccess);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

std::string RecordFile::get(long recordNumber) const {
    if (recordNumber < 1) raise(err::kBadFileName);
    std::string all = readAll();
    size_t at = static_cast<size_t>(recordNumber - 1) * length_;
    std::string record(length_, '\0');
    if (at < all.size()) {
        size_t n = std::min(length_, all.size() - at);
        std::memcpy(record.data(), all.data() + at, n);
    }
    return record;
}

std::string RecordFile::getFirst(long count) const {
    std::string all = readAll();
    all.resize(static_cast<size_t>(std::max(0L, count)) * length_, '\0');
    return all;
}

void RecordFile::put(long recordNumber, const std::string& record) {
    if (recordNumber < 1) raise(err::kBadFileName);
    std::string all = readAll();
    size_t at = static_cast<size_t>(recordNumber - 1) * length_;
    if (all.size() < at + length_) all.resize(at + length_, '\0');
    std::string rec = record.substr(0, length_);
    rec.resize(length_, '\0');
    all.replace(at, length_, rec);
    replace(all);
}

void RecordFile::putAll(const std::vector<std::string>& records) {
    std::string all = readAll();
    if (all.size() < records.size() * length_) all.resize(records.size() * length_, '\0');
    for (size_t k = 0; k < records.size(); ++k) {
        std::string rec = records[k].substr(0, length_);
        rec.resize(length_, '\0');
        all.replace(k * length_, length_, rec);
    }
    replace(all);
}

void RecordFile::replace(const std::string& contents) const {
    writeFileAtomically(path_, contents);
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
