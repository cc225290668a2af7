#pragma once
/// @file paths.h
/// Paths that stand on the command line.

#include "tool/source_error.h"

#include <ztree/ext/tree.h>

namespace tool {

/// A path, or a Failure that shows what is wrong with it. Exit code 2: it is part of the command line.
struct KnownPath {
    explicit KnownPath(std::string_view text);
    ztree::Path path;
};

/// Line and column of a byte of a text.
Place placeOf(std::string_view text, std::size_t offset);
/// A Failure with exit code 2 that shows the place in a text of the command line.
[[noreturn]] void failWord(const char* what, std::string_view text, std::size_t offset,
                           std::string_view message);

} // namespace tool
