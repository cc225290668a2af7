#pragma once
// What the reference-counted objects of this folder share.

#include <ztree/runtime.h>

#include <atomic>
#include <cstring>

namespace ztree_impl {

constexpr HRESULT badArgument = static_cast<HRESULT>(ztree::errInvalidArg);
constexpr HRESULT failed = static_cast<HRESULT>(ztree::errFail);

// The system's own IID_IUnknown needs a library of its own on Windows.
constexpr GUID unknownId = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

inline bool isSameId(const GUID& a, const GUID& b) noexcept
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

/// The rest of a QueryInterface: `known` when the object has the interface.
inline HRESULT answerQuery(bool known, IUnknown* object, void** out)
{
    if (!out)
        return E_POINTER;
    *out = known ? object : nullptr;
    if (!known)
        return E_NOINTERFACE;
    object->AddRef();
    return S_OK;
}

inline zulong addReference(std::atomic<zlong>& count) noexcept
{
    return static_cast<zulong>(count.fetch_add(1, std::memory_order_relaxed) + 1);
}

/// A count of 0 stays 0: an object never counted is not deleted.
template <class T> zulong releaseReference(std::atomic<zlong>& count, T* object)
{
    if (count.load(std::memory_order_relaxed) == 0)
        return 0;
    const zlong left = count.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0)
        delete object;
    return static_cast<zulong>(left);
}

} // namespace ztree_impl
