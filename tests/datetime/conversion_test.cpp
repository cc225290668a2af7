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
        {"1230", true, 5, 123000}, // the seconds were reached and count as 0; the terminator is skipped
        {"12", true, -1, 999999},  // the seconds were not reached
        {"12", false, 2, 999999},  // an hour alone: the seconds stay open, and yet no failure
        {nullptr, true, 0, 0},
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
        {nullptr, "3112", 4, 20001231},             // a missing year is 0
        {nullptr, "01019999", 8, 99999999},         // read, and then refused
        {"DDMMYYYY", "5", 1, 20240205},             // the rest from the clock
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

// Examples of what is easily taken for a mistake; the model has all the rest.
TEST(AmountText, storageAndDisplay)
{
    char text[40];
    EXPECT_EQ(amountAString("-5", text, -1, true, nullptr), 3);
    EXPECT_STREQ(text, "-,5") << "behind a sign nothing is put in front";
    EXPECT_EQ(amountAStringEx("000", text, -1, true, nullptr, 0), 2);
    EXPECT_STREQ(text, "0,");
    EXPECT_EQ(amountAString("1.234,56", text, -1, false, nullptr), 8);
    EXPECT_STREQ(text, "1.234,56");
    std::string field(6, '#');
    EXPECT_EQ(aStringAmount("5,995", field.data(), 6, nullptr), 6);
    EXPECT_EQ(field, "00059:") << "the carry stays in its digit";
    EXPECT_EQ(aStringAmount("1234,56", field.data(), 4, nullptr), 6);
    EXPECT_EQ(field, "34569:");
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
    EXPECT_EQ(doubleAmount(1999999.999, text), 10) << "the part below the million is rounded by itself";
    EXPECT_STREQ(text, "1100000000");
    EXPECT_EQ(doubleAmountEx(-0.05, text, 2), 3) << "without the sign";
    EXPECT_STREQ(text, "-005");
    EXPECT_EQ(doubleAStringEx(0.3, text, true, nullptr, 0), 2);
    EXPECT_STREQ(text, "0,") << "the separator stays below 1";
    EXPECT_EQ(doubleAStringEx(1234.3, text, true, nullptr, -3), 5);
    EXPECT_STREQ(text, "1.234");
    EXPECT_EQ(doubleAStringEx(-1.7976931348623157e308, text, true, nullptr, 9), 1 + 309 + 102 + 1 + 5);
    EXPECT_EQ(doubleAmountEx(1e-300, text, 127), 128);
    double value = 7;
    EXPECT_EQ(aStringDouble("1.2", &value, nullptr), 1);
    EXPECT_EQ(value, 0.0) << "counted as three digits";
    EXPECT_EQ(amountDouble("-", 1, &value), 1);
    EXPECT_EQ(value, empty);
}

TEST(Rounding, byTheBinaryRemainder)
{
    EXPECT_EQ(doubleFix(1.005), 1.0);
    EXPECT_TRUE(std::signbit(doubleFix(-0.001)));
    EXPECT_EQ(doubleFixEx(2.5, -1), 2.5);
    EXPECT_EQ(doubleAdd(1.006, 1.006), 2.02);
    EXPECT_EQ(doubleAddEx(1.26, 1.26, 1), 2.6);
    EXPECT_TRUE(std::isnan(doubleFix(HUGE_VAL)));
}

} // namespace
