#include "datetime/values.h"

using namespace ztree;

const unsigned short ZXDate::s_arDaysAtEndOfMonth[12] = {31,  59,  90,  120, 151, 181,
                                                         212, 243, 273, 304, 334, 0};
const unsigned short ZXDate::s_arDaysAtEndOfMonthLeaped[12] = {31,  60,  91,  121, 152, 182,
                                                               213, 244, 274, 305, 335, 0};

namespace {

const unsigned short* endsOfMonths(bool leap)
{
    return leap ? ZXDate::s_arDaysAtEndOfMonthLeaped : ZXDate::s_arDaysAtEndOfMonth;
}

} // namespace

bool ZXDate::isLeapYear(unsigned short year) noexcept
{
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

unsigned short ZXDate::leapDays(unsigned short year) noexcept
{
    const int p = year - 1;
    return static_cast<unsigned short>(p / 4 - p / 100 + p / 400 - 460);
}

int ZXDate::set(unsigned short dayNumber) noexcept
{
    m_usDays = dayNumber;
    if (dayNumber == 0) {
        m_ulDate = 99999999;
        return 0;
    }
    auto year = static_cast<unsigned short>(1900 + dayNumber / 366);
    // Never too small an estimate of the day of the year, and at most two years too large.
    int day = dayNumber % 366 + dayNumber / 366 - leapDays(year);
    for (int length; day > (length = isLeapYear(year) ? 366 : 365); ++year)
        day -= length;
    const unsigned short* ends = endsOfMonths(isLeapYear(year));
    int month = 11;
    while (month > 0 && ends[month - 1] >= day)
        --month;
    if (month > 0)
        day -= ends[month - 1];
    m_ulDate = year * 10000ul + static_cast<unsigned long>((month + 1) * 100 + day);
    return 0;
}

int ZXDate::fromValues(unsigned short day, unsigned short month, unsigned short year) noexcept
{
    const int result = initDate(&m_ulDate, day, month, year);
    updateXDate();
    return result;
}

int ZXDate::fromMcoDate(unsigned long packed) noexcept
{
    m_ulDate = packed;
    updateXDate();
    return 0;
}

int ZXDate::fromString(const char* text, const tagLocalFmt* fmt) noexcept
{
    const int result = dStringUlong(text, &m_ulDate, fmt);
    updateXDate();
    return result;
}

int ZXDate::fromWString(const zwchar* text, const tagLocalFmt* fmt) noexcept
{
    const int result = dStringWUlong(text, &m_ulDate, fmt);
    updateXDate();
    return result;
}

int ZXDate::fromWString(const unsigned short* text, const tagLocalFmt* fmt) noexcept
{
    return fromWString(units(text), fmt);
}

int ZXDate::toString(char* buffer, int size, const tagLocalFmt* fmt) const noexcept
{
    return writeBounded<roomDate>(ulongDString, m_ulDate, buffer, size, 14, fmt);
}

int ZXDate::toWString(zwchar* buffer, int size, const tagLocalFmt* fmt) const noexcept
{
    return writeBounded<roomDateWide, zwchar>(ulongDStringW, m_ulDate, buffer, size, 14, fmt);
}

int ZXDate::toWString(unsigned short* buffer, int size, const tagLocalFmt* fmt) const noexcept
{
    return toWString(units(buffer), size, fmt);
}

int ZXDate::toValues(unsigned short* day, unsigned short* month, unsigned short* year) const noexcept
{
    splitDate(m_ulDate, day, month, year, true);
    return 0;
}

void ZXDate::updateXDate() noexcept
{
    unsigned short day = 0, month = 0, year = 0;
    m_usDays = 0;
    if (splitDate(m_ulDate, &day, &month, &year, true) != 0)
        return;
    int number = day + (year - 1900) * 365 + leapDays(year);
    if (month > 1)
        number += endsOfMonths(isLeapYear(year))[month - 2];
    m_usDays = static_cast<unsigned short>(number);
}
