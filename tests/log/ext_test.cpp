#include "log/support.h"
#include "support/heap_fixture.h"

#include <gtest/gtest.h>
#include <ztree/ext/log.h>

#include <limits>
#include <string>

namespace {

template <class... Args> std::string text(std::string_view pattern, const Args&... args)
{
    std::string out(4000, '\0');
    out.resize(ztree::logText(&out[0], out.size(), pattern, args...));
    return out;
}

enum class Colour : unsigned char { red = 7 };

TEST(LogFormat, values)
{
    EXPECT_EQ(text("{} {} {} {}", 7, -7L, 18446744073709551615ull, std::numeric_limits<long long>::min()),
              "7 -7 18446744073709551615 -9223372036854775808");
    EXPECT_EQ(text("{}{}{}{}", true, 'c', false, Colour::red), "truecfalse7");
    EXPECT_EQ(text("{} {:.3} {:.0} {}", 0.1, 2.0 / 3, 2.5f, 0.1f), "0.1 0.667 2 0.1");
    EXPECT_EQ(text("{:x} {:X} {:x}", 255, 0xABCDu, static_cast<short>(-1)), "ff ABCD ffffffffffffffff");
    EXPECT_EQ(text("{} {} {}", reinterpret_cast<void*>(0x1A), "lit", static_cast<const char*>(nullptr)),
              "0x1a lit (null)");
    EXPECT_EQ(text("{}{}{}", std::string("a\0b", 3), std::string_view("c"), ZString("zs")),
              std::string("a\0bczs", 6));
    EXPECT_EQ(text("{:.60}", 1e300).size(), 362u);
}

TEST(LogFormat, patterns)
{
    EXPECT_EQ(text(""), "");
    EXPECT_EQ(text("{{}} {{{}}}", 1), "{} {1}");
    EXPECT_EQ(text("{} and {}", 1), "1 and {}"); // nothing for the second place
    EXPECT_EQ(text("{}", 1, 2), "1");
    EXPECT_EQ(text("{:y} {", 1), "{:y} {");
    EXPECT_EQ(text("} {:.3} {:x}", 1, 2.5), "} {:.3} 1");
    EXPECT_EQ(text("{:.} {:.61} {:.1x}", 1.0), "{:.} {:.61} {:.1x}");
}

class LogCall : public HeapTest {
protected:
    FixedClock clock;
};

TEST_F(LogCall, formatsOnlyWhatPasses)
{
    logClient client;
    TextLog log;
    log.AddRef();
    client.setLogLevel(logWarning);
    EXPECT_EQ(ztree::log(client, logError, "no log"), hr(0x80004005));
    client.setLog(&log);
    EXPECT_EQ(ztree::log(client, logInfo, "{}", 1), S_FALSE);
    EXPECT_EQ(log.pieces, 0);
    EXPECT_EQ(ztree::log(client, logNoTime | logWarning, "{} of {}", 1, "two"), S_OK);
    const IMCWLogClient& base = client;
    EXPECT_EQ(ztree::log(base, logNoTime | logInfo, "{}", 1), S_FALSE);
    EXPECT_EQ(ztree::log(base, logNoTime | logError, "plain"), S_OK);
    EXPECT_EQ(log.take(), "[T:1A2C Warning] 1 of two\r\n[T:1A2C ERROR] plain\r\n");
    EXPECT_EQ(platform::Hooks::calls(platform::Site::heap), 0);

    const std::string longText(5000, 'x');
    log.setFlags(1);
    EXPECT_EQ(ztree::log(client, logError, "<{}{}>", longText, longText), S_OK);
    EXPECT_EQ(log.take(), "<" + longText + longText + ">\r\n");
    platform::Hooks::failAt(platform::Site::heap, 1);
    EXPECT_EQ(ztree::log(client, logError, "<{}>", longText), S_OK);
    EXPECT_EQ(log.take(), "<" + longText.substr(0, 511) + "\r\n"); // better the beginning than nothing
    platform::Hooks::failAt(platform::Site::heap, 0);
    client.setLog(nullptr);
}

} // namespace
