// Attributes and lists: documented examples, bytes in streams, and long random sequences against plain steps.

#include "attrib/models.h"
#include "support/heap_fixture.h"
#include "support/random.h"
#include "support/twins.h"

#include <ztree/ext/attrib.h>

#include <memory>
#include <sstream>
#include <vector>

namespace {

template <class K> class Attrib : public HeapTest {
};
template <class K> class AttribList : public HeapTest {
};
TYPED_TEST_SUITE(Attrib, BothTwins);
TYPED_TEST_SUITE(AttribList, BothTwins);

template <class K> constexpr bool isWide = sizeof(typename K::Ch) > 1;
/// An ASCII literal in the width of the kind.
template <class K> Text<typename K::Ch> lit(const std::string& s)
{
    return widen<typename K::Ch>(s);
}
template <class A> std::string pairOf(const A& a)
{
    return shown(a.getName()) + "=" + shown(a.getValue());
}
template <class L> std::string dump(const L& list)
{
    std::string out;
    for (int i = 0; i < list.size(); ++i)
        out += shown(list.nameAt(i)) + "=" + shown(list.dataAt(i)) + ";";
    return out;
}
const auto bytes = [](std::initializer_list<int> values) {
    std::string s;
    for (const int v : values)
        s += static_cast<char>(v);
    return s;
};

} // namespace

TYPED_TEST(Attrib, keepsWhatItIsGiven)
{
    using K = TypeParam;
    using A = typename K::Attrib;
    const auto name = lit<K>("name"), value = lit<K>("value"), empty = lit<K>("");
    const typename K::Ch* none = nullptr;
    EXPECT_EQ(pairOf(A()), "(null)=");
    EXPECT_EQ(pairOf(A(none, value.c_str())), "(null)="); // no name, no value
    EXPECT_EQ(pairOf(A(empty.c_str(), value.c_str())), "(null)=value");
    A a(name.c_str(), value.c_str()), b(a), c;
    a.setName(a.getName() + 2); // a part of itself
    a.setValue(a.getValue());
    EXPECT_EQ(pairOf(a) + " " + pairOf(b), "me=value name=value");
    a.setName(a.getValue());
    a.setValue(none);
    EXPECT_EQ(pairOf(a), "value=");
    c = b;
    c = static_cast<const A&>(c);
    EXPECT_EQ(pairOf(c), "name=value");
    c = A();
    EXPECT_EQ(pairOf(c), "(null)=");
    c.setValue(value.c_str());
    EXPECT_EQ(pairOf(c), "(null)=value");
    EXPECT_EQ(a.getLibVersion(), 2u);
}

TYPED_TEST(Attrib, comparesNamesIgnoringCase)
{
    using K = TypeParam;
    using A = typename K::Attrib;
    const A abc(lit<K>("abc").c_str()), upper(lit<K>("ABC").c_str()), under(lit<K>("_").c_str()), none, other;
    EXPECT_EQ(abc.compare(&upper), 0);
    EXPECT_LT(under.compare(&upper), 0); // "_" stands between the cases of letters; they count as lower ones
    EXPECT_GT(abc.compare(&none), 0);
    EXPECT_LT(none.compare(&abc), 0);
    EXPECT_EQ(none.compare(&none), 0);
    EXPECT_LT(none.compare(&other), 0);
    const typename K::Ch small[] = {static_cast<typename K::Ch>(0xE9), 0},
                         large[] = {static_cast<typename K::Ch>(0xC9), 0};
    EXPECT_EQ(A(small).compare(std::make_unique<A>(large).get()) == 0, (isWide<K>));
}

