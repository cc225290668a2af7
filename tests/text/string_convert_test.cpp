// What the twins do not share: tags, conversions, formatting.

#include "string_support.h"

#include <ztree/ext/strings.h>

#include <sstream>
#include <thread>
#include <unordered_set>
#include <vector>
#if defined(_WIN32)
#include <windows.h>

#include <oleauto.h>
#endif

namespace {
using Wide = std::basic_string<zwchar>;
class ZStringTest : public HeapTest {};
class ZStringWTest : public HeapTest {};

const char* const wild = reinterpret_cast<const char*>(std::uintptr_t{16});
constexpr char narrowFallback[] = "ZString::format(): Invalid argument list caused an exception";
const Wide wideFallback = ZTEXT("ZStringW::format(): Invalid argument list caused an exception");
} // namespace

TEST_F(ZStringTest, lengthsOfConstructorAndSet)
{
    EXPECT_EQ(text(ZString("abc", 0)), "abc"); // below 1: the whole text
    EXPECT_EQ(text(ZString("abc", 2, 1252)), "ab");
    EXPECT_EQ(text(ZString(ZTEXT("abc"), 0, 1252)), "abc");
    EXPECT_EQ(text(ZString(ZTEXT("a\u00E4c"), 2, 1252)), "a\xE4");
    ZString s("abc");
    EXPECT_EQ(s.set("abc", 0, 1252), 0);
    EXPECT_EQ(s.getBuffer(), nullptr);
    EXPECT_EQ(s.set(std::string("\0b", 2).data(), 2, 1252), 2); // a zero inside counts with a length
    EXPECT_EQ(s.set("", -1, 1252) + s.set(static_cast<const char*>(nullptr), 5, 1252), 0);
    s.append("abcdef", 3);
    s.append("x", -1);
    s.append("yz", 0);
    s.append(nullptr, 5);
    EXPECT_EQ(text(s), "abcx");
}

TEST_F(ZStringTest, tagOfEachSource)
{
    EXPECT_EQ(ZString().getCodepage(), 65001u);
    EXPECT_EQ(ZString("a").getCodepage(), 0u);
    EXPECT_EQ(ZString("", -1, 1252).getCodepage(), 1252u);
    EXPECT_EQ(ZString('c').getCodepage(), 65001u);
    EXPECT_EQ(ZString(42).getCodepage(), 0u);
    EXPECT_EQ(ZString(ZTEXT("a"), -1, 1251).getCodepage(), 1251u);
    ZString s("a", -1, 1252);
    s = "b";
    s += "c";
    s = 'd';
    s.clear();
    EXPECT_EQ(s.getCodepage(), 1252u); // kept by assigning and appending text
    s = 42;
    EXPECT_EQ(s.getCodepage(), 0u);
    s.setCodepage(1252);
    EXPECT_EQ((s + "x").getCodepage(), 1252u);
    EXPECT_EQ(("x" + s).getCodepage(), 0u);
    EXPECT_EQ((5 + s).getCodepage(), 0u);
    EXPECT_EQ(('x' + s).getCodepage(), 65001u);
    EXPECT_EQ(text(5 + s + 6), "5426");
    EXPECT_EQ(s.substring(0, 1).getCodepage(), 1252u);

    ZString a("a text that is too long to be kept inline"), b(a);
    b.setCodepage(1252);
    a = b; // one block already: nothing happens, the tag stays too
    EXPECT_EQ(a.getCodepage(), 0u);
    a = ZString("short", -1, 1250);
    EXPECT_EQ(a.getCodepage(), 1250u);
}

TEST_F(ZStringTest, convertsByItsTag)
{
    ZString s("Gr\xFC\xDF"
              "e \x80",
              -1, 1252);
    EXPECT_EQ(s.characters(), 7);
    EXPECT_EQ(s.convertTo(65001), 11);
    EXPECT_EQ(text(s), "Gr\xC3\xBC\xC3\x9F"
                       "e \xE2\x82\xAC");
    EXPECT_EQ(s.characters(), 7);
    EXPECT_EQ(s.getCodepage(), 65001u);
    EXPECT_EQ(s.convertTo(1252), 7);
    s = ZTEXT("\u20AC"); // by the current tag
    EXPECT_EQ(text(s), "\x80");
    const std::string zeros("a\0\xE4", 3);
    s.set(zeros.data(), 3, 1252);
    EXPECT_EQ(s.convertTo(65001), 4); // by length, not to the first zero
    EXPECT_EQ(s.convertTo(99999), 0); // unknown: nothing is left
    EXPECT_EQ(s.getCodepage(), 65001u);
    EXPECT_EQ(ZString("\xF0\x9F\x98\x80", -1, 65001).characters(), 2);

    const Wide longText(5000, u'\u20AC');
    ZString utf8;
    EXPECT_EQ(utf8.set(longText.c_str(), -1, 65001), 15000);
    EXPECT_EQ(utf8.characters(), 5000);
    // Exactly n units are read: the last one is the end of the array.
    const std::vector<zwchar> bare = {u'a', u'\u20AC'};
    EXPECT_EQ(utf8.set(bare.data(), 2, 65001), 4);

    zwchar* bstr = s.sysAllocString();
    EXPECT_EQ(bstr, nullptr);
    bstr = ZString("\x80x", -1, 1252).sysAllocString();
    ASSERT_NE(bstr, nullptr);
    EXPECT_EQ(Wide(bstr), Wide(ZTEXT("\u20ACx")));
    EXPECT_EQ(SysStringLen(bstr), 2u);
    SysFreeString(bstr);
}

