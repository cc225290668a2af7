// The second spelling of wide text, whose shells could call themselves.

#include <ztree/attrib.h>

#include <gtest/gtest.h>

namespace {
const unsigned short* us(const zwchar* w)
{
    return reinterpret_cast<const unsigned short*>(w);
}
} // namespace

TEST(AttribSpelling, wideTextAsUnsignedShort)
{
    const unsigned short *a = us(ZTEXT("a")), *b = us(ZTEXT("b"));
    ZAttribW one(a, b);
    one.setName(b);
    one.setValue(a);
    EXPECT_EQ(*one.getName(), 'b');
    EXPECT_EQ(*one.getValue(), 'a');

    ZAttribWList list(us(ZTEXT("x=1 y=2")));
    EXPECT_EQ(list.setData(us(ZTEXT("z=3"))), 1);
    list.addAttrib(a, b);
    list.setAttrib(b, a);
    EXPECT_EQ(*list.getAttrib(b), 'a');
    list.removeAttrib(a);
    EXPECT_EQ(list.size(), 2);

    ZTokenizerW tokens(us(ZTEXT("1,2;3 4")), us(ZTEXT(",")));
    EXPECT_EQ(*tokens.nextToken(), '1');
    EXPECT_EQ(*tokens.nextToken(us(ZTEXT(";"))), '2');
    EXPECT_EQ(tokens.skip(us(ZTEXT("3"))), 1);
    tokens.setSepList(us(ZTEXT(" ")));
    EXPECT_EQ(*tokens.getSepList(), ' ');
    tokens.init(us(ZTEXT("5")), nullptr, 0);
    EXPECT_EQ(*tokens.nextToken(), '5');

    ZTokenizerEx pieces("a", -1, nullptr, 0);
    pieces.setMode(1);
    pieces.setSepList(",");
    EXPECT_STREQ(pieces.getSepList(), ",");
    EXPECT_EQ(pieces.getMode(), 1);
}
