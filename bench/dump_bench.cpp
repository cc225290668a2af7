// Hex dump of a block, line by line; printf and a plain table in the same run.

#include <ztree/helpers.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <random>
#include <vector>

#if defined(BENCH_FMT)
#include <fmt/format.h>
#endif

namespace {

std::vector<unsigned char> dataOf(long bytes)
{
    std::vector<unsigned char> data(static_cast<std::size_t>(bytes));
    std::mt19937 random(1);
    for (unsigned char& c : data)
        c = static_cast<unsigned char>(random());
    return data;
}

template <class Line> void dump(benchmark::State& state, Line line)
{
    const auto data = dataOf(state.range(0));
    const auto all = static_cast<unsigned>(data.size());
    unsigned char buffer[128];
    for (auto _ : state)
        for (unsigned done = 0; done < all;) {
            done += static_cast<unsigned>(line(done, data.data() + done, all - done, buffer));
            benchmark::ClobberMemory();
        }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void dumpZtree(benchmark::State& state)
{
    dump(state, [](unsigned address, const unsigned char* data, unsigned left, unsigned char* out) {
        return formatDump(address, data, left, out, 66);
    });
}
BENCHMARK(dumpZtree)->Arg(64)->Arg(4096)->Arg(1 << 16)->Arg(1 << 20)->Arg(1 << 21)->Arg(1 << 24);

void dumpTable(benchmark::State& state)
{
    dump(state, [](unsigned address, const unsigned char* data, unsigned left, unsigned char* out) {
        static const char digits[] = "0123456789ABCDEF";
        const unsigned n = left < 16 ? left : 16;
        for (int i = 0; i < 8; ++i)
            *out++ = static_cast<unsigned char>(digits[address >> (28 - 4 * i) & 15]);
        *out++ = ':';
        *out++ = ' ';
        for (unsigned i = 0; i < 16; ++i) {
            *out++ = i < n ? static_cast<unsigned char>(digits[data[i] >> 4]) : ' ';
            *out++ = i < n ? static_cast<unsigned char>(digits[data[i] & 15]) : ' ';
            if (i % 4 == 3)
                *out++ = ' ';
        }
        *out++ = ' ';
        for (unsigned i = 0; i < n; ++i)
            *out++ = data[i] >= 0x20 && data[i] < 0x7F ? data[i] : '.';
        out[0] = '\r';
        out[1] = '\n';
        out[2] = 0;
        return n;
    });
}
BENCHMARK(dumpTable)->Arg(4096)->Arg(1 << 20);

void dumpPrintf(benchmark::State& state)
{
    dump(state, [](unsigned address, const unsigned char* data, unsigned left, unsigned char* out) {
        const unsigned n = left < 16 ? left : 16;
        char* p = reinterpret_cast<char*>(out);
        p += std::sprintf(p, "%08X: ", address);
        for (unsigned i = 0; i < n; ++i)
            p += std::sprintf(p, i % 4 == 3 ? "%02X " : "%02X", data[i]);
        return n;
    });
}
BENCHMARK(dumpPrintf)->Arg(4096);

#if defined(BENCH_FMT)
void dumpFmt(benchmark::State& state)
{
    dump(state, [](unsigned address, const unsigned char* data, unsigned left, unsigned char* out) {
        const unsigned n = left < 16 ? left : 16;
        char* p = reinterpret_cast<char*>(out);
        p = fmt::format_to(p, "{:08X}: ", address);
        for (unsigned i = 0; i < n; ++i)
            p = fmt::format_to(p, i % 4 == 3 ? "{:02X} " : "{:02X}", data[i]);
        return n;
    });
}
BENCHMARK(dumpFmt)->Arg(4096);
#endif

} // namespace
