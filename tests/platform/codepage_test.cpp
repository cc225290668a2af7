#include "platform/codepage.h"

#include "platform/codepage_corpus.h"
#include "platform/syserror.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using platform::lastError;
using platform::setLastError;
using platform::toNarrow;
using platform::toWide;

std::u16string wide(unsigned page, const std::string& s)
{
    std::vector<zwchar> out(s.size() + 1, zwchar{0xEEEE});
    const int n = toWide(page, s.data(), static_cast<int>(s.size()), out.data(), static_cast<int>(s.size()));
    EXPECT_EQ(out.back(), 0xEEEE);
    return std::u16string(out.begin(), out.begin() + n);
}

std::string narrow(unsigned page, const std::u16string& w)
{
    const std::vector<zwchar> in(w.begin(), w.end());
    std::string out(3 * in.size() + 1, '#');
    const int n =
        toNarrow(page, in.data(), static_cast<int>(in.size()), &out[0], static_cast<int>(out.size()));
    EXPECT_EQ(out[static_cast<std::size_t>(n)], '#') << "written behind the result";
    out.resize(static_cast<std::size_t>(n));
    return out;
}

// What the system's own calls answered for the whole corpus was recorded under Wine; the system's
// calls themselves are checked against the record on win32, and what stands for them on Linux.
TEST(Codepage, answersAsRecorded)
{
    static constexpr corpus::GroupDigests::Group recorded[] = {
#include "platform/codepage_hashes.inc"
    };
    constexpr std::size_t count = sizeof recorded / sizeof *recorded;
    corpus::GroupDigests now;
    corpus::run(now);
    ASSERT_EQ(now.groups.size(), count);
    for (std::size_t i = 0; i < count; ++i)
        EXPECT_EQ(now.groups[i].digest, recorded[i].digest)
            << recorded[i].name << "; tools/compare_codepages/run.sh finds the cases";
}

TEST(Codepage, badUtf8BecomesReplacementCharacters)
{
    const struct {
        const char* bytes;
        const char16_t* units;
    } cases[] = {
        {"\xE2\x82\xAC", u"\u20AC"},
        {"\xF0\x9F\x98\x80", u"\U0001F600"},
        {"a\x80\x80z", u"a\uFFFD\uFFFDz"}, // trail bytes alone
        {"\xC0\x80", u"\uFFFD\uFFFD"},     // overlong
        {"\xE0\x9F\xBF", u"\uFFFD\uFFFD"},
        {"\xED\xA0\x80", u"\uFFFD\uFFFD"},           // a surrogate
        {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD"}, // above U+10FFFF
        {"\xE2\x82z!", u"\uFFFDz!"},                 // broken off
        {"\xE2z", u"\uFFFD"},                        // the text is too short: its rest is swallowed
        {"\xEF\xBB\xBFx", u"\uFEFFx"},               // a byte-order mark is a character
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.units[0]);
        EXPECT_EQ(wide(65001, c.bytes), c.units);
        EXPECT_EQ(toWide(65001, c.bytes, static_cast<int>(std::strlen(c.bytes)), nullptr, 0),
                  static_cast<int>(std::u16string(c.units).size()));
    }
    EXPECT_EQ(narrow(65001, {0xD800, 'b', 0xDC00, 0xD83D, 0xDE00, 0xD83D}), "\xEF\xBF\xBD"
                                                                            "b"
                                                                            "\xEF\xBF\xBD"
                                                                            "\xF0\x9F\x98\x80"
                                                                            "\xEF\xBF\xBD");
}

TEST(Codepage, pagesByRole)
{
    EXPECT_EQ(wide(0, "\xE4"), wide(platform::ansiCodepage(), "\xE4"));
    EXPECT_EQ(wide(1, "\x81"), u"\u00FC");
    EXPECT_EQ(narrow(1252, u"\u20AC\u0100\u4E00"), "\x80"
                                                   "A?"); // itself, best fit, default character
}

TEST(Codepage, doubleBytePages)
{
    EXPECT_EQ(wide(932, "\x93\xFA\x96\x7B!"), u"\u65E5\u672C!");
    EXPECT_EQ(narrow(932, u"\u65E5\u672C!"), "\x93\xFA\x96\x7B!");
    EXPECT_EQ(wide(936, "\xD6\xD0"), u"\u4E2D");
    EXPECT_EQ(narrow(949, u"\uD55C"), "\xC7\xD1");
    EXPECT_EQ(wide(950, "\xA4\xA4"), u"\u4E2D");
    EXPECT_EQ(wide(932, "\x81\x20z"), u"\u30FBz");          // a pair without meaning
    EXPECT_EQ(narrow(936, u"a\U0001F600\uFFFFz"), "a???z"); // units without a counterpart
    EXPECT_TRUE(platform::isLeadByte(932, 0x93));
    EXPECT_FALSE(platform::isLeadByte(932, 0xB1));
    EXPECT_EQ(toWide(65000, "+IKw-A", 6, nullptr, 0), 2);
    EXPECT_EQ(toNarrow(932, ZTEXT("\u65E5\u672C"), 2, nullptr, 0), 4);
    char three[3];
    setLastError(0);
    EXPECT_EQ(toNarrow(932, ZTEXT("\u65E5\u672C"), 2, three, 3), 0);
    EXPECT_EQ(lastError(), 122u);
}

