// Log entries beside spdlog's file logger and snprintf with fwrite: items per second are entries. All
// write the same text, behind headers of about the same length.
#include <benchmark/benchmark.h>
#include <ztree/ext/log.h>

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <string>
#include <sys/syscall.h>
#include <unistd.h>
#if defined(BENCH_SPDLOG)
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#endif

namespace {

const char* const name = "a word of some length";

// In memory: what is measured is the loggers, not the disk.
std::string filePath()
{
    const char* const folder = std::filesystem::is_directory("/dev/shm") ? "/dev/shm" : ".";
    return std::string(folder) + "/ztree_log_bench.log";
}

struct Ztree {
    explicit Ztree(fileLog::FlushPolicy policy, unsigned level = logInfo)
    {
        std::filesystem::remove(filePath());
        log->AddRef();
        log->setFlushPolicy(policy);
        log->open(filePath().c_str());
        client.setLogLevel(static_cast<unsigned char>(level));
        client.setLog(log);
    }
    ~Ztree()
    {
        client.setLog(nullptr);
        log->Release();
        std::filesystem::remove(filePath());
    }
    fileLog* log = new fileLog;
    logClient client;
};

// The file is emptied now and then, outside of the time taken.
template <class Write, class Empty> void writeMany(benchmark::State& state, Write write, Empty empty)
{
    int i = 0;
    for (auto _ : state) {
        write(i);
        if (++i % 1000000 == 0) {
            state.PauseTiming();
            empty();
            state.ResumeTiming();
        }
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}

void ztreeWritten(benchmark::State& state, fileLog::FlushPolicy policy)
{
    Ztree z(policy);
    writeMany(
        state, [&](int i) { ztree::log(z.client, logInfo, "entry {} of {}", i, name); },
        [&] { z.log->reset(); });
}
BENCHMARK_CAPTURE(ztreeWritten, blocks, fileLog::flushBlocks);
BENCHMARK_CAPTURE(ztreeWritten, each, fileLog::flushEach);

void ztreePrintf(benchmark::State& state)
{
    Ztree z(fileLog::flushBlocks);
    writeMany(
        state, [&](int i) { z.log->printfEntry(logInfo, "entry %d of %s\r\n", i, name); },
        [&] { z.log->reset(); });
}
BENCHMARK(ztreePrintf);

// Header and text alone, handed to nobody.
void ztreeHeader(benchmark::State& state)
{
    mcwLog log;
    for (auto _ : state)
        benchmark::DoNotOptimize(log.writelnEntry(logInfo, name, 21));
}
BENCHMARK(ztreeHeader);

void ztreeFiltered(benchmark::State& state)
{
    Ztree z(fileLog::flushBlocks);
    int i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(ztree::log(z.client, logDebug, "entry {} of {}", i, name));
        benchmark::ClobberMemory();
        ++i;
    }
}
BENCHMARK(ztreeFiltered);

void ztreeFilteredByInterface(benchmark::State& state)
{
    Ztree z(fileLog::flushBlocks);
    IMCWLogClient* client = &z.client;
    benchmark::DoNotOptimize(client);
    int i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(ztree::log(*client, logDebug, "entry {} of {}", i, name));
        benchmark::ClobberMemory();
        ++i;
    }
}
BENCHMARK(ztreeFilteredByInterface);

#if defined(BENCH_SPDLOG)
template <class Sink> struct Spdlog {
    Spdlog() : logger("bench", std::make_shared<Sink>(filePath(), true))
    {
        logger.set_pattern("[T:%t %Y-%m-%d, %T:%e %l] %v");
    }
    ~Spdlog() { std::filesystem::remove(filePath()); }
    void empty()
    {
        logger.flush();
        std::filesystem::resize_file(filePath(), 0);
    }
    spdlog::logger logger;
};

template <class Sink> void spdlogWrites(benchmark::State& state, bool each, bool ownPattern)
{
    Spdlog<Sink> s;
    if (each)
        s.logger.flush_on(spdlog::level::trace);
    if (ownPattern)
        s.logger.set_pattern("%+"); // the one that it is fastest at
    writeMany(
        state, [&](int i) { s.logger.info("entry {} of {}", i, name); }, [&] { s.empty(); });
}
using SinkSt = spdlog::sinks::basic_file_sink_st;
using SinkMt = spdlog::sinks::basic_file_sink_mt;
void spdlogWritten(benchmark::State& state, bool locked, bool each, bool ownPattern)
{
    locked ? spdlogWrites<SinkMt>(state, each, ownPattern) : spdlogWrites<SinkSt>(state, each, ownPattern);
}
BENCHMARK_CAPTURE(spdlogWritten, st, false, false, false);
BENCHMARK_CAPTURE(spdlogWritten, mt, true, false, false);
BENCHMARK_CAPTURE(spdlogWritten, st_ownPattern, false, false, true);
BENCHMARK_CAPTURE(spdlogWritten, mt_ownPattern, true, false, true);
BENCHMARK_CAPTURE(spdlogWritten, mt_each, true, true, false);

// The time is read for each entry, as ztreeHeader does.
void spdlogHeader(benchmark::State& state)
{
    spdlog::pattern_formatter formatter("[T:%t %Y-%m-%d, %T:%e %l] %v");
    spdlog::memory_buf_t line;
    for (auto _ : state) {
        line.clear();
        formatter.format(spdlog::details::log_msg("bench", spdlog::level::info, name), line);
        benchmark::DoNotOptimize(line.data());
    }
}
BENCHMARK(spdlogHeader);

void spdlogFiltered(benchmark::State& state)
{
    Spdlog<SinkMt> s;
    int i = 0;
    for (auto _ : state) {
        s.logger.debug("entry {} of {}", i, name);
        benchmark::ClobberMemory();
        ++i;
    }
}
BENCHMARK(spdlogFiltered);
#endif

void printAndWrite(benchmark::State& state, bool each)
{
    std::FILE* const file = std::fopen(filePath().c_str(), "wb");
    const long thread = syscall(SYS_gettid);
    writeMany(
        state,
        [&](int i) {
            timespec now;
            tm local;
            char line[512];
            clock_gettime(CLOCK_REALTIME, &now);
            localtime_r(&now.tv_sec, &local);
            const int n = std::snprintf(
                line, sizeof line, "[T:%lX %04d-%02d-%02d, %02d:%02d:%02d:%03ld Info] entry %d of %s\r\n",
                thread, local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min,
                local.tm_sec, now.tv_nsec / 1000000, i, name);
            std::fwrite(line, 1, static_cast<std::size_t>(n), file);
            if (each)
                std::fflush(file);
        },
        [&] {
            std::fflush(file);
            std::filesystem::resize_file(filePath(), 0);
            std::rewind(file);
        });
    std::fclose(file);
    std::filesystem::remove(filePath());
}
BENCHMARK_CAPTURE(printAndWrite, buffered, false);
BENCHMARK_CAPTURE(printAndWrite, each, true);

} // namespace