TYPED_TEST(Attrib, streamBytes)
{
    using K = TypeParam;
    const bool wide = isWide<K>;
    const auto name = lit<K>("ab"), value = lit<K>("xyz");
    const typename K::Attrib a(name.c_str(), value.c_str()), none;
    std::ostringstream out;
    EXPECT_EQ(a.save(out) | none.save(out), 0);
    const std::string expected =
        wide ? bytes({2, 0, 0, 0, 'a', 0, 'b', 0, 3, 0, 0, 0, 'x', 0, 'y', 0, 'z', 0, 0, 0, 0, 0, 0, 0})
             : bytes({2, 0, 0, 0, 'a', 'b', 3, 0, 0, 0, 'x', 'y', 'z'});
    EXPECT_EQ(out.str(), expected + std::string(8, '\0'));
    typename K::Attrib back(value.c_str());
    std::istringstream in(out.str());
    back.load(in);
    EXPECT_EQ(pairOf(back), "ab=xyz");
    back.load(in);
    // A wide value takes twice its size, so that the next attribute is read from its second half.
    EXPECT_EQ(pairOf(back), "(null)=");
    EXPECT_EQ(static_cast<int>(in.tellg()), wide ? 26 : 21);
}

TYPED_TEST(Attrib, hostileStreams)
{
    using K = TypeParam;
    const bool wide = isWide<K>;
    const std::string ab = wide ? bytes({'a', 0, 'b', 0}) : "ab";
    const struct {
        std::string stream, result;
    } cases[] = {
        {"", "(null)="},
        {bytes({2, 0}), "(null)="},
        {bytes({0xFF, 0xFF, 0xFF, 0xFF}) + ab, "ab="},
        {bytes({0, 0, 0, 0x80}) + ab, "ab="},
        {bytes({2, 0, 0, 0}) + ab + bytes({0xFF, 0xFF, 0xFF, 0x7F}) + ab, "ab=ab"},
        {bytes({2, 0, 0, 0}) + ab + bytes({9, 0, 0, 0}) + ab + "c",
         wide ? "ab=ab" : "ab=abc"}, // half a unit is none
        {bytes({0, 0, 0, 0, 2, 0, 0, 0}) + ab, "(null)=ab"},
    };
    for (const auto& c : cases) {
        typename K::Attrib a(lit<K>("before").c_str(), lit<K>("old").c_str()), fresh;
        std::istringstream in(c.stream), again(c.stream);
        EXPECT_EQ(a.load(in) | fresh.load(again), 0);
        EXPECT_EQ(pairOf(a), c.result);
        EXPECT_EQ(pairOf(fresh), c.result);
    }
    // A zero unit inside is kept in a stream, though not seen by those who take the text up to it.
    std::istringstream in(bytes({1, 0, 0, 0}) + (wide ? bytes({'n', 0}) : "n") +
                          bytes({2, 0, 0, 0, 0, 0, 0, 0}));
    typename K::Attrib a;
    a.load(in);
    std::ostringstream out;
    a.save(out);
    EXPECT_EQ(out.str().size(), wide ? 18u : 11u);
}

