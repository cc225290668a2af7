#include "support.h"

#include <gtest/gtest.h>

namespace {

// A calendar that knows nothing but to go on by one day.
struct Calendar {
    unsigned day = 1, month = 1, year = 1900;
    void next()
    {
        static const unsigned lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
        const bool leap = year % 400 == 0 || (year % 4 == 0 && year % 100 != 0);
        if (++day <= lengths[month - 1] + (month == 2 && leap))
            return;
        day = 1;
        if (++month == 13) {
            month = 1;
            ++year;
        }
    }
    unsigned long packed() const { return year * 10000ul + month * 100ul + day; }
};

TEST(ZXDateCalendar, everyDayNumberBothWays)
{
    Calendar calendar;
    for (unsigned n = 1; n <= 65535; ++n, calendar.next()) {
        const auto number = static_cast<unsigned short>(n);
        const ZXDate fromNumber(number);
        const ZXDate fromPacked(calendar.packed());
        ZXDate fromParts;
        EXPECT_EQ(fromParts.fromValues(static_cast<unsigned short>(calendar.day),
                                       static_cast<unsigned short>(calendar.month),
                                       static_cast<unsigned short>(calendar.year)),
                  0);
        if (fromNumber.toMcoDate() != calendar.packed() || fromPacked.get() != n || fromNumber.get() != n ||
            fromParts.get() != n)
            FAIL() << "day " << n << " is " << calendar.packed() << ", not " << fromNumber.toMcoDate() << ", "
                   << fromPacked.get() << ", " << fromParts.get();
    }
    EXPECT_EQ(calendar.packed(), 20790606u);
    EXPECT_EQ(ZXDate(calendar.packed()).get(), 0) << "the number wraps around, the packed date stays right";
}

TEST(ZXDateValue, edges)
{
    ZXDate date;
    EXPECT_EQ(date.toMcoDate(), 99999999u);
    date = static_cast<unsigned short>(36584);
    EXPECT_EQ(date.toMcoDate(), 20000229u);
    EXPECT_EQ(static_cast<unsigned short>(date), 36584);
    unsigned short d = 7, m = 7, y = 7;
    EXPECT_EQ(date.toValues(&d, &m, &y), 0);
    EXPECT_EQ(d * 10 + m + y, 2292);
    EXPECT_EQ(date.fromMcoDate(20010229), 0);
    EXPECT_EQ(date.get(), 0) << "a date that does not exist has no number";
    EXPECT_EQ(date.toMcoDate(), 20010229u);
    EXPECT_EQ(date.toValues(&d, nullptr, nullptr), 0) << "whatever happened";
    EXPECT_EQ(d, 29);
    EXPECT_EQ(ZXDate::leapDays(1900), 0);
    EXPECT_EQ(ZXDate::leapDays(1905), 1);
    EXPECT_EQ(ZXDate::leapDays(2079), 44);
    EXPECT_FALSE(ZXDate::isLeapYear(1900));
    EXPECT_TRUE(ZXDate::isLeapYear(2000));
    const zwchar* text = ZTEXT("29.02.2000");
    EXPECT_EQ(ZXDate("29.02.2000", nullptr).get(), 36584);
    EXPECT_EQ(ZXDate(text, nullptr).get(), 36584);
    EXPECT_EQ(ZXDate(asShort(text), nullptr).get(), 36584);
    EXPECT_EQ(date.fromString("31.02.2000", nullptr), -1);
    EXPECT_EQ(date.toMcoDate(), 99999999u);
}

TEST(ZTimeValue, edges)
{
    EXPECT_EQ(ZTime(static_cast<unsigned short>(90)).toMcoTime(), 13000u);
    EXPECT_EQ(ZTime().toMcoTime(), 999999u) << "midnight cannot be set through minutes";
    EXPECT_EQ(ZTime().get(), 0);
    EXPECT_EQ(ZTime(235959ul).get(), 1439);
    EXPECT_EQ(ZTime(static_cast<unsigned short>(1440)).toMcoTime(), 999999u);
    EXPECT_EQ(ZTime(static_cast<unsigned short>(1440)).get(), 0);
    ZTime time(23, 59, 59);
    EXPECT_EQ(time.fromValues(1, 60, 0), -1);
    time = static_cast<unsigned short>(61);
    unsigned short h = 0, m = 0, s = 9;
    EXPECT_EQ(time.toValues(&h, &m, &s), 0);
    EXPECT_EQ(h * 100 + m * 10 + s, 110);
    const zwchar* text = ZTEXT("13:05:09");
    EXPECT_EQ(ZTime(text, nullptr).toMcoTime(), 130509u);
    EXPECT_EQ(ZTime(asShort(text), nullptr).toMcoTime(), 130509u);
    EXPECT_EQ(ZTime("13:05:09", nullptr).get(), 785);
}

// A buffer of every size: nothing behind it is touched, a short one is cut and filled up with zeros.
template <class Value, class Ch>
void checkSizes(const Value& value, const std::basic_string<Ch>& text, int padBelow)
{
    for (int size = -1; size < 60; ++size) {
        Ch buffer[64];
        std::fill(std::begin(buffer), std::end(buffer), Ch('#'));
        int result;
        if constexpr (sizeof(Ch) == 1)
            result = value.toString(buffer, size, nullptr);
        else
            result = value.toWString(asShort(buffer), size, nullptr);
        EXPECT_EQ(result, static_cast<int>(text.size()));
        const auto room = static_cast<std::size_t>(std::max(size, 0));
        std::basic_string<Ch> expected = text + Ch(0);
        if (size < padBelow)
            expected.resize(64, Ch(0));
        expected.resize(std::min(expected.size(), room));
        expected.resize(64, Ch('#'));
        EXPECT_EQ((std::basic_string<Ch>(buffer, 64)), expected) << "size " << size;
    }
}

TEST(ValueText, everySize)
{
    checkSizes(ZTime(130509ul), std::string("13:05:09"), 8);
    checkSizes(ZTime(130509ul), Wide(ZTEXT("13:05:09")), 8);
    checkSizes(ZXDate(20120229ul), std::string("29.02.2012"), 14);
    checkSizes(ZXDate(20120229ul), Wide(ZTEXT("29.02.2012")), 14);
}

} // namespace
