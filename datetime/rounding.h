#pragma once
// Remainders of doubles without the division loop of fmod, and with its bits.

#include <cmath>

namespace ztree {

// x with all but the upper 26 bits of its mantissa cleared; |x| below 2^970.
constexpr double upperHalf(double x)
{
    const double scaled = x * 134217729.0; // 2^27 + 1
    return scaled - (scaled - x);
}

// A positive divisor, split for exact products.
struct Divisor {
    double step = 0;
    double high = 0;
    double low = 0;
    constexpr Divisor() = default;
    constexpr explicit Divisor(double value)
        : step(value), high(upperHalf(value)), low(value - upperHalf(value))
    {
    }
};

// The largest quotient that is a whole number below, with room for the quotient's own rounding.
constexpr double mostQuotient = 1125899906842624.0; // 2^50

// m - q * step for a whole q, exactly; q is the nearest quotient or, for large ones, the one below. m >= 0,
// `estimate` is about m / step.
//
// The nearest q to the estimate differs from the true quotient by less than 1, so what is left lies within
// one step of 0. It is a multiple of the last bit of `step` and shorter than 53 bits, hence exact once q *
// step is.
inline double offset(double m, const Divisor& divisor, double estimate)
{
    if (!(estimate < mostQuotient))
        return std::fmod(m, divisor.step);
    constexpr double toWhole = 6755399441055744.0; // 1.5 * 2^52: adding it leaves no bits behind the point
    const double q = estimate + toWhole - toWhole;
#if defined(__FMA__)
    return std::fma(-q, divisor.step, m);
#else
    const double qHigh = upperHalf(q);
    const double qLow = q - qHigh;
    const double product = q * divisor.step;
    const double rest =
        (qHigh * divisor.high - product + qHigh * divisor.low + qLow * divisor.high) + qLow * divisor.low;
    return m - product - rest;
#endif
}

inline constexpr Divisor hundredth(0.01);

// Rounds m >= 0 to multiples of the step by its remainder r = fmod(m, step): down for r below half a step,
// else up. An offset of r - step says the same as r, so only one on the wrong side of a half is changed.
inline double roundTo(double m, const Divisor& divisor, double estimate)
{
    // Kept: the binary remainder decides, so that 1.005, which lies below its half, goes down; sums that
    // callers stored were made this way.
    const double half = divisor.step / 2;
    double r = offset(m, divisor, estimate);
    if (r >= half)
        r -= divisor.step;
    else if (r < -half)
        r += divisor.step;
    return m - r;
}

// doubleFix of a value >= 0.
inline double roundToHundredths(double m)
{
    return roundTo(m, hundredth, m * 100.0);
}

} // namespace ztree
