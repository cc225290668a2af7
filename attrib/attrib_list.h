#pragma once
// The one body behind ZAttribList and ZAttribWList.

#include "attrib/attrib_core.h"
#include "attrib/name_index.h"
#include "containers/array_core.h"

namespace ztree_impl {

/// How a name ranks by its first unit: a search ends behind an entry that ranks above the bound. Equal names
/// rank alike.
template <class Kind> struct AttribRank;
template <> struct AttribRank<NarrowAttrib> {
    // Kept: an unsorted search ends at first bytes above 127; callers get the same attribute as ever where
    // such names stand in front.
    static constexpr int unsorted = 127;
    // Kept: a quick lower-casing, exact for letters only, so that a sorted search for letters ends at "_".
    static int of(char c) noexcept { return static_cast<unsigned char>(c) | 0x20; }
};
template <> struct AttribRank<WideAttrib> {
    static constexpr int unsorted = 32767; // Kept: as 127 for bytes
    static int of(zwchar c) noexcept { return foldUnit(c); }
};

template <class Kind> class AttribListCore : public platform::HeapObject {
public:
    using Ch = typename Kind::Char;
    using Attrib = typename Kind::Attrib;

    AttribListCore() noexcept = default;
    ~AttribListCore()
    {
        removeAll();
        delete m_index;
    }
    AttribListCore(const AttribListCore&) = delete;
    AttribListCore& operator=(const AttribListCore&) = delete;

    template <class List> static auto* of(List& list) noexcept { return list.m_pImpl; }

    /// Takes over the other's attributes, which then stand in both lists.
    void share(const AttribListCore& other);
    int parse(const Ch* text);
    /// The same for n units.
    int parse(const Ch* text, int n);
    void add(const Ch* name, const Ch* value);
    void set(const Ch* name, const Ch* value);
    void remove(const Ch* name) noexcept;
    void removeAll() noexcept;
    const Ch* get(const Ch* name) const noexcept;
    int size() const noexcept { return m_entries.size(); }
    Attrib* at(int i) const noexcept { return static_cast<Attrib*>(const_cast<void*>(m_entries.at(i))); }
    int sort();
    void setSorted(bool sorted) noexcept
    {
        if (m_sorted != sorted)
            forgetIndex(); // where a search ends depends on the mark
        m_sorted = sorted;
    }

private:
    static constexpr int indexedFrom = 17;

    int find(const Ch* name) const noexcept;
    bool sortFew() noexcept;
    bool sortMany() noexcept;
    const Ch* nameOf(int i) const noexcept;
    NameIndex* index() const noexcept;
    void forgetIndex() const noexcept
    {
        if (m_index)
            m_index->forget();
    }

    ArrayCore m_entries; // of Attrib, as ZSortObject
    mutable NameIndex* m_index = nullptr;
    bool m_sorted = false;
};

extern template class AttribListCore<NarrowAttrib>;
extern template class AttribListCore<WideAttrib>;

/// An attribute inside a text: texts without terminator, empty ones with length 0.
template <class Ch> struct AttribPiece {
    const Ch* name;
    int nameLength;
    const Ch* value;
    int valueLength;
};
constexpr int fewAttribs = 16;
/// What parse() and sort() of a list make of n units, without a list; room for fewAttribs pieces. -1 when
/// there are more, one has no name, or two names are equal: only a list knows their order.
template <class Kind>
int sortedPieces(const typename Kind::Char* text, int n, AttribPiece<typename Kind::Char>* pieces) noexcept;
/// A search for a name among those of attributes, one after the other: until it is found or one has a rank
/// behind which it does not stand.
template <class Kind> class NameSearch {
public:
    using Ch = typename Kind::Char;
    NameSearch(const Ch* name, bool sorted) noexcept
        : m_name(name), m_rank(AttribRank<Kind>::of(*name)),
          m_bound(sorted ? m_rank : AttribRank<Kind>::unsorted)
    {
    }
    bool endsAt(const Ch* other) noexcept
    {
        const int rank = AttribRank<Kind>::of(*other);
        m_found = rank == m_rank && compareNames(other, m_name) == 0;
        return m_found || rank > m_bound;
    }
    bool found() const noexcept { return m_found; }

private:
    const Ch* m_name;
    int m_rank;
    int m_bound;
    bool m_found = false;
};

} // namespace ztree_impl

class mZAttribList final : public ztree_impl::AttribListCore<ztree_impl::NarrowAttrib> {
public:
    static mZAttribList* make(); ///< throws structExcept 0x84201001
};
class mZAttribWList final : public ztree_impl::AttribListCore<ztree_impl::WideAttrib> {
public:
    static mZAttribWList* make();
};
