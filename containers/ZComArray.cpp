#include "containers/mZComArray.h"

using platform::LockHold;

namespace {
constexpr int invalidArg = static_cast<int>(ztree::errInvalidArg);
constexpr int failed = static_cast<int>(ztree::errFail);

IUnknown* withReference(IUnknown* p)
{
    if (p)
        p->AddRef();
    return p;
}
} // namespace

ZComArray::ZComArray() : m_pImpl(mZComArray::make(this)) {}

ZComArray::ZComArray(const ZComArray& other) : ZComArray()
{
    ZComArray::operator=(other);
}

const ZComArray& ZComArray::operator=(const ZComArray& other)
{
    if (this != &other) {
        const LockHold hold(m_pImpl->lock);
        m_pImpl->assignHeld(*other.m_pImpl);
    }
    return *this;
}

ZComArray::~ZComArray()
{
    m_pImpl->removeAllHeld(); // the lock is not needed any more
    delete m_pImpl;
}

unsigned int ZComArray::getLibVersion() const
{
    return ztree::detail::libVersion;
}

int ZComArray::resize(int n)
{
    if (n < 0)
        return invalidArg;
    const LockHold hold(m_pImpl->lock);
    m_pImpl->resizeHeld(n);
    return 0;
}

int ZComArray::add(IUnknown* p)
{
    if (!p)
        return -1;
    const LockHold hold(m_pImpl->lock);
    m_pImpl->addHeld(p);
    return 0;
}

IUnknown* ZComArray::remove(int i)
{
    const LockHold hold(m_pImpl->lock);
    return m_pImpl->removeHeld(i);
}

int ZComArray::remove(IUnknown* p)
{
    // Kept: the array's reference on p is not released; it passes to the caller as with remove(int).
    const LockHold hold(m_pImpl->lock);
    return m_pImpl->removeHeld(m_pImpl->findHeld(p)) ? 0 : failed;
}

void ZComArray::removeAll()
{
    const LockHold hold(m_pImpl->lock);
    m_pImpl->removeAllHeld();
}

IUnknown* ZComArray::getAt(int i) const
{
    const LockHold hold(m_pImpl->lock);
    return withReference(m_pImpl->atHeld(i));
}

IUnknown* ZComArray::getForward(int* pos) const
{
    if (!pos || *pos < 0)
        return nullptr;
    const LockHold hold(m_pImpl->lock);
    for (int i = *pos; i <= m_pImpl->hi(); ++i) {
        if (IUnknown* p = m_pImpl->atHeld(i)) {
            *pos = i + 1;
            return withReference(p);
        }
    }
    return nullptr;
}

IUnknown* ZComArray::getReverse(int* pos) const
{
    if (!pos)
        return nullptr;
    const LockHold hold(m_pImpl->lock);
    for (int i = std::min(*pos, m_pImpl->hi()); i >= 0; --i) {
        if (IUnknown* p = m_pImpl->atHeld(i)) {
            *pos = i - 1;
            return withReference(p);
        }
    }
    return nullptr;
}

int ZComArray::setAt(int i, IUnknown* p)
{
    if (i < 0)
        return invalidArg;
    const LockHold hold(m_pImpl->lock);
    if (!p && i >= m_pImpl->slots.capacity())
        return failed;
    m_pImpl->setAtHeld(i, p);
    return 0;
}

int ZComArray::find(IUnknown* p, bool addRef) const
{
    const LockHold hold(m_pImpl->lock);
    const int i = m_pImpl->findHeld(p);
    if (i >= 0 && addRef)
        p->AddRef();
    return i;
}

int ZComArray::elements() const
{
    return m_pImpl->elements;
}

int ZComArray::hi() const
{
    return m_pImpl->hi();
}

int ZComArray::setGrowth(int n)
{
    const LockHold hold(m_pImpl->lock);
    return m_pImpl->slots.setGrowth(n);
}

int ZComArray::compact(bool pack, bool shrink)
{
    const LockHold hold(m_pImpl->lock);
    m_pImpl->compactHeld(pack, shrink);
    return 0;
}

int ZComArray::copyEntries(IUnknown** out, int room) const noexcept
{
    const LockHold hold(m_pImpl->lock);
    int count = 0;
    for (int i = 0; i <= m_pImpl->hi(); ++i) {
        IUnknown* p = m_pImpl->atHeld(i);
        if (!p)
            continue;
        if (out && count < room)
            out[count] = withReference(p);
        ++count;
    }
    return count;
}
