// Tokenizers: documented examples, and long random sequences of calls against the plain steps.

#include "attrib/models.h"
#include "support/heap_fixture.h"
#include "support/random.h"
#include "support/twins.h"

#include <ztree/ext/attrib.h>

#include <array>
#include <vector>

namespace {

template <class K> class Tokenizer : public HeapTest {
};
TYPED_TEST_SUITE(Tokenizer, BothTwins);
class TokenizerEx : public HeapTest {};

template <class T> std::vector<std::string> rest(T& tokenizer)
{
    std::vector<std::string> all;
    while (tokenizer.hasMoreTokens())
        all.push_back(shown(tokenizer.nextToken()));
    return all;
}
using Strings = std::vector<std::string>;

template <class K> Text<typename K::Ch> lit(const std::string& s)
{
    return widen<typename K::Ch>(s);
}

} // namespace

TYPED_TEST(Tokenizer, splitsByMode)
{
    using K = TypeParam;
    struct Case {
        const char* text;
        const char* seps;
        int mode;
        Strings tokens;
        char lastSplit; // behind the first token
    };
    const Case cases[] = {
        {"  a  b ", nullptr, 0, {"a", "b"}, ' '},
        {"a,,b", ",", 1, {"a", "", "b"}, ','},
        {"a,", ",", 1, {"a"}, ','}, // nothing stands behind the last delimiter
        {" a", " ", 1, {"", "a"}, ' '},
        {"a\r\nb\rc\nd", "\r\n", 3, {"a", "b", "c", "d"}, '\n'},
        {"a\r\nb", "\r\n", 1, {"a", "", "b"}, '\r'},
        {"a\r\nb", "\r", 2, {"a", "<10>b"}, '\n'}, // the LF is no delimiter, so only the CR is passed
        {"aXbYc", "123456789XY", 0, {"a", "b", "c"}, 'X'},
        {"abc", "", 0, {}, 0},
        {" \t ", nullptr, 0, {}, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        const auto text = lit<K>(c.text);
        const auto seps = lit<K>(c.seps ? c.seps : "");
        typename K::Tokenizer first(text.c_str(), c.seps ? seps.c_str() : nullptr, c.mode);
        typename K::Tokenizer all(first);
        EXPECT_EQ(rest(all), c.tokens);
        first.nextToken();
        EXPECT_EQ(first.lastSplit(), static_cast<typename K::Ch>(c.lastSplit));
        EXPECT_EQ(first.getMode(), c.mode);
        EXPECT_EQ(shown(first.getSepList()), shown(c.seps ? seps : lit<K>(" \t\r\n")));
    }
}

TYPED_TEST(Tokenizer, changesDelimitersAsItGoes)
{
    using K = TypeParam;
    const typename K::Ch* none = nullptr;
    const auto text = lit<K>(" a = \"b c\" d"), equals = lit<K>("="), quote = lit<K>("\"");
    typename K::Tokenizer t(text.c_str());
    EXPECT_EQ(t.lastSplit(), static_cast<typename K::Ch>(' ')); // what was trimmed off
    EXPECT_EQ(shown(static_cast<const typename K::Ch*>(t)), "a = \"b c\" d");
    EXPECT_EQ(shown(t.nextToken(equals.c_str())), "a ");
    EXPECT_EQ(t.skip(quote.c_str()), 1);
    EXPECT_EQ(t.skip(none), 0);
    EXPECT_EQ(shown(t.nextToken(quote.c_str())), "b c");
    typename K::Tokenizer copy; // a copy goes on where the source stands
    copy = t;
    EXPECT_EQ(shown(copy.nextToken()), "d");
    EXPECT_EQ(shown(t.nextToken()), "d");
    EXPECT_STREQ(shown(t.nextToken()).c_str(), ""); // at the end, not null
    EXPECT_EQ(t.getLibVersion(), 2u);
    // Texts may come from the tokenizer itself.
    t.init(static_cast<const typename K::Ch*>(t), t.getSepList(), 0);
    EXPECT_EQ(rest(t), (Strings{"a", "=", "\"b", "c\"", "d"}));
    t.init(none, none, 0);
    EXPECT_EQ(t.nextToken(), nullptr);
    EXPECT_EQ(static_cast<const typename K::Ch*>(t), nullptr);
}

TEST_F(TokenizerEx, lineEndsAndZeros)
{
    ZString out;
    auto all = [&out](const char* text, int length, const char* seps, int mode) {
        ZTokenizerEx t(text, length, seps, mode);
        Strings tokens;
        while (t.hasMoreTokens()) {
            t.nextToken(out, nullptr, -1);
            tokens.push_back(out.length()
                                 ? shown(std::string(out.getBuffer(), static_cast<std::size_t>(out.length())))
                                 : "");
        }
        return tokens;
    };
    EXPECT_EQ(all("a\rb\r\nc\nd", 8, "\r\n", 3), (Strings{"a<13>b", "c<10>d"}));
    EXPECT_EQ(all("\ra\r\nb", 5, "\r\n", 1), (Strings{"<13>a", "", "b"})); // also at the start of a token
    EXPECT_EQ(all("a\0b;c", 5, ";", 9), (Strings{"a", "b", "c"}));
    EXPECT_EQ(all("a\0b;c", 5, ";", 8), (Strings{"a<0>b", "c"})); // only in exact mode
    EXPECT_EQ(all("a;b", 0, ";", 0), Strings{});
    const char unterminated[] = {';', ';'};
    EXPECT_EQ(all(unterminated, 2, ";", 0), Strings{}); // nothing left: nothing behind the text is looked at
}

// --- against the plain steps ---

/// Both kinds of tokenizers spelled alike.
template <class K> struct Stepped {
    using Ch = typename K::Ch;
    using Modes = std::array<int, 4>;
    static constexpr bool strict = false;
    static constexpr Modes modes = {0, 1, 2, 3};
    typename K::Tokenizer t;

    void init(const Text<Ch>& text, bool, const Ch* set, int mode) { t.init(text.c_str(), set, mode); }
    std::string next(const Ch* set, int mode) { return shown(t.nextToken(set, mode)); }
};
struct Bytes {
    using Ch = char;
};
template <> struct Stepped<Bytes> {
    using Modes = std::array<int, 8>;
    static constexpr bool strict = true;
    static constexpr Modes modes = {0, 1, 2, 3, 8, 9, 10, 11};
    ZTokenizerEx t{nullptr, 0, nullptr, 0};
    ZString out{"before"};

    void init(const std::string& text, bool counted, const char* set, int mode)
    {
        t.init(text.c_str(), counted ? static_cast<int>(text.size()) : -1, set, mode);
    }
    std::string next(const char* set, int mode)
    {
        const bool given = t.nextToken(out, set, mode);
        return given ? bytes() : shown(static_cast<const char*>(nullptr));
    }
    std::string bytes() const
    {
        return out.length() ? shown(std::string(out.getBuffer(), static_cast<std::size_t>(out.length())))
                            : "";
    }
};

template <class K> class TokenizerSteps : public HeapTest {
};
using AllKinds = ::testing::Types<Twin<char>, Twin<zwchar>, Bytes>;
TYPED_TEST_SUITE(TokenizerSteps, AllKinds);

TYPED_TEST(TokenizerSteps, equalPlainOnes)
{
    using Ch = typename TypeParam::Ch;
    using Maybe = std::optional<Text<Ch>>;
    Stepped<TypeParam> real;
    constexpr bool strict = real.strict;
    Text<Ch> alphabet = widen<Ch>("aab=\"'  \t\r\r\n\n,") + static_cast<Ch>(sizeof(Ch) == 1 ? -23 : 0x20AC);
    const Text<Ch> many = widen<Ch>("0123456789") + alphabet; // more than are compared at once
    if (strict)
        alphabet += Ch{};
    Dice dice(sizeof(Ch) + strict);
    TokenizerModel<Ch> model;
    model.strict = strict;
    model.init({}, std::nullopt, 0);
    const auto pickMode = [&] { return real.modes[static_cast<std::size_t>(dice.below(real.modes.size()))]; };
    for (int step = 0; step < 150000; ++step) {
        const int kind = dice.below(8);
        const Maybe set = kind < 3 ? Maybe() : kind == 7 ? many : Maybe(dice.text(alphabet, 5).c_str());
        const Ch* const pointer = set ? set->c_str() : nullptr;
        switch (model.hasMore() ? dice.below(40) : dice.below(10)) {
        case 0: {
            const int mode = pickMode();
            const bool counted = dice.below(4);
            const Text<Ch> text = dice.text(alphabet, dice.below(10) ? 12 : 300);
            real.init(text, counted, pointer, mode);
            model.init(counted ? text : text.c_str(), set, mode);
            break;
        }
        case 1:
            real.t.setSepList(pointer);
            model.seps = set.value_or(model.defaults());
            break;
        case 2:
            real.t.setMode(model.mode = pickMode());
            break;
        case 3: {
            auto copy(real.t);
            real.init(dice.text(alphabet, 40), true, pointer, 1);
            real.t = copy;
            break;
        }
        case 4:
        case 5:
            ASSERT_EQ(real.t.skip(pointer), set ? model.skip(*set) : 0);
            break;
        case 6:
            if constexpr (strict) {
                const int size = dice.below(6) - 1;
                const std::string expected = model.chunk(size);
                ASSERT_STREQ(real.t.getChunk(real.out, size), expected.c_str());
                ASSERT_EQ(real.bytes(), shown(expected));
            }
            break;
        default: {
            const int mode = dice.below(2) ? -1 : pickMode();
            const Maybe expected = model.next(set, mode);
            ASSERT_EQ(real.next(pointer, mode), expected ? shown(*expected) : "(null)")
                << step << ' ' << shown(model.text);
        }
        }
        ASSERT_EQ(real.t.lastSplit(), model.lastSplit) << step;
        ASSERT_EQ(real.t.hasMoreTokens(), model.hasMore()) << step;
    }
}

TEST(Tokens, viewsInALoop)
{
    auto all = [](auto&& range) {
        Strings tokens;
        for (const std::string_view token : range)
            tokens.emplace_back(token);
        return tokens;
    };
    using ztree::Empty;
    EXPECT_EQ(all(ztree::tokens("  a  b ")), (Strings{"a", "b"}));
    EXPECT_EQ(all(ztree::tokens("a,,b,", ",", Empty::keep)), (Strings{"a", "", "b", ""}));
    EXPECT_EQ(all(ztree::tokens("", ",", Empty::keep)), Strings{""});
    EXPECT_EQ(all(ztree::tokens({}, ",", Empty::keep)), Strings{""});
    EXPECT_EQ(all(ztree::tokens(" \t")), Strings{});
    EXPECT_EQ(all(ztree::tokens(std::string_view("a\0b", 3), std::string_view("\0", 1))),
              (Strings{"a", "b"}));
    int wide = 0;
    for (const auto token : ztree::tokens(ZTEXT("one two")))
        wide += static_cast<int>(token.size());
    EXPECT_EQ(wide, 6);
}
