#include "platform/pool.h"

#if defined(ZTREE_POOL)

#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <new>

#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>

namespace platform::pool {

__thread Heap* t_heap;

namespace {

constexpr std::size_t pageBytes = 64 * 1024;
constexpr std::size_t chunkBytes = 4 * 1024 * 1024;
constexpr unsigned chunkPages = chunkBytes / pageBytes;
constexpr std::size_t keepChunks = 8;   // 32 MB
constexpr std::size_t loanChunks = 256; // 1 GB
constexpr std::size_t smallProcess = 4; // chunks; beyond them large system pages are asked for
constexpr std::uint64_t allPages = ~std::uint64_t{0};

void enter(std::atomic_flag& busy) noexcept
{
    for (int spins = 0; busy.test_and_set(std::memory_order_acquire);)
        if (++spins < 100)
            __builtin_ia32_pause();
        else
            sched_yield();
}
void leave(std::atomic_flag& busy) noexcept
{
    busy.clear(std::memory_order_release);
}

class Hold {
public:
    explicit Hold(std::atomic_flag& flag) noexcept : m_flag(flag) { enter(flag); }
    ~Hold() { leave(m_flag); }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

private:
    std::atomic_flag& m_flag;
};

// --- pages from chunks ---

} // namespace

struct Chunk {
    char* base;         // at a multiple of chunkBytes
    std::uint64_t idle; // a bit for each page
    Chunk* next;        // in one of the source's lists
    Chunk* previous;
};

namespace {

struct ChunkList {
    Chunk* first = nullptr;
    std::size_t count = 0;

