#include "attrib/attrib_list.h"

#include "containers/name_sort.h"
#include "containers/sort_core.h"
#include "text/search.h"
#include "text/string_core.h"

#include <ztree/runtime.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>

namespace ztree_impl {

namespace {

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
        m_at = scan::nearby(m_at, m_end, delimiter);
        end = m_at;
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
    NameSearch<Kind> search(name, m_sorted);
    auto endsAt = [&](int i) { return search.endsAt(nameOf(i)); };
    int i = 0;
    if (NameIndex* names = index()) {
        // The index knows no entries at which a search ends: a list that has such ones is not indexed.
        auto enter = [&](int n, std::uint32_t& hash) {
            const Ch* own = nameOf(n);
            const int before = n > 0 ? AttribRank<Kind>::of(*nameOf(n - 1)) : 0;
            hash = hashOf(own);
            return m_sorted ? AttribRank<Kind>::of(*own) >= before
                            : AttribRank<Kind>::of(*own) <= AttribRank<Kind>::unsorted;
        };
        i = names->find(size(), hashOf(name), enter, endsAt);
    } else {
        while (i < size() && !endsAt(i))
            ++i;
    }
    return search.found() ? i : -1;
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
    if (m_index && found == size() - 1)
        m_index->dropLast(size(), hashOf(nameOf(found)));
    else
        forgetIndex();
    m_entries.removeAt(found);
    delete attrib;
}

template <class Kind> const typename Kind::Char* AttribListCore<Kind>::get(const Ch* name) const noexcept
{
    const int found = find(name);
    return found >= 0 ? at(found)->getValue() : nullptr;
}

namespace {
// The first units of a name, folded: names in order have them in order.
std::uint64_t headOf(const char* name, int n) noexcept
{
    return __builtin_bswap64(foldedWord(name, n));
}
std::uint64_t headOf(const zwchar* name, int n) noexcept
{
    std::uint64_t head = 0;
    for (int i = 0; i < 4 && i < n; ++i)
        head |= static_cast<std::uint64_t>(foldUnit(name[i])) << (48 - 16 * i);
    return head;
}

// Sorts few names as they come in. False when one equals another: the order of equal ones is what sorting of
// any objects makes of it.
template <class Ch> class FewNames {
public:
    static constexpr int most = 16;
    bool insert(const Ch* name, int length) noexcept
    {
        const Entry entry = {headOf(name, length), name, length, m_count};
        int to = m_count;
        for (; to > 0; --to) {
            const Entry& before = m_sorted[to - 1];
            const int order = before.head != entry.head
                                  ? (before.head < entry.head ? -1 : 1)
                                  : compareNames(before.name, before.length, entry.name, entry.length);
            if (order == 0)
                return false;
            if (order < 0)
                break;
            m_sorted[to] = before;
        }
        m_sorted[to] = entry;
        ++m_count;
        return true;
    }
    /// Which one to come in stands at place i.
    int at(int i) const noexcept { return m_sorted[i].number; }

private:
    struct Entry {
        std::uint64_t head;
        const Ch* name;
        int length;
        int number;
    };
    Entry m_sorted[most];
    int m_count = 0;
};
} // namespace

// Few attributes, as elements have them, without a comparison through the class. False, and nothing done, for
// names that are equal.
template <class Kind> bool AttribListCore<Kind>::sortFew() noexcept
{
    FewNames<Ch> names;
    const void* before[names.most];
    const int count = size();
    for (int i = 0; i < count; ++i) {
        before[i] = m_entries.at(i);
        const auto* impl = AttribCore<Kind>::of(*at(i));
        if (!names.insert(nameOf(i), impl ? impl->name.length : 0))
            return false;
    }
    for (int i = 0; i < count; ++i)
        m_entries.entries()[i] = before[names.at(i)];
    m_entries.setOrdered(count);
    return true;
}

// Many attributes; equal names, too. False, and nothing done, when one holds nothing or memory is short.
template <class Kind> bool AttribListCore<Kind>::sortMany() noexcept
{
    return sortcore::sortByName<Ch>(
        m_entries,
        [](const void* object, sortcore::Named<Ch>& named) {
            const auto* impl = AttribCore<Kind>::of(*static_cast<const Attrib*>(object));
            if (impl)
                named.setName(impl->name.text, impl->name.length,
                              [](const Ch* text, int n) { return headOf(text, n); });
            return impl != nullptr;
        },
        [](const Ch* a, const Ch* b) { return compareNames(a, b); });
}

template <class Kind>
int sortedPieces(const typename Kind::Char* text, int n, AttribPiece<typename Kind::Char>* pieces) noexcept
{
    using Ch = typename Kind::Char;
    static_assert(FewNames<Ch>::most == fewAttribs, "what a caller has room for");
    FewNames<Ch> names;
    AttribPiece<Ch> unsorted[names.most];
    int count = 0;
    for (Scanner<Ch> scanner(text, n); scanner.hasMore(); ++count) {
        scanner.next();
        const int length = static_cast<int>(scanner.nameEnd - scanner.name);
        if (count == names.most || length < 1 || !names.insert(scanner.name, length))
            return -1;
        unsorted[count] = {scanner.name, length, scanner.value,
                           static_cast<int>(scanner.valueEnd - scanner.value)};
    }
    for (int i = 0; i < count; ++i)
        pieces[i] = unsorted[names.at(i)];
    return count;
}
template int sortedPieces<NarrowAttrib>(const char*, int, AttribPiece<char>*) noexcept;
template int sortedPieces<WideAttrib>(const zwchar*, int, AttribPiece<zwchar>*) noexcept;

template <class Kind> int AttribListCore<Kind>::sort()
{
    if (!m_sorted) {
        if (!(size() <= FewNames<Ch>::most ? sortFew() : sortMany()))
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
