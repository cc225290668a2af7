// Random amounts and texts against a model that follows the description word by word, with fmod and with the
// exact decimal expansion of a double.

#include "support.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

namespace model {

double fix(double x)
{
    if (x == 0)
        return x;
    double m = x < 0 ? -x : x;
    double r = std::fmod(m, 0.01);
    if (r >= 0.005)
        r = r - 0.01;
    m = m - r;
    return x < 0 ? -m : m;
}

double fixEx(double x, int n)
{
    if (x == 0)
        return x;
    double step = 1.0;
    for (int i = 0; i < n && std::fmod(x, step) != 0; ++i)
        step = step / 10;
    if (!(step < 1.0))
        return x;
    double m = x < 0 ? -x : x;
    double r = std::fmod(m, step);
    if (r >= step / 2)
        r = r - step;
    m = m - r;
    return x < 0 ? -m : m;
}

// Digits without leading zeros, rounded half up, from the exact expansion; the point's position.
std::string fcvt(double m, int n, int& point)
{
    static std::vector<char> text(1500);
    char* const end =
        std::to_chars(text.data(), text.data() + text.size(), m, std::chars_format::fixed, 1074).ptr;
    std::string digits(text.data(), end);
    const std::size_t dot = digits.find('.');
    digits.erase(dot, 1);
    const std::size_t kept = dot + static_cast<std::size_t>(n);
    const bool up = digits[kept] >= '5';
    digits = '0' + digits.substr(0, kept);
    for (std::size_t i = kept; up; --i) {
        if (digits[i] != '9') {
            ++digits[i];
            break;
        }
        digits[i] = '0';
    }
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
    point = static_cast<int>(digits.size()) - n;
    return digits;
}

std::string grouped(std::string digits, char mark)
{
    for (int i = static_cast<int>(digits.size()) - 3; mark && i > 0; i -= 3)
        digits.insert(static_cast<std::size_t>(i), 1, mark);
    return digits;
}

struct Written {
    int result;
    std::string text;
};

// Splits off the millions: what is left of them, in hundredths.
unsigned cents(double m, unsigned& millions)
{
    millions = 0;
    if (m > 1e6) {
        millions = static_cast<unsigned>(std::floor(m / 1e6));
        m = fix(m - std::floor(millions * 1e6));
    }
    return static_cast<unsigned>(std::floor(100 * m + 0.5));
}

Written doubleAmount(double value)
{
    unsigned millions;
    const unsigned rest = cents(std::fabs(value), millions);
    char text[40];
    const int n = std::snprintf(text, sizeof text, "%u%0*u", millions, 8, rest);
    return {n + (value < 0), (value < 0 ? "-" : "") + std::string(text)};
}

Written doubleAString(double value, char decimal, char thousand)
{
    unsigned millions;
    const unsigned rest = cents(fix(std::fabs(value)), millions);
    std::string digits = std::to_string(rest / 100);
    if (millions)
        digits =
            std::to_string(millions) + std::string(digits.size() < 6 ? 6 - digits.size() : 0, '0') + digits;
    std::string text = grouped(digits, thousand);
    if (decimal)
        text += decimal;
    text += std::to_string(rest % 100 + 100).substr(1);
    if (value < 0)
        text = '-' + text;
    return {static_cast<int>(text.size()), text};
}

Written doubleAmountEx(double value, int n)
{
    int point;
    const std::string digits = fcvt(std::fabs(value), n, point).substr(0, 39);
    const std::string zeros(point < 1 ? static_cast<std::size_t>(1 - point) : 0, '0');
    return {static_cast<int>(zeros.size() + digits.size()), (value < 0 ? "-" : "") + zeros + digits};
}

Written doubleAStringEx(double value, int n, char decimal, char thousand)
{
    n = std::min(std::max(n, 0), 5);
    int point;
    const std::string digits = fcvt(std::fabs(value), n, point);
    const std::string mark = decimal ? std::string(1, decimal) : "";
    std::string text = value < 0 ? "-" : "";
    if (point > 0) {
        const auto whole = static_cast<std::size_t>(point);
        text += grouped(digits.substr(0, whole), thousand) + (n > 0 ? mark : "") + digits.substr(whole);
    } else {
        text += "0" + mark + std::string(static_cast<std::size_t>(-point), '0') + digits;
    }
    return {static_cast<int>(text.size()), text};
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

struct Scan {
    int result = 0;
    bool negative = false;
    std::string whole, decimals; // the text before and behind the decimal separator
    std::string rest;            // all of it behind the sign
    int integers = 0;
    bool carry = false;
};

Scan scan(std::string text, std::size_t n, char decimal, char thousand)
{
    Scan s;
    while (!text.empty() && text.front() == ' ')
        text.erase(0, 1);
    while (!text.empty() && text.back() == ' ')
        text.pop_back();
    if (!text.empty() && (text[0] == '-' || text[0] == '+')) {
        s.negative = text[0] == '-';
        text.erase(0, 1);
    }
    if (text.empty())
        return s;
    s.result = -1;
    for (char c : text)
        if (!isDigit(c) && c != thousand && c != decimal)
            return s;
    s.rest = text;
    const std::size_t point = text.find(decimal);
    s.whole = text.substr(0, point);
    if (point != std::string::npos)
        s.decimals = text.substr(point + 1);
    for (; s.decimals.size() > n; s.decimals.pop_back())
        s.carry = isDigit(s.decimals.back()) && s.decimals.back() - '0' + s.carry >= 5;
    const auto count = static_cast<int>(s.whole.size());
    s.integers = text.find(thousand) == std::string::npos || !thousand ? count : count - count / 4;
    s.result = s.integers >= 16 ? -1 : 1;
    return s;
}

Written toStorage(const std::string& text, std::size_t width, std::size_t n, char decimal, char thousand)
{
    const Scan s = scan(text, n, decimal, thousand);
    if (s.result < 0)
        return {-1, ""};
    if (s.result == 0)
        return {static_cast<int>(width), std::string(width, '0')};
    std::string decimals = s.decimals;
    if (s.carry && !decimals.empty())
        ++decimals.back();
    const std::size_t missing = n - decimals.size();
    const std::size_t room = width - (s.negative && width > 0);
    std::string out; // from the right
    std::string left = s.whole;
    const bool all = missing + decimals.size() <= room;
    if (!all) {
        const std::size_t taken = room > missing ? room - missing : 0;
        if (taken < decimals.size())
            left = s.rest.substr(0, s.rest.size() - (s.rest.size() - s.whole.size() - 1 - decimals.size()) -
                                        taken);
    }
    const std::string tail = decimals + std::string(missing, '0');
    for (std::size_t i = tail.size(); i-- > 0 && out.size() < room;)
        out += tail[i];
    if (all)
        while (!left.empty() && out.size() < room) {
            if (isDigit(left.back()))
                out += left.back();
            left.pop_back();
        }
    std::string field(room - out.size(), '0');
    field.append(out.rbegin(), out.rend());
    if (s.negative && width > 0)
        field = '-' + field;
    return {static_cast<int>(width + left.size()), field};
}

double toDouble(const std::string& text, int n, bool ex, char decimal, char thousand, int& result)
{
    const Scan s = scan(text, static_cast<std::size_t>(n), decimal, thousand);
    result = s.result;
    if (result <= 0)
        return result < 0 ? 1e-8 : -1e-8;
    std::size_t i = 0;
    std::string digits;
    while (static_cast<int>(digits.size()) < s.integers) {
        if (i >= s.rest.size())
            return 0.0;
        if (isDigit(s.rest[i]))
            digits += s.rest[i];
        ++i;
    }
    const std::size_t high = digits.size() > 6 ? digits.size() - 6 : 0;
    const double millions = high ? std::stod(digits.substr(0, high)) : 0;
    const double units = digits.size() > high ? std::stod(digits.substr(high)) : 0;
    double decimals = 0, scale = 1;
    for (int k = 1; k <= n; ++k) {
        double digit = 0;
        while (i < s.rest.size()) {
            const int c = static_cast<unsigned char>(s.rest[i++]) + (k == n && s.carry);
            if (c >= '0' && c <= '9') {
                digit = c - '0';
                break;
            }
        }
        decimals = decimals * 10 + digit;
        scale = scale * 10;
    }
    const double sum = millions * 1e6 + units + decimals / scale;
    const double value = ex ? fixEx(sum, n) : fix(sum);
    return s.negative ? -value : value;
}

Written toDisplay(const std::string& storage, std::size_t n, char decimal, char thousand, bool group)
{
    std::string digits = storage, out;
    if (!digits.empty() && (digits[0] == '-' || digits[0] == '+')) {
        out = digits.substr(0, 1);
        digits.erase(0, 1);
    }
    for (char c : digits)
        if (!isDigit(c) && (c != decimal || !decimal) && (c != thousand || !thousand))
            return {-1, storage.substr(0, 23)};
    while (digits.size() > n + 1 && digits[0] == '0')
        digits.erase(0, 1);
    const std::size_t whole = digits.size() > n ? digits.size() - n : 0;
    out += grouped(digits.substr(0, whole), group ? thousand : '\0');
    digits.erase(0, whole);
    if (decimal) {
        if (out.empty())
            out = std::string("0") + decimal + std::string(n - digits.size(), '0');
        else if (out.back() != decimal)
            out += decimal;
    }
    out += digits;
    return {static_cast<int>(out.size()), out};
}

double storageToDouble(std::string text, int& result)
{
    const auto consumed = static_cast<int>(text.size());
    const bool negative = text[0] == '-';
    if (text[0] == '-' || text[0] == '+')
        text.erase(0, 1);
    result = consumed;
    if (text.empty())
        return -1e-8;
    unsigned part[2] = {};
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!isDigit(text[i])) {
            result = -1;
            return 1e-8;
        }
        unsigned& p = part[i + 6 >= text.size()];
        p = p * 10 + static_cast<unsigned>(text[i] - '0');
    }
    const double value = (part[0] * 1e6 + part[1]) / 100;
    return negative ? -value : value;
}

} // namespace model

