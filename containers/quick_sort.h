#pragma once
// Sorting as callers see it: which of two equal entries comes first follows from the pivots, and stays so.

#include <algorithm>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace sortcore {

template <class Entry, class Order> void siftDown(Entry* e, int root, int n, Order order)
{
    const Entry moving = e[root];
    for (int child; (child = 2 * root + 1) < n; root = child) {
        if (child + 1 < n && order(e[child], e[child + 1]) < 0)
            ++child;
        if (order(moving, e[child]) >= 0)
            break;
        e[root] = e[child];
        e[child] = moving;
    }
}

template <class Entry, class Order> void heapSort(Entry* e, int n, Order order)
{
    for (int i = n / 2; i-- > 0;)
        siftDown(e, i, n, order);
    for (int last = n - 1; last > 0; --last) {
        std::swap(e[0], e[last]);
        siftDown(e, 0, last, order);
    }
}

struct Range {
    int first;
    int last;
    int size() const { return last - first + 1; }
};

/// How far ahead of its comparison an object is fetched: those of a large range lie anywhere in memory.
template <class Entry> int fetchedAhead(Range r)
{
    return std::is_pointer_v<Entry> && r.size() > 10000 ? 16 : 0;
}
template <class Entry> void fetch(const Entry* e, int i)
{
    if constexpr (std::is_pointer_v<Entry>)
        __builtin_prefetch(e[i]);
}

/// One pass over the range; the two parts that remain to be sorted.
template <class Entry, class Order> void partition(Entry* e, Range r, Range& left, Range& right, Order order)
{
    const Entry pivot = e[r.first + (r.last - r.first) / 2];
    const int ahead = fetchedAhead<Entry>(r);
    int i = r.first;
    int j = r.last;
    do {
        for (; i < r.last && order(pivot, e[i]) >= 1; ++i)
            if (ahead)
                fetch(e, std::min(i + ahead, r.last));
        for (; j > r.first && order(pivot, e[j]) < 0; --j)
            if (ahead)
                fetch(e, std::max(j - ahead, r.first));
        if (i <= j) {
            if (i != j && order(e[i], e[j]) != 0)
                std::swap(e[i], e[j]);
            ++i;
            --j;
        }
    } while (i <= j);
    left = {r.first, j};
    right = {i, r.last};
}

/// n entries by order(a, b), which is below, equal to or above 0; what it throws passes. The partitions are
/// the plain ones; their order does not matter, and taking the smaller part first bounds the stack by
/// log2(n).
template <class Entry, class Order> void quickSort(Entry* e, int n, Order order)
{
    if (n == 2) { // as they are when they are equal
        if (order(e[0], e[1]) >= 1)
            std::swap(e[0], e[1]);
        return;
    }
    Range open[32];
    int depth = 0;
    int levels = 8;
    for (int rest = n; rest > 1; rest /= 2)
        levels += 8;
    // Arrangements that meet the worst pivot every time, as one that rises and falls, would cost n * n; far
    // beyond what any other one needs, what is left is sorted in another way.
    std::int64_t budget = static_cast<std::int64_t>(n) * levels;
    Range now = {0, n - 1};
    for (;;) {
        while (now.size() > 1) {
            budget -= now.size();
            if (budget < 0) {
                heapSort(e + now.first, now.size(), order);
                break;
            }
            Range left = {};
            Range right = {};
            partition(e, now, left, right, order);
            if (left.size() < right.size())
                std::swap(left, right);
            if (now.size() > 1000 && right.size() < now.size() / 32) // one of 16 passes, as a rule
                budget -= std::int64_t{7} * now.size();
            now = right; // the smaller
            open[depth++] = left;
        }
        if (depth == 0)
            return;
        now = open[--depth];
    }
}

} // namespace sortcore
