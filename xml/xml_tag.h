#pragma once
// The one body behind ZXmlTag and ZXmlTagW.

#include "containers/array_core.h"
#include "xml/xml_kinds.h"

namespace ztree_impl {

/// What stands in a tag; the units belong to the text.
template <class Kind> struct TagParts {
    using Ch = typename Kind::Char;
    TagParts(const Ch* tag, int n) noexcept;
    const Ch* name = nullptr;
    int nameLength = 0;
    int kind = 0;
    const Ch* attribs = nullptr; // their text
    int attribsLength = 0;
};

template <class Kind> class XmlTagCore : public platform::HeapObject {
public:
    using Ch = typename Kind::Char;
    using Tag = typename Kind::Tag;
    using Impl = typename Kind::TagImpl;
    using AttribList = typename Kind::AttribList;

    explicit XmlTagCore(Tag* owner) noexcept : m_owner(owner) {}
    ~XmlTagCore();
    XmlTagCore(const XmlTagCore&) = delete;
    XmlTagCore& operator=(const XmlTagCore&) = delete;
    static Impl* make(Tag* owner); ///< throws structExcept 0x84201001
    /// What the destructor of the public object does with it.
    static void dispose(Impl* impl) noexcept;
    /// A new element in one block with its implementation, usual name and attributes and room for a text of
    /// that many units; complete() adds what finds no place there. Both throw 0x84201001.
    static Tag* create(const TagParts<Kind>& parts, int textRoom);
    void complete(const TagParts<Kind>& parts);
    static Impl* of(const Tag* tag) noexcept { return tag->m_pImpl; }

    void share(const XmlTagCore& other);
    void setParent(Tag* parent);
    /// setParent() for an element that its parent does not list yet.
    void appendTo(Tag* parent);
    Tag* parent() const noexcept { return m_dying ? nullptr : m_parent; }
    void setName(const Ch* name) { setName(name, name ? lengthOf(name) : 0); }
    void setText(const Ch* text) { setText(text, text ? lengthOf(text) : 0); }
    void setText(const Ch* text, int n);
    /// A place for a text of up to n units and its terminator, in the element's block where there is room.
    /// Whoever fills it says so by textTaken(). Throws 0x84201001.
    Ch* textPlace(int n);
    void textTaken(Ch* place, int n) noexcept;
    const Ch* name() const noexcept { return m_name; }
    int nameLength() const noexcept { return m_nameLength; }
    const Ch* text() const noexcept { return m_text; }
    int textLength() const noexcept { return m_textLength; }
    int kind() const noexcept { return m_kind; }
    /// Made when first asked for; lookups do without.
    AttribList& attribs();
    void parseAttribs(const Ch* text, int n);
    int attribCount() const noexcept { return m_attribs ? m_attribs->size() : m_spots; }
    /// 0 <= i < attribCount(); empty texts are null.
    AttribPiece<Ch> attribAt(int i) const noexcept;
    const Ch* attrib(const Ch* name) const noexcept;

    void addChild(Tag* child);
    void addChild(const Ch* name, const Ch* text);
    void removeChild(const Tag* child) noexcept;
    int childIndex(const Tag* child) const noexcept;
    Tag* child(int i) const noexcept
    {
        return static_cast<Tag*>(static_cast<ZSortObject*>(const_cast<void*>(m_children.at(i))));
    }
    int childCount() const noexcept { return m_children.size(); }
    Tag* findChild(const Ch* path) const;
    int sortChildren();
    int setData(const Ch* tag) { return setData(tag, tag ? lengthOf(tag) : 0); }
    /// n units of a tag; tag may be null.
    int setData(const Ch* tag, int n);

private:
    static int lengthOf(const Ch* text);
    struct Spot { // where texts of an attribute stand in the block, counted in units; 0 for none
        std::uint16_t name;
        std::uint16_t nameLength;
        std::uint16_t value;
        std::uint16_t valueLength;
    };
    void setName(const Ch* name, int n);
    bool sortByNames() noexcept;
    void dropName() noexcept;
    void dropText() noexcept;
    const Spot* spots() const noexcept
    {
        return reinterpret_cast<const Spot*>(static_cast<const Impl*>(this) + 1);
    }
    void fillSpots(const AttribPiece<Ch>* pieces) noexcept;
    /// The texts in the block: the name, the attributes, room for the text.
    Ch* units() noexcept { return const_cast<Ch*>(static_cast<const XmlTagCore*>(this)->units()); }
    const Ch* units() const noexcept { return reinterpret_cast<const Ch*>(spots() + m_spotRoom); }

    Tag* m_owner;
    Tag* m_parent = nullptr; // of a dying element: the next one, then the list it dies from
    Ch* m_name = nullptr;
    Ch* m_text = nullptr;
    AttribList* m_attribs = nullptr; // stands for those in the block once it is there
    ArrayCore m_children;            // of Tag, as ZSortObject
    int m_nameLength = 0;
    int m_textLength = 0;
    std::uint16_t m_textAt = 0;   // where in units() the room for the text begins
    std::uint16_t m_textRoom = 0; // its units, the terminator not counted
    std::uint8_t m_nameRoom = 0;  // units that a name may take there
    std::uint8_t m_spots = 0;     // attributes in the block, in order of their names
    std::uint8_t m_spotRoom = 0;
    std::int8_t m_kind = -1;
    bool m_sorted = false;
    bool m_repeats = false; // a child may be listed twice: one came without telling it its parent
    bool m_listed = false;  // stands in a list of dead elements
    bool m_dying = false;   // is being deleted from it
    bool m_inBlock = false; // with the public object
};

extern template class XmlTagCore<NarrowXml>;
extern template class XmlTagCore<WideXml>;

} // namespace ztree_impl

class mZXmlTag final : public ztree_impl::XmlTagCore<ztree_impl::NarrowXml> {
    using XmlTagCore::XmlTagCore;
};
class mZXmlTagW final : public ztree_impl::XmlTagCore<ztree_impl::WideXml> {
    using XmlTagCore::XmlTagCore;
};
