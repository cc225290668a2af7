#pragma once
// Blocks of the library's heap by size, a heap for each thread. What a thread takes and gives back itself
// needs no lock and no atomic operation; blocks that another thread gives back go through the lock of the
// heap they came from.
//
// Every block is preceded by the address of its page; null there means that it came from the C library, as do
// all blocks above `largest` bytes. A page holds blocks of one size. Pages are parts of chunks. Of chunks
// with nothing in use, `keepBytes` stay as they are; of the next `loanBytes` the system may take the memory
// whenever it is short, without asking; what is beyond goes back to the system at once.

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace platform {

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ZTREE_WATCHED_HEAP 1 // a reused block would hide a use after free
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZTREE_WATCHED_HEAP 1
#endif

#if !defined(ZTREE_WATCHED_HEAP) || defined(ZTREE_WATCHED_POOL)
#define ZTREE_POOL 1
#endif

namespace pool {

struct Heap;
struct Chunk;

/// At the start of the memory that it describes. `owner`, the lists and everything about given-back blocks of
/// other threads change under the owner's lock; the rest is the owning thread's alone while the page is
/// `listed`, and rests while it is not.
struct Page {
    enum State : unsigned char {
        listed, // in its heap's list of pages with room, or not known to be full
        full,
        ready, // full, but other threads gave blocks back
    };
    void* free;  // blocks given back by the owner, each holding the address of the next
    char* fresh; // never used up to here
    char* limit;
    std::uint32_t used;  // blocks that are out, in the owner's view
    std::uint32_t slot;  // bytes of a block with its page address
    std::uint32_t group; // size class
    std::uint32_t remoteCount;
    std::atomic<State> state;
    std::atomic<Heap*> owner;
    void* remote; // given back by other threads
    Chunk* chunk;
    Page* next;
    Page* previous;
};

// With 32 bits the room for addresses is what runs out first: all is smaller there.
constexpr bool isWide = sizeof(void*) > 4;
constexpr std::size_t pageBytes = (isWide ? 64 : 16) * 1024;
constexpr std::size_t chunkPages = 64; // 4 MB, 1 MB
constexpr std::size_t chunkBytes = chunkPages * pageBytes;
constexpr std::size_t keepBytes = std::size_t{32} << 20;
constexpr std::size_t loanBytes = std::size_t{isWide ? 1024 : 128} << 20;

constexpr std::size_t headBytes = sizeof(Page*);
constexpr std::size_t grain = 2 * sizeof(void*); // payloads are at multiples of it, as the C library's are
constexpr std::size_t fineSlots =
    512 / grain; // one class for each grain up to 512 bytes, then eight a doubling
constexpr std::size_t largestSlot = isWide ? 4096 : 2048;
constexpr std::size_t largest = largestSlot - headBytes;
constexpr std::size_t groups = fineSlots + (isWide ? 3 : 2) * 8 + 1;

/// The class of a slot of that many bytes.
constexpr std::uint32_t groupOf(std::size_t slot) noexcept
{
    if (slot <= 512)
        return static_cast<std::uint32_t>((slot + grain - 1) / grain);
    const unsigned top = 63U - static_cast<unsigned>(__builtin_clzll(slot - 1)); // 9, 10, 11
    return static_cast<std::uint32_t>(fineSlots + (top - 9) * 8 + (((slot - 1) >> (top - 3)) & 7) + 1);
}
/// Bytes of a slot of a class.
constexpr std::size_t slotOf(std::uint32_t group) noexcept
{
    if (group <= fineSlots)
        return group * grain;
    const std::size_t k = group - fineSlots - 1;
    return (std::size_t{9} + k % 8) << (k / 8 + 6);
}

struct List {
    Page* first;
};

/// Held for some hundred instructions as a rule, for a call of the system where memory comes or goes.
class Lock {
public:
    /// False: the thread that holds it was killed and will not leave. What the lock guards is then neither
    /// read nor changed any more: blocks stay where they are, new ones come from elsewhere.
    bool enter() noexcept;
    void leave() noexcept { m_owner.store(0, std::memory_order_release); }

private:
    std::atomic<std::uint32_t> m_owner{0};
};

struct Heap {
    Page* current[groups]; // never null: a page without room stands for none
    List rooms[groups];    // listed pages; the current one leads
    // --- under the lock ---
    Lock lock;
    List fulls[groups];
    List readies[groups];
    Heap* nextIdle;
    Heap* nextOfAll;
};

#if defined(ZTREE_POOL)
// The heap of this thread: null before its first block, one without any room after its end.
#if defined(_WIN32)
/// Where a thread's record at the system keeps it; 0: only findHeap() knows.
extern std::atomic<std::uint32_t> s_place;
/// May be called at any time. Leaves the thread's last error as it was.
Heap* findHeap() noexcept;
inline Heap* heapOfThread() noexcept
{
#if defined(__i386__)
    const std::uint32_t place = s_place.load(std::memory_order_relaxed);
    if (__builtin_expect(place != 0, 1)) {
        Heap* heap;
        __asm__ volatile("movl %%fs:(%1), %0" : "=r"(heap) : "r"(place));
        return heap;
    }
#endif
    return findHeap();
}
#else
extern __thread Heap* t_heap __attribute__((tls_model("initial-exec"), visibility("hidden")));
inline Heap* heapOfThread() noexcept
{
    return t_heap;
}
#endif
void* allocSlow(std::uint32_t group, std::size_t bytes) noexcept;
void freeSlow(Page* page, void* block) noexcept;
void* allocLarge(std::size_t bytes) noexcept;
void freeLarge(void* block) noexcept;
void* resize(void* block, std::size_t bytes) noexcept;

inline Page*& pageOf(void* block) noexcept
{
    return static_cast<Page**>(block)[-1];
}
inline void* alloc(std::size_t bytes) noexcept
{
    if (__builtin_expect(bytes > largest, 0))
        return allocLarge(bytes);
    const std::uint32_t group =
        groupOf(bytes < sizeof(void*) ? headBytes + sizeof(void*) : bytes + headBytes);
    Heap* heap = heapOfThread();
    if (__builtin_expect(!heap, 0))
        return allocSlow(group, bytes);
    Page* page = heap->current[group];
    void* block = page->free;
    if (__builtin_expect(block != nullptr, 1)) {
        page->free = *static_cast<void**>(block);
        ++page->used;
        return block;
    }
    char* at = page->fresh;
    if (__builtin_expect(at < page->limit, 1)) {
        page->fresh = at + page->slot;
        ++page->used;
        block = at + headBytes;
        pageOf(block) = page;
        return block;
    }
    return allocSlow(group, bytes);
}
inline void free(void* block) noexcept
{
    Page* page = pageOf(block);
    if (__builtin_expect(!page, 0))
        return freeLarge(block);
    if (__builtin_expect(page->owner.load(std::memory_order_relaxed) != heapOfThread() ||
                             page->state.load(std::memory_order_relaxed) != Page::listed || page->used == 1,
                         0))
        return freeSlow(page, block);
    *static_cast<void**>(block) = page->free;
    page->free = block;
    --page->used;
}
#endif

struct Figures {
    std::size_t bytesInUse;  // of pages
    std::size_t bytesIdle;   // of pages that the system has not been told about
    std::size_t bytesOnLoan; // of pages that the system may take
};
/// All 0 where the C library's heap is used.
Figures figures() noexcept;
/// Gives all memory that is idle back to the system. False: there was none.
bool trim() noexcept;

} // namespace pool
} // namespace platform
