#include "platform/file.h"

#include <windows.h>

namespace platform {

namespace {

// One transfer is at most this long; the system counts in 32 bits.
DWORD step(std::size_t bytes) noexcept
{
    constexpr std::size_t most = 0x7FFFF000;
    return static_cast<DWORD>(bytes < most ? bytes : most);
}

// Locks stand on bytes far behind every end, so that they never keep anybody from reading.
constexpr DWORD appendLock = 0;
constexpr DWORD ownerLock = 1;

OVERLAPPED lockAt(DWORD which) noexcept
{
    OVERLAPPED at = {};
    at.Offset = which;
    at.OffsetHigh = 0x7FFFFFFE;
    return at;
}
bool lockRange(HANDLE file, DWORD which) noexcept
{
    OVERLAPPED at = lockAt(which);
    return LockFileEx(file, LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &at) != 0;
}
void unlockRange(HANDLE file, DWORD which) noexcept
{
    OVERLAPPED at = lockAt(which);
    UnlockFileEx(file, 0, 1, 0, &at);
}

unsigned stateOf(HANDLE file, FileState* state) noexcept
{
    BY_HANDLE_FILE_INFORMATION info;
    FILE_STANDARD_INFO standard;
    if (!GetFileInformationByHandle(file, &info) ||
        !GetFileInformationByHandleEx(file, FileStandardInfo, &standard, sizeof standard))
        return GetLastError();
    state->volume = info.dwVolumeSerialNumber;
    state->index = static_cast<std::uint64_t>(info.nFileIndexHigh) << 32 | info.nFileIndexLow;
    state->size = static_cast<std::uint64_t>(info.nFileSizeHigh) << 32 | info.nFileSizeLow;
    state->removed = standard.DeletePending || info.nNumberOfLinks == 0;
    return 0;
}

} // namespace

unsigned File::open(const char* path, OpenFor mode) noexcept
{
    release();
    const unsigned error = injectedFileError();
    if (error)
        return error;
    // Without the right to write elsewhere the system appends; the right to read is what locking asks for.
    const DWORD access = mode == OpenFor::read     ? GENERIC_READ
                         : mode == OpenFor::create ? GENERIC_WRITE
                         : mode == OpenFor::append ? FILE_APPEND_DATA | SYNCHRONIZE
                                                   : FILE_APPEND_DATA | GENERIC_READ;
    const DWORD share = mode == OpenFor::create  ? 0
                        : mode == OpenFor::share ? FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE
                                                 : FILE_SHARE_READ;
    const DWORD how = mode == OpenFor::read     ? OPEN_EXISTING
                      : mode == OpenFor::create ? CREATE_ALWAYS
                                                : OPEN_ALWAYS;
    HANDLE handle =
        CreateFileA(path ? path : "", access, share, nullptr, how, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return GetLastError();
    m_handle = handle;
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
        DWORD n = 0;
        if (!ReadFile(m_handle, static_cast<char*>(buffer) + *got, step(room - *got), &n, nullptr)) {
            const DWORD failure = GetLastError();
            return failure == ERROR_BROKEN_PIPE ? 0 : failure; // the end of a pipe
        }
        if (n == 0)
            break;
        *got += n;
    }
    return readError(error);
}

unsigned File::write(const void* data, std::size_t bytes) noexcept
{
    std::size_t written;
    const unsigned error = injectedFileError();
    const unsigned writing = appendNow(data, error ? Hooks::movedBytes(bytes) : bytes, &written);
    return error ? error : writing;
}

unsigned File::append(const void* data, std::size_t bytes, std::size_t* written) noexcept
{
    const unsigned injected = injectedFileError();
    // Not every file system appends as one piece by itself. What cannot be locked, such as a pipe, has
    // no end to agree on either.
    const bool locked = lockRange(m_handle, appendLock);
    const unsigned error = appendNow(data, injected ? Hooks::movedBytes(bytes) : bytes, written);
    if (locked)
        unlockRange(m_handle, appendLock);
    return injected ? injected : error;
}

unsigned File::appendNow(const void* data, std::size_t bytes, std::size_t* written) noexcept
{
    for (*written = 0; *written < bytes;) {
        DWORD n = 0;
        if (!WriteFile(m_handle, static_cast<const char*>(data) + *written, step(bytes - *written), &n,
                       nullptr))
            return GetLastError();
        if (n == 0)
            return ERROR_WRITE_FAULT;
        *written += n;
    }
    return 0;
}

unsigned File::state(FileState* state) noexcept
{
    const unsigned error = injectedFileError();
    return error ? error : stateOf(m_handle, state);
}

unsigned File::sync() noexcept
{
    const unsigned error = injectedFileError();
    if (error)
        return error;
    return FlushFileBuffers(m_handle) ? 0 : GetLastError();
}

unsigned File::lockOthersOut() noexcept
{
    const unsigned error = injectedFileError();
    if (error)
        return error;
    return lockRange(m_handle, ownerLock) ? 0 : GetLastError();
}

void File::unlock() noexcept
{
    unlockRange(m_handle, ownerLock);
}

unsigned File::size(std::uint64_t* bytes) noexcept
{
    const unsigned error = injectedFileError();
    if (error)
        return error;
    LARGE_INTEGER n;
    if (!GetFileSizeEx(m_handle, &n))
        return GetLastError();
    *bytes = static_cast<std::uint64_t>(n.QuadPart);
    return 0;
}

unsigned File::seek(std::int64_t offset, SeekFrom from, std::uint64_t* position) noexcept
{
    const unsigned error = injectedFileError();
    if (error)
        return error;
    const DWORD origin = from == SeekFrom::start  ? FILE_BEGIN
                         : from == SeekFrom::here ? FILE_CURRENT
                                                  : FILE_END;
    LARGE_INTEGER to, at;
    to.QuadPart = offset;
    if (!SetFilePointerEx(m_handle, to, &at, origin))
        return GetLastError();
    if (position)
        *position = static_cast<std::uint64_t>(at.QuadPart);
    return 0;
}

unsigned File::lastWriteTime(std::uint64_t* time) noexcept
{
    const unsigned error = injectedFileError();
    if (error)
        return error;
    FILETIME t;
    if (!GetFileTime(m_handle, nullptr, nullptr, &t))
        return GetLastError();
    *time = static_cast<std::uint64_t>(t.dwHighDateTime) << 32 | t.dwLowDateTime;
    return 0;
}

unsigned File::closeNow() noexcept
{
    void* handle = m_handle;
    m_handle = none();
    return !m_owned || CloseHandle(handle) ? 0 : GetLastError();
}

unsigned removeFile(const char* path) noexcept
{
    const unsigned error = injectedFileError();
    if (error)
        return error;
    return DeleteFileA(path ? path : "") ? 0 : GetLastError();
}

unsigned emptyFile(const char* path) noexcept
{
    const unsigned error = injectedFileError();
    if (error)
        return error;
    HANDLE file =
        CreateFileA(path ? path : "", GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, TRUNCATE_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return GetLastError();
    CloseHandle(file);
    return 0;
}

unsigned fileState(const char* path, FileState* state) noexcept
{
    const unsigned injected = injectedFileError();
    if (injected)
        return injected;
    HANDLE file = CreateFileA(path ? path : "", 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                              nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return GetLastError();
    const unsigned error = stateOf(file, state);
    CloseHandle(file);
    return error;
}

unsigned moveFile(const char* from, const char* to) noexcept
{
    const unsigned error = injectedFileError();
    if (error)
        return error;
    return MoveFileA(from ? from : "", to ? to : "") ? 0 : GetLastError();
}

unsigned fileAttributes(const char* path, unsigned* attributes) noexcept
{
    const unsigned error = injectedFileError();
    if (error)
        return error;
    const DWORD found = GetFileAttributesA(path ? path : "");
    if (found == INVALID_FILE_ATTRIBUTES)
        return GetLastError();
    if (attributes)
        *attributes = found & (fileReadOnly | fileDirectory);
    return 0;
}

bool isPathSeparator(char c) noexcept
{
    return c == '\\' || c == '/' || c == ':';
}

} // namespace platform
