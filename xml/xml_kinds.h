#pragma once
// What the twins of the XML classes differ in.

#include "attrib/attrib_list.h"
#include "tree/tree_core.h"

#include <ztree/xml.h>

#include <string>

namespace ztree_impl {

struct NarrowXml {
    using Char = char;
    using Tag = ZXmlTag;
    using TagImpl = mZXmlTag;
    using AttribKind = NarrowAttrib;
    using AttribList = ZAttribList;
    using TreeKind = NarrowTree;
    using String = ZString;
};
struct WideXml {
    using Char = zwchar;
    using Tag = ZXmlTagW;
    using TagImpl = mZXmlTagW;
    using AttribKind = WideAttrib;
    using AttribList = ZAttribWList;
    using TreeKind = WideTree;
    using String = ZStringW;
};

/// Compares a text with an ASCII one of the same unit type.
template <class Ch> int compareUnits(const Ch* a, const Ch* b) noexcept
{
    for (;; ++a, ++b)
        if (*a != *b || !*a) {
            if (sizeof(Ch) == 1)
                return static_cast<unsigned char>(*a) - static_cast<unsigned char>(*b);
            return static_cast<std::uint16_t>(*a) - static_cast<std::uint16_t>(*b);
        }
}
/// Whether n units equal an ASCII text, ignoring case when asked to.
template <class Ch>
bool isWord(const Ch* text, std::size_t n, const char* word, bool ignoreCase = false) noexcept
{
    for (std::size_t i = 0; i < n; ++i) {
        Ch c = text[i];
        if (ignoreCase && c >= 'A' && c <= 'Z')
            c = static_cast<Ch>(c | 0x20);
        if (!word[i] || c != static_cast<Ch>(static_cast<unsigned char>(word[i])))
            return false;
    }
    return !word[n];
}
template <class Ch> bool isXmlSpace(Ch c) noexcept
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

} // namespace ztree_impl
