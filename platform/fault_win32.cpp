#include "platform/fault_common.h"

#include <cstdlib>

// A guard is a frame of the system's own exception handling: handlers of system libraries between the
// guard and the fault keep their turn. Translation cannot be one, as no frame lives as long as it is in
// force, so a vectored handler does it.
namespace platform {
namespace {

constexpr DWORD unwinding = 0x2 | 0x4 | 0x40; // the second walk over the handlers
constexpr DWORD noncontinuable = 0x1;

// What an instruction can cause. Not: C++ exceptions, breakpoints, growing stacks, software's own codes.
bool isHardwareFault(DWORD code) noexcept
{
    switch (code) {
    case EXCEPTION_ACCESS_VIOLATION:
    case EXCEPTION_IN_PAGE_ERROR:
    case EXCEPTION_DATATYPE_MISALIGNMENT:
    case EXCEPTION_ILLEGAL_INSTRUCTION:
    case EXCEPTION_PRIV_INSTRUCTION:
    case EXCEPTION_ARRAY_BOUNDS_EXCEEDED:
    case EXCEPTION_FLT_DENORMAL_OPERAND:
    case EXCEPTION_FLT_DIVIDE_BY_ZERO:
    case EXCEPTION_FLT_INEXACT_RESULT:
    case EXCEPTION_FLT_INVALID_OPERATION:
    case EXCEPTION_FLT_OVERFLOW:
    case EXCEPTION_FLT_STACK_CHECK:
    case EXCEPTION_FLT_UNDERFLOW:
    case EXCEPTION_INT_DIVIDE_BY_ZERO:
    case EXCEPTION_INT_OVERFLOW:
    case 0xC00002B4: // the SSE unit's
    case 0xC00002B5:
        return true;
    default:
        return false;
    }
}

// A read of another thread's stack guard is a bad read, too.
bool isGuardedFault(DWORD code) noexcept
{
    return isHardwareFault(code) || code == EXCEPTION_GUARD_PAGE;
}

} // namespace
} // namespace platform

extern "C" {
/// Runs body(context) with ztree_guardHandler as the frame's exception handler. Returns 0, or the code
/// that the handler decided to leave with.
unsigned ztree_guardEnter(void (*body)(void*), void* context) __asm__("ztree_guardEnter");
/// Where a translated fault goes on: eax holds the address of the faulting instruction, ecx the parcel,
/// esp is the faulting frame's. For the unwinder this is a signal frame above that instruction, so that
/// the exact address decides about handlers, not the one before it.
void ztree_faultThunk() __asm__("ztree_faultThunk");
}

#if defined(__i386__)

extern "C" {
/// Ends the frames inside the guard's and returns from ztree_guardEnter with the code.
[[noreturn]] void ztree_guardLeave(void* frame, EXCEPTION_RECORD* record,
                                   unsigned code) __asm__("ztree_guardLeave");
EXCEPTION_DISPOSITION ztree_guardHandler(EXCEPTION_RECORD* record, void* frame, CONTEXT* context,
                                         void* dispatcher) __asm__("ztree_guardHandler");
/// Runs body(context) on the stack that ends at top, a multiple of 16.
void ztree_callOnStack(void (*body)(void*), void* context, void* top) __asm__("ztree_callOnStack");
}

// fnclex and emms: the fault may have come in the middle of floating-point work.
asm(R"(
    .text
    .balign 16
    .globl ztree_guardEnter
ztree_guardEnter:
    .cfi_startproc
    pushl %ebp
    .cfi_def_cfa_offset 8
    .cfi_offset %ebp, -8
    movl %esp, %ebp
    .cfi_def_cfa_register %ebp
    pushl %ebx
    pushl %esi
    pushl %edi
    .cfi_offset %ebx, -12
    .cfi_offset %esi, -16
    .cfi_offset %edi, -20
    pushl $ztree_guardHandler
    pushl %fs:0
    movl %esp, %fs:0
    pushl 12(%ebp)
    call *8(%ebp)
    xorl %eax, %eax
ztree_guardReturn:
    leal -20(%ebp), %esp
    popl %fs:0
    addl $4, %esp
    popl %edi
    popl %esi
    popl %ebx
    popl %ebp
    .cfi_def_cfa %esp, 4
    ret
    .cfi_endproc

    .globl ztree_guardLeave
ztree_guardLeave:
    movl 4(%esp), %ecx
    movl 8(%esp), %edx
    pushl 12(%esp)
    pushl %ecx
    pushl $0
    pushl %edx
    pushl $ztree_guardUnwound
    pushl %ecx
    call _RtlUnwind@16
ztree_guardUnwound:
    popl %ecx
    popl %eax
    leal 20(%ecx), %ebp
    cld
    fnclex
    emms
    jmp ztree_guardReturn

    .globl ztree_callOnStack
    .balign 16
ztree_callOnStack:
    .cfi_startproc
    pushl %ebp
    .cfi_def_cfa_offset 8
    .cfi_offset %ebp, -8
    movl %esp, %ebp
    .cfi_def_cfa_register %ebp
    movl 16(%ebp), %esp
    subl $12, %esp
    pushl 12(%ebp)
    call *8(%ebp)
    movl %ebp, %esp
    popl %ebp
    .cfi_def_cfa %esp, 4
    ret
    .cfi_endproc

    .globl ztree_faultThunk
    .balign 16
ztree_faultThunk:
    .cfi_startproc
    .cfi_signal_frame
    pushl %eax
    cld
    fnclex
    emms
    call ztree_faultRaise
    ud2
    .cfi_endproc
)");

