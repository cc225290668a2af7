#pragma once
// Single-byte code pages behind toWide() and toNarrow(), from generated tables.

#include <ztree/types.h>

namespace platform::singlebyte {

struct Page {
    const std::uint16_t* units;  // 256: the unit of each byte
    const std::uint16_t* blocks; // 256: number of the block of bytes for each 256 units
    bool ascii;                  // 00-7F stand for themselves both ways
    bool latin;                  // A0-FF too
};

/// False when the number is no single-byte page.
bool find(unsigned codepage, Page& page) noexcept;
/// n bytes to n units.
void toWide(const Page& page, const unsigned char* s, int n, zwchar* out) noexcept;
/// n units to n bytes.
void toNarrow(const Page& page, const zwchar* w, int n, unsigned char* out) noexcept;
/// IsDBCSLeadByteEx for the double-byte pages.
bool isLeadByte(unsigned codepage, unsigned char c) noexcept;

} // namespace platform::singlebyte
