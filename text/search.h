#pragma once
// Scans over text of known length.

#include "text/char_set.h"

#include <cstring>
#include <type_traits>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace scan {

constexpr std::size_t none = static_cast<std::size_t>(-1);

#if defined(__SSE2__)
template <class Ch> struct Lanes;
template <> struct Lanes<char> {
    static __m128i fill(char c) noexcept { return _mm_set1_epi8(c); }
    static __m128i equal(__m128i a, __m128i b) noexcept { return _mm_cmpeq_epi8(a, b); }
};
template <> struct Lanes<zwchar> {
    static __m128i fill(zwchar c) noexcept { return _mm_set1_epi16(static_cast<short>(c)); }
    static __m128i equal(__m128i a, __m128i b) noexcept { return _mm_cmpeq_epi16(a, b); }
};
inline __m128i load(const void* p) noexcept
{
    return _mm_loadu_si128(static_cast<const __m128i*>(p));
}
/// Which unit the lowest set bit of a byte mask stands for.
template <class Ch> std::size_t firstUnit(int mask) noexcept
{
    return static_cast<std::size_t>(__builtin_ctz(static_cast<unsigned>(mask))) / sizeof(Ch);
}
#endif

/// Index of the first c in [from, n), or none.
inline std::size_t unit(const char* s, std::size_t from, std::size_t n, char c) noexcept
{
    const void* hit = from < n ? std::memchr(s + from, static_cast<unsigned char>(c), n - from) : nullptr;
    return hit ? static_cast<std::size_t>(static_cast<const char*>(hit) - s) : none;
}
inline std::size_t unit(const zwchar* s, std::size_t from, std::size_t n, zwchar c) noexcept
{
    std::size_t i = from;
#if defined(__SSE2__)
    using L = Lanes<zwchar>;
    const __m128i want = L::fill(c);
    for (; i + 32 <= n; i += 32) {
        const __m128i a = L::equal(load(s + i), want), b = L::equal(load(s + i + 8), want);
        const __m128i d = L::equal(load(s + i + 16), want), e = L::equal(load(s + i + 24), want);
        if (_mm_movemask_epi8(_mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(d, e))))
            break;
    }
    for (; i + 8 <= n; i += 8)
        if (const int mask = _mm_movemask_epi8(L::equal(load(s + i), want)))
            return i + firstUnit<zwchar>(mask);
#endif
    for (; i < n; ++i)
        if (s[i] == c)
            return i;
    return none;
}

/// The first c in [p, end), or end; for one that stands near as a rule.
template <class Ch> const Ch* nearby(const Ch* p, const Ch* end, Ch c) noexcept
{
#if defined(__SSE2__)
    constexpr std::ptrdiff_t lanes = 16 / sizeof(Ch);
    if (end - p >= lanes) {
        if (const int mask = _mm_movemask_epi8(Lanes<Ch>::equal(load(p), Lanes<Ch>::fill(c))))
            return p + firstUnit<Ch>(mask);
        p += lanes;
    }
#endif
    const std::size_t at = unit(p, 0, static_cast<std::size_t>(end - p), c);
    return at == none ? end : p + at;
}

/// First i in [from, n - distance) with s[i] == a and s[i + distance] == b, or none.
template <class Ch>
std::size_t pair(const Ch* s, std::size_t from, std::size_t n, Ch a, Ch b, std::size_t distance) noexcept
{
    std::size_t i = from;
#if defined(__SSE2__)
    using L = Lanes<Ch>;
    constexpr std::size_t lanes = 16 / sizeof(Ch);
    const __m128i first = L::fill(a), second = L::fill(b);
    const auto both = [&](std::size_t at) noexcept {
        return _mm_and_si128(L::equal(load(s + at), first), L::equal(load(s + at + distance), second));
    };
    for (; i + distance + 4 * lanes <= n; i += 4 * lanes) {
        const __m128i low = _mm_or_si128(both(i), both(i + lanes));
        const __m128i high = _mm_or_si128(both(i + 2 * lanes), both(i + 3 * lanes));
        if (_mm_movemask_epi8(_mm_or_si128(low, high)))
            break;
    }
    for (; i + distance + lanes <= n; i += lanes)
        if (const int mask = _mm_movemask_epi8(both(i)))
            return i + firstUnit<Ch>(mask);
#endif
    for (; i + distance < n; ++i)
        if (s[i] == a && s[i + distance] == b)
            return i;
    return none;
}

