#include "platform/pool_system.h"

#if defined(ZTREE_POOL)

#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <new>

namespace platform::pool {

namespace {

constexpr std::size_t keepChunks = keepBytes / chunkBytes;
constexpr std::size_t loanChunks = loanBytes / chunkBytes;
constexpr std::size_t smallProcess = 4; // chunks
constexpr std::uint64_t allPages = ~std::uint64_t{0};
static_assert(chunkPages == 64, "a bit for each page of a chunk");

std::atomic<bool> s_closed{false};

class Hold {
public:
    explicit Hold(Lock& lock) noexcept : m_lock(lock.enter() ? &lock : nullptr) {}
    ~Hold()
    {
        if (m_lock)
            m_lock->leave();
    }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;
    explicit operator bool() const noexcept { return m_lock != nullptr; }

private:
    Lock* m_lock;
};

// --- pages from chunks ---

} // namespace

struct Chunk {
    char* base;
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
    Lock lock;
    ChunkList partly; // some pages idle
    ChunkList whole;  // all pages idle
    ChunkList loan;   // all pages idle, and the system may take them
    std::size_t chunks = 0;
    std::size_t idle = 0; // pages in `partly`
} s_source;

// A chunk with all pages idle.
Chunk* openChunk() noexcept
{
    Chunk* chunk = static_cast<Chunk*>(std::calloc(1, sizeof(Chunk)));
    if (!chunk)
        return nullptr;
    chunk->base = mapChunk(s_source.chunks >= smallProcess);
    if (!chunk->base) {
        std::free(chunk);
        return nullptr;
    }
    chunk->idle = allPages;
    ++s_source.chunks;
    return chunk;
}
void closeChunk(Chunk* chunk) noexcept
{
    unmapChunk(chunk->base);
    std::free(chunk);
    --s_source.chunks;
}

Page* takePage(std::uint32_t group) noexcept
{
    Hold hold(s_source.lock);
    if (!hold)
        return nullptr;
    Chunk* chunk = s_source.partly.first;
    if (!chunk) {
        ChunkList& spare = s_source.whole.first ? s_source.whole : s_source.loan;
        chunk = spare.first;
        if (chunk)
            spare.remove(chunk);
        else if (!(chunk = openChunk()))
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
    // Payloads are aligned, page addresses stand in front of them.
    page->fresh = start + (sizeof(Page) + 15) / 16 * 16 + 16 - headBytes;
    const std::size_t room = static_cast<std::size_t>(start + pageBytes - page->fresh);
    page->limit = page->fresh + room / page->slot * page->slot;
    return page;
}

void givePage(Page* page) noexcept
{
    Chunk* chunk = page->chunk;
    Hold hold(s_source.lock);
    if (!hold)
        return;
    if (!chunk->idle)
        s_source.partly.add(chunk);
    chunk->idle |= std::uint64_t{1} << (reinterpret_cast<char*>(page) - chunk->base) / pageBytes;
    ++s_source.idle;
    if (chunk->idle != allPages)
        return;
    s_source.partly.remove(chunk);
    s_source.idle -= chunkPages;
    if (s_closed.load(std::memory_order_relaxed))
        closeChunk(chunk);
    else if (s_source.whole.count < keepChunks)
        s_source.whole.add(chunk);
    else if (s_source.loan.count < loanChunks && lendChunk(chunk->base))
        s_source.loan.add(chunk);
    else
        closeChunk(chunk);
}

// --- heaps ---

Page s_noRoom; // what a heap without pages of a size has as current one

// Pages whose thread has ended; every block of them is given back as by another thread.
Heap s_orphans;

// What a thread has that has ended: thread-local and static objects may still come and go.
Heap s_ended;

struct Heaps {
    Lock lock;
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
    Hold hold(s_orphans.lock);
    if (!hold)
        return nullptr;
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
        Hold hold(heap->lock);
        if (!hold)
            return nullptr;
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

// A block that came from the heap of another thread, or of one that has ended.
void freeRemote(Page* page, void* block) noexcept
{
    for (;;) {
        Heap* heap = page->owner.load(std::memory_order_acquire);
        Hold hold(heap->lock);
        if (!hold)
            return;
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

// All pages of a heap. False: some thread was killed in the middle of it, and it stays as it is.
bool abandon(Heap* heap) noexcept
{
    Hold own(heap->lock);
    Hold orphans(s_orphans.lock);
    if (!own || !orphans)
        return false;
    for (std::uint32_t group = 0; group < groups; ++group) {
        orphan(heap->rooms[group]);
        orphan(heap->fulls[group]);
        orphan(heap->readies[group]);
        heap->current[group] = &s_noRoom;
    }
    return true;
}

void clear(Heap& heap) noexcept
{
    for (Page*& page : heap.current)
        page = &s_noRoom;
}

// ZTREE_HEAP=system sends every block to the C library, for tools that watch its heap.
bool isWanted() noexcept
{
    static const bool wanted = [] {
        const char* choice = std::getenv("ZTREE_HEAP");
        if (choice && std::strcmp(choice, "system") == 0)
            return false;
        clear(s_ended);
        return prepareSystem();
    }();
    return wanted && !s_closed.load(std::memory_order_relaxed);
}

void rest(Heap* heap) noexcept
{
    Hold hold(s_heaps.lock);
    if (!hold)
        return;
    heap->nextIdle = s_heaps.idle;
    s_heaps.idle = heap;
}

Heap* newHeap() noexcept
{
    void* room = std::malloc(sizeof(Heap));
    if (!room)
        return nullptr;
    Heap* heap = ::new (room) Heap();
    clear(*heap);
    Hold hold(s_heaps.lock);
    if (!hold) {
        std::free(room);
        return nullptr;
    }
    heap->nextOfAll = s_heaps.all;
    s_heaps.all = heap;
    return heap;
}

Heap* openHeap() noexcept
{
    if (!isWanted())
        return nullptr;
    Heap* heap = nullptr;
    {
        Hold hold(s_heaps.lock);
        if (hold && (heap = s_heaps.idle) != nullptr)
            s_heaps.idle = heap->nextIdle;
    }
    if (!heap && !(heap = newHeap()))
        return nullptr;
    if (bindHeap(heap))
        return heap;
    rest(heap);
    return nullptr;
}

} // namespace

void endThread(Heap* heap) noexcept
{
    bindHeap(&s_ended);
    if (heap != &s_ended && abandon(heap))
        rest(heap);
}

void unload() noexcept
{
    s_closed.store(true, std::memory_order_relaxed);
    if (Hold hold(s_heaps.lock); hold) {
        s_heaps.idle = nullptr;
        while (Heap* heap = s_heaps.all) {
            s_heaps.all = heap->nextOfAll;
            if (abandon(heap))
                std::free(heap);
        }
    }
    trim();
}

void enterAll() noexcept
{
    s_heaps.lock.enter();
    for (Heap* heap = s_heaps.all; heap; heap = heap->nextOfAll)
        heap->lock.enter();
    s_orphans.lock.enter();
    s_source.lock.enter();
}
void leaveAll() noexcept
{
    s_source.lock.leave();
    s_orphans.lock.leave();
    for (Heap* heap = s_heaps.all; heap; heap = heap->nextOfAll)
        heap->lock.leave();
    s_heaps.lock.leave();
}

// What the C library gives, after a second try if idle memory might have been in its way.
namespace {
constexpr std::size_t largeHead = grain;
constexpr std::size_t largePagesFrom = std::size_t{8} << 20;

char* resizeLarge(char* block, std::size_t bytes) noexcept
{
    if (bytes > static_cast<std::size_t>(PTRDIFF_MAX) - largeHead)
        return nullptr;
    for (bool again = true;; again = false) {
        if (char* moved = static_cast<char*>(std::realloc(block, bytes + largeHead))) {
            if (!block && bytes >= largePagesFrom) // one that grows would have to be split to move
                wantLargePages(moved, bytes + largeHead);
            return moved;
        }
        if (!again || !trim())
            return nullptr;
    }
}
} // namespace

void* allocLarge(std::size_t bytes) noexcept
{
    char* block = resizeLarge(nullptr, bytes);
    if (!block)
        return nullptr;
    pageOf(block + largeHead) = nullptr;
    return block + largeHead;
}

void freeLarge(void* block) noexcept
{
    std::free(static_cast<char*>(block) - largeHead);
}

void* allocSlow(std::uint32_t group, std::size_t bytes) noexcept
{
    Heap* heap = heapOfThread();
    if (heap == &s_ended || (!heap && !(heap = openHeap())))
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
    Heap* heap = heapOfThread();
    if (!heap || page->owner.load(std::memory_order_relaxed) != heap) {
        freeRemote(page, block);
        return;
    }
    if (page->state.load(std::memory_order_relaxed) != Page::listed) {
        Hold hold(heap->lock);
        if (!hold)
            return;
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
        char* moved = resizeLarge(static_cast<char*>(block) - largeHead, bytes);
        return moved ? moved + largeHead : nullptr;
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
    Hold hold(s_source.lock);
    if (!hold)
        return {};
    const std::size_t idle = s_source.idle + s_source.whole.count * chunkPages;
    const std::size_t loan = s_source.loan.count * chunkPages;
    return {(s_source.chunks * chunkPages - idle - loan) * pageBytes, idle * pageBytes, loan * pageBytes};
}

bool trim() noexcept
{
    Hold hold(s_source.lock);
    bool any = false;
    for (ChunkList* list : {&s_source.whole, &s_source.loan}) {
        while (hold && list->first) {
            Chunk* chunk = list->first;
            list->remove(chunk);
            closeChunk(chunk);
            any = true;
        }
    }
    return any;
}

} // namespace platform::pool

#endif
