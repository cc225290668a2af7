#include "platform/codepage.h"

#include "platform/iconv_linux.h"
#include "platform/singlebyte_linux.h"
#include "platform/syserror.h"
#include "platform/utf8_linux.h"

#include <cstdlib>

namespace platform {

namespace {

constexpr unsigned codepageSymbol = 42; // bytes from 20 up are the units F020 to F0FF

bool badArguments(const void* from, int n, const void* to, int room) noexcept
{
    return !from || n < 1 || room < 0 || (!to && room);
}

int fail(unsigned code) noexcept
{
    setLastError(code);
    return 0;
}

// The ANSI page from the environment; one that cannot be used counts as none.
unsigned readAnsiCodepage() noexcept
{
    const char* const text = std::getenv("ZTREE_ACP");
    char* end = nullptr;
    const unsigned long number = text ? std::strtoul(text, &end, 10) : 0;
    singlebyte::Page page;
    if (!text || end == text || *end || number < 4 || number > 65535 || number == codepageSymbol)
        return 1252;
    const auto codepage = static_cast<unsigned>(number);
    return codepage == codepageUtf8 || singlebyte::find(codepage, page) || iconvpages::isKnown(codepage)
               ? codepage
               : 1252;
}

// 0 and 3 (the thread's) are the ANSI page, 1 the OEM page, 2 the old Macintosh page.
unsigned actual(unsigned codepage) noexcept
{
    switch (codepage) {
    case 0:
    case 3:
        return ansiCodepage();
    case 1:
        return 437;
    case 2:
        return 10000;
    default:
        return codepage;
    }
}

// The common end of the variable-length conversions: -1 stands for too little room.
int result(int count) noexcept
{
    return count < 0 ? fail(sysInsufficientBuffer) : count;
}

int symbolToWide(const char* s, int n, zwchar* out) noexcept
{
    for (int i = 0; i < n; ++i) {
        const auto c = static_cast<unsigned char>(s[i]);
        out[i] = static_cast<zwchar>(c < 0x20 ? c : 0xF000 + c);
    }
    return n;
}

int symbolToNarrow(const zwchar* w, int n, char* out) noexcept
{
    for (int i = 0; i < n; ++i) {
        if (w[i] >= 0x20 && (w[i] < 0xF020 || w[i] > 0xF0FF))
            return fail(sysNoUnicodeTranslation);
        out[i] = static_cast<char>(w[i]);
    }
    return n;
}

} // namespace

int toWide(unsigned codepage, const char* s, int n, zwchar* out, int room) noexcept
{
    if (badArguments(s, n, out, room))
        return fail(sysInvalidParameter);
    codepage = actual(codepage);
    if (codepage == codepageUtf8)
        return result(utf8::decode(s, n, room ? out : nullptr, room));
    singlebyte::Page page;
    const bool single = singlebyte::find(codepage, page);
    if (!single && codepage != codepageSymbol) {
        if (!iconvpages::isKnown(codepage))
            return fail(sysInvalidParameter);
        return result(iconvpages::toWide(codepage, s, n, room ? out : nullptr, room));
    }
    if (!room)
        return n;
    const int fits = n < room ? n : room;
    if (single)
        singlebyte::toWide(page, reinterpret_cast<const unsigned char*>(s), fits, out);
    else
        symbolToWide(s, fits, out);
    return fits < n ? fail(sysInsufficientBuffer) : n;
}

int toNarrow(unsigned codepage, const zwchar* w, int n, char* out, int room) noexcept
{
    if (badArguments(w, n, out, room))
        return fail(sysInvalidParameter);
    codepage = actual(codepage);
    if (codepage == codepageUtf8)
        return result(utf8::encode(w, n, room ? out : nullptr, room));
    singlebyte::Page page;
    const bool single = singlebyte::find(codepage, page);
    if (!single && codepage != codepageSymbol) {
        if (!iconvpages::isKnown(codepage))
            return fail(sysInvalidParameter);
        return result(iconvpages::toNarrow(codepage, w, n, room ? out : nullptr, room));
    }
    if (!room)
        return n;
    const int fits = n < room ? n : room;
    if (single)
        singlebyte::toNarrow(page, w, fits, reinterpret_cast<unsigned char*>(out));
    else if (!symbolToNarrow(w, fits, out))
        return 0;
    return fits < n ? fail(sysInsufficientBuffer) : n;
}

unsigned ansiCodepage() noexcept
{
    static const unsigned page = readAnsiCodepage();
    return page;
}

bool isLeadByte(unsigned codepage, unsigned char c) noexcept
{
    return singlebyte::isLeadByte(actual(codepage), c);
}

} // namespace platform
