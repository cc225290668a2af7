#include "platform/codepage.h"

#include "platform/syserror.h"

#include <atomic>
#include <windows.h>

namespace platform {

namespace {

// The system looks for the file of an unknown page anew with each call, which under Wine takes a third of a
// millisecond. The last one is remembered; no page becomes known while a program runs.
std::atomic<unsigned> s_unknown{codepageUtf8};

bool isUnknown(unsigned codepage) noexcept
{
    if (codepage == codepageUtf8 || codepage != s_unknown.load(std::memory_order_relaxed))
        return false;
    SetLastError(ERROR_INVALID_PARAMETER);
    return true;
}

// Passes on the result of a conversion.
int noted(unsigned codepage, int n) noexcept
{
    if (n == 0 && GetLastError() == ERROR_INVALID_PARAMETER) {
        // The arguments may be at fault, or the page; these arguments are not.
        if (MultiByteToWideChar(codepage, 0, "a", 1, nullptr, 0) == 0 &&
            GetLastError() == ERROR_INVALID_PARAMETER)
            s_unknown.store(codepage, std::memory_order_relaxed);
        SetLastError(ERROR_INVALID_PARAMETER);
    }
    return n;
}

// A negative length would mean "up to the terminator" to the system.
bool badArguments(const void* from, int n, const void* to, int room) noexcept
{
    if (from && n >= 1 && room >= 0 && (to || !room))
        return false;
    SetLastError(ERROR_INVALID_PARAMETER);
    return true;
}

void mapWide(DWORD how, zwchar* w, int n) noexcept
{
    if (w && n > 0)
        LCMapStringW(GetThreadLocale(), how, w, n, w, n);
}

zwchar mapUnit(DWORD how, zwchar c) noexcept
{
    zwchar mapped = c;
    LCMapStringW(GetThreadLocale(), how, &c, 1, &mapped, 1);
    return mapped;
}

} // namespace

int toWide(unsigned codepage, const char* s, int n, zwchar* out, int room) noexcept
{
    if (badArguments(s, n, out, room) || isUnknown(codepage))
        return 0;
    return noted(codepage, MultiByteToWideChar(codepage, 0, s, n, out, room));
}

int toNarrow(unsigned codepage, const zwchar* w, int n, char* out, int room) noexcept
{
    if (badArguments(w, n, out, room) || isUnknown(codepage))
        return 0;
    return noted(codepage, WideCharToMultiByte(codepage, 0, w, n, out, room, nullptr, nullptr));
}

unsigned ansiCodepage() noexcept
{
    return GetACP();
}

bool isLeadByte(unsigned codepage, unsigned char c) noexcept
{
    return !isUnknown(codepage) && IsDBCSLeadByteEx(codepage, c) != FALSE;
}

void upperAnsi(char* s, int n) noexcept
{
    if (s && n > 0)
        CharUpperBuffA(s, static_cast<DWORD>(n));
}

void lowerAnsi(char* s, int n) noexcept
{
    if (s && n > 0)
        CharLowerBuffA(s, static_cast<DWORD>(n));
}

void upperWide(zwchar* w, int n) noexcept
{
    mapWide(LCMAP_UPPERCASE, w, n);
}

void lowerWide(zwchar* w, int n) noexcept
{
    mapWide(LCMAP_LOWERCASE, w, n);
}

zwchar upperUnit(zwchar c) noexcept
{
    if (c < 0x80) // no locale maps these otherwise without being asked for linguistic casing
        return c >= 'a' && c <= 'z' ? static_cast<zwchar>(c - 0x20) : c;
    return mapUnit(LCMAP_UPPERCASE, c);
}

zwchar lowerUnit(zwchar c) noexcept
{
    if (c < 0x80)
        return c >= 'A' && c <= 'Z' ? static_cast<zwchar>(c + 0x20) : c;
    static std::atomic<zwchar> known[0x10000]; // by unit; 0 until the system was asked
    zwchar lower = known[c].load(std::memory_order_relaxed);
    if (lower == 0)
        known[c].store(lower = mapUnit(LCMAP_LOWERCASE, c), std::memory_order_relaxed);
    return lower;
}

} // namespace platform
