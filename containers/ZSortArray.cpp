#include "containers/mZArray.h"
#include "containers/sort_core.h"

using platform::LockHold;

ZSortObject::~ZSortObject() = default;

ZSortArray::ZSortArray() = default;

ZSortArray::ZSortArray(const ZSortArray& other) = default;

const ZSortArray& ZSortArray::operator=(const ZSortArray& other)
{
    ZArray::operator=(other);
    return *this;
}

ZSortArray::~ZSortArray()
{
    sortcore::deleteAll(m_pImpl->core);
}

unsigned int ZSortArray::getLibVersion() const
{
    return ztree::detail::libVersion;
}

int ZSortArray::insert(const ZSortObject* obj)
{
    if (!obj)
        return -1;
    const LockHold hold(m_pImpl->lock);
    const int i = sortcore::insert(m_pImpl->core, obj);
    if (i < 0)
        throw structExcept(ztree::errOutOfMemory);
    return i;
}

int ZSortArray::search(const ZSortObject* key, const ZSortObject** found) const
{
    int i = -1;
    const ZSortObject* obj = nullptr;
    if (key) {
        const LockHold hold(m_pImpl->lock);
        i = sortcore::search(m_pImpl->core, key);
        obj = static_cast<const ZSortObject*>(m_pImpl->core.at(i));
    }
    if (found)
        *found = obj;
    return i;
}

int ZSortArray::get(const ZSortObject* key, int offset, const ZSortObject** found) const
{
    const ZSortObject* obj = nullptr;
    if (key && offset >= -1 && offset <= 1) {
        const LockHold hold(m_pImpl->lock);
        const int i = sortcore::searchLast(m_pImpl->core, key);
        if (i >= 0)
            obj = static_cast<const ZSortObject*>(m_pImpl->core.at(i + offset));
    }
    if (found)
        *found = obj;
    return obj ? 0 : -1;
}

int ZSortArray::sort()
{
    const LockHold hold(m_pImpl->lock);
    sortcore::sort(m_pImpl->core);
    return 0;
}
