// Money amounts: storage text, display text, double.

#include "datetime/chars.h"
#include "datetime/fixed.h"
#include "datetime/rounding.h"

#include <ztree/datetime.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace ztree {
namespace {

constexpr double invalidAmount = 1e-8;
constexpr double emptyAmount = -1e-8;

struct Separators {
    char decimal;
    char thousand; // 0: none
};

// Kept: the pair without a record is the reverse of the record's defaults; callers without a record write and
// expect "1.234,56".
Separators separators(const tagLocalFmt* fmt)
{
    return fmt ? Separators{fmt->cDecimal, fmt->cThousand} : Separators{',', '.'};
}

bool isDigit(char c)
{
    return unitOf(c) - '0' < 10;
}

int boundedLength(const char* text, int length)
{
    if (length < 0)
        return static_cast<int>(std::min<std::size_t>(std::strlen(text), std::numeric_limits<int>::max()));
    const void* end = std::memchr(text, 0, static_cast<std::size_t>(length));
    return end ? static_cast<int>(static_cast<const char*>(end) - text) : length;
}

// --- the display text ---

struct DisplayAmount {
    const char* start; // behind the sign
    const char* end;   // before trailing blanks
    const char* point; // the decimal separator, or `end`
    int integers;      // digits before it, estimated where there are thousands separators
    int decimals;      // behind it, the dropped ones left out
    int carry;         // of the dropped ones
    bool negative;
};

// Which number of decimals and which rounding go together.
struct Precision {
    int decimals;
    bool plain;
    double round(double value) const
    {
        return plain ? roundToHundredths(value) : doubleFixEx(value, static_cast<char>(decimals));
    }
};

// 1; 0 for an empty text, -1 for an invalid one.
int scan(const char* text, const tagLocalFmt* fmt, int mostDecimals, DisplayAmount& out)
{
    if (!text)
        return 0;
    while (*text == ' ')
        ++text;
    const char* end = text + std::strlen(text);
    while (end != text && end[-1] == ' ')
        --end;
    out.negative = *text == '-';
    if (*text == '-' || *text == '+')
        ++text;
    if (text == end)
        return 0;
    const Separators marks = separators(fmt);
    const char* point = end;
    bool grouped = false;
    for (const char* at = text; at != end; ++at) {
        const bool decimal = *at == marks.decimal;
        const bool thousand = *at == marks.thousand;
        if (decimal && point == end)
            point = at;
        grouped |= thousand;
        if (!decimal && !thousand && !isDigit(*at))
            return -1;
    }
    const std::ptrdiff_t integers = point - text;
    const std::ptrdiff_t counted = grouped ? integers - integers / 4 : integers;
    if (counted > 15)
        return -1;
    out.start = text;
    out.end = end;
    out.point = point;
    out.integers = static_cast<int>(counted);
    out.carry = 0;
    out.decimals = 0;
    if (point != end) {
        const char* kept = end - point - 1 > mostDecimals ? point + 1 + mostDecimals : end;
        // From the last dropped digit on, so that ,0045 carries into the second decimal.
        for (const char* at = end; at != kept;) {
            --at;
            out.carry = isDigit(*at) && *at - '0' + out.carry >= 5;
        }
        out.decimals = static_cast<int>(kept - point - 1);
    }
    return 1;
}

// The usual text in one pass: groups of three or none, no more decimals than asked for. False, with nothing
// done, for any other.
bool readRegular(const char* text, double& value, const tagLocalFmt* fmt, Precision precision)
{
    constexpr int mostDecimals = 6;
    static constexpr unsigned powers[mostDecimals + 1] = {1, 10, 100, 1000, 10000, 100000, 1000000};
    const Separators marks = separators(fmt);
    if (!text || precision.decimals > mostDecimals || marks.decimal == marks.thousand ||
        isDigit(marks.decimal) || isDigit(marks.thousand))
        return false;
    while (*text == ' ')
        ++text;
    const bool negative = *text == '-';
    if (*text == '-' || *text == '+')
        ++text;
    std::uint64_t whole = 0;
    const char* const start = text;
    for (unsigned digit; (digit = unitOf(*text) - '0') < 10; ++text)
        whole = whole * 10 + digit;
    std::ptrdiff_t digits = text - start;
    if (digits == 0 || (digits > 3 && *text == marks.thousand && *text != 0))
        return false;
    for (; *text == marks.thousand && *text != 0; text += 4, digits += 3) {
        unsigned group[3] = {};
        for (int i = 0; i < 3; ++i)
            if ((group[i] = unitOf(text[i + 1]) - '0') > 9)
                return false;
        whole = whole * 1000 + group[0] * 100 + group[1] * 10 + group[2];
    }
    if (digits > 15)
        return false;
    unsigned decimals = 0;
    int left = precision.decimals;
    if (*text == marks.decimal && *text != 0) {
        ++text;
        for (unsigned digit; left > 0 && (digit = unitOf(*text) - '0') < 10; --left, ++text)
            decimals = decimals * 10 + digit;
    }
    if (*text != 0)
        return false;
    decimals *= powers[left];
    // Rounding to hundredths takes the sum to the product of a whole number and 0.01, which is known here: so
    // far below 2^50 the sum cannot be nearer to another one. Without `plain` tenths may stay as they are.
    double sum;
    if (precision.decimals == 2 && whole < 10000000000000u && (precision.plain || decimals % 10 != 0))
        sum = static_cast<double>(static_cast<std::int64_t>(whole * 100 + decimals)) * hundredth.step;
    else
        sum = precision.round(static_cast<double>(static_cast<std::int64_t>(whole)) +
                              static_cast<double>(decimals) / powers[precision.decimals]);
    value = negative ? -sum : sum;
    return true;
}

int readDisplay(const char* display, double* value, const tagLocalFmt* fmt, Precision precision)
{
    double ignored;
    double& out = value ? *value : ignored;
    if (readRegular(display, out, fmt, precision))
        return 1;
    DisplayAmount amount;
    const int scanned = scan(display, fmt, precision.decimals, amount);
    if (scanned <= 0) {
        out = scanned < 0 ? invalidAmount : emptyAmount;
        return scanned;
    }
    const char* at = amount.start;
    const auto readIntegers = [&at, &amount](int count, std::uint32_t& number) {
        number = 0;
        for (; count > 0; --count) {
            while (at != amount.end && !isDigit(*at))
                ++at;
            if (at == amount.end)
                return false;
            number = number * 10 + (unitOf(*at++) - '0');
        }
        return true;
    };
    std::uint32_t millions, units;
    const int high = std::max(amount.integers - 6, 0);
    if (!readIntegers(high, millions) || !readIntegers(amount.integers - high, units)) {
        // The estimate counted separators as digits, "1.2" for 1.20 say.
        out = 0.0;
        return scanned;
    }
    double decimals = 0;
    double scale = 1;
    for (int i = precision.decimals; i > 0; --i) {
        // Kept: a 9 that the carry makes a ':' is passed over and the next character takes its place, so that
        // ,995 reads as ,96; stored amounts were made this way.
        const unsigned carry = i == 1 ? static_cast<unsigned>(amount.carry) : 0;
        unsigned digit = 10;
        while (digit > 9 && at != amount.end)
            digit = unitOf(*at++) + carry - '0';
        decimals = decimals * 10 + (digit > 9 ? 0 : digit);
        scale *= 10;
    }
    const double sum = precision.round(millions * 1e6 + units + decimals / scale);
    out = amount.negative ? -sum : sum;
    return scanned;
}

int writeStorage(const char* display, char* storage, int width, const tagLocalFmt* fmt, int decimals)
{
    DisplayAmount amount;
    const int scanned = scan(display, fmt, decimals, amount);
    if (scanned < 0 || (!storage && width > 0))
        return -1;
    width = std::max(width, 0);
    char* const start = storage;
    char* at = start + width;
    if (scanned == 0) {
        std::fill_n(start, width, '0');
        return width;
    }
    const bool sign = amount.negative && width > 0;
    char* const front = start + sign;
    const char* from = amount.point;
    if (amount.point != amount.end) {
        const char* const first = amount.point + 1;
        from = first + amount.decimals;
        for (int missing = decimals - amount.decimals; missing > 0 && at != front; --missing)
            *--at = '0';
        // Kept: the carry stays in its digit, a 9 becomes ':'; readers of the field know the character.
        int carry = amount.carry;
        for (; from != first && at != front; carry = 0)
            *--at = static_cast<char>(*--from + carry);
        if (from == first)
            from = amount.point;
    } else {
        for (int missing = decimals; missing > 0 && at != front; --missing)
            *--at = '0';
    }
    while (from != amount.start && at != front) {
        --from;
        if (isDigit(*from))
            *--at = *from;
    }
    std::fill(front, at, '0');
    if (sign)
        *start = '-';
    return width + static_cast<int>(from - amount.start);
}

// --- the storage text ---

int formatStorage(const char* storage, char* display, int length, bool group, const tagLocalFmt* fmt,
                  int decimals)
{
    if (!display)
        return -1;
    *display = 0;
    if (!storage)
        return 0;
    length = boundedLength(storage, length);
    const Separators marks = separators(fmt);
    const char* at = storage;
    const char* const end = storage + length;
    char* out = display;
    if (at != end && (*at == '-' || *at == '+'))
        *out++ = *at++;
    const auto foreign = [marks](char c) { return !isDigit(c) && c != marks.decimal && c != marks.thousand; };
    if (std::any_of(at, end, foreign)) {
        // Kept: the end is fixed, whatever the length; callers show this much of what they could not read.
        constexpr int shown = 23;
        const int n = std::min(length, shown);
        std::memcpy(display, storage, static_cast<std::size_t>(n));
        display[n] = 0;
        display[shown] = 0;
        return -1;
    }
    while (end - at > decimals + 1 && *at == '0')
        ++at;
    std::ptrdiff_t integers = std::max<std::ptrdiff_t>(end - at - decimals, 0);
    for (bool first = true; integers > 0; --integers, first = false) {
        if (group && marks.thousand && !first && integers % 3 == 0)
            *out++ = marks.thousand;
        *out++ = *at++;
    }
    if (marks.decimal) {
        // Kept: behind a sign no "0" is written, "-,05"; printed forms have no room for it.
        if (out == display) {
            *out++ = '0';
            *out++ = marks.decimal;
            for (std::ptrdiff_t missing = decimals - (end - at); missing > 0; --missing)
                *out++ = '0';
        } else if (out[-1] != marks.decimal) {
            *out++ = marks.decimal;
        }
    }
    out = std::copy(at, end, out);
    *out = 0;
    return static_cast<int>(out - display);
}

// --- from a double ---

// From this many millions on no amount is written.
constexpr double endOfMillions = 4294967296e6;

// What all writers begin with: true, with the result, for the markers and for what cannot be written.
bool isSettled(double value, char* text, int& result)
{
    result = -1;
    if (!text || value == invalidAmount || !std::isfinite(value))
        return true;
    if (value != emptyAmount)
        return false;
    *text = 0;
    result = 0;
    return true;
}

struct Parts {
    std::uint32_t millions;
    std::uint32_t cents; // of what is left of the last million; 100000000 when rounding filled it
};

Parts split(double m)
{
    Parts parts = {0, 0};
    if (m > 1e6) {
        // Kept: what is left is rounded by itself and carries nothing into the millions; callers round first.
        parts.millions = static_cast<std::uint32_t>(m / 1e6);
        m = roundToHundredths(m - parts.millions * 1e6);
    }
    const double cents = 100.0 * m + 0.5;
    parts.cents = static_cast<std::uint32_t>(cents);
    return parts;
}

// Writes a whole number so that it ends before `end`, separators between groups of three where `mark` is not
// 0.
char* putGrouped(std::uint64_t value, char mark, char* end)
{
    char* at = end;
    while (value >= 1000) {
        const auto rest = static_cast<unsigned>(value % 1000);
        value /= 1000;
        at -= 2;
        std::memcpy(at, pairOf(rest % 100), 2);
        *--at = static_cast<char>('0' + rest / 100);
        if (mark)
            *--at = mark;
    }
    return putDigits(static_cast<std::uint32_t>(value), 1, at);
}

int moveText(const char* from, const char* end, char* to)
{
    const auto length = static_cast<std::size_t>(end - from);
    std::memcpy(to, from, length);
    to[length] = 0;
    return static_cast<int>(length);
}

// --- the general case of doubleAStringEx: any size, any number of decimals ---

int writeLarge(const FixedDigits& fixed, int decimals, bool negative, Separators marks, char* display)
{
    char* out = display;
    if (negative)
        *out++ = '-';
    const char* at = fixed.digits;
    for (int left = fixed.point; left > 0; --left) {
        *out++ = *at++;
        if (left > 1 && left % 3 == 1 && marks.thousand)
            *out++ = marks.thousand;
    }
    if (fixed.point <= 0)
        *out++ = '0';
    if (marks.decimal && (decimals > 0 || fixed.point <= 0))
        *out++ = marks.decimal;
    for (int zeros = -fixed.point; zeros > 0; --zeros)
        *out++ = '0';
    out = std::copy(at, fixed.digits + fixed.count, out);
    *out = 0;
    return static_cast<int>(out - display);
}

} // namespace
} // namespace ztree