// Not static: the assembly names it.
EXCEPTION_DISPOSITION ztree_guardHandler(EXCEPTION_RECORD* record, void* frame, CONTEXT*, void*)
{
    if ((record->ExceptionFlags & platform::unwinding) || !platform::isGuardedFault(record->ExceptionCode))
        return ExceptionContinueSearch;
    ztree_guardLeave(frame, record, record->ExceptionCode);
}

#elif defined(__x86_64__)

extern "C" {
EXCEPTION_DISPOSITION ztree_guardHandler(EXCEPTION_RECORD* record, void* frame, CONTEXT* context,
                                         DISPATCHER_CONTEXT* dispatcher) __asm__("ztree_guardHandler");
void ztree_guardReturn() __asm__("ztree_guardReturn");
}

asm(R"(
    .text
    .balign 16
    .globl ztree_guardEnter
    .seh_proc ztree_guardEnter
    .seh_handler ztree_guardHandler, @except
ztree_guardEnter:
    subq $40, %rsp
    .seh_stackalloc 40
    .seh_endprologue
    movq %rcx, %rax
    movq %rdx, %rcx
    call *%rax
    xorl %eax, %eax
    .globl ztree_guardReturn
ztree_guardReturn:
    nop
    addq $40, %rsp
    ret
    .seh_endproc

    .globl ztree_faultThunk
    .balign 16
ztree_faultThunk:
    pushq %rax
    .seh_proc ztree_faultThunkCall
ztree_faultThunkCall:
    subq $40, %rsp
    .seh_stackalloc 40
    .seh_endprologue
    cld
    fnclex
    emms
    call ztree_faultRaise
    ud2
    .seh_endproc
)");

EXCEPTION_DISPOSITION ztree_guardHandler(EXCEPTION_RECORD* record, void* frame, CONTEXT* context,
                                         DISPATCHER_CONTEXT* dispatcher)
{
    if ((record->ExceptionFlags & platform::unwinding) || !platform::isGuardedFault(record->ExceptionCode))
        return ExceptionContinueSearch;
    RtlUnwindEx(frame, reinterpret_cast<void*>(&ztree_guardReturn), record,
                reinterpret_cast<void*>(static_cast<ULONG_PTR>(record->ExceptionCode)), context,
                dispatcher->HistoryTable);
    std::abort(); // not reached
}

#else
#error "fault handling is written for x86"
#endif

