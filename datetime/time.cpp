// Times of day: packed, storage text, display text.

#include "datetime/chars.h"
#include "datetime/picture.h"
#include "platform/clock.h"

#include <ztree/datetime.h>

namespace ztree {
namespace {

constexpr unsigned long invalidTime = 999999;

struct TimeParts {
    unsigned short hour;
    unsigned short minute;
    unsigned short second;
};

// Wide times are read from the low 8 bits of their units.
template <class Ch> bool isEmpty(const Ch* text)
{
    return !text || LowUnits::of(*text) == 0;
}

// Packs a time; invalidTime for one that does not exist.
unsigned long pack(const TimeParts& parts)
{
    return parts.hour < 24 && parts.minute < 60 && parts.second < 60
               ? parts.hour * 10000ul + parts.minute * 100ul + parts.second
               : invalidTime;
}

bool unpack(unsigned long time, TimeParts& parts)
{
    parts = {static_cast<unsigned short>(time / 10000), static_cast<unsigned short>(time / 100 % 100),
             static_cast<unsigned short>(time % 100)};
    return parts.second < 60 && parts.minute < 60 && parts.hour < 24;
}

bool inRange(unsigned slot, unsigned count)
{
    return slot - 1 < count;
}

// A slot holds its value + 1, 0 stands for "not reached".
struct TimeSlots {
    unsigned hour = 0;
    unsigned minute = 0;
    unsigned second = 0;

    unsigned* select(char letter)
    {
        switch (letter | 0x20) {
        case 'h':
            return &hour;
        case 'm':
            return &minute;
        case 's':
            return &second;
        default:
            return nullptr;
        }
    }
    bool complete() const { return inRange(hour, 24) && inRange(minute, 60) && inRange(second, 60); }
    // What a text that ended early leaves open comes from the clock.
    void fillFromClock()
    {
        if (minute != 0 && second != 0)
            return;
        const SYSTEMTIME now = platform::localTime();
        if (minute == 0)
            minute = now.wMinute + 1u;
        // Kept: the second lands in the minute and stays open itself, so that an hour alone comes out as
        // 999999; callers tell "12" from "12:00" by it.
        if (second == 0)
            minute = now.wSecond + 1u;
    }
    TimeParts parts() const
    {
        return {static_cast<unsigned short>(hour - 1), static_cast<unsigned short>(minute - 1),
                static_cast<unsigned short>(second - 1)};
    }
};

enum class Mode { strict, lenient };

// "HH:MM:SS" in full, the usual text of the default picture.
template <class Ch> bool readRegular(const Ch* text, unsigned separator, TimeParts& parts)
{
    unsigned hour, minute, second;
    if (separator == 0 || !readPair<LowUnits>(text, hour) || LowUnits::of(text[2]) != separator ||
        !readPair<LowUnits>(text + 3, minute) || LowUnits::of(text[5]) != separator ||
        !readPair<LowUnits>(text + 6, second))
        return false;
    parts = {static_cast<unsigned short>(hour), static_cast<unsigned short>(minute),
             static_cast<unsigned short>(second)};
    return true;
}

// Returns the characters consumed, or -1.
template <class Ch> int parseTime(const Ch* text, Mode mode, const tagLocalFmt* fmt, TimeParts& parts)
{
    const unsigned recordSeparator = timeSeparator(fmt);
    if (hasDefaultTime(fmt) && readRegular(text, recordSeparator, parts)) {
        const int length = LowUnits::of(text[8]) == 0 ? 9 : 8; // as below, the terminator counts
        return pack(parts) != invalidTime ? length : -1;
    }
    auto picture = timePicture(fmt);
    PictureField field;
    TimeSlots slots;
    bool error = false;
    const Ch* at = text;
    while (!error && picture.next(field)) {
        unsigned* slot = slots.select(field.letter);
        unsigned number;
        const bool any = readDigits<LowUnits>(at, field.width, number);
        error = !slot || !any;
        if (slot)
            *slot = number + 1;
        const unsigned unit = LowUnits::of(*at);
        if (field.after == AfterField::end) {
            // The end of the picture is the last field's separator: a text that ends here too is
            // consumed with its terminator. The loop ends, so nothing is read behind it.
            at += unit == 0;
        } else if (unit != 0 &&
                   unit == (field.after == AfterField::letter ? recordSeparator
                                                              : static_cast<unsigned char>(field.literal))) {
            ++at;
        }
    }
    if (mode == Mode::strict || !error) {
        if (!slots.complete())
            return -1;
    } else {
        if (slots.hour == 0)
            return -1;
        slots.fillFromClock();
    }
    parts = slots.parts();
    return static_cast<int>(at - text);
}

template <class Ch> int toPacked(const Ch* text, Mode mode, unsigned long* pTime, const tagLocalFmt* fmt)
{
    if (isEmpty(text)) {
        store(pTime, 0ul);
        return 0;
    }
    TimeParts parts;
    const int consumed = parseTime(text, mode, fmt, parts);
    if (consumed < 0) {
        store(pTime, invalidTime);
        return -1;
    }
    store(pTime, pack(parts));
    return consumed;
}

} // namespace
} // namespace ztree

