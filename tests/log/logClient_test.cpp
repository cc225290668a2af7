#include "log/support.h"
#include "support/heap_fixture.h"
#include "support/twins.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

class LogClient : public HeapTest {
protected:
    void TearDown() override
    {
        client.setLogLevelList(nullptr, 0);
        client.setLogModeList(nullptr, 0);
        HeapTest::TearDown();
    }
    logClient client;
};

const tagLogMode modeRows[] = {
    {1, ZTEXT("entry"), ZTEXT("calls")}, {2, ZTEXT("config"), nullptr}, {4, nullptr, ZTEXT("none")}};

TEST_F(LogClient, aNewOneLetsNothingPass)
{
    EXPECT_EQ(client.checkLogLevel(1), hr(0x80004005));
    EXPECT_EQ(client.checkLogModes(0xFFFFFFFF), hr(0x80004005));
    EXPECT_EQ(client.useLog(), nullptr);
    IMCWLog* log = nullptr;
    EXPECT_EQ(client.getLog(&log), hr(0x80004005));
    client.setLogLevel(13);
    const struct {
        unsigned char level;
        bool passes;
    } levels[] = {{0, true}, {1, true}, {13, true}, {14, false}, {255, false}};
    for (const auto& l : levels) {
        EXPECT_EQ(client.checkLogLevel(l.level), l.passes ? S_OK : hr(0x80004005)) << int{l.level};
        EXPECT_EQ(client.passes(logNoTime | l.level), l.passes);
    }
}

TEST_F(LogClient, levelsByName)
{
    const auto set = [this](const zwchar* name) {
        const HRESULT result = client.setLogLevelString(name);
        unsigned char level = 0;
        client.getLogLevel(&level);
        return result == S_OK ? int{level} : result == hr(0x80004005) ? -int{level} : -1000;
    };
    EXPECT_EQ(set(ZTEXT("warning")), 13);
    EXPECT_EQ(set(ZTEXT("verbose")), -13);
    EXPECT_EQ(set(ZTEXT("")), -13);
    EXPECT_EQ(set(nullptr), 10);
    EXPECT_EQ(set(ZTEXT("DeBuG")), 20);
    EXPECT_EQ(client.setLogLevelString(nullptr), S_OK);
    const tagLogList own[] = {
        {7, ZTEXT("seven"), nullptr}, {8, nullptr, ZTEXT("eight")}, {9, ZTEXT("SEVEN"), nullptr}};
    EXPECT_EQ(client.setLogLevelList(own, 3), S_OK);
    EXPECT_EQ(set(ZTEXT("Seven")), 7); // the first that fits
    EXPECT_EQ(set(ZTEXT("warning")), -7);
    client.setLogLevelList(own, 0);
    EXPECT_EQ(set(ZTEXT("warning")), 13); // the built-in list again
}

TEST_F(LogClient, levelListQueries)
{
    const tagLogList* rows = nullptr;
    int count = -1;
    EXPECT_EQ(client.getLogLevelList(1, 0, &rows, nullptr), hr(0x80070057));
    EXPECT_EQ(client.getLogLevelList(1, 0, &rows, &count), S_OK);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(client.getLogLevelList(2 | 4, 18, &rows, &count), S_OK);
    ASSERT_EQ(count, 1);
    EXPECT_EQ(narrow(rows->name) + "/" + narrow(rows->description), "INFO/Informational messages");
    EXPECT_EQ(client.getLogLevelList(2 | 4, 19, &rows, &count), S_OK);
    EXPECT_EQ(rows, nullptr);
    EXPECT_EQ(count, 0);
    client.setLogLevel(20);
    EXPECT_EQ(client.getLogLevelList(4, 18, &rows, &count), S_OK); // the level in force
    EXPECT_EQ(rows, logClient::s_aLogLevelDefault + 7);

    client.setLogLevelList(logClient::s_aLogLevelDefault + 3, 2);
    EXPECT_EQ(client.getLogLevelList(1 | 4, 0, &rows, &count), S_OK);
    ASSERT_EQ(count, 2);
    EXPECT_NE(rows[0].name, logClient::s_aLogLevelDefault[3].name); // copies
    EXPECT_EQ(narrow(rows[1].name), "WARNING");
    EXPECT_EQ(client.setLogLevelList(rows + 1, 1), S_OK); // from the list itself
    EXPECT_EQ(client.setLogLevelList(rows, -1), hr(0x80070057));
    EXPECT_EQ(client.getLogLevelList(1, 0, &rows, &count), S_OK);
    ASSERT_EQ(count, 1);
    EXPECT_EQ(narrow(rows[0].name), "WARNING");
}

