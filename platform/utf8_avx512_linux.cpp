// Vector kernels for processors that can compress bytes (AVX-512 VBMI2): 64 bytes, or 32 units, a step.
// The method is that of the smaller kernels; masks say where characters end, and masked loads and
// stores take the rests, so that nothing beside the text is touched.

#include "platform/utf8_linux.h"

#if !defined(__clang__) // g++ 12 takes the don't-care operands inside its own intrinsics for mistakes
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>

#define ZTREE_AVX512                                                                                         \
    __attribute__((target("avx512f,avx512bw,avx512vl,avx512vbmi,avx512vbmi2,bmi,bmi2,lzcnt,popcnt")))

namespace platform::utf8 {

namespace {

using Mask = unsigned long long;

ZTREE_AVX512 inline __m512i bytes(int v) noexcept
{
    return _mm512_set1_epi8(static_cast<char>(v));
}

ZTREE_AVX512 inline __m512i dwords(unsigned v) noexcept
{
    return _mm512_set1_epi32(static_cast<int>(v));
}

ZTREE_AVX512 inline Mask lowest(long n) noexcept
{
    return _bzhi_u64(~0ull, static_cast<unsigned>(n));
}

// v moved up by n bytes; the lowest n bytes hold those of the top.
ZTREE_AVX512 inline __m512i byteIndexes(int n) noexcept
{
    alignas(64) static constexpr auto ascending = [] {
        struct {
            unsigned char v[64] = {};
        } all;
        for (unsigned char i = 0; i < 64; ++i)
            all.v[i] = i;
        return all;
    }();
    return _mm512_sub_epi8(_mm512_load_si512(ascending.v), bytes(n));
}

// Bytes that do not suit the byte before them (overlong, surrogate, above U+10FFFF) or follow no lead at
// all: the classes of that byte's two halves and of their own upper half share a bit.
ZTREE_AVX512 inline Mask misfits(__m512i in, __m512i before) noexcept
{
    enum : char { over2 = 1, over3 = 2, surrogate = 4, over4 = 8, large = 16, none = 32 };
    const __m512i beforeHigh = _mm512_broadcast_i32x4(
        _mm_setr_epi8(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, over2, 0, over3 | surrogate, over4 | large | none));
    const __m512i beforeLow =
        _mm512_broadcast_i32x4(_mm_setr_epi8(over2 | over3 | over4, over2, 0, 0, large, none, none, none,
                                             none, none, none, none, none, none | surrogate, none, none));
    const __m512i own = _mm512_broadcast_i32x4(
        _mm_setr_epi8(0, 0, 0, 0, 0, 0, 0, 0, over2 | over3 | over4 | none, over2 | over3 | large | none,
                      over2 | surrogate | large | none, over2 | surrogate | large | none, 0, 0, 0, 0));
    const __m512i low4 = bytes(0x0F);
    const __m512i a = _mm512_shuffle_epi8(beforeHigh, _mm512_and_si512(_mm512_srli_epi16(before, 4), low4));
    const __m512i b = _mm512_shuffle_epi8(beforeLow, _mm512_and_si512(before, low4));
    const __m512i c = _mm512_shuffle_epi8(own, _mm512_and_si512(_mm512_srli_epi16(in, 4), low4));
    return _mm512_test_epi8_mask(_mm512_and_si512(a, b), c);
}

struct Block {
    Mask ends; // bit i: a unit ends with byte i; the high surrogate of 4 bytes ends with the third
    Mask trail;
    Mask third; // the third byte of 3
    Mask high;  // the third byte of 4
    int taken;  // bytes of whole, good characters; 0 when the block does not begin with one
};

// The characters in `in`, of which the bytes of `here` belong to the text; the first begins a
// character, and trailAfter tells whether a trail byte follows.
ZTREE_AVX512 inline Block examine(__m512i in, __m512i before, Mask nonAscii, Mask here,
                                  bool trailAfter) noexcept
{
    Block block;
    block.trail = _mm512_cmplt_epi8_mask(in, bytes(0xC0));
    const Mask lead = nonAscii & ~block.trail;
    const Mask lead3 = _mm512_cmpge_epu8_mask(in, bytes(0xE0));
    const Mask lead4 = _mm512_cmpge_epu8_mask(in, bytes(0xF0));
    block.ends = ~(block.trail >> 1 | static_cast<Mask>(trailAfter) << 63) & here;
    block.taken = 64 - static_cast<int>(_lzcnt_u64(block.ends));
    // Where trail bytes are due they must be, and nowhere else; the byte behind must not be due either.
    const Mask due = lead << 1 | lead3 << 2 | lead4 << 3;
    // Arithmetic, since nothing foretells whether a character ends with the block.
    const Mask behind = (lead >> 63 | lead3 >> 62 | lead4 >> 61) & (0 - (block.ends >> 63));
    const Mask bad = ((due ^ block.trail) | misfits(in, before)) & lowest(block.taken + 1);
    if (bad | behind)
        block.taken = 0;
    block.third = (lead3 & ~lead4) << 2;
    block.high = lead4 << 2 & lowest(block.taken);
    block.ends |= block.high;
    return block;
}

// Writes the n units whose bytes stand at `ends`; those of mask `highs`, counted in units, are the first
// halves of pairs.
ZTREE_AVX512 inline void putUnits(zwchar* o, long n, __m512i low, __m512i high, Mask ends,
                                  Mask highs) noexcept
{
    const __m512i interleave = _mm512_setr_epi64(0, 4, 1, 5, 2, 6, 3, 7);
    low = _mm512_permutexvar_epi64(interleave, _mm512_maskz_compress_epi8(ends, low));
    high = _mm512_permutexvar_epi64(interleave, _mm512_maskz_compress_epi8(ends, high));
    __m512i w0 = _mm512_unpacklo_epi8(low, high);
    __m512i w1 = _mm512_unpackhi_epi8(low, high);
    if (highs) {
        const __m512i base = _mm512_set1_epi16(static_cast<short>(0xD7C0));
        w0 = _mm512_mask_add_epi16(w0, static_cast<__mmask32>(highs), w0, base);
        w1 = _mm512_mask_add_epi16(w1, static_cast<__mmask32>(highs >> 32), w1, base);
    }
    const Mask written = lowest(n);
    _mm512_mask_storeu_epi16(o, static_cast<__mmask32>(written), w0);
    if (n > 32)
        _mm512_mask_storeu_epi16(o + 32, static_cast<__mmask32>(written >> 32), w1);
}

template <bool write> ZTREE_AVX512 inline void decodeAll(DecodeRun& run) noexcept
{
    const unsigned char* p = run.in;
    const unsigned char* const end = run.inEnd;
    zwchar* o = run.out;
    long units = 0;
    const __m512i up1 = byteIndexes(1);
    const __m512i up2 = byteIndexes(2);
    while (p < end) {
        const long left = end - p;
        const Mask here = left >= 64 ? ~0ull : lowest(left);
        const __m512i in = left >= 64 ? _mm512_loadu_si512(p) : _mm512_maskz_loadu_epi8(here, p);
        const Mask nonAscii = _mm512_movepi8_mask(in);
        if (!nonAscii) {
            const long n = left >= 64 ? 64 : left;
            if (write) {
                if (run.outEnd - o < n)
                    break;
                const __m512i w0 = _mm512_cvtepu8_epi16(_mm512_castsi512_si256(in));
                const __m512i w1 = _mm512_cvtepu8_epi16(_mm512_extracti64x4_epi64(in, 1));
                if (n == 64) {
                    _mm512_storeu_si512(o, w0);
                    _mm512_storeu_si512(o + 32, w1);
                } else {
                    _mm512_mask_storeu_epi16(o, static_cast<__mmask32>(here), w0);
                    if (n > 32)
                        _mm512_mask_storeu_epi16(o + 32, static_cast<__mmask32>(here >> 32), w1);
                }
                o += n;
            }
            units += n;
            p += n;
            continue;
        }
        const __m512i before = _mm512_permutexvar_epi8(up1, in);
        const bool trailAfter = left > 64 && (p[64] & 0xC0) == 0x80;
        // Most alphabets need no more than two bytes a character, and much less care.
        if (!_mm512_cmpge_epu8_mask(in, bytes(0xE0))) {
            const Mask trail = _mm512_cmplt_epi8_mask(in, bytes(0xC0));
            const Mask lead = nonAscii & ~trail;
            const Mask overlong = _mm512_mask_cmplt_epu8_mask(lead, in, bytes(0xC2));
            const Mask ends = ~(trail >> 1 | static_cast<Mask>(trailAfter) << 63) & here;
            const int taken = 64 - static_cast<int>(_lzcnt_u64(ends));
            const Mask bad = ((lead << 1 ^ trail) | overlong) & lowest(taken + 1);
            const Mask behind = (lead & ends) >> 63;
            const long n = _mm_popcnt_u64(ends);
            if (!(bad | behind) && ends && (!write || run.outEnd - o >= n)) {
                if (write) {
                    const __m512i b1 = _mm512_maskz_mov_epi8(trail, before);
                    const __m512i low =
                        _mm512_ternarylogic_epi32(_mm512_mask_sub_epi8(in, trail, in, bytes(0x80)),
                                                  _mm512_slli_epi16(b1, 6), bytes(0xC0), 0xF8); // a | b & c
                    putUnits(o, n, low, _mm512_and_si512(_mm512_srli_epi16(b1, 2), bytes(0x07)), ends, 0);
                    o += n;
                }
                units += n;
                p += taken;
                continue;
            }
        }
        const Block block = examine(in, before, nonAscii, here, trailAfter);
        if (!block.taken)
            break;
        const long n = _mm_popcnt_u64(block.ends);
        if (!write) {
            units += n;
            p += block.taken;
            continue;
        }
        if (run.outEnd - o < n)
            break;
        // The unit that would end at each byte, in two halves.
        const __m512i b0 = _mm512_mask_sub_epi8(in, block.trail, in, bytes(0x80));
        const __m512i b1 = _mm512_maskz_mov_epi8(block.trail, before);
        const __m512i b2 = _mm512_maskz_permutexvar_epi8(block.third, up2, in);
        __m512i low = _mm512_ternarylogic_epi32(b0, _mm512_slli_epi16(b1, 6), bytes(0xC0), 0xF8); // a | b & c
        __m512i high =
            _mm512_ternarylogic_epi32(bytes(0x0F), _mm512_srli_epi16(b1, 2), _mm512_slli_epi16(b2, 4),
                                      0xCA); // a ? b : c
        if (block.high) {
            const __m512i lead = _mm512_permutexvar_epi8(up2, in);
            const __m512i low4 =
                _mm512_ternarylogic_epi32(_mm512_and_si512(_mm512_srli_epi16(b0, 4), bytes(3)),
                                          _mm512_slli_epi16(b1, 2), bytes(0xFC), 0xF8);
            low = _mm512_mask_mov_epi8(low, block.high, low4);
            const __m512i trailing =
                _mm512_ternarylogic_epi32(bytes(0xDC), _mm512_srli_epi16(b1, 2), bytes(3), 0xF8);
            high = _mm512_mask_mov_epi8(high, block.high << 1, trailing);
            high = _mm512_mask_mov_epi8(high, block.high, _mm512_and_si512(lead, bytes(7)));
        }
        putUnits(o, n, low, high, block.ends, block.high ? _pext_u64(block.high, block.ends) : 0);
        o += n;
        p += block.taken;
    }
    run.in = p;
    run.out = o;
    run.units += units;
}

ZTREE_AVX512 void decodeAvx512(DecodeRun& run) noexcept
{
    decodeAll<true>(run);
}

ZTREE_AVX512 void countAvx512(DecodeRun& run) noexcept
{
    decodeAll<false>(run);
}

// Writes the bytes of v that keep names; false when they do not fit.
ZTREE_AVX512 inline bool putBytes(EncodeRun& run, __m512i v, Mask keep) noexcept
{
    const long n = _mm_popcnt_u64(keep);
    if (run.outEnd - run.out < n)
        return false;
    _mm512_mask_storeu_epi8(run.out, lowest(n), _mm512_maskz_compress_epi8(keep, v));
    run.out += n;
    return true;
}

// Masks of 16 units, of one kind each, for units in 32-bit lanes.
struct Kinds {
    Mask used; // all but the first units of pairs
    Mask above7F;
    Mask above7FF;
    Mask second; // second units of pairs, which stand for the whole pair
};

// 16 units d, each with the unit before it.
ZTREE_AVX512 inline bool putSixteen(EncodeRun& run, __m512i d, __m512i before, Kinds kinds) noexcept
{
    const auto k16 = [](Mask m) { return static_cast<__mmask16>(m); };
    const __m512i field1 = dwords(0x3F00), field2 = dwords(0x3F0000);
    const __m512i two = _mm512_or_si512(
        _mm512_ternarylogic_epi32(_mm512_srli_epi32(d, 6), _mm512_slli_epi32(d, 8), field1, 0xF8),
        dwords(0x80C0));
    __m512i three =
        _mm512_ternarylogic_epi32(_mm512_srli_epi32(d, 12), _mm512_slli_epi32(d, 2), field1, 0xF8);
    three = _mm512_ternarylogic_epi32(three, _mm512_slli_epi32(d, 16), field2, 0xF8);
    three = _mm512_or_si512(three, dwords(0x8080E0));
    __m512i v = _mm512_mask_mov_epi32(d, k16(kinds.above7F), two);
    v = _mm512_mask_mov_epi32(v, k16(kinds.above7FF), three);
    const Mask used = kinds.used & 0xFFFF;
    Mask keep = _pdep_u64(used, 0x1111111111111111u) | _pdep_u64(kinds.above7F & used, 0x2222222222222222u) |
                _pdep_u64(kinds.above7FF & used, 0x4444444444444444u);
    if (kinds.second & 0xFFFF) {
        const __m512i point = _mm512_add_epi32(_mm512_add_epi32(_mm512_slli_epi32(before, 10), d),
                                               dwords(0x10000u - (0xD800u << 10) - 0xDC00u));
        __m512i four = _mm512_ternarylogic_epi32(_mm512_srli_epi32(point, 18), _mm512_srli_epi32(point, 4),
                                                 field1, 0xF8);
        four = _mm512_ternarylogic_epi32(four, _mm512_slli_epi32(point, 10), field2, 0xF8);
        four = _mm512_ternarylogic_epi32(four, _mm512_slli_epi32(point, 24), dwords(0x3F000000), 0xF8);
        v = _mm512_mask_mov_epi32(v, k16(kinds.second), _mm512_or_si512(four, dwords(0x808080F0)));
        keep |= _pdep_u64(kinds.second & 0xFFFF, 0x8888888888888888u);
    }
    return putBytes(run, v, keep);
}

ZTREE_AVX512 void encodeAvx512(EncodeRun& run) noexcept
{
    const __m512i top5 = _mm512_set1_epi16(static_cast<short>(0xF800));
    const __m512i surrogate = _mm512_set1_epi16(static_cast<short>(0xD800));
    while (run.in < run.inEnd) {
        const long left = run.inEnd - run.in;
        long n = left >= 32 ? 32 : left;
        __mmask32 here = static_cast<__mmask32>(lowest(n));
        __m512i w = _mm512_maskz_loadu_epi16(here, run.in);
        const __mmask32 above7F = _mm512_cmpge_epu16_mask(w, _mm512_set1_epi16(0x80));
        if (!above7F) {
            if (run.outEnd - run.out < n)
                return;
            _mm256_mask_storeu_epi8(run.out, here, _mm512_cvtepi16_epi8(w));
            run.in += n;
            run.out += n;
            continue;
        }
        const __mmask32 above7FF = _mm512_cmpge_epu16_mask(w, _mm512_set1_epi16(0x800));
        if (!above7FF) {
            const __m512i tags = _mm512_set1_epi16(static_cast<short>(0x80C0));
            const __m512i two =
                _mm512_ternarylogic_epi32(_mm512_or_si512(_mm512_srli_epi16(w, 6), tags),
                                          _mm512_slli_epi16(w, 8), _mm512_set1_epi16(0x3F00), 0xF8);
            const Mask keep = _pdep_u64(above7F, 0xAAAAAAAAAAAAAAAAu) | _pdep_u64(here, 0x5555555555555555u);
            if (!putBytes(run, _mm512_mask_mov_epi16(w, above7F, two), keep))
                return;
            run.in += n;
            continue;
        }
        Kinds kinds{here, above7F, above7FF, 0};
        __m512i before = w;
        if (_mm512_cmpeq_epi16_mask(_mm512_and_si512(w, top5), surrogate)) {
            const __m512i top6 = _mm512_set1_epi16(static_cast<short>(0xFC00));
            const __m512i kind = _mm512_and_si512(w, top6);
            const __mmask32 first = _mm512_cmpeq_epi16_mask(kind, surrogate);
            const __mmask32 second =
                _mm512_cmpeq_epi16_mask(kind, _mm512_set1_epi16(static_cast<short>(0xDC00)));
            if (n == 32 && left > 32 && first >> 31) { // its partner is in the next block
                n = 31;
                here >>= 1;
            }
            kinds.second = second & first << 1 & here;
            const __mmask32 paired = first & second >> 1;
            kinds.used = here & ~paired;
            const __mmask32 alone = (first & ~paired) | (second & ~(first << 1));
            before = _mm512_maskz_permutexvar_epi16(
                0xFFFFFFFE,
                _mm512_add_epi16(_mm512_set1_epi16(-1),
                                 _mm512_cvtepu8_epi16(_mm512_castsi512_si256(byteIndexes(0)))),
                w);
            w = _mm512_mask_mov_epi16(w, alone, _mm512_set1_epi16(static_cast<short>(0xFFFD)));
        }
        unsigned char* const start = run.out;
        const Kinds upper{kinds.used >> 16, kinds.above7F >> 16, kinds.above7FF >> 16, kinds.second >> 16};
        if (!putSixteen(run, _mm512_cvtepu16_epi32(_mm512_castsi512_si256(w)),
                        _mm512_cvtepu16_epi32(_mm512_castsi512_si256(before)), kinds) ||
            !putSixteen(run, _mm512_cvtepu16_epi32(_mm512_extracti64x4_epi64(w, 1)),
                        _mm512_cvtepu16_epi32(_mm512_extracti64x4_epi64(before, 1)), upper)) {
            run.out = start;
            return;
        }
        run.in += n;
    }
}

} // namespace

const Kernels avx512Kernels = {"avx512", decodeAvx512, countAvx512, encodeAvx512};

} // namespace platform::utf8
