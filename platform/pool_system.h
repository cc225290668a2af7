#pragma once
// What the pool asks of the system, and what it does when the system calls.

#include "platform/pool.h"

namespace platform::pool {

// --- asked of the system: pool_linux.cpp, pool_win32.cpp ---

/// Once, before the first heap; false: there will be none.
bool prepareSystem() noexcept;
/// Makes `heap` what heapOfThread() finds in this thread, and has endThread() called when the thread ends.
/// False, and nothing is changed, when memory is short.
bool bindHeap(Heap* heap) noexcept;
/// chunkBytes bytes at a multiple of pageBytes, or null. `large`: the process is one of those that use much.
char* mapChunk(bool large) noexcept;
void unmapChunk(char* base) noexcept;
/// The system may take the memory, but not the addresses, until the chunk is written to again. False: it
/// does not want to.
bool lendChunk(char* base) noexcept;
/// A large block of the C library's has been made.
void wantLargePages(char* block, std::size_t bytes) noexcept;

// --- done for the system: pool.cpp ---

/// This thread takes nothing from `heap` any more; pages with blocks that are in use wait for whoever frees
/// the last one, or needs some.
void endThread(Heap* heap) noexcept;
/// The library leaves a process that lives on, and no thread is inside. Blocks that are in use stay. On
/// Linux it does not leave: a thread with a heap holds it.
void unload() noexcept;
/// All locks of the pool, for a fork.
void enterAll() noexcept;
void leaveAll() noexcept;

} // namespace platform::pool
