// Dates, amounts and words beside the C library, {fmt} and ICU. Times are per value; each loop goes through
// 4,096 values, so that no branch is learnt by heart.

#include <benchmark/benchmark.h>
#include <ztree/datetime.h>
#include <ztree/text.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#if BENCH_FMT
#define FMT_HEADER_ONLY 1
#include <fmt/format.h>
#endif
#if BENCH_ICU
#include <unicode/unum.h>
#include <unicode/ustring.h>
#endif

namespace {

constexpr std::size_t count = 4096;

template <class T> using Values = std::array<T, count>;

std::uint64_t nextRandom()
{
    static std::uint64_t state = 88172645463325252u;
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    return state * 0x2545F4914F6CDD1Du >> 11;
}

// Calls `act` with one value after the other.
template <class T, class Act> void run(benchmark::State& state, const Values<T>& values, Act act)
{
    std::size_t i = 0;
    for (auto _ : state) {
        act(values[i]);
        i = (i + 1) % count;
    }
}

const Values<unsigned long>& dates()
{
    static const Values<unsigned long> values = [] {
        Values<unsigned long> v;
        for (auto& date : v)
            date =
                (1950 + nextRandom() % 120) * 10000 + (1 + nextRandom() % 12) * 100 + 1 + nextRandom() % 28;
        return v;
    }();
    return values;
}

const Values<unsigned long>& times()
{
    static const Values<unsigned long> values = [] {
        Values<unsigned long> v;
        for (auto& time : v)
            time = nextRandom() % 24 * 10000 + nextRandom() % 60 * 100 + nextRandom() % 60;
        return v;
    }();
    return values;
}

// Whole cents of up to ten million.
const Values<double>& amounts()
{
    static const Values<double> values = [] {
        Values<double> v;
        for (auto& amount : v)
            amount = static_cast<double>(nextRandom() >> (13 + nextRandom() % 20)) / 100;
        return v;
    }();
    return values;
}

Values<std::string> texts(int (*write)(std::size_t, char*))
{
    Values<std::string> result;
    for (std::size_t i = 0; i < count; ++i) {
        char text[64];
        result[i].assign(text, static_cast<std::size_t>(write(i, text)));
    }
    return result;
}

const Values<std::string>& dateTexts()
{
    static const auto values =
        texts([](std::size_t i, char* text) { return ulongDString(dates()[i], text, nullptr); });
    return values;
}
const Values<std::string>& timeTexts()
{
    static const auto values =
        texts([](std::size_t i, char* text) { return ulongTString(times()[i], text, nullptr); });
    return values;
}
const Values<std::string>& amountTexts() // "1.234,56"
{
    static const auto values =
        texts([](std::size_t i, char* text) { return doubleAString(amounts()[i], text, true, nullptr); });
    return values;
}
const Values<std::string>& plainTexts() // "1234.56"
{
    static const auto values =
        texts([](std::size_t i, char* text) { return std::snprintf(text, 40, "%.2f", amounts()[i]); });
    return values;
}

std::tm brokenDown(unsigned long date)
{
    std::tm t{};
    t.tm_mday = static_cast<int>(date % 100);
    t.tm_mon = static_cast<int>(date / 100 % 100) - 1;
    t.tm_year = static_cast<int>(date / 10000) - 1900;
    return t;
}

// --- dates and times ---

void dateToText(benchmark::State& state)
{
    char text[ztree::roomDate];
    run(state, dates(), [&](unsigned long date) {
        ulongDString(date, text, nullptr);
        benchmark::DoNotOptimize(text);
    });
}
BENCHMARK(dateToText)->Name("date/toText/ztree");
void dateToWideText(benchmark::State& state)
{
    zwchar text[ztree::roomDateWide];
    run(state, dates(), [&](unsigned long date) {
        ulongDStringW(date, text, nullptr);
        benchmark::DoNotOptimize(text);
    });
}
BENCHMARK(dateToWideText)->Name("date/toText/ztreeWide");
void dateNamed(benchmark::State& state)
{
    tagLocalFmt fmt;
    std::memcpy(fmt.szDateFmt, "DDNNNYY", 8);
    char text[ztree::roomDate];
    run(state, dates(), [&](unsigned long date) {
        ulongDString(date, text, &fmt);
        benchmark::DoNotOptimize(text);
    });
}
BENCHMARK(dateNamed)->Name("date/toText/ztreeMonthName");
void dateStrftime(benchmark::State& state)
{
    char text[32];
    run(state, dates(), [&](unsigned long date) {
        const std::tm t = brokenDown(date);
        std::strftime(text, sizeof text, "%d.%m.%Y", &t);
        benchmark::DoNotOptimize(text);
    });
}
BENCHMARK(dateStrftime)->Name("date/toText/strftime");
void dateSnprintf(benchmark::State& state)
{
    char text[32];
    run(state, dates(), [&](unsigned long date) {
        std::snprintf(text, sizeof text, "%02lu.%02lu.%04lu", date % 100, date / 100 % 100, date / 10000);
        benchmark::DoNotOptimize(text);
    });
}
BENCHMARK(dateSnprintf)->Name("date/toText/snprintf");
#if BENCH_FMT
void dateFmt(benchmark::State& state)
{
    char text[32];
    run(state, dates(), [&](unsigned long date) {
        *fmt::format_to(text, "{:02}.{:02}.{:04}", date % 100, date / 100 % 100, date / 10000) = 0;
        benchmark::DoNotOptimize(text);
    });
}
BENCHMARK(dateFmt)->Name("date/toText/fmt");
#endif

void dateFromText(benchmark::State& state)
{
    unsigned long date;
    run(state, dateTexts(), [&](const std::string& text) {
        dStringUlong(text.c_str(), &date, nullptr);
        benchmark::DoNotOptimize(date);
    });
}
BENCHMARK(dateFromText)->Name("date/fromText/ztree");
void dateStrptime(benchmark::State& state)
{
    std::tm t{};
    run(state, dateTexts(), [&](const std::string& text) {
        strptime(text.c_str(), "%d.%m.%Y", &t);
        benchmark::DoNotOptimize(t);
    });
}
BENCHMARK(dateStrptime)->Name("date/fromText/strptime");
void dateFromChars(benchmark::State& state)
{
    unsigned long date;
    run(state, dateTexts(), [&](const std::string& text) {
        unsigned d = 0, m = 0, y = 0;
        const char* end = text.data() + text.size();
        const char* at = std::from_chars(text.data(), end, d).ptr;
        at = std::from_chars(at + 1, end, m).ptr;
        std::from_chars(at + 1, end, y);
        date = y * 10000ul + m * 100ul + d;
        benchmark::DoNotOptimize(date);
    });
}
BENCHMARK(dateFromChars)->Name("date/fromText/from_chars");

void timeToText(benchmark::State& state)
{
    char text[ztree::roomTime];
    run(state, times(), [&](unsigned long time) {
        ulongTString(time, text, nullptr);
        benchmark::DoNotOptimize(text);
    });
}
BENCHMARK(timeToText)->Name("time/toText/ztree");
void timeFromText(benchmark::State& state)
{
    unsigned long time;
    run(state, timeTexts(), [&](const std::string& text) {
        tStringUlong(text.c_str(), &time, nullptr);
        benchmark::DoNotOptimize(time);
    });
}
BENCHMARK(timeFromText)->Name("time/fromText/ztree");

void dayNumberToDate(benchmark::State& state)
{
    run(state, dates(),
        [&](unsigned long date) { benchmark::DoNotOptimize(ZXDate(static_cast<unsigned short>(date))); });
}
BENCHMARK(dayNumberToDate)->Name("date/fromDayNumber/ztree");

// --- amounts ---

template <class Write> void amountToText(benchmark::State& state, Write write)
{
    char text[ztree::roomDoubleTextEx];
    run(state, amounts(), [&](double amount) {
        write(amount, text);
        benchmark::DoNotOptimize(text);
    });
}
BENCHMARK_CAPTURE(amountToText, ztree, [](double v, char* text) {
    doubleAString(v, text, true, nullptr);
})->Name("amount/toText/ztree");
BENCHMARK_CAPTURE(amountToText, ztreeEx, [](double v, char* text) {
    doubleAStringEx(v, text, true, nullptr, 2);
})->Name("amount/toText/ztreeEx");
BENCHMARK_CAPTURE(amountToText, ztreeStorage, [](double v, char* text) {
    doubleAmount(v, text);
})->Name("amount/toText/ztreeStorage");
BENCHMARK_CAPTURE(amountToText, snprintf, [](double v, char* text) {
    std::snprintf(text, 40, "%.2f", v);
})->Name("amount/toText/snprintf");

// Behind a text without groups: separators in its integer part.
void groupDigits(const char* from, const char* end, char* out)
{
    const char* point = end - 3;
    for (; from != point; ++from) {
        *out++ = *from;
        if ((point - from) % 3 == 1 && from + 1 != point)
            *out++ = '.';
    }
    *out++ = ',';
    out[0] = end[-2];
    out[1] = end[-1];
    out[2] = 0;
}
BENCHMARK_CAPTURE(amountToText, to_chars, [](double v, char* text) {
    char digits[40];
    groupDigits(digits, std::to_chars(digits, digits + 40, v, std::chars_format::fixed, 2).ptr, text);
})->Name("amount/toText/to_charsAndGrouping");
#if BENCH_FMT
BENCHMARK_CAPTURE(amountToText, fmt, [](double v, char* text) {
    *fmt::format_to(text, "{:.2f}", v) = 0;
})->Name("amount/toText/fmt");
#endif

template <class Read>
void amountFromText(benchmark::State& state, const Values<std::string>& values, Read read)
{
    run(state, values, [&](const std::string& text) { benchmark::DoNotOptimize(read(text)); });
}
BENCHMARK_CAPTURE(amountFromText, ztree, amountTexts(), [](const std::string& text) {
    double v;
    aStringDouble(text.c_str(), &v, nullptr);
    return v;
})->Name("amount/fromText/ztree");
BENCHMARK_CAPTURE(amountFromText, ztreeEx, amountTexts(), [](const std::string& text) {
    double v;
    aStringDoubleEx(text.c_str(), &v, nullptr, 2);
    return v;
})->Name("amount/fromText/ztreeEx");
BENCHMARK_CAPTURE(amountFromText, strtod, plainTexts(), [](const std::string& text) {
    return std::strtod(text.c_str(), nullptr);
})->Name("amount/fromText/strtod");
BENCHMARK_CAPTURE(amountFromText, from_chars, plainTexts(), [](const std::string& text) {
    double v = 0;
    std::from_chars(text.data(), text.data() + text.size(), v);
    return v;
})->Name("amount/fromText/from_chars");

template <class Round> void rounding(benchmark::State& state, Round round)
{
    run(state, amounts(), [&](double amount) { benchmark::DoNotOptimize(round(amount + 0.001)); });
}
BENCHMARK_CAPTURE(rounding, ztree, [](double v) { return doubleFix(v); })->Name("amount/round/ztree");
BENCHMARK_CAPTURE(rounding, ztreeEx, [](double v) {
    return doubleFixEx(v, 2);
})->Name("amount/round/ztreeEx");
BENCHMARK_CAPTURE(rounding, fmod, [](double v) {
    double r = std::fmod(v, 0.01);
    if (r >= 0.005)
        r -= 0.01;
    return v - r;
})->Name("amount/round/fmod");

// --- words ---

template <class Language> void wordsZtree(benchmark::State& state)
{
    Language language;
    ZStringW text;
    run(state, amounts(), [&](double amount) {
        language.getTextEx(amount, ZTEXT("EUR"), 0, text);
        benchmark::DoNotOptimize(text.getBuffer());
    });
}
BENCHMARK(wordsZtree<amtEnglish>)->Name("words/en/ztree");
BENCHMARK(wordsZtree<amtGerman>)->Name("words/de/ztree");
BENCHMARK(wordsZtree<amtRussian>)->Name("words/ru/ztree");

#if BENCH_ICU
void wordsIcu(benchmark::State& state, const char* locale)
{
    UErrorCode code = U_ZERO_ERROR;
    UNumberFormat* format = unum_open(UNUM_SPELLOUT, nullptr, 0, locale, nullptr, &code);
    UChar text[512];
    run(state, amounts(), [&](double amount) {
        // Both parts, as an amount has them.
        const double whole = std::floor(amount);
        int32_t n = unum_formatInt64(format, static_cast<int64_t>(whole), text, 400, nullptr, &code);
        n += unum_formatInt64(format, static_cast<int64_t>((amount - whole) * 100), text + n, 512 - n,
                              nullptr, &code);
        benchmark::DoNotOptimize(n);
    });
    unum_close(format);
}
BENCHMARK_CAPTURE(wordsIcu, en, "en")->Name("words/en/icu");
BENCHMARK_CAPTURE(wordsIcu, de, "de")->Name("words/de/icu");
BENCHMARK_CAPTURE(wordsIcu, ru, "ru")->Name("words/ru/icu");

// Not a time: how many whole numbers both spell alike, in today's wording, and the first that differ.
void agreement(benchmark::State& state, const char* locale)
{
    UErrorCode code = U_ZERO_ERROR;
    UNumberFormat* format = unum_open(UNUM_SPELLOUT, nullptr, 0, locale, nullptr, &code);
    double same = 0, all = 0, expected = 0;
    std::string differences;
    for (auto _ : state) {
        for (int i = 0; i < 100000; ++i) {
            // The first thousands in turn, then numbers of up to 18 digits.
            const auto n = static_cast<std::int64_t>(i < 20000 ? static_cast<std::uint64_t>(i) + 1
                                                               : nextRandom() % 1000000000000000000u >>
                                                                     nextRandom() % 50);
            if (n == 0 || static_cast<std::int64_t>(static_cast<double>(n)) != n)
                continue;
            UChar icu[512];
            const int32_t length = unum_formatInt64(format, n, icu, 512, nullptr, &code);
            std::u16string theirs(icu, icu + length);
            theirs.erase(std::remove(theirs.begin(), theirs.end(), u'\u00AD'), theirs.end()); // soft hyphens
            ZStringW text;
            doubleAmountInWords(static_cast<double>(n), "#", locale, ztree::wordsModern, text);
            const std::u16string ours(text.getBuffer(), text.getBuffer() + text.length() - 2); // " #"
            ++all;
            same += ours == theirs;
            // Known: "ein Euro" where a number that stands alone ends with "eins", and "einhunderteins
            // Millionen" for "einhunderteine Millionen".
            std::u16string known = ours;
            for (std::size_t at; (at = known.find(u"hunderteins ")) != known.npos;)
                known[at + 10] = u'e';
            if (ours != theirs && (known == theirs || known + u's' == theirs))
                ++expected;
            else if (ours != theirs && differences.size() < 400) {
                char utf8[2048];
                const std::u16string both = u" [" + ours + u" | " + theirs + u"]";
                u_strToUTF8(utf8, sizeof utf8, nullptr, both.c_str(), -1, &code);
                differences += utf8;
            }
        }
    }
    unum_close(format);
    state.counters["numbers"] = all;
    state.counters["alike"] = same;
    state.counters["known"] = expected;
    state.SetLabel(differences);
}
BENCHMARK_CAPTURE(agreement, en, "en")->Name("words/en/agreementWithIcu")->Iterations(1);
BENCHMARK_CAPTURE(agreement, de, "de")->Name("words/de/agreementWithIcu")->Iterations(1);
BENCHMARK_CAPTURE(agreement, ru, "ru")->Name("words/ru/agreementWithIcu")->Iterations(1);
#endif

} // namespace
