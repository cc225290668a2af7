#include "tree/tree_core.h"

#include <ztree/runtime.h>

namespace ztree_impl {

template <class Kind> void TreeCore<Kind>::replaceRoot(Branch* root) noexcept
{
    Branch* before = m_root;
    m_root = root;
    m_parent = m_current = nullptr;
    if (before != root)
        delete before;
}

template <class Kind> void TreeCore<Kind>::assign(const TreeCore& other)
{
    if (&other == this)
        return;
    Branch* copy = nullptr;
    if (other.m_root) {
        // The whole copy stands before the old tree goes.
        const Core& from = *Core::of(other.m_root);
        copy = Core::create(from.name() ? from.name() : nullptr, from.nameLength(), 0);
        try {
            Core::of(copy)->copyNode(from);
            Core::of(copy)->addTree(other.m_root, false);
        } catch (...) {
            delete copy;
            throw;
        }
    }
    replaceRoot(copy);
}

template <class Kind> void TreeCore<Kind>::set(Branch* branch) noexcept
{
    replaceRoot(branch);
    m_current = branch;
}

template <class Kind> void TreeCore<Kind>::current(Branch* branch) noexcept
{
    if (branch == m_root) {
        m_current = m_root;
        m_parent = nullptr;
    } else if (Branch* parent = findParent(branch)) {
        m_parent = parent;
        m_current = branch;
    }
}

template <class Kind> typename Kind::Branch* TreeCore<Kind>::findParent(const Branch* branch) const noexcept
{
    if (!branch || branch == m_root)
        return nullptr;
    Branch* const parent = Core::of(branch)->parent();
    if (!(Core::of(branch)->flags() & 1))
        return parent;
    // Kept: a linked branch has a parent for the cursor only when its own ancestors reach the root; the
    // branches that link it are not searched. The hare ends the walk where parents form a ring.
    const Branch* hare = parent;
    for (const Branch* b = parent; b; b = Core::of(b)->parent()) {
        if (b == m_root)
            return parent;
        for (int i = 0; i < 2 && hare; ++i)
            hare = Core::of(hare)->parent();
        if (hare == b && hare)
            break;
    }
    return nullptr;
}

template <class Kind> typename Kind::Branch* TreeCore<Kind>::descend(int index) noexcept
{
    if (!m_current)
        m_current = m_root;
    Branch* child = m_current ? Core::of(m_current)->child(index) : nullptr;
    if (!child)
        return nullptr;
    Core::of(m_current)->remember(index);
    m_parent = m_current;
    m_current = child;
    Core::of(child)->remember(0);
    return child;
}

template <class Kind> typename Kind::Branch* TreeCore<Kind>::descend(const Ch* name) noexcept
{
    toRootIfUnset();
    const int index = m_current ? Core::of(m_current)->findChild(name) : -1;
    return index < 0 ? nullptr : descend(index);
}

template <class Kind> typename Kind::Branch* TreeCore<Kind>::descend(const Branch* child) noexcept
{
    toRootIfUnset();
    if (!m_current)
        return nullptr;
    const Core& from = *Core::of(m_current);
    if (!child)
        return descend(from.recall());
    // A walk visits children in turn: look where the last visit was before looking everywhere.
    if (!Core::of(child)->wasLinked())
        for (int i = from.recall(); i <= from.recall() + 1; ++i)
            if (from.child(i) == child)
                return descend(i);
    for (int i = 0; i < from.childCount(); ++i)
        if (from.child(i) == child)
            return descend(i);
    return nullptr;
}

template <class Kind> typename Kind::Branch* TreeCore<Kind>::ascend() noexcept
{
    m_current = m_parent;
    m_parent = findParent(m_current);
    return m_current;
}

template <class Kind> typename Kind::Branch* TreeCore<Kind>::next() noexcept
{
    if (!m_parent)
        return nullptr;
    Core& parent = *Core::of(m_parent);
    const int at = parent.recall();
    m_current = parent.child(at);
    if (m_current)
        parent.remember(at + 1);
    return m_current;
}

template <class Kind> int TreeCore<Kind>::add(const Branch& branch)
{
    toRootIfUnset();
    if (!m_current) {
        const Core& from = *Core::of(&branch);
        Branch* root = Core::create(from.name(), from.nameLength(), 0);
        try {
            Core::of(root)->copyNode(from);
        } catch (...) {
            delete root;
            throw;
        }
        m_root = m_current = root;
        return 0;
    }
    Core& current = *Core::of(m_current);
    const int result = current.addChild(branch, nullptr, false);
    current.remember(current.childCount() - 1);
    return result;
}

template <class Kind> int TreeCore<Kind>::insert(const Branch* branch)
{
    toRootIfUnset();
    if (!m_current && branch)
        add(*branch);
    if (branch == m_current || !branch)
        return -1;
    return Core::of(m_current)->addTree(branch, false);
}

template <class Kind> void TreeCore<Kind>::remove(const Ch* name) noexcept
{
    toRootIfUnset();
    if (!m_current)
        return;
    const int index = Core::of(m_current)->findChild(name);
    if (index >= 0)
        Core::of(m_current)->removeChild(index);
}

template <class Kind> int TreeCore<Kind>::load(std::istream& in)
{
    clear();
    Branch* root = new Branch;
    if (!root)
        throw structExcept(ztree::errMemory);
    try {
        Core::of(root)->load(in);
    } catch (...) {
        delete root;
        throw;
    }
    m_root = root;
    return 0;
}

template class TreeCore<NarrowTree>;
template class TreeCore<WideTree>;

} // namespace ztree_impl
