#pragma once
// Digits of a double: exact, correctly rounded (ties to even), without locale or allocation.

#include "text/print_core.h"

namespace ztree {

/// The longest text below: 309 digits before the point, 1074 behind it.
constexpr int floatTextRoom = 1400;

/// Lays out |value| for conversion letter e E f F g G a A.
///   precision  as the format gave it, -1 for none; any size
///   alt        the # flag
///   text       floatTextRoom bytes that `out` points into afterwards
/// Appends "0x" to the prefix for a and A; the sign is the caller's.
void floatText(double value, char letter, int precision, bool alt, char* text, NumberText& out);

} // namespace ztree