TYPED_TEST(AttribList, readsText)
{
    using K = TypeParam;
    const struct {
        const char* text;
        const char* result;
    } cases[] = {
        {R"(a="1" b='x y' c=3 d="")", "a=1;b=x y;c=3;d=;"},
        {"flag", "flag=;"},
        {" a b = 1", "a b=1;"}, // a name without "=" takes the rest up to the next one
        {"a=&lt;\"b=2", "a=&lt;;b=2;"},
        {"a=\"x", "a=x;"},
        {"a='\"' b=\"'\"", "a=\";b=';"},
        {"a\r=1", "a<13>=1;"}, // names are trimmed of blank, tab and line feed
        {"=1", "1=;"},         // delimiters in front of a token are passed
        {"a=''''b=1", "a=;b=1;"},
        {"= ", "(null)=;"},
        {"a= ", "a=;"},
        {"\t\r\n", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const auto text = lit<K>(c.text);
        const typename K::List list(text.c_str());
        EXPECT_EQ(dump(list), c.result);
    }
    typename K::List list(lit<K>("a=1 b='c=3 d=4'").c_str());
    EXPECT_EQ(list.setData(static_cast<const typename K::Ch*>(nullptr)), 0);
    EXPECT_EQ(list.size(), 2);
    EXPECT_EQ(list.setData(list.dataAt(1)), 2); // a text of its own
    EXPECT_EQ(dump(list), "c=3;d=4;");
    EXPECT_EQ(shown(static_cast<const typename K::Ch*>(list.elementAt(1).getBuffer())), "d=\"4\"");
    EXPECT_EQ(list.elementAt(2).length(), 0);
    EXPECT_EQ(list.nameAt(-1), nullptr);
    EXPECT_EQ(list.dataAt(2), nullptr);
    EXPECT_EQ(list.getLibVersion(), 2u);
    const auto plain = lit<K>("x=1");
    const std::vector<unsigned short> other(plain.c_str(), plain.c_str() + plain.size() + 1);
    if constexpr (isWide<K>)
        EXPECT_EQ(dump(typename K::List(other.data())), "x=1;");
    else
        EXPECT_EQ(dump(typename K::List(ZStringW(ZTEXT("x='\u20AC'")))), "x=<226><130><172>;");
}

TYPED_TEST(AttribList, copiesShareTheAttributes)
{
    using K = TypeParam;
    typename K::List list(lit<K>("a=1 b=2").c_str());
    typename K::List copy(list);
    EXPECT_EQ(copy.dataAt(0), list.dataAt(0));
    list.setAttrib(lit<K>("A").c_str(), lit<K>("9").c_str());
    EXPECT_EQ(dump(copy), "a=9;b=2;");
    copy = typename K::List(); // lets the attributes go without deleting them
    EXPECT_EQ(copy.size(), 0);
    EXPECT_EQ(list.size(), 2);
}

TYPED_TEST(AttribList, searchesEndEarly)
{
    using K = TypeParam;
    using Ch = typename K::Ch;
    const auto a = lit<K>("a"), one = lit<K>("1"), under = lit<K>("_x");
    typename K::List list;
    list.addAttrib(under.c_str(), one.c_str());
    list.addAttrib(a.c_str(), one.c_str());
    EXPECT_EQ(shown(list.getAttrib(a.c_str())), "1");
    list.sort();
    // "_" OR 0x20 is above every letter: names behind it are not found in a sorted list. Wide lists compare
    // in lower case.
    EXPECT_EQ(shown(list.getAttrib(a.c_str())), sizeof(Ch) == 1 ? "(null)" : "1");
    // The mark of a sorted list outlives a new text.
    list.setData(lit<K>("z=1 a=1").c_str());
    EXPECT_EQ(list.getAttrib(a.c_str()), nullptr);
    list.sort();
    EXPECT_EQ(dump(list), "z=1;a=1;");
    list.addAttrib(a.c_str(), lit<K>("2").c_str()); // takes the mark away
    EXPECT_EQ(shown(list.getAttrib(a.c_str())), "1");
    // An unsorted search goes on up to a first unit in the upper half, which it still looks at.
    const Ch high[] = {static_cast<Ch>(sizeof(Ch) == 1 ? 0xE9 : 0x9000), 0};
    typename K::List two;
    two.addAttrib(high, one.c_str());
    two.addAttrib(a.c_str(), one.c_str());
    EXPECT_EQ(two.getAttrib(a.c_str()), nullptr);
    EXPECT_EQ(shown(two.getAttrib(high)), "1");
    two.addAttrib(static_cast<const Ch*>(nullptr), one.c_str());
    EXPECT_EQ(two.getAttrib(static_cast<const Ch*>(nullptr)), nullptr);
    EXPECT_EQ(two.size(), 2);
}

TYPED_TEST(AttribList, equalsPlainSteps)
{
    using K = TypeParam;
    using Ch = typename K::Ch;
    const Text<Ch> markup = lit<K>("aB_===\"\"''  \t\r\n") + static_cast<Ch>(0xE9);
    Text<Ch> letters = lit<K>("aAbBzZ[_0");
    if (sizeof(Ch) > 1)
        letters += Text<Ch>{static_cast<Ch>(0xC9), static_cast<Ch>(0xE9), static_cast<Ch>(0x410),
                            static_cast<Ch>(0x430)};
    const Text<Ch> rare = letters + static_cast<Ch>(sizeof(Ch) == 1 ? 0xE9 : 0x9000);
    Dice dice(7);
    typename K::List real;
    ListModel<Ch> model;
    std::size_t largest = 0;
    for (int step = 0; step < 120000; ++step) {
        // Phases with few and with many attributes: from 17 on an index answers.
        const bool grow = step % 2000 > 1000;
        const Text<Ch> name = lit<K>(dice.below(9) ? "" : "Beginning_of_17") +
                              dice.text(dice.below(50) ? letters : rare, 3),
                       value = dice.text(letters, 20);
        const int dicing = dice.below(100);
        int looked = -2;
        if (dicing < (grow ? 0 : 12)) {
            const Text<Ch> text = dice.text(markup, dice.below(8) ? 25 : 120);
            ASSERT_EQ(real.setData(text.c_str()), model.parse(text)) << shown(text);
        } else if (dicing < (grow ? 30 : 20)) {
            real.addAttrib(name.c_str(), value.c_str());
            model.append(name, value, true);
            model.sorted = false;
        } else if (dicing < 45) {
            real.setAttrib(name.c_str(), dicing == 44 ? nullptr : value.c_str());
            model.set(name, dicing == 44 ? std::nullopt : std::optional(value));
        } else if (dicing < 60) {
            real.removeAttrib(name.c_str());
            const int i = model.find(name);
            if (i >= 0)
                model.items.erase(model.items.begin() + i);
        } else if (dicing < 64) {
            ASSERT_EQ(real.sort(), 0);
            model.sort();
        } else if (dicing < 65 && !grow) {
            real.removeAllAttribs();
            model.items.clear();
        } else {
            looked = model.find(name);
            ASSERT_EQ(shown(real.getAttrib(name.c_str())),
                      looked < 0 ? "(null)" : shown(model.at(looked)->value))
                << step << ' ' << shown(name) << " in " << dump(real) << model.sorted;
        }
        largest = std::max(largest, model.items.size());
        if (looked == -2) { // something may have changed
            ASSERT_TRUE(model.equals(real)) << step << ' ' << dicing << ' ' << dump(real);
        }
    }
    EXPECT_GT(largest, 60u);
}

TYPED_TEST(AttribList, loops)
{
    using K = TypeParam;
    const typename K::List list(lit<K>("a=1 b=22 c").c_str());
    std::string seen;
    for (const auto [name, value] : ztree::attribs(list))
        seen += shown(Text<typename K::Ch>(name)) + std::to_string(value.size());
    EXPECT_EQ(seen, "a1b2c0");
    EXPECT_EQ(ztree::attribs(list).size(), 3);
}

// The second spelling of wide text, whose shells could call themselves.
TEST(AttribSpelling, wideTextAsUnsignedShort)
{
    const auto us = [](const zwchar* w) { return reinterpret_cast<const unsigned short*>(w); };
    const unsigned short *a = us(ZTEXT("a")), *b = us(ZTEXT("b"));
    ZAttribW one(a, b);
    one.setName(b);
    one.setValue(a);
    EXPECT_EQ(*one.getName(), 'b');
    EXPECT_EQ(*one.getValue(), 'a');

    ZAttribWList list(us(ZTEXT("x=1 y=2")));
    EXPECT_EQ(list.setData(us(ZTEXT("z=3"))), 1);
    list.addAttrib(a, b);
    list.setAttrib(b, a);
    EXPECT_EQ(*list.getAttrib(b), 'a');
    list.removeAttrib(a);
    EXPECT_EQ(list.size(), 2);

    ZTokenizerW tokens(us(ZTEXT("1,2;3 4")), us(ZTEXT(",")));
    EXPECT_EQ(*tokens.nextToken(), '1');
    EXPECT_EQ(*tokens.nextToken(us(ZTEXT(";"))), '2');
    EXPECT_EQ(tokens.skip(us(ZTEXT("3"))), 1);
    tokens.setSepList(us(ZTEXT(" ")));
    EXPECT_EQ(*tokens.getSepList(), ' ');
    tokens.init(us(ZTEXT("5")), nullptr, 0);
    EXPECT_EQ(*tokens.nextToken(), '5');

    ZTokenizerEx pieces("a", -1, nullptr, 0);
    pieces.setMode(1);
    pieces.setSepList(",");
    EXPECT_STREQ(pieces.getSepList(), ",");
    EXPECT_EQ(pieces.getMode(), 1);
}
