#include "text/print_core.h"

#include "platform/codepage.h"
#include "text/print_float.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZTREE_CHECKED_READS 1
#endif
#endif
#if defined(__SSE2__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) &&                  \
    !defined(ZTREE_CHECKED_READS)
#define ZTREE_WIDE_READS 1
#include <emmintrin.h>
#endif

namespace ztree {

namespace {

constexpr std::size_t noBound = static_cast<std::size_t>(-1);

constexpr char digitPairs[] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

template <class Ch> Ch* putPair(Ch* at, std::uint32_t below100)
{
    const char* const pair = digitPairs + 2 * static_cast<std::size_t>(below100);
    at -= 2;
    at[0] = static_cast<Ch>(pair[0]);
    at[1] = static_cast<Ch>(pair[1]);
    return at;
}

// Decimal digits that end before `end`. 64-bit division is a call on 32-bit targets, so eight digits
// are split off at a time.
template <class Ch> void putDecimal(Ch* end, std::uint64_t value)
{
    while (value >> 32) {
        const std::uint64_t rest = value / 100000000u;
        const std::uint32_t eight = static_cast<std::uint32_t>(value - rest * 100000000u);
        for (const std::uint32_t four : {eight % 10000, eight / 10000}) {
            end = putPair(end, four % 100);
            end = putPair(end, four / 100);
        }
        value = rest;
    }
    std::uint32_t small = static_cast<std::uint32_t>(value);
    for (; small >= 100; small /= 100)
        end = putPair(end, small % 100);
    if (small >= 10)
        putPair(end, small);
    else
        end[-1] = static_cast<Ch>('0' + small);
}

template <class Ch> void putPowerOfTwo(Ch* end, std::uint64_t value, unsigned bits, const char* digits)
{
    do {
        *--end = static_cast<Ch>(digits[value & ((1u << bits) - 1)]);
        value >>= bits;
    } while (value);
}

int bitCount(std::uint64_t value)
{
    return value ? 64 - __builtin_clzll(value) : 1;
}

struct PowersOfTen {
    std::uint64_t of[20] = {}; ///< the first is 0, so that 0 has a digit
    constexpr PowersOfTen()
    {
        std::uint64_t power = 1;
        for (int i = 1; i < 20; ++i)
            of[i] = power *= 10;
    }
};

int decimalCount(std::uint64_t value)
{
    static constexpr PowersOfTen powers;
    const int estimate = bitCount(value) * 1233 >> 12; // bits * log10(2)
    return estimate + (value >= powers.of[estimate] ? 1 : 0);
}

constexpr char lowerDigits[] = "0123456789abcdef";
constexpr char upperDigits[] = "0123456789ABCDEF";

int digitCount(char letter, std::uint64_t value)
{
    switch (letter) {
    case 'x':
    case 'X':
        return (bitCount(value) + 3) / 4;
    case 'o':
        return (bitCount(value) + 2) / 3;
    default:
        return decimalCount(value);
    }
}

template <class Ch> void putDigits(Ch* end, char letter, std::uint64_t value)
{
    switch (letter) {
    case 'x':
        putPowerOfTwo(end, value, 4, lowerDigits);
        break;
    case 'X':
        putPowerOfTwo(end, value, 4, upperDigits);
        break;
    case 'o':
        putPowerOfTwo(end, value, 3, lowerDigits);
        break;
    default:
        putDecimal(end, value);
    }
}

/// Output that is known to fit.
template <class Ch> struct Unchecked {
    Ch* at;
    void fill(char c, int n)
    {
        Ch* to = at; // a local: what is stored may be anything, also this record
        for (; n > 0; --n)
            *to++ = static_cast<Ch>(c);
        at = to;
    }
    void copyAscii(const char* s, int n)
    {
        Ch* to = at;
        for (; n > 0; --n)
            *to++ = static_cast<Ch>(*s++);
        at = to;
    }
    void digits(char letter, std::uint64_t value, int count)
    {
        at += count;
        if (count)
            putDigits(at, letter, value);
    }
};

// Units before the terminator, at most `most`; nothing at or behind s + most is read.
template <class Unit> std::size_t unitsBeforeZero(const Unit* s, std::size_t most)
{
    std::size_t n = 0;
#if defined(ZTREE_WIDE_READS)
    constexpr std::size_t step = 16 / sizeof(Unit);
    const auto address = reinterpret_cast<std::uintptr_t>(s);
    const auto zeroAt = [](__m128i block) {
        const __m128i zero = _mm_setzero_si128();
        const __m128i equal = sizeof(Unit) == 1 ? _mm_cmpeq_epi8(block, zero) : _mm_cmpeq_epi16(block, zero);
        return static_cast<unsigned>(_mm_movemask_epi8(equal));
    };
    // A block read inside one page cannot fault where its first unit does not.
    if (most >= step && address % sizeof(Unit) == 0) {
        if ((address & 4095) <= 4080) {
            const unsigned mask = zeroAt(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s)));
            if (mask)
                return static_cast<std::size_t>(__builtin_ctz(mask)) / sizeof(Unit);
            n = step - (address & 15) / sizeof(Unit);
        } else {
            for (; n < most && ((address + n * sizeof(Unit)) & 15); ++n)
                if (!s[n])
                    return n;
        }
        for (; most - n >= step; n += step) {
            const unsigned mask = zeroAt(_mm_load_si128(reinterpret_cast<const __m128i*>(s + n)));
            if (mask)
                return n + static_cast<std::size_t>(__builtin_ctz(mask)) / sizeof(Unit);
        }
    }
#endif
    while (n < most && s[n])
        ++n;
    return n;
}

