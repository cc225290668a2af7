#include "log/com_object.h"
#include "log/line_buffer.h"
#include "log/print_format.h"
#include "platform/clock.h"
#include "platform/syserror.h"
#include "platform/thread.h"

#include <ztree/helpers.h>
#include <ztree/log.h>
#include <ztree/print.h>

#include <climits>
#include <cstdio>
#include <cstring>

using namespace ztree_impl;

namespace {

constexpr HRESULT noMemory = static_cast<HRESULT>(ztree::errOutOfMemory);
constexpr std::size_t headerRoom = 64; // the longest header has 48 characters
constexpr unsigned utf8 = 65001;
constexpr int mostLinked = 64;
constexpr char lineEnd[] = {'\r', '\n'};

const char* levelWord(unsigned entry) noexcept
{
    switch (entry & 0xFF) {
    case logAlert:
        return "ALERT!!";
    case logCritical:
        return "CRITICAL!";
    case logError:
        return "ERROR";
    case logWarning:
        return "Warning";
    case logNotice:
        return "Notice";
    case logInfo:
        return "Info";
    case logDebug:
        return "Debug";
    default:
        return "Hint"; // Kept: also level 1; programs that read logs look for this word.
    }
}

// --- the header by hand: printing it would cost more than all the rest ---

char* putDigits(char* at, unsigned value, int digits) noexcept
{
    for (int i = digits; i-- > 0; value /= 10)
        at[i] = static_cast<char>('0' + value % 10);
    return at + digits;
}

char* putHex(char* at, std::uint32_t value) noexcept
{
    int digits = 1;
    while (digits < 8 && value >> (4 * digits))
        ++digits;
    for (int i = digits; i-- > 0; value >>= 4)
        at[i] = "0123456789ABCDEF"[value & 15];
    return at + digits;
}

char* putText(char* at, const char* text) noexcept
{
    const std::size_t n = std::strlen(text);
    std::memcpy(at, text, n);
    return at + n;
}

char* putTime(char* at, const SYSTEMTIME& t) noexcept
{
    at = putDigits(at, t.wYear, t.wYear > 9999 ? 5 : 4);
    *at++ = '-';
    at = putDigits(at, t.wMonth, 2);
    *at++ = '-';
    at = putDigits(at, t.wDay, 2);
    *at++ = ',';
    *at++ = ' ';
    at = putDigits(at, t.wHour, 2);
    *at++ = ':';
    at = putDigits(at, t.wMinute, 2);
    *at++ = ':';
    at = putDigits(at, t.wSecond, 2);
    *at++ = ':';
    return putDigits(at, t.wMilliseconds, 3);
}

// At most headerRoom characters, not terminated; 0 for an entry without a header.
std::size_t makeHeader(unsigned entry, char* buffer) noexcept
{
    constexpr unsigned nothing = logNoLevel | logNoTime | logNoThread;
    if ((entry & nothing) == nothing)
        return 0;
    char* at = buffer;
    char before = '[';
    if (!(entry & logNoThread)) {
        at = putText(at, "[T:");
        at = putHex(at, platform::threadId());
        before = ' ';
    }
    if (!(entry & logNoTime)) {
        *at++ = before;
        at = putTime(at, platform::localTime());
        before = ' ';
    }
    if (!(entry & logNoLevel)) {
        *at++ = before;
        at = putText(at, levelWord(entry));
    }
    *at++ = ']';
    *at++ = ' ';
    return static_cast<std::size_t>(at - buffer);
}

// What _snprintf does with a finished text: the length, or -1 for one that does not fit; a terminator
// when there is room for it.
int deliver(const char* text, std::size_t n, char* buffer, int size) noexcept
{
    const std::size_t room = buffer && size > 0 ? static_cast<std::size_t>(size) : 0;
    if (room)
        std::memcpy(buffer, text, n < room ? n : room);
    if (n < room)
        buffer[n] = 0;
    return n <= room ? static_cast<int>(n) : -1;
}

// A reference for as long as a call lasts.
class Held {
public:
    explicit Held(const ztree::detail::LogSlot& slot)
        : m_log(slot.isSet() ? static_cast<IMCWLog*>(slot.acquire()) : nullptr)
    {
    }
    explicit Held(IMCWLog* taken) noexcept : m_log(taken) {}
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    ~Held()
    {
        if (m_log)
            m_log->Release();
    }
    IMCWLog* get() const noexcept { return m_log; }
    explicit operator bool() const noexcept { return m_log != nullptr; }
    IMCWLog* operator->() const noexcept { return m_log; }

private:
    IMCWLog* m_log;
};

void drop(IUnknown* object)
{
    if (object)
        object->Release();
}

HRESULT handOut(const ztree::detail::LogSlot& slot, IMCWLog** log)
{
    if (!log)
        return badArgument;
    *log = static_cast<IMCWLog*>(slot.acquire());
    return *log ? S_OK : failed;
}

} // namespace

