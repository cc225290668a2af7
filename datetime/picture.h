#pragma once
// Pictures of times and dates: runs of one letter, with one literal character between them.

#include <ztree/datetime.h>

#include <cstring>

namespace ztree {

struct TimeLetters {
    static constexpr bool has(char c)
    {
        const int folded = c | 0x20;
        return folded == 'h' || folded == 'm' || folded == 's';
    }
};

struct DateLetters {
    static constexpr bool has(char c)
    {
        const int folded = c | 0x20;
        return folded == 'd' || folded == 'm' || folded == 'n' || folded == 'y';
    }
};

enum class AfterField { end, letter, literal };

struct PictureField {
    char letter = 0;
    int width = 0;                      // length of the run
    AfterField after = AfterField::end; // what the picture holds behind the run
    char literal = 0;                   // for AfterField::literal, and then already passed
};

template <class Letters> class Picture {
public:
    // Reads at most `room` characters: a picture may fill its array without a terminator.
    Picture(const char* text, int room) : m_at(text), m_end(text + room) {}

    bool next(PictureField& field)
    {
        if (ended())
            return false;
        const char* start = m_at;
        do
            ++m_at;
        while (m_at != m_end && *m_at == *start);
        field.letter = *start;
        field.width = static_cast<int>(m_at - start);
        if (ended()) {
            field.after = AfterField::end;
        } else if (Letters::has(*m_at)) {
            field.after = AfterField::letter;
        } else {
            field.after = AfterField::literal;
            field.literal = *m_at++;
        }
        return true;
    }

private:
    bool ended() const { return m_at == m_end || *m_at == 0; }

    const char* m_at;
    const char* m_end;
};

inline Picture<TimeLetters> timePicture(const tagLocalFmt* fmt)
{
    return fmt ? Picture<TimeLetters>(fmt->szTimeFmt, sizeof fmt->szTimeFmt)
               : Picture<TimeLetters>("HHMMSS", 6);
}

inline Picture<DateLetters> datePicture(const tagLocalFmt* fmt)
{
    return fmt ? Picture<DateLetters>(fmt->szDateFmt, sizeof fmt->szDateFmt)
               : Picture<DateLetters>("DDMMYYYY", 8);
}

// The default pictures, which most records keep, have a straight way through parsers and formatters.
inline bool hasDefaultTime(const tagLocalFmt* fmt)
{
    return !fmt || std::memcmp(fmt->szTimeFmt, "HHMMSS", 7) == 0;
}
inline bool hasDefaultDate(const tagLocalFmt* fmt)
{
    return !fmt || std::memcmp(fmt->szDateFmt, "DDMMYYYY", 9) == 0;
}

// The record's separator as a unit of narrow or wide text.
inline unsigned char timeSeparator(const tagLocalFmt* fmt)
{
    return static_cast<unsigned char>(fmt ? fmt->cTimeSep : ':');
}

inline unsigned char dateSeparator(const tagLocalFmt* fmt)
{
    return static_cast<unsigned char>(fmt ? fmt->cDateSep : '.');
}

} // namespace ztree
