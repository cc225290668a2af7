#include "support/heap_fixture.h"

#include <ztree/ext/tree.h>
#include <ztree/ext/xml.h>

#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sstream>

namespace {

std::string written(const ZTree& tree)
{
    ZString out;
    ztree::XmlStyle style;
    style.indent = -1;
    style.declaration = false;
    EXPECT_TRUE(!tree.root() || ztree::writeXml(tree, out, nullptr, style));
    return out.getBuffer() ? out.getBuffer() : "";
}

class PathTest : public HeapTest {
protected:
    static void read(ZTree& tree, const char* text)
    {
        ztree::XmlError error;
        ASSERT_TRUE(ztree::readXml(text, std::strlen(text), tree, &error)) << error.message;
    }
    // Every branch has its number in k.
    static void fill(ZTree& tree)
    {
        read(tree, "<Order k='1' id='7'>"
                   "<Item k='2' Rel='1' sku='a'><Price k='3'>10</Price><Qty k='4'>2</Qty></Item>"
                   "<Item k='5' Rel='2' sku='b'><Price k='6'>20</Price></Item>"
                   "<Note k='7'>it's</Note>"
                   "<Item k='8' sku='b'><Qty k='9'>5</Qty>"
                   "<Item k='10' sku='c'><Price k='11'>30</Price><Price k='12'>31</Price></Item></Item>"
                   "</Order>");
        ZTBranch* odd = nullptr;
        tree.root()->addChild(ZTBranch("a/b[c"), &odd, false);
        odd->addAttrib(ZAttrib("k", "13"), false);
    }
    static std::string label(const ztree::PathMatch& match)
    {
        const ZAttrib* k = match.branch->getAttrib("k");
        std::string text = k ? k->getValue() : "?";
        if (match.attrib)
            text += std::string("@") + match.attrib->getName();
        return text;
    }
    static std::string all(const ztree::PathStart& from, const char* path)
    {
        std::string found;
        ztree::findAll(from, path,
                       [&](const ztree::PathMatch& m) { found += (found.empty() ? "" : " ") + label(m); });
        return found;
    }
};

TEST_F(PathTest, findsWhatTheStepsSay)
{
    ZTree tree;
    fill(tree);
    struct Case {
        const char* path;
        const char* found;
    };
    const Case cases[] = {
        {"Item/Price", "3 6"},
        {"ITEM(2)/price", "6"},
        {"item(0)", "8"}, // no suffix counts as 0
        {"/Order/Item(1)/Qty", "4"},
        {"/Other/Item", ""},
        {"/*", "1"},
        {".", "1"},
        {"./Item(2)/..", "1"},
        {"Item/..", "1"}, // once, though three lead there
        {"..", ""},
        {"*", "2 5 7 8 13"},
        {"'a/b[c'", "13"},
        {"*[5]", "13"},
        {"Item[2]", "5"},
        {"Item[4]", ""},
        {"Item[@sku='b'][2]", "8"},
        {"Item[2][@sku='b']", "5"},
        {"Item[2][@sku='a']", ""},
        {"Item[@REL]", "2 5"},
        {"Item[ Qty = '5' ]", "8"},
        {"Item[Qty]", "2 8"},
        {"Item/Item[Price='31']", "10"}, // any of the children so named
        {"Item/Price[.='20']", "6"},
        {"Note[.=\"it's\"]", "7"},
        {"//Price", "3 6 11 12"},
        {"//Price[1]", "3 6 11"}, // below each parent
        {"//Price[2]", "12"},
        {"//Order", "1"},
        {".//Order", ""},
        {"//Item//Price", "3 6 11 12"}, // each once, though two Items lead to 11
        {"//Item/*/Price", "11 12"},
        {"//Item/..", "1 8"},
        {"//*[@sku='b']/Qty", "9"},
        {"@id", "1@id"},
        {"Item(2)/@*", "5@k 5@Rel 5@sku"},
        {"//@id", ""},
        {"//*/@sku", "2@sku 5@sku 8@sku 10@sku"},
        {"//Price/@none", ""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(all(tree, c.path), c.found) << c.path;
        const std::string first = std::string(c.found).substr(0, std::string(c.found).find(' '));
        const ztree::PathMatch match = ztree::findMatch(tree, c.path);
        EXPECT_EQ(match ? label(match) : "", first) << c.path;
    }
    // From a branch: relative to it, or from the top of its tree.
    const ZTBranch& third = *tree.root()->getChild(3);
    EXPECT_EQ(all(third, "Item/Price"), "11 12");
    EXPECT_EQ(all(third, "/Order/Note"), "7");
    EXPECT_EQ(all(third, "../Note"), "7");
    EXPECT_EQ(ztree::findAll(tree, "//Price").size(), 4u);
    int calls = 0;
    EXPECT_FALSE(ztree::findAll(tree, "//Price", [&](const ztree::PathMatch&) { return ++calls < 2; }));
    EXPECT_EQ(calls, 2);
    platform::Hooks::failAt(platform::Site::heap, 0);
    EXPECT_EQ(ztree::get<int>(tree, "/Order/Item[@sku='b'][2]/Item/Price[.='31']", 0), 31);
    EXPECT_EQ(platform::Hooks::calls(platform::Site::heap), 0); // usual paths need no block
    const ZTree empty;
    EXPECT_EQ(all(empty, "//*") + all(empty, ".") + all(empty, "/a") + all(empty, "a"), "");
}

TEST_F(PathTest, badPathsSayWhere)
{
    struct Case {
        const char* path;
        int column;
    };
    const Case cases[] = {
        {"", 1},
        {"/", 2},
        {"a/", 3},
        {"a///b", 4},
        {"a[", 3},
        {"a[1", 2},
        {"a[0]", 3},
        {"a[1][2]", 6},
        {"a[@]", 4},
        {"a[@b=c]", 6},
        {"a[@b='c]", 6},
        {"a[@b='c'", 2},
        {"a[@b='c'x]", 9},
        {"a]", 2},
        {"@a/b", 3},
        {"a//@b", 4},
        {"a//..", 4},
        {"..[1]", 3},
        {"'a", 1},
        {"''/b", 1},
        {"'a'b", 4},
        {"a[.]", 4},
        {"a[99999999999]", 3},
    };
    for (const Case& c : cases) {
        const ztree::Path path(c.path);
        EXPECT_FALSE(path.ok()) << c.path;
        EXPECT_EQ(path.error().column, c.column) << c.path << ": " << path.error().message;
        EXPECT_NE(path.error().message[0], 0);
    }
    EXPECT_EQ(ztree::Path(std::string_view("a\0b", 3)).error().column, 2);
    // A long path takes a block of its own.
    std::string path = "r";
    for (int i = 0; i < 300; ++i)
        path += "/Item(" + std::to_string(i) + ")[@a='" + std::string(40, 'v') + "'][1]";
    ZTree tree;
    EXPECT_TRUE(ztree::set(tree, "/" + path + "/@x", 5));
    EXPECT_EQ(ztree::get<int>(tree, "/" + path + "/@x", 0), 5);
}

TEST_F(PathTest, readsValuesStrictly)
{
    ZTree tree;
    read(tree, "<r i='42' d='2,50' s=' 7' big='99999999999' t='TRUE'><e/><x>1.5e3</x></r>");
    ZTBranch& r = *tree.root();
    for (const ZTBranch& b :
         {ZTBranch("c", static_cast<char>(-5)), ZTBranch("u", static_cast<unsigned char>(250)),
          ZTBranch("h", static_cast<short>(-300)), ZTBranch("l", 70000L), ZTBranch("f", 2.5, 3),
          ZTBranch("w", 12.0, 1)})
        r.addChild(b, nullptr, false);
    using ztree::get;
    struct Case {
        const char* path;
        int integer;
        double real;
        const char* text;
    };
    const Case cases[] = {
        {"@i", 42, 42, "42"},      {"@d", -1, 2.5, "2,50"},
        {"@s", -1, -1, " 7"},      {"@big", -1, 99999999999.0, "99999999999"},
        {"e", -1, -1, ""},         {"x", -1, 1500, "1.5e3"},
        {"c", -5, -5, "-5"},       {"u", 250, 250, "250"},
        {"h", -300, -300, "-300"}, {"l", 70000, 70000, "70000"},
        {"f", -1, 2.5, "2,500"},   {"w", 12, 12, "12,0"},
        {"none", -1, -1, "-"},     {"[", -1, -1, "-"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(get<int>(tree, c.path, -1), c.integer) << c.path;
        EXPECT_EQ(get<double>(tree, c.path, -1), c.real) << c.path;
        EXPECT_EQ(get<std::string>(tree, c.path, "-"), c.text) << c.path;
    }
    EXPECT_EQ(get<long long>(tree, "@big", 0), 99999999999LL);
    EXPECT_EQ(get<signed char>(tree, "h").has_value(), false);
    EXPECT_EQ(get<std::string_view>(tree, "x", ""), "1.5e3");
    EXPECT_EQ(get<std::string_view>(tree, "l", "none stored"), "none stored");
    EXPECT_TRUE(get<bool>(tree, "@t", false));
    EXPECT_TRUE(get<bool>(tree, "f", false));
    EXPECT_FALSE(get<bool>(tree, "@i").has_value());
}

TEST_F(PathTest, setMakesWhatIsMissing)
{
    struct Case {
        const char* path;
        const char* result; // null: column says where it stops
        int column;
    };
    const Case cases[] = {
        {"a", "<r><a x=\"1\">V</a><b>t</b><a/></r>", 0},
        {"a[2]", "<r><a x=\"1\"/><b>t</b><a>V</a></r>", 0},
        {"a[3]", "<r><a x=\"1\"/><b>t</b><a/><a>V</a></r>", 0},
        {"a[4]", nullptr, 1},
        {"a[@x='2']", "<r><a x=\"1\"/><b>t</b><a/><a x=\"2\">V</a></r>", 0},
        {"a[@x='1'][2]/c", "<r><a x=\"1\"/><b>t</b><a/><a x=\"1\"><c>V</c></a></r>", 0},
        {"a[2]/c/d(4)", "<r><a x=\"1\"/><b>t</b><a><c><d Rel=\"4\">V</d></c></a></r>", 0},
        {"a/@x", "<r><a x=\"V\"/><b>t</b><a/></r>", 0},
        {"a/@X", "<r><a x=\"V\"/><b>t</b><a/></r>", 0},
        {"b/@n", "<r><a x=\"1\"/><b n=\"V\">t</b><a/></r>", 0},
        {"c/@n", "<r><a x=\"1\"/><b>t</b><a/><c n=\"V\"/></r>", 0},
        {"/r/b", "<r><a x=\"1\"/><b>V</b><a/></r>", 0},
        {"//b", "<r><a x=\"1\"/><b>V</b><a/></r>", 0},
        {"//b/../e/./f", "<r><a x=\"1\"/><b>t</b><a/><e><f>V</f></e></r>", 0},
        {"/q/b", nullptr, 2},
        {"//q", nullptr, 3},
        {"b/*", nullptr, 3},
        {"b/..//q/z", nullptr, 7},
        {"b[c]/d", nullptr, 2},
        {"b/@*", nullptr, 3},
        {"b/(3)", nullptr, 3},
        {"b/q[2]", nullptr, 3},
        {"b[", nullptr, 3},
    };
    static const char* const before = "<r><a x='1'/><b>t</b><a/></r>";
    for (const Case& c : cases) {
        ZTree tree;
        read(tree, before);
        const std::string old = written(tree);
        ztree::PathError error;
        EXPECT_EQ(ztree::set(tree, c.path, "V", &error), c.result != nullptr) << c.path << error.message;
        EXPECT_EQ(written(tree), c.result ? c.result : old) << c.path;
        EXPECT_EQ(error.column, c.column) << c.path << ": " << error.message;
    }
    ZTree tree;
    EXPECT_FALSE(ztree::set(tree, "a/b", 1));
    EXPECT_TRUE(ztree::set(tree, "/a/b", 1));
    EXPECT_TRUE(ztree::set(tree, "c", 70000L));
    EXPECT_TRUE(ztree::set(tree, "d", 0.1));
    EXPECT_TRUE(ztree::set(tree, "e", ztree::PathValue(2.0, 2)));
    EXPECT_TRUE(ztree::set(tree, "@f", -2.5));
    EXPECT_EQ(ztree::set(tree, "g", LLONG_MAX), sizeof(long) == 8);
    ztree::remove(tree, "g");
    EXPECT_EQ(written(tree), "<a f=\"-2,5\"><b>1</b><c>70000</c><d>0,1</d><e>2,00</e></a>");
    EXPECT_EQ(ztree::find(tree, "b")->getType(), 4);
    EXPECT_EQ(ztree::find(tree, "c")->getType(), 5);
    EXPECT_EQ(ztree::find(tree, "d")->getType(), 6);
    // A suffix is found under its new value at once.
    EXPECT_TRUE(ztree::set(tree, "Line(1)/x", "old"));
    EXPECT_STREQ(ztree::find(tree, "Line(1)")->getFullName(), "Line(1)");
    EXPECT_TRUE(ztree::set(tree, "Line(1)/@rel", 2));
    EXPECT_STREQ(ztree::find(tree, "Line(2)")->getFullName(), "Line(2)");
}

TEST_F(PathTest, removesAllMatchesAtOnce)
{
    struct Case {
        const char* path;
        int count;
        const char* result;
    };
    const Case cases[] = {
        {"a", 2, "<r><b><a x=\"2\"/><c/></b></r>"},
        {"//a", 4, "<r><b><c/></b></r>"}, // also one inside another
        {"//a/..", 2, "<r><a x=\"1\"/></r>"},
        {"//*/@x", 3, "<r><a/><b><a/><c/></b><a><a y=\"4\"/></a></r>"},
        {"//*/@*", 4, "<r><a/><b><a/><c/></b><a><a/></a></r>"},
        {"b/*", 2, "<r><a x=\"1\"/><b/><a x=\"3\"><a y=\"4\"/></a></r>"},
        {"none", 0, "<r><a x=\"1\"/><b><a x=\"2\"/><c/></b><a x=\"3\"><a y=\"4\"/></a></r>"},
        {"/r", 1, ""},
        {"//*", 7, ""},
        {"[", 0, "<r><a x=\"1\"/><b><a x=\"2\"/><c/></b><a x=\"3\"><a y=\"4\"/></a></r>"},
    };
    for (const Case& c : cases) {
        ZTree tree;
        read(tree, "<r><a x='1'/><b><a x='2'/><c/></b><a x='3'><a y='4'/></a></r>");
        tree.reset();
        tree.descend(1);
        tree.descend(0);
        if (std::strcmp(c.path, "//a/..") == 0) {
            // The root is one of three parents.
            EXPECT_EQ(ztree::remove(*tree.root(), c.path), c.count);
        } else {
            EXPECT_EQ(ztree::remove(tree, c.path), c.count) << c.path;
            if (c.count && !std::strchr(c.path, '@')) {
                EXPECT_EQ(tree.current(), tree.root());
            }
        }
        EXPECT_EQ(written(tree), c.result) << c.path;
    }
    // A linked branch is taken out and lives on with its owner.
    ZTBranch owner("owner");
    ZTBranch* shared = nullptr;
    owner.addChild(ZTBranch("s", 1), &shared, false);
    ZTBranch user("user");
    user.linkChild(shared, false);
    user.addChild(ZTBranch("s", 2), nullptr, false);
    *shared = ZTBranch("s", 3); // takes the flag of a linked branch away
    EXPECT_EQ(ztree::remove(user, "s"), 2);
    EXPECT_EQ(user.getChildCount(), 0);
    EXPECT_EQ(owner.getChild(0), shared);
    // Attributes that were read go in their order, and others come.
    ZTree tree;
    read(tree, "<r a='1' b='2' c='3' d='4'/>");
    tree.root()->removeAttrib(0);
    tree.root()->removeAttrib(0);
    for (const char* name : {"e", "f", "g", "h"}) {
        tree.root()->addAttrib(ZAttrib(name, "5"), false);
        tree.root()->removeAttrib(1);
    }
    EXPECT_EQ(written(tree), "<r c=\"3\" h=\"5\"/>");
}

// A link back to a branch on the way ends every walk, also when an assignment took the branch's flag away.
TEST_F(PathTest, ringsEnd)
{
    ZTree tree;
    tree.set(new ZTBranch("r"));
    ZTBranch& root = *tree.root();
    ZTBranch* child = nullptr;
    root.addChild(ZTBranch("c"), &child, false);
    child->linkChild(&root, false);
    root = ZTBranch("other");
    EXPECT_EQ(root.getFlags(), 0);
    std::string seen;
    for (const ZTBranch* branch : ztree::descendants(root))
        seen += branch->getName();
    EXPECT_EQ(seen, "cother");
    EXPECT_EQ(root.searchTree("nowhere"), nullptr);
    EXPECT_EQ(all(tree, "//nowhere"), "");
    EXPECT_EQ(std::unique_ptr<ZTBranch>(ztree::copyTree(root))->getChildCount(), 1);
    ZString out;
    EXPECT_FALSE(ztree::writeXml(tree, out));
    std::ostringstream bytes;
    EXPECT_FALSE(ztree::saveTree(tree, bytes));
    treeText(&tree, ZString(), out);
    SaveZTree("ring.out", &tree);
    std::remove("ring.out");
    child->removeChild(0);
}

TEST_F(PathTest, manySiblingsAndDeepTreesStayLinear)
{
    constexpr int many = 100000;
    ZTree tree;
    tree.add(ZTBranch("r"));
    for (int i = 0; i < many; ++i)
        tree.add(ZTBranch(("n" + std::to_string(i)).c_str(), i));
    long long sum = 0;
    for (int i = 0; i < many; ++i)
        sum += ztree::get<int>(tree, "N" + std::to_string(i), 0);
    EXPECT_EQ(sum, static_cast<long long>(many) * (many - 1) / 2);
    EXPECT_EQ(ztree::find(tree, "//N99999"), tree.root()->getChild(many - 1));
    EXPECT_EQ(ztree::remove(tree, "*[.='5']"), 1);
    EXPECT_EQ(ztree::remove(tree, "*"), many - 1);

    constexpr int deep = 200000;
    ZTBranch* at = tree.root();
    for (int i = 0; i < deep; ++i) {
        ZTBranch* below = new ZTBranch(i % 2 ? "a" : "b", at);
        at->setChild(below, -1);
        at = below;
    }
    std::size_t count = 0;
    EXPECT_TRUE(ztree::findAll(tree, "//a//a//b", [&](const ztree::PathMatch&) { ++count; }));
    EXPECT_EQ(count, deep / 2u - 2);
    EXPECT_EQ(ztree::remove(tree, "//a"), deep / 2);
    EXPECT_EQ(tree.root()->getChildCount(), 1);
}

} // namespace