// --- error log ---

HRESULT ZTREE_COMCALL errorLogDummy::QueryInterface(const GUID& iid, void** object)
{
    return answerQuery(isSameId(iid, unknownId), this, object);
}

errorLogDummy* errorLogDummy::instance() noexcept
{
    static errorLogDummy dummy;
    return &dummy;
}

// --- life ---

mcwLog::mcwLog() noexcept : m_flags(0), m_count(0), m_hint(nullptr) {}

mcwLog::~mcwLog()
{
    drop(m_chain.replace(nullptr));
    drop(m_switched.replace(nullptr));
    drop(m_errors.replace(nullptr));
    platform::heapFree(m_hint);
}

HRESULT ZTREE_COMCALL mcwLog::QueryInterface(const GUID& iid, void** object)
{
    return answerQuery(isSameId(iid, unknownId) || isSameId(iid, IID_IMCWLog) || isSameId(iid, IID_IMCWLog2),
                       this, object);
}

zulong ZTREE_COMCALL mcwLog::AddRef()
{
    return addReference(m_count);
}

zulong ZTREE_COMCALL mcwLog::Release()
{
    return releaseReference(m_count, this);
}

// --- the two texts ---

int mcwLog::entryHeader(unsigned int entry, char* buffer, int size)
{
    char header[headerRoom];
    const std::size_t n = m_flags & 1 ? 0 : makeHeader(entry, header);
    return n ? deliver(header, n, buffer, size) : 0;
}

int mcwLog::getSysMessage(const char* text, zlong code, char* buffer, int size)
{
    if (!buffer || size < 1)
        return -1;
    char tail[32];
    const int tailLength =
        code < 0    ? std::snprintf(tail, sizeof tail, ": 0x%X - ", static_cast<unsigned>(code))
        : code == 0 ? std::snprintf(tail, sizeof tail, ": OK")
                    : std::snprintf(tail, sizeof tail, ": %u - ", static_cast<unsigned>(code));
    if (!text)
        text = "(null)";
    const std::size_t n = std::strlen(text);
    const auto room = static_cast<std::size_t>(size);
    int length = deliver(text, n, buffer, size);
    if (length >= 0) {
        length = deliver(tail, static_cast<std::size_t>(tailLength), buffer + n, static_cast<int>(room - n));
        if (length >= 0)
            length += static_cast<int>(n);
    }
    if (code != 0 && length >= 1 && length < size) {
        const int added =
            platform::systemMessage(static_cast<unsigned>(code), buffer + length, size - length);
        if (added > 0) {
            // Kept: the line end stays behind the returned length; callers go by the length.
            int end = length + added;
            while (end > length && (buffer[end - 1] == '\r' || buffer[end - 1] == '\n'))
                --end;
            length = end;
        }
    }
    buffer[size - 1] = 0;
    return length;
}

// --- writing ---

HRESULT mcwLog::output(unsigned, const char*, std::size_t)
{
    return S_OK;
}

HRESULT mcwLog::forward(IMCWLog& to, unsigned how, unsigned entry, const char* text, int length)
{
    switch (how) {
    case asText:
        return to.write(text, length);
    case withLineEnd:
        return to.writeln(text, length);
    case asEntry:
        return to.writeEntry(entry, text, length);
    default:
        return to.writelnEntry(entry, text, length);
    }
}

HRESULT mcwLog::putHere(unsigned how, unsigned entry, const char* text, std::size_t length)
{
    std::size_t hint = 0;
    if ((how & asEntry) && m_hint)
        hint = std::strlen(m_hint);
    LineBuffer line;
    char* buffer = line.need(headerRoom + hint + 2 + length + sizeof lineEnd);
    if (!buffer) {
        constexpr std::size_t left = LineBuffer::usual - headerRoom - 2 - sizeof lineEnd;
        if (!platform::inFaultReport() || hint >= left)
            return noMemory;
        buffer = line.need(LineBuffer::usual);
        length = left - hint; // better the beginning than nothing
    }
    char* at = buffer;
    if (how & asEntry) {
        if (!(m_flags & 1))
            at += makeHeader(entry, at);
        if (hint) {
            at = putText(at, m_hint);
            *at++ = ':';
            *at++ = ' ';
        }
    }
    if (length)
        std::memcpy(at, text, length);
    at += length;
    if (how & withLineEnd) {
        std::memcpy(at, lineEnd, sizeof lineEnd);
        at += sizeof lineEnd;
    }
    return at == buffer ? S_OK : output(entry, buffer, static_cast<std::size_t>(at - buffer));
}

