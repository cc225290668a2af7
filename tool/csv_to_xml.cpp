#include "tool/csv.h"
#include "tool/options.h"

#include <ztree/ext/csv.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>

namespace tool {

namespace {

using namespace varnik::ztree;

// Where checked values go; nobody looks at them.
union Checked {
    int number;
    double real;
    zulong packed;
};

constexpr unsigned short firstId = 1000;

void addCheck(csvBuffer& buffer, unsigned short id, const std::string& type)
{
    if (type == "int")
        buffer.addFieldDefinition(ztree::fieldAt<csvInt>(id, 0));
    else if (type == "number")
        buffer.addFieldDefinition(ztree::fieldAt<csvDouble>(id, 0));
    else if (type == "amount")
        buffer.addFieldDefinition(ztree::fieldAt<csvAmount>(id, 0, 2 | csvFlagRaw));
    else if (type == "date")
        buffer.addFieldDefinition(ztree::fieldAt<csvDate>(id, 0));
    else if (type == "time")
        buffer.addFieldDefinition(ztree::fieldAt<csvTime>(id, 0));
}

void addChecks(csvBuffer& buffer, const std::vector<std::string>& types)
{
    std::vector<unsigned short> order;
    for (std::size_t i = 0; i < types.size(); ++i)
        order.push_back(static_cast<unsigned short>(firstId + i));
    if (order.empty())
        return;
    buffer.setFieldOrder(order.data(), static_cast<int>(order.size()));
    tagLocalFmt format;
    format.cDateSep = '-';
    std::strcpy(format.szDateFmt, "YYYYMMDD");
    buffer.setLocalFormat(&format);
    for (std::size_t i = 0; i < types.size(); ++i)
        addCheck(buffer, order[i], types[i]);
}

// --- names and texts in XML ---

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool startsName(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || static_cast<signed char>(c) < 0;
}

/// The nearest name that XML allows; "column3" for nothing at all.
std::string elementName(std::string_view text, std::size_t number)
{
    if (text.empty())
        return "column" + std::to_string(number);
    std::string name;
    for (const char c : text) {
        const bool inside = startsName(c) || isDigit(c) || c == '-' || c == '.';
        if (name.empty() && inside && !startsName(c))
            name += '_';
        name += inside ? c : '_';
    }
    return name;
}

/// Length of the UTF-8 character at `at` when XML allows it, else 0.
std::size_t characterAt(std::string_view text, std::size_t at)
{
    const auto byte = [&](std::size_t i) -> unsigned {
        return at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0u;
    };
    const auto tail = [&](std::size_t i) { return (byte(i) & 0xC0) == 0x80; };
    const unsigned c = byte(0);
    if (c < 0x80)
        return c >= 0x20 || c == '\t' || c == '\n' || c == '\r' ? 1 : 0;
    if (c >= 0xC2 && c < 0xE0)
        return tail(1) ? 2 : 0;
    if (c >= 0xE0 && c < 0xF0) {
        const unsigned code = (c & 15) << 12 | (byte(1) & 63) << 6 | (byte(2) & 63);
        return tail(1) && tail(2) && code >= 0x800 && (code < 0xD800 || code > 0xDFFF) && code < 0xFFFE ? 3
                                                                                                        : 0;
    }
    if (c >= 0xF0 && c < 0xF5) {
        const unsigned code = (c & 7) << 18 | (byte(1) & 63) << 12 | (byte(2) & 63) << 6 | (byte(3) & 63);
        return tail(1) && tail(2) && tail(3) && code >= 0x10000 && code < 0x110000 ? 4 : 0;
    }
    return 0;
}

/// Appends the text escaped; false at a byte that XML cannot hold.
bool putText(std::string& xml, std::string_view text)
{
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t n = characterAt(text, i);
        if (n == 0)
            return false;
        switch (text[i]) {
        case '&':
            xml += "&amp;";
            break;
        case '<':
            xml += "&lt;";
            break;
        case '>':
            xml += "&gt;";
            break;
        case '\r':
            xml += "&#13;";
            break;
        default:
            xml.append(text, i, n);
        }
        i += n;
    }
    return true;
}

// --- the conversion ---

/// Collects the places of bad values.
class BadValues {
public:
    BadValues(const ztree::CsvReader& reader, std::string name) : m_reader(reader), m_name(std::move(name)) {}

    bool operator()(const ztree::CsvError& error)
    {
        add(error, ztree::csvReasonText(error.reason));
        return m_count < most;
    }
    void add(const ztree::CsvError& error, const char* reason)
    {
        ++m_count;
        m_text += m_name + ':' + std::to_string(error.line) + ':';
        // Within the record's first line the byte tells the place; behind a line break it would mislead.
        if (error.line == m_reader.line() && error.offset >= m_reader.offset())
            m_text += std::to_string(error.offset - m_reader.offset() + 1) + ':';
        m_text += " error: column " + std::to_string(error.column);
        if (!error.name.empty())
            m_text += " (" + std::string(error.name) + ")";
        m_text += std::string(": ") + reason;
        if (!error.text.empty() && error.text.size() < 80) {
            m_text += ": \"";
            for (const char c : error.text)
                m_text += static_cast<unsigned char>(c) < 0x20 || c == 0x7F ? '?' : c;
            m_text += '"';
        }
        m_text += '\n';
    }
    bool any() const { return m_count > 0; }
    [[noreturn]] void fail() const
    {
        throw Failure{exitMalformed,
                      m_text + (m_count < most ? "" : m_name + ": more of them are not shown\n"), true};
    }

private:
    static constexpr int most = 20;

