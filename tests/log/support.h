#pragma once
// A log that keeps what it is given, fixed time and thread, a folder for files.

#include "platform/clock.h"

#include <ztree/log.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

/// Keeps every piece; its two texts can be asked for.
class TextLog : public mcwLog {
public:
    using mcwLog::entryHeader;
    using mcwLog::getSysMessage;

    /// What came since the last call.
    std::string take()
    {
        std::string out;
        out.swap(text);
        pieces = 0;
        return out;
    }

    std::string text;
    int pieces = 0;
    unsigned last = 0; ///< entry word of the last piece
    HRESULT result = S_OK;

protected:
    HRESULT output(unsigned entry, const char* s, std::size_t n) override
    {
        text.append(s, n);
        last = entry;
        ++pieces;
        return result;
    }
};

/// 2012-03-02 14:03:07:042 local time, thread 0x1A2C.
struct FixedClock {
    FixedClock()
    {
        platform::FakeClock::set({2012, 3, 5, 2, 13, 3, 7, 42}, {2012, 3, 5, 2, 14, 3, 7, 42});
        platform::FakeClock::setThread(0x1A2C);
    }
    ~FixedClock() { platform::FakeClock::clear(); }
};

/// An empty folder for a time.
struct LogFolder {
    LogFolder()
    {
        std::filesystem::remove_all(path);
        std::filesystem::create_directory(path);
    }
    ~LogFolder() { std::filesystem::remove_all(path); }
    static std::string get(const std::string& name)
    {
        std::ifstream in(path + ("/" + name), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    static constexpr const char* path = "log.d";
};

constexpr HRESULT hr(unsigned code)
{
    return static_cast<HRESULT>(code);
}