TEST_F(LogClient, modes)
{
    const tagLogMode* rows = nullptr;
    int count = -1;
    EXPECT_EQ(client.addLogModeList(modeRows, 2), S_OK);
    EXPECT_EQ(client.addLogModeList(modeRows + 2, 1), S_OK);
    EXPECT_EQ(client.addLogModeList(nullptr, 5), S_OK);
    EXPECT_EQ(client.getLogModeList(0, 0, &rows, &count), hr(0x80004001));
    EXPECT_EQ(client.getLogModeList(1, 0, &rows, &count), S_OK);
    ASSERT_EQ(count, 3);
    EXPECT_EQ(narrow(rows[0].name) + "/" + narrow(rows[0].description), "entry/calls");
    EXPECT_EQ(narrow(rows[1].description), "");
    EXPECT_EQ(narrow(rows[2].name), "!invalid!");

    const struct {
        const char* text;
        zulong modes;
        bool known;
    } cases[] = {
        {"entry|config", 3, true},      {"CONFIG", 2, true}, {"entry,bogus", 1, false},
        {"bogus+config", 2, false},     {"", 0, true},       {" ,+| ", 0, true},
        {" entry  + config ", 3, true}, {"ent", 0, false},   {"!Invalid!", 4, true},
    };
    for (const auto& c : cases) {
        const auto text = widen<zwchar>(c.text);
        zulong modes = 99;
        EXPECT_EQ(client.setLogModesString(text.c_str()), c.known ? S_OK : hr(0x80004005)) << c.text;
        EXPECT_EQ(client.getLogModes(&modes), S_OK);
        EXPECT_EQ(modes, c.modes) << c.text;
    }
    client.setLogModes(6);
    EXPECT_EQ(client.checkLogModes(12), S_OK);
    EXPECT_EQ(client.checkLogModes(9), hr(0x80004005));
    EXPECT_EQ(client.addLogModeList(rows, 3), S_OK); // its own rows once more
    EXPECT_EQ(client.getLogModeList(1, 0, &rows, &count), S_OK);
    EXPECT_EQ(count, 6);
    EXPECT_EQ(client.setLogModeList(rows + 4, 1), S_OK);
    EXPECT_EQ(client.getLogModeList(1, 0, &rows, &count), S_OK);
    ASSERT_EQ(count, 1);
    EXPECT_EQ(narrow(rows[0].name), "config");
    EXPECT_EQ(client.setLogModeList(nullptr, 0), S_OK);
    EXPECT_EQ(client.getLogModeList(1, 0, &rows, &count), S_OK);
    EXPECT_EQ(count, 0);
}

TEST_F(LogClient, holdsOneReference)
{
    TextLog a;
    TextLog b;
    a.AddRef();
    b.AddRef();
    client.setLogLevel(18);
    client.setLog(&a);
    client.setLog(&a);
    EXPECT_EQ(a.AddRef(), 3u);
    EXPECT_EQ(client.useLog(), &a);
    IMCWLog* log = nullptr;
    EXPECT_EQ(client.getLog(nullptr), hr(0x80070057));
    EXPECT_EQ(client.getLog(&log), S_OK);
    EXPECT_EQ(log->Release(), 3u);
    client.setLog(&b);
    EXPECT_EQ(a.Release(), 1u);
    EXPECT_TRUE(client.passes(18));
    client.setLog(nullptr);
    EXPECT_FALSE(client.passes(1)); // the level goes with the log
    client.setLogLevel(18);
    client.setLog(nullptr); // nothing new
    EXPECT_TRUE(client.passes(18));
    EXPECT_EQ(b.AddRef(), 2u);

    auto* const made = new logClient;
    void* object = nullptr;
    EXPECT_EQ(made->QueryInterface(IID_IMCWLog, &object), hr(0x80004002));
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(made->QueryInterface(IID_IMCWLogClient, &object), S_OK);
    EXPECT_EQ(object, made);
    made->setLog(&a);
    EXPECT_EQ(made->AddRef(), 2u);
    EXPECT_EQ(made->Release(), 1u);
    EXPECT_EQ(made->Release(), 0u);
    EXPECT_EQ(a.AddRef(), 2u);
    EXPECT_EQ(client.Release(), 0u); // was never counted, stays
}

TEST_F(LogClient, theLogMayChangeWhileItIsTaken)
{
    const auto owner = [](TextLog* log) {
        log->AddRef();
        return log;
    };
    TextLog* logs[2] = {owner(new TextLog), owner(new TextLog)};
    std::atomic<bool> go{true};
    std::thread taker([&] {
        for (int i = 0; i < 20000; ++i) {
            IMCWLog* log = nullptr;
            if (client.getLog(&log) == S_OK)
                log->Release();
        }
        go = false;
    });
    for (int i = 0; go; ++i) {
        TextLog*& log = logs[i & 1];
        client.setLog(log);
        log->Release(); // the client holds the only reference now
        log = owner(new TextLog);
    }
    taker.join();
    client.setLog(nullptr);
    logs[0]->Release();
    logs[1]->Release();
}

} // namespace
