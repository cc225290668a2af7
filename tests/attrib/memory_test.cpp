// Every operation with its 1st, 2nd, 3rd ... allocation failing: code, state and leaks.

#include "support.h"

#include <iostream>
#include <memory>
#include <sstream>
#include <vector>

namespace {

template <class K> class AttribMemory : public HeapTest {
};
TYPED_TEST_SUITE(AttribMemory, BothWidths);
class TokenizerExMemory : public HeapTest {};

template <class T> std::string stateOf(T tokenizer)
{
    using Ch = std::remove_cv_t<std::remove_pointer_t<decltype(tokenizer.getSepList())>>;
    std::string state = shown(static_cast<const Ch*>(tokenizer)) + "|" + shown(tokenizer.getSepList()) + "|" +
                        std::to_string(tokenizer.getMode()) + "|" +
                        std::to_string(static_cast<int>(tokenizer.lastSplit()));
    if constexpr (std::is_same_v<T, ZTokenizerEx>) {
        ZString out;
        tokenizer.getChunk(out, 1000);
        return state + "|" + shown(out.getBuffer());
    } else {
        const Ch none[] = {0};
        return state + "|" + shown(tokenizer.nextToken(none, 0));
    }
}

} // namespace

TYPED_TEST(AttribMemory, everyOperation)
{
    using K = TypeParam;
    using A = typename K::Attrib;
    using L = typename K::List;
    using T = typename K::Tokenizer;
    const auto shortText = lit<K>("n"), longText = lit<K>(std::string(100, 'x'));
    const auto markup = lit<K>("a=1 b='two' c='' d=" + std::string(40, 'v') +
                               " e=1 f=1 g=1 h=1 i=1 j=1 k=1 l=1 m=1 n=1 o=1 p=1 q=1 r=1");
    const auto words = lit<K>("one " + std::string(60, 'w') + " three");
    struct Subject {
        A bare, named;
        L list, other;
        T tokenizer, fresh;
        explicit Subject(const Text<typename K::Ch>& m, const Text<typename K::Ch>& w)
            : named(lit<K>("name").c_str(), lit<K>("value").c_str()), list(lit<K>("z=1 a=2").c_str()),
              other(m.c_str()), tokenizer(w.c_str())
        {
            tokenizer.nextToken();
            list.sort();
        }
        std::string state() const
        {
            std::string s = shown(bare.getName()) + shown(bare.getValue()) + shown(named.getName()) +
                            shown(named.getValue()) + std::to_string(A().compare(&bare)) + "|";
            for (int i = 0; i < list.size(); ++i)
                s += shown(list.nameAt(i)) + "=" + shown(list.dataAt(i)) + ";";
            return s + shown(list.getAttrib(lit<K>("Z").c_str())) + stateOf(tokenizer) + stateOf(fresh);
        }
    };
    std::ostringstream saved;
    A(longText.c_str(), longText.c_str()).save(saved);
    const std::vector<std::function<void(Subject&)>> operations = {
        [&](Subject& s) { s.bare.setName(shortText.c_str()); },
        [&](Subject& s) { s.bare.setValue(longText.c_str()); },
        [&](Subject& s) { s.named.setName(longText.c_str()); },
        [&](Subject& s) { s.named.setValue(longText.c_str()); },
        [&](Subject& s) { s.bare = s.named; },
        [&](Subject& s) { EXPECT_EQ(A(s.named).compare(&s.named), 0); },
        [&](Subject&) { EXPECT_NE(A(longText.c_str(), shortText.c_str()).getName(), nullptr); },
        [&](Subject& s) {
            std::istringstream in(saved.str());
            s.named.load(in);
        },
        [&](Subject& s) {
            std::istringstream in(saved.str());
            s.bare.load(in);
        },
        [&](Subject& s) { s.list.setData(markup.c_str()); },
        [&](Subject& s) { s.list.addAttrib(shortText.c_str(), longText.c_str()); },
        [&](Subject& s) { s.list.setAttrib(shortText.c_str(), longText.c_str()); },
        [&](Subject& s) { s.list.setAttrib(lit<K>("a").c_str(), longText.c_str()); },
        [&](Subject& s) { EXPECT_GT(s.list.elementAt(0).length() + s.other.elementAt(3).length(), 40); },
        [&](Subject&) { EXPECT_EQ(L(markup.c_str()).size(), 18); },
        [&](Subject& s) {
            const L empty;
            L copy(s.other);
            copy = empty; // lets go of what it shares
        },
        [&](Subject& s) { s.tokenizer.nextToken(); },
        [&](Subject& s) { s.tokenizer.nextToken(lit<K>("t").c_str()); },
        [&](Subject& s) { s.tokenizer.setSepList(longText.c_str()); },
        [&](Subject& s) { s.tokenizer.init(longText.c_str(), longText.c_str(), 1); },
        [&](Subject& s) { s.fresh = s.tokenizer; },
        [&](Subject& s) { EXPECT_TRUE(T(s.tokenizer).hasMoreTokens()); },
        [&](Subject&) { EXPECT_TRUE(T(longText.c_str()).hasMoreTokens()); },
    };
    const std::string before = Subject(markup, words).state();
    long injected = 0;
    for (const auto& operation : operations) {
        SCOPED_TRACE(&operation - operations.data());
        const long here = this->sweep([&] { return std::make_unique<Subject>(markup, words); }, operation,
                                      [&](const Subject& s) { EXPECT_EQ(s.state(), before); });
        EXPECT_GT(here, 0);
        injected += here;
    }
    std::cout << "failures injected: " << injected << "\n";
    // An index that cannot be made costs speed alone.
    L many(markup.c_str());
    for (const bool onward : {false, true}) {
        platform::Hooks::failAt(platform::Site::heap, 1, onward);
        for (int i = 0; i < 50; ++i)
            EXPECT_EQ(shown(many.getAttrib(lit<K>("B").c_str())), "two");
        platform::Hooks::failAt(platform::Site::heap, 0);
    }
}

TEST_F(TokenizerExMemory, everyOperation)
{
    struct Subject {
        ZTokenizerEx tokenizer, fresh;
        ZString out;
        Subject() : tokenizer(text(), 80, nullptr, 0), fresh(nullptr, 0, nullptr, 0) {}
        static const char* text()
        {
            return "one wwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwww";
        }
        std::string state() const { return stateOf(tokenizer) + stateOf(fresh) + shown(out.getBuffer()); }
    };
    const std::string longText(100, 'x');
    const std::vector<std::function<void(Subject&)>> operations = {
        [](Subject& s) { s.tokenizer.nextToken(s.out, nullptr, -1); },
        [](Subject& s) { s.tokenizer.getChunk(s.out, 40); },
        [&](Subject& s) { s.tokenizer.setSepList(longText.c_str()); },
        [&](Subject& s) { s.tokenizer.init(longText.data(), 90, longText.c_str(), 1); },
        [](Subject& s) { s.fresh = s.tokenizer; },
        [](Subject& s) { EXPECT_TRUE(ZTokenizerEx(s.tokenizer).hasMoreTokens()); },
        [&](Subject&) { EXPECT_TRUE(ZTokenizerEx(longText.c_str(), -1, nullptr, 0).hasMoreTokens()); },
    };
    const std::string before = Subject().state();
    long injected = 0;
    for (const auto& operation : operations) {
        SCOPED_TRACE(&operation - operations.data());
        injected += sweep([] { return std::make_unique<Subject>(); }, operation,
                          [&](const Subject& s) { EXPECT_EQ(s.state(), before); });
    }
    std::cout << "failures injected: " << injected << "\n";
}