HRESULT mcwLog::put(unsigned how, unsigned entry, const char* text, int length)
{
    if (!text && length > 0)
        return badArgument;
    if (const Held other(m_switched); other)
        return forward(*other.get(), how, entry, text, length);
    const std::size_t n = !text ? 0 : length < 0 ? std::strlen(text) : static_cast<std::size_t>(length);
    const HRESULT result = putHere(how, entry, text, n);
    if (const Held next(m_chain); next) {
        const HRESULT chained = forward(*next.get(), how, entry, text, length);
        return FAILED(result) ? result : chained;
    }
    return result;
}

HRESULT ZTREE_COMCALL mcwLog::write(const char* text, int length)
{
    return put(asText, 0, text, length);
}

HRESULT ZTREE_COMCALL mcwLog::writeln(const char* text, int length)
{
    return put(withLineEnd, 0, text, length);
}

HRESULT ZTREE_COMCALL mcwLog::writeEntry(unsigned entry, const char* text, int length)
{
    return put(asEntry, entry, text, length);
}

HRESULT ZTREE_COMCALL mcwLog::writelnEntry(unsigned entry, const char* text, int length)
{
    return put(asEntry | withLineEnd, entry, text, length);
}

HRESULT mcwLog::putSysMessage(unsigned how, unsigned entry, const char* text, zlong code)
{
    constexpr std::size_t messageRoom = 1024;
    const std::size_t room = (text ? std::strlen(text) : 0) + messageRoom;
    if (room > INT_MAX)
        return badArgument;
    LineBuffer line;
    char* const buffer = line.need(room);
    if (!buffer)
        return noMemory;
    return put(how, entry, buffer, getSysMessage(text, code, buffer, static_cast<int>(room)));
}

HRESULT ZTREE_COMCALL mcwLog::sysMessage(const char* text, zlong code)
{
    return putSysMessage(withLineEnd, 0, text, code);
}

HRESULT ZTREE_COMCALL mcwLog::sysMessageEntry(unsigned entry, const char* text, zlong code)
{
    return putSysMessage(asEntry | withLineEnd, entry, text, code);
}

HRESULT mcwLog::putFormatted(unsigned how, unsigned entry, const char* fmt, va_list args)
{
    static constexpr char invalid[] = "varnik::brax::mcwLog: *** Invalid error format string ***\r\n";
    constexpr int longest = 1 << 24;
    LineBuffer line;
    for (int room = static_cast<int>(LineBuffer::usual);; room *= 16) {
        char* const buffer = line.need(static_cast<std::size_t>(room));
        if (!buffer)
            return noMemory;
        va_list copy;
        va_copy(copy, args);
        int length = -1;
        const unsigned fault = platform::guarded([&] {
            if (isPrintFormat(fmt))
                length = vsprintfn(buffer, room, utf8, fmt, copy);
        });
        va_end(copy);
        if (fault || length < 0) {
            const HRESULT result = put(how, entry, invalid, sizeof invalid - 1);
            return FAILED(result) ? result : badArgument;
        }
        // A cut text ends up to a character before the end of the room.
        if (length < room - 5 || room >= longest || platform::inFaultReport())
            return put(how, entry, buffer, length);
    }
}

HRESULT mcwLog::printf(const char* fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const HRESULT result = putFormatted(asText, 0, fmt, args);
    va_end(args);
    return result;
}

HRESULT mcwLog::printfEntry(unsigned entry, const char* fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const HRESULT result = putFormatted(asEntry, entry, fmt, args);
    va_end(args);
    return result;
}

HRESULT mcwLog::dumpHere(unsigned entry, const char* data, unsigned long length)
{
    constexpr unsigned lineRoom = 66;
    char text[1400]; // with a header it still is a usual piece
    auto room = static_cast<unsigned>(sizeof text);
    const auto* at = reinterpret_cast<const unsigned char*>(data);
    int used = std::snprintf(text, sizeof text, "Memory at 0x%llX, %lu bytes\r\n",
                             static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(data)), length);
    unsigned how = asEntry;
    HRESULT result = S_OK;
    for (;;) {
        while (length > 0 && used + 2 * static_cast<int>(lineRoom) <= static_cast<int>(room)) {
            auto* const line = reinterpret_cast<unsigned char*>(text) + used;
            const auto left = static_cast<unsigned>(length < UINT_MAX ? length : UINT_MAX);
            const int taken = formatDump(static_cast<unsigned long>(reinterpret_cast<std::uintptr_t>(at)), at,
                                         left, line, room - static_cast<unsigned>(used));
            used += static_cast<int>(std::strlen(reinterpret_cast<char*>(line)));
            if (taken < 1 || taken > 16)
                length = 0; // cannot be read: the line says so
            else
                length -= static_cast<unsigned long>(taken);
            at += taken;
        }
        const HRESULT written = putHere(how, entry, text, static_cast<std::size_t>(used));
        if (FAILED(written) && !FAILED(result))
            result = written;
        if (length == 0)
            return result;
        how = asText;
        used = 0;
    }
}

