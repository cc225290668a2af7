// Strings beside std::string and QByteArray / QString.

#include <ztree/text.h>

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#if defined(BENCH_QTCORE)
#include <QByteArray>
#include <QString>
#endif

namespace {

constexpr int megabyte = 1 << 20;
const char shortText[] = "short text";
const char longText[] = "a text that is clearly longer than what is kept inline";

// 1 MB of words with what is sought at the end only.
std::string words()
{
    static const char* const parts[] = {"several ", "nodes ", "name ", "and ", "attribute ", "need ", "the "};
    std::string s;
    for (unsigned i = 1; s.size() < megabyte - 16; i = i * 1103515245 + 12345)
        s += parts[(i >> 16) % 7];
    s.resize(megabyte - 16, ' ');
    return s + "needle #";
}
std::basic_string<zwchar> wideWords()
{
    const std::string s = words();
    return std::basic_string<zwchar>(s.begin(), s.end());
}
void bytes(benchmark::State& state, std::size_t n)
{
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(n));
}

// --- one string at a time, the same body for every class ---
template <class S> void BM_default(benchmark::State& state)
{
    for (auto _ : state) {
        S s;
        benchmark::DoNotOptimize(s);
    }
}
template <class S> void BM_fromText(benchmark::State& state)
{
    const char* source = shortText;
    for (auto _ : state) {
        benchmark::DoNotOptimize(source);
        S s(source);
        benchmark::DoNotOptimize(s);
    }
}
template <class S> void BM_copy(benchmark::State& state)
{
    const S source(std::string(static_cast<std::size_t>(state.range(0)), 'x').c_str());
    for (auto _ : state) {
        S s(source);
        benchmark::DoNotOptimize(s);
    }
}
template <class S> void BM_append(benchmark::State& state)
{
    const char* part = state.range(0) ? longText : shortText;
    for (auto _ : state) {
        benchmark::DoNotOptimize(part);
        S s;
        s += part;
        s += part;
        benchmark::DoNotOptimize(s);
    }
}
template <class S> void BM_appendChars(benchmark::State& state)
{
    for (auto _ : state) {
        S s;
        for (int i = 0; i < 1000000; ++i)
            s += static_cast<char>('a' + (i & 15));
        benchmark::DoNotOptimize(s);
    }
    state.SetItemsProcessed(state.iterations() * 1000000);
}
#define STRINGS(bench, ...)                                                                                  \
    BENCHMARK_TEMPLATE(bench, ZString) __VA_ARGS__;                                                          \
    BENCHMARK_TEMPLATE(bench, std::string) __VA_ARGS__

STRINGS(BM_default);
STRINGS(BM_fromText);
STRINGS(BM_copy, ->Arg(10)->Arg(1000));
STRINGS(BM_append, ->Arg(0)->Arg(1));
STRINGS(BM_appendChars);
#if defined(BENCH_QTCORE)
BENCHMARK_TEMPLATE(BM_default, QByteArray);
BENCHMARK_TEMPLATE(BM_fromText, QByteArray);
BENCHMARK_TEMPLATE(BM_copy, QByteArray)->Arg(10)->Arg(1000);
BENCHMARK_TEMPLATE(BM_append, QByteArray)->Arg(0)->Arg(1);
BENCHMARK_TEMPLATE(BM_appendChars, QByteArray);
#endif

