#pragma once
// Random conversions with matching values: the same sequence on every target.

#include "support/random.h"

#include <cstdint>
#include <cstring>
#include <string>

struct PrintCase {
    enum Kind { int32, int64, real };
    std::string fmt;
    Kind kind = int32;
    int stars = 0;
    int star[2] = {};
    long long number = 0;
    double value = 0;
};

class PrintCases {
public:
    explicit PrintCases(std::uint64_t seed) : m_bits(seed) {}

    PrintCase next()
    {
        PrintCase c;
        c.kind = static_cast<PrintCase::Kind>(below(3));
        c.fmt = "a%";
        for (const char flag : {'-', '+', ' ', '#', '0'})
            if (below(4) == 0)
                c.fmt += flag;
        if (below(2))
            addNumber(c, static_cast<int>(below(8) ? below(30) : below(400)), false);
        if (below(2)) {
            c.fmt += '.';
            addNumber(c, static_cast<int>(below(8) ? below(22) : below(420)), true);
        }
        if (c.kind == PrintCase::int64)
            c.fmt += "ll";
        c.fmt += c.kind == PrintCase::real ? "eEfFgGaA"[below(8)] : "diuoxX"[below(6)];
        c.fmt += 'z';
        c.number = static_cast<long long>(bits() >> below(64));
        if (below(2))
            c.number = static_cast<long long>(0 - static_cast<std::uint64_t>(c.number));
        c.value = real();
        return c;
    }

private:
    std::uint64_t bits() { return m_bits.next(); }
    std::uint64_t below(std::uint64_t n) { return (bits() >> 11) % n; }
    void addNumber(PrintCase& c, int n, bool precision)
    {
        if (below(3) == 0) {
            c.fmt += '*';
            c.star[c.stars++] = below(6) ? n : -n;
        } else if (n || precision) {
            c.fmt += std::to_string(n);
        }
    }
    double real()
    {
        const double number = static_cast<double>(static_cast<std::int64_t>(bits() >> below(60)));
        switch (below(8)) {
        case 0:
            return number;
        case 1:
            return number / 100;
        case 2:
            return number / 1024; // ties
        case 3:
            return -static_cast<double>(below(100000)) / 16;
        case 4:
            return static_cast<double>(below(2000)) / 1000;
        case 5: {
            static const double special[] = {0.0,   -0.0, 9.5,          0.5,
                                             99.95, 1e-4, 9.9999995e-5, 999999.5,
                                             1e22,  1e23, 5e-324,       1.7976931348623157e308,
                                             1e100, 2.5,  0.0625,       1e-300};
            return special[below(sizeof special / sizeof *special)];
        }
        default: {
            std::uint64_t b = bits();
            if (below(4) == 0)
                b &= 0x800FFFFFFFFFFFFFu; // denormal
            double d;
            std::memcpy(&d, &b, sizeof d);
            return d - d == 0 ? d : 1 / 3.0; // inf and nan have a test of their own
        }
        }
    }

    Bits m_bits;
};

/// print(fmt arguments...) with what the case holds.
template <class Print> int callWith(const PrintCase& c, Print print)
{
    const auto withStars = [&](auto value) {
        return c.stars == 0   ? print(value)
               : c.stars == 1 ? print(c.star[0], value)
                              : print(c.star[0], c.star[1], value);
    };
    switch (c.kind) {
    case PrintCase::int32:
        return withStars(static_cast<int>(c.number));
    case PrintCase::int64:
        return withStars(c.number);
    default:
        return withStars(c.value);
    }
}
