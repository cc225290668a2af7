#pragma once
// Other spellings of wide text.

#include "text/temp_buffer.h"

/// The `unsigned short` spelling of wide text: the same units under another type.
inline const zwchar* units(const unsigned short* s) noexcept
{
    return reinterpret_cast<const zwchar*>(s);
}
inline zwchar* units(unsigned short* s) noexcept
{
    return reinterpret_cast<zwchar*>(s);
}

/// The third spelling as UTF-16: units as they are where it has 16 bits; code points become one or two
/// units where it has 32, values that are none U+FFFD.
class OtherText {
public:
    /// n < 0: up to the terminator. s may be null.
    OtherText(const zwcharOther* s, int n);
    /// Null for a null text.
    const zwchar* get() noexcept { return m_given ? m_units.get() : nullptr; }
    int length() const noexcept { return m_length; }

private:
    bool m_given;
    int m_count;
    TempBuffer<zwchar, 256> m_units;
    int m_length = 0;
};
