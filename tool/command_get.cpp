#include "tool/options.h"
#include "tool/paths.h"
#include "tool/tree_text.h"

#include <ztree/ext/strings.h>
#include <ztree/ext/xml.h>

#include <list>

namespace tool {

namespace {

class Printer {
public:
    explicit Printer(const Arguments& arguments)
        : m_end(arguments.has("null") ? '\0' : '\n'),
          m_quiet(arguments.has("quiet") || arguments.has("count")), m_xml(arguments.has("xml")),
          m_first(arguments.has("first"))
    {
    }
    unsigned long printAll(const ZTree& tree, const ztree::Path& path)
    {
        unsigned long n = 0;
        ztree::findAll(tree, path, [&](const ztree::PathMatch& match) {
            ++n;
            if (!m_quiet)
                print(match);
            return !m_first;
        });
        return n;
    }
    void printCount(unsigned long n)
    {
        standardOutput().put(std::to_string(n));
        standardOutput().put(m_end);
    }

private:
    void print(const ztree::PathMatch& match)
    {
        Out& out = standardOutput();
        if (match.attrib) {
            out.put(match.attrib->getValue());
        } else if (m_xml) {
            ztree::XmlStyle style;
            style.declaration = false;
            ZString text;
            ztree::XmlError error;
            if (!ztree::writeXml(*match.branch, text, &error, style))
                throw Failure{exitTrouble,
                              std::string("the branch cannot be written as XML: ") + error.message};
            std::string_view markup = ztree::view(text);
            if (!markup.empty() && markup.back() == '\n')
                markup.remove_suffix(1);
            out.put(markup);
        } else {
            out.put(valueOf(*match.branch, m_room));
        }
        out.put(m_end);
    }

    char m_end;
    bool m_quiet;
    bool m_xml;
    bool m_first;
    std::string m_room;
};

} // namespace

int runGet(const Arguments& arguments)
{
    const auto& operands = arguments.operands();
    std::list<KnownPath> paths; // before the file is read: a bad path is told at once
    for (std::size_t i = 1; i < operands.size(); ++i)
        paths.emplace_back(operands[i]);
    ZTree tree;
    readTree(readSource(operands[0]), arguments.text("format"), tree);
    Printer printer(arguments);
    int result = exitDone;
    for (const KnownPath& known : paths) {
        const unsigned long n = printer.printAll(tree, known.path);
        if (arguments.has("count") && !arguments.has("quiet"))
            printer.printCount(n);
        if (n == 0)
            result = exitNo;
    }
    return result;
}

} // namespace tool
