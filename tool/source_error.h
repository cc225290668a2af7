#pragma once
/// @file source_error.h
/// Errors in input, shown with the line they are in.

#include "tool/files.h"

namespace tool {

struct Place {
    std::size_t line;   ///< from 1
    std::size_t column; ///< from 1, in characters
};

/// "name:line:column: error: message", the source line and a line with a caret below the character. A long
/// line is cut around it. The text is UTF-8 or UTF-16 with a byte-order mark; a byte that is neither counts
/// as one character.
std::string sourceError(const Source& source, Place place, std::string_view message);
/// Throws it as a Failure with exit code 3.
[[noreturn]] void failSource(const Source& source, Place place, std::string_view message);

/// Appends UTF-8 text so that it can stand in one line and does nothing to a terminal: a control character
/// becomes "\n", "\t", "\r" or "\x1b", a stray byte "\xff"; `also` (a character of ASCII, 0 for none) and "\"
/// get a "\" in front.
void putVisible(Out& out, std::string_view text, char also);

} // namespace tool
