#include "platform/thread.h"

#include "platform/clock.h"

#include <cerrno>
#include <ctime>
#include <pthread.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace platform {

namespace {

// Remembered: log lines ask for it, and the system call costs more than the rest of their header.
thread_local std::uint32_t t_id __attribute__((tls_model("initial-exec"))) = 0;

void forget()
{
    t_id = 0;
}

// The one thread of a forked process has a new number. Registered at load time: a fault handler may be
// the first to ask, and must not take locks.
[[maybe_unused]] const int s_registered = pthread_atfork(nullptr, nullptr, &forget);

} // namespace

std::uint32_t threadId() noexcept
{
    if (clockhook::fake.thread)
        return clockhook::fake.id;
    if (t_id == 0)
        t_id = static_cast<std::uint32_t>(syscall(SYS_gettid));
    return t_id;
}

void sleepFor(unsigned milliseconds) noexcept
{
    if (milliseconds == 0)
        sched_yield();
    timespec left = {static_cast<time_t>(milliseconds / 1000),
                     static_cast<long>(milliseconds % 1000) * 1000000};
    while (milliseconds && nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

} // namespace platform
