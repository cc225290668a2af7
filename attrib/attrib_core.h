#pragma once
// The one body behind ZAttrib and ZAttribW, and what other parts of the library make attributes with.

#include "platform/heap.h"

#include <ztree/attributes.h>

#include <iosfwd>

namespace ztree_impl {

/// _stricmp and its wide twin: bytes fold by ASCII case, units by the wide case mapping (never from a unit
/// above 127 to one below, so that hashes of folded names agree).
int compareNames(const char* a, const char* b) noexcept;
int compareNames(const zwchar* a, const zwchar* b) noexcept;
bool equalNames(const char* a, int na, const char* b, int nb) noexcept;
bool equalNames(const zwchar* a, int na, const zwchar* b, int nb) noexcept;

/// The unit as names of wide attributes compare it.
int foldUnit(zwchar c) noexcept;

/// A new attribute in one block with its texts; the caller deletes it. Lengths in units; name and value may
/// be null with length 0. Throws structExcept 0x84201001.
ZAttrib* newAttrib(const char* name, int nameLength, const char* value, int valueLength);
ZAttribW* newAttrib(const zwchar* name, int nameLength, const zwchar* value, int valueLength);
/// Lengths in units, 0 where there is no text.
int nameLength(const ZAttrib& attrib) noexcept;
int nameLength(const ZAttribW& attrib) noexcept;
int valueLength(const ZAttrib& attrib) noexcept;
int valueLength(const ZAttribW& attrib) noexcept;

/// A text field: null when empty. Its room may belong to the attribute's own block.
template <class Ch> struct AttribText {
    Ch* text = nullptr;
    int length = 0;
    bool inBlock = false;
};
template <class Ch> struct AttribFields : platform::HeapObject {
    AttribText<Ch> name;
    AttribText<Ch> value;
    bool inBlock = false; // shares a block with the public object
};

struct NarrowAttrib {
    using Char = char;
    using Attrib = ZAttrib;
    using Impl = mZAttrib;
    static constexpr int saveFactor = 1; // bytes a unit of the value in the stream
};
struct WideAttrib {
    using Char = zwchar;
    using Attrib = ZAttribW;
    using Impl = mZAttribW;
    static constexpr int saveFactor = 4; // twice the size of a unit; readers of old streams expect it
};

} // namespace ztree_impl

class mZAttrib final : public ztree_impl::AttribFields<char> {};
class mZAttribW final : public ztree_impl::AttribFields<zwchar> {};

namespace ztree_impl {

template <class Kind> struct AttribCore {
    using Ch = typename Kind::Char;
    using Attrib = typename Kind::Attrib;
    using Impl = typename Kind::Impl;
    using Text = AttribText<Ch>;

    static Impl* make(const Ch* name, const Ch* value);
    static Impl* copy(const Impl& from);
    static Attrib* makeInBlock(const Ch* name, int nameLength, const Ch* value, int valueLength);
    static const Impl* of(const Attrib& attrib) noexcept { return attrib.m_pImpl; }
    static void dispose(Impl* impl) noexcept;
    static void assign(Impl*& to, const Impl* from);
    static void setField(Impl*& impl, Text AttribFields<Ch>::*field, const Ch* text);
    static int compare(const Attrib* a, const Attrib* b) noexcept;
    static int save(const Impl* impl, std::ostream& out);
    static int load(Impl*& impl, std::istream& in);

private:
    static Impl* need(Impl*& impl);
    static void drop(Text& field) noexcept;
    static void take(Text& field, Ch* text, int length) noexcept;
    static Ch* duplicate(const Ch* text, int length);
    static Ch* readField(std::istream& in, int& length);
};

extern template struct AttribCore<NarrowAttrib>;
extern template struct AttribCore<WideAttrib>;

} // namespace ztree_impl
