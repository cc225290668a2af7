// Records: fields, the buffer, files read and written in memory.

#include "faults/sweep.h"

#include <ztree/ext/csv.h>

#include <cstring>
#include <vector>

namespace {

using namespace faults;
using namespace varnik::ztree;
using CsvFaults = Sweep;

/// Reads and writes through the base class alone.
struct OwnField : csvField {
    OwnField(unsigned short id, std::size_t at) noexcept
        : csvField(id, static_cast<long>(at), 20, csvFlagTerminated)
    {
    }
    csvField* clone() const override { return new OwnField(*this); }
};

/// Gives and takes nothing.
struct EmptyField : csvField {
    using csvField::csvField;
    int write(const ZStringW&) const override { return static_cast<int>(ztree::errFail); }
    int read(ZStringW&) const override { return static_cast<int>(ztree::errFail); }
    csvField* clone() const override { return new EmptyField(*this); }
};

struct Record {
    char text[600], own[24], last[16];
    zwchar wide[700];
    unsigned char packed[20];
    signed char c;
    unsigned char b;
    short s, minutes;
    unsigned short us, day;
    int i;
    unsigned u;
    zlong l;
    zulong ul, date, time;
    double d, amount;
};
constexpr unsigned short fields = 21;

Record sample(std::size_t text)
{
    Record r{};
    std::memset(r.text, '\xE4', std::min<std::size_t>(text < 500 ? text % 40 : text, 599));
    std::strcpy(r.own, "a;\"b\\%\r\n");
    std::strcpy(r.last, "\"\";\\%");
    std::fill_n(r.wide, std::min<std::size_t>(text, 699), zwchar(text % 3 ? 'w' : 0x20AC));
    if (text % 2)
        r.wide[text / 2] = '"';
    r.packed[0] = 0x12;
    r.c = -7;
    r.b = 200;
    r.s = -300;
    r.minutes = 125;
    r.us = 60000;
    r.day = 40000;
    r.i = r.l = -70000;
    r.u = r.ul = 70000;
    r.date = 20120229;
    r.time = 130509;
    r.d = 1e20;
    r.amount = 1234567.5;
    return r;
}

void define(csvBuffer& buffer, unsigned dialect, unsigned quotes, unsigned escape, int columns = fields)
{
    unsigned short ids[fields];
    for (int i = 0; i < fields; ++i)
        ids[i] = static_cast<unsigned short>(100 + i);
    want(buffer.setFieldOrder(ids, columns));
    const auto set = [&buffer](csvParameter p, unsigned value) {
        buffer.setParameter(p, static_cast<unsigned short>(value));
    };
    set(csvParamCodepage, 1252);
    set(csvParamDialect, dialect);
    set(csvParamQuote, quotes);
    set(csvParamEscape, escape);
    set(csvParamDateFormat, 2);
    buffer.buildLocalFormat();
    using ztree::fieldAt;
    const auto add = [&buffer](const csvField& f) { want(buffer.addFieldDefinition(f)); };
    add(OwnField(102, offsetof(Record, own)));
    add(fieldAt<csvField>(100, offsetof(Record, text), 600, csvFlagTerminated));
    add(fieldAt<csvWideChar>(101, offsetof(Record, wide), 700, csvFlagTerminated));
    add(fieldAt<csvPacked>(103, offsetof(Record, packed), 20, 0));
    add(fieldAt<csvChar>(104, offsetof(Record, c)));
    add(fieldAt<csvByte>(105, offsetof(Record, b)));
    add(fieldAt<csvShort>(106, offsetof(Record, s)));
    add(fieldAt<csvZTime>(107, offsetof(Record, minutes)));
    add(fieldAt<csvUshort>(108, offsetof(Record, us)));
    add(fieldAt<csvXDate>(109, offsetof(Record, day)));
    add(fieldAt<csvInt>(110, offsetof(Record, i)));
    add(fieldAt<csvUint>(111, offsetof(Record, u)));
    add(fieldAt<csvLong>(112, offsetof(Record, l)));
    add(fieldAt<csvUlong>(113, offsetof(Record, ul)));
    add(fieldAt<csvDate>(114, offsetof(Record, date)));
    add(fieldAt<csvTime>(115, offsetof(Record, time)));
    add(fieldAt<csvDouble>(116, offsetof(Record, d)));
    add(fieldAt<csvField>(118, offsetof(Record, last), 16, csvFlagTerminated));
    add(csvConst(119, std::basic_string<zwchar>(columns > 1 ? 90 : 300, 'k').c_str()));
    add(EmptyField(120, 0));
    add(columns == 1 ? csvAmount(117, 0L, 0)
                     : fieldAt<csvAmount>(117, offsetof(Record, amount), 2 | csvFlagRaw));
}

std::string bytesOf(const Record& r)
{
    return {reinterpret_cast<const char*>(&r), sizeof r};
}

const struct Way {
    unsigned dialect, quotes, escape;
} ways[] = {{0, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 1, 2}, {1, 0, 0}, {2, 0, 0}};

TEST_F(CsvFaults, making)
{
    for (const Way& way : ways)
        sweep("all from the start", [&] {
            csvBuffer buffer;
            define(buffer, way.dialect, way.quotes, way.escape);
            want(buffer.setData("a;b;c\r\nd;e", -1, 65001));
            want(buffer.setData(ZTEXT("a;b;c\r\nd;e")));
            want(buffer.scanLine(nullptr));
            want(buffer.setData("", 0, 65001));
            want(buffer.setData(static_cast<const zwchar*>(nullptr)));
            csvBuffer copy(buffer);
            ztree::CsvReader reader(copy);
            ztree::CsvWriter writer(copy);
            return "made";
        });
}

// Fields for a buffer that has some: what was there goes on working.
TEST_F(CsvFaults, growing)
{
    const auto make = [] {
        auto buffer = std::make_unique<csvBuffer>();
        define(*buffer, 0, 0, 0);
        return buffer;
    };
    const Record record = sample(30);
    const auto lineOf = [&record](csvBuffer& buffer) {
        ZString line;
        want(buffer.createLine(line, &record));
        return shown(line).substr(0, 300);
    };
    const std::string before = lineOf(*make());
    const auto grow = [&](csvBuffer& buffer) {
        const unsigned short more[] = {131, 132};
        want(buffer.addFieldOrder(more, 2));
        want(buffer.addFieldDefinition(csvConst(131, ZTEXT("a constant that needs a block"))));
        EXPECT_EQ(lineOf(buffer), before);
    };
    sweepChange("more fields", make, grow, Again::any);
}

TEST_F(CsvFaults, fieldsAlone)
{
    Record record = sample(30);
    for (const bool constant : {false, true})
        sweep("texts of fields", [&] {
            csvBuffer buffer;
            define(buffer, 0, 0, 0);
            const csvField* list[fields] = {};
            int count = fields;
            want(buffer.getFieldDefinitionList(list, &count));
            buffer.relocFieldDefinitionList(&record);
            std::string all;
            const csvConst fixed(9, ZTEXT("a constant of some length"));
            for (int i = 0; i < count; ++i) {
                ZStringW text;
                const csvField& f = constant ? static_cast<const csvField&>(fixed) : *list[i];
                all += std::to_string(want(f.read(text))) + shown(text);
                all += std::to_string(want(f.write(text)));
                std::unique_ptr<csvField> copy(have(f.clone()));
                want(copy->unformat(text));
            }
            return all + bytesOf(record);
        });
}

TEST_F(CsvFaults, buffers)
{
    const std::string data = "\"x;y\";" + std::string(400, 'w') + ";a%41\\b" +
                             ";12AB;1;2;3;2:05;4;05.05.2012;5;6;7;8;"
                             "29.02.2012;13:05:09;2.5;1234.5;last;constant;refused;left;over\r\n";
    for (const Way& way : ways) {
        const auto make = [&] {
            auto buffer = std::make_unique<csvBuffer>();
            define(*buffer, way.dialect, way.quotes, way.escape);
            return buffer;
        };
        sweep(
            "scanning", make,
            [&](csvBuffer& buffer) {
                Record r{};
                want(buffer.setData((data + data).c_str(), -1, 1252));
                want(buffer.scanLine(&r));
                csvBuffer copy(buffer);
                csvBuffer other;
                other = copy;
                ZStringW text;
                std::string out = std::to_string(want(other.scanLine(nullptr)));
                want(copy.scanField(nullptr, text));
                want(buffer.scanBuffer(&r));
                want(buffer.setData(ZTEXT("one;two\r\nthree"))); // columns of the old data are left
                want(buffer.scanField(nullptr, text));
                want(buffer.setData(ZTEXT("four;five")));
                want(buffer.scanField(nullptr, text));
                return out + bytesOf(r) + shown(text);
            },
            Again::any);
        // Longer and longer texts: the room of the line ends at every place once.
        for (const int columns : {1, static_cast<int>(fields)})
            for (unsigned length = 0; length < 640; length += columns == 1 ? 29 : stride()) {
                const auto own = [&] {
                    auto buffer = make();
                    define(*buffer, way.dialect, way.quotes, way.escape, columns);
                    return buffer;
                };
                const Record record = sample(length);
                sweep("a line", own, [&](csvBuffer& buffer) {
                    ZString line;
                    const long result = want(buffer.createLine(line, &record));
                    return std::to_string(result) + shown(line);
                });
            }
    }
}

/// Repeats a call that found no memory once.
template <class Call> long insist(Call call)
{
    const long result = call();
    return want(result == static_cast<int>(ztree::errOutOfMemory) ? call() : result);
}

TEST_F(CsvFaults, reader)
{
    std::string columns = "own;text;w", quoted;
    for (int i = 0; i < 80; ++i) {
        columns += ";a%41\\b";
        quoted += "\"q\"\"" + std::string(static_cast<unsigned>(i), 'q') + "\";";
    }
    const std::string header = "text;w;own;d\r\n";
    std::string umlauts;
    for (int i = 0; i < 280; ++i)
        umlauts += "\xC3\xA4";
    const std::string line =
        umlauts + ";" + std::string(290, 'w') + ";own " + std::string(300, 'o') + ";2.5;";
    const std::string all = header + line + columns + "\r\n" + line + quoted + "\r\n\r\n" + line + "\"open";
    for (const Way& way : ways)
        for (const std::size_t piece : {16u, 4096u}) {
            const auto make = [&] {
                csvBuffer settings;
                define(settings, way.dialect, way.quotes, way.escape);
                return std::make_unique<ztree::CsvReader>(settings);
            };
            sweep("file", make, [&](ztree::CsvReader& reader) {
                std::string out;
                auto note = [&out](const ztree::CsvError& e) {
                    out +=
                        std::to_string(e.line) + "/" + std::to_string(e.column) + "/" + std::string(e.text);
                    return true;
                };
                reader.onError(note);
                want(reader.setPiece(piece));
                for (const auto& [id, name] : {std::pair(100, "text"), {102, "own"}, {101, "w"}, {116, "d"}})
                    insist([&, i = id, n = name] { return reader.bind(static_cast<unsigned short>(i), n); });
                insist([&] { return reader.openText(all); });
                insist([&] { return reader.readHeader(); });
                for (Record r{}; insist([&] { return reader.read(&r); }) == 1;)
                    out += bytesOf(r);
                insist([&] { return reader.openText(all); });
                while (insist([&] { return reader.readColumns(); }) == 1)
                    for (int i = 0; i < reader.columns(); ++i)
                        out += std::string(reader.column(i)) + "|";
                reader.onError(nullptr, nullptr);
                return out + std::to_string(reader.records());
            });
        }
}

// Without memory for an index of the names they are looked for one by one.
TEST_F(CsvFaults, manyBoundNames)
{
    constexpr int count = 40;
    std::string header, line;
    csvBuffer settings;
    settings.setParameter(csvParamDialect, csvDialectRfc);
    for (int i = 0; i < count; ++i) {
        const auto id = static_cast<unsigned short>(100 + i);
        settings.addFieldOrder(&id, 1);
        settings.addFieldDefinition(ztree::fieldAt<csvInt>(id, 4 * i));
        header = "name" + std::to_string(i) + ";" + header;
        line = std::to_string(i) + ";" + line;
    }
    const std::string all = header + "\n" + line + "\n";
    const auto make = [&] { return std::make_unique<ztree::CsvReader>(settings); };
    sweep("bound names", make, [&](ztree::CsvReader& reader) {
        for (int i = 0; i < count; ++i)
            insist([&] {
                return reader.bind(static_cast<unsigned short>(100 + i), "name" + std::to_string(i));
            });
        insist([&] { return reader.openText(all); });
        insist([&] { return reader.readHeader(); });
        int record[count] = {};
        insist([&] { return reader.read(record); });
        std::string out;
        for (const int value : record)
            out += std::to_string(value) + ",";
        return out;
    });
}

TEST_F(CsvFaults, writer)
{
    for (const Way& way : ways)
        for (unsigned length = 0; length < 640; length += stride()) {
            const Record record = sample(length);
            const std::string special = std::string(length, 's') + "\";\\%\r\n\xE2\x82\xAC";
            const std::string_view texts[] = {special, "", special};
            const auto make = [&] {
                csvBuffer settings;
                define(settings, way.dialect, way.quotes, way.escape);
                return std::make_unique<ztree::CsvWriter>(settings);
            };
            sweep("records", make, [&](ztree::CsvWriter& writer) {
                std::string out;
                const auto sink = [](void* to, const char* data, std::size_t n) -> unsigned {
                    static_cast<std::string*>(to)->append(data, n);
                    return 0;
                };
                writer.setCodepage(length % 2 ? 65001 : 1251);
                if (length < 2)
                    want(writer.openFile("faults.tmp"));
                want(writer.open(sink, &out));
                insist([&] { return writer.write(&record); });
                insist([&] { return writer.writeTexts(texts, length % 3 ? 3 : 1); });
                want(writer.finish());
                return out;
            });
        }
}

} // namespace
