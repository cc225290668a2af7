// Which overload plain code reaches: that it compiles, alike on every compiler, and does what it looks like.

#include "string_support.h"

namespace {
class Overloads : public HeapTest {};
const unsigned short units[] = {'a', 'b', 0};
} // namespace

TEST_F(Overloads, narrow)
{
    ZString zero = 0, character = 'c', literal = "x", truth = true, none = nullptr, braces = {};
    EXPECT_EQ(text(zero), "0");
    EXPECT_EQ(text(character), "c");
    EXPECT_EQ(text(literal), "x");
    EXPECT_EQ(text(truth), "1");
    EXPECT_EQ(none.length() + braces.length(), 0);
    literal += 5;
    literal += 'y';
    literal += "z";
    literal += literal;
    EXPECT_EQ(text(literal), "x5yzx5yz");
    EXPECT_EQ(text(ZString("abc") + 1 + 'd' + "e" + ZString("f") + 0), "abc1def0");
    EXPECT_EQ(text("e" + ZString("f")), "ef");

    const ZString fixed = literal;
    const char* p = fixed;
    char* q = literal;
    EXPECT_EQ(p, fixed.getBuffer());
    EXPECT_EQ(q, literal.getBuffer());
    EXPECT_TRUE(literal && !none);
    // Every index type, also that of a built-in subscript of the converted pointer.
    EXPECT_EQ(literal[0], 'x');
    EXPECT_EQ(literal[1L], '5');
    EXPECT_EQ(fixed[1u], '5');
    EXPECT_EQ(fixed[std::size_t{2}], 'y');
    EXPECT_EQ(fixed[std::ptrdiff_t{2}], 'y');
    EXPECT_EQ(fixed[short{2}], 'y');
    EXPECT_EQ(fixed[-1LL], 0);
    EXPECT_EQ(fixed[~std::uint64_t{0}], 0);
    EXPECT_EQ(fixed.indexOf(0, 0), -1);
    EXPECT_EQ(fixed.indexOf('5', 0), 1);
    EXPECT_EQ(fixed.indexOf("5", 0), 1);

    literal = 0;
    EXPECT_EQ(text(literal), "0");
    literal = ZTEXT("w");
    EXPECT_EQ(text(literal), "w");
    literal = units;
    EXPECT_EQ(text(literal), "ab");
    literal = ZStringW(ZTEXT("from wide"));
    EXPECT_EQ(text(literal), "from wide");
    literal = nullptr;
    EXPECT_EQ(literal.length(), 0);
    EXPECT_EQ(text(ZString(units, 1, 65001)), "a");
    EXPECT_EQ(literal.set(units, -1, 65001), 2);

    ZString* created = new ZString("x"); // from the library's heap
    delete created;
    ZString* several = new ZString[3];
    delete[] several;
}

TEST_F(Overloads, wide)
{
    using Wide = std::basic_string<zwchar>;
    ZStringW zero = 0, unit = ZTEXT('c'), none = nullptr, braces = {};
    const ZStringW u = u"u\u20AC", l = L"l\u20AC", s = units, c16 = u'c', cl = L'c', us = units[0];
    EXPECT_EQ(text(zero), ZTEXT("0"));
    EXPECT_EQ(text(unit), ZTEXT("c"));
    EXPECT_EQ(none.length() + braces.length(), 0);
    EXPECT_EQ(text(u + l + s), ZTEXT("u\u20ACl\u20ACab"));
    EXPECT_EQ(text(c16 + cl + us), ZTEXT("cca"));
    EXPECT_EQ(text(u + 1 + ZTEXT('x') + u"y" + L"z" + units + units[1] + u'p' + L'q'),
              ZTEXT("u\u20AC1xyzabbpq"));
    EXPECT_EQ(text(ZTEXT("x") + s) + text(units + s) + text(1 + s) + text(u'p' + s) + text(L'q' + s),
              ZTEXT("xababab1abpabqab"));

    ZStringW w;
    w = u"a";
    w += L"b";
    w += units;
    w.append(L"c", 1);
    w.append(u"cd", 2);
    w.append(units, 1);
    w.append('n');
    w.append(L'l');
    w.append(u'u');
    w.append(0x263A);
    EXPECT_EQ(text(w), ZTEXT("ababccdanlu\u263A"));
    w = L"\u20AC";
    w += 'c'; // a narrow character is an int in arithmetic: its number
    w += u'c';
    w += L'c';
    w += units[0];
    EXPECT_EQ(text(w), ZTEXT("\u20AC99cca"));
    w = nullptr;
    EXPECT_EQ(w.set(L"ab", 1) + w.set(u"ab", 1) + w.set(units, -1), 4);
    w = u'x';
    w = L'x';
    w = units[1];
    EXPECT_EQ(text(w), ZTEXT("b"));

    // Editing takes any character type.
    w.expand(3, 'x');
    w.setAt(0, '1');
    w.setAt(1, units[1]);
    EXPECT_EQ(w.exchange(ZTEXT("x"), '2'), 1);
    EXPECT_EQ(text(w), ZTEXT("1b2"));
    EXPECT_EQ(w.indexOf('2', 0) + w.lastIndexOf('2') + w.indexOf(units[1], 0), 5);
    EXPECT_EQ(w.indexOf(units + 1, 0) + w.remove(units) + w.trim(nullptr, 3) + w.trim(units, 3), 2);
    const zwchar* p = w;
    EXPECT_EQ(p[1], w[1L]);
    EXPECT_EQ(w[std::size_t{1}], w[1]);
    EXPECT_FALSE(w.startsWith(units));

    // The third spelling: 32-bit units become one or two, what is no character U+FFFD.
    const zwcharOther beyond[] = {static_cast<zwcharOther>(0xD83D), static_cast<zwcharOther>(0xDE00), 0};
    EXPECT_EQ(text(ZStringW(beyond)), Wide(ZTEXT("\U0001F600")));
    EXPECT_EQ(text(ZStringW(L"\U0001F600x")), Wide(ZTEXT("\U0001F600x")));
    if constexpr (sizeof(zwcharOther) == 4) {
        EXPECT_EQ(ZStringW(static_cast<zwcharOther>(0x110000))[0], 0xFFFD);
    }
    EXPECT_EQ(ZStringW(std::basic_string<zwcharOther>(500, 'x').c_str()).length(), 500);
}
