#pragma once
/// @file formats.h
/// The forms in which a tree comes in and goes out. A new form is one row of the table in formats.cpp.

#include "tool/files.h"

#include <ztree/tree.h>

#include <string>
#include <string_view>

namespace tool {

struct Layout {
    int indent = 2; ///< blanks a level; below 0 puts all on one line
};

struct Format {
    const char* name;
    const char* title;
    /// True when the bytes are surely of this form; null when nothing tells.
    bool (*recognises)(std::string_view bytes);
    /// Replaces the tree; throws Failure with a finished report, code 3. Null: the form is only written.
    void (*read)(const Source& source, ZTree& tree);
    /// Throws Failure when the tree cannot be said in this form. Null: the form is only read.
    void (*write)(const ZTree& tree, const Layout& layout, Out& out);
};

/// "xml|bin|...": the forms that can be read, or written.
std::string readableFormats();
std::string writableFormats();
const Format& formatOf(std::string_view name);

/// Reads a tree in the named form, or the form that the bytes show ("" for the name); XML otherwise. Returns
/// the form.
const Format& readTree(const Source& source, std::string_view format, ZTree& tree);
/// Writes a tree to a file, whole or not at all, or to standard output for "-". `backups`: see NewFile.
void writeTree(const ZTree& tree, const Format& format, const Layout& layout, const std::string& target,
               int backups);

} // namespace tool
