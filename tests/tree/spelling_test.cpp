// Every value type of both branches, and the second spelling of wide text, whose shells could call
// themselves.

#include <ztree/tree.h>

#include <gtest/gtest.h>

namespace {

const unsigned short* us(const zwchar* w)
{
    return reinterpret_cast<const unsigned short*>(w);
}

template <class Branch, class Name> void storesEachType(Name name)
{
    const auto stores = [&](auto value, unsigned char type) {
        Branch root(name);
        const Branch made(name, value, &root);
        EXPECT_EQ(made.getType(), type);
        EXPECT_EQ(made.getParent(), &root);
        Branch set(name);
        set.setValue(value);
        auto found = value;
        found = 0;
        EXPECT_EQ(set.getValue(&found), 0);
        EXPECT_EQ(found, value);
        set.setValue(nullptr, 0);
        EXPECT_NE(set.getValue(&found), 0);
    };
    stores(char{7}, 1);
    stores(static_cast<unsigned char>(200), 2);
    stores(short{-300}, 3);
    stores(70000, 4);
    stores(-70000L, 5);
    Branch real(name, 1.5, 2);
    double value = 0;
    EXPECT_EQ(real.getValue(&value), 0);
    EXPECT_EQ(value, 1.5);
    real.setValue(2.5, 1);
    real.getValue(&value);
    EXPECT_EQ(value, 2.5);
    char room[4];
    EXPECT_EQ(Branch(name, "ab", 2).getValue(room, 4), 0);
    EXPECT_STREQ(room, "ab");

    // Steps that need a place to count in, and places that are not there.
    EXPECT_EQ(real.getFirstChild(nullptr), nullptr);
    EXPECT_EQ(real.getNextChild(nullptr), nullptr);
    EXPECT_EQ(real.getFirstAttrib(nullptr), nullptr);
    EXPECT_EQ(real.getNextAttrib(nullptr), nullptr);
    EXPECT_EQ(real.getAttrib(0), nullptr);
    real.removeAttrib(0);
    const char* text = nullptr;
    EXPECT_EQ(real.getChildValue(0, &text, nullptr), -1);
    EXPECT_NE(real.getLibVersion(), 0u);
}

} // namespace

TEST(TreeSpelling, valuesOfEveryType)
{
    storesEachType<ZTBranch>("name");
    storesEachType<ZTBranchW>(ZTEXT("name"));
    storesEachType<ZTBranchW>(us(ZTEXT("name")));
}

TEST(TreeSpelling, wideTextAsUnsignedShort)
{
    const unsigned short *a = us(ZTEXT("a")), *b = us(ZTEXT("b")), *id = us(ZTEXT("id"));
    const auto fill = [&](ZTBranchW& root) {
        ZTBranchW* child = nullptr;
        root.addChild(ZTBranchW(a, "text", 4), &child, false);
        child->addAttrib(ZAttribW(id, b), false);
        child->addChild(ZTBranchW(b, 7), nullptr, false);
        return child;
    };
    ZTBranchW root(us(ZTEXT("root")));
    ZTBranchW* child = fill(root);
    EXPECT_EQ(child->equals(a), 1);
    EXPECT_EQ(root.getChild(a), child);
    EXPECT_EQ(root.findChild(b), -1);
    const char* text = nullptr;
    int length = 0;
    EXPECT_EQ(root.getChildValue(a, &text, &length), 0);
    EXPECT_EQ(root.getChildValue(ZTEXT("a"), &text, &length), 0);
    EXPECT_EQ(length, 4);
    const zwchar* value = nullptr;
    EXPECT_EQ(child->getAttribValue(id, &value, &length), 0);
    EXPECT_EQ(length, 1);
    EXPECT_EQ(child->getAttribValue(ZTEXT("id"), &value, nullptr), 0);
    EXPECT_EQ(child->getAttribValue(0, &value, nullptr), 0);
    EXPECT_EQ(child->getAttrib(id), child->getAttrib(ZTEXT("id")));
    EXPECT_EQ(child->findAttrib(id), 0);
    EXPECT_EQ(root.searchTree(b), child->getChild(0));
    EXPECT_EQ(root.highestBranch(b), child->getChild(0));
    EXPECT_FALSE(root.scanTree(
        a, nullptr, [](ZTBranchW*, ZAttribW*, long) { return false; }, 0));
    child->removeAttrib(id);
    EXPECT_EQ(child->getAttribCount(), 0);
    child->setName(b);
    EXPECT_EQ(root.findChild(b), 0);
    root.removeChild(b);
    fill(root);
    root.removeChild(ZTEXT("a"));
    fill(root)->removeAttrib(ZTEXT("id"));
    EXPECT_EQ(root.getChild(0)->getAttribCount() + root.getChildCount(), 1);

    ZTreeW tree;
    tree.add(ZTBranchW(a));
    tree.add(ZTBranchW(b));
    ZTBranchW* const down = tree.descend(b);
    EXPECT_TRUE(down && down == tree.current());
    EXPECT_NE(tree.ascend(), nullptr);
    tree.remove(b);
    tree.add(ZTBranchW(b));
    tree.remove(ZTEXT("b"));
    EXPECT_EQ(tree.root()->getChildCount(), 0);
    EXPECT_EQ(tree.insert(static_cast<const ZTreeW*>(nullptr)), -1);
    EXPECT_EQ(tree.getLibVersion(), ZTree().getLibVersion());
}
