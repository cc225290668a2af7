#include "log/support.h"
#include "support/faults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ztree/runtime.h>

#include <cstdio>
#include <cstring>
#include <exception>
#include <string>
#include <thread>

namespace {

using testing::AllOf;
using testing::HasSubstr;

/// Keeps what is written; an entry's level stands in braces before it.
class RecordingLog final : public IMCWLog {
public:
    HRESULT ZTREE_COMCALL QueryInterface(const GUID& iid, void** object) override
    {
        const bool known = iid == IID_IMCWLog;
        *object = known ? static_cast<IMCWLog*>(this) : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    zulong ZTREE_COMCALL AddRef() override { return ++references; }
    zulong ZTREE_COMCALL Release() override { return --references; }
    HRESULT ZTREE_COMCALL write(const char* s, int n) override { return add(s, n); }
    HRESULT ZTREE_COMCALL writeln(const char* s, int n) override
    {
        if (fail)
            fail();
        lengths.push_back(n);
        add(s, n);
        return add("|\n", 2);
    }
    HRESULT ZTREE_COMCALL sysMessage(const char*, zlong) override { return E_NOTIMPL; }
    HRESULT printf(const char* fmt, ...) override
    {
        va_list args;
        va_start(args, fmt);
        print(fmt, args);
        va_end(args);
        return S_OK;
    }
    HRESULT ZTREE_COMCALL writeEntry(unsigned, const char*, int) override { return E_NOTIMPL; }
    HRESULT ZTREE_COMCALL writelnEntry(unsigned level, const char* s, int n) override
    {
        text += "{" + std::to_string(level) + "}";
        return writeln(s, n);
    }
    HRESULT ZTREE_COMCALL sysMessageEntry(unsigned, const char*, zlong) override { return E_NOTIMPL; }
    HRESULT printfEntry(unsigned level, const char* fmt, ...) override
    {
        text += "{" + std::to_string(level) + "}";
        va_list args;
        va_start(args, fmt);
        print(fmt, args);
        va_end(args);
        return S_OK;
    }
    HRESULT ZTREE_COMCALL hexDump(unsigned, const char*, unsigned long) override { return E_NOTIMPL; }

    std::string text;
    std::basic_string<int> lengths;
    unsigned references = 0;
    bool echo = false; // also to standard error, for a process that is about to end
    void (*fail)() = nullptr;

private:
    HRESULT add(const char* s, int n)
    {
        const std::size_t length = n < 0 ? std::strlen(s) : static_cast<std::size_t>(n);
        text.append(s, length);
        if (echo) {
            std::fwrite(s, 1, length, stderr);
            std::fflush(stderr);
        }
        return S_OK;
    }
    void print(const char* fmt, va_list args)
    {
        char line[400];
        add(line, std::vsnprintf(line, sizeof line, fmt, args));
    }
};

struct Translated {
    void* previous = structExcept::install();
    ~Translated() { structExcept::uninstall(previous); }
};

int s_alive = 0;
struct Counted {
    Counted() { ++s_alive; }
    Counted(const Counted&) = delete;
    ~Counted() { --s_alive; }
};

// Runs into the given fault with objects on several frames, and says what arrived.
__attribute__((noinline)) unsigned codeOf(const Fault& fault)
{
    try {
        Counted a[3];
        struct Holder {
            Counted member;
            explicit Holder(const Fault& f) { f.make(); } // the member is destroyed, the holder never was
        } holder(fault);
        return 0;
    } catch (const structExcept& e) {
        return e.getCode();
    }
}

TEST(Translator, throwsEveryKindWithItsRecord)
{
    Translated on;
    for (const Fault& fault : faults) {
        SCOPED_TRACE(fault.name);
        try {
            fault.make();
            ADD_FAILURE() << "no fault";
        } catch (const structExcept& e) {
            const EXCEPTION_RECORD& r = *e.getExceptionRecord();
            EXPECT_EQ(e.getCode(), fault.code);
            EXPECT_EQ(r.ExceptionCode, fault.code);
            EXPECT_EQ(e.getContext()->ContextFlags & CONTEXT_FULL, CONTEXT_FULL);
            if (fault.code != EXCEPTION_ACCESS_VIOLATION)
                continue;
            ASSERT_EQ(r.NumberParameters, 2u);
            EXPECT_EQ(r.ExceptionInformation[0], fault.information[0]);
            EXPECT_EQ(r.ExceptionInformation[1], fault.information[1]);
        }
    }
}

const void* s_at;

// Not inline: the compiler takes assembly for code that cannot throw in the function that has the handler.
__attribute__((noinline)) void faultAtKnownPlace()
{
#if defined(__x86_64__)
    asm volatile("lea 1f(%%rip), %%rax\n\tmov %%rax, %0\n\tmov $77, %%ebx\n1:\tud2"
                 : "=m"(s_at)::"rax", "rbx");
#else
    asm volatile("movl $1f, %0\n\tmov $77, %%ebx\n1:\tud2" : "=m"(s_at)::"ebx");
#endif
}

TEST(Translator, reportsTheInstruction)
{
    Translated on;
    try {
        faultAtKnownPlace();
        ADD_FAILURE() << "no fault";
    } catch (const structExcept& e) {
        EXPECT_EQ(e.getAddress(), static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(s_at)));
        EXPECT_EQ(e.getContext()->Ebx, 77u);
    }
}

TEST(Translator, runsDestructorsTimeAfterTime)
{
    Translated on;
    const int rounds = isSanitized ? 5000 : 100000;
    for (int i = 0; i < rounds; ++i) {
        const Fault& fault = faults[i % 5];
        ASSERT_EQ(codeOf(fault), fault.code) << i;
        ASSERT_EQ(s_alive, 0) << fault.name << i;
    }
}

// Which handler a fault reaches depends on the exact instruction, so faults stand first, last, between
// and beside the ranges of handlers here.
NO_SANITIZER __attribute__((noinline)) std::string path(int where, const volatile int* bad, int zero)
{
    std::string steps;
    int sum = 0;
    try {
        if (where == 0)
            sum += *bad;
        try {
            sum += where == 1 ? *bad : 1;
        } catch (const structExcept&) {
            steps += 'b';
            if (where == 2)
                sum += *bad;
        }
        try {
            Counted c;
            if (where == 3)
                sum += 7 / zero;
            steps += std::to_string(sum + (where == 4 ? *bad : 0)).empty() ? '?' : 'n';
            if (where == 5)
                illegalInstruction();
        } catch (const int&) {
            steps += '!';
        } catch (const structExcept&) {
            steps += 'c';
            try {
                sum += where == 5 ? *bad : 0;
            } catch (const structExcept&) {
                steps += 'd';
                if (where == 5)
                    throw;
            }
        }
        if (where == 6)
            *const_cast<volatile int*>(bad) = sum;
    } catch (const structExcept&) {
        steps += 'a';
    }
    return steps;
}

TEST(Translator, reachesTheRightHandler)
{
    Translated on;
    const char* const expected[] = {"a", "bn", "n", "c", "c", "ncda", "na", "n"};
    for (int where = 0; where < 8; ++where)
        EXPECT_EQ(path(where, opaque(static_cast<int*>(nullptr)), opaque(0)), expected[where]) << where;
    EXPECT_EQ(s_alive, 0);
}

TEST(Translator, belongsToTheThreadAndNests)
{
    void* const outer = structExcept::install();
    EXPECT_EQ(outer, nullptr);
    void* const inner = structExcept::install();
    EXPECT_NE(inner, nullptr);
    structExcept::uninstall(inner);
    EXPECT_EQ(codeOf(faults[0]), faults[0].code); // still the outer one

    const auto work = [](int first, bool* fine) {
        *fine = structExcept::install() == nullptr; // nothing in a new thread
        for (int i = 0; i < 3000; ++i)
            try {
                faults[(i + first) % 5].make();
                *fine = false;
            } catch (const structExcept& e) {
                *fine = *fine && e.getCode() == faults[(i + first) % 5].code;
            }
    };
    bool fine[2] = {};
    std::thread other(work, 1, &fine[0]);
    std::thread third(work, 3, &fine[1]);
    other.join();
    third.join();
    EXPECT_TRUE(fine[0] && fine[1]);

    structExcept::uninstall(outer);
    EXPECT_EQ(structExcept::install(), nullptr);
    structExcept::uninstall(nullptr);
}

TEST(StructExcept, crossesTheBorderOfTheLibrary)
{
    // Thrown by the library's own code, caught, kept and thrown again on this side.
    Translated on;
    std::exception_ptr kept;
    try {
        divideByZero();
    } catch (...) {
        kept = std::current_exception();
    }
    try {
        std::rethrow_exception(kept);
    } catch (structExcept& e) {
        const structExcept copy = e;
        e = structExcept();
        EXPECT_EQ(copy.getCode(), EXCEPTION_INT_DIVIDE_BY_ZERO);
        EXPECT_EQ(e.getCode(), 0u);
    }
}

TEST(StructExcept, libraryErrorDumpsTwoLines)
{
    const FixedClock clock;
    const structExcept e(ztree::errMemory);
    EXPECT_EQ(e.getCode(), 0x84201001u);
    EXPECT_EQ(e.getAddress(), 0u);
    EXPECT_EQ(e.getContext()->ContextFlags, 0u);
    RecordingLog log;
    e.dump(&log, "in %s %d", "load", 7);
    e.dump(&log, "%s", "plain");
    EXPECT_EQ(log.text, "{2}Exception at: 13:03:07:042. Private: 84201001. Address: 0\r\nin load 7|\n"
                        "{2}Exception at: 13:03:07:042. Private: 84201001. Address: 0\r\nplain|\n");
    e.dump(nullptr, "nowhere");
}

TEST(StructExcept, messageIsCutAt512)
{
    const std::string longText(600, 'x');
    RecordingLog log;
    for (int n : {511, 512, 513}) {
        log.text.clear();
        structExcept(1u).dump(&log, "%.*s", n, longText.c_str());
        EXPECT_EQ(log.lengths.back(), n <= 512 ? n : -1);
        EXPECT_NE(log.text.find("\r\n" + longText.substr(0, n <= 512 ? static_cast<size_t>(n) : 512) + "|"),
                  std::string::npos);
    }
}

// Sets a register in a context at the process's width.
#if defined(__x86_64__)
#define REG(context, name) (context).R##name##64
#define WIDTH "00000000"
#else
#define REG(context, name) (context).E##name
#define WIDTH ""
#endif

TEST(StructExcept, faultDumpsItsRegisters)
{
    const FixedClock clock;
    EXCEPTION_RECORD record{};
    record.ExceptionCode = EXCEPTION_ACCESS_VIOLATION;
    CONTEXT context{};
    REG(context, ax) = 0xA;
    REG(context, bx) = 0xB;
    REG(context, cx) = 0xC;
    REG(context, dx) = 0xD;
    REG(context, si) = 0x51;
    REG(context, di) = 0xD1;
    REG(context, sp) = 0xFFFF0000;
    REG(context, ip) = 0x401234;
    REG(context, bp) = 0xFFFF0010;
#if defined(__x86_64__)
    record.ExceptionAddress64 = 0x7FFF00401234;
    context.EFlags64 = 0x10246;
    const std::string head = "{2}Exception at: 13:03:07:042. Code: C0000005. Address: 7FFF00401234\r\nm|\n";
#else
    record.ExceptionAddress = reinterpret_cast<void*>(0x401234);
    context.EFlags = 0x10246;
    const std::string head = "{2}Exception at: 13:03:07:042. Code: C0000005. Address: 401234\r\nm|\n";
#endif
    context.SegCs = 0x23;
    context.SegSs = context.SegDs = context.SegEs = 0x2B;
    context.SegFs = 0x53;
    const std::string integers =
        "  eax:" WIDTH "0000000A  ebx:" WIDTH "0000000B  ecx:" WIDTH "0000000C  edx:" WIDTH
        "0000000D  esi:" WIDTH "00000051  edi:" WIDTH "000000D1\r\n";
    const std::string control =
        "  esp:" WIDTH "FFFF0000  eip:" WIDTH "00401234  ebp:" WIDTH "FFFF0010  efl:" WIDTH "00010246\r\n";
    const std::string stack = "   cs:    0023   ss:    002B";
    const std::string data = "   ds:    002B   es:    002B   fs:    0053   gs:    0000\r\n";
    struct Case {
        unsigned flags;
        std::string lines;
    };
    const Case cases[] = {
        {0, ""},
        {2, integers},
        {1, control},
        {4, data},
        {5, control + stack + data},
        {0x10000, integers + control + stack + data}, // any bit of a mask will do
    };
    for (const Case& c : cases) {
        context.ContextFlags = c.flags;
        const EXCEPTION_POINTERS pointers = {&record, &context};
        RecordingLog log;
        structExcept(1u, &pointers).dump(&log, "m");
        EXPECT_EQ(log.text, head + c.lines) << c.flags;
    }
}

TEST(StructExcept, uhxDumpSurvivesBadArguments)
{
    structExcept::uhxDump(nullptr, "%d", 1);
    RecordingLog log;
    const std::string longText(1100, 'y');
    const auto dumpTo = &structExcept::uhxDump; // out of the compiler's sight
    opaque(dumpTo)(&log, "%d+%s", 1, "2");
    opaque(dumpTo)(&log, "%s", longText.c_str());
    for (bool translated : {false, true}) { // the guard comes before the translator
        void* const previous = translated ? structExcept::install() : nullptr;
        opaque(dumpTo)(&log, "%d %s", 1, reinterpret_cast<const char*>(8));
        if (translated)
            structExcept::uninstall(previous);
    }
    const std::string fixed = "{2}--- invalid arguments for structExcept::uhxDump ---|\n";
    EXPECT_EQ(log.text, "{2}1+2|\n{2}" + longText.substr(0, 1020) + "|\n" + fixed + fixed);
    EXPECT_EQ(log.lengths, (std::basic_string<int>{3, -1, 51, 51}));
}

TEST(TopLevelFilter, countsReferencesAsItAlwaysDid)
{
    RecordingLog a;
    RecordingLog b;
    void* const system = structExcept::installTopLevelFilter(&a);
    EXPECT_EQ(a.references, 1u);
    void* const ours = structExcept::installTopLevelFilter(&a);
    EXPECT_EQ(a.references, 2u);
    EXPECT_EQ(ours, reinterpret_cast<void*>(&structExcept::uhxFilter));
    structExcept::uninstallTopLevelFilter(ours);
    structExcept::uninstallTopLevelFilter(system);
    EXPECT_EQ(a.references, 0u);
    a.AddRef();
    structExcept::installTopLevelFilter(&b); // releases the remembered log once more
    EXPECT_EQ(a.references, 0u);
    EXPECT_EQ(b.references, 1u);
    b.AddRef();
    EXPECT_EQ(structExcept::installTopLevelFilter(nullptr), ours);
    EXPECT_EQ(b.references, 1u);
    structExcept::uninstallTopLevelFilter(system);
    EXPECT_EQ(b.references, 1u);
    EXPECT_EQ(structExcept::installTopLevelFilter(nullptr), system);
    structExcept::uninstallTopLevelFilter(system);
}

TEST(TopLevelFilter, survivesItsLog)
{
    EXCEPTION_RECORD record{};
    CONTEXT context{};
    EXCEPTION_POINTERS pointers = {&record, &context};
    record.ExceptionCode = EXCEPTION_ACCESS_VIOLATION;
    RecordingLog log;
    void* const system = structExcept::installTopLevelFilter(&log);
    log.fail = [] { throw 1; };
    EXPECT_EQ(structExcept::uhxFilter(&pointers), 0);
    log.fail = &readNull;
    EXPECT_EQ(structExcept::uhxFilter(&pointers), 0);
    log.references = 2;
    structExcept::installTopLevelFilter(nullptr);
    EXPECT_EQ(structExcept::uhxFilter(&pointers), 0);
    structExcept::uninstallTopLevelFilter(system);
}

#if defined(_WIN32)
bool diedOf(int status)
{
    return static_cast<unsigned>(status) == EXCEPTION_ACCESS_VIOLATION;
}
#else
bool diedOf(int status)
{
    return testing::KilledBySignal(SIGSEGV)(status);
}
#endif

TEST(TopLevelFilterDeathTest, reportsAndLetsTheProcessEnd)
{
    if (isSanitized)
        GTEST_SKIP() << "the sanitizer takes the fault first";
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            static RecordingLog log;
            log.echo = true;
            structExcept::uninstall(structExcept::install()); // a translator that is gone takes nothing
            structExcept::installTopLevelFilter(&log);
            readNull();
        },
        diedOf,
        AllOf(HasSubstr("Code: C0000005. Address: "),
              HasSubstr("BRAX has been terminated due to an unhandled exception|\n  eax:"),
              HasSubstr("\n  esp:"), HasSubstr("\n   cs:"), HasSubstr("   ds:")));
}

TEST(IMCWLog, optionalOperationsAnswerNotImplemented)
{
    RecordingLog log;
    IMCWLog* chained = &log;
    const char* hint = "";
    const HRESULT expected = static_cast<HRESULT>(0x80004001u);
    EXPECT_EQ(log.open("x"), expected);
    EXPECT_EQ(log.getChain(&chained), expected);
    EXPECT_EQ(log.getHint(&hint), expected);
    EXPECT_EQ(chained, nullptr);
    EXPECT_EQ(hint, nullptr);
}

} // namespace
