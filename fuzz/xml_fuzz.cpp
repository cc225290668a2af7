// Both readers and both writers: bytes as a document, in UTF-8 and UTF-16, read by the narrow and the wide
// class, then what came of them written and read again.

#include <ztree/ext/strings.h>
#include <ztree/ext/tree.h>
#include <ztree/ext/xml.h>
#include <ztree/xml.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace {

std::string asText(const ZTree& tree)
{
    ZString out;
    treeString(const_cast<ZTree*>(&tree), out);
    return std::string(out.getBuffer() ? out.getBuffer() : "", static_cast<std::size_t>(out.length()));
}

void demand(bool holds)
{
    if (!holds)
        std::abort();
}

void exact(const ZTree& tree)
{
    ztree::XmlError error;
    ZString document;
    ZTree again;
    demand(ztree::writeXml(tree, document, &error) &&
           ztree::readXml(document.getBuffer(), static_cast<std::size_t>(document.length()), again) &&
           asText(tree) == asText(again));
}

// The tree, or the place and kind of what is wrong.
std::string result(const char* data, std::size_t n)
{
    ZTree tree;
    ztree::XmlError error;
    if (ztree::readXml(data, n, tree, &error)) {
        demand(!error && tree.root());
        exact(tree);
        return asText(tree);
    }
    demand(error.message[0] && error.line > 0 && error.column > 0 && error.offset <= 3 * n + 16 &&
           !tree.root());
    return std::to_string(error.line) + ':' + std::to_string(error.column) + ' ' + error.message;
}

void strict(const std::string& text)
{
    const std::string told = result(text.data(), text.size());
    const ZStringW wide = ztree::wide(text);
    if (text.find("encoding") != text.npos || ztree::toUtf8(wide) != text || text[0] == '\xEF')
        return; // says what it is written in, or is no UTF-8
    std::string units = "\xFF\xFE";
    for (const zwchar c : ztree::view(wide)) {
        units += static_cast<char>(c & 255);
        units += static_cast<char>(c >> 8);
    }
    demand(result(units.data(), units.size()) == told);
}

template <class Branch> std::string shown(const Branch& top)
{
    std::string out;
    const auto show = [&out](auto text) {
        out.append(text.begin(), text.end());
        out += '|';
    };
    auto all = ztree::descendants(top);
    for (const Branch* branch : all) {
        using Ch = ztree::detail::UnitOf<Branch>;
        out += std::to_string(all.depth());
        show(std::basic_string_view<Ch>(branch->getName()));
        for (auto [name, value] : ztree::attribs(*branch)) {
            show(name);
            show(value);
        }
        int bytes = 0;
        if (const Ch* text = branch->toString(&bytes))
            show(std::basic_string_view<Ch>(text, static_cast<std::size_t>(bytes) / sizeof(Ch)));
        out += '\n';
    }
    return out;
}

// Every element of the text by the classes for texts of Ch, and as they write them.
template <class Reader, class Tree, class File, class Ch>
std::string small(const std::basic_string<Ch>& text, bool sorted)
{
    std::string out;
    Reader reader(text.c_str());
    while (!reader.load(sorted, false)) {
        const std::unique_ptr<Tree> tree(reader.createTree(true));
        if (!tree)
            continue;
        out += shown(*tree->root());
        File file;
        const Ch* document = nullptr;
        const Ch header[] = {'D', 0};
        file.start(&document, header, header);
        file.writeBranch(tree.get());
        file.finish();
        file.start(&document, static_cast<const Ch*>(nullptr), static_cast<const Ch*>(nullptr));
        file.writeBranch(tree.get());
        if (!file.finish())
            continue;
        for (int i = 0; i < file.getDataSize(); ++i)
            if (document[i] != '\r') // the lines of the wide document end without
                out += static_cast<char>(document[i]);
    }
    return out;
}

// Among letters, digits and markup the twins tell the same; where other characters sort is a difference that
// callers rely on.
void twins(std::string text)
{
    for (char& c : text) {
        c &= 127;
        if ((c < ' ' && !std::strchr("\t\r\n", c)) || (c > 'Z' && c < 'a') || c > 'z' || c == '@')
            c = 'z';
    }
    const bool sorted = text.size() % 2;
    demand(
        small<ZXmlReader, ZTree, ZXmlFile>(text, sorted) ==
        small<ZXmlReaderW, ZTreeW, ZXmlFileW>(std::basic_string<zwchar>(text.begin(), text.end()), sorted));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t n)
{
    const std::string text(reinterpret_cast<const char*>(data), n);
    strict(text);
    small<ZXmlReader, ZTree, ZXmlFile>(text, text.size() % 2);
    twins(text);
    return 0;
}
