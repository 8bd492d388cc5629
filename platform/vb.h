#pragma once
// The value semantics the game relies on: checked 16/32-bit arithmetic, number formats,
// text/number conversions and the random-number generator.
#include <cstdint>
#include <string>
#include <string_view>

namespace bm {

// Whole-number arithmetic that raises run-time error 6 (Overflow) outside the type's range.
int16_t i16(long long value);
int32_t i32(long long value);
// Conversion to a 16-bit whole number with rounding half to even; error 6 when out of range.
int16_t cint(double value);
int32_t clng(double value);
// The whole part, rounded towards minus infinity.
double vbInt(double value);

// Formats a number with a pattern of the "##,##" family: digits grouped by thousands with ",",
// no decimals. With a trailing "0" in the pattern a zero shows as "0", otherwise as an empty text.
std::string formatNumber(double value, std::string_view pattern);
// The text form of a number: a leading blank for zero and positive values, "-" for negative ones.
std::string str(double value);
// The leading number of a text (blanks skipped), 0 when there is none.
double val(std::string_view text);
// Strict conversion of a text to a number: blanks around it and thousands separators are
// accepted; anything else (an empty text, letters, zero bytes) raises error 13 (Type mismatch).
double toNumber(std::string_view text);

std::string trim(std::string_view text);  // blanks at both ends
// Upper case in the single-byte code page of the game's files (Latin-1): "j\xFCrgen" becomes
// "J\xDCRGEN".
std::string ucase(std::string_view text);
// A text cut or padded with blanks to exactly `width` characters.
std::string fixedText(std::string_view text, size_t width);

// The generator behind Rnd and Randomize: a 24-bit linear congruential sequence. Seeding from the
// same clock reading always gives the same sequence.
class Random {
  public:
    void randomize(double clockReading);
    double next();  // 0 <= r < 1
    uint32_t seed() const { return seed_; }

  private:
    uint32_t seed_ = 0x50000;
};

}  // namespace bm
