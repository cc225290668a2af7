#include "tool/csv.h"
#include "tool/options.h"

#include <algorithm>

namespace tool {

namespace {

class XmlOut : public XmlSink {
public:
    explicit XmlOut(Out& out) : m_out(out) {}
    void take(std::string_view text) override { m_out.put(text); }

private:
    Out& m_out;
};

// In any case of letters, as some systems have it.
bool isCsvName(std::string_view name)
{
    name.remove_prefix(name.size() - std::min<std::size_t>(name.size(), 4));
    constexpr std::string_view ending = ".csv";
    return std::equal(name.begin(), name.end(), ending.begin(), ending.end(),
                      [](char a, char b) { return a == b || (a >= 'A' && a <= 'Z' && a + 32 == b); });
}

} // namespace

int runConvert(const Arguments& arguments)
{
    if (!arguments.has("to"))
        failUsage("convert: -t with the form to write is missing, one of " + writableFormats());
    Layout layout;
    layout.indent = arguments.has("single-line") ? -1 : static_cast<int>(arguments.number("indent", 2));
    const std::string& input = arguments.operands()[0];
    const std::string target = arguments.text("output", "-");
    const bool csv = arguments.text("format", isCsvName(input) ? "csv" : "") == "csv";
    currentCsvStyle() = csvStyle(arguments);
    if (csv && arguments.text("to") == "xml") { // record by record, whatever the size
        if (target == "-") {
            XmlOut xml(standardOutput());
            csvFileToXml(input, currentCsvStyle(), layout, xml);
            return exitDone;
        }
        NewFile file(target);
        XmlOut xml(file.out());
        csvFileToXml(input, currentCsvStyle(), layout, xml);
        file.keep(0);
        return exitDone;
    }
    ZTree tree;
    readTree(readSource(input), csv ? "csv" : arguments.text("format"), tree);
    writeTree(tree, formatOf(arguments.text("to")), layout, target, 0);
    return exitDone;
}

} // namespace tool
