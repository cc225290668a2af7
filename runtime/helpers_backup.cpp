#include "platform/clock.h"
#include "platform/file.h"
#include "platform/syserror.h"

#include <ztree/helpers.h>

#include <cstdio>
#include <cstring>

namespace {

constexpr std::size_t nameLimit = 257;

// Makes the numbered names: what stands before the dot, three digits, the short extension.
class BackupName {
public:
    // False: the name has no extension, so a number has no place.
    bool init(const char* path) noexcept
    {
        const std::size_t length = strnlen(path, nameLimit);
        std::size_t dot = length;
        while (dot > 0 && path[dot - 1] != '.' && !platform::isPathSeparator(path[dot - 1]))
            --dot;
        if (dot < 2 || path[dot - 1] != '.')
            return false;
        m_dot = dot - 1;
        std::memcpy(m_name, path, m_dot);
        const std::size_t left = length - m_dot;
        m_extensionLength = left < 4 ? left : 4;
        std::memcpy(m_extension, path + m_dot, m_extensionLength);
        return true;
    }
    const char* numbered(int i) noexcept
    {
        std::snprintf(m_name + m_dot, sizeof m_name - m_dot, "%03d%.*s", i,
                      static_cast<int>(m_extensionLength), m_extension);
        return m_name;
    }

private:
    std::size_t m_dot = 0;
    std::size_t m_extensionLength = 0;
    char m_extension[4];
    char m_name[nameLimit + 16];
};

} // namespace

int backupFile(const char* path, int max)
{
    constexpr unsigned none = ~0u; // -1 as a result
    BackupName backup;
    if (!path || !backup.init(path))
        return -1;
    // The clock counts whole milliseconds; a backup written in the current one is not later than now.
    std::uint64_t oldest = platform::fileTime(platform::utcTime()) + 10000;
    unsigned last = none;
    int chosen = -1;
    for (int i = 0; i < max; ++i) {
        platform::File file;
        const unsigned error = file.open(backup.numbered(i), platform::OpenFor::read);
        if (!error) {
            std::uint64_t written = 0;
            if (!file.lastWriteTime(&written) && written < oldest) {
                oldest = written;
                chosen = i;
            }
            file.close();
            continue;
        }
        last = error;
        if (error == platform::sysFileNotFound) {
            chosen = i;
            break;
        }
    }
    if (chosen < 0)
        return static_cast<int>(last);
    const char* name = backup.numbered(chosen);
    unsigned error = 0;
    if (platform::fileAttributes(name, nullptr) == 0)
        error = platform::removeFile(name);
    if (!error)
        error = platform::moveFile(path, name);
    // Kept: success is what the search ended with, 2 for a free number and -1 when the oldest went.
    return static_cast<int>(error ? error : last);
}
