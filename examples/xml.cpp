// XML in and out: the strict reader with its errors, the exact writer, and the small writer for documents
// that are made line by line.

#include <ztree/ext/tree.h>
#include <ztree/ext/xml.h>
#include <ztree/xml.h>

#include <cstdio>
#include <string_view>

namespace {

void read(std::string_view text)
{
    ZTree tree;
    ztree::XmlError error;
    if (ztree::readXml(text, tree, &error))
        std::printf("<%s> with %d children\n", tree.root()->getName(), tree.root()->getChildCount());
    else
        std::printf("%d:%d: %s\n", error.line, error.column, error.message);
}

} // namespace

int main()
{
    // Comments, CDATA, references, another encoding: what real files hold. No entity is expanded.
    read("<?xml version='1.0' encoding='iso-8859-1'?><!-- stock --><Stock><Part>M\xFCller &#38; "
         "Co</Part></Stock>");
    read("<Stock>\n  <Part>nut</Stock>");
    read("<Stock>&unknown;</Stock>");

    // Read, change, write: text between elements, attributes and their order stay as they are.
    const std::string_view note = "<note lang='en'>Use <b>two</b> nuts &amp; a <i>bolt</i>.</note>";
    ZTree tree;
    ztree::readXml(note, tree);
    ztree::set(tree, "b", "three");
    ZString text;
    ztree::writeXml(tree, text, nullptr, ztree::XmlStyle{-1, false});
    std::printf("%s\n", text.getBuffer());

    // The small writer: no tree, the document grows call by call.
    const char* document = nullptr;
    ZXmlFile file;
    file.start(&document, nullptr, nullptr);
    file.descend("Orders", 0);
    file.quickTag("Order", 1);
    file.attrib("rule", "7 < 8", 0);
    file.writeStr("Note", "nuts & bolts");
    file.writeAmount("Total", 12.5, 2);
    file.ascend();
    file.finish();
    std::printf("%.*s", file.getDataSize(), document);
}
