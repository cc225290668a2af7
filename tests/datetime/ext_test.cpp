#include "support.h"

#include <gtest/gtest.h>
#include <ztree/ext/datetime.h>

#include <cmath>

namespace {

using namespace ztree;

TEST(ExtDatetime, strings)
{
    EXPECT_EQ(dateString(20120229), "29.02.2012");
    EXPECT_EQ(dateString16(20120229), u"29.02.2012");
    EXPECT_EQ(dateString(0) + dateString(20120230) + timeString(250000), "");
    EXPECT_EQ(timeString(130509), "13:05:09");
    EXPECT_EQ(timeString16(130509), u"13:05:09");
    EXPECT_EQ(amountString(-1234567.891), "-1.234.567,89");
    EXPECT_EQ(amountString16(-1234567.891, false, nullptr, 3), u"-1234567,891");
    EXPECT_EQ(amountString(-0.001), "0,00") << "no sign before zero";
    EXPECT_EQ(amountString(0.3, true, nullptr, 0), "0") << "no separator behind a whole number";
    EXPECT_EQ(amountWords(-41.5, "EUR", "en"), "minus forty-one Euro fifty Cent");
    EXPECT_EQ(amountWords16(12, "EUR", "de"), u"zwölf Euro null Cent");
}

TEST(ExtDatetime, boundedBuffers)
{
    for (std::size_t size = 0; size < 14; ++size) {
        char narrow[16] = "###############";
        zwchar wide[16] = {};
        const std::string all = "29.02.2012";
        EXPECT_EQ(formatDate(20120229, narrow, size), 10);
        EXPECT_EQ(formatDate(20120229, wide, size), 10);
        if (size > 0) {
            EXPECT_EQ(narrow, all.substr(0, size - 1));
            EXPECT_EQ(toUtf8(Wide(wide)), all.substr(0, size - 1));
        }
        EXPECT_EQ(narrow[std::min<std::size_t>(size, 11)], '#');
    }
    zwchar wide[6];
    EXPECT_EQ(formatTime(130509, wide, 6), 8);
    EXPECT_EQ(Wide(wide), ZTEXT("13:05"));
    char text[6];
    EXPECT_EQ(formatAmount(12345.6, text, 6), 9);
    EXPECT_STREQ(text, "12.34");
    EXPECT_EQ(formatAmount(1e-8, text, 6), -1);
    EXPECT_STREQ(text, "");
}

TEST(ExtDatetime, calendarTypes)
{
    EXPECT_EQ(civilDate(20120229), (CivilDate{2012, 2, 29}));
    EXPECT_FALSE(civilDate(0) || civilDate(20130229) || civilDate(120229));
    EXPECT_EQ(packDate(CivilDate{2012, 2, 29}), 20120229u);
    for (const CivilDate& bad :
         {CivilDate{12, 2, 29}, {2013, 2, 29}, {2012, 258, 1}, {65536 + 2012, 1, 1}, {-1, 1, 1}})
        EXPECT_EQ(packDate(bad), 99999999u);
    EXPECT_EQ(civilTime(0), (CivilTime{0, 0, 0})) << "midnight";
    EXPECT_EQ(packTime(CivilTime{23, 59, 59}), 235959u);
    EXPECT_EQ(packTime(CivilTime{24, 0, 0}), 999999u);
    EXPECT_FALSE(civilTime(236000));
#if defined(ZTREE_HAS_CALENDAR)
    EXPECT_EQ(packDate(toYearMonthDay(20120229)), 20120229u);
    EXPECT_FALSE(toYearMonthDay(0).ok());
    EXPECT_EQ(packTime(*toSeconds(130509)), 130509u);
#endif
}

TEST(ExtDatetime, iso)
{
    EXPECT_EQ(isoDate(20120229), "2012-02-29");
    EXPECT_EQ(isoDate(1230101), "0123-01-01");
    EXPECT_EQ(isoTime(5), "00:00:05");
    EXPECT_EQ(isoDateTime(20120229, 0), "2012-02-29T00:00:00");
    EXPECT_EQ(isoDateTime(0, 0), "");
    EXPECT_EQ(parseIsoDate("2012-02-29"), (CivilDate{2012, 2, 29}));
    EXPECT_EQ(parseIsoDate("20120229"), (CivilDate{2012, 2, 29}));
    for (const char* bad :
         {"", "2012-0229", "201202-29", "2012-02-30", "2012-02-29 ", "12-02-29", "2012-2-9"})
        EXPECT_FALSE(parseIsoDate(bad)) << bad;
    EXPECT_EQ(parseIsoTime("13:05"), (CivilTime{13, 5, 0}));
    EXPECT_EQ(parseIsoTime("130509,25"), (CivilTime{13, 5, 9}));
    for (const char* bad : {"24:00", "13", "13:5", "13:0509", "1305:09", "13:05:09.", "13:05x"})
        EXPECT_FALSE(parseIsoTime(bad)) << bad;
    const auto both = parseIsoDateTime("2012-02-29T13:05:09.25-01:30");
    ASSERT_TRUE(both);
    EXPECT_EQ(both->date, (CivilDate{2012, 2, 29}));
    EXPECT_EQ(both->offset, -90);
    EXPECT_EQ(parseIsoDateTime("20120229 1305Z")->offset, 0);
    EXPECT_FALSE(parseIsoDateTime("20120229 1305")->offset);
    for (const char* bad : {"2012-02-29", "2012-02-29T13:05+1", "2012-02-29T13:05+25", "2012-02-29T13:05Zx"})
        EXPECT_FALSE(parseIsoDateTime(bad)) << bad;
}

TEST(ExtDatetime, roundDecimal)
{
    struct Case {
        double value;
        int decimals;
        double rounded;
    };
    const Case cases[] = {
        {1.005, 2, 1.01},
        {2.675, 2, 2.68},
        {-1.005, 2, -1.01},
        {0.285, 2, 0.29},
        {9.995, 2, 10.0},
        {0.5, 0, 1.0},
        {0.4999, 0, 0.0},
        {0.05, 0, 0.0},
        {1550, -2, 1600},
        {49, -2, 0},
        {50, -2, 100},
        {1e300, 2, 1e300},
        {1e300, -300, 1e300},
        {5e-324, 3, 0},
        {5e-324, 400, 5e-324},
        {1e22, 2, 1e22},
        {123.456, 500, 123.456},
        {123.456, -500, 0},
        {1.7976931348623157e308, -308, 1.7976931348623157e308},
    };
    for (const Case& c : cases)
        EXPECT_EQ(roundDecimal(c.value, c.decimals), c.rounded) << c.value << " " << c.decimals;
    EXPECT_TRUE(std::isnan(roundDecimal(std::nan(""), 2)));
    // Every half of a cent goes up, and what is rounded stays.
    for (int i = 0; i < 100000; ++i) {
        const double cents = (i + 1) / 100.0;
        EXPECT_EQ(roundDecimal((i * 10 + 5) / 1000.0, 2), cents);
        EXPECT_EQ(roundDecimal(cents, 2), cents);
    }
}

} // namespace
