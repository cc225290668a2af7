#include "tool/characters.h"
#include "tool/csv.h"
#include "tool/options.h"

#include <ztree/ext/csv.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>

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

/// Of a character of so many bytes.
unsigned codeOf(std::string_view text, std::size_t bytes)
{
    unsigned code = static_cast<unsigned char>(text[0]);
    if (bytes > 1)
        code &= 0x7Fu >> bytes;
    for (std::size_t i = 1; i < bytes; ++i)
        code = code << 6 | (static_cast<unsigned char>(text[i]) & 63u);
    return code;
}

bool startsName(unsigned code)
{
    static constexpr unsigned ranges[][2] = {
        {'A', 'Z'},       {'_', '_'},       {'a', 'z'},       {0xC0, 0xD6},     {0xD8, 0xF6},
        {0xF8, 0x2FF},    {0x370, 0x37D},   {0x37F, 0x1FFF},  {0x200C, 0x200D}, {0x2070, 0x218F},
        {0x2C00, 0x2FEF}, {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF}};
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [code](const unsigned(&range)[2]) { return code >= range[0] && code <= range[1]; });
}

bool continuesName(unsigned code)
{
    return startsName(code) || (code >= '0' && code <= '9') || code == '-' || code == '.' || code == 0xB7 ||
           (code >= 0x300 && code <= 0x36F) || code == 0x203F || code == 0x2040;
}

/// The nearest name that XML allows; "column3" for nothing at all.
std::string elementName(std::string_view text, std::size_t number)
{
    if (text.empty())
        return "column" + std::to_string(number);
    std::string name;
    while (!text.empty()) {
        const std::size_t n = characterLength(text);
        const unsigned code = n ? codeOf(text, n) : 0;
        const bool inside = continuesName(code);
        if (name.empty() && inside && !startsName(code))
            name += '_';
        name += inside ? text.substr(0, n) : "_";
        text.remove_prefix(std::max<std::size_t>(1, n));
    }
    return name;
}

/// Length of the character at the start of the text when XML allows it, else 0.
std::size_t allowedLength(std::string_view text)
{
    const auto c = static_cast<unsigned char>(text[0]);
    if (c < 0x80)
        return c >= 0x20 || c == '\t' || c == '\n' || c == '\r' ? 1 : 0;
    const std::size_t n = characterLength(text);
    return n == 3 && codeOf(text, n) >= 0xFFFE ? 0 : n;
}

/// Appends the text escaped; what is wrong with it where XML cannot hold it, else null.
const char* putText(std::string& xml, std::string_view text)
{
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t n = allowedLength(text.substr(i));
        if (n == 0)
            return characterLength(text.substr(i)) ? "a character that XML does not allow"
                                                   : "bytes that are not UTF-8";
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
    return nullptr;
}

// --- the conversion ---

/// Collects the places of bad values. Nothing may be thrown through the library, so a failure waits here.
class BadValues {
public:
    BadValues(const ztree::CsvReader& reader, std::string_view name)
        : m_reader(reader), m_name(harmless(name))
    {
    }

    bool operator()(const ztree::CsvError& error) noexcept
    {
        try {
            add(error, ztree::csvReasonText(error.reason));
            return m_count < most;
        } catch (...) {
            m_failure = std::current_exception();
            return false;
        }
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
            m_text += " (" + harmless(error.name) + ")";
        m_text += std::string(": ") + reason;
        if (!error.text.empty() && error.text.size() < 80)
            m_text += ": \"" + harmless(error.text) + '"';
        m_text += '\n';
    }
    bool any() const { return m_count > 0 || m_failure; }
    [[noreturn]] void fail() const
    {
        if (m_failure)
            std::rethrow_exception(m_failure);
        throw Failure{exitMalformed,
                      m_text + (m_count < most ? "" : m_name + ": more of them are not shown\n"), true};
    }

private:
    static constexpr int most = 20;

    const ztree::CsvReader& m_reader;
    std::string m_name;
    std::string m_text;
    int m_count = 0;
    std::exception_ptr m_failure;
};

unsigned readInput(void* input, char* buffer, std::size_t room, std::size_t* got)
{
    return static_cast<Input*>(input)->tryRead(buffer, room, *got)
               ? 0
               : 1117; // any code: throwIfFailed() has the reason
}

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
            if (const char* reason = putText(xml, text)) {
                ztree::CsvError error;
                error.line = reader.line();
                error.offset = reader.offset();
                error.column = static_cast<unsigned>(i + 1);
                error.name = reader.name(i);
                bad.add(error, reason);
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
    if (static_cast<unsigned>(result) == 0x8007000Eu)
        throw Failure{exitTrouble, "not enough memory"};
    const bool endless = static_cast<unsigned>(result) == 0x800700EAu;
    throw Failure{exitMalformed,
                  harmless(shown) + ": error: " +
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
    auto tell = [&progress](std::uint64_t done, std::uint64_t) noexcept {
        char what[40];
        std::snprintf(what, sizeof what, "converted %llu of",
                      static_cast<unsigned long long>(done / 1000000));
        progress.stage(what);
        return true;
    };
    reader.onProgress(tell);
    reader.open(&readInput, &input, input.size());
    const auto fail = [&input](int result) {
        input.throwIfFailed();
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
