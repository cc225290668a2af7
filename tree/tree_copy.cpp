// Deep copies and moves of trees.

#include "platform/work_stack.h"
#include "tree/attrib_batch.h"
#include "tree/tree_core.h"

#include <ztree/ext/tree.h>
#include <ztree/runtime.h>

#include <climits>

namespace ztree {

using ztree_impl::AttribBatch;
using ztree_impl::BranchCore;
using ztree_impl::NarrowTree;
using ztree_impl::TreeCore;
using ztree_impl::WideTree;

namespace detail {
void throwNoMemory()
{
    throw structExcept(errMemory);
}
bool wasLinked(const ZTBranch& branch) noexcept
{
    return BranchCore<NarrowTree>::of(&branch)->wasLinked();
}
bool wasLinked(const ZTBranchW& branch) noexcept
{
    return BranchCore<WideTree>::of(&branch)->wasLinked();
}
} // namespace detail

namespace {

// Name, value and attributes; the caller deletes it.
template <class Kind>
typename Kind::Branch* copyBranch(const BranchCore<Kind>& from, AttribBatch<Kind>& attribs)
{
    attribs.clear();
    for (int i = 0; i < from.attribCount(); ++i) {
        const auto& attrib = *from.attrib(i);
        attribs.add(attrib.getName(), ztree_impl::nameLength(attrib), attrib.getValue(),
                    ztree_impl::valueLength(attrib));
    }
    const bool room = from.type() == 7 && from.binaryLength() <= INT_MAX;
    typename Kind::Branch* copy =
        attribs.make(from.name(), from.nameLength(), room ? static_cast<int>(from.binaryLength()) : 0);
    BranchCore<Kind>& to = *BranchCore<Kind>::of(copy);
    if (from.type() == 7) {
        try {
            to.setBytes(from.binary(), static_cast<int>(from.binaryLength()));
        } catch (...) {
            delete copy;
            throw;
        }
    } else if (from.type() != 0) {
        std::uint64_t bits = 0; // whatever number it is
        from.number(from.type(), &bits);
        to.setNumber(from.type(), bits);
        to.setPrecision(from.precision());
    }
    return copy;
}

template <class Kind> typename Kind::Branch* copyAll(const typename Kind::Branch& from)
{
    using Core = BranchCore<Kind>;
    using Branch = typename Kind::Branch;
    struct Level {
        const Branch* from;
        Branch* to;
        int next;
    };
    platform::WorkStack<Level> way;
    AttribBatch<Kind> attribs;
    Branch* root = copyBranch<Kind>(*Core::of(&from), attribs);
    try {
        if (!way.push({&from, root, 0}))
            detail::throwNoMemory();
        while (!way.empty()) {
            Level& level = way.top();
            const Core& source = *Core::of(level.from);
            if (level.next >= source.childCount()) {
                way.pop();
                continue;
            }
            const Branch* child = source.child(level.next++);
            if (!child)
                continue;
            Branch* copy = copyBranch<Kind>(*Core::of(child), attribs);
            try {
                Core::of(level.to)->adopt(copy);
            } catch (...) {
                delete copy;
                throw;
            }
            bool ring = false;
            if (Core::of(child)->wasLinked())
                for (std::size_t i = 0; i < way.size() && !ring; ++i)
                    ring = way[i].from == child;
            if (!ring && Core::of(child)->childCount() && !way.push({child, copy, 0}))
                detail::throwNoMemory();
        }
    } catch (...) {
        delete root;
        throw;
    }
    return root;
}

template <class Kind> void copyInto(const typename Kind::Tree& from, typename Kind::Tree& to)
{
    if (&from != &to)
        to.set(from.root() ? copyAll<Kind>(*from.root()) : nullptr);
}

template <class Kind> void moveInto(typename Kind::Tree& from, typename Kind::Tree& to) noexcept
{
    if (&from == &to)
        return;
    TreeCore<Kind>::swap(from, to);
    from.clear();
}

} // namespace

ZTBranch* copyTree(const ZTBranch& from)
{
    return copyAll<NarrowTree>(from);
}
ZTBranchW* copyTree(const ZTBranchW& from)
{
    return copyAll<WideTree>(from);
}
void copyTree(const ZTree& from, ZTree& to)
{
    copyInto<NarrowTree>(from, to);
}
void copyTree(const ZTreeW& from, ZTreeW& to)
{
    copyInto<WideTree>(from, to);
}
void moveTree(ZTree& from, ZTree& to) noexcept
{
    moveInto<NarrowTree>(from, to);
}
void moveTree(ZTreeW& from, ZTreeW& to) noexcept
{
    moveInto<WideTree>(from, to);
}

} // namespace ztree
