#pragma once
// A field's value in a record, to text and back: one body for lines of wide text and for files of bytes.

#include "csv/text_out.h"

#include <ztree/csv.h>

namespace ztree_impl {

/// The classes of fields; `other` is one that a caller derived.
enum class Kind : unsigned char {
    text,
    wide,
    packed,
    int8,
    uint8,
    int16,
    uint16,
    int32,
    uint32,
    long32,
    ulong32,
    real,
    date,
    time,
    dayNumber,
    minutes,
    amount,
    constant,
    other
};

/// By the exact class.
Kind kindOf(const varnik::ztree::csvField& field) noexcept;

/// All that a conversion needs to know of a field. The record may hold the value at any address.
struct Spot {
    Kind kind;
    unsigned flags;
    char* at;
    unsigned size;
    unsigned page; // of narrow values, and of the bytes that dates and amounts go through
    const tagLocalFmt* fmt;
};

/// With a code page and formats that are known already.
inline Spot spotOf(const varnik::ztree::csvField& field, Kind kind, unsigned page,
                   const tagLocalFmt* fmt) noexcept
{
    Spot spot = {kind, static_cast<unsigned>(field.getFlags()), nullptr, 0, page, fmt};
    spot.at = field.getBuffer(&spot.size);
    return spot;
}
inline Spot spotOf(const varnik::ztree::csvField& field, Kind kind) noexcept
{
    return spotOf(field, kind, field.getCodepage(), field.getLocalFormat());
}

/// The character that fills a field.
constexpr char padOf(unsigned flags) noexcept
{
    using namespace varnik::ztree;
    return flags & csvFlagPadBlank ? ' ' : flags & csvFlagPadZero ? '0' : '\0';
}

/// What was wrong with a text. From `cut` on a value was stored all the same.
enum class Fault : unsigned char {
    none,
    refused, // read-only, or no memory to store into
    noMemory,
    badDigit, // packed digits
    cut,      // text longer than the field
    noNumber,
    range, // a number that the field cannot hold
    badDate,
    badTime,
    badAmount
};

/// The code of the operations; 0 where a value was stored.
constexpr int codeOf(Fault fault) noexcept
{
    return fault == Fault::none || fault >= Fault::cut ? 0
           : fault == Fault::noMemory                  ? static_cast<int>(ztree::errOutOfMemory)
                                                       : static_cast<int>(ztree::errFail);
}

/// Stores a text of n units. `page` is the code page of narrow text.
template <class Ch> Fault store(const Spot& spot, const Ch* text, std::size_t n, unsigned page) noexcept;

/// Appends the value as text. False without memory to read from; lack of memory is in out.
template <class Ch> bool form(const Spot& spot, GrowingText<Ch>& out) noexcept;

extern template Fault store(const Spot&, const char*, std::size_t, unsigned) noexcept;
extern template Fault store(const Spot&, const zwchar*, std::size_t, unsigned) noexcept;
extern template bool form(const Spot&, GrowingText<char>&) noexcept;
extern template bool form(const Spot&, GrowingText<zwchar>&) noexcept;

/// The width of a value in a record that is a number; 0 for characters and constants.
unsigned widthOf(Kind kind) noexcept;

} // namespace ztree_impl
