#include "xml/xml_tag.h"

#include "containers/name_sort.h"
#include "containers/sort_core.h"
#include "platform/work_stack.h"
#include "text/string_core.h"

#include <ztree/runtime.h>

#include <type_traits>
#include <typeinfo>

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

template <class Kind> TagParts<Kind>::TagParts(const Ch* tag, int n) noexcept
{
    const Ch* end = tag + n;
    if (tag < end && end[-1] == '/') {
        --end;
        kind = 2;
    }
    while (tag < end && isXmlSpace(*tag))
        ++tag;
    while (tag < end && isXmlSpace(end[-1]))
        --end;
    const Ch* nameEnd = tag;
    while (nameEnd < end && !isXmlSpace(*nameEnd))
        ++nameEnd;
    attribs = nameEnd;
    while (attribs < end && isXmlSpace(*attribs))
        ++attribs;
    attribsLength = static_cast<int>(end - attribs);
    if (tag < nameEnd) {
        if (*tag == '/') {
            ++tag;
            kind = 1;
        } else if (*tag == '!' || *tag == '?') {
            kind = 3;
        }
    }
    name = tag;
    nameLength = static_cast<int>(nameEnd - tag);
}
template struct TagParts<NarrowXml>;
template struct TagParts<WideXml>;

template <class Kind> typename Kind::Tag* XmlTagCore<Kind>::create(const TagParts<Kind>& parts, int textRoom)
{
    static_assert(sizeof(Tag) % alignof(Impl) == 0, "the implementation follows the public object");
    constexpr int mostName = 255;
    constexpr int mostTextRoom = 4096;
    constexpr std::size_t mostAttribUnits = 32768;
    AttribPiece<Ch> pieces[fewAttribs];
    int count = parts.attribsLength
                    ? sortedPieces<typename Kind::AttribKind>(parts.attribs, parts.attribsLength, pieces)
                    : 0;
    std::size_t attribUnits = 0;
    for (int i = 0; i < count; ++i)
        attribUnits += static_cast<std::size_t>(pieces[i].nameLength) +
                       static_cast<std::size_t>(pieces[i].valueLength) + 2;
    if (count < 0 || attribUnits > mostAttribUnits) {
        count = 0;
        attribUnits = 0;
    }
    const int nameRoom = parts.nameLength <= mostName ? parts.nameLength : 0;
    const std::size_t spots = static_cast<std::size_t>(count);
    const std::size_t textAt = static_cast<std::size_t>(nameRoom) + 1 + attribUnits;
    if (textRoom > mostTextRoom)
        textRoom = 0;
    char* block = static_cast<char*>(
        platform::heapAlloc(sizeof(Tag) + sizeof(Impl) + spots * sizeof(Spot) +
                            (textAt + (textRoom ? static_cast<std::size_t>(textRoom) + 1 : 0)) * sizeof(Ch)));
    if (!block)
        throw structExcept(ztree::errMemory);
    void* place = block + sizeof(Tag);
    Tag* tag = ::new (static_cast<void*>(block)) Tag(*static_cast<Impl*>(place));
    Impl* impl = ::new (place) Impl(tag);
    impl->m_kind = static_cast<std::int8_t>(parts.kind);
    impl->m_inBlock = true;
    impl->m_nameRoom = static_cast<std::uint8_t>(nameRoom);
    impl->m_spots = impl->m_spotRoom = static_cast<std::uint8_t>(count);
    impl->m_textAt = static_cast<std::uint16_t>(textAt);
    impl->m_textRoom = static_cast<std::uint16_t>(textRoom);
    if (nameRoom)
        impl->setName(parts.name, parts.nameLength);
    impl->fillSpots(pieces);
    return tag;
}

