#pragma once
/// @file log.h
/// Logs that write lines with a header (mcwLog, fileLog, conLog, sysLog) and the filter that a component
/// puts in front of one (logClient). The interface IMCWLog stands in runtime.h.
///
/// COM-style objects: the count of a new object is 0. Make it with new, AddRef() it, and the last
/// Release() deletes it; an object on the stack gets one AddRef() that is never released.

#include <ztree/runtime.h>
#include <ztree/version.h>

#include <atomic>

/// Level numbers: the low byte of an entry word. Smaller is more severe.
enum : unsigned {
    logEmergency = 1, ///< the system is unusable
    logAlert = 2,     ///< somebody has to act at once
    logCritical = 5,  ///< a part has failed
    logError = 10,    ///< an operation has failed
    logWarning = 13,  ///< something is not as it should be
    logNotice = 15,   ///< normal, and worth a look
    logInfo = 18,     ///< what goes on
    logDebug = 20,    ///< for whoever looks for a fault
};
/// Bits of an entry word that leave a part of the header out.
enum : unsigned {
    logNoLevel = 0x20000000,  ///< the level word
    logNoTime = 0x40000000,   ///< date and time
    logNoThread = 0x80000000, ///< the thread
};

/// Told by a log that it cannot write.
class IErrorLog : public IUnknown {
public:
    /// Called when writing to `target` (a file's name) begins to fail with `code`, and with 0 when it works
    /// again; not for each entry. Called by the writing thread while the log holds its own lock: do not
    /// call back into the log.
    virtual HRESULT ZTREE_COMCALL logFailed(const char* target, zlong code) = 0;

protected:
    ~IErrorLog() = default;
};

/// The error log of a log that was given none: takes everything and does nothing.
class ZTREE_API errorLogDummy final : public IErrorLog {
public:
    HRESULT ZTREE_COMCALL QueryInterface(const GUID& iid, void** object) override;
    zulong ZTREE_COMCALL AddRef() override { return 1; }
    zulong ZTREE_COMCALL Release() override { return 1; }
    HRESULT ZTREE_COMCALL logFailed(const char*, zlong) override { return S_OK; }
    /// The one object; it is never deleted.
    static errorLogDummy* instance() noexcept;
};

/// What a log can do beyond IMCWLog.
class IMCWLog2 : public IMCWLog {
public:
    /// From now on whatever is written goes to `other` alone; null ends that. The log keeps a reference.
    /// Both logs say so, each in an entry of level 18: this one "[Switching log]..." and at the end
    /// "[Unswitching log]", the other "[Entering switched log]" and "[Exiting switched log]".
    /// 0x80070057 for a log that leads back to this one.
    virtual HRESULT ZTREE_COMCALL switchLog(IMCWLog* other) = 0;
    /// Stores the log that is written to instead, with a new reference; null and 0x80004005 for none.
    virtual HRESULT ZTREE_COMCALL getSwitched(IMCWLog** other) = 0;
    /// Who is told of failing writes; null: nobody (errorLogDummy). The log keeps a reference.
    virtual HRESULT ZTREE_COMCALL setErrorLog(IErrorLog* errors) = 0;
    /// Stores the error log with a new reference, never null.
    virtual HRESULT ZTREE_COMCALL getErrorLog(IErrorLog** errors) = 0;
    /// Writes out what the log still holds back.
    virtual HRESULT ZTREE_COMCALL flush() = 0;

protected:
    ~IMCWLog2() = default;
};
/// {9D3A1F60-2B57-4C8E-9E14-70C6A5D2B8F3}
inline constexpr GUID IID_IMCWLog2 = {
    0x9D3A1F60, 0x2B57, 0x4C8E, {0x9E, 0x14, 0x70, 0xC6, 0xA5, 0xD2, 0xB8, 0xF3}};

namespace ztree::detail {
/// A counted pointer that threads may replace while others take references from it.
class LogSlot {
public:
    LogSlot() noexcept : m_word(0) {}
    LogSlot(const LogSlot&) = delete;
    LogSlot& operator=(const LogSlot&) = delete;

    bool isSet() const noexcept { return m_word.load(std::memory_order_relaxed) != 0; }
    /// The pointer without a reference.
    IUnknown* peek() const noexcept
    {
        return reinterpret_cast<IUnknown*>(m_word.load(std::memory_order_acquire) & ~busy);
    }
    /// The pointer with a new reference, or null.
    ZTREE_API IUnknown* acquire() const;
    /// Puts `next` in with a new reference; returns what was there, whose reference is the caller's now.
    ZTREE_API IUnknown* replace(IUnknown* next);

private:
    static constexpr std::uintptr_t busy = 1; // a reference is being taken: the pointer has to stay
    mutable std::atomic<std::uintptr_t> m_word;
};
} // namespace ztree::detail

