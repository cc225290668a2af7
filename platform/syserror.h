#pragma once
// System error codes. They are Windows codes on every target; Linux maps errno once.

#include <ztree/types.h>

namespace platform {

constexpr unsigned sysFileNotFound = 2;
constexpr unsigned sysInvalidParameter = 87;
constexpr unsigned sysInsufficientBuffer = 122;
constexpr unsigned sysNoUnicodeTranslation = 1113;

/// The calling thread's last system error, as GetLastError() gives it.
unsigned lastError() noexcept;
void setLastError(unsigned code) noexcept;
#if !defined(_WIN32)
/// The Windows code for an errno value; 0 for 0, 31 (general failure) for one without a counterpart.
unsigned errorFromErrno(int err) noexcept;
#endif
/// The system's message for a code into buffer (UTF-8, terminated): the bytes written, terminator not
/// counted. The line end is kept as the system has it ("\r\n"). 0 and "" for a code without a message,
/// for a message that wants inserts, and when the whole message does not fit. Linux has the English
/// texts compiled in; Windows answers in the language it would use itself.
int systemMessage(unsigned code, char* buffer, int room) noexcept;

} // namespace platform
