#include "containers/mZArray.h"

using platform::LockHold;

zulong ZArray::s_ulDefaultSpinCount = 4000;

namespace {
constexpr int invalidArg = static_cast<int>(ztree::errInvalidArg);

// Called under a lock that the caller's LockHold leaves.
int done(bool success)
{
    if (!success)
        throw structExcept(ztree::errOutOfMemory);
    return 0;
}
} // namespace

ZArray::ZArray() : m_pImpl(mZArray::make(this)) {}

ZArray::ZArray(const ZArray& other) : ZArray()
{
    ZArray::operator=(other);
}

const ZArray& ZArray::operator=(const ZArray& other)
{
    if (this != &other) {
        const LockHold hold(m_pImpl->lock);
        done(m_pImpl->core.assign(other.m_pImpl->core));
    }
    return *this;
}

ZArray::~ZArray()
{
    delete m_pImpl;
}

unsigned int ZArray::getLibVersion() const
{
    return ztree::detail::libVersion;
}

int ZArray::resize(int n)
{
    if (n < 0)
        return invalidArg;
    const LockHold hold(m_pImpl->lock);
    return done(m_pImpl->core.resize(n));
}

int ZArray::setGrowth(int n)
{
    const LockHold hold(m_pImpl->lock);
    return m_pImpl->core.setGrowth(n);
}

int ZArray::compact()
{
    const LockHold hold(m_pImpl->lock);
    return done(m_pImpl->core.compact());
}

int ZArray::add(const void* p)
{
    const LockHold hold(m_pImpl->lock);
    return done(m_pImpl->core.add(p));
}

const void* ZArray::remove(int i)
{
    // Finding and removing under one hold: each entry is handed out once.
    const LockHold hold(m_pImpl->lock);
    return m_pImpl->core.removeAt(i);
}

void ZArray::remove(const void* p)
{
    const LockHold hold(m_pImpl->lock);
    m_pImpl->core.removeAt(m_pImpl->core.find(p));
}

void ZArray::removeAll()
{
    const LockHold hold(m_pImpl->lock);
    m_pImpl->core.removeAll();
}

const void* ZArray::getAt(int i) const
{
    const LockHold hold(m_pImpl->lock);
    return m_pImpl->core.at(i);
}

int ZArray::setAt(int i, const void* p)
{
    if (i < 0)
        return invalidArg;
    // Whether to grow is decided under the lock: decided outside it, a growth that another thread made
    // meanwhile could be undone, and its entries lost.
    const LockHold hold(m_pImpl->lock);
    return done(m_pImpl->core.setAt(i, p));
}

int ZArray::find(const void* p) const
{
    const LockHold hold(m_pImpl->lock);
    return m_pImpl->core.find(p);
}

int ZArray::size() const
{
    return m_pImpl->core.size();
}

int ZArray::copyEntries(const void** out, int room) const noexcept
{
    const LockHold hold(m_pImpl->lock);
    const int count = m_pImpl->core.size();
    if (out && room > 0)
        std::copy_n(m_pImpl->core.entries(), std::min(count, room), out);
    return count;
}
