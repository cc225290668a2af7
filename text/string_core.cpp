#include "text/string_core.h"

#include "platform/codepage.h"
#include "text/char_set.h"
#include "text/search.h"

#include <ztree/runtime.h>

#include <algorithm>
#include <climits>
#include <string>

void throwNoMemory()
{
    throw structExcept(ztree::errMemory);
}

// --- what the twins differ in ---
void StringTraits<char>::upper(char* s, int n) noexcept
{
    platform::upperAnsi(s, n);
}
void StringTraits<char>::lower(char* s, int n) noexcept
{
    platform::lowerAnsi(s, n);
}
void StringTraits<zwchar>::upper(zwchar* s, int n) noexcept
{
    platform::upperWide(s, n);
}
void StringTraits<zwchar>::lower(zwchar* s, int n) noexcept
{
    platform::lowerWide(s, n);
}

namespace {
template <class Ch> std::size_t bytesOf(int n) noexcept
{
    return static_cast<std::size_t>(n) * sizeof(Ch);
}
// Copies at most 32 bytes, which may overlap: all are read before the first is written.
inline void copyFew(void* to, const void* from, std::size_t bytes) noexcept
{
    const auto both = [&](auto part) {
        if (bytes < sizeof part)
            return false;
        auto last = part;
        std::memcpy(&part, from, sizeof part);
        std::memcpy(&last, static_cast<const char*>(from) + bytes - sizeof last, sizeof last);
        std::memcpy(to, &part, sizeof part);
        std::memcpy(static_cast<char*>(to) + bytes - sizeof last, &last, sizeof last);
        return true;
    };
    struct Sixteen {
        std::uint64_t halves[2];
    };
    if (!both(Sixteen{}) && !both(std::uint64_t{}) && !both(std::uint32_t{}) && !both(std::uint16_t{}))
        both(char{});
}
int addLengths(int a, int b)
{
    if (b > INT_MAX - a)
        throwNoMemory();
    return a + b;
}
// A block as small as these fails for good; a larger one is tried again without the room for growth.
constexpr int worthASecondTry = 1 << 20;
// Up to this many units a new block and a copy are cheaper than having the old one resized.
constexpr int smallBlock = 512;
} // namespace

template <class Ch> int textLength(const Ch* s)
{
    const std::size_t n = s ? std::char_traits<Ch>::length(s) : 0;
    if (n > INT_MAX)
        throwNoMemory();
    return static_cast<int>(n);
}
template int textLength(const char*);
template int textLength(const zwchar*);

template <class Ch> int decimalText(int value, Ch* out) noexcept
{
    Ch digits[10];
    int n = 0;
    unsigned rest = value < 0 ? 0u - static_cast<unsigned>(value) : static_cast<unsigned>(value);
    do {
        digits[n++] = static_cast<Ch>('0' + rest % 10);
        rest /= 10;
    } while (rest);
    Ch* end = out;
    if (value < 0)
        *end++ = '-';
    end = std::reverse_copy(digits, digits + n, end);
    *end = 0;
    return static_cast<int>(end - out);
}
template int decimalText(int, char*) noexcept;
template int decimalText(int, zwchar*) noexcept;

// --- blocks ---
// What the heap needs for a block, rounded to what it hands out anyway.
template <class Ch> std::uint64_t StringCore<Ch>::blockBytes(int room) noexcept
{
    const std::uint64_t bytes = sizeof(BlockHead) + (static_cast<std::uint64_t>(room) + 1) * sizeof(Ch);
    return (bytes + 7) / 16 * 16 + 8;
}

// A block of at least `room` units with count 1, or `old` made larger; null when memory is out.
template <class Ch>
typename StringCore<Ch>::BlockHead* StringCore<Ch>::makeBlock(int room, BlockHead* old) noexcept
{
    const std::uint64_t bytes = blockBytes(room);
    if (bytes > static_cast<std::uint64_t>(PTRDIFF_MAX))
        return nullptr;
    const std::size_t size = static_cast<std::size_t>(bytes);
    BlockHead* head =
        static_cast<BlockHead*>(old ? platform::heapResize(old, size) : platform::smallAlloc(size));
    if (!head)
        return nullptr;
    if (!old)
        new (&head->count) Count(1);
    const std::uint64_t units = (bytes - sizeof(BlockHead)) / sizeof(Ch) - 1;
    head->room = static_cast<std::int32_t>(std::min<std::uint64_t>(units, INT_MAX));
    return head;
}

