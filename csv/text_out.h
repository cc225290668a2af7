#pragma once
// Text that grows while values and lines are written; keeps its room from line to line.

#include "platform/codepage.h"
#include "platform/heap.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace ztree_impl {

inline bool isAscii(const char* s, std::size_t n) noexcept
{
    std::size_t i = 0;
    for (; n - i >= 8; i += 8) {
        std::uint64_t block;
        std::memcpy(&block, s + i, 8);
        if (block & 0x8080808080808080u)
            return false;
    }
    for (; i < n; ++i)
        if (static_cast<signed char>(s[i]) < 0)
            return false;
    return true;
}

/// Whether bytes below 128 are ASCII in this code page: true for those that files are in, false where in
/// doubt.
constexpr bool holdsAscii(unsigned page) noexcept
{
    return page == platform::codepageUtf8 || (page >= 1250 && page <= 1258) ||
           (page >= 28591 && page <= 28605) || page == 437 || page == 850 || page == 852 || page == 866;
}

/// Whether text can be read and written in this code page: one that is known, and whose units are bytes.
inline bool isFilePage(unsigned page) noexcept
{
    constexpr zwchar unit = 'a';
    char bytes[8];
    return platform::toNarrow(page, &unit, 1, bytes, sizeof bytes) == 1;
}

/// Whether n bytes of one code page are the same text in the other.
inline bool isSameText(const char* s, std::size_t n, unsigned page, unsigned other) noexcept
{
    return page == other || (holdsAscii(page) && holdsAscii(other) && isAscii(s, n));
}

/// Lack of memory is kept in failed() until clear(); what is appended then is dropped.
template <class Ch> class GrowingText {
public:
    /// Narrow text is in this code page.
    explicit GrowingText(unsigned page = platform::codepageUtf8) noexcept : m_page(page) {}
    GrowingText(const GrowingText&) = delete;
    GrowingText& operator=(const GrowingText&) = delete;
    ~GrowingText()
    {
        if (m_text != m_inline)
            platform::heapFree(m_text);
    }

    void setPage(unsigned page) noexcept { m_page = page; }
    unsigned page() const noexcept { return m_page; }
    Ch* text() noexcept { return m_text; }
    const Ch* text() const noexcept { return m_text; }
    std::size_t length() const noexcept { return m_length; }
    bool failed() const noexcept { return m_failed; }
    void fail(bool failed) noexcept { m_failed |= failed; }
    void clearFailure() noexcept { m_failed = false; }
    void clear() noexcept
    {
        m_length = 0;
        m_failed = false;
    }
    /// Whether one of the set stands from `start` on.
    template <class Set> bool has(const Set& set, std::size_t start) const noexcept
    {
        // Whole blocks: what is found behind the end does not count.
        const std::size_t blocks = (m_length - start + slack - 1) / slack * slack;
        return set.find(m_text + start, m_text + start + blocks) < m_text + m_length;
    }
    void cut(std::size_t length) noexcept { m_length = length; }

    /// Room for n more units at the end, null without memory.
    Ch* room(std::size_t n) noexcept
    {
        return n <= m_room - m_length || grow(n) ? m_text + m_length : nullptr;
    }
    /// After up to room() units were written there.
    void added(std::size_t n) noexcept { m_length += n; }
    void unit(Ch c) noexcept
    {
        if (Ch* at = room(1)) {
            *at = c;
            ++m_length;
        }
    }
    void units(const Ch* s, std::size_t n) noexcept
    {
        Ch* at = room(n);
        if (!at || n == 0)
            return;
        std::memcpy(at, s, n * sizeof(Ch));
        m_length += n;
    }
    void ascii(const char* s, std::size_t n) noexcept
    {
        if (Ch* at = room(n)) {
            for (std::size_t i = 0; i < n; ++i)
                at[i] = static_cast<Ch>(s[i]);
            m_length += n;
        }
    }
    /// Bytes in a code page. What cannot be converted is left out.
    void narrow(const char* s, std::size_t n, unsigned page) noexcept;
    void wide(const zwchar* w, std::size_t n) noexcept;

private:
    bool grow(std::size_t n) noexcept
    {
        const std::size_t most = static_cast<std::size_t>(INT_MAX) / sizeof(Ch);
        const std::size_t wanted = std::min(most, std::max(m_length + n, m_room * 2));
        if (n > most - m_length || wanted <= m_room) {
            m_failed = true;
            return false;
        }
        const bool first = m_text == m_inline;
        auto* fresh =
            static_cast<Ch*>(platform::heapResize(first ? nullptr : m_text, (wanted + slack) * sizeof(Ch)));
        if (!fresh) {
            m_failed = true;
            return false;
        }
        if (first)
            std::memcpy(fresh, m_inline, m_length * sizeof(Ch));
        m_text = fresh;
        m_room = wanted;
        return true;
    }

    static constexpr std::size_t inlineUnits = 256;
    static constexpr std::size_t slack = 16; // behind the room, for looks at whole blocks

    Ch* m_text = m_inline;
    std::size_t m_length = 0;
    std::size_t m_room = inlineUnits;
    unsigned m_page;
    bool m_failed = false;
    Ch m_inline[inlineUnits + slack];
};

template <> inline void GrowingText<zwchar>::narrow(const char* s, std::size_t n, unsigned page) noexcept
{
    zwchar* at = room(n);
    if (!at || n == 0)
        return;
    m_length +=
        static_cast<std::size_t>(platform::toWide(page, s, static_cast<int>(n), at, static_cast<int>(n)));
}
template <> inline void GrowingText<zwchar>::wide(const zwchar* w, std::size_t n) noexcept
{
    units(w, n);
}
template <> inline void GrowingText<char>::wide(const zwchar* w, std::size_t n) noexcept
{
    const std::size_t most = n * 4; // bytes that a unit may take in any code page
    char* at = room(most);
    if (!at || n == 0)
        return;
    m_length += static_cast<std::size_t>(
        platform::toNarrow(m_page, w, static_cast<int>(n), at, static_cast<int>(most)));
}
template <> inline void GrowingText<char>::narrow(const char* s, std::size_t n, unsigned page) noexcept
{
    if (isSameText(s, n, page, m_page)) {
        units(s, n);
        return;
    }
    GrowingText<zwchar> other;
    other.narrow(s, n, page);
    wide(other.text(), other.length());
    fail(other.failed());
}

} // namespace ztree_impl
