// Dates and times, amounts, words, delimited text.

#include "crosstarget/calls.h"

#include <ztree/csv.h>
#include <ztree/ext/csv.h>
#include <ztree/ext/datetime.h>

#include <cstddef>

namespace crosstarget {
namespace {

using namespace varnik::ztree;

const std::string_view digits[] = {"1", "2", "0", "31", "12",  "1999",        "2024", ".", ":",
                                   "/", ",", "-", " ",  "May", "m\xC3\xA4rz", "9",    "+", "x"};
const std::string_view lines[] = {";",       ";",    ",",        ",",          "\t", "\"", "\"\"",       "\n",
                                  "\r\n",    "12",   "1.5",      "31/12/1999", "x",  "\\", "%2C",        " ",
                                  "1,234.5", "7:30", "\xC3\xA4", "abc",        "AF", "-9", "99999999999"};

tagLocalFmt randomFormat(Random& r)
{
    static const std::string_view pieces[] = {"HH",  "MM", "SS", "DD", "YYYY", "YY",
                                              "NNN", "N",  ".",  "m",  ":"};
    static const zwchar* const names[] = {ZTEXT("Januar"), ZTEXT("M\u00E4rz"), ZTEXT(""), nullptr, nullptr};
    static const char separators[] = {'.', ',', ':', '/', ' ', '\0'};
    tagLocalFmt fmt;
    if (r.oneIn(2))
        r.text(pieces, 5).copy(fmt.szTimeFmt, sizeof fmt.szTimeFmt);
    if (r.oneIn(2))
        r.text(pieces, 6).copy(fmt.szDateFmt, sizeof fmt.szDateFmt);
    for (char* separator : {&fmt.cDecimal, &fmt.cThousand, &fmt.cTimeSep, &fmt.cDateSep})
        *separator = r.pick(separators);
    for (const zwchar*& name : fmt.apwMonth)
        name = r.pick(names);
    return fmt;
}

void dates(Calls& c, Random& r)
{
    const tagLocalFmt record = randomFormat(r);
    const tagLocalFmt* const fmt = r.oneIn(4) ? nullptr : &record;
    const std::string text = r.text(digits, 7);
    const Wide wide = widened(text);
    const auto date =
        static_cast<unsigned long>(r.oneIn(4) ? r.below(100000000) : 19000101 + r.below(1500000));
    const auto time = date % (r.oneIn(4) ? 1000000 : 240000);
    const auto size = static_cast<unsigned short>(r.below(ztree::roomDateWide));
    const bool four = r.oneIn(2);
    char s[ztree::roomDate] = {}, name[ztree::roomMonthName] = {};
    zwchar w[ztree::roomDate] = {};
    unsigned long value = 7;
    unsigned short x = 1, y = 2, z = 3;
    Call{c, "picture", std::string_view(record.szDateFmt, 20), std::string_view(record.szTimeFmt, 10),
         fmt != nullptr};
    Call{c, "splitDate", date, splitDate(date, &x, &y, &z, four), x, y, z};
    Call{c, "initDate", initDate(&value, x, y, z), value};
    Call{c, "splitTime", time, splitTime(time, &x, &y, &z), x, y, z};
    Call{c, "initTime", initTime(&value, x, y, size), value};
    Call{c, "dateUlong", text, dateUlong(text.c_str(), &value), value};
    Call{c, "timeUlong", timeUlong(text.c_str(), &value), value};
    Call{c, "ulongDate", size, ulongDateEx(date, s, size, four), std::string_view(s, sizeof s)};
    Call{c, "ulongTime", size, ulongTimeEx(time, s, size), std::string_view(s, sizeof s)};
    Call{c, "dString", dStringUlong(text.c_str(), &value, fmt), value};
    Call{c, "dStringW", dStringWUlong(wide.c_str(), &value, fmt), value};
    Call{c, "tString", tStringUlong(text.c_str(), &value, fmt), value};
    Call{c, "tStringW", tStringWUlong(wide.c_str(), &value, fmt), value};
    Call{c, "ulongD", ulongDString(date, s, fmt), s, ulongDStringW(date, w, fmt), w};
    Call{c, "ulongT", ulongTString(time, s, fmt), s, ulongTStringW(time, w, fmt), w};
    Call{c, "dateD", dateDString(text.c_str(), s, fmt), s, dateDStringW(text.c_str(), w, fmt), w};
    Call{c, "timeT", timeTString(text.c_str(), s, fmt), s};
    Call{c, "tTime", tStringTime(text.c_str(), s, fmt), s};
    Call{c, "dDate", dStringDate(text.c_str(), s, four, fmt), s};
    Call{c, "dDateW", dStringWDate(wide.c_str(), s, four, fmt), s};
    Call{c, "month", getMonthName(size, fmt, name), getMonthNameW(size, fmt)};
    const ZXDate day(date);
    const ZTime minutes(static_cast<unsigned short>(date % 1500));
    Call{c, "ZXDate", day.get(), day.toString(s, size, fmt), std::string_view(s, sizeof s)};
    Call{c, "ZTime", minutes.toMcoTime(), minutes.toWString(w, size, fmt), ztree::WideView(w, 20)};
    Call{c, "iso", ztree::isoDateTime(date, time), ztree::parseIsoDate(text).has_value()};
}

void amounts(Calls& c, Random& r)
{
    static const std::string_view pieces[] = {"1", "05", "999", ".", ",", "-", " ", "0", "12345678", "x"};
    const tagLocalFmt record = randomFormat(r);
    const tagLocalFmt* const fmt = r.oneIn(4) ? nullptr : &record;
    const std::string text = r.text(pieces, 6);
    const int length = r.between(-1, static_cast<int>(text.size())), width = r.below(20);
    const bool group = r.oneIn(2);
    const char n = static_cast<char>(r.between(-1, 9));
    const double value = r.real(), other = r.real();
    char s[ztree::roomDoubleTextEx] = {};
    double parsed = 0;
    Call{c, "amountA", text, length, amountAString(text.c_str(), s, length, group, fmt), s};
    Call{c, "amountAEx", n, amountAStringEx(text.c_str(), s, length, group, fmt, n), s};
    Call{c, "aAmount", width, aStringAmount(text.c_str(), s, width, fmt), std::string_view(s, 24)};
    Call{c, "aAmountEx", aStringAmountEx(text.c_str(), s, width, fmt, n), std::string_view(s, 24)};
    Call{c, "amountDouble", amountDouble(text.c_str(), length, &parsed), parsed};
    Call{c, "aDouble", aStringDouble(text.c_str(), &parsed, fmt), parsed};
    Call{c, "aDoubleEx", aStringDoubleEx(text.c_str(), &parsed, fmt, n), parsed};
    Call{c, "doubleAmount", value, doubleAmount(value, s), s};
    Call{c, "doubleAmountEx", doubleAmountEx(value, s, n), s};
    Call{c, "doubleA", doubleAString(value, s, group, fmt), s};
    Call{c, "doubleAEx", doubleAStringEx(value, s, group, fmt, n), s};
    Call{c,
         "fix",
         doubleFix(value),
         doubleFixEx(value, n),
         doubleAdd(value, other),
         doubleAddEx(value, other, n)};
    Call{c, "modern", ztree::roundDecimal(value, n), ztree::amountString(value, group, fmt, n)};
}

void words(Calls& c, Random& r)
{
    static const char* const languages[] = {"EN", "de", "RU", "xx"};
    static const char* const currencies[] = {"RUB", "usd", "EUR", "KZT", "\xE2\x82\xAC", ""};
    const double value = r.oneIn(3) ? r.real() : r.number() / 100.0;
    const char* const currency = r.pick(currencies);
    const char* const language = r.pick(languages);
    unsigned flags = static_cast<unsigned>(r.below(4));
    if (r.oneIn(2))
        flags |= ztree::wordsModern;
    const int size = r.below(60);
    ZStringW out;
    zwchar w[60] = {};
    Call{c,
         "words",
         value,
         currency,
         language,
         flags,
         doubleAmountInWords(value, currency, language, flags, out),
         out};
    Call{c, "cut", size, doubleAmountInWords(value, currency, language, flags, w, size),
         ztree::WideView(w, 60)};
}

void settings(Random& r, csvBuffer& buffer)
{
    static const unsigned short most[] = {14, 1, 4, 4, 1, 2, 1, 3, 2, 3};
    static const unsigned short separators[] = {';', ',', '\t', '|', 'A', '"'};
    for (unsigned p = 0; p < std::size(most); ++p)
        buffer.setParameter(static_cast<csvParameter>(p), static_cast<unsigned short>(r.below(most[p])));
    buffer.setParameter(csvParamSeparator, r.pick(separators));
    buffer.setParameter(csvParamCodepage, r.oneIn(3) ? 1252 : 65001);
    buffer.buildLocalFormat();
}

template <class Value> struct Columns {
    template <class Field, class... Size>
    static void one(Calls& c, const csvBuffer& buffer, const std::string& text, unsigned long flags,
                    Size... size)
    {
        Value value[12] = {};
        Field field(100, static_cast<Value*>(value), size..., flags);
        field.setParent(&buffer);
        ZStringW out;
        Call{c, "write", field.write(ztree::wide(text)),
             std::string_view(reinterpret_cast<char*>(value), sizeof value)};
        Call{c, "read", field.read(out), out};
    }
    template <class... Fields>
    static void all(Calls& c, const csvBuffer& buffer, const std::string& text, unsigned long flags)
    {
        (one<Fields>(c, buffer, text, flags), ...);
    }
};

void csvFields(Calls& c, Random& r)
{
    static const unsigned long bits[] = {
        0,         csvFlagTerminated, csvFlagPadBlank, csvFlagPadZero, csvFlagAlignRight, csvFlagAmountPlain,
        csvFlagRaw};
    csvBuffer buffer;
    settings(r, buffer);
    const std::string text = r.oneIn(2) ? r.text(digits, 6) : r.text(lines, 3);
    unsigned long flags = r.pick(bits);
    flags |= r.pick(bits);
    const auto size = static_cast<unsigned>(r.between(1, 12));
    Call{c, "text", text, flags, size};
    Columns<char>::one<csvField>(c, buffer, text, flags, size);
    Columns<zwchar>::one<csvWideChar>(c, buffer, text, flags, size);
    Columns<unsigned char>::one<csvPacked>(c, buffer, text, flags, size);
    Columns<char>::all<csvChar>(c, buffer, text, flags);
    Columns<unsigned char>::all<csvByte>(c, buffer, text, flags);
    Columns<short>::all<csvShort, csvZTime>(c, buffer, text, flags);
    Columns<unsigned short>::all<csvUshort, csvXDate>(c, buffer, text, flags);
    Columns<int>::all<csvInt>(c, buffer, text, flags);
    Columns<unsigned>::all<csvUint>(c, buffer, text, flags);
    Columns<zlong>::all<csvLong>(c, buffer, text, flags);
    Columns<zulong>::all<csvUlong, csvDate, csvTime>(c, buffer, text, flags);
    Columns<double>::all<csvDouble, csvAmount>(c, buffer, text, flags);
}

struct Record {
    double amount;
    int number;
    zulong date;
    char name[12];
    zwchar wide[6];
    short minutes;
};
static_assert(offsetof(Record, minutes) == 40,
              "no gap in front of a member, so that the bytes are comparable");

void define(csvBuffer& buffer)
{
    static const unsigned short order[] = {101, 102, 103, 104, 105, 106};
    buffer.setFieldOrder(order, 6);
    buffer.addFieldDefinition(ztree::fieldAt<csvInt>(101, offsetof(Record, number)));
    buffer.addFieldDefinition(ztree::fieldAt<csvAmount>(102, offsetof(Record, amount), 2 | csvFlagRaw));
    buffer.addFieldDefinition(ztree::fieldAt<csvDate>(103, offsetof(Record, date)));
    buffer.addFieldDefinition(ztree::fieldAt<csvField>(104, offsetof(Record, name), 12, csvFlagTerminated));
    buffer.addFieldDefinition(ztree::fieldAt<csvWideChar>(105, offsetof(Record, wide), 6, csvFlagPadBlank));
    buffer.addFieldDefinition(ztree::fieldAt<csvZTime>(106, offsetof(Record, minutes)));
}
std::string_view bytesOf(const Record& record)
{
    return {reinterpret_cast<const char*>(&record), 42};
}

void csvBuffers(Calls& c, Random& r)
{
    csvBuffer buffer;
    settings(r, buffer);
    const std::string text = r.text(lines, 40);
    define(buffer);
    Record record = {};
    ZString line;
    Call{c, "data", text,
         buffer.setData(text.data(), static_cast<int>(text.size()), text.size() & 1 ? 1252 : 65001)};
    while (buffer.hasMoreLines()) {
        Call{c, "scan", buffer.scanLine(&record), bytesOf(record)};
        while (buffer.hasMoreFields()) {
            ZStringW column;
            Call{c, "column", buffer.scanField(nullptr, column), column};
        }
        Call{c, "line", buffer.createLine(line, &record), line};
    }
}

void csvStreams(Calls& c, Random& r)
{
    csvBuffer buffer;
    settings(r, buffer);
    const std::string text = r.text(lines, 60);
    define(buffer);
    ztree::CsvReader reader(buffer);
    ztree::CsvWriter writer(buffer);
    reader.setPiece(static_cast<std::size_t>(16 + r.below(40)));
    auto tell = [&c](const ztree::CsvError& e) {
        Call{c, "bad", e.line, e.column, e.offset, e.reason, e.id, e.text, e.name};
        return true;
    };
    reader.onError(tell);
    std::string file;
    const auto sink = [](void* to, const char* data, std::size_t n) -> unsigned {
        return static_cast<std::string*>(to)->append(data, n), 0;
    };
    Call{c, "open", text, reader.openText(text), writer.open(sink, &file)};
    if (r.oneIn(4))
        Call{c, "header", reader.readHeader(), reader.names()};
    Record record = {};
    while (reader.read(&record) > 0) {
        Call{
            c, "record", bytesOf(record), reader.line(), reader.offset(), reader.columns(), reader.column(1)};
        const std::string_view texts[] = {reader.column(0), reader.column(1), "a;b\"c,d"};
        Call{c, "write", writer.write(&record)};
        Call{c, "write", writer.writeTexts(texts, 3)};
    }
    const int finished = writer.finish();
    Call{c, "finish", finished, file};
}

} // namespace

const std::vector<Group> dataGroups = {{"dates", &dates, 700},           {"amounts", &amounts, 900},
                                       {"words", &words, 1500},          {"csvFields", &csvFields, 350},
                                       {"csvBuffers", &csvBuffers, 700}, {"csvStreams", &csvStreams, 300}};

} // namespace crosstarget