    void add(Chunk* chunk) noexcept
    {
        chunk->previous = nullptr;
        chunk->next = first;
        if (first)
            first->previous = chunk;
        first = chunk;
        ++count;
    }
    void remove(Chunk* chunk) noexcept
    {
        (chunk->previous ? chunk->previous->next : first) = chunk->next;
        if (chunk->next)
            chunk->next->previous = chunk->previous;
        --count;
    }
};

struct Source {
    std::atomic_flag busy = ATOMIC_FLAG_INIT;
    ChunkList partly; // some pages idle
    ChunkList whole;  // all pages idle
    ChunkList loan;   // all pages idle, and the system may take them
    std::size_t chunks = 0;
    std::size_t idle = 0; // pages in `partly`
} s_source;

// A chunk with all pages idle.
Chunk* mapChunk() noexcept
{
    Chunk* chunk = static_cast<Chunk*>(std::calloc(1, sizeof(Chunk)));
    if (!chunk)
        return nullptr;
    char* wide = static_cast<char*>(
        mmap(nullptr, 2 * chunkBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    if (wide == MAP_FAILED) {
        std::free(chunk);
        return nullptr;
    }
    const std::size_t before =
        (chunkBytes - reinterpret_cast<std::uintptr_t>(wide) % chunkBytes) % chunkBytes;
    if (before)
        munmap(wide, before);
    munmap(wide + before + chunkBytes, chunkBytes - before);
    if (s_source.chunks >= smallProcess)
        madvise(wide + before, chunkBytes, MADV_HUGEPAGE);
    chunk->base = wide + before;
    chunk->idle = allPages;
    ++s_source.chunks;
    return chunk;
}
void unmapChunk(Chunk* chunk) noexcept
{
    munmap(chunk->base, chunkBytes);
    std::free(chunk);
    --s_source.chunks;
}

Page* takePage(std::uint32_t group) noexcept
{
    Hold hold(s_source.busy);
    Chunk* chunk = s_source.partly.first;
    if (!chunk) {
        ChunkList& spare = s_source.whole.first ? s_source.whole : s_source.loan;
        chunk = spare.first;
        if (chunk)
            spare.remove(chunk);
        else if (!(chunk = mapChunk()))
            return nullptr;
        s_source.partly.add(chunk);
        s_source.idle += chunkPages;
    }
    const unsigned i = static_cast<unsigned>(__builtin_ctzll(chunk->idle));
    chunk->idle &= ~(std::uint64_t{1} << i);
    --s_source.idle;
    if (!chunk->idle)
        s_source.partly.remove(chunk);
    char* start = chunk->base + i * pageBytes;
    Page* page = ::new (start) Page();
    page->chunk = chunk;
    page->slot = static_cast<std::uint32_t>(slotOf(group));
    page->group = group;
    // Payloads are aligned for any object, page addresses stand in front of them.
    page->fresh = start + (sizeof(Page) + 15) / 16 * 16 + 16 - headBytes;
    const std::size_t room = static_cast<std::size_t>(start + pageBytes - page->fresh);
    page->limit = page->fresh + room / page->slot * page->slot;
    return page;
}

void givePage(Page* page) noexcept
{
    Chunk* chunk = page->chunk;
    Hold hold(s_source.busy);
    if (!chunk->idle)
        s_source.partly.add(chunk);
    chunk->idle |= std::uint64_t{1} << (reinterpret_cast<char*>(page) - chunk->base) / pageBytes;
    ++s_source.idle;
    if (chunk->idle != allPages)
        return;
    s_source.partly.remove(chunk);
    s_source.idle -= chunkPages;
    if (s_source.whole.count < keepChunks) {
        s_source.whole.add(chunk);
    } else if (s_source.loan.count < loanChunks && madvise(chunk->base, chunkBytes, MADV_FREE) == 0) {
        s_source.loan.add(chunk);
    } else {
        unmapChunk(chunk);
    }
}

// --- heaps ---

Page s_noRoom; // what a heap without pages of a size has as current one

// Pages whose thread has ended; every block of them is given back as by another thread.
Heap s_orphans;

struct Heaps {
    std::atomic_flag busy = ATOMIC_FLAG_INIT;
    Heap* idle = nullptr; // of threads that have ended; never given back, since pages may still name them
    Heap* all = nullptr;
} s_heaps;

void push(List& list, Page* page) noexcept
{
    page->previous = nullptr;
    page->next = list.first;
    if (page->next)
        page->next->previous = page;
    list.first = page;
}
void unlink(List& list, Page* page) noexcept
{
    (page->previous ? page->previous->next : list.first) = page->next;
    if (page->next)
        page->next->previous = page->previous;
}

// What other threads gave back becomes free. Under the lock of the owner.
void collect(Page* page) noexcept
{
    if (!page->remote)
        return;
    void* last = page->remote;
    while (void* next = *static_cast<void**>(last))
        last = next;
    *static_cast<void**>(last) = page->free;
    page->free = page->remote;
    page->remote = nullptr;
    page->used -= page->remoteCount;
    page->remoteCount = 0;
}

bool hasRoom(const Page* page) noexcept
{
    return page->free || page->fresh < page->limit;
}

void lead(Heap* heap, Page* page) noexcept
{
    push(heap->rooms[page->group], page);
    heap->current[page->group] = page;
}
// Behind the current page: a page with one free block would soon be full again.
void follow(Heap* heap, Page* page) noexcept
{
    Page* current = heap->rooms[page->group].first;
    if (!current)
        return lead(heap, page);
    page->previous = current;
    page->next = current->next;
    if (page->next)
        page->next->previous = page;
    current->next = page;
}

// A page of a thread that has ended and has room again.
Page* adoptOrphan(Heap* heap, std::uint32_t group) noexcept
{
    Hold hold(s_orphans.busy);
    Page* page = s_orphans.readies[group].first;
    if (!page)
        return nullptr;
    unlink(s_orphans.readies[group], page);
    collect(page);
    page->state.store(Page::listed, std::memory_order_relaxed);
    page->owner.store(heap, std::memory_order_release);
    return page;
}

// A page of the class with room, which becomes the current one; null when memory is short.
Page* findRoom(Heap* heap, std::uint32_t group) noexcept
{
    List& rooms = heap->rooms[group];
    {
        Hold hold(heap->busy);
        while (Page* page = rooms.first) {
            collect(page);
            if (hasRoom(page)) {
                heap->current[group] = page;
                return page;
            }
            unlink(rooms, page);
            push(heap->fulls[group], page);
            page->state.store(Page::full, std::memory_order_relaxed);
        }
        heap->current[group] = &s_noRoom;
        if (Page* page = heap->readies[group].first) {
            unlink(heap->readies[group], page);
            collect(page);
            page->state.store(Page::listed, std::memory_order_relaxed);
            lead(heap, page);
            return page;
        }
    }
    Page* page = adoptOrphan(heap, group);
    if (!page) {
        page = takePage(group);
        if (!page)
            return nullptr;
        page->owner.store(heap, std::memory_order_release);
    }
    lead(heap, page);
    return page;
}

// A block that came from another thread's heap, or one that has ended.
void freeRemote(Page* page, void* block) noexcept
{
    for (;;) {
        Heap* heap = page->owner.load(std::memory_order_acquire);
        Hold hold(heap->busy);
        if (page->owner.load(std::memory_order_relaxed) != heap)
            continue;
        *static_cast<void**>(block) = page->remote;
        page->remote = block;
        ++page->remoteCount;
        const Page::State state = page->state.load(std::memory_order_relaxed);
        if (state == Page::listed)
            return; // its thread will see to it
        if (page->remoteCount == page->used) {
            unlink(state == Page::full ? heap->fulls[page->group] : heap->readies[page->group], page);
            givePage(page);
        } else if (state == Page::full) {
            unlink(heap->fulls[page->group], page);
            push(heap->readies[page->group], page);
            page->state.store(Page::ready, std::memory_order_relaxed);
        }
        return;
    }
}

void orphan(List& list) noexcept
{
    while (Page* page = list.first) {
        unlink(list, page);
        collect(page);
        if (page->used == 0) {
            givePage(page);
            continue;
        }
        const bool room = hasRoom(page);
        page->state.store(room ? Page::ready : Page::full, std::memory_order_relaxed);
        push(room ? s_orphans.readies[page->group] : s_orphans.fulls[page->group], page);
        page->owner.store(&s_orphans, std::memory_order_release);
    }
}

struct AtThreadEnd {
    ~AtThreadEnd()
    {
        Heap* heap = t_heap;
        t_heap = nullptr;
        ended = true; // objects that thread-local or static ones own may still come and go
        {
            Hold own(heap->busy);
            Hold orphans(s_orphans.busy);
            for (std::uint32_t group = 0; group < groups; ++group) {
                orphan(heap->rooms[group]);
                orphan(heap->fulls[group]);
                orphan(heap->readies[group]);
                heap->current[group] = &s_noRoom;
            }
        }
        Hold hold(s_heaps.busy);
        heap->nextIdle = s_heaps.idle;
        s_heaps.idle = heap;
    }
    static __thread bool ended;
};
__thread bool AtThreadEnd::ended;

// A child process has the forking thread alone: a lock that another thread held would stay held.
void beforeFork() noexcept
{
    enter(s_heaps.busy);
    for (Heap* heap = s_heaps.all; heap; heap = heap->nextOfAll)
        enter(heap->busy);
    enter(s_orphans.busy);
    enter(s_source.busy);
}
void afterFork() noexcept
{
    leave(s_source.busy);
    leave(s_orphans.busy);
    for (Heap* heap = s_heaps.all; heap; heap = heap->nextOfAll)
        leave(heap->busy);
    leave(s_heaps.busy);
}

// ZTREE_HEAP=system sends every block to the C library, for tools that watch its heap.
bool isWanted() noexcept
{
    static const bool wanted = [] {
        const char* choice = std::getenv("ZTREE_HEAP");
        if (choice && std::strcmp(choice, "system") == 0)
            return false;
        pthread_atfork(beforeFork, afterFork, afterFork);
        return true;
    }();
    return wanted;
}

Heap* openHeap() noexcept
{
    if (AtThreadEnd::ended || !isWanted())
        return nullptr;
    Heap* heap;
    {
        Hold hold(s_heaps.busy);
        heap = s_heaps.idle;
        if (heap)
            s_heaps.idle = heap->nextIdle;
    }
    if (!heap) {
        void* room = std::malloc(sizeof(Heap));
        if (!room)
            return nullptr;
        heap = ::new (room) Heap();
        for (Page*& page : heap->current)
            page = &s_noRoom;
        Hold hold(s_heaps.busy);
        heap->nextOfAll = s_heaps.all;
        s_heaps.all = heap;
    }
    static thread_local AtThreadEnd atThreadEnd;
    static_cast<void>(&atThreadEnd);
    t_heap = heap;
    return heap;
}

} // namespace

void* allocLarge(std::size_t bytes) noexcept
{
    constexpr std::size_t head = 16;
    if (bytes > static_cast<std::size_t>(PTRDIFF_MAX) - head)
        return nullptr;
    char* block = static_cast<char*>(std::malloc(bytes + head));
    if (!block)
        return nullptr;
    pageOf(block + head) = nullptr;
    return block + head;
}

void freeLarge(void* block) noexcept
{
    std::free(static_cast<char*>(block) - 16);
}

void* allocSlow(std::uint32_t group, std::size_t bytes) noexcept
{
    Heap* heap = t_heap;
    if (!heap && !(heap = openHeap()))
        return allocLarge(bytes);
    Page* page = findRoom(heap, group);
    if (!page)
        return allocLarge(bytes); // the C library may have a little left
    void* block = page->free;
    if (block) {
        page->free = *static_cast<void**>(block);
    } else {
        block = page->fresh + headBytes;
        page->fresh += page->slot;
        pageOf(block) = page;
    }
    ++page->used;
    return block;
}

void freeSlow(Page* page, void* block) noexcept
{
    Heap* heap = t_heap;
    if (!heap || page->owner.load(std::memory_order_relaxed) != heap) {
        freeRemote(page, block);
        return;
    }
    if (page->state.load(std::memory_order_relaxed) != Page::listed) {
        Hold hold(heap->busy);
        unlink(page->state.load(std::memory_order_relaxed) == Page::full ? heap->fulls[page->group]
                                                                         : heap->readies[page->group],
               page);
        page->state.store(Page::listed, std::memory_order_relaxed);
        collect(page);
        follow(heap, page);
    }
    *static_cast<void**>(block) = page->free;
    page->free = block;
    --page->used;
    if (page->used != 0)
        return;
    // One empty page of a size stays: taking and giving back a single block needs no new page each time.
    List& rooms = heap->rooms[page->group];
    if (rooms.first == page && !page->next)
        return;
    unlink(rooms, page);
    if (heap->current[page->group] == page)
        heap->current[page->group] = rooms.first;
    givePage(page);
}

void* resize(void* block, std::size_t bytes) noexcept
{
    Page* page = pageOf(block);
    if (!page) {
        constexpr std::size_t head = 16;
        if (bytes > static_cast<std::size_t>(PTRDIFF_MAX) - head)
            return nullptr;
        char* moved = static_cast<char*>(std::realloc(static_cast<char*>(block) - head, bytes + head));
        return moved ? moved + head : nullptr;
    }
    const std::size_t room = page->slot - headBytes;
    if (bytes <= room && (bytes > room / 2 || room <= 64))
        return block;
    void* moved = alloc(bytes);
    if (!moved)
        return bytes <= room ? block : nullptr;
    std::memcpy(moved, block, bytes < room ? bytes : room);
    free(block);
    return moved;
}

Figures figures() noexcept
{
    Hold hold(s_source.busy);
    const std::size_t idle = s_source.idle + s_source.whole.count * chunkPages;
    const std::size_t loan = s_source.loan.count * chunkPages;
    return {(s_source.chunks * chunkPages - idle - loan) * pageBytes, idle * pageBytes, loan * pageBytes};
}

void trim() noexcept
{
    Hold hold(s_source.busy);
    for (ChunkList* list : {&s_source.whole, &s_source.loan})
        while (Chunk* chunk = list->first) {
            list->remove(chunk);
            unmapChunk(chunk);
        }
}

} // namespace platform::pool

#endif
