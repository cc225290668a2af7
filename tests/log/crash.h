#pragma once
// Ways for a process to die with its last-chance filter installed.

#include <string>

/// Dies in the way that `way` stands for, reporting to a log at `path`. Returns, with 1, only when it could
/// not.
int crash(int way, const std::string& path);
constexpr int crashWays = 14;

/// Damages the heap.
void smashHeap();
/// Has the heap's lock held by a thread that goes no further before the report at `path` is complete, or
/// dies with it held.
void holdHeapLock(const std::string& path);
