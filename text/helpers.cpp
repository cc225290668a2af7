// Helpers over raw characters, numbers and buffers.

#include "text/search.h"
#include "text/units.h"

#include <ztree/text.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <cwctype>
#include <string>

namespace {

// Value of a hexadecimal digit of either case, -1 for another unit.
template <class Ch> int digitValue(Ch c) noexcept
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

template <class Ch> int numberOf(const Ch* s, int n, int base) noexcept
{
    if (!s)
        return 0;
    unsigned value = 0;
    bool negative = false, digits = false;
    for (int i = 0; i < n; ++i) {
        const int digit = digitValue(s[i]);
        if (digit >= 0 && digit < base) {
            value = value * static_cast<unsigned>(base) + static_cast<unsigned>(digit);
            digits = true;
        } else if (!digits && s[i] == '-') {
            negative = true;
        } else if (digits || s[i] != ' ') {
            break;
        }
    }
    return static_cast<int>(negative ? 0u - value : value);
}

template <class Ch> bool filled(const Ch* s, int n, Ch filler) noexcept
{
    for (int i = 0; s && i < n && s[i]; ++i)
        if (s[i] != filler)
            return true;
    return false;
}

template <class Ch> int estimateUtf8(const Ch* s, int n) noexcept
{
    unsigned bytes = 0;
    for (int i = 0; s && i < n && s[i]; ++i)
        bytes += static_cast<std::make_unsigned_t<decltype(+s[i])>>(s[i]) < 128u ? 1 : 2;
    return static_cast<int>(bytes);
}

bool sameBytes(const char* a, const char* b, int len) noexcept
{
    if (len < 0)
        return std::strcmp(a, b) == 0;
    // Not memcmp: it may read behind a terminator that ends the shorter text.
    for (int i = 0; i < len; ++i)
        if (a[i] != b[i])
            return false;
    return true;
}

bool isDigit(char c) noexcept
{
    return c >= '0' && c <= '9';
}

// The first place of [p, p + m), m > 0, in the terminated text; null when there is none.
const zwchar* findText(const zwchar* s, const zwchar* p, std::size_t m) noexcept
{
    std::size_t have = 0;
    while (have < m && s[have])
        ++have;
    if (have < m)
        return nullptr;
    const scan::Window wanted(p, m);
    for (scan::Window at(s, m);; at.slide(s[0], s[m]), ++s) {
        if (at == wanted && std::equal(p, p + m, s))
            return s;
        if (!s[m])
            return nullptr;
    }
}

int lineFeeds(const zwchar* from, const zwchar* to) noexcept
{
    return static_cast<int>(std::count(from, to, zwchar{'\n'}));
}

} // namespace

namespace ztree::detail {

// Kept: behind a failed partial match at i the search goes on at i + 2; callers rely on the places found.
const char* findBytes(const char* hay, std::size_t n, const char* needle, std::size_t m) noexcept
{
    if (!hay || !needle || m > n)
        return nullptr;
    if (m == 0)
        return hay;
    // Each equal first byte takes the one behind it along: of a run of them every other is a start.
    const std::size_t hit = scan::text(hay, 0, n, needle, m,
                                       [hay](std::size_t i) { return scan::runBefore(hay, 0, i) % 2 == 0; });
    return hit == scan::none ? nullptr : hay + hit;
}

std::size_t findText(const char* hay, std::size_t n, std::size_t from, const char* needle,
                     std::size_t m) noexcept
{
    return scan::text(hay, from, n, needle, m, [](std::size_t) { return true; });
}
std::size_t findText(const zwchar* hay, std::size_t n, std::size_t from, const zwchar* needle,
                     std::size_t m) noexcept
{
    return scan::text(hay, from, n, needle, m, [](std::size_t) { return true; });
}

} // namespace ztree::detail

// --- numbers ---
int atox(const char* hex, int len, char* out, int outSize, bool right)
{
    if (!hex || !out || len < 1)
        return 0;
    if (outSize > 0 && len / 2 >= outSize && len > std::int64_t{outSize} * 2) {
        // Kept: of a text that is too long only outSize digits are taken, not the 2 * outSize that fit.
        if (right)
            hex += len - outSize * 2;
        len = outSize;
    }
    int digits = 0;
    while (digits < len && digitValue(hex[digits]) >= 0)
        ++digits;
    int written = 0, i = 0;
    if (digits % 2)
        out[written++] = static_cast<char>(digitValue(hex[i++]));
    for (; i < digits; i += 2)
        out[written++] = static_cast<char>(digitValue(hex[i]) * 16 + digitValue(hex[i + 1]));
    return written;
}

int atoin(const char* s, int n)
{
    return numberOf(s, n, 10);
}
int xtoin(const char* s, int n)
{
    return numberOf(s, n, 16);
}
int wxtoin(const zwchar* s, int n)
{
    return numberOf(s, n, 16);
}
int wxtoin(const unsigned short* s, int n)
{
    return numberOf(s, n, 16);
}