using namespace ztree;

int initTime(unsigned long* pTime, unsigned short hour, unsigned short minute, unsigned short second) noexcept
{
    const unsigned long time = pack({hour, minute, second});
    store(pTime, time);
    return time != invalidTime ? 0 : -1;
}

int splitTime(unsigned long time, unsigned short* hour, unsigned short* minute,
              unsigned short* second) noexcept
{
    TimeParts parts;
    if (!unpack(time, parts))
        return -1;
    store(hour, parts.hour);
    store(minute, parts.minute);
    store(second, parts.second);
    return 0;
}

int currentTime(unsigned long* pTime) noexcept
{
    const SYSTEMTIME now = platform::localTime();
    initTime(pTime, now.wHour, now.wMinute, now.wSecond);
    return 0;
}

int timeUlong(const char* text, unsigned long* pTime) noexcept
{
    return toPacked(text, Mode::strict, pTime, nullptr);
}

int ulongTimeEx(unsigned long time, char* buffer, int size) noexcept
{
    if (!buffer)
        return -1;
    if (size < 1)
        return 0;
    TimeParts parts;
    // Kept: 0 is "no time", so midnight prints as nothing; records use 0 for a field left empty.
    const bool empty = time == 0;
    if (empty || !unpack(time, parts)) {
        *buffer = 0;
        return empty ? 0 : -1;
    }
    char text[roomTime];
    UnitWriter<char> out(text, roomTime - 1);
    out.number(parts.hour, 2);
    out.number(parts.minute, 2);
    out.number(parts.second, 2);
    const int length = out.finish();
    copyBounded(text, length, buffer, size < length + 1 ? size : length + 1);
    return size < length ? size : length;
}

int ulongTime(unsigned long time, char* buffer) noexcept
{
    return ulongTimeEx(time, buffer, 8);
}

int tStringUlong(const char* text, unsigned long* pTime, const tagLocalFmt* fmt) noexcept
{
    return toPacked(text, Mode::lenient, pTime, fmt);
}

int tStringWUlong(const zwchar* text, unsigned long* pTime, const tagLocalFmt* fmt) noexcept
{
    return toPacked(text, Mode::lenient, pTime, fmt);
}

int tStringWUlong(const unsigned short* text, unsigned long* pTime, const tagLocalFmt* fmt) noexcept
{
    return tStringWUlong(units(text), pTime, fmt);
}

int ulongTString(unsigned long time, char* buffer, const tagLocalFmt* fmt) noexcept
{
    if (!buffer)
        return -1;
    *buffer = 0;
    // Kept: 0 is "no time" here as well.
    if (time == 0)
        return 0;
    TimeParts parts;
    if (!unpack(time, parts))
        return -1;
    const unsigned char separator = timeSeparator(fmt);
    if (hasDefaultTime(fmt)) {
        writePair(buffer, parts.hour);
        buffer[2] = static_cast<char>(separator);
        writePair(buffer + 3, parts.minute);
        buffer[5] = static_cast<char>(separator);
        writePair(buffer + 6, parts.second);
        buffer[8] = 0;
        return 8;
    }
    UnitWriter<char> out(buffer, roomTime - 1);
    auto picture = timePicture(fmt);
    PictureField field;
    for (int i = 0; i < 3 && picture.next(field); ++i) {
        switch (field.letter | 0x20) {
        case 'h':
            out.number(parts.hour, field.width);
            break;
        case 'm':
            out.number(parts.minute, field.width);
            break;
        case 's':
            out.number(parts.second, field.width);
            break;
        default:
            break;
        }
        // A record separator of 0 is written too, unlike in a date.
        if (field.after == AfterField::letter)
            out.unit(separator);
        else if (field.after == AfterField::literal)
            out.unit(static_cast<unsigned char>(field.literal));
    }
    return out.finish();
}

int ulongTStringW(unsigned long time, zwchar* buffer, const tagLocalFmt* fmt) noexcept
{
    if (!buffer)
        return -1;
    char text[roomTime];
    const int length = ulongTString(time, text, fmt);
    const char* from = text;
    do
        *buffer++ = static_cast<zwchar>(static_cast<unsigned char>(*from));
    while (*from++);
    return length;
}

int ulongTStringW(unsigned long time, unsigned short* buffer, const tagLocalFmt* fmt) noexcept
{
    return ulongTStringW(time, units(buffer), fmt);
}

int timeTString(const char* storage, char* buffer, const tagLocalFmt* fmt) noexcept
{
    unsigned long time;
    if (timeUlong(storage, &time) < 0) {
        store(buffer, '\0');
        return -1;
    }
    return ulongTString(time, buffer, fmt);
}

int tStringTime(const char* display, char* buffer, const tagLocalFmt* fmt) noexcept
{
    if (!buffer)
        return -1;
    *buffer = 0;
    if (isEmpty(display))
        return 0;
    TimeParts parts;
    if (parseTime(display, Mode::lenient, fmt, parts) < 0)
        return -1;
    UnitWriter<char> out(buffer, roomTimeStorage - 1);
    out.number(parts.hour, 2);
    out.number(parts.minute, 2);
    out.number(parts.second, 2);
    return out.finish();
}
