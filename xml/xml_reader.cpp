#include "xml/xml_reader.h"

#include "platform/codepage.h"
#include "platform/file.h"
#include "platform/syserror.h"
#include "platform/work_stack.h"
#include "text/string_core.h"

#include <ztree/runtime.h>

#include <algorithm>
#include <climits>

namespace ztree_impl {

namespace {
constexpr int noMemory = 14; // the system's code for it

template <class Ch> const Ch* findUnit(const Ch* from, const Ch* end, char c) noexcept
{
    const Ch* found =
        std::char_traits<Ch>::find(from, static_cast<std::size_t>(end - from), static_cast<Ch>(c));
    return found ? found : end;
}
} // namespace

template <class Kind> XmlReaderCore<Kind>::~XmlReaderCore()
{
    delete m_root;
    platform::heapFree(m_data);
}

template <class Kind> void XmlReaderCore<Kind>::take(Ch* block, int length) noexcept
{
    platform::heapFree(m_data);
    m_data = block;
    m_length = length;
    // Kept: elements parsed from the old text are let go, not deleted: callers
    // may hold them.
    m_root = nullptr;
    m_position = std::min(m_position, m_length);
}

template <class Kind> void XmlReaderCore<Kind>::copyText(const XmlReaderCore& other)
{
    if (&other == this)
        return;
    Ch* copy = nullptr;
    if (other.m_data) {
        copy = platform::allocArray<Ch>(static_cast<std::size_t>(other.m_length) + 1);
        if (!copy)
            throw structExcept(ztree::errMemory);
        std::copy_n(other.m_data, other.m_length + 1, copy);
    }
    unload();
    take(copy, other.m_length);
    m_position = -1;
}

template <> int XmlReaderCore<NarrowXml>::setData(const char* text, unsigned codepage)
{
    char* copy = nullptr;
    int length = 0;
    try {
        copy = ZString::strDup(text, codepage);
        length = copy ? textLength(copy) : 0;
    } catch (const structExcept&) {
        platform::heapFree(copy);
        return noMemory;
    }
    take(copy, length);
    return 0;
}

template <> int XmlReaderCore<WideXml>::setData(const zwchar* text, unsigned)
{
    zwchar* copy = nullptr;
    int length = 0;
    if (text && *text) {
        length = textLength(text);
        copy = platform::allocArray<zwchar>(static_cast<std::size_t>(length) + 1);
        if (!copy)
            return noMemory;
        std::copy_n(text, length + 1, copy);
    }
    take(copy, length);
    return 0;
}

// bytes end with a zero byte behind the n.
template <> int XmlReaderCore<NarrowXml>::setBytes(const char* bytes, std::size_t n, unsigned codepage)
{
    if (n > 3 && bytes[0] == '\xEF' && bytes[1] == '\xBB' && bytes[2] == '\xBF') {
        bytes += 3;
        codepage = platform::codepageUtf8;
    }
    return setData(bytes, codepage);
}

template <> int XmlReaderCore<WideXml>::setBytes(const char* bytes, std::size_t n, unsigned codepage)
{
    const unsigned char* raw = reinterpret_cast<const unsigned char*>(bytes);
    const bool little = n >= 2 && raw[0] == 0xFF && raw[1] == 0xFE;
    const bool big = n >= 2 && raw[0] == 0xFE && raw[1] == 0xFF;
    platform::HeapPtr<zwchar> units;
    int length = 0;
    if (little || big) {
        length = static_cast<int>((n - 2) / 2);
        units.reset(platform::allocArray<zwchar>(static_cast<std::size_t>(length) + 1));
        if (!units)
            return noMemory;
        for (int i = 0; i < length; ++i) {
            const unsigned char* pair = raw + 2 + 2 * static_cast<std::size_t>(i);
            units[static_cast<std::size_t>(i)] =
                static_cast<zwchar>(little ? pair[0] | pair[1] << 8 : pair[1] | pair[0] << 8);
        }
    } else {
        if (n > 3 && raw[0] == 0xEF && raw[1] == 0xBB && raw[2] == 0xBF) {
            bytes += 3;
            n -= 3;
            codepage = platform::codepageUtf8;
        }
        const int count = static_cast<int>(n);
        length = platform::toWide(codepage, bytes, count, nullptr, 0);
        if (length == 0)
            return static_cast<int>(platform::lastError());
        units.reset(platform::allocArray<zwchar>(static_cast<std::size_t>(length) + 1));
        if (!units)
            return noMemory;
        platform::toWide(codepage, bytes, count, units.get(), length);
    }
    units[static_cast<std::size_t>(length)] = 0;
    // As with a text given by its terminator, the first zero ends it.
    length = textLength(units.get());
    take(length ? units.release() : nullptr, length);
    return 0;
}

template <class Kind> int XmlReaderCore<Kind>::readFile(const char* path, void* handle, unsigned codepage)
{
    platform::File file;
    if (path) {
        if (const unsigned error = file.open(path, platform::OpenFor::read))
            return static_cast<int>(error);
    } else {
        file = platform::File::borrow(handle);
        if (const unsigned error = file.seek(0, platform::SeekFrom::start))
            return static_cast<int>(error);
    }
    char* bytes = nullptr;
    std::size_t n = 0;
    if (const unsigned error = platform::readRest(file, &bytes, &n))
        return static_cast<int>(error);
    const platform::HeapPtr<char> block(bytes);
    if (n == 0)
        return static_cast<int>(platform::lastError());
    if (n > INT_MAX - 64)
        return noMemory;
    return setBytes(bytes, n, codepage);
}

template <class Kind> void XmlReaderCore<Kind>::unload() noexcept
{
    Tag* root = m_root;
    m_root = nullptr;
    delete root;
}

template <class Kind>
const typename Kind::Char* XmlReaderCore<Kind>::text(unsigned long* length) const noexcept
{
    if (length)
        *length = static_cast<unsigned long>(m_length);
    return m_data;
}

template <class Kind>
const typename Kind::Char* XmlReaderCore<Kind>::position(unsigned long* offset) const noexcept
{
    const int at = std::max(m_position, 0);
    if (offset)
        *offset = static_cast<unsigned long>(at);
    return m_data ? m_data + at : nullptr;
}

// --- parsing ---

// An element whose content is being read.
template <class Kind> struct XmlReaderCore<Kind>::Open {
    Tag* element;
    bool special;   // a declaration or a processing instruction
    const Ch* text; // the characters counted as its text; in pieces when an empty
                    // tag stood between
    int textLength;
    bool inPieces;
    bool hasChild;
};

template <class Kind> bool XmlReaderCore<Kind>::load(bool sort, bool restart)
{
    unload();
    if (restart || m_position < 0)
        m_position = 0;
    if (m_data) {
        const Ch* at = m_data + m_position;
        const Ch* end = m_data + m_length;
        // At top level everything up to the first "<" is passed.
        at = findUnit(at, end, '<');
        if (at < end)
            ++at;
        m_root = parseElement(at, end);
        m_position = static_cast<int>(at - m_data);
    }
    if (m_root && sort)
        Core::of(m_root)->sortChildren();
    // Kept: the value of isEmpty().
    return !m_root;
}

// `at` stands behind the "<" that begins the element, or on another one.
template <class Kind> typename Kind::Tag* XmlReaderCore<Kind>::parseElement(const Ch*& at, const Ch* end)
{
    enum class Begun { nothing, element, leaf, specialLeaf };
    platform::WorkStack<Open> open;
    Tag* root = nullptr;
    auto begin = [&](Tag* parent) {
        if (at < end && *at == '<')
            ++at;
        const Ch* tag = at;
        const Ch* tagEnd = findUnit(at, end, '>');
        at = tagEnd < end ? tagEnd + 1 : end;
        if (tag == tagEnd)
            return Begun::nothing;
        // An element with nothing but text in it is complete at once, in one block.
        bool leaf = tagEnd[-1] == '/';
        const Ch* text = at;
        int textLength = 0;
        if (!leaf) {
            const Ch* mark = findUnit(at, end, '<');
            if (end - mark > 1 && mark[1] == '/') {
                leaf = true;
                textLength = static_cast<int>(mark - at);
                at = findUnit(mark, end, '>');
                if (at < end)
                    ++at;
            }
        }
        Tag* element = nullptr;
        const TagParts<Kind> parts(tag, static_cast<int>(tagEnd - tag));
        try {
            element = Core::create(parts, textLength);
            if (parent)
                Core::of(element)->appendTo(parent);
            else
                root = element;
        } catch (...) {
            delete element;
            throw;
        }
        Core::of(element)->complete(parts);
        const bool special = *tag == '!' || *tag == '?';
        if (leaf) {
            if (textLength)
                setContent(*Core::of(element), text, textLength);
            return special ? Begun::specialLeaf : Begun::leaf;
        }
        if (!open.push({element, special, at, 0, false, false}))
            throw structExcept(ztree::errMemory);
        return Begun::element;
    };
    // What the end of an element means to those around it.
    auto ended = [&](bool special) {
        while (!open.empty()) {
            // Kept: near the root a declaration ends the content of the element
            // around it, and does not count as its child.
            if (!special || open.size() > 2) {
                open.top().hasChild = true;
                break;
            }
            special = open.top().special;
            finishElement(open.top());
            open.pop();
        }
    };
    try {
        if (begin(nullptr) == Begun::nothing)
            return nullptr;
        while (!open.empty()) {
            Open& element = open.top();
            const Ch* mark = findUnit(at, end, '<');
            if (!element.hasChild && mark > at) {
                if (element.textLength && element.text + element.textLength != at)
                    element.inPieces = true;
                if (!element.textLength)
                    element.text = at;
                element.textLength += static_cast<int>(mark - at);
            }
            at = mark;
            if (at == end || (end - at > 1 && at[1] == '/')) {
                at = findUnit(at, end, '>');
                if (at < end)
                    ++at;
                const bool special = element.special;
                finishElement(element);
                open.pop();
                ended(special);
                continue;
            }
            const Begun begun = begin(element.element);
            if (begun == Begun::leaf || begun == Begun::specialLeaf)
                ended(begun == Begun::specialLeaf);
        }
    } catch (...) {
        delete root;
        throw;
    }
    return root;
}

template <class Kind> void XmlReaderCore<Kind>::finishElement(const Open& open)
{
    if (open.hasChild || !open.textLength)
        return;
    const Ch* text = open.text;
    platform::HeapPtr<Ch> joined;
    if (open.inPieces) {
        // Empty tags stood in the text: what counts are the characters between
        // them.
        joined.reset(platform::allocArray<Ch>(static_cast<std::size_t>(open.textLength)));
        if (!joined)
            throw structExcept(ztree::errMemory);
        int n = 0;
        for (const Ch* at = open.text; n < open.textLength;) {
            if (*at != '<')
                joined[static_cast<std::size_t>(n++)] = *at++;
            else
                at = findUnit(at, m_data + m_length, '>') + 1;
        }
        text = joined.get();
    }
    setContent(*Core::of(open.element), text, open.textLength);
}

template <class Kind> void XmlReaderCore<Kind>::setContent(Core& element, const Ch* text, int n)
{
    static const Ch pre[] = {'P', 'r', 'e', 0};
    const Ch* end = text + n;
    const bool exact = element.attribCount() && element.attrib(pre);
    while (!exact && text < end && isXmlSpace(*text))
        ++text;
    while (!exact && text < end && isXmlSpace(end[-1]))
        --end;
    if (text == end)
        return;
    const int room = static_cast<int>(end - text);
    Ch* const place = element.textPlace(room);
    Ch* out = place;
    const Ch* amp = exact ? end : findUnit(text, end, '&');
    for (;;) {
        ztree_impl::copyText(out, text, static_cast<std::size_t>(amp - text) * sizeof(Ch));
        out += amp - text;
        if (amp == end)
            break;
        const Ch* semicolon = findUnit(amp, end, ';');
        if (semicolon == end) {
            out = std::copy(amp, end, out);
            break;
        }
        const Ch* name = amp + 1;
        const std::size_t length = static_cast<std::size_t>(semicolon - name);
        text = semicolon + 1;
        if (isWord(name, length, "amp", true))
            *out++ = '&';
        else if (isWord(name, length, "lt", true))
            *out++ = '<';
        else if (isWord(name, length, "gt", true))
            *out++ = '>';
        else if (isWord(name, length, "quot", true))
            *out++ = '"';
        else
            out = std::copy(amp, text, out);
        amp = findUnit(text, end, '&');
    }
    element.textTaken(place, static_cast<int>(out - place));
}

// --- looking up ---

template <class Kind> typename Kind::Tag* XmlReaderCore<Kind>::findChild(const Tag* tag, const Ch* path) const
{
    const Tag* from = tag ? tag : m_root;
    if (!from)
        return nullptr;
    return path ? Core::of(from)->findChild(path) : Core::of(from)->child(0);
}

template <class Kind>
typename Kind::Tag* XmlReaderCore<Kind>::findNextChild(const Tag* parent, const Tag* after, const Ch* name,
                                                       bool skip) const
{
    if (!after)
        return findChild(parent, name);
    if (!parent)
        return nullptr;
    const Core& from = *Core::of(parent);
    // A loop over siblings asks for one after the other.
    int at = from.child(m_hint) == after ? m_hint : from.childIndex(after);
    if (at < 0)
        return nullptr;
    while (++at < from.childCount()) {
        Tag* sibling = from.child(at);
        const Ch* other = Core::of(sibling)->name();
        if (!name || (other && compareUnits(other, name) == 0)) {
            m_hint = at;
            return sibling;
        }
        if (!skip)
            return nullptr;
    }
    return nullptr;
}

// --- to a tree ---

template <class Kind>
typename XmlReaderCore<Kind>::Branch* XmlReaderCore<Kind>::makeBranch(const Core& element, Batch& batch)
{
    using BranchOf = BranchCore<typename Kind::TreeKind>;
    static const Ch none = 0;
    const Ch* name = element.name() ? element.name() : &none;
    const int nameLength = element.nameLength();
    const bool plain = findUnit(name, name + nameLength, '(') == name + nameLength;
    const int valueRoom = element.childCount() == 0
                              ? static_cast<int>(static_cast<std::size_t>(element.textLength()) * sizeof(Ch))
                              : 0;
    batch.clear();
    for (int i = 0; i < element.attribCount(); ++i) {
        const auto attrib = element.attribAt(i);
        batch.add(attrib.name, attrib.nameLength, attrib.value, attrib.valueLength);
    }
    Branch* branch = batch.make(plain ? name : &none, plain ? nameLength : 0, valueRoom);
    try {
        if (!plain)
            BranchOf::of(branch)->setName(name);
        if (valueRoom)
            BranchOf::of(branch)->setBytes(element.text(), valueRoom);
    } catch (...) {
        delete branch;
        throw;
    }
    return branch;
}

template <class Kind>
typename XmlReaderCore<Kind>::Branch* XmlReaderCore<Kind>::convert(const Tag& root) const
{
    using BranchOf = BranchCore<typename Kind::TreeKind>;
    struct Step {
        const Tag* element;
        Branch* branch;
        int next;
    };
    platform::WorkStack<Step> way;
    Batch batch;
    Branch* top = makeBranch(*Core::of(&root), batch);
    try {
        if (!way.push({&root, top, 0}))
            throw structExcept(ztree::errMemory);
        while (!way.empty()) {
            Step& step = way.top();
            const Core& element = *Core::of(step.element);
            if (step.next >= element.childCount()) {
                way.pop();
                continue;
            }
            const Tag* child = element.child(step.next++);
            if (!child)
                continue;
            Branch* branch = makeBranch(*Core::of(child), batch);
            try {
                BranchOf::of(step.branch)->adopt(branch);
            } catch (...) {
                delete branch;
                throw;
            }
            if (Core::of(child)->childCount() && !way.push({child, branch, 0}))
                throw structExcept(ztree::errMemory);
        }
    } catch (...) {
        delete top;
        throw;
    }
    return top;
}

template <class Kind>
typename XmlReaderCore<Kind>::Tree* XmlReaderCore<Kind>::createTree(bool skipProlog) const
{
    const Tag* top = m_root;
    for (const char* prolog : {"?xml", "!DOCTYPE"}) {
        const Ch* name = top && skipProlog ? Core::of(top)->name() : nullptr;
        if (name && isWord(name, static_cast<std::size_t>(textLength(name)), prolog))
            top = Core::of(top)->child(0);
        else if (prolog[0] == '?')
            break;
    }
    if (!top)
        return nullptr;
    Tree* tree = new Tree;
    if (!tree)
        throw structExcept(ztree::errMemory);
    try {
        tree->set(convert(*top));
    } catch (...) {
        delete tree;
        throw;
    }
    return tree;
}

template class XmlReaderCore<NarrowXml>;
template class XmlReaderCore<WideXml>;

} // namespace ztree_impl
