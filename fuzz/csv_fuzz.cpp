// Lines against the model, records written and read back, a file in pieces against the file as a whole.
// Input: four bytes of settings, then the text.

#include "../tests/csv/csv_model.h"

#include <ztree/ext/csv.h>

#include <cstdlib>
#include <cstring>

namespace {

using namespace varnik::ztree;
using csvmodel::Text;

void demand(bool holds)
{
    if (!holds)
        std::abort();
}

Text textOf(const ZStringW& s)
{
    const zwchar* units = s.getBuffer();
    return units ? Text(units, units + s.length()) : Text();
}

constexpr int columns = 8;
constexpr std::size_t whole = 1 << 12; // piece that holds an input, which saves clearing more of them
const unsigned short order[columns] = {101, 102, 103, 104, 105, 106, 107, 108};

/// A field of each kind; all but the dates come back as they were written.
struct Record {
    int number;
    double amount;
    zulong date;
    char name[12];
    zwchar wide[8];
    unsigned char packed[4];
    short minutes;
    double real;
};

void define(csvBuffer& buffer)
{
    buffer.setFieldOrder(order, columns);
    buffer.buildLocalFormat();
    buffer.addFieldDefinition(ztree::fieldAt<csvInt>(101, offsetof(Record, number)));
    buffer.addFieldDefinition(ztree::fieldAt<csvAmount>(102, offsetof(Record, amount), 2 | csvFlagRaw));
    buffer.addFieldDefinition(ztree::fieldAt<csvDate>(103, offsetof(Record, date)));
    buffer.addFieldDefinition(ztree::fieldAt<csvField>(104, offsetof(Record, name), 12, csvFlagTerminated));
    buffer.addFieldDefinition(ztree::fieldAt<csvWideChar>(105, offsetof(Record, wide), 8, csvFlagPadBlank));
    buffer.addFieldDefinition(ztree::fieldAt<csvPacked>(106, offsetof(Record, packed), 4, 0));
    buffer.addFieldDefinition(ztree::fieldAt<csvZTime>(107, offsetof(Record, minutes)));
    buffer.addFieldDefinition(ztree::fieldAt<csvDouble>(108, offsetof(Record, real)));
}

void compareWithModel(csvBuffer& buffer, const csvmodel::Parameters& p, const Text& data)
{
    const std::basic_string<zwchar> copy(data.begin(), data.end());
    const std::vector<Text> lines = csvmodel::lines(data);
    demand((buffer.setData(copy.c_str()) == 0) == !lines.empty());
    // A field without memory refuses the first column and leaves the others to scanField.
    buffer.setFieldOrder(order, 1);
    buffer.addFieldDefinition(csvInt(101, static_cast<int*>(nullptr), 0));
    for (const Text& line : lines) {
        const std::vector<Text> expected = csvmodel::columns(line, p);
        demand(buffer.hasMoreLines());
        demand((buffer.scanLine(nullptr) < 0) == !expected.empty());
        for (std::size_t i = 1; i < expected.size(); ++i) {
            ZStringW column;
            demand(buffer.hasMoreFields() && buffer.scanField(nullptr, column) == 0);
            demand(textOf(column) == expected[i]);
        }
        demand(!buffer.hasMoreFields());
    }
    demand(!buffer.hasMoreLines());
}

// What was scanned is created, scanned again and so on. Values that a line cannot hold are gone after two
// rounds.
void createAndScan(csvBuffer& buffer, const std::string& text, bool lossless)
{
    Record record;
    std::memset(&record, 0, sizeof record);
    define(buffer);
    buffer.setData(text.data(), static_cast<int>(text.size()), 65001);
    for (int i = 0; i < 100 && buffer.hasMoreLines(); ++i)
        buffer.scanLine(&record);
    std::string before;
    for (int round = 0; round < 4; ++round) {
        ZString line;
        demand(buffer.createLine(line, &record) == 0);
        const std::string now(line.getBuffer() ? line.getBuffer() : "",
                              static_cast<std::size_t>(line.length()));
        demand(!lossless || round < 3 || now == before);
        before = now;
        std::memset(&record, 0, sizeof record);
        demand(buffer.setData(line.getBuffer(), line.length(), 65001) == 0 || !lossless);
        demand(buffer.scanLine(&record) == 0 || !lossless);
    }
}

/// Everything that a reader tells of a text, in one string; a source delivers `step` bytes a call.
std::string told(const csvBuffer& settings, const std::string& text, std::size_t piece, std::size_t step)
{
    struct Source {
        std::string_view left;
        std::size_t step;
    } source = {text, step};
    const auto deliver = [](void* context, char* to, std::size_t room, std::size_t* got) -> unsigned {
        auto& s = *static_cast<Source*>(context);
        *got = s.left.copy(to, std::min(room, s.step));
        s.left.remove_prefix(*got);
        return 0;
    };
    std::string out;
    ztree::CsvReader reader(settings);
    reader.setPiece(piece);
    auto tell = [&out](const ztree::CsvError& e) {
        out += std::to_string(e.line) + ':' + std::to_string(e.column) + '@' + std::to_string(e.offset) +
               ' ' + std::to_string(e.id) + ztree::csvReasonText(e.reason) + '=' + std::string(e.text) + '\n';
        return true;
    };
    reader.onError(tell);
    if (reader.open(deliver, &source) != 0)
        return "refused";
    Record record;
    std::memset(&record, 0, sizeof record);
    int result;
    while ((result = reader.read(&record)) > 0) {
        out += std::to_string(reader.line()) + '@' + std::to_string(reader.offset());
        for (int i = 0; i < reader.columns(); ++i)
            out += '|' + std::string(reader.column(i));
        out.append(reinterpret_cast<const char*>(&record), sizeof record);
    }
    demand(result == 0);
    return out;
}

// A file that the writer makes of the columns gives these columns.
void writeAndRead(const csvBuffer& settings, const std::string& text)
{
    ztree::CsvReader reader(settings), back(settings);
    reader.setPiece(whole);
    back.setPiece(whole);
    std::string file;
    ztree::CsvWriter writer(settings);
    const auto sink = [](void* to, const char* data, std::size_t bytes) -> unsigned {
        static_cast<std::string*>(to)->append(data, bytes);
        return 0;
    };
    demand(writer.open(sink, &file) == 0 && reader.openText(text) == 0);
    std::vector<std::vector<std::string>> rows;
    while (reader.readColumns() > 0) {
        rows.emplace_back();
        for (int i = 0; i < reader.columns(); ++i)
            rows.back().emplace_back(reader.column(i));
        const std::vector<std::string_view> views(rows.back().begin(), rows.back().end());
        demand(writer.writeTexts(views.data(), static_cast<int>(views.size())) == 0);
    }
    demand(writer.finish() == 0 && back.openText(file) == 0);
    // A mark in front of the first column would be taken for that of the file.
    if (file.compare(0, 3, "\xEF\xBB\xBF") == 0)
        return;
    for (const auto& row : rows) {
        demand(back.readColumns() == 1 && back.columns() == static_cast<int>(row.size()));
        for (int i = 0; i < back.columns(); ++i)
            demand(back.column(i) == row[static_cast<std::size_t>(i)]);
    }
    demand(back.readColumns() == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    if (size < 4)
        return 0;
    const std::string text(reinterpret_cast<const char*>(data) + 4, size - 4);
    csvmodel::Parameters p;
    static const char16_t separators[] = {u';', u',', u'\t', u'"', u'\\', u'%', u'A', u'\0'};
    p.separator = separators[data[0] & 7];
    p.quote = data[0] & 8;
    p.escape = data[0] >> 4 & 3;
    csvBuffer buffer;
    buffer.setParameter(csvParamSeparator, p.separator);
    buffer.setParameter(csvParamQuote, p.quote);
    buffer.setParameter(csvParamEscape, static_cast<unsigned short>(p.escape));
    buffer.setParameter(csvParamDateFormat, data[1]);
    buffer.setParameter(csvParamNumberFormat, data[1] >> 6);

    Text wide; // all units, and mostly ASCII
    for (std::size_t i = 0; i < text.size(); ++i)
        wide += static_cast<char16_t>(static_cast<unsigned char>(text[i]) * (data[2] == 255 ? 257 : 1));
    csvBuffer scanned(buffer);
    compareWithModel(scanned, p, wide);

    createAndScan(buffer, text, false);
    const std::size_t piece = 16 + data[3] % 64;
    const std::size_t step = 1 + data[3] / 64 * 9;
    demand(told(buffer, text, piece, step) == told(buffer, text, whole, whole));
    buffer.setParameter(csvParamDialect, 1 + (data[2] & 1));
    buffer.setParameter(csvParamSeparator, separators[data[0] % 3]);
    createAndScan(buffer, text, true);
    demand(told(buffer, text, piece, step) == told(buffer, text, whole, whole));
    writeAndRead(buffer, text);
    return 0;
}