/// Base of the logs: puts header, text and line end together and hands them on in one piece. By itself it
/// writes nowhere; a chain or a switched log may still take what it is given.
///
/// An entry is `[T:1A2C 2012-03-02, 14:03:07:042 ERROR] ` (thread in hexadecimal, local time, level word),
/// the hint and ": " when there is one, and the text. Line ends are CR LF. Level words: 2 "ALERT!!",
/// 5 "CRITICAL!", 10 "ERROR", 13 "Warning", 15 "Notice", 18 "Info", 20 "Debug", any other "Hint".
///
/// Ownership: holds references on chain, switched log and error log.
/// Threads: any number may write at a time, also while chain or switched log change. Hint, flags and the
///     settings of derived logs are made before the log is shared.
/// Failure: results are HRESULTs, 0x8007xxxx for a system error; nothing throws. Up to 1 KB of text needs
///     no heap.
class ZTREE_API mcwLog : public IMCWLog2 {
public:
    mcwLog() noexcept;
    mcwLog(const mcwLog&) = delete;
    mcwLog& operator=(const mcwLog&) = delete;
    virtual ~mcwLog();

    /// IID_IUnknown, IID_IMCWLog and IID_IMCWLog2.
    HRESULT ZTREE_COMCALL QueryInterface(const GUID& iid, void** object) override;
    zulong ZTREE_COMCALL AddRef() override;
    zulong ZTREE_COMCALL Release() override;

    HRESULT ZTREE_COMCALL write(const char* text, int length) override;
    HRESULT ZTREE_COMCALL writeln(const char* text, int length) override;
    /// The text, the code and the system's message, with a line end.
    HRESULT ZTREE_COMCALL sysMessage(const char* text, zlong code) override;
    /// Formats by print.h's rules. A format that is null or has a conversion that is none (or %n), and
    /// arguments that fault, write "varnik::brax::mcwLog: *** Invalid error format string ***\r\n" instead
    /// and give 0x80070057.
    HRESULT printf(const char* fmt, ...) override ZTREE_PRINTF(2, 3);
    HRESULT ZTREE_COMCALL writeEntry(unsigned entry, const char* text, int length) override;
    HRESULT ZTREE_COMCALL writelnEntry(unsigned entry, const char* text, int length) override;
    HRESULT ZTREE_COMCALL sysMessageEntry(unsigned entry, const char* text, zlong code) override;
    HRESULT printfEntry(unsigned entry, const char* fmt, ...) override ZTREE_PRINTF(3, 4);
    /// An entry "Memory at 0x..., N bytes" and below it formatDump()'s lines; one piece up to 256 bytes of
    /// data, pieces of whole lines above.
    HRESULT ZTREE_COMCALL hexDump(unsigned entry, const char* data, unsigned long length) override;

    /// 0: there is nothing to open.
    HRESULT ZTREE_COMCALL isOpen() override { return S_OK; }
    /// What is written here is written to `next` as well, entries as entries, so that each log makes its
    /// own header. 0x80070057 for a log that leads back to this one or has 64 logs behind it.
    HRESULT ZTREE_COMCALL setChain(IMCWLog* next) override;
    /// Null and 0x80004005 for none.
    HRESULT ZTREE_COMCALL getChain(IMCWLog** next) override;
    HRESULT ZTREE_COMCALL setHint(const char* hint) override;
    HRESULT ZTREE_COMCALL getHint(const char** hint) override;

    HRESULT ZTREE_COMCALL switchLog(IMCWLog* other) override;
    HRESULT ZTREE_COMCALL getSwitched(IMCWLog** other) override;
    HRESULT ZTREE_COMCALL setErrorLog(IErrorLog* errors) override;
    HRESULT ZTREE_COMCALL getErrorLog(IErrorLog** errors) override;
    HRESULT ZTREE_COMCALL flush() override { return S_OK; }

    /// The flags word; bit 0: no entry gets a header.
    void setFlags(unsigned flags) noexcept { m_flags = flags; }
    /// The flags word.
    unsigned getFlags() const noexcept { return m_flags; }

    static void* operator new(std::size_t bytes) noexcept { return platform::heapAlloc(bytes); }
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void* block) noexcept { platform::heapFree(block); }
    static void operator delete(void*, void*) noexcept {}

