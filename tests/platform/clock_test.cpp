#include "platform/clock.h"
#include "platform/thread.h"

#include <gtest/gtest.h>

#include <ctime>
#include <thread>

namespace {

using platform::fileTime;
constexpr std::uint64_t epoch1970 = 116444736000000000u;

SYSTEMTIME calendar(int year, int month, int day, int hour = 0, int minute = 0, int second = 0, int ms = 0)
{
    const auto f = [](int v) { return static_cast<std::uint16_t>(v); };
    return {f(year), f(month), 0, f(day), f(hour), f(minute), f(second), f(ms)};
}

TEST(Clock, fileTimeCountsFrom1601)
{
    EXPECT_EQ(fileTime(calendar(1970, 1, 1)), epoch1970);
    EXPECT_EQ(fileTime(calendar(1601, 1, 1, 0, 0, 0, 1)), 10000u);
    EXPECT_EQ(fileTime(calendar(2000, 3, 1)) - fileTime(calendar(2000, 2, 29)), 864000000000u);
    EXPECT_EQ(fileTime(calendar(2100, 3, 1)) - fileTime(calendar(2100, 2, 28)), 864000000000u);
    const SYSTEMTIME invalid[] = {calendar(1600, 12, 31), calendar(2100, 2, 29), calendar(2000, 13, 1),
                                  calendar(2000, 4, 31),  calendar(2000, 1, 0),  calendar(2000, 1, 1, 24)};
    for (const SYSTEMTIME& t : invalid)
        EXPECT_EQ(fileTime(t), 0u);
}

TEST(Clock, isTheSystems)
{
    const std::time_t before = std::time(nullptr);
    const SYSTEMTIME utc = platform::utcTime();
    const SYSTEMTIME local = platform::localTime();
    const auto seconds = static_cast<std::time_t>((fileTime(utc) - epoch1970) / 10000000);
    EXPECT_GE(seconds, before);
    EXPECT_LE(seconds, before + 5);
    std::time_t now = seconds;
    const std::tm parts = *std::localtime(&now);
    EXPECT_EQ(local.wHour, parts.tm_hour);
    EXPECT_EQ(local.wDay, parts.tm_mday);
    EXPECT_EQ(utc.wDayOfWeek, std::gmtime(&now)->tm_wday);
}

TEST(Clock, canBeFixedForTests)
{
    platform::FakeClock::set(calendar(2012, 3, 2, 13), calendar(2012, 3, 2, 14));
    platform::FakeClock::setThread(0x1A2C);
    EXPECT_EQ(platform::utcTime().wHour, 13);
    EXPECT_EQ(platform::localTime().wHour, 14);
    EXPECT_EQ(platform::threadId(), 0x1A2Cu);
    platform::FakeClock::clear();
    std::uint32_t other = 0;
    std::thread([&] { other = platform::threadId(); }).join();
    EXPECT_NE(other, platform::threadId());
    EXPECT_EQ(platform::threadId(), platform::threadId());
}

} // namespace
