#pragma once
// Test hooks: make the n-th allocation, lock initialisation or file call fail, count calls and
// live blocks. Off by default; then each site pays one relaxed load of a flag.

#include <ztree/types.h>

#include <atomic>

namespace platform {

enum class Site { heap, lock, file };

struct ZTREE_API Hooks {
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
};

namespace hook {
extern std::atomic<bool> active;
bool slowFails(Site site) noexcept; // counts the call; true: the call has to fail
void blockTaken() noexcept;
void blockGiven() noexcept;
inline bool isActive() noexcept
{
    return active.load(std::memory_order_relaxed);
}
/// What a site asks before it does its work.
inline bool fails(Site site) noexcept
{
    return isActive() && slowFails(site);
}
} // namespace hook

} // namespace platform