using namespace ztree;

int amountAString(const char* storage, char* display, int length, bool group, const tagLocalFmt* fmt) noexcept
{
    return formatStorage(storage, display, length, group, fmt, 2);
}

int amountAStringEx(const char* storage, char* display, int length, bool group, const tagLocalFmt* fmt,
                    char decimals) noexcept
{
    return formatStorage(storage, display, length, group, fmt, std::max<int>(decimals, 0));
}

int aStringAmount(const char* display, char* storage, int width, const tagLocalFmt* fmt) noexcept
{
    return writeStorage(display, storage, width, fmt, 2);
}

int aStringAmountEx(const char* display, char* storage, int width, const tagLocalFmt* fmt,
                    char decimals) noexcept
{
    return writeStorage(display, storage, width, fmt, std::max<int>(decimals, 0));
}

int amountDouble(const char* storage, int length, double* value) noexcept
{
    const char* at = storage;
    const char* const end = storage ? storage + boundedLength(storage, length) : nullptr;
    const bool negative = at != end && *at == '-';
    if (at != end && (*at == '-' || *at == '+'))
        ++at;
    if (at == end) {
        store(value, emptyAmount);
        return static_cast<int>(at - storage);
    }
    std::uint32_t high = 0, low = 0;
    for (; at != end; ++at) {
        if (!isDigit(*at)) {
            store(value, invalidAmount);
            return -1;
        }
        std::uint32_t& part = end - at > 6 ? high : low;
        part = part * 10 + (unitOf(*at) - '0');
    }
    const double amount = (high * 1e6 + low) / 100.0;
    store(value, negative ? -amount : amount);
    return static_cast<int>(end - storage);
}

