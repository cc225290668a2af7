#pragma once
// The stack of a walk over the caller's data: what recursion would keep on the thread's stack.

#include "platform/heap.h"

#include <cstring>
#include <type_traits>

namespace platform {

/// Stack of plain values; the first `Inline` need no heap. push() is false when memory is short.
template <class T, int Inline = 32> class WorkStack {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>,
                  "entries are moved byte for byte");

public:
    WorkStack() noexcept : m_entries(inlined()) {}
    WorkStack(const WorkStack&) = delete;
    WorkStack& operator=(const WorkStack&) = delete;
    ~WorkStack()
    {
        if (m_entries != inlined())
            heapFree(m_entries);
    }
    bool push(const T& value) noexcept
    {
        if (m_count == m_capacity && !grow())
            return false;
        ::new (static_cast<void*>(m_entries + m_count)) T(value);
        ++m_count;
        return true;
    }
    T& top() noexcept { return m_entries[m_count - 1]; }
    void pop() noexcept { --m_count; }
    void clear() noexcept { m_count = 0; }
    bool empty() const noexcept { return m_count == 0; }
    std::size_t size() const noexcept { return m_count; }
    T& operator[](std::size_t i) noexcept { return m_entries[i]; }

private:
    T* inlined() noexcept { return reinterpret_cast<T*>(m_room); }
    bool grow() noexcept
    {
        const std::size_t wanted = m_capacity * 2;
        T* fresh;
        if (m_entries == inlined()) {
            fresh = allocArray<T>(wanted);
            if (fresh)
                std::memcpy(static_cast<void*>(fresh), m_entries, m_count * sizeof(T));
        } else {
            fresh = static_cast<T*>(heapResize(m_entries, wanted * sizeof(T)));
        }
        if (!fresh)
            return false;
        m_entries = fresh;
        m_capacity = wanted;
        return true;
    }

    T* m_entries;
    std::size_t m_count = 0;
    std::size_t m_capacity = Inline;
    alignas(T) unsigned char m_room[sizeof(T) * Inline];
};

} // namespace platform
