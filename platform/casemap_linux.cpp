// Case mapping: wide text by generated tables, narrow text by a table of 256 bytes made from them.

#include "platform/codepage.h"

#include <emmintrin.h>

#include <iterator>

namespace platform {

namespace {

struct PairRange {
    unsigned first;
    unsigned last;
    int distance;
};
#include "platform/casemap_tables_linux.inc"

// Units without case, in ranges that texts are full of.
constexpr int dashFirst = 0x2000, dashLast = 0x20FF, caselessFirst = 0x2E80, caselessLast = 0xA63F,
              fullwidthFirst = 0xFF00, fullwidthLast = 0xFF20;
constexpr bool areCaseless(int first, int last)
{
    for (int c = first; c <= last; ++c)
        if (caseDelta[upperBlock[c >> 8]][c & 0xFF] || caseDelta[lowerBlock[c >> 8]][c & 0xFF])
            return false;
    return true;
}
static_assert(areCaseless(dashFirst, dashLast) && areCaseless(caselessFirst, caselessLast) &&
              areCaseless(fullwidthFirst, fullwidthLast));

template <std::size_t n> unsigned mapPoint(const PairRange (&ranges)[n], unsigned point) noexcept
{
    if (point > ranges[n - 1].last) // pictures are behind all letters
        return point;
    for (const PairRange& range : ranges)
        if (point >= range.first && point <= range.last)
            return point + static_cast<unsigned>(range.distance);
    return point;
}

struct Upper {
    static constexpr const unsigned char* block = upperBlock;
    static constexpr char asciiFirst = 'a';
    static zwchar unit(zwchar c) noexcept { return upperUnit(c); }
    static unsigned pair(unsigned point) noexcept { return mapPoint(upperPairs, point); }
};

struct Lower {
    static constexpr const unsigned char* block = lowerBlock;
    static constexpr char asciiFirst = 'A';
    static zwchar unit(zwchar c) noexcept { return lowerUnit(c); }
    static unsigned pair(unsigned point) noexcept { return mapPoint(lowerPairs, point); }
};

inline __m128i load(const void* p) noexcept
{
    return _mm_loadu_si128(static_cast<const __m128i*>(p));
}

inline void store(void* p, __m128i v) noexcept
{
    _mm_storeu_si128(static_cast<__m128i*>(p), v);
}

// Flips bit 5 of the letters that begin at `first`, in bytes or units that are all ASCII.
template <class Case> inline __m128i flipBytes(__m128i v) noexcept
{
    const __m128i letter = _mm_and_si128(_mm_cmpgt_epi8(v, _mm_set1_epi8(Case::asciiFirst - 1)),
                                         _mm_cmplt_epi8(v, _mm_set1_epi8(Case::asciiFirst + 26)));
    return _mm_xor_si128(v, _mm_and_si128(letter, _mm_set1_epi8(0x20)));
}

// Bits of the units of v in [first, last].
inline __m128i within(__m128i v, int first, int last) noexcept
{
    const __m128i above = _mm_subs_epu16(_mm_sub_epi16(v, _mm_set1_epi16(static_cast<short>(first))),
                                         _mm_set1_epi16(static_cast<short>(last - first)));
    return _mm_cmpeq_epi16(above, _mm_setzero_si128());
}

template <class Case> inline __m128i flipUnits(__m128i v) noexcept
{
    return _mm_xor_si128(
        v, _mm_and_si128(within(v, Case::asciiFirst, Case::asciiFirst + 25), _mm_set1_epi16(0x20)));
}

// Maps v when each of its units is Latin-1, basic Cyrillic, or of the punctuation and ideographs that
// have no case; false, and v unchanged, when one is not.
template <class Case> inline bool mapKnown(__m128i& v) noexcept
{
    const __m128i latin = within(v, 0, 0xFE); // FF has its capital elsewhere
    const __m128i cyrillic = within(v, 0x400, 0x45F);
    const __m128i caseless =
        _mm_or_si128(within(v, dashFirst, dashLast), within(v, caselessFirst, caselessLast));
    const __m128i fullwidth = within(v, fullwidthFirst, fullwidthLast);
    const __m128i known = _mm_or_si128(_mm_or_si128(latin, cyrillic), _mm_or_si128(caseless, fullwidth));
    if (_mm_movemask_epi8(known) != 0xFFFF)
        return false;
    constexpr int a = Case::asciiFirst, agrave = a + 0x7F, be = a == 'a' ? 0x430 : 0x410,
                  ie = a == 'a' ? 0x450 : 0x400;
    const __m128i sign =
        _mm_cmpeq_epi16(v, _mm_set1_epi16(static_cast<short>(agrave + 0x17))); // times, divided by
    const __m128i by20 = _mm_or_si128(_mm_or_si128(within(v, a, a + 25), within(v, be, be + 0x1F)),
                                      _mm_andnot_si128(sign, within(v, agrave, agrave + 0x1E)));
    const __m128i by50 = within(v, ie, ie + 0xF);
    const __m128i distance =
        _mm_or_si128(_mm_and_si128(by20, _mm_set1_epi16(0x20)), _mm_and_si128(by50, _mm_set1_epi16(0x50)));
    v = a == 'a' ? _mm_sub_epi16(v, distance) : _mm_add_epi16(v, distance);
    return true;
}

template <class Case> inline zwchar mapUnit(zwchar c) noexcept
{
    return static_cast<zwchar>(c + caseDelta[Case::block[c >> 8]][c & 0xFF]);
}

template <class Case> void mapPair(zwchar* w) noexcept
{
    const unsigned point = 0x10000 + ((w[0] & 0x3FFu) << 10) + (w[1] & 0x3FFu);
    const unsigned mapped = Case::pair(point);
    w[0] = static_cast<zwchar>(0xD7C0 + (mapped >> 10));
    w[1] = static_cast<zwchar>(0xDC00 | (mapped & 0x3FF));
}

template <class Case> void mapWide(zwchar* w, int n) noexcept
{
    if (!w)
        return;
    int i = 0;
    while (i < n) {
        if (i + 16 <= n) {
            __m128i a = load(w + i), b = load(w + i + 8);
            const __m128i other =
                _mm_and_si128(_mm_or_si128(a, b), _mm_set1_epi16(static_cast<short>(0xFF80)));
            if (_mm_movemask_epi8(_mm_cmpeq_epi16(other, _mm_setzero_si128())) == 0xFFFF) {
                store(w + i, flipUnits<Case>(a));
                store(w + i + 8, flipUnits<Case>(b));
                i += 16;
                continue;
            }
            if (mapKnown<Case>(a) && mapKnown<Case>(b)) {
                store(w + i, a);
                store(w + i + 8, b);
                i += 16;
                continue;
            }
        }
        const int stop = i + 16 < n ? i + 16 : n;
        while (i < stop) {
            const zwchar c = w[i];
            if ((c & 0xFC00) == 0xD800 && i + 1 < n && (w[i + 1] & 0xFC00) == 0xDC00) {
                mapPair<Case>(w + i);
                i += 2;
                continue;
            }
            w[i++] = mapUnit<Case>(c);
        }
    }
}

// The system maps narrow text by way of wide text; for a single-byte page that is one table.
template <class Case> struct ByteTable {
    unsigned char mapped[256];
    bool ascii = true; // 00-7F map as ASCII does
    bool usable = true;
    ByteTable() noexcept
    {
        for (int b = 0; b < 256; ++b) {
            const char c = static_cast<char>(b);
            zwchar unit = 0;
            char back = c;
            usable = usable && !isLeadByte(codepageAnsi, static_cast<unsigned char>(b)) &&
                     ansiCodepage() != codepageUtf8 && toWide(codepageAnsi, &c, 1, &unit, 1) == 1;
            unit = Case::unit(unit);
            if (usable)
                toNarrow(codepageAnsi, &unit, 1, &back, 1);
            mapped[b] = static_cast<unsigned char>(back);
            const bool letter = b >= Case::asciiFirst && b < Case::asciiFirst + 26;
            if (b < 0x80 && mapped[b] != (letter ? b ^ 0x20 : b))
                ascii = false;
        }
    }
};

// A page of several bytes a character: one character a step, unless its size would change.
template <class Case> void mapCharacters(char* s, int n) noexcept
{
    const bool utf8 = ansiCodepage() == codepageUtf8;
    for (int i = 0, size = 1; i < n; i += size) {
        size = 1;
        if (utf8)
            while (i + size < n && size < 4 && (static_cast<unsigned char>(s[i + size]) & 0xC0) == 0x80)
                ++size;
        else if (isLeadByte(codepageAnsi, static_cast<unsigned char>(s[i])) && i + 1 < n)
            size = 2;
        zwchar units[4];
        char back[16];
        const int count = toWide(codepageAnsi, s + i, size, units, 4);
        mapWide<Case>(units, count);
        if (count > 0 && toNarrow(codepageAnsi, units, count, back, 16) == size)
            for (int k = 0; k < size; ++k)
                s[i + k] = back[k];
    }
}

template <class Case> void mapNarrow(char* s, int n) noexcept
{
    static const ByteTable<Case> table;
    if (!s)
        return;
    if (!table.usable) {
        mapCharacters<Case>(s, n);
        return;
    }
    int i = 0;
    while (i < n) {
        if (table.ascii && i + 16 <= n) {
            const __m128i v = load(s + i);
            if (!_mm_movemask_epi8(v)) {
                store(s + i, flipBytes<Case>(v));
                i += 16;
                continue;
            }
        }
        for (const int stop = i + 16 < n ? i + 16 : n; i < stop; ++i)
            s[i] = static_cast<char>(table.mapped[static_cast<unsigned char>(s[i])]);
    }
}

} // namespace

void upperWide(zwchar* w, int n) noexcept
{
    mapWide<Upper>(w, n);
}

void lowerWide(zwchar* w, int n) noexcept
{
    mapWide<Lower>(w, n);
}

zwchar upperUnit(zwchar c) noexcept
{
    return mapUnit<Upper>(c);
}

zwchar lowerUnit(zwchar c) noexcept
{
    return mapUnit<Lower>(c);
}

void upperAnsi(char* s, int n) noexcept
{
    mapNarrow<Upper>(s, n);
}

void lowerAnsi(char* s, int n) noexcept
{
    mapNarrow<Lower>(s, n);
}

} // namespace platform
