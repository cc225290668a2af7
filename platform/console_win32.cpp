#include "platform/console.h"

#include "platform/codepage.h"

#include <windows.h>

namespace platform {

namespace {

HANDLE handleOf(Stream stream) noexcept
{
    return GetStdHandle(stream == Stream::output ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
}

// Bytes at the front of the text that make whole characters in at most `most` of them.
std::size_t wholeCharacters(const char* text, std::size_t bytes, std::size_t most) noexcept
{
    if (bytes <= most)
        return bytes;
    std::size_t n = most;
    while (n > most - 3 && (static_cast<unsigned char>(text[n]) & 0xC0) == 0x80)
        --n;
    return n;
}

// A console takes UTF-16 whatever its code page.
unsigned writeConsole(HANDLE console, const char* text, std::size_t bytes) noexcept
{
    while (bytes) {
        zwchar units[1024];
        const std::size_t part = wholeCharacters(text, bytes, 1024);
        const int n = toWide(codepageUtf8, text, static_cast<int>(part), units, 1024);
        for (int done = 0; done < n;) {
            DWORD written = 0;
            if (!WriteConsoleW(console, units + done, static_cast<DWORD>(n - done), &written, nullptr))
                return GetLastError();
            done += static_cast<int>(written);
        }
        text += part;
        bytes -= part;
    }
    return 0;
}

} // namespace

bool wantsColour(Stream stream) noexcept
{
    constexpr DWORD escapes = 0x0004; // ENABLE_VIRTUAL_TERMINAL_PROCESSING
    const DWORD refused = GetEnvironmentVariableA("NO_COLOR", nullptr, 0);
    DWORD mode;
    return refused <= 1 && GetConsoleMode(handleOf(stream), &mode) &&
           SetConsoleMode(handleOf(stream), mode | escapes);
}

unsigned writeStream(Stream stream, const char* text, std::size_t bytes) noexcept
{
    HANDLE const handle = handleOf(stream);
    DWORD mode;
    if (GetConsoleMode(handle, &mode))
        return writeConsole(handle, text, bytes);
    while (bytes) {
        DWORD n = 0;
        if (!WriteFile(handle, text, static_cast<DWORD>(bytes < 0x10000000 ? bytes : 0x10000000), &n,
                       nullptr))
            return GetLastError();
        text += n;
        bytes -= n;
    }
    return 0;
}

void writeSystemLog(Severity, const char* text, std::size_t bytes) noexcept
{
    char line[1024]; // the debugger's text ends with a zero
    while (bytes) {
        const std::size_t part = wholeCharacters(text, bytes, sizeof line - 1);
        __builtin_memcpy(line, text, part);
        line[part] = 0;
        OutputDebugStringA(line);
        text += part;
        bytes -= part;
    }
}

} // namespace platform
