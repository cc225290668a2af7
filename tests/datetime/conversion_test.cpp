// What callers rely on, case by case.

#include "platform/clock.h"
#include "support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace {

void setPictures(tagLocalFmt& fmt, const char* time, const char* date)
{
    std::memset(fmt.szTimeFmt, 0, sizeof fmt.szTimeFmt);
    std::memset(fmt.szDateFmt, 0, sizeof fmt.szDateFmt);
    std::memcpy(fmt.szTimeFmt, time, std::min(std::strlen(time), sizeof fmt.szTimeFmt));
    std::memcpy(fmt.szDateFmt, date, std::min(std::strlen(date), sizeof fmt.szDateFmt));
}

class ClockTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        SYSTEMTIME now{};
        now.wYear = 2024, now.wMonth = 2, now.wDay = 29, now.wHour = 23, now.wMinute = 7, now.wSecond = 58;
        platform::FakeClock::set(SYSTEMTIME{}, now);
    }
    void TearDown() override { platform::FakeClock::clear(); }
};

TEST(LocalFmt, defaultsAndLayout)
{
    tagLocalFmt fmt;
    EXPECT_EQ(std::string(fmt.szTimeFmt, 10), std::string("HHMMSS\0\0\0\0", 10));
    EXPECT_EQ(std::string(fmt.szDateFmt, 20), std::string("DDMMYYYY") + std::string(12, '\0'));
    EXPECT_EQ(std::string({fmt.cDecimal, fmt.cThousand, fmt.cTimeSep, fmt.cDateSep}), ".,:.");
    EXPECT_EQ(offsetof(tagLocalFmt, szDateFmt), 18u);
    EXPECT_EQ(offsetof(tagLocalFmt, apwMonth), sizeof(void*) == 4 ? 44u : 48u);
    for (const zwchar* name : fmt.apwMonth)
        EXPECT_EQ(name, nullptr);
    fmt.apwMonth[3] = ZTEXT("x");
    tagLocalFmt copy;
    copy = fmt;
    EXPECT_EQ(copy.apwMonth[3], fmt.apwMonth[3]);
}

TEST_F(ClockTest, packedTimes)
{
    unsigned long t = 0;
    EXPECT_EQ(initTime(&t, 23, 59, 59), 0);
    EXPECT_EQ(t, 235959u);
    EXPECT_EQ(initTime(&t, 24, 0, 0), -1);
    EXPECT_EQ(t, 999999u);
    EXPECT_EQ(currentTime(&t), 0);
    EXPECT_EQ(t, 230758u);
    unsigned short h = 1, m = 2, s = 3;
    EXPECT_EQ(splitTime(126060, &h, &m, &s), -1);
    EXPECT_EQ(h * 100 + m * 10 + s, 123);
    EXPECT_EQ(splitTime(655360000ul + 2359, nullptr, &m, nullptr), 0) << "the hour is cut to 16 bits";
    EXPECT_EQ(m, 23);
}

TEST_F(ClockTest, timeTexts)
{
    struct Case {
        const char* text;
        bool strict;
        int consumed;
        unsigned long time;
    };
    const Case cases[] = {
        {"1230", true, 5, 123000},   // the seconds were reached and count as 0; the terminator is skipped
        {"12", true, -1, 999999},    // the seconds were not reached
        {"130509", true, 7, 130509}, //
        {"13:05:09x", true, 8, 130509},  {"12:30", false, 6, 123000}, // hour and minute: that time
        {"12", false, 2, 999999}, // an hour alone: the seconds stay open, and yet no failure
        {"x", false, 0, 999999},  //
        {"25:00:00", false, -1, 999999}, {"", false, 0, 0},           {nullptr, true, 0, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text ? c.text : "null");
        unsigned long t = 1;
        EXPECT_EQ(c.strict ? timeUlong(c.text, &t) : tStringUlong(c.text, &t, nullptr), c.consumed);
        EXPECT_EQ(t, c.time);
    }
    char text[ztree::roomTime] = "junk";
    EXPECT_EQ(ulongTime(0, text), 0) << "midnight is no time";
    EXPECT_STREQ(text, "");
    EXPECT_EQ(ulongTString(240000, text, nullptr), -1);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(timeTString("", text, nullptr), 0) << "unlike a date";
    EXPECT_EQ(timeTString("9", text, nullptr), -1);
    EXPECT_EQ(timeTString("0905", text, nullptr), 8);
    EXPECT_STREQ(text, "09:05:00");
    EXPECT_EQ(tStringTime("7", text, nullptr), 9);
    EXPECT_STREQ(text, "075865535") << "the current second stands for the minute";
    // A record separator of 0 is written into a time; the wide text ends there.
    tagLocalFmt fmt;
    fmt.cTimeSep = 0;
    EXPECT_EQ(ulongTString(130509, text, &fmt), 8);
    EXPECT_EQ(std::string(text, 9), std::string("13\00005\00009\0", 9));
    zwchar wide[ztree::roomTime];
    EXPECT_EQ(ulongTStringW(130509, asShort(wide), &fmt), 8);
    EXPECT_EQ(Wide(wide), ZTEXT("13"));
    unsigned long t;
    EXPECT_EQ(tStringUlong("1305", &t, &fmt), 5) << "never over the end of the text but for the last field";
}

