#include "platform/console.h"

#include "platform/syserror.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <syslog.h>
#include <unistd.h>

namespace platform {

namespace {
int descriptor(Stream stream) noexcept
{
    return stream == Stream::output ? STDOUT_FILENO : STDERR_FILENO;
}
} // namespace

bool wantsColour(Stream stream) noexcept
{
    const char* const refused = std::getenv("NO_COLOR");
    const char* const terminal = std::getenv("TERM");
    return !(refused && *refused) && isatty(descriptor(stream)) && terminal &&
           std::strcmp(terminal, "dumb") != 0;
}

unsigned writeStream(Stream stream, const char* text, std::size_t bytes) noexcept
{
    const int fd = descriptor(stream);
    while (bytes) {
        const ssize_t n = write(fd, text, bytes);
        if (n >= 0) {
            text += n;
            bytes -= static_cast<std::size_t>(n);
        } else if (errno == EAGAIN) { // somebody made it non-blocking
            pollfd wait = {fd, POLLOUT, 0};
            poll(&wait, 1, -1);
        } else if (errno != EINTR) {
            return errorFromErrno(errno);
        }
    }
    return 0;
}

void writeSystemLog(Severity severity, const char* text, std::size_t bytes) noexcept
{
    static const int priorities[] = {LOG_EMERG,   LOG_ALERT,  LOG_CRIT, LOG_ERR,
                                     LOG_WARNING, LOG_NOTICE, LOG_INFO, LOG_DEBUG};
    syslog(priorities[static_cast<int>(severity)], "%.*s", static_cast<int>(bytes), text);
}

} // namespace platform
