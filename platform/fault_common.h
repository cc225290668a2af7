#pragma once
// What the two fault handlers share: the parcels in which a fault travels from the handler to the
// place where it is thrown.

#include "platform/fault.h"

#include <atomic>

namespace platform {

/// A fault on its way. The handler's own stack is gone when the thread goes on, and a handler must not
/// allocate, so parcels come from a small pool.
struct FaultParcel {
    std::atomic<bool> taken;
    unsigned code;
    FaultTranslator translator;
    EXCEPTION_RECORD record;
    CONTEXT context;
};

/// A free parcel; waits when all are on their way, which takes some microseconds each.
FaultParcel* takeFaultParcel() noexcept;

/// Whether an exception can start at this instruction: false outside code with unwind tables.
bool hasUnwindTable(Register address) noexcept;

} // namespace platform

// The calling conventions of the two routines below are the assembly's own.
#if defined(__i386__)
#define ZTREE_FAULT_CALL __attribute__((fastcall))
#else
#define ZTREE_FAULT_CALL
#endif
/// Gives the parcel back and calls its translator. Called by the assembly with the parcel as its only
/// argument, on a stack of any alignment.
extern "C" [[noreturn]] void ZTREE_FAULT_CALL
ztree_faultRaise(platform::FaultParcel* parcel) __asm__("ztree_faultRaise");
