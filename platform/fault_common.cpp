#include "platform/fault_common.h"

#include <cstdlib>
#include <thread>

#if !defined(__SEH__)
extern "C" const void* _Unwind_Find_FDE(void* pc, void* bases);
#endif

namespace platform {

namespace {
FaultParcel s_parcels[16];
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
