// Moving files on systems that cannot rename without replacing: two system calls are made to refuse.

#include "platform/file.h"
#include "platform/syserror.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

int s_renameError = 0;
int s_linkError = 0;

int refused(int error)
{
    errno = error;
    return -1;
}

} // namespace

extern "C" int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
                         unsigned flags) noexcept
{
    if (s_renameError)
        return refused(s_renameError);
    return static_cast<int>(syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags));
}

extern "C" int link(const char* from, const char* to) noexcept
{
    return s_linkError ? refused(s_linkError) : static_cast<int>(syscall(SYS_link, from, to));
}

TEST(ErrorFromErrno, unknown)
{
    EXPECT_EQ(platform::errorFromErrno(99999), 31u);
}

TEST(MoveFile, withoutRenamePrimitive)
{
    namespace fs = std::filesystem;
    using namespace platform;
    for (const int linkError : {0, EPERM}) {
        SCOPED_TRACE(linkError);
        fs::remove_all("move.d");
        fs::create_directory("move.d");
        writeWholeFile("move.d/a", "1", 1);
        writeWholeFile("move.d/b", "22", 2);
        s_renameError = ENOSYS;
        s_linkError = linkError;
        EXPECT_EQ(moveFile("move.d/a", "move.d/b"), 183u);
        EXPECT_EQ(fs::file_size("move.d/a") + fs::file_size("move.d/b"), 3u);
        EXPECT_EQ(moveFile("move.d/a", "move.d/c"), 0u);
        EXPECT_FALSE(fs::exists("move.d/a"));
        EXPECT_EQ(fs::file_size("move.d/c"), 1u);
        EXPECT_EQ(moveFile("move.d/a", "move.d/d"), 2u);
        EXPECT_EQ(moveFile("move.d/b", "none.d/d"), 3u);
        EXPECT_EQ(fs::file_size("move.d/b"), 2u);
        s_renameError = s_linkError = 0;
        fs::remove_all("move.d");
    }
}
