// Code pages and case mapping beside ICU, iconv and Qt. Bytes per second are bytes of UTF-8 or of the
// narrow text, for case mapping bytes of the text itself.

#include "platform/codepage.h"
#include "platform/utf8_linux.h"

#include <benchmark/benchmark.h>
#include <iconv.h>

#include <string>
#include <vector>

#if BENCH_ICU
#include <unicode/ucnv.h>
#include <unicode/ustring.h>
#endif
#if BENCH_QTCORE
#include <QByteArray>
#include <QString>
#endif

namespace {

constexpr std::size_t textSize = 1 << 20;

// Words of the sample in random order, until the size is reached.
std::string makeText(const std::vector<std::string>& words, const char* gap)
{
    std::string text;
    unsigned state = 1;
    while (text.size() < textSize) {
        state = state * 1664525 + 1013904223;
        text += words[(state >> 16) % words.size()];
        text += (state >> 8) % 12 ? gap : ". ";
    }
    return text;
}

const std::string& text(int language)
{
    static const std::string texts[] = {
        makeText({"the", "order", "was", "delivered", "to", "a", "warehouse", "in", "London", "on", "Monday",
                  "and"},
                 " "),
        makeText(
            {"заказ", "был", "доставлен", "на", "склад", "в", "Москве", "и", "оплачен", "понедельник", "12"},
            " "),
        makeText({"订单", "已经", "送到", "北京", "的", "仓库", "星期一", "客户", "付款", "完成", "，"}, ""),
        makeText({"straße", "über", "größe", "der", "auftrag", "wurde", "am", "montag", "für", "café", "und"},
                 " "),
        makeText({"😀", "👍", "ok", "🚀", "🎉🎉", "fine"}, " ")};
    return texts[language];
}

const char* const languages[] = {"en", "ru", "zh", "de", "emoji"};

std::vector<zwchar> wideText(int language)
{
    const std::string& s = text(language);
    std::vector<zwchar> w(s.size());
    w.resize(static_cast<std::size_t>(
        platform::toWide(65001, s.data(), static_cast<int>(s.size()), w.data(), static_cast<int>(w.size()))));
    return w;
}

void finish(benchmark::State& state, std::size_t bytes, const char* label = "")
{
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * static_cast<std::int64_t>(state.iterations()));
    state.SetLabel(label);
}

// --- UTF-8 ---

void decodeZtree(benchmark::State& state)
{
    const std::string& s = text(static_cast<int>(state.range(0)));
    std::vector<zwchar> w(s.size() + 1);
    for (auto _ : state)
        benchmark::DoNotOptimize(platform::toWide(65001, s.data(), static_cast<int>(s.size()), w.data(),
                                                  static_cast<int>(w.size())));
    finish(state, s.size(), languages[state.range(0)]);
}
BENCHMARK(decodeZtree)->DenseRange(0, 4);

void decodeKernel(benchmark::State& state)
{
    namespace utf8 = platform::utf8;
    int count = 0;
    const utf8::Kernels* const* kernels = utf8::runnable(count);
    if (state.range(1) >= count) {
        state.SkipWithError("not on this processor");
        return;
    }
    utf8::use(kernels[state.range(1)]);
    const std::string& s = text(static_cast<int>(state.range(0)));
    std::vector<zwchar> w(s.size() + 1);
    for (auto _ : state)
        benchmark::DoNotOptimize(
            utf8::decode(s.data(), static_cast<int>(s.size()), w.data(), static_cast<int>(w.size())));
    finish(state, s.size(), kernels[state.range(1)]->name);
    utf8::use(nullptr);
}
BENCHMARK(decodeKernel)->ArgsProduct({{0, 1, 2, 3, 4}, {0, 1, 2}});

