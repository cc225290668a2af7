#include "platform/fault.h"

#include <ztree/helpers.h>

#include <atomic>
#include <climits>
#include <cstdio>
#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

constexpr char digits[] = "0123456789ABCDEF";
constexpr unsigned lineBytes = 16;
constexpr unsigned lineRoom = 66;
constexpr unsigned hexColumn = 10;
constexpr unsigned textColumn = 47;

// Each line of a long dump asks about all that is left, so that a dump of n bytes would look at n * n / 2
// of them. A long range is looked at once; the rest that the next line will ask about is remembered in
// one word, and of a remembered rest only the line's own bytes are looked at again. Any thread may
// overwrite the word: that costs time, nothing else.
constexpr unsigned longRange = 1u << 16;
std::atomic<std::uintptr_t> s_checkedRest{0};

std::uintptr_t markOf(const unsigned char* data, unsigned length) noexcept
{
    return reinterpret_cast<std::uintptr_t>(data) * static_cast<std::uintptr_t>(0x9E3779B97F4A7C15u) + length;
}

bool canRead(const unsigned char* data, unsigned length) noexcept
{
    if (length <= longRange)
        return platform::isReadable(data, length);
    const bool checked = s_checkedRest.load(std::memory_order_relaxed) == markOf(data, length);
    if (!platform::isReadable(data, checked ? lineBytes : length))
        return false;
    s_checkedRest.store(markOf(data + lineBytes, length - lineBytes), std::memory_order_relaxed);
    return true;
}

// _snprintf: the length, or -1 for a text that was cut; no terminator unless there is room for it.
int writeUnreadable(const unsigned char* data, unsigned length, unsigned char* line, unsigned size) noexcept
{
    char text[128];
    const int n = std::snprintf(
        text, sizeof text, "*** formatDump: memory read error at address 0x%llX for %u byte\r\n",
        static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(data)), length);
    const unsigned count = static_cast<unsigned>(n);
    if (line)
        std::memcpy(line, text, count < size ? count + 1 : size);
    return line && count <= size ? n : -1;
}

#if defined(__SSE2__)
inline __m128i hexOf(__m128i nibbles) noexcept
{
    const __m128i letters =
        _mm_and_si128(_mm_cmpgt_epi8(nibbles, _mm_set1_epi8(9)), _mm_set1_epi8('A' - '0' - 10));
    return _mm_add_epi8(_mm_add_epi8(nibbles, _mm_set1_epi8('0')), letters);
}

inline void put8(unsigned char* at, __m128i v) noexcept
{
    _mm_storel_epi64(reinterpret_cast<__m128i*>(at), v);
}

void writeFullLine(const unsigned char* data, unsigned char* line) noexcept
{
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data));
    const __m128i low = _mm_set1_epi8(15);
    const __m128i high4 = _mm_and_si128(_mm_srli_epi16(v, 4), low);
    const __m128i low4 = _mm_and_si128(v, low);
    const __m128i first = hexOf(_mm_unpacklo_epi8(high4, low4));
    const __m128i second = hexOf(_mm_unpackhi_epi8(high4, low4));
    put8(line + hexColumn, first);
    line[hexColumn + 8] = ' ';
    put8(line + hexColumn + 9, _mm_srli_si128(first, 8));
    line[hexColumn + 17] = ' ';
    put8(line + hexColumn + 18, second);
    line[hexColumn + 26] = ' ';
    put8(line + hexColumn + 27, _mm_srli_si128(second, 8));
    line[hexColumn + 35] = ' ';
    line[hexColumn + 36] = ' ';
    const __m128i printable =
        _mm_and_si128(_mm_cmpgt_epi8(v, _mm_set1_epi8(0x1F)), _mm_cmplt_epi8(v, _mm_set1_epi8(0x7F)));
    const __m128i shown =
        _mm_or_si128(_mm_and_si128(printable, v), _mm_andnot_si128(printable, _mm_set1_epi8('.')));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(line + textColumn), shown);
}
#endif

void writeLine(const unsigned char* data, std::size_t n, unsigned char* line) noexcept
{
    std::memset(line + hexColumn, ' ', textColumn - hexColumn);
    for (std::size_t i = 0; i < n; ++i) {
        unsigned char* at = line + hexColumn + 2 * i + i / 4;
        at[0] = static_cast<unsigned char>(digits[data[i] >> 4]);
        at[1] = static_cast<unsigned char>(digits[data[i] & 15]);
        line[textColumn + i] = data[i] >= 0x20 && data[i] < 0x7F ? data[i] : '.';
    }
}

} // namespace

int formatDump(unsigned long address, const unsigned char* data, unsigned int length, unsigned char* line,
               unsigned int size)
{
    if (!canRead(data, length))
        return writeUnreadable(data, length, line, size);
    if (size < lineRoom || !line)
        return -1;
    const unsigned n = length < lineBytes ? length : lineBytes;
    for (unsigned i = 0; i < 8; ++i)
        line[i] = static_cast<unsigned char>(digits[address >> (28 - 4 * i) & 15]);
    line[8] = ':';
    line[9] = ' ';
#if defined(__SSE2__)
    if (n == lineBytes)
        writeFullLine(data, line);
    else
#endif
        writeLine(data, n, line);
    unsigned char* end = line + textColumn + n;
    end[0] = '\r';
    end[1] = '\n';
    end[2] = 0;
    return static_cast<int>(n);
}

int dumpSize(unsigned long bytes)
{
    // Kept: 64 a line, one less than a full line has; callers take it as a growth step only.
    const std::uint64_t room = (std::uint64_t{bytes} + 15) / 16 * 64 | 1;
    return room < INT_MAX ? static_cast<int>(room) : INT_MAX;
}
