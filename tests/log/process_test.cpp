// What needs processes of its own: crash reports, and several writers of one file.
#include "log/child.h"
#include "log/crash.h"
#include "log/support.h"
#include "support/faults.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace fs = std::filesystem;

namespace {

/// The number in an environment variable, for longer runs by hand.
int numberFromEnvironment(const char* name, int otherwise)
{
    const char* const value = std::getenv(name);
    return value ? std::atoi(value) : otherwise;
}

int countOf(const std::string& text, const std::string& word)
{
    int n = 0;
    for (std::size_t at = 0; (at = text.find(word, at)) != std::string::npos; at += word.size())
        ++n;
    return n;
}

// --- crash reports ---

/// What is missing in a report, "" for nothing.
std::string flawOf(const std::string& text)
{
    const std::size_t start = text.find(" ALERT!!] Exception at: ");
    if (text.find(" Info] first\r\n") > text.find(" Info] second\r\n") ||
        text.find(" Info] second\r\n") > start || start == std::string::npos)
        return "entries";
    std::size_t at = start;
    for (const char* part :
         {". Code: C0000", ". Address: ", "\r\n",
          "BRAX has been terminated due to an unhandled exception\r\n", "  eax:", "  edi:", "\r\n  esp:",
          "  efl:", "\r\n   cs:", "   gs:", "\r\n  at:", "\r\n  ret:", "+", "\r\n  end of report\r\n"}) {
        at = text.find(part, at);
        if (at == std::string::npos)
            return part;
    }
    if (countOf(text, "end of report") != 1 || text.substr(text.size() - 2) != "\r\n")
        return "end";
    return countOf(text, "Exception at") == 1 ? "" : "several";
}

bool diedOfFault(int way, int status)
{
#if defined(_WIN32)
    // Wine's own handling finds no stack after an overflow: it ends the process with 0, or the thread alone.
    return static_cast<unsigned>(status) >> 16 == 0xC000 || ((way == 7 || way == 8) && status <= 1);
#else
    static_cast<void>(way);
    return status == -4 || status == -8 || status == -11; // SIGILL, SIGFPE, SIGSEGV
#endif
}

TEST(CrashReport, isCompleteWhateverHappened)
{
    if (isSanitized)
        GTEST_SKIP() << "the sanitizer takes the faults first";
    const LogFolder folder;
    const int rounds = numberFromEnvironment("ZTREE_CRASH_ROUNDS", 1);
    int complete = 0;
    for (int i = 0; i < rounds * crashWays; ++i) {
        const int way = i % crashWays;
        const std::string name = std::to_string(i) + ".log";
        const std::string path = std::string(folder.path) + "/" + name;
        const int status = endOfChild(startChild("crash " + std::to_string(way) + " " + path));
        const std::string text = folder.get(name);
        const std::string flaw = flawOf(text);
        complete += flaw.empty();
        EXPECT_EQ(flaw, "") << "way " << way << ", round " << i / crashWays << "\n" << text;
        EXPECT_TRUE(diedOfFault(way, status)) << "way " << way << " ended with " << status;
        if (way == 0) {
            EXPECT_NE(text.find("  test_log", text.find("  at:")), std::string::npos) << text;
        }
        fs::remove_all(path);
        fs::remove_all(path + ".d");
    }
    if (rounds > 1)
        std::printf("%d of %d reports complete\n", complete, rounds * crashWays);
}

// --- several writers ---

struct Writing {
    int processes, threads, each;
    fileLog::FlushPolicy policy;
    unsigned limit;
};

std::string payload(int writer, int i)
{
    return std::string(static_cast<std::size_t>((i * 7 + writer * 13) % 90), static_cast<char>('a' + i % 26));
}

int writeEntries(const std::string& path, int firstWriter, const Writing& w)
{
    auto* const log = new fileLog;
    log->AddRef();
    log->setFlags(1);
    int bad = log->setFlushPolicy(w.policy) != S_OK;
    log->setLimit(w.limit, 1000);
    bad += log->open(path.c_str()) != S_OK;
    std::vector<std::thread> threads;
    std::vector<int> failures(static_cast<std::size_t>(w.threads));
    for (int t = 0; t < w.threads; ++t)
        threads.emplace_back([&, t] {
            const int writer = firstWriter + t;
            for (int i = 0; i < w.each; ++i) {
                const std::string line =
                    std::to_string(writer) + " " + std::to_string(i) + " " + payload(writer, i);
                failures[static_cast<std::size_t>(t)] +=
                    log->writelnEntry(logInfo, line.data(), static_cast<int>(line.size())) != S_OK;
            }
        });
    for (std::thread& t : threads)
        t.join();
    for (int f : failures)
        bad += f;
    bad += log->close() != S_OK;
    log->Release();
    return bad < 100 ? bad : 100;
}

/// Lines of all the files are whole and are each writer's entries in their order.
void checkLines(const fs::path& folder, const Writing& w)
{
    std::vector<std::vector<bool>> seen(static_cast<std::size_t>(w.processes * w.threads));
    for (auto& s : seen)
        s.resize(static_cast<std::size_t>(w.each));
    int lines = 0;
    int bad = 0;
    for (const auto& entry : fs::directory_iterator(folder)) {
        std::ifstream in(entry.path(), std::ios::binary);
        for (std::string line; std::getline(in, line); ++lines) {
            unsigned writer = 0;
            unsigned i = 0;
            int used = 0;
            const bool whole = std::sscanf(line.c_str(), "%u %u%n", &writer, &i, &used) == 2 &&
                               writer < seen.size() && i < seen[writer].size() && !seen[writer][i] &&
                               line.substr(static_cast<std::size_t>(used)) ==
                                   " " + payload(static_cast<int>(writer), static_cast<int>(i)) + "\r";
            if (whole)
                seen[writer][i] = true;
            else if (++bad < 4)
                ADD_FAILURE() << entry.path() << ": " << line;
        }
    }
    EXPECT_EQ(bad, 0);
    EXPECT_EQ(lines, w.processes * w.threads * w.each);
}

std::string roleOf(const std::string& path, int firstWriter, const Writing& w)
{
    return "write " + std::to_string(firstWriter) + " " + std::to_string(w.threads) + " " +
           std::to_string(w.each) + " " + std::to_string(static_cast<int>(w.policy)) + " " +
           std::to_string(w.limit) + " " + path;
}

void runWriters(Writing w)
{
    SCOPED_TRACE(testing::Message() << w.processes << " processes, policy " << w.policy << ", limit "
                                    << w.limit);
    const LogFolder folder;
    const std::string path = std::string(folder.path) + "/app.log";
    if (w.processes == 1) {
        EXPECT_EQ(writeEntries(path, 0, w), 0);
    } else {
        std::vector<void*> children;
        for (int p = 0; p < w.processes; ++p)
            children.push_back(startChild(roleOf(path, p * w.threads, w)));
        for (void* child : children)
            EXPECT_EQ(endOfChild(child), 0);
    }
    checkLines(folder.path, w);
    const auto files = std::distance(fs::directory_iterator(folder.path), fs::directory_iterator());
    if (w.limit)
        EXPECT_GT(files, 2);
    else
        EXPECT_EQ(files, 1);
}

TEST(FileLogWriters, loseNothingAndTearNothing)
{
#if defined(_WIN32)
    const int entries = numberFromEnvironment("ZTREE_LOG_ENTRIES", 160);
#else
    const int entries = numberFromEnvironment("ZTREE_LOG_ENTRIES", isSanitized ? 4000 : 40000);
#endif
    const int each = entries / 16;
    const auto size = static_cast<unsigned>(entries) * 50; // bytes in all, about
    runWriters({1, 4, 4 * each, fileLog::flushEach, 0});
    runWriters({1, 4, 4 * each, fileLog::flushBlocks, size / 8});
    if (isSanitized)
        return; // it does not follow threads into a forked process
    runWriters({4, 4, each, fileLog::flushEach, 0});
    runWriters({4, 4, each, fileLog::flushEach, size / 8});
    runWriters({4, 4, each, fileLog::flushBlocks, size / 8});
}

} // namespace

int playRole(const std::string& role)
{
    char path[500] = "";
    int way = 0;
    Writing w = {};
    int first = 0;
    int policy = 0;
    if (std::sscanf(role.c_str(), "crash %d %499s", &way, path) == 2)
        return crash(way, path);
    if (std::sscanf(role.c_str(), "write %d %d %d %d %u %499s", &first, &w.threads, &w.each, &policy,
                    &w.limit, path) != 6)
        return 1;
    w.policy = static_cast<fileLog::FlushPolicy>(policy);
    return writeEntries(path, first, w);
}
