#include "string_support.h"
#include "support/random.h"

#include <climits>

template <class S> class Strings : public HeapTest {
};
TYPED_TEST_SUITE(Strings, BothStrings);

TYPED_TEST(Strings, holdsNothingUntilSomethingIsStored)
{
    using S = TypeParam;
    platform::Hooks::failAt(platform::Site::heap, 0);
    S s;
    s.clear();
    s = Text<S>().c_str();
    EXPECT_EQ(s.getBuffer(), nullptr);
    EXPECT_EQ(
        s.length() + s.expand(0, 'x') + s.expand(-5, 'x') + s.truncate(0, 1) + s.toupper() + s.tolower(), 0);
    EXPECT_EQ(s.indexOf(Unit<S>('a'), 0), -1);
    EXPECT_EQ(s.indexOf(lit<S>("a").c_str(), 0), -1);
    EXPECT_EQ(s.lastIndexOf(Unit<S>('a')), -1);
    EXPECT_EQ(s.trim(nullptr, 3) + s.remove(lit<S>("a").c_str()) + s.exchange(lit<S>("a").c_str(), 'x'), 0);
    EXPECT_FALSE(s.startsWith(Text<S>().c_str()));
    EXPECT_EQ(s.getAt(0), 0);
    s.setAt(0, 'x');
    s += S();
    S copy(s), assigned;
    assigned = s;
    EXPECT_EQ(text(s.substring(0, -1)), Text<S>());
    EXPECT_EQ(platform::Hooks::calls(platform::Site::heap), 0);
    EXPECT_EQ(s.getLibVersion(), 2u);
}

// What comes as a surprise; random calls are compared with a model in string_model_test.cpp.
TYPED_TEST(Strings, trimStripsBySetAndFlags)
{
    using S = TypeParam;
    struct Case {
        const char* text;
        const char* set;
        int flags;
        const char* left;
    };
    const Case cases[] = {
        {" \tabc\n", nullptr, 3, "abc"},     // null set: newline, tab, blank
        {"\"\"abc\"\"", "\"", 7, "\"abc\""}, // at most one at each end
        {"\"", "\"", 7, ""},                 // opening and closing delimiter at once
        {"(abc)", "()", 15, "abc"},          // paired delimiters
        {"(abc)", "()", 7, "(abc)"},         // unpaired: '(' would have to close with '('
        {"abc)", "()", 15, "abc"},           // no leading delimiter: the last goes
        {"abc)", "()", 4, "abc"},            // also when not asked for
    };
    for (const Case& c : cases) {
        S s = make<S>(c.text);
        EXPECT_EQ(s.trim(c.set ? lit<S>(c.set).c_str() : nullptr, c.flags),
                  static_cast<int>(std::string(c.text).size() - std::string(c.left).size()));
        EXPECT_EQ(text(s), lit<S>(c.left)) << c.text << " flags " << c.flags;
    }
    S zeros = make<S>(std::string("\0a\0", 3));
    EXPECT_EQ(zeros.trim(nullptr, 3), 0); // the set ends at its terminator
}

TYPED_TEST(Strings, searchRestartsBehindAMismatch)
{
    using S = TypeParam;
    const auto find = [](const char* in, const char* what, int from) {
        return make<S>(in).indexOf(lit<S>(what).c_str(), from);
    };
    EXPECT_EQ(find("aaab", "aab", 0), -1); // the match begins inside a failed partial match
    EXPECT_EQ(find("abc", "", 0), -1);
    EXPECT_EQ(find("abc", "c", -1), -1);
    EXPECT_EQ(find("abc", "c", INT_MAX), -1);

    Dice dice(7);
    const std::string rarely = "aaaaaaaaaaaaaaaabc", often = "aab";
    for (int round = 0; round < 20000; ++round) {
        const std::string in = dice.text(rarely, 150),
                          what = dice.text(often, 4) + (dice.below(3) ? 'a' : 'b');
        const std::size_t from = static_cast<std::size_t>(dice.below(4));
        int expected = -1;
        for (std::size_t i = from, matched = 0; i < in.size() && expected < 0; ++i) {
            matched = in[i] == what[matched] ? matched + 1 : 0;
            if (matched == what.size())
                expected = static_cast<int>(i + 1 - matched);
        }
        ASSERT_EQ(find(in.c_str(), what.c_str(), static_cast<int>(from)), expected) << what << " in " << in;
    }
}