int doubleAmount(double value, char* storage) noexcept
{
    int result;
    if (isSettled(value, storage, result))
        return result;
    const double m = std::fabs(value);
    if (m >= endOfMillions)
        return -1;
    const Parts parts = split(m);
    char text[roomDoubleAmount];
    char* const end = text + sizeof text;
    char* at = putDigits(parts.millions, 1, putDigits(parts.cents, 8, end));
    if (value < 0)
        *--at = '-';
    return moveText(at, end, storage);
}

int doubleAmountEx(double value, char* storage, char decimals) noexcept
{
    int result;
    if (isSettled(value, storage, result))
        return result;
    FixedDigits fixed;
    toFixed(std::fabs(value), std::max<int>(decimals, 0), fixed);
    char* out = storage;
    if (value < 0)
        *out++ = '-';
    char* const start = out;
    if (fixed.point < 1)
        out = std::fill_n(out, 1 - fixed.point, '0');
    out = std::copy_n(fixed.digits, std::min(fixed.count, 39), out);
    *out = 0;
    // Kept: the sign is not counted, unlike in doubleAmount; callers move the digits by this length.
    return static_cast<int>(out - start);
}

int doubleAString(double value, char* display, bool group, const tagLocalFmt* fmt) noexcept
{
    int result;
    if (isSettled(value, display, result))
        return result;
    const double m = roundToHundredths(std::fabs(value));
    if (m >= endOfMillions)
        return -1;
    const Parts parts = split(m);
    const Separators marks = separators(fmt);
    const std::uint64_t whole = std::uint64_t(parts.millions) * 1000000 + parts.cents / 100;
    char text[roomDoubleText];
    char* const end = text + sizeof text;
    char* at = end - 2;
    std::memcpy(at, pairOf(parts.cents % 100), 2);
    if (marks.decimal)
        *--at = marks.decimal;
    at = putGrouped(whole, group ? marks.thousand : '\0', at);
    if (value < 0)
        *--at = '-';
    return moveText(at, end, display);
}

