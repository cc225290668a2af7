#include "print_random.h"

#include <gtest/gtest.h>
#include <ztree/print.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <vector>

namespace {

using Wide = std::basic_string<zwchar>;

Wide widen(const std::string& ascii)
{
    return Wide(ascii.begin(), ascii.end());
}

/// What print(buffer) writes, which has to keep within the limit.
template <class Ch, class Print> std::basic_string<Ch> printed(int limit, Print print)
{
    std::basic_string<Ch> buffer(static_cast<std::size_t>(limit) + 1, 0x7F);
    const int n = print(buffer.data());
    EXPECT_LT(n, limit);
    EXPECT_EQ(buffer[static_cast<std::size_t>(n)], 0);
    EXPECT_EQ(buffer.back(), 0x7F) << "written behind the limit";
    return buffer.substr(0, static_cast<std::size_t>(n));
}
template <class... Args> std::string printNarrow(int limit, unsigned page, const char* fmt, Args... args)
{
    return printed<char>(limit, [&](char* out) { return sprintfn(out, limit, page, fmt, args...); });
}
template <class... Args> Wide printWide(int limit, unsigned page, const Wide& fmt, Args... args)
{
    return printed<zwchar>(limit,
                           [&](zwchar* out) { return swprintfn(out, limit, page, fmt.c_str(), args...); });
}

/// Both widths, arguments that are the same for both.
template <class... Args> void expectText(const std::string& text, const char* fmt, Args... args)
{
    SCOPED_TRACE(fmt);
    EXPECT_EQ(printNarrow(600, 65001, fmt, args...), text);
    EXPECT_EQ(printWide(600, 0, widen(fmt), args...), widen(text));
}

} // namespace

TEST(Print, integers)
{
    expectText("0 -1 2147483647 -2147483648", "%d %i %d %d", 0, -1, INT_MAX, INT_MIN);
    expectText("4294967295 ffffffff FFFFFFFF 37777777777", "%u %x %X %o", -1, -1, -1, -1);
    expectText("-9223372036854775808 18446744073709551615", "%lld %llu", LLONG_MIN, -1LL);
    expectText("-5000000000 12a05f200", "%I64d %I64x", -5000000000LL, 5000000000LL);
    expectText("-3 4294967293 -3 -3", "%I32d %I32u %Id %jd", -3, -3, std::ptrdiff_t(-3), -3LL);
    expectText("7 -7 8", "%zu %td %Lu", std::size_t(7), std::ptrdiff_t(-7), 8LL);
    expectText("-1 255 -1 65535 1 2", "%hhd %hhu %hd %hu %hhd %hd", 0xFFF, 0xFFF, 0xFFFFF, 0xFFFFF, 257,
               65538);
    expectText("-2 9", "%ld %lu", -2L, 9UL);
    expectText("[  042][042  ][][0][   ][0x2a][0X00002A][00010]",
               "[%5.3d][%-05.3d][%.0d][%#.0o][%3.d][%#x][%#08X][%#05o]", 42, 42, 0, 0, 0, 42, 42, 8);
}

TEST(Print, doubles)
{
    expectText("0.5 -1.50 2 3. 1e+02", "%g %.2f %.0f %#.0f %.0e", 0.5, -1.5, 2.5, 3.0, 99.5);
    expectText("inf -INF   nan INF  +inf 1.00000e+06", "%f %E %5g %A %+05.1e %#g", HUGE_VAL, -HUGE_VAL,
               std::numeric_limits<double>::quiet_NaN(), HUGE_VAL, HUGE_VAL, 999999.5);
    expectText("0x1p+0 0X1.8P-1 0x0p+0 0x0.0000000000001p-1022 0x1.00p+1", "%a %A %a %a %.2a", 1.0, 0.75, 0.0,
               5e-324, 2.0);
    expectText("0.1000000000000000055511151231257827021181583404541015625000", "%.58f", 0.1);
    expectText("0.25 1E-05", "%Lg %LG", 0.25L, 1e-5L);
}

