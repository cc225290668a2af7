#include "platform/fault_common.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

#if !defined(__x86_64__)
#error "fault handling is written for x86-64"
#endif

namespace platform {
namespace {

/// The registers that a call preserves, as they were when the guard was entered.
struct GuardFrame {
    std::uint64_t sp, bx, bp, r12, r13, r14, r15; // in the order the assembly stores them
    GuardFrame* outer;
    std::uint64_t faultSp; // set by the handler
};

} // namespace
} // namespace platform

extern "C" {
/// Fills the frame, runs body(context) and returns 0.
__attribute__((visibility("hidden"))) unsigned ztree_guardEnter(platform::GuardFrame* frame,
                                                                void (*body)(void*), void* context);
/// Where a faulted guard goes on: returns from ztree_guardEnter with what the handler put into eax.
__attribute__((visibility("hidden"))) void ztree_guardLeave();
/// Where a translated fault goes on: rax holds the address of the faulting instruction, rdi the parcel,
/// rsp is 128 bytes below the faulting frame (its red zone). For the unwinder this is a signal frame
/// above that instruction, so that the exact address decides about handlers, not the one before it.
__attribute__((visibility("hidden"))) void ztree_faultThunk();
}

// fnclex and emms: the fault may have come in the middle of floating-point work.
asm(R"(
    .text
    .balign 16
    .globl ztree_guardEnter
    .hidden ztree_guardEnter
    .type ztree_guardEnter, @function
ztree_guardEnter:
    .cfi_startproc
    movq %rsp, (%rdi)
    movq %rbx, 8(%rdi)
    movq %rbp, 16(%rdi)
    movq %r12, 24(%rdi)
    movq %r13, 32(%rdi)
    movq %r14, 40(%rdi)
    movq %r15, 48(%rdi)
    subq $8, %rsp
    .cfi_def_cfa_offset 16
    movq %rdx, %rdi
    call *%rsi
    addq $8, %rsp
    .cfi_def_cfa_offset 8
    xorl %eax, %eax
    ret
    .globl ztree_guardLeave
    .hidden ztree_guardLeave
ztree_guardLeave:
    fnclex
    emms
    ret
    .cfi_endproc
    .size ztree_guardEnter, . - ztree_guardEnter

    .balign 16
    .globl ztree_faultThunk
    .hidden ztree_faultThunk
    .type ztree_faultThunk, @function
ztree_faultThunk:
    .cfi_startproc
    .cfi_signal_frame
    .cfi_def_cfa_offset 128
    pushq %rax
    .cfi_def_cfa_offset 136
    .cfi_offset %rip, -136
    fnclex
    emms
    call ztree_faultRaise
    ud2
    .cfi_endproc
    .size ztree_faultThunk, . - ztree_faultThunk
)");

#if defined(__SANITIZE_ADDRESS__)
extern "C" void __asan_unpoison_memory_region(void const volatile* p, std::size_t n);
#endif

