#include "platform/hooks.h"
#include "platform/lock.h"
#include "support/random.h"

#include <gtest/gtest.h>

#include <chrono>

using platform::Lock;
using platform::LockHold;

TEST(Lock, excludesOthersAndReenters)
{
    for (zulong spins : {0U, 1U, 4000U, 0xFFFFFFFFU}) {
        SCOPED_TRACE(spins);
        Lock lock;
        ASSERT_TRUE(lock.init(spins));
        long counter = 0; // plain: a hole in the lock loses counts
        onThreads(8, [&](int) {
            for (int i = 0; i < 5000; ++i) {
                const LockHold outer(lock);
                const LockHold inner(lock);
                ++counter;
            }
        });
        EXPECT_EQ(counter, 40000);
    }
}

// Holders that go to sleep send all the others to sleep; each has to be woken again. A wake-up lost
// would hang the test.
TEST(Lock, wakesEverySleeper)
{
    for (zulong spins : {0U, 4000U}) {
        Lock lock;
        ASSERT_TRUE(lock.init(spins));
        int rounds = 0;
        onThreads(8, [&](int thread) {
            for (int i = 0; i < 300; ++i) {
                const LockHold hold(lock);
                ++rounds;
                if ((i + thread) % 16 == 0)
                    std::this_thread::sleep_for(std::chrono::microseconds(200));
                else if (i % 3 == 0)
                    std::this_thread::yield();
            }
        });
        EXPECT_EQ(rounds, 2400);
    }
}

// Leaving an inner hold must not let anybody in.
TEST(Lock, innerLeaveKeepsTheLock)
{
    Lock lock;
    ASSERT_TRUE(lock.init(4000));
    lock.enter();
    lock.enter();
    lock.leave();
    std::atomic<bool> entered{false};
    std::thread other([&] {
        const LockHold hold(lock);
        entered = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(entered);
    lock.leave();
    other.join();
    EXPECT_TRUE(entered);
}

TEST(Lock, initialisationFails)
{
    platform::Hooks::on();
    platform::Hooks::failAt(platform::Site::lock, 1);
    {
        Lock lock;
        EXPECT_FALSE(lock.init(4000));
        EXPECT_TRUE(lock.init(4000)); // the failed attempt leaves nothing behind
        const LockHold hold(lock);
    }
    platform::Hooks::off();
}
