#pragma once
/// @file ext/datetime.h
/// Times, dates and amounts the unsurprising way: results as strings, bounded buffers, calendar types,
/// ISO 8601, decimal rounding. Header-only, on top of <ztree/datetime.h>.
///
/// Texts are std::string (UTF-8, or the bytes of the record's separators) and std::u16string. Functions that
/// return them may throw std::bad_alloc from the caller's own string; nothing else throws.
/// Threads: no state.

#include <ztree/datetime.h>
#include <ztree/ext/strings.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#if __cplusplus >= 202002L && __has_include(<chrono>)
#include <chrono>
#if (defined(__cpp_lib_chrono) && __cpp_lib_chrono >= 201907L) ||                                            \
    (defined(_GLIBCXX_RELEASE) && _GLIBCXX_RELEASE >= 11)
#define ZTREE_HAS_CALENDAR 1 ///< std::chrono::year_month_day is there
#endif
#endif

namespace ztree {

// --- calendar types ---

/// A calendar date; month and day from 1.
struct CivilDate {
    int year = 0;       ///< all four digits
    unsigned month = 0; ///< from 1
    unsigned day = 0;   ///< from 1

    friend bool operator==(const CivilDate& a, const CivilDate& b)
    {
        return a.year == b.year && a.month == b.month && a.day == b.day;
    }
    friend bool operator!=(const CivilDate& a, const CivilDate& b) { return !(a == b); }
};

/// A time of day.
struct CivilTime {
    unsigned hour = 0;   ///< 0 to 23
    unsigned minute = 0; ///< 0 to 59
    unsigned second = 0; ///< 0 to 59