int doubleAStringEx(double value, char* display, bool group, const tagLocalFmt* fmt, char decimals) noexcept
{
    int result;
    if (isSettled(value, display, result))
        return result;
    const int n = std::clamp<int>(decimals, 0, 5);
    const double m = std::fabs(value);
    Separators marks = separators(fmt);
    if (!group)
        marks.thousand = 0;
    SmallFixed fixed;
    if (!toSmallFixed(m, n, fixed)) {
        FixedDigits digits;
        toFixed(m, n, digits);
        return writeLarge(digits, n, value < 0, marks, display);
    }
    char text[40];
    char* const end = text + sizeof text;
    char* at = end;
    if (n > 0)
        at = putDigits(fixed.decimals, n, at);
    // Kept: a value below 1 has the separator also without decimals, "0,"; forms are laid out for it.
    if (marks.decimal && (n > 0 || fixed.whole == 0))
        *--at = marks.decimal;
    at = putGrouped(fixed.whole, marks.thousand, at);
    if (value < 0)
        *--at = '-';
    return moveText(at, end, display);
}

int aStringDouble(const char* display, double* value, const tagLocalFmt* fmt) noexcept
{
    return readDisplay(display, value, fmt, {2, true});
}

int aStringDoubleEx(const char* display, double* value, const tagLocalFmt* fmt, char decimals) noexcept
{
    return readDisplay(display, value, fmt, {std::max<int>(decimals, 0), false});
}
