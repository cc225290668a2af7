#include "platform/replace.h"

#include "platform/file.h"

#include <windows.h>

namespace platform {

bool isReplaceable(const char* path) noexcept
{
    const DWORD attributes = GetFileAttributesA(path);
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return GetLastError() == ERROR_FILE_NOT_FOUND;
    if (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DEVICE))
        return false;
    HANDLE handle = CreateFileA(path, 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                OPEN_EXISTING, 0, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return true; // it will be refused with its reason when it is replaced
    const bool plain = GetFileType(handle) == FILE_TYPE_DISK;
    CloseHandle(handle);
    return plain;
}

unsigned replaceFile(const char* from, const char* to) noexcept
{
    const unsigned error = injectedFileError();
    if (error)
        return error;
    return MoveFileExA(from, to, MOVEFILE_REPLACE_EXISTING) ? 0 : GetLastError();
}

} // namespace platform
