#include "platform/hooks.h"
#include "platform/lock.h"

#include <windows.h>

namespace platform {

namespace {
CRITICAL_SECTION* native(unsigned char* bytes) noexcept
{
    return reinterpret_cast<CRITICAL_SECTION*>(bytes);
}
} // namespace

bool Lock::init(zulong spins) noexcept
{
    static_assert(sizeof(CRITICAL_SECTION) <= sizeof(m_native) && alignof(CRITICAL_SECTION) <= alignof(void*),
                  "raise Lock::m_native");
    if (hook::fails(Site::lock))
        return false;
    m_ready = InitializeCriticalSectionAndSpinCount(native(m_native), spins) != 0;
    return m_ready;
}

Lock::~Lock()
{
    if (m_ready)
        DeleteCriticalSection(native(m_native));
}

void Lock::enter() noexcept
{
    EnterCriticalSection(native(m_native));
}

bool Lock::tryEnter() noexcept
{
    return TryEnterCriticalSection(native(m_native)) != 0;
}

void Lock::leave() noexcept
{
    LeaveCriticalSection(native(m_native));
}

} // namespace platform
