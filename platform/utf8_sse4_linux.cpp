// Vector kernels for every processor since 2008: 16 bytes, or 8 units, a step.
//
// To UTF-16: each byte position gets the unit that would end there, made of the byte and the two before
// it; the positions where a character does end are then moved together by one byte shuffle per 8.
// To UTF-8: each unit gets its 2 bytes, or 3 in a 32-bit lane; the bytes in use are moved together.

#include "platform/utf8_linux.h"

#include <immintrin.h>

#include <algorithm>
#include <cstring>

#define ZTREE_SSE4 __attribute__((target("ssse3,sse4.1,popcnt")))

namespace platform::utf8 {

namespace {

// Entry m moves the 16-bit lanes whose bit is set in m to the front.
struct LaneTable {
    alignas(16) unsigned char shuffle[256][16] = {};
    constexpr LaneTable()
    {
        for (unsigned mask = 0; mask < 256; ++mask) {
            unsigned to = 0;
            for (unsigned lane = 0; lane < 8; ++lane)
                if (mask >> lane & 1) {
                    shuffle[mask][to++] = static_cast<unsigned char>(2 * lane);
                    shuffle[mask][to++] = static_cast<unsigned char>(2 * lane + 1);
                }
            while (to < 16)
                shuffle[mask][to++] = 0x80;
        }
    }
};
constexpr LaneTable lanes;

// Entry m drops the second byte of the 16-bit lanes whose bit is set in m (ASCII units).
struct PairTable {
    alignas(16) unsigned char shuffle[256][16] = {};
    constexpr PairTable()
    {
        for (unsigned mask = 0; mask < 256; ++mask) {
            unsigned to = 0;
            for (unsigned lane = 0; lane < 8; ++lane) {
                shuffle[mask][to++] = static_cast<unsigned char>(2 * lane);
                if (!(mask >> lane & 1))
                    shuffle[mask][to++] = static_cast<unsigned char>(2 * lane + 1);
            }
            while (to < 16)
                shuffle[mask][to++] = 0x80;
        }
    }
};
constexpr PairTable pairs;

// Four 32-bit lanes of 3 bytes (second and third byte of a character last): bit 2i of the index is set
// when lane i is not ASCII, bit 2i + 1 when it has 3 bytes.
struct TripleTable {
    alignas(16) unsigned char shuffle[256][16] = {};
    unsigned char bytes[256] = {};
    constexpr TripleTable()
    {
        for (unsigned index = 0; index < 256; ++index) {
            unsigned to = 0;
            for (unsigned lane = 0; lane < 4; ++lane) {
                const unsigned size = 1 + (index >> (2 * lane) & 1) + (index >> (2 * lane + 1) & 1);
                for (unsigned i = 0; i < size; ++i)
                    shuffle[index][to++] = static_cast<unsigned char>(4 * lane + i);
            }
            bytes[index] = static_cast<unsigned char>(to);
            while (to < 16)
                shuffle[index][to++] = 0x80;
        }
    }
};
constexpr TripleTable triples;

ZTREE_SSE4 inline __m128i load(const void* p) noexcept
{
    return _mm_loadu_si128(static_cast<const __m128i*>(p));
}

ZTREE_SSE4 inline void store(void* p, __m128i v) noexcept
{
    _mm_storeu_si128(static_cast<__m128i*>(p), v);
}

// The n bytes at p, 0 < n < 16, zeros behind them; reads no others.
ZTREE_SSE4 inline __m128i loadPart(const unsigned char* p, int n) noexcept
{
    std::uint64_t low = 0, high = 0;
    if (n >= 8) {
        std::memcpy(&low, p, 8);
        std::memcpy(&high, p + n - 8, 8);
        high = n == 8 ? 0 : high >> (8 * (16 - n));
    } else if (n >= 4) {
        std::uint32_t a, b;
        std::memcpy(&a, p, 4);
        std::memcpy(&b, p + n - 4, 4);
        low = a | static_cast<std::uint64_t>(b) << (8 * (n - 4));
    } else {
        low = p[0] | static_cast<unsigned>(p[n / 2]) << (8 * (n / 2)) |
              static_cast<unsigned>(p[n - 1]) << (8 * (n - 1));
    }
    return _mm_set_epi64x(static_cast<long long>(high), static_cast<long long>(low));
}

// The first n bytes of v, 0 <= n <= 16, n even.
ZTREE_SSE4 inline void storePart(void* to, __m128i v, int n) noexcept
{
    auto* p = static_cast<unsigned char*>(to);
    if (n == 16) {
        store(p, v);
        return;
    }
    if (n & 8) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), v);
        v = _mm_srli_si128(v, 8);
        p += 8;
    }
    const auto rest = static_cast<std::uint64_t>(_mm_cvtsi128_si64(v));
    if (n & 4)
        std::memcpy(p, &rest, 4);
    if (n & 2) {
        const auto two = static_cast<std::uint16_t>(n & 4 ? rest >> 32 : rest);
        std::memcpy(p + (n & 4), &two, 2);
    }
}