// --- search in 1 MB ---
void BM_findChar_ZString(benchmark::State& state)
{
    const ZString s(words().c_str());
    for (auto _ : state)
        benchmark::DoNotOptimize(s.indexOf('#', 0));
    bytes(state, megabyte);
}
BENCHMARK(BM_findChar_ZString);
void BM_findChar_string(benchmark::State& state)
{
    const std::string s = words();
    for (auto _ : state)
        benchmark::DoNotOptimize(s.find('#'));
    bytes(state, megabyte);
}
BENCHMARK(BM_findChar_string);
void BM_findWord_ZString(benchmark::State& state)
{
    const ZString s(words().c_str());
    for (auto _ : state)
        benchmark::DoNotOptimize(s.indexOf("needle", 0));
    bytes(state, megabyte);
}
BENCHMARK(BM_findWord_ZString);
void BM_findWord_string(benchmark::State& state)
{
    const std::string s = words();
    for (auto _ : state)
        benchmark::DoNotOptimize(s.find("needle"));
    bytes(state, megabyte);
}
BENCHMARK(BM_findWord_string);
void BM_findWord_memmem(benchmark::State& state)
{
    const std::string s = words();
    for (auto _ : state)
        benchmark::DoNotOptimize(memmem(s.data(), static_cast<unsigned>(s.size()), "needle", 6u));
    bytes(state, megabyte);
}
BENCHMARK(BM_findWord_memmem);
void BM_findWord_libcMemmem(benchmark::State& state)
{
    const std::string s = words();
    for (auto _ : state)
        benchmark::DoNotOptimize(::memmem(static_cast<const void*>(s.data()), s.size(), "needle", 6));
    bytes(state, megabyte);
}
BENCHMARK(BM_findWord_libcMemmem);
void BM_findCharWide_ZStringW(benchmark::State& state)
{
    const ZStringW s(wideWords().c_str());
    for (auto _ : state)
        benchmark::DoNotOptimize(s.indexOf(u'#', 0));
    bytes(state, 2 * megabyte);
}
BENCHMARK(BM_findCharWide_ZStringW);
void BM_findWordWide_ZStringW(benchmark::State& state)
{
    const ZStringW s(wideWords().c_str());
    for (auto _ : state)
        benchmark::DoNotOptimize(s.indexOf(ZTEXT("needle"), 0));
    bytes(state, 2 * megabyte);
}
BENCHMARK(BM_findWordWide_ZStringW);

// --- editing 1 MB ---
void BM_upper_ZString(benchmark::State& state)
{
    ZString s(words().c_str());
    for (auto _ : state)
        benchmark::DoNotOptimize(s.toupper());
    bytes(state, megabyte);
}
BENCHMARK(BM_upper_ZString);
void BM_upper_ZStringW(benchmark::State& state)
{
    ZStringW s(wideWords().c_str());
    for (auto _ : state)
        benchmark::DoNotOptimize(s.toupper());
    bytes(state, 2 * megabyte);
}
BENCHMARK(BM_upper_ZStringW);
void BM_exchange_ZString(benchmark::State& state)
{
    ZString s(words().c_str());
    for (auto _ : state)
        benchmark::DoNotOptimize(s.exchange("&<>\"'#", '_'));
    bytes(state, megabyte);
}
BENCHMARK(BM_exchange_ZString);

#if defined(BENCH_QTCORE)
void BM_findChar_QByteArray(benchmark::State& state)
{
    const QByteArray s(words().c_str());
    for (auto _ : state)
        benchmark::DoNotOptimize(s.indexOf('#'));
    bytes(state, megabyte);
}
BENCHMARK(BM_findChar_QByteArray);
void BM_findWord_QByteArray(benchmark::State& state)
{
    const QByteArray s(words().c_str());
    for (auto _ : state)
        benchmark::DoNotOptimize(s.indexOf("needle"));
    bytes(state, megabyte);
}
BENCHMARK(BM_findWord_QByteArray);
void BM_findCharWide_QString(benchmark::State& state)
{
    const QString s = QString::fromStdString(words());
    for (auto _ : state)
        benchmark::DoNotOptimize(s.indexOf(QChar('#')));
    bytes(state, 2 * megabyte);
}
BENCHMARK(BM_findCharWide_QString);
void BM_findWordWide_QString(benchmark::State& state)
{
    const QString s = QString::fromStdString(words()), needle("needle");
    for (auto _ : state)
        benchmark::DoNotOptimize(s.indexOf(needle));
    bytes(state, 2 * megabyte);
}
BENCHMARK(BM_findWordWide_QString);
// A new text each time: Qt hands an upper-case one back unchanged.
void BM_upper_QByteArray(benchmark::State& state)
{
    const QByteArray s(words().c_str());
    for (auto _ : state)
        benchmark::DoNotOptimize(s.toUpper());
    bytes(state, megabyte);
}
BENCHMARK(BM_upper_QByteArray);
void BM_upper_QString(benchmark::State& state)
{
    const QString s = QString::fromStdString(words());
    for (auto _ : state)
        benchmark::DoNotOptimize(s.toUpper());
    bytes(state, 2 * megabyte);
}
BENCHMARK(BM_upper_QString);
#endif

} // namespace