template <class Ch> void StringCore<Ch>::freeBlock(Count* block) noexcept
{
    BlockHead* head = headOf(block);
    platform::smallFree(head, static_cast<std::size_t>(blockBytes(head->room)));
}

template <class Ch> void StringCore<Ch>::letGo() noexcept
{
    if (m_pBlock)
        release(m_pBlock);
    m_pBlock = nullptr;
    m_pText = nullptr;
    m_nCapacity = 0;
    m_nLength = 0;
}

template <class Ch> void StringCore<Ch>::useBlock(BlockHead* head, int capacity) noexcept
{
    m_pBlock = &head->count;
    m_pText = textOf(head);
    m_nCapacity = capacity;
}

template <class Ch> void StringCore<Ch>::take(void* block, std::size_t bytes, int n) noexcept
{
    letGo();
    BlockHead* head = static_cast<BlockHead*>(block);
    new (&head->count) Count(1);
    head->room = static_cast<std::int32_t>(
        std::min<std::size_t>((bytes - sizeof(BlockHead)) / sizeof(Ch) - 1, INT_MAX));
    useBlock(head, n);
    setLength(n);
}

template <class Ch> void StringCore<Ch>::reset() noexcept
{
    if (m_nCapacity == 0)
        return;
    letGo();
    std::fill_n(m_achInline, inlineUnits + 1, Ch{});
}

template <class Ch> void StringCore<Ch>::share(const Fields& src) noexcept
{
    // Kept: two strings on one block count as equal already, so even the tag stays as it is.
    if (this == &src || (m_pBlock && m_pBlock == src.m_pBlock))
        return;
    letGo();
    takeFrom(src);
}

// The capacity for n units where `capacity` is too small.
template <class Ch> int StringCore<Ch>::grown(int capacity, int n) const noexcept
{
    if (n - capacity >= m_nGrowth)
        return n;
    return static_cast<int>(std::min<std::int64_t>(std::int64_t{capacity} + m_nGrowth, INT_MAX));
}

template <class Ch> void StringCore<Ch>::reserve(int n, bool keep)
{
    if (n <= inlineUnits) {
        // Kept: a small request always leaves the text inline and cut to n; expand() inherits it.
        moveInline(std::min(n, m_nLength));
        return;
    }
    const bool own = ownsBlock();
    if (n > m_nCapacity) {
        const int target = grown(m_nCapacity, n);
        if (own)
            enlarge(target, keep);
        else
            freshBlock(target, keep, target);
    } else if (!own) {
        // Kept: leaving a shared block makes room for n units and no more, which cuts a longer text.
        freshBlock(n, keep, n);
    }
}

template <class Ch> void StringCore<Ch>::moveInline(int n) noexcept
{
    if (Count* old = m_pBlock) {
        std::copy_n(m_pText, n, m_achInline);
        m_pBlock = nullptr;
        m_pText = nullptr;
        release(old);
    }
    m_nLength = n;
    m_achInline[n] = 0;
    m_nCapacity = inlineUnits;
}

// The object holds its block alone.
template <class Ch> void StringCore<Ch>::enlarge(int target, bool keep)
{
    BlockHead* head = headOf(m_pBlock);
    if (head->room >= target) {
        m_nCapacity = target;
        return;
    }
    // Half as much again, so that n single appends cost O(n); a text that is dropped anyway is not growing.
    const std::int64_t ample = keep ? std::min<std::int64_t>(std::int64_t{head->room} * 3 / 2, INT_MAX) : 0;
    const int room = std::max(target, static_cast<int>(ample));
    if (!keep || room < smallBlock) {
        freshBlock(target, keep, room);
        return;
    }
    BlockHead* larger = makeBlock(room, head);
    if (!larger && room > target && room > worthASecondTry)
        larger = makeBlock(target, head);
    if (!larger)
        throwNoMemory();
    useBlock(larger, target);
}

