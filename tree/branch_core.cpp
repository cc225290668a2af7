#include "tree/branch_core.h"

#include "attrib/stream_io.h"
#include "platform/work_stack.h"
#include "text/string_core.h"

#include <ztree/runtime.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <istream>
#include <new>
#include <ostream>

namespace ztree_impl {

namespace {

[[noreturn]] void throwMemory()
{
    throw structExcept(ztree::errMemory);
}

// Longest suffix that a name may carry.
constexpr int maxSuffix = 255;

// Below this many children a plain scan is as fast as a hash.
constexpr int indexFrom = 16;

template <class Ch> constexpr Ch noText = 0;

// Bases of names with a suffix are equal ignoring ASCII case, for both widths.
template <class Ch> bool equalBases(const Ch* a, int na, const Ch* b, int nb) noexcept
{
    auto fold = [](Ch c) { return c >= 'A' && c <= 'Z' ? static_cast<Ch>(c | 0x20) : c; };
    return na == nb && std::equal(a, a + na, b, [&](Ch x, Ch y) { return fold(x) == fold(y); });
}

} // namespace

template <class Ch> NameQuery<Ch>::NameQuery(const Ch* name) noexcept : text(name)
{
    const Ch* open = nullptr;
    const Ch* close = nullptr;
    const Ch* end = name;
    for (; *end; ++end) {
        if (!open && *end == '(')
            open = end;
        else if (open && !close && *end == ')')
            close = end;
    }
    length = baseLength = static_cast<int>(end - name);
    if (!close || close == open + 1 || close - open - 1 > maxSuffix)
        return;
    suffix = open + 1;
    suffixLength = static_cast<int>(close - suffix);
    // Kept: the suffix is taken to end the name, whatever follows the bracket.
    baseLength = length - 2 - suffixLength;
}
template struct NameQuery<char>;
template struct NameQuery<zwchar>;

// --- life ---

template <class Kind> BranchCore<Kind>::Extra::~Extra()
{
    platform::heapFree(fullName);
    platform::heapFree(text);
    delete childIndex;
}

template <class Kind> typename Kind::Impl* BranchCore<Kind>::make(Branch* owner)
{
    Impl* impl = new Impl(owner);
    if (!impl)
        throwMemory();
    return impl;
}

template <class Kind>
typename Kind::Impl* BranchCore<Kind>::make(Branch* owner, const Ch* name, int length, const void* data)
{
    const NameQuery<Ch> query(name ? name : &noText<Ch>);
    if (query.length == 0 || query.suffix) {
        Impl* impl = make(owner);
        try {
            impl->setName(name);
        } catch (...) {
            delete impl;
            throw;
        }
        return impl;
    }
    if (length < 0)
        length =
            static_cast<int>(std::min<std::size_t>(std::strlen(static_cast<const char*>(data)), INT_MAX));
    const std::size_t nameBytes = (static_cast<std::size_t>(query.length) + 1) * sizeof(Ch);
    void* block = platform::heapAlloc(sizeof(Impl) + nameBytes +
                                      (length ? static_cast<std::size_t>(length) + sizeof(Ch) : 0));
    if (!block)
        throwMemory();
    Impl* impl = ::new (block) Impl(owner);
    char* texts = static_cast<char*>(block) + sizeof(Impl);
    impl->nameInBlockAt(reinterpret_cast<Ch*>(texts), name, query.length);
    if (length)
        impl->valueInBlockAt(texts + nameBytes, length);
    return impl;
}

template <class Kind> void BranchCore<Kind>::nameInBlockAt(Ch* place, const Ch* name, int length) noexcept
{
    copyText(place, name, static_cast<std::size_t>(length) * sizeof(Ch));
    place[length] = 0;
    m_name = place;
    m_nameLength = length;
    m_bits |= nameInBlock;
}

template <class Kind> void BranchCore<Kind>::valueInBlockAt(void* place, int room) noexcept
{
    m_value.bytes = static_cast<char*>(place);
    m_length = static_cast<std::uint32_t>(room);
    m_bits |= valueInBlock;
}

template <class Kind> void BranchCore<Kind>::dispose(Impl* impl) noexcept
{
    if (!impl)
        return;
    if (impl->m_bits & implInBlock)
        impl->~Impl();
    else
        delete impl;
}

template <class Kind>
typename Kind::Branch* BranchCore<Kind>::create(const Ch* name, int nameLength, int valueRoom,
                                                const AttribTexts* attribs, int attribCount)
{
    static_assert(sizeof(Branch) % alignof(Impl) == 0, "the implementation follows the public object");
    const std::size_t count = static_cast<std::size_t>(attribCount);
    const std::size_t slots = count > 1 ? count * sizeof(Attrib*) : 0;
    std::size_t units = static_cast<std::size_t>(nameLength) + 1;
    for (std::size_t i = 0; i < count; ++i)
        units += AttribOps::textUnits(attribs[i].nameLength, attribs[i].valueLength);
    const std::size_t head = sizeof(Branch) + sizeof(Impl) + slots + count * AttribOps::placeBytes;
    // The value comes last: it is all that may be long.
    const std::size_t bytes =
        head + units * sizeof(Ch) + (valueRoom ? static_cast<std::size_t>(valueRoom) + sizeof(Ch) : 0);
    char* block = static_cast<char*>(platform::heapAlloc(bytes));
    if (!block)
        throwMemory();
    void* place = block + sizeof(Branch);
    Branch* branch = ::new (static_cast<void*>(block)) Branch(*static_cast<Impl*>(place));
    Impl* impl = ::new (place) Impl(branch);
    Ch* text = reinterpret_cast<Ch*>(block + head);
    impl->m_bits = implInBlock;
    impl->nameInBlockAt(text, name, nameLength);
    text += nameLength + 1;
    if (count) {
        char* at = block + sizeof(Branch) + sizeof(Impl);
        if (slots)
            impl->m_attribs.borrow(reinterpret_cast<Attrib**>(at), attribCount);
        at += slots;
        for (std::size_t i = 0; i < count; ++i, at += AttribOps::placeBytes) {
            const AttribTexts& texts = attribs[i];
            Attrib* attrib = AttribOps::emplace(at, text, texts.name, texts.nameLength, texts.value,
                                                texts.valueLength, &impl->m_attribsChanged);
            impl->m_attribs.add(attrib);
            if (texts.nameLength == 3 && isRel(AttribOps::of(*attrib)->name.text))
                impl->m_rel = attrib;
        }
        impl->m_inBlock = static_cast<std::uint32_t>(at - block);
    }
    if (valueRoom)
        impl->valueInBlockAt(text, valueRoom);
    return branch;
}

template <class Kind> void BranchCore<Kind>::dropAttrib(Attrib* attrib) noexcept
{
    if (isInBlock(attrib))
        AttribOps::release(attrib);
    else
        delete attrib;
}

// Deleting goes branch by branch through one list, which the branches form themselves through their parent
// pointers: a dead branch hands its children to the list and is gone. So a tree of any depth needs no stack,
// and destructors of derived branches still find their children.
template <class Kind> BranchCore<Kind>::~BranchCore()
{
    Branch* first = nullptr;
    Branch** list = m_bits & dying ? reinterpret_cast<Branch**>(m_parent) : &first;
    if (PtrList<Branch>* linked = links())
        std::sort(linked->begin(), linked->end());
    for (Branch** at = m_children.begin(); at != m_children.end(); ++at) {
        if (m_children.end() - at > 6) { // they lie apart, and nothing touched them for long
            const auto ahead = reinterpret_cast<std::uintptr_t>(at[6]); // null + 64 is no pointer
            __builtin_prefetch(reinterpret_cast<const void*>(ahead));
            __builtin_prefetch(reinterpret_cast<const void*>(ahead + 64));
        }
        Branch* child = *at;
        if (!child || (m_extra && std::binary_search(m_extra->links.begin(), m_extra->links.end(), child)))
            continue;
        Impl* impl = of(child);
        if (impl->isOneBlock()) {
            platform::heapFree(child);
            continue;
        }
        impl->m_bits &= static_cast<std::uint8_t>(~held);
        if (impl->m_bits & implInBlock && impl->m_children.count() == 0) {
            impl->~Impl();
            platform::heapFree(child);
            continue;
        }
        impl->m_parent = *list;
        *list = child;
    }
    if (!m_inBlock || m_attribsChanged)
        for (Attrib** attrib = m_attribs.end(); attrib != m_attribs.begin();)
            dropAttrib(*--attrib);
    dropValue();
    dropName();
    delete m_extra;
    if (m_bits & dying)
        return;
    while (first) {
        Branch* dead = first;
        Impl* impl = of(dead);
        first = impl->m_parent;
        impl->m_parent = reinterpret_cast<Branch*>(&first);
        impl->m_bits |= dying;
        if (impl->isOneBlock()) {
            platform::heapFree(dead);
        } else if (impl->m_bits & implInBlock) { // made here, so of no derived class
            impl->~Impl();
            platform::heapFree(dead);
        } else {
            delete dead;
        }
    }
}

template <class Kind> typename BranchCore<Kind>::Extra& BranchCore<Kind>::extra() const
{
    if (!m_extra) {
        m_extra = new Extra;
        if (!m_extra)
            throwMemory();
    }
    return *m_extra;
}

// --- name ---

template <class Kind> bool BranchCore<Kind>::isRel(const Ch* name) noexcept
{
    if (!name)
        return false;
    if (Kind::relIgnoresCase)
        return compareNames(name, Kind::relName()) == 0;
    return name[0] == 'R' && name[1] == 'e' && name[2] == 'l' && name[3] == 0;
}

template <class Kind> void BranchCore<Kind>::dropFullName() noexcept
{
    if (m_extra) {
        platform::heapFree(m_extra->fullName);
        m_extra->fullName = nullptr;
    }
}

template <class Kind> void BranchCore<Kind>::dropName() noexcept
{
    if (!(m_bits & nameInBlock))
        platform::heapFree(m_name);
    m_bits &= static_cast<std::uint8_t>(~nameInBlock);
    m_name = nullptr;
    m_nameLength = 0;
    dropFullName();
}

template <class Kind> void BranchCore<Kind>::forgetInParent() noexcept
{
    if (m_bits & held)
        of(m_parent)->forgetChildren();
}

// It stands no longer among the children of `holder`.
template <class Kind> void BranchCore<Kind>::letGo(const Branch* holder) noexcept
{
    if (!(m_bits & held) || m_parent != holder)
        return;
    if (m_bits & parentHidden)
        m_parent = nullptr;
    m_bits &= static_cast<std::uint8_t>(~(held | parentHidden));
}

template <class Kind> void BranchCore<Kind>::forgetChildren() noexcept
{
    if (m_extra && m_extra->childIndex) {
        m_extra->childIndex->byBase.forget();
        m_extra->childIndex->byRel.forget();
    }
}

template <class Kind> void BranchCore<Kind>::setParent(Branch* parent) noexcept
{
    forgetInParent();
    m_parent = parent;
    m_bits &= static_cast<std::uint8_t>(~(held | parentHidden));
}

// While the name changes nothing is told to the parent; it hears of it in the end.
template <class Kind> class BranchCore<Kind>::Renaming {
public:
    explicit Renaming(BranchCore& branch) noexcept : m_branch(branch)
    {
        if (!(branch.m_bits & held))
            return;
        const BranchCore& parent = *of(branch.m_parent);
        m_tells = parent.m_extra && parent.m_extra->childIndex;
        if (!m_tells)
            return;
        m_base = baseHash(branch.m_owner);
        m_rel = relHash(branch.m_owner);
        if (branch.m_rel)
            AttribOps::watch(*branch.m_rel, 0);
        branch.m_bits &= static_cast<std::uint8_t>(~held);
    }
    Renaming(const Renaming&) = delete;
    Renaming& operator=(const Renaming&) = delete;
    ~Renaming()
    {
        if (!m_tells)
            return;
        m_branch.m_bits |= held;
        of(m_branch.m_parent)->childRenamed(m_branch.m_owner, m_base, m_rel);
    }

private:
    BranchCore& m_branch;
    bool m_tells = false;
    std::uint32_t m_base = 0;
    std::uint32_t m_rel = 0;
};

template <class Kind> int BranchCore<Kind>::setName(const Ch* name)
{
    if (name && (name == m_name || (m_extra && name == m_extra->fullName)))
        return 0;
    const Renaming renaming(*this);
    if (!name || !*name) {
        dropName();
        return -1;
    }
    const NameQuery<Ch> query(name);
    const int baseLength = std::max(query.baseLength, 0);
    platform::HeapPtr<Ch> base(duplicate(name, baseLength));
    if (query.suffix) {
        platform::HeapPtr<Ch> full(duplicate(name, query.length));
        Extra& more = extra();
        setRel(query.suffix, query.suffixLength);
        dropName();
        more.fullName = full.release();
    } else {
        dropName();
        const int rel = findAttrib(Kind::relName());
        if (rel >= 0)
            removeAttrib(rel);
    }
    m_name = base.release();
    m_nameLength = baseLength;
    return 0;
}

template <class Kind> void BranchCore<Kind>::setRel(const Ch* suffix, int length)
{
    Attrib* fresh = newAttrib(Kind::relName(), 3, suffix, length);
    try {
        const int at = findAttrib(Kind::relName());
        if (at >= 0) {
            attrib(at)->setValue(fresh->getValue());
            delete fresh;
            return;
        }
        adoptAttrib(fresh);
    } catch (...) {
        delete fresh;
        throw;
    }
}

template <class Kind> const typename Kind::Char* BranchCore<Kind>::fullName() const
{
    if (!m_name)
        return nullptr;
    if (!m_rel) {
        const_cast<BranchCore*>(this)->dropFullName();
        return m_name;
    }
    Extra& more = extra();
    if (!more.fullName) {
        const int valueLength = ztree_impl::valueLength(*m_rel);
        Ch* full = platform::allocArray<Ch>(static_cast<std::size_t>(m_nameLength) +
                                            static_cast<std::size_t>(valueLength) + 3);
        if (!full)
            throwMemory();
        Ch* end = std::copy_n(m_name, m_nameLength, full);
        *end++ = '(';
        end = std::copy_n(m_rel->getValue(), valueLength, end);
        *end++ = ')';
        *end = 0;
        more.fullName = full;
    }
    return more.fullName;
}

template <class Kind> int BranchCore<Kind>::equals(const NameQuery<Ch>& query) const noexcept
{
    if (!m_name)
        return 0;
    if (!query.suffix)
        return equalNames(m_name, m_nameLength, query.text, query.length) ? 1 : 0;
    if (query.baseLength < 1 || !equalBases(m_name, m_nameLength, query.text, query.baseLength))
        return 0;
    if (m_rel)
        return equalNames(m_rel->getValue(), ztree_impl::valueLength(*m_rel), query.suffix,
                          query.suffixLength)
                   ? 1
                   : -1;
    // A bare name counts as index 0.
    return query.suffixLength == 1 && query.suffix[0] == '0' ? 1 : 0;
}

// --- value ---

template <class Kind> void BranchCore<Kind>::dropValue() noexcept
{
    if (m_type == 7 && !(m_bits & valueInBlock))
        platform::heapFree(m_value.bytes);
    m_bits &= static_cast<std::uint8_t>(~(valueInBlock | roomyValue));
    m_value.d = 0;
    m_type = 0;
}

template <class Kind> void BranchCore<Kind>::setBytes(const void* data, int length)
{
    if (length < 0)
        length = data ? static_cast<int>(std::strlen(static_cast<const char*>(data))) : 0;
    if (!data)
        length = 0;
    char* copy = nullptr;
    const bool fits = m_bits & valueInBlock && m_type == 0 && static_cast<std::uint32_t>(length) <= m_length;
    if (length > 0) {
        // Two zero bytes: wide text ends with a whole unit.
        copy =
            fits ? m_value.bytes : platform::allocArray<char>(static_cast<std::size_t>(length) + sizeof(Ch));
        if (!copy) {
            dropValue();
            m_type = 7;
            m_length = 0;
            throwMemory();
        }
        copyText(copy, data, static_cast<std::size_t>(length));
        for (std::size_t i = 0; i < sizeof(Ch); ++i)
            copy[static_cast<std::size_t>(length) + i] = 0;
    }
    if (!fits || !copy)
        dropValue();
    m_value.bytes = copy;
    m_type = 7;
    m_length = static_cast<std::uint32_t>(length);
}

namespace {
std::size_t powerAbove(std::size_t n) noexcept
{
    std::size_t power = 64;
    while (power < n)
        power *= 2;
    return power;
}
} // namespace

template <class Kind> void BranchCore<Kind>::appendBytes(const void* data, int length)
{
    const std::size_t had = m_value.bytes ? m_length : 0;
    const std::size_t needed = had + static_cast<std::size_t>(length) + sizeof(Ch);
    const bool own = !(m_bits & valueInBlock) && m_value.bytes;
    if (!(m_bits & roomyValue) || powerAbove(had + sizeof(Ch)) < needed) {
        char* fresh =
            static_cast<char*>(platform::heapResize(own ? m_value.bytes : nullptr, powerAbove(needed)));
        if (!fresh)
            throwMemory();
        if (!own && had)
            std::memcpy(fresh, m_value.bytes, had);
        m_value.bytes = fresh;
        m_bits = static_cast<std::uint8_t>((m_bits & ~valueInBlock) | roomyValue);
    }
    std::memcpy(m_value.bytes + had, data, static_cast<std::size_t>(length));
    std::memset(m_value.bytes + had + length, 0, sizeof(Ch));
    m_length = static_cast<std::uint32_t>(had + static_cast<std::size_t>(length));
}

template <class Kind> int BranchCore<Kind>::bytes(void* buffer, int size) const noexcept
{
    if (m_type != 7 || size == 0 || !buffer)
        return m_type;
    // The size is unsigned at heart: one below 0 means all that there is.
    const std::size_t room = size < 0 ? m_length : static_cast<std::size_t>(size);
    const std::size_t n = std::min<std::size_t>(room, m_length);
    if (n)
        std::memcpy(buffer, m_value.bytes, n);
    std::memset(static_cast<char*>(buffer) + n, 0, room - n);
    return 0;
}

template <class Kind> int BranchCore<Kind>::valuePtr(const void** value, int* size) const noexcept
{
    static const unsigned char sizes[] = {0, 1, 1, 2, 4, 4, 8};
    const void* at = nullptr;
    int n = 0;
    if (m_type == 7) {
        at = m_value.bytes;
        n = static_cast<int>(m_length);
    } else if (m_type != 0 && m_type < 7) {
        at = &m_value;
        n = sizes[m_type];
    }
    if (value)
        *value = at;
    if (size)
        *size = n;
    if (m_type == 0)
        return -1;
    return m_type == 7 && (!at || !n) ? 1 : 0;
}

template <class Kind> int BranchCore<Kind>::printNumber(Ch* buffer) const noexcept
{
    char text[NarrowTree::numberRoom];
    char* end = text;
    switch (m_type) {
    case 1:
        end = std::to_chars(text, text + sizeof text, static_cast<int>(m_value.c)).ptr;
        break;
    case 2:
        end = std::to_chars(text, text + sizeof text, static_cast<int>(m_value.uc)).ptr;
        break;
    case 3:
        end = std::to_chars(text, text + sizeof text, static_cast<int>(m_value.s)).ptr;
        break;
    case 4:
        end = std::to_chars(text, text + sizeof text, m_value.i).ptr;
        break;
    case 5:
        end = std::to_chars(text, text + sizeof text, m_value.l).ptr;
        break;
    case 6: {
        // The longest double has 309 digits before the point; 255 decimals follow at most.
        end = std::to_chars(text, text + sizeof text, m_value.d, std::chars_format::fixed, m_precision).ptr;
        for (char* c = end; c > text;)
            if (*--c == '.') {
                *c = ','; // Kept: the decimal separator of value text is a comma everywhere.
                break;
            }
        break;
    }
    default:
        break;
    }
    const int n = std::min(static_cast<int>(end - text), Kind::numberRoom - 1);
    for (int i = 0; i < n; ++i)
        buffer[i] = static_cast<Ch>(static_cast<unsigned char>(text[i]));
    buffer[n] = 0;
    return n;
}

template <class Kind> void BranchCore<Kind>::freeText() noexcept
{
    if (m_extra) {
        platform::heapFree(m_extra->text);
        m_extra->text = nullptr;
    }
}

template <class Kind> const typename Kind::Char* BranchCore<Kind>::toText(int* length)
{
    freeText();
    if (m_type == 0 || m_type > 7)
        return nullptr;
    Extra& more = extra();
    if (m_type == 7) {
        // Whole units only: an odd last byte of a wide value is counted but not shown.
        const std::size_t n = m_length / sizeof(Ch) * sizeof(Ch);
        char* copy = platform::allocArray<char>(n + sizeof(Ch));
        if (!copy)
            throwMemory();
        if (n)
            std::memcpy(copy, m_value.bytes, n);
        std::memset(copy + n, 0, sizeof(Ch));
        more.text = reinterpret_cast<Ch*>(copy);
        if (length)
            *length = static_cast<int>(m_length);
        return more.text;
    }
    Ch digits[Kind::numberRoom];
    const int n = printNumber(digits);
    more.text = duplicate(digits, n);
    if (length)
        *length = n * static_cast<int>(sizeof(Ch));
    return more.text;
}

// --- children ---

template <class Kind> int BranchCore<Kind>::findChild(const Ch* name) const noexcept
{
    return name && *name ? findChild(NameQuery<Ch>(name)) : -1;
}

template <class Kind> int BranchCore<Kind>::findChild(const NameQuery<Ch>& query) const noexcept
{
    const int count = m_children.count();
    auto matches = [&](int i) {
        const Branch* child = m_children.begin()[i];
        return child && of(child)->equals(query) > 0;
    };
    ChildIndex* index = m_extra ? m_extra->childIndex : nullptr;
    if (!index || count <= indexFrom) {
        for (int i = 0; i < count; ++i)
            if (matches(i))
                return i;
        return -1;
    }
    const int baseLength = query.suffix ? query.baseLength : query.length;
    if (baseLength < 1)
        return -1;
    const std::uint32_t hash = foldedHash(query.text, baseLength);
    if (query.suffix) {
        const int found = index->byRel.findAsOf(
            index->changes(), count, relHash(hash, query.suffix, query.suffixLength),
            [&](int i, std::uint32_t& own) {
                const Branch* child = m_children.begin()[i];
                if (child && !canBeIndexed(of(child)))
                    return false;
                if (child && of(child)->m_rel)
                    AttribOps::watch(*of(child)->m_rel, index->watcher);
                own = relHash(child);
                return true;
            },
            matches);
        if (found != NameIndex::unknown)
            return found;
    }
    int scanned = 0;
    const int found = index->byBase.find(
        count, hash,
        [&](int i, std::uint32_t& own) {
            const Branch* child = m_children.begin()[i];
            if (child && !canBeIndexed(of(child)))
                return false;
            own = baseHash(child);
            return true;
        },
        [&](int i) {
            ++scanned;
            return matches(i);
        });
    if (query.suffix)
        index->byRel.wasScanned(scanned);
    return found;
}

template <class Kind> std::uint16_t BranchCore<Kind>::nextWatcher() noexcept
{
    static std::atomic<std::uint32_t> last{0};
    const std::uint32_t number = last.fetch_add(1, std::memory_order_relaxed);
    return static_cast<std::uint16_t>(1 + number % (AttribFields<Ch>::watchers - 1));
}

// A branch that may be renamed without this one's knowledge keeps the list unindexed.
template <class Kind> bool BranchCore<Kind>::canBeIndexed(const Impl* child) const noexcept
{
    return child->m_bits & held && child->m_parent == m_owner && !child->wasLinked();
}

template <class Kind>
std::uint32_t BranchCore<Kind>::relHash(std::uint32_t base, const Ch* suffix, int length) noexcept
{
    return base * 31 ^ foldedHash(suffix, length);
}

template <class Kind> std::uint32_t BranchCore<Kind>::baseHash(const Branch* child) noexcept
{
    return child ? foldedHash(of(child)->m_name, of(child)->m_nameLength) : 0;
}

// As equals() takes it: a bare name counts as index 0.
template <class Kind> std::uint32_t BranchCore<Kind>::relHash(const Branch* child) noexcept
{
    static const Ch zero = '0';
    if (!child)
        return 0;
    const auto* rel = of(child)->m_rel;
    return rel ? relHash(baseHash(child), rel->getValue(), ztree_impl::valueLength(*rel))
               : relHash(baseHash(child), &zero, 1);
}

template <class Kind>
void BranchCore<Kind>::childRenamed(const Branch* child, std::uint32_t base, std::uint32_t rel) noexcept
{
    ChildIndex& index = *m_extra->childIndex;
    const auto is = [&](int i) { return m_children.begin()[i] == child; };
    index.byBase.rename(base, baseHash(child), is);
    if (of(child)->m_rel)
        AttribOps::watch(*of(child)->m_rel, index.watcher);
    if (index.byRel.isAsOf(index.changes()))
        index.byRel.rename(rel, relHash(child), is);
    else
        index.byRel.outdate();
}

// The last child is about to go.
template <class Kind> void BranchCore<Kind>::indexDropsLast() noexcept
{
    if (!m_extra || !m_extra->childIndex)
        return;
    ChildIndex& index = *m_extra->childIndex;
    const int count = m_children.count();
    const Branch* child = m_children.at(count - 1);
    index.byBase.dropLast(count, baseHash(child));
    if (index.byRel.isAsOf(index.changes()))
        index.byRel.dropLast(count, relHash(child));
    else
        index.byRel.outdate();
}

template <class Kind> void BranchCore<Kind>::adopt(Branch* child)
{
    if (!m_children.reserve(m_children.count() + 1))
        throwMemory();
    m_children.add(child);
    of(child)->m_parent = m_owner;
    of(child)->m_bits |= held;
    if (m_children.count() > indexFrom)
        wantIndex();
}

// Without memory for it the list is scanned.
template <class Kind> void BranchCore<Kind>::wantIndex() noexcept
{
    if (m_extra && m_extra->childIndex)
        return;
    if (m_extra || (m_extra = new Extra))
        m_extra->childIndex = new ChildIndex;
}

template <class Kind> void BranchCore<Kind>::insertChildren(const Insertion* fresh, int n)
{
    const int before = m_children.count();
    if (!m_children.reserve(before + n))
        throwMemory();
    for (int i = 0; i < n; ++i)
        m_children.add(nullptr);
    // From the end: every child moves once.
    Branch** slots = m_children.begin();
    int to = before + n;
    int from = before;
    for (int i = n; i-- > 0;) {
        while (from > fresh[i].before)
            slots[--to] = slots[--from];
        slots[--to] = fresh[i].child;
        of(fresh[i].child)->m_parent = m_owner;
        of(fresh[i].child)->m_bits |= held;
    }
    forgetChildren();
}

template <class Kind> void BranchCore<Kind>::valueToChild(const Ch* name, int nameLength)
{
    Branch* child = create(name, nameLength, static_cast<int>(m_length));
    try {
        of(child)->setBytes(m_value.bytes, static_cast<int>(m_length));
        const Insertion first = {child, 0};
        insertChildren(&first, 1);
    } catch (...) {
        delete child;
        throw;
    }
    dropValue();
}

template <class Kind> int BranchCore<Kind>::addChild(const Branch& src, Branch** added, bool replace)
{
    if (added)
        *added = nullptr;
    const BranchCore& from = *of(&src);
    if (replace) {
        const int at = findChild(from.fullName());
        if (at >= 0) {
            of(child(at))->copyNode(from);
            if (added)
                *added = child(at);
            return 0;
        }
    }
    if (!from.m_name)
        return -1;
    const int valueRoom = from.m_type == 7 && from.m_length <= INT_MAX ? static_cast<int>(from.m_length) : 0;
    Branch* copy = create(from.m_name, from.m_nameLength, valueRoom);
    try {
        of(copy)->copyNode(from);
        adopt(copy);
    } catch (...) {
        delete copy;
        throw;
    }
    if (added)
        *added = copy;
    return 0;
}

template <class Kind> int BranchCore<Kind>::linkChild(const Branch* child, bool replace)
{
    if (!child || !of(child)->m_name)
        return -1;
    Branch* linked = const_cast<Branch*>(child);
    Extra& more = extra();
    const Ch* full = of(child)->fullName();
    if (!more.links.reserve(more.links.count() + 1) || !m_children.reserve(m_children.count() + 1))
        throwMemory();
    of(linked)->m_flags |= 1;
    of(linked)->m_bits |= wasLinkedBit;
    if (replace) {
        const int at = findChild(full);
        if (at >= 0 && this->child(at) == child && !isLinked(child)) {
            m_children.removeAt(at); // it changes from owned to linked
            of(linked)->letGo(m_owner);
        } else if (at >= 0)
            removeChild(at);
    }
    forgetChildren();
    more.links.add(linked);
    m_children.add(linked);
    return 0;
}

template <class Kind> int BranchCore<Kind>::setChild(Branch* child, int index)
{
    if (index < 0)
        index = m_children.count();
    const int count = m_children.count();
    Branch* before = m_children.at(index);
    if (!m_children.setAt(index, child))
        throwMemory();
    if (index != count)
        forgetChildren();
    if (before && before != child)
        of(before)->letGo(m_owner);
    if (child && !isLinked(child)) {
        Impl* impl = of(child);
        // It has no parent by this, but its name counts in the index here.
        if (!impl->m_parent) {
            impl->m_parent = m_owner;
            impl->m_bits |= parentHidden;
        }
        if (impl->m_parent == m_owner)
            impl->m_bits |= held;
    }
    if (m_children.count() > indexFrom)
        wantIndex();
    return 0;
}

template <class Kind> void BranchCore<Kind>::removeChild(int index) noexcept
{
    Branch* child = m_children.at(index);
    if (index < 0 || index >= m_children.count())
        return;
    if (index == m_children.count() - 1)
        indexDropsLast();
    else
        forgetChildren();
    m_children.removeAt(index);
    const int link = child ? linkIndex(child) : -1;
    if (link >= 0)
        m_extra->links.removeAt(link);
    else
        delete child;
}

template <class Kind> int BranchCore<Kind>::childValue(int index, const char** value, int* length) const
{
    const char* text = nullptr;
    int n = 0;
    Branch* child = m_children.at(index);
    if (child) {
        BranchCore& from = *of(child);
        if (from.m_type == 7) {
            text = from.m_value.bytes;
            n = static_cast<int>(from.m_length);
        } else {
            text = reinterpret_cast<const char*>(from.toText(&n));
        }
    }
    if (value)
        *value = text;
    if (length)
        *length = n;
    if (!child)
        return -1;
    return text && n ? 0 : 1;
}

// --- attributes ---

template <class Kind> int BranchCore<Kind>::findAttrib(const Ch* name) const noexcept
{
    if (!name)
        return -1;
    for (int i = 0; i < m_attribs.count(); ++i) {
        const Ch* other = attrib(i)->getName();
        if (other && compareNames(other, name) == 0)
            return i;
    }
    return -1;
}

template <class Kind> void BranchCore<Kind>::adoptAttrib(Attrib* attrib)
{
    if (!m_attribs.add(attrib))
        throwMemory();
    m_attribsChanged = 1;
    if (isRel(attrib->getName())) {
        forgetInParent();
        m_rel = attrib;
        dropFullName();
    }
}

template <class Kind> int BranchCore<Kind>::appendAttrib(const Attrib& attrib)
{
    Attrib* copy = newAttrib(attrib.getName(), ztree_impl::nameLength(attrib), attrib.getValue(),
                             ztree_impl::valueLength(attrib));
    try {
        adoptAttrib(copy);
    } catch (...) {
        delete copy;
        throw;
    }
    return 0;
}

template <class Kind> int BranchCore<Kind>::addAttrib(const Attrib& attrib, bool replace)
{
    if (isRel(attrib.getName()))
        dropFullName();
    if (replace) {
        const int at = findAttrib(attrib.getName());
        if (at >= 0) {
            if (this->attrib(at) != &attrib)
                this->attrib(at)->setValue(attrib.getValue());
            return 0;
        }
    }
    return appendAttrib(attrib);
}

template <class Kind> void BranchCore<Kind>::removeAttrib(int index) noexcept
{
    if (index < 0 || index >= m_attribs.count())
        return;
    Attrib* gone = attrib(index);
    if (isRel(gone->getName()) || gone == m_rel) {
        forgetInParent();
        m_rel = nullptr;
        dropFullName();
    }
    m_attribs.removeAt(index);
    m_attribsChanged = 1;
    dropAttrib(gone);
}

template <class Kind>
int BranchCore<Kind>::attribValue(int index, const Ch** value, int* length) const noexcept
{
    const Attrib* found = m_attribs.at(index);
    if (value)
        *value = found ? found->getValue() : nullptr;
    if (length)
        *length = found ? ztree_impl::valueLength(*found) : 0;
    return found ? 0 : -1;
}

// --- copies ---

// addAttrib with replace, for one after the other: many look for their namesakes by hash, few by a scan.
template <class Kind> void BranchCore<Kind>::replaceAttrib(const Attrib& from, NameIndex& names)
{
    const Ch* name = from.getName();
    if (m_attribs.count() <= indexFrom || !name) {
        addAttrib(from, true);
        return;
    }
    const int length = ztree_impl::nameLength(from);
    const int at = names.find(
        m_attribs.count(), foldedHash(name, length),
        [this](int i, std::uint32_t& hash) {
            const Ch* other = attrib(i)->getName();
            hash = foldedHash(other ? other : Kind::relName(), ztree_impl::nameLength(*attrib(i)));
            return true;
        },
        [&](int i) {
            const Ch* other = attrib(i)->getName();
            return other && equalNames(other, ztree_impl::nameLength(*attrib(i)), name, length);
        });
    if (isRel(name))
        dropFullName();
    if (at >= 0)
        attrib(at)->setValue(from.getValue());
    else
        appendAttrib(from);
}

template <class Kind> void BranchCore<Kind>::copyAttribs(const BranchCore& src)
{
    // Kept: from the last to the first, so a copy made into an empty branch holds them in reverse order.
    NameIndex names;
    for (int i = src.m_attribs.count(); i-- > 0;)
        replaceAttrib(*src.attrib(i), names);
}

template <class Kind> void BranchCore<Kind>::copyNode(const BranchCore& src)
{
    if (&src == this)
        return;
    if (src.m_type == 7) {
        const bool sameRoom = m_type == 7 && m_length == src.m_length && m_value.bytes;
        if (sameRoom) {
            std::memcpy(m_value.bytes, src.m_value.bytes, m_length);
        } else if (m_bits & valueInBlock && m_type == 0) {
            setBytes(src.m_value.bytes, static_cast<int>(src.m_length));
        } else {
            if (m_type != 7)
                dropValue();
            setBytes(src.m_value.bytes, static_cast<int>(src.m_length));
        }
    } else {
        dropValue();
        m_value = src.m_value;
        if (src.m_type == 6)
            m_precision = src.m_precision;
    }
    m_type = src.m_type;
    m_flags = src.m_flags;
    // A branch made for this copy has the name already, and no "Rel" attribute to drop.
    if (m_nameLength != src.m_nameLength || m_rel || m_attribs.count() || !m_name || !src.m_name ||
        !std::equal(m_name, m_name + m_nameLength, src.m_name))
        setName(src.m_name);
    copyAttribs(src);
    const int rel = findAttrib(Kind::relName());
    Attrib* const found = rel >= 0 ? attrib(rel) : nullptr;
    if (found != m_rel)
        forgetInParent();
    m_rel = found;
}

// --- walks ---
// A walk keeps its own stack of branches with the next child to visit. A link that leads back to a branch on
// the way down is not entered again: such a tree has no end.

namespace {
template <class Branch> struct Step {
    const Branch* branch;
    int next;
};
template <class Branch> using Way = platform::WorkStack<Step<Branch>>;

template <class Core, class Branch> bool closesRing(Way<Branch>& way, const Branch* child)
{
    if (!Core::of(child)->wasLinked())
        return false;
    for (std::size_t i = 0; i < way.size(); ++i)
        if (way[i].branch == child)
            return true;
    return false;
}
template <class Branch> void enter(Way<Branch>& way, const Branch* branch)
{
    if (!way.push({branch, 0}))
        throwMemory();
}
// The next child on the way that may be entered, or null when all is seen; leaves finished branches.
template <class Core, class Branch> Branch* nextOf(Way<Branch>& way)
{
    while (!way.empty()) {
        Step<Branch>& step = way.top();
        Branch* child = nullptr;
        while (step.next < Core::of(step.branch)->childCount() && !child)
            child = Core::of(step.branch)->child(step.next++);
        if (child && !closesRing<Core>(way, child))
            return child;
        if (!child)
            way.pop();
    }
    return nullptr;
}
} // namespace

template <class Kind> int BranchCore<Kind>::addTree(const Branch* src, bool withRoot)
{
    if (!src || src == m_owner)
        return -1;
    struct Copying {
        const Branch* from;
        Branch* to;
        int next;
    };
    platform::WorkStack<Copying> way;
    // This branch is the only one of the source that gets new children meanwhile, should it stand in there.
    const int ownCount = m_children.count();
    Branch* to = m_owner;
    int result = 0;
    if (withRoot) {
        Branch* copy = nullptr;
        if (addChild(*src, &copy, false) < 0)
            return 0;
        to = copy;
    }
    if (!way.push({src, to, 0}))
        throwMemory();
    while (!way.empty()) {
        Copying& step = way.top();
        const int count = step.from == m_owner ? ownCount : of(step.from)->childCount();
        const Branch* child = step.next < count ? of(step.from)->child(step.next++) : nullptr;
        if (!child && step.next < count)
            continue;
        if (!child || child == step.to || result < 0) {
            way.pop();
            continue;
        }
        bool ring = false;
        if (of(child)->wasLinked())
            for (std::size_t i = 0; i < way.size() && !ring; ++i)
                ring = way[i].from == child;
        Branch* copy = nullptr;
        result = of(step.to)->addChild(*child, &copy, false);
        if (result >= 0 && !ring && !way.push({child, copy, 0}))
            throwMemory();
    }
    return result;
}

template <class Kind> typename Kind::Branch* BranchCore<Kind>::searchTree(const Ch* name) const
{
    if (!name)
        return nullptr;
    const NameQuery<Ch> query(name);
    Way<Branch> way;
    enter<Branch>(way, m_owner);
    while (Branch* child = nextOf<BranchCore>(way)) {
        if (of(child)->equals(query) > 0)
            return child;
        if (of(child)->childCount())
            enter<Branch>(way, child);
    }
    return nullptr;
}

template <class Kind> typename Kind::Branch* BranchCore<Kind>::highestBranch(const Ch* name) const
{
    if (!name || !*name)
        return nullptr;
    const NameQuery<Ch> query(name);
    Way<Branch> way;
    const Branch* entered = m_owner;
    do {
        const int at = of(entered)->findChild(query);
        if (at >= 0)
            return of(entered)->child(at);
        enter<Branch>(way, entered);
        do
            entered = nextOf<BranchCore>(way);
        while (entered && !of(entered)->childCount());
    } while (entered);
    return nullptr;
}

template <class Kind>
bool BranchCore<Kind>::scanTree(const Ch* name, const Ch* attribName,
                                bool (*callback)(Branch*, Attrib*, long), long param)
{
    if (!name || !callback)
        return true;
    const NameQuery<Ch> query(name);
    Way<Branch> way;
    enter<Branch>(way, m_owner);
    while (!way.empty()) {
        const Branch* parent = way.top().branch;
        Branch* child = of(parent)->child(way.top().next);
        if (way.top().next++ >= of(parent)->childCount()) {
            way.pop();
            continue;
        }
        if (!child)
            continue;
        // Kept: the name is tested on the parent; the callback gets each of its children.
        if (of(parent)->equals(query) > 0) {
            const int at = attribName ? of(child)->findAttrib(attribName) : -1;
            if (!attribName || at >= 0)
                if (!callback(child, attribName ? of(child)->attrib(at) : nullptr, param))
                    return false;
        }
        if (of(child)->childCount() && !closesRing<BranchCore>(way, child))
            enter<Branch>(way, child);
    }
    return true;
}

template <class Kind> typename Kind::Branch* BranchCore<Kind>::findLinkParent(const Branch* b) const
{
    if (!b)
        return nullptr;
    Way<Branch> way;
    const Branch* entered = m_owner;
    do {
        if (of(entered)->isLinked(b))
            return const_cast<Branch*>(entered);
        enter<Branch>(way, entered);
        entered = nextOf<BranchCore>(way);
    } while (entered);
    return nullptr;
}

// --- binary form ---

template <class Kind> int BranchCore<Kind>::save(std::ostream& out) const
{
    Way<Branch> way;
    const Branch* next = m_owner;
    while (next) {
        const BranchCore& b = *of(next);
        if (!b.m_name)
            return -1;
        writeLength(out, static_cast<std::uint32_t>(b.m_nameLength));
        out.write(reinterpret_cast<const char*>(b.m_name),
                  static_cast<std::streamsize>(static_cast<std::size_t>(b.m_nameLength) * sizeof(Ch)));
        const char header[4] = {static_cast<char>(b.m_type), static_cast<char>(b.m_flags),
                                static_cast<char>(b.m_precision), static_cast<char>(b.m_length)};
        out.write(header, 4);
        const void* value = nullptr;
        int size = 0;
        b.valuePtr(&value, &size);
        if (b.m_type == 7)
            writeLength(out, b.m_length);
        if (size)
            out.write(static_cast<const char*>(value), size);
        writeLength(out, static_cast<std::uint32_t>(b.m_attribs.count()));
        for (const Attrib* attrib : b.m_attribs)
            attrib->save(out);
        int children = 0;
        for (const Branch* child : b.m_children)
            children += child != nullptr;
        writeLength(out, static_cast<std::uint32_t>(children));
        enter<Branch>(way, next);
        next = nextOf<BranchCore>(way);
    }
    return 0;
}

template <class Kind> bool BranchCore<Kind>::readName(std::istream& in, std::uint32_t length)
{
    const std::uint64_t bytes = std::uint64_t{length} * sizeof(Ch);
    std::uint32_t got = 0;
    platform::HeapPtr<char> name(readBlock(in, bytes, sizeof(Ch), got));
    Ch* units = reinterpret_cast<Ch*>(name.get());
    if (units)
        units[got / sizeof(Ch)] = 0; // also where a stream ended inside a unit
    setName(units);
    return got == bytes;
}

template <class Kind> void BranchCore<Kind>::readValue(std::istream& in)
{
    char type = 0;
    // Kept: one header byte is read where save() writes four.
    if (!in.read(&type, 1))
        return;
    static const unsigned char sizes[] = {0, 1, 1, 2, 4, 4, 8};
    const unsigned code = static_cast<unsigned char>(type);
    if (code == 7) {
        std::uint32_t length = 0;
        platform::HeapPtr<char> data;
        std::uint32_t got = 0;
        if (readLength(in, length) && length)
            data.reset(readBlock(in, length, sizeof(Ch), got));
        dropValue();
        m_value.bytes = data.release();
        m_length = got;
    } else {
        Value value{};
        if (code < 7) {
            in.read(reinterpret_cast<char*>(&value), sizes[code]);
            if (code == 5)
                value.l = value.i; // 4 bytes in the stream, sign-extended where a long has more
        }
        dropValue();
        m_value = value;
    }
    m_type = static_cast<std::uint8_t>(code);
}

template <class Kind> bool BranchCore<Kind>::readAttribs(std::istream& in)
{
    std::uint32_t count = 0;
    if (!readLength(in, count))
        return false;
    Attrib one;
    NameIndex names;
    for (; count && in; --count) {
        one.load(in);
        if (one.getName())
            replaceAttrib(one, names);
    }
    return static_cast<bool>(in);
}

// Name, value and attributes of one branch; `children` is the count that follows. False when the stream
// ended before anything of the branch came.
template <class Kind> bool BranchCore<Kind>::readNode(std::istream& in, std::uint32_t& children)
{
    children = 0;
    std::uint32_t length = 0;
    if (!readLength(in, length))
        return false;
    if (length && readName(in, length))
        readValue(in);
    if (readAttribs(in) && !readLength(in, children))
        children = 0;
    return true;
}

template <class Kind> int BranchCore<Kind>::load(std::istream& in)
{
    // Kept: the children of one branch are all read into one temporary branch, whose attributes and value
    // thus stay for the next one, and are copied without what they hold: two levels are what load restores.
    struct Level {
        Branch* temporary; // of the children
        std::uint32_t left;
    };
    platform::WorkStack<Level> way;
    struct Cleaner {
        platform::WorkStack<Level>& way;
        ~Cleaner()
        {
            for (; !way.empty(); way.pop())
                delete way.top().temporary;
        }
    } cleaner{way};
    std::uint32_t count = 0;
    readNode(in, count);
    if (!way.push({nullptr, count}))
        throwMemory();
    while (!way.empty()) {
        Level& level = way.top();
        if (level.left && in) {
            --level.left;
            if (!level.temporary)
                level.temporary = create(Kind::relName(), 0, 0);
            if (of(level.temporary)->m_nameLength == 0)
                of(level.temporary)->dropName();
            if (of(level.temporary)->readNode(in, count)) {
                if (!way.push({nullptr, count}))
                    throwMemory();
                continue;
            }
        }
        delete level.temporary;
        way.pop();
        // What a temporary holds below itself is never copied, so only the first level is kept.
        if (way.size() == 1)
            addChild(*way.top().temporary, nullptr, false);
    }
    return 0;
}

template class BranchCore<NarrowTree>;
template class BranchCore<WideTree>;

} // namespace ztree_impl
