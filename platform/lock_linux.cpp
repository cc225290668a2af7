// A recursive lock of 16 bytes on a futex.
//
// The holder's thread pointer is the lock itself (m_owner). m_word counts the threads that announced
// themselves as sleepers, and sleepers sleep on m_word.
//
// No wake-up is lost. A leaver L does
//     L1  m_owner = 0                 a plain store
//     L2  read m_word                 announced and not `woken`: set `woken`, wake one
// and a sleeper S, in a loop,
//     S1  m_word: count itself (once), clear `woken`; the result is w
//     S2  a barrier on every thread of the process (membarrier)
//     S3  m_owner is free: try to take it
//     S4  sleep if m_word is still w   compared and queued in one step by the kernel
// Each thread passes a full barrier B somewhere during S2. If L2 comes after B, L sees what S1 wrote.
// Otherwise L1 comes before B too, so S3 sees the lock free, or taken by a later holder whose leave
// is in the same two cases. So when S reaches S4 and finds the lock held, the leave that ends this hold
// will see S announced, and either
//   - it finds `woken` clear, sets it (m_word changes: S does not fall asleep any more if it was not
//     queued) and wakes one of the queue; or
//   - it finds `woken` set. Somebody set it after S1 cleared it, so again either S finds m_word
//     changed and goes round, or S was queued before the bit was set and the wake that follows the
//     setting takes one thread from a queue that holds S.
// A woken thread clears `woken` (S1) before it tries for the lock. If it gets it, its own leave serves the
// next sleeper, being counted still; if not, it sleeps after the same steps, so the holder's leave
// serves the queue. Thus as long as anybody sleeps there is a holder that will wake one, a leaver about
// to make the call that wakes one, or a thread on its way from being woken.
//
// Where the kernel refuses membarrier, every lock is made `fenced`: L1 is then a sequentially consistent
// exchange, S1 and S3 are so too, and their total order gives the same two cases. Where it refuses later
// (a filter installed at run time), sleepers look again every millisecond.

#include "platform/hooks.h"
#include "platform/lock.h"

#include <linux/futex.h>
#include <linux/membarrier.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>

namespace platform {

static_assert(sizeof(Lock) == 16 && std::atomic<std::uintptr_t>::is_always_lock_free, "a lock is two words");

namespace {

// Held sections are a few dozen instructions long. A holder that does not leave within some
// microseconds is not running, and burning on keeps it from running.
constexpr unsigned mostRounds = 40;
constexpr unsigned mostPauses = 16;

enum class Barrier : int { unknown, registered, refused };
std::atomic<Barrier> s_barrier{Barrier::unknown};

bool registerBarrier() noexcept
{
    return syscall(SYS_membarrier, MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED, 0, 0) == 0;
}

bool barrierOnAllThreads() noexcept
{
    if (syscall(SYS_membarrier, MEMBARRIER_CMD_PRIVATE_EXPEDITED, 0, 0) == 0)
        return true;
    return registerBarrier() && syscall(SYS_membarrier, MEMBARRIER_CMD_PRIVATE_EXPEDITED, 0, 0) == 0;
}

std::uint32_t* futexWord(std::atomic<std::uint32_t>& word) noexcept
{
    static_assert(sizeof(word) == sizeof(std::uint32_t), "the futex is the atomic itself");
    return reinterpret_cast<std::uint32_t*>(&word);
}

void pauses(unsigned n) noexcept
{
    for (; n > 0; --n) {
#if defined(__x86_64__) || defined(__i386__)
        __builtin_ia32_pause();
#else
        std::atomic_signal_fence(std::memory_order_seq_cst);
#endif
    }
}

} // namespace

bool Lock::init(zulong spins) noexcept
{
    if (hook::fails(Site::lock))
        return false;
    Barrier barrier = s_barrier.load(std::memory_order_relaxed);
    if (barrier == Barrier::unknown) { // two threads may both ask: the answer is the same
        barrier = registerBarrier() ? Barrier::registered : Barrier::refused;
        s_barrier.store(barrier, std::memory_order_relaxed);
    }
    const std::uint32_t rounds = std::min<std::uint32_t>(spins, 255);
    m_word.store(rounds << spinShift | (barrier == Barrier::refused ? fenced : 0U),
                 std::memory_order_relaxed);
    return true;
}

void Lock::enterSlow(std::uintptr_t self) noexcept
{
    const std::uint32_t start = m_word.load(std::memory_order_relaxed);
    const unsigned rounds = std::min(start >> spinShift, mostRounds);
    unsigned length = 1;
    for (unsigned round = 0; round < rounds; ++round) {
        pauses(length);
        length = std::min(length * 2, mostPauses);
        std::uintptr_t free = m_owner.load(std::memory_order_relaxed);
        if (free == 0 &&
            m_owner.compare_exchange_strong(free, self, std::memory_order_acquire, std::memory_order_relaxed))
            return;
    }

    m_word.fetch_add(announced, std::memory_order_seq_cst);
    for (;;) {
        const std::uint32_t word = m_word.fetch_and(~woken, std::memory_order_seq_cst) & ~woken;
        const bool ordered = (word & fenced) || barrierOnAllThreads();
        std::uintptr_t free = 0;
        if (m_owner.compare_exchange_strong(free, self, std::memory_order_seq_cst, std::memory_order_seq_cst))
            break;
        const timespec millisecond = {0, 1000000};
        syscall(SYS_futex, futexWord(m_word), FUTEX_WAIT_PRIVATE, word, ordered ? nullptr : &millisecond,
                nullptr, 0);
    }
    m_word.fetch_sub(announced, std::memory_order_relaxed);
}

void Lock::wakeOne(std::uint32_t word) noexcept
{
    do {
        if (!(word & announcedMask) || (word & woken))
            return;
    } while (!m_word.compare_exchange_weak(word, word | woken, std::memory_order_seq_cst));
    syscall(SYS_futex, futexWord(m_word), FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
}

} // namespace platform
