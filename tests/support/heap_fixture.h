#pragma once
// The counting, failing heap of every suite.

#include "platform/hooks.h"

#include <gtest/gtest.h>
#include <ztree/runtime.h>

#include <functional>

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

    /// Runs `act` on a fresh subject from `make` with the 1st, 2nd, 3rd ... allocation failing (once,
    /// then from there on) until it runs through. After each failure `check` sees the subject; the
    /// thrown code must be `code`. Returns the number of failures injected.
    template <class Make, class Act, class Check>
    long sweep(Make make, Act act, Check check, unsigned code = ztree::errMemory)
    {
        using platform::Hooks;
        long injected = 0;
        for (bool onward : {false, true}) {
            for (long nth = 1;; ++nth) {
                const long before = Hooks::liveBlocks();
                bool failed = false;
                {
                    auto subject = make();
                    Hooks::failAt(platform::Site::heap, nth, onward);
                    try {
                        act(*subject);
                    } catch (const structExcept& e) {
                        failed = true;
                        Hooks::failAt(platform::Site::heap, 0);
                        EXPECT_EQ(e.getCode(), code) << "allocation " << nth;
                    }
                    const long hits = failed ? 0 : Hooks::failed(platform::Site::heap);
                    Hooks::failAt(platform::Site::heap, 0);
                    if (failed) {
                        ++injected;
                        check(*subject);
                    } else {
                        EXPECT_EQ(hits, 0) << "allocation " << nth << " failed unnoticed";
                    }
                }
                EXPECT_EQ(Hooks::liveBlocks(), before) << "leak after failing allocation " << nth;
                if (!failed)
                    break;
            }
        }
        return injected;
    }
};
