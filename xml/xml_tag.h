#pragma once
// The one body behind ZXmlTag and ZXmlTagW.

#include "containers/array_core.h"
#include "xml/xml_kinds.h"

namespace ztree_impl {

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
    /// A new element in one block with its implementation and room for a name of that many units. Throws
    /// 0x84201001.
    static Tag* create(int nameRoom);
    static Impl* of(const Tag* tag) noexcept { return tag->m_pImpl; }

    void share(const XmlTagCore& other);
    void setParent(Tag* parent);
    /// setParent() for an element that its parent does not list yet.
    void appendTo(Tag* parent);
    Tag* parent() const noexcept { return m_dying ? nullptr : m_parent; }
    void setName(const Ch* name) { setName(name, name ? lengthOf(name) : 0); }
    void setText(const Ch* text) { put(m_text, text, text ? lengthOf(text) : 0); }
    void setText(const Ch* text, int n) { put(m_text, text, n); }
    /// The element takes over a block from the library's heap, null for none.
    void takeText(Ch* block) noexcept;
    const Ch* name() const noexcept { return m_name; }
    const Ch* text() const noexcept { return m_text; }
    int kind() const noexcept { return m_kind; }
    /// Made when first asked for; lookups do without.
    AttribList& attribs();
    const AttribList* attribsOrNull() const noexcept { return m_attribs; }
    const Ch* attrib(const Ch* name) const { return m_attribs ? m_attribs->getAttrib(name) : nullptr; }

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
    static void put(Ch*& field, const Ch* text, int n);
    void setName(const Ch* name, int n);
    void dropName() noexcept;
    Ch* nameRoom() noexcept { return reinterpret_cast<Ch*>(static_cast<Impl*>(this) + 1); }

    Tag* m_owner;
    Tag* m_parent = nullptr; // of a dying element: the next one, then the list it dies from
    Ch* m_name = nullptr;
    Ch* m_text = nullptr;
    AttribList* m_attribs = nullptr;
    ArrayCore m_children; // of Tag, as ZSortObject
    int m_kind = -1;
    bool m_sorted = false;
    bool m_listed = false;        // stands in a list of dead elements
    bool m_dying = false;         // is being deleted from it
    bool m_inBlock = false;       // with the public object
    unsigned char m_nameRoom = 0; // units behind this object that a name may take, its terminator not counted
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
