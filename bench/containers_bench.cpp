// Pointer arrays beside what the standard library offers for the same work.

#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdlib>
#include <thread>
#include <ztree/containers.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <random>
#include <set>
#include <vector>

namespace {

// A process with one thread counts and locks without locked instructions; this asks for one with two.
const bool withThread = [] {
    if (!std::getenv("ZTREE_BENCH_THREAD"))
        return false;
    std::thread([] { std::this_thread::sleep_for(std::chrono::hours(24)); }).detach();
    return true;
}();

/// The smallest lock there is: one exchange to enter, a store to leave, no sleeping.
class SpinLock {
public:
    void lock()
    {
        while (m_held.exchange(true, std::memory_order_acquire)) {
            while (m_held.load(std::memory_order_relaxed))
                __builtin_ia32_pause();
        }
    }
    void unlock() { m_held.store(false, std::memory_order_release); }

private:
    std::atomic<bool> m_held{false};
};

/// A vector under a lock, with the interface of ZArray; not inlined, as a library's would not be.
template <class Mutex> class LockedVector {
public:
    [[gnu::noinline]] int add(const void* p)
    {
        const std::lock_guard<Mutex> hold(m_lock);
        m_entries.push_back(p);
        return 0;
    }
    [[gnu::noinline]] const void* getAt(int i)
    {
        const std::lock_guard<Mutex> hold(m_lock);
        return i >= 0 && i < static_cast<int>(m_entries.size()) ? m_entries[static_cast<std::size_t>(i)]
                                                                : nullptr;
    }
    [[gnu::noinline]] int find(const void* p)
    {
        const std::lock_guard<Mutex> hold(m_lock);
        const auto hit = std::find(m_entries.begin(), m_entries.end(), p);
        return hit == m_entries.end() ? -1 : static_cast<int>(hit - m_entries.begin());
    }

private:
    Mutex m_lock;
    std::vector<const void*> m_entries;
};

char s_thing;

template <class Array> void add(benchmark::State& state)
{
    const int n = static_cast<int>(state.range(0));
    for (auto _ : state) {
        Array array;
        for (int i = 0; i < n; ++i)
            array.add(&s_thing);
    }
    state.SetItemsProcessed(state.iterations() * n);
}

template <class Array> void read(benchmark::State& state)
{
    Array array;
    for (int i = 0; i < 1000; ++i)
        array.add(&s_thing);
    for (auto _ : state) {
        for (int i = 0; i < 1000; ++i)
            benchmark::DoNotOptimize(array.getAt(i));
    }
    state.SetItemsProcessed(state.iterations() * 1000);
}

template <class Array> void find(benchmark::State& state)
{
    Array array;
    for (int i = 0; i < 1000; ++i)
        array.add(&s_thing);
    for (auto _ : state)
        benchmark::DoNotOptimize(array.find(&array));
    state.SetItemsProcessed(state.iterations() * 1000);
}

template <class Array> void twoThreadsRead(benchmark::State& state)
{
    static Array array;
    if (state.thread_index() == 0) {
        for (int i = 0; i < 100; ++i)
            array.add(&s_thing);
    }
    for (auto _ : state) {
        for (int i = 0; i < 100; ++i)
            benchmark::DoNotOptimize(array.getAt(i));
    }
    state.SetItemsProcessed(state.iterations() * 100);
}

template <class Array> void makeAndFree(benchmark::State& state)
{
    for (auto _ : state) {
        Array array;
        benchmark::DoNotOptimize(&array);
    }
}

#define ARRAY_BENCH(Array)                                                                                   \
    BENCHMARK_TEMPLATE(add, Array)->Arg(10)->Arg(1000)->Arg(1000000);                                        \
    BENCHMARK_TEMPLATE(read, Array);                                                                         \
    BENCHMARK_TEMPLATE(find, Array);                                                                         \
    BENCHMARK_TEMPLATE(makeAndFree, Array);                                                                  \
    BENCHMARK_TEMPLATE(twoThreadsRead, Array)->Threads(2)->UseRealTime();
using MutexVector = LockedVector<std::mutex>;
using RecursiveMutexVector = LockedVector<std::recursive_mutex>;
using SpinVector = LockedVector<SpinLock>;
ARRAY_BENCH(ZArray)
ARRAY_BENCH(MutexVector)
ARRAY_BENCH(RecursiveMutexVector)
ARRAY_BENCH(SpinVector)

// --- order ---
struct Item : ZSortObject {
    explicit Item(int k) : key(k) {}
    int compare(const ZSortObject* other) const override
    {
        const int theirs = static_cast<const Item*>(other)->key;
        return key < theirs ? -1 : key > theirs;
    }
    int key;
};
struct Less {
    bool operator()(const Item* a, const Item* b) const { return a->compare(b) < 0; }
};

const std::vector<Item>& shuffled(int n)
{
    static std::vector<Item> items;
    if (static_cast<int>(items.size()) != n) {
        items.clear();
        for (int i = 0; i < n; ++i)
            items.emplace_back(i);
        std::vector<int> keys;
        std::mt19937 random(1);
        for (int i = n - 1; i > 0; --i)
            std::swap(items[static_cast<std::size_t>(i)].key,
                      items[random() % static_cast<unsigned>(i + 1)].key);
    }
    return items;
}

struct Sorted {
    ~Sorted() { array.removeAll(); }
    void insert(const Item* item) { array.insert(item); }
    bool contains(const Item* item) const { return array.search(item, nullptr) >= 0; }
    ZSortArray array;
};
struct Multiset {
    void insert(const Item* item) { set.insert(item); }
    bool contains(const Item* item) const { return set.find(item) != set.end(); }
    std::multiset<const Item*, Less> set;
};
struct SortedVector {
    void insert(const Item* item)
    {
        const std::lock_guard<std::mutex> hold(lock);
        vector.insert(std::lower_bound(vector.begin(), vector.end(), item, Less()), item);
    }
    bool contains(const Item* item) const
    {
        const std::lock_guard<std::mutex> hold(lock);
        const auto hit = std::lower_bound(vector.begin(), vector.end(), item, Less());
        return hit != vector.end() && !Less()(item, *hit);
    }
    mutable std::mutex lock;
    std::vector<const Item*> vector;
};

template <class Container> void insertSorted(benchmark::State& state)
{
    const auto& items = shuffled(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        Container container;
        for (const Item& item : items)
            container.insert(&item);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class Container> void insertAtEnd(benchmark::State& state)
{
    static std::vector<Item> items;
    if (items.empty()) {
        for (int i = 0; i < 10000; ++i)
            items.emplace_back(i);
    }
    for (auto _ : state) {
        Container container;
        for (const Item& item : items)
            container.insert(&item);
    }
    state.SetItemsProcessed(state.iterations() * 10000);
}

template <class Container> void searchSorted(benchmark::State& state)
{
    const auto& items = shuffled(static_cast<int>(state.range(0)));
    Container container;
    for (const Item& item : items)
        container.insert(&item);
    for (auto _ : state) {
        for (const Item& item : items)
            benchmark::DoNotOptimize(container.contains(&item));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

#define ORDER_BENCH(Container)                                                                               \
    BENCHMARK_TEMPLATE(insertSorted, Container)->Arg(100)->Arg(10000)->Arg(20000);                           \
    BENCHMARK_TEMPLATE(insertAtEnd, Container);                                                              \
    BENCHMARK_TEMPLATE(searchSorted, Container)->Arg(100)->Arg(10000);
ORDER_BENCH(Sorted)
ORDER_BENCH(SortedVector)
ORDER_BENCH(Multiset)

void sortArray(benchmark::State& state)
{
    const auto& items = shuffled(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        ZSortArray array;
        for (const Item& item : items)
            array.add(&item);
        array.sort();
        array.removeAll();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(sortArray)->Arg(10000)->Arg(1000000);

void sortVector(benchmark::State& state)
{
    const auto& items = shuffled(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        std::vector<const Item*> vector;
        for (const Item& item : items)
            vector.push_back(&item);
        std::sort(vector.begin(), vector.end(), Less());
        benchmark::DoNotOptimize(vector.data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(sortVector)->Arg(10000)->Arg(1000000);

void shareObject(benchmark::State& state)
{
    auto* object = new sharedObject;
    object->AddRef();
    for (auto _ : state) {
        object->AddRef();
        object->Release();
    }
    object->Release();
}
BENCHMARK(shareObject);

} // namespace
