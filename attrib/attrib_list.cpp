#include "attrib/attrib_list.h"

#include "containers/sort_core.h"
#include "text/string_core.h"

#include <ztree/runtime.h>

#include <algorithm>
#include <climits>
#include <string>

namespace ztree_impl {

namespace {

/// How a name ranks by its first unit: a search ends behind an entry that ranks above the bound. Equal names
/// rank alike.
template <class Kind> struct Rank;
template <> struct Rank<NarrowAttrib> {
    // Kept: an unsorted search ends at first bytes above 127; callers get the same attribute as ever where
    // such names stand in front.
    static constexpr int unsorted = 127;
    // Kept: a quick lower-casing, exact for letters only, so that a sorted search for letters ends at "_".
    static int of(char c) noexcept { return static_cast<unsigned char>(c) | 0x20; }
};
template <> struct Rank<WideAttrib> {
    static constexpr int unsorted = 32767; // Kept: as 127 for bytes
    static int of(zwchar c) noexcept { return foldUnit(c); }
};

template <class Ch> bool isSpace(Ch c) noexcept
{
    return c == ' ' || c == '\r' || c == '\n' || c == '\t';
}

template <class Ch> std::uint32_t hashOf(const Ch* name) noexcept
{
    return foldedHash(name,
                      static_cast<int>(std::min<std::size_t>(std::char_traits<Ch>::length(name), INT_MAX)));
}

// What trims a name; a CR stays.
template <class Ch> bool isBlank(Ch c) noexcept
{
    return c == ' ' || c == '\n' || c == '\t';
}

// The attributes of a text, one after the other.
template <class Ch> class Scanner {
public:
    Scanner(const Ch* text, int n) noexcept : m_at(text), m_end(text + n)
    {
        while (m_at < m_end && isSpace(*m_at))
            ++m_at;
        while (m_at < m_end && isSpace(m_end[-1]))
            --m_end;
    }
    bool hasMore() const noexcept { return m_at < m_end; }
    void next() noexcept
    {
        name = valueEnd = value = nameEnd = m_end;
        token('=', name, nameEnd);
        while (name < nameEnd && isBlank(*name))
            ++name;
        while (name < nameEnd && isBlank(nameEnd[-1]))
            --nameEnd;
        if (!hasMore())
            return;
        for (const Ch quote : {static_cast<Ch>('"'), static_cast<Ch>('\'')}) {
            const int quotes = skip(quote);
            if (quotes == 1)
                token(quote, value, valueEnd);
            if (quotes)
                return;
        }
        value = m_at;
        while (m_at < m_end && *m_at != '"' && !isSpace(*m_at))
            ++m_at;
        valueEnd = m_at;
        while (m_at < m_end && (*m_at == '"' || isSpace(*m_at)))
            ++m_at;
    }

    const Ch* name = nullptr;
    const Ch* nameEnd = nullptr;
    const Ch* value = nullptr;
    const Ch* valueEnd = nullptr;

private:
    int skip(Ch c) noexcept
    {
        const Ch* from = m_at;
        while (m_at < m_end && *m_at == c)
            ++m_at;
        return static_cast<int>(m_at - from);
    }
    // Up to the delimiter, which is passed with all that repeat it and the white space behind them.
    void token(Ch delimiter, const Ch*& begin, const Ch*& end) noexcept
    {
        skip(delimiter);
        begin = m_at;
        const Ch* found = std::char_traits<Ch>::find(m_at, static_cast<std::size_t>(m_end - m_at), delimiter);
        m_at = end = found ? found : m_end;
        skip(delimiter);
        while (m_at < m_end && isSpace(*m_at))
            ++m_at;
    }

    const Ch* m_at;
    const Ch* m_end;
};

} // namespace

template <class Kind> void AttribListCore<Kind>::removeAll() noexcept
{
    forgetIndex();
    sortcore::deleteAll(m_entries);
}

template <class Kind> void AttribListCore<Kind>::share(const AttribListCore& other)
{
    if (&other == this)
        return;
    // Kept: the pointers are copied, not the attributes, and those held before are let go undeleted.
    if (!m_entries.assign(other.m_entries))
        throw structExcept(ztree::errMemory);
    forgetIndex();
    m_sorted = other.m_sorted;
}

template <class Kind> int AttribListCore<Kind>::parse(const Ch* text)
{
    return text ? parse(text, textLength(text)) : 0;
}

template <class Kind> int AttribListCore<Kind>::parse(const Ch* text, int n)
{
    // Into a list of its own first: a failure leaves this one whole, and the text may be a value of it.
    AttribListCore fresh;
    for (Scanner<Ch> scanner(text, n); scanner.hasMore();) {
        scanner.next();
        const int nameLength = static_cast<int>(scanner.nameEnd - scanner.name);
        // Without a name the attribute keeps nothing.
        Attrib* attrib =
            nameLength ? newAttrib(scanner.name, nameLength, scanner.value,
                                   static_cast<int>(scanner.valueEnd - scanner.value))
                       : newAttrib(static_cast<const Ch*>(nullptr), 0, static_cast<const Ch*>(nullptr), 0);
        if (!fresh.m_entries.add(static_cast<ZSortObject*>(attrib))) {
            delete attrib;
            throw structExcept(ztree::errMemory);
        }
    }
    m_entries.swap(fresh.m_entries);
    forgetIndex();
    return size(); // the sorted mark stays, whatever the order is now
}

template <class Kind> void AttribListCore<Kind>::add(const Ch* name, const Ch* value)
{
    if (!name)
        return;
    Attrib* attrib = newAttrib(name, textLength(name), value, value ? textLength(value) : 0);
    if (!m_entries.add(static_cast<ZSortObject*>(attrib))) {
        delete attrib;
        throw structExcept(ztree::errMemory);
    }
    setSorted(false);
}

template <class Kind> const typename Kind::Char* AttribListCore<Kind>::nameOf(int i) const noexcept
{
    static const Ch none = 0;
    const auto* impl = AttribCore<Kind>::of(*at(i));
    return impl && impl->name.text ? impl->name.text : &none;
}

template <class Kind> NameIndex* AttribListCore<Kind>::index() const noexcept
{
    if (size() < indexedFrom)
        return nullptr;
    if (!m_index)
        m_index = new NameIndex; // without one every entry is looked at
    return m_index;
}

template <class Kind> int AttribListCore<Kind>::find(const Ch* name) const noexcept
{
    if (!name)
        return -1;
    const int rank = Rank<Kind>::of(*name);
    const int bound = m_sorted ? rank : Rank<Kind>::unsorted;
    bool found = false;
    auto endsAt = [&](int i) {
        const Ch* other = nameOf(i);
        const int otherRank = Rank<Kind>::of(*other);
        found = otherRank == rank && compareNames(other, name) == 0;
        return found || otherRank > bound;
    };
    int i = 0;
    if (NameIndex* names = index()) {
        // The index knows no entries at which a search ends: a list that has such ones is not indexed.
        auto enter = [&](int n, std::uint32_t& hash) {
            const Ch* own = nameOf(n);
            const int before = n > 0 ? Rank<Kind>::of(*nameOf(n - 1)) : 0;
            hash = hashOf(own);
            return m_sorted ? Rank<Kind>::of(*own) >= before : Rank<Kind>::of(*own) <= Rank<Kind>::unsorted;
        };
        i = names->find(size(), hashOf(name), enter, endsAt);
    } else {
        while (i < size() && !endsAt(i))
            ++i;
    }
    return found ? i : -1;
}

template <class Kind> void AttribListCore<Kind>::set(const Ch* name, const Ch* value)
{
    const int found = find(name);
    if (found >= 0)
        at(found)->setValue(value);
    else
        add(name, value);
}

template <class Kind> void AttribListCore<Kind>::remove(const Ch* name) noexcept
{
    const int found = find(name);
    if (found < 0)
        return;
    Attrib* attrib = at(found);
    m_entries.removeAt(found);
    forgetIndex();
    delete attrib;
}

template <class Kind> const typename Kind::Char* AttribListCore<Kind>::get(const Ch* name) const noexcept
{
    const int found = find(name);
    return found >= 0 ? at(found)->getValue() : nullptr;
}

namespace {
// The first units of a name, folded: names in order have them in order.
std::uint64_t headOf(const char* name) noexcept
{
    std::uint64_t head = 0;
    for (int shift = 56; shift >= 0 && *name; shift -= 8, ++name) {
        const unsigned char u = static_cast<unsigned char>(*name);
        head |= std::uint64_t{static_cast<unsigned char>(u - 0x41u < 26u ? u | 0x20 : u)} << shift;
    }
    return head;
}
std::uint64_t headOf(const zwchar* name) noexcept
{
    std::uint64_t head = 0;
    for (int shift = 48; shift >= 0 && *name; shift -= 16, ++name)
        head |= static_cast<std::uint64_t>(foldUnit(*name)) << shift;
    return head;
}
} // namespace

// Few attributes, as elements have them, without a comparison through the class. False, and nothing done, for
// many and for names that are equal: their order is what sorting of any objects makes of it.
template <class Kind> bool AttribListCore<Kind>::sortFew() noexcept
{
    constexpr int few = 16;
    struct Entry {
        std::uint64_t head;
        const Ch* name;
        const void* attrib;
    };
    const int count = size();
    if (count > few)
        return false;
    Entry sorted[few];
    for (int i = 0; i < count; ++i) {
        const Entry entry = {headOf(nameOf(i)), nameOf(i), m_entries.at(i)};
        int to = i;
        for (; to > 0; --to) {
            const Entry& before = sorted[to - 1];
            const int order = before.head != entry.head ? (before.head < entry.head ? -1 : 1)
                                                        : compareNames(before.name, entry.name);
            if (order == 0)
                return false;
            if (order < 0)
                break;
            sorted[to] = before;
        }
        sorted[to] = entry;
    }
    for (int i = 0; i < count; ++i)
        m_entries.entries()[i] = sorted[i].attrib;
    m_entries.setOrdered(count);
    return true;
}

template <class Kind> int AttribListCore<Kind>::sort()
{
    if (!m_sorted) {
        if (!sortFew())
            sortcore::sort(m_entries);
        forgetIndex();
    }
    m_sorted = true;
    return 0;
}

template class AttribListCore<NarrowAttrib>;
template class AttribListCore<WideAttrib>;

} // namespace ztree_impl

namespace {
template <class List> List* makeList()
{
    List* list = new List;
    if (!list)
        throw structExcept(ztree::errMemory);
    return list;
}
} // namespace

mZAttribList* mZAttribList::make()
{
    return makeList<mZAttribList>();
}
mZAttribWList* mZAttribWList::make()
{
    return makeList<mZAttribWList>();
}
