#include "string_support.h"

#include <climits>
#include <cstring>
#include <random>

namespace {
using Wide = std::basic_string<zwchar>;
const unsigned short* us(const zwchar* w)
{
    return reinterpret_cast<const unsigned short*>(w);
}
} // namespace

TEST(TextNumbers, hexadecimalDigitsToBytes)
{
    struct Case {
        const char* hex;
        int len, outSize;
        bool right;
        std::string bytes;
    };
    const Case cases[] = {
        {"0A1", 3, 0, false, {"\0\xA1", 2}},
        {"abcd", 4, 1, true, "\x0C"}, // only outSize digits of a text that is too long
        {"abcd", 4, 1, false, "\x0A"},
        {"abcdef", 6, 2, false, "\xAB"},
        {"abcdef", 6, 2, true, "\xCD"},
        {"aBcD", 4, 2, true, "\xAB\xCD"},
        {"12G4", 4, 0, false, "\x12"}, // ends at the first other character
        {"", 0, 4, true, ""},
    };
    for (const Case& c : cases) {
        char out[8];
        const int n = atox(c.hex, c.len, out, c.outSize, c.right);
        EXPECT_EQ(std::string(out, static_cast<std::size_t>(n)), c.bytes) << c.hex;
    }
    EXPECT_EQ(atox(nullptr, 4, nullptr, 0, false), 0);
}

TEST(TextNumbers, valuesOfBoundedText)
{
    const auto dec = [](const char* s) { return atoin(s, static_cast<int>(std::strlen(s))); };
    EXPECT_EQ(dec(" -12x"), -12);
    EXPECT_EQ(dec("12 3"), 12);
    EXPECT_EQ(dec("--5"), -5);
    EXPECT_EQ(dec("- 5-"), -5);
    EXPECT_EQ(dec("+5"), 0);
    EXPECT_EQ(atoin("1234", 2), 12);
    EXPECT_EQ(atoin("1234", -1) + atoin(nullptr, 4), 0);
    EXPECT_EQ(dec("-2147483648"), INT_MIN);
    EXPECT_EQ(dec("4294967297"), 1); // wraps around
    EXPECT_EQ(xtoin("ff", 2), 255);
    EXPECT_EQ(xtoin(" 1Ag", 4), 26);
    EXPECT_EQ(xtoin("ffffffff", 8), -1);
    EXPECT_EQ(wxtoin(ZTEXT("-1a"), 3), -26);
    EXPECT_EQ(wxtoin(us(ZTEXT("\u0661f")), 2), 0);

    unsigned long value = 1;
    EXPECT_TRUE(isNumeric("", &value));
    EXPECT_EQ(value, 0u);
    EXPECT_TRUE(isNumeric("0042", &value));
    EXPECT_EQ(value, 42u);
    EXPECT_FALSE(isNumeric("4 2", &value) || isNumeric("-1", nullptr) || isNumeric(nullptr, &value));
    EXPECT_EQ(value, 42u);
}

TEST(TextNumbers, addsDigitStrings)
{
    const auto add = [](std::string a, const std::string& b) {
        EXPECT_EQ(stradd(&a[0], static_cast<int>(a.size()), b.data(), static_cast<int>(b.size())), 0);
        return a;
    };
    EXPECT_EQ(add("0099", "1"), "0100");
    EXPECT_EQ(add("99", "1"), "00"); // the carry finds no room
    EXPECT_EQ(add("  99", "1"), " 100");
    EXPECT_EQ(add("x9", "22"), "31"); // the field's digits ended, b's did not
    EXPECT_EQ(add("0005", "1x2"), "0007");
    EXPECT_EQ(add("5", "123"), "8");
    EXPECT_EQ(add("1x5", "9"), "114");
    EXPECT_EQ(add("12", ""), "12");
}

TEST(TextBuffers, comparesAndMeasures)
{
    EXPECT_FALSE(isFilled("   ", 3, ' '));
    EXPECT_TRUE(isFilled("  x", 3, ' '));
    EXPECT_FALSE(isFilled("  x", 2, ' ') || isFilled(std::string("\0x", 2).data(), 2, ' ') ||
                 isFilled("x", -1, ' '));
    EXPECT_TRUE(isFilledW(ZTEXT(" \u2020"), 2, ' ') && isFilledW(us(ZTEXT("ab")), 2, 'a'));

    EXPECT_FALSE(isSetAndEqual("", "", -1) || isSetAndEqual(nullptr, "a", 1) ||
                 isSetAndEqual("ab", "ac", -1));
    EXPECT_TRUE(isSetAndEqual("ab", "ac", 1) && isSetAndEqual("ab", "ab", -1) && isSetAndEqual("a", "b", 0));
    EXPECT_TRUE(isEmptyOrEqual("", "", -1) && isEmptyOrEqual("ab", "ac", 1));
    EXPECT_FALSE(isEmptyOrEqual("", "a", 0) || isEmptyOrEqual(nullptr, nullptr, 0) ||
                 isEmptyOrEqual("a", "abcdef", 6));

    EXPECT_EQ(utf8Len("a\xE4z", 2), 3);
    EXPECT_EQ(utf8Len("ab", 99), 2);
    EXPECT_EQ(utf8LenW(ZTEXT("a\u20ACz"), 3) + utf8LenW(us(ZTEXT("\u20AC")), 1) + utf8Len(nullptr, 5), 6);
}

