#include "platform/heap.h"

#include "platform/hooks.h"

#include <cstdlib>

namespace platform {

void* heapAlloc(std::size_t bytes) noexcept
{
    if (hook::fails(Site::heap))
        return nullptr;
    void* block = std::malloc(bytes ? bytes : 1);
    if (block && hook::isActive())
        hook::blockTaken();
    return block;
}

void* heapResize(void* block, std::size_t bytes) noexcept
{
    if (!block)
        return heapAlloc(bytes);
    if (hook::fails(Site::heap))
        return nullptr;
    return std::realloc(block, bytes ? bytes : 1);
}

void heapFree(void* block) noexcept
{
    if (!block)
        return;
    if (hook::isActive())
        hook::blockGiven();
    std::free(block);
}

} // namespace platform
