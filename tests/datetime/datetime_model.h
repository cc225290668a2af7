#pragma once
// Times and dates once more, straight from their description, with no care for speed.

#include "support.h"

#include <cstdio>
#include <cstring>

namespace model {

struct Locale {
    Wide picture;
    unsigned separator;
    const Wide* months; // 12
};

struct Clock {
    unsigned a, b, c; // hour, minute, second or day, month, year
};

struct Parsed {
    int consumed = -1;
    unsigned a = 0, b = 0, c = 0;
};

inline unsigned at(const Wide& text, std::size_t i)
{
    return i < text.size() ? text[i] : 0u;
}

inline std::string digitsAt(const Wide& text, std::size_t& i, std::size_t most)
{
    std::string digits;
    while (digits.size() < most && at(text, i) >= '0' && at(text, i) <= '9')
        digits += static_cast<char>(at(text, i++));
    return digits;
}

inline unsigned valueOf(const std::string& digits)
{
    std::string rest = digits.substr(std::min(digits.find_first_not_of('0'), digits.size()));
    if (rest.size() > 5)
        return 65535;
    return std::min(65535u, rest.empty() ? 0u : static_cast<unsigned>(std::stoul(rest)));
}

// The next run of the picture: letter in lower case, width; then its separator. `own`: the record's.
struct Field {
    char letter;
    std::size_t width;
    unsigned separator;
    bool own, last;
};
inline Field nextField(const Locale& locale, std::size_t& p, const char* letters)
{
    const Wide& picture = locale.picture;
    Field f{};
    const zwchar first = picture[p];
    while (p + f.width < picture.size() && picture[p + f.width] == first)
        ++f.width;
    p += f.width;
    f.letter = static_cast<char>(first >= 'A' && first <= 'Z' ? first + 32 : first);
    f.last = p >= picture.size();
    f.own = !f.last && std::strchr(letters, static_cast<int>(picture[p])) != nullptr;
    f.separator = f.own ? locale.separator : f.last ? 0 : picture[p++];
    return f;
}

inline Parsed parseTime(const Wide& text, bool strict, const Locale& locale, Clock now)
{
    unsigned slot[3] = {};
    bool error = false;
    std::size_t i = 0;
    for (std::size_t p = 0; !error && p < locale.picture.size();) {
        const Field f = nextField(locale, p, "hHmMsS");
        const char* place = std::strchr("hms", f.letter);
        const std::string digits = digitsAt(text, i, f.width);
        error = !place || digits.empty();
        if (place)
            slot[place - "hms"] = valueOf(digits) + 1;
        if (at(text, i) == f.separator && (f.separator != 0 || f.last))
            ++i;
    }
    if (strict || !error) {
        if (slot[0] < 1 || slot[0] > 24 || slot[1] < 1 || slot[1] > 60 || slot[2] < 1 || slot[2] > 60)
            return {};
    } else {
        if (slot[0] == 0)
            return {};
        if (slot[1] == 0)
            slot[1] = now.b + 1;
        if (slot[2] == 0)
            slot[1] = now.c + 1;
    }
    return {static_cast<int>(i), (slot[0] - 1) & 0xFFFF, (slot[1] - 1) & 0xFFFF, (slot[2] - 1) & 0xFFFF};
}

inline unsigned lower(unsigned c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 0xC0 && c <= 0xDE) || (c >= 0x410 && c <= 0x42F) ? c + 32 : c;
}
inline bool isLetter(unsigned c)
{
    return (lower(c) >= 'a' && lower(c) <= 'z') || (lower(c) >= 0xE0 && lower(c) <= 0xFE) ||
           (lower(c) >= 0x430 && lower(c) <= 0x44F) || (c >= 0x4E00 && c <= 0x9FFF);
}
inline bool isLeap(unsigned year)
{
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}
inline bool isDay(unsigned d, unsigned m, unsigned y)
{
    const unsigned most[] = {0, 31, isLeap(y) ? 29u : 28u, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return m >= 1 && m <= 12 && d >= 1 && d <= most[m];
}
inline unsigned expand(unsigned y)
{
    return y < 80 ? 2000 + y : y < 100 ? 1900 + y : y;
}
inline unsigned reduce(unsigned y)
{
    return (y <= 100 ? y : y <= 2000 ? y - 1900 : y - 2000) & 0xFFFF;
}

inline Parsed parseDate(const Wide& text, bool strict, const Locale& locale, Clock now)
{
    unsigned day = 0, month = 0, year = 0;
    bool error = false;
    std::size_t i = 0;
    for (std::size_t p = 0; !error && p < locale.picture.size();) {
        const Field f = nextField(locale, p, "dDmMyYnN");
        unsigned* slot = f.letter == 'd'               ? &day
                         : f.letter == 'y'             ? &year
                         : std::strchr("mn", f.letter) ? &month
                                                       : nullptr;
        std::size_t width = f.width;
        error = !slot;
        if (f.letter == 'n') {
            std::size_t letters = 0;
            while (letters < 16 && isLetter(at(text, i + letters)))
                ++letters;
            letters = std::min(letters, f.width);
            if (letters == 0)
                width = 2;
            for (unsigned m = 12; letters != 0 && m-- > 0;) { // backwards, so that the first match stays
                bool same = true;
                for (std::size_t k = 0; k < letters; ++k)
                    same &= lower(at(text, i + k)) == lower(at(locale.months[m], k));
                if (same)
                    month = m + 1;
            }
            i += letters;
        }
        if (slot && *slot == 0) {
            const std::string digits = digitsAt(text, i, width);
            error = digits.empty();
            *slot = valueOf(digits);
        }
        if (f.separator != 0 && at(text, i) == f.separator)
            ++i;
    }
    if (error && !strict) {
        if (day == 0)
            return {};
        month = month ? month : now.b;
        year = year ? year : now.c;
    }
    if (!isDay(day, month, year))
        return {};
    return {static_cast<int>(i), day, month, year};
}

inline std::string padded(unsigned value, std::size_t width)
{
    char text[40];
    std::snprintf(text, sizeof text, "%0*u", static_cast<int>(width), value);
    return text;
}
inline Wide widen(const std::string& text)
{
    return Wide(text.begin(), text.end());
}

// `date`: a separator of 0 is left out, and fields may be names.
inline Wide format(const Locale& locale, const char* letters, const unsigned (&value)[3], bool date)
{
    Wide out;
    std::size_t p = 0;
    for (int i = 0; i < 3 && p < locale.picture.size(); ++i) {
        const Field f = nextField(locale, p, letters);
        if (date) {
            if (f.letter == 'd')
                out += widen(padded(value[0], f.width));
            if (f.letter == 'm')
                out += widen(padded(value[1], f.width));
            if (f.letter == 'y')
                out += widen(padded(f.width == 2 ? value[2] % 100 : value[2], f.width));
            if (f.letter == 'n')
                out += locale.months[value[1] - 1].substr(0, f.width);
        } else if (const char* place = std::strchr("hms", f.letter)) {
            out += widen(padded(value[place - "hms"], f.width));
        }
        if (f.last)
            break;
        if (!f.own || !date || f.separator != 0)
            out += static_cast<zwchar>(f.separator);
    }
    return out;
}

} // namespace model
