#pragma once
// The one allocator behind everything the library owns. Nothing in it throws.

#include <ztree/types.h>

#include <limits>
#include <new>
#include <type_traits>

namespace platform {

/// A block of at least `bytes` bytes aligned for any object, or null; 0 bytes are a valid block.
/// Exported with heapFree() for the inline `operator new` and `delete` of public classes.
ZTREE_API void* heapAlloc(std::size_t bytes) noexcept;
/// realloc: null leaves the old block as it was. A null block is a plain heapAlloc.
void* heapResize(void* block, std::size_t bytes) noexcept;
ZTREE_API void heapFree(void* block) noexcept;

/// An array of n zeroed objects, or null also for an n that no memory could hold: array new would
/// throw for such an n even as nothrow. Release with heapFree.
template <class T> T* allocZeroed(std::size_t n) noexcept;
/// The same without clearing.
template <class T> T* allocArray(std::size_t n) noexcept
{
    static_assert(std::is_trivially_destructible_v<T>, "blocks are released without destructors");
    if (n > static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max()) / sizeof(T))
        return nullptr;
    return static_cast<T*>(heapAlloc(n * sizeof(T)));
}
template <class T> T* allocZeroed(std::size_t n) noexcept
{
    T* block = allocArray<T>(n);
    if (block)
        __builtin_memset(static_cast<void*>(block), 0, n * sizeof(T));
    return block;
}

/// Gives a block back when the scope is left, unless released before.
template <class T> class HeapPtr {
public:
    explicit HeapPtr(T* block = nullptr) noexcept : m_block(block) {}
    HeapPtr(const HeapPtr&) = delete;
    HeapPtr& operator=(const HeapPtr&) = delete;
    ~HeapPtr() { heapFree(m_block); }
    T* get() const noexcept { return m_block; }
    T& operator[](std::size_t i) const noexcept { return m_block[i]; }
    explicit operator bool() const noexcept { return m_block != nullptr; }
    void reset(T* block) noexcept
    {
        heapFree(m_block);
        m_block = block;
    }
    T* release() noexcept
    {
        T* block = m_block;
        m_block = nullptr;
        return block;
    }

private:
    T* m_block;
};

/// Base of implementation objects: `new` takes them from the library's heap and yields null on
/// failure (operator new is noexcept, so the new expression checks).
struct HeapObject {
    static void* operator new(std::size_t bytes) noexcept { return heapAlloc(bytes); }
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void* block) noexcept { heapFree(block); }
    static void operator delete(void*, void*) noexcept {}
};

} // namespace platform
