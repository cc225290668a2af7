#pragma once
// The work behind fileLog.

#include "platform/file.h"
#include "platform/lock.h"

#include <ztree/log.h>

#include <chrono>

/// A file that several writers append to. Results are system codes. Every public operation takes the lock;
/// ...Held helpers rely on it.
class mFileLog : public platform::HeapObject {
public:
    /// Is called when writing begins to fail, and with error 0 when it works again.
    typedef void (*Tell)(fileLog& owner, const char* path, unsigned error);
    mFileLog(fileLog& owner, Tell tell) noexcept : m_owner(owner), m_tell(tell) {}
    ~mFileLog();
    bool init() noexcept { return m_ready = m_lock.init(spins); }

    unsigned open(const char* path) noexcept;
    unsigned isOpen() noexcept;
    unsigned reset() noexcept;
    unsigned close() noexcept;
    unsigned flush() noexcept;
    unsigned append(const char* text, std::size_t length, bool urgent) noexcept;

    void setLimit(std::uint64_t bytes, int backups) noexcept;
    void setRotateOnOpen(bool rotate) noexcept;
    unsigned setFlushPolicy(fileLog::FlushPolicy policy) noexcept;

private:
    using Clock = std::chrono::steady_clock;

    unsigned appendHeld(const char* text, std::size_t length, bool urgent, bool* kept) noexcept;
    unsigned appendInReport(const char* text, std::size_t length) noexcept;
    unsigned flushHeld() noexcept;
    unsigned writeHeld(const char* text, std::size_t length, std::size_t* written) noexcept;
    unsigned writeOnce(const char* text, std::size_t length, std::size_t* written) noexcept;
    unsigned writeNotice() noexcept;
    unsigned prepare(std::size_t length) noexcept;
    bool isGone(std::size_t written) noexcept;
    unsigned openHeld() noexcept;
    void rotateHeld() noexcept;
    bool isMoved() noexcept;
    void turn(unsigned error) noexcept;

    static constexpr zulong spins = 100;
    static constexpr std::size_t blockRoom = 65536;

    fileLog& m_owner;
    Tell m_tell;
    platform::Lock m_lock;
    bool m_ready = false; ///< the lock can be used
    platform::File m_file;
    char* m_path = nullptr; ///< null: nothing was opened
    fileLog::FlushPolicy m_policy = fileLog::flushEach;
    std::uint64_t m_limit = 0;
    int m_backups = 1000;
    bool m_rotateOnOpen = false;

    std::uint64_t m_size = 0;      ///< of the file, as far as we know
    std::uint64_t m_lookAgain = 0; ///< size at which a rotation that failed is tried again
    Clock::time_point m_checked{}; ///< when the name was last seen to be this file's
    Clock::time_point m_now{};     ///< when the write under way began
    Clock::time_point m_looked{};  ///< when the file was last seen to have a name

    char* m_block = nullptr;
    std::size_t m_held = 0; ///< bytes in the block that are to be written

    unsigned m_error = 0;     ///< of the last write
    unsigned long m_lost = 0; ///< pieces refused since the last notice
    unsigned m_lostError = 0;
    bool m_torn = false;      ///< a piece was written in part
    bool m_abandoned = false; ///< a crash report could not get the lock
};