namespace platform {
namespace {

// In a slot of the system's: emulated thread-local storage allocates on first use, which a handler must not.
DWORD s_translator = TLS_OUT_OF_INDEXES;

// TlsGetValue() clears the last error, which belongs to the code that faulted.
FaultTranslator translatorOfThread() noexcept
{
    const DWORD error = GetLastError();
    void* const value = TlsGetValue(s_translator);
    SetLastError(error);
    return reinterpret_cast<FaultTranslator>(value);
}

#if defined(__i386__)
bool isGuarded() noexcept
{
    struct Registration {
        Registration* outer;
        EXCEPTION_DISPOSITION (*handler)(EXCEPTION_RECORD*, void*, CONTEXT*, void*);
    };
    const Registration* r;
    asm volatile("movl %%fs:0, %0" : "=r"(r));
    for (; r != reinterpret_cast<const Registration*>(~ULONG_PTR{0}); r = r->outer)
        if (r->handler == &ztree_guardHandler)
            return true;
    return false;
}
constexpr auto ipField = &CONTEXT::Eip;
constexpr auto spField = &CONTEXT::Esp;
constexpr auto accumulatorField = &CONTEXT::Eax;
constexpr auto argumentField = &CONTEXT::Ecx;
#else
thread_local int t_guards = 0;
bool isGuarded() noexcept
{
    return t_guards != 0;
}
constexpr auto ipField = &CONTEXT::Rip;
constexpr auto spField = &CONTEXT::Rsp;
constexpr auto accumulatorField = &CONTEXT::Rax;
constexpr auto argumentField = &CONTEXT::Rcx;
#endif

// The instruction and stack pointer to throw from: the faulting instruction, or the call that led to
// an address without code. False when the unwinder could not start there: then handlers of the code
// that did fault, a system library for example, have their turn.
bool findThrowPoint(const EXCEPTION_RECORD& record, const CONTEXT& context, Register& ip,
                    Register& sp) noexcept
{
    ip = context.*ipField;
    sp = context.*spField;
    if (hasUnwindTable(ip))
        return true;
    const bool jumped =
        record.ExceptionCode == EXCEPTION_ACCESS_VIOLATION && record.ExceptionInformation[1] == ip;
    if (!jumped || !isReadable(reinterpret_cast<const void*>(sp), sizeof ip))
        return false;
    ip = *reinterpret_cast<const Register*>(sp) - 1; // inside the call instruction
    sp += sizeof ip;
    return hasUnwindTable(ip);
}

LONG CALLBACK onException(EXCEPTION_POINTERS* pointers)
{
    EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    CONTEXT& context = *pointers->ContextRecord;
    if (!isHardwareFault(record.ExceptionCode) || (record.ExceptionFlags & noncontinuable))
        return EXCEPTION_CONTINUE_SEARCH;
    const FaultTranslator translator = translatorOfThread();
    Register ip;
    Register sp;
    if (!translator || isGuarded() || !findThrowPoint(record, context, ip, sp))
        return EXCEPTION_CONTINUE_SEARCH;
    FaultParcel* parcel = takeFaultParcel();
    parcel->code = record.ExceptionCode;
    parcel->translator = translator;
    parcel->record = record;
    parcel->context = context;
    context.*accumulatorField = ip;
    context.*argumentField = reinterpret_cast<Register>(parcel);
    context.*spField = sp;
    context.*ipField = reinterpret_cast<Register>(&ztree_faultThunk);
    context.EFlags &= ~0x40500u; // single-step, direction and alignment check would upset what follows
    return EXCEPTION_CONTINUE_EXECUTION;
}

// For as long as the library is loaded. Later faults in other libraries' ends go the system's way.
struct Handler {
    Handler() noexcept : m_handle(nullptr)
    {
        s_translator = TlsAlloc();
        if (s_translator != TLS_OUT_OF_INDEXES)
            m_handle = AddVectoredExceptionHandler(1, &onException);
    }
    ~Handler()
    {
        if (m_handle)
            RemoveVectoredExceptionHandler(m_handle);
        if (s_translator != TLS_OUT_OF_INDEXES)
            TlsFree(s_translator);
        m_handle = nullptr;
        s_translator = TLS_OUT_OF_INDEXES;
    }
    void* m_handle;
};

// Room for the report of a stack overflow in this thread.
void needStackReserve() noexcept
{
    ULONG reserve = 64 * 1024;
    SetThreadStackGuarantee(&reserve);
}

bool needHandler() noexcept
{
    static Handler handler;
    return handler.m_handle != nullptr;
}

} // namespace

unsigned guardFaults(void (*body)(void*), void* context) noexcept
{
#if defined(__i386__)
    return ztree_guardEnter(body, context);
#else
    ++t_guards;
    const unsigned code = ztree_guardEnter(body, context);
    --t_guards;
    return code;
#endif
}

FaultTranslator setFaultTranslator(FaultTranslator translator) noexcept
{
    if (!needHandler())
        return nullptr;
    if (translator)
        needStackReserve();
    const FaultTranslator before = translatorOfThread();
    TlsSetValue(s_translator, reinterpret_cast<void*>(translator));
    return before;
}

FaultFilter setFaultFilter(FaultFilter filter) noexcept
{
    if (filter)
        needStackReserve();
    return reinterpret_cast<FaultFilter>(
        SetUnhandledExceptionFilter(reinterpret_cast<LPTOP_LEVEL_EXCEPTION_FILTER>(filter)));
}

#if defined(__i386__)
void onSpareStack(void (*body)(void*), void* context) noexcept
{
    alignas(16) static unsigned char stack[131072];
    NT_TIB* tib;
    asm("movl %%fs:0x18, %0" : "=r"(tib));
    void* const base = tib->StackBase;
    void* const limit = tib->StackLimit;
    // Exception handling believes in frames between these two only, guards included.
    tib->StackLimit = stack;
    tib->StackBase = stack + sizeof stack;
    ztree_callOnStack(body, context, stack + sizeof stack);
    tib->StackBase = base;
    tib->StackLimit = limit;
}
#else
void onSpareStack(void (*body)(void*), void* context) noexcept
{
    body(context);
}
#endif

void showSystemErrorReport() noexcept
{
    SetErrorMode(0);
}

#if defined(__i386__)
RegisterSet registersOf(const CONTEXT& c) noexcept
{
    return {c.Eax, c.Ebx,    c.Ecx,   c.Edx,   c.Esi,   c.Edi,   c.Esp,   c.Eip,
            c.Ebp, c.EFlags, c.SegCs, c.SegSs, c.SegDs, c.SegEs, c.SegFs, c.SegGs};
}
#else
RegisterSet registersOf(const CONTEXT& c) noexcept
{
    return {c.Rax, c.Rbx,    c.Rcx,   c.Rdx,   c.Rsi,   c.Rdi,   c.Rsp,   c.Rip,
            c.Rbp, c.EFlags, c.SegCs, c.SegSs, c.SegDs, c.SegEs, c.SegFs, c.SegGs};
}
#endif

Register faultAddress(const EXCEPTION_RECORD& record) noexcept
{
    return reinterpret_cast<Register>(record.ExceptionAddress);
}

} // namespace platform
