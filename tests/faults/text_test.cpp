// Strings in every state they can be in, arrays, attributes and tokenizers.

#include "containers/mZArray.h"
#include "containers/mZComArray.h"
#include "faults/sweep.h"

#include <ztree/attrib.h>
#include <ztree/containers.h>
#include <ztree/ext/containers.h>
#include <ztree/ext/strings.h>

#include <sstream>
#include <thread>
#include <vector>
#if defined(_WIN32)
#include <windows.h>

#include <oleauto.h>
#endif

namespace {

using namespace faults;
template <class Ch> class TextFaults : public Sweep {
};
TYPED_TEST_SUITE(TextFaults, BothUnits);

template <class Subject> struct Operation {
    std::function<void(Subject&)> run;
    Again again = Again::same;
};

const std::string few(5, 'f'), many(3000, 'm');

TYPED_TEST(TextFaults, strings)
{
    using S = typename Twin<TypeParam>::String;
    struct Pair {
        S one, other;
        std::string told() const { return shown(one) + "|" + shown(other); }
    };
    constexpr bool isNarrow = std::is_same_v<S, ZString>;
    const auto c = static_cast<TypeParam>('c');
    const auto shortText = widen<TypeParam>(few), longText = widen<TypeParam>(many);
    const std::basic_string<zwchar> wide(700, 0x20AC);
    const std::basic_string<zwcharOther> third(3000, 0xE4);
    const std::string utf8 = ztree::toUtf8(ZStringW(wide.c_str()));
    const Operation<Pair> operations[] = {
        {[&](Pair& p) { p.one = longText.c_str(); }},
        {[&](Pair& p) { p.one.append(longText.c_str(), 2000); }},
        {[&](Pair& p) { p.one = S(longText.c_str()); }},
        {[&](Pair& p) { p.one += p.one; }},
        {[&](Pair& p) { p.one += shortText.c_str(); }},
        {[&](Pair& p) { p.one += -123456; }},
        {[&](Pair& p) { p.other = p.one; }},
        {[&](Pair& p) { p.other = S(p.one); }},
        {[&](Pair& p) { p.one = 2000000000; }},
        {[&](Pair& p) { p.other = S(5); }},
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
         },
         Again::any},
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
            if constexpr (!isNarrow)
                p.one.convertFrom(65001, utf8.data(), 2000);
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
                 p.other = p.one + third[0];
                 p.other = p.one + reinterpret_cast<const unsigned short*>(wide.c_str());
                 SysFreeString(have(SysAllocString(wide.c_str())));
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
    for (const auto& operation : operations)
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
                this->sweepChange("operation " + std::to_string(&operation - operations) + " on " +
                                      std::to_string(length) + " units",
                                  make, operation.run, operation.again);
            }
}

