#include "containers/mZComArray.h"

#include <memory>

namespace {
// Slots hold the pointer to IUnknown that came in, and never a pointer to const.
IUnknown* unknown(const void* p) noexcept
{
    return static_cast<IUnknown*>(const_cast<void*>(p));
}

void need(bool success)
{
    if (!success)
        throw structExcept(ztree::errOutOfMemory);
}
} // namespace

mZComArray::~mZComArray() = default;

mZComArray* mZComArray::make(ZComArray* publicArray)
{
    std::unique_ptr<mZComArray> impl(new mZComArray(publicArray));
    if (!impl)
        throw structExcept(ztree::errMemory);
    if (!impl->lock.init(ZArray::s_ulDefaultSpinCount))
        throw structExcept(ztree::errLock);
    return impl.release();
}

IUnknown* mZComArray::atHeld(int i) const noexcept
{
    return unknown(slots.at(i));
}

int mZComArray::findHeld(IUnknown* p) const noexcept
{
    return p ? slots.find(p) : -1;
}

// The highest index in use, at most k.
void mZComArray::recomputeHiHeld(int k) noexcept
{
    int hi = elements == 0 ? -1 : std::min(k, slots.size() - 1);
    while (hi >= 0 && !slots.entries()[hi])
        --hi;
    slots.cut(hi + 1);
}

void mZComArray::resizeHeld(int n)
{
    if (n == slots.capacity())
        return;
    if (n == 0) {
        removeAllHeld();
        return;
    }
    const int oldHi = hi();
    if (oldHi < n) {
        need(slots.resize(n));
        recomputeHiHeld(oldHi);
        return;
    }
    ArrayCore old(slots.growth());
    need(old.resize(n));
    std::copy_n(slots.entries(), n, old.entries());
    old.cut(n);
    old.swap(slots);
    // Kept: the entry at index n itself is dropped without a Release and stays counted; callers who cut
    // an array hold that reference.
    for (int i = oldHi; i > n && elements > 0; --i) {
        if (old.entries()[i])
            elements = elements - 1;
    }
    recomputeHiHeld(n - 1);
    // The array is whole again: a Release may come back to it.
    for (int i = oldHi; i > n; --i) {
        if (old.entries()[i])
            unknown(old.entries()[i])->Release();
    }
}

void mZComArray::addHeld(IUnknown* p)
{
    need(slots.add(p));
    p->AddRef();
    elements = elements + 1;
}

// 0 <= i, and i is below the capacity when p is null.
void mZComArray::setAtHeld(int i, IUnknown* p)
{
    IUnknown* before = atHeld(i);
    if (p) {
        need(slots.setAt(i, p));
        p->AddRef(); // before the Release below: p may be what stood there
        elements = elements + 1;
    } else {
        if (before)
            putHeld(i, nullptr);
        if (i >= hi())
            recomputeHiHeld(i - 1);
    }
    if (before) {
        elements = elements - 1;
        before->Release();
    }
}

IUnknown* mZComArray::removeHeld(int i) noexcept
{
    IUnknown* p = atHeld(i);
    if (!p)
        return nullptr;
    elements = elements - 1;
    const bool last = i == hi();
    slots.removeAt(i);
    if (last)
        recomputeHiHeld(i - 1);
    else
        slots.cut(slots.size()); // the slot at the old hi becomes null
    return p;
}

void mZComArray::removeAllHeld()
{
    for (int i = 0; i <= hi() && elements > 0; ++i) {
        IUnknown* p = atHeld(i);
        if (!p)
            continue;
        putHeld(i, nullptr); // before its Release, which may come back to this array
        elements = elements - 1;
        p->Release();
    }
    elements = 0; // a cut or a compaction may have dropped entries without counting them
    need(slots.resize(0));
}

void mZComArray::packHeld() noexcept
{
    int kept = 0;
    for (int i = 0; i <= hi(); ++i) {
        if (IUnknown* p = atHeld(i))
            putHeld(kept++, p);
    }
    slots.cut(kept);
}

void mZComArray::compactHeld(bool pack, bool shrink)
{
    if (pack)
        packHeld();
    if (hi() >= slots.capacity() - 1)
        return;
    if (shrink) {
        resizeHeld(elements);
        return;
    }
    // Kept: without packing this drops entries that stand behind their number, unreleased, while hi and the
    // count stay; callers who leave holes pack.
    for (int i = elements; i <= hi(); ++i)
        putHeld(i, nullptr);
}

void mZComArray::assignHeld(const mZComArray& other)
{
    ArrayCore copy;
    need(copy.assign(other.slots));
    const int count = other.elements;
    removeAllHeld();
    slots.swap(copy);
    elements = count;
    // Kept: the entry at hi itself gets no reference; callers add it, or release one less.
    for (int i = 0; i < hi(); ++i) {
        if (IUnknown* p = atHeld(i))
            p->AddRef();
    }
}
