#include "platform/pool_system.h"

#if defined(ZTREE_POOL)

#include <windows.h>

namespace platform::pool {

std::atomic<std::uint32_t> s_place{0};

namespace {

std::atomic<DWORD> s_slot{TLS_OUT_OF_INDEXES};

#if defined(__i386__)
// A thread's record holds its first slots themselves. TlsGetValue would cost more than the rest of a call
// here.
constexpr DWORD directSlots = 64;
constexpr std::uint32_t directPlace = 0xE10;
#endif

// No thread of this process has that number, or the one that has it will not run again. A wrong answer would
// cost some blocks, at worst those of one thread, and nothing else.
bool isGone(DWORD thread) noexcept
{
    const DWORD error = GetLastError();
    bool gone = true;
    if (HANDLE handle = OpenThread(SYNCHRONIZE | THREAD_QUERY_LIMITED_INFORMATION, FALSE, thread)) {
        gone = GetProcessIdOfThread(handle) != GetCurrentProcessId() ||
               WaitForSingleObject(handle, 0) == WAIT_OBJECT_0;
        CloseHandle(handle);
    }
    SetLastError(error);
    return gone;
}

// Called by the loader, also in a program that holds the library's objects itself. Objects that thread-local
// ones of other modules own may still come and go afterwards.
void NTAPI onThread(void*, DWORD reason, void*)
{
    if (reason != DLL_THREAD_DETACH)
        return;
    if (Heap* heap = findHeap())
        endThread(heap);
}

} // namespace

// The list of the compiler's runtime; Y: behind the destructors of this module's own thread-local objects.
extern "C" const PIMAGE_TLS_CALLBACK ztree_poolOnThread __attribute__((section(".CRT$XLY"), used)) =
    &onThread;

// TerminateThread, and the end of a process for all threads but one, stop a thread wherever it is.
bool Lock::enter() noexcept
{
    constexpr std::uint32_t lost = ~0u; // no thread's number; until its holder leaves after all
    const DWORD self = GetCurrentThreadId();
    for (int turns = 0;; ++turns) {
        std::uint32_t owner = 0;
        if (m_owner.compare_exchange_strong(owner, self, std::memory_order_acquire,
                                            std::memory_order_relaxed))
            return true;
        if (owner == lost)
            return false;
        if (turns < 100) {
            YieldProcessor();
        } else if (turns < 150) {
            SwitchToThread();
        } else if (owner == self ||
                   isGone(owner)) { // no lock is entered twice: a dead thread had this number
            m_owner.compare_exchange_strong(owner, lost, std::memory_order_relaxed);
        } else {
            Sleep(1); // lets threads of lower priority run, too
        }
    }
}

bool prepareSystem() noexcept
{
    const DWORD slot = TlsAlloc();
    if (slot == TLS_OUT_OF_INDEXES)
        return false;
    s_slot.store(slot, std::memory_order_relaxed);
#if defined(__i386__)
    if (slot < directSlots)
        s_place.store(directPlace + slot * 4, std::memory_order_relaxed);
#endif
    return true;
}

Heap* findHeap() noexcept
{
    const DWORD slot = s_slot.load(std::memory_order_relaxed);
    if (slot == TLS_OUT_OF_INDEXES)
        return nullptr;
    const DWORD error = GetLastError(); // TlsGetValue clears it
    Heap* heap = static_cast<Heap*>(TlsGetValue(slot));
    SetLastError(error);
    return heap;
}

bool bindHeap(Heap* heap) noexcept
{
    return TlsSetValue(s_slot.load(std::memory_order_relaxed), heap) != 0;
}

char* mapChunk(bool) noexcept
{
    return static_cast<char*>(VirtualAlloc(nullptr, chunkBytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
}

void unmapChunk(char* base) noexcept
{
    VirtualFree(base, 0, MEM_RELEASE);
}

bool lendChunk(char* base) noexcept
{
    return VirtualAlloc(base, chunkBytes, MEM_RESET, PAGE_READWRITE) != nullptr;
}

// A process needs a right of its own for them.
void wantLargePages(char*, std::size_t) noexcept {}

} // namespace platform::pool

// FreeLibrary. At the end of the process all memory goes anyway.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void* atProcessEnd)
{
    using namespace platform::pool;
    if (reason == DLL_PROCESS_DETACH && !atProcessEnd) {
        const DWORD slot = s_slot.load(std::memory_order_relaxed);
        unload();
        s_place.store(0, std::memory_order_relaxed);
        s_slot.store(TLS_OUT_OF_INDEXES, std::memory_order_relaxed);
        if (slot != TLS_OUT_OF_INDEXES)
            TlsFree(slot); // for all threads
    }
    return TRUE;
}

#endif
