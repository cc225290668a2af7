// A typed tree: made by hand, walked with the cursor and with loops, addressed by paths, stored as bytes.

#include <ztree/ext/tree.h>

#include <iostream>
#include <sstream>

int main()
{
    // Branches hold a name, a typed value, attributes and children. The tree owns them.
    ZTree tree;
    tree.set(new ZTBranch("Order"));
    tree.root()->addAttrib(ZAttrib("id", "7"), true);
    tree.add(ZTBranch("Count", 3));
    tree.add(ZTBranch("Price", 12.5, 2));
    tree.add(ZTBranch("Item(main)", "nut", -1)); // the suffix is the attribute "Rel"

    // The cursor: down, along, and up again.
    tree.reset();
    tree.descend(0);
    while (const ZTBranch* branch = tree.next()) {
        int length = 0;
        const char* value = const_cast<ZTBranch*>(branch)->toString(&length);
        std::cout << branch->getFullName() << " = "
                  << std::string_view(value, static_cast<std::size_t>(length)) << " (type "
                  << int(branch->getType()) << ")\n";
    }

    // Paths read, write and make what is missing.
    ztree::set(tree, "Customer/Address/City", "Ghent");
    ztree::set(tree, "Item[2]", "bolt");
    std::cout << ztree::get<int>(tree, "Count", 0) + 1 << ' ' << ztree::get<std::string>(tree, "@id", "?")
              << ' ' << ztree::get<int>(tree, "Customer/Age", -1) << '\n';
    ztree::findAll(tree, "//Item",
                   [](const ztree::PathMatch& item) { std::cout << ztree::text(item) << ' '; });
    std::cout << '\n';
    ztree::PathError error;
    if (!ztree::set(tree, "Item[", 1, &error))
        std::cout << "column " << error.column << ": " << error.message << '\n';

    // Everything below a branch, without recursion and without touching the cursor.
    auto all = ztree::descendants(*tree.root());
    for (const ZTBranch* branch : all)
        std::cout << std::string(2 * all.depth(), ' ') << branch->getName() << '\n';

    // A binary form that comes back as it was.
    std::stringstream file;
    ztree::saveTree(tree, file);
    ZTree again;
    ztree::TreeStreamError damage;
    const bool whole = ztree::loadTree(file, again, &damage);
    ZString before, after;
    treeText(&tree, "  ", before);
    treeText(&again, "  ", after);
    std::cout << (whole && std::string(before) == std::string(after) ? "the same tree\n" : "damaged\n");
    std::string bytes = file.str();
    bytes[20] ^= 1;
    if (!ztree::loadTree(bytes.data(), bytes.size(), again, &damage))
        std::cout << "refused: " << damage.message << '\n';
}
