#include "log/line_buffer.h"
#include "platform/console.h"

#include <ztree/log.h>

#include <cstring>

namespace {

platform::Stream streamOf(bool standardOutput) noexcept
{
    return standardOutput ? platform::Stream::output : platform::Stream::error;
}

// Red for what is lost, yellow for what may be, nothing for the ordinary, dim for details.
const char* colourOf(unsigned level) noexcept
{
    return level == 0             ? ""
           : level <= logCritical ? "\x1b[1;31m"
           : level <= logError    ? "\x1b[31m"
           : level <= logWarning  ? "\x1b[33m"
           : level <= logInfo     ? ""
                                  : "\x1b[2m";
}

platform::Severity severityOf(unsigned level) noexcept
{
    using platform::Severity;
    return level == 0              ? Severity::info
           : level <= logEmergency ? Severity::emergency
           : level <= logAlert     ? Severity::alert
           : level <= logCritical  ? Severity::critical
           : level <= logError     ? Severity::error
           : level <= logWarning   ? Severity::warning
           : level <= logNotice    ? Severity::notice
           : level <= logInfo      ? Severity::info
                                   : Severity::debug;
}

std::size_t withoutLineEnd(const char* text, std::size_t length) noexcept
{
    while (length > 0 && (text[length - 1] == '\r' || text[length - 1] == '\n'))
        --length;
    return length;
}

} // namespace

conLog::conLog(bool standardOutput) noexcept
    : m_output(standardOutput), m_colour(platform::wantsColour(streamOf(standardOutput)))
{
}

conLog::~conLog() = default;

HRESULT conLog::output(unsigned entry, const char* text, std::size_t length)
{
    static constexpr char back[] = "\x1b[0m";
    const char* const colour = m_colour ? colourOf(entry & 0xFF) : "";
    const std::size_t before = std::strlen(colour);
    LineBuffer line;
    char* const buffer = before ? line.need(before + length + sizeof back - 1) : nullptr;
    if (!buffer)
        return resultOf(platform::writeStream(streamOf(m_output), text, length));
    // The colour ends before the line does: a terminal may paint the rest of the new line.
    const std::size_t visible = withoutLineEnd(text, length);
    char* at = buffer;
    std::memcpy(at, colour, before);
    at += before;
    std::memcpy(at, text, visible);
    at += visible;
    std::memcpy(at, back, sizeof back - 1);
    at += sizeof back - 1;
    std::memcpy(at, text + visible, length - visible);
    return resultOf(platform::writeStream(streamOf(m_output), buffer, before + length + sizeof back - 1));
}

sysLog::~sysLog() = default;

HRESULT sysLog::output(unsigned entry, const char* text, std::size_t length)
{
    if (platform::inFaultReport()) // the system's call may wait for a lock
        return static_cast<HRESULT>(ztree::errFail);
    platform::writeSystemLog(severityOf(entry & 0xFF), text, withoutLineEnd(text, length));
    return S_OK;
}
