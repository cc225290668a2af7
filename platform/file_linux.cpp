#include "platform/file.h"

#include "platform/syserror.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

namespace {

constexpr unsigned sysPathNotFound = 3;
constexpr unsigned sysAccessDenied = 5;

int descriptor(void* handle) noexcept
{
    return static_cast<int>(reinterpret_cast<std::intptr_t>(handle));
}

void* handleOf(int fd) noexcept
{
    return reinterpret_cast<void*>(static_cast<std::intptr_t>(fd));
}

// errno with the one distinction it does not make: a missing folder is 3, a missing file 2.
unsigned errorFor(int err, const char* path) noexcept
{
    if (err != ENOENT)
        return errorFromErrno(err);
    const char* slash = std::strrchr(path, '/');
    char folder[4096];
    if (slash && slash != path && static_cast<std::size_t>(slash - path) < sizeof folder) {
        std::memcpy(folder, path, static_cast<std::size_t>(slash - path));
        folder[slash - path] = 0;
        struct stat s;
        if (stat(folder, &s) != 0 || !S_ISDIR(s.st_mode))
            return sysPathNotFound;
    }
    return sysFileNotFound;
}

FileState stateOf(const struct stat& s) noexcept
{
    FileState state;
    state.volume = static_cast<std::uint64_t>(s.st_dev);
    state.index = static_cast<std::uint64_t>(s.st_ino);
    state.size = static_cast<std::uint64_t>(s.st_size);
    state.removed = s.st_nlink == 0;
    return state;
}

unsigned checkName(const char* path) noexcept
{
    const unsigned error = injectedFileError();
    if (error)
        return error;
    return path && *path ? 0 : sysPathNotFound;
}

// For a system or file system that cannot refuse an existing target while renaming. A hard link is
// refused by an existing name just as well.
int moveByLink(const char* from, const char* to) noexcept
{
    if (link(from, to) == 0) {
        if (unlink(from) == 0)
            return 0;
        const int err = errno;
        unlink(to);
        return err;
    }
    const int err = errno;
    struct stat s;
    if (err == EEXIST || (err != EPERM && err != EOPNOTSUPP && err != EMLINK && err != ENOSYS))
        return err;
    // No hard links either: another program could still create the target between the two calls.
    if (lstat(to, &s) == 0)
        return EEXIST;
    return rename(from, to) == 0 ? 0 : errno;
}

} // namespace

unsigned File::open(const char* path, OpenFor mode) noexcept
{
    release();
    const unsigned error = checkName(path);
    if (error)
        return error;
    const int flags = mode == OpenFor::read     ? O_RDONLY
                      : mode == OpenFor::create ? O_WRONLY | O_CREAT | O_TRUNC
                                                : O_WRONLY | O_CREAT | O_APPEND;
    int fd;
    do
        fd = ::open(path, flags | O_CLOEXEC | O_NOCTTY, 0666);
    while (fd < 0 && errno == EINTR);
    if (fd < 0)
        return errorFor(errno, path);
    struct stat s;
    if (fstat(fd, &s) == 0 && S_ISDIR(s.st_mode)) {
        ::close(fd);
        return sysAccessDenied;
    }
    m_handle = handleOf(fd);
    m_owned = true;
    return 0;
}

unsigned File::read(void* buffer, std::size_t room, std::size_t* got) noexcept
{
    *got = 0;
    const unsigned error = injectedFileError();
    if (error)
        room = Hooks::movedBytes(room);
    while (*got < room) {
        const ssize_t n = ::read(descriptor(m_handle), static_cast<char*>(buffer) + *got, room - *got);
        if (n == 0)
            break;
        if (n > 0)
            *got += static_cast<std::size_t>(n);
        else if (errno != EINTR)
            return errorFromErrno(errno);
    }
    return readError(error);
}

unsigned File::write(const void* data, std::size_t bytes) noexcept
{
    std::size_t written;
    return append(data, bytes, &written);
}

// The system appends what one call brings as one piece.
unsigned File::append(const void* data, std::size_t bytes, std::size_t* written) noexcept
{
    const unsigned error = injectedFileError();
    const unsigned writing = appendNow(data, error ? Hooks::movedBytes(bytes) : bytes, written);
    return error ? error : writing;
}

unsigned File::appendNow(const void* data, std::size_t bytes, std::size_t* written) noexcept
{
    for (*written = 0; *written < bytes;) {
        const ssize_t n =
            ::write(descriptor(m_handle), static_cast<const char*>(data) + *written, bytes - *written);
        if (n < 0 && errno != EINTR)
            return errorFromErrno(errno);
        if (n > 0)
            *written += static_cast<std::size_t>(n);
    }
    return 0;
}