TEST(TimeText, boundedStorage)
{
    char text[12];
    for (int size = -1; size < 10; ++size) {
        std::memset(text, '#', sizeof text);
        EXPECT_EQ(ulongTimeEx(130509, text, size), std::max(std::min(size, 6), 0));
        const std::string all("130509\0######", 12);
        EXPECT_EQ(std::string(text, 12),
                  all.substr(0, static_cast<std::size_t>(std::max(std::min(size, 7), 0))) +
                      std::string(static_cast<std::size_t>(12 - std::max(std::min(size, 7), 0)), '#'));
    }
}

TEST_F(ClockTest, packedDates)
{
    struct Case {
        unsigned short day, month, year;
        unsigned long date;
    };
    const Case cases[] = {
        {29, 2, 0, 20000229},   {29, 2, 1900, 99999999}, {1, 1, 9999, 99999999},  {31, 12, 9998, 99981231},
        {1, 1, 79, 20790101},   {1, 1, 80, 19800101},    {1, 1, 100, 1000101},    {31, 4, 2020, 99999999},
        {0, 1, 2020, 99999999}, {1, 13, 2020, 99999999}, {1, 1, 10000, 99999999},
    };
    for (const Case& c : cases) {
        unsigned long d = 0;
        EXPECT_EQ(initDate(&d, c.day, c.month, c.year), c.date == 99999999 ? -1 : 0);
        EXPECT_EQ(d, c.date);
    }
    unsigned long d;
    EXPECT_EQ(currentDate(&d), 0);
    EXPECT_EQ(d, 20240229u);
    unsigned short y = 0;
    EXPECT_EQ(splitDate(20000101, nullptr, nullptr, &y, false), 0);
    EXPECT_EQ(y, 100) << "2000 has three digits";
    EXPECT_EQ(splitDate(99990101, nullptr, nullptr, &y, true), -1);
    char text[ztree::roomDateStorage];
    EXPECT_EQ(ulongDate(20000101, text, false), 7);
    EXPECT_STREQ(text, "0101100");
    EXPECT_EQ(ulongDate(20120101, text, false), 6);
    EXPECT_STREQ(text, "010112");
    EXPECT_EQ(ulongDateEx(20120229, text, 5, true), 5);
    EXPECT_EQ(std::string(text, 5), "29022");
}

TEST_F(ClockTest, dateTexts)
{
    struct Case {
        const char* picture; // null: strict
        const char* text;
        int consumed;
        unsigned long date;
    };
    const Case cases[] = {
        {nullptr, "3112", 4, 20001231}, // a missing year is 0
        {nullptr, "31", -1, 99999999},
        {nullptr, "29.02.0100", -1, 99999999},
        {nullptr, "01019999", 8, 99999999}, // read, and then refused
        {"DDMMYYYY", "5", 1, 20240205},     // the rest from the clock
        {"DDMMYYYY", "30", -1, 99999999},   // which has a short month
        {"DDNNNYYYY", "01032012", 8, 20120301},
        {"DDNNNYYYY", "1.mar.2012", 10, 20120301},
        {"DDNNNYYYY", "1.xyz5.2012", 11, 20120501}, // no name: digits behind it
        {"DDNNNYY", "29-Feb-12", 2, 20240229},      // another separator ends it early
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        tagLocalFmt fmt;
        if (c.picture)
            setPictures(fmt, "", c.picture);
        unsigned long d = 1;
        EXPECT_EQ(c.picture ? dStringUlong(c.text, &d, &fmt) : dateUlong(c.text, &d), c.consumed);
        EXPECT_EQ(d, c.date);
    }
    tagLocalFmt fmt;
    setPictures(fmt, "", "DDNNNYY");
    fmt.cDateSep = '-';
    char text[ztree::roomDate];
    EXPECT_EQ(ulongDString(20120229, text, &fmt), 9);
    EXPECT_STREQ(text, "29-Feb-12");
    EXPECT_EQ(dateDString("", text, nullptr), -1) << "unlike a time";
    EXPECT_EQ(dateDString("29022012", text, nullptr), 10);
    EXPECT_STREQ(text, "29.02.2012");
    EXPECT_EQ(dStringDate("1.2.2000", text, false, nullptr), 7);
    EXPECT_STREQ(text, "0102100");
    EXPECT_EQ(dStringDate("1.2.13", text, true, nullptr), 8);
    EXPECT_STREQ(text, "01022013");
    zwchar wide[ztree::roomDateWide];
    EXPECT_EQ(dateDStringW("29022012", asShort(wide), nullptr), 10);
    EXPECT_EQ(Wide(wide), ZTEXT("29.02.2012"));
}

