// What only a real file system does: parts of writes, files and folders that go away.
#include "log/fileLog_fixture.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <syslog.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using LogFiles = FileLogTest;

/// No file may grow above so many bytes.
struct SizeLimit {
    explicit SizeLimit(rlim_t bytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit now = {bytes, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &now);
    }
    ~SizeLimit() { setrlimit(RLIMIT_FSIZE, &before); }
    rlimit before;
};

TEST_F(LogFiles, aTornEntryIsClosedAndCounted)
{
    log->open(path);
    line("one");
    {
        const SizeLimit limit(9);
        EXPECT_EQ(line("second"), hr(0x800700DF)); // 4 bytes of it
        EXPECT_EQ(line("third"), hr(0x800700DF));
    }
    EXPECT_EQ(line("four"), S_OK);
    EXPECT_EQ(get("app.log").substr(0, 28), "one\r\nseco\r\n*** 2 entries los");
    EXPECT_EQ(get("app.log").substr(get("app.log").size() - 10), "**\r\nfour\r\n");
}

TEST_F(LogFiles, aTornBlockGoesOnWithWholeLines)
{
    log->setFlushPolicy(fileLog::flushBlocks);
    log->open(path);
    line("one");
    line("second");
    {
        const SizeLimit limit(9);
        EXPECT_EQ(log->flush(), hr(0x800700DF));
    }
    line("third");
    EXPECT_EQ(log->flush(), S_OK);
    EXPECT_EQ(get("app.log"), "one\r\nseco\r\nsecond\r\nthird\r\n");
}

TEST_F(LogFiles, aFullDeviceRefuses)
{
    EXPECT_EQ(log->open("/dev/full"), S_OK);
    EXPECT_EQ(line("one"), hr(0x80070070));
    log->setFlushPolicy(fileLog::flushBlocks);
    EXPECT_EQ(line("two"), S_OK);
    EXPECT_EQ(log->close(), hr(0x80070070));
}

TEST_F(LogFiles, followsWhatHappensToItsName)
{
    fs::create_directory("log.d/sub");
    const char* const deep = "log.d/sub/app.log";
    log->open(deep);
    line("one");
    fs::remove(deep);
    usleep(10000); // within some milliseconds
    EXPECT_EQ(line("two"), S_OK);
    EXPECT_EQ(get("sub/app.log"), "two\r\n");
    fs::remove_all("log.d/sub");
    usleep(10000);
    EXPECT_EQ(line("three"), hr(0x80070003));
    EXPECT_EQ(line("four"), hr(0x80070003));
    fs::create_directory("log.d/sub");
    EXPECT_EQ(line("five"), S_OK);
    EXPECT_EQ(get("sub/app.log"), "*** 2 entries lost: 3 - Path not found. ***\r\nfive\r\n");
    fs::rename(deep, path);
    usleep(1100000);
    EXPECT_EQ(line("six"), S_OK);
    EXPECT_EQ(get("sub/app.log"), "six\r\n");
}

TEST_F(LogFiles, aFolderThatMayNotBeWritten)
{
    fs::permissions(folder.path, fs::perms::owner_read | fs::perms::owner_exec);
    const uid_t user = geteuid();
    ASSERT_EQ(user == 0 ? seteuid(65534) : 0, 0); // the superuser may write everywhere
    const HRESULT opened = log->open(path);
    const HRESULT written = line("one");
    ASSERT_EQ(user == 0 ? seteuid(0) : 0, 0);
    fs::permissions(folder.path, fs::perms::owner_all);
    EXPECT_EQ(opened, hr(0x80070005));
    EXPECT_EQ(written, hr(0x80070005));
    EXPECT_EQ(line("two"), S_OK);
    EXPECT_EQ(get("app.log").substr(0, 21), "*** 1 entries lost: 5");
}

/// Whatever stands behind a descriptor of the process is replaced by a file for a time.
struct Redirected {
    explicit Redirected(int number) : fd(number), saved(dup(number))
    {
        const int file = open("console.out", O_CREAT | O_TRUNC | O_RDWR, 0666);
        dup2(file, fd);
        close(file);
    }
    std::string end()
    {
        dup2(saved, fd);
        close(saved);
        std::ifstream in("console.out", std::ios::binary);
        std::string text{std::istreambuf_iterator<char>(in), {}};
        fs::remove("console.out");
        return text;
    }
    int fd;
    int saved;
};

TEST(ConLog, writesToTheStreamAndColoursTerminalsOnly)
{
    const FixedClock clock;
    for (const bool output : {false, true}) {
        conLog log(output);
        Redirected stream(output ? 1 : 2);
        EXPECT_EQ(log.writelnEntry(logNoTime | logError, "bad", -1), S_OK);
        EXPECT_EQ(log.write("raw", 3), S_OK);
        EXPECT_EQ(stream.end(), "[T:1A2C ERROR] bad\r\nraw");
    }
    // A terminal of our own.
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(master, 0);
    grantpt(master);
    unlockpt(master);
    const int terminal = open(ptsname(master), O_RDWR | O_NOCTTY);
    ASSERT_GE(terminal, 0);
    setenv("TERM", "xterm", 1);
    unsetenv("NO_COLOR");
    std::string seen[2];
    for (std::string& text : seen) {
        const int saved = dup(2);
        dup2(terminal, 2);
        conLog log;
        log.setFlags(1);
        log.writelnEntry(logError, "bad", -1);
        log.writelnEntry(logInfo, "good", -1);
        dup2(saved, 2);
        close(saved);
        // The terminal hands its text over when it likes, and in pieces.
        pollfd from = {master, POLLIN, 0};
        while (text.find("good") == std::string::npos || text.back() != '\n') {
            ASSERT_EQ(poll(&from, 1, 10000), 1) << text;
            char buffer[200];
            const ssize_t n = read(master, buffer, sizeof buffer);
            text.append(buffer, static_cast<std::size_t>(n > 0 ? n : 0));
        }
        setenv("NO_COLOR", "1", 1);
    }
    unsetenv("NO_COLOR");
    close(terminal);
    close(master);
    EXPECT_EQ(seen[0], "\x1b[31mbad\x1b[0m\r\r\ngood\r\r\n");
    EXPECT_EQ(seen[1], "bad\r\r\ngood\r\r\n");
}

TEST(SysLog, handsOverTheTextWithoutItsLineEnd)
{
    openlog("tester", LOG_PERROR, LOG_USER); // to standard error as well
    sysLog log;
    Redirected stream(2);
    EXPECT_EQ(log.writelnEntry(logError, "100% bad", -1), S_OK);
    const std::string said = stream.end();
    closelog();
    EXPECT_EQ(said, "tester: 100% bad\n");
}

} // namespace
