#include "log/crash.h"

#include "support/faults.h"

#include <ztree/log.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>

namespace {

void sleepLong()
{
    std::this_thread::sleep_for(std::chrono::minutes(1));
}

/// Called by a log that holds its lock.
class TrapErrorLog final : public IErrorLog {
public:
    explicit TrapErrorLog(void (*trap)()) : m_trap(trap) {}
    HRESULT ZTREE_COMCALL QueryInterface(const GUID&, void**) override { return E_NOINTERFACE; }
    zulong ZTREE_COMCALL AddRef() override { return 1; }
    zulong ZTREE_COMCALL Release() override { return 1; }
    HRESULT ZTREE_COMCALL logFailed(const char*, zlong code) override
    {
        if (code == 0)
            m_trap();
        return S_OK;
    }

private:
    void (*m_trap)();
};

// The log fails and recovers, so that the trap is sprung inside of it.
void trapInside(fileLog& log, const std::string& path, void (*trap)())
{
    static TrapErrorLog errors(trap);
    log.setErrorLog(&errors);
    log.open((path + ".d/log").c_str()); // no such folder
    std::filesystem::create_directory(path + ".d");
    log.open(path.c_str());
}

// Not a loop for the compiler: every level needs its frame.
__attribute__((noinline)) int descend(int depth)
{
    volatile char frame[4000];
    frame[depth & 1] = 1;
    return depth < 0 ? 0 : frame[0] + descend(opaque(depth + 1)) + frame[1];
}

std::atomic<int> s_inside{0};

void waitInside()
{
    s_inside = 1;
    sleepLong();
}

void allAtOnce(int first)
{
    std::atomic<int> ready{0};
    std::thread threads[4];
    for (int t = 0; t < 4; ++t)
        threads[t] = std::thread([&ready, t, first] {
            for (++ready; ready < 4;) {
            }
            faults[(t + first) % 4].make();
        });
    for (std::thread& t : threads)
        t.join();
}

} // namespace

int crash(int way, const std::string& path)
{
    auto* const log = new fileLog;
    log->AddRef();
    if (way == 6)
        log->setFlushPolicy(fileLog::flushBlocks);
    log->open(path.c_str());
    log->writelnEntry(logInfo, "first", -1);
    log->writelnEntry(logInfo, "second", -1);
    structExcept::installTopLevelFilter(log);
    switch (way) {
    case 5:
        opaque(static_cast<IMCWLog*>(log))->write(opaque(reinterpret_cast<const char*>(16)), 10);
        break;
    case 6:
        divideByZero(); // with entries that are held back
        break;
    case 7:
        descend(opaque(0));
        break;
    case 8: // in a thread that is not the filter's
        std::thread([] {
            structExcept::install();
            descend(opaque(0));
        }).join();
        break;
    case 9:
        trapInside(*log, path, &writeNear);
        break;
    case 10: // another thread is in the log for good
        std::thread([&] { trapInside(*log, path, &waitInside); }).detach();
        while (s_inside == 0)
            std::this_thread::yield();
        readNull();
        break;
    case 11:
        allAtOnce(static_cast<int>(path.size()));
        break;
    case 12:
        smashHeap();
        readNull();
        break;
    case 13:
        holdHeapLock(path);
        readNull();
        break;
    default:
        faults[way].make();
    }
    return 1;
}
