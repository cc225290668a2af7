#include "platform/syserror.h"

#include <windows.h>

namespace platform {

unsigned lastError() noexcept
{
    return GetLastError();
}

void setLastError(unsigned code) noexcept
{
    SetLastError(code);
}

int systemMessage(unsigned code, char* buffer, int room) noexcept
{
    if (!buffer || room < 1)
        return 0;
    buffer[0] = '\0';
    wchar_t text[2048];
    const DWORD units = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, code, 0, text, 2048, nullptr);
    if (!units)
        return 0;
    const int n =
        WideCharToMultiByte(CP_UTF8, 0, text, static_cast<int>(units), buffer, room - 1, nullptr, nullptr);
    buffer[room > 1 ? n : 0] = '\0'; // with no room at all the call counts
    return room > 1 ? n : 0;
}

} // namespace platform
