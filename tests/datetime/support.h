#pragma once
// Random values, the same sequence on both targets, and texts between UTF-16 and UTF-8.

#include <ztree/datetime.h>

#include <cstdint>
#include <string>

using Wide = std::basic_string<zwchar>;

class Random {
public:
    explicit Random(std::uint64_t seed) : m_state(seed) {}
    std::uint64_t next()
    {
        m_state ^= m_state << 13;
        m_state ^= m_state >> 7;
        m_state ^= m_state << 17;
        return m_state * 0x2545F4914F6CDD1Du;
    }
    int below(int n) { return static_cast<int>((next() >> 33) % static_cast<unsigned>(n)); }
    bool oneIn(int n) { return below(n) == 0; }
    template <class Text> auto pick(const Text& text)
    {
        return text[static_cast<std::size_t>(below(static_cast<int>(text.size())))];
    }

private:
    std::uint64_t m_state;
};

// Sanitized builds run a part of the random cases.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int randomCases = 60000;
#else
constexpr int randomCases = 500000;
#endif

// Basic Multilingual Plane only.
inline std::string toUtf8(const Wide& text)
{
    std::string result;
    for (zwchar unit : text) {
        const unsigned c = unit;
        if (c < 0x80) {
            result += static_cast<char>(c);
        } else if (c < 0x800) {
            result += static_cast<char>(0xC0 | c >> 6);
            result += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            result += static_cast<char>(0xE0 | c >> 12);
            result += static_cast<char>(0x80 | (c >> 6 & 0x3F));
            result += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return result;
}

inline const unsigned short* asShort(const zwchar* text)
{
    return reinterpret_cast<const unsigned short*>(text);
}
inline unsigned short* asShort(zwchar* text)
{
    return reinterpret_cast<unsigned short*>(text);
}