protected:
    /// Writes the header of an entry word. Returns its characters, -1 when it does not fit (the buffer then
    /// holds the first `size` of them), 0 when there is none. Terminated when there is room for that.
    int entryHeader(unsigned int entry, char* buffer, int size);
    /// Writes "text: code - system message". Returns the length, which the caller goes by: the message's
    /// line end may still stand behind it. -1 when text and code do not fit, and a message that does not
    /// is left out. The last byte of the buffer is always zero.
    int getSysMessage(const char* text, zlong code, char* buffer, int size);

    /// Takes what is written, a whole piece at a time, from any thread. `entry` is 0 outside of entries.
    virtual HRESULT output(unsigned entry, const char* text, std::size_t length);
    /// Hands a failure, or its end, to the error log.
    void tellErrorLog(const char* target, zlong code) noexcept;

    unsigned m_flags;

private:
    enum How : unsigned { asText = 0, asEntry = 1, withLineEnd = 2 };
    HRESULT put(unsigned how, unsigned entry, const char* text, int length);
    HRESULT putHere(unsigned how, unsigned entry, const char* text, std::size_t length);
    HRESULT putFormatted(unsigned how, unsigned entry, const char* fmt, va_list args);
    HRESULT putSysMessage(unsigned how, unsigned entry, const char* text, zlong code);
    HRESULT dumpHere(unsigned entry, const char* data, unsigned long length);
    static HRESULT forward(IMCWLog& to, unsigned how, unsigned entry, const char* text, int length);
    bool isReachedFrom(IMCWLog* log);

    std::atomic<zlong> m_count;
    ztree::detail::LogSlot m_chain;
    ztree::detail::LogSlot m_switched;
    ztree::detail::LogSlot m_errors;
    char* m_hint;
};

class mFileLog;

/// Log that appends to a file. Any number of objects, threads and processes may write to one file: every
/// piece (an entry, a line) is appended as a whole and none is lost.
///
/// Rotation stands on backupFile(): app.log becomes app000.log, app001.log ... All writers of the file may
/// have a limit, which the file may pass by what they write in some milliseconds; each follows when another
/// has moved it. A file that somebody else has removed is made anew some milliseconds later, one that was
/// moved about a second later.
///
/// A write that fails (full disk, folder gone, nothing open) is reported by its result. The file is tried
/// again with each piece; when it works again, a line "*** 3 entries lost: 112 - ... ***" stands where
/// they are missing.
///
/// In a crash report (see structExcept) it waits at most a moment for its lock, uses no heap, and writes
/// first what it holds back.
///
/// Failure: the constructor throws structExcept 0x84201001 or 0x84201002, nothing else throws.
class ZTREE_API fileLog : public mcwLog {
public:
    /// When a piece is written.
    enum FlushPolicy {
        flushEach, ///< at once: what a call has accepted survives the process
        /// In blocks of up to 64 KB: when one is full, with each entry of level 10 and below, with flush()
        /// and close(). A block is one write of whole pieces. The process's sudden end loses what is held
        /// back, unless the log is the one that the crash report goes to. While writing fails, calls that
        /// had to write report it, the block is kept, and pieces that find no room in it are refused.
        flushBlocks,
        flushDisk ///< at once, and on the disk before the call returns
    };

    fileLog();
    ~fileLog() override;

    /// Opens or makes the file. On failure the name is kept all the same, and each write tries again.
    HRESULT ZTREE_COMCALL open(const char* path) override;
    /// 0 while the file can be written to, else why not; 0x80070006 when nothing was opened.
    HRESULT ZTREE_COMCALL isOpen() override;
    /// Makes the file empty.
    HRESULT ZTREE_COMCALL reset() override;
    /// Flushes and closes; what could not be written is gone, and the result says so. Later writes fail
    /// with 0x80070006. 0x80070006 when nothing was opened.
    HRESULT ZTREE_COMCALL close() override;
    HRESULT ZTREE_COMCALL flush() override;

    /// Moves the file aside before it would grow above `bytes`, keeping up to `backups` (1 to 1000) old
    /// ones, the oldest of which is replaced. 0 bytes: no limit. The name needs an extension. While the
    /// file cannot be moved it goes on growing.
    HRESULT setLimit(unsigned long long bytes, int backups) noexcept;
    /// Whether open() moves a file that is there and not empty aside; the number of backups is setLimit()'s,
    /// 1000 without.
    void setRotateOnOpen(bool rotate) noexcept;
    /// Writes what is held back first. 0x8007000E: no room for a block.
    HRESULT setFlushPolicy(FlushPolicy policy) noexcept;

protected:
    HRESULT output(unsigned entry, const char* text, std::size_t length) override;

private:
    mFileLog* m_pImpl;
};

