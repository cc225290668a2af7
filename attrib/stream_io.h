#pragma once
// Lengths and blocks of the binary stream forms. Only unformatted stream calls are made: they do not depend
// on the C++ runtime that the stream's module was linked with.

#include "platform/heap.h"

#include <cstdint>
#include <iosfwd>

namespace ztree_impl {

/// Four bytes, little-endian.
void writeLength(std::ostream& out, std::uint32_t n);
/// False when the stream ends before.
bool readLength(std::istream& in, std::uint32_t& n);

/// Reads n bytes into a block with `spare` zero bytes behind them; it grows as bytes come, so that a length
/// without its bytes costs no memory. `got` is what came. Null for n = 0. Throws structExcept 0x84201001.
char* readBlock(std::istream& in, std::uint64_t n, std::size_t spare, std::uint32_t& got);

} // namespace ztree_impl
