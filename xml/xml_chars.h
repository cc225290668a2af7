#pragma once
// Characters of XML 1.0 in UTF-8.

#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace ztree_impl {

enum : unsigned char {
    xmlSpace = 1,
    xmlNameStart = 2, // of the ASCII ones
    xmlName = 4,
    xmlPlainText = 8,   // stands in text as it is
    xmlPlainValue = 16, // stands in an attribute value as it is; both quotes too
};

struct XmlCharTable {
    unsigned char of[256];
    constexpr XmlCharTable() : of{}
    {
        for (int c = 0; c < 256; ++c) {
            const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':';
            const bool space = c == ' ' || c == '\t' || c == '\n' || c == '\r';
            unsigned char bits = 0;
            if (space)
                bits |= xmlSpace;
            if (letter)
                bits |= xmlNameStart | xmlName;
            if ((c >= '0' && c <= '9') || c == '-' || c == '.')
                bits |= xmlName;
            if (((c >= ' ' && c < 128) || c == '\t' || c == '\n') && c != '<' && c != '&' && c != ']')
                bits |= xmlPlainText;
            if (c >= ' ' && c < 128 && c != '<' && c != '&' && c != '"' && c != '\'')
                bits |= xmlPlainValue;
            of[c] = bits;
        }
    }
    bool is(char c, unsigned char bits) const noexcept { return of[static_cast<unsigned char>(c)] & bits; }
};
inline constexpr XmlCharTable xmlChars;

/// Bytes of the well-formed UTF-8 character at s (at most n bytes are there), 0 for a bad one.
inline int utf8Character(const char* s, std::size_t n, std::uint32_t& c) noexcept
{
    const auto at = [s](int i) { return static_cast<std::uint32_t>(static_cast<unsigned char>(s[i])); };
    const auto more = [&](int i) { return static_cast<std::size_t>(i) < n && (at(i) & 0xC0) == 0x80; };
    const std::uint32_t lead = at(0);
    if (lead < 0x80) {
        c = lead;
        return 1;
    }
    if (lead >= 0xC2 && lead < 0xE0 && more(1)) {
        c = (lead & 0x1F) << 6 | (at(1) & 0x3F);
        return 2;
    }
    if (lead >= 0xE0 && lead < 0xF0 && more(1) && more(2)) {
        c = (lead & 0x0F) << 12 | (at(1) & 0x3F) << 6 | (at(2) & 0x3F);
        return c >= 0x800 && (c < 0xD800 || c > 0xDFFF) ? 3 : 0;
    }
    if (lead >= 0xF0 && lead < 0xF5 && more(1) && more(2) && more(3)) {
        c = (lead & 0x07) << 18 | (at(1) & 0x3F) << 12 | (at(2) & 0x3F) << 6 | (at(3) & 0x3F);
        return c >= 0x10000 && c <= 0x10FFFF ? 4 : 0;
    }
    return 0;
}

/// The first byte from `at` on that does not stand in text, or in an attribute value, as it is.
template <unsigned char kind> inline const char* skipPlain(const char* at, const char* end) noexcept
{
#if defined(__SSE2__)
    static_assert(kind == xmlPlainText || kind == xmlPlainValue, "the table's two kinds");
    while (end - at >= 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
        const auto is = [bytes](char c) { return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(c)); };
        __m128i stops = _mm_cmplt_epi8(bytes, _mm_set1_epi8(' ')); // bytes above 127 are negative
        if (kind == xmlPlainText)
            stops = _mm_or_si128(_mm_andnot_si128(_mm_or_si128(is('\t'), is('\n')), stops), is(']'));
        else
            stops = _mm_or_si128(stops, _mm_or_si128(is('"'), is('\'')));
        stops = _mm_or_si128(stops, _mm_or_si128(is('<'), is('&')));
        if (const unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(stops)))
            return at + __builtin_ctz(mask);
        at += 16;
    }
#endif
    while (at < end && xmlChars.is(*at, kind))
        ++at;
    return at;
}

/// skipPlain that passes the characters above ASCII too, as long as they are well-formed and allowed.
template <unsigned char kind> inline const char* skipOrdinary(const char* at, const char* end) noexcept
{
    const auto byte = [&at](int i) { return static_cast<unsigned char>(at[i]); };
    const auto more = [&byte](int i) { return (byte(i) & 0xC0) == 0x80; };
    for (;;) {
        at = skipPlain<kind>(at, end);
        const char* before = at;
        while (end - at >= 4 && byte(0) >= 0xC2) {
            if (byte(0) < 0xE0 && more(1))
                at += 2;
            else if (byte(0) > 0xE0 && byte(0) < 0xEF && byte(0) != 0xED && more(1) && more(2))
                at += 3;
            else
                break; // rare or wrong: for the careful way
        }
        if (at == before)
            return at;
    }
}

inline bool isXmlCharacter(std::uint32_t c) noexcept
{
    return c == 9 || c == 10 || c == 13 || (c >= 0x20 && c <= 0xD7FF) || (c >= 0xE000 && c <= 0xFFFD) ||
           (c >= 0x10000 && c <= 0x10FFFF);
}

/// For characters above ASCII.
inline bool isXmlNameStart(std::uint32_t c) noexcept
{
    return (c >= 0xC0 && c <= 0x2FF && c != 0xD7 && c != 0xF7) || (c >= 0x370 && c <= 0x1FFF && c != 0x37E) ||
           c == 0x200C || c == 0x200D || (c >= 0x2070 && c <= 0x218F) || (c >= 0x2C00 && c <= 0x2FEF) ||
           (c >= 0x3001 && c <= 0xD7FF) || (c >= 0xF900 && c <= 0xFDCF) || (c >= 0xFDF0 && c <= 0xFFFD) ||
           (c >= 0x10000 && c <= 0xEFFFF);
}
inline bool isXmlNameCharacter(std::uint32_t c) noexcept
{
    return isXmlNameStart(c) || c == 0xB7 || (c >= 0x300 && c <= 0x36F) || c == 0x203F || c == 0x2040;
}

/// Bytes of the name that stands at s, 0 when there is none; stops at a bad character.
inline std::size_t xmlNameLength(const char* s, const char* end) noexcept
{
    const char* at = s;
    if (end - at > 4 && xmlChars.is(*at, xmlNameStart)) {
        ++at;
        for (; end - at >= 4; at += 4) {
            if (!xmlChars.is(at[0], xmlName))
                break;
            if (!xmlChars.is(at[1], xmlName)) {
                ++at;
                break;
            }
            if (!xmlChars.is(at[2], xmlName)) {
                at += 2;
                break;
            }
            if (!xmlChars.is(at[3], xmlName)) {
                at += 3;
                break;
            }
        }
    }
    while (at < end) {
        const unsigned char u = static_cast<unsigned char>(*at);
        if (u < 128) {
            if (!xmlChars.is(*at, at == s ? xmlNameStart : xmlName))
                break;
            ++at;
            continue;
        }
        std::uint32_t c = 0;
        const int n = utf8Character(at, static_cast<std::size_t>(end - at), c);
        if (n == 0 || !(at == s ? isXmlNameStart(c) : isXmlNameCharacter(c)))
            break;
        at += n;
    }
    return static_cast<std::size_t>(at - s);
}

} // namespace ztree_impl
