#pragma once
// Names ignoring case, eight bytes at a time.

#include <ztree/types.h>

#include <cstdint>
#include <cstring>

namespace ztree_impl {

/// The unit as names of wide attributes compare it.
int foldUnit(zwchar c) noexcept;

/// Up to 8 of n bytes, the first one lowest; 0 beyond the end.
inline std::uint64_t firstBytes(const char* text, int n) noexcept
{
    std::uint64_t bytes = 0;
    if (n >= 8) {
        std::memcpy(&bytes, text, 8);
    } else if (n >= 4) {
        std::uint32_t first, last;
        std::memcpy(&first, text, 4);
        std::memcpy(&last, text + n - 4, 4);
        bytes = first | std::uint64_t{last} << (8 * (n - 4));
    } else {
        for (int i = 0; i < n; ++i)
            bytes |= std::uint64_t{static_cast<unsigned char>(text[i])} << (8 * i);
    }
    return bytes;
}
/// All capitals at once: per byte, bit 7 of one sum says "at least A", of the other "beyond Z".
inline std::uint64_t lowerBytes(std::uint64_t bytes) noexcept
{
    constexpr std::uint64_t ones = 0x0101010101010101U;
    const std::uint64_t low = bytes & ones * 0x7F;
    const std::uint64_t capitals =
        ~bytes & ((low + ones * (0x80 - 'A')) ^ (low + ones * (0x7F - 'Z'))) & ones * 0x80;
    return bytes | capitals >> 2;
}

/// 8 bytes of a folded name; n units are left, the rest is 0.
inline std::uint64_t foldedWord(const char* text, int n) noexcept
{
    return lowerBytes(firstBytes(text, n));
}
inline std::uint64_t foldedWord(const zwchar* text, int n) noexcept
{
    constexpr std::uint64_t beyondAscii = 0xFF80FF80FF80FF80U;
    std::uint64_t word = 0;
    if (n >= 4) {
        std::memcpy(&word, text, 8);
        if (!(word & beyondAscii))
            return lowerBytes(word);
        word = 0;
    }
    for (int i = 0; i < 4 && i < n; ++i)
        word |= static_cast<std::uint64_t>(foldUnit(text[i])) << (16 * i);
    return word;
}

/// Both halves of the product in one.
inline std::uint64_t mixed(std::uint64_t a, std::uint64_t b) noexcept
{
#if defined(__SIZEOF_INT128__)
    __extension__ using Wide = unsigned __int128;
    const Wide product = static_cast<Wide>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
#else
    const std::uint64_t aLow = static_cast<std::uint32_t>(a), aHigh = a >> 32;
    const std::uint64_t bLow = static_cast<std::uint32_t>(b), bHigh = b >> 32;
    const std::uint64_t low = aLow * bLow, one = aHigh * bLow, other = aLow * bHigh;
    const std::uint64_t middle = (low >> 32) + static_cast<std::uint32_t>(one) + other;
    const std::uint64_t high = aHigh * bHigh + (one >> 32) + (middle >> 32);
    return (middle << 32 | static_cast<std::uint32_t>(low)) ^ high;
#endif
}

/// Differs from process to process: names from outside cannot be chosen so that they hash alike.
extern const std::uint64_t nameSeed;

/// Names that compare equal, also those whose bases do, hash alike.
template <class Ch> inline std::uint32_t foldedHash(const Ch* name, int n) noexcept
{
    constexpr std::uint64_t odd = 0x9E3779B97F4A7C15U;
    constexpr int step = 8 / sizeof(Ch);
    std::uint64_t h = nameSeed + static_cast<unsigned>(n);
    for (; n > step; name += step, n -= step)
        h = mixed(h ^ foldedWord(name, step), odd);
    h = mixed(h ^ foldedWord(name, n), odd);
    return static_cast<std::uint32_t>(h ^ h >> 32);
}

template <class Ch> inline bool equalFolded(const Ch* a, int na, const Ch* b, int nb) noexcept
{
    constexpr int step = 8 / sizeof(Ch);
    if (na != nb)
        return false;
    for (; na > step; a += step, b += step, na -= step)
        if (std::memcmp(a, b, 8) != 0 && foldedWord(a, step) != foldedWord(b, step))
            return false;
    return foldedWord(a, na) == foldedWord(b, na);
}

} // namespace ztree_impl