/// Log that writes to the process's standard error or standard output, each piece at once. Entries are
/// coloured by level when that is a terminal and the environment has no NO_COLOR.
class ZTREE_API conLog : public mcwLog {
public:
    /// To standard error unless told otherwise.
    explicit conLog(bool standardOutput = false) noexcept;
    ~conLog() override;

protected:
    HRESULT output(unsigned entry, const char* text, std::size_t length) override;

private:
    bool m_output;
    bool m_colour;
};

/// Log that hands each piece to the system's own log (syslog; the debugger's output on Windows).
class ZTREE_API sysLog : public mcwLog {
public:
    sysLog() noexcept { m_flags = 1; } // the system adds time and process itself
    ~sysLog() override;

protected:
    HRESULT output(unsigned entry, const char* text, std::size_t length) override;
};

/// One row of a level list.
struct tagLogList {
    unsigned char level;       ///< number, the low byte of an entry word
    const zwchar* name;        ///< as users write it
    const zwchar* description; ///< a sentence for them
};
/// One row of a mode list; the mask has one or more mode bits.
struct tagLogMode {
    zulong mask;               ///< the mode bits
    const zwchar* name;        ///< as users write it
    const zwchar* description; ///< a sentence for them
};

/// Interface of logClient. Results are HRESULTs, 0 for success.
struct IMCWLogClient : public IUnknown {
    /// Puts the log in with a reference and releases the one before. The log that is there already changes
    /// nothing; null sets the level to 0 as well. 0.
    virtual HRESULT ZTREE_COMCALL setLog(IMCWLog* log) = 0;
    /// Stores the log with a new reference; 0x80070057 for null, 0x80004005 without a log.
    virtual HRESULT ZTREE_COMCALL getLog(IMCWLog** log) const = 0;
    /// The log without a new reference, or null.
    virtual IMCWLog* ZTREE_COMCALL useLog() const = 0;
    /// Replaces the enabled modes, a bit each. 0.
    virtual HRESULT ZTREE_COMCALL setLogModes(zulong modes) = 0;
    /// Names of the mode list, separated by any of "+,| ", in any case. 0x80004005 when a name is unknown;
    /// the modes of the others are set all the same.
    virtual HRESULT ZTREE_COMCALL setLogModesString(const zwchar* text) = 0;
    /// Stores the enabled modes; 0x80070057 for null.
    virtual HRESULT ZTREE_COMCALL getLogModes(zulong* modes) const = 0;
    /// 0 if one of these modes is enabled, else 0x80004005.
    virtual HRESULT ZTREE_COMCALL checkLogModes(zulong modes) const = 0;
    /// Entries up to this level pass; with 0 those without a level alone. 0.
    virtual HRESULT ZTREE_COMCALL setLogLevel(unsigned char level) = 0;
    /// The level with this name in the client's list, or in the built-in one if it has none, in any case.
    /// Null sets level 10. 0x80004005 and no change for an unknown name.
    virtual HRESULT ZTREE_COMCALL setLogLevelString(const zwchar* name) = 0;
    /// Stores the level; 0x80070057 for null.
    virtual HRESULT ZTREE_COMCALL getLogLevel(unsigned char* level) const = 0;
    /// 0 if an entry of this level is to be written, else 0x80004005.
    virtual HRESULT ZTREE_COMCALL checkLogLevel(unsigned char level) const = 0;
    /// Replaces the level list by copies of the rows; null or 0 rows: none. Throws structExcept 0x84201001,
    /// then without a list. 0x80070057 and no change for a negative count.
    virtual HRESULT ZTREE_COMCALL setLogLevelList(const tagLogList* rows, int count) = 0;
    /// Stores rows of the client's list; they stay the client's.
    ///   flags  1: the whole list; 2: the row of `level`; neither: the row of the level in force
    ///          4: the built-in list when the client has none
    /// A row that is not found gives null and 0. 0x80070057 for a null output.
    virtual HRESULT ZTREE_COMCALL getLogLevelList(unsigned long flags, unsigned char level,
                                                  const tagLogList** rows, int* count) const = 0;
    /// Replaces the mode list; see addLogModeList().
    virtual HRESULT ZTREE_COMCALL setLogModeList(const tagLogMode* rows, int count) = 0;
    /// Stores the whole mode list, with flags 1; without, 0x80004001. `modes` is not looked at.
    virtual HRESULT ZTREE_COMCALL getLogModeList(unsigned long flags, zulong modes, const tagLogMode** rows,
                                                 int* count) const = 0;
    /// Appends copies of the rows; a null description becomes "", a null name "!invalid!". Throws
    /// structExcept 0x84201001 and leaves the list as it was. 0x80070057 for a negative count.
    virtual HRESULT ZTREE_COMCALL addLogModeList(const tagLogMode* rows, int count) = 0;
    virtual ~IMCWLogClient() = default;
};
/// {337F10CA-D3B3-40A0-91AF-79B80E038258}
inline constexpr GUID IID_IMCWLogClient = {
    0x337F10CA, 0xD3B3, 0x40A0, {0x91, 0xAF, 0x79, 0xB8, 0x0E, 0x03, 0x82, 0x58}};

