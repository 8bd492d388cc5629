#include "platform/vb.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>

#include "platform/errors.h"

namespace bm {

int16_t i16(long long value) {
    if (value < std::numeric_limits<int16_t>::min() || value > std::numeric_limits<int16_t>::max())
        raise(err::kOverflow);
    return static_cast<int16_t>(value);
}

int32_t i32(long long value) {
    if (value < std::numeric_limits<int32_t>::min() || value > std::numeric_limits<int32_t>::max())
        raise(err::kOverflow);
    return static_cast<int32_t>(value);
}

int16_t cint(double value) {
    if (!std::isfinite(value)) raise(err::kOverflow);
    double r = std::nearbyint(value);  // the default rounding mode is half to even
    if (r < -32768.0 || r > 32767.0) raise(err::kOverflow);
    return static_cast<int16_t>(r);
}

int32_t clng(double value) {
    if (!std::isfinite(value)) raise(err::kOverflow);
    double r = std::nearbyint(value);
    if (r < -2147483648.0 || r > 2147483647.0) raise(err::kOverflow);
    return static_cast<int32_t>(r);
}

double vbInt(double value) {
    return std::floor(value);
}

std::string formatNumber(double value, std::string_view pattern) {
    bool zeroShows = !pattern.empty() && pattern.back() == '0';
    double rounded = std::round(value);  // half away from zero, as number formats do
    if (rounded == 0.0) return zeroShows ? "0" : "";
    bool negative = rounded < 0;
    char digits[320];  // the largest double has 309 digits
    std::snprintf(digits, sizeof digits, "%.0f", std::fabs(rounded));
    std::string out;
    size_t n = std::strlen(digits);
    for (size_t k = 0; k < n; ++k) {
        if (k > 0 && (n - k) % 3 == 0) out += ',';
        out += digits[k];
    }
    return negative ? "-" + out : out;
}

std::string str(double value) {
    char buf[64];
    if (value == std::floor(value) && std::fabs(value) < 1e15) {
        std::snprintf(buf, sizeof buf, "%.0f", std::fabs(value));
    } else {
        std::snprintf(buf, sizeof buf, "%.15g", std::fabs(value));
        // Fractions below one are written without their leading zero (".5").
        if (buf[0] == '0' && buf[1] == '.') std::memmove(buf, buf + 1, std::strlen(buf));
    }
    return std::string(value < 0 ? "-" : " ") + buf;
}

double val(std::string_view text) {
    std::string s;
    for (char c : text)
        if (c != ' ' && c != '\t' && c != '\n' && c != '\r') s += c;
    const char* p = s.c_str();
    size_t len = std::strspn(p, "+-0123456789.eEdD");
    std::string number(p, len);
    for (char& c : number)
        if (c == 'd' || c == 'D') c = 'e';
    // Take the longest prefix that parses as a number.
    while (!number.empty()) {
        char* end = nullptr;
        double v = std::strtod(number.c_str(), &end);
        if (end == number.c_str() + number.size()) return v;
        number.pop_back();
    }
    return 0.0;
}

double toNumber(std::string_view text) {
    std::string t = trim(text);
    std::string cleaned;
    bool seenDigit = false, seenPoint = false, seenExp = false;
    for (size_t k = 0; k < t.size(); ++k) {
        char c = t[k];
        if (std::isdigit(static_cast<unsigned char>(c))) {
            seenDigit = true;
            cleaned += c;
        } else if (c == ',' && seenDigit && !seenPoint && !seenExp) {
            continue;  // thousands separator
        } else if (c == '.' && !seenPoint && !seenExp) {
            seenPoint = true;
            cleaned += c;
        } else if ((c == '+' || c == '-') && (k == 0 || (seenExp && (cleaned.back() == 'e')))) {
            cleaned += c;
        } else if ((c == 'e' || c == 'E') && seenDigit && !seenExp) {
            seenExp = true;
            cleaned += 'e';
        } else {
            raise(err::kTypeMismatch);
        }
    }
    if (!seenDigit) raise(err::kTypeMismatch);
    char* end = nullptr;
    double v = std::strtod(cleaned.c_str(), &end);
    if (end != cleaned.c_str() + cleaned.size() || !std::isfinite(v)) raise(err::kTypeMismatch);
    return v;
}

std::string trim(std::string_view text) {
    size_t b = 0, e = text.size();
    while (b < e && text[b] == ' ') ++b;
    while (e > b && text[e - 1] == ' ') --e;
    return std::string(text.substr(b, e - b));
}

std::string ucase(std::string_view text) {
    std::string out(text);
    for (char& c : out) {
        const auto b = static_cast<unsigned char>(c);
        // Latin-1 letters: a-z, and the accented small letters from 0xE0 up to 0xFE but the
        // division sign 0xF7. Small sharp s (0xDF) and y with diaeresis (0xFF) have no capital in
        // the code page and stay as they are.
        if ((b >= 'a' && b <= 'z') || (b >= 0xE0 && b <= 0xFE && b != 0xF7))
            c = static_cast<char>(b - 0x20);
    }
    return out;
}

std::string fixedText(std::string_view text, size_t width) {
    std::string out(text.substr(0, width));
    out.resize(width, ' ');
    return out;
}

void Random::randomize(double clockReading) {
    uint64_t bits;
    std::memcpy(&bits, &clockReading, sizeof bits);
    // Fold the reading into 24 bits; equal readings give equal seeds.
    bits ^= bits >> 29;
    bits *= 0xBF58476D1CE4E5B9ull;
    bits ^= bits >> 32;
    seed_ = static_cast<uint32_t>(bits & 0xFFFFFF);
}

double Random::next() {
    seed_ = static_cast<uint32_t>((seed_ * 1140671485ull + 12820163ull) & 0xFFFFFF);
    return seed_ / 16777216.0;
}

}  // namespace bm
