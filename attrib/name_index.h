#pragma once
// Finds the first of many named entries by the hash of its name. Kept beside an ordered list of entries,
// which stays the only truth: a hash only says where to look.

#include "attrib/name_hash.h"
#include "platform/heap.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <thread>

namespace ztree_impl {

/// Hash chains over the entries 0 to n - 1 of a list, each chain in list order. Whoever changes the name
/// of an entry that stands in the chains calls rename(), whoever changes the order of the list forget();
/// appending needs nothing, taking the last one out dropLast().
///
/// Threads: find() of a list that nobody changes may run in several threads. The chains are brought up to
/// date under one library-wide lock; a thread that sees them complete reads them without a lock.
class NameIndex : public platform::HeapObject {
public:
    NameIndex() noexcept = default;
    NameIndex(const NameIndex&) = delete;
    NameIndex& operator=(const NameIndex&) = delete;
    ~NameIndex()
    {
        platform::heapFree(m_buckets);
        platform::heapFree(m_next);
    }

    /// The first entry i of [0, count) for which matches(i), or -1. Only entries with hashOf(i) == hash can
    /// match; add(i, hash&) gives the hash of an entry that enters the chains, or false when it must not
    /// (then all lookups scan until forget()). Chains are built once scanning has cost as much as building
    /// them, so that removals between lookups do not rebuild them each time.
    template <class Add, class Matches>
    int find(int count, std::uint32_t hash, Add add, Matches matches) noexcept
    {
        if (count == 0) // nothing covered looks like all covered
            return -1;
        if (isCurrent(count) || (isWorthIt(count) && update(count, add))) {
            for (int i = m_buckets[hash & m_mask].first; i >= 0; i = m_next[i])
                if (matches(i))
                    return i;
            return -1;
        }
        int i = 0;
        while (i < count && !matches(i))
            ++i;
        m_scanned.fetch_add(i, std::memory_order_relaxed);
        return i < count ? i : -1;
    }
    static constexpr int unknown = -2;
    /// find() for entries whose hashes may change without forget(): `changes` counts such changes, wherever
    /// they happen, and chains are good for the count that they were begun at. Where there are none for it,
    /// `unknown` until scanning, of which wasScanned() tells, has cost as much as building them again; other
    /// threads may be looking for entries meanwhile, and get `unknown`.
    template <class Add, class Matches>
    int findAsOf(std::uint32_t changes, int count, std::uint32_t hash, Add add, Matches matches) noexcept
    {
        const int covered = m_covered.load(std::memory_order_acquire);
        if (covered != count || !isAsOf(changes)) {
            const bool goesOn = covered > 0 && isAsOf(changes);
            if (covered < 0 || (!goesOn && m_scanned.load(std::memory_order_relaxed) < count) ||
                !renew(changes, count, add))
                return unknown;
        }
        const std::uint32_t version = m_version.load(std::memory_order_acquire);
        int i = get(m_buckets[hash & m_mask].first);
        for (int left = count; i >= 0 && left > 0 && !matches(i); --left)
            i = get(m_next[i]);
        return version % 2 == 0 && m_version.load(std::memory_order_relaxed) == version ? i : unknown;
    }
    void wasScanned(int entries) noexcept { m_scanned.fetch_add(entries, std::memory_order_relaxed); }
    bool isAsOf(std::uint32_t changes) const noexcept
    {
        return m_asOf.load(std::memory_order_acquire) == changes;
    }
    /// The chains are stale, but the entries that a scan finds are as many as before.
    void outdate() noexcept
    {
        if (hasChains())
            m_covered.store(0, std::memory_order_relaxed);
    }
    /// The entry i with is(i), which had the hash `from`, has `to`.
    template <class Is> void rename(std::uint32_t from, std::uint32_t to, Is is) noexcept
    {
        const int covered = m_covered.load(std::memory_order_relaxed);
        if (covered == 0)
            return;
        int left = covered > 0 ? mostSteps : 0;
        int i = left ? m_buckets[from & m_mask].first : -1;
        int last = left ? m_buckets[from & m_mask].last : -1;
        for (; i >= 0 && left > 0 && !is(i); i = m_next[i], last = m_previous[last], --left)
            if (is(last)) {
                i = last;
                break;
            }
        if (left == 0 || (i >= 0 && !move(i, m_buckets[from & m_mask], m_buckets[to & m_mask])))
            forget();
    }
    /// The last of `count` entries, which has that hash, is about to go.
    void dropLast(int count, std::uint32_t hash) noexcept
    {
        const int last = count - 1;
        const int covered = m_covered.load(std::memory_order_relaxed);
        if (covered >= 0 && covered <= last)
            return;
        Bucket* const bucket = covered == count ? &m_buckets[hash & m_mask] : nullptr;
        if (last == 0 || !bucket || bucket->last != last) {
            forget();
            return;
        }
        bucket->last = m_previous[last];
        if (bucket->last < 0)
            bucket->first = -1;
        else
            m_next[bucket->last] = -1;
        m_covered.store(last, std::memory_order_relaxed);
    }
    /// Whether the chains hold entries.
    bool hasChains() const noexcept { return m_covered.load(std::memory_order_acquire) > 0; }
    void forget() noexcept
    {
        m_covered.store(0, std::memory_order_relaxed);
        m_scanned.store(0, std::memory_order_relaxed);
    }

private:
    struct Bucket {
        std::int32_t first;
        std::int32_t last;
    };
    static constexpr int refused = -1;
    // Along a chain whose entries have one name, from either end; then all is built anew.
    static constexpr int mostSteps = 32;

