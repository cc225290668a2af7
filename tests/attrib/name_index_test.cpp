#include "attrib/name_index.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using ztree_impl::NameIndex;

// Chains that are built again while somebody follows them must not make him miss an entry.
TEST(nameIndex, whoLooksWhileChainsAreBuiltAgainHearsOfIt)
{
    std::vector<std::uint32_t> hashes = {1, 2, 1, 2, 1};
    const int count = static_cast<int>(hashes.size());
    NameIndex index;
    const auto add = [&](int i, std::uint32_t& hash) {
        hash = hashes[static_cast<std::size_t>(i)];
        return true;
    };
    const auto third = [](int i) { return i == 2; };
    EXPECT_EQ(index.findAsOf(0, count, 1, add, third), NameIndex::unknown); // nothing was scanned so far
    index.wasScanned(count);
    EXPECT_EQ(index.findAsOf(0, count, 1, add, third), 2);
    EXPECT_EQ(index.findAsOf(0, count, 2, add, third), -1);
    EXPECT_EQ(index.findAsOf(1, count, 1, add, third), NameIndex::unknown);
    index.wasScanned(count);
    int asked = 0;
    const auto whileBuilt = [&](int i) {
        if (++asked == 1) { // as another thread would
            hashes = {2, 1, 1, 1, 2};
            EXPECT_EQ(index.findAsOf(1, count, 2, add, third), -1);
        }
        return third(i);
    };
    EXPECT_EQ(index.findAsOf(0, count, 1, add, whileBuilt), NameIndex::unknown);
    EXPECT_EQ(index.findAsOf(1, count, 1, add, third), 2);
    // Entries behind the known ones enter without being scanned before.
    hashes.push_back(7);
    EXPECT_EQ(index.findAsOf(1, count + 1, 7, add, [](int i) { return i == 5; }), 5);
    index.outdate();
    EXPECT_EQ(index.findAsOf(1, count + 1, 7, add, third), NameIndex::unknown);
}

} // namespace
