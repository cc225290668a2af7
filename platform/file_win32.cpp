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

} // namespace

unsigned File::open(const char* path, OpenFor mode) noexcept
{
    release();
    const unsigned error = injectedFileError();
    if (error)
        return error;
    const DWORD access = mode == OpenFor::read     ? GENERIC_READ
                         : mode == OpenFor::create ? GENERIC_WRITE
                                                   : FILE_APPEND_DATA | SYNCHRONIZE;
    const DWORD share = mode == OpenFor::create ? 0 : FILE_SHARE_READ;
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
        return error;
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
    return 0;
}

unsigned File::write(const void* data, std::size_t bytes) noexcept
{
    const unsigned error = injectedFileError();
    if (error)
        return error;
    for (const char* p = static_cast<const char*>(data); bytes;) {
        DWORD n = 0;
        if (!WriteFile(m_handle, p, step(bytes), &n, nullptr))
            return GetLastError();
        if (n == 0)
            return ERROR_WRITE_FAULT;
        p += n;
        bytes -= n;
    }
    return 0;
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
