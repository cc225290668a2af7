#include "platform/singlebyte_linux.h"

#include <emmintrin.h>

#include <algorithm>
#include <iterator>

namespace platform::singlebyte {

namespace {

struct SingleBytePage {
    std::uint16_t number;
    bool ascii;
    bool latin;
};
struct DoubleBytePage {
    std::uint16_t number;
    unsigned char leads[10];
};
#include "platform/codepage_tables_linux.inc"

inline __m128i load(const void* p) noexcept
{
    return _mm_loadu_si128(static_cast<const __m128i*>(p));
}

inline void store(void* p, __m128i v) noexcept
{
    _mm_storeu_si128(static_cast<__m128i*>(p), v);
}

// No byte of v needs the table: all ASCII, or on a latin page none in 80-9F.
inline bool isPlain(__m128i v, bool latin) noexcept
{
    if (!_mm_movemask_epi8(v))
        return true;
    // 80-9F, and nothing else, are below A0 as signed bytes.
    return latin && !_mm_movemask_epi8(_mm_cmplt_epi8(v, _mm_set1_epi8(static_cast<char>(0xA0))));
}

// No unit of v needs the table: all below 80, or on a latin page also in A0-FF.
inline bool isPlainWide(__m128i v, bool latin) noexcept
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i upper = _mm_and_si128(v, _mm_set1_epi16(static_cast<short>(latin ? 0xFF00 : 0xFF80)));
    if (_mm_movemask_epi8(_mm_cmpeq_epi16(upper, zero)) != 0xFFFF)
        return false;
    const __m128i control = _mm_cmpeq_epi16(_mm_and_si128(v, _mm_set1_epi16(0xE0)), _mm_set1_epi16(0x80));
    return !latin || !_mm_movemask_epi8(control);
}

} // namespace

bool find(unsigned codepage, Page& page) noexcept
{
    const auto* const found =
        std::lower_bound(std::begin(singleBytePages), std::end(singleBytePages), codepage,
                         [](const SingleBytePage& p, unsigned number) { return p.number < number; });
    if (found == std::end(singleBytePages) || found->number != codepage)
        return false;
    const auto i = found - singleBytePages;
    page = {unitOfByte[i], blockOfUnits[i], found->ascii, found->latin};
    return true;
}

void toWide(const Page& page, const unsigned char* s, int n, zwchar* out) noexcept
{
    int i = 0;
    while (i + 16 <= n) {
        if (page.ascii) {
            const __m128i v = load(s + i);
            if (isPlain(v, page.latin)) {
                store(out + i, _mm_unpacklo_epi8(v, _mm_setzero_si128()));
                store(out + i + 8, _mm_unpackhi_epi8(v, _mm_setzero_si128()));
                i += 16;
                continue;
            }
        }
        for (const int stop = i + 16; i < stop; ++i)
            out[i] = page.units[s[i]];
    }
    for (; i < n; ++i)
        out[i] = page.units[s[i]];
}

void toNarrow(const Page& page, const zwchar* w, int n, unsigned char* out) noexcept
{
    int i = 0;
    while (i + 16 <= n) {
        if (page.ascii) {
            const __m128i a = load(w + i), b = load(w + i + 8);
            if (isPlainWide(a, page.latin) && isPlainWide(b, page.latin)) {
                store(out + i, _mm_packus_epi16(a, b));
                i += 16;
                continue;
            }
        }
        for (const int stop = i + 16; i < stop; ++i)
            out[i] = byteBlocks[page.blocks[w[i] >> 8]][w[i] & 0xFF];
    }
    for (; i < n; ++i)
        out[i] = byteBlocks[page.blocks[w[i] >> 8]][w[i] & 0xFF];
}

bool isLeadByte(unsigned codepage, unsigned char c) noexcept
{
    for (const DoubleBytePage& page : doubleBytePages) {
        if (page.number != codepage)
            continue;
        for (const unsigned char* range = page.leads; range[0]; range += 2)
            if (c >= range[0] && c <= range[1])
                return true;
    }
    return false;
}

} // namespace platform::singlebyte
