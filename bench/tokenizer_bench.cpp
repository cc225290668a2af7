// Tokenizers beside other splitters: 10 MB of words, growth up to 1,000,000 tokens, short lines. Every
// splitter hands out each token with its length or as a terminated text; the copy of the text is part of the
// work where a splitter needs one.

#include <benchmark/benchmark.h>
#include <ztree/ext/attrib.h>
#include <ztree/tokenizer.h>

#include <cstring>
#include <string>
#include <string_view>

#if BENCH_BOOST
#include <boost/tokenizer.hpp>
#endif
#if BENCH_ABSL
#include <absl/strings/str_split.h>
#endif

namespace {

const char* const separators = " \t\r\n";

// Lines of words of 1 to 12 letters.
std::string makeText(std::size_t bytes)
{
    std::string text;
    unsigned state = 1;
    while (text.size() < bytes) {
        state = state * 1664525 + 1013904223;
        text.append((state >> 20) % 12 + 1, static_cast<char>('a' + (state >> 10) % 26));
        text += (state >> 8) % 10 ? " " : "\r\n";
    }
    return text;
}

const std::string& text10()
{
    static const std::string text = makeText(10'000'000);
    return text;
}

template <class Split> void run(benchmark::State& state, const std::string& text, Split split)
{
    long tokens = 0;
    for (auto _ : state) {
        tokens = 0;
        split(text, [&](const char* token) {
            benchmark::DoNotOptimize(token);
            ++tokens;
        });
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
    state.counters["tokens"] = static_cast<double>(tokens);
}

template <class Take> void byTokenizer(const std::string& text, Take take)
{
    ZTokenizer t(text.c_str());
    while (t.hasMoreTokens())
        take(t.nextToken());
}
template <class Take> void byDelims(const std::string& text, Take take)
{
    ZTokenizer t(text.c_str());
    while (t.hasMoreTokens())
        take(t.nextToken(separators, 0));
}
template <class Take> void byExact(const std::string& text, Take take)
{
    ZTokenizer t(text.c_str(), separators, 3);
    while (t.hasMoreTokens())
        take(t.nextToken());
}
template <class Take> void byEx(const std::string& text, Take take)
{
    ZTokenizerEx t(text.data(), static_cast<int>(text.size()), nullptr, 0);
    ZString out;
    while (t.hasMoreTokens())
        take(t.nextToken(out, nullptr, -1));
}
template <class Take> void byRange(const std::string& text, Take take)
{
    for (std::string_view token : ztree::tokens(text))
        take(token.data());
}
template <class Take> void byView(const std::string& text, Take take)
{
    for (std::string_view rest = text;;) {
        const std::size_t from = rest.find_first_not_of(separators);
        if (from == rest.npos)
            return;
        const std::size_t to = rest.find_first_of(separators, from);
        take(rest.substr(from, to - from).data());
        if (to == rest.npos)
            return;
        rest.remove_prefix(to);
    }
}
template <class Take> void byStrcspn(const std::string& text, Take take)
{
    const char* p = text.c_str();
    for (p += std::strspn(p, separators); *p; p += std::strspn(p, separators)) {
        take(p);
        p += std::strcspn(p, separators);
    }
}
template <class Take> void byStrtok(const std::string& text, Take take)
{
    std::string copy(text);
    char* state = nullptr;
    for (char* token = strtok_r(&copy[0], separators, &state); token;
         token = strtok_r(nullptr, separators, &state))
        take(token);
}
#if BENCH_BOOST
template <class Take> void byBoost(const std::string& text, Take take)
{
    const boost::tokenizer<boost::char_separator<char>> t(text, boost::char_separator<char>(separators));
    for (const std::string& token : t)
        take(token.c_str());
}
#endif
#if BENCH_ABSL
template <class Take> void byAbsl(const std::string& text, Take take)
{
    for (absl::string_view token : absl::StrSplit(text, absl::ByAnyChar(separators), absl::SkipEmpty()))
        take(token.data());
}
#endif

#define SPLITTER(name)                                                                                       \
    BENCHMARK_CAPTURE(split10MB, name, [](const auto& text, auto take) { name(text, take); })
template <class Split> void split10MB(benchmark::State& state, Split split)
{
    run(state, text10(), split);
}
SPLITTER(byTokenizer);
SPLITTER(byDelims);
SPLITTER(byExact);
SPLITTER(byEx);
SPLITTER(byRange);
SPLITTER(byView);
SPLITTER(byStrcspn);
SPLITTER(byStrtok);
#if BENCH_BOOST
SPLITTER(byBoost);
#endif
#if BENCH_ABSL
SPLITTER(byAbsl);
#endif

void splitWide10MB(benchmark::State& state)
{
    const std::u16string narrow(text10().begin(), text10().end());
    const std::basic_string<zwchar> text(narrow.begin(), narrow.end());
    for (auto _ : state) {
        ZTokenizerW t(text.c_str());
        while (t.hasMoreTokens())
            benchmark::DoNotOptimize(t.nextToken());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size() * sizeof(zwchar)));
}
BENCHMARK(splitWide10MB);

// Linear: the time of a token stays.
void growth(benchmark::State& state)
{
    std::string text;
    for (long i = 0; i < state.range(0); ++i)
        text += "token" + std::to_string(i % 1000) + " ";
    for (auto _ : state)
        byTokenizer(text, [](const char* token) { benchmark::DoNotOptimize(token); });
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(growth)->RangeMultiplier(2)->Range(62'500, 1'000'000)->Unit(benchmark::kMicrosecond);

// What making a tokenizer costs.
void splitShort(benchmark::State& state)
{
    const std::string text = "one two three four";
    for (auto _ : state)
        byTokenizer(text, [](const char* token) { benchmark::DoNotOptimize(token); });
}
BENCHMARK(splitShort);

} // namespace
