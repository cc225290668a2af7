#include "log/mFileLog.h"

#include "platform/fault.h"
#include "platform/syserror.h"
#include "platform/thread.h"

#include <ztree/helpers.h>

#include <cstdio>
#include <cstring>

using platform::LockHold;

namespace {
constexpr unsigned notOpen = 6;
constexpr unsigned noMemory = 14;
constexpr unsigned badName = 87;
constexpr auto checkEvery = std::chrono::seconds(1);
constexpr auto lookEvery = std::chrono::milliseconds(5); // a look costs a system call
} // namespace

mFileLog::~mFileLog()
{
    if (m_ready)
        close();
    platform::heapFree(m_block);
}

// --- settings ---

void mFileLog::setLimit(std::uint64_t bytes, int backups) noexcept
{
    const LockHold hold(m_lock);
    m_limit = bytes;
    m_backups = backups;
    m_lookAgain = 0;
}

void mFileLog::setRotateOnOpen(bool rotate) noexcept
{
    const LockHold hold(m_lock);
    m_rotateOnOpen = rotate;
}

unsigned mFileLog::setFlushPolicy(fileLog::FlushPolicy policy) noexcept
{
    const LockHold hold(m_lock);
    if (policy == fileLog::flushBlocks && !m_block) {
        m_block = platform::allocArray<char>(blockRoom);
        if (!m_block)
            return noMemory;
    }
    const unsigned error = policy == m_policy ? 0 : flushHeld();
    m_policy = policy;
    return error;
}

// --- the file ---

unsigned mFileLog::open(const char* path) noexcept
{
    if (!path || !*path)
        return badName;
    const std::size_t room = std::strlen(path) + 1;
    char* const copy = platform::allocArray<char>(room);
    if (!copy)
        return noMemory;
    std::memcpy(copy, path, room);
    const LockHold hold(m_lock);
    if (m_path) {
        flushHeld(); // what cannot be written goes to the new file
        platform::heapFree(m_path);
    }
    m_file = platform::File();
    m_path = copy;
    platform::FileState there;
    if (m_rotateOnOpen && platform::fileState(m_path, &there) == 0 && there.size > 0)
        backupFile(m_path, m_backups);
    const unsigned error = openHeld();
    turn(error);
    return error;
}

unsigned mFileLog::openHeld() noexcept
{
    platform::File fresh;
    platform::FileState state;
    unsigned error = fresh.open(m_path, platform::OpenFor::share);
    if (!error)
        error = fresh.state(&state);
    if (error)
        return error;
    m_file = std::move(fresh);
    m_size = state.size;
    m_lookAgain = 0;
    m_looked = m_checked = m_now = Clock::now();
    return 0;
}

unsigned mFileLog::isOpen() noexcept
{
    const LockHold hold(m_lock);
    return !m_path ? notOpen : m_error;
}

unsigned mFileLog::reset() noexcept
{
    const LockHold hold(m_lock);
    if (!m_path)
        return notOpen;
    m_held = 0;
    const unsigned error = platform::emptyFile(m_path);
    if (!error)
        m_size = 0;
    return error;
}

unsigned mFileLog::close() noexcept
{
    const LockHold hold(m_lock);
    if (!m_path)
        return notOpen;
    unsigned error = flushHeld();
    if (m_file.isOpen()) {
        const unsigned closing = m_file.close();
        error = error ? error : closing;
    }
    platform::heapFree(m_path);
    m_path = nullptr;
    m_held = 0;
    m_error = 0;
    m_lost = 0;
    m_torn = false;
    return error;
}

// True when the name stands for another file by now, or for none.
bool mFileLog::isMoved() noexcept
{
    platform::FileState ours, named;
    if (m_file.state(&ours) != 0)
        return false;
    const unsigned error = platform::fileState(m_path, &named);
    return error ? error == 2 || error == 3 : !named.isSameFile(ours);
}

// Moves the file aside and goes on in a new one. Every writer of the file may come here at the same time:
// the first to lock it moves it, the others find it moved and follow.
void mFileLog::rotateHeld() noexcept
{
    const bool locked = m_file.lockOthersOut() == 0;
    if (!isMoved())
        backupFile(m_path, m_backups);
    const bool moved = isMoved();
    if (locked)
        m_file.unlock();
    if (!moved || openHeld() != 0)
        m_lookAgain = m_size + m_limit / 8 + 1; // it stays: better too long than lost
}

// What has to be so before `length` bytes are written.
unsigned mFileLog::prepare(std::size_t length) noexcept
{
    if (!m_path)
        return notOpen;
    if (!m_file.isOpen())
        return openHeld();
    if (m_limit && m_size > 0 && m_size + length > m_limit && m_size >= m_lookAgain)
        rotateHeld();
    m_now = Clock::now();
    if (m_now - m_checked > checkEvery) {
        m_checked = m_now;
        if (isMoved())
            openHeld(); // on failure the old file takes it, if that still has a name
    }
    return 0;
}

// --- writing ---

unsigned mFileLog::writeOnce(const char* text, std::size_t length, std::size_t* written) noexcept
{
    const unsigned error = m_file.append(text, length, written);
    if (*written > 0)
        m_torn = *written < length;
    return error;
}

