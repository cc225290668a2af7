#pragma once
// The clock, and a fake of it for tests.

#include "platform/test_api.h"

#include <ztree/winnames.h>

namespace platform {

/// Now, to the millisecond. utcTime() may be called from a fault handler.
SYSTEMTIME utcTime() noexcept;
SYSTEMTIME localTime() noexcept;

/// 100 ns steps since 1601-01-01 of a moment in calendar fields; wDayOfWeek is not looked at. 0 for
/// fields that are no date or time.
std::uint64_t fileTime(const SYSTEMTIME& t) noexcept;

/// Fixes what the clock and threadId() answer, in all threads. Not to be switched while others read.
struct ZTREE_TEST_API FakeClock {
    static void set(const SYSTEMTIME& utc, const SYSTEMTIME& local) noexcept;
    static void setThread(std::uint32_t id) noexcept;
    /// Back to the real ones.
    static void clear() noexcept;
};

namespace clockhook {
struct Fake {
    bool time = false;
    bool thread = false;
    SYSTEMTIME utc{};
    SYSTEMTIME local{};
    std::uint32_t id = 0;
};
extern Fake fake;
} // namespace clockhook

} // namespace platform
