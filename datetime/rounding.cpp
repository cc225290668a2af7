// Rounding of amounts.

#include "datetime/rounding.h"

#include <ztree/datetime.h>

namespace ztree {
namespace {

// 1, 0.1, 0.01 ... as repeated division makes them.
struct Steps {
    static constexpr int count = 128;
    static constexpr int exactPowers = 23; // a double holds 10^22

    Divisor at[count] = {};
    double power[exactPowers] = {};

    constexpr Steps()
    {
        double step = 1.0;
        for (Divisor& divisor : at) {
            divisor = Divisor(step);
            step /= 10;
        }
        double p = 1.0;
        for (double& entry : power) {
            entry = p;
            p *= 10;
        }
    }
    // About m / step.
    double estimate(double m, int n) const { return n < exactPowers ? m * power[n] : m / at[n].step; }
};
constexpr Steps steps;
static_assert(steps.at[2].step == hundredth.step, "both roundings know the same hundredths");

} // namespace
} // namespace ztree

using namespace ztree;

double doubleFix(double value) noexcept
{
    if (value == 0)
        return value;
    return std::copysign(roundToHundredths(std::fabs(value)), value);
}

double doubleFixEx(double value, char decimals) noexcept
{
    if (value == 0)
        return value;
    const double m = std::fabs(value);
    int n = 0;
    while (n < decimals && offset(m, steps.at[n], steps.estimate(m, n)) != 0)
        ++n;
    // Kept: without decimals nothing is rounded, not even to whole units.
    if (n == 0)
        return value;
    return std::copysign(roundTo(m, steps.at[n], steps.estimate(m, n)), value);
}

double doubleAdd(double a, double b) noexcept
{
    return doubleFix(a) + doubleFix(b);
}

double doubleAddEx(double a, double b, char decimals) noexcept
{
    return doubleFixEx(a, decimals) + doubleFixEx(b, decimals);
}
