#include "platform/thread.h"

#include "platform/clock.h"

namespace platform {

std::uint32_t threadId() noexcept
{
    return clockhook::fake.thread ? clockhook::fake.id : GetCurrentThreadId();
}

void sleepFor(unsigned milliseconds) noexcept
{
    Sleep(milliseconds);
}

} // namespace platform
