#include "csv/support.h"

#include <cstring>

namespace {

struct Record {
    int number;
    char name[9];
    zulong date;
};

const unsigned short order[] = {11, 12, 13};

/// Columns 11 number, 12 name, 13 date, by offsets.
void define(csvBuffer& buffer)
{
    Record none;
    csvInt number(11, &none.number, 0);
    number.setOffset(static_cast<long>(offsetof(Record, number)));
    const csvField name(12, static_cast<long>(offsetof(Record, name)), 9, csvFlagTerminated);
    csvDate date(13, &none.date, 0);
    date.setOffset(static_cast<long>(offsetof(Record, date)));
    const csvField* list[] = {&number, nullptr, &name, &date};
    ASSERT_EQ(buffer.setFieldOrder(order, 3), 0);
    ASSERT_EQ(buffer.setFieldDefinitionList(list, 4), 0);
    buffer.setParameter(csvParamDateFormat, 2);
    buffer.buildLocalFormat();
}

TEST(csvBuffer, linesToRecordsAndBack)
{
    csvBuffer buffer;
    define(buffer);
    EXPECT_EQ(setData(buffer, "\r\n\n1;ab;24.12.1999\r\n\r\n2;;;5;6\n"), 0);
    Record a = {}, b = {};
    EXPECT_TRUE(buffer.hasMoreLines());
    EXPECT_EQ(buffer.scanLine(&a), 0);
    EXPECT_EQ(buffer.scanLine(&b), 0);
    EXPECT_FALSE(buffer.hasMoreLines());
    EXPECT_EQ(buffer.scanLine(&b), 0);
    EXPECT_EQ(a.number, 1);
    EXPECT_STREQ(a.name, "ab");
    EXPECT_EQ(a.date, 19991224u);
    EXPECT_EQ(b.number, 2);
    EXPECT_STREQ(b.name, "");
    EXPECT_EQ(lineOf(buffer, &a), "1;ab;24.12.1999");

    struct Case {
        csvParameter parameter;
        unsigned short value;
        const char* line;
    };
    const Case cases[] = {{csvParamLineEnd, 1, "1;ab;24.12.1999\n"},
                          {csvParamLineEnd, 2, "1;ab;24.12.1999\r"},
                          {csvParamLineEnd, 3, "1;ab;24.12.1999"},
                          {csvParamTrailingSeparator, 1, "1;ab;24.12.1999;"},
                          {csvParamQuote, 7, "\"1\";\"ab\";\"24.12.1999\";"},
                          {csvParamSeparator, '\t', "\"1\"\t\"ab\"\t\"24.12.1999\"\t"}};
    for (const Case& c : cases) {
        buffer.setParameter(c.parameter, c.value);
        ZString line;
        EXPECT_EQ(buffer.createLine(line, &a), 0);
        EXPECT_STREQ(line.getBuffer(), c.line);
    }
    // scanBuffer scans one line over the other and stops where a field refuses.
    EXPECT_EQ(setData(buffer, "7\tx\n8\ty"), 0);
    EXPECT_EQ(buffer.scanBuffer(&b), 0);
    EXPECT_EQ(b.number, 8);
    EXPECT_STREQ(b.name, "y");
}

TEST(csvBuffer, refuses)
{
    csvBuffer buffer;
    ZString line;
    const csvField* list[1] = {};
    int count = 1;
    EXPECT_EQ(buffer.createLine(line, nullptr), refused);
    EXPECT_EQ(buffer.addFieldDefinitionList(list, 1), refused); // no order yet
    EXPECT_EQ(buffer.addFieldOrder(nullptr, 1), badArgument);
    EXPECT_EQ(buffer.addFieldOrder(order, 0), badArgument);
    EXPECT_EQ(buffer.addFieldOrder(order, 3), 0);
    EXPECT_EQ(buffer.addFieldDefinitionList(nullptr, 1), badArgument);
    EXPECT_EQ(buffer.addFieldDefinitionList(list, 0), badArgument);
    EXPECT_EQ(buffer.getFieldDefinitionList(nullptr, &count), badArgument);
    EXPECT_EQ(buffer.getFieldDefinitionList(list, nullptr), badArgument);
    EXPECT_EQ(buffer.setParameter(static_cast<csvParameter>(32), 1), badArgument);
    EXPECT_EQ(buffer.getParameter(static_cast<csvParameter>(40)), 0);
    EXPECT_EQ(buffer.setLocalFormat(nullptr), badArgument);
    for (const char* text : {"", "\r\n\n"})
        EXPECT_EQ(setData(buffer, text), badArgument);
    EXPECT_EQ(buffer.setData(static_cast<const zwchar*>(nullptr)), badArgument);
    EXPECT_EQ(buffer.setData("abc", 3, 12345), badArgument); // no such code page
    EXPECT_EQ(buffer.scanBuffer(nullptr), 0);
}

TEST(csvBuffer, slotsByIdentifier)
{
    csvBuffer buffer;
    int value = 5, other = 6;
    const unsigned short ids[] = {5, 32, 3, 9, 10, 32};
    buffer.setFieldOrder(ids, 6);
    int count = 0;
    EXPECT_EQ(buffer.getFieldOrder(&count)[2], 3);
    EXPECT_EQ(count, 3); // trailing tabs, line feeds and blanks are lost, as identifiers too
    EXPECT_EQ(buffer.addFieldDefinition(csvInt(4, &value, 0)), 0); // not in the order
    EXPECT_EQ(buffer.addFieldDefinition(csvInt(3, &value, 0)), 0);
    EXPECT_EQ(lineOf(buffer), ";;5");
    EXPECT_EQ(buffer.addFieldDefinition(csvInt(3, &other, 0)), 0); // of the same class: the first one stays
    EXPECT_EQ(lineOf(buffer), ";;5");
    EXPECT_EQ(buffer.addFieldDefinition(csvLong(3, reinterpret_cast<zlong*>(&other), 0)), 0);
    EXPECT_EQ(lineOf(buffer), ";;6");
    buffer.setParameter(csvParamQuote, 1);
    EXPECT_EQ(lineOf(buffer), "\"\";\"\";\"6\"");
    const csvField* list[3] = {};
    count = 3;
    EXPECT_EQ(buffer.getFieldDefinitionList(list, &count), 0);
    EXPECT_EQ(count, 0); // up to the first empty slot
    buffer.addFieldDefinition(csvInt(5, &value, 0));
    count = 3;
    EXPECT_EQ(buffer.getFieldDefinitionList(list, &count), 0);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(list[0]->getParent(), &buffer);
    EXPECT_EQ(buffer.clearFieldDefinitionList(), 0);
    EXPECT_EQ(lineOf(buffer), "\"\";\"\";\"\"");
}

/// A field whose operations fail or tell that they were called.
class OwnField : public csvInt {
public:
    OwnField(unsigned short id, int* value, int result) : csvInt(id, value, 0), m_result(result) {}
    using csvInt::read;
    using csvInt::write;
    int read(ZStringW& text) const override
    {
        text = ZTEXT("own");
        return m_result;
    }
    int write(const ZStringW& text) const override
    {
        csvInt::write(text);
        return m_result;
    }
    csvField* clone() const override { return new OwnField(*this); }

private:
    int m_result;
};

TEST(csvBuffer, resultsOfFields)
{
    int values[3] = {};
    csvBuffer buffer;
    const auto make = [&](int result) {
        buffer.setFieldOrder(order, 3);
        buffer.clearFieldDefinitionList();
        buffer.addFieldDefinition(csvInt(11, &values[0], 0));
        buffer.addFieldDefinition(OwnField(12, &values[1], result));
        buffer.addFieldDefinition(csvInt(13, &values[2], 0));
    };
    make(5); // positive results do not stop
    setData(buffer, "1;2;3\n4;5");
    EXPECT_EQ(buffer.scanLine(nullptr), 0);
    EXPECT_EQ(buffer.scanLine(nullptr), 5);
    EXPECT_EQ(lineOf(buffer), "4;own;3");
    make(-7);
    for (const unsigned short dialect : {csvDialectLines, csvDialectRfc}) {
        SCOPED_TRACE(dialect);
        buffer.setParameter(csvParamDialect, dialect);
        setData(buffer, "1;2;3\n4;5;6");
        values[2] = 0;
        EXPECT_EQ(buffer.scanBuffer(nullptr), -7);
        EXPECT_EQ(values[1], 2);
        EXPECT_EQ(values[2], 0);
        EXPECT_EQ(lineOf(buffer), "1;;0");
        // The rest of the line and the next one are still there, also after new data came.
        ZStringW text;
        EXPECT_TRUE(buffer.hasMoreFields());
        csvBuffer copy(buffer);
        setData(buffer, "7;8;9");
        EXPECT_EQ(buffer.scanField(nullptr, text), 0);
        EXPECT_EQ(utf8(text), "3");
        EXPECT_FALSE(buffer.hasMoreFields());
        EXPECT_EQ(buffer.scanField(nullptr, text), 0);
        EXPECT_EQ(utf8(text), "");
        EXPECT_EQ(buffer.scanLine(nullptr), -7);
        EXPECT_EQ(values[0], 7);
        EXPECT_EQ(copy.scanField(nullptr, text), 0);
        EXPECT_EQ(utf8(text), "3");
        EXPECT_EQ(copy.scanLine(nullptr), -7);
        EXPECT_EQ(values[0], 4);
        buffer.setParameter(csvParamQuote, dialect == csvDialectLines);
        EXPECT_EQ(lineOf(buffer), dialect == csvDialectLines ? "\"4\";;\"0\"" : "4;;0"); // not even quotes
        buffer.setParameter(csvParamQuote, 0);
    }
}

TEST(csvBuffer, moveDefinitionsWithTheRecord)
{
    csvBuffer buffer;
    define(buffer);
    buffer.addFieldOrder(order, 1);
    buffer.setFieldOrder(order, 3);
    buffer.addFieldDefinition(csvConst(12, ZTEXT("fixed"))); // another class: replaces the name
    Record a = {1, "a", 0}, b = {2, "b", 0};
    EXPECT_EQ(lineOf(buffer, &a), "1;fixed;");
    EXPECT_EQ(lineOf(buffer, &b), "2;fixed;");
    EXPECT_EQ(buffer.relocFieldDefinitionList(nullptr), 0); // back to offsets
    csvBuffer copy;
    copy = buffer;
    EXPECT_EQ(copy.getLocalFormat()->szDateFmt[0], 0); // the format is not copied
    a.date = 20000101;
    EXPECT_EQ(lineOf(copy, &a), "1;fixed;");
    EXPECT_EQ(lineOf(buffer, &a), "1;fixed;01.01.2000");
}

TEST(csvBuffer, formatsFromCodesAndBack)
{
    csvBuffer fresh;
    const tagLocalFmt* fmt = fresh.getLocalFormat();
    EXPECT_EQ(fmt->ulSpare1, 65001u);
    EXPECT_EQ(std::string({fmt->cDecimal, fmt->cThousand, fmt->cTimeSep, fmt->cDateSep}),
              std::string(".\0:/", 4));
    EXPECT_STREQ(fmt->szTimeFmt, "");
    EXPECT_STREQ(fmt->szDateFmt, "");
    struct Case {
        unsigned short code;
        const char* picture;
        unsigned short back;
    };
    const Case cases[] = {{0, "DDMMYY", 12}, {2, "DDMMYYYY", 0},  {5, "YYMMDD", 5},   {7, "YYYYMMDD", 7},
                          {8, "MMDDYY", 12}, {11, "MMDDYYYY", 9}, {99, "YYYYMMDD", 7}};
    for (const Case& c : cases) {
        csvBuffer buffer;
        buffer.setParameter(csvParamDateFormat, c.code);
        EXPECT_EQ(buffer.buildLocalFormat(), 0);
        EXPECT_STREQ(buffer.getLocalFormat()->szDateFmt, c.picture);
        EXPECT_STREQ(buffer.getLocalFormat()->szTimeFmt, "HHMMSS");
        const tagLocalFmt copy = *buffer.getLocalFormat();
        EXPECT_EQ(fresh.setLocalFormat(&copy), 0);
        EXPECT_EQ(fresh.getParameter(csvParamDateFormat), c.back);
    }
    // A six-letter picture keeps the end of a longer one.
    fresh.setParameter(csvParamDateFormat, 4);
    fresh.buildLocalFormat();
    EXPECT_STREQ(fmt->szDateFmt, "YYMMDDDD");
    const std::string numbers[] = {std::string(".\0", 2), std::string(",\0", 2), ",.", ".,"};
    const unsigned short back[] = {3, 2, 1, 0}; // not the codes they came from
    for (unsigned short n = 0; n < 4; ++n) {
        fresh.setParameter(csvParamNumberFormat, n);
        fresh.buildLocalFormat();
        const tagLocalFmt copy = *fmt;
        EXPECT_EQ(std::string({copy.cDecimal, copy.cThousand}), numbers[n]);
        fresh.setLocalFormat(&copy);
        EXPECT_EQ(fresh.getParameter(csvParamNumberFormat), back[n]);
    }
}

// Examples of what is easily taken for a mistake; the model has all the rest.
TEST(csvBuffer, quotesAndEscapes)
{
    char value[40] = {};
    csvBuffer buffer;
    buffer.setFieldOrder(order, 2);
    buffer.addFieldDefinition(csvField(11, value, 39, 0));
    struct Case {
        unsigned short quote, escape;
        const char* line;
        const char* value;
    };
    const Case scanned[] = {
        {1, 0, "\"a\"b\"c\";x", "a\"b\"c"},
        {1, 0, "\"a\"\";b\";x", "a\";b"},
        {0, 1, "a\\b;x", "a\\b"},
        {0, 2, "a%3b;x", "ab"}, // hexadecimal digits are capitals
    };
    for (const Case& c : scanned) {
        SCOPED_TRACE(c.line);
        buffer.setParameter(csvParamQuote, c.quote);
        buffer.setParameter(csvParamEscape, c.escape);
        EXPECT_EQ(setData(buffer, c.line), 0);
        EXPECT_EQ(buffer.scanLine(nullptr), 0);
        EXPECT_STREQ(value, c.value);
    }
    // Quotes inside are not doubled; with percent escapes line ends are escaped too.
    for (const Case& c : {Case{1, 0, "\"a\"b\";\"\"", "a\"b"}, {0, 2, "a%3Bb\"%25%0D%0A;", "a;b\"%\r\n"}}) {
        SCOPED_TRACE(c.line);
        buffer.setParameter(csvParamQuote, c.quote);
        buffer.setParameter(csvParamEscape, c.escape);
        std::strcpy(value, c.value);
        EXPECT_EQ(lineOf(buffer), c.line);
    }
}

TEST(csvBuffer, lineInTheCodePageOfTheString)
{
    const zwchar value[] = {0x20AC, 0xE4, 0x416};
    csvBuffer buffer;
    buffer.setFieldOrder(order, 1);
    buffer.addFieldDefinition(csvWideChar(11, value, 3, 0));
    buffer.setParameter(csvParamLineEnd, 3);
    ZString line("x", 1, 1252);
    EXPECT_EQ(buffer.createLine(line, nullptr), 0);
    EXPECT_STREQ(line.getBuffer(), "\x80\xE4?");
    char narrow[3];
    buffer.setParameter(csvParamCodepage, 1251);
    buffer.clearFieldDefinitionList();
    buffer.addFieldDefinition(csvField(11, narrow, 3, csvFlagPadBlank));
    EXPECT_EQ(buffer.setData("\x80\xC6", 2, 1251), 0);
    EXPECT_EQ(buffer.scanLine(nullptr), 0);
    EXPECT_EQ(std::string(narrow, 3), "\x80\xC6 ");
}

} // namespace
