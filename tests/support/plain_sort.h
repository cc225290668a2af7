#pragma once
// The sort of the library's lists in its plainest, recursive form: where equal entries end up is part of it.

#include <utility>
#include <vector>

/// compare(a, b) is below, at or above 0.
template <class T, class Compare>
void plainSort(std::vector<T>& items, int first, int last, const Compare& compare)
{
    if (last <= first)
        return;
    const auto at = [&items](int i) -> T& { return items[static_cast<std::size_t>(i)]; };
    const T pivot = at((first + last) / 2);
    int i = first, j = last;
    do {
        while (i < last && compare(pivot, at(i)) >= 1)
            ++i;
        while (j > first && compare(pivot, at(j)) < 0)
            --j;
        if (i <= j) {
            if (i != j && compare(at(i), at(j)) != 0)
                std::swap(at(i), at(j));
            ++i;
            --j;
        }
    } while (j >= i);
    plainSort(items, first, j, compare);
    plainSort(items, i, last, compare);
}
