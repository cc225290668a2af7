#include "containers/array_core.h"

#include <cstring>
#include <limits>
#include <utility>

namespace {
constexpr int mostEntries = std::numeric_limits<int>::max();
constexpr int fewEntries = 64; // moved as fast as two sides are weighed

std::size_t bytes(int entries) noexcept
{
    return static_cast<std::size_t>(entries) * sizeof(const void*);
}
} // namespace

void ArrayCore::swap(ArrayCore& other) noexcept
{
    std::swap(m_entries, other.m_entries);
    std::swap(m_growth, other.m_growth);
    std::swap(m_capacity, other.m_capacity);
    std::swap(m_used, other.m_used);
    const int count = m_count;
    m_count = int(other.m_count);
    other.m_count = count;
}

void ArrayCore::release() noexcept
{
    if (m_entries)
        platform::heapFree(reinterpret_cast<const void**>(head()) - front());
}

// The number of free slots in front of the head; it is kept in the last of them.
int ArrayCore::front() const noexcept
{
    if (!m_entries || !(head()->slots & frontBit))
        return 0;
    return *(reinterpret_cast<const int*>(head()) - 1);
}

void ArrayCore::placeHead(Head at, int front) noexcept
{
    at.slots &= ~frontBit;
    if (front > 0) {
        at.slots |= frontBit;
        *(reinterpret_cast<int*>(head()) - 1) = front;
    }
    *head() = at;
}

// Moves the entries to the start of the block.
void ArrayCore::dropFront() noexcept
{
    const int free = front();
    if (free == 0)
        return;
    Head at = *head();
    at.slots += static_cast<std::uint32_t>(free);
    std::memmove(m_entries - free, m_entries, bytes(m_used));
    m_entries -= free;
    placeHead(at, 0);
}

// Makes free slots, so many that moving all entries is paid for by what they serve.
bool ArrayCore::makeSlack() noexcept
{
    const int count = m_count;
    return slots() + front() - m_capacity >= count / 8 ||
           (m_capacity <= mostEntries - count / 2 && reallocate(m_capacity + count / 2));
}

// Makes free slots in front.
bool ArrayCore::makeFront() noexcept
{
    if (front() > 0)
        return true;
    if (!makeSlack())
        return false;
    const int free = (slots() - m_capacity) / 2;
    Head at = *head();
    at.slots -= static_cast<std::uint32_t>(free);
    std::memmove(m_entries + free, m_entries, bytes(m_used));
    m_entries += free;
    placeHead(at, free);
    return true;
}

// A block of n >= 1 slots; the entries that fit move along.
bool ArrayCore::reallocate(int n) noexcept
{
    const std::size_t most =
        (static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max()) - sizeof(Head)) / sizeof(void*);
    if (static_cast<std::size_t>(n) > most)
        return false;
    dropFront();
    void* block = platform::heapResize(m_entries ? head() : nullptr, sizeof(Head) + bytes(n));
    if (!block)
        return false;
    Head* const at = static_cast<Head*>(block);
    if (!m_entries)
        at->ordered = 0;
    at->slots = static_cast<std::uint32_t>(n);
    m_entries = reinterpret_cast<const void**>(at + 1);
    return true;
}

bool ArrayCore::growTo(int n) noexcept
{
    if (n <= m_capacity)
        return true;
    if (n > slots())
        dropFront();
    const int have = slots();
    if (n > have && !reallocate(std::max(n, have < mostEntries / 2 ? have + have / 2 : n)))
        return false;
    m_capacity = n;
    m_used = m_count;
    return true;
}

bool ArrayCore::growByStep() noexcept
{
    return m_growth <= mostEntries - m_capacity && growTo(m_capacity + m_growth);
}

bool ArrayCore::resize(int n) noexcept
{
    if (n == m_capacity)
        return true;
    if (n == 0) {
        release();
        m_entries = nullptr;
        m_count = m_used = m_capacity = 0;
        return true;
    }
    if ((n < m_capacity || n > slots()) && !reallocate(n))
        return false;
    m_capacity = n;
    m_count = std::min(int(m_count), n);
    m_used = m_count;
    setOrdered(std::min(ordered(), n));
    return true;
}

bool ArrayCore::compact() noexcept
{
    if (m_count < m_capacity)
        return resize(m_count);
    // A full array keeps its capacity; if the block cannot shrink to it, it merely stays larger.
    return slots() + front() == m_capacity || reallocate(m_capacity) || true;
}

