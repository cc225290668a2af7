#pragma once
// The growable array of pointers behind ZArray, ZComArray and lists inside other implementation
// objects. No lock, no exceptions: what can fail says so by its result and then changed nothing.

#include "platform/heap.h"

#include <ztree/types.h>

#include <algorithm>

/// An int that one thread writes (under a lock) while others may read it at any time.
class SharedInt {
public:
    explicit SharedInt(int value = 0) noexcept : m_value(value) {}
    SharedInt(const SharedInt&) = delete;
    SharedInt& operator=(const SharedInt&) = delete;
    operator int() const noexcept { return __atomic_load_n(&m_value, __ATOMIC_RELAXED); }
    SharedInt& operator=(int value) noexcept
    {
        __atomic_store_n(&m_value, value, __ATOMIC_RELAXED);
        return *this;
    }

private:
    int m_value;
};

/// The logical figures (capacity, growth, count) are those that callers see. The block behind them
/// may hold more slots than the capacity, so that single appends cost O(1) although the capacity grows
/// linearly. Slots from m_used on were never written since the array last grew and count as null. Arrays
/// into which is inserted, or from whose front is removed, keep free slots at the front too, so that the
/// shorter side moves.
class ArrayCore {
public:
    explicit ArrayCore(int growth = 10) noexcept : m_growth(growth) {}
    ArrayCore(const ArrayCore&) = delete;
    ArrayCore& operator=(const ArrayCore&) = delete;
    ~ArrayCore() { release(); }
    void swap(ArrayCore& other) noexcept;

    int size() const noexcept { return m_count; }
    int capacity() const noexcept { return m_capacity; }
    int growth() const noexcept { return m_growth; }
    /// The first size() entries; null only when the capacity is 0.
    const void** entries() noexcept { return m_entries; }
    const void* const* entries() const noexcept { return m_entries; }
    /// Entry i, null outside [0, size()).
    const void* at(int i) const noexcept { return i >= 0 && i < m_count ? m_entries[i] : nullptr; }
    int find(const void* p) const noexcept;

    /// The previous step; n below 1 leaves it.
    int setGrowth(int n) noexcept;
    /// n >= 0. Cuts entries from n on, clears spare slots unless n is the capacity already.
    [[nodiscard]] bool resize(int n) noexcept;
    /// Raises the capacity to at least n for single additions; spare slots become null.
    [[nodiscard]] bool growTo(int n) noexcept;
    /// resize(size()); also gives back what the block holds beyond the capacity.
    [[nodiscard]] bool compact() noexcept;
    [[nodiscard]] bool assign(const ArrayCore& other) noexcept;

    [[nodiscard]] bool add(const void* p) noexcept
    {
        const int count = m_count;
        if (count >= m_capacity && !growByStep())
            return false;
        m_entries[count] = p;
        m_used = std::max(m_used, count + 1);
        m_count = count + 1;
        return true;
    }
    /// i >= 0.
    [[nodiscard]] bool setAt(int i, const void* p) noexcept;
    /// p in front of entry i, 0 <= i <= size().
    [[nodiscard]] bool insertAt(int i, const void* p) noexcept;
    /// Null outside [0, size()). The slot behind the new end keeps its value.
    const void* removeAt(int i) noexcept;
    void removeAll() noexcept;
    /// Cuts the entries from n <= size() on; the slots behind become null.
    void cut(int n) noexcept
    {
        m_count = m_used = n;
        if (ordered() > n)
            setOrdered(n);
    }

    /// How many entries at the front are known to stand in order; whoever sorts says so, whatever
    /// may disturb the order lowers it.
    int ordered() const noexcept { return m_entries ? static_cast<int>(head()->ordered & ~tailBit) : 0; }
    void setOrdered(int n) noexcept
    {
        if (m_entries)
            head()->ordered = (head()->ordered & tailBit) | static_cast<std::uint32_t>(n);
    }

private:
    struct Head {              // stands in front of the entries
        std::uint32_t slots;   // from the entries on; the top bit: free slots stand in front of the head
        std::uint32_t ordered; // the top bit: removing from the front left all slots from m_count to m_used
                               // with one value, and nobody else has put another one there
    };
    static constexpr std::uint32_t frontBit = 0x80000000U;
    static constexpr std::uint32_t tailBit = 0x80000000U;
    static_assert(sizeof(Head) % sizeof(const void*) == 0,
                  "entries follow the head, and slots stand before it");

    Head* head() const noexcept { return reinterpret_cast<Head*>(m_entries) - 1; }
    int slots() const noexcept { return m_entries ? static_cast<int>(head()->slots & ~frontBit) : 0; }
    int front() const noexcept;
    void placeHead(Head at, int front) noexcept;
    void dropFront() noexcept;
    [[nodiscard]] bool makeSlack() noexcept;
    [[nodiscard]] bool makeFront() noexcept;
    [[nodiscard]] bool removeByFront(int i) noexcept;
    void forgetTail() noexcept
    {
        if (m_entries)
            head()->ordered &= ~tailBit;
    }
    [[nodiscard]] bool growByStep() noexcept;
    [[nodiscard]] bool reallocate(int n) noexcept;
    void copyAll(const ArrayCore& other) noexcept;
    void release() noexcept;

    const void** m_entries = nullptr;
    int m_growth;
    int m_capacity = 0;
    SharedInt m_count{0};
    int m_used = 0; // m_count <= m_used <= m_capacity <= slots()
};
