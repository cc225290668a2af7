#pragma once
// What the suites of the containers share.

#include "containers/mZArray.h"
#include "containers/mZComArray.h"
#include "support/heap_fixture.h"
#include "support/random.h"

/// The code that act throws, 0 when it ends.
template <class Act> unsigned codeOf(Act act)
{
    try {
        act();
    } catch (const structExcept& e) {
        return e.getCode();
    }
    return 0;
}

template <class Make> void expectLockFailure(Make make)
{
    using platform::Hooks;
    const long before = Hooks::liveBlocks();
    Hooks::failAt(platform::Site::lock, 1);
    EXPECT_EQ(codeOf(make), ztree::errLock);
    EXPECT_EQ(Hooks::failed(platform::Site::lock), 1);
    EXPECT_EQ(Hooks::liveBlocks(), before);
    Hooks::failAt(platform::Site::lock, 0);
}