ZTREE_SSE4 inline __m128i bytes(int v) noexcept
{
    return _mm_set1_epi8(static_cast<char>(v));
}

// Nonzero bytes where a second byte does not suit its lead (overlong, surrogate, above U+10FFFF) or the
// lead is none: the classes of the lead's two halves and of the byte's upper half share a bit then.
ZTREE_SSE4 inline __m128i misfits(__m128i in, __m128i before) noexcept
{
    enum : char {
        over2 = 1,
        over3 = 2,
        surrogate = 4,
        over4 = 8,
        large = 16,
        large5 = 32,
        any4 = large | over4
    };
    const __m128i leadHigh =
        _mm_setr_epi8(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, over2, 0, over3 | surrogate, any4 | large5);
    const __m128i leadLow =
        _mm_setr_epi8(over2 | over3 | over4, over2, 0, 0, large, large | large5, large | large5,
                      large | large5, large | large5, large | large5, large | large5, large | large5,
                      large | large5, large | large5 | surrogate, large | large5, large | large5);
    const __m128i second =
        _mm_setr_epi8(0, 0, 0, 0, 0, 0, 0, 0, over2 | over3 | over4 | large5, over2 | over3 | large | large5,
                      over2 | surrogate | large | large5, over2 | surrogate | large | large5, 0, 0, 0, 0);
    const __m128i low4 = bytes(0x0F);
    const __m128i a = _mm_shuffle_epi8(leadHigh, _mm_and_si128(_mm_srli_epi16(before, 4), low4));
    const __m128i b = _mm_shuffle_epi8(leadLow, _mm_and_si128(before, low4));
    const __m128i c = _mm_shuffle_epi8(second, _mm_and_si128(_mm_srli_epi16(in, 4), low4));
    return _mm_and_si128(_mm_and_si128(a, b), c);
}

ZTREE_SSE4 inline unsigned mask(__m128i v) noexcept
{
    return static_cast<unsigned>(_mm_movemask_epi8(v));
}

struct Block {
    unsigned ends; // bit i: a character ends with byte i
    int taken;     // bytes of whole, good characters; 0 when the block does not begin with one
};

// The characters in the 16 bytes of `in`, the first of which begins a character; after tells whether a
// trail byte follows the 16. Characters of 4 bytes are left to the scalar body.
ZTREE_SSE4 inline Block examine(__m128i in, unsigned nonAscii, bool after) noexcept
{
    const unsigned trail = mask(_mm_cmpgt_epi8(bytes(0xC0), in)) | (after ? 0x10000u : 0u);
    const unsigned lead = nonAscii & ~trail;
    const unsigned lead3 = mask(_mm_subs_epu8(in, bytes(0x60))); // E0 and above
    const unsigned lead4 = mask(_mm_subs_epu8(in, bytes(0x70))); // F0 and above
    unsigned ends = ~(trail >> 1) & 0xFFFF;
    if (lead4)
        ends &= (lead4 & -lead4) - 1;
    if (!ends)
        return {0, 0};
    const int taken = 32 - __builtin_clz(ends);
    const unsigned due = lead << 1 | lead3 << 2;
    const unsigned here = (2u << taken) - 1; // the byte behind must not be due either
    const __m128i bad = misfits(in, _mm_slli_si128(in, 1));
    if (((due ^ trail) & here) || !_mm_testz_si128(bad, bad))
        return {0, 0};
    return {ends, taken};
}