int encode(unsigned c, char* out)
{
    out[0] = static_cast<char>(c);
    return 1;
}

int encode(unsigned c, zwchar* out)
{
    if (c < 0x10000 || c > 0x10FFFF) {
        out[0] = static_cast<zwchar>(c);
        return 1;
    }
    out[0] = static_cast<zwchar>(0xD7C0 + (c >> 10));
    out[1] = static_cast<zwchar>(0xDC00 + (c & 0x3FF));
    return 2;
}

// What the field's width leaves beside n units.
int padding(const PrintForm& form, std::size_t n)
{
    return n < static_cast<std::size_t>(form.width) ? form.width - static_cast<int>(n) : 0;
}

std::size_t saturatedTimes8(std::size_t n)
{
    return n > noBound / 8 ? noBound : n * 8;
}

} // namespace

unsigned PrintTraits<char>::defaultPage()
{
    return platform::ansiCodepage();
}

int PrintTraits<char>::convert(unsigned page, const zwchar* s, int n, char* out, int room)
{
    return platform::toNarrow(page, s, n, out, room);
}

unsigned PrintTraits<zwchar>::defaultPage()
{
    return platform::codepageUtf8;
}

int PrintTraits<zwchar>::convert(unsigned page, const char* s, int n, zwchar* out, int room)
{
    return platform::toWide(page, s, n, out, room);
}

template <class Ch>
Printer<Ch>::Printer(Ch* buffer, int limit, unsigned codepage)
    : m_at(buffer), m_end(buffer + (limit - 1)), m_start(buffer), m_page(codepage)
{
}

template <class Ch> int Printer<Ch>::run(const Ch* fmt, va_list args)
{
    Args list;
    va_copy(list.list, args);
    *m_at = 0; // a bad buffer faults here, not inside a copy of the C library
    while (*fmt && !m_cut) {
        if (*fmt == '%') {
            fmt = conversion(fmt, list);
        } else {
            Ch* to = m_at;
            while (*fmt && *fmt != '%' && to != m_end)
                *to++ = *fmt++;
            m_at = to;
            m_cut = *fmt && *fmt != '%';
        }
    }
    va_end(list.list);
    if (m_cut)
        m_at = m_start + wholeCharacters(m_start, static_cast<std::size_t>(m_at - m_start));
    *m_at = 0;
    return static_cast<int>(m_at - m_start);
}

// --- the format ---

