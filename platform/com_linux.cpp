#include "platform/com.h"

#include <cstdio>

namespace platform {

namespace {

// The order in which the text shows the bytes of the little-endian record; -1 is a "-".
constexpr signed char order[] = {3, 2, 1, 0, -1, 5, 4, -1, 7, 6, -1, 8, 9, -1, 10, 11, 12, 13, 14, 15};

int digit(zwchar c) noexcept
{
    if (c >= '0' && c <= '9')
        return c - '0';
    const int lower = c | 0x20;
    return c < 0x80 && lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

} // namespace

HRESULT clsidFromString(const zwchar* text, GUID* id) noexcept
{
    constexpr HRESULT malformed = static_cast<HRESULT>(0x800401F3);
    unsigned char bytes[sizeof(GUID)] = {};
    if (text && *text++ != '{')
        return malformed;
    for (const signed char at : order) {
        if (!text)
            break;
        if (at < 0) {
            if (*text++ != '-')
                return malformed;
            continue;
        }
        const int high = digit(text[0]);
        const int low = high < 0 ? -1 : digit(text[1]);
        if (low < 0)
            return malformed;
        bytes[at] = static_cast<unsigned char>(high * 16 + low);
        text += 2;
    }
    if (text && (text[0] != '}' || text[1]))
        return malformed;
    __builtin_memcpy(id, bytes, sizeof bytes);
    return 0;
}

HRESULT stringFromClsid(const GUID& id, zwchar (&text)[clsidUnits + 1]) noexcept
{
    unsigned char bytes[sizeof(GUID)];
    __builtin_memcpy(bytes, &id, sizeof bytes);
    zwchar* out = text;
    *out++ = '{';
    for (const signed char at : order) {
        if (at < 0) {
            *out++ = '-';
            continue;
        }
        const auto hex = [](unsigned d) { return static_cast<zwchar>("0123456789ABCDEF"[d]); };
        *out++ = hex(bytes[at] >> 4u);
        *out++ = hex(bytes[at] & 15u);
    }
    *out++ = '}';
    *out = 0;
    return 0;
}

} // namespace platform
