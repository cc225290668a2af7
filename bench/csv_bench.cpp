// 1,000,000 lines of {number, amount, date, 20 characters} to structures and back: the chunked reader and
// writer and csvBuffer, beside a loop over from_chars and to_chars and packaged readers. Bytes are those of
// the file, which is in memory for all of them.

#include <benchmark/benchmark.h>
#include <ztree/ext/csv.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#if BENCH_BOOST
#include <boost/tokenizer.hpp>
#endif
#if __has_include(<libfccp/csv.h>)
#pragma GCC diagnostic ignored "-Wstringop-truncation" // in its functions
#define CSV_IO_NO_THREAD 1
#include <libfccp/csv.h>
#define BENCH_FCCP 1
#endif
#if BENCH_FMT
#define FMT_HEADER_ONLY 1
#include <fmt/format.h>
#endif

namespace {

using namespace varnik::ztree;

struct Record {
    int number;
    zulong date;
    double amount;
    char name[21];
};

bool operator==(const Record& a, const Record& b)
{
    return a.number == b.number && a.date == b.date && std::fabs(a.amount - b.amount) < 1e-9 &&
           std::strcmp(a.name, b.name) == 0;
}

constexpr int count = 1'000'000;

// "1234567;89012.34;29.02.2000;abcdefghijklmnopqrst\n"
const std::vector<Record>& records()
{
    static const std::vector<Record> all = [] {
        std::vector<Record> out(count);
        unsigned state = 1;
        const auto below = [&state](unsigned n) {
            state = state * 1664525 + 1013904223;
            return (state >> 8) % n;
        };
        for (Record& r : out) {
            std::memset(&r, 0, sizeof r);
            r.number = static_cast<int>(below(10'000'000));
            r.amount = (static_cast<double>(below(100'000)) * 100 + below(100)) / 100;
            r.date = (1950 + below(100)) * 10000 + (1 + below(12)) * 100 + 1 + below(28);
            for (unsigned i = 0; i < 20; ++i)
                r.name[i] = static_cast<char>('a' + below(26));
        }
        return out;
    }();
    return all;
}

void settings(csvBuffer& buffer, unsigned short dialect)
{
    const unsigned short order[] = {101, 102, 103, 104};
    buffer.setParameter(csvParamDialect, dialect);
    buffer.setParameter(csvParamLineEnd, 1);
    buffer.setParameter(csvParamDateFormat, 2);
    buffer.buildLocalFormat();
    buffer.setFieldOrder(order, 4);
    buffer.addFieldDefinition(ztree::fieldAt<csvInt>(101, offsetof(Record, number)));
    buffer.addFieldDefinition(ztree::fieldAt<csvAmount>(102, offsetof(Record, amount), 2 | csvFlagRaw));
    buffer.addFieldDefinition(ztree::fieldAt<csvDate>(103, offsetof(Record, date)));
    buffer.addFieldDefinition(ztree::fieldAt<csvField>(104, offsetof(Record, name), 21, csvFlagTerminated));
}

struct Settings : csvBuffer {
    explicit Settings(unsigned short dialect) { settings(*this, dialect); }
};

unsigned appendTo(void* out, const char* data, std::size_t bytes)
{
    static_cast<std::string*>(out)->append(data, bytes);
    return 0;
}

// --- ways to write ---

void byWriter(const std::vector<Record>& from, std::string& out)
{
    static const Settings buffer(csvDialectRfc);
    ztree::CsvWriter writer(buffer);
    writer.open(&appendTo, &out);
    for (const Record& r : from)
        writer.write(&r);
    writer.finish();
}

void byCreateLine(const std::vector<Record>& from, std::string& out)
{
    static Settings buffer(csvDialectLines);
    ZString line;
    for (const Record& r : from) {
        buffer.createLine(line, &r);
        out.append(line.getBuffer(), static_cast<std::size_t>(line.length()));
    }
}

char* putNumber(char* at, unsigned value, int width)
{
    for (int i = width; i-- > 0; value /= 10)
        at[i] = static_cast<char>('0' + value % 10);
    return at + width;
}

void byToChars(const std::vector<Record>& from, std::string& out)
{
    char line[128];
    for (const Record& r : from) {
        char* at = std::to_chars(line, line + 16, r.number).ptr;
        *at++ = ';';
        const auto cents = static_cast<long>(r.amount * 100 + 0.5);
        at = std::to_chars(at, at + 24, cents / 100).ptr;
        *at++ = '.';
        at = putNumber(at, static_cast<unsigned>(cents % 100), 2);
        *at++ = ';';
        at = putNumber(at, r.date % 100, 2);
        *at++ = '.';
        at = putNumber(at, r.date / 100 % 100, 2);
        *at++ = '.';
        at = putNumber(at, r.date / 10000, 4);
        *at++ = ';';
        const std::size_t n = std::strlen(r.name);
        std::memcpy(at, r.name, n);
        at += n;
        *at++ = '\n';
        out.append(line, static_cast<std::size_t>(at - line));
    }
}

void bySnprintf(const std::vector<Record>& from, std::string& out)
{
    char line[128];
    for (const Record& r : from) {
        const int n = std::snprintf(line, sizeof line, "%d;%.2f;%02u.%02u.%04u;%s\n", r.number, r.amount,
                                    r.date % 100, r.date / 100 % 100, r.date / 10000, r.name);
        out.append(line, static_cast<std::size_t>(n));
    }
}

#if BENCH_FMT
void byFmt(const std::vector<Record>& from, std::string& out)
{
    fmt::memory_buffer line;
    for (const Record& r : from) {
        line.clear();
        fmt::format_to(std::back_inserter(line), FMT_STRING("{};{:.2f};{:02}.{:02}.{:04};{}\n"), r.number,
                       r.amount, r.date % 100, r.date / 100 % 100, r.date / 10000, r.name);
        out.append(line.data(), line.size());
    }
}
#endif

const std::string& text()
{
    static const std::string all = [] {
        std::string out;
        byToChars(records(), out);
        return out;
    }();
    return all;
}

// --- ways to read ---

template <class Take> void byReader(const std::string& from, Take take)
{
    static const Settings buffer(csvDialectRfc);
    ztree::CsvReader reader(buffer);
    reader.openText(from);
    Record r = {};
    while (reader.read(&r) > 0)
        take(r);
}

template <class Take> void byReaderOfLines(const std::string& from, Take take)
{
    static const Settings buffer(csvDialectLines);
    ztree::CsvReader reader(buffer);
    reader.openText(from);
    Record r = {};
    while (reader.read(&r) > 0)
        take(r);
}

template <class Take> void byScanLine(const std::string& from, Take take)
{
    static Settings buffer(csvDialectLines);
    Record r = {};
    buffer.setData(from.data(), static_cast<int>(from.size()), 65001);
    while (buffer.hasMoreLines()) {
        buffer.scanLine(&r);
        take(r);
    }
}

unsigned dateOf(const char* at)
{
    unsigned day = 0, month = 0, year = 0;
    std::from_chars(at, at + 2, day);
    std::from_chars(at + 3, at + 5, month);
    std::from_chars(at + 6, at + 10, year);
    return year * 10000 + month * 100 + day;
}

void setName(Record& r, const char* at, std::size_t n)
{
    n = std::min<std::size_t>(n, 20);
    std::memcpy(r.name, at, n);
    std::memset(r.name + n, 0, sizeof r.name - n);
}

template <class Take> void byFromChars(const std::string& from, Take take)
{
    const char* at = from.data();
    const char* const end = at + from.size();
    Record r = {};
    while (at != end) {
        at = std::from_chars(at, end, r.number).ptr + 1;
        long whole = 0, cents = 0;
        at = std::from_chars(at, end, whole).ptr + 1;
        at = std::from_chars(at, end, cents).ptr + 1;
        r.amount = static_cast<double>(whole * 100 + cents) / 100;
        r.date = dateOf(at);
        at += 11;
        const char* line =
            static_cast<const char*>(std::memchr(at, '\n', static_cast<std::size_t>(end - at)));
        setName(r, at, static_cast<std::size_t>(line - at));
        at = line + 1;
        take(r);
    }
}

// The columns of a line as terminated texts.
void convert(Record& r, const char* number, const char* amount, const char* date, const char* name)
{
    r.number = std::atoi(number);
    const char* const end = amount + std::strlen(amount);
    std::from_chars(amount, end, r.amount);
    r.date = dateOf(date);
    setName(r, name, std::strlen(name));
}

#if BENCH_FCCP
template <class Take> void byFccp(const std::string& from, Take take)
{
    io::CSVReader<4, io::trim_chars<>, io::no_quote_escape<';'>> in("text", from.data(),
                                                                    from.data() + from.size());
    const char *number = "", *amount = "", *date = "", *name = "";
    Record r = {};
    while (in.read_row(number, amount, date, name)) {
        convert(r, number, amount, date, name);
        take(r);
    }
}
#endif

#if BENCH_BOOST
template <class Take> void byBoost(const std::string& from, Take take)
{
    using Separator = boost::escaped_list_separator<char>;
    Record r = {};
    for (std::size_t at = 0; at < from.size();) {
        const std::size_t end = from.find('\n', at);
        const auto first = from.begin() + static_cast<std::ptrdiff_t>(at);
        const auto last = from.begin() + static_cast<std::ptrdiff_t>(end);
        const boost::tokenizer<Separator, std::string::const_iterator> columns(first, last,
                                                                               Separator('\\', ';', '"'));
        std::string texts[4];
        int i = 0;
        for (const std::string& column : columns)
            texts[i++] = column;
        convert(r, texts[0].c_str(), texts[1].c_str(), texts[2].c_str(), texts[3].c_str());
        take(r);
        at = end + 1;
    }
}
#endif

// Everybody has to come to the same records before the clock runs.
template <class Read> void readAll(benchmark::State& state, Read read)
{
    std::size_t n = 0;
    bool same = true;
    read(text(), [&](const Record& r) { same &= n < records().size() && r == records()[n++]; });
    if (!same || n != records().size()) {
        state.SkipWithError("other records");
        return;
    }
    for (auto _ : state)
        read(text(), [](const Record& r) { benchmark::DoNotOptimize(&r); });
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text().size()));
}

template <class Write> void writeAll(benchmark::State& state, Write write)
{
    std::string out;
    out.reserve(text().size() + 1024);
    write(records(), out);
    if (out != text()) {
        state.SkipWithError("another text");
        return;
    }
    for (auto _ : state) {
        out.clear();
        write(records(), out);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text().size()));
}

#define READ(name)                                                                                           \
    BENCHMARK_CAPTURE(csvRead, name, [](benchmark::State& state) {                                           \
        readAll(state, [](const auto& from, auto take) { name(from, take); });                               \
    })->Unit(benchmark::kMillisecond)
#define WRITE(name)                                                                                          \
    BENCHMARK_CAPTURE(csvWrite, name, [](benchmark::State& state) {                                          \
        writeAll(state, &name);                                                                              \
    })->Unit(benchmark::kMillisecond)

template <class Run> void csvRead(benchmark::State& state, Run run)
{
    run(state);
}
template <class Run> void csvWrite(benchmark::State& state, Run run)
{
    run(state);
}

READ(byReader);
READ(byReaderOfLines);
READ(byScanLine);
READ(byFromChars);
#if BENCH_FCCP
READ(byFccp);
#endif
#if BENCH_BOOST
READ(byBoost);
#endif
WRITE(byWriter);
WRITE(byCreateLine);
WRITE(byToChars);
WRITE(bySnprintf);
#if BENCH_FMT
WRITE(byFmt);
#endif

} // namespace
