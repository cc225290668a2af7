#pragma once
// Reading and writing units of narrow and wide text alike.

#include "text/units.h"

#include <ztree/types.h>

namespace ztree {

// The unsigned value of a unit: bytes above 127 and wide units compare as they count.
inline unsigned unitOf(char c)
{
    return static_cast<unsigned char>(c);
}
inline unsigned unitOf(zwchar c)
{
    return static_cast<unsigned>(c);
}

template <class Ch> void store(Ch* out, Ch value)
{
    if (out)
        *out = value;
}

// How a parser sees units: whole, or cut to their low 8 bits.
struct WholeUnits {
    template <class Ch> static unsigned of(Ch c) { return unitOf(c); }
};
struct LowUnits {
    template <class Ch> static unsigned of(Ch c) { return unitOf(c) & 0xFF; }
};

// Reads up to `width` decimal digits. Returns whether there was one. The number stops at 65535, so that a
// wild one cannot wrap around into the valid range.
template <class View, class Ch> bool readDigits(const Ch*& text, int width, unsigned& value)
{
    const Ch* start = text;
    unsigned number = 0;
    for (; width > 0; --width, ++text) {
        const unsigned digit = View::of(*text) - '0';
        if (digit > 9)
            break;
        number = number * 10 + digit;
        if (number > 65535)
            number = 65535;
    }
    value = number;
    return text != start;
}

inline constexpr char digitPairs[201] = "0001020304050607080910111213141516171819"
                                        "2021222324252627282930313233343536373839"
                                        "4041424344454647484950515253545556575859"
                                        "6061626364656667686970717273747576777879"
                                        "8081828384858687888990919293949596979899";

inline int decimalDigits(unsigned value)
{
    int n = 1;
    for (; value > 9; value /= 10)
        ++n;
    return n;
}

// Two digits and nothing else.
template <class View, class Ch> bool readPair(const Ch* text, unsigned& value)
{
    const unsigned tens = View::of(text[0]) - '0';
    if (tens > 9)
        return false;
    const unsigned ones = View::of(text[1]) - '0';
    value = tens * 10 + ones;
    return ones < 10;
}

// The two digits of a value below 100.
inline const char* pairOf(unsigned value)
{
    return digitPairs + std::size_t(value) * 2;
}

template <class Ch> void writePair(Ch* text, unsigned value)
{
    text[0] = static_cast<Ch>(pairOf(value)[0]);
    text[1] = static_cast<Ch>(pairOf(value)[1]);
}

// Writes units up to an end, cutting what does not fit. The terminator goes behind the end.
template <class Ch> class UnitWriter {
public:
    UnitWriter(Ch* buffer, int room) : m_start(buffer), m_at(buffer), m_end(buffer + room) {}

    void unit(unsigned c)
    {
        if (m_at != m_end)
            *m_at++ = static_cast<Ch>(c);
    }
    // Padded with zeros to the width.
    void number(unsigned value, int width)
    {
        if (value < 100 && width == 2 && m_end - m_at >= 2) {
            writePair(m_at, value);
            m_at += 2;
            return;
        }
        if (value < 10000 && width == 4 && m_end - m_at >= 4) {
            number(value / 100, 2);
            number(value % 100, 2);
            return;
        }
        char digits[12];
        const int n = decimalDigits(value);
        for (int i = n; i-- > 0; value /= 10)
            digits[i] = static_cast<char>('0' + value % 10);
        for (int pad = width - n; pad > 0; --pad)
            unit('0');
        for (int i = 0; i < n; ++i)
            unit(static_cast<unsigned char>(digits[i]));
    }
    int finish()
    {
        *m_at = 0;
        return static_cast<int>(m_at - m_start);
    }

private:
    Ch* m_start;
    Ch* m_at;
    Ch* m_end;
};

// A bounded copy: at most `size` units, zeros behind a shorter text, no terminator behind a longer one.
template <class Ch> void copyBounded(const Ch* text, int length, Ch* buffer, int size)
{
    for (int i = 0; i < size; ++i)
        buffer[i] = i < length ? text[i] : Ch(0);
}

} // namespace ztree
