#pragma once
/// @file ext/xml.h
/// Real-world XML 1.0 straight into a tree, and back without loss.

#include <ztree/tree.h>
#include <ztree/types.h>

#include <string_view>

namespace ztree {

/// What made a document unreadable, or a tree unwritable.
enum class XmlFault {
    none,         ///< all went well
    file,         ///< the file cannot be read or written; `system` has the code
    encoding,     ///< unknown encoding, or bytes that are no UTF-8, UTF-16 or ASCII
    character,    ///< a character that XML does not allow
    syntax,       ///< markup that is not as it must be
    endTag,       ///< an end tag without its start tag, or none where one is due
    attribute,    ///< an attribute given twice
    entity,       ///< an entity that is not amp, lt, gt, quot or apos
    structure,    ///< nothing at all, or something behind the document element
    name,         ///< a branch whose name is none in XML (writing)
    unrepresented ///< a value that XML cannot hold (writing)
};

/// Where and why. Lines and columns count from 1, columns in characters; the offset counts bytes of the
/// text as it was given, from 0 (of its UTF-8 form when it was given in another encoding).
struct XmlError {
    XmlFault fault = XmlFault::none; ///< what is wrong
    int line = 0;                    ///< from 1
    int column = 0;                  ///< from 1, in characters
    std::size_t offset = 0;          ///< from 0
    unsigned int system = 0;         ///< system code of a file error
    char message[192] = {};          ///< a sentence in English, UTF-8
    explicit operator bool() const { return fault != XmlFault::none; }
};

/// Reads an XML document into `tree`, replacing it; false and an untouched tree when it is not well-formed.
///
/// An element becomes a branch with the attributes in order. The text of an element without child elements
/// is its value, as it stands. Among child elements, text becomes branches named "#text" in its place;
/// blank text there is dropped unless the element holds other text as well. Comments, processing
/// instructions and the DOCTYPE are checked and dropped. The five named entities and character references
/// are resolved, any other is an error: no DTD is read, no entity expanded, nothing fetched.
///   data, bytes  UTF-8, UTF-16 with a byte-order mark, or what the XML declaration names; bytes that another
///                encoding does not have become what the system's conversion makes of them
/// Throws structExcept 0x84201001 when memory is short. Depth and size are bounded by memory alone.
ZTREE_API bool readXml(const char* data, std::size_t bytes, ZTree& tree, XmlError* error = nullptr);
/// The same from a text, std::string for example.
inline bool readXml(std::string_view text, ZTree& tree, XmlError* error = nullptr)
{
    return readXml(text.data(), text.size(), tree, error);
}
/// The same from a terminated text; null counts as an empty one.
inline bool readXml(const char* text, ZTree& tree, XmlError* error = nullptr)
{
    return readXml(std::string_view(text ? text : ""), tree, error);
}
/// The same from a file.
ZTREE_API bool readXmlFile(const char* path, ZTree& tree, XmlError* error = nullptr);

/// How writeXml lays a document out.
struct XmlStyle {
    int indent = 2;          ///< blanks a level, down to deepestIndent; below 0 puts all on one line
    bool declaration = true; ///< begins with the XML declaration
    /// Deeper levels are indented like this one, so that a deep tree is not written as blanks mostly.
    static constexpr int deepestIndent = 100;
};
/// Appends the tree as an XML document (UTF-8) to out: readXml of it gives the same names, attributes, texts
/// and order. Numbers are written as text. False when a name or value cannot stand in XML; out is as it was.
ZTREE_API bool writeXml(const ZTree& tree, ZString& out, XmlError* error = nullptr,
                        const XmlStyle& style = {});
/// The same for one branch with all below it.
ZTREE_API bool writeXml(const ZTBranch& branch, ZString& out, XmlError* error = nullptr,
                        const XmlStyle& style = {});

} // namespace ztree
