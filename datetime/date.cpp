// Calendar dates: packed, storage text, display text.

#include "datetime/chars.h"
#include "datetime/letters.h"
#include "datetime/picture.h"
#include "platform/clock.h"
#include "platform/codepage.h"

#include <ztree/datetime.h>

#include <algorithm>
#include <iterator>

namespace ztree {
namespace {

constexpr unsigned long invalidDate = 99999999;
constexpr unsigned lastYear = 9998; // 9999 is a marker

constexpr unsigned char daysOfMonth[12] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

const char* const monthNames[12] = {"January", "February", "March",     "April",   "May",      "June",
                                    "July",    "August",   "September", "October", "November", "December"};
const zwchar* const monthNamesWide[12] = {ZTEXT("January"), ZTEXT("February"), ZTEXT("March"),
                                          ZTEXT("April"),   ZTEXT("May"),      ZTEXT("June"),
                                          ZTEXT("July"),    ZTEXT("August"),   ZTEXT("September"),
                                          ZTEXT("October"), ZTEXT("November"), ZTEXT("December")};

bool isLeap(unsigned year)
{
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

bool isDay(unsigned day, unsigned month, unsigned year)
{
    return month - 1 < 12 && day - 1 < daysOfMonth[month - 1] && (day != 29 || month != 2 || isLeap(year));
}

template <class Year> Year expandYear(Year year)
{
    return year < 80 ? year + 2000 : year < 100 ? year + 1900 : year;
}

// Kept: 2000 gives 100, three digits under a two-digit format; stored files hold it so.
unsigned short reduceYear(unsigned year)
{
    return static_cast<unsigned short>(year <= 100 ? year : year <= 2000 ? year - 1900 : year - 2000);
}

struct DateParts {
    unsigned short day;
    unsigned short month;
    unsigned short year;
};

// Packs a date; invalidDate for one that does not exist.
unsigned long pack(unsigned day, unsigned month, unsigned year)
{
    const unsigned full = expandYear(year);
    return full <= lastYear && isDay(day, month, full) ? full * 10000ul + month * 100ul + day : invalidDate;
}

// Takes a packed date apart, the year in full.
bool unpack(unsigned long date, DateParts& parts)
{
    const unsigned long year = expandYear(date / 10000);
    const auto rest = static_cast<unsigned>(date % 10000);
    parts = {static_cast<unsigned short>(rest % 100), static_cast<unsigned short>(rest / 100),
             static_cast<unsigned short>(year)};
    return year <= lastYear && isDay(parts.day, parts.month, parts.year);
}

// --- month names ---

const zwchar* nameOfMonth(unsigned month, const tagLocalFmt* fmt)
{
    return fmt && fmt->apwMonth[month] ? fmt->apwMonth[month] : monthNamesWide[month];
}

constexpr int mostNameUnits = 16; // of a text, looked at for a month name
constexpr int mostNameBytes = 16; // of a name in UTF-8

int lengthOf(const zwchar* text)
{
    int n = 0;
    while (text[n])
        ++n;
    return n;
}

bool isLetter(unsigned c)
{
    if (c < 0x80)
        return (c | 0x20) - 'a' < 26;
    const auto* range = std::lower_bound(std::begin(letterRanges), std::end(letterRanges), c,
                                         [](const LetterRange& r, unsigned unit) { return r.last < unit; });
    return range != std::end(letterRanges) && range->first <= c;
}

unsigned foldCase(unsigned c)
{
    if (c < 0x80)
        return c - 'a' < 26 ? c - 0x20 : c;
    return platform::upperUnit(static_cast<zwchar>(c));
}

// One letter of UTF-16.
struct Letter {
    unsigned unit;
    int length; // in units of the text; 0: what stands there is no letter
};

Letter letterAt(const zwchar* text)
{
    const unsigned c = unitOf(*text);
    return {c, isLetter(c) ? 1 : 0};
}

// From UTF-8. Letters are looked for below 0x10000 only, so a longer sequence is none, like a bad one.
Letter letterAt(const char* text)
{
    const unsigned c = unitOf(*text);
    if (c < 0x80)
        return {c, isLetter(c) ? 1 : 0};
    const auto tail = [text](int i) { return unitOf(text[i]) ^ 0x80; };
    unsigned unit = 0;
    int length = 0;
    if (c >= 0xC2 && c < 0xE0) {
        if (tail(1) < 0x40) {
            unit = (c & 0x1F) << 6 | tail(1);
            length = 2;
        }
    } else if (c >= 0xE0 && c < 0xF0) {
        if (tail(1) < 0x40 && tail(2) < 0x40) {
            unit = (c & 0x0F) << 12 | tail(1) << 6 | tail(2);
            length = unit >= 0x800 ? 3 : 0;
        }
    }
    return {unit, length != 0 && isLetter(unit) ? length : 0};
}

// Reads a month by name, 0 for one that is unknown, from at most `width` letters. Returns false, with nothing
// read, where no letter stands.
template <class Ch> bool readMonthName(const Ch*& text, int width, const tagLocalFmt* fmt, unsigned& month)
{
    zwchar name[mostNameUnits];
    const int room = std::min(width, mostNameUnits);
    int count = 0;
    while (count < room) {
        const Letter letter = letterAt(text);
        if (letter.length == 0)
            break;
        name[count++] = static_cast<zwchar>(foldCase(letter.unit));
        text += letter.length;
    }
    for (unsigned i = 0; i < 12 && count > 0; ++i) {
        const zwchar* candidate = nameOfMonth(i, fmt);
        int same = 0;
        while (same < count && candidate[same] && foldCase(unitOf(candidate[same])) == unitOf(name[same]))
            ++same;
        if (same == count) {
            month = i + 1;
            break;
        }
    }
    return count > 0;
}

// Converts at most `units` units of a name to UTF-8; 0 when that takes more than mostNameBytes.
int narrowName(const zwchar* name, int units, char* out)
{
    int n = 0;
    while (n < units && n < mostNameBytes && name[n] && unitOf(name[n]) < 0x80) {
        out[n] = static_cast<char>(name[n]);
        ++n;
    }
    if (n == units || !name[n])
        return n;
    return platform::toNarrow(platform::codepageUtf8, name, std::min(units, lengthOf(name)), out,
                              mostNameBytes);
}

void writeName(UnitWriter<zwchar>& out, const zwchar* name, int width)
{
    for (; width > 0 && *name; --width, ++name)
        out.unit(unitOf(*name));
}

void writeName(UnitWriter<char>& out, const zwchar* name, int width)
{
    char text[mostNameBytes];
    const int length = narrowName(name, width, text);
    for (int i = 0; i < length; ++i)
        out.unit(unitOf(text[i]));
    for (int i = 0; i < 3 && length <= 0; ++i)
        out.unit('?');
}

// --- the parser ---

enum class Mode { strict, lenient };

void fillFromClock(unsigned& month, unsigned& year)
{
    if (month != 0 && year != 0)
        return;
    const SYSTEMTIME now = platform::localTime();
    if (month == 0)
        month = now.wMonth;
    if (year == 0)
        year = now.wYear;
}

// "DD.MM.YYYY" in full, the usual text of the default picture.
template <class Ch> bool readRegular(const Ch* text, unsigned separator, DateParts& parts)
{
    unsigned day, month, century, year;
    if (separator == 0 || !readPair<WholeUnits>(text, day) || unitOf(text[2]) != separator ||
        !readPair<WholeUnits>(text + 3, month) || unitOf(text[5]) != separator ||
        !readPair<WholeUnits>(text + 6, century) || !readPair<WholeUnits>(text + 8, year))
        return false;
    parts = {static_cast<unsigned short>(day), static_cast<unsigned short>(month),
             static_cast<unsigned short>(century * 100 + year)};
    return true;
}

// Returns the characters consumed, or -1. The year stays as it was written.
template <class Ch> int parseDate(const Ch* text, Mode mode, const tagLocalFmt* fmt, DateParts& parts)
{
    const unsigned recordSeparator = dateSeparator(fmt);
    if (hasDefaultDate(fmt) && readRegular(text, recordSeparator, parts))
        return isDay(parts.day, parts.month, parts.year) ? 10 : -1;
    auto picture = datePicture(fmt);
    PictureField field;
    unsigned day = 0, month = 0, year = 0; // 0: not set
    bool error = false;
    const Ch* at = text;
    while (!error && picture.next(field)) {
        unsigned* slot = nullptr;
        int width = field.width;
        switch (field.letter | 0x20) {
        case 'd':
            slot = &day;
            break;
        case 'm':
            slot = &month;
            break;
        case 'y':
            slot = &year;
            break;
        case 'n':
            slot = &month;
            if (!readMonthName(at, width, fmt, month))
                width = 2;
            break;
        default:
            error = true;
        }
        if (slot && *slot == 0)
            error = !readDigits<WholeUnits>(at, width, *slot);
        const unsigned separator = field.after == AfterField::letter ? recordSeparator
                                   : field.after == AfterField::literal
                                       ? static_cast<unsigned char>(field.literal)
                                       : 0;
        if (separator != 0 && separator == unitOf(*at))
            ++at;
    }
    if (error && mode == Mode::lenient) {
        if (day == 0)
            return -1;
        fillFromClock(month, year);
    }
    if (!isDay(day, month, year))
        return -1;
    parts = {static_cast<unsigned short>(day), static_cast<unsigned short>(month),
             static_cast<unsigned short>(year)};
    return static_cast<int>(at - text);
}

template <class Ch> int toPacked(const Ch* text, Mode mode, unsigned long* pDate, const tagLocalFmt* fmt)
{
    if (!text || !*text) {
        store(pDate, 0ul);
        return 0;
    }
    DateParts parts;
    const int consumed = parseDate(text, mode, fmt, parts);
    if (consumed < 0) {
        store(pDate, invalidDate);
        return -1;
    }
    store(pDate, pack(parts.day, parts.month, parts.year));
    return consumed;
}

// --- the formatter ---

template <class Ch> int format(unsigned long date, Ch* buffer, int room, const tagLocalFmt* fmt)
{
    if (!buffer)
        return -1;
    *buffer = 0;
    if (date == 0)
        return 0;
    DateParts parts;
    if (!unpack(date, parts))
        return -1;
    const unsigned char separator = dateSeparator(fmt);
    if (separator != 0 && hasDefaultDate(fmt)) {
        writePair(buffer, parts.day);
        buffer[2] = static_cast<Ch>(separator);
        writePair(buffer + 3, parts.month);
        buffer[5] = static_cast<Ch>(separator);
        writePair(buffer + 6, parts.year / 100u);
        writePair(buffer + 8, parts.year % 100u);
        buffer[10] = 0;
        return 10;
    }
    UnitWriter<Ch> out(buffer, room - 1);
    auto picture = datePicture(fmt);
    PictureField field;
    for (int i = 0; i < 3 && picture.next(field); ++i) {
        switch (field.letter | 0x20) {
        case 'd':
            out.number(parts.day, field.width);
            break;
        case 'm':
            out.number(parts.month, field.width);
            break;
        case 'y':
            out.number(field.width == 2 ? parts.year % 100u : parts.year, field.width);
            break;
        case 'n':
            writeName(out, nameOfMonth(parts.month - 1u, fmt), field.width);
            break;
        default:
            break;
        }
        if (field.after == AfterField::literal)
            out.unit(static_cast<unsigned char>(field.literal));
        else if (field.after == AfterField::letter && separator != 0)
            out.unit(separator);
    }
    return out.finish();
}

template <class Ch> int storageToDisplay(const char* storage, Ch* buffer, int room, const tagLocalFmt* fmt)
{
    unsigned long date;
    // Kept: an empty storage text fails here, unlike a time; callers take -1 for "no date in the record".
    if (dateUlong(storage, &date) < 1) {
        store(buffer, Ch(0));
        return -1;
    }
    return format(date, buffer, room, fmt);
}

int writeStorage(const DateParts& parts, unsigned year, int yearWidth, char* buffer)
{
    UnitWriter<char> out(buffer, roomDateStorage - 1);
    out.number(parts.day, 2);
    out.number(parts.month, 2);
    out.number(year, yearWidth);
    return out.finish();
}

template <class Ch>
int displayToStorage(const Ch* display, char* buffer, bool fourDigitYear, const tagLocalFmt* fmt)
{
    if (!buffer)
        return -1;
    *buffer = 0;
    if (!display || !*display)
        return 0;
    DateParts parts;
    if (parseDate(display, Mode::lenient, fmt, parts) < 0)
        return -1;
    return fourDigitYear ? writeStorage(parts, expandYear<unsigned>(parts.year), 4, buffer)
                         : writeStorage(parts, reduceYear(parts.year), 2, buffer);
}

} // namespace
} // namespace ztree

using namespace ztree;

const zwchar* getMonthNameW(unsigned short month, const tagLocalFmt* fmt) noexcept
{
    if (month > 11)
        return ZTEXT("???");
    return nameOfMonth(month, fmt);
}

const char* getMonthName(unsigned short month, const tagLocalFmt* fmt, char* buffer) noexcept
{
    if (month > 11)
        return "???";
    const zwchar* name = fmt ? fmt->apwMonth[month] : nullptr;
    if (!name || !buffer)
        return monthNames[month];
    const int length = narrowName(name, lengthOf(name), buffer);
    if (length <= 0)
        return monthNames[month];
    buffer[length] = 0;
    return buffer;
}

int initDate(unsigned long* pDate, unsigned short day, unsigned short month, unsigned short year) noexcept
{
    const unsigned long date = pack(day, month, year);
    store(pDate, date);
    return date != invalidDate ? 0 : -1;
}

int splitDate(unsigned long date, unsigned short* day, unsigned short* month, unsigned short* year,
              bool fourDigitYear) noexcept
{
    DateParts parts;
    if (!unpack(date, parts))
        return -1;
    store(day, parts.day);
    store(month, parts.month);
    store(year, fourDigitYear ? parts.year : reduceYear(parts.year));
    return 0;
}

int currentDate(unsigned long* pDate) noexcept
{
    const SYSTEMTIME now = platform::localTime();
    initDate(pDate, now.wDay, now.wMonth, now.wYear);
    return 0;
}

int dateUlong(const char* text, unsigned long* pDate) noexcept
{
    return toPacked(text, Mode::strict, pDate, nullptr);
}

int ulongDateEx(unsigned long date, char* buffer, int size, bool fourDigitYear) noexcept
{
    if (!buffer)
        return -1;
    if (size < 1)
        return 0;
    DateParts parts;
    if (date == 0 || !unpack(date, parts)) {
        *buffer = 0;
        return date == 0 ? 0 : -1;
    }
    char text[roomDateStorage];
    const int length = fourDigitYear ? writeStorage(parts, parts.year, 4, text)
                                     : writeStorage(parts, reduceYear(parts.year), 2, text);
    copyBounded(text, length, buffer, std::min(size, length + 1));
    return std::min(size, length);
}

int ulongDate(unsigned long date, char* buffer, bool fourDigitYear) noexcept
{
    return ulongDateEx(date, buffer, 14, fourDigitYear);
}

int dStringUlong(const char* text, unsigned long* pDate, const tagLocalFmt* fmt) noexcept
{
    return toPacked(text, Mode::lenient, pDate, fmt);
}

int dStringWUlong(const zwchar* text, unsigned long* pDate, const tagLocalFmt* fmt) noexcept
{
    return toPacked(text, Mode::lenient, pDate, fmt);
}

int dStringWUlong(const unsigned short* text, unsigned long* pDate, const tagLocalFmt* fmt) noexcept
{
    return dStringWUlong(units(text), pDate, fmt);
}

int ulongDString(unsigned long date, char* buffer, const tagLocalFmt* fmt) noexcept
{
    return format(date, buffer, roomDate, fmt);
}

int ulongDStringW(unsigned long date, zwchar* buffer, const tagLocalFmt* fmt) noexcept
{
    return format(date, buffer, roomDateWide, fmt);
}

int ulongDStringW(unsigned long date, unsigned short* buffer, const tagLocalFmt* fmt) noexcept
{
    return ulongDStringW(date, units(buffer), fmt);
}

int dateDString(const char* storage, char* buffer, const tagLocalFmt* fmt) noexcept
{
    return storageToDisplay(storage, buffer, roomDate, fmt);
}

int dateDStringW(const char* storage, zwchar* buffer, const tagLocalFmt* fmt) noexcept
{
    return storageToDisplay(storage, buffer, roomDateWide, fmt);
}

int dateDStringW(const char* storage, unsigned short* buffer, const tagLocalFmt* fmt) noexcept
{
    return dateDStringW(storage, units(buffer), fmt);
}

int dStringDate(const char* display, char* buffer, bool fourDigitYear, const tagLocalFmt* fmt) noexcept
{
    return displayToStorage(display, buffer, fourDigitYear, fmt);
}

int dStringWDate(const zwchar* display, char* buffer, bool fourDigitYear, const tagLocalFmt* fmt) noexcept
{
    return displayToStorage(display, buffer, fourDigitYear, fmt);
}

int dStringWDate(const unsigned short* display, char* buffer, bool fourDigitYear,
                 const tagLocalFmt* fmt) noexcept
{
    return dStringWDate(units(display), buffer, fourDigitYear, fmt);
}
