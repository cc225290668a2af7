#include "csv/support.h"

#include <climits>
#include <cstring>
#include <limits>
#include <memory>

namespace {

std::string bytes(const void* from, std::size_t n)
{
    return std::string(static_cast<const char*>(from), n);
}

TEST(csvField, cutsPadsAndStrips)
{
    const unsigned right = csvFlagAlignRight, blank = csvFlagPadBlank, zero = csvFlagPadZero;
    struct Case {
        unsigned flags, size;
        const char* text;
        std::string stored; // and what follows in the record
        const char* read;
    };
    using S = std::string;
    const Case cases[] = {
        {blank, 5, "ab", "ab   ####", "ab"},
        {blank | right, 5, "ab", "   ab####", "ab"},
        {zero | right, 4, "12", "0012#####", "12"},
        {zero | right | csvFlagRaw, 4, "12", "0012#####", "0012"},
        {zero, 4, "10", "1000#####", "1"},
        {zero | blank, 4, "10", "10  #####", "10"}, // blanks win
        {0, 4, "ab", S("ab\0\0#####", 9), "ab"},
        {right, 4, "ab", S("\0\0ab#####", 9), ""}, // reading ends at the first NUL
        {csvFlagTerminated, 5, "abcd", S("abcd\0####", 9), "abcd"},
        {csvFlagTerminated, 5, "abcde", "abcd#####", "abcd"}, // cut, and then without a terminator
        {csvFlagTerminated | blank, 5, "ab", "ab  #####", "ab"},
        {blank, 4, "abcdefgh", "abcd#####", "abcd"},
        {blank, 4, "", "    #####", ""},
        {blank, 4, "\xC3\xA4\xC3\xB6", "\xC3\xA4\xC3\xB6#####", "\xC3\xA4\xC3\xB6"},
        {blank, 3, "\xC3\xA4\xC3\xB6", "\xC3\xA4\xC3######", "\xC3\xA4\xEF\xBF\xBD"}, // bytes count
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.text << " flags " << c.flags << " size " << c.size);
        char record[9];
        std::memset(record, '#', sizeof record);
        const csvField field(1, record, c.size, c.flags);
        EXPECT_EQ(put(field, c.text), 0);
        EXPECT_EQ(bytes(record, sizeof record), c.stored);
        EXPECT_EQ(textOf(field), c.read);
    }
    // Longer than any buffer on a stack, cut in the middle of pairs.
    char small[7];
    std::string smileys;
    for (int i = 0; i < 400; ++i)
        smileys += "\xF0\x9F\x98\x80";
    EXPECT_EQ(put(csvField(1, small, 7, 0), smileys), 0);
    EXPECT_EQ(bytes(small, 7), smileys.substr(0, 7));
    std::string large(1601, '#');
    EXPECT_EQ(put(csvField(1, &large[0], 1601, csvFlagPadBlank), smileys), 0);
    EXPECT_EQ(large, smileys + " ");
}

TEST(csvField, keepsFlagsSizesAndAddresses)
{
    char record[16] = {};
    csvField field(7, record, 11, csvFlagTerminated);
    unsigned size = 0;
    EXPECT_EQ(field.getBuffer(&size), record);
    EXPECT_EQ(size, 10u);
    EXPECT_EQ(field.getId(), 7);
    EXPECT_EQ(field.getCodepage(), 65001u);
    EXPECT_EQ(field.getLocalFormat(), nullptr);
    for (const unsigned long bad : {0x4ul, 0x8ul, 0x10ul, 0x01000000ul, 0x04000000ul, 0x80000000ul})
        EXPECT_EQ(field.setFlags(bad | 1), badArgument) << bad;
    EXPECT_EQ(field.getFlags(), 1u);
    EXPECT_EQ(field.setFlags(0x1A000223), 0);
    EXPECT_EQ(csvField(1, record, 4, 0x4).getFlags(), 0u);
    EXPECT_EQ(field.setBuffer(record, 4), 0); // no room is set aside here
    EXPECT_EQ(field.getBuffer(&size), record);
    EXPECT_EQ(size, 4u);

    csvField readOnly(1, static_cast<const char*>(record), 4, 0);
    EXPECT_EQ(put(readOnly, "x"), refused);
    EXPECT_EQ(readOnly.getFlags(), csvFlagReadOnly);
    EXPECT_EQ(readOnly.setFlags(0), 0); // unlocks
    EXPECT_EQ(put(readOnly, "x"), 0);

    csvField moved(1, 8L, 4, 0);
    EXPECT_EQ(moved.shiftBuffer(-3), 0);
    EXPECT_EQ(moved.getBuffer(nullptr), reinterpret_cast<char*>(5));
    EXPECT_EQ(moved.init(9, 0x10), badArgument);
    EXPECT_EQ(moved.getBuffer(&size), nullptr);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(textOf(moved), "");
    EXPECT_EQ(put(moved, "text"), 0); // nowhere to go, like every byte beyond the size

    ZStringW text = ztree::wide("00120");
    field.setFlags(csvFlagPadZero | csvFlagAlignRight);
    EXPECT_EQ(field.unformat(text), 0);
    EXPECT_EQ(utf8(text), "120");
}