TEST(Print, otherConversions)
{
    const std::string zeros(2 * sizeof(void*) - 3, '0');
    expectText(zeros + "1AF|" + zeros + "000", "%p|%p", reinterpret_cast<void*>(0x1AF),
               static_cast<void*>(nullptr));
    expectText("[   " + zeros + "00A]", "[%*p]", static_cast<int>(zeros.size()) + 6,
               reinterpret_cast<void*>(10));
    expectText("100% %5 %y %-3.2lk 7 %", "100%% %%5 %y %-3.2lk %d %", 7);
    expectText("%", "%");
    expectText("ab  c", "%c%-3c%c", 'a', 'b', 'c');
    expectText("A B", "%lc %hc", 'A', 'B');
    int target = 5;
    expectText("ab7", "a%nb%d", &target, 7);
    EXPECT_EQ(target, 5) << "%n must not write";
    EXPECT_EQ(printNarrow(20, 0, "a%cb", 0), std::string("a\0b", 3));
    EXPECT_EQ(sizeof(long) == 8, printNarrow(20, 0, "%lx", ~0UL).size() == 16);
}

TEST(Print, nothingToDo)
{
    char c = 'x';
    zwchar w = 'x';
    for (const int limit : {0, -1, INT_MIN}) {
        EXPECT_EQ(sprintfn(&c, limit, 0, "abc"), 0);
        EXPECT_EQ(swprintfn(&w, limit, 0, ZTEXT("abc")), 0);
    }
    EXPECT_EQ(sprintfn(&c, 1, 0, static_cast<const char*>(nullptr)), 0);
    EXPECT_EQ(c, 'x');
    EXPECT_EQ(w, 'x');
    EXPECT_EQ(sprintfn(nullptr, 10, 0, "abc"), 0);
    EXPECT_EQ(swprintfn(static_cast<zwchar*>(nullptr), 10, 0, ZTEXT("abc")), 0);
    EXPECT_EQ(sprintfn(&c, 1, 0, "%d", 5), 0);
    EXPECT_EQ(c, 0);
}

TEST(Print, textOfEitherWidth)
{
    const char* const narrow = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"; // 1, 2, 3 and 4 bytes
    const zwchar wide[] = {'a', 0xE9, 0x20AC, 0xD83D, 0xDE00, 0};
    EXPECT_EQ(printNarrow(99, 65001, "%s|%S|%ls|%hs|%ws|%hS", narrow, wide, wide, narrow, wide, narrow),
              std::string(narrow) + "|" + narrow + "|" + narrow + "|" + narrow + "|" + narrow + "|" + narrow);
    const Wide both = Wide(wide) + zwchar('|') + wide + zwchar('|') + wide + zwchar('|') + wide;
    EXPECT_EQ(printWide(99, 0, widen("%s|%S|%hs|%ls"), wide, narrow, narrow, wide), both);
    EXPECT_EQ(printNarrow(99, 65001, "[%12S][%-12S]", wide, wide),
              std::string("[  ") + narrow + "][" + narrow + "  ]");
    EXPECT_EQ(printWide(99, 0, widen("[%7S][%-7S]"), narrow, narrow),
              widen("[  ") + wide + widen("][") + wide + widen("  ]"));
    EXPECT_EQ(printNarrow(99, 1252, "%S%C", wide, 0x20AC), "a\xE9\x80??\x80");
    EXPECT_EQ(printWide(99, 1252, widen("%S%C"), "\x80", 0xE9), (Wide{0x20AC, 0xE9}));
    EXPECT_EQ(printNarrow(99, 65001, "%lc%C", 0xE9, 0x1F600), "\xC3\xA9\xF0\x9F\x98\x80");
    EXPECT_EQ(printWide(99, 0, widen("%c"), 0x1F600), (Wide{0xD83D, 0xDE00}));
    EXPECT_EQ(printNarrow(99, 64999, "<%S>%d", wide, 1), "<>1") << "an unknown code page converts to nothing";

    expectText("(null) (null) (nul [  (null)]", "%s %S %.4ls [%8hs]", nullptr, nullptr, nullptr, nullptr);
}

