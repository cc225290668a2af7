#include "support/spellings.h"

#include <ztree/tree.h>

#include <sstream>

namespace {

using TreeTest = HeapTest;

// Order id=7: Pos 3, Empty, Data (with a tab), Sum 2.5
void fill(ZTree& tree)
{
    ZTBranch order("Order");
    order.addAttrib(ZAttrib("id", "7"), false);
    tree.add(order);
    tree.add(ZTBranch("Pos", 3));
    tree.add(ZTBranch("Empty"));
    tree.add(ZTBranch("Data", "a\tb", 3));
    tree.add(ZTBranch("Sum", 2.5, 2));
}

template <class Twin> using CursorTwins = SpellingTest<Twin>;
TYPED_TEST_SUITE(CursorTwins, Spellings);

TYPED_TEST(CursorTwins, movesAsStated)
{
    using Branch = typename TypeParam::Branch;
    const auto w = &TestFixture::w;
    const auto nameOf = [](const Branch* b) { return b ? narrow(b->getName()) : "(none)"; };
    typename TypeParam::Tree tree;
    EXPECT_EQ(tree.descend(w("x")), nullptr);
    EXPECT_EQ(tree.next(), nullptr);
    for (const char* name : {"Order", "Pos", "Empty", "Data", "Sum"})
        tree.add(Branch(w(name)));
    EXPECT_EQ(nameOf(tree.current()), "Order");
    EXPECT_EQ(nameOf(tree.descend(nullptr)), "Sum"); // the branch last added
    EXPECT_EQ(nameOf(tree.ascend()), "Order");
    EXPECT_EQ(nameOf(tree.descend(1)), "Empty");
    EXPECT_EQ(nameOf(tree.next()), "Empty"); // the first next() returns it again
    EXPECT_EQ(nameOf(tree.next()), "Data");
    EXPECT_EQ(nameOf(tree.next()), "Sum");
    EXPECT_EQ(tree.next(), nullptr);
    EXPECT_EQ(tree.current(), nullptr);
    EXPECT_EQ(nameOf(tree.reset()), "Order");
    EXPECT_EQ(tree.next(), nullptr);
    EXPECT_EQ(tree.ascend(), nullptr);
    EXPECT_EQ(nameOf(tree.descend(0)), "Pos");
    Branch* data = tree.root()->getChild(w("data"));
    tree.current(data);
    EXPECT_EQ(tree.current(), data);
    Branch stranger(w("s"));
    tree.current(&stranger);
    EXPECT_EQ(tree.current(), data);
    tree.reset();
    EXPECT_EQ(tree.descend(data), data);
    EXPECT_EQ(tree.descend(&stranger), nullptr);
    tree.reset();
    tree.remove(w("PoS"));
    EXPECT_EQ(tree.root()->getChildCount(), 3);
    EXPECT_NE(tree.getLibVersion(), 0u);
}

TEST_F(TreeTest, linkedBranchesHaveAParentOnlyInsideTheTree)
{
    ZTree tree;
    fill(tree);
    ZTBranch outside("o");
    ZTBranch* inner = nullptr;
    outside.addChild(ZTBranch("i", 1), &inner, false);
    tree.root()->linkChild(inner, false);
    EXPECT_EQ(tree.findParent(inner), nullptr);
    ZTBranch* pos = tree.root()->getChild(0);
    tree.root()->getChild(1)->linkChild(pos, false);
    EXPECT_EQ(tree.findParent(pos), tree.root());
    // Parents in a ring end the search.
    inner->setParent(&outside);
    outside.setParent(inner);
    EXPECT_EQ(tree.findParent(inner), nullptr);
    tree.root()->removeChild("i");
}

TEST_F(TreeTest, wholeTreesAreCopiedAndInserted)
{
    ZTree tree;
    fill(tree);
    tree.descend("Empty");
    tree.add(ZTBranch("deep", 1));
    ZTree copy(tree);
    EXPECT_EQ(copy.current(), nullptr);
    ZString a;
    ZString b;
    treeString(&tree, a);
    treeString(&copy, b);
    ASSERT_EQ(a.length(), b.length());
    EXPECT_EQ(std::string(a.getBuffer(), static_cast<std::size_t>(a.length())),
              std::string(b.getBuffer(), static_cast<std::size_t>(b.length())));
    copy = copy;
    EXPECT_EQ(copy.root()->getChildCount(), 4);
    ZTree empty;
    EXPECT_EQ(empty.insert(&tree), 0);
    EXPECT_EQ(empty.root()->getChildCount(), 4);
    EXPECT_EQ(empty.insert(empty.root()), -1);
    EXPECT_EQ(empty.insert(static_cast<const ZTree*>(nullptr)), -1);
    std::stringstream stream;
    EXPECT_EQ(tree.save(stream), 0);
    EXPECT_EQ(copy.load(stream), 0);
    EXPECT_EQ(copy.current(), nullptr);
}

TEST_F(TreeTest, textFormsAreExact)
{
    ZTree tree;
    fill(tree);
    ZString out;
    EXPECT_EQ(treeText(&tree, "  ", out), 0);
    EXPECT_STREQ(out.getBuffer(), "<Order id=\"7\">\r\n"
                                  "  <Pos>3</Pos>\r\n"
                                  "  <Empty/>\r\n"
                                  "  <Data>\r\n[CDATA]\r\n"
                                  "00000000: 610962                               a.b\r\n"
                                  "  </Data>\r\n"
                                  "  <Sum>2,50</Sum>\r\n"
                                  "</Order>\r\n");
    EXPECT_EQ(treeString(&tree, out), 0);
    EXPECT_EQ(out.getCodepage(), 65001u);
    EXPECT_EQ(treeString(nullptr, out), static_cast<int>(ztree::errInvalidArg));
    EXPECT_EQ(treeText(nullptr, "", out), static_cast<int>(ztree::errInvalidArg));
    EXPECT_EQ(setGlobalConfig(nullptr), static_cast<int>(ztree::errInvalidArg));
    const tagZTreeConfig ignored{0, 1};
    EXPECT_EQ(setGlobalConfig(&ignored), 0);
    EXPECT_EQ(ZArray::s_ulDefaultSpinCount, 4000u);
}

} // namespace
