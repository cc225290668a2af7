#include "platform/clock.h"

namespace platform {

namespace clockhook {
Fake fake;
} // namespace clockhook

void FakeClock::set(const SYSTEMTIME& utc, const SYSTEMTIME& local) noexcept
{
    clockhook::fake.utc = utc;
    clockhook::fake.local = local;
    clockhook::fake.time = true;
}

void FakeClock::setThread(std::uint32_t id) noexcept
{
    clockhook::fake.id = id;
    clockhook::fake.thread = true;
}

void FakeClock::clear() noexcept
{
    clockhook::fake = clockhook::Fake{};
}

std::uint64_t fileTime(const SYSTEMTIME& t) noexcept
{
    static constexpr unsigned char monthDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const unsigned year = t.wYear;
    const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    if (year < 1601 || year > 30827 || t.wMonth < 1 || t.wMonth > 12 || t.wHour > 23 || t.wMinute > 59 ||
        t.wSecond > 59 || t.wMilliseconds > 999)
        return 0;
    const unsigned length = monthDays[t.wMonth - 1] + (leap && t.wMonth == 2 ? 1u : 0u);
    if (t.wDay < 1 || t.wDay > length)
        return 0;
    const unsigned before = year - 1601; // 1601 begins a 400-year cycle
    std::uint64_t days = before * 365u + before / 4 - before / 100 + before / 400;
    for (unsigned m = 1; m < t.wMonth; ++m)
        days += monthDays[m - 1];
    days += (leap && t.wMonth > 2 ? 1u : 0u) + t.wDay - 1u;
    const std::uint64_t seconds = ((days * 24 + t.wHour) * 60 + t.wMinute) * 60 + t.wSecond;
    return (seconds * 1000 + t.wMilliseconds) * 10000;
}

} // namespace platform
