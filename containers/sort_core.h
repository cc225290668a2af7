#pragma once
// Order among ZSortObjects in an ArrayCore whose entries are all of them: what ZSortArray does under
// its lock, for lists inside other implementation objects too. Exceptions of a comparison pass.

#include "containers/array_core.h"

#include <ztree/containers.h>

namespace sortcore {

/// Puts obj behind the last entry that sorts before it. Returns its index, -1 when the array cannot grow.
int insert(ArrayCore& core, const ZSortObject* obj);
/// Index of the first entry equal to key, -1 when there is none.
int search(const ArrayCore& core, const ZSortObject* key);
/// Index of the last entry equal to key, -1 when there is none or an entry behind it sorts before key.
int searchLast(const ArrayCore& core, const ZSortObject* key);
void sort(ArrayCore& core);
/// Deletes the objects, last first, and empties the array. A destructor may use the array: its
/// slot is null by then.
void deleteAll(ArrayCore& core);

} // namespace sortcore
