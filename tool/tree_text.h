#pragma once
/// @file tree_text.h
/// Trees as lines for people, and as lines of paths.

#include "tool/formats.h"

namespace tool {

/// The bytes of a text value, or a number as text in `room`; "" for no value.
std::string_view valueOf(const ZTBranch& branch, std::string& room);

struct ShowStyle {
    std::size_t depth = ~std::size_t{0};
    bool attributes = true;
    bool colour = false;
};
/// A line for the branch and each one below it.
void showTree(const ZTBranch& top, const ShowStyle& style, Out& out);

/// A line "/Order/Item[2]/Price=value" for every value and "/Order/@id=value" for every attribute; a branch
/// with nothing at all is a line without "=". Steps have a number where a name is not unique, so
/// that each path finds what the line is about and nothing else.
void writePaths(const ZTree& tree, const Layout& layout, Out& out);

} // namespace tool