// The unit that ends at each byte: w0 for the first 8, w1 for the others.
ZTREE_SSE4 inline void unitsAt(__m128i in, __m128i& w0, __m128i& w1) noexcept
{
    const __m128i trail = _mm_cmpgt_epi8(bytes(0xC0), in);
    const __m128i b0 = _mm_andnot_si128(_mm_and_si128(trail, bytes(0xC0)), in);
    const __m128i before = _mm_and_si128(_mm_slli_si128(in, 1), trail);
    const __m128i b1 = _mm_and_si128(before, bytes(0x3F));
    const __m128i third = _mm_and_si128(trail, _mm_slli_si128(trail, 1));
    const __m128i b2 = _mm_and_si128(_mm_slli_si128(in, 2), _mm_and_si128(third, bytes(0x0F)));
    const __m128i low = _mm_or_si128(b0, _mm_and_si128(_mm_slli_epi16(b1, 6), bytes(0xC0)));
    const __m128i high =
        _mm_or_si128(_mm_slli_epi16(b2, 4), _mm_and_si128(_mm_srli_epi16(b1, 2), bytes(0x0F)));
    w0 = _mm_unpacklo_epi8(low, high);
    w1 = _mm_unpackhi_epi8(low, high);
}

// Writes the units of the block, and up to 7 of no meaning behind them.
ZTREE_SSE4 inline zwchar* put(__m128i in, unsigned ends, zwchar* out) noexcept
{
    __m128i w0, w1;
    unitsAt(in, w0, w1);
    store(out, _mm_shuffle_epi8(w0, load(lanes.shuffle[ends & 0xFF])));
    out += __builtin_popcount(ends & 0xFF);
    store(out, _mm_shuffle_epi8(w1, load(lanes.shuffle[ends >> 8])));
    return out + __builtin_popcount(ends >> 8);
}

// Characters of 4 bytes as long as they follow each other; 4 bytes and 2 units at least are there.
ZTREE_SSE4 inline void decodeFours(const unsigned char*& p, const unsigned char* end, zwchar*& o,
                                   const zwchar* outEnd) noexcept
{
    while (end - p >= 4 && outEnd - o >= 2) {
        std::uint32_t v;
        std::memcpy(&v, p, 4);
        if ((v & 0xC0C0C0F8) != 0x808080F0)
            return;
        const unsigned point = (v & 7) << 18 | (v << 4 & 0x3F000) | (v >> 10 & 0xFC0) | (v >> 24 & 0x3F);
        if (point < 0x10000 || point > 0x10FFFF)
            return;
        o[0] = static_cast<zwchar>(0xD7C0 + (point >> 10));
        o[1] = static_cast<zwchar>(0xDC00 | (point & 0x3FF));
        p += 4;
        o += 2;
    }
}

// The bytes that a step leaves behind it so that their units cover what it wrote too much.
constexpr int decodeMargin = 32;

