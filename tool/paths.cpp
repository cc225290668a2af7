#include "tool/paths.h"

namespace tool {

KnownPath::KnownPath(std::string_view text) : path(text)
{
    if (!path.ok())
        failWord("path", text, static_cast<std::size_t>(path.error().column - 1), path.error().message);
}

Place placeOf(std::string_view text, std::size_t offset)
{
    Place place = {1, 1};
    for (const char c : text.substr(0, offset)) {
        if (c == '\n')
            place = {place.line + 1, 1};
        else
            place.column += (c & 0xC0) != 0x80;
    }
    return place;
}

void failWord(const char* what, std::string_view text, std::size_t offset, std::string_view message)
{
    throw Failure{exitTrouble, sourceError({what, std::string(text)}, placeOf(text, offset), message), true};
}

} // namespace tool
