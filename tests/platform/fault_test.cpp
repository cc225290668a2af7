#include "platform/fault.h"
#include "support/faults.h"
#include "support/random.h"

#include <gtest/gtest.h>
#include <ztree/runtime.h>

#include <cmath>

#if defined(_WIN32)
// Two pages, the second of which cannot be touched.
struct Pages {
    char* base = static_cast<char*>(VirtualAlloc(nullptr, 8192, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
    Pages()
    {
        DWORD before;
        VirtualProtect(base + 4096, 4096, PAGE_NOACCESS, &before);
    }
    ~Pages() { VirtualFree(base, 0, MEM_RELEASE); }
};
#else
#include <sys/mman.h>
struct Pages {
    char* base =
        static_cast<char*>(mmap(nullptr, 8192, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    Pages() { mprotect(base + 4096, 4096, PROT_NONE); }
    ~Pages() { munmap(base, 8192); }
};
#endif

using platform::guarded;
using platform::isReadable;

namespace {

TEST(FaultGuard, reportsEveryKindAsItsCode)
{
    const int rounds = isSanitized ? 1000 : 20000;
    for (int i = 0; i < rounds; ++i) {
        const Fault& fault = faults[i % 5];
        int before = 0;
        const unsigned code = guarded([&] {
            before = i + 1;
            fault.make();
            before = -1;
        });
        ASSERT_EQ(code, fault.code) << fault.name;
        ASSERT_EQ(before, i + 1);
    }
    int ran = 0;
    EXPECT_EQ(guarded([&] { ran = 1; }), 0u);
    EXPECT_EQ(ran, 1);
}

TEST(FaultGuard, nestsAndComesBeforeTheTranslator)
{
    void* const previous = structExcept::install();
    unsigned inner = 0;
    const unsigned outer = guarded([&] {
        inner = guarded([] { divideByZero(); });
        readNull();
    });
    EXPECT_EQ(inner, EXCEPTION_INT_DIVIDE_BY_ZERO);
    EXPECT_EQ(outer, EXCEPTION_ACCESS_VIOLATION);
    EXPECT_THROW(illegalInstruction(), structExcept); // the guards are gone
    structExcept::uninstall(previous);
}

TEST(FaultGuard, keepsTheCallersRegisters)
{
    // Values that live across the guard in registers: saved by the guard, changed by its body.
    int a = opaque(1);
    int b = opaque(2);
    double d = opaque(3.0f);
    long double x = std::sqrt(static_cast<long double>(opaque(16)));
    for (int i = 0; i < 100; ++i) {
        guarded([] {
#if defined(__x86_64__)
            asm volatile("fldpi\n\tfldpi\n\tstd\n\tmov $5, %%ebx\n\tmov $6, %%r12d\n\tud2" ::: "rbx", "r12");
#else
            asm volatile("fldpi\n\tfldpi\n\tstd\n\tmov $5, %%ebx\n\tmov $6, %%esi\n\tud2" ::: "ebx", "esi");
#endif
        });
        a += i;
        b ^= a;
        d += i;
        x += i; // a floating-point stack left full would make this a NaN
    }
    EXPECT_EQ(a, 4951);
    EXPECT_EQ(d, 4953.0);
    EXPECT_EQ(x, 4954.0L);
    EXPECT_NE(b, 0);
}

TEST(FaultGuard, threadsDoNotMeet)
{
    int wrong[4] = {};
    onThreads(4, [&wrong](int t) {
        for (int i = 0; i < 500; ++i)
            wrong[t] += guarded([&] { faults[(i + t) % 5].make(); }) != faults[(i + t) % 5].code;
    });
    for (int w : wrong)
        EXPECT_EQ(w, 0);
}

TEST(FaultGuard, toldWhetherMemoryCanBeRead)
{
    const Pages pages;
    char* const end = pages.base + 4096;
    const std::size_t all = ~std::size_t{0};
    EXPECT_TRUE(isReadable(pages.base, 4096));
    EXPECT_TRUE(isReadable(end - 1, 1));
    EXPECT_FALSE(isReadable(end - 1, 2));
    EXPECT_FALSE(isReadable(end, 1));
    EXPECT_FALSE(isReadable(pages.base, 8192));
    EXPECT_FALSE(isReadable(nullptr, 1));
    EXPECT_TRUE(isReadable(nullptr, 0));
    EXPECT_FALSE(isReadable(pages.base, all)); // wraps around
    EXPECT_FALSE(isReadable(reinterpret_cast<const void*>(all), 1));
}

} // namespace
