// Tokenizers: documented examples, and long random sequences of calls against the plain steps.

#include "support.h"

#include <ztree/ext/attrib.h>

#include <vector>

namespace {

template <class K> class Tokenizer : public HeapTest {
};
TYPED_TEST_SUITE(Tokenizer, BothWidths);
class TokenizerEx : public HeapTest {};

template <class T> std::vector<std::string> rest(T& tokenizer)
{
    std::vector<std::string> all;
    while (tokenizer.hasMoreTokens())
        all.push_back(shown(tokenizer.nextToken()));
    return all;
}
using Strings = std::vector<std::string>;

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

TYPED_TEST(Tokenizer, equalsPlainSteps)
{
    using K = TypeParam;
    using Ch = typename K::Ch;
    using Maybe = std::optional<Text<Ch>>;
    const Text<Ch> alphabet = lit<K>("aab=\"'  \t\r\n\r,") + static_cast<Ch>(sizeof(Ch) == 1 ? -23 : 0x20AC);
    const Text<Ch> many = lit<K>("0123456789") + alphabet; // more than are compared at once
    Dice dice(sizeof(Ch));
    typename K::Tokenizer real;
    TokenizerModel<Ch> model;
    model.init({}, std::nullopt, 0);
    auto chosen = [&]() -> Maybe {
        const int n = dice.below(8);
        if (n < 3)
            return std::nullopt;
        return n == 7 ? many : dice.text(alphabet, 5);
    };
    auto pointer = [](const Maybe& s) { return s ? s->c_str() : nullptr; };
    for (int step = 0; step < 150000; ++step) {
        const Maybe set = chosen();
        switch (model.hasMore() ? dice.below(40) : dice.below(10)) {
        case 0: {
            const int mode = dice.below(4);
            const Text<Ch> text = dice.text(alphabet, dice.below(10) ? 12 : 80);
            real.init(text.c_str(), pointer(set), mode);
            model.init(text, set, mode);
            break;
        }
        case 1:
            real.setSepList(pointer(set));
            model.seps = set.value_or(model.defaults());
            break;
        case 2:
            real.setMode(model.mode = dice.below(4));
            break;
        case 3: {
            typename K::Tokenizer copy(real);
            const Text<Ch> text = dice.text(alphabet, 40);
            real.init(text.c_str(), pointer(set), 1);
            real = copy;
            break;
        }
        case 4:
        case 5:
            ASSERT_EQ(real.skip(pointer(set)), set ? model.skip(*set) : 0);
            break;
        default: {
            const int mode = dice.below(5) - 1;
            const Maybe expected = model.next(set, mode);
            const Ch* token = real.nextToken(pointer(set), mode);
            ASSERT_EQ(shown(token), expected ? shown(*expected) : "(null)")
                << step << ' ' << shown(model.text);
        }
        }
        ASSERT_EQ(real.lastSplit(), model.lastSplit) << step;
        ASSERT_EQ(real.hasMoreTokens(), model.hasMore()) << step;
    }
}

TEST_F(TokenizerEx, equalsPlainSteps)
{
    using Maybe = std::optional<std::string>;
    const std::string alphabet("aab\"=  \r\r\n\n,\0", 13);
    Dice dice(3);
    ZTokenizerEx real(nullptr, 0, nullptr, 0);
    TokenizerModel<char> model;
    model.strict = true;
    model.init({}, std::nullopt, 0);
    ZString out("before");
    for (int step = 0; step < 150000; ++step) {
        const bool none = dice.below(2);
        const std::string drawn = dice.below(8) ? dice.text(alphabet, 5).c_str() : "0123456789\r\n,";
        const Maybe set = none ? Maybe() : drawn;
        const char* pointer = none ? nullptr : drawn.c_str();
        switch (model.hasMore() ? dice.below(30) : dice.below(8)) {
        case 0: {
            const int mode = dice.below(16) & ~4;
            const std::string text = dice.text(alphabet, dice.below(10) ? 12 : 80);
            const bool counted = dice.below(4);
            real.init(text.c_str(), counted ? static_cast<int>(text.size()) : -1, pointer, mode);
            model.init(counted ? text : text.c_str(), set, mode);
            break;
        }
        case 1: {
            ZTokenizerEx copy(real);
            real.init(nullptr, 0, nullptr, 0);
            real = copy;
            break;
        }
        case 2:
            ASSERT_EQ(real.skip(pointer), set ? model.skip(*set) : 0);
            break;
        case 3: {
            const int size = dice.below(6) - 1;
            const std::string expected = model.chunk(size);
            ASSERT_STREQ(real.getChunk(out, size), expected.c_str());
            ASSERT_EQ(static_cast<std::size_t>(out.length()), expected.size());
            break;
        }
        default: {
            const int mode = dice.below(2) ? -1 : dice.below(16) & ~4;
            const Maybe expected = model.next(set, mode);
            const char* token = real.nextToken(out, pointer, mode);
            ASSERT_EQ(token != nullptr, expected.has_value()) << step;
            const std::string got =
                out.length() ? std::string(out.getBuffer(), static_cast<std::size_t>(out.length())) : "";
            ASSERT_EQ(shown(got), shown(expected.value_or(""))) << step << ' ' << shown(model.text);
        }
        }
        ASSERT_EQ(real.lastSplit(), model.lastSplit) << step;
        ASSERT_EQ(real.hasMoreTokens(), model.hasMore()) << step;
    }
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