TEST(Print, precisionKeepsCharactersWhole)
{
    const char* const narrow = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z";
    const zwchar wide[] = {'a', 0xE9, 0x20AC, 0xD83D, 0xDE00, 'z', 0};
    const int bytes[] = {0, 1, 1, 3, 3, 3, 6, 6, 6, 6, 10, 11, 11};
    const int unitsRead[] = {0, 1, 2, 3, 3, 5, 6};
    for (int p = 0; p <= 12; ++p) {
        SCOPED_TRACE(p);
        const std::string whole(narrow, static_cast<std::size_t>(bytes[p]));
        const std::string padded = std::string(static_cast<std::size_t>(14 - bytes[p]), ' ') + whole + "|";
        EXPECT_EQ(printNarrow(99, 65001, "%.*s|", p, narrow), whole + "|");
        EXPECT_EQ(printNarrow(99, 65001, "%14.*s|", p, narrow), padded);
        // What is read is bounded as well, hence at most p units.
        const int read = unitsRead[std::min(p, 6)];
        const Wide wideWhole(wide, static_cast<std::size_t>(read));
        EXPECT_EQ(printWide(99, 0, widen("%.*s|"), p, wide), wideWhole + zwchar('|'));
        EXPECT_EQ(printNarrow(99, 65001, "%.*ls|", p, wide), whole + "|");
        EXPECT_EQ(printNarrow(99, 65001, "%14.*ls|", p, wide), padded);
    }
    EXPECT_EQ(printWide(99, 0, widen("%.3hs|"), narrow), (Wide{'a', 0xE9, '|'}));
    // A text that ends early in the middle of a character is printed as it is.
    EXPECT_EQ(printNarrow(99, 65001, "%.5s|", "a\xE2\x82"), "a\xE2\x82|");
}

TEST(Print, limitKeepsCharactersWhole)
{
    const std::string utf8 = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z";
    const zwchar wide[] = {'a', 0xE9, 0x20AC, 0xD83D, 0xDE00, 'z', 0};
    const int bytes[] = {0, 1, 1, 3, 3, 3, 6, 6, 6, 6, 10, 11};
    for (int room = 0; room <= 11; ++room) {
        SCOPED_TRACE(room);
        const std::string whole = utf8.substr(0, static_cast<std::size_t>(bytes[room]));
        EXPECT_EQ(printNarrow(room + 1, 65001, "%s!", utf8.c_str()), whole);
        EXPECT_EQ(printNarrow(room + 1, 65001, "%ls!", wide), whole);
        EXPECT_EQ(printNarrow(room + 1, 65001, (utf8 + "!").c_str()), whole);
        EXPECT_EQ(printNarrow(room + 1, 65001, "a\xC3%c%.*s%S", 0xA9, 3, "\xE2\x82\xAC!", wide + 3), whole);
    }
    for (int room = 0; room <= 6; ++room) {
        const Wide whole(wide, static_cast<std::size_t>(room == 4 ? 3 : room));
        EXPECT_EQ(printWide(room + 1, 0, widen("%s!"), wide), whole);
        EXPECT_EQ(printWide(room + 1, 0, widen("%hs!"), utf8.c_str()), whole);
    }
    // Nothing follows a cut, although it would fit.
    EXPECT_EQ(printNarrow(4, 65001, "ab%ls%-2sx", wide + 2, ""), "ab");
    EXPECT_EQ(printNarrow(5, 65001, "%9d", 7), "    ");
    EXPECT_EQ(printNarrow(5, 65001, "%d%d", 123, 456), "1234");
    EXPECT_EQ(printNarrow(5, 65001, "%*d%.*f", INT_MAX, 1, INT_MAX, 1.0), "    ");
    EXPECT_EQ(printNarrow(5, 65001, "%.*f", INT_MAX, 1.0), "1.00");
    // Pairs of a double-byte code page: the second byte of the second pair looks like a first one.
    const std::string pairs = "\x82\xA0\x83\x83\x41\x83\x5C";
    const zwchar wide932[] = {0x3042, 0x30E3, 'A', 0x30BD, 0};
    const int whole932[] = {0, 0, 2, 2, 4, 5, 5, 7};
    for (int room = 0; room <= 7; ++room) {
        EXPECT_EQ(printNarrow(room + 1, 932, "%s!", pairs.c_str()),
                  pairs.substr(0, static_cast<std::size_t>(whole932[room])));
        EXPECT_EQ(printNarrow(room + 1, 932, "%ls!", wide932),
                  pairs.substr(0, static_cast<std::size_t>(whole932[room])));
        EXPECT_EQ(printNarrow(99, 932, "%.*s!", room, pairs.c_str()),
                  pairs.substr(0, static_cast<std::size_t>(whole932[room])) + "!");
    }
}

