#include "platform/utf8_linux.h"

#include <emmintrin.h>

#include <algorithm>
#include <atomic>
#include <limits>

namespace platform::utf8 {

namespace {

void leaveAll(DecodeRun&) noexcept {}
void leaveAll(EncodeRun&) noexcept {}
void choose(DecodeRun& run) noexcept;
void count(DecodeRun& run) noexcept;
void choose(EncodeRun& run) noexcept;

// Until the first call the kernels in use are these, which choose and pass on.
constexpr Kernels choosingKernels = {"choosing", choose, count, choose};
std::atomic<const Kernels*> inUse{&choosingKernels};

inline const Kernels& kernels() noexcept
{
    return *inUse.load(std::memory_order_relaxed);
}

void choose(DecodeRun& run) noexcept
{
    use(nullptr);
    kernels().decode(run);
}

void count(DecodeRun& run) noexcept
{
    use(nullptr);
    kernels().count(run);
}

void choose(EncodeRun& run) noexcept
{
    use(nullptr);
    kernels().encode(run);
}

constexpr unsigned bad = 0xFFFD;
// What the scalar body takes before it offers the rest to the kernels again: as long as a vector, so
// that a text full of bad bytes does not try one kernel call for each of them.
constexpr std::ptrdiff_t stretch = 64;

inline bool isTrail(unsigned c) noexcept
{
    return (c & 0xC0) == 0x80;
}

// The character at p, which it moves on. Where a sequence is bad, one U+FFFD stands for the lead byte
// and the trail bytes behind it that were read before that showed; a second byte that makes the sequence
// overlong or a surrogate is among them. A sequence that is longer than the rest of the text takes all of
// that rest, whatever it holds.
inline unsigned next(const unsigned char*& p, const unsigned char* end) noexcept
{
    const unsigned lead = *p++;
    if (lead < 0x80)
        return lead;
    if (lead < 0xC2 || lead > 0xF4)
        return bad;
    const int trails = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    if (end - p < trails) {
        p = end;
        return bad;
    }
    if (!isTrail(p[0]))
        return bad;
    if (trails == 1)
        return (lead & 0x1F) << 6 | (*p++ & 0x3Fu);
    const unsigned two = (lead & 0x0F) << 6 | (*p++ & 0x3Fu);
    if (trails == 2) {
        if (two < 0x20 || (two >= 0x360 && two < 0x380) || !isTrail(p[0])) // overlong, a surrogate
            return bad;
        return two << 6 | (*p++ & 0x3Fu);
    }
    if (two < 0x10 || two >= 0x110 || !isTrail(p[0])) // overlong, above U+10FFFF
        return bad;
    const unsigned three = two << 6 | (*p++ & 0x3Fu);
    if (!isTrail(p[0]))
        return bad;
    return three << 6 | (*p++ & 0x3Fu);
}

// The character at p, which it moves on; an unpaired surrogate is U+FFFD.
inline unsigned next(const zwchar*& p, const zwchar* end) noexcept
{
    const unsigned c = *p++;
    if ((c & 0xF800) != 0xD800)
        return c;
    if (c >= 0xDC00 || p == end || (*p & 0xFC00) != 0xDC00)
        return bad;
    return 0x10000 + ((c - 0xD800) << 10) + (*p++ - 0xDC00u);
}

inline int bytesOf(unsigned c) noexcept
{
    return c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
}

inline unsigned char* put(unsigned char* o, unsigned c) noexcept
{
    const auto trail = [](unsigned bits) { return static_cast<unsigned char>(0x80 | (bits & 0x3F)); };
    if (c < 0x80) {
        *o++ = static_cast<unsigned char>(c);
        return o;
    }
    if (c < 0x800) {
        *o++ = static_cast<unsigned char>(0xC0 | c >> 6);
    } else {
        if (c < 0x10000) {
            *o++ = static_cast<unsigned char>(0xE0 | c >> 12);
        } else {
            *o++ = static_cast<unsigned char>(0xF0 | c >> 18);
            *o++ = trail(c >> 12);
        }
        *o++ = trail(c >> 6);
    }
    *o++ = trail(c);
    return o;
}

int countUnits(DecodeRun& run) noexcept
{
    run.units = 0;
    for (;;) {
        kernels().count(run);
        const unsigned char* const stop = run.in + std::min(run.inEnd - run.in, stretch);
        while (run.in < stop)
            run.units += next(run.in, run.inEnd) < 0x10000 ? 1 : 2;
        if (run.in == run.inEnd)
            return static_cast<int>(run.units);
    }
}

inline bool isPair(const zwchar* w) noexcept
{
    return (w[0] & 0xFC00) == 0xD800 && (w[1] & 0xFC00) == 0xDC00;
}

// 3 bytes a unit, less 1 below 800, 1 more below 80, and 2 for a pair, which takes 4.
int countBytes(const zwchar* w, int n) noexcept
{
    const auto equal = [](__m128i v, int mask, int value) {
        return _mm_cmpeq_epi16(_mm_and_si128(v, _mm_set1_epi16(static_cast<short>(mask))),
                               _mm_set1_epi16(static_cast<short>(value)));
    };
    long less = 0;
    int i = 0;
    while (n - i > 8) {
        __m128i sum = _mm_setzero_si128(); // eight counts of 16 bits, each up to 4 more a step
        for (int step = 0; step < 16000 && n - i > 8; ++step, i += 8) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(w + i));
            const __m128i next = _mm_loadu_si128(reinterpret_cast<const __m128i*>(w + i + 1));
            const __m128i pair = _mm_and_si128(equal(v, 0xFC00, 0xD800), equal(next, 0xFC00, 0xDC00));
            sum = _mm_add_epi16(sum, _mm_add_epi16(equal(v, 0xFF80, 0), equal(v, 0xF800, 0)));
            sum = _mm_add_epi16(sum, _mm_add_epi16(pair, pair));
        }
        alignas(16) std::uint16_t counts[8];
        _mm_store_si128(reinterpret_cast<__m128i*>(counts), _mm_sub_epi16(_mm_setzero_si128(), sum));
        for (const std::uint16_t count : counts)
            less += count;
    }
    for (; i < n; ++i)
        less += (w[i] < 0x80) + (w[i] < 0x800) + 2 * (i + 1 < n && isPair(w + i));
    const long bytes = 3L * n - less;
    return bytes > std::numeric_limits<int>::max() ? -1 : static_cast<int>(bytes);
}

} // namespace

