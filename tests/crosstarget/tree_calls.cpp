// Containers, attributes, tokenizers, trees, paths, binary trees, XML.

#include "crosstarget/calls.h"
#include "support/tree_frame.h"

#include <ztree/ext/attrib.h>
#include <ztree/ext/tree.h>
#include <ztree/ext/xml.h>
#include <ztree/xml.h>

#include <memory>
#include <sstream>

namespace crosstarget {
namespace {

const std::string_view names[] = {"Item",     "a",  "b",        "item(1)", "Order",
                                  "Price(2)", "_x", "\xC3\x84", "Item(0)"};
const std::string_view values[] = {"7",   "v",     "",    "-3,5",         "true",
                                   "x<y", "&amp;", "a b", "\xE2\x82\xAC", "12345678901"};

/// The text up to its first zero in either width.
template <class Ch> std::basic_string<Ch> as(const std::string& text)
{
    if constexpr (sizeof(Ch) == 1)
        return text.c_str();
    else
        return widened(text.c_str());
}
template <class Ch, class Pieces> std::basic_string<Ch> some(Random& r, const Pieces& pieces)
{
    return as<Ch>(std::string(r.pick(pieces)));
}

struct Key final : ZSortObject {
    explicit Key(int value) : key(value) {}
    int compare(const ZSortObject* other) const override { return key - static_cast<const Key*>(other)->key; }
    int key;
};
// Arrays of objects are compared with their model in tests/containers.
void containers(Calls& c, Random& r)
{
    static const char slots[8] = {};
    const auto index = [](const void* p) {
        return p ? static_cast<int>(static_cast<const char*>(p) - slots) : -1;
    };
    ZArray array;
    ZSortArray sorted;
    std::vector<std::unique_ptr<Key>> made; // the array lets go of them at the end
    for (int step = 0; step < 12; ++step) {
        const int i = r.between(-1, 12), n = r.below(7), value = r.below(9);
        const void* const p = n ? slots + n : nullptr;
        const int did = r.choose([&] { return array.resize(i); }, [&] { return array.setAt(i, p); },
                                 [&] { return index(array.remove(i)); }, [&] { return array.setGrowth(i); },
                                 [&] { return array.add(p); }, [&] { return array.add(p); });
        Call{c, "array", i, n, did, array.size(), array.find(p)};
        made.push_back(std::make_unique<Key>(value));
        Call{c, "insert", value,
             r.oneIn(3) ? sorted.add(made.back().get()) : sorted.insert(made.back().get())};
        const ZSortObject* found = nullptr;
        Call{c, "get", sorted.search(made[0].get(), nullptr), sorted.get(made.back().get(), i, &found),
             found != nullptr};
    }
    Call{c, "sort", sorted.sort(), array.compact()};
    for (int i = 0; i < 12; ++i)
        Call{c, "at", index(array.getAt(i)), static_cast<const Key*>(sorted.getAt(i))->key};
    sorted.removeAll();
}

template <class List, class Attrib, class Ch> void attribList(Calls& c, Random& r, const std::string& markup)
{
    List list(as<Ch>(markup).c_str());
    for (int step = 0; step < 8; ++step) {
        const auto name = some<Ch>(r, names), value = some<Ch>(r, values);
        const Ch* const n = name.c_str();
        const int did = r.choose(
            [&] { return list.setData(as<Ch>(markup).c_str()); }, [&] { return list.sort(); },
            [&] { return list.addAttrib(n, value.c_str()), 1; },
            [&] { return list.setAttrib(n, value.c_str()), 2; }, [&] { return list.removeAttrib(n), 3; });
        Call{c, "list", did, name, value, list.getAttrib(n), list.size(), list.elementAt(step)};
        Call{c, "at", list.nameAt(step), list.dataAt(step)};
        const Attrib a(n, value.c_str()), b(list.nameAt(step));
        const int order = a.compare(&b);
        std::stringstream stream;
        Call{c, "save", a.save(stream), stream.str(), (order > 0) - (order < 0)};
        stream.str(stream.str().substr(0, static_cast<std::size_t>(r.below(20))));
        Attrib back;
        Call{c, "load", back.load(stream), back.getName(), back.getValue()};
    }
}

void attributes(Calls& c, Random& r)
{
    static const std::string_view pieces[] = {"id",   "Rel", "a",  "=",        "=\"",
                                              "\"",   "'",   " ",  "7",        "name='x' ",
                                              "b=1 ", "\t",  "_x", "\xC3\xA4", "A=\"v\" "};
    const std::string markup = r.text(pieces, 14);
    Call{c, "markup", markup};
    attribList<ZAttribList, ZAttrib, char>(c, r, markup);
    attribList<ZAttribWList, ZAttribW, zwchar>(c, r, markup);
}

const std::string_view cut[] = {" ", ",", ";", "ab", "\"", "\r", "\n", "\r\n", "\t", "7", "\xC3\xA4", ",,"};

template <class Tokenizer, class Ch> void tokens(Calls& c, Random& r, const std::string& text)
{
    const int mode = r.below(4);
    const auto seps = as<Ch>(r.text(cut, 2)), delims = as<Ch>(r.text(cut, 2));
    Tokenizer t(as<Ch>(text).c_str(), seps.c_str(), mode);
    Call{c, "init", seps, mode, delims, static_cast<const Ch*>(t), t.lastSplit()};
    for (int i = 0; i < 6; ++i) {
        Call{c, "skip", t.hasMoreTokens(), r.oneIn(4) ? t.skip(delims.c_str()) : 0};
        Call{c, "next", t.nextToken(i % 2 ? delims.c_str() : nullptr, i % 3 ? -1 : mode ^ 1), t.lastSplit()};
    }
}

void tokenizers(Calls& c, Random& r)
{
    const std::string text = r.text(cut, 16);
    Call{c, "text", text};
    tokens<ZTokenizer, char>(c, r, text);
    tokens<ZTokenizerW, zwchar>(c, r, text);
    const int mode = r.below(16), length = r.between(-1, static_cast<int>(text.size()));
    ZTokenizerEx t(text.data(), length, mode & 4 ? nullptr : ",;", mode);
    for (int i = 0; i < 5; ++i) {
        ZString out;
        Call{c,
             "ex",
             mode,
             length,
             t.hasMoreTokens(),
             t.nextToken(out, i % 2 ? ", \r\n" : nullptr, -1),
             t.lastSplit(),
             t.getChunk(out, i - 1)};
    }
    for (std::string_view token :
         ztree::tokens(text, ",; ", mode & 1 ? ztree::Empty::keep : ztree::Empty::skip))
        Call{c, "token", token};
}

/// A tree with everything in it.
template <class Tree> void show(Calls& c, const Tree& tree)
{
    if (!tree.root())
        return;
    Call{c, "root", tree.root()->getFullName(), tree.root()->toString(nullptr)};
    for (auto* b : ztree::descendants(*tree.root())) {
        const void* value = nullptr;
        int size = 0, length = -1;
        Call{c,   "branch", b->getFullName(), b->getType(), b->getChildCount(), b->getValuePtr(&value, &size),
             size};
        Call{c, "value", b->toString(&length), length};
        for (auto [name, text] : ztree::attribs(*b))
            Call{c, "attrib", name, text};
    }
}

/// Gives a branch another value, or an attribute.
template <class Attrib, class Ch, class Branch> void change(Random& r, Branch& b)
{
    const int n = r.number();
    const double real = r.real();
    const auto name = some<Ch>(r, names), text = as<Ch>(r.text(values, 2));
    r.choose([&] { return b.setValue(static_cast<char>(n)), 0; },
             [&] { return b.setValue(static_cast<unsigned char>(n)), 0; },
             [&] { return b.setValue(static_cast<short>(n)), 0; }, [&] { return b.setValue(n), 0; },
             [&] { return b.setValue(static_cast<long>(n)), 0; }, [&] { return b.setValue(real, 2), 0; },
             [&] { return b.setValue(text.data(), static_cast<int>(text.size() * sizeof(Ch))), 0; },
             [&] { return b.addAttrib(Attrib(name.c_str(), text.c_str()), n & 1); });
}

template <class Tree, class Branch, class Attrib, class Ch> void walk(Calls& c, Random& r)
{
    Tree tree;
    tree.add(Branch(as<Ch>("top").c_str()));
    for (int step = 0; step < 40; ++step) {
        const int at = r.between(-1, 3);
        const auto name = some<Ch>(r, names);
        const Ch* const n = name.c_str();
        Branch* const here = tree.current() ? tree.current() : tree.reset();
        const Branch *found = here, *root = tree.root();
        const int result =
            r.choose([&] { return tree.add(Branch(n, r.real(), static_cast<unsigned char>(step & 7))); },
                     [&] { return tree.add(Branch(n)); }, [&] { return found = tree.descend(n), 1; },
                     [&] { return found = tree.descend(at), 2; }, [&] { return found = tree.next(), 3; },
                     [&] { return found = tree.ascend(), 4; }, [&] { return found = root->searchTree(n), 5; },
                     [&] { return found = root->highestBranch(n), 6; }, [&] { return here->setName(n); },
                     [&] { return here->removeAttrib(n), 7; }, [&] { return tree.remove(n), 8; },
                     [&] { return step < 30 ? here->addTree(root->getChild(at), at & 1) : here->equals(n); });
        Call{c, "walk", name, at, result, found ? found->getFullName() : nullptr, root->findChild(n)};
        if (tree.current())
            change<Attrib, Ch>(r, *tree.current());
    }
    show(c, tree);
    std::ostringstream out;
    Call{c, "save", tree.save(out), out.str()};
    if constexpr (sizeof(Ch) == 1) {
        ZString text, line;
        Call{c, "text", treeText(&tree, "  ", text), treeString(&tree, line), text, line};
    }
}

void trees(Calls& c, Random& r)
{
    walk<ZTree, ZTBranch, ZAttrib, char>(c, r);
    walk<ZTreeW, ZTBranchW, ZAttribW, zwchar>(c, r);
}

/// Markup of all kinds, mostly well-formed.
std::string document(Random& r, int depth)
{
    static const std::string_view texts[] = {"t",      "&lt;",    "&amp;",    " ",          "\n",
                                             "7",      "&#228;",  "&#x20AC;", "<!-- c -->", "<![CDATA[a<b]]>",
                                             "&apos;", "\xC3\xA4"};
    static const std::string_view slips[] = {"&bad;", "<",   "&",        "</x>", "\x01",
                                             "\xFF",  "]]>", "<?pi x?>", "\"",   "&#0;"};
    const std::string name(r.pick(names).substr(0, 2));
    std::string made = "<" + name;
    for (int n = r.below(3); n > 0; --n)
        made += " k" + std::to_string(n) + "=\"" + r.text(values, 2) + "\"";
    if (r.oneIn(5))
        return made + "/>";
    made += ">" + r.text(texts, 3);
    for (int n = depth > 0 ? r.below(4) : 0; n > 0; --n)
        made += document(r, depth - 1);
    if (r.oneIn(60))
        made += r.pick(slips);
    return made + "</" + (r.oneIn(80) ? "x" : name) + ">";
}
/// A document that is read; none within many tries leaves the tree empty.
void readDocument(Random& r, ZTree& tree)
{
    for (int i = 0; i < 20 && !tree.root(); ++i) {
        const std::string text = document(r, 3);
        ztree::readXml(text.data(), text.size(), tree);
    }
}

void paths(Calls& c, Random& r)
{
    static const std::string_view pieces[] = {"It", "a", "/",   "/", "//", "*", "[2]", "[@k1='7']", "@k1",
                                              "..", ".", "(1)", "[", "'",  "b", "@*",  "[.='7']",   "[a]"};
    static const std::string_view steps[] = {"//a/",  "It(2)/",      "Or/b",  "b[1]/", "*/b[2]",
                                             "*/@k1", "Pr[@k1='7']", "/It/a", "//*/"};
    ZTree tree;
    readDocument(r, tree);
    show(c, tree);
    for (int i = 0; i < 6; ++i) {
        const std::string text = r.oneIn(2) ? r.text(pieces, 7) : std::string(r.pick(steps)) + "a";
        const ztree::Path path(text);
        const int number = r.number();
        const double real = r.real();
        ztree::PathError error;
        Call{c, "path", text, path.error().column, path.error().message};
        for (const ztree::PathMatch& match : ztree::findAll(tree, path))
            Call{c, "match", match.branch->getFullName(), ztree::text(match)};
        Call{c, "get", ztree::get<int>(tree, path), ztree::get<double>(tree, path),
             ztree::get<bool>(tree, path)};
        const int did = r.choose([&] { return ztree::set(tree, path, number, &error); },
                                 [&] { return ztree::set(tree, path, real, &error); },
                                 [&] { return ztree::set(tree, path, "7", &error); },
                                 [&] { return ztree::remove(tree, path); });
        Call{c, "did", did, error.column, error.message};
    }
    show(c, tree);
}

void load(Calls& c, const std::string& bytes)
{
    ZTree tree;
    ztree::TreeStreamError error;
    Call{c, "load", ztree::loadTree(bytes.data(), bytes.size(), tree, &error), static_cast<int>(error.offset),
         error.message};
    show(c, tree);
}

// Changed bytes are not framed anew: they may say that a value is a long, and that has 32 bits on one target.
void treeStreams(Calls& c, Random& r)
{
    ZTree tree, back;
    readDocument(r, tree);
    if (!tree.root())
        return;
    for (ZTBranch* b : ztree::descendants(*tree.root()))
        change<ZAttrib, char>(r, *b);
    std::ostringstream first, second;
    Call{c, "save", tree.save(first), ztree::saveTree(tree, second), first.str(), second.str()};
    std::string bytes = second.str(), old = first.str();
    const auto end = static_cast<std::size_t>(r.below(static_cast<int>(bytes.size())));
    load(c, bytes);
    load(c, bytes.substr(0, end));
    load(c, tree_frame::framed(bytes.substr(16, end)));
    bytes[end] = static_cast<char>(r.next());
    load(c, bytes);
    for (int n = r.below(3); n > 0; --n)
        old[static_cast<std::size_t>(r.below(static_cast<int>(old.size())))] = static_cast<char>(n * 77);
    std::istringstream in(old);
    Call{c, "old", old, back.load(in)};
    show(c, back);
}

template <class Reader, class Tree, class Ch> void read(Calls& c, Random& r, const std::string& text)
{
    Reader reader(as<Ch>(text).c_str());
    for (int i = 0; i < 3; ++i) {
        const bool sort = r.oneIn(2), restart = r.oneIn(4), skip = r.oneIn(2);
        const auto name = some<Ch>(r, names);
        unsigned long at = 0;
        Call{c, "load", sort, restart, reader.load(sort, restart), reader.getPosition(&at) != nullptr, at};
        const auto* const child = reader.isEmpty() ? nullptr : reader.findChild(nullptr, name.c_str());
        Call{c, "child", name, child ? child->getText() : nullptr};
        const std::unique_ptr<Tree> tree(reader.createTree(skip));
        if (tree)
            show(c, *tree);
    }
    reader.unload();
}

void xmlReader(Calls& c, Random& r)
{
    std::string text = r.oneIn(3) ? "<?xml version=\"1.0\"?><!DOCTYPE D SYSTEM \"d.ztd\">" : "";
    text += document(r, 3);
    text += document(r, 1);
    Call{c, "text", text};
    read<ZXmlReader, ZTree, char>(c, r, text);
    read<ZXmlReaderW, ZTreeW, zwchar>(c, r, text);
}

void strictXml(Calls& c, Random& r)
{
    static const std::string_view heads[] = {"",
                                             "\xEF\xBB\xBF",
                                             "<?xml version='1.0'?>",
                                             "<?xml version='1.0' encoding='ISO-8859-1'?>",
                                             "<?xml version=\"1.0\" encoding=\"windows-1251\"?>\n",
                                             "<!DOCTYPE a>",
                                             " "};
    std::string text(r.pick(heads));
    text += document(r, 3);
    if (r.oneIn(6))
        text[static_cast<std::size_t>(r.below(static_cast<int>(text.size())))] = static_cast<char>(r.next());
    ZTree tree;
    ztree::XmlError error;
    Call{c, "read", text, ztree::readXml(text.data(), text.size(), tree, &error), error.fault, error.line};
    Call{c, "error", error.column, static_cast<int>(error.offset), error.message};
    show(c, tree);
}

template <class File, class Ch> void write(Calls& c, Random& r, File& file)
{
    const Ch* out = nullptr;
    file.start(&out, r.oneIn(2) ? as<Ch>("D").c_str() : nullptr, as<Ch>("d.ztd").c_str());
    for (int step = 0; step < 12; ++step) {
        const int n = r.number(), more = r.below(2);
        const double real = r.real();
        const auto name = some<Ch>(r, names), text = as<Ch>(r.text(values, 40));
        const Ch *const k = name.c_str(), *const v = text.c_str();
        const unsigned char digits[] = {0x12, 0x34, static_cast<unsigned char>(n), 0, 0, 1, 2};
        const int result =
            r.choose([&] { return file.write(v, -1, more); }, [&] { return file.lineFeed(); },
                     [&] { return file.startTag(k, more); }, [&] { return file.quickTag(k, more); },
                     [&] { return file.attrib(k, v, more); }, [&] { return file.descend(k, 0); },
                     [&] { return file.ascend(); }, [&] { return file.writeStr(k, v); },
                     [&] { return file.writeData(k, v, static_cast<int>(text.size())); },
                     [&] { return file.writePacked(k, digits, n & 7); },
                     [&] { return file.writeAmount(k, real, n & 3); },
                     [&] { return file.writeCommand(k, n, more ? v : nullptr); });
        Call{c, "write", result, file.getDataSize()};
    }
    Call{c, "finish", file.finish(), out};
}

void xmlWriter(Calls& c, Random& r)
{
    ZXmlFile narrow, whole;
    ZXmlFileW wide;
    write<ZXmlFile, char>(c, r, narrow);
    write<ZXmlFileW, zwchar>(c, r, wide);
    ZTree tree;
    readDocument(r, tree);
    if (!tree.root())
        return;
    change<ZAttrib, char>(r, *tree.reset());
    const char* text = nullptr;
    Call{c, "tree", whole.start(&text, nullptr, nullptr), whole.writeBranch(&tree), whole.finish(), text};
    ZString out;
    ztree::XmlError error;
    ztree::XmlStyle style;
    style.indent = r.between(-1, 3);
    Call{c, "exact", ztree::writeXml(tree, out, &error, style), error.message, out};
}

} // namespace

const std::vector<Group> treeGroups = {{"containers", &containers, 250}, {"attributes", &attributes, 150},
                                       {"tokenizers", &tokenizers, 300}, {"trees", &trees, 80},
                                       {"paths", &paths, 150},           {"treeStreams", &treeStreams, 300},
                                       {"xmlReader", &xmlReader, 150},   {"strictXml", &strictXml, 1500},
                                       {"xmlWriter", &xmlWriter, 400}};

} // namespace crosstarget
