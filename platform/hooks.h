#pragma once
// Test hooks: make the n-th allocation, lock initialisation or file call fail, count calls and
// live blocks, tell who was refused. Off by default; then each site pays one relaxed load of a flag.

#include "platform/test_api.h"

#include <atomic>

namespace platform {

enum class Site { heap, lock, file };

struct ZTREE_TEST_API Hooks {
    /// Starts counting at all sites; live blocks count from here.
    static void on() noexcept;
    /// Stops counting and failing.
    static void off() noexcept;
    /// The nth call from now at this site fails (1 = the next), with `onward` every later one too;
    /// nth = 0 lets all pass. `error` is the system code that a failing file call reports.
    static void failAt(Site site, long nth, bool onward = false, unsigned error = 0) noexcept;
    /// Calls at this site since on() or the last failAt() there, failed ones included.
    static long calls(Site site) noexcept;
    /// How many of them were made to fail.
    static long failed(Site site) noexcept;
    /// Heap blocks taken minus blocks given back since on().
    static long liveBlocks() noexcept;
    /// The code given with failAt(file).
    static unsigned fileError() noexcept;
    /// With `half` a read, write or append that has to fail moves half of its bytes first. on() and off()
    /// end it.
    static void failHalfway(bool half) noexcept;
    /// What such a call moves of so many bytes.
    static std::size_t movedBytes(std::size_t bytes) noexcept;
    /// The error of a read that delivers less than there is and says nothing, as of a file that is being
    /// cut; any other call fails with 31.
    static constexpr unsigned endsEarly = ~0u;

    /// Called for each call that is made to fail, on its thread; `caller` is the address behind the call of
    /// an allocation, null at the other sites. Null: nobody.
    using Witness = void (*)(Site site, const void* caller);
    static void setWitness(Witness witness) noexcept;
};

namespace hook {
extern std::atomic<bool> active;
bool slowFails(Site site, const void* caller) noexcept; // counts the call; true: the call has to fail
void blockTaken() noexcept;
void blockGiven() noexcept;
inline bool isActive() noexcept
{
    return active.load(std::memory_order_relaxed);
}
/// What a site asks before it does its work.
inline bool fails(Site site, const void* caller = nullptr) noexcept
{
    return isActive() && slowFails(site, caller);
}
} // namespace hook

} // namespace platform
