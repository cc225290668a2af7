#include "platform/heap.h"
#include "platform/pool.h"
#include "support/random.h"

#include <ztree/ext/memory.h>

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstring>
#include <memory>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#if defined(ZTREE_POOL)

namespace {

using platform::heapAlloc;
using platform::heapFree;
using platform::heapResize;
namespace pool = platform::pool;

struct Piece {
    unsigned char* at;
    std::size_t bytes;
    unsigned char mark;
};

Piece take(std::mt19937& random)
{
    static const std::size_t sizes[] = {
        0, 1, 8, 9, 24, 25, 160, 504, 505, 512, 1016, 2000, pool::largest, pool::largest + 1, 20000};
    const std::size_t bytes = random() % 4 ? random() % 300 : sizes[random() % std::size(sizes)];
    const unsigned char mark = static_cast<unsigned char>(random());
    Piece p{static_cast<unsigned char*>(heapAlloc(bytes)), bytes, mark};
    if (p.at)
        std::memset(p.at, mark, bytes);
    return p;
}
bool isWhole(const Piece& p)
{
    for (std::size_t i = 0; i < p.bytes; ++i)
        if (p.at[i] != p.mark)
            return false;
    return p.at && reinterpret_cast<std::uintptr_t>(p.at) % pool::grain == 0;
}
void resize(Piece& p, std::size_t bytes)
{
    unsigned char* moved = static_cast<unsigned char*>(heapResize(p.at, bytes));
    ASSERT_NE(moved, nullptr);
    for (std::size_t i = 0; i < std::min(bytes, p.bytes); ++i)
        ASSERT_EQ(moved[i], p.mark);
    std::memset(moved, p.mark, bytes);
    p.at = moved;
    p.bytes = bytes;
}

// Every block goes through hands of several threads, some of which end before their blocks come back.
TEST(Pool, blocksOfManyThreadsStayWholeAndComeBack)
{
    std::mutex door;
    std::vector<Piece> shared;
    std::atomic<int> broken{0};
    auto work = [&](unsigned seed, int rounds) {
        std::mt19937 random(seed);
        std::vector<Piece> own;
        for (int i = 0; i < rounds; ++i) {
            switch (random() % 8) {
            case 0:
            case 1:
            case 2:
                own.push_back(take(random));
                break;
            case 3:
                if (!own.empty())
                    resize(own[random() % own.size()], random() % 700);
                break;
            case 4:
            case 5:
                if (!own.empty()) {
                    std::swap(own[random() % own.size()], own.back());
                    broken += !isWhole(own.back());
                    heapFree(own.back().at);
                    own.pop_back();
                }
                break;
            case 6:
                if (!own.empty()) {
                    std::lock_guard<std::mutex> hold(door);
                    shared.push_back(own.back());
                    own.pop_back();
                }
                break;
            default:
                std::lock_guard<std::mutex> hold(door);
                if (!shared.empty()) {
                    std::swap(shared[random() % shared.size()], shared.back());
                    own.push_back(shared.back());
                    shared.pop_back();
                }
            }
        }
        std::lock_guard<std::mutex> hold(door);
        shared.insert(shared.end(), own.begin(), own.end());
    };
    const std::size_t before = ztree::heapUse().inUse;
    for (unsigned generation = 0; generation < 6; ++generation)
        onThreads(4, [&](int t) { work(generation * 10 + static_cast<unsigned>(t), 20000); });
    EXPECT_GT(shared.size(), 1000u);
    for (const Piece& p : shared) {
        broken += !isWhole(p);
        heapFree(p.at);
    }
    EXPECT_EQ(broken, 0);
    // All threads have ended: only what this one keeps of each size may stay.
    EXPECT_LE(ztree::heapUse().inUse, before + pool::groups * pool::pageBytes);
}

// One thread takes, another gives back: the pages must be found again.
TEST(Pool, aChainOfTwoThreadsNeedsNoMoreThanIsAlive)
{
    constexpr std::size_t alive = 20000;
    constexpr int rounds = 40;
    std::vector<void*> blocks(alive);
    std::size_t most = 0;
    for (int r = 0; r < rounds; ++r) {
        for (void*& b : blocks)
            b = heapAlloc(100);
        most = std::max(most, ztree::heapUse().inUse);
        std::thread([&] {
            for (void* b : blocks)
                heapFree(b);
        }).join();
        if (r == 0)
            most *= 2; // later rounds get by with what the first took
        ASSERT_LE(ztree::heapUse().inUse, most) << r;
    }
}

// What a thread owns may go after its heap. A key's value says so on both targets; a thread_local object does
// not: mingw gives its storage back before its destructor runs.
TEST(Pool, blocksOutliveTheirThreadsHeap)
{
    using Blocks = std::vector<void*>;
    pthread_key_t key;
    ASSERT_EQ(pthread_key_create(&key,
                                 [](void* value) {
                                     const std::unique_ptr<Blocks> blocks(static_cast<Blocks*>(value));
                                     for (void* b : *blocks) {
                                         void* other = heapAlloc(60);
                                         EXPECT_NE(other, nullptr);
                                         heapFree(b);
                                         heapFree(other);
                                     }
                                 }),
              0);
    const std::size_t before = ztree::heapUse().inUse;
    for (int round = 0; round < 20; ++round)
        std::thread([key] {
            auto blocks = std::make_unique<Blocks>(2000);
            for (void*& b : *blocks)
                b = heapAlloc(60);
            EXPECT_EQ(pthread_setspecific(key, blocks.release()), 0);
        }).join();
    EXPECT_LE(ztree::heapUse().inUse, before + pool::pageBytes);
    pthread_key_delete(key);
}

TEST(Pool, memoryOfManyBlocksGoesBackToTheSystem)
{
    const auto before = ztree::heapUse();
    std::vector<void*> blocks(2000000);
    for (void*& b : blocks)
        b = heapAlloc(120);
    EXPECT_GT(ztree::heapUse().inUse, before.inUse + blocks.size() * 120);
    for (void* b : blocks)
        heapFree(b);
    const auto after = ztree::heapUse();
    EXPECT_LE(after.inUse, before.inUse + 2 * pool::pageBytes);
    EXPECT_LE(after.idle + after.inUse, before.idle + before.inUse + pool::keepBytes + pool::chunkBytes);
    EXPECT_LE(after.onLoan, pool::loanBytes);
    ztree::trimHeap();
    EXPECT_LE(ztree::heapUse().idle + ztree::heapUse().onLoan, 8u << 20);
}

} // namespace

#endif