// A large string that finds no room to grow amply is tried again with what it needs.
TYPED_TEST(TextFaults, largeString)
{
    using S = typename Twin<TypeParam>::String;
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

template <class L> struct List {
    template <class Text> explicit List(const Text& text) : list(text) {}
    L list; // copies share the attributes
    std::string told() const
    {
        std::string text;
        for (int i = 0; i < list.size(); ++i)
            text += shown(list.nameAt(i)) + "=" + shown(list.dataAt(i)) + ";";
        return text;
    }
};

TYPED_TEST(TextFaults, attributes)
{
    using A = typename Twin<TypeParam>::Attrib;
    struct One {
        A attrib;
        std::string told() const { return shown(attrib.getName()) + "=" + shown(attrib.getValue()); }
    };
    const auto shortText = widen<TypeParam>(few), longText = widen<TypeParam>(many),
               empty = widen<TypeParam>("");
    std::ostringstream saved;
    A(longText.c_str(), longText.c_str()).save(saved);
    const std::function<void(A&)> operations[] = {
        [&](A& a) { a.setName(longText.c_str()); },
        [&](A& a) { a.setName(empty.c_str()); },
        [&](A& a) { a = A(empty.c_str(), empty.c_str()); },
        [&](A& a) { a.setValue(longText.c_str()); },
        [&](A& a) { a.setValue(shortText.c_str()); },
        [&](A& a) { a = A(longText.c_str(), shortText.c_str()); },
        [&](A& a) { a = A(a); },
        [&](A& a) {
            std::istringstream in(saved.str());
            a.load(in);
        },
    };
    for (const auto& run : operations)
        for (const TypeParam* const text : {static_cast<const TypeParam*>(nullptr), shortText.c_str()}) {
            const auto make = [&] { return std::make_unique<One>(One{A(text, text)}); };
            this->sweepChange("attribute", make, [&](One& one) { run(one.attrib); });
        }
}

TYPED_TEST(TextFaults, lists)
{
    using L = typename Twin<TypeParam>::List;
    using Subject = List<L>;
    const auto lit = [](const std::string& text) { return widen<TypeParam>(text); };
    const auto shortText = lit(few), longText = lit(many);
    std::string markup;
    for (int i = 0; i < 60; ++i)
        markup += "name" + std::to_string(i) + "=\"" + std::string(static_cast<unsigned>(i), 'v') + "\" ";
    const Operation<L> operations[] = {
        {[&](L& l) { l.setData(lit(markup).c_str()); }},
        {[&](L& l) { l.addAttrib(shortText.c_str(), longText.c_str()); }},
        {[&](L& l) { l.setAttrib(lit("NAME3").c_str(), longText.c_str()); }},
        {[&](L& l) { l.setAttrib(shortText.c_str(), nullptr); }},
        {[&](L& l) { l.removeAttrib(lit("Name3").c_str()); }},
        {[&](L& l) { l.sort(); }},
        {[&](L& l) { EXPECT_EQ(L(lit(markup).c_str()).size() >= l.size(), true); }},
        {[&](L& l) { EXPECT_GE(l.elementAt(3).length() + l.elementAt(40).length(), 0); }},
        {[](L& l) { // a copy shares the attributes; one that could not be made holds none of them
            const L empty;
            L copy(l);
            EXPECT_EQ(copy.size(), l.size());
            copy = empty; // lets go
            copy = l;
            copy = empty;
        }},
        {[&](L& l) {
             for (int i = 0; i < 90; ++i) { // from one size on by an index
                 const auto name = lit("n" + std::to_string(i));
                 l.setAttrib(name.c_str(), shortText.c_str());
                 EXPECT_STREQ(narrow(l.getAttrib(name.c_str())).c_str(), few.c_str());
             }
             l.removeAllAttribs();
         },
         Again::any},
        {[&](L& l) { // an index that cannot be made costs speed alone
            for (int i = 0; i < 200; ++i) {
                const int at = i % 60;
                EXPECT_EQ(l.getAttrib(lit("NAME" + std::to_string(at)).c_str()), l.dataAt(at));
            }
        }},
    };
    for (const auto& operation : operations)
        for (const std::string& text : {std::string(), markup.substr(0, 60), markup}) {
            const auto make = [&] { return std::make_unique<Subject>(lit(text).c_str()); };
            this->sweepChange(
                "list operation " + std::to_string(&operation - operations), make,
                [&](Subject& s) { operation.run(s.list); }, operation.again);
        }
    if constexpr (std::is_same_v<L, ZAttribList>) {
        const ZStringW wide(ZTEXT("a=\"1\" bcdefghijklmnopqrstuvwxyz=\"2\""));
        this->sweep("list of wide text", [&] { return Subject(wide).told(); });
    }
}

/// A tokenizer with all that it is going to give, and one that takes copies.
template <class T> struct Tokens {
    T tokenizer, fresh;
    std::string told() const { return rest(tokenizer) + "|" + rest(fresh); }
    static std::string rest(T t)
    {
        ZString out;
        const auto next = [&] {
            if constexpr (std::is_same_v<T, ZTokenizerEx>)
                return t.nextToken(out, nullptr, -1);
            else
                return t.nextToken();
        };
        std::string text = shown(t.getSepList()) + std::to_string(t.getMode());
        do
            text += ";" + std::to_string(static_cast<int>(t.lastSplit())) + "/" + shown(next());
        while (t.hasMoreTokens());
        return text;
    }
};

TYPED_TEST(TextFaults, tokenizers)
{
    using T = typename Twin<TypeParam>::Tokenizer;
    using Subject = Tokens<T>;
    const auto text = widen<TypeParam>("one,two\r\n" + many + " \t" + std::string(200, 'w') + ",");
    const auto seps = widen<TypeParam>(", \t\r\n" + std::string(150, 's'));
    const auto make = [&] { return std::make_unique<Subject>(Subject{T(text.c_str()), T()}); };
    for (const int mode : {0, 1, 2, 3}) {
        const Operation<Subject> operations[] = {
            {[&](Subject& s) { s.tokenizer.init(text.c_str(), nullptr, mode); }},
            {[&](Subject& s) { s.tokenizer.init(text.c_str() + 3, seps.c_str(), mode); }},
            {[&](Subject& s) { s.tokenizer.setSepList(seps.c_str()); }},
            {[&](Subject& s) { s.tokenizer.setMode(mode), s.fresh = T(s.tokenizer); }, Again::any},
            {[&](Subject& s) { s.fresh = s.tokenizer; }},
            {[&](Subject& s) { s.tokenizer = T(text.c_str(), seps.c_str(), mode); }},
            {[&](Subject& s) { s.tokenizer.nextToken(widen<TypeParam>("\nw").c_str(), mode); }},
            {[](Subject& s) { s.tokenizer.nextToken(); }},
        };
        for (const auto& operation : operations)
            this->sweepChange("tokenizer in mode " + std::to_string(mode) + ", operation " +
                                  std::to_string(&operation - operations),
                              make, operation.run, operation.again);
        this->sweep(
            "all tokens", make, [](Subject& s) { return s.rest(s.tokenizer); }, Again::any);
    }
}

using OtherFaults = Sweep;

TEST_F(OtherFaults, tokenizerOfBytes)
{
    using Subject = Tokens<ZTokenizerEx>;
    const std::string text = "one,\0two\r\n" + many + " " + std::string(200, 'w');
    const auto make = [&] {
        return std::make_unique<Subject>(
            Subject{ZTokenizerEx(text.data(), 3200, nullptr, 9), ZTokenizerEx(nullptr, 0, nullptr, 0)});
    };
    ZString out("out");
    const std::function<void(Subject&)> operations[] = {
        [&](Subject& s) { have(s.tokenizer.nextToken(out, ",", -1)); },
        [&](Subject& s) { have(s.tokenizer.getChunk(out, 300)); },
        [&](Subject& s) { s.tokenizer.setSepList(many.c_str()); },
        [&](Subject& s) { s.tokenizer.init(text.data(), 3100, ",", 1); },
        [](Subject& s) { s.fresh = s.tokenizer; },
        [](Subject& s) { s.fresh = ZTokenizerEx(s.tokenizer); },
        [&](Subject& s) { s.fresh = ZTokenizerEx(nullptr, 0, many.c_str(), 0); },
    };
    for (const auto& run : operations)
        sweepChange("operation " + std::to_string(&run - operations), make, run);
    out = "";
}

// --- arrays ---

struct Numbered : ZSortObject {
    explicit Numbered(int n) : number(n) {}
    int compare(const ZSortObject* other) const override
    {
        return number - static_cast<const Numbered*>(other)->number;
    }
    int number;
};

const void* place(int i)
{
    return reinterpret_cast<const void*>(std::intptr_t{i});
}
/// Asks on another thread: one that could not get in would say that a lock was kept.
template <class Ask> std::string elsewhere(Ask ask)
{
    std::string text;
    std::thread([&] { text = ask(); }).join();
    return text;
}

struct Array : ZArray {
    std::string told() const
    {
        return elsewhere([this] {
            std::string text = std::to_string(m_pImpl->core.capacity()) + ":";
            for (int i = 0; i < size(); ++i)
                text += std::to_string(reinterpret_cast<std::intptr_t>(getAt(i))) + ",";
            return text;
        });
    }
};

TEST_F(OtherFaults, arrays)
{
    s_alsoThrown = ztree::errOutOfMemory;
    ZArray other;
    other.setAt(100, place(7));
    const std::function<void(ZArray&)> operations[] = {
        [](ZArray& a) { a.add(place(9)); },
        [](ZArray& a) { a.setAt(500, place(9)); },
        [](ZArray& a) { a.resize(100); },
        [](ZArray& a) { a.resize(3); },
        [](ZArray& a) { a.compact(); },
        [](ZArray& a) { a = ZArray(a); },
        [&](ZArray& a) { a = other; },
        [](ZArray& a) { ZArray().operator=(a); },
        [](ZArray& a) { EXPECT_EQ(static_cast<int>(ztree::Snapshot<const void>(a).size()), a.size()); },
    };
    for (const auto& run : operations)
        for (const int n : {0, 7, 10, 300}) {
            const auto make = [n] {
                auto array = std::make_unique<Array>();
                for (int i = 0; i < n; ++i)
                    array->add(place(i));
                return array;
            };
            sweepChange("array of " + std::to_string(n), make, run);
        }
    sweep("growing array", [] {
        Array array;
        for (int i = 0; i < 2000; ++i)
            array.add(place(i));
        return array.told();
    });
    other.resize(0);
}

TEST_F(OtherFaults, sortedArrays)
{
    s_alsoThrown = ztree::errOutOfMemory;
    std::vector<Numbered> objects;
    for (int i = 0; i < 60; ++i)
        objects.emplace_back(i * 37 % 60);
    struct Sorted : ZSortArray { // the objects belong to the list above
        Sorted() = default;
        Sorted(const Sorted&) = default;
        Sorted& operator=(const Sorted&) = default;
        ~Sorted() override { removeAll(); }
        std::string told() const
        {
            return elsewhere([this] {
                std::string text;
                for (int i = 0; i < size(); ++i)
                    text +=
                        std::to_string(
                            static_cast<const Numbered*>(static_cast<const ZSortObject*>(getAt(i)))->number) +
                        ",";
                return text;
            });
        }
    };
    const std::function<void(Sorted&)> operations[] = {
        [&](Sorted& a) { a.insert(&objects[50]); },
        [&](Sorted& a) { a.add(&objects[50]), a.sort(); },
        [](Sorted& a) { a = Sorted(a); },
        [](Sorted& a) { Sorted().operator=(a); },
    };
    for (const auto& run : operations)
        for (const std::size_t n : {0u, 10u, 37u}) {
            const auto make = [&] {
                auto array = std::make_unique<Sorted>();
                for (std::size_t i = 0; i < n; ++i)
                    array->insert(&objects[i]);
                return array;
            };
            sweepChange("sorted array of " + std::to_string(n), make, run);
        }
}

TEST_F(OtherFaults, comArrays)
{
    s_alsoThrown = ztree::errOutOfMemory;
    struct Counted : sharedObject {
        int references()
        {
            AddRef();
            return static_cast<int>(Release());
        }
    };
    static Counted objects[40];
    for (Counted& o : objects)
        o.AddRef();
    struct Coms : ZComArray {
        using ZComArray::resize;
        std::string told() const
        {
            return elsewhere([this] {
                std::string text = std::to_string(m_pImpl->slots.capacity()) + "/" +
                                   std::to_string(elements()) + "/" + std::to_string(hi()) + ":";
                for (Counted& o : objects)
                    text += std::to_string(o.references());
                return text;
            });
        }
    };
    // A copy does not count its last entry.
    const auto countLast = [](ZComArray& a) {
        if (a.hi() >= 0)
            objects[a.elements() - 1].AddRef();
    };
    const std::function<void(Coms&)> operations[] = {
        [](Coms& a) { a.add(&objects[0]); },
        [](Coms& a) { a.setAt(300, &objects[1]); },
        [](Coms& a) { a.resize(20 + a.hi()); },
        [](Coms& a) { a.compact(true, true); },
        [](Coms& a) { EXPECT_EQ(static_cast<int>(ztree::ComSnapshot(a).size()), a.elements()); },
        [&](Coms& a) {
            ZComArray copy(a);
            countLast(copy);
        },
        [&](Coms& a) {
            Coms copy;
            copy.setAt(50, &objects[39]);
            copy = a;
            countLast(copy);
        },
    };
    for (const auto& run : operations)
        for (const int n : {0, 10, 37}) {
            const auto make = [&] {
                auto array = std::make_unique<Coms>();
                for (int i = 0; i < n; ++i)
                    array->add(&objects[i]);
                return array;
            };
            sweepChange("array of objects", make, run);
            for (Counted& o : objects)
                EXPECT_EQ(o.references(), 1);
        }
}

} // namespace
