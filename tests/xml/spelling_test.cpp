// The second spelling of wide text, whose shells could call themselves: both spellings do the same.

#include <ztree/xml.h>

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

namespace {

const unsigned short* us(const zwchar* w)
{
    return reinterpret_cast<const unsigned short*>(w);
}
const zwchar* same(const zwchar* w)
{
    return w;
}

// One document with every operation that takes a text.
template <class Spell> std::basic_string<zwchar> written(Spell spell)
{
    ZXmlFileW file;
    const zwchar* result = nullptr;
    file.setCodepage(65001);
    file.start(&result, spell(ZTEXT("root")), spell(ZTEXT("root.dtd")));
    file.descend(spell(ZTEXT("root")), 1);
    file.attrib(spell(ZTEXT("id")), spell(ZTEXT("a&b")), 0);
    file.startTag(spell(ZTEXT("tag")), 0);
    file.write(spell(ZTEXT("text")), -1, 1);
    file.endTag(spell(ZTEXT("tag")));
    file.lineFeed();
    file.quickTag(spell(ZTEXT("quick")), 0);
    file.writeStr(spell(ZTEXT("str")), spell(ZTEXT("s")));
    file.writeData(spell(ZTEXT("data")), spell(ZTEXT("d  ")), 3);
    const unsigned char digits[] = {0x12, 0x34};
    file.writePacked(spell(ZTEXT("packed")), digits, 4);
    file.writeAmount(spell(ZTEXT("amount")), 12.5, 2);
    file.writeCommand(spell(ZTEXT("command")), 7, spell(ZTEXT("query")));
    file.ascend();
    file.finish();
    EXPECT_EQ(file.getCodepage(), 65001u);
    std::basic_string<zwchar> out(result, result + file.getDataSize());
    file.freeBuffer(&result);
    EXPECT_EQ(result, nullptr);
    EXPECT_NE(file.getLibVersion(), 0u);
    return out;
}

} // namespace

TEST(XmlSpelling, writers)
{
    const auto text = written(same);
    EXPECT_TRUE(text == written(us));
    EXPECT_NE(text.find(ZTEXT("<packed>1234</packed>")), text.npos);
    ZXmlFile narrow;
    narrow.setCodepage(1252);
    EXPECT_EQ(narrow.getCodepage(), 1252u);
    EXPECT_EQ(narrow.ascend(), 0);
    EXPECT_EQ(narrow.finish(), 0);
    EXPECT_EQ(narrow.getDataSize(), 0);
}

TEST(XmlSpelling, readersAndElements)
{
    const zwchar* const document = ZTEXT("<r><a id='7'>x</a><b/></r>");
    ZXmlReaderW reader(us(document));
    reader.load(false, true);
    ZXmlTagW* a = reader.findChild(nullptr, us(ZTEXT("a")));
    ASSERT_TRUE(a);
    EXPECT_EQ(reader.findNextChild(reader.getRoot(), a, us(ZTEXT("b")), true), reader.getRoot()->getChild(1));
    reader.unload();
    reader.setData(us(document), 0);
    unsigned long length = 0;
    EXPECT_EQ(*reader.getBuffer(&length), '<');
    EXPECT_EQ(length, 26u);
    EXPECT_EQ(ZXmlReaderW(us(document), 0).getLibVersion(), ZXmlReader().getLibVersion());

    ZXmlTagW root(nullptr, us(ZTEXT("root")), us(ZTEXT("text")));
    ZXmlTagW child(&root, us(ZTEXT("x")));
    child.setName(us(ZTEXT("child")));
    child.setText(us(ZTEXT("c")));
    child.addAttrib(us(ZTEXT("id")), us(ZTEXT("1")));
    child.setAttrib(us(ZTEXT("id")), us(ZTEXT("2")));
    EXPECT_EQ(*child.getAttrib(us(ZTEXT("id"))), '2');
    EXPECT_EQ(*child.getText(), 'c');
    EXPECT_EQ(root.getChild(us(ZTEXT("child"))), &child);
    child.setData(us(ZTEXT("other a='b'/")));
    EXPECT_EQ(child.getKind(), 2);
    root.addChild(us(ZTEXT("new")), us(ZTEXT("n")));
    EXPECT_EQ(root.getChildCount(), 3); // it stands there twice
    EXPECT_EQ(root.getChildIndex(root.getChild(us(ZTEXT("new")))), 1);
    root.removeChild(&child);
    EXPECT_EQ(root.getLibVersion(), child.getLibVersion());
}