// Flags, width and precision at `at`; returns what follows them.
template <class Ch> const Ch* Printer<Ch>::parseField(const Ch* at, PrintForm& form, Args& args)
{
    for (bool flags = true; flags; at += flags) {
        switch (*at) {
        case '-':
            form.left = true;
            break;
        case '+':
            form.plus = true;
            break;
        case ' ':
            form.blank = true;
            break;
        case '#':
            form.alt = true;
            break;
        case '0':
            form.zero = true;
            break;
        default:
            flags = false;
        }
    }
    if (*at == '*') {
        ++at;
        const int width = va_arg(args.list, int);
        form.left = form.left || width < 0;
        form.width = width >= 0 ? width : width == INT_MIN ? INT_MAX : -width;
    } else {
        at = parseNumber(at, form.width);
    }
    if (*at != '.')
        return at;
    ++at;
    if (*at == '*') {
        form.precision = std::max(va_arg(args.list, int), -1);
        return at + 1;
    }
    form.precision = 0;
    return parseNumber(at, form.precision);
}

// `at` is a percent sign; returns what follows the conversion.
template <class Ch> const Ch* Printer<Ch>::conversion(const Ch* at, Args& args)
{
    PrintForm form;
    const Ch* p = at + 1;
    if (*p < 'A') // all that parseField looks for is below the letters
        p = parseField(p, form, args);
    p = parseSize(p, form.size);

    const bool otherWide = sizeof(Ch) == 1; // S and C mean the other width unless h, l or w says which
    const bool h = form.size == ArgSize::h || form.size == ArgSize::hh;
    const bool l = form.size == ArgSize::l || form.size == ArgSize::ll || form.size == ArgSize::wide;
    switch (*p) {
    case 'd':
    case 'i':
    case 'u':
    case 'o':
    case 'x':
    case 'X':
        integer(form, static_cast<char>(*p), args);
        break;
    case 'e':
    case 'E':
    case 'f':
    case 'F':
    case 'g':
    case 'G':
    case 'a':
    case 'A':
        floating(form, static_cast<char>(*p), args);
        break;
    case 's':
        string(form, otherWide ? l : h, args);
        break;
    case 'S':
        string(form, otherWide ? !h : !l, args);
        break;
    case 'c':
        character(form, otherWide ? l : h, args);
        break;
    case 'C':
        character(form, otherWide ? !h : !l, args);
        break;
    case 'p':
        pointer(form, args);
        break;
    case 'n':
        static_cast<void>(va_arg(args.list, void*));
        break;
    case '%':
        copy(p, 1);
        break;
    default: // as it stands, up to and including what is no conversion's letter
        copy(at, static_cast<std::size_t>(p - at) + (*p ? 1 : 0));
        return *p ? p + 1 : p;
    }
    return p + 1;
}

// Digits at `at`, if any; a number above INT_MAX is INT_MAX.
template <class Ch> const Ch* Printer<Ch>::parseNumber(const Ch* at, int& number) const
{
    for (; *at >= '0' && *at <= '9'; ++at)
        number = number >= INT_MAX / 10 ? INT_MAX : number * 10 + (*at - '0');
    return at;
}

template <class Ch> const Ch* Printer<Ch>::parseSize(const Ch* at, ArgSize& size) const
{
    const Ch next = *at ? at[1] : Ch();
    switch (*at) {
    case 'h':
        size = next == 'h' ? ArgSize::hh : ArgSize::h;
        return at + (next == 'h' ? 2 : 1);
    case 'l':
        size = next == 'l' ? ArgSize::ll : ArgSize::l;
        return at + (next == 'l' ? 2 : 1);
    case 'I':
        if (next == '6' && at[2] == '4') {
            size = ArgSize::ll;
            return at + 3;
        }
        if (next == '3' && at[2] == '2') {
            size = ArgSize::i32;
            return at + 3;
        }
        size = ArgSize::pointer;
        return at + 1;
    case 'z':
    case 't':
        size = ArgSize::pointer;
        return at + 1;
    case 'j':
        size = ArgSize::ll;
        return at + 1;
    case 'L':
        size = ArgSize::longDouble;
        return at + 1;
    case 'w':
        size = ArgSize::wide;
        return at + 1;
    default:
        return at;
    }
}

