#pragma once
// Decimal digits of a double, exact and correctly rounded, with integer arithmetic only: the same on every
// target, without locale, table of powers or allocation.

#include <cstdint>

namespace ztree {

// A value below 2^63 with few decimals: whole + decimals / 10^n.
struct SmallFixed {
    std::uint64_t whole;
    std::uint32_t decimals;
};

constexpr int mostSmallDecimals = 9;

// Rounds a finite value >= 0 to n decimals, 0 to mostSmallDecimals, halves up. False for 2^63 and above.
bool toSmallFixed(double value, int n, SmallFixed& out);

constexpr int mostDecimals = 127;

// The digits of a rounded value, without leading zeros: none for 0.
struct FixedDigits {
    char digits[309 + mostDecimals + 9];
    int count;
    int point; // how many of them stand before the decimal point; minus the zeros behind it for a small value
};

// Rounds a finite value >= 0 to n decimals, 0 to mostDecimals, halves up. For a value that rounds to 0
// `point` is -n.
void toFixed(double value, int n, FixedDigits& out);

// Writes the digits of `value` so that they end before `end`; at least `width` of them. Returns their start.
char* putDigits(std::uint32_t value, int width, char* end);

} // namespace ztree
