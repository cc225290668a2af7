#include "log/crash.h"

#include "support/faults.h"

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace {
// Leaves a free block whose neighbour in the list is nowhere: the allocator faults on its next walk.
void spoilList()
{
    char* const block = opaque(static_cast<char*>(std::malloc(2000)));
    opaque(std::malloc(16));
    const auto at = opaque(reinterpret_cast<std::uintptr_t>(block));
    std::free(block);
    reinterpret_cast<volatile std::uintptr_t*>(at)[1] = 0x10;
}
} // namespace

void smashHeap()
{
    char* blocks[64];
    for (char*& b : blocks)
        b = opaque(static_cast<char*>(std::malloc(100)));
    for (char* b : blocks)
        std::memset(opaque(b - 16), 0x5A, 132);
}

void holdHeapLock(const std::string&)
{
    // With a second thread the allocator locks; it faults inside and keeps the lock.
    std::thread([] { std::this_thread::sleep_for(std::chrono::minutes(1)); }).detach();
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    spoilList();
    opaque(std::malloc(3000));
}
