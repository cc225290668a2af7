#include "support/tree_frame.h"
#include "tree/support.h"

#include <ztree/ext/tree.h>

#include <memory>
#include <sstream>

namespace {

using tree_frame::little;
using tree_model::shown;

using ExtTree = HeapTest;

TEST_F(ExtTree, loopsVisitInOrder)
{
    //  r(x=1 y=2) -> a -> c -> e;  b -> d;  an empty place between a and b
    ZTBranch r("r");
    r.addAttrib(ZAttrib("x", "1"), false);
    r.addAttrib(ZAttrib("y", "2"), false);
    r.addAttrib(ZAttrib(), false);
    auto add = [](ZTBranch& to, const char* name, int at) {
        ZTBranch* fresh = new ZTBranch(name, &to);
        to.setChild(fresh, at);
        return fresh;
    };
    ZTBranch* a = add(r, "a", 0);
    ZTBranch* b = add(r, "b", 2);
    ZTBranch* c = add(*a, "c", 0);
    add(*c, "e", 0);
    add(*b, "d", 0);
    std::string seen;
    for (const ZTBranch* child : ztree::children(r))
        seen += child->getName();
    EXPECT_EQ(seen, "ab");
    for (auto [name, value] : ztree::attribs(r))
        seen += std::string(name) + "=" + std::string(value) + ";";
    EXPECT_EQ(seen, "abx=1;y=2;=;");
    auto all = ztree::descendants(r);
    for (int round = 0; round < 2; ++round) {
        seen.clear();
        for (const ZTBranch* branch : all)
            seen += branch->getName() + std::to_string(all.depth());
        EXPECT_EQ(seen, "a1c2e3b1d2");
    }
    seen.clear();
    for (const ZTBranch* branch : all) {
        seen += branch->getName();
        if (branch == c)
            all.skip();
    }
    EXPECT_EQ(seen, "acbd");
    // A link that closes a ring is seen, not entered.
    c->linkChild(a, false);
    seen.clear();
    for (const ZTBranch* branch : all)
        seen += branch->getName();
    EXPECT_EQ(seen, "aceabd");
    const std::unique_ptr<ZTBranch> copy(ztree::copyTree(r));
    EXPECT_EQ(copy->getChild("a")->getChild("c")->getChild(1)->getChildCount(), 0);
    EXPECT_EQ(copy->getChild("a")->getChild("c")->getChild(1)->getFlags(), 0);
    c->removeChild(1);

    ZTBranchW wide(ZTEXT("w"));
    wide.addChild(ZTBranchW(ZTEXT("kid")), nullptr, false);
    for (const ZTBranchW* child : ztree::descendants(wide))
        EXPECT_EQ(narrow(child->getName()), "kid");
}

TEST_F(ExtTree, copiesAreWholeAndTheirOwn)
{
    for (unsigned seed = 0; seed < 300; ++seed) {
        const std::unique_ptr<ZTBranch> from(tree_model::build(randomTree(seed, 4)));
        const std::unique_ptr<ZTBranch> copy(ztree::copyTree(*from));
        ASSERT_EQ(shown(*copy), shown(*from)) << seed;
        ASSERT_EQ(copy->getParent(), nullptr);
        for (const ZTBranch* child : ztree::children(*copy))
            ASSERT_EQ(child->getParent(), copy.get());
    }
    ZTBranch nameless;
    nameless.setValue(7);
    const std::unique_ptr<ZTBranch> copy(ztree::copyTree(nameless));
    EXPECT_EQ(copy->getName(), nullptr);
    EXPECT_EQ(shown(*copy), shown(nameless));
    ZTBranchW wide(ZTEXT("w(2)"), 2.5, 1);
    wide.addChild(ZTBranchW(ZTEXT("kid")), nullptr, false);
    const std::unique_ptr<ZTBranchW> wideCopy(ztree::copyTree(wide));
    EXPECT_EQ(narrow(wideCopy->getFullName()), "w(2)");
    EXPECT_EQ(narrow(wideCopy->toString(nullptr)), "2,5");
    EXPECT_EQ(wideCopy->getChildCount(), 1);
}

TEST_F(ExtTree, manyAttributesStayInOrder)
{
    // Enough that names are looked up by hash: a later value goes to the first place of its name.
    constexpr int many = 5000;
    std::string bytes = little(1, 4) + 'r' + '\0' + little(many + 100, 4);
    for (int i = 0; i < many + 100; ++i) {
        const std::string name = (i < many ? "n" : "N") + std::to_string(i % many);
        bytes += little(name.size(), 4) + name + little(1, 4) + (i < many ? 'a' : 'b');
    }
    std::istringstream in(bytes);
    ZTBranch r;
    r.load(in);
    ASSERT_EQ(r.getAttribCount(), many);
    const std::unique_ptr<ZTBranch> copy(ztree::copyTree(r));
    for (int i = 0; i < many; ++i) {
        ASSERT_EQ(r.getAttrib(i)->getName(), "n" + std::to_string(i));
        ASSERT_STREQ(copy->getAttrib(i)->getValue(), i < 100 ? "b" : "a");
    }
}

TEST_F(ExtTree, treesMoveWithTheirCursor)
{
    ZTree from;
    ZTree to;
    to.add(ZTBranch("old"));
    from.add(ZTBranch("r"));
    from.add(ZTBranch("c"));
    const ZTBranch* child = from.descend(0);
    ztree::moveTree(from, to);
    EXPECT_EQ(from.root(), nullptr);
    EXPECT_EQ(to.current(), child);
    ztree::moveTree(to, to);
    ztree::copyTree(to, to);
    EXPECT_EQ(to.current(), child);
    ztree::copyTree(to, from);
    EXPECT_EQ(shown(from), shown(to));
    EXPECT_EQ(from.current(), from.root());
    to.clear();
    ztree::copyTree(to, from);
    EXPECT_EQ(from.root(), nullptr);
}

} // namespace
