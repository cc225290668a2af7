// What the handlers owe to others in the process.
#include "platform/fault.h"
#include "support/faults.h"

#include <gtest/gtest.h>
#include <ztree/runtime.h>

#include <cfenv>
#include <csignal>
#include <sys/mman.h>
#include <unistd.h>

using platform::guarded;

namespace {

// Every test runs in a fresh process, where no handler of ours is in place yet.
class FaultHandlersDeathTest : public testing::Test {
protected:
    void SetUp() override
    {
        if (isSanitized)
            GTEST_SKIP() << "the sanitizer takes the faults first";
        GTEST_FLAG_SET(death_test_style, "threadsafe");
    }
};

void* s_page;

void before(int, siginfo_t* info, void*)
{
    sigset_t blocked;
    sigprocmask(SIG_SETMASK, nullptr, &blocked);
    _exit(sigismember(&blocked, SIGSEGV) == 1 && info->si_addr == reinterpret_cast<void*>(16) ? 42 : 1);
}

void openPage(int)
{
    mprotect(s_page, 4096, PROT_READ | PROT_WRITE);
}

zlong sayFilter(EXCEPTION_POINTERS* pointers)
{
    std::fprintf(stderr, "filter %X\n", pointers->ExceptionRecord->ExceptionCode);
    return 0;
}

zlong faultingFilter(EXCEPTION_POINTERS*)
{
    std::fputs("filter\n", stderr);
    readNull();
    return 0;
}

// Not a loop for the compiler: every level needs its frame.
__attribute__((noinline)) int descend(int depth)
{
    volatile char frame[4000];
    frame[depth & 1] = 1;
    return depth < 0 ? 0 : frame[0] + descend(opaque(depth + 1)) + frame[1];
}

TEST_F(FaultHandlersDeathTest, anEarlierHandlerRunsAsTheSystemWouldRunIt)
{
    EXPECT_EXIT(
        {
            struct sigaction earlier = {};
            earlier.sa_sigaction = &before;
            earlier.sa_flags = SA_SIGINFO;
            sigaction(SIGSEGV, &earlier, nullptr);
            platform::setFaultFilter(&sayFilter); // last chance, so not asked
            if (guarded([] { readNull(); }) == EXCEPTION_ACCESS_VIOLATION)
                writeNear();
        },
        testing::ExitedWithCode(42), "^$");
}

TEST_F(FaultHandlersDeathTest, anEarlierHandlerMayRepairTheFault)
{
    EXPECT_EXIT(
        {
            s_page = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
            std::signal(SIGSEGV, &openPage);
            platform::setFaultFilter(&sayFilter);
            *static_cast<volatile char*>(s_page) = 7;
            _exit(*static_cast<volatile char*>(s_page));
        },
        testing::ExitedWithCode(7), "^$");
}

TEST_F(FaultHandlersDeathTest, aSentSignalIsNoFault)
{
    EXPECT_EXIT(
        {
            structExcept::install();
            platform::setFaultFilter(&sayFilter);
            guarded([] { std::raise(SIGSEGV); });
        },
        testing::KilledBySignal(SIGSEGV), "^$");
}

TEST_F(FaultHandlersDeathTest, aStackOverflowIsReported)
{
    EXPECT_EXIT(
        {
            structExcept::install();
            platform::setFaultFilter(&sayFilter);
            _exit(descend(0));
        },
        testing::KilledBySignal(SIGSEGV), "filter C00000FD");
}

TEST_F(FaultHandlersDeathTest, aFaultInTheFilterEndsTheProcess)
{
    EXPECT_EXIT(
        {
            platform::setFaultFilter(&faultingFilter);
            divideByZero();
        },
        testing::KilledBySignal(SIGSEGV), "^filter\n$");
}

NO_SANITIZER __attribute__((noinline)) double divide(double a, double b)
{
    return a / b;
}

TEST(FaultTranslation, floatingPointFaultsLeaveTheModeAlone)
{
    void* const previous = structExcept::install();
    std::fesetround(FE_UPWARD);
    feenableexcept(FE_DIVBYZERO | FE_INVALID);
    for (int i = 0; i < 3; ++i) {
        try {
            ADD_FAILURE() << divide(opaque(1.0f), opaque(0.0f));
        } catch (const structExcept& e) {
            EXPECT_EQ(e.getCode(), EXCEPTION_FLT_DIVIDE_BY_ZERO);
        }
    }
    EXPECT_EQ(std::fegetround(), FE_UPWARD);
    fedisableexcept(FE_ALL_EXCEPT);
    std::fesetround(FE_TONEAREST);
    structExcept::uninstall(previous);
}

} // namespace