/// The filter that a component puts in front of a log: asks before anything is formatted. A new client has
/// no lists, no log, no modes and level 0, so nothing passes.
///
/// Ownership: a reference on the log; copies of both lists with their texts.
/// Threads: the reference count and the log may be used and changed by any thread (what useLog() gave
///     lives only while somebody holds a reference). Modes, level and lists are set before the client is
///     shared.
class ZTREE_API logClient : public IMCWLogClient {
public:
    /// The eight levels from EMERGENCY (1) to DEBUG (20).
    static const tagLogList s_aLogLevelDefault[8];

    /// outer is the controlling object; null: the client itself.
    explicit logClient(IUnknown* outer = nullptr) noexcept;
    logClient(const logClient&) = delete;
    logClient& operator=(const logClient&) = delete;
    ~logClient() override;

    HRESULT ZTREE_COMCALL QueryInterface(const GUID& iid, void** object) override;
    zulong ZTREE_COMCALL AddRef() override;
    /// A count of 0 stays 0 and deletes nothing.
    zulong ZTREE_COMCALL Release() override;
    HRESULT ZTREE_COMCALL setLog(IMCWLog* log) override;
    HRESULT ZTREE_COMCALL getLog(IMCWLog** log) const override;
    IMCWLog* ZTREE_COMCALL useLog() const override;
    HRESULT ZTREE_COMCALL setLogModes(zulong modes) override;
    HRESULT ZTREE_COMCALL setLogModesString(const zwchar* text) override;
    HRESULT ZTREE_COMCALL getLogModes(zulong* modes) const override;
    HRESULT ZTREE_COMCALL checkLogModes(zulong modes) const override;
    HRESULT ZTREE_COMCALL setLogLevel(unsigned char level) override;
    HRESULT ZTREE_COMCALL setLogLevelString(const zwchar* name) override;
    HRESULT ZTREE_COMCALL getLogLevel(unsigned char* level) const override;
    HRESULT ZTREE_COMCALL checkLogLevel(unsigned char level) const override;
    HRESULT ZTREE_COMCALL setLogLevelList(const tagLogList* rows, int count) override;
    HRESULT ZTREE_COMCALL getLogLevelList(unsigned long flags, unsigned char level, const tagLogList** rows,
                                          int* count) const override;
    HRESULT ZTREE_COMCALL setLogModeList(const tagLogMode* rows, int count) override;
    HRESULT ZTREE_COMCALL getLogModeList(unsigned long flags, zulong modes, const tagLogMode** rows,
                                         int* count) const override;
    HRESULT ZTREE_COMCALL addLogModeList(const tagLogMode* rows, int count) override;

    HRESULT setLogModesString(const unsigned short* text);
    HRESULT setLogLevelString(const unsigned short* name);
    HRESULT setLogLevelString(std::nullptr_t)
    {
        return setLogLevelString(static_cast<const zwchar*>(nullptr));
    }
    /// checkLogLevel() without a call.
    bool passes(unsigned level) const noexcept { return (level & 0xFF) <= m_level; }

    static void* operator new(std::size_t bytes) noexcept { return platform::heapAlloc(bytes); }
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void* block) noexcept { platform::heapFree(block); }
    static void operator delete(void*, void*) noexcept {}

protected:
    /// The controlling object, or the client itself.
    IUnknown* controlling() const noexcept { return m_outer; }

private:
    tagLogMode* m_modeList;
    int m_modeCount;
    tagLogList* m_levelList;
    int m_levelCount;
    ztree::detail::LogSlot m_log;
    zulong m_modes;
    unsigned char m_level;
    std::atomic<zlong> m_count;
    IUnknown* m_outer;
};
