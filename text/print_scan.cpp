// The scan engine: sscanf over a text with a given end.

#include <ztree/print.h>

#include "text/print_core.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>

namespace {

using ztree::ArgSize;

/// The characters of a [set].
class ByteSet {
public:
    constexpr void add(unsigned char c) { m_bits[c / 32] |= 1u << c % 32; }
    bool has(unsigned char c) const { return (m_bits[c / 32] >> c % 32 & 1) != 0; }
    constexpr void invert()
    {
        for (std::uint32_t& bits : m_bits)
            bits = ~bits;
    }

private:
    std::uint32_t m_bits[8] = {};
};

struct ScanSpec {
    bool store = true;
    bool hasWidth = false;
    int width = 0;
    ArgSize size = ArgSize::plain;
};

bool isSpace(int c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr ByteSet word = [] {
    ByteSet set;
    for (const char c : {' ', '\t', '\n', '\v', '\f', '\r'})
        set.add(static_cast<unsigned char>(c));
    set.invert();
    return set;
}();

int digitValue(int c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    const int letter = c | 0x20;
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : 99;
}

class Scanner {
public:
    Scanner(const char* text, int length)
        : m_at(text), m_start(text), m_left(length < 0 ? std::numeric_limits<std::ptrdiff_t>::max()
                                                       : static_cast<std::ptrdiff_t>(length))
    {
    }
    int run(const char* fmt, va_list args);

private:
    struct Args {
        va_list list;
    };

    // The byte i places ahead, or -1 at the end. Bytes before it have been looked at: none is the end.
    int peek(std::ptrdiff_t i = 0) const
    {
        return i < m_left && m_at[i] ? static_cast<unsigned char>(m_at[i]) : -1;
    }
    void skip(std::ptrdiff_t n)
    {
        m_at += n;
        m_left -= n;
    }
    void skipSpace()
    {
        while (isSpace(peek()))
            skip(1);
    }

    bool field(const char*& fmt, Args& args);
    bool integer(const ScanSpec& form, char letter, Args& args);
    void storeInteger(ArgSize size, bool isSigned, bool negative, std::uint64_t value, Args& args);
    template <class Number> Number parseFloat(std::ptrdiff_t size) const;
    std::ptrdiff_t floatSize(std::ptrdiff_t most) const;
    bool floating(const ScanSpec& form, Args& args);
    bool text(const ScanSpec& form, const ByteSet& set, Args& args);
    bool characters(const ScanSpec& form, Args& args);

    const char* m_at;
    const char* m_start;
    std::ptrdiff_t m_left;
    int m_stored = 0;
};

int Scanner::run(const char* fmt, va_list args)
{
    Args list;
    va_copy(list.list, args);
    for (bool matched = true; matched && *fmt;) {
        if (isSpace(static_cast<unsigned char>(*fmt))) {
            skipSpace();
            ++fmt;
        } else if (*fmt == '%') {
            ++fmt;
            matched = field(fmt, list);
        } else {
            matched = peek() == static_cast<unsigned char>(*fmt++);
            if (matched)
                skip(1);
        }
    }
    va_end(list.list);
    return m_stored;
}

int parseWidth(const char*& fmt)
{
    int width = 0;
    for (; *fmt >= '0' && *fmt <= '9'; ++fmt)
        width = width >= INT_MAX / 10 ? INT_MAX : width * 10 + (*fmt - '0');
    return width;
}

ArgSize parseSize(const char*& fmt)
{
    switch (*fmt) {
    case 'h':
        ++fmt;
        return *fmt == 'h' ? ++fmt, ArgSize::hh : ArgSize::h;
    case 'l':
        ++fmt;
        return *fmt == 'l' ? ++fmt, ArgSize::ll : ArgSize::l;
    case 'I':
        ++fmt;
        if (fmt[0] == '6' && fmt[1] == '4')
            return fmt += 2, ArgSize::ll;
        if (fmt[0] == '3' && fmt[1] == '2')
            return fmt += 2, ArgSize::i32;
        return ArgSize::pointer;
    case 'z':
    case 't':
        ++fmt;
        return ArgSize::pointer;
    case 'j':
        ++fmt;
        return ArgSize::ll;
    case 'L':
        ++fmt;
        return ArgSize::longDouble;
    default:
        return ArgSize::plain;
    }
}

// fmt is behind the [; leaves it behind the ]. False when there is none.
bool parseSet(const char*& fmt, ByteSet& set)
{
    const bool inverted = *fmt == '^';
    fmt += inverted;
    for (bool first = true; *fmt && (first || *fmt != ']'); first = false) {
        unsigned low = static_cast<unsigned char>(*fmt++);
        unsigned high = low;
        if (fmt[0] == '-' && fmt[1] && fmt[1] != ']') {
            high = static_cast<unsigned char>(fmt[1]);
            fmt += 2;
        }
        for (; low <= high; ++low)
            set.add(static_cast<unsigned char>(low));
    }
    if (inverted)
        set.invert();
    return *fmt && ++fmt;
}

// fmt is behind the percent sign.
bool Scanner::field(const char*& fmt, Args& args)
{
    ScanSpec form;
    if (*fmt == '*') {
        form.store = false;
        ++fmt;
    }
    form.width = parseWidth(fmt);
    form.hasWidth = form.width > 0;
    if (!form.hasWidth)
        form.width = INT_MAX;
    form.size = parseSize(fmt);
    const char letter = *fmt;
    if (letter)
        ++fmt;
    switch (letter) {
    case 'd':
    case 'i':
    case 'u':
    case 'o':
    case 'x':
    case 'X':
        return integer(form, letter, args);
    case 'e':
    case 'f':
    case 'g':
    case 'a':
    case 'E':
    case 'F':
    case 'G':
    case 'A':
        return floating(form, args);
    case 's':
        skipSpace();
        return text(form, word, args);
    case '[': {
        ByteSet set;
        return parseSet(fmt, set) && text(form, set, args);
    }
    case 'c':
        return form.size == ArgSize::plain && characters(form, args);
    case 'n':
        if (form.store)
            *va_arg(args.list, int*) = static_cast<int>(m_at - m_start);
        return true;
    case '%':
        skipSpace();
        if (peek() != '%')
            return false;
        skip(1);
        return true;
    default:
        return false;
    }
}

bool Scanner::integer(const ScanSpec& form, char letter, Args& args)
{
    skipSpace();
    const std::ptrdiff_t most = form.width;
    std::ptrdiff_t at = 0;
    const bool negative = peek() == '-';
    if (negative || peek() == '+')
        ++at;
    int base = letter == 'o' ? 8 : letter == 'x' || letter == 'X' ? 16 : letter == 'i' ? 0 : 10;
    if ((base == 0 || base == 16) && at + 2 < most && peek(at) == '0' && (peek(at + 1) | 0x20) == 'x' &&
        digitValue(peek(at + 2)) < 16) {
        base = 16;
        at += 2;
    } else if (base == 0) {
        base = at < most && peek(at) == '0' ? 8 : 10;
    }
    const std::ptrdiff_t first = at;
    std::uint64_t value = 0;
    for (; at < most; ++at) {
        const int digit = digitValue(peek(at));
        if (digit >= base)
            break;
        const std::uint64_t unit = static_cast<std::uint64_t>(base);
        const std::uint64_t next = value * unit + static_cast<std::uint64_t>(digit);
        value = value > (UINT64_MAX - 15) / unit ? UINT64_MAX : next;
    }
    if (at == first)
        return false;
    skip(at);
    if (form.store)
        storeInteger(form.size, letter == 'd' || letter == 'i', negative, value, args);
    return true;
}

template <class Signed> void storeClamped(void* to, bool isSigned, bool negative, std::uint64_t value)
{
    using Unsigned = std::make_unsigned_t<Signed>;
    std::uint64_t most = std::numeric_limits<Unsigned>::max();
    if (isSigned)
        most = most / 2 + (negative ? 1 : 0);
    value = std::min(value, most);
    *static_cast<Unsigned*>(to) = static_cast<Unsigned>(negative ? 0 - value : value);
}

void Scanner::storeInteger(ArgSize size, bool isSigned, bool negative, std::uint64_t value, Args& args)
{
    void* const to = va_arg(args.list, void*);
    switch (size) {
    case ArgSize::hh:
        storeClamped<signed char>(to, isSigned, negative, value);
        break;
    case ArgSize::h:
        storeClamped<short>(to, isSigned, negative, value);
        break;
    case ArgSize::l:
        storeClamped<long>(to, isSigned, negative, value);
        break;
    case ArgSize::ll:
    case ArgSize::longDouble:
        storeClamped<long long>(to, isSigned, negative, value);
        break;
    case ArgSize::pointer:
        storeClamped<std::ptrdiff_t>(to, isSigned, negative, value);
        break;
    default:
        storeClamped<int>(to, isSigned, negative, value);
    }
    ++m_stored;
}

bool Scanner::floating(const ScanSpec& form, Args& args)
{
    skipSpace();
    const std::ptrdiff_t size = floatSize(form.width);
    if (size == 0)
        return false;
    if (form.store) {
        void* const to = va_arg(args.list, void*);
        if (form.size == ArgSize::l)
            *static_cast<double*>(to) = parseFloat<double>(size);
        else if (form.size == ArgSize::longDouble)
            *static_cast<long double*>(to) = parseFloat<double>(size);
        else
            *static_cast<float*>(to) = parseFloat<float>(size);
        ++m_stored;
    }
    skip(size);
    return true;
}

// The longest number at the place of reading, at most `most` bytes; 0 when there is none.
std::ptrdiff_t Scanner::floatSize(std::ptrdiff_t most) const
{
    std::ptrdiff_t at = peek() == '-' || peek() == '+' ? 1 : 0;
    const auto byte = [&](std::ptrdiff_t i) { return i < most ? peek(i) : -1; };
    const auto named = [&](const char* lower) {
        std::ptrdiff_t n = 0;
        while (lower[n] && (byte(at + n) | 0x20) == lower[n])
            ++n;
        return lower[n] ? 0 : at + n;
    };
    for (const char* name : {"infinity", "inf", "nan"})
        if (const std::ptrdiff_t size = named(name))
            return size;
    const auto digits = [&](int base) {
        const std::ptrdiff_t first = at;
        while (digitValue(byte(at)) < base)
            ++at;
        return at - first;
    };
    const bool hex =
        byte(at) == '0' && (byte(at + 1) | 0x20) == 'x' &&
        (digitValue(byte(at + 2)) < 16 || (byte(at + 2) == '.' && digitValue(byte(at + 3)) < 16));
    const int base = hex ? 16 : 10;
    at += hex ? 2 : 0;
    std::ptrdiff_t count = digits(base);
    if (byte(at) == '.') {
        ++at;
        count += digits(base);
    }
    if (count == 0)
        return 0;
    const std::ptrdiff_t mantissaEnd = at;
    if ((byte(at) | 0x20) == (hex ? 'p' : 'e')) {
        at += byte(at + 1) == '-' || byte(at + 1) == '+' ? 2 : 1;
        if (digits(10))
            return at;
    }
    return mantissaEnd;
}

// Of a number too large or too small: whether it is too large.
bool isLarge(const char* at, const char* end, bool hex)
{
    const int unit = hex ? 4 : 1; // one digit shifts the exponent by as much
    long long scale = 0;
    bool point = false;
    bool significant = false;
    for (; at < end && (*at | 0x20) != (hex ? 'p' : 'e'); ++at) {
        significant = significant || (*at != '0' && *at != '.');
        if (*at == '.')
            point = true;
        else if (point != significant)
            scale += point ? -unit : unit;
    }
    if (at < end) {
        ++at;
        const bool negative = *at == '-';
        at += *at == '-' || *at == '+';
        long long exponent = 0;
        for (; at < end; ++at)
            exponent = std::min(exponent * 10 + (*at - '0'), 1000000000000000ll);
        scale += negative ? -exponent : exponent;
    }
    return scale > 0;
}

template <class Number> Number Scanner::parseFloat(std::ptrdiff_t size) const
{
    const bool negative = *m_at == '-';
    const char* first = m_at + (negative || *m_at == '+' ? 1 : 0);
    const char* const end = m_at + size;
    const bool hex = end - first > 2 && (first[1] | 0x20) == 'x';
    first += hex ? 2 : 0;
    Number value = 0;
    const std::from_chars_result result =
        std::from_chars(first, end, value, hex ? std::chars_format::hex : std::chars_format::general);
    if (result.ec == std::errc::result_out_of_range)
        value = isLarge(first, end, hex) ? std::numeric_limits<Number>::infinity() : Number(0);
    return negative ? -value : value;
}

bool Scanner::text(const ScanSpec& form, const ByteSet& set, Args& args)
{
    // Without a bound nothing is stored: the destination could not hold what the text brings.
    if (form.store && (!form.hasWidth || form.size != ArgSize::plain))
        return false;
    std::ptrdiff_t n = 0;
    for (int c; n < form.width && (c = peek(n)) >= 0 && set.has(static_cast<unsigned char>(c));)
        ++n;
    if (n == 0)
        return false;
    if (form.store) {
        char* const to = va_arg(args.list, char*);
        std::copy_n(m_at, n, to);
        to[n] = 0;
        ++m_stored;
    }
    skip(n);
    return true;
}

bool Scanner::characters(const ScanSpec& form, Args& args)
{
    const std::ptrdiff_t count = form.hasWidth ? form.width : 1;
    for (std::ptrdiff_t i = 0; i < count; ++i)
        if (peek(i) < 0)
            return false;
    if (form.store) {
        std::copy_n(m_at, count, va_arg(args.list, char*));
        ++m_stored;
    }
    skip(count);
    return true;
}

} // namespace

int vscanfn(const char* text, int length, const char* fmt, va_list args)
{
    return text && fmt ? Scanner(text, length).run(fmt, args) : 0;
}

int scanfn(const char* text, int length, const char* fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const int stored = vscanfn(text, length, fmt, args);
    va_end(args);
    return stored;
}