// --- numbers ---

template <class Ch> std::int64_t Printer<Ch>::signedArgument(ArgSize size, Args& args)
{
    switch (size) {
    case ArgSize::hh:
        return std::int64_t{static_cast<signed char>(va_arg(args.list, int))};
    case ArgSize::h:
        return static_cast<short>(va_arg(args.list, int));
    case ArgSize::l:
        return va_arg(args.list, long);
    case ArgSize::ll:
    case ArgSize::longDouble:
        return va_arg(args.list, long long);
    case ArgSize::pointer:
        return va_arg(args.list, std::ptrdiff_t);
    default:
        return va_arg(args.list, int);
    }
}

template <class Ch> std::uint64_t Printer<Ch>::unsignedArgument(ArgSize size, Args& args)
{
    switch (size) {
    case ArgSize::hh:
        return static_cast<unsigned char>(va_arg(args.list, int));
    case ArgSize::h:
        return static_cast<unsigned short>(va_arg(args.list, int));
    case ArgSize::l:
        return va_arg(args.list, unsigned long);
    case ArgSize::ll:
    case ArgSize::longDouble:
        return va_arg(args.list, unsigned long long);
    case ArgSize::pointer:
        return va_arg(args.list, std::size_t);
    default:
        return va_arg(args.list, unsigned);
    }
}

template <class Ch> void Printer<Ch>::integer(const PrintForm& form, char letter, Args& args)
{
    char prefix[3];
    int prefixSize = 0;
    std::uint64_t value;
    if (letter == 'd' || letter == 'i') {
        const std::int64_t number = signedArgument(form.size, args);
        value = static_cast<std::uint64_t>(number);
        if (number < 0) {
            value = 0 - value;
            prefix[prefixSize++] = '-';
        } else if (form.plus || form.blank) {
            prefix[prefixSize++] = form.plus ? '+' : ' ';
        }
    } else {
        value = unsignedArgument(form.size, args);
    }
    if (form.alt && (letter == 'x' || letter == 'X') && value) {
        prefix[prefixSize++] = '0';
        prefix[prefixSize++] = letter;
    }
    const int count = value == 0 && form.precision == 0 ? 0 : digitCount(letter, value);
    int zeros = std::max(form.precision - count, 0);
    if (form.alt && letter == 'o' && zeros == 0 && (count == 0 || value))
        zeros = 1;
    const long long size = static_cast<long long>(prefixSize) + zeros + count;
    int pad = size < form.width ? static_cast<int>(form.width - size) : 0;
    const long long total = size + pad;
    if (form.zero && form.precision < 0 && !form.left) {
        zeros += pad;
        pad = 0;
    }
    const auto layOut = [&](auto& out) {
        if (!form.left)
            out.fill(' ', pad);
        out.copyAscii(prefix, prefixSize);
        out.fill('0', zeros);
        out.digits(letter, value, count);
        if (form.left)
            out.fill(' ', pad);
    };
    write(total, layOut);
}

template <class Ch> void Printer<Ch>::pointer(const PrintForm& form, Args& args)
{
    char digits[2 * sizeof(void*)];
    std::fill_n(digits, sizeof digits, '0');
    putPowerOfTwo(digits + sizeof digits, reinterpret_cast<std::uintptr_t>(va_arg(args.list, void*)), 4,
                  upperDigits);
    NumberText text;
    text.head = digits;
    text.headSize = sizeof digits;
    number(form, text);
}

template <class Ch> void Printer<Ch>::floating(const PrintForm& form, char letter, Args& args)
{
    const double value = form.size == ArgSize::longDouble
                             ? static_cast<double>(va_arg(args.list, long double))
                             : va_arg(args.list, double);
    NumberText text;
    if (std::signbit(value))
        text.addPrefix('-');
    else if (form.plus || form.blank)
        text.addPrefix(form.plus ? '+' : ' ');
    text.padZeros = form.zero && std::isfinite(value); // "inf" and "nan" are padded with blanks
    char digits[floatTextRoom];
    floatText(value, letter, form.precision, form.alt, digits, text);
    number(form, text);
}