// The widest output of pictures that fill their arrays, and names at the edges of their room.
TEST(DateText, worstPictures)
{
    tagLocalFmt fmt;
    for (const zwchar*& name : fmt.apwMonth)
        name = ZTEXT("九九九九九九九"); // three bytes a letter
    setPictures(fmt, "HHHHHHHMSH", "NNNNN.NNNNN.NNNNNDDD");
    char text[ztree::roomDate];
    EXPECT_EQ(ulongDString(20121109, text, &fmt), 48);
    char time[ztree::roomTime];
    EXPECT_EQ(ulongTString(231545, time, &fmt), 14);
    EXPECT_STREQ(time, "0000023:15:45:");
    setPictures(fmt, "", "NNNNNN-D");
    EXPECT_EQ(ulongDString(20121109, text, &fmt), 5);
    EXPECT_STREQ(text, "??\?-9") << "eighteen bytes do not fit";
    char name[ztree::roomMonthName];
    EXPECT_STREQ(getMonthName(10, &fmt, name), "November");
    fmt.apwMonth[10] = ZTEXT("abcdefghijklmnop");
    EXPECT_STREQ(getMonthName(10, &fmt, name), "abcdefghijklmnop");
    fmt.apwMonth[10] = ZTEXT("abcdefghijklmnopq");
    EXPECT_STREQ(getMonthName(10, &fmt, name), "November");
    setPictures(fmt, "", "DNNNNNNNNNNNNNNNNNY"); // of 17 letters 16 are looked at
    unsigned long d;
    EXPECT_EQ(dStringUlong("1.abcdefghijklmnopq", &d, &fmt), 18);
    EXPECT_EQ(d % 10000, 1101u);
    EXPECT_STREQ(getMonthName(12, &fmt, name), "???");
    EXPECT_EQ(Wide(getMonthNameW(12, nullptr)), ZTEXT("???"));
    EXPECT_EQ(Wide(getMonthNameW(11, nullptr)), ZTEXT("December"));
    // Broken UTF-8 ends a name; nothing behind the terminator is looked at.
    setPictures(fmt, "", "DNNNY");
    for (const char* broken :
         {"1.\xC3", "1.\xE4\xB9", "1.\xC3(", "1.\xF0\x9F\x98\x80", "1.\xC0\x80", "1.\xED"})
        EXPECT_EQ(dStringUlong(broken, &d, &fmt), 2);
}

TEST(AmountText, storageToDisplay)
{
    struct Case {
        const char* storage;
        int length;
        bool group;
        int decimals; // -1: the plain function
        const char* display;
        int result;
    };
    const Case cases[] = {
        {"5", -1, false, -1, "0,05", 4},
        {"123456789", -1, true, -1, "1.234.567,89", 12},
        {"123456789", 5, true, -1, "123,45", 6},
        {"-5", -1, true, -1, "-,5", 3}, // behind a sign nothing is put in front
        {"-0005", -1, true, -1, "-0,05", 5},
        {"-05", -1, true, -1, "-,05", 4},
        {"+12", -1, true, -1, "+,12", 4},
        {"", -1, true, -1, "0,00", 4},
        {"000", -1, true, 0, "0,", 2},
        {"1.234,56", -1, false, -1, "1.234,56", 8},
        {"12x", -1, true, -1, "12x", -1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.storage);
        char text[40];
        EXPECT_EQ(c.decimals < 0 ? amountAString(c.storage, text, c.length, c.group, nullptr)
                                 : amountAStringEx(c.storage, text, c.length, c.group, nullptr,
                                                   static_cast<char>(c.decimals)),
                  c.result);
        EXPECT_STREQ(text, c.display);
    }
    const std::string longText = "x" + std::string(40, '7');
    char text[64];
    std::memset(text, '#', sizeof text);
    EXPECT_EQ(amountAString(longText.c_str(), text, -1, false, nullptr), -1);
    EXPECT_EQ(std::string(text), longText.substr(0, 23)) << "always cut at the same place";
}

TEST(AmountText, displayToStorage)
{
    struct Case {
        const char* display;
        int width;
        const char* storage;
        int result;
    };
    const Case cases[] = {
        {"1.234,56", 10, "0000123456", 10},
        {"-1.234,56", 10, "-000123456", 10},
        {"  ", 3, "000", 3},
        {"1234,56", 4, "3456", 6},
        {"5,995", 6, "00059:", 6}, // the carry stays in its digit
        {",25", 2, "25", 2},
        {"1x", 4, "####", -1},
        {",0045", 4, "0001", 4},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.display);
        std::string field(static_cast<std::size_t>(c.width), '#');
        EXPECT_EQ(aStringAmount(c.display, field.data(), c.width, nullptr), c.result);
        EXPECT_EQ(field, c.storage);
    }
}

