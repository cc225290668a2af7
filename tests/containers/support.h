#pragma once
// What the suites of the containers share.

#include "containers/mZArray.h"
#include "containers/mZComArray.h"
#include "support/heap_fixture.h"

#include <cstdlib>
#include <random>
#include <thread>
#include <vector>

struct Random {
    explicit Random(unsigned seed) : engine(seed) {}
    /// 0 to n - 1, the same on every target.
    int below(int n) { return static_cast<int>(engine() % static_cast<unsigned>(n)); }
    std::mt19937 engine;
};

/// Operations that all threads of a test make together; ZTREE_STRESS sets another number.
inline long stressOperations()
{
    const char* wanted = std::getenv("ZTREE_STRESS");
    return wanted ? std::atol(wanted) : 200000;
}

template <class Body> void onThreads(int n, Body body)
{
    std::vector<std::thread> threads;
    threads.reserve(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i)
        threads.emplace_back(body, i);
    for (std::thread& t : threads)
        t.join();
}

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