int decode(const char* s, int n, zwchar* out, int room) noexcept
{
    const auto* in = reinterpret_cast<const unsigned char*>(s);
    DecodeRun run{in, in + n, out, out, 0};
    if (!out)
        return countUnits(run);
    run.outEnd = out + room;
    for (;;) {
        kernels().decode(run);
        const unsigned char* const stop = run.in + std::min(run.inEnd - run.in, stretch);
        while (run.in < stop) {
            if (run.out == run.outEnd)
                return -1;
            const unsigned c = next(run.in, run.inEnd);
            if (c < 0x10000) {
                *run.out++ = static_cast<zwchar>(c);
                continue;
            }
            *run.out++ = static_cast<zwchar>(0xD7C0 + (c >> 10));
            if (run.out == run.outEnd) // the system lets half a pair pass at the end of the text, only there
                return run.in == run.inEnd ? static_cast<int>(run.out - out) : -1;
            *run.out++ = static_cast<zwchar>(0xDC00 | (c & 0x3FF));
        }
        if (run.in == run.inEnd)
            return static_cast<int>(run.out - out);
    }
}

int encode(const zwchar* w, int n, char* out, int room) noexcept
{
    if (!out)
        return countBytes(w, n);
    auto* const start = reinterpret_cast<unsigned char*>(out);
    EncodeRun run{w, w + n, start, start + room};
    for (;;) {
        kernels().encode(run);
        const zwchar* const stop = run.in + std::min(run.inEnd - run.in, stretch);
        while (run.in < stop) {
            const unsigned c = next(run.in, run.inEnd);
            if (run.outEnd - run.out < bytesOf(c))
                return -1;
            run.out = put(run.out, c);
        }
        if (run.in == run.inEnd)
            return static_cast<int>(run.out - start);
    }
}

const Kernels scalarKernels = {"scalar", leaveAll, leaveAll, leaveAll};

const Kernels* const* runnable(int& count) noexcept
{
    static const Kernels* const all[] = {&avx512Kernels, &sse4Kernels, &scalarKernels};
    __builtin_cpu_init();
    if (!__builtin_cpu_supports("ssse3") || !__builtin_cpu_supports("sse4.1") ||
        !__builtin_cpu_supports("popcnt")) {
        count = 1;
        return all + 2;
    }
    if (!__builtin_cpu_supports("avx512f") || !__builtin_cpu_supports("avx512bw") ||
        !__builtin_cpu_supports("avx512vl") || !__builtin_cpu_supports("avx512vbmi") ||
        !__builtin_cpu_supports("avx512vbmi2") || !__builtin_cpu_supports("bmi2")) {
        count = 2;
        return all + 1;
    }
    count = 3;
    return all;
}

void use(const Kernels* kernels) noexcept
{
    int count = 0;
    inUse.store(kernels ? kernels : *runnable(count), std::memory_order_relaxed);
}

} // namespace platform::utf8