TYPED_TEST(Strings, findsUnitsAndPrefixes)
{
    using S = TypeParam;
    const std::string letters = "abcdefghijklmnopqrstuvwxyzabcdefghijklmnopqrstuvwxyz0123456789";
    const S s = make<S>(letters);
    for (int from = 0; from < 64; ++from) {
        const std::size_t at = letters.find('k', static_cast<std::size_t>(from));
        EXPECT_EQ(s.indexOf(Unit<S>('k'), from), at == std::string::npos ? -1 : static_cast<int>(at));
    }
    EXPECT_EQ(s.indexOf(Unit<S>('9'), 0), 61);
    EXPECT_EQ(s.indexOf(Unit<S>(0), 0), -1); // the terminator is no part of the text
    EXPECT_EQ(s.lastIndexOf(Unit<S>('k')), 36);
    EXPECT_EQ(s.lastIndexOf(Unit<S>('K')), -1);
    EXPECT_TRUE(s.startsWith(lit<S>("abc").c_str()));
    EXPECT_TRUE(s.startsWith(s.getBuffer()));
    EXPECT_FALSE(s.startsWith(lit<S>("abd").c_str()));
    EXPECT_FALSE(make<S>("ab").startsWith(lit<S>("abc").c_str()));
    EXPECT_FALSE(make<S>(std::string("ab\0", 3)).startsWith(lit<S>("abc").c_str()));
    EXPECT_EQ(s[36], Unit<S>('k'));
    EXPECT_EQ(s.getAt(-1) + s.getAt(62) + s[INT_MIN], 0);
}

TYPED_TEST(Strings, partsAndLengths)
{
    using S = TypeParam;
    const S s = make<S>("0123456789");
    EXPECT_EQ(text(s.substring(-3, 2)), lit<S>("01"));
    EXPECT_EQ(text(s.substring(8, -1)), lit<S>("89"));
    EXPECT_EQ(text(s.substring(7, 3)), Text<S>());
    S cut(s);
    EXPECT_EQ(cut.truncate(2, 10), 10); // a count of the length or more changes nothing
    EXPECT_EQ(cut.truncate(-1, 2), 10); // nor does a start in front
    EXPECT_EQ(cut.truncate(2, 9), 8);
    EXPECT_EQ(text(cut), lit<S>("23456789"));

    S ten = make<S>("0123456789"), thirty = make<S>("012345678901234567890123456789");
    EXPECT_EQ(ten.expand(5, 'x'), 5); // a request for at most 16 cuts
    EXPECT_EQ(ten.expand(8, 'x'), 8);
    EXPECT_EQ(text(ten), lit<S>("01234xxx"));
    EXPECT_EQ(thirty.expand(20, 'x'), 30); // a larger one does not
    const S shared(thirty);
    EXPECT_EQ(thirty.expand(20, 'x'), 20); // unless the block is shared
    EXPECT_EQ(shared.length(), 30);

    S own = make<S>("0123456789abcdefghijklmnopqrstuvwxyz");
    put(own, Text<S>(own.getBuffer() + 2, 5));
    EXPECT_EQ(text(own), lit<S>("23456"));
    EXPECT_EQ(own.remove(own.getBuffer()), 5); // its own text as set
    EXPECT_EQ(own.getBuffer(), nullptr);
    S zeros = make<S>(std::string("a\0b\0c", 5));
    EXPECT_EQ(zeros.exchange(lit<S>("b").c_str(), 'x'), 3); // a zero counts as in every set
    EXPECT_EQ(text(zeros), lit<S>("axxxc"));
}

// Nothing need be there behind a length of 0: the end of a block may be the end of the memory.
TYPED_TEST(Strings, aLengthOfZeroReadsNothing)
{
    using S = TypeParam;
    const auto* end = reinterpret_cast<const char*>(std::uintptr_t{16});
    const auto* wideEnd = reinterpret_cast<const zwchar*>(std::uintptr_t{16});
    S s = make<S>("text"), other(s);
    if constexpr (std::is_same_v<S, ZString>)
        EXPECT_EQ(s.set(end, 0, 65001) + other.set(wideEnd, 0, 65001), 0);
    else
        EXPECT_EQ(s.set(wideEnd, 0) + other.set(end, 0, 65001), 0);
    EXPECT_EQ(text(s) + text(other), Text<S>());
    s = make<S>("text");
    if constexpr (std::is_same_v<S, ZString>) // but the own text stays
        EXPECT_EQ(s.set(s.getBuffer(), 0, 65001), 4);
    else
        EXPECT_EQ(s.set(s.getBuffer(), 0), 4);
}

