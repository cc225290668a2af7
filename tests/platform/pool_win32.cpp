// What befalls the pool on Windows alone: killed threads, a library that is loaded and left, narrow memory.

#include "platform/heap.h"
#include "platform/pool.h"

#include <ztree/ext/memory.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

#include <windows.h>

namespace {

using platform::heapAlloc;
using platform::heapFree;
namespace pool = platform::pool;

// The shared library beside this program, which has the pool once more.
struct Library {
    HMODULE module = LoadLibraryW(L"ztree.dll");
    decltype(&heapAlloc) alloc = find<decltype(&heapAlloc)>("_ZN8platform9heapAllocEj");
    decltype(&heapFree) free = find<decltype(&heapFree)>("_ZN8platform8heapFreeEPv");
    decltype(&ztree::heapUse) use = find<decltype(&ztree::heapUse)>("_ZN5ztree7heapUseEv");

    template <class Function> Function find(const char* name) const
    {
        return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
    }
    void work() const
    {
        std::vector<void*> blocks(40000);
        for (void*& block : blocks)
            block = alloc(100);
        for (void* block : blocks)
            free(block);
    }
};

struct Event {
    HANDLE handle = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    ~Event() { CloseHandle(handle); }
    void set() { SetEvent(handle); }
    void wait() { WaitForSingleObject(handle, INFINITE); }
};

// Runs `body(context)` until it is killed, wherever it is.
template <class Context> class Victim {
public:
    Victim(void (*body)(Context&), Context& context)
        : m_body(body), m_context(context), m_thread(CreateThread(nullptr, 0, &run, this, 0, nullptr))
    {
    }
    void kill()
    {
        TerminateThread(m_thread, 0);
        WaitForSingleObject(m_thread, INFINITE);
        CloseHandle(m_thread);
    }

private:
    static DWORD WINAPI run(void* self)
    {
        static_cast<Victim*>(self)->m_body(static_cast<Victim*>(self)->m_context);
        return 0;
    }
    void (*m_body)(Context&);
    Context& m_context;
    HANDLE m_thread;
};

TEST(PoolWin32, aLockThatAKilledThreadHeldIsRefused)
{
    struct Held {
        pool::Lock lock;
        Event entered;
    } held;
    Victim<Held> victim(
        [](Held& h) {
            h.lock.enter();
            h.entered.set();
            Sleep(INFINITE);
        },
        held);
    held.entered.wait();
    victim.kill();
    EXPECT_FALSE(held.lock.enter());
    EXPECT_FALSE(held.lock.enter());
}

// A thread gives back what this one took, and is most likely killed under a lock. It calls nothing that has
// locks of the system's.
TEST(PoolWin32, killedThreadsKeepNobodyWaiting)
{
    struct Shared {
        Library library;
        std::vector<std::atomic<void*>> blocks = std::vector<std::atomic<void*>>(400000);
        void give()
        {
            for (std::atomic<void*>& block : blocks)
                library.free(block.exchange(nullptr));
        }
    };
    for (int round = 0; round < 12; ++round) {
        Shared shared;
        if (!shared.library.module)
            GTEST_SKIP() << "no ztree.dll here";
        for (std::atomic<void*>& block : shared.blocks)
            block = shared.library.alloc(20);
        Victim<Shared> victim(
            [](Shared& s) {
                s.give();
                Sleep(INFINITE);
            },
            shared);
        while (shared.blocks[100] != nullptr)
            Sleep(0);
        victim.kill();
        shared.give();
        shared.library.work();
        FreeLibrary(shared.library.module);
    }
}

TEST(PoolWin32, lastErrorStays)
{
    std::thread([] {
        SetLastError(4711);
        for (std::size_t bytes : {10, 3000})
            heapFree(heapAlloc(bytes));
        EXPECT_EQ(GetLastError(), 4711u);
    }).join();
}

TEST(PoolWin32, idleMemoryGoesBeforeAnAllocationFails)
{
    std::vector<void*> blocks(1000000);
    for (void*& block : blocks)
        block = heapAlloc(60);
    for (void* block : blocks)
        heapFree(block);
    ASSERT_GT(ztree::heapUse().idle, std::size_t{16} << 20);
    for (blocks.clear(); void* block = heapAlloc(std::size_t{4} << 20);)
        blocks.push_back(block);
    const ztree::HeapUse use = ztree::heapUse();
    for (void* block : blocks)
        heapFree(block);
    EXPECT_LT(use.idle, std::size_t{8} << 20);
    EXPECT_EQ(use.onLoan, 0u);
}

std::size_t takenAddresses()
{
    std::size_t taken = 0;
    MEMORY_BASIC_INFORMATION info;
    for (const char* at = nullptr; VirtualQuery(at, &info, sizeof info) == sizeof info; at += info.RegionSize)
        if (info.State != MEM_FREE)
            taken += info.RegionSize;
    return taken;
}

// A thread of the program lives longer than each of the loads, with blocks that it took back or left.
TEST(PoolWin32, aLibraryThatLeavesTakesItsMemoryAlong)
{
    constexpr int loads = 12;
    std::vector<DWORD> slots;
    for (const char* way : {"near slot", "far slot", "system"}) {
        SCOPED_TRACE(way);
        const bool isPooled = *way != 's';
        if (*way == 'f')
            while (slots.empty() || slots.back() < 70)
                slots.push_back(TlsAlloc());
        _putenv(isPooled ? "ZTREE_HEAP=" : "ZTREE_HEAP=system");
        std::size_t before = 0;
        for (int i = 0; i < loads; ++i) {
            const Library library;
            if (!library.module)
                GTEST_SKIP() << "no ztree.dll here";
            Event worked;
            Event left;
            std::thread lives([&] {
                library.work();
                worked.set();
                left.wait();
            });
            worked.wait();
            library.work();
            EXPECT_EQ(library.use().idle != 0, isPooled);
            FreeLibrary(library.module);
            left.set();
            lives.join();
            if (i == 1)
                before = takenAddresses();
        }
        EXPECT_LT(takenAddresses(), before + (std::size_t{16} << 20));
    }
    _putenv("ZTREE_HEAP=");
    for (DWORD slot : slots)
        TlsFree(slot);
}

} // namespace
