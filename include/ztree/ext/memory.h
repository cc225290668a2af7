#pragma once
/// @file ext/memory.h
/// What the library holds of the system's memory, and a way to give it back.

#include <ztree/types.h>

#include <cstddef>

namespace ztree {

/// Memory of the library's heap in bytes; blocks above 4 KB (32 bits: 2 KB) and what lies in them are the C
/// library's and do not count. All 0 with the environment variable ZTREE_HEAP=system, where all is the C
/// library's.
///
/// Idle memory also goes back before an allocation of the library fails. On Windows a thread that is killed
/// while it takes or gives back memory keeps nobody waiting; what it was at work on is not used again.
/// FreeLibrary leaves the blocks that are in use, as a C library's heap does, and gives the rest back.
struct HeapUse {
    std::size_t inUse = 0; ///< pages with at least one block in use, 64 KB each (32 bits: 16 KB)
    std::size_t idle = 0;  ///< kept for what comes next, 32 MB at most beside pages of chunks that are in use
    /// The system may take it whenever it is short of memory; 1 GB at most (32 bits: 128 MB). Its addresses
    /// stay taken.
    std::size_t onLoan = 0;
};
/// Threads: any. Never fails.
ZTREE_API HeapUse heapUse() noexcept;

/// Gives idle memory back to the system at once, for a process that has done its large work and lives on.
/// Blocks that other threads use are not touched. Threads: any. Never fails.
ZTREE_API void trimHeap() noexcept;

} // namespace ztree
