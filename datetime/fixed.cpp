#include "datetime/fixed.h"

#include "datetime/chars.h"

#include <algorithm>
#include <cstring>

namespace ztree {
namespace {

constexpr std::uint32_t powersOf10[] = {1,      10,      100,      1000,      10000,
                                        100000, 1000000, 10000000, 100000000, 1000000000};

// value = mantissa * 2^exponent
struct Binary {
    std::uint64_t mantissa;
    int exponent;
};

Binary takeApart(double value)
{
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    const std::uint64_t fraction = bits & 0xFFFFFFFFFFFFFu;
    const int exponent = static_cast<int>(bits >> 52 & 0x7FF);
    return exponent == 0 ? Binary{fraction, -1074}
                         : Binary{fraction | std::uint64_t(1) << 52, exponent - 1075};
}

// An unsigned number of up to 1536 bits, enough for 2^53 * 10^127 and for the largest double.
class Big {
public:
    explicit Big(std::uint64_t value) { push(value); }

    Big& operator*=(std::uint32_t factor)
    {
        std::uint64_t carry = 0;
        for (int i = 0; i < m_count; ++i) {
            carry += std::uint64_t(m_limbs[i]) * factor;
            m_limbs[i] = static_cast<std::uint32_t>(carry);
            carry >>= 32;
        }
        push(carry);
        return *this;
    }
    void shiftLeft(int bits)
    {
        for (; bits >= 31; bits -= 31)
            *this *= 0x80000000u;
        *this *= std::uint32_t(1) << bits;
    }
    // Divides by 2^bits, halves up.
    void shiftRightRounded(int bits)
    {
        if (bits == 0)
            return;
        const int whole = (bits - 1) / 32;
        dropLimbs(whole);
        shiftRight((bits - 1) % 32);
        const std::uint32_t decides = low() & 1;
        shiftRight(1);
        add(decides);
        trim();
    }
    std::uint32_t low() const { return m_count > 0 ? m_limbs[0] : 0; }
    bool isZero() const { return m_count == 0; }
    // Divides and returns the remainder.
    std::uint32_t divide(std::uint32_t divisor)
    {
        std::uint64_t rest = 0;
        for (int i = m_count; i-- > 0;) {
            rest = rest << 32 | m_limbs[i];
            m_limbs[i] = static_cast<std::uint32_t>(rest / divisor);
            rest %= divisor;
        }
        trim();
        return static_cast<std::uint32_t>(rest);
    }

private:
    void add(std::uint64_t value)
    {
        for (int i = 0; i < m_count && value != 0; ++i) {
            const std::uint64_t sum = m_limbs[i] + (value & 0xFFFFFFFFu);
            m_limbs[i] = static_cast<std::uint32_t>(sum);
            value = (value >> 32) + (sum >> 32);
        }
        push(value);
    }
    void push(std::uint64_t value)
    {
        for (; value != 0; value >>= 32)
            m_limbs[m_count++] = static_cast<std::uint32_t>(value);
    }
    void dropLimbs(int n)
    {
        m_count = std::max(m_count - n, 0);
        std::memmove(m_limbs, m_limbs + n, sizeof *m_limbs * static_cast<std::size_t>(m_count));
    }
    // By less than 32 bits.
    void shiftRight(int bits)
    {
        std::uint64_t above = 0;
        for (int i = m_count; i-- > 0;) {
            const std::uint64_t pair = above << 32 | m_limbs[i];
            above = m_limbs[i];
            m_limbs[i] = static_cast<std::uint32_t>(pair >> bits);
        }
    }
    void trim()
    {
        while (m_count > 0 && m_limbs[m_count - 1] == 0)
            --m_count;
    }

    std::uint32_t m_limbs[48];
    int m_count = 0;
};

} // namespace

bool toSmallFixed(double value, int n, SmallFixed& out)
{
    const Binary binary = takeApart(value);
    const std::uint32_t power = powersOf10[n];
    if (binary.exponent >= 0) {
        if (binary.exponent > 10)
            return false;
        out = {binary.mantissa << binary.exponent, 0};
        return true;
    }
    const int shift = -binary.exponent;
    if (shift > 64) { // below 2^-11: the fraction has bits behind its 64th
        Big number(binary.mantissa);
        number *= power;
        number.shiftRightRounded(shift);
        out = {0, number.low()};
        return true;
    }
    out.whole = shift < 64 ? binary.mantissa >> shift : 0;
    const std::uint64_t fraction = binary.mantissa << (64 - shift); // in steps of 2^-64
    // The fraction times the power: the whole part are the decimals, the rest decides.
    const std::uint64_t low = (fraction & 0xFFFFFFFFu) * power;
    const std::uint64_t high = (fraction >> 32) * power + (low >> 32);
    out.decimals = static_cast<std::uint32_t>(high >> 32) + (static_cast<std::uint32_t>(high) >> 31);
    if (out.decimals == power) {
        out.decimals = 0;
        ++out.whole;
    }
    return true;
}

void toFixed(double value, int n, FixedDigits& out)
{
    const Binary binary = takeApart(value);
    Big number(binary.mantissa);
    for (int rest = n; rest > 0; rest -= mostSmallDecimals)
        number *= powersOf10[std::min(rest, mostSmallDecimals)];
    if (binary.exponent > 0)
        number.shiftLeft(binary.exponent);
    else
        number.shiftRightRounded(-binary.exponent);
    char* const end = out.digits + sizeof out.digits;
    char* at = end;
    while (!number.isZero())
        at = putDigits(number.divide(1000000000), 9, at);
    while (at != end && *at == '0')
        ++at;
    out.count = static_cast<int>(end - at);
    out.point = out.count - n;
    std::memmove(out.digits, at, static_cast<std::size_t>(out.count));
}

char* putDigits(std::uint32_t value, int width, char* end)
{
    char* at = end;
    while (value >= 100) {
        at -= 2;
        std::memcpy(at, pairOf(value % 100), 2);
        value /= 100;
    }
    if (value >= 10) {
        at -= 2;
        std::memcpy(at, pairOf(value), 2);
    } else if (value != 0 || at == end) {
        *--at = static_cast<char>('0' + value);
    }
    while (end - at < width)
        *--at = '0';
    return at;
}

} // namespace ztree
