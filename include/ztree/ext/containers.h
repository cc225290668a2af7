#pragma once
/// @file ext/containers.h
/// Typed views, range-for and snapshots over the pointer arrays.

#include <ztree/containers.h>

#include <cstddef>
#include <iterator>
#include <utility>

namespace ztree {

/// A copy of an array's pointers, taken under one hold of its lock: a loop over it sees one state of the
/// array whatever other threads do, and takes no lock.
///
/// Ownership: owns the copy, not the objects. Movable, not copyable.
/// Threads: the objects have to live as long as the callers' own protocol says.
/// Failure: throws structExcept 0x84201001 when the copy cannot be allocated.
template <class T> class Snapshot {
public:
    /// Takes the entries of this moment.
    explicit Snapshot(const ZArray& array)
    {
        int room = array.copyEntries(nullptr, 0);
        for (;;) { // again if the array grew meanwhile
            if (room > 0 && !(m_block = static_cast<const void**>(
                                  platform::heapAlloc(static_cast<std::size_t>(room) * sizeof(void*)))))
                throw structExcept(errMemory);
            m_size = array.copyEntries(m_block, room);
            if (m_size <= room)
                return;
            platform::heapFree(m_block);
            m_block = nullptr;
            room = m_size;
        }
    }
    Snapshot(Snapshot&& other) noexcept
        : m_block(std::exchange(other.m_block, nullptr)), m_size(std::exchange(other.m_size, 0))
    {
    }
    Snapshot& operator=(Snapshot&& other) noexcept
    {
        std::swap(m_block, other.m_block);
        std::swap(m_size, other.m_size);
        return *this;
    }
    ~Snapshot() { platform::heapFree(m_block); }

    std::size_t size() const noexcept { return static_cast<std::size_t>(m_size); }
    bool empty() const noexcept { return m_size == 0; }
    /// i is below size().
    T* operator[](std::size_t i) const noexcept { return typed(m_block[i]); }

    class iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = T*;
        using difference_type = std::ptrdiff_t;
        using pointer = T* const*;
        using reference = T*;
        explicit iterator(const void* const* at) noexcept : m_at(at) {}
        T* operator*() const noexcept { return typed(*m_at); }
        iterator& operator++() noexcept
        {
            ++m_at;
            return *this;
        }
        iterator operator++(int) noexcept { return iterator(m_at++); }
        bool operator==(const iterator& other) const noexcept { return m_at == other.m_at; }
        bool operator!=(const iterator& other) const noexcept { return m_at != other.m_at; }

    private:
        const void* const* m_at;
    };
    iterator begin() const noexcept { return iterator(m_block); }
    iterator end() const noexcept { return iterator(m_block + m_size); }

private:
    static T* typed(const void* p) noexcept { return static_cast<T*>(const_cast<void*>(p)); }

    const void** m_block = nullptr;
    int m_size = 0;
};

/// A ZArray seen as an array of T*. Costs nothing beside the array; copy it freely.
///
/// Ownership: owns nothing; the array must outlive the view.
/// Threads, failure: as ZArray. Loops run over a snapshot: for (T* p : view.snapshot()).
template <class T> class ArrayView {
public:
    /// Over this array.
    explicit ArrayView(ZArray& array) noexcept : m_array(&array) {}

    int size() const { return m_array->size(); }
    bool empty() const { return size() == 0; }
    /// Entry i, null outside [0, size()).
    T* operator[](int i) const { return typed(m_array->getAt(i)); }
    /// ZArray::add().
    int add(T* p) const { return m_array->add(p); }
    /// ZArray::setAt().
    int setAt(int i, T* p) const { return m_array->setAt(i, p); }
    /// ZArray::remove().
    T* remove(int i) const { return typed(m_array->remove(i)); }
    void remove(const T* p) const { m_array->remove(p); }
    /// ZArray::find().
    int find(const T* p) const { return m_array->find(p); }
    /// Whether find() finds p.
    bool contains(const T* p) const { return find(p) >= 0; }
    /// The entries of this moment, to loop over.
    Snapshot<T> snapshot() const { return Snapshot<T>(*m_array); }

private:
    static T* typed(const void* p) noexcept { return static_cast<T*>(const_cast<void*>(p)); }

    ZArray* m_array;
};

/// The non-null entries of a ZComArray with a reference on each, taken under one hold of its lock.
///
/// Ownership: holds one reference on each entry and releases it at its own end. Not copyable.
/// Failure: throws structExcept 0x84201001 when the copy cannot be allocated.
class ComSnapshot {
public:
    /// Takes the entries of this moment.
    explicit ComSnapshot(const ZComArray& array)
    {
        int room = array.copyEntries(nullptr, 0);
        for (;;) {
            if (room > 0 && !(m_block = static_cast<IUnknown**>(
                                  platform::heapAlloc(static_cast<std::size_t>(room) * sizeof(void*)))))
                throw structExcept(errMemory);
            const int count = array.copyEntries(m_block, room);
            m_size = count < room ? count : room;
            if (count <= room)
                return;
            release();
            room = count;
        }
    }
    ComSnapshot(ComSnapshot&& other) noexcept
        : m_block(std::exchange(other.m_block, nullptr)), m_size(std::exchange(other.m_size, 0))
    {
    }
    ComSnapshot(const ComSnapshot&) = delete;
    ComSnapshot& operator=(const ComSnapshot&) = delete;
    ~ComSnapshot() { release(); }

    std::size_t size() const noexcept { return static_cast<std::size_t>(m_size); }
    /// i is below size(). The reference stays the snapshot's.
    IUnknown* operator[](std::size_t i) const noexcept { return m_block[i]; }
    IUnknown* const* begin() const noexcept { return m_block; }
    IUnknown* const* end() const noexcept { return m_block + m_size; }

private:
    void release() noexcept
    {
        for (int i = 0; i < m_size; ++i)
            m_block[i]->Release();
        platform::heapFree(m_block);
        m_block = nullptr;
        m_size = 0;
    }

    IUnknown** m_block = nullptr;
    int m_size = 0;
};

/// A reference on one COM-style object, released when it goes out of scope: takes over the reference that
/// getAt(), getForward(), remove() and the like hand out.
template <class T = IUnknown> class Ref {
public:
    /// Takes over a reference that is there already.
    explicit Ref(T* p = nullptr) noexcept : m_p(p) {}
    Ref(Ref&& other) noexcept : m_p(std::exchange(other.m_p, nullptr)) {}
    Ref& operator=(Ref&& other) noexcept
    {
        std::swap(m_p, other.m_p);
        return *this;
    }
    ~Ref()
    {
        if (m_p)
            m_p->Release();
    }
    /// The pointer; the reference stays here.
    T* get() const noexcept { return m_p; }
    /// The same.
    T* operator->() const noexcept { return m_p; }
    explicit operator bool() const noexcept { return m_p != nullptr; }
    /// Hands the reference to the caller.
    T* detach() noexcept { return std::exchange(m_p, nullptr); }

private:
    T* m_p;
};

} // namespace ztree
