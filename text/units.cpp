#include "text/units.h"

#include <string>

namespace {

int countOf(const zwcharOther* s, int n)
{
    constexpr std::size_t most = 0x3FFFFFFF; // two units each still fit an int
    const std::size_t count = !s      ? 0
                              : n < 0 ? std::char_traits<zwcharOther>::length(s)
                                      : static_cast<std::size_t>(n);
    if (count > most)
        throwNoMemory();
    return static_cast<int>(count);
}

// UTF-16 of one character: 1 or 2 units.
int encode(zwcharOther c, zwchar* out) noexcept
{
    const auto code = static_cast<std::uint32_t>(c); // NOLINT(bugprone-signed-char-misuse): it is no char
    if (code < 0x10000) {
        out[0] = static_cast<zwchar>(code);
        return 1;
    }
    if (code > 0x10FFFF) {
        out[0] = 0xFFFD;
        return 1;
    }
    out[0] = static_cast<zwchar>(0xD800 + ((code - 0x10000) >> 10));
    out[1] = static_cast<zwchar>(0xDC00 + (code & 0x3FF));
    return 2;
}

} // namespace

OtherText::OtherText(const zwcharOther* s, int n)
    : m_given(s != nullptr), m_count(countOf(s, n)), m_units(static_cast<std::size_t>(m_count) * 2 + 1)
{
    zwchar* to = m_units.get();
    for (int i = 0; i < m_count; ++i)
        m_length += encode(s[i], to + m_length);
    to[m_length] = 0;
}