bool ArrayCore::assign(const ArrayCore& other) noexcept
{
    if (this == &other)
        return true;
    const int n = other.m_capacity;
    if (n == 0) {
        m_growth = other.m_growth;
        return resize(0);
    }
    if (slots() >= n && slots() / 2 <= n) {
        copyAll(other);
        return true;
    }
    ArrayCore fresh;
    if (!fresh.reallocate(n))
        return false;
    fresh.copyAll(other);
    swap(fresh);
    return true;
}

// The block has other.m_capacity slots or more.
void ArrayCore::copyAll(const ArrayCore& other) noexcept
{
    std::copy_n(other.m_entries, other.m_used, m_entries);
    m_growth = other.m_growth;
    m_capacity = other.m_capacity;
    m_count = int(other.m_count);
    m_used = other.m_used;
    setOrdered(other.ordered());
    forgetTail();
}

int ArrayCore::setGrowth(int n) noexcept
{
    const int previous = m_growth;
    if (n > 0)
        m_growth = n;
    return previous;
}

bool ArrayCore::setAt(int i, const void* p) noexcept
{
    if (i >= m_capacity && (i > mostEntries - m_growth || !growTo(i + m_growth)))
        return false;
    if (i >= m_count) {
        if (i > m_used) // what lies behind m_used was never written
            std::fill(m_entries + m_used, m_entries + i, nullptr);
        m_used = std::max(m_used, i + 1);
        m_count = i + 1;
    }
    m_entries[i] = p;
    if (ordered() > i)
        setOrdered(i);
    return true;
}

bool ArrayCore::insertAt(int i, const void* p) noexcept
{
    const int count = m_count;
    if (count >= m_capacity && !growByStep())
        return false;
    if (count >= fewEntries && i < count / 2 && m_used == count && makeFront()) {
        Head at = *head();
        ++at.slots;
        const int free = front() - 1;
        std::memmove(m_entries - 1, m_entries, bytes(i)); // over the head
        --m_entries;
        placeHead(at, free);
    } else {
        std::memmove(m_entries + i + 1, m_entries + i, bytes(count - i));
    }
    m_entries[i] = p;
    m_used = std::max(m_used, count + 1);
    m_count = count + 1;
    if (ordered() > i)
        setOrdered(i);
    return true;
}

// Removes entry i by moving those before it. The slots behind the end get what moving the others would leave
// there: false when that is not the last entry in each of them.
bool ArrayCore::removeByFront(int i) noexcept
{
    const int count = m_count;
    const void* const last = m_entries[count - 1];
    if (m_used > count &&
        !(head()->ordered & tailBit && m_entries[count] == last && m_entries[m_used - 1] == last))
        return false;
    if (slots() == m_capacity) {
        if (!makeSlack())
            return false;
        dropFront();
    }
    Head at = *head();
    --at.slots;
    at.ordered |= tailBit;
    const int free = front() + 1;
    std::memmove(m_entries + 1, m_entries, bytes(i));
    ++m_entries;
    placeHead(at, free);
    m_entries[m_used - 1] = last;
    return true;
}

const void* ArrayCore::removeAt(int i) noexcept
{
    const int count = m_count;
    if (i < 0 || i >= count)
        return nullptr;
    const void* p = m_entries[i];
    // Kept: the slot behind the new end keeps its value, which a setAt() further on brings back to callers.
    if (count < fewEntries || i >= count / 2 || !removeByFront(i)) {
        std::memmove(m_entries + i, m_entries + i + 1, bytes(count - i - 1));
        forgetTail();
    }
    m_count = count - 1;
    if (ordered() > i)
        setOrdered(ordered() - 1);
    return p;
}

void ArrayCore::removeAll() noexcept
{
    if (m_used == m_count)
        m_used = 0;
    else // slots behind the end keep what remove() left there
        std::fill_n(m_entries, int(m_count), nullptr);
    m_count = 0;
    setOrdered(0);
    forgetTail();
}

int ArrayCore::find(const void* p) const noexcept
{
    const int count = m_count;
    const void* const* e = m_entries;
    int i = 0;
    for (; i + 4 <= count; i += 4) {
        if ((e[i] == p) | (e[i + 1] == p) | (e[i + 2] == p) | (e[i + 3] == p))
            break;
    }
    for (; i < count; ++i) {
        if (e[i] == p)
            return i;
    }
    return -1;
}
