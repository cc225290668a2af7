#pragma once
// The one body behind ZTree and ZTreeW: a root and a cursor.

#include "tree/branch_core.h"

#include <utility>

namespace ztree_impl {

template <class Kind> class TreeCore : public platform::HeapObject {
public:
    using Ch = typename Kind::Char;
    using Branch = typename Kind::Branch;
    using Core = BranchCore<Kind>;

    TreeCore() noexcept = default;
    ~TreeCore() { delete m_root; }
    TreeCore(const TreeCore&) = delete;
    TreeCore& operator=(const TreeCore&) = delete;

    void assign(const TreeCore& other);
    /// The trees change what they hold, cursors included.
    static void swap(typename Kind::Tree& a, typename Kind::Tree& b) noexcept
    {
        std::swap(a.m_pImpl, b.m_pImpl);
    }
    void clear() noexcept { replaceRoot(nullptr); }
    void set(Branch* branch) noexcept;
    Branch* root() const noexcept { return m_root; }
    Branch* current() const noexcept { return m_current; }
    void current(Branch* branch) noexcept;
    Branch* findParent(const Branch* branch) const noexcept;
    Branch* descend(int index) noexcept;
    Branch* descend(const Ch* name) noexcept;
    Branch* descend(const Branch* child) noexcept;
    Branch* ascend() noexcept;
    Branch* next() noexcept;
    int add(const Branch& branch);
    int insert(const Branch* branch);
    void remove(const Ch* name) noexcept;
    int save(std::ostream& out) const { return m_root ? Core::of(m_root)->save(out) : 0; }
    int load(std::istream& in);

    /// The cursor as it stands, to be put back after an operation that moves it.
    struct Place {
        Branch* parent;
        Branch* current;
    };
    Place place() const noexcept { return {m_parent, m_current}; }
    void place(const Place& p) noexcept
    {
        m_parent = p.parent;
        m_current = p.current;
    }

private:
    void replaceRoot(Branch* root) noexcept;
    void toRootIfUnset() noexcept
    {
        if (!m_current)
            current(m_root);
    }

    Branch* m_root = nullptr;
    Branch* m_parent = nullptr; // of the current branch
    Branch* m_current = nullptr;
};

extern template class TreeCore<NarrowTree>;
extern template class TreeCore<WideTree>;

} // namespace ztree_impl

class mZTree final : public ztree_impl::TreeCore<ztree_impl::NarrowTree> {};
class mZTreeW final : public ztree_impl::TreeCore<ztree_impl::WideTree> {};