// The texts stand behind the name's room.
template <class Kind> void XmlTagCore<Kind>::fillSpots(const AttribPiece<Ch>* pieces) noexcept
{
    Ch* const room = units();
    std::size_t at = std::size_t{m_nameRoom} + 1;
    auto put = [&](const Ch* text, int n, std::uint16_t& to, std::uint16_t& length) {
        to = n ? static_cast<std::uint16_t>(at) : std::uint16_t{0};
        length = static_cast<std::uint16_t>(n);
        copyText(room + at, text, static_cast<std::size_t>(n) * sizeof(Ch));
        at += static_cast<std::size_t>(n);
        room[at++] = 0;
    };
    for (int i = 0; i < m_spots; ++i) {
        Spot& spot = const_cast<Spot&>(spots()[i]);
        put(pieces[i].name, pieces[i].nameLength, spot.name, spot.nameLength);
        put(pieces[i].value, pieces[i].valueLength, spot.value, spot.valueLength);
    }
}

template <class Kind> void XmlTagCore<Kind>::complete(const TagParts<Kind>& parts)
{
    if (!m_name)
        setName(parts.name, parts.nameLength);
    if (parts.attribsLength && !m_spots)
        parseAttribs(parts.attribs, parts.attribsLength);
}

template <class Kind> void XmlTagCore<Kind>::dropName() noexcept
{
    if (!m_inBlock || m_name != units())
        platform::heapFree(m_name);
    m_name = nullptr;
    m_nameLength = 0;
}

template <class Kind> void XmlTagCore<Kind>::dropText() noexcept
{
    if (!m_textRoom || m_text != units() + m_textAt)
        platform::heapFree(m_text);
    m_text = nullptr;
    m_textLength = 0;
}

template <class Kind> void XmlTagCore<Kind>::setName(const Ch* name, int n)
{
    Ch* fresh = nullptr;
    if (name && n > 0) {
        const bool fits = n <= m_nameRoom && m_name != units();
        fresh = fits ? units() : duplicate(name, n);
        if (fits) {
            copyText(fresh, name, static_cast<std::size_t>(n) * sizeof(Ch));
            fresh[n] = 0;
        }
    }
    dropName();
    m_name = fresh;
    m_nameLength = fresh ? n : 0;
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
    dropText();
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
    return ::textLength(text);
}

template <class Kind> void XmlTagCore<Kind>::setText(const Ch* text, int n)
{
    Ch* copy = text && n > 0 ? duplicate(text, n) : nullptr;
    dropText();
    m_text = copy;
    m_textLength = copy ? n : 0;
}

template <class Kind> typename Kind::Char* XmlTagCore<Kind>::textPlace(int n)
{
    if (n <= m_textRoom && !m_text)
        return units() + m_textAt;
    Ch* block = platform::allocArray<Ch>(static_cast<std::size_t>(n) + 1);
    if (!block)
        throw structExcept(ztree::errMemory);
    return block;
}

template <class Kind> void XmlTagCore<Kind>::textTaken(Ch* place, int n) noexcept
{
    if (m_text)
        dropText();
    place[n] = 0;
    m_text = place;
    m_textLength = n;
}

template <class Kind> AttribPiece<typename Kind::Char> XmlTagCore<Kind>::attribAt(int i) const noexcept
{
    if (m_attribs) {
        const auto* impl = AttribCore<typename Kind::AttribKind>::of(
            *AttribListCore<typename Kind::AttribKind>::of(*m_attribs)->at(i));
        if (!impl)
            return {nullptr, 0, nullptr, 0};
        return {impl->name.text, impl->name.length, impl->value.text, impl->value.length};
    }
    const Spot& spot = spots()[i];
    return {units() + spot.name, spot.nameLength, spot.value ? units() + spot.value : nullptr,
            spot.valueLength};
}

template <class Kind> const typename Kind::Char* XmlTagCore<Kind>::attrib(const Ch* name) const noexcept
{
    if (m_attribs)
        return m_attribs->getAttrib(name);
    if (!name || !m_spots)
        return nullptr;
    NameSearch<typename Kind::AttribKind> search(name, true);
    int i = 0;
    while (i < m_spots && !search.endsAt(units() + spots()[i].name))
        ++i;
    return search.found() ? attribAt(i).value : nullptr;
}

