#include "platform/clock.h"

namespace platform {

SYSTEMTIME utcTime() noexcept
{
    if (clockhook::fake.time)
        return clockhook::fake.utc;
    SYSTEMTIME t;
    GetSystemTime(&t);
    return t;
}

SYSTEMTIME localTime() noexcept
{
    if (clockhook::fake.time)
        return clockhook::fake.local;
    SYSTEMTIME t;
    GetLocalTime(&t);
    return t;
}

} // namespace platform
