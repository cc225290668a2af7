#include <gtest/gtest.h>
#include <ztree/print.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

/// Scans the whole text with one integer conversion; "-" when nothing is stored.
template <class Number> std::string scanned(const char* text, const char* fmt)
{
    Number number = 77;
    int end = -1;
    const std::string whole = std::string(fmt) + "%n";
    if (scanfn(text, -1, whole.c_str(), &number, &end) == 0)
        return number == 77 ? "-" : "stored without a count";
    return std::to_string(number) + "@" + std::to_string(end);
}

} // namespace

TEST(Scan, integers)
{
    struct Case {
        const char* text;
        const char* fmt;
        const char* value; ///< and the place of the next byte
    };
    const Case cases[] = {
        {" \t-12x", "%d", "-12@5"},
        {"+7", "%d", "7@2"},
        {"-", "%d", "-"},
        {"x", "%d", "-"},
        {"", "%d", "-"},
        {"12345", "%3d", "123@3"},
        {"-12", "%1d", "-"},
        {"0x1Fg", "%i", "31@4"},
        {"017", "%i", "15@3"},
        {"09", "%i", "0@1"},
        {"0x", "%i", "0@1"},
        {"0x1F", "%2i", "0@1"},
        {"ff", "%x", "255@2"},
        {"0XfF", "%X", "255@4"},
        {"178", "%o", "15@2"},
        {"-1F", "%x", "-31@3"},
        {"99999999999", "%d", "2147483647@11"},
        {"-99999999999999999999999", "%d", "-2147483648@24"},
        {"%5", "%%%d", "5@2"},
        {"a 5", "a%d", "5@3"},
        {"a  5", "a %d", "5@4"},
        {"3,4", "%*d,%d", "4@3"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(scanned<int>(c.text, c.fmt), c.value) << c.text << " by " << c.fmt;
    EXPECT_EQ(scanned<unsigned>("4294967295", "%u"), "4294967295@10");
    EXPECT_EQ(scanned<unsigned>("4294967296", "%u"), "4294967295@10");
    EXPECT_EQ(scanned<unsigned>("-1", "%u"), "4294967295@2");
    EXPECT_EQ(scanned<short>("40000", "%hd"), "32767@5");
    EXPECT_EQ(scanned<signed char>("-200", "%hhd"), "-128@4");
    EXPECT_EQ(scanned<long>("-5", "%ld"), "-5@2");
    EXPECT_EQ(scanned<long long>("-9223372036854775809", "%lld"), std::to_string(LLONG_MIN) + "@20");
    EXPECT_EQ(scanned<unsigned long long>("99999999999999999999", "%I64u"),
              std::to_string(ULLONG_MAX) + "@20");
    EXPECT_EQ(scanned<std::size_t>("12", "%zu"), "12@2");
}

TEST(Scan, doubles)
{
    struct Case {
        const char* text;
        const char* fmt;
        double value;
        int end;
    };
    const Case cases[] = {
        {"1.5", "%lf", 1.5, 3},
        {" -.5e1x", "%le", -5, 6},
        {"+3.", "%lg", 3, 3},
        {"1e", "%lf", 1, 1},
        {"1e+", "%lf", 1, 1},
        {"12.34", "%4lf", 12.3, 4},
        {"1e999", "%lf", HUGE_VAL, 5},
        {"-1e999", "%lf", -HUGE_VAL, 6},
        {"1e-999", "%lf", 0, 6},
        {"0.00001e400", "%lf", HUGE_VAL, 11},
        {"100000e-400", "%lf", 0, 11},
        {"0x1.8p1", "%la", 3, 7},
        {"0x.8", "%lf", 0.5, 4},
        {"0x1p5000", "%lf", HUGE_VAL, 8},
        {"0xg", "%lf", 0, 1},
        {"infinity", "%lf", HUGE_VAL, 8},
        {"-INFx", "%lf", -HUGE_VAL, 4},
        {"infinity", "%5lf", HUGE_VAL, 3},
        {"0.1", "%lf", 0.1, 3},
        {"123456789012345678901234567890", "%lf", 123456789012345678901234567890.0, 30},
    };
    for (const Case& c : cases) {
        double value = -77;
        int end = -1;
        EXPECT_EQ(scanfn(c.text, -1, (std::string(c.fmt) + "%n").c_str(), &value, &end), 1) << c.text;
        EXPECT_EQ(value, c.value) << c.text;
        EXPECT_EQ(end, c.end) << c.text;
    }
    float single = 0;
    long double extended = 0;
    double number = 0;
    EXPECT_EQ(scanfn("0.1 2.5", -1, "%f%Lf", &single, &extended), 2);
    EXPECT_EQ(single, 0.1f);
    EXPECT_EQ(extended, 2.5L);
    EXPECT_EQ(scanfn("nan", -1, "%lf", &number), 1);
    EXPECT_TRUE(std::isnan(number));
    for (const char* none : {"", "-", ".", "e5", "+.e1", "in", "x"})
        EXPECT_EQ(scanfn(none, -1, "%lf", &number), 0) << none;
}

TEST(Scan, textStaysWithinItsWidth)
{
    char a[8];
    char b[8];
    std::memset(a, '#', sizeof a);
    EXPECT_EQ(scanfn("  abcdef gh", -1, "%3s%7s", a, b), 2);
    EXPECT_STREQ(a, "abc");
    EXPECT_EQ(a[4], '#');
    EXPECT_STREQ(b, "def");
    EXPECT_EQ(scanfn("key = value;x", -1, "%7[a-z] =%7[^;];%c", a, b, a), 3);
    EXPECT_EQ(a[0], 'x');
    EXPECT_STREQ(b, " value");
    EXPECT_EQ(scanfn("a]-b", -1, "%7[]a-]", a), 1);
    EXPECT_STREQ(a, "a]-");
    EXPECT_EQ(scanfn("a]b", -1, "%7[^]]", a), 1);
    EXPECT_STREQ(a, "a");
    std::memset(a, '#', sizeof a);
    EXPECT_EQ(scanfn("xyz", -1, "%*c%2c", a), 1);
    EXPECT_EQ(std::string(a, 3), "yz#");
    EXPECT_EQ(scanfn("xyz", -1, "%4c", a), 0);
    // Nothing is stored without a bound, and the scan ends there.
    int number = 5;
    for (const char* fmt : {"%s %d", "%[a-z] %d", "%S %d", "%7ls %d", "%7[a-z", "%k"})
        EXPECT_EQ(scanfn("abc 7", -1, fmt, a, &number), 0) << fmt;
    EXPECT_EQ(std::string(a, 3), "yz#");
    EXPECT_EQ(number, 5);
    EXPECT_EQ(scanfn("abc de 7", -1, "%*s%*[ a-z]%d", &number), 1);
    EXPECT_EQ(number, 7);
}

TEST(Scan, readsNothingBehindTheLength)
{
    const char text[] = {'1', '2', ' ', '3', '.', '5', 'e', '2'}; // no terminator
    for (int length = 0; length <= 8; ++length) {
        int whole = 0;
        double real = 0;
        const std::string copy(text, static_cast<std::size_t>(length));
        int expectedWhole = 0;
        double expectedReal = 0;
        const int fields = std::max(sscanf(copy.c_str(), "%d%lf", &expectedWhole, &expectedReal), 0);
        const int got = scanfn(std::string(text, 8).data(), length, "%d%lf", &whole, &real);
        EXPECT_EQ(got, length == 7 ? 2 : fields) << length; // "3.5e" is 3.5 here
        EXPECT_EQ(whole, expectedWhole);
        EXPECT_EQ(real, length == 7 ? 3.5 : expectedReal);
    }
    int number = 5;
    EXPECT_EQ(scanfn(text + 1, 1, "%d", &number), 1); // the sanitizers watch the end
    EXPECT_EQ(number, 2);
    EXPECT_EQ(scanfn("1\0002", 3, "%d%d", &number, &number), 1) << "a terminator ends the text as well";
    EXPECT_EQ(scanfn(nullptr, 3, "%d", &number), 0);
    EXPECT_EQ(scanfn("1", -1, nullptr, &number), 0);
}