TEST(TextBuffers, byteSearchSkipsBehindAFailedStart)
{
    const auto find = [](const std::string& hay, const std::string& needle) {
        const char* hit = memmem(hay.data(), hay.size(), needle.data(), needle.size());
        return hit ? static_cast<int>(hit - hay.data()) : -1;
    };
    EXPECT_EQ(find("aaab", "aab"), -1);
    EXPECT_EQ(find("ab", ""), 0);
    EXPECT_EQ(find("a", "ab"), -1);
    EXPECT_STREQ(memmem("xab", 3u, "ab", 2u), "ab");
    EXPECT_EQ(memmem("xab", -3, "ab", 2), nullptr);

    std::mt19937 random(11);
    for (int round = 0; round < 20000; ++round) {
        std::string hay, needle;
        for (std::size_t n = random() % 400; hay.size() < n;)
            hay += random() % 5 ? 'a' : 'b';
        const std::size_t at = hay.empty() ? 0 : random() % hay.size();
        needle =
            hay.substr(at, 2 + random() % (round % 2 ? 10 : 100)); // long ones are compared by hash first
        if (needle.size() < 2)
            continue;
        int expected = -1;
        for (std::size_t i = 0; i + needle.size() <= hay.size(); ++i) {
            if (hay[i] != needle[0])
                continue;
            if (hay.compare(i, needle.size(), needle) == 0) {
                expected = static_cast<int>(i);
                break;
            }
            ++i;
        }
        ASSERT_EQ(find(hay, needle), expected) << needle << " in " << hay;
    }
}

TEST(TextBuffers, searchCountsLines)
{
    const Wide text = ZTEXT("ab\ncd\nef");
    int lines = -1;
    EXPECT_EQ(lfWcschr(text.c_str(), u'e', &lines), text.c_str() + 6);
    EXPECT_EQ(lines, 2);
    EXPECT_EQ(lfWcschr(text.c_str(), u'\n', &lines), text.c_str() + 2);
    EXPECT_EQ(lines, 1); // the line feed sought counts
    EXPECT_EQ(lfWcschr(us(text.c_str()), 'x', &lines), nullptr);
    EXPECT_EQ(lines, 2);
    EXPECT_EQ(lfWcsstr(text.c_str(), ZTEXT("cd"), &lines), text.c_str() + 3);
    EXPECT_EQ(lines, 1);
    EXPECT_EQ(lfWcsstr(text.c_str(), ZTEXT("\ne"), &lines), text.c_str() + 5);
    EXPECT_EQ(lines, 2);
    EXPECT_EQ(lfWcsstr(ZTEXT("aab"), ZTEXT("ab"), nullptr)[0], 'a'); // searches on after a failed comparison
    EXPECT_EQ(lfWcsstr(us(text.c_str()), us(ZTEXT("cx")), &lines), nullptr);
    EXPECT_EQ(lfWcsstr(text.c_str(), ZTEXT("0123456789"), &lines), nullptr); // longer than the text
    EXPECT_EQ(lfWcsstr(text.c_str(), ZTEXT(""), &lines), nullptr);
    EXPECT_EQ(lfWcschr(static_cast<const zwchar*>(nullptr), 'x', &lines), nullptr);
    EXPECT_EQ(lines, 0);
}

TEST(TextBuffers, copies)
{
    char narrow[8] = "?????";
    EXPECT_EQ(strnupr("ab\0cd", narrow, 5), 5);
    EXPECT_EQ(std::string(narrow, 6), std::string("AB\0CD\0", 6));
    EXPECT_EQ(strnupr("ab", narrow, 0), 0);
    zwchar wide[8] = {};
    EXPECT_EQ(wcsnupr(ZTEXT("aB1"), wide, 3), 3);
    EXPECT_EQ(Wide(wide), ZTEXT("AB1"));
    EXPECT_STREQ(qconvA(ZTEXT("a\u20ACb"), narrow), "a\xAC"
                                                    "b");
    EXPECT_EQ(Wide(qconvW("a\xE4", wide)), ZTEXT("a\u00E4"));
    unsigned short units[4];
    EXPECT_EQ(qconvW("z", units)[0], 'z');
    EXPECT_STREQ(qconvA(static_cast<const zwchar*>(nullptr), narrow), "");
    EXPECT_EQ(qconvW(nullptr, wide)[0], 0);
}