TYPED_TEST(Strings, movesAndCopies)
{
    using S = TypeParam;
    for (const char* sample : {"short", "a text that is too long to be kept inline"}) {
        S copy = make<S>(sample), assigned = make<S>("other");
        S moved(std::move(copy));
        EXPECT_EQ(copy.length(), 0);
        EXPECT_EQ(text(moved), lit<S>(sample));
        copy = std::move(assigned);
        EXPECT_EQ(assigned.length(), 0);
        EXPECT_EQ(text(copy), lit<S>("other"));
        assigned = moved; // a moved-from string is as good as new
        EXPECT_EQ(text(assigned), lit<S>(sample));
    }
    platform::Hooks::failAt(platform::Site::heap, 0);
    const S a = make<S>(std::string(1000, 'x'));
    const long made = platform::Hooks::calls(platform::Site::heap);
    const S b(a);
    EXPECT_EQ(platform::Hooks::calls(platform::Site::heap), made + 1); // the object, no bytes
    EXPECT_EQ(a.getBuffer(), b.getBuffer());
}

TYPED_TEST(Strings, threadsShareCopies)
{
    using S = TypeParam;
    const std::string sample = "a text that is too long to be kept inline";
    const S common = make<S>(sample);
    onThreads(4, [&](int id) {
        S last;
        for (int i = 0; i < 5000; ++i) {
            S copy(common);
            last = copy;
            if (i % 3 == id % 3) {
                copy.setAt(0, static_cast<Unit<S>>('0' + id));
                ASSERT_EQ(copy[0], static_cast<Unit<S>>('0' + id));
                copy += copy;
            }
            ASSERT_EQ(last[0], 'a');
        }
        EXPECT_EQ(text(last), lit<S>(sample));
    });
    EXPECT_EQ(text(common), lit<S>(sample));
    // The last two holders race to write: one of them may keep the block.
    for (int round = 0; round < 100; ++round) {
        S a = make<S>(sample), b(a);
        std::thread other([&b] { b.setAt(0, 'B'); });
        a.setAt(0, 'A');
        other.join();
        ASSERT_EQ(a[0], 'A');
        ASSERT_EQ(b[0], 'B');
    }
}

TYPED_TEST(Strings, numbersAreDecimalText)
{
    using S = TypeParam;
    for (int value : {0, 7, -7, 42, 1000000000, INT_MAX, INT_MIN}) {
        S assigned;
        assigned = value;
        S added = make<S>("x");
        added += value;
        EXPECT_EQ(text(assigned), lit<S>(std::to_string(value)));
        EXPECT_EQ(text(S(value)), lit<S>(std::to_string(value)));
        EXPECT_EQ(text(added), lit<S>("x" + std::to_string(value)));
        EXPECT_EQ(text(value + added + value),
                  lit<S>(std::to_string(value) + "x" + std::to_string(value) + std::to_string(value)));
    }
    const S ab = make<S>("ab");
    EXPECT_EQ(text(ab + Unit<S>('c') + ab + lit<S>("d").c_str()), lit<S>("abcabd"));
    EXPECT_EQ(text(lit<S>("d").c_str() + (Unit<S>('c') + ab)), lit<S>("dcab"));
}

TYPED_TEST(Strings, singleAppendsAllocateRarely)
{
    using S = TypeParam;
    for (int step : {16, 0, 1000}) {
        platform::Hooks::failAt(platform::Site::heap, 0);
        S s;
        EXPECT_EQ(s.setGrowth(step), 0);
        for (int i = 0; i < 100000; ++i)
            s.append(Unit<S>('a' + i % 26));
        EXPECT_EQ(s.length(), 100000);
        EXPECT_EQ(s[99999], Unit<S>('a' + 99999 % 26));
        EXPECT_LT(platform::Hooks::calls(platform::Site::heap), 40);
    }
    S s;
    EXPECT_EQ(static_cast<unsigned>(s.setGrowth(-1)), ztree::errInvalidArg);
    EXPECT_EQ(s.setGrowth(INT_MAX), 0); // a step that no memory could hold is cut to what can be counted
    s = 5;
    s += 5;
    EXPECT_EQ(text(s), lit<S>("55"));
}

TYPED_TEST(Strings, lengthsThatNoMemoryCouldHold)
{
    using S = TypeParam;
    if constexpr (sizeof(void*) == 4 || sizeof(Unit<S>) > 1) { // 2 GB: a 64-bit heap may well give them
        S s = make<S>("0123456789abcdefghij");
        if (sizeof(void*) == 4) {
            EXPECT_THROW(s.expand(INT_MAX, 'x'), structExcept);
        }
        EXPECT_THROW(s.append(s.getBuffer(), INT_MAX), structExcept); // the sum does not fit an int
        EXPECT_EQ(s.length(), 20);
    }
}
