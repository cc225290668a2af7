#pragma once
// What the two value classes share.

#include "datetime/chars.h"

#include <ztree/datetime.h>

namespace ztree {

// Forms a text with `write`, which needs `worst` characters in the worst case, in a buffer of `size`. Below
// `padBelow` the rest of the buffer is filled with zeros, as the bounded copy of old did.
template <int worst, class Ch>
int writeBounded(int (*write)(unsigned long, Ch*, const tagLocalFmt*) noexcept, unsigned long value,
                 Ch* buffer, int size, int padBelow, const tagLocalFmt* fmt)
{
    if (!buffer)
        return -1;
    if (size >= worst)
        return write(value, buffer, fmt);
    Ch text[worst];
    const int result = write(value, text, fmt);
    int length = 0; // not the result: a record's separator may be a zero, where the copy ends
    while (text[length])
        ++length;
    copyBounded(text, length, buffer, size < padBelow || size <= length ? size : length + 1);
    return result;
}

} // namespace ztree
