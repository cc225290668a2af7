#pragma once
// Scratch space for one call.

#include "platform/heap.h"
#include "text/string_core.h"

/// Room for n units: on the stack for up to N, else from the heap. Throws structExcept 0x84201001.
template <class T, int N> class TempBuffer {
public:
    explicit TempBuffer(std::size_t n) : m_heap(n > N ? platform::allocArray<T>(n) : nullptr)
    {
        if (n > N && !m_heap)
            throwNoMemory();
    }
    T* get() noexcept { return m_heap ? m_heap.get() : m_stack; }

private:
    platform::HeapPtr<T> m_heap;
    T m_stack[N];
};
