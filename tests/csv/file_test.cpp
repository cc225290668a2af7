// Files by RFC 4180: the rules, chunked reading, places of errors, headers, writing without half files.

#include "csv/support.h"
#include "support/heap_fixture.h"

#include <ztree/ext/csv.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <vector>

namespace {

using Rows = std::vector<std::vector<std::string>>;

/// A buffer with the dialect and separator of most files, and `count` columns of 15 characters.
struct Names {
    char column[6][16];
};
const unsigned short ids[] = {101, 102, 103, 104, 105, 106};

void define(csvBuffer& buffer, int count, unsigned short dialect = csvDialectRfc)
{
    buffer.setParameter(csvParamDialect, dialect);
    buffer.setParameter(csvParamSeparator, ',');
    buffer.setFieldOrder(ids, count);
    for (int i = 0; i < count; ++i)
        buffer.addFieldDefinition(
            ztree::fieldAt<csvField>(ids[i], static_cast<std::size_t>(i) * 16, 16, csvFlagTerminated));
}

/// Delivers a few bytes at a time.
struct Dribble {
    std::string_view left;
    std::size_t step;
    unsigned fault = 0; // once all was delivered

    static unsigned read(void* context, char* to, std::size_t room, std::size_t* got)
    {
        auto& d = *static_cast<Dribble*>(context);
        *got = d.left.copy(to, std::min(room, d.step));
        d.left.remove_prefix(*got);
        return *got ? 0 : d.fault;
    }
};

/// Reads with pieces of this size, from a source that gives `step` bytes a call.
Rows rowsOf(const std::string& text, std::size_t piece, const csvBuffer& settings,
            std::size_t step = SIZE_MAX)
{
    Dribble source = {text, step};
    ztree::CsvReader reader(settings);
    reader.setPiece(piece);
    EXPECT_EQ(reader.open(&Dribble::read, &source), 0);
    Rows rows;
    int result;
    while ((result = reader.readColumns()) > 0) {
        rows.emplace_back();
        for (int i = 0; i < reader.columns(); ++i)
            rows.back().emplace_back(reader.column(i));
    }
    EXPECT_EQ(result, 0);
    return rows;
}

/// Leaves the columns behind the first one to scanField.
class Stop : public csvInt {
public:
    explicit Stop(std::string& first) : csvInt(101, static_cast<int*>(nullptr), 0), m_first(&first) {}
    using csvInt::write;
    int write(const ZStringW& text) const override
    {
        *m_first = utf8(text);
        return -1;
    }
    csvField* clone() const override { return new Stop(*this); }

private:
    std::string* m_first;
};

/// The same through csvBuffer.
Rows rowsOfBuffer(const std::string& text, csvBuffer& buffer)
{
    Rows rows;
    buffer.clearFieldDefinitionList();
    EXPECT_EQ(setData(buffer, text), 0);
    std::string first;
    buffer.addFieldDefinition(Stop(first));
    while (buffer.hasMoreLines()) {
        EXPECT_EQ(buffer.scanLine(nullptr), -1);
        rows.push_back({first});
        ZStringW column;
        while (buffer.hasMoreFields()) {
            EXPECT_EQ(buffer.scanField(nullptr, column), 0);
            rows.back().push_back(utf8(column));
        }
    }
    return rows;
}

unsigned append(void* to, const char* data, std::size_t bytes)
{
    static_cast<std::string*>(to)->append(data, bytes);
    return 0;
}

std::string written(const Rows& rows, const csvBuffer& settings)
{
    std::string out;
    ztree::CsvWriter writer(settings);
    EXPECT_EQ(writer.open(append, &out), 0);
    for (const auto& row : rows) {
        const std::vector<std::string_view> texts(row.begin(), row.end());
        EXPECT_EQ(writer.writeTexts(texts.data(), static_cast<int>(texts.size())), 0);
    }
    EXPECT_EQ(writer.finish(), 0);
    return out;
}

struct Rule {
    const char* rule;
    const char* text;
    Rows rows;
    const char* again; // as the writer has it; null: the text
};

const std::vector<Rule>& rules()
{
    static const std::vector<Rule> all = {
        {"1 a record is a line",
         "aaa,bbb,ccc\r\nzzz,yyy,xxx\r\n",
         {{"aaa", "bbb", "ccc"}, {"zzz", "yyy", "xxx"}},
         nullptr},
        {"2 the last line end may be missing", "a,b\r\nc,d", {{"a", "b"}, {"c", "d"}}, "a,b\r\nc,d\r\n"},
        {"3 a header is a record", "name,size\r\nx,1\r\n", {{"name", "size"}, {"x", "1"}}, nullptr},
        {"4 blanks belong to the column", " a , b\r\n", {{" a ", " b"}}, nullptr},
        {"4 no separator behind the last column", "a,\r\n,\r\n", {{"a", ""}, {"", ""}}, nullptr},
        {"5 columns may be quoted", "\"aaa\",\"bbb\",ccc\r\n", {{"aaa", "bbb", "ccc"}}, "aaa,bbb,ccc\r\n"},
        {"5 quotes inside an unquoted column", "a\"b,c\r\n", {{"a\"b", "c"}}, "\"a\"\"b\",c\r\n"},
        {"6 line ends, quotes and separators in quotes",
         "\"a\r\nb\",\"c,d\",\"e\nf\"\r\ng,h,i\r\n",
         {{"a\r\nb", "c,d", "e\nf"}, {"g", "h", "i"}},
         nullptr},
        {"7 a doubled quote is one",
         "\"a\"\"b\",\"\"\"\",\"\"\r\n",
         {{"a\"b", "\"", ""}},
         "\"a\"\"b\",\"\"\"\",\r\n"},
        {"line ends of all kinds",
         "a\rb\nc\r\n\r\n\nd",
         {{"a"}, {"b"}, {"c"}, {"d"}},
         "a\r\nb\r\nc\r\nd\r\n"},
        {"a mark at the start", "\xEF\xBB\xBF\"a\",b\r\n", {{"a", "b"}}, "a,b\r\n"},
        {"an only empty column", "\"\"\r\na\r\n", {{""}, {"a"}}, nullptr},
        {"text behind a closing quote", "\"a\"b\"c,\"d\" \r\n", {{"ab\"c", "d "}}, "\"ab\"\"c\",d \r\n"},
        {"quotes that stay open", "a,\"b\r\nc,d", {{"a", "b\r\nc,d"}}, "a,\"b\r\nc,d\"\r\n"},
        {"beyond ASCII",
         "\xC3\xA4,\"\xF0\x9F\x98\x80\"\r\n",
         {{"\xC3\xA4", "\xF0\x9F\x98\x80"}},
         "\xC3\xA4,\xF0\x9F\x98\x80\r\n"},
    };
    return all;
}

TEST(csvRecords, rulesOfTheFormat)
{
    csvBuffer buffer, quoted;
    define(buffer, 6);
    define(quoted, 6, csvDialectRfcQuoted);
    for (const Rule& rule : rules()) {
        SCOPED_TRACE(rule.rule);
        for (const std::size_t piece : {16u, 17u, 19u, 4096u}) {
            EXPECT_EQ(rowsOf(rule.text, piece, buffer), rule.rows) << piece;
            EXPECT_EQ(rowsOf(rule.text, piece, buffer, 1), rule.rows) << piece;
            EXPECT_EQ(rowsOf(rule.text, piece, buffer, 3), rule.rows) << piece;
        }
        csvBuffer scan(buffer);
        EXPECT_EQ(rowsOfBuffer(rule.text, scan), rule.rows);
        const std::string again = written(rule.rows, buffer);
        EXPECT_EQ(again, rule.again ? rule.again : rule.text);
        EXPECT_EQ(rowsOf(again, 16, buffer), rule.rows);
        const std::string all = written(rule.rows, quoted);
        EXPECT_EQ(all[0], '"');
        EXPECT_EQ(rowsOf(all, 4096, quoted), rule.rows);
    }
    // createLine writes as the writer does, from records.
    Names names = {};
    std::strcpy(names.column[0], "a\"b");
    std::strcpy(names.column[1], "c,d");
    std::strcpy(names.column[2], "\n");
    EXPECT_EQ(lineOf(buffer, &names), "\"a\"\"b\",\"c,d\",\"\n\",,,");
    EXPECT_EQ(lineOf(quoted, &names), "\"a\"\"b\",\"c,d\",\"\n\",\"\",\"\",\"\"");
    Names back = {};
    setData(buffer, lineOf(buffer, &names));
    EXPECT_EQ(buffer.scanLine(&back), 0);
    EXPECT_EQ(std::memcmp(&names, &back, sizeof names), 0);
}

TEST(csvRecords, linesOfTheOtherDialectInPieces)
{
    csvBuffer buffer;
    define(buffer, 4, csvDialectLines);
    buffer.setParameter(csvParamEscape, 2);
    buffer.setParameter(csvParamQuote, 1);
    const std::string text = "a,b%2Cc,\"d,e\"\r\n\r\n%C3%E4,\"x\"\"y\"\rlast,";
    const Rows rows = {{"a", "b,c", "d,e"}, {"\xC3\x83\xC3\xA4", "x\"y"}, {"last"}};
    for (const std::size_t piece : {16u, 23u, 4096u}) {
        EXPECT_EQ(rowsOf(text, piece, buffer), rows);
        EXPECT_EQ(rowsOf(text, piece, buffer, 1), rows);
    }
    EXPECT_EQ(rowsOfBuffer(text, buffer), rows);
}

struct Order {
    int number;
    double total;
    zulong date;
    char name[11];
    short minutes;
    unsigned char packed[2];
    zwchar wide[4];
};

void defineOrder(csvBuffer& buffer)
{
    const unsigned short order[] = {1, 2, 3, 4, 5, 6, 7};
    buffer.setParameter(csvParamDialect, csvDialectRfc);
    buffer.setParameter(csvParamDateFormat, 2);
    buffer.buildLocalFormat();
    buffer.setFieldOrder(order, 7);
    buffer.addFieldDefinition(ztree::fieldAt<csvInt>(1, offsetof(Order, number)));
    buffer.addFieldDefinition(ztree::fieldAt<csvAmount>(2, offsetof(Order, total), 2 | csvFlagRaw));
    buffer.addFieldDefinition(ztree::fieldAt<csvDate>(3, offsetof(Order, date)));
    buffer.addFieldDefinition(ztree::fieldAt<csvField>(4, offsetof(Order, name), 11, csvFlagTerminated));
    buffer.addFieldDefinition(ztree::fieldAt<csvZTime>(5, offsetof(Order, minutes)));
    buffer.addFieldDefinition(ztree::fieldAt<csvPacked>(6, offsetof(Order, packed), 2, 0));
    buffer.addFieldDefinition(ztree::fieldAt<csvWideChar>(7, offsetof(Order, wide), 4, csvFlagPadBlank));
}

std::string describe(const ztree::CsvError& e)
{
    std::ostringstream out;
    out << e.line << ':' << e.column << '@' << e.offset << ' ' << e.id << ' ' << e.name << " '" << e.text
        << "' " << ztree::csvReasonText(e.reason) << '\n';
    return out.str();
}

TEST(csvReader, placesOfBadValues)
{
    csvBuffer buffer;
    defineOrder(buffer);
    const std::string text = "1;2.50;29.02.2000;ok;1:30;AB;w\r\n"
                             "x;2.5a;30.02.2000;much too long;25:99;XY;wide text\r\n"
                             "\r\n"
                             "99999999999;1;;\"two\nlines\";;;\r\n"
                             "5;6;1.1.01;a\"b;0:01;1\n"
                             "7;\"8\"x;;;;;;9";
    const char* const expected = "2:1@32 1  'x' not a number\n"
                                 "2:2@34 2  '2.5a' not an amount\n"
                                 "2:3@39 3  '30.02.2000' not a date\n"
                                 "2:4@50 4  'much too long' text too long\n"
                                 "2:5@64 5  '25:99' not a time\n"
                                 "2:6@70 6  'XY' not a hexadecimal digit\n"
                                 "2:7@73 7  'wide text' text too long\n"
                                 "4:1@86 1  '99999999999' number out of range\n"
                                 "6:4@128 0  'a\"b' quote inside an unquoted column\n"
                                 "6:7@117 7  '' column missing\n"
                                 "7:2@141 0  '8x' text behind a closing quote\n"
                                 "7:2@141 2  '8x' not an amount\n";
    for (const std::size_t piece : {16u, 33u, 4096u}) {
        ztree::CsvReader reader(buffer);
        reader.setPiece(piece);
        std::string errors;
        auto collect = [&errors](const ztree::CsvError& e) {
            errors += describe(e);
            return true;
        };
        reader.onError(collect);
        ASSERT_EQ(reader.openText(text), 0);
        Order order;
        std::memset(&order, 0x55, sizeof order);
        EXPECT_EQ(reader.read(&order), 1);
        EXPECT_EQ(order.number, 1);
        EXPECT_EQ(order.total, 2.5);
        EXPECT_EQ(order.date, 20000229u);
        EXPECT_STREQ(order.name, "ok");
        EXPECT_EQ(order.minutes, 90);
        EXPECT_EQ(order.packed[1], 0xAB);
        EXPECT_EQ(order.wide[1], ' ');
        EXPECT_EQ(reader.read(&order), 1);
        EXPECT_EQ(reader.read(&order), 1);
        EXPECT_STREQ(order.name, "two\nlines");
        EXPECT_EQ(reader.read(&order), 1);
        EXPECT_EQ(reader.line(), 6u);
        EXPECT_EQ(reader.read(&order), 1);
        EXPECT_EQ(reader.read(&order), 0);
        EXPECT_EQ(reader.read(&order), 0);
        EXPECT_EQ(reader.records(), 5u);
        EXPECT_EQ(errors, expected); // a column that is missing has the place of its record
    }
    ztree::CsvReader stopping(buffer);
    auto stop = [](const ztree::CsvError&) { return false; };
    stopping.onError(stop);
    stopping.openText(text);
    Order order;
    EXPECT_EQ(stopping.read(&order), 1);
    EXPECT_EQ(stopping.read(&order), static_cast<int>(0x80004004));
}

TEST(csvReader, columnsByName)
{
    csvBuffer buffer;
    defineOrder(buffer);
    ztree::CsvReader reader(buffer);
    EXPECT_EQ(reader.bind(99, "x"), badArgument);
    EXPECT_EQ(reader.bind(1, "nr"), 0);
    EXPECT_EQ(reader.bind(4, "the name"), 0);
    Order order = {};
    order.total = 7;
    reader.openText("the name;other;nr\nanna;1,2;5\n");
    EXPECT_EQ(reader.read(&order), badArgument); // no header yet
    reader.openText("the name;other;nr\nanna;1,2;5\n");
    EXPECT_EQ(reader.readHeader(), 1);
    EXPECT_EQ(reader.names(), 3);
    EXPECT_EQ(reader.name(1), "other");
    EXPECT_EQ(reader.read(&order), 1);
    EXPECT_EQ(order.number, 5);
    EXPECT_STREQ(order.name, "anna");
    EXPECT_EQ(order.total, 7); // has no name, so no column
    std::string errors;
    auto collect = [&errors](const ztree::CsvError& e) {
        errors += describe(e);
        return true;
    };
    reader.onError(collect);
    reader.openText("name;nr\nx;y\n");
    EXPECT_EQ(reader.readHeader(), static_cast<int>(0x80070490));
    EXPECT_EQ(reader.read(&order), 1);
    EXPECT_EQ(errors, "1:0@0 4 the name '' column missing\n2:2@10 1 nr 'y' not a number\n");
}

TEST(csvReader, sourcesLimitsAndProgress)
{
    csvBuffer buffer;
    define(buffer, 2);
    const std::string_view text = "\xEF\xBB\xBFone,two\r\nthree,four";
    Dribble dribble = {text, 1};
    ztree::CsvReader reader(buffer);
    std::uint64_t last = 0;
    int calls = 0;
    auto progress = [&](std::uint64_t done, std::uint64_t total) {
        EXPECT_EQ(total, text.size());
        EXPECT_GE(done, last);
        last = done;
        return ++calls < 100;
    };
    reader.onProgress(progress, 5);
    Names names = {};
    EXPECT_EQ(reader.open(&Dribble::read, &dribble, text.size()), 0);
    EXPECT_EQ(reader.read(&names), 1);
    EXPECT_EQ(reader.offset(), 3u);
    EXPECT_STREQ(names.column[0], "one");
    EXPECT_EQ(reader.read(&names), 1);
    EXPECT_STREQ(names.column[1], "four");
    EXPECT_EQ(reader.read(&names), 0);
    EXPECT_EQ(last, text.size());
    EXPECT_EQ(calls, 5);
    dribble = {"five,\"six\"", 4, 1117};
    ztree::CsvReader again(buffer);
    again.open(&Dribble::read, &dribble);
    EXPECT_EQ(again.read(&names), static_cast<int>(0x80070000u + 1117));
    EXPECT_EQ(again.columns(), 0);
    dribble = {"\" behind\"\n", 4}; // goes on where the fault was
    EXPECT_EQ(again.read(&names), 1);
    EXPECT_STREQ(names.column[0], "five");
    EXPECT_STREQ(names.column[1], "six\" behind");
    reader.setLongestRecord(1000);
    const std::string open = "\"" + std::string(5000, 'x'); // quotes that stay open must not take all memory
    ztree::CsvReader bounded(buffer);
    bounded.setPiece(16);
    bounded.setLongestRecord(1000);
    bounded.openText(open);
    EXPECT_EQ(bounded.read(&names), static_cast<int>(0x800700EA));
    EXPECT_EQ(bounded.openFile("no such file"), static_cast<int>(0x80070002));
    EXPECT_EQ(bounded.read(&names), badArgument);
    buffer.setParameter(csvParamSeparator, 0x20AC);
    EXPECT_EQ(ztree::CsvReader(buffer).openText(""), badArgument);
}

/// Doubles what it reads and halves what it writes.
class Doubled : public csvShort {
public:
    using csvShort::csvShort;
    using csvShort::read;
    using csvShort::write;
    int read(ZStringW& text) const override
    {
        short value = 0;
        csvShort::read(&value);
        text = value * 2;
        return value < 0 ? -1 : 0;
    }
    int write(const ZStringW& text) const override
    {
        csvShort::write(text);
        short value = 0;
        csvShort::read(&value);
        csvShort::write(static_cast<short>(value / 2));
        return value & 1 ? -1 : 0;
    }
    csvField* clone() const override { return new Doubled(*this); }
};

// A file in one code page, narrow fields in another one, wide ones, a field of the caller's, a constant.
TEST(csvReader, codePagesAndOwnFields)
{
    struct Record {
        char narrow[8];
        zwchar wide[4];
        short own;
    };
    csvBuffer buffer;
    buffer.setParameter(csvParamDialect, csvDialectRfc);
    buffer.setParameter(csvParamCodepage, 1251);
    buffer.setFieldOrder(ids, 4);
    buffer.addFieldDefinition(ztree::fieldAt<csvField>(101, offsetof(Record, narrow), 8, 0));
    buffer.addFieldDefinition(ztree::fieldAt<csvWideChar>(102, offsetof(Record, wide), 4, 0));
    buffer.addFieldDefinition(Doubled(103, static_cast<long>(offsetof(Record, own)), 0));
    buffer.addFieldDefinition(csvConst(104, ZTEXT("\u20AC")));
    for (const bool utf8File : {true, false}) {
        const std::string text = utf8File ? "\xD0\x96;\xD0\x96x;14;\xE2\x82\xAC\r\n;;-2;\xE2\x82\xAC\r\n"
                                          : "\xC6;\xC6x;14;\x88\r\n;;-2;\x88\r\n"; // windows-1251
        ztree::CsvReader reader(buffer);
        ztree::CsvWriter writer(buffer);
        EXPECT_EQ(reader.setCodepage(utf8File ? 65001 : 1251), 0);
        EXPECT_EQ(writer.setCodepage(utf8File ? 65001 : 1251), 0);
        for (const unsigned page : {1200u, 12001u, 12345u}) { // refused, so the one before stays
            EXPECT_EQ(reader.setCodepage(page), badArgument);
            EXPECT_EQ(writer.setCodepage(page), badArgument);
        }
        reader.openText(text);
        Record records[2];
        std::memset(records, 0x55, sizeof records);
        EXPECT_EQ(reader.read(&records[0]), 1);
        EXPECT_EQ(reader.read(&records[1]), 1);
        EXPECT_STREQ(records[0].narrow, "\xC6");
        EXPECT_EQ(records[0].wide[0], 0x416);
        EXPECT_EQ(records[0].wide[2], 0);
        EXPECT_EQ(records[0].own, 7);
        EXPECT_EQ(records[1].own, -1);
        std::string out;
        writer.open(append, &out);
        EXPECT_EQ(writer.write(&records[0]), 0);
        EXPECT_EQ(writer.write(&records[1]), 0); // the own field refuses a negative value: an empty column
        EXPECT_EQ(writer.finish(), 0);
        EXPECT_EQ(out, std::string(text).replace(text.find("-2"), 2, ""));
        int bad = 0;
        auto count = [&bad](const ztree::CsvError& e) {
            bad += e.reason == ztree::CsvReason::refused && e.column == 3;
            return true;
        };
        reader.onError(count);
        reader.openText(";;3;");
        EXPECT_EQ(reader.read(&records[0]), 1);
        EXPECT_EQ(bad, 1);
    }
}

std::string contentOf(const char* path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

using csvFile = HeapTest;

TEST_F(csvFile, writesAndReadsBack)
{
    const char* const path = "csv_file_test.csv";
    csvBuffer buffer;
    defineOrder(buffer);
    {
        ztree::CsvWriter writer(buffer);
        ASSERT_EQ(writer.openFile(path), 0);
        const std::string_view header[] = {"number", "total", "date", "name", "minutes", "packed", "wide"};
        EXPECT_EQ(writer.writeTexts(header, 7), 0);
        for (int i = 0; i < 20'000; ++i) {
            Order order = {
                i, i / 4.0, 20000101, "", static_cast<short>(i % 1440), {0, 1}, {' ', 0x20AC, '"', ' '}};
            std::snprintf(order.name, sizeof order.name, "name;%d", i);
            ASSERT_EQ(writer.write(&order), 0);
        }
        EXPECT_EQ(contentOf(path), ""); // not before finish()
        EXPECT_EQ(writer.finish(), 0);
        EXPECT_EQ(writer.finish(), badArgument);
    }
    EXPECT_EQ(contentOf(path).substr(0, 95),
              "number;total;date;name;minutes;packed;wide\r\n"
              "0;0.00;01.01.2000;\"name;0\";0:00;01;\" \xE2\x82\xAC\"\"\"\r\n1;0.25");
    ztree::CsvReader reader(buffer);
    bool clean = true;
    auto bad = [&clean](const ztree::CsvError&) { return clean = false; };
    reader.onError(bad);
    ASSERT_EQ(reader.openFile(path), 0);
    EXPECT_EQ(reader.readHeader(), 1);
    Order order;
    int n = 0;
    EXPECT_EQ(reader.readAll(order,
                             [&n](const Order& o) {
                                 EXPECT_EQ(o.number, n);
                                 EXPECT_EQ(o.total, n / 4.0);
                                 EXPECT_EQ(o.name, "name;" + std::to_string(n));
                                 return ++n > 0;
                             }),
              0);
    EXPECT_EQ(n, 20'000);
    EXPECT_TRUE(clean);
    reader.close();
    std::remove(path);
}

} // namespace
