// XML: three readers and three writers over documents of every kind, sound and broken.

#include "growth.h"

#include <ztree/ext/xml.h>

#include <memory>

namespace growth {
namespace {

struct Document {
    const char* name;
    const char* head;
    const char* item;  ///< n times; '`' is its number
    const char* close; ///< n times too, behind the items
    const char* tail;
    bool sound; ///< readXml takes it
};
const Document documents[] = {
    {"elements", "<r>", "<a>text</a>", "", "</r>", true},
    {"empty elements on lines", "<r>", "\r\n  <a/>", "", "</r>", true},
    {"elements of many names", "<r>", "<a`>text</a`>", "", "</r>", true},
    {"levels", "", "<a>", "</a>", "", true},
    {"levels with text", "", "<a>x", "y</a>", "", true},
    {"attributes", "<r", " a`='value'", "", "/>", true},
    {"elements with attributes", "<r>", "<a id='`' b=\"value\"/>", "", "</r>", true},
    {"one long text", "<r>", "text ", "", "</r>", true},
    {"one long text beyond ASCII", "<r>", "\xC3\xA4\xE2\x82\xAC", "", "</r>", true},
    {"line ends in one text", "<r>", "a\r\n", "", "</r>", true},
    {"entities", "<r>", "&amp;&lt;", "", "</r>", true},
    {"character references", "<r>", "&#65;&#x20AC;", "", "</r>", true},
    {"one long attribute", "<r a='", "x&quot;", "", "'/>", true},
    {"one long name", "<", "n", "", "/>", true},
    {"comments", "<r>", "<!--c-->", "", "</r>", true},
    {"comments and text", "<r>", "x<!--c-->", "", "</r>", true},
    {"one long comment", "<r><!--", "- <a> ", "", "--></r>", true},
    {"CDATA sections", "<r>", "<![CDATA[<x>]]>", "", "</r>", true},
    {"one long CDATA section", "<r><![CDATA[", "]] ", "", "]]></r>", true},
    {"instructions", "<r>", "<?p x?>", "", "</r>", true},
    {"text and elements", "<r>", "x<b/>", "", "</r>", true},
    {"blanks", "<r>", "  \n", "", "</r>", true},
    {"a long DOCTYPE", "<!DOCTYPE r [", "<!ENTITY e` 'x'> ", "", "]><r/>", true},
    {"open elements", "<r>", "<a>", "", "", false},
    {"stray end tags", "<r>", "</a>", "", "", false},
    {"open tags", "<r>", "<a ", "", "", false},
    {"open quotes", "<r", " a='", "", "", false},
    {"open comments", "<r>", "<!--", "", "", false},
    {"open entities", "<r>", "&", "", "", false},
    {"bare brackets", "", "<", "", "", false},
    {"closing brackets", "<r>", ">", "", "", false},
    {"a fault on the last of many lines", "<r>", "line \n", "", "<a></r>", false},
    {"an attribute twice, at the end", "<r", " a`='value'", "", " a0='value'/>", false},
};

std::string make(const Document& d, int n)
{
    return d.head + repeated(n, d.item) + repeated(n, d.close) + d.tail;
}

void strictReader(Cases& add)
{
    add.group("readXml");
    for (const Document& d : documents) {
        add(d.name, [&d](int n) {
            const std::string document = make(d, n);
            return once([&] {
                ZTree tree;
                ztree::XmlError error;
                check(ztree::readXml(document.data(), document.size(), tree, &error) == d.sound, d.name);
            });
        });
    }
    add("UTF-16", [](int n) {
        const auto t = text<zwchar>(repeated(n, "<a>text</a>\n"));
        const auto document =
            Text<zwchar>(1, zwchar(0xFEFF)) + text<zwchar>("<r>") + t + text<zwchar>("</r>");
        return once([&] {
            ZTree tree;
            check(ztree::readXml(reinterpret_cast<const char*>(document.data()), document.size() * 2, tree),
                  "read");
        });
    });
    add.group("writeXml");
    for (const Document& d : documents) {
        if (!d.sound)
            continue;
        add(d.name, [&d](int n) {
            const std::string document = make(d, n);
            ZTree tree;
            ztree::readXml(document.data(), document.size(), tree);
            return once([&] {
                ZString out;
                check(ztree::writeXml(tree, out), d.name);
            });
        });
    }
}

template <class T> void smallReader(Cases& add)
{
    using Tree = typename T::Tree;
    using Reader = typename T::Reader;
    add.group(std::string("ZXmlReader") + T::suffix);
    for (const Document& d : documents) {
        add(d.name, [&d](int n) {
            const auto document = text<typename T::Ch>(make(d, n));
            return once([&] {
                Reader reader(document.c_str());
                for (int i = 0; i < 3; ++i)
                    reader.load(false, i == 0);
                const std::unique_ptr<Tree> tree(reader.createTree(true));
                keep(tree);
                keep(Reader(reader));
                reader.unload();
            });
        });
    }
    add("elements one after the other", [](int n) {
        const auto document = text<typename T::Ch>(repeated(n, "<a>text</a>\n"));
        return once([&] {
            Reader reader(document.c_str());
            int count = 0;
            for (bool first = true; reader.load(false, first) && reader.getRoot() && count < n;
                 first = false) {
                ++count;
                reader.unload();
            }
            keep(count);
        });
    });
    add("sorted, then each sibling", [](int n) {
        const auto document = text<typename T::Ch>("<r>" + repeated(n, "<a`>text</a`>") + "</r>");
        const typename T::Ch* const noText = nullptr;
        return once([&] {
            Reader reader(document.c_str());
            reader.load(true, true);
            int count = 0;
            for (auto* tag = reader.findChild(nullptr, noText); tag;
                 tag = reader.findNextChild(reader.getRoot(), tag, noText, true))
                ++count;
            check(count == n, "siblings");
        });
    });
}

template <class T> void tags(Cases& add)
{
    using Ch = typename T::Ch;
    using Tag = typename T::Tag;
    add.group(std::string("ZXmlTag") + T::suffix);
    add("n children and attributes, freed", [](int n) {
        const auto all = names<Ch>(n);
        return once([&] {
            Tag root(nullptr, all[0].c_str());
            for (const auto& name : all) {
                new Tag(&root, name.c_str(), name.c_str());
                root.setAttrib(name.c_str(), name.c_str());
            }
            for (const auto& name : all)
                keep(root.getAttrib(name.c_str()));
            check(root.getChildCount() == n, "added");
        });
    });
    add("n children that stand twice", [](int n) {
        const auto name = text<Ch>("name");
        return once([&] {
            Tag root;
            for (int i = 0; i < n; ++i)
                root.addChild(name.c_str(), name.c_str());
            check(root.getChildCount() == 2 * n, "added");
        });
    });
    add("n levels, sorted, freed", [](int n) {
        const auto name = text<Ch>("name");
        return once([&] {
            Tag root;
            Tag* at = &root;
            for (int i = 0; i < n; ++i)
                at = new Tag(at, name.c_str());
            root.sortChildren();
        });
    });
    add("take n children out, last first", [](int n) {
        Tag root;
        std::vector<std::unique_ptr<Tag>> all;
        for (int i = 0; i < n; ++i)
            all.push_back(std::make_unique<Tag>(&root));
        return once([&] {
            for (int i = n; i-- > n / 2;)
                root.removeChild(all[i].get());
            for (int i = n / 2; i-- > 0;)
                all[i]->setParent(nullptr);
            check(root.getChildCount() == 0, "taken");
        });
    });
    add("find the last of n", [](int n) {
        Tag root;
        Tag* last = nullptr;
        for (const auto& name : names<Ch>(n))
            last = new Tag(&root, name.c_str());
        return often([&] {
            check(root.getChild(last->getName()) == last, "found");
            check(root.getChildIndex(last) == n - 1, "found");
        });
    });
}

template <class T> void smallWriter(Cases& add)
{
    using Ch = typename T::Ch;
    using File = typename T::File;
    add.group(std::string("ZXmlFile") + T::suffix);
    add("n elements of every kind", [](int n) {
        const auto name = text<Ch>("name"), value = text<Ch>("a < b & c");
        return once([&] {
            File file;
            const Ch* result = nullptr;
            file.start(&result, name.c_str(), name.c_str());
            file.descend(name.c_str(), 0);
            for (int i = 0; i < n; ++i) {
                file.writeStr(name.c_str(), value.c_str());
                file.writeAmount(name.c_str(), i, 2);
                file.quickTag(name.c_str(), 1);
                file.attrib(name.c_str(), value.c_str(), 0);
            }
            file.finish();
            check(file.getDataSize() > n, "written");
        });
    });
    add("one text of n characters", [](int n) {
        const auto name = text<Ch>("name"), value = filled<Ch>(n, "a <&lt; ");
        return once([&] {
            File file;
            const Ch *result = nullptr, *noText = nullptr;
            file.start(&result, noText, noText);
            file.write(value.c_str(), n, 1);
            file.writeStr(name.c_str(), value.c_str());
            file.writeData(name.c_str(), value.c_str(), n);
            file.finish();
            check(file.getDataSize() > n, "written");
        });
    });
    struct Shape {
        const char* name;
        const char* item;
    };
    for (const Shape& shape :
         {Shape{"branch with n children", "<a>text &amp;</a>"}, Shape{"branch with one text", "text"}}) {
        add(std::string("write a ") + shape.name, [item = shape.item](int n) {
            typename T::Reader reader(text<Ch>("<r>" + repeated(n, item) + "</r>").c_str());
            reader.load(false, true);
            const std::unique_ptr<typename T::Tree> tree(reader.createTree(false));
            tree->reset();
            return once([&] {
                File file;
                const Ch *result = nullptr, *noText = nullptr;
                file.start(&result, noText, noText);
                file.writeBranch(tree.get());
                file.finish();
                check(file.getDataSize() > n, "written");
            });
        });
    }
}

} // namespace

void addXml(Cases& add)
{
    strictReader(add);
    smallReader<Narrow>(add);
    smallReader<Wide>(add);
    tags<Narrow>(add);
    tags<Wide>(add);
    smallWriter<Narrow>(add);
    smallWriter<Wide>(add);
}

} // namespace growth
