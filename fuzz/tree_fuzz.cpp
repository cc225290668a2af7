// The two binary forms of a tree. Both get the bytes as they are; the second also gets them as a body with a
// frame that is right, so that more than its checksum is tried. What is read is walked, written and read
// again.

#include "tests/support/tree_frame.h"

#include <ztree/ext/tree.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>

namespace {

std::string saved(const ZTree& tree)
{
    std::ostringstream out;
    if (!ztree::saveTree(tree, out))
        std::abort();
    return out.str();
}

void walk(ZTree& tree)
{
    if (!tree.root())
        return;
    std::size_t seen = 0;
    for (const ZTBranch* branch : ztree::descendants(*tree.root())) {
        for (auto [name, value] : ztree::attribs(*branch))
            seen += name.size() + value.size();
        seen += ztree::text(*branch).size() + (branch->getFullName() ? 1 : 0);
    }
    if (seen > SIZE_MAX / 2)
        std::abort();
    ZString text;
    treeText(&tree, " ", text);
}

void second(const std::string& bytes)
{
    ZTree tree;
    ztree::TreeStreamError error;
    if (!ztree::loadTree(bytes.data(), bytes.size(), tree, &error)) {
        if (!error || error.offset > bytes.size() || tree.root())
            std::abort();
        std::istringstream in(bytes);
        ztree::loadTree(in, tree);
        return;
    }
    walk(tree);
    // Numbers may have had spare bytes: what is written is in its shortest form, and stays.
    const std::string once = saved(tree);
    std::istringstream in(once);
    ZTree again;
    ZTree copy;
    if (once.size() > bytes.size() || !ztree::loadTree(in, again) || saved(again) != once)
        std::abort();
    ztree::copyTree(tree, copy);
    if (saved(copy) != once)
        std::abort();
}

void first(const std::string& bytes)
{
    std::istringstream in(bytes);
    ZTree tree;
    tree.load(in);
    walk(tree);
    std::ostringstream out;
    tree.save(out);
    std::istringstream again(out.str());
    ZTBranch branch;
    branch.load(again);
    const ZTBranch other(branch);
    other.equals(branch.getName());
    std::istringstream units(bytes);
    ZTBranchW wide;
    wide.load(units);
    wide.save(out);
    second(saved(tree));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t n)
{
    const std::string bytes(reinterpret_cast<const char*>(data), n);
    first(bytes);
    second(bytes);
    second(tree_frame::framed(bytes));
    return 0;
}