TEST_F(ZStringTest, duplicatesAreUtf8)
{
    EXPECT_EQ(ZString::strDup("", 65001), nullptr);
    EXPECT_EQ(ZString::strDup("a", 99999), nullptr);
    for (unsigned codepage : {65001u, 1252u}) {
        char* copy = ZString::strDup(codepage == 1252 ? "\x80 10" : "\xE2\x82\xAC 10", codepage);
        EXPECT_STREQ(copy, "\xE2\x82\xAC 10");
        ZString::freeDup(copy);
    }
    ZString::freeDup(nullptr);
}

TEST_F(ZStringTest, formatsAndSurvivesBadArguments)
{
    ZString s("x", -1, 1252);
    EXPECT_EQ(s.format("%s-%05d", "a", 42), 7);
    EXPECT_EQ(text(s), "a-00042");
    EXPECT_EQ(s.getCodepage(), 1252u);
    EXPECT_EQ(s.format("<%s>", s.getBuffer()), 9); // its own text as argument
    EXPECT_EQ(s.format("%2000d", 5), 1023);
    EXPECT_EQ(s.format("%s", ""), 0);
    EXPECT_EQ(s.getBuffer(), nullptr);
    s.format("%s", wild);
    EXPECT_EQ(text(s), narrowFallback);
    EXPECT_EQ(s.getCodepage(), 1252u);

    platform::Hooks::failAt(platform::Site::heap, 1, true);
    s = "x";
    EXPECT_EQ(s.format("%50d", 5), 1); // no memory for the result nor, a second time, for the message
    ZString bare;
    EXPECT_EQ(bare.format("%50d", 5), 0);
    platform::Hooks::failAt(platform::Site::heap, 1);
    bare.format("%50d", 5);
    EXPECT_EQ(text(bare), narrowFallback);
}

TEST_F(ZStringWTest, formatsAndSurvivesBadArguments)
{
    ZStringW w;
    EXPECT_EQ(w.format(ZTEXT("%s %S %d"), ZTEXT("a\u20AC"), "\xE2\x82\xAC", 7), 6);
    EXPECT_EQ(text(w), ZTEXT("a\u20AC \u20AC 7"));
    EXPECT_EQ(w.format(reinterpret_cast<const unsigned short*>(ZTEXT("%2000d")), 5), 1023);
    w.format(ZTEXT("%s"), wild);
    EXPECT_EQ(text(w), wideFallback);

    // Two threads at once fault on their own.
    const auto work = [](bool faulty) {
        for (int i = 0; i < 200; ++i) {
            ZString s;
            s.format("%s", faulty || i % 2 ? wild : "fine");
            ASSERT_EQ(text(s), faulty || i % 2 ? narrowFallback : "fine");
        }
    };
    std::thread first(work, true), second(work, false);
    first.join();
    second.join();
}

TEST_F(ZStringWTest, convertsFromBytes)
{
    ZStringW w;
    EXPECT_EQ(w.convertFrom(65001,
                            "\xE2\x82\xAC"
                            "a",
                            -1),
              0); // room for 4, two are needed
    EXPECT_EQ(text(w), ZTEXT("\u20ACa"));
    EXPECT_EQ(w.convertFrom(1252, "\x80\0b", 3), 0);
    EXPECT_EQ(text(w), Wide(ZTEXT("\u20AC\0b"), 3));
    EXPECT_EQ(w.convertFrom(99999, "abc", 3), 87);
    EXPECT_EQ(w.getBuffer(), nullptr);
    w = ZTEXT("x");
    EXPECT_EQ(w.convertFrom(1252, "", -1) + w.convertFrom(1252, "abc", 0) + w.convertFrom(99999, nullptr, 3),
              0);
    EXPECT_EQ(w.getBuffer(), nullptr);
    EXPECT_EQ(ZStringW("abc", 0, 65001).length(), 0); // other than in the narrow constructor
    EXPECT_EQ(text(ZStringW("abc", 2, 65001)), ZTEXT("ab"));
    EXPECT_EQ(text(ZStringW("abc", -1, 65001)), ZTEXT("abc"));
    EXPECT_EQ(w.set("\xE4", 1, 1252), 1);
    EXPECT_EQ(w[0], 0xE4);

    w = "\xE4"; // the ANSI code page, 1252 here and under Wine
    EXPECT_EQ(text(w), ZTEXT("\u00E4"));
    w += "\xE4"; // UTF-8, where that is no sequence
    EXPECT_EQ(text(w), ZTEXT("\u00E4\uFFFD"));
    w.append("\xC3\xA4\xC3\xA4", 2);
    w.append("", -1);
    w.append(static_cast<const char*>(nullptr), 3);
    EXPECT_EQ(text(w), ZTEXT("\u00E4\uFFFD\u00E4"));
}

