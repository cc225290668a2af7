#include "containers/sort_core.h"

#include "containers/quick_sort.h"

namespace sortcore {

namespace {

const ZSortObject* entry(const ArrayCore& core, int i)
{
    return static_cast<const ZSortObject*>(core.entries()[i]);
}

// Nulls have no place in the order; they compare equal to all, so that nothing follows them.
int order(const ZSortObject* a, const ZSortObject* b)
{
    return a && b ? a->compare(b) : 0;
}

const ZSortObject* object(const void* p)
{
    return static_cast<const ZSortObject*>(p);
}

// How many of n entries, which all stand in order, come first because isBefore() holds for them. Neither
// branch nor cache is left to luck: the step is arithmetic, and both objects that may be next are on their
// way while this one is compared.
template <class IsBefore> int countBefore(const void* const* e, int n, IsBefore isBefore)
{
    if (n < 1)
        return 0;
    const void* const* from = e;
    while (n > 1) {
        const int half = n / 2;
        const int next = (n - half) / 2;
        if (next > 0) {
            __builtin_prefetch(from[next - 1]);
            __builtin_prefetch(from[half + next - 1]);
        }
        from += isBefore(object(from[half - 1])) ? half : 0;
        n -= half;
    }
    return static_cast<int>(from - e) + (isBefore(object(*from)) ? 1 : 0);
}

// The index behind the last entry that sorts before obj. Entries that were added behind the ordered
// front and turn out to stand in order join it.
int insertPosition(ArrayCore& core, const ZSortObject* obj)
{
    const int count = core.size();
    int ordered = core.ordered();
    if (ordered < count) {
        if (ordered == 0 && entry(core, 0))
            ordered = 1;
        while (ordered > 0 && ordered < count && entry(core, ordered) &&
               entry(core, ordered - 1)->compare(entry(core, ordered)) <= 0)
            ++ordered;
        core.setOrdered(ordered);
        for (int i = count; i-- > ordered;) {
            if (entry(core, i) && entry(core, i)->compare(obj) < 0)
                return i + 1;
        }
    }
    // The front stands in order. Most objects come last.
    if (ordered == 0 || entry(core, ordered - 1)->compare(obj) < 0)
        return ordered;
    return countBefore(core.entries(), ordered - 1,
                       [obj](const ZSortObject* other) { return other->compare(obj) < 0; });
}

} // namespace

int insert(ArrayCore& core, const ZSortObject* obj)
{
    const int i = insertPosition(core, obj);
    const int ordered = core.ordered();
    if (!core.insertAt(i, obj))
        return -1;
    core.setOrdered(i <= ordered ? ordered + 1 : ordered);
    return i;
}

int search(const ArrayCore& core, const ZSortObject* key)
{
    if (core.ordered() == core.size()) {
        const int first = countBefore(core.entries(), core.size(),
                                      [key](const ZSortObject* other) { return key->compare(other) > 0; });
        return first < core.size() && key->compare(entry(core, first)) == 0 ? first : -1;
    }
    int low = 0;
    int high = core.size();
    while (low < high) {
        const int middle = low + (high - low) / 2;
        if (!entry(core, middle))
            return -1;
        const int r = key->compare(entry(core, middle));
        if (r > 0) {
            if (low == middle)
                return -1;
            low = middle;
        } else if (r < 0) {
            high = middle;
        } else {
            low = middle;
            break;
        }
    }
    if (low >= high)
        return -1;
    // The first of the equal ones is a few steps to the left, unless there are very many.
    int first = low;
    int walked = 0;
    while (first > 0 && entry(core, first - 1) && key->compare(entry(core, first - 1)) == 0) {
        --first;
        if (++walked == 8 && first <= core.ordered()) {
            int below = -1; // sorts before key, or the start
            while (below + 1 < first) {
                const int middle = below + (first - below) / 2;
                if (key->compare(entry(core, middle)) == 0)
                    first = middle;
                else
                    below = middle;
            }
        }
    }
    return first;
}

int searchLast(const ArrayCore& core, const ZSortObject* key)
{
    int i = core.size();
    const int ordered = core.ordered();
    while (i > ordered) {
        --i;
        const int r = order(key, entry(core, i));
        if (entry(core, i) && r >= 0)
            return r == 0 ? i : -1;
    }
    int low = 0; // entries below it do not sort behind key, those from i on do
    while (low < i) {
        const int middle = low + (i - low) / 2;
        if (key->compare(entry(core, middle)) >= 0)
            low = middle + 1;
        else
            i = middle;
    }
    return low > 0 && key->compare(entry(core, low - 1)) == 0 ? low - 1 : -1;
}

void sort(ArrayCore& core)
{
    const int count = core.size();
    if (count < 2)
        return;
    const void** e = core.entries();
    const bool whole = std::find(e, e + count, nullptr) == e + count;
    core.setOrdered(0); // should a comparison throw
    quickSort(e, count, [](const void* a, const void* b) { return order(object(a), object(b)); });
    if (whole)
        core.setOrdered(count);
}

void deleteAll(ArrayCore& core)
{
    for (int i = core.size(); i-- > 0;) {
        const ZSortObject* obj = object(core.at(i));
        if (!obj)
            continue;
        core.entries()[i] = nullptr;
        core.setOrdered(std::min(core.ordered(), i));
        delete obj;
    }
    core.removeAll();
}

} // namespace sortcore
