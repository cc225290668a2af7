#include "attrib/attrib_core.h"
#include "log/com_object.h"
#include "platform/heap.h"
#include "text/units.h"

#include <ztree/log.h>
#include <ztree/tokenizer.h>

#include <algorithm>
#include <climits>
#include <cstring>

using namespace ztree_impl;

namespace {

constexpr HRESULT notImplemented = static_cast<HRESULT>(ztree::errNotImpl);

enum : unsigned long { wholeList = 1, rowOfLevel = 2, builtInList = 4 };

bool isSameName(const zwchar* name, const zwchar* wanted) noexcept
{
    return name && wanted && ztree_impl::compareNames(name, wanted) == 0;
}

std::size_t unitsOf(const zwchar* text) noexcept
{
    std::size_t n = 0;
    while (text && text[n])
        ++n;
    return n;
}

const zwchar* copyText(const zwchar* text)
{
    if (!text)
        return nullptr;
    const std::size_t n = unitsOf(text) + 1;
    auto* const copy = platform::allocArray<zwchar>(n);
    if (!copy)
        throw structExcept(ztree::errMemory);
    std::memcpy(copy, text, n * sizeof(zwchar));
    return copy;
}

template <class Row> void freeTexts(Row* rows, int count) noexcept
{
    for (int i = 0; i < count; ++i) {
        platform::heapFree(const_cast<zwchar*>(rows[i].name));
        platform::heapFree(const_cast<zwchar*>(rows[i].description));
    }
}

template <class Row> void freeRows(Row*& rows, int& count) noexcept
{
    freeTexts(rows, count);
    platform::heapFree(rows);
    rows = nullptr;
    count = 0;
}

// Makes empty rows copies of the given ones by `fill`. Throws, then all are empty.
template <class Row, class Fill> void fillRows(Row* to, const Row* rows, int count, Fill fill)
{
    try {
        for (int i = 0; i < count; ++i)
            fill(to[i], rows[i]);
    } catch (...) {
        freeTexts(to, count);
        std::fill(to, to + count, Row());
        throw;
    }
}

// A block with room for `room` rows: `before` empty ones, copies of the `count` given ones, and empty ones.
// Throws, then nothing is left.
template <class Row, class Fill> Row* copyRows(int before, const Row* rows, int count, int room, Fill fill)
{
    Row* const block = platform::allocZeroed<Row>(static_cast<std::size_t>(room));
    if (!block)
        throw structExcept(ztree::errMemory);
    try {
        fillRows(block + before, rows, count, fill);
    } catch (...) {
        platform::heapFree(block);
        throw;
    }
    return block;
}

void fillLevel(tagLogList& to, const tagLogList& from)
{
    to.level = from.level;
    to.name = copyText(from.name);
    to.description = copyText(from.description);
}

void fillMode(tagLogMode& to, const tagLogMode& from)
{
    to.mask = from.mask;
    to.description = copyText(from.description ? from.description : ZTEXT(""));
    to.name = copyText(from.name ? from.name : ZTEXT("!invalid!"));
}

} // namespace

const tagLogList logClient::s_aLogLevelDefault[8] = {
    {1, ZTEXT("EMERGENCY"), ZTEXT("System is unusable")},
    {2, ZTEXT("ALERT"), ZTEXT("Action must be taken immediately")},
    {5, ZTEXT("CRITICAL"), ZTEXT("Critical conditions")},
    {10, ZTEXT("ERROR"), ZTEXT("Error conditions")},
    {13, ZTEXT("WARNING"), ZTEXT("Warning conditions")},
    {15, ZTEXT("NOTICE"), ZTEXT("Normal but significant condition")},
    {18, ZTEXT("INFO"), ZTEXT("Informational messages")},
    {20, ZTEXT("DEBUG"), ZTEXT("Debug-level messages")},
};

logClient::logClient(IUnknown* outer) noexcept
    : m_modeList(nullptr), m_modeCount(0), m_levelList(nullptr), m_levelCount(0), m_modes(0), m_level(0),
      m_count(0), m_outer(outer ? outer : this)
{
}

logClient::~logClient()
{
    logClient::setLog(nullptr);
    freeRows(m_modeList, m_modeCount);
    freeRows(m_levelList, m_levelCount);
}

// --- life ---

HRESULT ZTREE_COMCALL logClient::QueryInterface(const GUID& iid, void** object)
{
    return answerQuery(isSameId(iid, unknownId) || isSameId(iid, IID_IMCWLogClient), this, object);
}

zulong ZTREE_COMCALL logClient::AddRef()
{
    return addReference(m_count);
}

zulong ZTREE_COMCALL logClient::Release()
{
    return releaseReference(m_count, this);
}

// --- the log ---

HRESULT ZTREE_COMCALL logClient::setLog(IMCWLog* log)
{
    if (m_log.peek() == log)
        return S_OK;
    IUnknown* const before = m_log.replace(log);
    if (!log)
        m_level = 0;
    if (before)
        before->Release();
    return S_OK;
}

HRESULT ZTREE_COMCALL logClient::getLog(IMCWLog** log) const
{
    if (!log)
        return badArgument;
    *log = static_cast<IMCWLog*>(m_log.acquire());
    return *log ? S_OK : failed;
}

IMCWLog* ZTREE_COMCALL logClient::useLog() const
{
    return static_cast<IMCWLog*>(m_log.peek());
}

// --- modes ---

HRESULT ZTREE_COMCALL logClient::setLogModes(zulong modes)
{
    m_modes = modes;
    return S_OK;
}