template <class Ch> void Printer<Ch>::number(const PrintForm& form, NumberText& text)
{
    const long long size =
        static_cast<long long>(text.prefixSize) + text.headSize + text.zerosAfter + text.tailSize;
    const int pad = size < form.width ? static_cast<int>(form.width - size) : 0;
    const auto layOut = [&](auto& out) {
        if (!form.left && !text.padZeros)
            out.fill(' ', pad);
        out.copyAscii(text.prefix, text.prefixSize);
        if (!form.left && text.padZeros)
            out.fill('0', pad);
        out.copyAscii(text.head, text.headSize);
        out.fill('0', text.zerosAfter);
        out.copyAscii(text.tail, text.tailSize);
        if (form.left)
            out.fill(' ', pad);
    };
    write(size + pad, layOut);
}

// `size` units that layOut puts into what it is given.
template <class Ch> template <class LayOut> void Printer<Ch>::write(long long size, const LayOut& layOut)
{
    if (size <= m_end - m_at) {
        Unchecked<Ch> out{m_at};
        layOut(out);
        m_at = out.at;
    } else {
        layOut(*this);
    }
}

// --- text ---

template <class Ch> void Printer<Ch>::character(const PrintForm& form, bool swapped, Args& args)
{
    const unsigned c = va_arg(args.list, unsigned);
    PrintForm bare = form;
    bare.precision = -1;
    if (swapped) {
        Other units[2];
        otherText(bare, units, static_cast<std::size_t>(encode(c, units)));
    } else {
        Ch units[2];
        ownText(bare, units, static_cast<std::size_t>(encode(c, units)));
    }
}

template <class Ch> void Printer<Ch>::string(const PrintForm& form, bool swapped, Args& args)
{
    static constexpr Ch null[] = {'(', 'n', 'u', 'l', 'l', ')', 0};
    // More than this many units cannot matter: the rest of the buffer is full and the field is wide enough.
    const std::size_t enough = std::max(room() + 1, static_cast<std::size_t>(form.width));
    const void* argument = va_arg(args.list, const void*);
    if (swapped && argument) {
        const Other* s = static_cast<const Other*>(argument);
        otherText(form, s, boundByPrecision(form, s, saturatedTimes8(enough))); // a unit takes fewer bytes
    } else {
        const Ch* s = argument ? static_cast<const Ch*>(argument) : null;
        ownText(form, s, boundByPrecision(form, s, enough));
    }
}

// Units of s to print, before any conversion; at most `enough` are counted.
template <class Ch>
template <class Unit>
std::size_t Printer<Ch>::boundByPrecision(const PrintForm& form, const Unit* s, std::size_t enough)
{
    const std::size_t bound = form.precision < 0 ? noBound : static_cast<std::size_t>(form.precision);
    const std::size_t n = unitsBeforeZero(s, std::min(bound, enough));
    return n == bound ? wholeCharacters(s, n) : n;
}

template <class Ch> void Printer<Ch>::ownText(const PrintForm& form, const Ch* s, std::size_t n)
{
    const int pad = padding(form, n);
    if (!form.left)
        fill(' ', pad);
    copy(s, n);
    if (form.left)
        fill(' ', pad);
}

template <class Ch> void Printer<Ch>::otherText(const PrintForm& form, const Other* s, std::size_t n)
{
    const std::size_t bound = form.precision < 0 ? noBound : static_cast<std::size_t>(form.precision);
    if (form.width && !form.left)
        fill(' ', padding(form, measure(s, n, bound, static_cast<std::size_t>(form.width))));
    std::size_t used = 0;
    const std::size_t space = room();
    const std::size_t size = convertWhole(s, n, used, m_at, std::min(space, bound));
    m_at += size;
    if (used < n && space < bound) {
        m_cut = true;
        m_end = m_at;
    }
    if (form.left)
        fill(' ', padding(form, size));
}

