// Strings in every state they can be in, arrays, attributes and tokenizers.

#include "faults/sweep.h"

#include <ztree/attrib.h>
#include <ztree/containers.h>
#include <ztree/ext/containers.h>
#include <ztree/ext/strings.h>

#include <sstream>
#include <vector>
#if defined(_WIN32)
#include <windows.h>

#include <oleauto.h>
#endif

namespace {

using namespace faults;
using Widths = ::testing::Types<char, zwchar>;

template <class Ch> struct Names {
    using String = ZString;
    using Attrib = ZAttrib;
    using List = ZAttribList;
    using Tokenizer = ZTokenizer;
};
template <> struct Names<zwchar> {
    using String = ZStringW;
    using Attrib = ZAttribW;
    using List = ZAttribWList;
    using Tokenizer = ZTokenizerW;
};
template <class Ch> class TextFaults : public Sweep {
};
TYPED_TEST_SUITE(TextFaults, Widths);

const std::string few(5, 'f'), many(3000, 'm');

TYPED_TEST(TextFaults, strings)
{
    using S = typename Names<TypeParam>::String;
    struct Pair {
        S one, other;
    };
    struct Operation {
        std::function<void(Pair&)> run;
        Again again = Again::same;
    };
    constexpr bool isNarrow = std::is_same_v<S, ZString>;
    const auto c = static_cast<TypeParam>('c');
    const auto shortText = widen<TypeParam>(few), longText = widen<TypeParam>(many);
    const std::basic_string<zwchar> wide(700, 0x20AC);
    const std::basic_string<zwcharOther> third(3000, 0xE4);
    const std::string utf8 = ztree::toUtf8(ZStringW(wide.c_str()));
    const Operation operations[] = {
        {[&](Pair& p) { p.one = longText.c_str(); }},
        {[&](Pair& p) { p.one.append(longText.c_str(), 2000); }},
        {[&](Pair& p) { p.one = S(longText.c_str()); }},
        {[&](Pair& p) { p.one += p.one; }},
        {[&](Pair& p) { p.one += shortText.c_str(); }},
        {[&](Pair& p) { p.one += -123456; }},
        {[&](Pair& p) { p.other = p.one; }},
        {[&](Pair& p) { p.other = S(p.one); }},
        {[&](Pair& p) { p.one = 2000000000; }},
        {[&](Pair& p) { p.one = c; }},
        {[&](Pair& p) { p.one = p.one.length() > 20 ? p.one.getBuffer() + 1 : longText.c_str(); }},
        {[&](Pair& p) { p.one.setAt(0, c); }},
        {[&](Pair& p) { p.one.trim(widen<TypeParam>("x").c_str(), 3); }},
        {[&](Pair& p) { p.one.remove(widen<TypeParam>("x").c_str()); }},
        {[&](Pair& p) { p.one.exchange(widen<TypeParam>("x").c_str(), c); }},
        {[&](Pair& p) { p.one.expand(p.one.length() + 30, c); }},
        {[&](Pair& p) { p.one.truncate(1, 20); }},
        {[&](Pair& p) { p.one.toupper(); }},
        {[&](Pair& p) { p.one.tolower(); }},
        {[&](Pair& p) { p.one.setGrowth(100); }},
        {[&](Pair& p) { // says by its text what went wrong
            p.one.format(widen<TypeParam>("%d %S %g").c_str(), 7, nullptr, 2.5);
            must(shown(p.one) == "7 (null) 2.5");
        }},
        {[&](Pair& p) { p.other = p.one.substring(1, 40); }},
        {[&](Pair& p) { p.other = p.one + p.one + shortText.c_str(); }},
        {[&](Pair& p) { p.other = longText.c_str() + (7 + p.one) + 8; }},
        {[&](Pair& p) { p.other = c + p.one + c; }},
        {[&](Pair& p) { SysFreeString(p.one.length() ? have(p.one.sysAllocString()) : nullptr); }},
        {[&](Pair& p) {
            if constexpr (isNarrow)
                p.one.set(wide.c_str(), 700, 65001);
            else
                p.one.set(utf8.c_str(), -1, 1252);
        }},
        {[&](Pair& p) {
            if constexpr (isNarrow)
                p.one.convertTo(1252);
            else
                p.one = utf8.c_str();
        }},
        {[&](Pair& p) {
            if constexpr (isNarrow)
                p.one.setCodepage(1251);
            else
                p.one += utf8.c_str();
        }},
        {[&](Pair& p) {
             if constexpr (isNarrow) {
                 p.other = ZString(wide.c_str(), 300, 1252);
                 p.other.set(utf8.c_str(), 900, 65001);
                 p.other.convertTo(1252);
                 p.one = wide.c_str();
                 ZString::freeDup(have(ZString::strDup(utf8.c_str(), 1252)));
                 ZString::freeDup(have(ZString::strDup(utf8.c_str(), 65001)));
                 p.one = ztree::narrow(many);
             } else {
                 p.other = ZStringW(utf8.c_str(), 900, 65001);
                 p.other.append(utf8.c_str(), 2100);
                 p.one.set(third.c_str(), 3000);
                 p.one += third.c_str();
                 p.one.append(third.c_str(), 20);
                 p.one = third.c_str();
                 p.one = ZStringW(third.c_str(), 30);
                 p.one = ztree::wide(utf8);
                 char* copy = nullptr;
                 int n = -1;
                 must(p.one.convertTo(65001, &copy, &n) == 0 || copy || n);
                 ZString::freeDup(copy);
             }
         },
         Again::any},
    };
    for (const Operation& operation : operations)
        for (const int length : {-1, 5, 40, 300})
            for (const bool shared : {false, true}) {
                const auto make = [&] {
                    auto p = std::make_unique<Pair>();
                    if (length >= 0)
                        p->one.expand(length, static_cast<TypeParam>('x'));
                    if (shared)
                        p->other = p->one;
                    return p;
                };
                const auto act = [&](Pair& p) {
                    operation.run(p);
                    return shown(p.one) + "|" + shown(p.other);
                };
                this->sweep("operation " + std::to_string(&operation - operations) + " on " +
                                std::to_string(length) + " units",
                            make, act, operation.again);
            }
}

// A large string that finds no room to grow amply is tried again with what it needs.
TYPED_TEST(TextFaults, largeString)
{
    using S = typename Names<TypeParam>::String;
    const auto make = [] {
        auto s = std::make_unique<S>();
        s->expand(1 << 21, static_cast<TypeParam>('x'));
        return s;
    };
    const auto act = [](S& s) {
        s += static_cast<TypeParam>('y');
        return std::to_string(s.length());
    };
    this->sweep("append", make, act);
}

// --- attributes and tokenizers ---

template <class List> std::string shownList(const List& list)
{
    std::string text;
    for (int i = 0; i < list.size(); ++i)
        text += shown(list.nameAt(i)) + "=" + shown(list.dataAt(i)) + ";";
    return text;
}

TYPED_TEST(TextFaults, attributes)
{
    using A = typename Names<TypeParam>::Attrib;
    using L = typename Names<TypeParam>::List;
    const auto lit = [](const std::string& text) { return widen<TypeParam>(text); };
    const auto shortText = lit(few), longText = lit(many);
    std::string markup;
    for (int i = 0; i < 60; ++i)
        markup += "name" + std::to_string(i) + "=\"" + std::string(static_cast<unsigned>(i), 'v') + "\" ";
    std::ostringstream saved;
    A(longText.c_str(), longText.c_str()).save(saved);
    const auto shownAttrib = [](const A& a) { return shown(a.getName()) + "=" + shown(a.getValue()); };

    const auto none = [] { return std::make_unique<A>(); };
    const auto named = [&] { return std::make_unique<A>(shortText.c_str(), shortText.c_str()); };
    const std::function<void(A&)> single[] = {
        [&](A& a) { a.setName(longText.c_str()); },
        [&](A& a) { a.setName(lit("").c_str()); },
        [&](A& a) { a = A(lit("").c_str(), lit("").c_str()); },
        [&](A& a) { a.setValue(longText.c_str()); },
        [&](A& a) { a.setValue(shortText.c_str()); },
        [&](A& a) { a = A(longText.c_str(), shortText.c_str()); },
        [&](A& a) { a = A(a); },
        [&](A& a) {
            std::istringstream in(saved.str());
            a.load(in);
        },
    };
    for (const auto& run : single) {
        const auto act = [&](A& a) {
            run(a);
            return shownAttrib(a);
        };
        this->sweep("attribute without a name", none, act);
        this->sweep("attribute", named, act);
    }

    struct Operation {
        std::function<void(L&)> run;
        Again again = Again::same;
    };
    const Operation lists[] = {
        {[&](L& l) { l.setData(lit(markup).c_str()); }},
        {[&](L& l) { l.addAttrib(shortText.c_str(), longText.c_str()); }},
        {[&](L& l) { l.setAttrib(lit("NAME3").c_str(), longText.c_str()); }},
        {[&](L& l) { l.setAttrib(shortText.c_str(), nullptr); }},
        {[&](L& l) { l.removeAttrib(lit("Name3").c_str()); }},
        {[&](L& l) { l.sort(); }},
        {[&](L& l) { EXPECT_EQ(L(lit(markup).c_str()).size() >= l.size(), true); }},
        {[&](L& l) { EXPECT_GE(l.elementAt(3).length() + l.elementAt(40).length(), 0); }},
        {[&](L& l) { L().operator=(L(l)), L().operator=(l); }, Again::any}, // put right below
        {[&](L& l) {
             for (int i = 0; i < 90; ++i) { // from one size on by an index
                 const auto name = lit("n" + std::to_string(i));
                 l.setAttrib(name.c_str(), shortText.c_str());
                 EXPECT_STREQ(narrow(l.getAttrib(name.c_str())).c_str(), few.c_str());
             }
             l.removeAllAttribs();
         },
         Again::any},
    };
    for (const Operation& operation : lists) {
        if (&operation == &lists[8])
            continue;
        for (const std::string& text : {std::string(), markup.substr(0, 60), markup}) {
            const auto make = [&] { return std::make_unique<L>(lit(text).c_str()); };
            const auto act = [&](L& l) {
                operation.run(l);
                return shownList(l);
            };
            this->sweep("list", make, act, operation.again);
        }
    }
    // An index that cannot be made costs speed alone.
    this->sweep(
        "lookups", [&] { return std::make_unique<L>(lit(markup).c_str()); },
        [&](L& l) {
            std::string all;
            for (int i = 0; i < 200; ++i)
                all += shown(l.getAttrib(lit("NAME" + std::to_string(i % 60)).c_str()));
            return all;
        });
    // A copy shares the attributes; one that could not be made holds none of them.
    const auto make = [&] { return std::make_unique<L>(lit(markup).c_str()); };
    this->sweep("copies of a list", make, [&](L& l) {
        const L empty;
        L copy(l);
        const std::string text = shownList(copy);
        copy = empty; // lets go
        copy = l;
        copy = empty;
        return text + shownList(l);
    });
    if constexpr (std::is_same_v<L, ZAttribList>) {
        const ZStringW wide(ZTEXT("a=\"1\" bcdefghijklmnopqrstuvwxyz=\"2\""));
        this->sweep("list of wide text", [&] { return shownList(ZAttribList(wide)); });
    }
}

TYPED_TEST(TextFaults, tokenizers)
{
    using T = typename Names<TypeParam>::Tokenizer;
    const auto text = widen<TypeParam>("one,two\r\n" + many + " \t" + std::string(200, 'w') + ",");
    const auto seps = widen<TypeParam>(", \t\r\n" + std::string(150, 's'));
    const auto rest = [](T& t) {
        std::string tokens;
        while (t.hasMoreTokens()) {
            tokens += shown(t.nextToken()) + "/";
            tokens += std::to_string(static_cast<int>(t.lastSplit())) + ";";
        }
        return tokens + shown(t.getSepList());
    };
    const auto make = [&] { return std::make_unique<T>(text.c_str()); };
    for (const int mode : {0, 1, 2, 3}) {
        const std::function<void(T&)> operations[] = {
            [&](T& t) { t.init(text.c_str(), nullptr, mode); },
            [&](T& t) { t.init(text.c_str() + 3, seps.c_str(), mode); },
            [&](T& t) { t.setSepList(seps.c_str()); },
            [&](T& t) { t.setMode(mode), t = T(t); },
            [&](T& t) { t = T(text.c_str(), seps.c_str(), mode); },
        };
        for (const auto& run : operations)
            this->sweep("tokenizer in mode " + std::to_string(mode), make, [&](T& t) {
                run(t);
                T all(t);
                return rest(all);
            });
        this->sweep("one token", make,
                    [&](T& t) { return shown(t.nextToken(widen<TypeParam>("\nw").c_str(), mode)); });
        this->sweep("all tokens", make, rest, Again::any);
    }
}

using OtherFaults = Sweep;

TEST_F(OtherFaults, tokenizerOfBytes)
{
    const std::string text = "one,\0two\r\n" + many + " " + std::string(200, 'w');
    const auto make = [&] { return std::make_unique<ZTokenizerEx>(text.data(), 3200, nullptr, 9); };
    sweep("tokens and pieces", make, [&](ZTokenizerEx& t) {
        ZString out;
        ZTokenizerEx copy(t);
        copy.setSepList(many.c_str());
        copy = t;
        std::string all = shown(have(copy.nextToken(out, ",", -1)));
        all += shown(have(copy.getChunk(out, 300)));
        ZTokenizerEx fresh(nullptr, 0, many.c_str(), 0);
        fresh.init(text.data(), 3100, ",", 1);
        while (fresh.hasMoreTokens())
            all += shown(fresh.nextToken(out, nullptr, -1)) + ";";
        return all;
    });
}

// --- arrays ---

class Numbered : public ZSortObject {
public:
    explicit Numbered(int n) : number(n) {}
    int compare(const ZSortObject* other) const override
    {
        return number - static_cast<const Numbered*>(other)->number;
    }
    int number;
};

std::string shownArray(const ZArray& array)
{
    std::string text = std::to_string(array.size()) + ":";
    for (int i = 0; i < array.size(); ++i)
        text += std::to_string(reinterpret_cast<std::intptr_t>(array.getAt(i))) + ",";
    return text;
}
const void* place(int i)
{
    return reinterpret_cast<const void*>(std::intptr_t{i});
}

TEST_F(OtherFaults, arrays)
{
    const std::function<void(ZArray&)> operations[] = {
        [](ZArray& a) { a.add(place(9)); },
        [](ZArray& a) { a.setAt(500, place(9)); },
        [](ZArray& a) { a.resize(100), a.size(); },
        [](ZArray& a) { a.resize(3); },
        [](ZArray& a) { a.compact(); },
        [](ZArray& a) { a = ZArray(a); },
        [](ZArray& a) { ZArray().operator=(a); },
        [](ZArray& a) { EXPECT_EQ(static_cast<int>(ztree::Snapshot<const void>(a).size()), a.size()); },
    };
    for (const auto& run : operations)
        for (const int n : {0, 7, 10, 300}) {
            const auto make = [n] {
                auto array = std::make_unique<ZArray>();
                for (int i = 0; i < n; ++i)
                    array->add(place(i));
                return array;
            };
            sweep("array of " + std::to_string(n), make, [&](ZArray& a) {
                run(a);
                return shownArray(a);
            });
        }
    sweep("growing array", [] {
        ZArray array;
        for (int i = 0; i < 2000; ++i)
            array.add(place(i));
        return shownArray(array);
    });
    sweep("sorted array", [] {
        std::vector<std::unique_ptr<Numbered>> objects;
        for (int i = 0; i < 60; ++i)
            objects.push_back(std::make_unique<Numbered>(i * 37 % 60));
        struct Emptied : ZSortArray {
            ~Emptied() override { removeAll(); } // the objects belong to the list above
        } array, copy;
        for (const auto& o : objects)
            array.insert(o.get());
        array.sort();
        copy = array;
        std::string text;
        for (int i = 0; i < copy.size(); ++i)
            text += std::to_string(
                static_cast<const Numbered*>(static_cast<const ZSortObject*>(copy.getAt(i)))->number);
        return text;
    });
}

TEST_F(OtherFaults, comArrays)
{
    struct Counted : sharedObject {
        int references()
        {
            AddRef();
            return static_cast<int>(Release());
        }
    };
    Counted objects[40];
    for (Counted& o : objects)
        o.AddRef();
    const std::function<void(ZComArray&)> operations[] = {
        [&](ZComArray& a) { a.add(&objects[0]); },
        [&](ZComArray& a) { a.setAt(300, &objects[1]); },
        [](ZComArray& a) { a.compact(true, true); },
        [](ZComArray& a) { EXPECT_EQ(static_cast<int>(ztree::ComSnapshot(a).size()), a.elements()); },
        [&](ZComArray& a) {
            ZComArray copy(a);
            if (copy.hi() >= 0)
                objects[copy.elements() - 1].AddRef(); // the one that a copy does not count
        },
    };
    for (const auto& run : operations)
        for (const int n : {0, 10, 37}) {
            const auto make = [&] {
                auto array = std::make_unique<ZComArray>();
                for (int i = 0; i < n; ++i)
                    array->add(&objects[i]);
                return array;
            };
            sweep("array of objects", make, [&](ZComArray& a) {
                run(a);
                return std::to_string(a.elements()) + "/" + std::to_string(a.hi());
            });
            for (Counted& o : objects)
                EXPECT_EQ(o.references(), 1);
        }
}

} // namespace
