#include "support/tree_frame.h"
#include "tree/support.h"

#include <ztree/ext/tree.h>

#include <climits>
#include <memory>
#include <sstream>

namespace {

using tree_frame::framed;
using tree_frame::little;
using tree_model::shown;

class TreeStream : public HeapTest {
protected:
    static std::string saved(const ZTree& tree)
    {
        std::ostringstream out;
        EXPECT_TRUE(ztree::saveTree(tree, out));
        return out.str();
    }
    // Both ways in refuse the bytes, say where, and leave the tree.
    static void refused(const std::string& bytes, const std::string& why)
    {
        ZTree tree;
        tree.add(ZTBranch("kept"));
        ztree::TreeStreamError error;
        ASSERT_FALSE(ztree::loadTree(bytes.data(), bytes.size(), tree, &error)) << why;
        ASSERT_NE(error.message[0], 0) << why;
        ASSERT_LE(error.offset, bytes.size()) << why;
        std::istringstream in(bytes);
        ASSERT_FALSE(ztree::loadTree(in, tree, &error)) << why;
        ASSERT_STREQ(tree.root()->getName(), "kept");
    }
};

TEST_F(TreeStream, givesBackEveryTree)
{
    for (unsigned seed = 0; seed < 400; ++seed) {
        ZTree tree;
        tree.set(tree_model::build(randomTree(seed, 4)));
        if (seed % 5 == 0)
            tree.root()->setValue(LONG_MIN + 1);
        const std::string bytes = saved(tree);
        ZTree back;
        ztree::TreeStreamError error;
        ASSERT_TRUE(ztree::loadTree(bytes.data(), bytes.size(), back, &error)) << error.message;
        ASSERT_EQ(shown(back), shown(tree)) << seed;
        long value = 0;
        if (seed % 5 == 0) {
            ASSERT_EQ(back.root()->getValue(&value), 0);
            ASSERT_EQ(value, LONG_MIN + 1);
        }
        ASSERT_EQ(saved(back), bytes);
    }
    // A stream holds one behind the other; an empty tree is one too.
    ZTree first;
    first.add(ZTBranch("first(3)", 2.5, 200));
    first.add(ZTBranch());
    std::stringstream stream;
    EXPECT_TRUE(ztree::saveTree(first, stream));
    EXPECT_TRUE(ztree::saveTree(ZTree(), stream));
    ZTree a;
    ZTree b;
    b.add(ZTBranch("gone"));
    EXPECT_TRUE(ztree::loadTree(stream, a));
    EXPECT_TRUE(ztree::loadTree(stream, b));
    EXPECT_EQ(shown(a), shown(first));
    EXPECT_EQ(b.root(), nullptr);
    EXPECT_FALSE(ztree::loadTree(stream, b));
}

TEST_F(TreeStream, bytesAreAsDescribed)
{
    ZTree tree;
    ZTBranch root("r(2)");
    root.setValue(-2L);
    root.addAttrib(ZAttrib("n", "v"), false);
    tree.set(new ZTBranch(root)); // a copy turns the attributes round
    tree.add(ZTBranch("d", 1.5, 3));
    tree.add(ZTBranch("t", "xyz", 3));
    tree.root()->setChild(new ZTBranch, -1);
    const std::string body = std::string("\x3D\x01r", 3) + little(static_cast<std::uint64_t>(-2), 8) +
                             std::string("\x02\x02n\x01v\x04Rel\x01\x32\x03", 12) +
                             std::string("\x0E\x01"
                                         "d\x03",
                                         4) +
                             little(0x3FF8000000000000, 8) + std::string("\x0F\x01t\x03xyz", 7) +
                             std::string("\0", 1);
    EXPECT_EQ(saved(tree), framed(body));
    ZTree back;
    EXPECT_TRUE(ztree::loadTree(framed(body).data(), framed(body).size(), back));
    EXPECT_STREQ(back.root()->getFullName(), "r(2)");
    // A link back to a branch around it has no end.
    tree.root()->getChild(0)->linkChild(tree.root(), false);
    std::ostringstream out;
    EXPECT_FALSE(ztree::saveTree(tree, out));
    EXPECT_EQ(out.str(), "");
    tree.root()->getChild(0)->removeChild(0);
}

TEST_F(TreeStream, damageIsFound)
{
    ZTree tree;
    tree.set(tree_model::rich());
    const std::string bytes = saved(tree);
    ASSERT_GT(bytes.size(), 1000u);
    for (std::size_t n = 0; n < bytes.size(); n += n < 300 || n + 50 > bytes.size() ? 1 : 97)
        ASSERT_NO_FATAL_FAILURE(refused(bytes.substr(0, n), "cut at " + std::to_string(n)));
    for (std::size_t n = 0; n < bytes.size(); n += n < 300 ? 1 : 97) {
        std::string damaged = bytes;
        damaged[n] = static_cast<char>(damaged[n] ^ (1 << n % 8));
        ASSERT_NO_FATAL_FAILURE(refused(damaged, "changed at " + std::to_string(n)));
    }
    ztree::TreeStreamError error;
    ZTree back;
    const std::string longer = bytes + "x";
    EXPECT_FALSE(ztree::loadTree(longer.data(), longer.size(), back, &error));
    EXPECT_EQ(error.offset, bytes.size());
    EXPECT_FALSE(ztree::loadTree(nullptr, 0, back, &error));
}

TEST_F(TreeStream, lengthsThatLieCostNothing)
{
    const std::string huge = "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x7F";
    const std::string two31 = std::string("\x80\x80\x80\x80\x08", 5);
    const std::string bodies[] = {
        "\x08" + huge + "r", // name
        "\x08" + two31 + "r",
        "\x0F\x01r" + huge,              // value
        "\x18\x01r" + huge + "\x02n",    // attributes
        "\x18\x01r\x01" + huge,          // name of an attribute
        "\x18\x01r\x01\x02n" + huge,     // its value
        "\x28\x01r" + huge,              // children
        std::string("\x28\x01r\x00", 4), // none, though some are stated
        std::string("\x18\x01r\x00", 4),
        "\x28\x01r\x02" + std::string(1, '\0'), // one is missing
        "\x28\x01r\x01\x48\x01q",               // no head of a branch
        "\x08\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x01",
        std::string("\x08\x02"
                    "a\0",
                    4),          // a zero byte in a name
        "\x0D\x01r\x01\x02\x03", // half a number
        "\x0E\x01r",
        "\x08\x01rr", // more behind the root
    };
    for (const std::string& body : bodies) {
        platform::Hooks::failAt(platform::Site::heap, 0);
        refused(framed(body), body);
        EXPECT_LT(platform::Hooks::calls(platform::Site::heap), 40);
    }
    // A length in the head without its bytes.
    std::string head = framed("\x08\x01r");
    head[13] = '\x7F';
    refused(head, "head");
    if (sizeof(long) == 4)
        refused(framed("\x0D\x01r" + little(0x100000000, 8)), "long");
}

TEST_F(TreeStream, depthCostsNoStack)
{
    constexpr int depth = 1000000;
    ZTree tree;
    tree.set(new ZTBranch("top"));
    ZTBranch* at = tree.root();
    for (int i = 0; i < depth; ++i) {
        ZTBranch* below = new ZTBranch("b", static_cast<short>(i), at);
        at->setChild(below, -1);
        at = below;
    }
    const std::string bytes = saved(tree);
    tree.clear();
    EXPECT_TRUE(ztree::loadTree(bytes.data(), bytes.size(), tree));
    EXPECT_EQ(saved(tree), bytes);
}

} // namespace
