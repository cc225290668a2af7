// Trees: making, finding, changing, copying, streams, texts, paths.

#include "growth.h"

#include <ztree/ext/tree.h>

#include <sstream>

namespace growth {
namespace {

template <class T> typename T::Branch branch(std::string_view name)
{
    return typename T::Branch(text<typename T::Ch>(name).c_str());
}
/// A root with n children "name0" ..., each with a value and an attribute.
template <class T> void makeWide(typename T::Tree& tree, int n, bool sameName = false)
{
    using Ch = typename T::Ch;
    const auto attrib = typename T::Attrib(text<Ch>("id").c_str(), text<Ch>("7").c_str());
    auto* root = new typename T::Branch(text<Ch>("root").c_str());
    tree.set(root);
    for (int i = 0; i < n; ++i) {
        typename T::Branch* added = nullptr;
        root->addChild(branch<T>(sameName ? "same" : "name" + std::to_string(i)), &added, false);
        added->setValue("some text", 9);
        added->addAttrib(attrib, false);
    }
}
/// n branches, each below the one before.
template <class T> void makeDeep(typename T::Tree& tree, int n)
{
    const auto node = branch<T>("node");
    tree.add(node);
    for (int i = 1; i < n; ++i) {
        tree.add(node);
        tree.descend(nullptr);
    }
}

template <class T> void building(Cases& add)
{
    using Ch = typename T::Ch;
    using Branch = typename T::Branch;
    using Tree = typename T::Tree;
    add.group(std::string("tree") + T::suffix);
    add("n children, freed", [](int n) {
        return once([&] {
            Tree tree;
            makeWide<T>(tree, n);
        });
    });
    add("n levels, freed", [](int n) {
        return once([&] {
            Tree tree;
            makeDeep<T>(tree, n);
        });
    });
    add("n children by addChild with replace", [](int n) {
        const auto all = names<Ch>(n);
        return once([&] {
            Branch root(all[0].c_str());
            for (const auto& name : all)
                root.addChild(Branch(name.c_str()), nullptr, true);
            for (const auto& name : all)
                root.addChild(Branch(name.c_str(), 7), nullptr, true);
            check(root.getChildCount() == n, "replaced");
        });
    });
    add("setChild in place of another, n times", [](int n) {
        Tree tree;
        makeWide<T>(tree, n);
        return once([&] {
            Branch* root = tree.root();
            for (int i = 0; i < n; ++i) {
                Branch* old = root->getChild(i);
                root->setChild(new Branch(old->getName(), i), i);
                delete old;
            }
        });
    });
    add("linkChild n, unlink n from the end", [](int n) {
        Tree tree;
        makeWide<T>(tree, n);
        return once([&] {
            Branch links(text<Ch>("links").c_str());
            for (int i = 0; i < n; ++i)
                links.linkChild(tree.root()->getChild(i), false);
            keep(links.findLinkParent(tree.root()));
            for (int i = n; i-- > 0;)
                links.removeChild(i);
        });
    });
    // A lookup goes through all attributes of a branch: one of them here, not n.
    add("n attributes of a branch", [](int n) {
        const auto all = names<Ch>(n);
        return once([&] {
            Branch b(all[0].c_str());
            for (const auto& name : all)
                b.addAttrib(typename T::Attrib(name.c_str(), name.c_str()), false);
            b.addAttrib(typename T::Attrib(all[n - 1].c_str(), nullptr), true);
            check(b.findAttrib(all[n - 1].c_str()) == n - 1, "found");
            const Branch copy(b);
            check(copy.getAttribCount() == n, "copied");
            b.removeAttrib(all[0].c_str());
            for (int i = n - 1; i-- > 0;)
                b.removeAttrib(i);
            check(b.getAttribCount() == 0, "removed");
        });
    });
    add("a name, a value, a text of n characters", [](int n) {
        const auto name = filled<Ch>(n);
        std::string value(n, 'v');
        return often([&] {
            Branch b(name.c_str());
            b.setValue(value.data(), n);
            int length = 0;
            keep(b.toString(&length));
            keep(b.getFullName());
            b.freeString();
            check(b.getValue(value.data(), n) == 0, "stored");
            keep(b.equals(name.c_str()));
        });
    });
}

/// i in Cyrillic letters, as many for each number.
template <class Ch> Text<Ch> cyrillic(int i)
{
    Text<Ch> out;
    for (int n = 0; n < 7; ++n, i /= 10) {
        if (sizeof(Ch) == 1)
            out += {static_cast<Ch>(0xD0), static_cast<Ch>(0xB0 + i % 10)}; // UTF-8
        else
            out += static_cast<Ch>(0x430 + i % 10);
    }
    return out;
}

template <class T> void finding(Cases& add)
{
    using Ch = typename T::Ch;
    using Branch = typename T::Branch;
    using Tree = typename T::Tree;
    const auto among = [&add](const char* name, auto act, int most = 1'000'000) {
        add(
            name,
            [act](int n) {
                Tree tree;
                makeWide<T>(tree, n);
                const auto all = names<Ch>(n);
                return once([&] { act(tree, *tree.root(), all); });
            },
            most);
    };
    using All = std::vector<Text<Ch>>;
    among("getChild by name, n times", [](Tree&, Branch& root, const All& all) {
        for (const auto& name : all)
            check(root.getChild(name.c_str()) != nullptr, "found");
    });
    add("getChild by name, in Cyrillic letters", [](int n) {
        Branch root(text<Ch>("root").c_str());
        for (int i = 0; i < n; ++i)
            root.addChild(Branch(cyrillic<Ch>(i).c_str()), nullptr, false);
        return once([&] {
            for (int i = 0; i < n; ++i)
                check(root.findChild(cyrillic<Ch>(i).c_str()) == i, "found");
        });
    });
    among("look up and add, by turns", [](Tree&, Branch& root, const All& all) {
        for (const auto& name : all) {
            keep(root.findChild(name.c_str()));
            root.addChild(Branch(root), nullptr, false);
        }
    });
    among("rename a child, look another up", [](Tree&, Branch& root, const All& all) {
        root.getChild(all[0].c_str())->setName(text<Ch>("other").c_str());
        check(root.getChild(all[1].c_str()) == root.getChild(1), "found");
    });
    among("look up and rename, by turns", [](Tree&, Branch& root, const All& all) {
        for (const auto& name : all)
            root.getChild(name.c_str())->setName((text<Ch>("new") + name).c_str());
        check(root.findChild((text<Ch>("new") + all.back()).c_str()) == root.getChildCount() - 1, "found");
    });
    among("look up and rename those of one name, from either end", [](Tree&, Branch& root, const All& all) {
        const auto one = text<Ch>("one"), other = text<Ch>("other");
        for (const auto& name : all) {
            root.getChild(name.c_str())->setName(one.c_str());
            keep(root.getChild(other.c_str()));
        }
        for (int i = static_cast<int>(all.size()); i-- > 0;) {
            root.getChild(i)->setName(other.c_str());
            check(root.findChild(other.c_str()) == i, "found");
        }
    });
    among("look up by suffix and give another, by turns", [](Tree&, Branch& root, const All& all) {
        for (int i = 0; i < static_cast<int>(all.size()); ++i)
            root.getChild(i)->setName((text<Ch>("Item(") + all[i] + text<Ch>(")")).c_str());
        for (const auto& name : all)
            root.getChild((text<Ch>("Item(") + name + text<Ch>(")")).c_str())
                ->setName((text<Ch>("Item(new") + name + text<Ch>(")")).c_str());
    });
    among("remove n by name, first first", [](Tree&, Branch& root, const All& all) {
        for (const auto& name : all)
            root.removeChild(name.c_str());
        check(root.getChildCount() == 0, "removed");
    });
    among("remove n by name, last first", [](Tree&, Branch& root, const All& all) {
        for (std::size_t i = all.size(); i-- > 0;)
            root.removeChild(all[i].c_str());
        check(root.getChildCount() == 0, "removed");
    });
    among("remove one, look up what is not there", [](Tree&, Branch& root, const All& all) {
        root.removeChild(all[0].c_str());
        keep(root.findChild(all[0].c_str()));
    });
    among("cursor: siblings, by name, by number, by identity", [](Tree& tree, Branch& root, const All& all) {
        tree.reset();
        tree.descend(0);
        while (tree.next())
            keep(tree.current());
        for (int i = 0; i < static_cast<int>(all.size()); ++i) {
            tree.reset();
            keep(tree.descend(all[i].c_str()));
            tree.ascend();
            keep(tree.descend(i));
            tree.ascend();
            keep(tree.descend(root.getChild(i)));
            keep(tree.next());
        }
    });
    add("siblings of one name told apart by suffix", [](int n) {
        return once([&] {
            Branch root(text<Ch>("root").c_str());
            std::vector<Text<Ch>> all;
            for (int i = 0; i < n; ++i) {
                all.push_back(text<Ch>("Item(" + std::to_string(i) + ")"));
                root.addChild(Branch(all.back().c_str()), nullptr, true);
            }
            for (int i = 0; i < n; ++i)
                check(root.findChild(all[i].c_str()) == i, "found");
        });
    });
    add("look by suffix, change suffixes elsewhere, by turns", [](int n) {
        Branch list(text<Ch>("list").c_str());
        Branch other(text<Ch>("other").c_str());
        std::vector<Text<Ch>> all;
        for (int i = 0; i < n; ++i) {
            all.push_back(text<Ch>("Item(" + std::to_string(i) + ")"));
            list.addChild(Branch(all.back().c_str()), nullptr, true);
            other.addChild(Branch(all.back().c_str()), nullptr, true);
        }
        for (int i = 0; i < n && i < 1000; ++i) // until it goes by an index
            keep(other.findChild(all.back().c_str()));
        const auto value = text<Ch>("7");
        return once([&] {
            for (int i = 0; i < n; ++i) {
                int place = 0;
                const_cast<typename T::Attrib*>(other.getChild(i)->getFirstAttrib(&place))
                    ->setValue(value.c_str());
                check(list.findChild(all[i].c_str()) == i, "found");
            }
        });
    });
    const auto search = [](Tree& tree) {
        const auto absent = text<Ch>("absent");
        Branch* root = tree.root();
        keep(root->searchTree(absent.c_str()));
        keep(root->highestBranch(absent.c_str()));
        keep(root->scanTree(
            root->getName(), nullptr, [](Branch*, typename T::Attrib*, long) { return true; }, 0));
        keep(root->findLinkParent(root));
    };
    add("search all of a wide tree", [search](int n) {
        Tree tree;
        makeWide<T>(tree, n);
        return once([&] { search(tree); });
    });
    add("search all of a deep tree", [search](int n) {
        Tree tree;
        makeDeep<T>(tree, n);
        return once([&] { search(tree); });
    });
    add("down and up n levels", [](int n) {
        Tree tree;
        makeDeep<T>(tree, n);
        return once([&] {
            tree.reset();
            while (tree.descend(0))
                keep(tree.current());
            while (tree.ascend())
                keep(tree.current());
        });
    });
    const auto loops = [](const Tree& tree) {
        auto all = ztree::descendants(*tree.root());
        for (Branch* b : all)
            for (const auto& a : ztree::attribs(*b))
                keep(a);
        for (Branch* b : ztree::children(*tree.root()))
            keep(b);
    };
    add("ext: loops over a wide tree", [loops](int n) {
        Tree tree;
        makeWide<T>(tree, n);
        return once([&] { loops(tree); });
    });
    add("ext: loops over a deep tree", [loops](int n) {
        Tree tree;
        makeDeep<T>(tree, n);
        return once([&] { loops(tree); });
    });
}

// What is done with whole trees, for both shapes.
template <class T> void copying(Cases& add)
{
    using Tree = typename T::Tree;
    using Make = void (*)(Tree&, int);
    const std::pair<const char*, Make> shapes[] = {
        {"wide", [](Tree& tree, int n) { makeWide<T>(tree, n); }},
        {"deep", [](Tree& tree, int n) { makeDeep<T>(tree, n); }},
        {"of one name", [](Tree& tree, int n) { makeWide<T>(tree, n, true); }}};
    for (const auto& shape : shapes) {
        const auto with = [&add, &shape](const char* name, auto act) {
            add(std::string(name) + ", " + shape.first, [act, make = shape.second](int n) {
                Tree tree;
                make(tree, n);
                return once([&] { act(tree); });
            });
        };
        with("copy", [](const Tree& tree) { keep(Tree(tree)); });
        with("addTree", [](Tree& tree) {
            typename T::Branch to(tree.root()->getName());
            check(to.addTree(tree.root(), true) == 0, "added");
        });
        with("insert below itself", [](Tree& tree) {
            tree.reset();
            tree.descend(0);
            tree.insert(tree.root());
        });
        with("ext: copyTree, moveTree", [](Tree& tree) {
            Tree copy;
            ztree::copyTree(tree, copy);
            ztree::moveTree(copy, tree);
        });
        with("save", [](Tree& tree) {
            std::ostringstream out;
            check(tree.save(out) == 0, "saved");
        });
        with("save and load", [](Tree& tree) {
            std::stringstream stream;
            tree.save(stream);
            Tree other;
            other.load(stream);
            keep(other.root());
        });
    }
}

void streams(Cases& add)
{
    add.group("tree");
    using Make = void (*)(ZTree&, int);
    const Make wide = [](ZTree& tree, int n) { makeWide<Narrow>(tree, n); };
    const Make deep = [](ZTree& tree, int n) { makeDeep<Narrow>(tree, n); };
    const Make attributed = [](ZTree& tree, int n) {
        auto* root = new ZTBranch("root");
        tree.set(root);
        for (const auto& name : names<char>(n))
            root->addAttrib(ZAttrib(name.c_str(), "value"), false);
    };
    const Make large = [](ZTree& tree, int n) { tree.set(new ZTBranch("root", filled<char>(n).data(), n)); };
    const Make binary = [](ZTree& tree, int n) {
        tree.set(new ZTBranch("root", filled<char>(n, "\1a").data(), n));
    };
    const std::pair<const char*, Make> shapes[] = {{"wide", wide},
                                                   {"deep", deep},
                                                   {"attributes", attributed},
                                                   {"one value", large},
                                                   {"binary value", binary}};
    for (const auto& shape : shapes) {
        const auto with = [&add, &shape](const char* name, auto act) {
            add(std::string(name) + ", " + shape.first, [act, make = shape.second](int n) {
                ZTree tree;
                make(tree, n);
                return once([&] { act(tree); });
            });
        };
        with("ext: saveTree and loadTree", [](ZTree& tree) {
            std::stringstream stream;
            check(ztree::saveTree(tree, stream), "saved");
            const std::string bytes = stream.str();
            ZTree other;
            check(ztree::loadTree(stream, other), "loaded");
            check(ztree::loadTree(bytes.data(), bytes.size(), other), "loaded");
            check(!ztree::loadTree(bytes.data(), bytes.size() - 1, other), "too short");
        });
        with("treeString", [](ZTree& tree) {
            ZString out;
            check(treeString(&tree, out) == 0, "written");
        });
        with("treeText without indent", [](ZTree& tree) {
            ZString out;
            check(treeText(&tree, ZString(), out) == 0, "written");
        });
    }
    add("SaveZTree", [](int n) {
        ZTree tree;
        makeWide<Narrow>(tree, n);
        return once([&] { SaveZTree("/dev/null", &tree); });
    });
    add("SaveZTreeW", [](int n) {
        ZTreeW tree;
        makeWide<Wide>(tree, n);
        return once([&] { SaveZTreeW("/dev/null", &tree); });
    });
}

void paths(Cases& add)
{
    add.group("paths");
    for (const char* piece : {"a/", "a//", "*/../", "[@a='v']", "(", "[", "a[b]", "'", "/"}) {
        add(std::string("parse n times ") + piece, [piece](int n) {
            const std::string path = (*piece == '[' ? "x" : "") + repeated(n, piece) + "a";
            return often([&] { keep(ztree::Path(path).ok()); });
        });
    }
    struct Search {
        const char* path;
        bool deep;
    };
    const Search searches[] = {{"//absent", false},        {"//same", false},
                               {"//*/@id", false},         {"*/..", false},
                               {"//*/..", false},          {"*[@id='8']", false},
                               {"same[.='other']", false}, {"*/../same", false},
                               {"//same[1000000]", false}, {"//*[x='1']", false},
                               {"//absent", true},         {"//node", true},
                               {"//node//node", true},     {"//*//absent", true},
                               {"//node/..", true},        {"//node/../..", true},
                               {"//node[node]", true},     {"//node[node]//node", true},
                               {"//*//*//*", true},        {"//node[1]", true}};
    for (const Search& s : searches) {
        add(std::string("findAll ") + s.path + (s.deep ? ", deep" : ", wide"), [s](int n) {
            ZTree tree;
            if (s.deep)
                makeDeep<Narrow>(tree, n);
            else
                makeWide<Narrow>(tree, n, true);
            const ztree::Path path(s.path);
            return once([&] {
                int count = 0;
                ztree::findAll(tree, path, [&](const ztree::PathMatch&) { ++count; });
                keep(count);
            });
        });
    }
    add("find n levels down by one path", [](int n) {
        ZTree tree;
        makeDeep<Narrow>(tree, n);
        const ztree::Path path("/" + repeated(n - 1, "node/") + "node");
        return often([&] { check(ztree::find(tree, path) != nullptr, "found"); });
    });
    add("set, get and find n values", [](int n) {
        std::vector<std::string> all;
        for (int i = 0; i < n; ++i)
            all.push_back("/root/Item(" + std::to_string(i) + ")/value");
        return once([&] {
            ZTree tree;
            for (int i = 0; i < n; ++i)
                check(ztree::set(tree, all[i], i), "set");
            for (int i = 0; i < n; ++i)
                check(ztree::get<int>(tree, all[i]) == i, "stored");
        });
    });
    add("make n levels by one path", [](int n) {
        const ztree::Path path("/" + repeated(n - 1, "node/") + "node/@id");
        return once([&] {
            ZTree tree;
            check(ztree::set(tree, path, "7"), "set");
        });
    });
    for (const char* path : {"//same", "//*/@id", "*", "same[@id='7']"}) {
        add(std::string("remove ") + path, [path](int n) {
            ZTree tree;
            makeWide<Narrow>(tree, n, true);
            return once([&] { check(ztree::remove(*tree.root(), path) == n, "removed"); });
        });
    }
    add("remove every second one of n", [](int n) {
        ZTree tree;
        makeWide<Narrow>(tree, n, true);
        for (int i = 0; i < n; i += 2)
            tree.root()->getChild(i)->addAttrib(ZAttrib("odd", "1"), false);
        return once([&] { check(ztree::remove(tree, "/root/*[@odd]") == n / 2, "removed"); });
    });
    add("remove one of n links", [](int n) {
        ZTree tree;
        makeWide<Narrow>(tree, n, true);
        ZTBranch links("links");
        for (int i = 0; i < n; ++i)
            links.linkChild(tree.root()->getChild(i), false);
        links.getChild(n / 2)->addAttrib(ZAttrib("odd", "1"), false);
        return once([&] { check(ztree::remove(links, "*[@odd]") == 1, "removed"); });
    });
    add("remove //node of a deep tree", [](int n) {
        ZTree tree;
        makeDeep<Narrow>(tree, n);
        return once([&] { check(ztree::remove(tree, "//node") > 0, "removed"); });
    });
}

} // namespace

void addTrees(Cases& add)
{
    building<Narrow>(add);
    finding<Narrow>(add);
    copying<Narrow>(add);
    building<Wide>(add);
    finding<Wide>(add);
    copying<Wide>(add);
    streams(add);
    paths(add);
}

} // namespace growth
