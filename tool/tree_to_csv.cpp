#include "tool/csv.h"
#include "tool/options.h"
#include "tool/paths.h"

#include <ztree/ext/csv.h>
#include <ztree/ext/tree.h>

#include <exception>
#include <unordered_map>

namespace tool {

namespace {

using namespace varnik::ztree;

const std::vector<std::string>& knownTypes()
{
    static const std::vector<std::string> names = {"text", "int", "number", "amount", "date", "time"};
    return names;
}

std::vector<std::string> splitTypes(const std::string& list)
{
    std::vector<std::string> types;
    for (std::size_t at = 0; at <= list.size();) {
        const std::size_t end = std::min(list.find(',', at), list.size());
        types.push_back(list.substr(at, end - at));
        bool known = false;
        for (const std::string& name : knownTypes())
            known |= name == types.back();
        if (!known)
            failUsage("convert: '" + types.back() +
                      "' is no type; the types are text, int, number, amount, "
                      "date and time");
        at = end + 1;
    }
    return types;
}

/// The columns of all rows, in the order in which they first occur.
class Columns {
public:
    std::size_t of(const std::string& name)
    {
        const auto found = m_places.emplace(name, m_names.size());
        if (found.second)
            m_names.push_back(name);
        return found.first->second;
    }
    const std::vector<std::string>& names() const { return m_names; }

private:
    std::unordered_map<std::string, std::size_t> m_places;
    std::vector<std::string> m_names;
};

/// Calls visit(column name, value) for the attributes and children of a row; a name that comes again is
/// "name[2]".
template <class Visit> void eachValue(const ZTBranch& row, Visit visit)
{
    for (const auto [name, value] : ztree::attribs(row))
        visit("@" + std::string(name), std::string(value));
    std::unordered_map<std::string, int> seen;
    bool any = false;
    for (const ZTBranch* child : ztree::children(row)) {
        std::string name = child->getName() ? child->getName() : "";
        const bool nested = child->getChildCount() > 0;
        if (nested)
            throw Failure{exitTrouble, "'" + name +
                                           "' has branches below it and is no column; name the rows with "
                                           "--rows"};
        const int count = ++seen[name];
        if (count > 1)
            name += "[" + std::to_string(count) + "]";
        for (const auto [attribute, value] : ztree::attribs(*child))
            visit(name + "/@" + std::string(attribute), std::string(value));
        visit(name, ztree::text(*child));
        any = true;
    }
    if (!any) {
        const std::string text = ztree::text(row);
        if (!text.empty())
            visit("#text", text);
    }
}

std::vector<const ZTBranch*> rowsOf(const ZTree& tree, const std::string& path)
{
    std::vector<const ZTBranch*> rows;
    if (!tree.root())
        return rows;
    if (path.empty()) {
        for (const ZTBranch* child : ztree::children(*tree.root()))
            rows.push_back(child);
        return rows;
    }
    const KnownPath known(path);
    ztree::findAll(tree, known.path, [&rows](const ztree::PathMatch& match) {
        if (match.branch && !match.attrib)
            rows.push_back(match.branch);
    });
    return rows;
}

/// Hands on what the library's writer gives. Nothing may be thrown through the library, so a failure waits
/// here.
struct Target {
    Out& out;
    std::exception_ptr failure;

    static unsigned take(void* target, const char* data, std::size_t bytes) noexcept
    {
        auto& self = *static_cast<Target*>(target);
        try {
            self.out.put(std::string_view(data, bytes));
            return 0;
        } catch (...) {
            self.failure = std::current_exception();
            return 1; // any code ends the writing
        }
    }
};

} // namespace

CsvStyle& currentCsvStyle()
{
    static CsvStyle style;
    return style;
}

CsvStyle csvStyle(const Arguments& arguments)
{
    CsvStyle style;
    const std::string delimiter = arguments.text("delimiter", ",");
    if (delimiter == "tab" || delimiter == "\\t")
        style.separator = '\t';
    else if (delimiter.size() == 1 && delimiter[0] > ' ' && delimiter[0] != '"')
        style.separator = delimiter[0];
    else
        failUsage("convert: the delimiter has to be one character of ASCII, or \"tab\"");
    style.quoteAll = arguments.has("quote-all");
    const std::string escape = arguments.text("escape", "none");
    style.escape = escape == "backslash" ? 1 : escape == "percent" ? 2 : 0;
    if ((style.escape == 1 && style.separator == '\\') || (style.escape == 2 && style.separator == '%'))
        failUsage("convert: the delimiter cannot be the sign of the escapes");
    style.header = arguments.has("header");
    style.root = arguments.text("root", "rows");
    style.row = arguments.text("row", "row");
    style.rows = arguments.text("rows");
    if (arguments.has("types"))
        style.types = splitTypes(arguments.text("types"));
    return style;
}

void applyStyle(const CsvStyle& style, csvBuffer& buffer)
{
    buffer.setParameter(csvParamSeparator, static_cast<unsigned char>(style.separator));
    buffer.setParameter(csvParamLineEnd, 1);
    if (style.escape) {
        buffer.setParameter(csvParamEscape, style.escape);
        buffer.setParameter(csvParamQuote, style.quoteAll);
    } else {
        buffer.setParameter(csvParamDialect, style.quoteAll ? csvDialectRfcQuoted : csvDialectRfc);
    }
}

void treeToCsv(const ZTree& tree, const CsvStyle& style, Out& out)
{
    const std::vector<const ZTBranch*> rows = rowsOf(tree, style.rows);
    Columns columns;
    for (const ZTBranch* row : rows)
        eachValue(*row, [&columns](const std::string& name, const std::string&) { columns.of(name); });
    csvBuffer settings;
    applyStyle(style, settings);
    ztree::CsvWriter writer(settings);
    Target target{out, nullptr};
    writer.open(&Target::take, &target);
    const auto count = static_cast<int>(columns.names().size());
    if (count == 0)
        return;
    std::vector<std::string_view> texts(columns.names().begin(), columns.names().end());
    int result = style.header ? writer.writeTexts(texts.data(), count) : 0;
    std::vector<std::string> values(columns.names().size());
    for (const ZTBranch* row : rows) {
        if (result < 0)
            break;
        for (std::string& value : values)
            value.clear();
        eachValue(*row, [&](const std::string& name, std::string value) {
            values[columns.of(name)] = std::move(value);
        });
        std::copy(values.begin(), values.end(), texts.begin());
        result = writer.writeTexts(texts.data(), count);
    }
    if (const int end = writer.finish(); result >= 0)
        result = end;
    if (target.failure)
        std::rethrow_exception(target.failure);
    if (result < 0)
        throw Failure{exitTrouble, "not enough memory"};
}

} // namespace tool
