#include "platform/replace.h"

#include "platform/file.h"
#include "platform/syserror.h"

#include <cerrno>
#include <cstdio>
#include <sys/stat.h>

namespace platform {

bool isReplaceable(const char* path) noexcept
{
    struct stat s;
    if (lstat(path, &s) != 0)
        return errno == ENOENT;
    return S_ISREG(s.st_mode);
}

unsigned replaceFile(const char* from, const char* to) noexcept
{
    const unsigned error = injectedFileError();
    if (error)
        return error;
    // The file keeps who may read it.
    struct stat s;
    if (stat(to, &s) == 0)
        chmod(from, s.st_mode & 07777);
    return rename(from, to) == 0 ? 0 : errorFromErrno(errno);
}

} // namespace platform
