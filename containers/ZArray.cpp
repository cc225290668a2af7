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
    mZArray& impl = *m_pImpl;
    const LockHold hold(impl.lock);
    return done(impl.core.resize(n));
}

int ZArray::setGrowth(int n)
{
    mZArray& impl = *m_pImpl;
    const LockHold hold(impl.lock);
    return impl.core.setGrowth(n);
}

int ZArray::compact()
{
    mZArray& impl = *m_pImpl;
    const LockHold hold(impl.lock);
    return done(impl.core.compact());
}

int ZArray::add(const void* p)
{
    mZArray& impl = *m_pImpl;
    const LockHold hold(impl.lock);
    return done(impl.core.add(p));
}

const void* ZArray::remove(int i)
{
    // Finding and removing under one hold: each entry is handed out once.
    mZArray& impl = *m_pImpl;
    const LockHold hold(impl.lock);
    return impl.core.removeAt(i);
}

void ZArray::remove(const void* p)
{
    mZArray& impl = *m_pImpl;
    const LockHold hold(impl.lock);
    impl.core.removeAt(impl.core.find(p));
}

void ZArray::removeAll()
{
    mZArray& impl = *m_pImpl;
    const LockHold hold(impl.lock);
    impl.core.removeAll();
}

const void* ZArray::getAt(int i) const
{
    mZArray& impl = *m_pImpl;
    const LockHold hold(impl.lock);
    return impl.core.at(i);
}

int ZArray::setAt(int i, const void* p)
{
    if (i < 0)
        return invalidArg;
    // Whether to grow is decided under the lock: decided outside it, a growth that another thread made
    // meanwhile could be undone, and its entries lost.
    mZArray& impl = *m_pImpl;
    const LockHold hold(impl.lock);
    return done(impl.core.setAt(i, p));
}

int ZArray::find(const void* p) const
{
    mZArray& impl = *m_pImpl;
    const LockHold hold(impl.lock);
    return impl.core.find(p);
}

int ZArray::size() const
{
    return m_pImpl->core.size();
}

int ZArray::copyEntries(const void** out, int room) const noexcept
{
    mZArray& impl = *m_pImpl;
    const LockHold hold(impl.lock);
    const int count = impl.core.size();
    if (out && room > 0)
        std::copy_n(impl.core.entries(), std::min(count, room), out);
    return count;
}