// Callers lay out records by these sizes and have no flags there.
TEST(csvField, offsetConstructorsThatSlip)
{
    struct Record {
        double amount;
        int number;
    } record = {1234.56, 5};
    const csvDouble real(1, 0L, 0x200);
    const csvInt number(2, static_cast<long>(offsetof(Record, number)), 0x2);
    const csvUlong unsignedLong(3, 0L, 0x1);
    const csvAmount amount(4, 0L, 0x2 | csvFlagRaw);
    const csvDate date(5, 0L, 0x20);
    const csvTime time(6, 0L, 0x20);
    const csvField* const fields[] = {&real, &number, &unsignedLong, &amount, &date, &time};
    const unsigned sizes[] = {0x200, 0x2, 0x1, 0x2 | csvFlagRaw, 0x20, 0x20};
    for (int i = 0; i < 6; ++i) {
        unsigned size = 0;
        fields[i]->getBuffer(&size);
        EXPECT_EQ(size, sizes[i]);
        EXPECT_EQ(fields[i]->getFlags(), 0u);
    }
    unsigned size = 0;
    const csvUint sound(1, 4L, 0x200);
    sound.getBuffer(&size);
    EXPECT_EQ(size, 4u);
    EXPECT_EQ(sound.getFlags(), 0x200u);
    std::unique_ptr<csvField> copy(number.clone());
    copy->shiftBuffer(static_cast<long>(reinterpret_cast<std::intptr_t>(&record)));
    EXPECT_EQ(textOf(*copy), "5"); // the size is not looked at
}

template <class Field, class T> void expectNumbers(std::initializer_list<std::pair<const char*, T>> texts)
{
    T value = 1;
    const Field field(1, &value, 0);
    for (const auto& [text, number] : texts) {
        EXPECT_EQ(put(field, text), 0);
        EXPECT_EQ(value, number) << text;
    }
    T typed = 0;
    EXPECT_EQ(field.write(T(7)), 0);
    EXPECT_EQ(field.read(&typed), 0);
    EXPECT_EQ(typed, T(7));
    EXPECT_EQ(field.read(static_cast<T*>(nullptr)), badArgument);
    const Field readOnly(1, const_cast<const T*>(&value), 0);
    EXPECT_EQ(readOnly.write(T(9)), refused);
    EXPECT_EQ(put(readOnly, "9"), refused);
    EXPECT_EQ(value, T(7));
    const Field nowhere(1, static_cast<T*>(nullptr), 0);
    EXPECT_EQ(nowhere.write(T(9)), refused);
    EXPECT_EQ(put(nowhere, "9"), refused);
    EXPECT_EQ(textOf(nowhere), "error " + std::to_string(refused));
}

TEST(csvField, numbersFromText)
{
    expectNumbers<csvChar, char>({{"-128", -128}, {"300", 44}, {"", 0}, {"x", 0}});
    expectNumbers<csvByte, unsigned char>({{"255", 255}, {"-1", 255}});
    expectNumbers<csvShort, short>({{" \t-12x", -12}, {"40000", -25536}});
    expectNumbers<csvUshort, unsigned short>({{"+65535", 65535}});
    expectNumbers<csvInt, int>({{"-2147483648", INT_MIN}, {"- 5", 0}, {"4294967297", 1}, {"12 34", 12}});
    expectNumbers<csvUint, unsigned>({{"-1", 0xFFFFFFFF}});
    expectNumbers<csvLong, zlong>({{"2147483648", std::numeric_limits<zlong>::min()}});
    expectNumbers<csvUlong, zulong>({{"4294967295", 0xFFFFFFFF}});
    const double infinity = std::numeric_limits<double>::infinity();
    expectNumbers<csvDouble, double>({{"1.5", 1.5},
                                      {" -.25e2 m", -25},
                                      {"12345678901234567890", 12345678901234567890.0},
                                      {"0.1000000000000000055511151231257827", 0.1},
                                      {"123456789012345.5", 123456789012345.5},
                                      {"1e400", infinity},
                                      {"-1e-400", 0},
                                      {"inf", 0},
                                      {".", 0},
                                      {"1,5", 1},
                                      {"", 0}});
}

