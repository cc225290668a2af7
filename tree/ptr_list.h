#pragma once
// Growable list of pointers without a lock, for the inside of objects that one thread uses at a time.

#include "platform/heap.h"

#include <climits>
#include <cstring>

namespace ztree_impl {

/// 16 bytes; a single entry needs no block. Owns its slots, unless they are borrowed, never what they point
/// at. What is taken out near the front leaves free slots there, so that the shorter side moves.
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
        int room = m_capacity < 0 ? -m_capacity : m_capacity ? slotCount() - front() : 1;
        if (n <= room)
            return true;
        if (n > mostSlots)
            return false;
        if (const int free = front()) {
            dropFront();
            room += free;
            if (free > room / 2 && n <= room)
                return true;
        }
        int wanted = room;
        wanted = wanted > mostSlots / 2 ? mostSlots : wanted * 2;
        if (wanted < 4)
            wanted = 4;
        if (wanted < n)
            wanted = n + n % 2;
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
        if (!reserve(m_count + 1))
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
        const int behind = --m_count - i;
        if (i < behind && m_capacity) {
            std::memmove(all + 1, all, static_cast<std::size_t>(i) * sizeof(T*));
            skipFirst();
        } else {
            std::memmove(all + i, all + i + 1, static_cast<std::size_t>(behind) * sizeof(T*));
        }
    }
    /// The index of such an entry, or -1; one near either end is found soonest.
    int find(const T* entry) const noexcept
    {
        T* const* const all = slots();
        for (int i = 0, last = m_count - 1; i <= last; ++i, --last) {
            if (all[i] == entry)
                return i;
            if (all[last] == entry)
                return last;
        }
        return -1;
    }
    void clear() noexcept
    {
        if (m_capacity > 0)
            platform::heapFree(m_block - front());
        m_single = nullptr;
        m_count = m_capacity = 0;
    }

private:
    T** slots() noexcept { return m_capacity ? m_block : &m_single; }
    T* const* slots() const noexcept { return m_capacity ? m_block : &m_single; }

    static constexpr int mostSlots = INT_MAX - 1; // even: the lowest bit tells of free slots at the front

    int slotCount() const noexcept { return m_capacity & ~1; } // of the own block
    // The last of the free slots at the front of the own block holds their number.
    int front() const noexcept
    {
        if (m_capacity <= 0 || !(m_capacity & 1))
            return 0;
        int n = 0;
        std::memcpy(&n, m_block - 1, sizeof n);
        return n;
    }
    void skipFirst() noexcept
    {
        if (m_capacity < 0) {
            ++m_block; // there is one behind it
            ++m_capacity;
            return;
        }
        const int free = front() + 1;
        std::memcpy(m_block++, &free, sizeof free);
        m_capacity |= 1;
    }
    void dropFront() noexcept
    {
        T** all = m_block - front();
        std::memmove(all, m_block, static_cast<std::size_t>(m_count) * sizeof(T*));
        m_block = all;
        m_capacity = slotCount();
    }

    union {
        T* m_single = nullptr; // while m_capacity is 0
        T** m_block;
    };
    int m_count = 0;
    int m_capacity = 0; // of the own block, free slots at the front included; below 0 for borrowed slots
};

} // namespace ztree_impl
