// Number formats, conversions, checked arithmetic and the random numbers.
#include <gtest/gtest.h>

#include "platform/errors.h"
#include "platform/vb.h"
#include "tests/harness.h"

namespace bm {
namespace {

using test::errorOf;

TEST(Values, NumberPatterns) {
    EXPECT_EQ(formatNumber(0, "##,##"), "");
    EXPECT_EQ(formatNumber(0, "##,##0"), "0");
    EXPECT_EQ(formatNumber(12345, "##,##"), "12,345");
    EXPECT_EQ(formatNumber(2500, "##,##"), "2,500");
    EXPECT_EQ(formatNumber(999, "##,##"), "999");
    EXPECT_EQ(formatNumber(1234567, "##,##0"), "1,234,567");
    EXPECT_EQ(formatNumber(-1500, "##,##"), "-1,500");
    EXPECT_EQ(formatNumber(2.5, "##,##"), "3");  // half away from zero
}

TEST(Values, TextFormOfNumbers) {
    EXPECT_EQ(str(12345), " 12345");
    EXPECT_EQ(str(0), " 0");
    EXPECT_EQ(str(-7), "-7");
    EXPECT_EQ(str(0.5), " .5");
    EXPECT_DOUBLE_EQ(val("  12ab"), 12);
    EXPECT_DOUBLE_EQ(val("abc"), 0);
    EXPECT_DOUBLE_EQ(val(" -3.5e1x"), -35);
}

TEST(Values, StrictConversionAcceptsGroupsAndRejectsJunk) {
    EXPECT_DOUBLE_EQ(toNumber(" 12,345 "), 12345);
    EXPECT_DOUBLE_EQ(toNumber("-5"), -5);
    EXPECT_DOUBLE_EQ(toNumber("1.5e3"), 1500);
    for (const char* bad : {"", "   ", "abc", "12a", "1-2", "e5", ".", ","})
        EXPECT_EQ(errorOf([&] { toNumber(bad); }), err::kTypeMismatch) << bad;
    EXPECT_EQ(errorOf([] { toNumber(std::string("\0\0\0", 3)); }), err::kTypeMismatch);
}

TEST(Values, CheckedArithmeticRaisesOverflow) {
    EXPECT_EQ(i16(32767), 32767);
    EXPECT_EQ(errorOf([] { i16(32768); }), err::kOverflow);
    EXPECT_EQ(errorOf([] { i16(-32769); }), err::kOverflow);
    EXPECT_EQ(errorOf([] { i32(2147483648LL); }), err::kOverflow);
    EXPECT_EQ(cint(2.5), 2);  // half to even
    EXPECT_EQ(cint(3.5), 4);
    EXPECT_EQ(errorOf([] { cint(40000.0); }), err::kOverflow);
    EXPECT_DOUBLE_EQ(vbInt(-1.5), -2);
}

TEST(Values, RandomNumbersRepeatForTheSameClockReading) {
    Random a, b;
    a.randomize(123.456);
    b.randomize(123.456);
    for (int k = 0; k < 100; ++k) {
        double r = a.next();
        EXPECT_EQ(r, b.next());
        EXPECT_GE(r, 0.0);
        EXPECT_LT(r, 1.0);
    }
    b.randomize(123.457);
    a.randomize(123.456);
    EXPECT_NE(a.next(), b.next());
}

TEST(Values, FixedTextCutsAndPads) {
    EXPECT_EQ(fixedText("ab", 4), "ab  ");
    EXPECT_EQ(fixedText("abcdef", 4), "abcd");
    EXPECT_EQ(trim("  a b  "), "a b");
    EXPECT_EQ(ucase("wenna"), "WENNA");
}

}  // namespace
}  // namespace bm
