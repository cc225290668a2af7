#include "platform/syserror.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>

namespace platform {

namespace {

thread_local unsigned t_lastError = 0;

struct Message {
    unsigned code;
    unsigned offset; // in messageTexts
};
#include "platform/syserror_messages_linux.inc"

} // namespace

unsigned lastError() noexcept
{
    return t_lastError;
}

void setLastError(unsigned code) noexcept
{
    t_lastError = code;
}

unsigned errorFromErrno(int err) noexcept
{
    static const struct {
        int err;
        unsigned code;
    } table[] = {
        {0, 0},
        {ENOENT, 2},  // file not found
        {ENOTDIR, 3}, // path not found
        {EMFILE, 4},  // too many open files
        {ENFILE, 4},
        {EACCES, 5}, // access denied
        {EPERM, 5},
        {EISDIR, 5},  // a folder opened as a file
        {EBADF, 6},   // invalid handle
        {ENOMEM, 8},  // not enough memory
        {EXDEV, 17},  // not the same device
        {EROFS, 19},  // write protected
        {ENODEV, 20}, // no such unit
        {ENXIO, 20},
        {EBUSY, 32}, // sharing violation
        {ETXTBSY, 32},
        {EAGAIN, 33}, // lock violation
        {EDEADLK, 33},
        {ENOTSUP, 50}, // not supported
        {EINVAL, 87},  // invalid parameter
        {EPIPE, 109},  // broken pipe
        {ENOSPC, 112}, // disk full
        {EDQUOT, 112},
        {ENOSYS, 120},       // call not implemented
        {EILSEQ, 123},       // invalid name
        {ESPIPE, 132},       // seek on a device
        {ENOTEMPTY, 145},    // folder not empty
        {EEXIST, 183},       // already exists
        {ENAMETOOLONG, 206}, // name too long
        {EFBIG, 223},        // file too large
        {EINTR, 995},        // operation aborted
        {EFAULT, 998},       // invalid access to memory
        {EIO, 1117},         // device error
        {EMLINK, 1142},      // too many links
        {ETIMEDOUT, 1460},
        {ELOOP, 1921}, // name cannot be resolved
    };
    for (const auto& entry : table)
        if (entry.err == err)
            return entry.code;
    return 31; // general failure
}

int systemMessage(unsigned code, char* buffer, int room) noexcept
{
    if (!buffer || room < 1)
        return 0;
    buffer[0] = '\0';
    if (code >> 16 == 0x8007)
        code &= 0xFFFF;
    const Message* found = std::lower_bound(std::begin(messages), std::end(messages), code,
                                            [](const Message& m, unsigned c) { return m.code < c; });
    if (found == std::end(messages) || found->code != code)
        return 0;
    const char* const text = messageTexts + found->offset;
    const std::size_t n = std::strlen(text);
    if (n + 3 > static_cast<std::size_t>(room))
        return 0;
    std::memcpy(buffer, text, n);
    std::memcpy(buffer + n, "\r\n", 3);
    return static_cast<int>(n) + 2;
}

} // namespace platform