TEST(Print, limitCutsAnyConversion)
{
    PrintCases cases(5);
    char full[1024];
    for (int i = 0; i < 4000; ++i) {
        const PrintCase c = cases.next();
        const char* const fmt = c.fmt.c_str();
        const int n = callWith(c, [&](auto... args) { return sprintfn(full, 1024, 0, fmt, args...); });
        for (int limit = n + 1; limit > 0; limit -= 1 + limit / 5) {
            const auto room = static_cast<std::size_t>(limit - 1);
            callWith(c, [&](auto... args) {
                EXPECT_EQ(printNarrow(limit, 65001, fmt, args...), std::string(full, room)) << fmt;
                EXPECT_EQ(printWide(limit, 0, widen(fmt), args...), widen(std::string(full, room))) << fmt;
                return 0;
            });
        }
    }
}

// Long texts go through the conversion in pieces when they do not fit.
TEST(Print, longTextsConvert)
{
    std::string utf8;
    Wide wide;
    for (unsigned i = 0; i < 3000; ++i) {
        const unsigned c = i % 3 == 0 ? 'a' + i % 26 : 0x430 + i % 32;
        if (c < 0x80) {
            utf8 += static_cast<char>(c);
        } else {
            utf8 += static_cast<char>(0xC0 | c >> 6);
            utf8 += static_cast<char>(0x80 | (c & 63));
        }
        wide += static_cast<zwchar>(c);
    }
    EXPECT_EQ(printNarrow(9000, 65001, "%ls", wide.c_str()), utf8);
    EXPECT_EQ(printWide(9000, 0, widen("%hs"), utf8.c_str()), wide);
    EXPECT_EQ(printNarrow(9000, 65001, "%6000ls", wide.c_str()), std::string(1000, ' ') + utf8);
    for (int limit = 1; limit < 5000; limit = limit * 5 / 4 + 1) {
        std::size_t n = static_cast<std::size_t>(limit - 1);
        EXPECT_EQ(printWide(limit, 0, widen("%hs"), utf8.c_str()), wide.substr(0, n));
        while (n && (utf8[n] & 0xC0) == 0x80)
            --n;
        EXPECT_EQ(printNarrow(limit, 65001, "%ls", wide.c_str()), utf8.substr(0, n)) << limit;
    }
}

TEST(Print, unsignedShortSpelling)
{
    const unsigned short fmt[] = {'%', 's', '-', '%', 'd', 0};
    const unsigned short text[] = {'a', 'b', 0};
    unsigned short buffer[10];
    EXPECT_EQ(swprintfn(buffer, 10, 0, fmt, text, 12), 5);
    EXPECT_EQ(buffer[0], 'a');
    EXPECT_EQ(buffer[4], '2');
    EXPECT_EQ(buffer[5], 0);
}

// One number for 60,000 random conversions: every target prints the same bytes, in both widths.
TEST(Print, sameBytesEverywhere)
{
    PrintCases cases(1);
    std::uint64_t hash = 0xCBF29CE484222325u;
    char narrow[1024];
    zwchar wide[1024];
    for (int i = 0; i < 60000; ++i) {
        const PrintCase c = cases.next();
        const Wide wideFmt = widen(c.fmt);
        const int n =
            callWith(c, [&](auto... args) { return sprintfn(narrow, 1024, 0, c.fmt.c_str(), args...); });
        const int m =
            callWith(c, [&](auto... args) { return swprintfn(wide, 1024, 0, wideFmt.c_str(), args...); });
        ASSERT_EQ(n, m) << c.fmt;
        for (int k = 0; k <= n; ++k) {
            hash = (hash ^ static_cast<unsigned char>(narrow[k])) * 0x100000001B3u;
            ASSERT_EQ(wide[k], static_cast<zwchar>(narrow[k])) << c.fmt;
        }
    }
    EXPECT_EQ(hash, 0x57841DFA912D07BFu);
}