template <class Kind> typename Kind::AttribList& XmlTagCore<Kind>::attribs()
{
    if (m_attribs)
        return *m_attribs;
    AttribList* list = new AttribList;
    if (!list)
        throw structExcept(ztree::errMemory);
    try {
        for (int i = 0; i < m_spots; ++i) {
            const AttribPiece<Ch> attrib = attribAt(i);
            list->addAttrib(attrib.name, attrib.value);
        }
        if (m_spots)
            list->sort();
    } catch (...) {
        delete list;
        throw;
    }
    m_attribs = list;
    return *m_attribs;
}

template <class Kind> void XmlTagCore<Kind>::parseAttribs(const Ch* text, int n)
{
    auto& list = *AttribListCore<typename Kind::AttribKind>::of(attribs());
    list.parse(text, n);
    list.sort();
}

template <class Kind> void XmlTagCore<Kind>::share(const XmlTagCore& other)
{
    if (&other == this)
        return;
    setName(other.m_name);
    setText(other.m_text);
    if (other.attribCount() || m_attribs || m_spots) {
        // The attributes are the copy's own.
        AttribList& list = attribs();
        list.removeAllAttribs();
        for (int i = 0; i < other.attribCount(); ++i)
            list.addAttrib(other.attribAt(i).name, other.attribAt(i).value);
    }
    // Kept: the children are shared, and both elements delete those they still
    // hold.
    if (!m_children.assign(other.m_children))
        throw structExcept(ztree::errMemory);
    m_kind = other.m_kind;
    m_sorted = other.m_sorted;
    m_repeats = true; // they have another parent, and may be given this one too
    m_parent = nullptr;
}

template <class Kind> void XmlTagCore<Kind>::setParent(Tag* parent)
{
    if (parent && parent == m_parent)
        of(parent)->m_repeats = true; // it goes to the end: its first place is the one to leave
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
    m_repeats = true;
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
    if (!child)
        return -1;
    // From both ends, since children often go in turn; from the front alone if one may stand there twice.
    const void* const wanted = static_cast<const ZSortObject*>(child);
    const int count = m_children.size();
    for (int i = 0; i < count; ++i) {
        if (m_children.at(i) == wanted)
            return i;
        if (!m_repeats && m_children.at(count - 1 - i) == wanted)
            return count - 1 - i;
    }
    return -1;
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

// The first 8 bytes, the first one highest.
template <class Ch> static std::uint64_t headOf(const Ch* name, int n) noexcept
{
    constexpr int units = 8 / sizeof(Ch);
    std::uint64_t head = 0;
    for (int i = 0; i < units; ++i)
        head = head << (8 * sizeof(Ch)) | (i < n ? static_cast<std::make_unsigned_t<Ch>>(name[i]) : 0U);
    return head;
}

// False, and nothing done, when the comparison of a child may be its own, or when memory is short.
template <class Kind> bool XmlTagCore<Kind>::sortByNames() noexcept
{
    return sortcore::sortByName<Ch>(
        m_children,
        [](const void* object, sortcore::Named<Ch>& named) {
            const Tag* const tag = static_cast<const Tag*>(static_cast<const ZSortObject*>(object));
            if (typeid(*tag) != typeid(Tag))
                return false;
            named.setName(of(tag)->m_name, of(tag)->m_nameLength, headOf<Ch>);
            return true;
        },
        compareUnits<Ch>);
}

template <class Kind> int XmlTagCore<Kind>::sortChildren()
{
    platform::WorkStack<XmlTagCore*> open;
    auto enter = [&](XmlTagCore* element) {
        if (element->childCount()) {
            if (!element->sortByNames())
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
    dropText();
    delete m_attribs;
    m_attribs = nullptr;
    m_spots = 0;
    m_kind = 0;
    m_sorted = false;
    if (!tag)
        return 0;
    const TagParts<Kind> parts(tag, n);
    m_kind = static_cast<std::int8_t>(parts.kind);
    setName(parts.name, parts.nameLength);
    if (parts.attribsLength)
        parseAttribs(parts.attribs, parts.attribsLength);
    return 0;
}

template class XmlTagCore<NarrowXml>;
template class XmlTagCore<WideXml>;

} // namespace ztree_impl