TEST(AmountText, doubles)
{
    const double empty = -1e-8, invalid = 1e-8;
    char text[ztree::roomDoubleTextEx] = "as it was";
    for (double bad : {invalid, std::nan(""), HUGE_VAL, -HUGE_VAL, 4294967296e6}) {
        EXPECT_EQ(doubleAmount(bad, text), -1);
        EXPECT_EQ(doubleAString(bad, text, true, nullptr), -1);
        EXPECT_STREQ(text, "as it was");
    }
    EXPECT_EQ(doubleAStringEx(invalid, text, true, nullptr, 2), -1);
    EXPECT_EQ(doubleAmountEx(std::nan(""), text, 2), -1);
    EXPECT_EQ(doubleAmount(1.0, nullptr), -1);
    EXPECT_EQ(doubleAmount(empty, text), 0);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(doubleAmount(12.34, text), 9);
    EXPECT_STREQ(text, "000001234");
    EXPECT_EQ(doubleAmount(-4294967295999999.0, text), 19);
    EXPECT_STREQ(text, "-429496729599999900");
    EXPECT_EQ(doubleAmount(1999999.999, text), 10) << "the part below the million is rounded by itself";
    EXPECT_STREQ(text, "1100000000");
    EXPECT_EQ(doubleAmountEx(-0.05, text, 2), 3) << "without the sign";
    EXPECT_STREQ(text, "-005");
    EXPECT_EQ(doubleAString(-1234567.891, text, true, nullptr), 13);
    EXPECT_STREQ(text, "-1.234.567,89");
    EXPECT_EQ(doubleAStringEx(0.125, text, true, nullptr, 2), 4);
    EXPECT_STREQ(text, "0,13") << "an exact half goes away from zero";
    EXPECT_EQ(doubleAStringEx(0.3, text, true, nullptr, 0), 2);
    EXPECT_STREQ(text, "0,") << "the separator stays below 1";
    EXPECT_EQ(doubleAStringEx(1234.3, text, true, nullptr, -3), 5);
    EXPECT_STREQ(text, "1.234");
    EXPECT_EQ(doubleAStringEx(-1.7976931348623157e308, text, true, nullptr, 9), 1 + 309 + 102 + 1 + 5);
    EXPECT_EQ(doubleAmountEx(1e-300, text, 127), 128);

    struct Case {
        const char* text;
        double value;
        int result;
    };
    const Case cases[] = {
        {",995", 0.96, 1},  {" -1.234,5 ", -1234.5, 1}, {"1.2", 0.0, 1} /* counted as three digits */,
        {"", empty, 0},     {" + ", empty, 0},          {"1234567890123456", invalid, -1},
        {"1,2,3", 1.23, 1}, {"1;2", invalid, -1},
    };
    for (const Case& c : cases) {
        double value = 7;
        EXPECT_EQ(aStringDouble(c.text, &value, nullptr), c.result) << c.text;
        EXPECT_EQ(value, c.value) << c.text;
    }
    double value = 7;
    EXPECT_EQ(amountDouble("-123456", -1, &value), 7);
    EXPECT_EQ(value, -1234.56);
    EXPECT_EQ(amountDouble("12345", 3, &value), 3);
    EXPECT_EQ(value, 1.23);
    EXPECT_EQ(amountDouble("-", 1, &value), 1);
    EXPECT_EQ(value, empty);
    EXPECT_EQ(amountDouble("1,5", -1, &value), -1);
    EXPECT_EQ(value, invalid);
}

TEST(Rounding, byTheBinaryRemainder)
{
    EXPECT_EQ(doubleFix(1.005), 1.0);
    EXPECT_EQ(doubleFix(-1.006), -1.01);
    EXPECT_EQ(doubleFix(0.0), 0.0);
    EXPECT_TRUE(std::signbit(doubleFix(-0.001)));
    EXPECT_EQ(doubleFixEx(2.5, 0), 2.5);
    EXPECT_EQ(doubleFixEx(2.5, -1), 2.5);
    EXPECT_EQ(doubleFixEx(2.125, 1), 2.1);
    EXPECT_EQ(doubleFixEx(3.0, 2), 3.0);
    EXPECT_EQ(doubleAdd(1.006, 1.006), 2.02);
    EXPECT_EQ(doubleAddEx(1.26, 1.26, 1), 2.6);
    EXPECT_TRUE(std::isnan(doubleFix(HUGE_VAL)));
}

} // namespace
