#pragma once
// Hardware faults: a guard that turns one into a value, the translation into exceptions, and the
// last-chance filter.
//
// Both targets work alike. The system's handler never throws or jumps: it rewrites the registers that
// the thread goes on with, so it returns to the system as any handler does. A guarded fault goes on
// behind the guard's call; a translated one goes on in a small routine that stands, for the unwinder,
// in a frame above the faulting instruction, and calls the translator from there.

#include <ztree/types.h>
#include <ztree/winnames.h>

namespace platform {

/// Runs body(context) and reports a hardware fault inside it (bad memory access, division by zero,
/// illegal instruction) as the result: 0 when it ran to its end, else the fault's code, for example
/// 0xC0000005. The frames between are dropped without their destructors, so body owns nothing.
/// Costs a few instructions when nothing faults; nests; any number of threads at once. C++ exceptions
/// must not leave body. A stack overflow may end the process.
unsigned guardFaults(void (*body)(void*), void* context) noexcept;

/// guardFaults for a callable.
template <class F> unsigned guarded(F&& f) noexcept
{
    return guardFaults([](void* p) { (*static_cast<F*>(p))(); },
                       const_cast<void*>(static_cast<const void*>(&f)));
}

/// True when all n bytes at p can be read. No system call per byte range that is readable.
bool isReadable(const void* p, std::size_t n) noexcept;

/// Called in the thread that faulted, as if by the faulting instruction; it throws.
typedef void (*FaultTranslator)(unsigned code, EXCEPTION_POINTERS* pointers);
/// Sets the calling thread's translator, null for none; returns the one before. Inside a guard every
/// fault is the guard's.
FaultTranslator setFaultTranslator(FaultTranslator translator) noexcept;

/// The process's last-chance filter: called with a fault that nobody takes, before the system ends the
/// process. Returns the filter before; on Linux null stands for the system's own handling.
typedef zlong(ZTREE_COMCALL* FaultFilter)(EXCEPTION_POINTERS* pointers);
FaultFilter setFaultFilter(FaultFilter filter) noexcept;

/// Makes the calling thread the one that reports a fault. False: another thread did so, and has finished
/// when this returns (or takes longer than a report can take) or some seconds ago, or this thread is at it
/// already; then there is nothing to add.
bool enterFaultReport() noexcept;
void leaveFaultReport() noexcept;
/// Runs body(context) where there is room for it: the thread that faulted may have used up its stack.
/// Between enterFaultReport() and leaveFaultReport() only.
void onSpareStack(void (*body)(void*), void* context) noexcept;
/// True in the thread that reports a fault: it must neither wait for a lock nor use the heap.
bool inFaultReport() noexcept;

/// Lets the system show its own error report again.
void showSystemErrorReport() noexcept;

/// The fields of a record and a context at their full width.
typedef std::uintptr_t Register;
struct RegisterSet {
    Register ax, bx, cx, dx, si, di, sp, ip, bp, flags;
    unsigned cs, ss, ds, es, fs, gs;
};
RegisterSet registersOf(const CONTEXT& context) noexcept;
Register faultAddress(const EXCEPTION_RECORD& record) noexcept;

} // namespace platform
