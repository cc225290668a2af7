#pragma once
// A set of characters given as a text, asked once for every unit of another text.

#include <ztree/types.h>

#include <cstring>

/// A bit for each value. The terminator of the text belongs to the set only `withZero`.
template <class Ch> class CharSet;

template <> class CharSet<char> {
public:
    explicit CharSet(const char* set, bool withZero = false) noexcept
    {
        m_bits[0] = withZero;
        for (; *set; ++set)
            m_bits[static_cast<unsigned char>(*set) >> 6] |= std::uint64_t{1}
                                                             << (static_cast<unsigned char>(*set) & 63);
    }
    bool has(char c) const noexcept
    {
        const unsigned u = static_cast<unsigned char>(c);
        return (m_bits[u >> 6] >> (u & 63)) & 1;
    }

private:
    std::uint64_t m_bits[4] = {};
};

/// Units below 256 by bits; of the others a few are compared one by one, more get a bit each as well.
template <> class CharSet<zwchar> {
public:
    explicit CharSet(const zwchar* set, bool withZero = false) noexcept
    {
        m_low[0] = withZero;
        const zwchar* all = set;
        for (; *set; ++set) {
            if (*set < 256)
                put(m_low, *set);
            else if (++m_highs <= few)
                m_few[m_highs - 1] = *set;
        }
        if (m_highs <= few)
            return;
        std::memset(m_every, 0, sizeof m_every);
        for (; *all; ++all)
            put(m_every, *all);
    }
    bool has(zwchar c) const noexcept
    {
        if (c < 256)
            return bit(m_low, c);
        if (m_highs > few)
            return bit(m_every, c);
        for (int i = 0; i < m_highs; ++i)
            if (m_few[i] == c)
                return true;
        return false;
    }

private:
    static constexpr int few = 8;
    static void put(std::uint64_t* bits, unsigned u) noexcept
    {
        bits[u >> 6] |= std::uint64_t{1} << (u & 63);
    }
    static bool bit(const std::uint64_t* bits, unsigned u) noexcept { return (bits[u >> 6] >> (u & 63)) & 1; }

    std::uint64_t m_low[4] = {};
    int m_highs = 0;
    zwchar m_few[few];
    std::uint64_t m_every[1024]; // filled only when needed
};