void countZtree(benchmark::State& state)
{
    const std::string& s = text(static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(platform::toWide(65001, s.data(), static_cast<int>(s.size()), nullptr, 0));
    finish(state, s.size(), languages[state.range(0)]);
}
BENCHMARK(countZtree)->DenseRange(0, 4);

void encodeZtree(benchmark::State& state)
{
    const std::vector<zwchar> w = wideText(static_cast<int>(state.range(0)));
    std::string s(3 * w.size(), '\0');
    for (auto _ : state)
        benchmark::DoNotOptimize(platform::toNarrow(65001, w.data(), static_cast<int>(w.size()), &s[0],
                                                    static_cast<int>(s.size())));
    finish(state, text(static_cast<int>(state.range(0))).size(), languages[state.range(0)]);
}
BENCHMARK(encodeZtree)->DenseRange(0, 4);

void encodeKernel(benchmark::State& state)
{
    namespace utf8 = platform::utf8;
    int count = 0;
    const utf8::Kernels* const* kernels = utf8::runnable(count);
    if (state.range(1) >= count) {
        state.SkipWithError("not on this processor");
        return;
    }
    utf8::use(kernels[state.range(1)]);
    const std::vector<zwchar> w = wideText(static_cast<int>(state.range(0)));
    std::string s(3 * w.size(), '\0');
    for (auto _ : state)
        benchmark::DoNotOptimize(
            utf8::encode(w.data(), static_cast<int>(w.size()), &s[0], static_cast<int>(s.size())));
    finish(state, text(static_cast<int>(state.range(0))).size(), kernels[state.range(1)]->name);
    utf8::use(nullptr);
}
BENCHMARK(encodeKernel)->ArgsProduct({{0, 1, 2, 3, 4}, {0, 1, 2}});

void countNarrowZtree(benchmark::State& state)
{
    const std::vector<zwchar> w = wideText(static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(platform::toNarrow(65001, w.data(), static_cast<int>(w.size()), nullptr, 0));
    finish(state, text(static_cast<int>(state.range(0))).size(), languages[state.range(0)]);
}
BENCHMARK(countNarrowZtree)->DenseRange(0, 2);

void iconvText(benchmark::State& state, const char* to, const char* from, const void* in, std::size_t inSize,
               std::size_t bytes)
{
    const iconv_t cd = iconv_open(to, from);
    std::vector<char> out(3 * inSize);
    for (auto _ : state) {
        char* p = const_cast<char*>(static_cast<const char*>(in));
        char* o = out.data();
        std::size_t left = inSize, room = out.size();
        benchmark::DoNotOptimize(iconv(cd, &p, &left, &o, &room));
    }
    iconv_close(cd);
    finish(state, bytes);
}

void decodeIconv(benchmark::State& state)
{
    const std::string& s = text(static_cast<int>(state.range(0)));
    iconvText(state, "UTF-16LE", "UTF-8", s.data(), s.size(), s.size());
}
BENCHMARK(decodeIconv)->DenseRange(0, 2);

#if BENCH_ICU
void decodeIcu(benchmark::State& state)
{
    const std::string& s = text(static_cast<int>(state.range(0)));
    std::vector<UChar> w(s.size() + 1);
    for (auto _ : state) {
        UErrorCode status = U_ZERO_ERROR;
        int32_t n = 0;
        u_strFromUTF8WithSub(w.data(), static_cast<int32_t>(w.size()), &n, s.data(),
                             static_cast<int32_t>(s.size()), 0xFFFD, nullptr, &status);
        benchmark::DoNotOptimize(n);
    }
    finish(state, s.size(), languages[state.range(0)]);
}
BENCHMARK(decodeIcu)->DenseRange(0, 4);

void encodeIcu(benchmark::State& state)
{
    const std::vector<zwchar> w = wideText(static_cast<int>(state.range(0)));
    std::string s(3 * w.size(), '\0');
    for (auto _ : state) {
        UErrorCode status = U_ZERO_ERROR;
        int32_t n = 0;
        u_strToUTF8WithSub(&s[0], static_cast<int32_t>(s.size()), &n, w.data(),
                           static_cast<int32_t>(w.size()), 0xFFFD, nullptr, &status);
        benchmark::DoNotOptimize(n);
    }
    finish(state, text(static_cast<int>(state.range(0))).size(), languages[state.range(0)]);
}
BENCHMARK(encodeIcu)->DenseRange(0, 4);
#endif

// --- windows-1252: 0 English, 3 German, 9 every byte above 9F ---

std::string narrowText(int language)
{
    if (language == 9) {
        std::string s(textSize, '\0');
        for (std::size_t i = 0; i < s.size(); ++i)
            s[i] = static_cast<char>(0x80 + i * 7 % 128);
        return s;
    }
    const std::vector<zwchar> w = wideText(language);
    std::string s(w.size(), '\0');
    platform::toNarrow(1252, w.data(), static_cast<int>(w.size()), &s[0], static_cast<int>(s.size()));
    return s;
}

void from1252Ztree(benchmark::State& state)
{
    const std::string s = narrowText(static_cast<int>(state.range(0)));
    std::vector<zwchar> w(s.size());
    for (auto _ : state)
        benchmark::DoNotOptimize(platform::toWide(1252, s.data(), static_cast<int>(s.size()), w.data(),
                                                  static_cast<int>(w.size())));
    finish(state, s.size());
}
BENCHMARK(from1252Ztree)->Arg(0)->Arg(3)->Arg(9);

void to1252Ztree(benchmark::State& state)
{
    std::string s = narrowText(static_cast<int>(state.range(0)));
    std::vector<zwchar> w(s.size());
    const int n = static_cast<int>(s.size());
    platform::toWide(1252, s.data(), n, w.data(), n);
    for (auto _ : state)
        benchmark::DoNotOptimize(platform::toNarrow(1252, w.data(), n, &s[0], n));
    finish(state, s.size());
}
BENCHMARK(to1252Ztree)->Arg(0)->Arg(3)->Arg(9);

// What a plain table does with the same text.
void from1252Table(benchmark::State& state)
{
    const std::string s = narrowText(static_cast<int>(state.range(0)));
    std::vector<zwchar> w(s.size()), table(256);
    for (int i = 0; i < 256; ++i) {
        const char c = static_cast<char>(i);
        platform::toWide(1252, &c, 1, &table[static_cast<std::size_t>(i)], 1);
    }
    for (auto _ : state) {
        for (std::size_t i = 0; i < s.size(); ++i)
            w[i] = table[static_cast<unsigned char>(s[i])];
        benchmark::ClobberMemory();
    }
    finish(state, s.size());
}
BENCHMARK(from1252Table)->Arg(3);

void to1252Table(benchmark::State& state)
{
    std::string s = narrowText(static_cast<int>(state.range(0)));
    std::vector<zwchar> w(s.size());
    const int n = static_cast<int>(s.size());
    platform::toWide(1252, s.data(), n, w.data(), n);
    std::vector<char> table(0x10000);
    for (int i = 0; i < 0x10000; ++i) {
        const zwchar unit = static_cast<zwchar>(i);
        platform::toNarrow(1252, &unit, 1, &table[static_cast<std::size_t>(i)], 1);
    }
    for (auto _ : state) {
        for (std::size_t i = 0; i < w.size(); ++i)
            s[i] = table[w[i]];
        benchmark::ClobberMemory();
    }
    finish(state, s.size());
}
BENCHMARK(to1252Table)->Arg(3);

void to1251Ztree(benchmark::State& state)
{
    const std::vector<zwchar> w = wideText(1);
    std::string s(w.size(), '\0');
    for (auto _ : state)
        benchmark::DoNotOptimize(platform::toNarrow(1251, w.data(), static_cast<int>(w.size()), &s[0],
                                                    static_cast<int>(s.size())));
    finish(state, s.size());
}
BENCHMARK(to1251Ztree);

#if BENCH_ICU
void from1252Icu(benchmark::State& state)
{
    const std::string s = narrowText(static_cast<int>(state.range(0)));
    std::vector<UChar> w(s.size() + 1);
    UErrorCode status = U_ZERO_ERROR;
    UConverter* const converter = ucnv_open("windows-1252", &status);
    for (auto _ : state)
        benchmark::DoNotOptimize(ucnv_toUChars(converter, w.data(), static_cast<int32_t>(w.size()), s.data(),
                                               static_cast<int32_t>(s.size()), &status));
    ucnv_close(converter);
    finish(state, s.size());
}
BENCHMARK(from1252Icu)->Arg(0)->Arg(3)->Arg(9);

void to1252Icu(benchmark::State& state)
{
    std::string s = narrowText(static_cast<int>(state.range(0)));
    std::vector<zwchar> w(s.size());
    platform::toWide(1252, s.data(), static_cast<int>(s.size()), w.data(), static_cast<int>(w.size()));
    s += ' ';
    UErrorCode status = U_ZERO_ERROR;
    UConverter* const converter = ucnv_open("windows-1252", &status);
    for (auto _ : state)
        benchmark::DoNotOptimize(ucnv_fromUChars(converter, &s[0], static_cast<int32_t>(s.size()), w.data(),
                                                 static_cast<int32_t>(w.size()), &status));
    ucnv_close(converter);
    finish(state, w.size());
}
BENCHMARK(to1252Icu)->Arg(0)->Arg(3)->Arg(9);
#endif

// --- a field of 20 characters, in turn from a list so that nothing is predicted ---

std::vector<std::string> fields(int language)
{
    const std::vector<zwchar> w = wideText(language);
    std::vector<std::string> all;
    for (std::size_t i = 0; i < 997; ++i) {
        char s[80];
        const int n = platform::toNarrow(65001, w.data() + 23 * i, 20, s, sizeof s);
        all.emplace_back(s, static_cast<std::size_t>(n));
    }
    return all;
}

void fieldZtree(benchmark::State& state)
{
    const std::vector<std::string> all = fields(static_cast<int>(state.range(0)));
    zwchar w[80];
    std::size_t i = 0;
    for (auto _ : state) {
        const std::string& s = all[i = i == 996 ? 0 : i + 1];
        benchmark::DoNotOptimize(platform::toWide(65001, s.data(), static_cast<int>(s.size()), w, 80));
    }
    state.SetLabel(languages[state.range(0)]);
}
BENCHMARK(fieldZtree)->DenseRange(0, 2);

void fieldBackZtree(benchmark::State& state)
{
    const std::vector<zwchar> w = wideText(static_cast<int>(state.range(0)));
    char s[80];
    std::size_t i = 0;
    for (auto _ : state) {
        i = i == 996 ? 0 : i + 1;
        benchmark::DoNotOptimize(platform::toNarrow(65001, w.data() + 23 * i, 20, s, sizeof s));
    }
    state.SetLabel(languages[state.range(0)]);
}
BENCHMARK(fieldBackZtree)->DenseRange(0, 2);

void field1252Ztree(benchmark::State& state)
{
    const std::string s = narrowText(3);
    zwchar w[80];
    std::size_t i = 0;
    for (auto _ : state) {
        i = i == 996 ? 0 : i + 1;
        benchmark::DoNotOptimize(platform::toWide(1252, s.data() + 23 * i, 20, w, 80));
    }
}
BENCHMARK(field1252Ztree);

#if BENCH_ICU
void fieldIcu(benchmark::State& state)
{
    const std::vector<std::string> all = fields(static_cast<int>(state.range(0)));
    UChar w[80];
    std::size_t i = 0;
    for (auto _ : state) {
        const std::string& s = all[i = i == 996 ? 0 : i + 1];
        UErrorCode status = U_ZERO_ERROR;
        int32_t n = 0;
        u_strFromUTF8WithSub(w, 80, &n, s.data(), static_cast<int32_t>(s.size()), 0xFFFD, nullptr, &status);
        benchmark::DoNotOptimize(n);
    }
    state.SetLabel(languages[state.range(0)]);
}
BENCHMARK(fieldIcu)->DenseRange(0, 2);

void fieldBackIcu(benchmark::State& state)
{
    const std::vector<zwchar> w = wideText(static_cast<int>(state.range(0)));
    char s[80];
    std::size_t i = 0;
    for (auto _ : state) {
        i = i == 996 ? 0 : i + 1;
        UErrorCode status = U_ZERO_ERROR;
        int32_t n = 0;
        u_strToUTF8WithSub(s, sizeof s, &n, w.data() + 23 * i, 20, 0xFFFD, nullptr, &status);
        benchmark::DoNotOptimize(n);
    }
    state.SetLabel(languages[state.range(0)]);
}
BENCHMARK(fieldBackIcu)->DenseRange(0, 2);
#endif

// --- case ---

void upperNarrowZtree(benchmark::State& state)
{
    std::string s = narrowText(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        platform::upperAnsi(&s[0], static_cast<int>(s.size()));
        benchmark::ClobberMemory();
    }
    finish(state, s.size());
}
BENCHMARK(upperNarrowZtree)->Arg(0)->Arg(3);

void upperWideZtree(benchmark::State& state)
{
    std::vector<zwchar> w = wideText(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        platform::upperWide(w.data(), static_cast<int>(w.size()));
        benchmark::ClobberMemory();
    }
    finish(state, 2 * w.size(), languages[state.range(0)]);
}
BENCHMARK(upperWideZtree)->DenseRange(0, 4);

#if BENCH_QTCORE
void upperNarrowQt(benchmark::State& state)
{
    const std::string s = narrowText(static_cast<int>(state.range(0)));
    const QByteArray source(s.data(), static_cast<int>(s.size()));
    for (auto _ : state) {
        const QByteArray upper = source.toUpper();
        benchmark::DoNotOptimize(upper.constData());
    }
    finish(state, s.size());
}
BENCHMARK(upperNarrowQt)->Arg(0)->Arg(3);

void upperWideQt(benchmark::State& state)
{
    const std::string& s = text(static_cast<int>(state.range(0)));
    const QString source = QString::fromUtf8(s.data(), static_cast<int>(s.size()));
    for (auto _ : state) {
        const QString upper = source.toUpper();
        benchmark::DoNotOptimize(upper.constData());
    }
    finish(state, 2 * static_cast<std::size_t>(source.size()), languages[state.range(0)]);
}
BENCHMARK(upperWideQt)->DenseRange(0, 2);
#endif

} // namespace
