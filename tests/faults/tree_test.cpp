// Branches, trees, paths, streams and the texts made of trees.

#include "faults/trees.h"

#include <ztree/ext/tree.h>

#include <sstream>

namespace {

using namespace faults;

/// Two trees; the first may link branches of the second.
template <class Ch> struct Two {
    using Whole = typename Twin<Ch>::Tree;
    Whole other;
    Whole tree;
    std::string told() const { return tell(tree) + tell(other); }
};
template <class Ch> auto two(int wide, int deep)
{
    return [=] {
        auto both = std::make_unique<Two<Ch>>();
        both->tree.set(makeTree<Ch>(wide, deep));
        both->other.set(makeTree<Ch>(3, 2));
        return both;
    };
}
template <class Ch> class TreeFaults : public Sweep {
};
TYPED_TEST_SUITE(TreeFaults, BothUnits);

const std::string many(3000, 'm');

TYPED_TEST(TreeFaults, oneOperation)
{
    using B = typename Twin<TypeParam>::Branch;
    using A = typename Twin<TypeParam>::Attrib;
    using Both = Two<TypeParam>;
    const auto lit = [](const std::string& text) { return widen<TypeParam>(text); };
    const auto longText = lit(many), suffixed = lit("item(12)"), rel = lit("Rel");
    const auto child = [](Both& t, int i) { return t.other.root()->getChild(i); };
    const std::function<void(Both&)> operations[] = {
        [&](Both& t) { t.tree.root()->setName(longText.c_str()); },
        [&](Both& t) { t.tree.root()->setName(suffixed.c_str()); },
        [&](Both& t) { t.tree.root()->getChild(7)->setName(suffixed.c_str()); },
        [&](Both& t) { t.tree.root()->addAttrib(A(lit("N1").c_str(), longText.c_str()), true); },
        [&](Both& t) { t.tree.root()->addAttrib(A(rel.c_str(), longText.c_str()), false); },
        [&](Both& t) { t.tree.root()->getChild(7)->addAttrib(A(rel.c_str(), longText.c_str()), true); },
        [&](Both& t) { t.tree.root()->addAttrib(A(), false); },
        [&](Both& t) { have(t.tree.root()->getFullName()), t.tree.root()->removeAttrib(0); },
        [&](Both& t) { t.tree.root()->addChild(*t.other.root(), nullptr, false); },
        [&](Both& t) { t.tree.root()->linkChild(child(t, 9), false); },
        [&](Both& t) { t.tree.root()->linkChild(child(t, 9), true); },
        [&](Both& t) { t.tree.root()->linkChild(t.other.root(), true); },
        [&](Both& t) { t.tree.add(*t.other.root()); },
        [&](Both& t) { t.tree = t.other; },
        [&](Both& t) { t.other = typename Both::Whole(t.tree); },
        [&](Both& t) { ztree::copyTree(t.tree, t.other); },
        [&](Both& t) { delete ztree::copyTree(*t.tree.root()); },
        [&](Both& t) { ztree::moveTree(t.tree, t.other); },
        [&](Both& t) { B(*t.tree.root()), B(suffixed.c_str(), 2.5, 4), B(suffixed.c_str(), "x", 1); },
        [&](Both& t) {
            auto fresh = std::make_unique<B>(lit("fresh").c_str(), longText.c_str(), 600);
            t.tree.root()->setChild(have(fresh.get()), t.tree.root()->getChildCount() + 100);
            fresh.release();
        },
        [&](Both& t) {
            auto all = ztree::descendants(*t.tree.root());
            std::size_t n = 0;
            for (auto it = all.begin(); it != all.end(); ++it)
                n += it.depth();
            EXPECT_GT(n, 10u);
        },
    };
    for (const auto& run : operations)
        for (const int size : {0, 33 * depth()})
            this->sweepChange("operation " + std::to_string(&run - operations),
                              two<TypeParam>(size, 2 * size), run);
}

TYPED_TEST(TreeFaults, walksAndSteps)
{
    using B = typename Twin<TypeParam>::Branch;
    using A = typename Twin<TypeParam>::Attrib;
    using T = typename Twin<TypeParam>::Tree;
    using Both = Two<TypeParam>;
    const auto lit = [](const std::string& text) { return widen<TypeParam>(text); };
    const auto longText = lit(many);
    struct Operation {
        const char* name;
        std::function<std::string(Both&)> run;
    };
    const Operation operations[] = {
        {"values",
         [&](Both& t) {
             B& b = *t.tree.root();
             int n = 0;
             b.getChild(0)->setName(lit("x(1)").c_str());
             std::string all = shown(have(b.getChild(0)->getFullName()));
             for (int i = 0; i < b.getChildCount(); ++i) {
                 if (b.getChild(i)->getType())
                     all += shown(have(b.getChild(i)->toString(&n)));
                 const char* value = nullptr;
                 all += std::to_string(b.getChildValue(i, &value, &n)) + std::to_string(n);
             }
             b.setValue(longText.data(), 3000);
             all += shown(have(b.toString(&n)));
             b.setValue(longText.data(), 40);
             b.freeString();
             return all;
         }},
        {"lookups",
         [&](Both& t) {
             B& b = *t.tree.root();
             std::string all;
             for (int round = 0; round < 3; ++round)
                 for (int i = 0; i < 40; i += 3)
                     all += std::to_string(b.findChild(lit("N" + std::to_string(i)).c_str())) + "," +
                            std::to_string(b.findAttrib(lit("N" + std::to_string(i)).c_str())) + ";";
             all += shown(b.searchTree(lit("n19").c_str())->getName());
             all += std::to_string(b.highestBranch(lit("absent").c_str()) == nullptr);
             all += std::to_string(b.searchTree(lit("absent").c_str()) == nullptr);
             all += std::to_string(b.findLinkParent(t.other.root()) == nullptr);
             const auto stop = [](B*, A*, long) { return true; };
             all += std::to_string(b.scanTree(lit("deep").c_str(), nullptr, stop, 0));
             return all;
         }},
        {"links",
         [&](Both& t) {
             B& b = *t.tree.root();
             for (int i = 0; i < 8; ++i)
                 b.linkChild(t.other.root()->getChild(i), false);
             return std::to_string(b.findLinkParent(t.other.root()->getChild(3)) == &b);
         }},
        {"copies below",
         [&](Both& t) {
             t.other.root()->addTree(t.tree.root(), true);
             t.other.insert(&t.tree);
             T fresh;
             fresh.insert(t.other.root());
             B copy;
             copy = *t.tree.root(); // attributes by hash
             copy = *t.other.root();
             return tell(&copy) + tell(fresh);
         }},
        {"growing",
         [&](Both& t) {
             B b(lit("b").c_str());
             for (int i = 0; i < 60; ++i) {
                 const auto name = lit("c" + std::to_string(i));
                 b.addChild(B(name.c_str(), longText.data(), i), nullptr, i % 2 != 0);
                 b.addAttrib(A(name.c_str(), name.c_str()), i % 2 != 0);
             }
             for (int i = 0; i < 60; ++i)
                 EXPECT_EQ(b.findChild(lit("C" + std::to_string(i)).c_str()), i);
             t.tree.root()->addChild(b, nullptr, true);
             return tell(&b);
         }},
        {"binary form",
         [&](Both& t) {
             std::ostringstream out;
             t.tree.save(out);
             T fresh;
             std::istringstream in(out.str());
             fresh.load(in);
             std::istringstream again(out.str());
             t.other.root()->load(again);
             return out.str() + tell(fresh);
         }},
    };
    this->sweep("lookups by hash", two<TypeParam>(40, 0), [&](Both& t) {
        std::string all;
        for (int i = 0; i < 200; ++i) {
            const auto name = lit("N" + std::to_string(i % 40));
            const auto* const found =
                i % 2 ? t.tree.root()->getChild(name.c_str()) : t.tree.root()->highestBranch(name.c_str());
            all += shown(found->getName());
        }
        return all;
    });
    for (const Operation& o : operations)
        this->sweep(o.name, two<TypeParam>(20 * depth(), 66), o.run, Again::any);
}

// What load() makes of values: the form that it reads back, by hand.
TYPED_TEST(TreeFaults, loadsValues)
{
    using B = typename Twin<TypeParam>::Branch;
    const auto number = [](std::size_t n) {
        std::string bytes;
        for (int i = 0; i < 4; ++i)
            bytes += static_cast<char>(n >> (8 * i));
        return bytes;
    };
    const std::size_t unit = sizeof(TypeParam);
    const auto branch = [&](char type, const std::string& value, const std::string& rest) {
        return number(2) + std::string("na\0\0", 2 * unit) + type + value + rest;
    };
    std::string attribs = number(20);
    for (std::size_t i = 0; i < 20; ++i)
        attribs += number(1) + std::string(1, static_cast<char>('a' + i)) + std::string(unit - 1, 0) +
                   number(1) + "v" + std::string(unit - 1, 0);
    const std::string leaf = branch(7, number(9'000) + std::string(9'000, 'v'), attribs + number(0));
    std::string level = leaf;
    for (int i = 0; i < 70; ++i)
        level = branch(4, "abcd", number(0) + number(1)) + level;
    const std::string all = branch(7, number(9) + "123456789", attribs + number(2)) + leaf + level;
    const auto make = [] { return std::make_unique<B>(); };
    this->sweep(
        "values", make,
        [&](B& b) {
            std::istringstream in(all);
            b.load(in);
            return tell(&b);
        },
        Again::any);
}

// --- the modern layer and texts ---

using NarrowTreeFaults = TreeFaults<char>;

TEST_F(NarrowTreeFaults, paths)
{
    const std::string longName = std::string(2000, 'l');
    sweep("find", two<char>(90, 100), [&](Two<char>& t) {
        std::string all;
        for (const std::string& path :
             {std::string("//deep"), std::string("//*[@q1]/.."), std::string("/root/*//deep[2]"),
              std::string("//@*"), std::string("//n3/../n4"), "//'" + longName + "'"}) {
            int n = 0;
            ztree::findAll(t.tree, path, [&n](const ztree::PathMatch&) { ++n; });
            all += std::to_string(n) + ",";
        }
        return all + std::to_string(ztree::get<int>(t.tree, "n3", -1)) +
               ztree::get<std::string>(t.tree, "/root/n4", "");
    });
    struct Case {
        const char* name;
        std::function<bool(ZTree&)> run;
        Again again = Again::same;
    };
    const Case cases[] = {
        {"set", [](ZTree& t) { return ztree::set(t, "a(3)[@x='1'][@y='2']/b/c/@d", many.c_str()); }},
        {"set in a long path", [&](ZTree& t) { return ztree::set(t, "'" + longName + "'/@e", 2.5); }},
        {"set an attribute", [](ZTree& t) { return ztree::set(t, "@plain", many.c_str()); }},
        {"set a number", [](ZTree& t) { return ztree::set(t, "@plain", 7); }},
        // A value that finds no memory is empty.
        {"set one of many", [](ZTree& t) { return ztree::set(t, "n3", "text"); }, Again::any},
        {"set a root", [](ZTree& t) { return t.clear(), ztree::set(t, "/new(1)/b", 2); }, Again::any},
        {"remove attributes", [](ZTree& t) { return ztree::remove(t, "//@*"), true; }},
        {"remove one", [](ZTree& t) { return ztree::remove(t, "//*/@p1"), true; }},
        {"remove branches", [](ZTree& t) { return ztree::remove(t, "//deep"), true; }},
        {"remove all", [](ZTree& t) { return ztree::remove(t, "//*"), true; }},
    };
    for (const Case& c : cases)
        sweepChange(
            c.name, two<char>(90, 100), [&](Two<char>& t) { must(c.run(t.tree)); }, c.again);
}

TEST_F(NarrowTreeFaults, streams)
{
    for (const int size : {0, 10, 80}) {
        ZTree source;
        source.set(makeTree<char>(size, size * 2));
        source.root()->setValue(std::string(size ? 20 : 150'000, 'v').c_str(), -1);
        std::ostringstream out;
        ASSERT_TRUE(ztree::saveTree(source, out));
        const std::string bytes = out.str();
        sweepChange("from memory", two<char>(0, 0),
                    [&](Two<char>& t) { must(ztree::loadTree(bytes.data(), bytes.size(), t.tree)); });
        sweepChange("from a stream", two<char>(0, 0), [&](Two<char>& t) {
            std::istringstream in(bytes);
            must(ztree::loadTree(in, t.tree));
        });
        sweep("to a stream", [&] {
            std::ostringstream again;
            must(ztree::saveTree(source, again));
            return again.str();
        });
    }
}

TEST_F(NarrowTreeFaults, texts)
{
    const auto make = [] {
        auto trees = two<char>(20, 100)();
        trees->tree.root()->setValue("\x01\x02 bytes", 8);
        return trees;
    };
    sweep("line", make, [](Two<char>& t) {
        ZString out;
        treeString(&t.tree, out);
        return shown(out);
    });
    for (const char* indent : {"  ", "a longer indent than usual"})
        sweep("lines", make, [&](Two<char>& t) {
            ZString out("old");
            treeText(&t.tree, indent, out);
            return shown(out);
        });
}

} // namespace
