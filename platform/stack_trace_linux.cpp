#include "platform/stack_trace.h"

#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace platform {

namespace {

Register number(const char*& at, const char* end, unsigned base) noexcept
{
    Register value = 0;
    for (; at < end; ++at) {
        const unsigned digit = *at >= '0' && *at <= '9'   ? static_cast<unsigned>(*at - '0')
                               : *at >= 'a' && *at <= 'f' ? static_cast<unsigned>(*at - 'a') + 10
                                                          : 16;
        if (digit >= base)
            break;
        value = value * base + digit;
    }
    return value;
}

void skipField(const char*& at, const char* end) noexcept
{
    while (at < end && *at == ' ')
        ++at;
    while (at < end && *at != ' ')
        ++at;
}

} // namespace

// begin-end rwxp offset device inode      path
void CodeMap::addMapping(const char* line, const char* end, Register sp) noexcept
{
    const char* at = line;
    const Register from = number(at, end, 16);
    ++at;
    const Register to = number(at, end, 16);
    const bool isOpen = end - at > 4 && at[1] == 'r';
    // Below an exhausted stack lies its guard, or a gap: the next mapping is the stack.
    if (isOpen && to > sp && to < stackEnd) {
        stackBegin = from;
        stackEnd = to;
    }
    const bool isCode = end - at > 4 && at[3] == 'x';
    skipField(at, end);
    skipField(at, end);
    skipField(at, end);
    ++at;
    const unsigned long index = number(at, end, 10);
    while (at < end && *at == ' ')
        ++at;
    if (at >= end)
        return;
    if (index != m_fileIndex || index == 0) {
        m_fileIndex = index;
        m_fileBase = from;
    }
    if (!isCode)
        return;
    for (const char* p = at; p < end; ++p)
        if (*p == '/')
            at = p + 1;
    add(from, to, m_fileBase, at, static_cast<std::size_t>(end - at));
}

// The loader's own list is behind its lock.
void CodeMap::load(Register sp) noexcept
{
    static char buffer[8192];
    m_count = 0;
    m_namesUsed = 0;
    m_fileBase = 0;
    m_fileIndex = 0;
    stackBegin = 0;
    stackEnd = ~Register{0};
    const int fd = open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
    std::size_t held = 0;
    while (fd >= 0) {
        const ssize_t got = read(fd, buffer + held, sizeof buffer - held);
        if (got <= 0)
            break;
        held += static_cast<std::size_t>(got);
        const char* at = buffer;
        const char* const end = buffer + held;
        while (const auto* line =
                   static_cast<const char*>(std::memchr(at, '\n', static_cast<std::size_t>(end - at)))) {
            addMapping(at, line, sp);
            at = line + 1;
        }
        held = static_cast<std::size_t>(end - at);
        if (held == sizeof buffer)
            held = 0; // no path is that long
        std::memmove(buffer, at, held);
    }
    if (fd >= 0)
        close(fd);
    if (stackEnd == ~Register{0})
        stackEnd = 0;
}

} // namespace platform