TEST_F(ZStringWTest, convertsToBytes)
{
    char buffer[8] = "unset";
    char* result = buffer;
    int n = 77;
    EXPECT_EQ(ZStringW().convertTo(65001, buffer, 8), 0);
    EXPECT_STREQ(buffer, "");
    ZStringW w = ZTEXT("a");
    w.clear();
    EXPECT_EQ(w.convertTo(65001, &result, &n), 0);
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(n, 0);
    w = ZTEXT("\u20ACx");
    EXPECT_EQ(w.convertTo(65001, buffer, 8), 5); // with the terminator
    EXPECT_STREQ(buffer, "\xE2\x82\xACx");
    EXPECT_EQ(w.convertTo(65001, buffer, 4), 0);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(w.convertTo(1252, nullptr, 0), 3);
    EXPECT_EQ(w.convertTo(99999, &result, &n), -1);
    EXPECT_EQ(w.convertTo(65001, nullptr, &n), -1);
    for (int units : {2, 300, 5000}) {
        w = ZStringW();
        w.expand(units, u'\u20AC');
        ASSERT_EQ(w.convertTo(65001, &result, &n), 0);
        EXPECT_EQ(n, units * 3);
        EXPECT_EQ(std::string(result).size(), static_cast<std::size_t>(n));
        ZString::freeDup(result);
    }
}

TEST_F(ZStringWTest, caseMappingAndPrefixes)
{
    ZStringW w = ZTEXT("\u00E4\u0436\u00DFx\u0101");
    EXPECT_EQ(w.toupper(), 5);
    EXPECT_EQ(text(w), ZTEXT("\u00C4\u0416\u00DFX\u0100"));
    w.tolower();
    EXPECT_EQ(text(w), ZTEXT("\u00E4\u0436\u00DFx\u0101"));
    EXPECT_TRUE(w.startsWith(ZTEXT("\u00E4\u0436")));
    EXPECT_TRUE(w.startsWith(ZTEXT(""))); // other than in the narrow string, also when it is empty
    w.clear();
    EXPECT_TRUE(w.startsWith(ZTEXT("")));
    EXPECT_FALSE(w.startsWith(static_cast<const zwchar*>(nullptr)));
    ZString s("\xE4x", -1, 65001);
    s.toupper(); // by the ANSI code page whatever the tag
    EXPECT_EQ(text(s), "\xC4X");

    ZStringW many; // a set of more than a few units above Latin
    for (int i = 0; i < 40; ++i)
        many += static_cast<zwchar>(0x400 + i);
    ZStringW left = ZTEXT("\u0400a\u0427\u0428\u0500");
    EXPECT_EQ(left.remove(many), 2);
    EXPECT_EQ(text(left), ZTEXT("a\u0428\u0500"));
    EXPECT_EQ(left.trim(ZTEXT("\u0500\u0428"), 2), 2);
}

TEST_F(ZStringWTest, modernLayer)
{
    const std::string zeros("a\0b", 3);
    const ZString s = ztree::narrow(zeros);
    EXPECT_EQ(ztree::view(s), zeros);
    EXPECT_EQ(ztree::view(ZString()), "");
    EXPECT_EQ(ztree::find(ZString("aaab"), "aab"), 1);
    EXPECT_EQ(ztree::find(ZStringW(ZTEXT("aaab")), ZTEXT("x")), -1);
    for (int n = 1; n < 200; n += 13) { // every place, also of long texts behind many beginnings
        const std::string hay = std::string(200, 'a') + "b" + std::string(150, 'a') + "ba";
        const std::string what = std::string(static_cast<std::size_t>(n), 'a') + "ba";
        const std::basic_string<zwchar> wideWhat(what.begin(), what.end());
        for (const int from : {-1, 0, 100, 200, 201, 352, 353, 354}) {
            const std::size_t at = hay.find(what, from < 0 ? 0 : static_cast<std::size_t>(from));
            const int expected = at == std::string::npos ? -1 : static_cast<int>(at);
            EXPECT_EQ(ztree::find(ztree::narrow(hay), what, from), expected) << n << ' ' << from;
            EXPECT_EQ(ztree::find(ztree::wide(hay), wideWhat, from), expected) << n << ' ' << from;
        }
    }
    const ZStringW w = ztree::wide(u"\u20ACx");
    EXPECT_EQ(ztree::toUtf8(w), "\xE2\x82\xACx");
    EXPECT_EQ(ztree::toUtf8(ZString("\x80", -1, 1252)), "\xE2\x82\xAC");
    EXPECT_EQ(ztree::toU16(ztree::wide("\xE2\x82\xACx")), u"\u20ACx");
    std::ostringstream out;
    out << s << ZString() << w << ZStringW();
    EXPECT_EQ(out.str(), zeros + "\xE2\x82\xACx");
    std::unordered_set<ZString> set;
    set.insert(ZString("key"));
    EXPECT_EQ(set.count(ZString("key", -1, 1252)), 1u); // by bytes
    EXPECT_LT(ztree::compare(ZString("a"), ZString("b")), 0);
}
