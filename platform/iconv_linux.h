#pragma once
// The code pages that are neither UTF-8 nor of one byte a character, through the C library's iconv.

#include <ztree/types.h>

namespace platform::iconvpages {

/// Whether the number has a counterpart in the C library.
bool isKnown(unsigned codepage) noexcept;
/// The units written or, with out null, needed; -1 when they do not fit. Input that the page does not
/// have becomes its default character. Opens and closes a converter, so that no state is shared.
int toWide(unsigned codepage, const char* s, int n, zwchar* out, int room) noexcept;
/// The same for bytes; a unit that the page lacks becomes '?'.
int toNarrow(unsigned codepage, const zwchar* w, int n, char* out, int room) noexcept;

} // namespace platform::iconvpages
