#pragma once
// Whether anybody else could look.

#if defined(__GLIBC__)
#include <features.h>
#if __GLIBC_PREREQ(2, 32)
#define ZTREE_KNOWS_SINGLE_THREAD
#include <sys/single_threaded.h>
#endif
#endif

namespace platform {

/// True as long as the process surely has this thread alone, so that counting needs no locked instruction.
/// What was stored so is seen by every thread that starts later.
inline bool isSingleThreaded() noexcept
{
#if defined(ZTREE_KNOWS_SINGLE_THREAD)
    return __libc_single_threaded != 0;
#else
    return false;
#endif
}

} // namespace platform