template <class Ch> void StringCore<Ch>::freshBlock(int target, bool keep, int room)
{
    BlockHead* head = makeBlock(room);
    if (!head)
        throwNoMemory();
    Ch* to = textOf(head);
    const int kept = keep ? std::min(m_nLength, target) : 0;
    std::memcpy(to, text(), bytesOf<Ch>(kept));
    to[kept] = 0;
    if (m_pBlock)
        release(m_pBlock);
    useBlock(head, target);
    m_nLength = kept;
}

// --- setting ---
template <class Ch> bool StringCore<Ch>::overlaps(const Ch* s, int n) const noexcept
{
    const auto at = reinterpret_cast<std::uintptr_t>(s), own = reinterpret_cast<std::uintptr_t>(text());
    return at + bytesOf<Ch>(n) + sizeof(Ch) > own && at < own + bytesOf<Ch>(m_nLength);
}

template <class Ch> void StringCore<Ch>::assign(const Ch* s, int n)
{
    if (n <= inlineUnits) {
        Count* old = m_pBlock; // s may lie in it
        copyFew(m_achInline, s, bytesOf<Ch>(n));
        m_achInline[n] = 0;
        m_pBlock = nullptr;
        m_pText = nullptr;
        m_nCapacity = inlineUnits;
        m_nLength = n;
        if (old)
            release(old);
        return;
    }
    if (overlaps(s, n)) {
        const int target = grown(0, n);
        BlockHead* head = makeBlock(target);
        if (!head)
            throwNoMemory();
        std::copy_n(s, n, textOf(head));
        letGo();
        useBlock(head, target);
    } else {
        reserve(n, false);
        std::copy_n(s, n, m_pText);
    }
    setLength(n);
}

template <class Ch> void StringCore<Ch>::append(const Ch* s, int n)
{
    const int length = m_nLength, wanted = addLengths(length, n);
    if (!m_pBlock && wanted <= inlineUnits) {
        m_nCapacity = inlineUnits;
    } else if (wanted <= inlineUnits || wanted > m_nCapacity || !ownsBlock()) {
        const auto at = reinterpret_cast<std::uintptr_t>(s), own = reinterpret_cast<std::uintptr_t>(text());
        const bool inside = at >= own && at <= own + bytesOf<Ch>(length);
        reserve(wanted);
        if (inside) // the text may have moved
            s = text() + (at - own) / sizeof(Ch);
    }
    Ch* to = text();
    if (n <= inlineUnits)
        copyFew(to + length, s, bytesOf<Ch>(n));
    else
        std::memmove(to + length, s, bytesOf<Ch>(n));
    to[wanted] = 0;
    m_nLength = wanted;
}

// --- reading ---
template <class Ch> int StringCore<Ch>::indexOf(Ch c, int from) const noexcept
{
    if (from < 0)
        return -1;
    const std::size_t at =
        scan::unit(text(), static_cast<std::size_t>(from), static_cast<std::size_t>(m_nLength), c);
    return at == scan::none ? -1 : static_cast<int>(at);
}

template <class Ch> int StringCore<Ch>::indexOf(const Ch* s, int from) const noexcept
{
    if (from < 0 || !s || !*s)
        return -1;
    const std::size_t at =
        scan::restart(text(), static_cast<std::size_t>(from), static_cast<std::size_t>(m_nLength), s,
                      std::char_traits<Ch>::length(s));
    return at == scan::none ? -1 : static_cast<int>(at);
}

template <class Ch> int StringCore<Ch>::lastIndexOf(Ch c) const noexcept
{
    const Ch* s = text();
    int i = m_nLength - 1;
    while (i >= 0 && s[i] != c)
        --i;
    return i;
}

template <class Ch> bool StringCore<Ch>::startsWith(const Ch* prefix) const noexcept
{
    if (!prefix)
        return false;
    if (!*prefix)
        return Traits::emptyPrefix;
    const Ch* s = text();
    for (int i = 0; prefix[i]; ++i)
        if (i == m_nLength || s[i] != prefix[i])
            return false;
    return true;
}

template <class Ch> bool StringCore<Ch>::clampRange(int& start, int& end) const noexcept
{
    if (end < 0 || end > m_nLength)
        end = m_nLength;
    start = std::clamp(start, 0, end);
    return end > start;
}

// --- editing ---
template <class Ch> void StringCore<Ch>::setAt(int i, Ch c)
{
    if (i < 0 || i >= m_nLength)
        return;
    unshare();
    text()[i] = c;
}

