#include "tool/characters.h"

namespace tool {

std::size_t characterLength(std::string_view text)
{
    const auto at = [&](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u; };
    const unsigned first = at(0);
    if (first < 0x80)
        return 1;
    const std::size_t n = first >= 0xC2 && first < 0xE0   ? 2
                          : (first & 0xF0) == 0xE0        ? 3
                          : first >= 0xF0 && first < 0xF5 ? 4
                                                          : 0;
    for (std::size_t i = 1; i < n; ++i)
        if ((at(i) & 0xC0) != 0x80)
            return 0;
    const unsigned second = at(1); // overlong forms, surrogates, above U+10FFFF
    if ((first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
        (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F))
        return 0;
    return n;
}

bool isControl(std::string_view text)
{
    const auto at = [&](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u; };
    return at(0) < 0x20 || at(0) == 0x7F || (at(0) == 0xC2 && at(1) >= 0x80 && at(1) < 0xA0);
}

} // namespace tool