TEST(csvField, numbersToText)
{
    const signed char small = -5;
    const unsigned ones = 0xFFFFFFFF;
    const zulong onesLong = 0xFFFFFFFF;
    const unsigned char byte = 200;
    const unsigned short word = 65535;
    EXPECT_EQ(textOf(csvChar(1, reinterpret_cast<const char*>(&small), 0)), "-5");
    EXPECT_EQ(textOf(csvByte(1, &byte, 0)), "200");
    EXPECT_EQ(textOf(csvUshort(1, &word, 0)), "65535");
    EXPECT_EQ(textOf(csvUint(1, &ones, 0)), "-1"); // files hold it so
    EXPECT_EQ(textOf(csvUlong(1, &onesLong, 0)), "4294967295");
    const std::pair<double, const char*> reals[] = {
        {0, "0.0000"}, {-1.00005, "-1.0001"}, {0.03125, "0.0312"}, {1e15, "1000000000000000.0000"}};
    for (const auto& [value, text] : reals)
        EXPECT_EQ(textOf(csvDouble(1, &value, 0)), text);
    const double large = -1e308;
    EXPECT_EQ(textOf(csvDouble(1, &large, 0)).size(), 1 + 309 + 5u);
}

TEST(csvPacked, digitsFromTheRight)
{
    unsigned char field[3] = {0x00, 0x12, 0x3F};
    const csvPacked packed(1, field, 3, 0);
    EXPECT_EQ(textOf(packed), "123F");
    struct Case {
        const char* text;
        int result;
        const char* stored;
    };
    const Case cases[] = {
        {"ABC", 0, "FF0ABC"},          {"0a1b2c3d", 0, "1B2C3D"}, {"12G456", refused, "FFFF56"},
        {"1G3456", refused, "FF3456"}, {"", 0, "FFFFFF"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        std::memset(field, 0xFF, 3);
        EXPECT_EQ(put(packed, c.text), c.result);
        char hex[7];
        std::snprintf(hex, sizeof hex, "%02X%02X%02X", field[0], field[1], field[2]);
        EXPECT_STREQ(hex, c.stored); // an odd digit before a bad one makes no byte
    }
    std::memset(field, 0, 3);
    EXPECT_EQ(textOf(packed), "");
    const unsigned char source[5] = {1, 2, 3, 4, 5};
    EXPECT_EQ(packed.write(source, 5), 0);
    EXPECT_EQ(bytes(field, 3), "\3\4\5");
    EXPECT_EQ(packed.write(source, 2), 0); // at the start
    EXPECT_EQ(bytes(field, 3), "\1\2\5");
    unsigned char target[5] = {9, 9, 9, 9, 9};
    EXPECT_EQ(packed.read(target, 5), 0); // at the end
    EXPECT_EQ(bytes(target, 5), "\x9\x9\1\2\5");
}

TEST(csvWideChar, countsCharactersAndCopiesBytes)
{
    zwchar record[4] = {'#', '#', '#', '#'};
    const csvWideChar padded(1, record, 3, csvFlagPadBlank | csvFlagAlignRight);
    EXPECT_EQ(put(padded, "\xC3\xA4"), 0);
    EXPECT_TRUE(std::equal(record, record + 4, ZTEXT("  \u00E4#")));
    EXPECT_EQ(textOf(padded), "\xC3\xA4");
    EXPECT_EQ(put(csvWideChar(1, record, 3, 0), "abcdef"), 0);
    EXPECT_EQ(put(csvWideChar(1, record, 3, csvFlagPadZero), ""), 0);
    EXPECT_TRUE(std::equal(record, record + 4, ZTEXT("000#")));
    EXPECT_EQ(padded.write(ZTEXT("xy"), 3), 0); // three bytes: one character and a half
    EXPECT_TRUE(std::equal(record, record + 4, ZTEXT("xy0#")));
    zwchar out[4] = {};
    EXPECT_EQ(padded.read(out, 100), 0); // as many bytes as the field has characters
    EXPECT_EQ(bytes(out, 4), bytes(ZTEXT("xy"), 4));
    char odd[9] = {}; // an address between units
    const csvWideChar unaligned(1, reinterpret_cast<zwchar*>(odd + 1), 3, 0);
    EXPECT_EQ(put(unaligned, "ab"), 0);
    EXPECT_EQ(textOf(unaligned), "ab");
}

TEST(csvDate, byTheFormatsOfTheBuffer)
{
    csvBuffer buffer;
    buffer.setParameter(csvParamDateFormat, 2);
    buffer.buildLocalFormat();
    zulong packed = 1;
    unsigned short days = 1;
    csvDate date(1, &packed, 0);
    csvXDate day(2, &days, 0);
    csvTime time(3, &packed, 0);
    for (csvField* field :
         {static_cast<csvField*>(&date), static_cast<csvField*>(&day), static_cast<csvField*>(&time)})
        field->setParent(&buffer);
    struct Case {
        const char* text;
        zulong packed;
        unsigned short days;
        const char* read;
    };
    const Case cases[] = {{"29.02.2000", 20000229, 36584, "29.02.2000"},
                          {"31.02.2000", 99999999, 0, ""},
                          {"", 0, 0, ""},
                          {"1.1.01 and more", 0, 36891, ""}}; // too long for the area of a date
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(put(date, c.text), 0);
        EXPECT_EQ(packed, c.packed);
        EXPECT_EQ(textOf(date), c.read);
        EXPECT_EQ(put(day, c.text), 0);
        EXPECT_EQ(days, c.days);
    }
    days = 366;
    EXPECT_EQ(textOf(day), "01.01.1901");
    EXPECT_EQ(put(time, "13:05:09"), 0);
    EXPECT_EQ(packed, 130509u);
    EXPECT_EQ(textOf(time), "13:05:09");
    EXPECT_EQ(put(time, "13:05:091"), 0);
    EXPECT_EQ(packed, 0u);
    EXPECT_EQ(put(time, "25:00:00"), 0);
    EXPECT_EQ(packed, 999999u);
    date.setParent(nullptr);
    EXPECT_EQ(put(date, "01022003"), 0);
    EXPECT_EQ(textOf(date), "01.02.2003");
}

