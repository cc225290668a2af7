#include "xml/xml_tag.h"

#include "containers/sort_core.h"
#include "platform/work_stack.h"
#include "text/string_core.h"

#include <ztree/runtime.h>

#include <algorithm>

namespace ztree_impl {

template <class Kind> typename Kind::TagImpl* XmlTagCore<Kind>::make(Tag* owner)
{
    Impl* impl = new Impl(owner);
    if (!impl)
        throw structExcept(ztree::errMemory);
    return impl;
}

template <class Kind> void XmlTagCore<Kind>::dispose(Impl* impl) noexcept
{
    if (impl && impl->m_inBlock)
        impl->~Impl();
    else
        delete impl;
}

template <class Kind> typename Kind::Tag* XmlTagCore<Kind>::create(int nameRoom)
{
    static_assert(sizeof(Tag) % alignof(Impl) == 0, "the implementation follows the public object");
    const int room = std::min(nameRoom, 255);
    char* block = static_cast<char*>(
        platform::heapAlloc(sizeof(Tag) + sizeof(Impl) + (static_cast<std::size_t>(room) + 1) * sizeof(Ch)));
    if (!block)
        throw structExcept(ztree::errMemory);
    void* place = block + sizeof(Tag);
    Tag* tag = ::new (static_cast<void*>(block)) Tag(*static_cast<Impl*>(place));
    Impl* impl = ::new (place) Impl(tag);
    impl->m_inBlock = true;
    impl->m_nameRoom = static_cast<unsigned char>(room);
    return tag;
}

template <class Kind> void XmlTagCore<Kind>::dropName() noexcept
{
    if (!m_nameRoom || m_name != nameRoom())
        platform::heapFree(m_name);
    m_name = nullptr;
}

template <class Kind> void XmlTagCore<Kind>::setName(const Ch* name, int n)
{
    if (name && n > 0 && n <= m_nameRoom && name != m_name) {
        if (m_name != nameRoom())
            dropName();
        std::copy_n(name, n, nameRoom());
        nameRoom()[n] = 0;
        m_name = nameRoom();
        return;
    }
    Ch* fresh = nullptr;
    put(fresh, name, n);
    dropName();
    m_name = fresh;
}

// Elements die one by one from a list that they form through their parent
// pointers, so that no depth needs a stack. An element listed twice is deleted
// once.
template <class Kind> XmlTagCore<Kind>::~XmlTagCore()
{
    Tag* first = nullptr;
    Tag** list = m_dying ? reinterpret_cast<Tag**>(m_parent) : &first;
    for (int i = 0; i < m_children.size(); ++i) {
        Tag* dead = child(i);
        if (!dead || of(dead)->m_listed)
            continue;
        of(dead)->m_listed = true;
        of(dead)->m_parent = *list;
        *list = dead;
    }
    dropName();
    platform::heapFree(m_text);
    delete m_attribs;
    if (m_dying)
        return;
    while (first) {
        Tag* dead = first;
        Impl* impl = of(dead);
        first = impl->m_parent;
        impl->m_parent = reinterpret_cast<Tag*>(&first);
        impl->m_dying = true;
        if (impl->m_inBlock) { // made here, so of no derived class
            impl->~Impl();
            platform::heapFree(dead);
        } else {
            delete dead;
        }
    }
}

template <class Kind> int XmlTagCore<Kind>::lengthOf(const Ch* text)
{
    return textLength(text);
}

template <class Kind> void XmlTagCore<Kind>::put(Ch*& field, const Ch* text, int n)
{
    Ch* copy = nullptr;
    if (text && n > 0) {
        copy = platform::allocArray<Ch>(static_cast<std::size_t>(n) + 1);
        if (!copy)
            throw structExcept(ztree::errMemory);
        std::copy_n(text, n, copy);
        copy[n] = 0;
    }
    platform::heapFree(field);
    field = copy;
}

template <class Kind> void XmlTagCore<Kind>::takeText(Ch* block) noexcept
{
    platform::heapFree(m_text);
    m_text = block;
}

template <class Kind> typename Kind::AttribList& XmlTagCore<Kind>::attribs()
{
    if (!m_attribs)
        m_attribs = new AttribList;
    if (!m_attribs)
        throw structExcept(ztree::errMemory);
    return *m_attribs;
}

template <class Kind> void XmlTagCore<Kind>::share(const XmlTagCore& other)
{
    if (&other == this)
        return;
    setName(other.m_name);
    setText(other.m_text);
    if (other.m_attribs || m_attribs) {
        // The attributes are the copy's own.
        AttribList& list = attribs();
        list.removeAllAttribs();
        for (int i = 0; other.m_attribs && i < other.m_attribs->size(); ++i)
            list.addAttrib(other.m_attribs->nameAt(i), other.m_attribs->dataAt(i));
    }
    // Kept: the children are shared, and both elements delete those they still
    // hold.
    if (!m_children.assign(other.m_children))
        throw structExcept(ztree::errMemory);
    m_kind = other.m_kind;
    m_sorted = other.m_sorted;
    m_parent = nullptr;
}

template <class Kind> void XmlTagCore<Kind>::setParent(Tag* parent)
{
    if (parent && !of(parent)->m_children.add(static_cast<ZSortObject*>(m_owner)))
        throw structExcept(ztree::errMemory);
    if (m_parent)
        of(m_parent)->removeChild(m_owner);
    m_parent = parent;
}

template <class Kind> void XmlTagCore<Kind>::appendTo(Tag* parent)
{
    if (!of(parent)->m_children.add(static_cast<ZSortObject*>(m_owner)))
        throw structExcept(ztree::errMemory);
    m_parent = parent;
}

template <class Kind> void XmlTagCore<Kind>::addChild(Tag* child)
{
    if (child && !m_children.add(static_cast<ZSortObject*>(child)))
        throw structExcept(ztree::errMemory);
}

template <class Kind> void XmlTagCore<Kind>::addChild(const Ch* name, const Ch* text)
{
    Tag* child = new Tag(static_cast<Tag*>(nullptr), name, text);
    if (!child)
        throw structExcept(ztree::errMemory);
    const int before = m_children.size();
    try {
        of(child)->appendTo(m_owner);
        addChild(child); // Kept: it stands twice in the list.
    } catch (...) {
        m_children.cut(before);
        delete child;
        throw;
    }
    m_sorted = false;
}

template <class Kind> int XmlTagCore<Kind>::childIndex(const Tag* child) const noexcept
{
    return child ? m_children.find(static_cast<const ZSortObject*>(child)) : -1;
}

template <class Kind> void XmlTagCore<Kind>::removeChild(const Tag* child) noexcept
{
    const int at = childIndex(child);
    if (at >= 0)
        m_children.removeAt(at);
}

template <class Kind> typename Kind::Tag* XmlTagCore<Kind>::findChild(const Ch* path) const
{
    if (!path || !childCount())
        return nullptr;
    // "name(rel)": two pieces between brackets of either kind.
    auto bracket = [](Ch c) { return c == '(' || c == ')'; };
    const Ch* name = path;
    while (*name && bracket(*name))
        ++name;
    const Ch* nameEnd = name;
    while (*nameEnd && !bracket(*nameEnd))
        ++nameEnd;
    const Ch* rel = nameEnd;
    while (*rel && bracket(*rel))
        ++rel;
    const Ch* relEnd = rel;
    while (*relEnd && !bracket(*relEnd))
        ++relEnd;
    if (name == nameEnd)
        return nullptr;
    const std::size_t nameLength = static_cast<std::size_t>(nameEnd - name);
    const std::size_t relLength = static_cast<std::size_t>(relEnd - rel);
    auto same = [](const Ch* text, const Ch* piece, std::size_t n) {
        for (std::size_t i = 0; i < n; ++i)
            if (text[i] != piece[i])
                return false; // also where the text ends: a piece holds no terminator
        return text[n] == 0;
    };
    auto before = [&](const Ch* text) { // whether text sorts before the name
        for (std::size_t i = 0; i < nameLength; ++i)
            if (text[i] != name[i])
                return static_cast<std::make_unsigned_t<std::conditional_t<sizeof(Ch) == 1, char, short>>>(
                           text[i]) <
                       static_cast<std::make_unsigned_t<std::conditional_t<sizeof(Ch) == 1, char, short>>>(
                           name[i]);
        return false;
    };
    static const Ch none = 0;
    auto nameOf = [&](int i) {
        const Ch* text = child(i) ? of(child(i))->m_name : nullptr;
        return text ? text : &none;
    };
    if (m_sorted && !relLength) {
        int lo = 0;
        int hi = childCount();
        while (lo < hi) {
            const int mid = lo + (hi - lo) / 2;
            if (before(nameOf(mid)))
                lo = mid + 1;
            else
                hi = mid;
        }
        return lo < childCount() && same(nameOf(lo), name, nameLength) ? child(lo) : nullptr;
    }
    static const Ch relName[] = {'R', 'e', 'l', 0};
    // Kept: letters count alike in both cases for the early end of a search in
    // sorted children.
    const int bound = *name | 0x20;
    for (int i = 0; i < childCount(); ++i) {
        const Ch* other = nameOf(i);
        if (same(other, name, nameLength)) {
            if (!relLength)
                return child(i);
            const Ch* value = of(child(i))->attrib(relName);
            if (value && same(value, rel, relLength))
                return child(i);
        } else if (m_sorted && (*other | 0x20) > bound) {
            return nullptr;
        }
    }
    return nullptr;
}

template <class Kind> int XmlTagCore<Kind>::sortChildren()
{
    platform::WorkStack<XmlTagCore*> open;
    auto enter = [&](XmlTagCore* element) {
        if (element->childCount()) {
            sortcore::sort(element->m_children);
            if (!open.push(element))
                throw structExcept(ztree::errMemory);
        }
        element->m_sorted = true;
    };
    enter(this);
    while (!open.empty()) {
        XmlTagCore* element = open.top();
        open.pop();
        for (int i = 0; i < element->childCount(); ++i)
            if (Tag* next = element->child(i))
                enter(of(next));
    }
    return 0;
}

template <class Kind> int XmlTagCore<Kind>::setData(const Ch* tag, int n)
{
    dropName();
    put(m_text, nullptr, 0);
    if (m_attribs) {
        delete m_attribs;
        m_attribs = nullptr;
    }
    m_kind = 0;
    m_sorted = false;
    if (!tag)
        return 0;
    const Ch* end = tag + n;
    if (tag < end && end[-1] == '/') {
        --end;
        m_kind = 2;
    }
    while (tag < end && isXmlSpace(*tag))
        ++tag;
    while (tag < end && isXmlSpace(end[-1]))
        --end;
    const Ch* nameEnd = tag;
    while (nameEnd < end && !isXmlSpace(*nameEnd))
        ++nameEnd;
    const Ch* rest = nameEnd;
    while (rest < end && isXmlSpace(*rest))
        ++rest;
    if (tag < nameEnd) {
        if (*tag == '/') {
            ++tag;
            m_kind = 1;
        } else if (*tag == '!' || *tag == '?') {
            m_kind = 3;
        }
    }
    setName(tag, static_cast<int>(nameEnd - tag));
    if (rest < end) {
        AttribListCore<typename Kind::AttribKind>& list =
            *AttribListCore<typename Kind::AttribKind>::of(attribs());
        list.parse(rest, static_cast<int>(end - rest));
        list.sort();
    }
    return 0;
}

template class XmlTagCore<NarrowXml>;
template class XmlTagCore<WideXml>;

} // namespace ztree_impl