unsigned File::size(std::uint64_t* bytes) noexcept
{
    const unsigned error = injectedFileError();
    if (error)
        return error;
    struct stat s;
    if (fstat(descriptor(m_handle), &s) != 0)
        return errorFromErrno(errno);
    *bytes = static_cast<std::uint64_t>(s.st_size);
    return 0;
}

unsigned File::state(FileState* state) noexcept
{
    const unsigned error = injectedFileError();
    if (error)
        return error;
    struct stat s;
    if (fstat(descriptor(m_handle), &s) != 0)
        return errorFromErrno(errno);
    *state = stateOf(s);
    return 0;
}

unsigned File::sync() noexcept
{
    const unsigned error = injectedFileError();
    if (error)
        return error;
    // A pipe or a terminal has no disk behind it.
    return fdatasync(descriptor(m_handle)) == 0 || errno == EINVAL || errno == EROFS ? 0
                                                                                     : errorFromErrno(errno);
}

unsigned File::lockOthersOut() noexcept
{
    const unsigned error = injectedFileError();
    if (error)
        return error;
    int result;
    do
        result = flock(descriptor(m_handle), LOCK_EX);
    while (result != 0 && errno == EINTR);
    return result == 0 ? 0 : errorFromErrno(errno);
}

void File::unlock() noexcept
{
    flock(descriptor(m_handle), LOCK_UN);
}

unsigned File::seek(std::int64_t offset, SeekFrom from, std::uint64_t* position) noexcept
{
    const unsigned error = injectedFileError();
    if (error)
        return error;
    const int origin = from == SeekFrom::start ? SEEK_SET : from == SeekFrom::here ? SEEK_CUR : SEEK_END;
    const off_t at = lseek(descriptor(m_handle), offset, origin);
    if (at < 0)
        return errorFromErrno(errno);
    if (position)
        *position = static_cast<std::uint64_t>(at);
    return 0;
}

unsigned File::lastWriteTime(std::uint64_t* time) noexcept
{
    const unsigned error = injectedFileError();
    if (error)
        return error;
    struct stat s;
    if (fstat(descriptor(m_handle), &s) != 0)
        return errorFromErrno(errno);
    constexpr std::int64_t until1970 = 11644473600; // seconds from 1601
    *time = static_cast<std::uint64_t>((s.st_mtim.tv_sec + until1970) * 10000000 + s.st_mtim.tv_nsec / 100);
    return 0;
}

unsigned File::closeNow() noexcept
{
    const int fd = descriptor(m_handle);
    m_handle = none();
    // After EINTR the descriptor is gone all the same.
    return !m_owned || ::close(fd) == 0 || errno == EINTR ? 0 : errorFromErrno(errno);
}

unsigned removeFile(const char* path) noexcept
{
    const unsigned error = checkName(path);
    if (error)
        return error;
    return unlink(path) == 0 ? 0 : errorFor(errno, path);
}

unsigned emptyFile(const char* path) noexcept
{
    const unsigned error = checkName(path);
    if (error)
        return error;
    return truncate(path, 0) == 0 ? 0 : errorFor(errno, path);
}

unsigned fileState(const char* path, FileState* state) noexcept
{
    const unsigned error = checkName(path);
    if (error)
        return error;
    struct stat s;
    if (stat(path, &s) != 0)
        return errorFor(errno, path);
    *state = stateOf(s);
    return 0;
}

unsigned moveFile(const char* from, const char* to) noexcept
{
    unsigned error = checkName(from);
    if (error)
        return error;
    if (!to || !*to)
        return sysPathNotFound;
    if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0)
        return 0;
    int err = errno;
    if (err == ENOSYS || err == EINVAL)
        err = moveByLink(from, to);
    if (err != ENOENT)
        return err ? errorFor(err, from) : 0;
    // Either name may be the one whose folder is missing.
    error = errorFor(err, from);
    struct stat s;
    return lstat(from, &s) == 0 ? errorFor(err, to) : error;
}

unsigned fileAttributes(const char* path, unsigned* attributes) noexcept
{
    const unsigned error = checkName(path);
    if (error)
        return error;
    struct stat s;
    if (lstat(path, &s) != 0)
        return errorFor(errno, path);
    if (attributes)
        *attributes = (S_ISDIR(s.st_mode) ? fileDirectory : 0u) | (s.st_mode & S_IWUSR ? 0u : fileReadOnly);
    return 0;
}

bool isPathSeparator(char c) noexcept
{
    return c == '/';
}

} // namespace platform