    friend bool operator==(const CivilTime& a, const CivilTime& b)
    {
        return a.hour == b.hour && a.minute == b.minute && a.second == b.second;
    }
    friend bool operator!=(const CivilTime& a, const CivilTime& b) { return !(a == b); }
};

/// A packed date taken apart; nothing for 0 and for a date that does not exist.
inline std::optional<CivilDate> civilDate(unsigned long packed) noexcept
{
    unsigned short day, month, year;
    if (packed < 1000000 || splitDate(packed, &day, &month, &year, true) != 0) // no two-digit years
        return std::nullopt;
    return CivilDate{year, month, day};
}

/// Packs a date of the years 100 to 9998; 99999999 for any other and for a date that does not exist.
inline unsigned long packDate(const CivilDate& date) noexcept
{
    unsigned long packed = 99999999;
    if (date.year >= 100 && date.year <= 9998 && date.month <= 12 && date.day <= 31)
        initDate(&packed, static_cast<unsigned short>(date.day), static_cast<unsigned short>(date.month),
                 static_cast<unsigned short>(date.year));
    return packed;
}

/// A packed time taken apart, 0 as midnight; nothing for a time that does not exist.
inline std::optional<CivilTime> civilTime(unsigned long packed) noexcept
{
    unsigned short hour, minute, second;
    if (packed > 235959 || splitTime(packed, &hour, &minute, &second) != 0)
        return std::nullopt;
    return CivilTime{hour, minute, second};
}

/// Packs a time; 999999 for one that does not exist. Midnight is 0, which the display forms take for "no
/// time".
inline unsigned long packTime(const CivilTime& time) noexcept
{
    return time.hour < 24 && time.minute < 60 && time.second < 60
               ? time.hour * 10000ul + time.minute * 100ul + time.second
               : 999999ul;
}

#if defined(ZTREE_HAS_CALENDAR)
/// A packed date as calendar type; a date that is not ok() for 0 and for a date that does not exist.
inline std::chrono::year_month_day toYearMonthDay(unsigned long packed) noexcept
{
    const CivilDate date = civilDate(packed).value_or(CivilDate{});
    return {std::chrono::year(date.year), std::chrono::month(date.month), std::chrono::day(date.day)};
}

/// Packs a calendar date of the years 100 to 9998; 99999999 for any other.
inline unsigned long packDate(const std::chrono::year_month_day& date) noexcept
{
    return date.ok() ? packDate(CivilDate{static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                                          static_cast<unsigned>(date.day())})
                     : 99999999ul;
}

/// Seconds since midnight of a packed time; nothing for a time that does not exist.
inline std::optional<std::chrono::seconds> toSeconds(unsigned long packed) noexcept
{
    const auto time = civilTime(packed);
    if (!time)
        return std::nullopt;
    return std::chrono::hours(time->hour) + std::chrono::minutes(time->minute) +
           std::chrono::seconds(time->second);
}

/// Packs a time since midnight; 999999 outside a day.
inline unsigned long packTime(std::chrono::seconds sinceMidnight) noexcept
{
    const auto n = sinceMidnight.count();
    if (n < 0 || n >= 86400)
        return 999999;
    const auto s = static_cast<unsigned>(n);
    return packTime(CivilTime{s / 3600, s / 60 % 60, s % 60});
}
#endif

namespace detail {

// Copies what fits in front of a terminator.
template <class Ch, class From> int copyText(const From* text, int length, Ch* buffer, std::size_t size)
{
    if (size == 0 || !buffer)
        return length;
    const auto n = std::min(static_cast<std::size_t>(std::max(length, 0)), size - 1);
    for (std::size_t i = 0; i < n; ++i)
        buffer[i] = static_cast<Ch>(static_cast<std::make_unsigned_t<From>>(text[i]));
    buffer[n] = 0;
    return length;
}

// doubleAStringEx without a sign before zero and without a separator behind a number without decimals.
inline int amountText(double value, char (&text)[roomDoubleTextEx], bool group, const tagLocalFmt* fmt,
                      int decimals)
{
    const int n = std::clamp(decimals, 0, 5);
    int length = doubleAStringEx(value, text, group, fmt, static_cast<char>(n));
    if (length <= 0)
        return length;
    const char* end = text + length;
    if (n == 0 && !(end[-1] >= '0' && end[-1] <= '9'))
        text[--length] = 0;
    if (text[0] == '-' &&
        std::none_of(static_cast<const char*>(text) + 1, end, [](char c) { return c >= '1' && c <= '9'; }))
        std::memmove(text, text + 1, static_cast<std::size_t>(length--));
    return length;
}

inline std::u16string widen(const char* text, int length)
{
    std::u16string result;
    for (int i = 0; i < length; ++i)
        result += static_cast<char16_t>(static_cast<unsigned char>(text[i]));
    return result;
}

} // namespace detail

// --- bounded buffers ---
// Each writes at most `size` characters, always with a terminator (none for size 0), and returns the length
// of the whole text, so that a result of `size` or more means it was cut; 0 and "" for an empty value, -1 and
// "" for an invalid one.

/// ulongTString.
inline int formatTime(unsigned long time, char* buffer, std::size_t size,
                      const tagLocalFmt* fmt = nullptr) noexcept
{
    char text[roomTime];
    const int length = ulongTString(time, text, fmt);
    return detail::copyText(text, length, buffer, size);
}
inline int formatTime(unsigned long time, zwchar* buffer, std::size_t size,
                      const tagLocalFmt* fmt = nullptr) noexcept
{
    char text[roomTime];
    const int length = ulongTString(time, text, fmt);
    return detail::copyText(text, length, buffer, size);
}
/// ulongDString, ulongDStringW (whose text is cut after 15 units by itself).
inline int formatDate(unsigned long date, char* buffer, std::size_t size,
                      const tagLocalFmt* fmt = nullptr) noexcept
{
    char text[roomDate];
    const int length = ulongDString(date, text, fmt);
    return detail::copyText(text, length, buffer, size);
}
inline int formatDate(unsigned long date, zwchar* buffer, std::size_t size,
                      const tagLocalFmt* fmt = nullptr) noexcept
{
    zwchar text[roomDateWide];
    const int length = ulongDStringW(date, text, fmt);
    return detail::copyText(text, length, buffer, size);
}
/// doubleAStringEx, but "0" and not "0," without decimals, and no sign before a zero.
inline int formatAmount(double value, char* buffer, std::size_t size, bool group = true,
                        const tagLocalFmt* fmt = nullptr, int decimals = 2) noexcept
{
    char text[roomDoubleTextEx];
    const int length = detail::amountText(value, text, group, fmt, decimals);
    return detail::copyText(text, length, buffer, size);
}
inline int formatAmount(double value, zwchar* buffer, std::size_t size, bool group = true,
                        const tagLocalFmt* fmt = nullptr, int decimals = 2) noexcept
{
    char text[roomDoubleTextEx];
    const int length = detail::amountText(value, text, group, fmt, decimals);
    return detail::copyText(text, length, buffer, size);
}

// --- strings ---
// Empty for an empty and for an invalid value.

/// ulongTString as a string; empty for 0 and for a time that does not exist.
inline std::string timeString(unsigned long time, const tagLocalFmt* fmt = nullptr)
{
    char text[roomTime];
    return {text, static_cast<std::size_t>(std::max(ulongTString(time, text, fmt), 0))};
}
inline std::u16string timeString16(unsigned long time, const tagLocalFmt* fmt = nullptr)
{
    char text[roomTime];
    return detail::widen(text, ulongTString(time, text, fmt));
}
/// ulongDString as a string; empty for 0 and for a date that does not exist.
inline std::string dateString(unsigned long date, const tagLocalFmt* fmt = nullptr)
{
    char text[roomDate];
    return {text, static_cast<std::size_t>(std::max(ulongDString(date, text, fmt), 0))};
}
inline std::u16string dateString16(unsigned long date, const tagLocalFmt* fmt = nullptr)
{
    zwchar text[roomDateWide];
    return {text, text + std::max(ulongDStringW(date, text, fmt), 0)};
}
/// As formatAmount.
inline std::string amountString(double value, bool group = true, const tagLocalFmt* fmt = nullptr,
                                int decimals = 2)
{
    char text[roomDoubleTextEx];
    return {text,
            static_cast<std::size_t>(std::max(detail::amountText(value, text, group, fmt, decimals), 0))};
}
inline std::u16string amountString16(double value, bool group = true, const tagLocalFmt* fmt = nullptr,
                                     int decimals = 2)
{
    char text[roomDoubleTextEx];
    return detail::widen(text, detail::amountText(value, text, group, fmt, decimals));
}
/// doubleAmountInWords, in today's wording unless other flags are given. Throws structExcept 0x84201001, too.
inline std::u16string amountWords16(double value, const char* currency, const char* language,
                                    unsigned int flags = wordsModern)
{
    ZStringW text;
    doubleAmountInWords(value, currency, language, flags, text);
    return toU16(text);
}
inline std::string amountWords(double value, const char* currency, const char* language,
                               unsigned int flags = wordsModern)
{
    ZStringW text;
    doubleAmountInWords(value, currency, language, flags, text);
    return toUtf8(text);
}

// --- ISO 8601 ---

/// "2012-02-29"; empty for 0 and for a date that does not exist.
inline std::string isoDate(unsigned long packed)
{
    const auto date = civilDate(packed);
    if (!date)
        return {};
    std::string text = std::to_string(packed + 100000000); // keeps leading zeros
    return text.substr(1, 4) + '-' + text.substr(5, 2) + '-' + text.substr(7, 2);
}
/// "13:05:09", "00:00:00" for 0; empty for a time that does not exist.
inline std::string isoTime(unsigned long packed)
{
    if (!civilTime(packed))
        return {};
    std::string text = std::to_string(packed + 1000000);
    return text.substr(1, 2) + ':' + text.substr(3, 2) + ':' + text.substr(5, 2);
}
/// "2012-02-29T13:05:09"; empty when one of the two is.
inline std::string isoDateTime(unsigned long date, unsigned long time)
{
    const std::string d = isoDate(date);
    const std::string t = isoTime(time);
    return d.empty() || t.empty() ? std::string() : d + 'T' + t;
}

/// What an ISO 8601 text said.
struct IsoDateTime {
    CivilDate date;            ///< the day
    CivilTime time;            ///< the time of day, without a fraction of the second
    std::optional<int> offset; ///< minutes east of Greenwich; nothing for local time
};

namespace detail {

// Takes ISO 8601 texts apart from the front.
class IsoReader {
public:
    explicit IsoReader(std::string_view text) noexcept : m_rest(text) {}
    bool atEnd() const noexcept { return m_rest.empty(); }
    bool skip(char c) noexcept
    {
        if (m_rest.empty() || m_rest.front() != c)
            return false;
        m_rest.remove_prefix(1);
        return true;
    }
    bool number(std::size_t digits, unsigned& value) noexcept
    {
        if (m_rest.size() < digits)
            return false;
        value = 0;
        for (std::size_t i = 0; i < digits; ++i) {
            if (m_rest[i] < '0' || m_rest[i] > '9')
                return false;
            value = value * 10 + static_cast<unsigned>(m_rest[i] - '0');
        }
        m_rest.remove_prefix(digits);
        return true;
    }
    bool date(CivilDate& out) noexcept
    {
        unsigned year;
        if (!number(4, year))
            return false;
        const bool extended = skip('-');
        if (!number(2, out.month) || skip('-') != extended || !number(2, out.day))
            return false;
        out.year = static_cast<int>(year);
        return packDate(out) != 99999999;
    }
    // Fractions of a second are read and dropped.
    bool time(CivilTime& out) noexcept
    {
        if (!number(2, out.hour))
            return false;
        const bool extended = skip(':');
        if (!number(2, out.minute))
            return false;
        out.second = 0;
        unsigned digit;
        if (extended ? skip(':') : !m_rest.empty() && m_rest.front() >= '0' && m_rest.front() <= '9') {
            if (!number(2, out.second))
                return false;
            if (skip('.') || skip(',')) {
                if (!number(1, digit))
                    return false;
                while (number(1, digit)) {
                }
            }
        }
        return packTime(out) != 999999;
    }
    bool offset(std::optional<int>& out) noexcept
    {
        out.reset();
        if (atEnd())
            return true;
        if (skip('Z') || skip('z')) {
            out = 0;
            return true;
        }
        const bool west = skip('-');
        unsigned hours, minutes = 0;
        if ((!west && !skip('+')) || !number(2, hours))
            return false;
        if (skip(':') ? !number(2, minutes) : !atEnd() && !number(2, minutes))
            return false;
        if (hours > 23 || minutes > 59)
            return false;
        const int total = static_cast<int>(hours * 60 + minutes);
        out = west ? -total : total;
        return true;
    }

private:
    std::string_view m_rest;
};

} // namespace detail

/// "2012-02-29" or "20120229", years 0100 to 9998; nothing for any other text.
inline std::optional<CivilDate> parseIsoDate(std::string_view text) noexcept
{
    detail::IsoReader reader(text);
    CivilDate date;
    if (!reader.date(date) || !reader.atEnd())
        return std::nullopt;
    return date;
}
/// "13:05:09", "13:05", "130509", "1305", with or without a fraction of the second; nothing for any other
/// text.
inline std::optional<CivilTime> parseIsoTime(std::string_view text) noexcept
{
    detail::IsoReader reader(text);
    CivilTime time;
    if (!reader.time(time) || !reader.atEnd())
        return std::nullopt;
    return time;
}
/// Date and time as above, "T" or a blank between them, then nothing, "Z", "+01:00", "+0100" or "+01".
inline std::optional<IsoDateTime> parseIsoDateTime(std::string_view text) noexcept
{
    detail::IsoReader reader(text);
    IsoDateTime result;
    if (!reader.date(result.date) || !(reader.skip('T') || reader.skip('t') || reader.skip(' ')) ||
        !reader.time(result.time) || !reader.offset(result.offset) || !reader.atEnd())
        return std::nullopt;
    return result;
}

// --- rounding ---

/// Rounds the number as it is written, halves away from zero: 1.005 to two decimals is 1.01. What counts is
/// the shortest decimal text that reads back as `value`. Negative decimals round to tens, hundreds ... No
/// number and infinity come back as they are.
inline double roundDecimal(double value, int decimals) noexcept
{
    if (value == 0 || !std::isfinite(value))
        return value;
    char text[40]; // d.ddde-xx
    const auto written = std::to_chars(text, text + 32, std::fabs(value), std::chars_format::scientific);
    char* const mark = std::find(text, written.ptr, 'e');
    int exponent = 0;
    std::from_chars(mark[1] == '+' ? mark + 2 : mark + 1, written.ptr, exponent);
    char digits[40] = "0"; // room for a carry in front
    int count = 0;
    for (const char* at = text; at != mark; ++at)
        if (*at != '.')
            digits[++count] = *at;
    if (decimals > 400 || exponent + 1 + decimals >= count)
        return value;
    const int kept = exponent + 1 + std::max(decimals, -400);
    if (kept < 0 || (kept == 0 && digits[1] < '5'))
        return std::copysign(0.0, value);
    if (digits[kept + 1] >= '5') {
        int i = kept;
        while (digits[i] == '9')
            digits[i--] = '0';
        ++digits[i];
    }
    // The kept digits are a whole number of units of 10^(exponent + 1 - kept).
    char* end = digits + kept + 1;
    *end++ = 'e';
    end = std::to_chars(end, digits + sizeof digits, exponent + 1 - kept).ptr;
    double rounded = 0;
    if (std::from_chars(digits, end, rounded).ec != std::errc())
        return value; // the largest doubles may round to more than a double holds
    return std::copysign(rounded, value);
}

} // namespace ztree
