#pragma once
// Small objects that come and go all the time, such as the implementation objects of strings.

#include "platform/heap.h"
#include "platform/hooks.h"
#include "platform/pool.h"

namespace platform {

// With mingw __thread is a function call: the pool itself is as fast.
#if !defined(ZTREE_POOL) || defined(_WIN32)

inline void* smallAlloc(std::size_t bytes) noexcept
{
    return heapAlloc(bytes);
}
inline void smallFree(void* block, std::size_t) noexcept
{
    heapFree(block);
}

#else

/// Free blocks of one thread by size: 8, 24, 40 ... 136 bytes, as the heap hands them out.
struct SmallLists {
    struct Free {
        Free* next;
    };
    static constexpr std::size_t classes = 9;
    static constexpr unsigned char most = 64; // blocks kept of each class
    static constexpr std::size_t classOf(std::size_t bytes) noexcept { return (bytes + 7) / 16; }
    static constexpr std::size_t sizeOf(std::size_t cls) noexcept { return cls * 16 + 8; }

    Free* head[classes];
    unsigned char room[classes]; // blocks that may still come; 0 until the first use in the thread
    bool opened;                 // they will be emptied when the thread ends
};
extern __thread SmallLists t_small __attribute__((tls_model("initial-exec"), visibility("hidden")));
void smallFreeSlow(void* block, std::size_t cls) noexcept;

/// heapAlloc for a block that smallFree gets back with the same size.
inline void* smallAlloc(std::size_t bytes) noexcept
{
    const std::size_t cls = SmallLists::classOf(bytes);
    if (cls >= SmallLists::classes)
        return heapAlloc(bytes);
    SmallLists& lists = t_small;
    SmallLists::Free* block = lists.head[cls];
    if (!block || hook::isActive()) // counted blocks all come from the heap
        return heapAlloc(SmallLists::sizeOf(cls));
    lists.head[cls] = block->next;
    ++lists.room[cls];
    return block;
}
inline void smallFree(void* block, std::size_t bytes) noexcept
{
    const std::size_t cls = SmallLists::classOf(bytes);
    if (cls >= SmallLists::classes || hook::isActive()) {
        heapFree(block);
        return;
    }
    SmallLists& lists = t_small;
    if (lists.room[cls] == 0) {
        smallFreeSlow(block, cls);
        return;
    }
    lists.head[cls] = new (block) SmallLists::Free{lists.head[cls]};
    --lists.room[cls];
}

#endif

/// For the usual `new` of objects that come and go all the time; it yields null on failure.
struct SmallObject {
    static void* operator new(std::size_t bytes) noexcept { return smallAlloc(bytes); }
    static void operator delete(void* block, std::size_t bytes) noexcept { smallFree(block, bytes); }
};

} // namespace platform