namespace platform {
namespace {

constexpr int faultSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL};
constexpr int faultSignalCount = 4;
constexpr std::uint64_t redZone = 128;

// Read by the handler, so they must not be allocated on first use.
#define ZTREE_HANDLER_TLS static thread_local __attribute__((tls_model("initial-exec")))
ZTREE_HANDLER_TLS GuardFrame* t_guard = nullptr;
ZTREE_HANDLER_TLS FaultTranslator t_translator = nullptr;

std::atomic<bool> s_installed{false};
struct sigaction s_before[faultSignalCount];
std::atomic<FaultFilter> s_filter{nullptr};
std::atomic<long> s_reporter{0}; // thread that runs the filter

// --- the fault in the system's terms ---

// Raised by an instruction of this thread, not sent by somebody.
bool isHardwareFault(int sig, const siginfo_t& info) noexcept
{
    return info.si_code > 0 && !(sig == SIGBUS && info.si_code == BUS_MCEERR_AO);
}

constexpr long trapProtection = 13;
constexpr long trapPage = 14;
constexpr std::uint64_t pageWrite = 2;
constexpr std::uint64_t pageFetch = 16;

// hlt, cli, sti, in, out, ins, outs: the processor reports them like a bad address.
bool isPrivileged(const ucontext_t& uc) noexcept
{
    const auto* code = reinterpret_cast<const unsigned char*>(uc.uc_mcontext.gregs[REG_RIP]);
    if (uc.uc_mcontext.gregs[REG_TRAPNO] != trapProtection || !isReadable(code, 1))
        return false;
    const unsigned char op = *code;
    return op == 0xF4 || op == 0xFA || op == 0xFB || (op >= 0x6C && op <= 0x6F) ||
           (op >= 0xE4 && op <= 0xE7) || (op >= 0xEC && op <= 0xEF);
}

unsigned codeOf(int sig, const siginfo_t& info, const ucontext_t& uc) noexcept
{
    switch (sig) {
    case SIGSEGV:
        return isPrivileged(uc) ? EXCEPTION_PRIV_INSTRUCTION : EXCEPTION_ACCESS_VIOLATION;
    case SIGBUS:
        return info.si_code == BUS_ADRALN   ? EXCEPTION_DATATYPE_MISALIGNMENT
               : info.si_code == BUS_ADRERR ? EXCEPTION_IN_PAGE_ERROR
                                            : EXCEPTION_ACCESS_VIOLATION;
    case SIGILL:
        return info.si_code == ILL_PRVOPC || info.si_code == ILL_PRVREG ? EXCEPTION_PRIV_INSTRUCTION
                                                                        : EXCEPTION_ILLEGAL_INSTRUCTION;
    default:
        break;
    }
    switch (info.si_code) {
    case FPE_INTDIV:
        return EXCEPTION_INT_DIVIDE_BY_ZERO;
    case FPE_INTOVF:
        return EXCEPTION_INT_OVERFLOW;
    case FPE_FLTDIV:
        return EXCEPTION_FLT_DIVIDE_BY_ZERO;
    case FPE_FLTOVF:
        return EXCEPTION_FLT_OVERFLOW;
    case FPE_FLTUND:
        return EXCEPTION_FLT_UNDERFLOW;
    case FPE_FLTRES:
        return EXCEPTION_FLT_INEXACT_RESULT;
    case FPE_FLTSUB:
        return EXCEPTION_ARRAY_BOUNDS_EXCEEDED;
    default:
        return EXCEPTION_FLT_INVALID_OPERATION;
    }
}

void fillRecord(EXCEPTION_RECORD& r, unsigned code, const siginfo_t& info, const ucontext_t& uc) noexcept
{
    const auto& regs = uc.uc_mcontext.gregs;
    std::memset(&r, 0, sizeof r);
    r.ExceptionCode = code;
    r.ExceptionAddress64 = static_cast<std::uint64_t>(regs[REG_RIP]);
    r.ExceptionAddress = static_cast<std::uint32_t>(r.ExceptionAddress64);
    if (code != EXCEPTION_ACCESS_VIOLATION && code != EXCEPTION_IN_PAGE_ERROR &&
        code != EXCEPTION_STACK_OVERFLOW)
        return;
    const auto error = static_cast<std::uint64_t>(regs[REG_ERR]);
    const bool known = regs[REG_TRAPNO] == trapPage; // other traps do not tell the address
    r.NumberParameters = 2;
    r.ExceptionInformation64[0] = !known ? 0u : error & pageFetch ? 8u : error & pageWrite ? 1u : 0u;
    r.ExceptionInformation64[1] = known ? reinterpret_cast<std::uint64_t>(info.si_addr) : ~std::uint64_t{0};
    for (int i = 0; i < 2; ++i)
        r.ExceptionInformation[i] = static_cast<std::uint32_t>(r.ExceptionInformation64[i]);
}

void fillContext(CONTEXT& c, const ucontext_t& uc) noexcept
{
    const auto& regs = uc.uc_mcontext.gregs;
    const auto whole = [&](int i) { return static_cast<std::uint64_t>(regs[i]); };
    const auto low = [&](int i) { return static_cast<std::uint32_t>(regs[i]); };
    const auto segment = [&](int shift) {
        return static_cast<std::uint32_t>(whole(REG_CSGSFS) >> shift & 0xFFFF);
    };
    std::memset(&c, 0, sizeof c);
    c.ContextFlags = CONTEXT_FULL;
    c.SegCs = segment(0);
    c.SegGs = segment(16);
    c.SegFs = segment(32);
    c.SegSs = segment(48);
    asm("mov %%ds, %0" : "=r"(c.SegDs)); // not in the signal's frame, and never changed in 64-bit code
    asm("mov %%es, %0" : "=r"(c.SegEs));
    c.Edi = low(REG_RDI);
    c.Esi = low(REG_RSI);
    c.Ebx = low(REG_RBX);
    c.Edx = low(REG_RDX);
    c.Ecx = low(REG_RCX);
    c.Eax = low(REG_RAX);
    c.Ebp = low(REG_RBP);
    c.Eip = low(REG_RIP);
    c.EFlags = low(REG_EFL);
    c.Esp = low(REG_RSP);
    c.Rdi64 = whole(REG_RDI);
    c.Rsi64 = whole(REG_RSI);
    c.Rbx64 = whole(REG_RBX);
    c.Rdx64 = whole(REG_RDX);
    c.Rcx64 = whole(REG_RCX);
    c.Rax64 = whole(REG_RAX);
    c.Rbp64 = whole(REG_RBP);
    c.Rip64 = whole(REG_RIP);
    c.EFlags64 = whole(REG_EFL);
    c.Rsp64 = whole(REG_RSP);
    c.R864 = whole(REG_R8);
    c.R964 = whole(REG_R9);
    c.R1064 = whole(REG_R10);
    c.R1164 = whole(REG_R11);
    c.R1264 = whole(REG_R12);
    c.R1364 = whole(REG_R13);
    c.R1464 = whole(REG_R14);
    c.R1564 = whole(REG_R15);
    if (uc.uc_mcontext.fpregs) {
        std::memcpy(c.ExtendedRegisters, uc.uc_mcontext.fpregs, sizeof c.ExtendedRegisters);
        c.ContextFlags |= CONTEXT_EXTENDED_REGISTERS;
    }
}

// --- where the thread goes on ---

// Single-step, direction and alignment check would upset the code that follows.
void clearFlags(ucontext_t& uc) noexcept
{
    uc.uc_mcontext.gregs[REG_EFL] &= ~(0x100L | 0x400L | 0x40000L);
}

void leaveGuard(ucontext_t& uc, GuardFrame& frame, unsigned code) noexcept
{
    auto& regs = uc.uc_mcontext.gregs;
    const auto set = [&](int i, std::uint64_t value) { regs[i] = static_cast<greg_t>(value); };
    frame.faultSp = static_cast<std::uint64_t>(regs[REG_RSP]);
    set(REG_RSP, frame.sp);
    set(REG_RBX, frame.bx);
    set(REG_RBP, frame.bp);
    set(REG_R12, frame.r12);
    set(REG_R13, frame.r13);
    set(REG_R14, frame.r14);
    set(REG_R15, frame.r15);
    set(REG_RAX, code);
    set(REG_RIP, reinterpret_cast<std::uint64_t>(&ztree_guardLeave));
    clearFlags(uc);
}

// Enough stack below the faulting frame to throw on.
bool isStackUsable(const ucontext_t& uc) noexcept
{
    constexpr std::uint64_t need = 8192;
    const auto sp = static_cast<std::uint64_t>(uc.uc_mcontext.gregs[REG_RSP]);
    return isReadable(reinterpret_cast<const void*>(sp - redZone - need), need);
}

// The instruction and stack pointer to throw from: the faulting instruction, or the call that led to
// an address without code. False when the unwinder could not start there.
bool findThrowPoint(const ucontext_t& uc, std::uint64_t& ip, std::uint64_t& sp) noexcept
{
    const auto& regs = uc.uc_mcontext.gregs;
    ip = static_cast<std::uint64_t>(regs[REG_RIP]);
    sp = static_cast<std::uint64_t>(regs[REG_RSP]);
    if (hasUnwindTable(ip))
        return true;
    const bool jumped = regs[REG_TRAPNO] == trapPage
                            ? (static_cast<std::uint64_t>(regs[REG_ERR]) & pageFetch) != 0
                            : !isReadable(reinterpret_cast<const void*>(ip), 1);
    if (!jumped || !isReadable(reinterpret_cast<const void*>(sp), sizeof ip))
        return false;
    std::uint64_t back;
    std::memcpy(&back, reinterpret_cast<const void*>(sp), sizeof back);
    ip = back - 1; // inside the call instruction
    sp += sizeof back;
    return hasUnwindTable(ip);
}

bool translate(int sig, const siginfo_t& info, ucontext_t& uc) noexcept
{
    std::uint64_t ip;
    std::uint64_t sp;
    if (!isStackUsable(uc) || !findThrowPoint(uc, ip, sp))
        return false;
    FaultParcel* parcel = takeFaultParcel();
    parcel->code = codeOf(sig, info, uc);
    parcel->translator = t_translator;
    fillRecord(parcel->record, parcel->code, info, uc);
    fillContext(parcel->context, uc);
    auto& regs = uc.uc_mcontext.gregs;
    regs[REG_RAX] = static_cast<greg_t>(ip);
    regs[REG_RDI] = reinterpret_cast<greg_t>(parcel);
    regs[REG_RSP] = static_cast<greg_t>(sp - redZone);
    regs[REG_RIP] = reinterpret_cast<greg_t>(&ztree_faultThunk);
    clearFlags(uc);
    return true;
}

// --- faults that are not ours ---

// True when the filter wants the thread to go on.
bool report(int sig, const siginfo_t& info, const ucontext_t& uc) noexcept
{
    const FaultFilter filter = s_filter.load();
    if (!filter)
        return false;
    const long self = syscall(SYS_gettid);
    long reporter = 0;
    while (!s_reporter.compare_exchange_strong(reporter, self)) {
        if (reporter == self)
            return false; // the filter itself has faulted
        // Ending the process now would cut the other thread's report short; it will end all of us.
        const timespec pause = {0, 10000000};
        nanosleep(&pause, nullptr);
        reporter = 0;
    }
    EXCEPTION_RECORD record;
    CONTEXT context;
    const unsigned code = codeOf(sig, info, uc);
    const bool overflow = code == EXCEPTION_ACCESS_VIOLATION && !isStackUsable(uc);
    fillRecord(record, overflow ? EXCEPTION_STACK_OVERFLOW : code, info, uc);
    fillContext(context, uc);
    EXCEPTION_POINTERS pointers = {&record, &context};
    if (filter(&pointers) != EXCEPTION_CONTINUE_EXECUTION)
        return false; // this thread stays the reporter: others have nothing to add
    s_reporter = 0;
    return true;
}

void endProcess(int sig, bool hardware) noexcept
{
    struct sigaction dfl = {};
    dfl.sa_handler = SIG_DFL;
    sigaction(sig, &dfl, nullptr);
    // A hardware fault comes again when the handler returns, then with the core of the real place.
    if (!hardware)
        syscall(SYS_tgkill, getpid(), syscall(SYS_gettid), sig);
}

// Runs the handler that was there before as the system would have. False when there was none, or it
// gave up by putting the default action in place.
bool runHandlerBefore(int sig, siginfo_t* info, void* context) noexcept
{
    struct sigaction* before = nullptr;
    for (int i = 0; i < faultSignalCount; ++i)
        if (faultSignals[i] == sig)
            before = &s_before[i];
    if (before->sa_handler == SIG_DFL)
        return false;
    if (before->sa_handler == SIG_IGN)
        return !isHardwareFault(sig, *info); // the system does not let those be ignored
    sigset_t blocked = before->sa_mask;
    if (!(before->sa_flags & SA_NODEFER))
        sigaddset(&blocked, sig);
    pthread_sigmask(SIG_BLOCK, &blocked, nullptr); // our own return to the system undoes it
    if (before->sa_flags & SA_SIGINFO)
        before->sa_sigaction(sig, info, context);
    else
        before->sa_handler(sig);
    struct sigaction now = {};
    sigaction(sig, nullptr, &now);
    return now.sa_handler != SIG_DFL;
}

void onSignal(int sig, siginfo_t* info, void* context)
{
    const int savedErrno = errno;
    ucontext_t& uc = *static_cast<ucontext_t*>(context);
    const bool hardware = isHardwareFault(sig, *info);
    if (hardware && t_guard) {
        GuardFrame* frame = t_guard;
        t_guard = frame->outer; // a fault while looking at the fault belongs to the next one
        leaveGuard(uc, *frame, codeOf(sig, *info, uc));
    } else if (!(hardware && t_translator && translate(sig, *info, uc)) &&
               !runHandlerBefore(sig, info, context) && !(hardware && report(sig, *info, uc))) {
        endProcess(sig, hardware);
    }
    errno = savedErrno;
}

// --- installation ---

struct Handlers {
    Handlers() noexcept
    {
        struct sigaction ours = {};
        ours.sa_sigaction = &onSignal;
        // SA_NODEFER: a guard inside the handler may fault again.
        ours.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
        for (int i = 0; i < faultSignalCount; ++i)
            sigaction(faultSignals[i], &ours, &s_before[i]);
        s_installed.store(true, std::memory_order_release);
    }
    // When the library is unloaded, unless somebody came after us.
    ~Handlers()
    {
        for (int i = 0; i < faultSignalCount; ++i) {
            struct sigaction now = {};
            if (sigaction(faultSignals[i], nullptr, &now) == 0 && now.sa_sigaction == &onSignal)
                sigaction(faultSignals[i], &s_before[i], nullptr);
        }
    }
};

__attribute__((noinline, cold)) void installHandlers() noexcept
{
    static Handlers handlers;
}

inline void needHandlers() noexcept
{
    if (!s_installed.load(std::memory_order_acquire))
        installHandlers();
}

// A stack of its own for the handler, so that a stack overflow can be reported. A thread that asks for a
// filter or a translator gets one and keeps it to its end.
class SignalStack {
public:
    void need() noexcept
    {
        stack_t now = {};
        if (m_block || sigaltstack(nullptr, &now) != 0 || !(now.ss_flags & SS_DISABLE))
            return;
        void* block =
            mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
        if (block == MAP_FAILED)
            return;
        now = {};
        now.ss_sp = block;
        now.ss_size = size;
        if (sigaltstack(&now, nullptr) == 0)
            m_block = block;
        else
            munmap(block, size);
    }
    ~SignalStack()
    {
        stack_t now = {};
        if (!m_block || sigaltstack(nullptr, &now) != 0 || now.ss_sp != m_block)
            return; // somebody else's by now: they may still use ours
        now.ss_flags = SS_DISABLE;
        if (sigaltstack(&now, nullptr) == 0)
            munmap(m_block, size);
    }

private:
    static constexpr std::size_t size = 131072;
    void* m_block = nullptr;
};
thread_local SignalStack t_signalStack;

} // namespace

