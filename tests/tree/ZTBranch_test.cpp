#include "support/heap_fixture.h"
#include "support/twins.h"

#include <ztree/tree.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <sstream>
#include <vector>

namespace {

struct Narrow {
    using Ch = char;
    using Branch = ZTBranch;
    using Attrib = ZAttrib;
    static constexpr int unit = 1; // of toString's length
};
struct Wide {
    using Ch = zwchar;
    using Branch = ZTBranchW;
    using Attrib = ZAttribW;
    static constexpr int unit = 2;
};

template <class Twin> class BranchTwins : public HeapTest {
protected:
    static std::basic_string<typename Twin::Ch> w(const std::string& s)
    {
        return widen<typename Twin::Ch>(s);
    }
    static std::string text(typename Twin::Branch& b)
    {
        int length = -7;
        const auto* s = b.toString(&length);
        const std::string shown = narrow(s);
        if (s)
            EXPECT_EQ(length, static_cast<int>(shown.size()) * Twin::unit);
        else
            EXPECT_EQ(length, -7);
        return shown;
    }
    static std::string attribs(const typename Twin::Branch& b)
    {
        std::string all;
        int pos = 0;
        for (const auto* a = b.getFirstAttrib(&pos); a; a = b.getNextAttrib(&pos))
            all += narrow(a->getName()) + "=" + narrow(a->getValue()) + ";";
        return all;
    }
};
using Twins = ::testing::Types<Narrow, Wide>;
TYPED_TEST_SUITE(BranchTwins, Twins);

TYPED_TEST(BranchTwins, suffixesOfNamesSelectAmongSiblings)
{
    const auto w = &TestFixture::w;
    typename TypeParam::Branch b(w("Item(3)").c_str());
    EXPECT_EQ(narrow(b.getName()), "Item");
    EXPECT_EQ(narrow(b.getFullName()), "Item(3)");
    EXPECT_EQ(this->attribs(b), "Rel=3;");
    struct Case {
        const char* text;
        int result;
    };
    for (const Case& c :
         {Case{"item(3)", 1}, {"Item(4)", -1}, {"Item", 1}, {"Ite(3)", 0}, {"Item(3", 0}, {"(3)", 0}})
        EXPECT_EQ(b.equals(w(c.text).c_str()), c.result) << c.text;
    // The own full name changes nothing; a bare one takes the attribute away.
    EXPECT_EQ(b.setName(b.getFullName()), 0);
    EXPECT_EQ(this->attribs(b), "Rel=3;");
    EXPECT_EQ(b.setName(w("Item").c_str()), 0);
    EXPECT_EQ(this->attribs(b), "");
    for (const Case& c : {Case{"Item(0)", 1}, {"Item(1)", 0}, {"ITEM", 1}})
        EXPECT_EQ(b.equals(w(c.text).c_str()), c.result) << c.text;
    // What follows the bracket is counted into the base; a suffix too long or empty is none.
    struct Name {
        std::string given, base;
        int attribs;
    };
    for (const Name& c : {Name{"a()", "a()", 0}, Name{"a(b", "a(b", 0}, Name{"a(b)cd", "a(b", 1},
                          Name{"a(" + std::string(255, 'x') + ")", "a", 1},
                          Name{"a(" + std::string(256, 'x') + ")", "a(" + std::string(256, 'x') + ")", 0}}) {
        b.setName(w(c.given).c_str());
        EXPECT_EQ(narrow(b.getName()), c.base);
        EXPECT_EQ(b.getAttribCount(), c.attribs) << c.given;
    }
    EXPECT_EQ(b.setName(w("").c_str()), -1);
    EXPECT_EQ(b.getName(), nullptr);
}

TYPED_TEST(BranchTwins, valuesKeepTheirTypeAndPrint)
{
    using Branch = typename TypeParam::Branch;
    Branch b(this->w("v").c_str());
    EXPECT_EQ(this->text(b), "(null)");
    const void* at = &b;
    int size = 9;
    EXPECT_EQ(b.getValuePtr(&at, &size), -1);
    EXPECT_EQ(at, nullptr);
    b.setValue(static_cast<char>(-5));
    EXPECT_EQ(this->text(b), "-5");
    b.setValue(static_cast<unsigned char>(250));
    EXPECT_EQ(this->text(b), "250");
    b.setValue(static_cast<short>(-32768));
    EXPECT_EQ(this->text(b), "-32768");
    int i = 77;
    EXPECT_EQ(b.getValue(&i), 3);
    EXPECT_EQ(i, 77);
    b.setValue(INT_MIN);
    EXPECT_EQ(this->text(b), "-2147483648");
    EXPECT_EQ(b.getValue(&i), 0);
    EXPECT_EQ(i, INT_MIN);
    b.setValue(123456789L);
    EXPECT_EQ(this->text(b), "123456789");
    EXPECT_EQ(b.getValuePtr(&at, &size), 0);
    EXPECT_EQ(size, 4);
    b.setValue("text", -1);
    EXPECT_EQ(b.getValue(&i), 7);
    char room[8] = {1, 1, 1, 1, 1, 1, 1, 1};
    EXPECT_EQ(b.getValue(room, 6), 0);
    EXPECT_STREQ(room, "text");
    EXPECT_EQ(room[5], 0);
    EXPECT_EQ(room[6], 1);
    b.setValue("", 0);
    EXPECT_EQ(b.getValuePtr(&at, &size), 1);
}

TYPED_TEST(BranchTwins, doublesPrintWithACommaAndTheirPrecision)
{
    using Branch = typename TypeParam::Branch;
    Branch b(this->w("v").c_str(), 2.5, 3);
    EXPECT_EQ(this->text(b), "2,500");
    Branch copy(b);
    EXPECT_EQ(this->text(copy), "2,500");
    b.setValue(2.5, 3);
    const std::string all = "2,5" + std::string(254, '0');
    EXPECT_EQ(this->text(b), TypeParam::unit == 1 ? all : all.substr(0, 99));
    Branch large(this->w("v").c_str(), -1e22, 0);
    EXPECT_EQ(this->text(large), "-10000000000000000000000");
}

TYPED_TEST(BranchTwins, copiesTakeTheNodeAndTurnAttributesRound)
{
    using Branch = typename TypeParam::Branch;
    using Attrib = typename TypeParam::Attrib;
    const auto w = &TestFixture::w;
    Branch from(w("Item(2)").c_str(), "abc", 3);
    for (const char* name : {"x", "y", "X"})
        from.addAttrib(Attrib(w(name).c_str(), w(std::string("v") + name).c_str()), false);
    from.addChild(Branch(w("child").c_str(), 1), nullptr, false);
    Branch to(w("Other(9)").c_str(), 5);
    to.addAttrib(Attrib(w("own").c_str(), w("1").c_str()), true);
    to = from;
    EXPECT_EQ(narrow(to.getFullName()), "Item(2)");
    EXPECT_EQ(this->attribs(to), "own=1;X=vx;y=vy;Rel=2;");
    EXPECT_EQ(to.getChildCount(), 0);
    EXPECT_EQ(to.getType(), 7);
    to = to;
    EXPECT_EQ(this->attribs(to), "own=1;X=vx;y=vy;Rel=2;");
}

TYPED_TEST(BranchTwins, linkedChildrenStayTheirOwners)
{
    using Branch = typename TypeParam::Branch;
    const auto w = &TestFixture::w;
    Branch owner(w("owner").c_str());
    Branch* child = nullptr;
    EXPECT_EQ(owner.addChild(Branch(w("c").c_str(), 1), &child, false), 0);
    {
        Branch linking(w("linking").c_str());
        EXPECT_EQ(linking.linkChild(child, false), 0);
        EXPECT_EQ(child->getFlags() & 1, 1);
        EXPECT_EQ(child->getParent(), &owner);
        EXPECT_EQ(linking.findLinkParent(child), &linking);
        linking.removeChild(0);
        EXPECT_EQ(linking.getChildCount(), 0);
        linking.linkChild(child, true);
    }
    EXPECT_EQ(owner.getChildCount(), 1);
    // Linked into itself a branch ends no walk in a ring.
    owner.linkChild(&owner, false);
    EXPECT_EQ(owner.searchTree(w("nowhere").c_str()), nullptr);
    owner.removeChild(1);
}

TYPED_TEST(BranchTwins, manyChildrenAreFoundFirstInOrder)
{
    using Branch = typename TypeParam::Branch;
    const auto w = &TestFixture::w;
    Branch b(w("b").c_str());
    for (int i = 0; i < 200; ++i)
        b.addChild(Branch(w("k" + std::to_string(i % 50)).c_str(), i), nullptr, false);
    auto find = [&](const std::string& name) { return b.findChild(w(name).c_str()); };
    for (int round = 0; round < 3; ++round) { // by a scan at first, then through the index
        EXPECT_EQ(find("K49"), 49);
        EXPECT_EQ(find("k49(0)"), 49);
        EXPECT_EQ(find("none"), -1);
    }
    b.getChild(49)->setName(w("k49(7)").c_str());
    EXPECT_EQ(find("k49(0)"), 99);
    EXPECT_EQ(find("k49(7)"), 49);
    b.getChild(3)->setName(w("late").c_str());
    EXPECT_EQ(find("k3"), 53);
    EXPECT_EQ(find("late"), 3);
    b.removeChild(0);
    EXPECT_EQ(find("late"), 2);
    Branch other(w("other").c_str(), 9);
    b.linkChild(&other, false);
    other.setName(w("renamed").c_str());
    EXPECT_EQ(find("renamed"), 199);
    EXPECT_EQ(find("other"), -1);
    b.removeChild(199);
}

// "Rel" attributes may change behind the branch's back: lookups beside a list kept by hand.
TYPED_TEST(BranchTwins, suffixesAreFoundWhateverBecomesOfThem)
{
    using Branch = typename TypeParam::Branch;
    using Attrib = typename TypeParam::Attrib;
    const auto w = &TestFixture::w;
    std::mt19937 random(1);
    const auto below = [&random](std::size_t n) { return static_cast<int>(random() % n); };
    const auto base = [&] { return std::string(1, static_cast<char>('a' + below(2))); };
    const auto suffix = [&] { return std::to_string(below(60)); };
    const std::string none = "none";
    Branch b(w("b").c_str());
    std::vector<std::pair<std::string, std::string>> names;
    for (int step = 0; step < 30000; ++step) {
        const int at = names.empty() ? -1 : below(names.size());
        Branch* child = b.getChild(at);
        const int rel = child ? child->findAttrib(w("Rel").c_str()) : -1;
        switch (below(16)) {
        case 0:
        case 1: {
            names.emplace_back(base(), below(5) ? suffix() : none);
            const auto& [name, own] = names.back();
            b.addChild(Branch(w(own == none ? name : name + '(' + own + ')').c_str()), nullptr, false);
            break;
        }
        case 2:
            if (at >= 0 && names.size() > 40) {
                const int gone = below(3) ? static_cast<int>(names.size()) - 1 : at;
                names.erase(names.begin() + gone);
                b.removeChild(gone);
            }
            break;
        case 3:
            if (rel >= 0 && below(4) == 0) {
                int place = 0;
                const_cast<Attrib*>(child->getFirstAttrib(&place))
                    ->setValue(w(names[static_cast<std::size_t>(at)].second = suffix()).c_str());
            } else if (rel >= 0 && below(4) == 0) {
                child->removeAttrib(rel);
                names[static_cast<std::size_t>(at)].second = none;
            } else if (child && rel < 0) {
                child->addAttrib(Attrib(w("Rel").c_str(),
                                        w(names[static_cast<std::size_t>(at)].second = suffix()).c_str()),
                                 true);
            }
            break;
        default: {
            const std::string name = base(), wanted = suffix();
            const auto found = std::find_if(names.begin(), names.end(), [&](const auto& n) {
                return n.first == name && (n.second == wanted || (n.second == none && wanted == "0"));
            });
            ASSERT_EQ(b.findChild(w(name + '(' + wanted + ')').c_str()),
                      found == names.end() ? -1 : static_cast<int>(found - names.begin()))
                << step;
        }
        }
    }
}

// Children that were only put in are found fast too, although they name no parent.
TYPED_TEST(BranchTwins, childrenPutInAreFoundAfterARename)
{
    using Branch = typename TypeParam::Branch;
    const auto w = &TestFixture::w;
    Branch* outlives = nullptr;
    {
        Branch b(w("top").c_str());
        for (int i = 0; i < 40; ++i)
            b.setChild(new Branch(w("n" + std::to_string(i)).c_str(), i % 2 ? &b : nullptr), -1);
        for (int round = 0; round < 3; ++round) // the index comes with use
            ASSERT_EQ(b.findChild(w("N38").c_str()), 38);
        EXPECT_EQ(b.getChild(4)->getParent(), nullptr);
        EXPECT_EQ(b.getChild(5)->getParent(), &b);
        b.getChild(4)->setName(w("fresh").c_str());
        EXPECT_EQ(b.findChild(w("n4").c_str()), -1);
        EXPECT_EQ(b.findChild(w("fresh").c_str()), 4);
        outlives = b.getChild(10);
        b.setChild(new Branch(w("n38").c_str()), 10);
        EXPECT_EQ(b.findChild(w("n38").c_str()), 10);
        outlives->setName(w("other").c_str());
        EXPECT_EQ(b.findChild(w("other").c_str()), -1);
        // Owned first, then listed by a link instead: it outlives the list as well.
        Branch* linked = b.getChild(20);
        b.linkChild(linked, true);
        EXPECT_EQ(b.findChild(w("n20").c_str()), 39);
        b.removeChild(39);
        linked->setName(w("later").c_str());
        delete linked;
    }
    outlives->setName(w("alone").c_str());
    EXPECT_EQ(narrow(outlives->getName()), "alone");
    delete outlives;
}

TYPED_TEST(BranchTwins, walksVisitInTheirOrder)
{
    using Branch = typename TypeParam::Branch;
    using Attrib = typename TypeParam::Attrib;
    const auto w = &TestFixture::w;
    //  r -> a -> x(1), b -> x(2), x(3)
    Branch r(w("r").c_str());
    Branch* a = nullptr;
    Branch* b = nullptr;
    r.addChild(Branch(w("a").c_str()), &a, false);
    a->addChild(Branch(w("x").c_str(), 1), nullptr, false);
    r.addChild(Branch(w("b").c_str()), &b, false);
    b->addChild(Branch(w("x").c_str(), 2), nullptr, false);
    r.addChild(Branch(w("x").c_str(), 3), nullptr, false);
    auto number = [](const Branch* found) {
        int i = -1;
        if (found)
            found->getValue(&i);
        return i;
    };
    EXPECT_EQ(number(r.searchTree(w("X").c_str())), 1);
    EXPECT_EQ(number(r.highestBranch(w("x").c_str())), 3);
    b->getChild(0)->addAttrib(Attrib(w("mark").c_str(), w("1").c_str()), false);
    static int seen;
    seen = 0;
    auto callback = [](Branch*, Attrib* attrib, long param) {
        seen += static_cast<int>(param) + (attrib ? 100 : 0);
        return true;
    };
    EXPECT_TRUE(r.scanTree(w("b").c_str(), nullptr, callback, 1)); // the children of b
    EXPECT_EQ(seen, 1);
    EXPECT_TRUE(r.scanTree(w("b").c_str(), w("MARK").c_str(), callback, 1));
    EXPECT_EQ(seen, 102);
    EXPECT_FALSE(r.scanTree(
        w("r").c_str(), nullptr, [](Branch*, Attrib*, long) { return false; }, 0));
    // Copies end below their own source.
    EXPECT_EQ(a->addTree(&r, false), 0);
    EXPECT_EQ(b->getChild(0)->addTree(&r, true), 0);
    EXPECT_EQ(r.addTree(&r, false), -1);
    EXPECT_EQ(r.addTree(nullptr, true), -1);
}

TYPED_TEST(BranchTwins, binaryFormHasItsBytes)
{
    using Branch = typename TypeParam::Branch;
    using Attrib = typename TypeParam::Attrib;
    const auto w = &TestFixture::w;
    Branch b(w("n").c_str(), static_cast<short>(0x1234));
    b.addAttrib(Attrib(w("a").c_str(), w("v").c_str()), false);
    b.addChild(Branch(w("c").c_str(), "xyz", 3), nullptr, false);
    std::ostringstream out;
    EXPECT_EQ(b.save(out), 0);
    const std::string zero(1, '\0');
    const std::string unit = TypeParam::unit == 2 ? zero : "";
    const std::string value = TypeParam::unit == 2 ? std::string("v\0\0\0", 4) : "v";
    auto number = [](int n) { return std::string(1, static_cast<char>(n)) + std::string(3, '\0'); };
    EXPECT_EQ(out.str(), number(1) + "n" + unit + std::string("\3\0\2\0\x34\x12", 6) + number(1) + number(1) +
                             "a" + unit + number(1) + value + number(1) + number(1) + "c" + unit +
                             std::string("\7\0\2\3", 4) + number(3) + "xyz" + number(0) + number(0));
    EXPECT_EQ(Branch().save(out), -1);
    // Lengths without bytes behind them, and every early end.
    const std::string bytes = out.str();
    for (std::size_t n = 0; n <= bytes.size(); ++n) {
        std::istringstream in(bytes.substr(0, n));
        Branch loaded;
        EXPECT_EQ(loaded.load(in), 0);
    }
    for (const int at : {0, 7, 11}) {
        std::string hostile = bytes;
        hostile.replace(static_cast<std::size_t>(at), 4, "\xff\xff\xff\x7f");
        std::istringstream in(hostile);
        Branch loaded;
        EXPECT_EQ(loaded.load(in), 0);
    }
}

TYPED_TEST(BranchTwins, depthNeedsNoStack)
{
    using Branch = typename TypeParam::Branch;
    const auto w = &TestFixture::w;
    const int depth = 1000000;
    platform::Hooks::off(); // counting a million blocks proves nothing more
    {
        const std::unique_ptr<Branch> root(new Branch(w("n").c_str()));
        const Branch level(w("n").c_str());
        Branch* at = root.get();
        for (int i = 0; i < depth; ++i)
            at->addChild(level, &at, false);
        EXPECT_EQ(root->searchTree(w("none").c_str()), nullptr);
        EXPECT_EQ(root->highestBranch(w("none").c_str()), nullptr);
        EXPECT_TRUE(root->scanTree(
            w("none").c_str(), nullptr, [](Branch*, typename TypeParam::Attrib*, long) { return true; }, 0));
        EXPECT_EQ(root->findLinkParent(&level), nullptr);
        Branch copy(w("copy").c_str());
        EXPECT_EQ(copy.addTree(root.get(), false), 0);
        std::stringstream stream;
        EXPECT_EQ(root->save(stream), 0);
        Branch loaded;
        EXPECT_EQ(loaded.load(stream), 0);
    }
    platform::Hooks::on();
}

TYPED_TEST(BranchTwins, failingAllocationsLeaveAUsableBranch)
{
    using Branch = typename TypeParam::Branch;
    using Attrib = typename TypeParam::Attrib;
    const auto w = &TestFixture::w;
    const auto item = w("Item(3)");
    const auto name = w("a longer name than fits");
    Branch source(name.c_str(), "value", 5);
    source.addAttrib(Attrib(name.c_str(), name.c_str()), false);
    source.addChild(Branch(item.c_str(), 4), nullptr, false);
    std::stringstream stream;
    source.save(stream);
    const std::string bytes = stream.str();
    auto act = [&](Branch& b) {
        b.setName(item.c_str());
        b.setValue("some bytes", 10);
        b.addAttrib(Attrib(name.c_str(), name.c_str()), true);
        b.addChild(source, nullptr, true);
        b.linkChild(&source, false);
        b.addTree(&source, true);
        b.toString(nullptr);
        b.getFullName();
        Branch copy(b);
        std::istringstream in(bytes);
        b.load(in);
    };
    auto check = [&](Branch& b) {
        b.setValue(1);
        EXPECT_EQ(b.setName(name.c_str()), 0);
        EXPECT_EQ(this->text(b), "1");
    };
    const long injected = this->sweep([] { return std::make_unique<Branch>(); }, act, check);
    std::printf("failing allocations injected: %ld\n", injected);
    EXPECT_GT(injected, 30);
}

} // namespace
