#include "support/spellings.h"

#include <ztree/ext/tree.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <sstream>
#include <thread>
#include <vector>

namespace {

template <class Twin> class BranchTwins : public SpellingTest<Twin> {
protected:
    static std::string text(typename Twin::Branch& b)
    {
        int length = -7;
        const auto* s = b.toString(&length);
        const std::string shown = narrow(s);
        if (s)
            EXPECT_EQ(length, static_cast<int>(shown.size() * sizeof(typename Twin::Ch)));
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
TYPED_TEST_SUITE(BranchTwins, Spellings);

TYPED_TEST(BranchTwins, suffixesOfNamesSelectAmongSiblings)
{
    const auto w = &TestFixture::w;
    typename TypeParam::Branch b(w("Item(3)"));
    EXPECT_EQ(narrow(b.getName()), "Item");
    EXPECT_EQ(narrow(b.getFullName()), "Item(3)");
    EXPECT_EQ(this->attribs(b), "Rel=3;");
    struct Case {
        const char* text;
        int result;
    };
    for (const Case& c :
         {Case{"item(3)", 1}, {"Item(4)", -1}, {"Item", 1}, {"Ite(3)", 0}, {"Item(3", 0}, {"(3)", 0}})
        EXPECT_EQ(b.equals(w(c.text)), c.result) << c.text;
    // The own full name changes nothing; a bare one takes the attribute away.
    EXPECT_EQ(b.setName(b.getFullName()), 0);
    EXPECT_EQ(this->attribs(b), "Rel=3;");
    EXPECT_EQ(b.setName(w("Item")), 0);
    EXPECT_EQ(this->attribs(b), "");
    for (const Case& c : {Case{"Item(0)", 1}, {"Item(1)", 0}, {"ITEM", 1}})
        EXPECT_EQ(b.equals(w(c.text)), c.result) << c.text;
    // What follows the bracket is counted into the base; a suffix too long or empty is none.
    struct Name {
        std::string given, base;
        int attribs;
    };
    for (const Name& c : {Name{"a()", "a()", 0}, Name{"a(b", "a(b", 0}, Name{"a(b)cd", "a(b", 1},
                          Name{"a(" + std::string(255, 'x') + ")", "a", 1},
                          Name{"a(" + std::string(256, 'x') + ")", "a(" + std::string(256, 'x') + ")", 0}}) {
        b.setName(w(c.given));
        EXPECT_EQ(narrow(b.getName()), c.base);
        EXPECT_EQ(b.getAttribCount(), c.attribs) << c.given;
    }
    EXPECT_EQ(b.setName(w("")), -1);
    EXPECT_EQ(b.getName(), nullptr);
}

TYPED_TEST(BranchTwins, valuesKeepTheirTypeAndPrint)
{
    using Branch = typename TypeParam::Branch;
    const auto name = this->w("v");
    const auto stores = [&](auto value, unsigned char type, const char* printed) {
        Branch root(name), set(name);
        Branch made(name, value, &root);
        EXPECT_EQ(made.getType(), type);
        EXPECT_EQ(made.getParent(), &root);
        EXPECT_EQ(this->text(made), printed);
        set.setValue(value);
        auto found = value;
        found = 0;
        EXPECT_EQ(set.getValue(&found), 0);
        EXPECT_EQ(found, value);
        set.setValue("text", -1);
        found = 77;
        EXPECT_EQ(set.getValue(&found), 7); // never converted
        EXPECT_EQ(found, 77);
    };
    stores(static_cast<char>(-5), 1, "-5");
    stores(static_cast<unsigned char>(250), 2, "250");
    stores(static_cast<short>(-32768), 3, "-32768");
    stores(INT_MIN, 4, "-2147483648");
    stores(123456789L, 5, "123456789");
    Branch b(name);
    EXPECT_EQ(this->text(b), "(null)");
    const void* at = &b;
    int size = 9;
    EXPECT_EQ(b.getValuePtr(&at, &size), -1);
    EXPECT_EQ(at, nullptr);
    b.setValue(-7L);
    EXPECT_EQ(b.getValuePtr(&at, &size), 0);
    EXPECT_EQ(size, 4);
    char room[8] = {1, 1, 1, 1, 1, 1, 1, 1};
    EXPECT_EQ(Branch(name, "text", 4).getValue(room, 6), 0);
    EXPECT_STREQ(room, "text");
    EXPECT_EQ(room[5], 0);
    EXPECT_EQ(room[6], 1);
    for (const char* nothing : {"", static_cast<const char*>(nullptr)}) {
        b.setValue(nothing, 0);
        EXPECT_EQ(b.getValuePtr(&at, &size), 1);
    }
}

TYPED_TEST(BranchTwins, doublesPrintWithACommaAndTheirPrecision)
{
    using Branch = typename TypeParam::Branch;
    Branch b(this->w("v"), 2.5, 3);
    EXPECT_EQ(this->text(b), "2,500");
    Branch copy(b);
    EXPECT_EQ(this->text(copy), "2,500");
    b.setValue(2.5, 3);
    const std::string all = "2,5" + std::string(254, '0');
    EXPECT_EQ(this->text(b), sizeof(typename TypeParam::Ch) == 1 ? all : all.substr(0, 99));
    double value = 0;
    EXPECT_EQ(b.getValue(&value), 0);
    EXPECT_EQ(value, 2.5);
    Branch large(this->w("v"), -1e22, 0);
    EXPECT_EQ(this->text(large), "-10000000000000000000000");
}

TYPED_TEST(BranchTwins, childrenAndAttributesByName)
{
    using Branch = typename TypeParam::Branch;
    using Attrib = typename TypeParam::Attrib;
    const auto a = this->w("a"), b = this->w("b"), id = this->w("id");
    Branch root(this->w("root"));
    Branch* child = nullptr;
    root.addChild(Branch(a, "text", 4), &child, false);
    child->addAttrib(Attrib(id, b), false);
    child->addChild(Branch(b, 7), nullptr, false);
    EXPECT_EQ(root.getChild(a), child);
    EXPECT_EQ(root.findChild(b), -1);
    const char* text = nullptr;
    int length = 0;
    EXPECT_EQ(root.getChildValue(a, &text, &length), 0);
    EXPECT_EQ(length, 4);
    EXPECT_EQ(child->getChildValue(1, &text, nullptr), -1);
    const std::remove_pointer_t<decltype(root.getName())>* value = nullptr;
    EXPECT_EQ(child->getAttribValue(id, &value, &length), 0);
    EXPECT_EQ(length, 1);
    EXPECT_EQ(child->getAttribValue(0, &value, nullptr), 0);
    EXPECT_EQ(child->getAttrib(id), child->getAttrib(0));
    EXPECT_EQ(child->findAttrib(id), 0);
    child->removeAttrib(id);
    EXPECT_EQ(child->getAttribCount(), 0);
    child->removeChild(b);
    root.removeChild(a);
    EXPECT_EQ(root.getChildCount(), 0);
    // Steps that need a place to count in, and places that are not there.
    EXPECT_EQ(root.getFirstChild(nullptr), nullptr);
    EXPECT_EQ(root.getNextChild(nullptr), nullptr);
    EXPECT_EQ(root.getFirstAttrib(nullptr), nullptr);
    EXPECT_EQ(root.getNextAttrib(nullptr), nullptr);
    EXPECT_EQ(root.getAttrib(0), nullptr);
    root.removeAttrib(0);
    EXPECT_NE(root.getLibVersion(), 0u);
}

TYPED_TEST(BranchTwins, copiesTakeTheNodeAndTurnAttributesRound)
{
    using Branch = typename TypeParam::Branch;
    using Attrib = typename TypeParam::Attrib;
    const auto w = &TestFixture::w;
    Branch from(w("Item(2)"), "abc", 3);
    for (const char* name : {"x", "y", "X"})
        from.addAttrib(Attrib(w(name), w(std::string("v") + name)), false);
    from.addChild(Branch(w("child"), 1), nullptr, false);
    Branch to(w("Other(9)"), 5);
    to.addAttrib(Attrib(w("own"), w("1")), true);
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
    Branch owner(w("owner"));
    Branch* child = nullptr;
    EXPECT_EQ(owner.addChild(Branch(w("c"), 1), &child, false), 0);
    {
        Branch linking(w("linking"));
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
    EXPECT_EQ(owner.searchTree(w("nowhere")), nullptr);
    owner.removeChild(1);
}

// Children and their names may change behind the branch's back: lookups beside a list kept by hand. The index
// that they use comes when many were looked at between two changes, and for children alone that nobody else
// renames: so there are calm times, and links in one round only.
TYPED_TEST(BranchTwins, childrenAreFoundWhateverBecomesOfThem)
{
    using Branch = typename TypeParam::Branch;
    using Attrib = typename TypeParam::Attrib;
    const auto w = &TestFixture::w;
    std::mt19937 random(1);
    const auto below = [&random](std::size_t n) { return static_cast<int>(random() % n); };
    const auto base = [&](std::size_t n) { return "k" + std::to_string(below(n)); };
    const std::string none = "none";
    struct Name {
        std::string base, suffix;
    };
    const auto text = [&](const Name& n) {
        return w(n.suffix == none ? n.base : n.base + '(' + n.suffix + ')');
    };
    struct Round {
        bool isLinking;
        std::size_t most, suffixes;
    };
    for (const Round& round : {Round{false, 80, 6}, {true, 80, 6}, {false, 10000, 60}}) {
        std::vector<std::unique_ptr<Branch>> outside; // linked, or put out of their places; they outlive b
        const auto suffix = [&] { return std::to_string(below(round.suffixes)); };
        auto top = std::make_unique<Branch>(w("b"));
        Branch& b = *top;
        std::vector<Name> names;
        for (int step = 0; step < 15000; ++step) {
            const int at = names.empty() ? -1 : below(names.size());
            Branch* child = b.getChild(at);
            Name* known = child ? &names[static_cast<std::size_t>(at)] : nullptr;
            const Name fresh = {base(30), below(3) ? suffix() : none};
            const int rel = child ? child->findAttrib(w("Rel")) : -1;
            const bool isCalm = step / 1000 % 2 == 0 && below(20);
            switch (isCalm ? 9 + below(9) : below(16)) {
            case 0:
            case 1:
            case 17: // leaves the index as it is, unless many have that name
                if (child) {
                    child->setName(text(fresh));
                    *known = fresh;
                }
                break;
            case 2:
                if (child) {
                    b.setChild(new Branch(text(fresh)), at);
                    *known = fresh;
                    child->setName(w("alone"));
                    if (std::none_of(outside.begin(), outside.end(),
                                     [&](auto& o) { return o.get() == child; }))
                        outside.emplace_back(child);
                }
                break;
            case 3:
                if (names.size() > 40) {
                    names.erase(names.begin() + at);
                    b.removeChild(at);
                }
                break;
            case 4:
                if (round.isLinking && names.size() < round.most) {
                    names.push_back(fresh);
                    outside.push_back(std::make_unique<Branch>(text(fresh)));
                    b.linkChild(outside.back().get(), false);
                }
                break;
            case 9: // these leave the index as it is
            case 10:
                if (names.size() > round.most)
                    break;
                names.push_back(fresh);
                if (below(2))
                    b.addChild(Branch(text(fresh)), nullptr, false);
                else // put in only, with no parent
                    b.setChild(new Branch(text(fresh), below(2) ? &b : nullptr), -1);
                break;
            case 11:
                if (names.size() > 40) {
                    names.pop_back();
                    b.removeChild(static_cast<int>(names.size()));
                }
                break;
            case 12:
                if (rel >= 0 && below(4) == 0) {
                    int place = 0;
                    known->suffix = suffix();
                    const_cast<Attrib*>(child->getFirstAttrib(&place))->setValue(w(known->suffix));
                } else if (rel >= 0 && below(4) == 0) {
                    child->removeAttrib(rel);
                    known->suffix = none;
                } else if (child && rel < 0) {
                    known->suffix = suffix();
                    child->addAttrib(Attrib(w("Rel"), w(known->suffix)), true);
                }
                break;
            default: {
                Name wanted = {base(36), fresh.suffix}; // without a suffix it names any
                if (known && below(2))
                    wanted = below(4) ? *known : names.back();
                const auto found = std::find_if(names.begin(), names.end(), [&](const Name& n) {
                    return n.base == wanted.base && (wanted.suffix == none || n.suffix == wanted.suffix ||
                                                     (n.suffix == none && wanted.suffix == "0"));
                });
                Name asked = wanted;
                asked.base[0] = below(2) ? 'k' : 'K';
                ASSERT_EQ(b.findChild(text(asked)),
                          found == names.end() ? -1 : static_cast<int>(found - names.begin()))
                    << step;
            }
            }
        }
        top.reset();
        for (const auto& o : outside)
            o->setName(w("later"));
    }
}

// An index by suffix is built anew while other threads look for children, whoever changed suffixes.
TYPED_TEST(BranchTwins, suffixesChangeWhileOthersLook)
{
    using Branch = typename TypeParam::Branch;
    using Attrib = typename TypeParam::Attrib;
    const auto w = &TestFixture::w;
    constexpr int size = 200;
    std::vector<const typename TypeParam::Ch*> names;
    for (int i = 0; i < size; ++i)
        names.push_back(w("k(" + std::to_string(i) + ")"));
    const auto lookFor = [&names](const Branch& b, int count) {
        int wrong = 0;
        for (int i = 0; i < count; ++i)
            wrong += b.findChild(names[static_cast<std::size_t>(i)]) != i;
        return wrong;
    };
    const auto fill = [&names](Branch& b, int count) {
        for (int i = 0; i < count; ++i)
            b.addChild(Branch(names[static_cast<std::size_t>(i)]), nullptr, true);
    };
    const auto setSuffix = [](Branch& b, int i, const auto* value) {
        int place = 0;
        const_cast<Attrib*>(b.getChild(i)->getFirstAttrib(&place))->setValue(value);
    };
    Branch list(w("list"));
    fill(list, size);
    EXPECT_EQ(lookFor(list, size), 0);
    setSuffix(list, 7, w("seven"));
    EXPECT_EQ(list.findChild(names[7]), -1);
    EXPECT_EQ(list.findChild(w("k(seven)")), 7);
    setSuffix(list, 7, w("7"));
    EXPECT_EQ(lookFor(list, size), 0);

    std::vector<std::unique_ptr<Branch>> others; // so many that some are watched as `list` is
    for (int i = 0; i < 4200; ++i) {
        others.push_back(std::make_unique<Branch>(w("other")));
        fill(*others.back(), 20);
        EXPECT_EQ(lookFor(*others.back(), 20), 0);
    }
    std::atomic<bool> done{false};
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 2; ++t)
        threads.emplace_back([&] {
            while (!done)
                wrong += lookFor(list, size);
        });
    const typename TypeParam::Ch* const values[] = {w("one"), w("another")};
    for (int round = 0; round < 30; ++round)
        for (auto& other : others)
            setSuffix(*other, 0, values[round % 2]);
    done = true;
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(lookFor(list, size), 0);
}

TYPED_TEST(BranchTwins, anOwnedChildThatIsLinkedInstead)
{
    using Branch = typename TypeParam::Branch;
    const auto w = &TestFixture::w;
    std::unique_ptr<Branch> outlives;
    {
        Branch b(w("top"));
        for (int i = 0; i < 40; ++i)
            b.addChild(Branch(w("n" + std::to_string(i))), nullptr, false);
        for (int round = 0; round < 3; ++round) // the index comes with use
            ASSERT_EQ(b.findChild(w("N38")), 38);
        outlives.reset(b.getChild(20));
        b.linkChild(outlives.get(), true);
        EXPECT_EQ(b.findChild(w("n20")), 39);
        b.removeChild(39);
        outlives->setName(w("later"));
    }
    outlives->setName(w("alone"));
    EXPECT_EQ(narrow(outlives->getName()), "alone");
}

TYPED_TEST(BranchTwins, walksVisitInTheirOrder)
{
    using Branch = typename TypeParam::Branch;
    using Attrib = typename TypeParam::Attrib;
    const auto w = &TestFixture::w;
    //  r -> a -> x(1), b -> x(2), x(3)
    Branch r(w("r"));
    Branch* a = nullptr;
    Branch* b = nullptr;
    r.addChild(Branch(w("a")), &a, false);
    a->addChild(Branch(w("x"), 1), nullptr, false);
    r.addChild(Branch(w("b")), &b, false);
    b->addChild(Branch(w("x"), 2), nullptr, false);
    r.addChild(Branch(w("x"), 3), nullptr, false);
    auto number = [](const Branch* found) {
        int i = -1;
        if (found)
            found->getValue(&i);
        return i;
    };
    EXPECT_EQ(number(r.searchTree(w("X"))), 1);
    EXPECT_EQ(number(r.highestBranch(w("x"))), 3);
    b->getChild(0)->addAttrib(Attrib(w("mark"), w("1")), false);
    static int seen;
    seen = 0;
    auto callback = [](Branch*, Attrib* attrib, long param) {
        seen += static_cast<int>(param) + (attrib ? 100 : 0);
        return true;
    };
    EXPECT_TRUE(r.scanTree(w("b"), nullptr, callback, 1)); // the children of b
    EXPECT_EQ(seen, 1);
    EXPECT_TRUE(r.scanTree(w("b"), w("MARK"), callback, 1));
    EXPECT_EQ(seen, 102);
    EXPECT_FALSE(r.scanTree(
        w("r"), nullptr, [](Branch*, Attrib*, long) { return false; }, 0));
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
    Branch b(w("n"), static_cast<short>(0x1234));
    b.addAttrib(Attrib(w("a"), w("v")), false);
    b.addChild(Branch(w("c"), "xyz", 3), nullptr, false);
    std::ostringstream out;
    EXPECT_EQ(b.save(out), 0);
    const std::string zero(1, '\0');
    const std::string unit = sizeof(typename TypeParam::Ch) == 2 ? zero : "";
    const std::string value = sizeof(typename TypeParam::Ch) == 2 ? std::string("v\0\0\0", 4) : "v";
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
        const std::unique_ptr<Branch> root(new Branch(w("n")));
        const Branch level(w("n"), 7);
        Branch* at = root.get();
        for (int i = 0; i < depth; ++i)
            at->addChild(level, &at, false);
        EXPECT_EQ(root->searchTree(w("none")), nullptr);
        EXPECT_EQ(root->highestBranch(w("none")), nullptr);
        EXPECT_TRUE(root->scanTree(
            w("none"), nullptr, [](Branch*, typename TypeParam::Attrib*, long) { return true; }, 0));
        EXPECT_EQ(root->findLinkParent(&level), nullptr);
        Branch copy(w("copy"));
        EXPECT_EQ(copy.addTree(root.get(), false), 0);
        std::stringstream stream;
        EXPECT_EQ(root->save(stream), 0);
        Branch loaded;
        EXPECT_EQ(loaded.load(stream), 0);
        const std::unique_ptr<Branch> whole(ztree::copyTree(copy));
        auto all = ztree::descendants(*whole);
        std::size_t deepest = 0;
        int sum = 0, last = 0;
        for (const Branch* b : all) {
            deepest = all.depth();
            b->getValue(&last);
            sum += last;
        }
        EXPECT_EQ(deepest, static_cast<std::size_t>(depth));
        EXPECT_EQ(sum, 7 * depth);
    }
    platform::Hooks::on();
}

} // namespace