// Converts as many whole characters of s as fit; `used` gets the units converted. What the code page
// cannot convert at all counts as converted to nothing.
template <class Ch>
std::size_t Printer<Ch>::convertWhole(const Other* s, std::size_t n, std::size_t& used, Ch* out,
                                      std::size_t room)
{
    constexpr std::size_t mostAtOnce = 1 << 20; // keeps the counts within int
    std::size_t written = 0;
    used = 0;
    // Of the input, at a time; shrinks to what must fit, at last to one character.
    std::size_t share = std::min(room, mostAtOnce);
    while (used < n && written < room) {
        const Other* from = s + used;
        const std::size_t left = n - used;
        const std::size_t space = std::min(room - written, mostAtOnce * 8);
        std::size_t take = std::min(left, share);
        for (int i = 0; i < 3 && take < left && wholeCharacters(from, take) != take; ++i)
            ++take;
        const int got =
            Traits::convert(page(), from, static_cast<int>(take), out + written, static_cast<int>(space));
        if (got > 0) {
            used += take;
            written += static_cast<std::size_t>(got);
        } else if (share > 1) {
            share = std::max<std::size_t>(std::min(take, space) / 4, 1);
        } else {
            Ch scratch[32];
            if (Traits::convert(page(), from, static_cast<int>(take), scratch, 32) > 0)
                break; // one character, and it does not fit
            used = n;
        }
    }
    return written;
}

// The units that convertWhole would write into `bound`; counts no further than `enough`.
template <class Ch>
std::size_t Printer<Ch>::measure(const Other* s, std::size_t n, std::size_t bound, std::size_t enough)
{
    Ch scratch[256];
    std::size_t total = 0;
    while (n && total < bound && total < enough) {
        std::size_t used = 0;
        total += convertWhole(s, n, used, scratch, std::min<std::size_t>(bound - total, 256));
        if (!used)
            break;
        s += used;
        n -= used;
    }
    return total;
}

// n, or less when the last character of the n bytes is only a part of one.
template <class Ch> std::size_t Printer<Ch>::wholeCharacters(const char* s, std::size_t n)
{
    const auto byte = [s](std::size_t i) { return static_cast<unsigned char>(s[i]); };
    if (n == 0 || byte(n - 1) < 0x80)
        return n;
    if (page() == platform::codepageUtf8) {
        std::size_t size = 1;
        while (size < 4 && size < n && (byte(n - size) & 0xC0) == 0x80)
            ++size;
        const unsigned char lead = byte(n - size);
        const std::size_t full = lead < 0xC2 || lead > 0xF4 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        return size < full ? n - size : n;
    }
    // A byte that cannot lead ends a character. Behind the last such byte the bytes go in pairs.
    std::size_t leads = 0;
    while (leads < n && platform::isLeadByte(page(), byte(n - 1 - leads)))
        ++leads;
    return n - leads % 2;
}

template <class Ch> std::size_t Printer<Ch>::wholeCharacters(const zwchar* s, std::size_t n)
{
    return n && (s[n - 1] & 0xFC00) == 0xD800 ? n - 1 : n;
}

// --- output ---

template <class Ch> unsigned Printer<Ch>::page()
{
    if (m_page == 0)
        m_page = Traits::defaultPage();
    return m_page;
}

template <class Ch> std::size_t Printer<Ch>::fitting(std::size_t n)
{
    if (n <= room())
        return n;
    m_cut = true;
    return room();
}

template <class Ch> void Printer<Ch>::fill(char c, int n)
{
    m_at = std::fill_n(m_at, fitting(static_cast<std::size_t>(n)), static_cast<Ch>(c));
}

template <class Ch> void Printer<Ch>::digits(char letter, std::uint64_t value, int count)
{
    Ch text[24];
    if (count)
        putDigits(text + count, letter, value);
    copy(text, static_cast<std::size_t>(count));
}

template <class Ch> void Printer<Ch>::copy(const Ch* s, std::size_t n)
{
    n = fitting(n);
    std::memcpy(m_at, s, n * sizeof(Ch));
    m_at += n;
}

template <class Ch> void Printer<Ch>::copyAscii(const char* s, int n)
{
    m_at = std::copy_n(s, fitting(static_cast<std::size_t>(n)), m_at);
}

template class Printer<char>;
template class Printer<zwchar>;

} // namespace ztree
