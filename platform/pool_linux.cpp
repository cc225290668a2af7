#include "platform/pool_system.h"

#if defined(ZTREE_POOL)

#include <cerrno>
#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>
#include <time.h>

namespace platform::pool {

__thread Heap* t_heap;

bool Lock::enter() noexcept
{
    for (int spins = 0;; ++spins) {
        std::uint32_t owner = 0;
        if (m_owner.compare_exchange_strong(owner, 1, std::memory_order_acquire, std::memory_order_relaxed))
            return true;
        if (spins < 100) {
            __builtin_ia32_pause();
        } else if (spins < 150) {
            sched_yield();
        } else {                     // lets threads of lower priority run, too
            const int error = errno; // the C library's free() leaves it alone, too
            const timespec little = {0, 50000};
            nanosleep(&little, nullptr);
            errno = error;
        }
    }
}

// A child process has the forking thread alone: a lock that another thread held would stay held.
bool prepareSystem() noexcept
{
    return pthread_atfork(&enterAll, &leaveAll, &leaveAll) == 0;
}

bool bindHeap(Heap* heap) noexcept
{
    struct AtThreadEnd {
        ~AtThreadEnd() { endThread(t_heap); }
    };
    static thread_local AtThreadEnd atThreadEnd;
    static_cast<void>(&atThreadEnd);
    t_heap = heap;
    return true;
}

// Large system pages want a chunk that starts at a multiple of its size.
char* mapChunk(bool large) noexcept
{
    void* wide = mmap(nullptr, 2 * chunkBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (wide == MAP_FAILED)
        return nullptr;
    const std::size_t before =
        (chunkBytes - reinterpret_cast<std::uintptr_t>(wide) % chunkBytes) % chunkBytes;
    char* base = static_cast<char*>(wide) + before;
    if (before)
        munmap(wide, before);
    munmap(base + chunkBytes, chunkBytes - before);
    if (large)
        madvise(base, chunkBytes, MADV_HUGEPAGE);
    return base;
}

void unmapChunk(char* base) noexcept
{
    munmap(base, chunkBytes);
}

bool lendChunk(char* base) noexcept
{
    return madvise(base, chunkBytes, MADV_FREE) == 0;
}

// Whole pages to both sides: the C library's mapping stays one, which it can grow in place.
void wantLargePages(char* block, std::size_t bytes) noexcept
{
    const std::uintptr_t page = 4096;
    const std::uintptr_t from = reinterpret_cast<std::uintptr_t>(block) & ~(page - 1);
    const std::uintptr_t to = (reinterpret_cast<std::uintptr_t>(block) + bytes + page - 1) & ~(page - 1);
    const int error = errno; // only advice
    madvise(reinterpret_cast<void*>(from), to - from, MADV_HUGEPAGE);
    errno = error;
}

} // namespace platform::pool

#endif
