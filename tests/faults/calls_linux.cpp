// The program's own functions stand before the C library's, so the shared library calls these.

#include "faults/calls.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace faults {

namespace {

struct State {
    bool active = false;
    long calls = 0, nth = 0, failed = 0;
    bool onward = false;
    SystemCalls::How how = SystemCalls::How::fail;
    int error = 0;
    bool terminal = false;
} s_state;

enum Kind { plain = 0, interruptible = 1, movesBytes = 2 };

bool isHit(int kind)
{
    State& s = s_state;
    using How = SystemCalls::How;
    if (!s.active || (s.how == How::interrupt && !(kind & interruptible)) ||
        (s.how == How::part && !(kind & movesBytes)))
        return false;
    ++s.calls;
    if (s.onward ? s.calls < s.nth : s.calls != s.nth)
        return false;
    ++s.failed;
    errno = s.how == How::interrupt ? EINTR : s.error;
    return true;
}

template <class F> F* next(F*, const char* name)
{
    return reinterpret_cast<F*>(dlsym(RTLD_NEXT, name));
}

// Of a call that fails nothing is done.
template <class F, class... Args> int call(F* self, const char* name, int kind, Args... args)
{
    return isHit(kind) ? -1 : next(self, name)(args...);
}

template <class F, class Buffer> ssize_t transfer(F* self, const char* name, int fd, Buffer* data, size_t n)
{
    if (!isHit(interruptible | movesBytes))
        return next(self, name)(fd, data, n);
    return s_state.how == SystemCalls::How::part ? next(self, name)(fd, data, n > 1 ? n / 2 : n) : -1;
}

} // namespace

bool SystemCalls::available()
{
    return true;
}

void SystemCalls::failAt(long nth, bool onward, How how, int error)
{
    const bool terminal = s_state.terminal;
    s_state = State();
    s_state.terminal = terminal;
    s_state.nth = nth;
    s_state.onward = onward;
    s_state.how = how;
    s_state.error = error;
    s_state.active = true;
}

long SystemCalls::stop()
{
    s_state.active = false;
    return s_state.failed;
}

namespace {
bool s_before = false;
} // namespace
SystemCalls::Pause::Pause()
{
    s_before = s_state.active;
    s_state.active = false;
}
SystemCalls::Pause::~Pause()
{
    s_state.active = s_before;
}

void SystemCalls::pretendTerminal(bool on)
{
    s_state.terminal = on;
}

} // namespace faults

using namespace faults;

extern "C" {

int open(const char* path, int flags, ...)
{
    va_list args;
    va_start(args, flags);
    const auto mode = flags & O_CREAT ? va_arg(args, unsigned) : 0u;
    va_end(args);
    return isHit(interruptible) ? -1 : next(&open, "open")(path, flags, mode);
}
ssize_t read(int fd, void* data, size_t n)
{
    return transfer(&read, "read", fd, data, n);
}
ssize_t write(int fd, const void* data, size_t n)
{
    if (s_state.terminal && fd == STDERR_FILENO)
        return static_cast<ssize_t>(n);
    return transfer(&write, "write", fd, data, n);
}
int close(int fd) // is done in any case
{
    const bool hit = isHit(interruptible);
    const int error = errno;
    const int result = next(&close, "close")(fd);
    if (hit)
        errno = error;
    return hit ? -1 : result;
}
off_t lseek(int fd, off_t offset, int from) noexcept
{
    return isHit(plain) ? -1 : next(&lseek, "lseek")(fd, offset, from);
}
int fdatasync(int) // nothing of it is to survive
{
    return isHit(plain) ? -1 : 0;
}
int flock(int fd, int how) noexcept
{
    return call(&flock, "flock", interruptible, fd, how);
}
int fstat(int fd, struct stat* s) noexcept
{
    return call(&fstat, "fstat", plain, fd, s);
}
int stat(const char* path, struct stat* s) noexcept
{
    return isHit(plain)
               ? -1
               : reinterpret_cast<int (*)(const char*, struct stat*)>(dlsym(RTLD_NEXT, "stat"))(path, s);
}
int lstat(const char* path, struct stat* s) noexcept
{
    return call(&lstat, "lstat", plain, path, s);
}
int unlink(const char* path) noexcept
{
    return call(&unlink, "unlink", plain, path);
}
int truncate(const char* path, off_t n) noexcept
{
    return call(&truncate, "truncate", plain, path, n);
}
int link(const char* from, const char* to) noexcept
{
    return call(&link, "link", plain, from, to);
}
int rename(const char* from, const char* to) noexcept
{
    return call(&rename, "rename", plain, from, to);
}
int renameat2(int at, const char* from, int toAt, const char* to, unsigned flags) noexcept
{
    return call(&renameat2, "renameat2", plain, at, from, toAt, to, flags);
}
int mkdir(const char* path, mode_t mode) noexcept
{
    return call(&mkdir, "mkdir", plain, path, mode);
}
int chmod(const char* path, mode_t mode) noexcept
{
    return call(&chmod, "chmod", plain, path, mode);
}
int isatty(int fd) noexcept
{
    return s_state.terminal && fd == STDERR_FILENO ? 1 : next(&isatty, "isatty")(fd);
}

} // extern "C"
