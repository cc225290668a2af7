#pragma once
// UTF-8 to and from UTF-16 behind toWide() and toNarrow(): a scalar body that knows every rule, and
// vector kernels that take the plain stretches off it.

#include <ztree/types.h>

namespace platform::utf8 {

/// Converts n > 0 bytes. The units written or, with out null, needed; -1 when they do not fit into
/// room, out then holds the characters that did. Nothing behind the result is written.
int decode(const char* s, int n, zwchar* out, int room) noexcept;
/// Converts n > 0 units, same rules.
int encode(const zwchar* w, int n, char* out, int room) noexcept;

/// A place in the input and one in the output. A kernel moves both as far as it gets with whole, good
/// characters, and may stop anywhere before the end; the scalar body then carries on for a stretch.
struct DecodeRun {
    const unsigned char* in;
    const unsigned char* inEnd;
    zwchar* out;
    zwchar* outEnd;
    long units; // counted instead of written when out is null
};
struct EncodeRun {
    const zwchar* in;
    const zwchar* inEnd;
    unsigned char* out;
    unsigned char* outEnd;
};
struct Kernels {
    const char* name;
    void (*decode)(DecodeRun& run) noexcept;
    void (*count)(DecodeRun& run) noexcept;
    void (*encode)(EncodeRun& run) noexcept;
};
extern const Kernels scalarKernels; // do nothing: all is left to the scalar body
extern const Kernels sse4Kernels;   // SSSE3, SSE4.1, POPCNT
extern const Kernels avx512Kernels; // AVX-512 F, BW, VL, VBMI, VBMI2, BMI2

/// The three above that this processor runs, best first; count says how many. For tests.
const Kernels* const* runnable(int& count) noexcept;
/// Sets the kernels for all threads; null chooses the best. For tests.
void use(const Kernels* kernels) noexcept;

} // namespace platform::utf8
