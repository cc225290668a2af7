#pragma once
// The calling thread's identity.

#include <ztree/types.h>

namespace platform {

/// The system's number of the calling thread, or the one that FakeClock::setThread() chose.
std::uint32_t threadId() noexcept;

} // namespace platform
