#pragma once
// Code pages and case mapping. Linux results equal those of Windows for the same input; in the double-byte
// pages (932, 936, 949, 950 ...) for the characters that a page has: what it lacks or leaves undefined goes
// by the C library's tables there.

#include <ztree/types.h>

namespace platform {

constexpr unsigned codepageAnsi = 0;
constexpr unsigned codepageUtf8 = 65001;

/// MultiByteToWideChar(codepage, 0, s, n, out, room): n bytes (they need no terminator, one inside is
/// converted like any byte) to UTF-16. Returns the units written, or with room 0 the units needed; n
/// units are always room enough, but for UTF-7. 0 on failure with lastError(): 122 the room is too small
/// (out may hold a part), 87 an unknown code page, a null pointer, n below 1 or a negative room. Success
/// leaves lastError() alone and writes nothing behind the result. Bad UTF-8 becomes U+FFFD. A room that
/// ends inside the surrogate pair that ends the text passes with half of it: Wine's call does so. Code
/// page 0 is the ANSI code page. Any thread; no lock and no allocation for UTF-8 and single-byte pages.
int toWide(unsigned codepage, const char* s, int n, zwchar* out, int room) noexcept;

/// WideCharToMultiByte(codepage, 0, w, n, out, room, null, null), same rules, room in bytes (3 * n is
/// always enough for UTF-8). A unit that the page lacks becomes its best fit or its default character,
/// an unpaired surrogate in UTF-8 the bytes EF BF BD. 1113 for a unit outside the symbol page 42.
int toNarrow(unsigned codepage, const zwchar* w, int n, char* out, int room) noexcept;

/// The number that code page 0 stands for: 1252 unless the environment variable ZTREE_ACP named
/// another when it was first asked for (Linux), GetACP() on Windows.
unsigned ansiCodepage() noexcept;

/// IsDBCSLeadByteEx.
bool isLeadByte(unsigned codepage, unsigned char c) noexcept;

/// CharUpperBuffA / CharLowerBuffA: in place, by the ANSI code page; nothing for n below 1.
void upperAnsi(char* s, int n) noexcept;
void lowerAnsi(char* s, int n) noexcept;

/// LCMapStringW(GetThreadLocale(), LCMAP_UPPERCASE / LCMAP_LOWERCASE) in place: simple mapping, a unit
/// to a unit and a surrogate pair to a surrogate pair, so the length never changes. Zero units are
/// units like others; nothing for n below 1.
void upperWide(zwchar* w, int n) noexcept;
void lowerWide(zwchar* w, int n) noexcept;
/// The same for one unit, for comparisons that ignore case; surrogates stay.
zwchar upperUnit(zwchar c) noexcept;
zwchar lowerUnit(zwchar c) noexcept;

} // namespace platform
