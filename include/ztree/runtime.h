#pragma once
/// @file runtime.h
/// The exception type, the log interface it reports to, the expression evaluator and system helpers.

#include <ztree/types.h>
#include <ztree/winnames.h>

#include <cstdarg>

namespace ztree {
/// Codes that the library puts into structExcept or returns; 0 means success where one is returned.
enum ErrorCode : unsigned int {
    errMemory = 0x84201001,      ///< memory could not be allocated (thrown)
    errLock = 0x84201002,        ///< a lock could not be initialised (thrown by container constructors)
    errInvalidArg = 0x80070057,  ///< E_INVALIDARG
    errOutOfMemory = 0x8007000E, ///< E_OUTOFMEMORY
    errFail = 0x80004005,        ///< E_FAIL
    errNotImpl = 0x80004001,     ///< E_NOTIMPL
    errUnhandled = 0xFFFFFFFF,   ///< unhandled hardware fault: the code in the last-chance report
};
} // namespace ztree

/// COM-style log: what the library writes its reports and entries to.
///
/// Ownership: reference counted; whoever keeps the pointer holds a reference. There is no virtual
///     destructor: the last Release() ends the object.
/// Threads: as the implementation says.
/// Failure: results are HRESULTs, 0 for success; nothing throws. The library ignores the results of
///     writing operations.
///
/// A log of one's own implements the three slots of IUnknown and the nine pure ones. Text is narrow; a
/// length below 0 means up to the terminator. An entry is one line with a header; `level` is the entry
/// word whose low byte is the level (1 EMERGENCY to 20 DEBUG).
class IMCWLog : public IUnknown {
public:
    /// Writes `length` bytes of text as they are.
    virtual HRESULT ZTREE_COMCALL write(const char* text, int length) = 0;
    /// The same and a line end.
    virtual HRESULT ZTREE_COMCALL writeln(const char* text, int length) = 0;
    /// Writes the text, the system error or HRESULT `code` and the system's message for it.
    virtual HRESULT ZTREE_COMCALL sysMessage(const char* text, zlong code) = 0;
    /// Writes formatted text without a line end.
    virtual HRESULT printf(const char* fmt, ...) ZTREE_PRINTF(2, 3) = 0;
    /// Writes an entry without a line end.
    virtual HRESULT ZTREE_COMCALL writeEntry(unsigned level, const char* text, int length) = 0;
    /// Writes an entry and a line end.
    virtual HRESULT ZTREE_COMCALL writelnEntry(unsigned level, const char* text, int length) = 0;
    /// sysMessage() as an entry.
    virtual HRESULT ZTREE_COMCALL sysMessageEntry(unsigned level, const char* text, zlong code) = 0;
    /// printf() as an entry.
    virtual HRESULT printfEntry(unsigned level, const char* fmt, ...) ZTREE_PRINTF(3, 4) = 0;
    /// Writes `length` bytes at `data` as a hexadecimal table.
    virtual HRESULT ZTREE_COMCALL hexDump(unsigned level, const char* data, unsigned long length) = 0;

    // --- optional operations: 0x80004001 unless the log has them ---
    /// Opens the log's target, for example a file by its name (UTF-8).
    virtual HRESULT ZTREE_COMCALL open(const char* /*target*/) { return notImplemented; }
    /// 0 while the log can be written to, else a failure.
    virtual HRESULT ZTREE_COMCALL isOpen() { return notImplemented; }
    /// Drops what was written so far.
    virtual HRESULT ZTREE_COMCALL reset() { return notImplemented; }
    /// Closes the target; writing fails from then on.
    virtual HRESULT ZTREE_COMCALL close() { return notImplemented; }
    /// Hands every entry to `next` too; the log keeps a reference. Null ends that.
    virtual HRESULT ZTREE_COMCALL setChain(IMCWLog* /*next*/) { return notImplemented; }
    /// Stores the chained log with a new reference, null when there is none.
    virtual HRESULT ZTREE_COMCALL getChain(IMCWLog** next)
    {
        if (next)
            *next = nullptr;
        return notImplemented;
    }
    /// A short text that the log shows beside its entries, for example the program's name; copied.
    virtual HRESULT ZTREE_COMCALL setHint(const char* /*hint*/) { return notImplemented; }
    /// Stores the hint; it belongs to the log and stays valid until the next setHint().
    virtual HRESULT ZTREE_COMCALL getHint(const char** hint)
    {
        if (hint)
            *hint = nullptr;
        return notImplemented;
    }

protected:
    ~IMCWLog() = default;

private:
    static constexpr HRESULT notImplemented = static_cast<HRESULT>(ztree::errNotImpl);
};

/// Identifier of IMCWLog for QueryInterface: {6E1B7C52-93D4-4F0A-8A6B-2D5C7E90F3A1}.
inline constexpr GUID IID_IMCWLog = {
    0x6E1B7C52, 0x93D4, 0x4F0A, {0x8A, 0x6B, 0x2D, 0x5C, 0x7E, 0x90, 0xF3, 0xA1}};

