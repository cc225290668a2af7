// What a guard costs when nothing happens, and what a fault costs against an ordinary exception.
#include "tests/support/faults.h"

#include <benchmark/benchmark.h>
#include <ztree/runtime.h>

#include <csetjmp>
#include <csignal>
#include <cstdio>

namespace {

struct SilentLog final : IMCWLog {
    HRESULT QueryInterface(const GUID&, void**) override { return E_NOINTERFACE; }
    zulong AddRef() override { return 1; }
    zulong Release() override { return 1; }
    HRESULT write(const char*, int) override { return S_OK; }
    HRESULT writeln(const char*, int) override { return S_OK; }
    HRESULT sysMessage(const char*, zlong) override { return S_OK; }
    HRESULT printf(const char*, ...) override { return S_OK; }
    HRESULT writeEntry(unsigned, const char*, int) override { return S_OK; }
    HRESULT writelnEntry(unsigned, const char*, int) override { return S_OK; }
    HRESULT sysMessageEntry(unsigned, const char*, zlong) override { return S_OK; }
    HRESULT printfEntry(unsigned, const char*, ...) override { return S_OK; }
    HRESULT hexDump(unsigned, const char*, unsigned long) override { return S_OK; }
};

// One guarded print without conversions; the difference to the plain print is the guard.
void uhxDumpGuarded(benchmark::State& state)
{
    SilentLog log;
    for (auto _ : state)
        structExcept::uhxDump(&log, "text");
}
BENCHMARK(uhxDumpGuarded);

void plainPrint(benchmark::State& state)
{
    char text[1021];
    const char* const fmt = opaque("text");
    for (auto _ : state) {
        std::snprintf(text, sizeof text, fmt, 0);
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(plainPrint);

// What others guard with: a system call to save the signal mask.
void sigsetjmpGuard(benchmark::State& state)
{
    sigjmp_buf place;
    for (auto _ : state)
        benchmark::DoNotOptimize(sigsetjmp(place, 1));
}
BENCHMARK(sigsetjmpGuard);

void uhxDumpFaulting(benchmark::State& state)
{
    SilentLog log;
    const auto dump = opaque(&structExcept::uhxDump);
    for (auto _ : state)
        dump(&log, "%s", reinterpret_cast<const char*>(8));
}
BENCHMARK(uhxDumpFaulting);

__attribute__((noinline)) void throwOne()
{
    throw structExcept(opaque(1u));
}

void thrown(benchmark::State& state, void (*make)())
{
    void* const previous = structExcept::install();
    for (auto _ : state)
        try {
            make();
        } catch (const structExcept& e) {
            benchmark::DoNotOptimize(e.getCode());
        }
    structExcept::uninstall(previous);
}
BENCHMARK_CAPTURE(thrown, ordinary, &throwOne);
BENCHMARK_CAPTURE(thrown, readNull, &readNull);
BENCHMARK_CAPTURE(thrown, divideByZero, &divideByZero);

} // namespace
