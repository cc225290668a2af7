#include "log/support.h"
#include "support/faults.h"
#include "support/heap_fixture.h"

#include <gtest/gtest.h>
#include <ztree/helpers.h>

#include <cstring>

namespace {

class LogText : public HeapTest {
protected:
    FixedClock clock;
    TextLog log;
};

TEST_F(LogText, headerOfEveryEntryWord)
{
    struct Case {
        unsigned entry;
        const char* header;
    };
    const Case cases[] = {
        {2, "[T:1A2C 2012-03-02, 14:03:07:042 ALERT!!] "},
        {5, "[T:1A2C 2012-03-02, 14:03:07:042 CRITICAL!] "},
        {10, "[T:1A2C 2012-03-02, 14:03:07:042 ERROR] "},
        {13, "[T:1A2C 2012-03-02, 14:03:07:042 Warning] "},
        {15, "[T:1A2C 2012-03-02, 14:03:07:042 Notice] "},
        {18, "[T:1A2C 2012-03-02, 14:03:07:042 Info] "},
        {20, "[T:1A2C 2012-03-02, 14:03:07:042 Debug] "},
        {1, "[T:1A2C 2012-03-02, 14:03:07:042 Hint] "}, // the most severe one, too
        {0, "[T:1A2C 2012-03-02, 14:03:07:042 Hint] "},
        {255, "[T:1A2C 2012-03-02, 14:03:07:042 Hint] "},
        {0x1FFFFF00 | 10, "[T:1A2C 2012-03-02, 14:03:07:042 ERROR] "}, // other bits mean nothing
        {logNoLevel | 10, "[T:1A2C 2012-03-02, 14:03:07:042] "},
        {logNoThread | 10, "[2012-03-02, 14:03:07:042 ERROR] "},
        {logNoThread | logNoLevel, "[2012-03-02, 14:03:07:042] "},
        {logNoTime | 10, "[T:1A2C ERROR] "},
        {logNoTime | logNoLevel | 18, "[T:1A2C] "},
        {logNoTime | logNoThread | 13, "[Warning] "},
        {0xE0000000, ""},
    };
    for (const Case& c : cases) {
        char buffer[80];
        std::memset(buffer, '~', sizeof buffer);
        const int n = log.entryHeader(c.entry, buffer, sizeof buffer);
        ASSERT_EQ(n, static_cast<int>(std::strlen(c.header))) << std::hex << c.entry;
        EXPECT_EQ(std::string(buffer, static_cast<std::size_t>(n)), c.header);
        EXPECT_EQ(buffer[n], n ? '\0' : '~');
    }
    char buffer[8];
    log.setFlags(1);
    EXPECT_EQ(log.entryHeader(10, buffer, 8), 0);
    log.setFlags(0xFFFFFFFE);
    const unsigned word = logNoTime | logNoLevel;
    const struct {
        std::uint32_t thread;
        const char* header;
    } threads[] = {{0xF, "[T:F] "}, {0xFFFFFFFF, "[T:FFFFFFFF] "}, {0x10, "[T:10] "}};
    for (const auto& t : threads) {
        platform::FakeClock::setThread(t.thread);
        char wide[32];
        EXPECT_GT(log.entryHeader(word, wide, 32), 0);
        EXPECT_STREQ(wide, t.header);
    }
}

TEST_F(LogText, headerInATightBuffer)
{
    // As the runtime's bounded print: a full buffer has no terminator, a cut text gives -1.
    for (int size = 0; size < 10; ++size) {
        char buffer[12];
        std::memset(buffer, '~', sizeof buffer);
        const int n = log.entryHeader(logNoTime | logNoThread | 18, buffer, size);
        EXPECT_EQ(n, size < 7 ? -1 : 7) << size;
        std::string expected = std::string("[Info] ").substr(0, static_cast<std::size_t>(size));
        if (size > 7)
            expected += '\0';
        expected.resize(sizeof buffer, '~');
        EXPECT_EQ(std::string(buffer, sizeof buffer), expected) << size;
    }
}

TEST_F(LogText, systemMessages)
{
    char buffer[600];
    struct Case {
        const char* text;
        zlong code;
        const char* expected;
    };
    // English on both targets: Windows runs in it here.
    const Case cases[] = {
        {"open", 0, "open: OK"},
        {"open", 2, "open: 2 - File not found."},
        {"open", 5, "open: 5 - Access denied."},
        {"", 112, ": 112 - Disk full."},
        {"open", hr(0x80070057), "open: 0x80070057 - Invalid parameter."},
        {"x", hr(0x80004005), "x: 0x80004005 - Call failed."},
        {"x", 0x7FFFFFF0, "x: 2147483632 - "},     // no such code
        {"x", hr(0x84201001), "x: 0x84201001 - "}, // the library's own
        {nullptr, 0, "(null): OK"},
    };
    for (const Case& c : cases) {
        std::memset(buffer, '~', sizeof buffer);
        const int n = log.getSysMessage(c.text, c.code, buffer, sizeof buffer);
        ASSERT_GE(n, 0);
        EXPECT_EQ(std::string(buffer, static_cast<std::size_t>(n)), c.expected);
        EXPECT_EQ(buffer[sizeof buffer - 1], 0);
    }
    // The line end is left behind the length.
    const int n = log.getSysMessage("open", 2, buffer, sizeof buffer);
    EXPECT_STREQ(buffer + n, "\r\n");
}

TEST_F(LogText, systemMessageInATightBuffer)
{
    const std::string whole = "ab: 2 - File not found.\r\n";
    for (int size = 1; size < 28; ++size) {
        char buffer[40];
        std::memset(buffer, '~', sizeof buffer);
        const int n = log.getSysMessage("ab", 2, buffer, size);
        const int expected = size < 8                                 ? -1
                             : size <= static_cast<int>(whole.size()) ? 8
                                                                      : static_cast<int>(whole.size()) - 2;
        EXPECT_EQ(n, expected) << size;
        EXPECT_EQ(buffer[size - 1], 0) << size;
        EXPECT_EQ(buffer[size], '~') << size;
        const std::size_t kept = static_cast<std::size_t>(size < 8 ? size - 1 : size == 8 ? 7 : 8);
        EXPECT_EQ(std::string(buffer, kept), whole.substr(0, kept)) << size;
    }
    EXPECT_EQ(log.getSysMessage("ab", 2, nullptr, 10), -1);
}

TEST_F(LogText, everyOperationIsOnePiece)
{
    const std::string head = "[T:1A2C 2012-03-02, 14:03:07:042 ERROR] ";
    const std::string longText(5000, 'x');
    const auto check = [&](HRESULT result, const std::string& expected) {
        EXPECT_EQ(result, S_OK);
        EXPECT_EQ(log.pieces, expected.empty() ? 0 : 1);
        EXPECT_EQ(log.take(), expected);
    };
    check(log.write("text", 2), "te");
    check(log.write("text", -1), "text");
    check(log.write("a\0b", 3), std::string("a\0b", 3));
    check(log.write("", 0), "");
    check(log.write(nullptr, -1), "");
    check(log.writeln("text", -1), "text\r\n");
    check(log.writeln(nullptr, 0), "\r\n");
    check(log.writeEntry(10, "text", 4), head + "text");
    check(log.writelnEntry(10, "text", -1), head + "text\r\n");
    EXPECT_EQ(log.last, 10u);
    check(log.writelnEntry(10, longText.c_str(), -1), head + longText + "\r\n");
    check(log.printf("%d%%|%s|%5.2f", 7, "s", 1.5), "7%|s| 1.50");
    check(log.printfEntry(10, "%s", longText.c_str()), head + longText);
    check(log.sysMessage("open", 2), "open: 2 - File not found.\r\n");
    check(log.sysMessageEntry(10, longText.c_str(), 0), head + longText + ": OK\r\n");
    log.setFlags(1);
    check(log.writelnEntry(10, "text", -1), "text\r\n");
    log.setFlags(0);
    EXPECT_EQ(log.setHint("program"), S_OK);
    check(log.writelnEntry(10, "text", -1), head + "program: text\r\n");
    check(log.writeln("text", -1), "text\r\n");
    const char* hint = nullptr;
    EXPECT_EQ(log.getHint(&hint), S_OK);
    EXPECT_STREQ(hint, "program");
    log.setHint(nullptr);
    platform::Hooks::failAt(platform::Site::heap, 1, true);
    check(log.writelnEntry(10, longText.c_str(), 1000), // needs no block
          head + longText.substr(0, 1000) + "\r\n");
    platform::Hooks::failAt(platform::Site::heap, 0);
    EXPECT_EQ(log.write(nullptr, 1), hr(0x80070057));
    log.result = hr(0x80070070);
    EXPECT_EQ(log.writelnEntry(10, "text", -1), hr(0x80070070));
}

TEST_F(LogText, badFormatsAreSaidSo)
{
    const std::string invalid = "varnik::brax::mcwLog: *** Invalid error format string ***\r\n";
    const auto print = [this](const char* fmt, const char* argument) {
        const HRESULT result = opaque(&log)->printf(opaque(fmt), argument, argument, argument);
        return result == S_OK ? log.take() : log.take() + (result == hr(0x80070057) ? "!" : "?");
    };
    for (const char* bad : {static_cast<const char*>(nullptr), "%", "50 % k", "%n", "a%ln", "%k", "%-8",
                            "%.3y", "%ll", "%I65d", reinterpret_cast<const char*>(8)})
        EXPECT_EQ(print(bad, "x"), invalid + "!")
            << (bad && bad > reinterpret_cast<const char*>(8) ? bad : "");
    EXPECT_EQ(print("%s", reinterpret_cast<const char*>(8)), invalid + "!");
    EXPECT_EQ(print("%-5s|%.1s%%", "xy"), "xy   |x%");
    for (const char* good :
         {"%08lX", "%+-#05.3d", "%I64u", "%I32d", "%zu %hhx %hs", "% 5Lg", "%p%c", "100%%"})
        EXPECT_EQ(print(good, "x").find("***"), std::string::npos) << good;
    opaque(&log)->printfEntry(logNoTime | 10, opaque("%n"), 1);
    EXPECT_EQ(log.take(), "[T:1A2C ERROR] " + invalid);
}

TEST_F(LogText, hexDumpIsAnEntryOfWholeLines)
{
    std::string data(600, '\0');
    for (std::size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<char>(i * 7);
    for (const std::size_t n : {0u, 5u, 16u, 256u, 600u}) {
        char where[64];
        std::snprintf(where, sizeof where, "Memory at 0x%llX, %u bytes\r\n",
                      static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(data.data())),
                      static_cast<unsigned>(n));
        std::string expected = std::string("[T:1A2C Info] ") + where;
        for (std::size_t i = 0; i < n; i += 16) {
            unsigned char line[66];
            formatDump(static_cast<unsigned long>(reinterpret_cast<std::uintptr_t>(data.data() + i)),
                       reinterpret_cast<const unsigned char*>(data.data()) + i, static_cast<unsigned>(n - i),
                       line, sizeof line);
            expected += reinterpret_cast<char*>(line);
        }
        EXPECT_EQ(log.hexDump(logNoTime | 18, data.data(), static_cast<unsigned long>(n)), S_OK);
        EXPECT_EQ(log.pieces, n > 256 ? 2 : 1) << n;
        EXPECT_EQ(log.take(), expected) << n;
    }
    EXPECT_EQ(log.hexDump(18, reinterpret_cast<const char*>(8), 100), S_OK);
    EXPECT_NE(log.take().find("*** formatDump: memory read error at address 0x8 for 100 byte\r\n"),
              std::string::npos);
    EXPECT_EQ(log.hexDump(18, nullptr, 1), hr(0x80070057));
}

TEST_F(LogText, chainGetsEntriesAsEntries)
{
    TextLog second;
    second.AddRef();
    TextLog third;
    third.AddRef();
    third.setFlags(1);
    EXPECT_EQ(log.setChain(&second), S_OK);
    EXPECT_EQ(second.setChain(&third), S_OK);
    log.writelnEntry(logNoTime | 10, "text", -1);
    log.write("raw", -1);
    log.printfEntry(logNoTime | 18, "%d\r\n", 7);
    const std::string both = "[T:1A2C ERROR] text\r\nraw[T:1A2C Info] 7\r\n";
    EXPECT_EQ(log.take(), both);
    EXPECT_EQ(second.take(), both);
    EXPECT_EQ(third.take(), "text\r\nraw7\r\n");
    third.result = hr(0x80004005);
    EXPECT_EQ(log.writeln("x", -1), hr(0x80004005)); // the failure is not hidden

    log.AddRef();
    EXPECT_EQ(third.setChain(&log), hr(0x80070057)); // a circle
    EXPECT_EQ(log.setChain(&log), hr(0x80070057));
    EXPECT_EQ(second.switchLog(&log), hr(0x80070057));
    IMCWLog* next = nullptr;
    EXPECT_EQ(log.getChain(&next), S_OK);
    EXPECT_EQ(next, &second);
    EXPECT_EQ(second.Release(), 2u); // its owner's and the chain's are left
    EXPECT_EQ(third.getChain(&next), hr(0x80004005));
    log.setChain(nullptr);
    second.setChain(nullptr);
    EXPECT_EQ(log.AddRef(), 2u); // the refused ones keep no reference
}

TEST_F(LogText, switchingIsSaidInBothLogs)
{
    TextLog other;
    other.AddRef();
    TextLog third;
    third.AddRef();
    log.setFlags(1);
    other.setFlags(1);
    third.setFlags(1);
    EXPECT_EQ(log.switchLog(&other), S_OK);
    EXPECT_EQ(log.switchLog(&other), S_OK); // nothing new
    log.writelnEntry(10, "text", -1);
    log.hexDump(10, "", 0);
    EXPECT_EQ(log.last, 18u);
    EXPECT_EQ(log.take(), "[Switching log]...\r\n");
    EXPECT_EQ(other.take().substr(0, 32), "[Entering switched log]\r\ntext\r\nM");
    log.switchLog(&third);
    EXPECT_EQ(other.take(), "[Exiting switched log]\r\n");
    log.write("x", 1);
    log.switchLog(nullptr);
    log.write("y", 1);
    EXPECT_EQ(third.take(), "[Entering switched log]\r\nx[Exiting switched log]\r\n");
    EXPECT_EQ(log.take(), "[Unswitching log]\r\n[Switching log]...\r\n[Unswitching log]\r\ny");
    EXPECT_EQ(other.AddRef(), 2u);
    EXPECT_EQ(third.AddRef(), 2u);
}

TEST_F(LogText, countsReferencesAndKnowsItsInterfaces)
{
    auto* const made = new TextLog;
    void* object = nullptr;
    for (const GUID& id : {IID_IMCWLog, IID_IMCWLog2}) {
        EXPECT_EQ(made->QueryInterface(id, &object), S_OK);
        EXPECT_EQ(object, static_cast<IMCWLog2*>(made));
    }
    EXPECT_EQ(made->QueryInterface(IID_IMCWLogClient, &object), hr(0x80004002));
    EXPECT_EQ(object, nullptr);
    IErrorLog* errors = nullptr;
    EXPECT_EQ(made->getErrorLog(&errors), S_OK);
    EXPECT_EQ(errors, errorLogDummy::instance());
    EXPECT_EQ(made->Release(), 1u);
    EXPECT_EQ(made->Release(), 0u); // gone: the fixture counts blocks
    EXPECT_EQ(log.Release(), 0u);   // never counted: stays
}

} // namespace