HRESULT ZTREE_COMCALL logClient::setLogModesString(const zwchar* text)
{
    HRESULT result = S_OK;
    zulong modes = 0;
    for (ZTokenizerW names(text, ZTEXT("+,| ")); names.hasMoreTokens();) {
        const zwchar* const name = names.nextToken();
        int i = 0;
        while (i < m_modeCount && !isSameName(m_modeList[i].name, name))
            ++i;
        if (i < m_modeCount)
            modes |= m_modeList[i].mask;
        else
            result = failed; // Kept: the modes that are known count all the same.
    }
    m_modes = modes;
    return result;
}

HRESULT logClient::setLogModesString(const unsigned short* text)
{
    return setLogModesString(units(text));
}

HRESULT ZTREE_COMCALL logClient::getLogModes(zulong* modes) const
{
    if (!modes)
        return badArgument;
    *modes = m_modes;
    return S_OK;
}

HRESULT ZTREE_COMCALL logClient::checkLogModes(zulong modes) const
{
    return m_modes & modes ? S_OK : failed;
}

// --- level ---

HRESULT ZTREE_COMCALL logClient::setLogLevel(unsigned char level)
{
    m_level = level;
    return S_OK;
}

HRESULT ZTREE_COMCALL logClient::setLogLevelString(const zwchar* name)
{
    if (!name) {
        m_level = logError;
        return S_OK;
    }
    const tagLogList* rows = nullptr;
    int count = 0;
    if (FAILED(getLogLevelList(wholeList | builtInList, 0, &rows, &count)))
        return failed;
    for (int i = 0; i < count; ++i)
        if (isSameName(rows[i].name, name)) {
            m_level = rows[i].level;
            return S_OK;
        }
    return failed;
}

HRESULT logClient::setLogLevelString(const unsigned short* name)
{
    return setLogLevelString(units(name));
}

HRESULT ZTREE_COMCALL logClient::getLogLevel(unsigned char* level) const
{
    if (!level)
        return badArgument;
    *level = m_level;
    return S_OK;
}

HRESULT ZTREE_COMCALL logClient::checkLogLevel(unsigned char level) const
{
    return passes(level) ? S_OK : failed;
}

// --- lists ---

HRESULT ZTREE_COMCALL logClient::setLogLevelList(const tagLogList* rows, int count)
{
    if (count < 0)
        return badArgument;
    tagLogList* fresh = nullptr;
    if (!rows)
        count = 0;
    try { // before the old list goes: the rows may stand in it
        if (count > 0)
            fresh = copyRows(0, rows, count, count, &fillLevel);
    } catch (...) {
        freeRows(m_levelList, m_levelCount);
        throw;
    }
    freeRows(m_levelList, m_levelCount);
    m_levelList = fresh;
    m_levelCount = count;
    return S_OK;
}

HRESULT ZTREE_COMCALL logClient::getLogLevelList(unsigned long flags, unsigned char level,
                                                 const tagLogList** rows, int* count) const
{
    if (!rows || !count)
        return badArgument;
    const bool own = m_levelCount > 0 || !(flags & builtInList);
    const tagLogList* const list = own ? m_levelList : s_aLogLevelDefault;
    const int size = own ? m_levelCount : 8;
    if (flags & wholeList) {
        *rows = list;
        *count = size;
        return S_OK;
    }
    const unsigned char wanted = flags & rowOfLevel ? level : m_level;
    int i = 0;
    while (i < size && list[i].level != wanted)
        ++i;
    *rows = i < size ? list + i : nullptr;
    *count = i < size ? 1 : 0;
    return S_OK;
}

HRESULT ZTREE_COMCALL logClient::setLogModeList(const tagLogMode* rows, int count)
{
    if (count < 0)
        return badArgument;
    tagLogMode* old = m_modeList;
    int oldCount = m_modeCount;
    m_modeList = nullptr;
    m_modeCount = 0;
    try { // the old list goes afterwards: the rows may stand in it
        addLogModeList(rows, count);
    } catch (...) {
        freeRows(old, oldCount);
        throw;
    }
    freeRows(old, oldCount);
    return S_OK;
}

HRESULT ZTREE_COMCALL logClient::getLogModeList(unsigned long flags, zulong, const tagLogMode** rows,
                                                int* count) const
{
    if (!rows || !count)
        return badArgument;
    if (!(flags & wholeList))
        return notImplemented;
    *rows = m_modeList;
    *count = m_modeCount;
    return S_OK;
}

HRESULT ZTREE_COMCALL logClient::addLogModeList(const tagLogMode* rows, int count)
{
    if (count < 0)
        return badArgument;
    if (!rows || count == 0)
        return S_OK;
    // The room is a power of two, so that rows added singly are not all moved each time.
    const auto roomFor = [](int n) {
        int room = 1;
        while (room < n)
            room = room > INT_MAX / 2 ? INT_MAX : 2 * room;
        return room;
    };
    if (count > INT_MAX - m_modeCount)
        throw structExcept(ztree::errMemory);
    const int total = m_modeCount + count;
    if (m_modeCount > 0 && total <= roomFor(m_modeCount)) {
        fillRows(m_modeList + m_modeCount, rows, count, &fillMode);
    } else {
        tagLogMode* const block = copyRows(m_modeCount, rows, count, roomFor(total), &fillMode);
        if (m_modeCount > 0)
            std::memcpy(block, m_modeList, static_cast<std::size_t>(m_modeCount) * sizeof *block);
        platform::heapFree(m_modeList);
        m_modeList = block;
    }
    m_modeCount = total;
    return S_OK;
}
