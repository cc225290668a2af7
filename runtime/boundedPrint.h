#pragma once
// printf into a bounded buffer with the results of the Windows runtime, on every target.

#include <cstdarg>
#include <cstdio>

/// Formats into `limit` characters of a buffer that has room for limit + 1; always terminated. Returns
/// the length, or -1 when the text is longer than the limit: the buffer then holds its first characters.
inline int boundedPrint(char* buffer, int limit, const char* fmt, va_list args) noexcept
{
    const auto room = static_cast<std::size_t>(limit) + 1;
    const int length = std::vsnprintf(buffer, room, fmt, args); // NOLINT(clang-analyzer-valist.Uninitialized)
    if (length < 0)
        buffer[0] = 0;
    return length > limit ? -1 : length;
}