template <class Ch> int StringCore<Ch>::trim(const Ch* set, int flags)
{
    constexpr int leading = 1, trailing = 2, single = 4, paired = 8;
    const int length = m_nLength;
    if (length == 0)
        return 0;
    if (!set)
        set = Traits::blanks;
    const CharSet<Ch> strip(set);
    const Ch* s = text();
    int first = 0, last = length - 1;
    if (!(flags & single)) {
        if (flags & leading)
            while (first < length && strip.has(s[first]))
                ++first;
        if (flags & trailing)
            while (last >= first && strip.has(s[last]))
                --last;
    } else if ((flags & leading) && strip.has(s[0])) {
        const Ch* opening = std::char_traits<Ch>::find(set, std::char_traits<Ch>::length(set), s[0]);
        if (!(flags & trailing))
            first = 1;
        else if (s[last] == opening[flags & paired ? 1 : 0]) {
            first = 1;
            --last;
        }
    } else if (strip.has(s[last])) {
        // Kept: without a leading delimiter the last one goes, asked for or not.
        --last;
    }
    if (first <= last)
        cutTo(first, last + 1 - first);
    else
        reset();
    return length - m_nLength;
}

// The text becomes n > 0 units of itself, in a block of its own.
template <class Ch> void StringCore<Ch>::cutTo(int start, int n)
{
    if (n == m_nLength && (!m_pBlock || ownsBlock()))
        return;
    const int target = grown(0, n);
    // A block that is not much too large stays.
    if (n > inlineUnits && ownsBlock() && headOf(m_pBlock)->room >= target &&
        headOf(m_pBlock)->room / 2 <= n) {
        std::memmove(m_pText, m_pText + start, bytesOf<Ch>(n));
        m_nCapacity = target;
        setLength(n);
        return;
    }
    assign(text() + start, n);
}

template <class Ch> int StringCore<Ch>::remove(const Ch* set)
{
    if (!set || !*set)
        return 0;
    // Kept: a zero unit counts as in every set, as the C library's search for it finds the terminator.
    const CharSet<Ch> drop(set, true);
    unshare();
    const int length = m_nLength;
    Ch* s = text();
    setLength(static_cast<int>(std::remove_if(s, s + length, [&](Ch c) { return drop.has(c); }) - s));
    return length - m_nLength;
}

template <class Ch> int StringCore<Ch>::exchange(const Ch* set, Ch c)
{
    if (!set || !*set)
        return 0;
    const CharSet<Ch> drop(set, true); // Kept: as in remove()
    unshare();
    int replaced = 0;
    Ch* s = text();
    for (int i = 0; i < m_nLength; ++i) {
        if (drop.has(s[i])) {
            s[i] = c;
            ++replaced;
        }
    }
    return replaced;
}

template <class Ch> int StringCore<Ch>::expand(int n, Ch c)
{
    if (n < 0)
        return m_nLength;
    reserve(n);
    if (n > m_nLength) {
        std::fill_n(text() + m_nLength, n - m_nLength, c);
        setLength(n);
    }
    return m_nLength;
}

template <class Ch> int StringCore<Ch>::truncate(int start, int count)
{
    if (start < 0)
        return m_nLength;
    if (start >= m_nLength) {
        reset();
        return 0;
    }
    // Kept: a count of the length or more changes nothing, also with start above 0.
    if (count >= m_nLength)
        return m_nLength;
    unshare();
    if (count < 0 || count > m_nLength - start)
        count = m_nLength - start;
    if (start)
        std::memmove(text(), text() + start, bytesOf<Ch>(count));
    setLength(count);
    return count;
}

template <class Ch> int StringCore<Ch>::setGrowth(int step) noexcept
{
    if (step < 0)
        return static_cast<int>(ztree::errInvalidArg);
    m_nGrowth = step;
    return 0;
}

template <class Ch> int StringCore<Ch>::upper()
{
    if (m_nLength) {
        unshare();
        Traits::upper(text(), m_nLength);
    }
    return m_nLength;
}
template <class Ch> int StringCore<Ch>::lower()
{
    if (m_nLength) {
        unshare();
        Traits::lower(text(), m_nLength);
    }
    return m_nLength;
}

template class StringCore<char>;
template class StringCore<zwchar>;
