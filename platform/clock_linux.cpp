#include "platform/clock.h"

#include "platform/fault.h"

#include <atomic>
#include <ctime>

namespace platform {

namespace {

timespec now() noexcept
{
    timespec t{};
    clock_gettime(CLOCK_REALTIME, &t);
    return t;
}

std::uint16_t field(long value) noexcept
{
    return static_cast<std::uint16_t>(value);
}

// Seconds that local time was ahead when localTime() was last asked, for fault reports.
std::atomic<long> s_offset{0};

SYSTEMTIME brokenDown(time_t second) noexcept
{
    tm parts{};
    localtime_r(&second, &parts);
    s_offset.store(parts.tm_gmtoff, std::memory_order_relaxed);
    SYSTEMTIME s{};
    s.wYear = field(parts.tm_year + 1900);
    s.wMonth = field(parts.tm_mon + 1);
    s.wDayOfWeek = field(parts.tm_wday);
    s.wDay = field(parts.tm_mday);
    s.wHour = field(parts.tm_hour);
    s.wMinute = field(parts.tm_min);
    s.wSecond = field(parts.tm_sec > 59 ? 59 : parts.tm_sec); // SYSTEMTIME knows no leap second
    return s;
}

// By hand: the C library takes the time zone lock even for UTC, and the faulting code may hold it.
SYSTEMTIME civil(const timespec& t) noexcept
{
    const long days = t.tv_sec / 86400;
    const long seconds = t.tv_sec % 86400;
    // Years from 1 March, so that the leap day comes last; 719468 days lie between 0000-03-01 and 1970.
    const long shifted = days + 719468;
    const long era = shifted / 146097;
    const long dayOfEra = shifted % 146097;
    const long yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const long dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const long month = (5 * dayOfYear + 2) / 153; // 0 is March
    SYSTEMTIME s{};
    s.wDay = field(dayOfYear - (153 * month + 2) / 5 + 1);
    s.wMonth = field(month < 10 ? month + 3 : month - 9);
    s.wYear = field(era * 400 + yearOfEra + (month < 10 ? 0 : 1));
    s.wDayOfWeek = field((days + 4) % 7); // 1970-01-01 was a Thursday
    s.wHour = field(seconds / 3600);
    s.wMinute = field(seconds / 60 % 60);
    s.wSecond = field(seconds % 60);
    s.wMilliseconds = field(t.tv_nsec / 1000000);
    return s;
}

} // namespace

SYSTEMTIME utcTime() noexcept
{
    return clockhook::fake.time ? clockhook::fake.utc : civil(now());
}

SYSTEMTIME localTime() noexcept
{
    if (clockhook::fake.time)
        return clockhook::fake.local;
    // Log lines ask again and again: the broken-down time is kept for its second.
    struct Second {
        time_t second;
        SYSTEMTIME time;
    };
    static thread_local Second kept __attribute__((tls_model("initial-exec"))) = {-1, {}};
    timespec t = now();
    if (inFaultReport()) { // the time zone has a lock
        t.tv_sec += s_offset.load(std::memory_order_relaxed);
        return civil(t);
    }
    if (kept.second != t.tv_sec)
        kept = {t.tv_sec, brokenDown(t.tv_sec)};
    SYSTEMTIME s = kept.time;
    s.wMilliseconds = field(t.tv_nsec / 1000000);
    return s;
}

} // namespace platform