/// The one exception type of the library: a 32-bit code, and for a hardware fault the processor's state.
/// Thrown by value, caught by reference.
///
/// With install() a fault of the calling thread (bad memory access, division by zero, illegal
/// instruction) becomes a structExcept thrown at the faulting instruction, whose code is the fault's
/// own, for example EXCEPTION_ACCESS_VIOLATION. Code that may fault has to be compiled with
/// -fnon-call-exceptions (CMake target ztree::faults); then every destructor on the way runs. A fault
/// in a function that is declared not to throw, which includes most of the C library, ends in
/// std::terminate; one in code without unwind tables and a stack overflow go the system's way.
///
/// Ownership: holds plain copies, nothing else; copying copies every field.
/// Threads: an object belongs to whoever caught it. install()/uninstall() act on the calling thread.
///     The filter and its log are process-wide and not locked: install and uninstall them from one
///     thread at a time. The filter runs on the thread that faults.
/// Failure: nothing here throws, except that faults do once install() was called.
class ZTREE_API structExcept {
public:
    /// Takes the code, the UTC time and the thread; copies record and context when `pointers` is given,
    /// else both are all zero. Not explicit: `throw` and comparisons read better.
    structExcept(unsigned int code = 0, const EXCEPTION_POINTERS* pointers = nullptr) noexcept;

    /// The record of the fault; all zero for an error of the library.
    const EXCEPTION_RECORD* getExceptionRecord() const noexcept { return &m_record; }
    /// The registers at the fault; all zero for an error of the library.
    const CONTEXT* getContext() const noexcept { return &m_context; }
    /// The library's code, or the fault's.
    unsigned int getCode() const noexcept { return m_code; }
    /// Address of the faulting instruction, its low 32 bits in a 64-bit process; 0 for a library error.
    unsigned int getAddress() const noexcept;

    /// Writes the report to the log: a heading with time, code and address, the caller's text, and for
    /// a hardware fault up to three lines of registers. Nothing for a null log. The text has room for
    /// 512 characters; of a longer one the first 512 are handed to writeln() with the length -1.
    /// Registers and the address have 16 digits in a 64-bit process.
    /// Where va_list is char*, a single char* behind fmt is taken for an argument list: pass const char*.
    void dump(IMCWLog* log, const char* fmt, ...) const ZTREE_PRINTF(3, 4);
    void dump(IMCWLog* log, const char* fmt, va_list args) const ZTREE_PRINTF(3, 0);
    void dump(IMCWLog* log, const char* fmt, const char* text) const { dump(log, fmt, text, 0); }

    /// From now on faults of the calling thread are thrown as structExcept. Returns what was in force
    /// before, null for nothing, to be handed to uninstall(); pairs may be nested.
    static void* install() noexcept;
    /// Puts back what install() found.
    static void uninstall(void* previous) noexcept;

    /// Makes uhxFilter() the process's last-chance filter, reporting to `log` (null: no report). Each
    /// call with a log adds a reference to it, also with the log that is already there. Returns the
    /// filter that was replaced.
    static void* installTopLevelFilter(IMCWLog* log) noexcept;
    /// Puts `previous` back as the filter and releases the log once. The log pointer is kept all the
    /// same: a later installTopLevelFilter() with another log releases the old one once more.
    static void uninstallTopLevelFilter(void* previous) noexcept;
    /// The filter: reports to its log and returns 0 (go on searching), so that the process ends the
    /// system's way. Behind the dump stand lines "  at:ADDRESS  MODULE+OFFSET" for the faulting
    /// instruction and "  ret:..." for up to 31 return addresses found on the stack, some of which may be
    /// left from earlier calls, then "  end of report". The filter uses no heap and waits for no lock, nor
    /// does a log that keeps to fileLog's rules; when several threads fault, one reports and the others
    /// wait for it. A thread reports its own stack overflow when it called install() or
    /// installTopLevelFilter() before.
    static zlong ZTREE_COMCALL uhxFilter(EXCEPTION_POINTERS* pointers) noexcept;
    /// Writes one formatted entry of level 2 to the log, at most 1020 characters (the length is -1 for
    /// a longer one). An argument list that faults gives a fixed text instead. Nothing for a null log.
    static void uhxDump(IMCWLog* log, const char* fmt, ...) noexcept ZTREE_PRINTF(2, 3);

private:
    [[noreturn]] static void raise(unsigned int code, EXCEPTION_POINTERS* pointers);

    EXCEPTION_RECORD m_record;
    CONTEXT m_context;
    std::uint32_t m_thread;
    SYSTEMTIME m_time;
    std::uint32_t m_code;
};

#include <ztree/expression.h>
#include <ztree/helpers.h>
