// Both readers, the exact writer and the binary form: bytes as a document, then what came of them written and
// read again.

#include <ztree/ext/xml.h>
#include <ztree/xml.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>

namespace {

std::string asText(ZTree& tree)
{
    ZString out;
    treeString(&tree, out);
    return std::string(out.getBuffer() ? out.getBuffer() : "", static_cast<std::size_t>(out.length()));
}

void strict(const char* data, std::size_t n)
{
    ZTree tree;
    ztree::XmlError error;
    if (!ztree::readXml(data, n, tree, &error)) {
        if (!error.message[0] || error.line < 1 || error.column < 1 || error.offset > 3 * n + 16)
            std::abort();
        return;
    }
    ZString document;
    ZTree again;
    if (!ztree::writeXml(tree, document, &error) ||
        !ztree::readXml(document.getBuffer(), static_cast<std::size_t>(document.length()), again) ||
        asText(tree) != asText(again))
        std::abort();
}

void small(const std::string& text)
{
    ZXmlReader reader(text.c_str());
    while (!reader.load(text.size() % 2 == 0, false)) {
        const std::unique_ptr<ZTree> tree(reader.createTree(true));
        if (!tree)
            continue;
        ZXmlFile file;
        const char* out = nullptr;
        file.start(&out, "D", "d");
        file.writeBranch(tree.get());
        file.finish();
        ZString shown;
        treeText(tree.get(), " ", shown);
    }
}

void binary(const std::string& bytes)
{
    std::istringstream in(bytes);
    ZTBranch branch;
    branch.load(in);
    std::istringstream wideIn(bytes);
    ZTBranchW wide;
    wide.load(wideIn);
    std::ostringstream out;
    branch.save(out);
    wide.save(out);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t n)
{
    const char* text = reinterpret_cast<const char*>(data);
    strict(text, n);
    const std::string copy(text, n);
    small(copy);
    binary(copy);
    return 0;
}
