#pragma once
// The one body behind ZAttribList and ZAttribWList.

#include "attrib/attrib_core.h"
#include "attrib/name_index.h"
#include "containers/array_core.h"

namespace ztree_impl {

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

} // namespace ztree_impl

class mZAttribList final : public ztree_impl::AttribListCore<ztree_impl::NarrowAttrib> {
public:
    static mZAttribList* make(); ///< throws structExcept 0x84201001
};
class mZAttribWList final : public ztree_impl::AttribListCore<ztree_impl::WideAttrib> {
public:
    static mZAttribWList* make();
};
