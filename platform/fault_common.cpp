#include "platform/fault_common.h"

#include "platform/clock.h"
#include "platform/thread.h"

#include <cstdlib>
#include <thread>

#if !defined(__SEH__)
extern "C" const void* _Unwind_Find_FDE(void* pc, void* bases);
#endif

namespace platform {

namespace {
FaultParcel s_parcels[16];
std::atomic<std::uint32_t> s_reporter{0}; // the thread that reports, 0 for none
std::atomic<std::uint32_t> s_lastReporter{0};
std::atomic<std::uint64_t> s_reported{0}; // when the last report ended
} // namespace

bool enterFaultReport() noexcept
{
    constexpr std::uint64_t second = 10000000;
    const std::uint32_t self = threadId();
    std::uint32_t reporter = 0;
    if (s_reporter.compare_exchange_strong(reporter, self)) {
        // Another thread's report has just ended, and so will the process: a second report would be cut.
        if (fileTime(utcTime()) - s_reported.load() >= 5 * second || s_lastReporter == self)
            return true;
        s_reporter = 0;
        return false;
    }
    // Going on now would end the process in the middle of the other thread's report.
    for (int rest = 1000; reporter != self && s_reporter.load() == reporter && rest > 0; --rest)
        sleepFor(10);
    return false;
}

void leaveFaultReport() noexcept
{
    s_lastReporter = s_reporter.load();
    s_reported = fileTime(utcTime());
    s_reporter = 0;
}

bool inFaultReport() noexcept
{
    const std::uint32_t reporter = s_reporter.load(std::memory_order_relaxed);
    return reporter != 0 && reporter == threadId();
}

FaultParcel* takeFaultParcel() noexcept
{
    for (;;) {
        for (FaultParcel& p : s_parcels)
            if (!p.taken.exchange(true, std::memory_order_acquire))
                return &p;
        std::this_thread::yield();
    }
}

bool hasUnwindTable(Register address) noexcept
{
#if defined(__SEH__)
    DWORD64 image;
    return RtlLookupFunctionEntry(address, &image, nullptr) != nullptr;
#else
    void* bases[3]; // text, data and function start
    return _Unwind_Find_FDE(reinterpret_cast<void*>(address), bases) != nullptr;
#endif
}

// Not instrumented: the bytes need not belong to any object.
__attribute__((no_sanitize("address"), no_sanitize("thread"), no_sanitize("undefined"))) static void
touchPages(void* range)
{
    const volatile char* const* ends = static_cast<const volatile char**>(range);
    constexpr Register page = 4096;
    const volatile char* p = ends[0];
    while (p < ends[1]) {
        static_cast<void>(*p);
        p += page - (reinterpret_cast<Register>(p) & (page - 1));
    }
}

bool isReadable(const void* p, std::size_t n) noexcept
{
    if (n == 0)
        return true;
    const Register last = reinterpret_cast<Register>(p) + (n - 1);
    if (last < reinterpret_cast<Register>(p) || last == ~Register{0})
        return false; // past the end of memory, whose last byte is never there
    const char* ends[2] = {static_cast<const char*>(p), reinterpret_cast<const char*>(last) + 1};
    return guardFaults(&touchPages, ends) == 0;
}

} // namespace platform

#if defined(__i386__) || (defined(__x86_64__) && !defined(_WIN32))
__attribute__((force_align_arg_pointer))
#endif
void ZTREE_FAULT_CALL
ztree_faultRaise(platform::FaultParcel* parcel)
{
    EXCEPTION_RECORD record = parcel->record;
    CONTEXT context = parcel->context;
    const unsigned code = parcel->code;
    const platform::FaultTranslator translator = parcel->translator;
    parcel->taken.store(false, std::memory_order_release);
    EXCEPTION_POINTERS pointers = {&record, &context};
    translator(code, &pointers);
    std::abort(); // a translator throws: there is nothing to go back to
}
