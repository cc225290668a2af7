#include "tool/formats.h"

#include "tool/csv.h"
#include "tool/source_error.h"
#include "tool/tree_text.h"

#include <ztree/ext/strings.h>
#include <ztree/ext/tree.h>
#include <ztree/ext/xml.h>

#include <ostream>
#include <streambuf>

namespace tool {

namespace {

// --- xml ---

void readXmlSource(const Source& source, ZTree& tree)
{
    ztree::XmlError error;
    if (!ztree::readXml(source.bytes.data(), source.bytes.size(), tree, &error))
        failSource(source, {static_cast<std::size_t>(error.line), static_cast<std::size_t>(error.column)},
                   error.message);
}

void writeXmlTree(const ZTree& tree, const Layout& layout, Out& out)
{
    ztree::XmlStyle style;
    style.indent = layout.indent;
    ZString text;
    ztree::XmlError error;
    if (!ztree::writeXml(tree, text, &error, style))
        throw Failure{exitTrouble, std::string("the tree cannot be written as XML: ") + error.message};
    out.put(ztree::view(text));
    if (layout.indent < 0)
        out.put('\n');
}

// --- bin ---

class OutStream : public std::streambuf {
public:
    explicit OutStream(Out& out) : m_out(out) {}

protected:
    std::streamsize xsputn(const char* text, std::streamsize n) override
    {
        m_out.put(std::string_view(text, static_cast<std::size_t>(n)));
        return n;
    }
    int_type overflow(int_type c) override
    {
        m_out.put(traits_type::to_char_type(c));
        return c;
    }

private:
    Out& m_out;
};

bool isBinary(std::string_view bytes)
{
    return bytes.substr(0, 4) == "ZTR2";
}

void readBinary(const Source& source, ZTree& tree)
{
    ztree::TreeStreamError error;
    if (!ztree::loadTree(source.bytes.data(), source.bytes.size(), tree, &error))
        throw Failure{exitMalformed,
                      harmless(source.name) + ": error: at byte " + std::to_string(error.offset) + ": " +
                          error.message + '\n',
                      true};
}

void writeBinary(const ZTree& tree, const Layout&, Out& out)
{
    OutStream buffer(out);
    std::ostream stream(&buffer);
    stream.exceptions(std::ios::badbit); // what Out throws comes through
    if (!ztree::saveTree(tree, stream))
        throw Failure{exitTrouble, "the tree cannot be written in this form"};
}

// --- text ---

void writeText(const ZTree& tree, const Layout& layout, Out& out)
{
    const std::string indent(static_cast<std::size_t>(layout.indent < 0 ? 0 : layout.indent), ' ');
    ZString text;
    treeText(const_cast<ZTree*>(&tree), ztree::narrow(indent), text); // only reads it
    out.put(ztree::view(text));
}

// --- csv ---

class XmlText : public XmlSink {
public:
    void take(std::string_view text) override { bytes += text; }
    std::string bytes;
};

void readCsv(const Source& source, ZTree& tree)
{
    XmlText xml;
    csvTextToXml(source, currentCsvStyle(), Layout{-1}, xml);
    ztree::XmlError error;
    if (!ztree::readXml(xml.bytes.data(), xml.bytes.size(), tree, &error))
        throw Failure{exitTrouble, source.name + ": " + error.message};
}

void writeCsv(const ZTree& tree, const Layout&, Out& out)
{
    treeToCsv(tree, currentCsvStyle(), out);
}

const Format table[] = {
    {"xml", "XML document", nullptr, readXmlSource, writeXmlTree},
    {"text", "indented markup for people", nullptr, nullptr, writeText},
    {"paths", "a line PATH=VALUE for each value", nullptr, nullptr, writePaths},
    {"bin", "compact binary tree", isBinary, readBinary, writeBinary},
    {"csv", "delimited records", nullptr, readCsv, writeCsv},
};

template <class Member> std::string namesWith(Member Format::*direction)
{
    std::string names;
    for (const Format& format : table)
        if (format.*direction)
            names += (names.empty() ? "" : "|") + std::string(format.name);
    return names;
}

} // namespace

std::string readableFormats()
{
    return namesWith(&Format::read);
}

std::string writableFormats()
{
    return namesWith(&Format::write);
}

const Format& formatOf(std::string_view name)
{
    for (const Format& format : table)
        if (name == format.name)
            return format;
    return table[0];
}

const Format& readTree(const Source& source, std::string_view format, ZTree& tree)
{
    const Format* found = &formatOf(format);
    for (const Format& candidate : table)
        if (format.empty() && candidate.recognises && candidate.recognises(source.bytes))
            found = &candidate;
    Progress progress(source.bytes.size());
    progress.stage("reading the tree from");
    found->read(source, tree);
    return *found;
}

void writeTree(const ZTree& tree, const Format& format, const Layout& layout, const std::string& target,
               int backups)
{
    if (target == "-") {
        format.write(tree, layout, standardOutput());
        return;
    }
    NewFile file(target);
    format.write(tree, layout, file.out());
    file.keep(backups);
}

} // namespace tool
