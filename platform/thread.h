#pragma once
// The calling thread's identity.

#include <ztree/types.h>

namespace platform {

/// The system's number of the calling thread, or the one that FakeClock::setThread() chose.
std::uint32_t threadId() noexcept;

/// Lets the calling thread rest, with 0 let others run. May be called from a fault handler.
void sleepFor(unsigned milliseconds) noexcept;

} // namespace platform
