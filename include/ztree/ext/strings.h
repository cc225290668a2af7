#pragma once
/// @file strings.h
/// Modern layer for strings: views, standard strings, hashing, streams and a search that finds every match.
///
/// Header only and additive. Views and iterators are valid until the string changes.

#include <ztree/text.h>

#include <functional>
#include <limits>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace ztree {

/// A view of UTF-16 text.
using WideView = std::basic_string_view<zwchar>;

namespace detail {
inline int viewLength(std::size_t n)
{
    if (n > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        throw std::length_error("ztree: text too long");
    return static_cast<int>(n);
}
// Longer texts by the library: the standard search may take as many steps as both lengths multiplied.
template <class View> int findView(View s, View what, int from) noexcept
{
    const std::size_t start = from < 0 ? 0 : static_cast<std::size_t>(from);
    const std::size_t at =
        what.size() < 2 ? s.find(what, start) : findText(s.data(), s.size(), start, what.data(), what.size());
    return at == View::npos ? -1 : static_cast<int>(at);
}
} // namespace detail

// --- reading a string ---
/// The bytes, embedded zeros included; an empty view for an empty string.
inline std::string_view view(const ZString& s) noexcept
{
    return {s.length() ? s.getBuffer() : "", static_cast<std::size_t>(s.length())};
}
inline WideView view(const ZStringW& s) noexcept
{
    return {s.length() ? s.getBuffer() : ZTEXT(""), static_cast<std::size_t>(s.length())};
}
/// A copy of the units.
inline std::u16string toU16(const ZStringW& s)
{
    const WideView v = view(s);
    return std::u16string(v.begin(), v.end());
}
/// UTF-8; an unpaired surrogate becomes U+FFFD.
inline std::string toUtf8(const ZStringW& s)
{
    std::string out(static_cast<std::size_t>(s.length()) * 3 + 1,
                    '\0'); // 3 bytes a unit at most, a terminator
    const int n = s.convertTo(65001, &out[0], static_cast<int>(out.size()));
    out.resize(n > 0 ? static_cast<std::size_t>(n) - 1 : 0);
    return out;
}
/// UTF-8 by the string's code-page tag; empty when the tag is unknown.
inline std::string toUtf8(const ZString& s)
{
    if (s.getCodepage() == 65001 || s.length() == 0)
        return std::string(view(s));
    return toUtf8(ZStringW(s.getBuffer(), s.length(), s.getCodepage()));
}

// --- making one ---
/// A string of exactly these bytes. Throws std::length_error above INT_MAX.
inline ZString narrow(std::string_view text, unsigned int codepage = 65001)
{
    ZString s;
    s.setCodepage(codepage);
    s.set(text.data(), detail::viewLength(text.size()), codepage);
    return s;
}
/// UTF-16 of UTF-8 text, embedded zeros included.
inline ZStringW wide(std::string_view utf8)
{
    ZStringW s;
    s.append(utf8.data(), detail::viewLength(utf8.size()));
    return s;
}
inline ZStringW wide(std::u16string_view text)
{
    ZStringW s;
    if (!text.empty()) // char16_t is one of the spellings of wide text everywhere
        s.set(text.data(), detail::viewLength(text.size()));
    return s;
}

// --- comparing and finding ---
/// Equal units; the tag does not count.
inline bool equal(const ZString& a, const ZString& b) noexcept
{
    return view(a) == view(b);
}
inline bool equal(const ZStringW& a, const ZStringW& b) noexcept
{
    return view(a) == view(b);
}
/// Below 0, 0 or above 0 for the order by units.
inline int compare(const ZString& a, const ZString& b) noexcept
{
    return view(a).compare(view(b));
}
inline int compare(const ZStringW& a, const ZStringW& b) noexcept
{
    return view(a).compare(view(b));
}
/// First place of `what` from `from` on, or -1; unlike indexOf it finds every match and an empty text
/// at `from`. A negative `from` counts as 0.
inline int find(const ZString& s, std::string_view what, int from = 0) noexcept
{
    return detail::findView(view(s), what, from);
}
inline int find(const ZStringW& s, WideView what, int from = 0) noexcept
{
    return detail::findView(view(s), what, from);
}

} // namespace ztree

/// The bytes as they are; nothing for an empty string.
inline std::ostream& operator<<(std::ostream& out, const ZString& s)
{
    return out << ztree::view(s);
}
/// UTF-8.
inline std::ostream& operator<<(std::ostream& out, const ZStringW& s)
{
    return out << ztree::toUtf8(s);
}

// Containers that hash compare and hash the text, not the pointers that the strings convert to.
template <> struct std::hash<ZString> {
    std::size_t operator()(const ZString& s) const noexcept
    {
        return std::hash<std::string_view>()(ztree::view(s));
    }
};
template <> struct std::hash<ZStringW> {
    std::size_t operator()(const ZStringW& s) const noexcept
    {
        return std::hash<ztree::WideView>()(ztree::view(s));
    }
};
template <> struct std::equal_to<ZString> {
    bool operator()(const ZString& a, const ZString& b) const noexcept { return ztree::equal(a, b); }
};
template <> struct std::equal_to<ZStringW> {
    bool operator()(const ZStringW& a, const ZStringW& b) const noexcept { return ztree::equal(a, b); }
};