HRESULT ZTREE_COMCALL mcwLog::hexDump(unsigned entry, const char* data, unsigned long length)
{
    if (!data && length > 0)
        return badArgument;
    if (const Held other(m_switched); other)
        return other->hexDump(entry, data, length);
    const HRESULT result = dumpHere(entry, data, length);
    if (const Held next(m_chain); next) {
        const HRESULT chained = next->hexDump(entry, data, length);
        return FAILED(result) ? result : chained;
    }
    return result;
}

// --- other logs ---

// Logs form a graph: each may have a chain and a switched log.
bool mcwLog::isReachedFrom(IMCWLog* log)
{
    IMCWLog* seen[mostLinked];
    int count = 0;
    bool found = log == this;
    if (!found && log) {
        log->AddRef();
        seen[count++] = log;
    }
    for (int i = 0; i < count && !found; ++i) {
        IMCWLog* next[2] = {nullptr, nullptr};
        seen[i]->getChain(&next[0]);
        void* more = nullptr;
        if (seen[i]->QueryInterface(IID_IMCWLog2, &more) == S_OK && more) {
            static_cast<IMCWLog2*>(more)->getSwitched(&next[1]);
            static_cast<IMCWLog2*>(more)->Release();
        }
        for (IMCWLog* one : next) {
            bool known = !one;
            for (int j = 0; j < count && !known; ++j)
                known = seen[j] == one;
            found = found || one == this || (!known && count == mostLinked);
            if (!known && !found)
                seen[count++] = one;
            else
                drop(one);
        }
    }
    while (count > 0)
        seen[--count]->Release();
    return found;
}

HRESULT ZTREE_COMCALL mcwLog::setChain(IMCWLog* next)
{
    if (isReachedFrom(next))
        return badArgument;
    drop(m_chain.replace(next));
    return S_OK;
}

HRESULT ZTREE_COMCALL mcwLog::getChain(IMCWLog** next)
{
    return handOut(m_chain, next);
}

HRESULT ZTREE_COMCALL mcwLog::switchLog(IMCWLog* other)
{
    if (isReachedFrom(other))
        return badArgument;
    if (m_switched.peek() == other)
        return S_OK;
    if (const Held before(static_cast<IMCWLog*>(m_switched.replace(nullptr))); before) {
        before->writelnEntry(logInfo, "[Exiting switched log]", -1);
        writelnEntry(logInfo, "[Unswitching log]", -1);
    }
    if (!other)
        return S_OK;
    const HRESULT result = writelnEntry(logInfo, "[Switching log]...", -1);
    const HRESULT entered = other->writelnEntry(logInfo, "[Entering switched log]", -1);
    drop(m_switched.replace(other));
    return FAILED(result) ? result : entered;
}

HRESULT ZTREE_COMCALL mcwLog::getSwitched(IMCWLog** other)
{
    return handOut(m_switched, other);
}

HRESULT ZTREE_COMCALL mcwLog::setErrorLog(IErrorLog* errors)
{
    drop(m_errors.replace(errors));
    return S_OK;
}

HRESULT ZTREE_COMCALL mcwLog::getErrorLog(IErrorLog** errors)
{
    if (!errors)
        return badArgument;
    IUnknown* const own = m_errors.acquire();
    *errors = own ? static_cast<IErrorLog*>(own) : errorLogDummy::instance();
    return S_OK;
}

void mcwLog::tellErrorLog(const char* target, zlong code) noexcept
{
    if (!m_errors.isSet() || platform::inFaultReport())
        return;
    try {
        if (IUnknown* const errors = m_errors.acquire()) {
            static_cast<IErrorLog*>(errors)->logFailed(target, code);
            errors->Release();
        }
    } catch (...) { // somebody else's code; writing goes on
    }
}

HRESULT ZTREE_COMCALL mcwLog::setHint(const char* hint)
{
    char* copy = nullptr;
    if (hint && *hint) {
        const std::size_t room = std::strlen(hint) + 1;
        copy = platform::allocArray<char>(room);
        if (!copy)
            return noMemory;
        std::memcpy(copy, hint, room);
    }
    platform::heapFree(m_hint);
    m_hint = copy;
    return S_OK;
}

HRESULT ZTREE_COMCALL mcwLog::getHint(const char** hint)
{
    if (!hint)
        return badArgument;
    *hint = m_hint;
    return S_OK;
}