TEST(csvZTime, hoursAndMinutes)
{
    short minutes = 1;
    const csvZTime field(1, &minutes, 0);
    struct Case {
        const char* text;
        short minutes;
        const char* read;
    };
    const Case cases[] = {{"2:05", 125, "2:05"},
                          {"90", 90, "1:30"},
                          {"", 0, "0:00"},
                          {":7", 7, "0:07"},
                          {"100:", 6000, "100:00"},
                          {"x:y", 0, "0:00"},
                          {"-1:00", -60, "4294967295:00"},
                          {"-90", -90, "4294967295:4294967266"}};
    for (const Case& c : cases) {
        EXPECT_EQ(put(field, c.text), 0);
        EXPECT_EQ(minutes, c.minutes) << c.text;
        EXPECT_EQ(textOf(field), c.read);
    }
}

TEST(csvAmount, decimalsAreInTheFlags)
{
    double value = 1;
    struct Case {
        unsigned flags;
        const char* text;
        double value;
        const char* read; // without a parent: "1.234,56"
    };
    const Case cases[] = {
        {2 | csvFlagRaw, "1.234,56", 1234.56, "1.234,56"},
        {2 | csvFlagRaw | csvFlagAmountPlain, "-1234,5", -1234.5, "-1234,50"},
        {3 | csvFlagRaw, "0,0625", 0.063, "0,063"},
        {2, "1234,56", 1234.56, "1.235"}, // without csvFlagRaw no decimals
        {csvFlagRaw, "12,5", 12, "12"},
        {2 | csvFlagRaw, "abc", 1e-8, ""},
        {2 | csvFlagRaw, "", 0, "0,00"},
        {2 | csvFlagRaw, " ", -1e-8, ""},
        {2 | csvFlagRaw, "1234567890123456789012345", 0, "0,00"}, // too long
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.text << " flags " << c.flags);
        const csvAmount field(1, &value, c.flags);
        EXPECT_EQ(put(field, c.text), 0);
        EXPECT_EQ(value, c.value);
        EXPECT_EQ(textOf(field), c.read);
    }
    ZStringW kept = ztree::wide("before");
    value = 1e-8;
    EXPECT_EQ(csvAmount(1, &value, csvFlagRaw).read(kept), 0);
    EXPECT_EQ(utf8(kept), "before");
}

TEST(csvConst, givesItsTextAndTakesAny)
{
    csvConst constant(4, ZTEXT("EUR"));
    unsigned size = 0;
    char* const own = constant.getBuffer(&size);
    EXPECT_EQ(size, 6u);
    EXPECT_EQ(constant.getFlags(), csvFlagReadOnly | csvFlagFixed);
    EXPECT_EQ(put(constant, "other"), 0);
    EXPECT_EQ(constant.write(ZTEXT("xx"), 4), 0);
    EXPECT_EQ(textOf(constant), "EUR");
    EXPECT_EQ(constant.setOffset(1), refused);
    EXPECT_EQ(constant.shiftBuffer(1), refused);
    std::unique_ptr<csvField> copy(constant.clone());
    EXPECT_EQ(copy->getBuffer(nullptr), own);
    EXPECT_EQ(textOf(*copy), "EUR");
    csvConst gone(1, ZTEXT("x"));
    gone = csvConst(2, ZTEXT("a constant that is longer than what a string holds in place"));
    zwchar text[3] = {};
    EXPECT_EQ(gone.read(text, 4), 0);
    EXPECT_TRUE(std::equal(text, text + 3, ZTEXT("a ")));
    EXPECT_EQ(textOf(csvConst(3, static_cast<const zwchar*>(nullptr))), "");
}

} // namespace
