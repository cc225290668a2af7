#include "text/print_float.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace ztree {

namespace {

// A double has no digit but 0 behind these many decimals, and behind these many after its first digit.
constexpr int mostDecimals = 1074;
constexpr int mostMantissa = 766;

// clang-format off
constexpr std::uint32_t powersOf10[] = {1u, 10u, 100u, 1000u, 10000u, 100000u, 1000000u, 10000000u, 100000000u,
                                        1000000000u};
// clang-format on
constexpr int quickPrecision = 9;

void setDigits(NumberText& out, const char* text, const char* end)
{
    out.head = text;
    out.headSize = static_cast<int>(end - text);
}

// Most amounts: the value as a 64.64 fixed-point number, when that holds all of its bits. The fraction
// times 10^precision then splits into decimals and an exact remainder. Returns the end, or null.
char* quickFixed(double value, int precision, char* text)
{
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    const int shift = bits ? 1075 - static_cast<int>(bits >> 52) : 64; // value = mantissa / 2^shift
    if (shift < 0 || shift > 64 || precision > quickPrecision)
        return nullptr;
    const std::uint64_t mantissa = bits ? (bits & 0xFFFFFFFFFFFFFu) | 0x10000000000000u : 0;
    std::uint64_t whole = shift == 64 ? 0 : mantissa >> shift;
    const std::uint64_t fraction = shift == 0 ? 0 : mantissa << (64 - shift);
    const std::uint32_t power = powersOf10[precision];
    const std::uint64_t low = (fraction & 0xFFFFFFFFu) * power;
    const std::uint64_t high = (fraction >> 32) * power + (low >> 32);
    const std::uint64_t rest = high << 32 | (low & 0xFFFFFFFFu);
    std::uint32_t decimals = static_cast<std::uint32_t>(high >> 32);
    constexpr std::uint64_t half = std::uint64_t(1) << 63;
    if (rest > half || (rest == half && ((precision ? decimals : whole) & 1)))
        ++decimals;
    if (decimals == power) {
        decimals = 0;
        ++whole;
    }
    text = std::to_chars(text, text + 20, whole).ptr;
    if (precision == 0)
        return text;
    *text = '.';
    for (int i = precision; i > 0; --i, decimals /= 10)
        text[i] = static_cast<char>('0' + decimals % 10);
    return text + precision + 1;
}

void fixedText(double value, int precision, bool alt, char* text, NumberText& out)
{
    const int exact = std::min(precision, mostDecimals);
    char* end = quickFixed(value, exact, text);
    if (!end)
        end = std::to_chars(text, text + floatTextRoom, value, std::chars_format::fixed, exact).ptr;
    if (precision == 0 && alt)
        *end++ = '.';
    setDigits(out, text, end);
    out.zerosAfter = precision - exact;
}

// "d.ddde+xx": what stands before the e becomes the head, the rest the tail.
void exponentText(double value, int precision, bool alt, char* text, NumberText& out)
{
    const int exact = std::min(precision, mostMantissa);
    char* end = std::to_chars(text, text + exact + 8, value, std::chars_format::scientific, exact).ptr;
    char* mark = end - 4; // the exponent has two or three digits
    if (*mark != 'e')
        --mark;
    if (precision == 0 && alt) {
        std::memmove(mark + 1, mark, static_cast<std::size_t>(end - mark));
        *mark++ = '.';
        ++end;
    }
    setDigits(out, text, mark);
    out.zerosAfter = precision - exact;
    out.tail = mark;
    out.tailSize = static_cast<int>(end - mark);
}

int exponentOf(const NumberText& text)
{
    int exponent = 0;
    for (int i = 2; i < text.tailSize; ++i)
        exponent = exponent * 10 + (text.tail[i] - '0');
    return text.tail[1] == '-' ? -exponent : exponent;
}

// The digits of the rounded e form, laid out with the point where the exponent wants it.
void generalText(double value, int precision, bool alt, char* text, NumberText& out)
{
    const int significant = std::max(precision, 1);
    char* const digits = text + 8; // room for "0.000" before the first digit
    exponentText(value, significant - 1, false, digits, out);
    const int exponent = exponentOf(out);
    // Digits without the point: the first one moves into the point's place.
    char* first = digits;
    if (out.headSize > 1) {
        digits[1] = digits[0];
        first = digits + 1;
    }
    char* end = digits + out.headSize;
    const bool scientific = exponent < -4 || exponent >= significant;
    const int beforePoint = scientific ? 1 : exponent + 1; // 0 and less: zeros follow the point
    if (!alt) {
        out.zerosAfter = 0;
        const char* const keep = first + std::max(beforePoint, 1);
        while (end > keep && end[-1] == '0')
            --end;
    }
    if (!scientific)
        out.tailSize = 0;
    if (beforePoint < 1) {
        for (int i = beforePoint; i < 0; ++i)
            *--first = '0';
        *--first = '.';
        *--first = '0';
    } else if (first + beforePoint < end || alt) {
        // Moving the digits before the point down by one makes its place.
        std::memmove(first - 1, first, static_cast<std::size_t>(beforePoint));
        --first;
        first[beforePoint] = '.';
    }
    setDigits(out, first, end);
}

void hexText(double value, const char* digits, int precision, bool alt, char* text, NumberText& out)
{
    constexpr int nibbles = 13;
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    std::uint64_t mantissa = bits & 0xFFFFFFFFFFFFFu;
    int exponent = static_cast<int>(bits >> 52) - 1023;
    if (exponent > -1023)
        mantissa |= 0x10000000000000u;
    else
        exponent = mantissa ? -1022 : 0;
    int shown = nibbles;
    if (precision >= 0 && precision < nibbles) {
        const int dropped = 4 * (nibbles - precision);
        const std::uint64_t unit = std::uint64_t(1) << dropped;
        const std::uint64_t rest = mantissa & (unit - 1);
        mantissa >>= dropped;
        if (rest > unit / 2 || (rest == unit / 2 && (mantissa & 1)))
            ++mantissa;
        mantissa <<= dropped;
        shown = precision;
    } else if (precision < 0) {
        while (shown > 0 && !(mantissa >> (4 * (nibbles - shown)) & 15))
            --shown;
    }
    char* at = text;
    *at++ = digits[mantissa >> 52];
    if (shown > 0 || precision > 0 || alt)
        *at++ = '.';
    for (int i = 1; i <= shown; ++i)
        *at++ = digits[mantissa >> (4 * (nibbles - i)) & 15];
    setDigits(out, text, at);
    out.zerosAfter = std::max(precision - nibbles, 0);
    out.tail = at;
    *at++ = 'p';
    *at++ = exponent < 0 ? '-' : '+';
    at = std::to_chars(at, at + 8, exponent < 0 ? -exponent : exponent).ptr;
    out.tailSize = static_cast<int>(at - out.tail);
}

} // namespace

void floatText(double value, char letter, int precision, bool alt, char* text, NumberText& out)
{
    const bool upper = letter < 'a';
    value = std::fabs(value);
    if (!std::isfinite(value)) {
        out.head = std::isnan(value) ? (upper ? "NAN" : "nan") : (upper ? "INF" : "inf");
        out.headSize = 3;
        return;
    }
    switch (letter) {
    case 'f':
    case 'F':
        fixedText(value, precision < 0 ? 6 : precision, alt, text, out);
        return;
    case 'e':
    case 'E':
        exponentText(value, precision < 0 ? 6 : precision, alt, text, out);
        break;
    case 'g':
    case 'G':
        generalText(value, precision < 0 ? 6 : precision, alt, text, out);
        break;
    default:
        out.addPrefix('0');
        out.addPrefix(upper ? 'X' : 'x');
        hexText(value, upper ? "0123456789ABCDEF" : "0123456789abcdef", precision, alt, text, out);
    }
    if (upper && out.tailSize)
        text[out.tail - text] = letter == 'A' ? 'P' : 'E';
}

} // namespace ztree
