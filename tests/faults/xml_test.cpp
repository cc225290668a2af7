// Elements, the small reader and writer in both widths, the strict reader, the exact writer.

#include "faults/trees.h"

#include <ztree/ext/xml.h>
#include <ztree/xml.h>

namespace {

using namespace faults;
template <class Ch> class XmlFaults : public Sweep {
};
TYPED_TEST_SUITE(XmlFaults, BothUnits);

template <class Tag> std::string tellTag(Tag* tag)
{
    if (!tag)
        return "-";
    std::string all = "<" + shown(tag->getName()) + ":" + shown(tag->getText());
    for (int i = 0; tag->getKind() >= 0 && i < tag->getAttribList()->size(); ++i)
        all += " " + shown(tag->getAttribList()->nameAt(i)) + "=" + shown(tag->getAttribList()->dataAt(i));
    for (int i = 0; i < tag->getChildCount(); ++i)
        all += tellTag(tag->getChild(i));
    return all + ">";
}

/// Nested elements, attributes, entities, text in pieces.
std::string document(int deep)
{
    std::string open, close;
    for (int i = 0; i < deep; ++i) {
        open += "<level n=\"" + std::to_string(i) + "\">";
        close += "</level>";
    }
    std::string wide;
    for (int i = 40; i-- > 0;)
        wide += "<c" + std::to_string(i) + " Rel=\"" + std::to_string(i) + "\"><x/>b &lt;&amp; <x/>" +
                std::string(static_cast<unsigned>(i) * 9, 't') + "</c" + std::to_string(i) + ">";
    std::string attributes;
    for (int i = 0; i < 80; ++i)
        attributes += " k" + std::to_string(i) + "=\"v\"";
    wide += "<many" + attributes + "/><q>pieces <>of <>text</q>";
    return "<?xml version=\"1.0\"?><!DOCTYPE r><r a=\"1\">" + open + "<p Pre=\"1\">  one <x/>two </p>" +
           close + wide + "</r>";
}

TYPED_TEST(XmlFaults, elements)
{
    using Tag = typename Twin<TypeParam>::Tag;
    const auto lit = [](const std::string& text) { return widen<TypeParam>(text); };
    const auto longText = lit(std::string(500, 'l'));
    struct Element : Tag {
        using Tag::Tag;
        std::string told() { return tellTag(this) + shown(this->getAttrib(widen<TypeParam>("k").c_str())); }
    };
    const auto make = [&] {
        auto tag = std::make_unique<Element>(nullptr, lit("root").c_str(), lit("text").c_str());
        for (int i = 0; i < 5; ++i)
            new Tag(tag.get(), lit("c" + std::to_string(9 - i)).c_str());
        return tag;
    };
    struct Operation {
        std::function<void(Tag&)> run;
        Again again = Again::same;
    };
    const Operation operations[] = {
        {[&](Tag& t) { t.setName(longText.c_str()); }},
        {[&](Tag& t) { t.setText(longText.c_str()); }},
        {[&](Tag& t) { t.setData(lit("name b=\"2\" a='1'").c_str()); }, Again::any},
        {[&](Tag& t) { t.addAttrib(longText.c_str(), longText.c_str()); }},
        {[&](Tag& t) { t.setAttrib(lit("k").c_str(), longText.c_str()); }},
        {[&](Tag& t) { t.addChild(lit("twice").c_str(), longText.c_str()); }},
        {[&](Tag& t) { t.sortChildren(); }},
        {[&](Tag& t) { have(t.getAttribList()); }},
        {[&](Tag& t) {
            auto fresh = std::make_unique<Tag>();
            have(fresh.get())->setParent(&t);
            fresh.release();
        }},
        {[&](Tag& t) {
             std::unique_ptr<Tag> copy = std::make_unique<Tag>(t); // shares the children
             while (have(copy.get())->getChildCount())
                 copy->removeChild(copy->getChild(0));
             copy->addAttrib(longText.c_str(), nullptr);
             Tag other;
             other = *copy;
         },
         Again::any},
    };
    for (const Operation& operation : operations)
        this->sweepChange("element " + std::to_string(&operation - operations), make, operation.run,
                          operation.again);
}

TYPED_TEST(XmlFaults, reader)
{
    using Reader = typename Twin<TypeParam>::Reader;
    const auto text = widen<TypeParam>(document(70));
    const auto make = [] { return std::make_unique<Reader>(); };
    const auto load = [](Reader& r, bool sort) {
        r.load(sort, true);
        return tellTag(r.getRoot());
    };
    this->sweep("text", make, [&](Reader& r) {
        want(r.setData(text.c_str(), 1252));
        Reader copy(r);
        Reader other;
        other = copy;
        unsigned long n = 0;
        const auto* all = other.getBuffer(&n);
        return shown(all, n);
    });
    this->sweep("constructor", [&] {
        // It has no result: what found no memory is empty.
        Reader r(text.c_str(), 1252);
        unsigned long n = 0;
        const auto* all = r.getBuffer(&n);
        return shown(have(all), n);
    });
    const auto pieces = [] {
        return std::make_unique<Reader>(widen<TypeParam>("<r>a<>b<!c><d/>x<>y</r>").c_str());
    };
    this->sweep("pieces", pieces, [&](Reader& r) { return load(r, false); });
    const auto filled = [&] { return std::make_unique<Reader>(text.c_str()); };
    for (const bool sort : {false, true})
        this->sweep("elements", filled, [&](Reader& r) { return load(r, sort); });
    for (const bool skip : {false, true}) {
        const auto loaded = [&] {
            auto r = filled();
            r->load(false, true);
            return r;
        };
        this->sweep("tree", loaded, [&](Reader& r) {
            std::unique_ptr<typename Twin<TypeParam>::Tree> tree(r.createTree(skip));
            return tell(*have(tree.get()));
        });
    }
}

TYPED_TEST(XmlFaults, writer)
{
    using File = typename Twin<TypeParam>::File;
    using Reader = typename Twin<TypeParam>::Reader;
    const auto lit = [](const std::string& text) { return widen<TypeParam>(text); };
    typename Twin<TypeParam>::Tree tree;
    tree.set(makeTree<TypeParam>(20, 70));
    typename Twin<TypeParam>::Branch identity(lit("root").c_str());
    for (const char* name : {"Module", "Name", "Command", "Query"})
        identity.addAttrib(typename Twin<TypeParam>::Attrib(lit(name).c_str(), lit("x.y.").c_str()), false);
    for (int i = 0; i < 3; ++i)
        tree.root()->addChild(typename Twin<TypeParam>::Branch(lit("VELIdentity").c_str(), i), nullptr,
                              false);
    const auto longText = lit(std::string(200, '<') + std::string(2000, 'l') + " \r\n");
    const auto make = [] { return std::make_unique<File>(); };
    const auto act = [&](File& f) {
        File(), Reader();
        const TypeParam* document = nullptr;
        f.start(&document, lit("Doc").c_str(), lit("doc.dtd").c_str());
        f.descend(lit("a").c_str(), 1);
        f.attrib(lit("k").c_str(), longText.c_str(), 0);
        f.writeStr(lit("s").c_str(), longText.c_str());
        f.writeData(lit("d").c_str(), longText.c_str(), 300);
        f.writeData(lit("d").c_str(), static_cast<const TypeParam*>(nullptr), 0);
        f.writeCommand(lit("c").c_str(), 7, longText.c_str());
        f.writeAmount(lit("m").c_str(), 1e300, 3);
        f.writeBranch(&tree, &identity, 1);
        f.writeBranch(&tree);
        f.write(longText.c_str(), -1, 1);
        f.finish();
        return shown(document);
    };
    this->sweep("document", make, act);
}

// --- the modern layer ---

using StrictFaults = Sweep;

std::string utf16(const std::string& ascii)
{
    std::string bytes = "\xFF\xFE";
    for (const char c : ascii)
        bytes += {c, '\0'};
    return bytes;
}

TEST_F(StrictFaults, reader)
{
    std::string attributes, references, deep, blanks;
    for (int i = 0; i < 80; ++i) {
        attributes += " a" + std::to_string(i) + "='&#" + std::to_string(100 + i * 700) + ";\t" +
                      std::string(static_cast<unsigned>(i) * 5, 'v') + "'";
        references += "&#x1F60" + std::to_string(i % 10) + ";" +
                      std::string(static_cast<unsigned>(i) * 7, 'r') + "&lt;\r\n";
        deep += "<d> \r\n<e/>";
        blanks += "\r\n \r<b/>";
    }
    std::string closing;
    for (int i = 0; i < 80; ++i)
        closing += "</d>";
    const std::string texts = "<t>one<![CDATA[ two\r ]]>" + references + "<u/>" + references +
                              "<u/><!-- c -->x<?p?>" + references + "</t>";
    const std::string all = "<?xml version='1.0'?>\n<r" + attributes + ">" + texts + deep + closing + blanks +
                            "late text<v>" + blanks + "</v><w>  \r\n </w></r>";
    const std::string documents[] = {
        all,
        "\xEF\xBB\xBF<r>" + texts + "</r>",
        utf16("<r>" + texts + "</r>"),
        "<?xml version='1.0' encoding='windows-1252'?><r>\x80" + texts + "</r>",
        "<?xml version='1.0' encoding='us-ascii'?><r>" + deep + closing + "</r>",
        "<r>" + deep + closing, // ends too early
        "<r a='1'" + attributes + " a='2'/>",
        "<r>" + blanks + "<x>]]></x></r>",
        "\xFF\xFE",
        "<r a='\tx'/>",
        "<r a='&#65;x'/>",
        "<r a='&lt;x'/>",
        "<r a='x&lt;y'/>",
        "<r>\rx</r>",
        "<r>&lt;x</r>",
        "<r>x&#65;y</r>",
        "<r><![CDATA[\rx]]></r>",
        "<r><![CDATA[x\ry]]></r>",
        "<r>\n<v/>\nlate</r>",
        "<r>\r<v/>late</r>",
        "<r><v/>" + std::string(300, '\n') + "<v/>\r" + std::string(600, '\r') + "<v/>late<v>" +
            std::string(700, ' ') + "</v><v>\r<?p?>" + std::string(300, ' ') + "</v></r>",
    };
    struct Kept {
        ZTree tree;
        std::string told() const { return tell(tree); }
    };
    const auto make = [] {
        auto kept = std::make_unique<Kept>();
        kept->tree.add(ZTBranch("kept"));
        return kept;
    };
    for (const std::string& text : documents)
        sweep(text.substr(0, 40), make, [&](Kept& kept) {
            ztree::XmlError error;
            const bool read = ztree::readXml(text.data(), text.size(), kept.tree, &error);
            return std::to_string(read) + error.message;
        });
}

// The room of the output ends at every place once: a prefix of any length moves it there.
TEST_F(StrictFaults, writer)
{
    TreeModel model;
    model.name = "root";
    const std::string special = "<&\"\t\n\r'a]]>b";
    model.attribs = {{"a", special}, {"b", "plain"}};
    for (const int type : {0, 4, 6, 7, 7}) {
        TreeModel child;
        child.name = "child";
        child.type = type;
        child.bytes = special;
        child.attribs = {{"c", special}};
        model.children.push_back(child);
    }
    model.children[0].children = {model.children[1], model.children[4]};
    model.children[3].children = {model.children[0]};
    TreeModel mixed;
    mixed.name = "#text";
    mixed.type = 7;
    mixed.bytes = " ";
    model.children[2].children = {mixed, model.children[1]};
    for (const int indent : {-1, 2})
        for (unsigned length = 0; length < 1300; length += stride()) {
            TreeModel prefixed = model;
            prefixed.attribs[1].second.assign(2900 + length, 'x');
            const std::unique_ptr<ZTBranch> branch(tree_model::build(prefixed));
            ztree::XmlStyle style;
            style.indent = indent;
            style.declaration = length % 7 != 0;
            sweep(
                "length " + std::to_string(length), [] { return std::make_unique<ZString>("old"); },
                [&](ZString& out) {
                    must(ztree::writeXml(*branch, out, nullptr, style));
                    std::string text = shown(out);
                    out = "old";
                    return text;
                });
        }
    ZTree deep;
    deep.set(makeTree<char>(3, 100));
    sweep(
        "deep tree", [] { return std::make_unique<ZString>(); },
        [&](ZString& out) {
            ztree::XmlError error;
            const bool written = ztree::writeXml(deep, out, &error);
            std::string text = std::to_string(written) + error.message + shown(out);
            out.clear();
            return text;
        });
}

} // namespace