    bool isCurrent(int count) const noexcept { return m_covered.load(std::memory_order_acquire) == count; }
    bool isWorthIt(int count) const noexcept
    {
        const int covered = m_covered.load(std::memory_order_relaxed);
        return covered > 0 || (covered == 0 && m_scanned.load(std::memory_order_relaxed) >= count);
    }
    template <class Add> bool update(int count, Add add) noexcept
    {
        while (s_busy.test_and_set(std::memory_order_acquire))
            std::this_thread::yield();
        const bool current = isCurrent(count) || cover(count, add);
        s_busy.clear(std::memory_order_release);
        return current;
    }
    void link(Bucket& bucket, int before, int behind) noexcept
    {
        (before < 0 ? bucket.first : m_next[before]) = behind;
        (behind < 0 ? bucket.last : m_previous[behind]) = before;
    }
    bool move(int i, Bucket& from, Bucket& to) noexcept
    {
        link(from, m_previous[i], m_next[i]);
        int before = to.first > i ? -1 : to.last;
        for (int left = mostSteps; before > i; before = m_previous[before])
            if (--left == 0)
                return false;
        m_previous[i] = before;
        m_next[i] = before < 0 ? to.first : m_next[before];
        link(to, i, m_next[i]);
        link(to, before, i);
        return true;
    }
    template <class Add> bool renew(std::uint32_t changes, int count, Add add) noexcept
    {
        while (s_busy.test_and_set(std::memory_order_acquire))
            std::this_thread::yield();
        bool current = isCurrent(count) && static_cast<std::int32_t>(m_asOf - changes) >= 0;
        if (!current) {
            m_version.fetch_add(1, std::memory_order_relaxed); // odd: whoever looks meanwhile finds nothing
            if (!isAsOf(changes))
                m_covered.store(std::min(m_covered.load(std::memory_order_relaxed), 0),
                                std::memory_order_relaxed);
            current = cover(count, add);
            m_scanned.store(0, std::memory_order_relaxed);
            m_asOf.store(changes, std::memory_order_release);
            m_version.fetch_add(1, std::memory_order_release);
        }
        s_busy.clear(std::memory_order_release);
        return current;
    }
    // What a thread may read while another one builds the chains again: between both readings of m_version,
    // and written behind its odd value.
    static std::int32_t get(const std::int32_t& link) noexcept
    {
        return __atomic_load_n(&link, __ATOMIC_ACQUIRE);
    }
    static void put(std::int32_t& link, std::int32_t value) noexcept
    {
        __atomic_store_n(&link, value, __ATOMIC_RELEASE);
    }
    template <class Add> bool cover(int count, Add add) noexcept
    {
        int done = m_covered.load(std::memory_order_relaxed);
        if (done < 0)
            return false;
        if (count > m_room) {
            done = 0;
            m_covered.store(refused, std::memory_order_relaxed);
            if (!makeRoom(count))
                return false;
        }
        for (std::size_t i = 0; done == 0 && i <= m_mask; ++i) {
            put(m_buckets[i].first, -1);
            m_buckets[i].last = -1;
        }
        for (int i = done; i < count; ++i) {
            std::uint32_t hash = 0;
            if (!add(i, hash)) {
                m_covered.store(refused, std::memory_order_relaxed);
                return false;
            }
            Bucket& bucket = m_buckets[hash & m_mask];
            put(m_next[i], -1);
            m_previous[i] = bucket.last;
            put(bucket.last < 0 ? bucket.first : m_next[bucket.last], i);
            bucket.last = i;
        }
        m_covered.store(count, std::memory_order_release);
        return true;
    }
    [[gnu::noinline]] bool makeRoom(int count) noexcept // seldom, beside lookups that should be small
    {
        std::size_t buckets = 64;
        while (buckets < static_cast<std::size_t>(count) * 2)
            buckets *= 2;
        Bucket* freshBuckets = platform::allocArray<Bucket>(buckets);
        std::int32_t* freshNext = platform::allocArray<std::int32_t>(buckets * 2);
        if (!freshBuckets || !freshNext) {
            platform::heapFree(freshBuckets);
            platform::heapFree(freshNext);
            return false;
        }
        platform::heapFree(m_buckets);
        platform::heapFree(m_next);
        m_buckets = freshBuckets;
        m_next = freshNext;
        m_previous = freshNext + buckets;
        m_mask = static_cast<std::uint32_t>(buckets - 1);
        m_room = static_cast<int>(std::min<std::size_t>(buckets, INT32_MAX));
        return true;
    }
    static inline std::atomic_flag s_busy = ATOMIC_FLAG_INIT;

    Bucket* m_buckets = nullptr;
    std::int32_t* m_next = nullptr;     // in the chain, -1 at its end
    std::int32_t* m_previous = nullptr; // in the same block
    std::uint32_t m_mask = 0;
    int m_room = 0;
    std::atomic<int> m_covered{0}; // entries in the chains, or refused
    std::atomic<std::int64_t> m_scanned{0};
    std::atomic<std::uint32_t> m_asOf{0};    // the changes when the chains were begun
    std::atomic<std::uint32_t> m_version{0}; // odd while renew() writes
};

} // namespace ztree_impl
