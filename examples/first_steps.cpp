// Reads an XML file into a tree, looks around in it, changes a copy, writes it and reads it back.
//
//   first_steps FILE COPY

#include <ztree/ext/xml.h>
#include <ztree/runtime.h>

#include <cstdio>
#include <cstring>
#include <fstream>

namespace {

int count(const ZTBranch& top)
{
    // Documents of this kind are not deeper than the room for the way down.
    int n = 1;
    struct Level {
        const ZTBranch* branch;
        int next;
    };
    Level way[256] = {{&top, 0}};
    int depth = 0;
    while (depth >= 0) {
        Level& level = way[depth];
        const ZTBranch* child = level.branch->getChild(level.next++);
        if (!child) {
            --depth;
            continue;
        }
        ++n;
        if (child->getChildCount() && depth < 255)
            way[++depth] = {child, 0};
    }
    return n;
}

bool fail(const char* what, const char* path, const ztree::XmlError& e)
{
    std::fprintf(stderr, "%s %s:%d:%d: error: %s\n", what, path, e.line, e.column, e.message);
    return false;
}

bool run(const char* path, const char* copyPath)
{
    ztree::XmlError error;
    ZTree tree;
    if (!ztree::readXmlFile(path, tree, &error))
        return fail("reading", path, error);
    std::printf("%s: %d branches below <%s>\n\n", path, count(*tree.root()) - 1, tree.root()->getName());

    // The part that describes plain text, as indented markup.
    ZTBranch* found = nullptr;
    for (int pos = 0; ZTBranch* type = tree.root()->getNextChild(&pos);) {
        const char* name = nullptr;
        int length = 0;
        if (type->getAttribValue("type", &name, &length) == 0 && std::strcmp(name, "application/json") == 0)
            found = type;
    }
    if (!found)
        found = tree.root()->getChild(0);
    ZTree part;
    part.insert(found);
    for (int i = part.root()->getChildCount(); i-- > 0;) {
        const char* language = nullptr;
        int length = 0;
        if (part.root()->getChild(i)->getAttribValue("xml:lang", &language, &length) == 0 &&
            std::strcmp(language, "de") != 0)
            part.root()->removeChild(i);
    }
    ZString text;
    treeText(&part, "  ", text);
    std::printf("%s\n", text.getBuffer());

    // A value by name, and a copy of the tree with another one.
    const char* value = nullptr;
    int length = 0;
    found->getChildValue("comment", &value, &length);
    std::printf("comment: %.*s\n", length, value ? value : "");
    ZTree changed(tree);
    for (int pos = 0; ZTBranch* type = changed.root()->getNextChild(&pos);) {
        if (type->equals(found->getName()) && type->findChild("comment") >= 0)
            type->getChild("comment")->setValue("changed", -1);
    }
    ZString document;
    if (!ztree::writeXml(changed, document, &error))
        return fail("writing", copyPath, error);
    std::ofstream(copyPath, std::ios::binary).write(document.getBuffer(), document.length());

    ZTree again;
    if (!ztree::readXmlFile(copyPath, again, &error))
        return fail("reading", copyPath, error);
    ZString before;
    ZString after;
    treeString(&changed, before);
    treeString(&again, after);
    const bool same =
        before.length() == after.length() &&
        std::memcmp(before.getBuffer(), after.getBuffer(), static_cast<std::size_t>(after.length())) == 0;
    std::printf("%s: %d bytes written, read back: %s\n", copyPath, document.length(),
                same ? "the same tree" : "DIFFERENT");
    return same;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: first_steps FILE COPY\n");
        return 2;
    }
    try {
        return run(argv[1], argv[2]) ? 0 : 1;
    } catch (const structExcept& e) {
        std::fprintf(stderr, "error 0x%08X\n", e.getCode());
        return 2;
    }
}
