#pragma once
// The counting, failing heap of every suite.

#include "platform/hooks.h"

#include <gtest/gtest.h>
#include <ztree/runtime.h>

/// Counts blocks from SetUp on and reports a test that leaves some behind.
class HeapTest : public ::testing::Test {
protected:
    void SetUp() override { platform::Hooks::on(); }
    void TearDown() override
    {
        const long live = platform::Hooks::liveBlocks();
        platform::Hooks::off();
        EXPECT_EQ(live, 0) << "blocks leaked";
    }
};