TEST(Codepage, refusals)
{
    zwchar units[8];
    char bytes[8];
    const auto refused = [](int result, unsigned code) {
        const bool so = result == 0 && lastError() == code;
        setLastError(0);
        return so;
    };
    setLastError(0);
    for (const unsigned page : {5u, 41u, 43u, 12345u, 99999u, 1200u, 65002u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(page);
        EXPECT_TRUE(refused(toWide(page, "a", 1, units, 8), 87));
        EXPECT_TRUE(refused(toNarrow(page, ZTEXT("a"), 1, bytes, 8), 87));
        EXPECT_TRUE(refused(toNarrow(page, ZTEXT("a"), 1, nullptr, 0), 87));
        EXPECT_FALSE(platform::isLeadByte(page, 0x90));
    }
    for (const unsigned page : {65001u, 1252u, 932u, 0u}) {
        SCOPED_TRACE(page);
        EXPECT_TRUE(refused(toWide(page, "a", 0, units, 8), 87));
        EXPECT_TRUE(refused(toWide(page, "a", -1, units, 8), 87)); // no "up to the terminator"
        EXPECT_TRUE(refused(toWide(page, "a", 1, units, -1), 87));
        EXPECT_TRUE(refused(toWide(page, nullptr, 1, units, 8), 87));
        EXPECT_TRUE(refused(toWide(page, "a", 1, nullptr, 8), 87));
        EXPECT_TRUE(refused(toNarrow(page, ZTEXT("a"), -1, bytes, 8), 87));
        EXPECT_TRUE(refused(toNarrow(page, nullptr, 1, bytes, 8), 87));
        EXPECT_TRUE(refused(toNarrow(page, ZTEXT("a"), 1, nullptr, 8), 87));
        EXPECT_TRUE(refused(toWide(page, "abc", 3, units, 2), 122));
        EXPECT_TRUE(refused(toNarrow(page, ZTEXT("abc"), 3, bytes, 2), 122));
        setLastError(55);
        EXPECT_EQ(toWide(page, "a\0b", 3, units, 8), 3); // a zero is a character
        EXPECT_EQ(units[2], 'b');
        EXPECT_EQ(lastError(), 55u) << "success leaves the last error alone";
    }
}

TEST(CaseMapping, edges)
{
    zwchar w[] = {'a', 0, 0xE9, 0x44F, 0xFF, 0xDF, 0xB5, 0x131, 0xD801, 0xDC28, 0xDC28, 0xD801};
    platform::upperWide(w, 12);
    const zwchar upper[] = {'A', 0, 0xC9, 0x42F, 0x178, 0xDF, 0xB5, 0x131, 0xD801, 0xDC00, 0xDC28, 0xD801};
    EXPECT_EQ(std::vector<zwchar>(w, w + 12), std::vector<zwchar>(upper, upper + 12));
    platform::lowerWide(w, 0);
    platform::lowerWide(nullptr, 0);
    platform::upperAnsi(nullptr, 0);
    EXPECT_EQ(w[0], 'A');
    std::string s = "0123456789 the quick \xE9\xFF\xDF fox";
    platform::upperAnsi(&s[0], static_cast<int>(s.size()) - 1);
    EXPECT_EQ(s, "0123456789 THE QUICK \xC9\x9F\xDF FOx");
}

// Whole texts go by vectors where they can; the outcome is that of each unit alone.
TEST(CaseMapping, textAsUnits)
{
    static constexpr unsigned first[] = {0x20, 0x80, 0x400, 0x2000, 0x3000, 0xFF00, 0x0};
    static constexpr unsigned count[] = {0x60, 0x110, 0x70, 0x120, 0x7700, 0x60, 0xD800};
    corpus::Random r;
    for (int i = 0; i < 3000; ++i) {
        const unsigned kind = r.below(7);
        std::vector<zwchar> w(1 + r.below(60));
        for (zwchar& c : w) {
            const unsigned k = r.below(3) ? kind : 0;
            c = static_cast<zwchar>(first[k] + r.below(count[k]));
        }
        std::vector<zwchar> upper = w, lower = w;
        platform::upperWide(upper.data(), static_cast<int>(w.size()));
        platform::lowerWide(lower.data(), static_cast<int>(w.size()));
        for (std::size_t k = 0; k < w.size(); ++k) {
            ASSERT_EQ(upper[k], platform::upperUnit(w[k])) << std::hex << w[k];
            ASSERT_EQ(lower[k], platform::lowerUnit(w[k])) << std::hex << w[k];
        }
    }
}

TEST(SystemMessage, textsAndRoom)
{
    char text[64];
    EXPECT_EQ(platform::systemMessage(2, text, sizeof text), 17);
    EXPECT_STREQ(text, "File not found.\r\n");
    EXPECT_EQ(platform::systemMessage(0x80070002, text, sizeof text), 17);
    EXPECT_EQ(platform::systemMessage(0x80004001, text, sizeof text), 18);
    EXPECT_EQ(platform::systemMessage(0x84201001, text, sizeof text), 0);
    EXPECT_EQ(platform::systemMessage(5, text, 17), 16);
    for (const int room : {0, 1, 2, 16}) {
        text[0] = '#';
        EXPECT_EQ(platform::systemMessage(5, text, room), 0) << "a message that does not fit is left out";
        EXPECT_EQ(text[0], room ? '\0' : '#');
    }
    EXPECT_EQ(platform::systemMessage(5, nullptr, 0), 0);
}

} // namespace