ZTREE_SSE4 void decodeSse4(DecodeRun& run) noexcept
{
    const unsigned char* p = run.in;
    const unsigned char* const end = run.inEnd;
    zwchar* o = run.out;
    while (end - p >= 16 && run.outEnd - o >= 16) {
        const __m128i in = load(p);
        const unsigned nonAscii = static_cast<unsigned>(_mm_movemask_epi8(in));
        if (!nonAscii) {
            store(o, _mm_unpacklo_epi8(in, _mm_setzero_si128()));
            store(o + 8, _mm_unpackhi_epi8(in, _mm_setzero_si128()));
            p += 16;
            o += 16;
            while (end - p >= 64 && run.outEnd - o >= 64) {
                const __m128i a = load(p), b = load(p + 16), c = load(p + 32), d = load(p + 48);
                if (_mm_movemask_epi8(_mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d))))
                    break;
                const __m128i zero = _mm_setzero_si128();
                store(o, _mm_unpacklo_epi8(a, zero));
                store(o + 8, _mm_unpackhi_epi8(a, zero));
                store(o + 16, _mm_unpacklo_epi8(b, zero));
                store(o + 24, _mm_unpackhi_epi8(b, zero));
                store(o + 32, _mm_unpacklo_epi8(c, zero));
                store(o + 40, _mm_unpackhi_epi8(c, zero));
                store(o + 48, _mm_unpacklo_epi8(d, zero));
                store(o + 56, _mm_unpackhi_epi8(d, zero));
                p += 64;
                o += 64;
            }
            continue;
        }
        if (end - p < 16 + decodeMargin)
            break;
        if (*p >= 0xF0) {
            const unsigned char* const start = p;
            decodeFours(p, end, o, run.outEnd);
            if (p == start)
                break;
            continue;
        }
        const Block block = examine(in, nonAscii, (p[16] & 0xC0) == 0x80);
        if (!block.taken)
            break;
        o = put(in, block.ends, o);
        p += block.taken;
    }
    // The last bytes, and what fits the last room, unit by unit exact.
    while (p < end) {
        const std::ptrdiff_t left = end - p;
        const __m128i in = left >= 16 ? load(p) : loadPart(p, static_cast<int>(left));
        const Block block =
            examine(in, static_cast<unsigned>(_mm_movemask_epi8(in)), left > 16 && (p[16] & 0xC0) == 0x80);
        const int taken = static_cast<int>(std::min<std::ptrdiff_t>(block.taken, left));
        const unsigned ends = block.ends & ((1u << taken) - 1);
        const int units = __builtin_popcount(ends);
        if (!units || units > run.outEnd - o)
            break;
        __m128i w0, w1;
        unitsAt(in, w0, w1);
        const int units0 = __builtin_popcount(ends & 0xFF);
        storePart(o, _mm_shuffle_epi8(w0, load(lanes.shuffle[ends & 0xFF])), 2 * units0);
        storePart(o + units0, _mm_shuffle_epi8(w1, load(lanes.shuffle[ends >> 8])), 2 * (units - units0));
        o += units;
        p += taken;
    }
    run.in = p;
    run.out = o;
}

ZTREE_SSE4 void countSse4(DecodeRun& run) noexcept
{
    const unsigned char* p = run.in;
    const unsigned char* const end = run.inEnd;
    while (end - p > 16) {
        const __m128i in = load(p);
        const unsigned nonAscii = static_cast<unsigned>(_mm_movemask_epi8(in));
        if (!nonAscii) {
            p += 16;
            run.units += 16;
            continue;
        }
        const Block block = examine(in, nonAscii, (p[16] & 0xC0) == 0x80);
        if (!block.taken)
            break;
        p += block.taken;
        run.units += __builtin_popcount(block.ends);
    }
    run.in = p;
}

// Four units of the basic plane without surrogates to out: the bytes written, 16 are touched.
ZTREE_SSE4 inline int putFour(__m128i w, unsigned above7F, unsigned above7FF, unsigned char* out) noexcept
{
    const __m128i trail = _mm_set1_epi32(0x80);
    const __m128i low6 = _mm_set1_epi32(0x3F);
    const __m128i b2 = _mm_or_si128(_mm_and_si128(w, low6), trail);
    const __m128i high = _mm_srli_epi32(w, 6);
    const __m128i b1 = _mm_or_si128(_mm_and_si128(high, low6), trail);
    const __m128i b0 = _mm_or_si128(_mm_srli_epi32(w, 12), _mm_set1_epi32(0xE0));
    const __m128i three = _mm_or_si128(_mm_or_si128(b0, _mm_slli_epi32(b1, 8)), _mm_slli_epi32(b2, 16));
    const __m128i two = _mm_or_si128(_mm_or_si128(high, _mm_set1_epi32(0xC0)), _mm_slli_epi32(b2, 8));
    const __m128i is3 = _mm_cmpgt_epi32(w, _mm_set1_epi32(0x7FF));
    const __m128i is1 = _mm_cmpgt_epi32(trail, w);
    const __m128i all = _mm_blendv_epi8(_mm_blendv_epi8(two, three, is3), w, is1);
    // Interleaves 4 bits of each mask.
    static constexpr unsigned char spread[16] = {0x00, 0x01, 0x04, 0x05, 0x10, 0x11, 0x14, 0x15,
                                                 0x40, 0x41, 0x44, 0x45, 0x50, 0x51, 0x54, 0x55};
    const unsigned index = spread[above7F & 15] | static_cast<unsigned>(spread[above7FF & 15]) << 1;
    store(out, _mm_shuffle_epi8(all, load(triples.shuffle[index])));
    return triples.bytes[index];
}

