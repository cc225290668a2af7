#include "datetime/values.h"

using namespace ztree;

int ZTime::set(unsigned short minutes) noexcept
{
    m_usMinutes = minutes;
    // Kept: midnight cannot be set through minutes; 0 in a record stands for "no time".
    if (minutes == 0)
        m_ulTime = 999999;
    else
        fromValues(static_cast<unsigned short>(minutes / 60), static_cast<unsigned short>(minutes % 60), 0);
    return 0;
}

int ZTime::fromValues(unsigned short hour, unsigned short minute, unsigned short second) noexcept
{
    const int result = initTime(&m_ulTime, hour, minute, second);
    updateZTime();
    return result;
}

int ZTime::fromMcoTime(unsigned long packed) noexcept
{
    m_ulTime = packed;
    updateZTime();
    return 0;
}

int ZTime::fromString(const char* text, const tagLocalFmt* fmt) noexcept
{
    const int result = tStringUlong(text, &m_ulTime, fmt);
    updateZTime();
    return result;
}

int ZTime::fromWString(const zwchar* text, const tagLocalFmt* fmt) noexcept
{
    const int result = tStringWUlong(text, &m_ulTime, fmt);
    updateZTime();
    return result;
}

int ZTime::fromWString(const unsigned short* text, const tagLocalFmt* fmt) noexcept
{
    return fromWString(units(text), fmt);
}

int ZTime::toString(char* buffer, int size, const tagLocalFmt* fmt) const noexcept
{
    return writeBounded<roomTime>(ulongTString, m_ulTime, buffer, size, 8, fmt);
}

int ZTime::toWString(zwchar* buffer, int size, const tagLocalFmt* fmt) const noexcept
{
    return writeBounded<roomTime, zwchar>(ulongTStringW, m_ulTime, buffer, size, 8, fmt);
}

int ZTime::toWString(unsigned short* buffer, int size, const tagLocalFmt* fmt) const noexcept
{
    return toWString(units(buffer), size, fmt);
}

int ZTime::toValues(unsigned short* hour, unsigned short* minute, unsigned short* second) const noexcept
{
    splitTime(m_ulTime, hour, minute, second);
    return 0;
}

void ZTime::updateZTime() noexcept
{
    unsigned short hour = 0, minute = 0;
    splitTime(m_ulTime, &hour, &minute, nullptr);
    m_usMinutes = static_cast<unsigned short>(hour * 60 + minute);
}
