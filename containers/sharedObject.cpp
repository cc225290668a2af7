#include <ztree/containers.h>

#include <cstring>

namespace {
// The system's own IID_IUnknown needs a library of its own on Windows.
constexpr GUID unknownId = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr HRESULT noInterface = static_cast<HRESULT>(0x80004002u);
constexpr HRESULT badPointer = static_cast<HRESULT>(0x80004003u);
} // namespace

sharedObject::sharedObject() noexcept : m_count(0) {}

// Kept: a copy takes over the count; callers copy objects whose references are known and reset them.
sharedObject::sharedObject(const sharedObject& other) noexcept
    : IUnknown(other), m_count(other.m_count.load(std::memory_order_relaxed))
{
}

sharedObject& sharedObject::operator=(const sharedObject& other) noexcept
{
    m_count.store(other.m_count.load(std::memory_order_relaxed), std::memory_order_relaxed);
    return *this;
}

sharedObject::~sharedObject() = default;

HRESULT ZTREE_COMCALL sharedObject::QueryInterface(const GUID& iid, void** object)
{
    if (!object)
        return badPointer;
    *object = nullptr;
    if (std::memcmp(&iid, &unknownId, sizeof iid) != 0)
        return noInterface;
    *object = static_cast<IUnknown*>(this);
    AddRef();
    return 0;
}

zulong ZTREE_COMCALL sharedObject::AddRef()
{
    m_count.fetch_add(1, std::memory_order_relaxed);
    return static_cast<zulong>(m_count.load(std::memory_order_relaxed));
}

zulong ZTREE_COMCALL sharedObject::Release()
{
    // Kept: an object never added to survives; callers keep such objects on the stack.
    if (m_count.load(std::memory_order_relaxed) == 0)
        return 0;
    const zlong left = m_count.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0)
        delete this;
    return static_cast<zulong>(left);
}

void sharedObject::resetRef() noexcept
{
    m_count.store(0, std::memory_order_relaxed);
}