unsigned guardFaults(void (*body)(void*), void* context) noexcept
{
    needHandlers();
    GuardFrame frame;
    frame.outer = t_guard;
    t_guard = &frame;
    const unsigned code = ztree_guardEnter(&frame, body, context);
    t_guard = frame.outer;
#if defined(__SANITIZE_ADDRESS__)
    if (code) // the frames that were dropped have left their red zones on the stack
        __asan_unpoison_memory_region(reinterpret_cast<void*>(frame.faultSp), frame.sp - frame.faultSp);
#endif
    return code;
}

FaultTranslator setFaultTranslator(FaultTranslator translator) noexcept
{
    needHandlers();
    if (translator)
        t_signalStack.need();
    const FaultTranslator before = t_translator;
    t_translator = translator;
    return before;
}

FaultFilter setFaultFilter(FaultFilter filter) noexcept
{
    needHandlers();
    if (filter)
        t_signalStack.need();
    return s_filter.exchange(filter);
}

// The system has called the handler on the thread's signal stack.
void onSpareStack(void (*body)(void*), void* context) noexcept
{
    body(context);
}

void showSystemErrorReport() noexcept {}

RegisterSet registersOf(const CONTEXT& c) noexcept
{
    return {c.Rax64, c.Rbx64,    c.Rcx64, c.Rdx64, c.Rsi64, c.Rdi64, c.Rsp64, c.Rip64,
            c.Rbp64, c.EFlags64, c.SegCs, c.SegSs, c.SegDs, c.SegEs, c.SegFs, c.SegGs};
}

Register faultAddress(const EXCEPTION_RECORD& record) noexcept
{
    return record.ExceptionAddress64;
}

} // namespace platform
