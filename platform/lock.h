#pragma once
// All that the library knows about locks.

#include "platform/single_thread.h"

#include <ztree/types.h>

#include <atomic>

namespace platform {

/// Recursive lock that spins up to a bound before it sleeps. On Linux 16 bytes: a free lock owns
/// nothing of the system and entering it costs an owner test and one locked instruction, leaving it
/// none. On Windows it is a critical section.
///
/// No thread may still be inside leave() when the lock's memory goes: whoever destroys it waits for
/// the other threads' calls to return.
class Lock {
public:
    Lock() noexcept = default;
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    /// Makes the lock usable; false when the system refuses. spins bounds the rounds of busy waiting.
    /// Called once, before the first enter().
    bool init(zulong spins) noexcept;
#if defined(_WIN32)
    ~Lock();
    void enter() noexcept;
    bool tryEnter() noexcept;
    void leave() noexcept;

private:
    alignas(void*) unsigned char m_native[sizeof(void*) == 8 ? 40 : 24] = {}; // the system's own object
    bool m_ready = false;
#else
    void enter() noexcept
    {
        const std::uintptr_t self = reinterpret_cast<std::uintptr_t>(__builtin_thread_pointer());
        std::uintptr_t free = m_owner.load(std::memory_order_relaxed);
        // Nobody else ever stores this value.
        if (__builtin_expect(free == self, false)) {
            ++m_depth;
            return;
        }
        if (free == 0 && isSingleThreaded()) {
            m_owner.store(self, std::memory_order_relaxed);
            return;
        }
        free = 0;
        if (!m_owner.compare_exchange_strong(free, self, std::memory_order_acquire,
                                             std::memory_order_relaxed))
            enterSlow(self);
    }
    /// enter() unless another thread is inside; takes no time and waits for nobody.
    bool tryEnter() noexcept
    {
        const std::uintptr_t self = reinterpret_cast<std::uintptr_t>(__builtin_thread_pointer());
        std::uintptr_t owner = 0;
        if (m_owner.compare_exchange_strong(owner, self, std::memory_order_acquire,
                                            std::memory_order_relaxed))
            return true;
        if (owner != self)
            return false;
        ++m_depth;
        return true;
    }
    void leave() noexcept
    {
        if (__builtin_expect(m_depth != 0, false)) {
            --m_depth;
            return;
        }
        // The store must be seen before the load is made, or a sleeper could be missed; lock_linux.cpp
        // says how that holds without a locked instruction here.
        if (__builtin_expect(m_word.load(std::memory_order_relaxed) & fenced, false))
            m_owner.exchange(0, std::memory_order_seq_cst);
        else
            m_owner.store(0, std::memory_order_release);
        std::atomic_signal_fence(std::memory_order_seq_cst);
        const std::uint32_t word = m_word.load(std::memory_order_seq_cst);
        if (__builtin_expect((word & announcedMask) != 0, false) && !(word & woken))
            wakeOne(word);
    }

private:
    // m_word: who waits, and the lock's constants; it is the word that sleepers sleep on.
    static constexpr std::uint32_t woken = 1;     ///< a wake is under way; leaving need not make another
    static constexpr std::uint32_t fenced = 2;    ///< leave() has to order its store itself
    static constexpr std::uint32_t announced = 4; ///< counts threads that sleep or are about to
    static constexpr std::uint32_t announcedMask = 0x00FFFFFC;
    static constexpr unsigned spinShift = 24; ///< rounds of spinning, 0 to 255

    void enterSlow(std::uintptr_t self) noexcept;
    void wakeOne(std::uint32_t word) noexcept;

    std::atomic<std::uintptr_t> m_owner{0}; // thread pointer of the holder, 0 while free
    std::atomic<std::uint32_t> m_word{0};
    std::uint32_t m_depth = 0; // re-entries of the holder, touched by it alone
#endif
};

/// Holds a lock for a scope.
class LockHold {
public:
    explicit LockHold(Lock& lock) noexcept : m_lock(lock) { m_lock.enter(); }
    ~LockHold() { m_lock.leave(); }
    LockHold(const LockHold&) = delete;
    LockHold& operator=(const LockHold&) = delete;

private:
    Lock& m_lock;
};

} // namespace platform