// Surrogate pairs as long as they follow each other.
inline void encodePairs(const zwchar*& p, const zwchar* end, unsigned char*& o,
                        const unsigned char* outEnd) noexcept
{
    while (end - p >= 2 && outEnd - o >= 4 && (p[0] & 0xFC00) == 0xD800 && (p[1] & 0xFC00) == 0xDC00) {
        const std::uint32_t point = 0x10000 + ((p[0] & 0x3FFu) << 10) + (p[1] & 0x3FFu);
        const std::uint32_t v = 0x808080F0 | point >> 18 | (point >> 4 & 0x3F00) | (point << 10 & 0x3F0000) |
                                (point << 24 & 0x3F000000);
        std::memcpy(o, &v, 4);
        p += 2;
        o += 4;
    }
}

ZTREE_SSE4 inline unsigned laneMask(__m128i lanes16) noexcept
{
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_packs_epi16(lanes16, _mm_setzero_si128())));
}

ZTREE_SSE4 void encodeSse4(EncodeRun& run) noexcept
{
    const zwchar* p = run.in;
    const zwchar* const end = run.inEnd;
    unsigned char* o = run.out;
    const __m128i zero = _mm_setzero_si128();
    while (end - p >= 8) {
        const __m128i w = load(p);
        if (_mm_testz_si128(w, _mm_set1_epi16(static_cast<short>(0xFF80)))) {
            if (run.outEnd - o < 8)
                break;
            _mm_storel_epi64(reinterpret_cast<__m128i*>(o), _mm_packus_epi16(w, w));
            p += 8;
            o += 8;
            while (end - p >= 32 && run.outEnd - o >= 32) {
                const __m128i a = load(p), b = load(p + 8), c = load(p + 16), d = load(p + 24);
                const __m128i any = _mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d));
                if (!_mm_testz_si128(any, _mm_set1_epi16(static_cast<short>(0xFF80))))
                    break;
                store(o, _mm_packus_epi16(a, b));
                store(o + 16, _mm_packus_epi16(c, d));
                p += 32;
                o += 32;
            }
            continue;
        }
        // Behind the step 16 units stay, whose bytes cover what it wrote too much.
        if (end - p < 24 || run.outEnd - o < 40)
            break;
        const unsigned ascii =
            laneMask(_mm_cmpeq_epi16(_mm_and_si128(w, _mm_set1_epi16(static_cast<short>(0xFF80))), zero));
        const __m128i upper = _mm_and_si128(w, _mm_set1_epi16(static_cast<short>(0xF800)));
        if (_mm_testz_si128(upper, upper)) {
            const __m128i two =
                _mm_or_si128(_mm_or_si128(_mm_srli_epi16(w, 6), _mm_set1_epi16(static_cast<short>(0x80C0))),
                             _mm_slli_epi16(_mm_and_si128(w, _mm_set1_epi16(0x3F)), 8));
            const __m128i isAscii = _mm_cmpgt_epi16(_mm_set1_epi16(0x80), w);
            const __m128i all = _mm_blendv_epi8(two, w, isAscii);
            store(o, _mm_shuffle_epi8(all, load(pairs.shuffle[ascii])));
            o += 16 - __builtin_popcount(ascii);
            p += 8;
            continue;
        }
        if (laneMask(_mm_cmpeq_epi16(upper, _mm_set1_epi16(static_cast<short>(0xD800))))) {
            const zwchar* const start = p;
            encodePairs(p, end, o, run.outEnd);
            if (p == start)
                break;
            continue;
        }
        const unsigned above7FF = ~laneMask(_mm_cmpeq_epi16(upper, zero));
        o += putFour(_mm_unpacklo_epi16(w, zero), ~ascii, above7FF, o);
        o += putFour(_mm_unpackhi_epi16(w, zero), ~ascii >> 4, above7FF >> 4, o);
        p += 8;
    }
    run.in = p;
    run.out = o;
}

} // namespace

const Kernels sse4Kernels = {"sse4", decodeSse4, countSse4, encodeSse4};

} // namespace platform::utf8
