// A tree as an XML file.

#include "platform/file.h"
#include "xml/xml_file.h"

namespace {

// The whole tree, wherever its cursor stands. File errors are not reported.
template <class Writer, class Tree, class Ch>
void save(const char* fileName, const Tree* tree, const Ch* type, const Ch* id)
{
    if (!fileName)
        return;
    if (!tree) {
        platform::removeFile(fileName);
        return;
    }
    Writer writer;
    const Ch* document = nullptr;
    writer.start(&document, type, id);
    writer.writeBranch(tree->root(), nullptr, false);
    writer.finish();
    platform::writeWholeFile(fileName, document, static_cast<std::size_t>(writer.dataSize()) * sizeof(Ch));
}

} // namespace

void SaveZTree(const char* fileName, ZTree* tree)
{
    save<mZXmlFile>(fileName, tree, "Debug", "Debug.ztd");
}

void SaveZTreeW(const char* fileName, ZTreeW* tree)
{
    save<mZXmlFileW>(fileName, tree, ZTEXT("Debug"), ZTEXT("Debug.ztd"));
}