bool isNumeric(const char* s, unsigned long* value)
{
    if (!s)
        return false;
    unsigned long number = 0;
    for (; *s; ++s) {
        if (!isDigit(*s))
            return false;
        number = number * 10 + static_cast<unsigned long>(*s - '0');
    }
    if (value)
        *value = number;
    return true;
}

int stradd(char* a, int aLen, const char* b, int bLen)
{
    int i = a ? aLen - 1 : -1, j = b ? bLen - 1 : -1;
    bool inA = true;
    int carry = 0;
    for (; i >= 0; --i, --j) {
        // What is no digit ends an operand for good.
        inA = inA && isDigit(a[i]);
        if (j >= 0 && !isDigit(b[j]))
            j = -1;
        if (!inA && j < 0)
            break;
        const int sum = (inA ? a[i] - '0' : 0) + (j >= 0 ? b[j] - '0' : 0) + carry;
        a[i] = static_cast<char>('0' + sum % 10);
        carry = sum / 10;
    }
    if (carry && i >= 0)
        a[i] = '1';
    return 0;
}

// --- comparing and measuring ---
const char* memmem(const char* hay, unsigned int hayLen, const char* needle, unsigned int needleLen)
{
    return ztree::detail::findBytes(hay, hayLen, needle, needleLen);
}

bool isFilled(const char* s, int n, char filler)
{
    return filled(s, n, filler);
}
bool isFilledW(const zwchar* s, int n, zwchar filler)
{
    return filled(s, n, filler);
}
bool isFilledW(const unsigned short* s, int n, unsigned short filler)
{
    return filled(s, n, filler);
}

bool isSetAndEqual(const char* a, const char* b, int len)
{
    return a && b && *a && *b && sameBytes(a, b, len);
}
bool isEmptyOrEqual(const char* a, const char* b, int len)
{
    if (!a || !b)
        return false;
    return *a && *b ? sameBytes(a, b, len) : !*a && !*b;
}

int utf8Len(const char* s, int n)
{
    return estimateUtf8(s, n);
}
// Kept: also units that take 3 bytes count 2; callers size by it what they know to be in the Latin range.
int utf8LenW(const zwchar* s, int n)
{
    return estimateUtf8(s, n);
}
int utf8LenW(const unsigned short* s, int n)
{
    return estimateUtf8(s, n);
}

// --- search that counts lines ---
const zwchar* lfWcschr(const zwchar* s, zwchar c, int* lines)
{
    int count = 0;
    const zwchar* hit = nullptr;
    for (; s && *s && !hit; ++s) {
        count += *s == '\n'; // Kept: a line feed that is sought counts as well
        if (*s == c)
            hit = s;
    }
    if (lines)
        *lines = count;
    return hit;
}
const unsigned short* lfWcschr(const unsigned short* s, unsigned short c, int* lines)
{
    return reinterpret_cast<const unsigned short*>(lfWcschr(units(s), static_cast<zwchar>(c), lines));
}

const zwchar* lfWcsstr(const zwchar* s, const zwchar* sub, int* lines)
{
    const std::size_t m = sub ? std::char_traits<zwchar>::length(sub) : 0;
    const zwchar* hit = s && m ? findText(s, sub, m) : nullptr;
    if (lines) {
        const zwchar* end = hit ? hit : s ? s + std::char_traits<zwchar>::length(s) : s;
        *lines = lineFeeds(s, end) + (hit && *hit == '\n');
    }
    return hit;
}
const unsigned short* lfWcsstr(const unsigned short* s, const unsigned short* sub, int* lines)
{
    return reinterpret_cast<const unsigned short*>(lfWcsstr(units(s), units(sub), lines));
}

// --- copies ---
int strnupr(const char* src, char* dst, int n)
{
    if (!src || !dst || n < 1)
        return 0;
    std::transform(src, src + n, dst,
                   [](char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); });
    return n;
}
int wcsnupr(const zwchar* src, zwchar* dst, int n)
{
    if (!src || !dst || n < 1)
        return 0;
    std::transform(src, src + n, dst, [](zwchar c) { return static_cast<zwchar>(std::towupper(c)); });
    return n;
}
int wcsnupr(const unsigned short* src, unsigned short* dst, int n)
{
    return wcsnupr(units(src), units(dst), n);
}

char* qconvA(const zwchar* w, char* out)
{
    char* to = out;
    while (w && *w)
        *to++ = static_cast<char>(*w++);
    *to = 0;
    return out;
}
char* qconvA(const unsigned short* w, char* out)
{
    return qconvA(units(w), out);
}
zwchar* qconvW(const char* s, zwchar* out)
{
    zwchar* to = out;
    while (s && *s)
        *to++ = static_cast<unsigned char>(*s++);
    *to = 0;
    return out;
}
unsigned short* qconvW(const char* s, unsigned short* out)
{
    return reinterpret_cast<unsigned short*>(qconvW(s, units(out)));
}