    const ztree::CsvReader& m_reader;
    std::string m_name;
    std::string m_text;
    int m_count = 0;
};

/// The input as bytes, from a file or standard input.
class Input {
public:
    explicit Input(const std::string& name)
        : m_shown(name == "-" ? "standard input" : name), m_in(name == "-" ? std::cin : m_file)
    {
        namespace fs = std::filesystem;
        if (name == "-")
            return;
        const fs::path path = fs::u8path(name);
        std::error_code code;
        if (fs::is_directory(path, code))
            throw Failure{exitTrouble, "cannot read '" + name + "': it is a folder"};
        errno = 0;
        m_file.open(path, std::ios::binary);
        if (!m_file)
            failFile("read", name, errno);
        if (fs::is_regular_file(path, code))
            m_size = fs::file_size(path, code);
    }

    std::uint64_t size() const { return m_size; }
    const std::string& shown() const { return m_shown; }
    static unsigned read(void* context, char* buffer, std::size_t room, std::size_t* got)
    {
        auto& input = *static_cast<Input*>(context);
        errno = 0;
        input.m_in.read(buffer, static_cast<std::streamsize>(room));
        *got = static_cast<std::size_t>(input.m_in.gcount());
        if (input.m_in.bad())
            input.m_error = errno ? errno : EIO;
        return input.m_error ? 1117 : 0; // any code will do: fail() has the reason
    }
    void failWhenUnreadable() const
    {
        if (m_error)
            failFile("read", m_shown, m_error);
    }

private:
    std::string m_shown;
    std::ifstream m_file;
    std::istream& m_in;
    std::uint64_t m_size = 0;
    int m_error = 0;
};

/// Settings with the checks of the types.
struct Settings : csvBuffer {
    explicit Settings(const CsvStyle& style)
    {
        applyStyle(style, *this);
        addChecks(*this, style.types);
    }
};

/// Converts what the reader is open for; fail(code) says why reading ended.
template <class Fail>
void convert(ztree::CsvReader& reader, const std::string& shown, Fail fail, const CsvStyle& style,
             const Layout& layout, XmlSink& sink)
{
    BadValues bad(reader, shown);
    reader.onError(bad);
    const auto demand = [&](int result) {
        if (bad.any() && result < 0)
            bad.fail();
        if (result < 0)
            fail(result);
        return result > 0;
    };
    std::vector<std::string> names; // of the elements
    if (style.header) {
        demand(reader.readHeader());
        for (int i = 0; i < reader.names(); ++i)
            names.push_back(elementName(reader.name(i), names.size() + 1));
    }
    const bool lines = layout.indent >= 0;
    const auto indent = [&](int level) {
        return lines ? "\n" + std::string(static_cast<std::size_t>(level * layout.indent), ' ')
                     : std::string();
    };
    const std::string rowIndent = indent(1), columnIndent = indent(2);
    const std::string root = elementName(style.root, 0), row = elementName(style.row, 0);
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<" + root + ">";
    Checked checked{};
    const bool checks = !style.types.empty();
    while (demand(checks ? reader.read(&checked) : reader.readColumns())) {
        xml += rowIndent + "<" + row + ">";
        for (int i = 0; i < reader.columns(); ++i) {
            const auto column = static_cast<std::size_t>(i);
            while (names.size() <= column)
                names.push_back(elementName("", names.size() + 1));
            xml += columnIndent;
            xml += '<';
            xml += names[column];
            const std::string_view text = reader.column(i);
            if (text.empty()) {
                xml += "/>";
                continue;
            }
            xml += '>';
            if (!putText(xml, text)) {
                ztree::CsvError error;
                error.line = reader.line();
                error.offset = reader.offset();
                error.column = static_cast<unsigned>(i + 1);
                error.name = reader.name(i);
                bad.add(error, "a character that XML does not allow");
                bad.fail();
            }
            xml += "</";
            xml += names[column];
            xml += '>';
        }
        xml += rowIndent + "</" + row + ">";
        if (xml.size() > std::size_t{1} << 16) {
            sink.take(xml);
            xml.clear();
        }
    }
    if (bad.any())
        bad.fail();
    xml += indent(0) + "</" + root + ">\n";
    sink.take(xml);
}

[[noreturn]] void failReading(const std::string& shown, int result)
{
    const bool endless = static_cast<unsigned>(result) == 0x800700EAu;
    throw Failure{exitMalformed,
                  shown + ": error: " +
                      (endless ? "a record does not end; a quote may be missing\n"
                               : "the file cannot be read as delimited text\n"),
                  true};
}

} // namespace

void csvFileToXml(const std::string& name, const CsvStyle& style, const Layout& layout, XmlSink& sink)
{
    const Settings settings(style);
    ztree::CsvReader reader(settings);
    Input input(name);
    Progress progress(static_cast<std::size_t>(input.size()));
    auto tell = [&progress](std::uint64_t done, std::uint64_t) {
        progress.stage(("converted " + std::to_string(done / 1000000) + " of").c_str());
        return true;
    };
    reader.onProgress(tell);
    reader.open(&Input::read, &input, input.size());
    const auto fail = [&input](int result) {
        input.failWhenUnreadable();
        failReading(input.shown(), result);
    };
    convert(reader, input.shown(), fail, style, layout, sink);
}

void csvTextToXml(const Source& source, const CsvStyle& style, const Layout& layout, XmlSink& sink)
{
    const Settings settings(style);
    ztree::CsvReader reader(settings);
    reader.openText(source.bytes);
    const auto fail = [&source](int result) { failReading(source.name, result); };
    convert(reader, source.name, fail, style, layout, sink);
}

} // namespace tool