/// Hash of a window that slides over a text: sum of unit * base^position, modulo 2^64.
class Window {
public:
    template <class Ch> Window(const Ch* s, std::size_t m) noexcept
    {
        for (std::size_t i = 0; i < m; ++i) {
            m_hash = m_hash * base + static_cast<std::make_unsigned_t<decltype(+s[i])>>(s[i]);
            m_top *= i ? base : 1;
        }
    }
    template <class Ch> void slide(Ch out, Ch in) noexcept
    {
        using U = std::make_unsigned_t<decltype(+out)>;
        m_hash = (m_hash - m_top * static_cast<U>(out)) * base + static_cast<U>(in);
    }
    bool operator==(const Window& other) const noexcept { return m_hash == other.m_hash; }

private:
    static constexpr std::uint64_t base = 0x9E3779B97F4A7C15u;
    std::uint64_t m_hash = 0, m_top = 1;
};

/// Up to this length a pattern is simply compared at every place in question.
constexpr std::size_t shortPattern = 64;

/// First occurrence of the m > 0 units at p in [from, n) that accept(place) agrees to, or none. Linear when
/// accept, which is asked at occurrences alone, is: a long pattern is compared only where a hash says that it
/// stands there.
template <class Ch, class Accept>
std::size_t text(const Ch* s, std::size_t from, std::size_t n, const Ch* p, std::size_t m,
                 Accept accept) noexcept
{
    if (m == 1)
        return unit(s, from, n, p[0]);
    const std::size_t hashLength = m > shortPattern && from + m <= n ? m : 0;
    const Window wanted(p, hashLength);
    Window window(s + (hashLength ? from : 0), hashLength);
    for (std::size_t i = from, hashed = from;; ++i) {
        i = pair(s, i, n, p[0], p[m - 1], m - 1);
        if (i == none)
            return none;
        for (; hashLength && hashed < i; ++hashed)
            window.slide(s[hashed], s[hashed + m]);
        if (window == wanted && std::memcmp(s + i + 1, p + 1, (m - 2) * sizeof(Ch)) == 0 && accept(i))
            return i;
    }
}

/// How many units equal to s[at] stand directly before `at`, not before `from`.
template <class Ch> std::size_t runBefore(const Ch* s, std::size_t from, std::size_t at) noexcept
{
    std::size_t start = at;
    while (start > from && s[start - 1] == s[at])
        --start;
    return at - start;
}

/// Position of the terminated pattern p of m > 0 units by one pass with a pattern position that goes back to
/// 0 on a mismatch, the mismatching unit not being looked at again; or none. Linear.
// Kept: a match that begins inside a failed partial match is missed; callers rely on the positions.
template <class Ch>
std::size_t restart(const Ch* s, std::size_t from, std::size_t n, const Ch* p, std::size_t m) noexcept
{
    if (m == 1)
        return unit(s, from, n, p[0]);
    // The pass itself: from `at` until a match is complete or nothing is matched behind `atLeast`.
    std::size_t at = from;
    const auto pass = [&](std::size_t atLeast) noexcept {
        std::size_t matched = 0;
        for (; at < n && (matched || at <= atLeast); ++at) {
            if (!matched && (at = unit(s, at, n, p[0])) == none)
                return none;
            matched = s[at] == p[matched] ? matched + 1 : 0;
            if (matched == m)
                return at + 1 - m;
        }
        return none;
    };
    if (m > shortPattern)
        return pass(n);
    const CharSet<Ch> inPattern(p);
    for (;;) {
        const std::size_t start = at; // nothing is matched here
        const std::size_t hit = text(s, start, n, p, m, [](std::size_t) { return true; });
        if (hit == none)
            return none;
        // Whether the pass comes upon the hit depends on what it is in the middle of. It is in the middle of
        // nothing behind a unit that the pattern does not have: go back there and let it run.
        at = hit;
        while (at > start && inPattern.has(s[at - 1]))
            --at;
        const std::size_t found = pass(hit);
        if (found != none || at >= n)
            return found;
    }
}

} // namespace scan
