#pragma once
// Sorts named objects without a look at them: by copies of the first units of their names. The arrangement is
// the one that comparing the objects makes, that of equal names included.

#include "containers/array_core.h"
#include "containers/quick_sort.h"
#include "platform/heap.h"

namespace sortcore {

/// Stands for an object. Heads that differ say which name comes first; equal ones say nothing.
template <class Ch> struct Named {
    std::uint64_t head[2];
    const Ch* name;
    const void* object;

    /// A name of n units and a terminator, or null; headOf(text, n) orders texts by their first 8 bytes.
    template <class HeadOf> void setName(const Ch* text, int n, HeadOf headOf)
    {
        static const Ch none = 0;
        constexpr int half = 8 / sizeof(Ch);
        name = text ? text : &none;
        head[0] = text ? headOf(text, n) : 0;
        head[1] = text && n > half ? headOf(text + half, n - half) : 0;
    }
};

/// describe(object, Named&) sets the name, or returns false for an object that is not sorted by its
/// name; compare(a, b) compares whole names. False, and nothing done, for such an object or when memory is
/// short.
template <class Ch, class Describe, class Compare>
bool sortByName(ArrayCore& core, Describe describe, Compare compare) noexcept
{
    constexpr int few = 16; // as elements have
    Named<Ch> room[few];
    Named<Ch>* all = room;
    const int count = core.size();
    platform::HeapPtr<Named<Ch>> many;
    if (count > few) {
        many.reset(platform::allocArray<Named<Ch>>(static_cast<std::size_t>(count)));
        if (!many)
            return false;
        all = many.get();
    }
    for (int i = 0; i < count; ++i) {
        all[i].object = core.at(i);
        if (!all[i].object || !describe(all[i].object, all[i]))
            return false;
    }
    quickSort(all, count, [compare](const Named<Ch>& a, const Named<Ch>& b) {
        for (int i = 0; i < 2; ++i)
            if (a.head[i] != b.head[i])
                return a.head[i] < b.head[i] ? -1 : 1;
        return compare(a.name, b.name);
    });
    for (int i = 0; i < count; ++i)
        core.entries()[i] = all[i].object;
    core.setOrdered(count);
    return true;
}

} // namespace sortcore
