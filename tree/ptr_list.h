#pragma once
// Growable list of pointers without a lock, for the inside of objects that one thread uses at a time.

#include "platform/heap.h"

#include <climits>
#include <cstring>

namespace ztree_impl {

/// 16 bytes; a single entry needs no block. Owns its slots, unless they are borrowed, never what they point
/// at.
template <class T> class PtrList {
public:
    PtrList() noexcept = default;
    PtrList(const PtrList&) = delete;
    PtrList& operator=(const PtrList&) = delete;
    ~PtrList() { clear(); }

    int count() const noexcept { return m_count; }
    bool ownsBlock() const noexcept { return m_capacity > 0; }
    T* at(int i) const noexcept { return i >= 0 && i < m_count ? slots()[i] : nullptr; }
    T** begin() noexcept { return slots(); }
    T** end() noexcept { return slots() + m_count; }
    T* const* begin() const noexcept { return slots(); }
    T* const* end() const noexcept { return slots() + m_count; }

    /// Room for n entries; false when memory is short, nothing has changed then.
    bool reserve(int n) noexcept
    {
        const int room = m_capacity < 0 ? -m_capacity : m_capacity ? m_capacity : 1;
        if (n <= room)
            return true;
        int wanted = room;
        wanted = wanted > INT_MAX / 2 ? INT_MAX : wanted * 2;
        if (wanted < 4)
            wanted = 4;
        if (wanted < n)
            wanted = n;
        const std::size_t bytes = static_cast<std::size_t>(wanted) * sizeof(T*);
        if (bytes / sizeof(T*) != static_cast<std::size_t>(wanted) || bytes > PTRDIFF_MAX)
            return false;
        T** fresh = static_cast<T**>(platform::heapResize(m_capacity > 0 ? m_block : nullptr, bytes));
        if (!fresh)
            return false;
        if (m_capacity <= 0)
            std::memcpy(fresh, slots(), static_cast<std::size_t>(m_count) * sizeof(T*));
        m_block = fresh;
        m_capacity = wanted;
        return true;
    }
    /// The first n slots of an empty list, which the caller keeps alive as long as the list.
    void borrow(T** room, int n) noexcept
    {
        m_block = room;
        m_capacity = -n;
    }
    bool add(T* entry) noexcept
    {
        if (m_count == INT_MAX || !reserve(m_count + 1))
            return false;
        slots()[m_count++] = entry;
        return true;
    }
    /// Puts an entry at i, with null entries before it where the list ended earlier.
    bool setAt(int i, T* entry) noexcept
    {
        if (i >= m_count) {
            if (i == INT_MAX || !reserve(i + 1))
                return false;
            while (m_count <= i)
                slots()[m_count++] = nullptr;
        }
        slots()[i] = entry;
        return true;
    }
    void removeAt(int i) noexcept
    {
        T** all = slots();
        std::memmove(all + i, all + i + 1, static_cast<std::size_t>(m_count - i - 1) * sizeof(T*));
        --m_count;
    }
    int find(const T* entry) const noexcept
    {
        for (int i = 0; i < m_count; ++i)
            if (slots()[i] == entry)
                return i;
        return -1;
    }
    /// The index of the last such entry.
    int findLast(const T* entry) const noexcept
    {
        int i = m_count;
        while (i-- > 0 && slots()[i] != entry) {
        }
        return i;
    }
    void clear() noexcept
    {
        if (m_capacity > 0)
            platform::heapFree(m_block);
        m_single = nullptr;
        m_count = m_capacity = 0;
    }

private:
    T** slots() noexcept { return m_capacity ? m_block : &m_single; }
    T* const* slots() const noexcept { return m_capacity ? m_block : &m_single; }

    union {
        T* m_single = nullptr; // while m_capacity is 0
        T** m_block;
    };
    int m_count = 0;
    int m_capacity = 0; // below 0 for borrowed slots
};

} // namespace ztree_impl