bool sameBits(double a, double b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// Amounts of all sizes: whole cents, halves of cents, thirds, neighbours of all these, any bits.
double randomAmount(Random& random)
{
    static const double scales[] = {1, 10, 100, 1000, 8, 64, 3, 7, 1e5};
    double value;
    int ignored;
    if (random.oneIn(12)) {
        const std::uint64_t bits = random.next();
        std::memcpy(&value, &bits, sizeof value);
        if (!std::isfinite(value))
            value = 0;
        if (!random.oneIn(8)) // mostly within the range of money
            value = std::ldexp(std::frexp(value, &ignored), random.below(80) - 30);
        return value;
    }
    const int bits = 1 + random.below(52);
    value = static_cast<double>(random.next() >> (64 - bits)) / scales[random.below(9)];
    for (int n = random.below(3); n > 0; --n)
        value = std::nextafter(value, random.oneIn(2) ? 1e300 : 0.0);
    return random.oneIn(3) ? -value : value;
}

TEST(AmountRandom, doublesToText)
{
    Random random(7);
    int differences = 0;
    for (int i = 0; i < randomCases && differences < 5; ++i) {
        const double value = randomAmount(random);
        if (value == 1e-8 || value == -1e-8)
            continue;
        tagLocalFmt fmt;
        fmt.cDecimal = random.pick(std::string(",.:\0", 4));
        fmt.cThousand = random.pick(std::string(".,' \0", 5));
        const bool none = random.oneIn(4);
        const tagLocalFmt* used = none ? nullptr : &fmt;
        const char decimal = none ? ',' : fmt.cDecimal;
        const bool group = !random.oneIn(3);
        const char thousand = !group ? '\0' : none ? '.' : fmt.cThousand;
        const int n = random.oneIn(50) ? random.below(128) : random.below(8);
        char text[ztree::roomDoubleTextEx];
        const bool large = std::fabs(value) / 1e6 >= 4294967296.0;
        bool same = true;
        const auto check = [&](int result, const model::Written& expected) {
            same &= result == expected.result && (result < 0 || expected.text == text);
        };
        check(doubleAmount(value, text), large ? model::Written{-1, ""} : model::doubleAmount(value));
        check(doubleAString(value, text, group, used),
              large ? model::Written{-1, ""} : model::doubleAString(value, decimal, thousand));
        if (i % 2 == 0) { // the expansion takes its time
            check(doubleAmountEx(value, text, static_cast<char>(n)), model::doubleAmountEx(value, n));
            check(doubleAStringEx(value, text, group, used, static_cast<char>(n)),
                  model::doubleAStringEx(value, n, decimal, thousand));
        }
        same &= sameBits(doubleFix(value), model::fix(value));
        same &= sameBits(doubleFixEx(value, static_cast<char>(n)), model::fixEx(value, n));
        if (!same) {
            ++differences;
            ADD_FAILURE() << "case " << i << " value " << std::hexfloat << value << " decimals " << n
                          << " text " << text;
        }
    }
}

TEST(AmountRandom, textsBothWays)
{
    Random random(11);
    int differences = 0;
    for (int i = 0; i < randomCases && differences < 5; ++i) {
        tagLocalFmt fmt;
        fmt.cDecimal = random.pick(std::string(",./9\0", 5));
        fmt.cThousand = random.pick(std::string(".,' \0", 5));
        const bool none = random.oneIn(4);
        const tagLocalFmt* used = none ? nullptr : &fmt;
        const char decimal = none ? ',' : fmt.cDecimal;
        const char thousand = none ? '.' : fmt.cThousand;
        const bool ex = random.oneIn(2);
        const int n = ex ? random.below(random.oneIn(8) ? 20 : 5) : 2;
        const char places = static_cast<char>(n);
        // --- display ---
        std::string display;
        if (random.oneIn(3)) {
            for (int k = random.below(12); k > 0; --k)
                display += random.pick(std::string("0123459995555,.+- '/x"));
        } else {
            std::string whole;
            for (int k = random.below(random.oneIn(6) ? 22 : 9); k > 0; --k)
                whole += static_cast<char>('0' + random.below(10));
            display = random.pick(std::vector<std::string>{"", "", "-", "+", " -", "  "});
            display += model::grouped(whole, random.oneIn(2) ? thousand : '\0');
            if (!random.oneIn(4) && decimal)
                display += decimal;
            for (int k = random.below(6); k > 0; --k)
                display += random.pick(std::string("0123456789459995"));
            display += random.pick(std::vector<std::string>{"", "", " ", "  "});
        }
        bool same = true;
        int expected;
        double value = 1;
        const double wanted = model::toDouble(display, n, ex, decimal, thousand, expected);
        same &= (ex ? aStringDoubleEx(display.c_str(), &value, used, places)
                    : aStringDouble(display.c_str(), &value, used)) == expected &&
                sameBits(value, wanted);
        const auto width = static_cast<std::size_t>(random.below(16));
        std::string field(width + 1, '#');
        const model::Written stored =
            model::toStorage(display, width, static_cast<std::size_t>(n), decimal, thousand);
        const int result =
            ex ? aStringAmountEx(display.c_str(), field.data(), static_cast<int>(width), used, places)
               : aStringAmount(display.c_str(), field.data(), static_cast<int>(width), used);
        same &=
            result == stored.result && field == (result < 0 ? std::string(width, '#') : stored.text) + '#';
        // --- storage ---
        std::string storage;
        for (int k = random.below(random.oneIn(9) ? 40 : 15); k > 0; --k)
            storage += random.oneIn(40) ? random.pick(std::string(",.-x"))
                                        : static_cast<char>('0' + random.below(3));
        if (random.oneIn(3))
            storage.insert(0, 1, random.pick(std::string("+-")));
        const bool group = random.oneIn(2);
        std::size_t read = storage.size();
        int length = -1;
        if (random.oneIn(3)) {
            length = random.below(20);
            read = std::min(read, static_cast<std::size_t>(length));
        }
        char text[100];
        const model::Written shown =
            model::toDisplay(storage.substr(0, read), static_cast<std::size_t>(n), decimal, thousand, group);
        const int written = ex ? amountAStringEx(storage.c_str(), text, length, group, used, places)
                               : amountAString(storage.c_str(), text, length, group, used);
        same &= written == shown.result && shown.text == text;
        int consumed;
        const double amount = model::storageToDouble(storage.substr(0, read), consumed);
        same &= amountDouble(storage.c_str(), length, &value) == consumed && sameBits(value, amount);
        if (!same) {
            ++differences;
            ADD_FAILURE() << "case " << i << " decimals " << n << " display '" << display << "' field "
                          << field << " (" << stored.text << ") value " << value << " (" << wanted << ", "
                          << amount << ") storage '" << storage << "' length " << length << " text " << text
                          << " (" << shown.text << ")";
        }
    }
}

} // namespace
