// Writes the files an installation leaves in the program folder, each only when it is missing
// (an existing file, or a link under its name, is never replaced):
//   name.log      the player's first name and the picture show's title, one 40-byte record;
//   custdata.ini  the owner's name (and an empty company) for the about box;
//   Scores.log    empty, so a fresh installation opens like a table without high scores.
// The names come from the account that builds: the full name of its passwd entry, else the login.
#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "storage/menu_files.h"

namespace {

// The game's files hold one byte a character (Latin-1): characters beyond it become "?". Bytes
// that are not UTF-8 are kept as they are.
std::string toLatin1(std::string_view utf8) {
    std::string out;
    for (size_t k = 0; k < utf8.size();) {
        const auto b = static_cast<unsigned char>(utf8[k]);
        const int extra = b >= 0xF0 ? 3 : b >= 0xE0 ? 2 : b >= 0xC0 ? 1 : 0;
        if (b < 0x80 || extra == 0 || k + static_cast<size_t>(extra) >= utf8.size()) {
            out += static_cast<char>(b);
            ++k;
            continue;
        }
        unsigned code = b & (0x3F >> extra);
        bool valid = true;
        for (int j = 1; j <= extra; ++j) {
            const auto c = static_cast<unsigned char>(utf8[k + static_cast<size_t>(j)]);
            if ((c & 0xC0) != 0x80) valid = false;
            code = (code << 6) | (c & 0x3F);
        }
        if (!valid) {
            out += static_cast<char>(b);
            ++k;
            continue;
        }
        out += code < 0x100 ? static_cast<char>(code) : '?';
        k += static_cast<size_t>(extra) + 1;
    }
    return out;
}

std::string trimmed(std::string_view s) {
    const size_t b = s.find_first_not_of(" \t");
    if (b == std::string_view::npos) return {};
    const size_t e = s.find_last_not_of(" \t");
    return std::string(s.substr(b, e - b + 1));
}

// Creates `path` with `contents` unless something is already there; true when it wrote the file.
bool createIfMissing(const std::string& path, const std::string& contents) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644);
    if (fd < 0) {
        if (errno == EEXIST) return false;
        std::fprintf(stderr, "cannot create %s: %s\n", path.c_str(), std::strerror(errno));
        std::exit(1);
    }
    size_t done = 0;
    while (done < contents.size()) {
        const ssize_t n = ::write(fd, contents.data() + done, contents.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            std::fprintf(stderr, "cannot write %s: %s\n", path.c_str(), std::strerror(errno));
            ::close(fd);
            ::unlink(path.c_str());
            std::exit(1);
        }
        done += static_cast<size_t>(n);
    }
    ::close(fd);
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s PROGRAM_FOLDER\n", argv[0]);
        return 2;
    }
    const std::string folder = argv[1];

    std::string login = "Player", gecos;
    if (const passwd* pw = ::getpwuid(::getuid())) {
        if (pw->pw_name && *pw->pw_name) login = pw->pw_name;
        if (pw->pw_gecos) gecos = pw->pw_gecos;
    }
    // The full name is the comment field up to its first comma; the first name its first word.
    std::string fullName = trimmed(std::string_view(gecos).substr(0, gecos.find(',')));
    std::string firstName = fullName.substr(0, fullName.find(' '));
    if (fullName.empty()) fullName = login;
    if (firstName.empty()) firstName = login;
    fullName = toLatin1(fullName);
    // An "@" in the name would split the record in the wrong place.
    firstName = toLatin1(firstName);
    for (char& c : firstName)
        if (c == '@') c = '_';

    createIfMissing(folder + "/" + bm::storage::kNameFile,
                    bm::storage::nameRecord(firstName, "'s Picture Show"));
    createIfMissing(folder + "/custdata.ini", "[Brindlemoor]\nName=" + fullName + "\nCompany=\n");
    createIfMissing(folder + "/Scores.log", "");
    return 0;
}
