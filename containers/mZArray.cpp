#include "containers/mZArray.h"

#include <memory>

static_assert(sizeof(platform::Lock) > 16 || sizeof(mZArray) <= 64, "nodes by the million hold arrays");

mZArray::~mZArray() = default;

mZArray* mZArray::make(ZArray* publicArray)
{
    std::unique_ptr<mZArray> impl(new mZArray(publicArray));
    if (!impl)
        throw structExcept(ztree::errMemory);
    if (!impl->lock.init(ZArray::s_ulDefaultSpinCount))
        throw structExcept(ztree::errLock);
    return impl.release();
}
