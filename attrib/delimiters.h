#pragma once
// The delimiters of one tokenizer call: is a unit one of them, and where is the next one.

#include "text/char_set.h"

#include <cstddef>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace ztree_impl {

/// Up to 8 of them, compared 16 bytes of text at a time. Made without a look at the text, so that a tokenizer
/// keeps the one of its separator list.
template <class Ch> class FewDelimiters {
public:
    static constexpr int most = 8;

    FewDelimiters() noexcept { fillRest(); }
    /// Takes in more than `most` units only as far as count() tells that there are too many.
    explicit FewDelimiters(const Ch* set, bool withZero = false) noexcept
    {
        if (withZero)
            put(0);
        for (; *set && m_count <= most; ++set)
            put(*set);
        fillRest();
    }
    int count() const noexcept { return m_count; }
    bool has(Ch c) const noexcept
    {
        if (c > m_greatest)
            return false;
        for (int i = 0; i < m_count; ++i)
            if (m_units[i] == c)
                return true;
        return false;
    }
    /// The first delimiter in [p, end), or end.
    const Ch* find(const Ch* p, const Ch* end) const noexcept
    {
        int run = 0;
        return find(p, end, run);
    }
    /// The same; `run` is how many delimiters are known to stand there one after the other, 0 when that was
    /// not looked at.
    const Ch* find(const Ch* p, const Ch* end, int& run) const noexcept
    {
        run = 0;
        if (m_count == 0)
            return end;
#if defined(__SSE2__)
        for (; end - p >= lanes; p += lanes) {
            if (const unsigned hits = m_count <= 4 ? hitsIn<4>(p) : hitsIn<most>(p)) {
                const int at = __builtin_ctz(hits);
                const int past = __builtin_ctz(~(hits >> at)) + at; // bits above 16 end every run
                run = past < 16 ? (past - at) / static_cast<int>(sizeof(Ch)) : 0;
                return p + at / static_cast<int>(sizeof(Ch));
            }
        }
#endif
        while (p < end && !has(*p))
            ++p;
        return p;
    }

    static constexpr int unitBytes = sizeof(Ch);
    static constexpr int lanes = 16 / unitBytes;
    /// A bit for each byte from p up to `end` that belongs to a delimiter, the lowest for the first, as many
    /// as there are. At least `lanes` units, 1 to 4 delimiters.
    std::size_t hitsUpTo(const Ch* p, const Ch* end) const noexcept
    {
        constexpr int width = 8 * sizeof(std::size_t);
        const std::ptrdiff_t bytes = (end - p) * unitBytes;
        std::size_t all = 0;
#if defined(__SSE2__)
        const auto look = [&](std::ptrdiff_t from) {
            all |= std::size_t{hitsIn<4>(p + from / unitBytes)} << from;
        };
        if (bytes >= width) {
            for (int from = 0; from < width; from += 16)
                look(from);
        } else {
            for (std::ptrdiff_t from = 0; from + 16 < bytes; from += 16)
                look(from);
            look(bytes - 16); // some of them once more
        }
#else
        for (int from = 0; from < width && from < bytes; from += unitBytes)
            if (has(p[from / unitBytes]))
                all |= ((std::size_t{1} << unitBytes) - 1) << from;
#endif
        return all;
    }

private:
    // Half of the blocks are looked at when that is enough, so the others stay as they are.
    void fillRest() noexcept
    {
        for (int i = m_count; i < (m_count <= 4 ? 4 : most); ++i) // repeats do not disturb
            fill(i, m_units[0]);
    }
    void put(Ch c) noexcept
    {
        if (m_count < most) {
            m_units[m_count] = c;
            fill(m_count, c);
            if (c > m_greatest)
                m_greatest = c;
        }
        ++m_count;
    }
#if defined(__SSE2__)
    static __m128i blockAt(const Ch* p) noexcept
    {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    }
    void fill(int i, Ch c) noexcept
    {
        __m128i v;
        if constexpr (sizeof(Ch) == 1)
            v = _mm_set1_epi8(c);
        else
            v = _mm_set1_epi16(static_cast<short>(c));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(m_blocks[i]), v);
    }
    // A bit for each byte of the 16 at p that belongs to a delimiter.
    template <int N> unsigned hitsIn(const Ch* p) const noexcept
    {
        const __m128i text = blockAt(p);
        __m128i hit = equal(text, wanted(0));
        for (int i = 1; i < N; ++i)
            hit = _mm_or_si128(hit, equal(text, wanted(i)));
        return static_cast<unsigned>(_mm_movemask_epi8(hit));
    }
    __m128i wanted(int i) const noexcept
    {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(m_blocks[i]));
    }
    static __m128i equal(__m128i a, __m128i b) noexcept
    {
        return sizeof(Ch) == 1 ? _mm_cmpeq_epi8(a, b) : _mm_cmpeq_epi16(a, b);
    }
    Ch m_blocks[most][lanes]; // the unit in every lane; from count() on copies of the first
#else
    void fill(int, Ch) noexcept {}
#endif
    int m_count = 0;
    Ch m_greatest = 0;
    Ch m_units[most] = {};
};

/// Any number of them, unit by unit.
template <class Ch> class ManyDelimiters {
public:
    ManyDelimiters(const Ch* set, bool withZero) noexcept : m_set(set, withZero) {}
    bool has(Ch c) const noexcept { return m_set.has(c); }
    const Ch* find(const Ch* p, const Ch* end) const noexcept
    {
        while (p < end && !m_set.has(*p))
            ++p;
        return p;
    }
    const Ch* find(const Ch* p, const Ch* end, int& run) const noexcept
    {
        run = 0;
        return find(p, end);
    }

private:
    CharSet<Ch> m_set;
};

} // namespace ztree_impl
