#include "support/heap_fixture.h"

#include <ztree/tree.h>

#include <gtest/gtest.h>

#include <memory>
#include <sstream>

namespace {

class TreeTest : public HeapTest {
protected:
    // Order id=7: Pos 3, Empty, Data (with a tab), Sum 2.5
    static void fill(ZTree& tree)
    {
        ZTBranch order("Order");
        order.addAttrib(ZAttrib("id", "7"), false);
        tree.add(order);
        tree.add(ZTBranch("Pos", 3));
        tree.add(ZTBranch("Empty"));
        tree.add(ZTBranch("Data", "a\tb", 3));
        tree.add(ZTBranch("Sum", 2.5, 2));
    }
    static const char* nameOf(const ZTBranch* b) { return b ? b->getName() : "(none)"; }
};

TEST_F(TreeTest, cursorMovesAsStated)
{
    ZTree tree;
    EXPECT_EQ(tree.descend("x"), nullptr);
    EXPECT_EQ(tree.next(), nullptr);
    fill(tree);
    EXPECT_STREQ(nameOf(tree.current()), "Order");
    EXPECT_STREQ(nameOf(tree.descend(nullptr)), "Sum"); // the branch last added
    EXPECT_STREQ(nameOf(tree.ascend()), "Order");
    EXPECT_STREQ(nameOf(tree.descend(1)), "Empty");
    EXPECT_STREQ(nameOf(tree.next()), "Empty"); // the first next() returns it again
    EXPECT_STREQ(nameOf(tree.next()), "Data");
    EXPECT_STREQ(nameOf(tree.next()), "Sum");
    EXPECT_EQ(tree.next(), nullptr);
    EXPECT_EQ(tree.current(), nullptr);
    EXPECT_STREQ(nameOf(tree.reset()), "Order");
    EXPECT_EQ(tree.next(), nullptr);
    EXPECT_EQ(tree.ascend(), nullptr);
    EXPECT_STREQ(nameOf(tree.descend(0)), "Pos");
    ZTBranch* data = tree.root()->getChild("data");
    tree.current(data);
    EXPECT_EQ(tree.current(), data);
    ZTBranch stranger("s");
    tree.current(&stranger);
    EXPECT_EQ(tree.current(), data);
    tree.reset();
    EXPECT_EQ(tree.descend(data), data);
    EXPECT_EQ(tree.descend(&stranger), nullptr);
    tree.reset();
    tree.remove("PoS");
    EXPECT_EQ(tree.root()->getChildCount(), 3);
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
    out.clear();
    ZTBranch order("N(1)", 0x41424344);
    order.addAttrib(ZAttrib("q", "<&"), false);
    ZTree one;
    one.add(order);
    EXPECT_EQ(treeString(&one, out), 0);
    EXPECT_STREQ(out.getBuffer(), "<N q=\"<&\" Rel=\"1\">DCBA</N>");
    EXPECT_EQ(out.getCodepage(), 65001u);
    EXPECT_EQ(treeString(nullptr, out), static_cast<int>(ztree::errInvalidArg));
    EXPECT_EQ(treeText(nullptr, "", out), static_cast<int>(ztree::errInvalidArg));
    EXPECT_EQ(setGlobalConfig(nullptr), static_cast<int>(ztree::errInvalidArg));
    const tagZTreeConfig ignored{0, 1};
    EXPECT_EQ(setGlobalConfig(&ignored), 0);
    EXPECT_EQ(ZArray::s_ulDefaultSpinCount, 4000u);
}

TEST_F(TreeTest, failingAllocationsLeaveAUsableTree)
{
    ZTree source;
    fill(source);
    const long injected = sweep([] { return std::make_unique<ZTree>(); },
                                [&](ZTree& tree) {
                                    tree.add(ZTBranch("Item(3)", "value", 5));
                                    tree.insert(&source);
                                    ZTree copy(tree);
                                    copy = source;
                                    ZString out;
                                    treeText(&copy, "    ", out);
                                    treeString(&copy, out);
                                },
                                [](ZTree& tree) {
                                    tree.add(ZTBranch("more", 1));
                                    EXPECT_NE(tree.root(), nullptr);
                                });
    std::printf("failing allocations injected: %ld\n", injected);
    EXPECT_GT(injected, 30);
}

} // namespace
