#pragma once
// Room for one piece of log text.

#include "platform/fault.h"
#include "platform/heap.h"

/// On the stack for usual pieces, else from the heap, which a crash report must not touch.
class LineBuffer {
public:
    static constexpr std::size_t usual = 1536;

    /// Room for n bytes; null when there is none. What an earlier call gave is gone.
    char* need(std::size_t n) noexcept
    {
        if (n <= usual)
            return m_stack;
        if (platform::inFaultReport())
            return nullptr;
        m_heap.reset(platform::allocArray<char>(n));
        return m_heap.get();
    }

private:
    platform::HeapPtr<char> m_heap;
    char m_stack[usual];
};

/// A system error code as result of a COM-style operation; 0 stays 0.
inline HRESULT resultOf(unsigned systemCode) noexcept
{
    return systemCode ? static_cast<HRESULT>(0x80070000u | (systemCode & 0xFFFF)) : 0;
}
