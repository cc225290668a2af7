// Formatted print beside the C library's and {fmt}: items per second are calls.

#include <benchmark/benchmark.h>
#include <ztree/print.h>

#include <cstdio>
#include <string>
#if defined(BENCH_FMT)
#include <fmt/format.h>
#endif

namespace {

constexpr int room = 1024;
const char* const word = "a word of some length";
const char* const longText = "The quick brown fox jumps over the lazy dog. The quick brown fox jumps over "
                             "the lazy dog. The quick brown fox "
                             "jumps over the lazy dog. The quick brown fox jumps over the lazy dog. The "
                             "quick brown fox jumps over the dog.";

struct Ztree {
    static constexpr const char* name = "ztree";
    template <class... Args> static int print(char* buffer, const char* fmt, Args... args)
    {
        return sprintfn(buffer, room, 65001, fmt, args...);
    }
};
struct Libc {
    static constexpr const char* name = "snprintf";
    template <class... Args> static int print(char* buffer, const char* fmt, Args... args)
    {
        return snprintf(buffer, room, fmt, args...);
    }
};
#if defined(BENCH_FMT)
struct Fmt {
    static constexpr const char* name = "fmt";
    template <class... Args> static int print(char* buffer, const char* fmt, Args... args)
    {
        const auto result = fmt::format_to_n(buffer, room - 1, fmt::runtime(fmt), args...);
        *result.out = 0;
        return static_cast<int>(result.size);
    }
};
#endif

template <class Engine, class... Args> void run(benchmark::State& state, const char* fmt, Args... args)
{
    char buffer[room];
    for (auto _ : state) {
        benchmark::DoNotOptimize(fmt);
        benchmark::DoNotOptimize(Engine::print(buffer, fmt, args...));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}

/// The same text by each engine: `braces` is the format as {fmt} spells it.
template <class... Args> void add(const char* what, const char* fmt, const char* braces, Args... args)
{
    const std::string prefix = std::string("print/") + what + '/';
    const auto one = [&](const char* name, const char* format, auto* function) {
        benchmark::RegisterBenchmark((prefix + name).c_str(), function, format, args...);
    };
    one(Ztree::name, fmt, &run<Ztree, Args...>);
    one(Libc::name, fmt, &run<Libc, Args...>);
#if defined(BENCH_FMT)
    one(Fmt::name, braces, &run<Fmt, Args...>);
#else
    static_cast<void>(braces);
#endif
}

template <class... Args> void addWide(const char* what, const zwchar* fmt, Args... args)
{
    benchmark::RegisterBenchmark((std::string("print/") + what + "/ztree").c_str(),
                                 [=](benchmark::State& state) {
                                     zwchar buffer[room];
                                     for (auto _ : state) {
                                         benchmark::DoNotOptimize(swprintfn(buffer, room, 0, fmt, args...));
                                         benchmark::ClobberMemory();
                                     }
                                 });
}

const bool registered = [] {
    add("int", "%d", "{}", 12345);
    add("int64", "%lld", "{}", 1234567890123456789LL);
    add("intPadded", "%08X %5d", "{:08X} {:5}", 0xBEEF, 42);
    add("text", "%s", "{}", word);
    add("longText", "%s", "{}", longText);
    add("literal", "a literal text without any conversion in it",
        "a literal text without any conversion in it");
    add("amount", "%.2f", "{:.2f}", 123456.78);
    add("fixed", "%f", "{:f}", 0.000123456789);
    add("exponent", "%e", "{:e}", 1.2345e100);
    add("general", "%g", "{:g}", 0.1);
    add("roundTrip", "%.17g", "{:.17g}", 0.1);
    add("logLine", "%04d-%02d-%02d %02d:%02d:%02d.%03d %s: %s (%d)",
        "{:04}-{:02}-{:02} {:02}:{:02}:{:02}.{:03} {}: {} ({})", 2024, 2, 29, 13, 5, 9, 42, "INFO", word, 7);
    addWide("wideLogLine", ZTEXT("%04d-%02d-%02d %02d:%02d:%02d.%03d %ls: %hs (%d)"), 2024, 2, 29, 13, 5, 9,
            42, ZTEXT("INFO"), word, 7);
    addWide("wideInt", ZTEXT("%d"), 12345);
    return true;
}();

void scanLine(benchmark::State& state, bool libc)
{
    int a = 0;
    int b = 0;
    double d = 0;
    char text[20];
    const char* line = "12345 -7 3.25 word";
    for (auto _ : state) {
        benchmark::DoNotOptimize(line);
        benchmark::DoNotOptimize(libc ? sscanf(line, "%d %d %lf %19s", &a, &b, &d, text)
                                      : scanfn(line, -1, "%d %d %lf %19s", &a, &b, &d, text));
        benchmark::ClobberMemory();
    }
}
BENCHMARK_CAPTURE(scanLine, ztree, false);
BENCHMARK_CAPTURE(scanLine, sscanf, true);

} // namespace
