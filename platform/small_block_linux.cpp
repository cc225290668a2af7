#include "platform/small_block.h"

namespace platform {

#if defined(ZTREE_POOL)

// 96 bytes of static thread data: little enough for a library that is loaded at run time.
__thread SmallLists t_small;

namespace {
struct AtThreadEnd {
    ~AtThreadEnd()
    {
        SmallLists lists = t_small;
        t_small = {};
        t_small.opened = true; // and no room: objects that thread-local or static ones own may still come
        for (SmallLists::Free* block : lists.head) {
            while (block) {
                SmallLists::Free* next = block->next;
                heapFree(block);
                block = next;
            }
        }
    }
};
} // namespace

// Registering for the end of the thread waits for the first block.
void smallFreeSlow(void* block, std::size_t cls) noexcept
{
    if (t_small.opened) {
        heapFree(block);
        return;
    }
    static thread_local AtThreadEnd atThreadEnd;
    static_cast<void>(&atThreadEnd);
    t_small.opened = true;
    for (unsigned char& room : t_small.room)
        room = SmallLists::most;
    smallFree(block, SmallLists::sizeOf(cls));
}

#endif

} // namespace platform
