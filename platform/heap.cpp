#include "platform/heap.h"

#include "platform/hooks.h"
#include "platform/pool.h"

#include <ztree/ext/memory.h>

#include <cstdlib>

namespace platform {

namespace {
#if defined(ZTREE_POOL)
inline void* take(std::size_t bytes) noexcept
{
    return pool::alloc(bytes);
}
inline void* resize(void* block, std::size_t bytes) noexcept
{
    return pool::resize(block, bytes);
}
inline void give(void* block) noexcept
{
    pool::free(block);
}
#else
inline void* take(std::size_t bytes) noexcept
{
    return std::malloc(bytes ? bytes : 1);
}
inline void* resize(void* block, std::size_t bytes) noexcept
{
    return std::realloc(block, bytes ? bytes : 1);
}
inline void give(void* block) noexcept
{
    std::free(block);
}
#endif
} // namespace

void* heapAlloc(std::size_t bytes) noexcept
{
    if (hook::fails(Site::heap, __builtin_return_address(0)))
        return nullptr;
    void* block = take(bytes);
    if (block && hook::isActive())
        hook::blockTaken();
    return block;
}

void* heapResize(void* block, std::size_t bytes) noexcept
{
    if (!block)
        return heapAlloc(bytes);
    if (hook::fails(Site::heap, __builtin_return_address(0)))
        return nullptr;
    return resize(block, bytes);
}

void heapFree(void* block) noexcept
{
    if (!block)
        return;
    if (hook::isActive())
        hook::blockGiven();
    give(block);
}

} // namespace platform

namespace ztree {

HeapUse heapUse() noexcept
{
#if defined(ZTREE_POOL)
    const platform::pool::Figures now = platform::pool::figures();
    return {now.bytesInUse, now.bytesIdle, now.bytesOnLoan};
#else
    return {};
#endif
}

void trimHeap() noexcept
{
#if defined(ZTREE_POOL)
    platform::pool::trim();
#endif
}

} // namespace ztree
