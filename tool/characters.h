#pragma once
/// @file characters.h
/// What the bytes of a UTF-8 text are.

#include <cstddef>
#include <string_view>

namespace tool {

/// Bytes of the character at the start of the text, which is not empty; 0 when they are not UTF-8.
std::size_t characterLength(std::string_view text);
/// C0, DEL and C1 at the start of the text, which is not empty: what a terminal may take as a command.
bool isControl(std::string_view text);

} // namespace tool