// Says what is missing, in a line of its own.
unsigned mFileLog::writeNotice() noexcept
{
    char line[640];
    std::size_t n = 0;
    if (m_torn) {
        line[n++] = '\r';
        line[n++] = '\n';
    }
    if (m_lost) {
        char why[512];
        int length = platform::systemMessage(m_lostError, why, sizeof why);
        while (length > 0 && (why[length - 1] == '\r' || why[length - 1] == '\n'))
            --length;
        n += static_cast<std::size_t>(std::snprintf(line + n, sizeof line - n,
                                                    "*** %lu entries lost: %u - %.*s ***\r\n", m_lost,
                                                    m_lostError, length, why));
    }
    std::size_t written;
    const unsigned error = writeOnce(line, n, &written);
    if (!error)
        m_lost = 0;
    return error;
}

// True when what was just written went with a file that has no name any more. Asked now and then: what
// was written before the file was removed is lost as well.
bool mFileLog::isGone(std::size_t written) noexcept
{
    m_size += written;
    if (m_now - m_looked < lookEvery)
        return false;
    m_looked = m_now;
    platform::FileState state;
    if (m_file.state(&state) != 0)
        return false;
    m_size = state.size;
    return state.removed;
}

unsigned mFileLog::writeHeld(const char* text, std::size_t length, std::size_t* written) noexcept
{
    for (int attempt = 0;; ++attempt) {
        *written = 0;
        unsigned error = prepare(length);
        if (!error && (m_lost || m_torn))
            error = writeNotice();
        if (!error)
            error = writeOnce(text, length, written);
        if (!error && m_policy == fileLog::flushDisk)
            error = m_file.sync();
        if (!error && isGone(length)) {
            error = attempt == 0 ? openHeld() : notOpen;
            if (!error)
                continue;
            *written = 0;
            m_file = platform::File();
        }
        turn(error);
        return error;
    }
}

// Tells the owner of a change.
void mFileLog::turn(unsigned error) noexcept
{
    if ((error != 0) != (m_error != 0) && m_path)
        m_tell(m_owner, m_path, error);
    m_error = error;
}

unsigned mFileLog::flushHeld() noexcept
{
    if (m_held == 0)
        return 0;
    std::size_t written;
    const unsigned error = writeHeld(m_block, m_held, &written);
    if (!error || written == m_held) {
        m_held = 0;
        return error;
    }
    // The line that was torn is written again as a whole.
    while (written > 0 && m_block[written - 1] != '\n')
        --written;
    m_held -= written;
    std::memmove(m_block, m_block + written, m_held);
    return error;
}

unsigned mFileLog::flush() noexcept
{
    const LockHold hold(m_lock);
    return m_path ? flushHeld() : notOpen;
}

// *kept: the piece is in the file or in the block, whatever the result.
unsigned mFileLog::appendHeld(const char* text, std::size_t length, bool urgent, bool* kept) noexcept
{
    *kept = false;
    if (!m_path)
        return notOpen;
    const std::size_t room = m_limit && m_limit < blockRoom ? static_cast<std::size_t>(m_limit) : blockRoom;
    unsigned error = 0;
    if (m_held > 0 && m_held + length > room)
        error = flushHeld();
    if (error)
        return error;
    if (m_policy != fileLog::flushBlocks || length > room) {
        std::size_t written;
        error = writeHeld(text, length, &written);
        *kept = written == length;
        return error;
    }
    // The count last: a fault on the way leaves whole pieces.
    std::memcpy(m_block + m_held, text, length);
    m_held += length;
    *kept = true;
    return urgent ? flushHeld() : 0;
}

unsigned mFileLog::append(const char* text, std::size_t length, bool urgent) noexcept
{
    if (platform::inFaultReport())
        return appendInReport(text, length);
    const LockHold hold(m_lock);
    bool kept;
    const unsigned error = appendHeld(text, length, urgent, &kept);
    if (!kept && m_path) {
        ++m_lost;
        m_lostError = error;
    }
    return error;
}

// The thread that faulted may hold the lock itself, in the middle of anything, or another one that faulted
// may: after a while it has to go without.
unsigned mFileLog::appendInReport(const char* text, std::size_t length) noexcept
{
    bool entered = false;
    for (int rest = m_abandoned ? 1 : 300; rest > 0 && !(entered = m_lock.tryEnter()); --rest)
        platform::sleepFor(1);
    m_abandoned = !entered;
    unsigned error = m_path ? 0 : notOpen;
    if (!error && !m_file.isOpen())
        error = m_file.open(m_path, platform::OpenFor::share);
    if (!error) {
        std::size_t written;
        if (m_torn)
            m_file.appendNow("\r\n", 2, &written);
        m_torn = false;
        const std::size_t held = m_held;
        m_held = 0;
        if (held > 0 && held <= blockRoom)
            m_file.appendNow(m_block, held, &written);
        error = m_file.appendNow(text, length, &written);
    }
    if (entered)
        m_lock.leave();
    return error;
}
