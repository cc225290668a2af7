#include "support/plain_sort.h"
#include "support/random.h"
#include "support/spellings.h"
#include "xml/support.h"

#include <ztree/xml.h>

#include <cstring>
#include <memory>

namespace {

using XmlTest = HeapTest;
template <class Twin> using XmlTwins = SpellingTest<Twin>;
TYPED_TEST_SUITE(XmlTwins, Spellings);

TYPED_TEST(XmlTwins, elementsAreFoundByNameAndRel)
{
    using Tag = typename TypeParam::Tag;
    const auto w = &TestFixture::w;
    Tag root(nullptr, w("root"), w("text"));
    EXPECT_EQ(narrow(root.getText()), "text");
    for (const char* tag : {"b", "item Rel=one", "a", "item Rel=\"two\""})
        (new Tag(&root))->setData(w(tag));
    EXPECT_EQ(root.getChildIndex(root.getChild(w("item(two)"))), 3);
    EXPECT_EQ(root.getChildIndex(root.getChild(w("item"))), 1);
    EXPECT_EQ(root.getChild(w("item(three)")), nullptr);
    root.sortChildren();
    EXPECT_EQ(narrow(root.getChild(0)->getName()), "a");
    EXPECT_EQ(root.getChild(w("c")), nullptr);
    Tag* const item = root.getChild(w("item(two)"));
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(narrow(item->getAttrib(w("rel"))), "two");
    EXPECT_EQ(root.getChild(w("item(none)")), nullptr);
    item->setName(w("other"));
    item->setText(w("new"));
    item->addAttrib(w("id"), w("1"));
    item->setAttrib(w("id"), w("2"));
    EXPECT_EQ(narrow(item->getName()) + narrow(item->getText()) + narrow(item->getAttrib(w("id"))),
              "othernew2");
    EXPECT_EQ(narrow(root.getChild(w("b"))->getName()), "b");
    // Given its parent again, a child goes to the end.
    Tag parent;
    Tag *const one = new Tag(&parent), *const two = new Tag(&parent), *const three = new Tag(&parent);
    two->setParent(&parent);
    EXPECT_EQ(parent.getChildCount(), 3);
    EXPECT_EQ(parent.getChildIndex(one), 0);
    EXPECT_EQ(parent.getChildIndex(three), 1);
    EXPECT_EQ(parent.getChildIndex(two), 2);
    // Named children stand in the list twice, and are deleted once.
    root.addChild(w("twice"), w("text"));
    EXPECT_EQ(root.getChildCount(), 6);
    EXPECT_EQ(root.getChild(4), root.getChild(5));
    root.removeChild(item);
    EXPECT_EQ(root.getChildCount(), 5);
    delete item;
    EXPECT_EQ(root.compare(&root), 0);
    EXPECT_NE(root.getLibVersion(), 0u);
    struct Case {
        const char* tag;
        int kind;
        const char* name;
    };
    for (const Case& c :
         {Case{"br/", 2, "br"}, {"/p", 1, "p"}, {"?xml version='1.0'?", 3, "?xml"}, {"x y=1", 0, "x"}}) {
        Tag tag;
        EXPECT_EQ(tag.getKind(), -1);
        tag.setData(w(c.tag));
        EXPECT_EQ(tag.getKind(), c.kind) << c.tag;
        EXPECT_EQ(narrow(tag.getName()), c.name);
    }
}

TYPED_TEST(XmlTwins, childrenAreSortedAsComparingThemDoes)
{
    using Tag = typename TypeParam::Tag;
    struct Backwards : Tag {
        using Tag::Tag;
        int compare(const ZSortObject* other) const override { return -Tag::compare(other); }
    };
    Dice dice(5);
    for (const int n : {2, 3, 16, 17, 500})
        for (const bool backwards : {false, true}) {
            Tag root;
            std::vector<const Tag*> expected;
            for (int i = 0; i < n; ++i) {
                const char* const beginning = dice.below(2) ? "aBeginningOf17__" : "";
                const auto* name = TestFixture::w(beginning + dice.text<char>("ab\xE9", 3));
                expected.push_back(backwards ? new Backwards(&root, name) : new Tag(&root, name));
            }
            plainSort(expected, 0, n - 1, [](const Tag* a, const Tag* b) { return a->compare(b); });
            root.sortChildren();
            int i = 0;
            for (const Tag* tag : expected)
                EXPECT_EQ(root.getChild(i++), tag) << n << (backwards ? " backwards" : "");
        }
}

TYPED_TEST(XmlTwins, readerStepsThroughSiblings)
{
    using Tag = typename TypeParam::Tag;
    const auto w = &TestFixture::w;
    using Reader = typename TypeParam::Reader;
    Reader reader(w("<r/>"), 0);
    EXPECT_EQ(*Reader(w("<r/>")).getBuffer(nullptr), '<');
    reader.setData(w("<?xml version='1.0'?><!DOCTYPE r><r><a>1</a><b/><a>2</a> lost</r>"), 0);
    unsigned long length = 0;
    EXPECT_EQ(*reader.getBuffer(&length), '<');
    EXPECT_EQ(length, 65u);
    EXPECT_FALSE(reader.load(false, true));
    EXPECT_EQ(narrow(reader.getRoot()->getName()), "?xml");
    Tag* r = reader.getRoot()->getChild(0)->getChild(0);
    Tag* a = reader.findChild(r, w("a"));
    EXPECT_EQ(reader.findChild(nullptr, w("!DOCTYPE")), reader.getRoot()->getChild(0));
    EXPECT_EQ(reader.findNextChild(r, a, w("a"), false), nullptr);
    EXPECT_EQ(narrow(reader.findNextChild(r, a, w("a"), true)->getText()), "2");
    const typename TypeParam::Ch* const any = nullptr;
    EXPECT_EQ(narrow(reader.findNextChild(r, a, any, false)->getName()), "b");
    EXPECT_EQ(r->getText(), nullptr);
    const std::unique_ptr<typename TypeParam::Tree> tree(reader.createTree(true));
    std::string made = narrow(tree->root()->getName());
    for (int i = 0; i < tree->root()->getChildCount(); ++i) {
        auto* const child = tree->root()->getChild(i);
        made += " " + narrow(child->getName()) + "=" + narrow(child->toString(nullptr));
    }
    EXPECT_EQ(made, "r a=1 b=(null) a=2");
    EXPECT_TRUE(reader.load(false, false)); // nothing is left
    EXPECT_EQ(reader.createTree(true), nullptr);
    reader.unload();
    EXPECT_NE(reader.getLibVersion(), 0u);
}

TYPED_TEST(XmlTwins, writerWritesItsBytes)
{
    const auto w = &TestFixture::w;
    typename TypeParam::File file;
    const auto* text = typename TypeParam::Reader().getBuffer(nullptr); // null
    EXPECT_EQ(file.ascend(), 0);
    EXPECT_EQ(file.finish(), 0);
    EXPECT_EQ(file.getDataSize(), 0);
    file.setCodepage(65001);
    EXPECT_EQ(file.getCodepage(), 65001u);
    EXPECT_EQ(file.start(&text, w("Doc"), w("doc.dtd")), 0);
    file.descend(w("a"), 0);
    file.writeStr(w("b"), w("x<&amp;&"));
    file.ascend();
    file.startTag(w("t"), 1);
    file.attrib(w("id"), w("a&b"), 0);
    file.write(w("<"), -1, 1);
    file.endTag(w("t"));
    file.quickTag(w("quick"), 0);
    file.writeCommand(w("Cmd"), 7, nullptr);
    file.writeCommand(w("Cmd"), -7, w("q\""));
    file.writeData(w("d"), w("abc \r\n"), 6);
    file.lineFeed();
    const unsigned char digits[] = {0x12, 0x3F};
    file.writePacked(w("p"), digits, 4);
    file.writeAmount(w("m"), 2.5, 3);
    file.writeStr(w("long"), w(std::string(80, 'l')));
    EXPECT_EQ(file.finish(), 1);
    EXPECT_EQ(file.ascend(), 0);
    const bool wide = sizeof(*text) == 2;
    const std::string end = wide ? "\r\n" : "\n"; // of the first two lines
    EXPECT_EQ(narrow(text),
              (wide ? "\xFF<?xml version=\"1.0\" encoding=\"utf-16\"" // U+FEFF
                    : "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"utf-8\"") +
                  (" standalone=\"no\"?>" + end) + "<!DOCTYPE Doc SYSTEM \"doc.dtd\">" + end +
                  "<a>\n   <b>x&lt;&amp;&amp;</b></a>\n"
                  "<t id=\"a&amp;b\">&lt;</t><quick/>"
                  "<Cmd Command=\"7\"/>\n<Cmd Command=\"-7\" Query=\"q&quot;\"/>\n"
                  "<d>abc</d>\n<p>123?</p><m>2.500</m><long>\n   " +
                  std::string(80, 'l') + "</long>\n");
    file.freeBuffer(&text);
    EXPECT_EQ(text, nullptr);
    EXPECT_NE(file.getLibVersion(), 0u);
}

TEST_F(XmlTest, savedTreesReadBack)
{
    ZTree tree;
    tree.add(ZTBranch("r"));
    tree.add(ZTBranch("a", "1 < 2", 5));
    SaveZTree("save_test.xml", &tree);
    ZXmlReader reader;
    EXPECT_EQ(reader.readFile("save_test.xml", 1252), 0);
    EXPECT_FALSE(reader.load(false, true));
    const std::unique_ptr<ZTree> back(reader.createTree(true));
    EXPECT_EQ(asText(*back), asText(tree));
    ZTreeW wide;
    wide.add(ZTBranchW(ZTEXT("r")));
    SaveZTreeW("save_test.xml", &wide);
    ZXmlReaderW wideReader;
    EXPECT_EQ(wideReader.readFile("save_test.xml", 0), 0);
    EXPECT_FALSE(wideReader.load(false, true));
    EXPECT_EQ(narrow(wideReader.getRoot()->getName()), "?xml");
    SaveZTree("save_test.xml", nullptr);
    EXPECT_EQ(reader.readFile("save_test.xml", 1252), 2);
}

// --- strict ---

struct Refused {
    const char* text;
    ztree::XmlFault fault;
    int line, column;
};

TEST_F(XmlTest, strictReaderNamesTheFirstFault)
{
    using F = ztree::XmlFault;
    const Refused cases[] = {
        {"", F::structure, 1, 1},
        {"  text", F::structure, 1, 3},
        {"<a>\n<b></a>", F::endTag, 2, 4},
        {"<a>\r\n  <b>", F::endTag, 2, 6},
        {"<a x='1' x='2'/>", F::attribute, 1, 10},
        {"<a x='<'/>", F::syntax, 1, 7},
        {"<a x=1/>", F::syntax, 1, 6},
        {"<a x='1'y='2'/>", F::syntax, 1, 9},
        {"<a>&nbsp;</a>", F::entity, 1, 4},
        {"<a>\xC3\xA4&x</a>", F::syntax, 1, 5},
        {"<a>& </a>", F::syntax, 1, 4},
        {"<a>&#0;</a>", F::character, 1, 4},
        {"<a>&#xFFFFFFFFFF;</a>", F::character, 1, 4},
        {"<a>\x01</a>", F::character, 1, 4},
        {"<a>\xC0\x80</a>", F::encoding, 1, 4},
        {"<a>\xED\xA0\x80</a>", F::encoding, 1, 4},
        {"<a>]]></a>", F::syntax, 1, 4},
        {"<a><!-- -- --></a>", F::syntax, 1, 9},
        {"<a><![CDATA[ ]]</a>", F::syntax, 1, 4},
        {"<a/><b/>", F::structure, 1, 5},
        {"<a/>x", F::structure, 1, 5},
        {" <?xml version='1.0'?><a/>", F::syntax, 1, 2},
        {"<?xml version='2.0'?><a/>", F::syntax, 1, 16},
        {"<?xml version='1.0' encoding='nowhere'?><a/>", F::encoding, 1, 1},
        {"<?xml version='1.0' encoding='US-ASCII'?>\n<a>\xC3\xA4</a>", F::encoding, 2, 4},
        {"<!DOCTYPE a [ <!ENTITY x 'y'> <a/>", F::syntax, 1, 31},
        {"<1/>", F::syntax, 1, 2},
        {"<a", F::syntax, 1, 3},
        {"<a></a", F::syntax, 1, 7},
    };
    for (const Refused& c : cases) {
        SCOPED_TRACE(c.text);
        ZTree tree;
        tree.add(ZTBranch("kept"));
        ztree::XmlError error;
        EXPECT_FALSE(ztree::readXml(c.text, std::strlen(c.text), tree, &error));
        EXPECT_EQ(error.fault, c.fault) << error.message;
        EXPECT_EQ(error.line, c.line) << error.message;
        EXPECT_EQ(error.column, c.column) << error.message;
        EXPECT_STREQ(tree.root()->getName(), "kept");
    }
}

TEST_F(XmlTest, strictReaderKeepsWhatCounts)
{
    struct Case {
        const char* text;
        const char* tree;
    };
    const Case cases[] = {
        {"<a/>", "<a/>"},
        {"\xEF\xBB\xBF<?xml version=\"1.0\"?><!-- c --><!DOCTYPE a [<!ENTITY x '>'>]>\n<a></a><?p i?>",
         "<a/>"},
        {"<a>  </a>", "<a>  </a>"},
        {"<a>\n <b/>\n</a>", "<a><b/></a>"},
        {"<a>x <b>y</b> <c/> z</a>", "<a><#text>x </#text><b>y</b><#text> </#text><c/><#text> z</#text></a>"},
        {"<a> <b/> <c/> z</a>", "<a><#text> </#text><b/><#text> </#text><c/><#text> z</#text></a>"},
        {"<a>1<!-- -->2<![CDATA[<3>]]>&#52;&#x35;</a>", "<a>12<3>45</a>"},
        {"<a> <!-- --> </a>", "<a>  </a>"},
        {"<a x=' 1\t2\n3&#10;&lt;' y=\"'\"/>", "<a x=\" 1 2 3\n<\" y=\"'\"/>"},
        {"<a>\r\n\r&amp;\r</a>", "<a>\n\n&\n</a>"},
        {"<a>]] > ]</a>", "<a>]] > ]</a>"},
        {"<a><b>&lt;</b><![CDATA[]]></a>", "<a><b><</b></a>"},
        {"<?xml version='1.0' encoding='windows-1252'?><a>\x80</a>", "<a>\xE2\x82\xAC</a>"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        ZTree tree;
        ztree::XmlError error;
        ASSERT_TRUE(ztree::readXml(c.text, std::strlen(c.text), tree, &error)) << error.message;
        EXPECT_EQ(asText(tree), c.tree);
        for (const int indent : {-1, 0, 2}) {
            ZString document;
            ASSERT_TRUE(ztree::writeXml(tree, document, &error, {indent, indent == 2})) << error.message;
            ZTree again;
            ASSERT_TRUE(ztree::readXml(document.getBuffer(), static_cast<std::size_t>(document.length()),
                                       again, &error))
                << error.message << document.getBuffer();
            EXPECT_EQ(asText(again), c.tree) << document.getBuffer();
        }
    }
    const char wide[] = "\xFF\xFE<\0a\0>\0\xAC\x20<\0/\0a\0>\0";
    ZTree tree;
    EXPECT_TRUE(ztree::readXml(wide, sizeof wide - 1, tree));
    EXPECT_EQ(asText(tree), "<a>\xE2\x82\xAC</a>");
    ZTree bad;
    bad.add(ZTBranch("a", "\x01", 1));
    ZString out("before");
    ztree::XmlError error;
    EXPECT_FALSE(ztree::writeXml(bad, out, &error));
    EXPECT_EQ(error.fault, ztree::XmlFault::unrepresented);
    EXPECT_STREQ(out.getBuffer(), "before");
    bad.root()->setName("1");
    EXPECT_FALSE(ztree::writeXml(bad, out, &error));
    EXPECT_EQ(error.fault, ztree::XmlFault::name);
}

// Branch, attributes and texts come in one block; each of them can still be changed and removed.
TEST_F(XmlTest, whatWasReadCanBeChanged)
{
    const std::string text = "<r><a one='1' two='2' Rel='x' four='4'>value</a><b only='1'/></r>";
    ZTree tree;
    ASSERT_TRUE(ztree::readXml(text.data(), text.size(), tree));
    ZTBranch* a = tree.root()->getChild("a(x)");
    ASSERT_NE(a, nullptr);
    a->getAttrib("two")->setValue("a longer value than there was");
    a->removeAttrib("one");
    a->addAttrib(ZAttrib("five", "5"), false);
    *a->getAttrib("four") = ZAttrib("FOUR", "IV");
    a->setName("A(y)");
    a->setValue("another value that needs more room", -1);
    tree.root()->getChild("b")->removeAttrib(0);
    EXPECT_EQ(tree.root()->getChild("a(x)"), nullptr);
    EXPECT_EQ(asText(tree), "<r><A two=\"a longer value than there was\" Rel=\"y\" FOUR=\"IV\" five=\"5\">"
                            "another value that needs more room</A><b/></r>");
    // Taken out of its tree, a branch of the reader's is deleted like any other.
    ZTBranch* b = tree.root()->getChild("b");
    tree.root()->setChild(new ZTBranch("c"), 1);
    delete b;
}

TEST_F(XmlTest, depthAndWidthNeedNoStackAndNoSquare)
{
    platform::Hooks::off();
    {
        const int n = 1000000;
        std::string deep;
        for (int i = 0; i < n; ++i)
            deep += "<a>";
        ZXmlReader reader(deep.c_str());
        EXPECT_FALSE(reader.load(true, true));
        const std::unique_ptr<ZTree> tree(reader.createTree(false));
        ZXmlFile file;
        const char* text = nullptr;
        file.start(&text, nullptr, nullptr);
        for (int i = 0; i < n; ++i)
            deep += "</a>";
        ZTree strict;
        ztree::XmlError error;
        ASSERT_TRUE(ztree::readXml(deep.data(), deep.size(), strict, &error)) << error.message;
        ZString out;
        ASSERT_TRUE(ztree::writeXml(strict, out, &error, {-1, false}));
        std::string flat = "<r>";
        for (int i = 0; i < 300000; ++i)
            flat += " <c/>";
        flat += "text</r>";
        ASSERT_TRUE(ztree::readXml(flat.data(), flat.size(), strict, &error)) << error.message;
        EXPECT_EQ(strict.root()->getChildCount(), 600001);
        std::string many = "<r";
        for (int i = 0; i < 100000; ++i)
            many += " a" + std::to_string(i) + "=''";
        many += "/>";
        ASSERT_TRUE(ztree::readXml(many.data(), many.size(), strict, &error)) << error.message;
        EXPECT_EQ(strict.root()->getAttribCount(), 100000);
        ZTree copy(strict);
        EXPECT_EQ(copy.root()->getAttribCount(), 100000);
    }
    platform::Hooks::on();
}

} // namespace
