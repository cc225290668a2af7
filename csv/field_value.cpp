#include "csv/field_value.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <typeinfo>

namespace ztree_impl {
namespace {

using namespace varnik::ztree;

template <class T> T load(const char* at) noexcept
{
    T value;
    std::memcpy(&value, at, sizeof value);
    return value;
}
template <class T> void put(char* at, T value) noexcept
{
    std::memcpy(at, &value, sizeof value);
}

template <class Ch> bool isBlank(Ch c) noexcept
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

template <class Ch> const Ch* skipBlanks(const Ch* at, const Ch* end) noexcept
{
    while (at != end && isBlank(*at))
        ++at;
    return at;
}

template <class Ch> unsigned digitAt(const Ch* at) noexcept
{
    return static_cast<unsigned>(static_cast<std::make_unsigned_t<Ch>>(*at)) - '0';
}
template <> unsigned digitAt(const zwchar* at) noexcept
{
    return static_cast<unsigned>(*at) - '0';
}

// --- characters ---

// n bytes stand at the start of the field: moves and pads them.
void align(const Spot& spot, std::size_t n) noexcept
{
    if (n >= spot.size)
        return;
    const std::size_t pad = spot.size - n;
    char* gap = spot.at + n;
    if (spot.flags & csvFlagAlignRight) {
        std::memmove(spot.at + pad, spot.at, n);
        gap = spot.at;
    }
    std::memset(gap, padOf(spot.flags), pad);
}

Fault storeBytes(const Spot& spot, const char* text, std::size_t n) noexcept
{
    std::memcpy(spot.at, text, std::min<std::size_t>(n, spot.size));
    if (n == spot.size && spot.flags & csvFlagTerminated)
        spot.at[n] = 0;
    align(spot, n);
    return n > spot.size ? Fault::cut : Fault::none;
}

bool isHighSurrogate(zwchar c) noexcept
{
    return (c & 0xFC00) == 0xD800;
}

Fault storeText(const Spot& spot, const zwchar* text, std::size_t n, unsigned) noexcept
{
    // A slice at a time through the stack, so that a text longer than the field costs nothing more.
    constexpr std::size_t slice = 256;
    char bytes[slice * 4];
    std::size_t filled = 0;
    while (n > 0 && filled <= spot.size) {
        std::size_t units = std::min(n, slice);
        if (units < n && isHighSurrogate(text[units - 1]))
            --units;
        const auto made = static_cast<std::size_t>(
            platform::toNarrow(spot.page, text, static_cast<int>(units), bytes, sizeof bytes));
        if (filled < spot.size)
            std::memcpy(spot.at + filled, bytes, std::min(made, spot.size - filled));
        filled += made;
        text += units;
        n -= units;
    }
    if (filled == spot.size && spot.flags & csvFlagTerminated)
        spot.at[filled] = 0;
    align(spot, filled);
    return filled > spot.size ? Fault::cut : Fault::none;
}

Fault storeText(const Spot& spot, const char* text, std::size_t n, unsigned page) noexcept
{
    if (isSameText(text, n, page, spot.page))
        return storeBytes(spot, text, n);
    GrowingText<zwchar> wide;
    wide.narrow(text, n, page);
    if (wide.failed())
        return Fault::noMemory;
    return storeText(spot, wide.text(), wide.length(), page);
}

Fault storeWide(const Spot& spot, const zwchar* text, std::size_t n, unsigned) noexcept
{
    const std::size_t k = std::min<std::size_t>(n, spot.size);
    const std::size_t pad = spot.size - k;
    const bool right = spot.flags & csvFlagAlignRight;
    char* const value = spot.at + (right ? pad * sizeof(zwchar) : 0);
    if (k)
        std::memcpy(value, text, k * sizeof(zwchar));
    char* gap = right ? spot.at : spot.at + k * sizeof(zwchar);
    const auto filler = static_cast<zwchar>(padOf(spot.flags));
    for (std::size_t i = 0; i < pad; ++i, gap += sizeof filler)
        put(gap, filler);
    return n > spot.size ? Fault::cut : Fault::none;
}

Fault storeWide(const Spot& spot, const char* text, std::size_t n, unsigned page) noexcept
{
    GrowingText<zwchar> wide;
    wide.narrow(text, n, page);
    return wide.failed() ? Fault::noMemory : storeWide(spot, wide.text(), wide.length(), page);
}

template <class Ch> int hexDigit(Ch c) noexcept
{
    if (c >= '0' && c <= '9')
        return static_cast<int>(c) - '0';
    const int letter = static_cast<int>(c) | 0x20;
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

template <class Ch> Fault storePacked(const Spot& spot, const Ch* text, std::size_t n) noexcept
{
    const auto most = static_cast<std::size_t>(std::min<std::uint64_t>(n, std::uint64_t{spot.size} * 2));
    char* at = spot.at + spot.size;
    const Ch* digit = text + n;
    int low = -1;
    for (std::size_t i = 0; i < most; ++i) {
        const int value = hexDigit(*--digit);
        if (value < 0)
            return Fault::badDigit;
        if (low < 0) {
            low = value;
        } else {
            *--at = static_cast<char>(value << 4 | low);
            low = -1;
        }
    }
    // Kept: bytes in front of the stored ones stay; callers clear the field when they want zeros there.
    if (low >= 0)
        *--at = static_cast<char>(low);
    return n > most ? Fault::cut : Fault::none;
}

// --- numbers ---

struct Whole {
    std::uint32_t value = 0;     // wrapped around
    std::uint64_t magnitude = 0; // stops growing far outside of any field
    bool negative = false;
    bool clean = false; // a digit, and nothing but blanks behind
};

template <class Ch> Whole parseWhole(const Ch* at, const Ch* end) noexcept
{
    Whole whole;
    at = skipBlanks(at, end);
    if (at != end && (*at == '-' || *at == '+'))
        whole.negative = *at++ == '-';
    const Ch* const first = at;
    std::uint64_t magnitude = 0;
    std::uint32_t wrapped = 0;
    for (unsigned digit; at != end && (digit = digitAt(at)) < 10; ++at) {
        wrapped = wrapped * 10 + digit;
        if (magnitude < 1'000'000'000'000u)
            magnitude = magnitude * 10 + digit;
    }
    whole.magnitude = magnitude;
    whole.clean = at != first && skipBlanks(at, end) == end;
    whole.value = whole.negative ? 0u - wrapped : wrapped;
    return whole;
}

template <class T, class Ch> Fault storeWhole(const Spot& spot, const Ch* text, std::size_t n) noexcept
{
    const Whole whole = parseWhole(text, text + n);
    put(spot.at, static_cast<T>(whole.value));
    if (!whole.clean)
        return n ? Fault::noNumber : Fault::none;
    const auto most = static_cast<std::uint64_t>(std::numeric_limits<T>::max());
    // An unsigned int is written as a signed one, so these have to come back.
    const std::uint64_t least = std::is_signed_v<T>         ? most + 1
                                : spot.kind == Kind::uint32 ? std::uint64_t{1} << 31
                                                            : 0;
    return whole.magnitude > (whole.negative ? least : most) ? Fault::range : Fault::none;
}

constexpr double powersOf10[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

struct Real {
    double value = 0;
    const char* end = nullptr; // null: no number
};

// A value without an exponent whose digits and power of ten are both exact doubles. Where they are not, the
// end is null.
Real shortReal(const char* at, const char* end) noexcept
{
    std::uint64_t digits = 0;
    const char* const first = at;
    const char* point = nullptr;
    for (; at != end && at - first < 16; ++at) { // 15 digits and a point
        const unsigned digit = digitAt(at);
        if (digit < 10)
            digits = digits * 10 + digit;
        else if (*at == '.' && !point)
            point = at;
        else
            break;
    }
    const std::ptrdiff_t read = at - first - (point ? 1 : 0);
    if (read == 0 || read > 15 || (at != end && (digitAt(at) < 10 || *at == '.' || (*at | 0x20) == 'e')))
        return {};
    const std::ptrdiff_t scale = point ? at - point - 1 : 0;
    return {static_cast<double>(static_cast<std::int64_t>(digits)) / powersOf10[scale], at};
}

// The limit of what a double holds that the digits exceed.
double beyondRange(const char* at, const char* end) noexcept
{
    bool below = true; // 1
    for (const char* p = at; p != end; ++p) {
        if ((*p | 0x20) == 'e') {
            below = p + 1 != end && p[1] == '-';
            break;
        }
        if (*p == '.')
            break;
        below &= *p == '0';
    }
    return below ? 0.0 : std::numeric_limits<double>::infinity();
}

Fault storeReal(const Spot& spot, const char* text, std::size_t n, unsigned) noexcept
{
    const char* const end = text + n;
    const char* at = skipBlanks(text, end);
    const bool negative = at != end && *at == '-';
    if (at != end && (*at == '-' || *at == '+'))
        ++at;
    Real real = shortReal(at, end);
    Fault fault = Fault::none;
    if (!real.end && at != end && (digitAt(at) < 10 || *at == '.')) {
        const auto parsed = std::from_chars(at, end, real.value);
        if (parsed.ec == std::errc::result_out_of_range) {
            real.value = beyondRange(at, parsed.ptr);
            fault = Fault::range;
        }
        if (parsed.ec != std::errc::invalid_argument)
            real.end = parsed.ptr;
    }
    put(spot.at, negative ? -real.value : real.value);
    if (!real.end || skipBlanks(real.end, end) != end)
        return n ? Fault::noNumber : Fault::none;
    return fault;
}

// Numbers are ASCII: the first other unit ends one.
Fault storeReal(const Spot& spot, const zwchar* text, std::size_t n, unsigned page) noexcept
{
    char narrow[512]; // more digits than count
    const std::size_t most = std::min(n, sizeof narrow);
    for (std::size_t i = 0; i < most; ++i)
        narrow[i] = text[i] < 0x80 ? static_cast<char>(text[i]) : '?';
    return storeReal(spot, narrow, most, page);
}

template <class Ch> Fault storeMinutes(const Spot& spot, const Ch* text, std::size_t n) noexcept
{
    const Ch* const end = text + n;
    const Ch* const colon = std::find(text, end, static_cast<Ch>(':'));
    Whole whole = parseWhole(text, colon);
    if (colon == end) {
        put(spot.at, static_cast<short>(whole.value));
        if (n && !whole.clean)
            return Fault::badTime;
        return whole.magnitude > 32767u + whole.negative ? Fault::range : Fault::none;
    }
    const Whole minutes = parseWhole(colon + 1, end);
    put(spot.at, static_cast<short>(whole.value * 60 + minutes.value));
    if (!whole.clean || !minutes.clean || minutes.negative || minutes.magnitude > 59)
        return Fault::badTime;
    return whole.magnitude * 60 + minutes.magnitude > 32767 ? Fault::range : Fault::none;
}

// --- dates, times, amounts: through the conversions' narrow texts ---

// The text with a terminator, in the field's code page where it is wide; empty where it needs more room than
// there is.
template <int room> struct ShortText {
    char bytes[room];
    bool fits;

    ShortText(const Spot&, const char* text, std::size_t n) noexcept : fits(n < room)
    {
        const std::size_t kept = fits ? n : 0;
        std::memcpy(bytes, text, kept);
        bytes[kept] = 0;
    }
    ShortText(const Spot& spot, const zwchar* text, std::size_t n) noexcept
    {
        const int made =
            n < room ? platform::toNarrow(spot.page, text, static_cast<int>(n), bytes, room - 1) : 0;
        fits = made > 0 || n == 0;
        bytes[made] = 0;
    }
};

constexpr int dateRoom = 15;
constexpr int timeRoom = 9;
constexpr int amountRoom = 25;

template <class Ch> Fault storeDate(const Spot& spot, const Ch* text, std::size_t n) noexcept
{
    // Kept: what the parser stores stays, and the operation succeeds; callers look at the value.
    unsigned long value = 0;
    const ShortText<dateRoom> date(spot, text, n);
    const int result = date.bytes[0] ? dStringUlong(date.bytes, &value, spot.fmt) : 0;
    put(spot.at, static_cast<zulong>(value));
    const bool whole = result >= 0 && value != 99999999 && static_cast<std::size_t>(result) >= n;
    return date.fits && (n == 0 || whole) ? Fault::none : Fault::badDate;
}

template <class Ch> Fault storeTime(const Spot& spot, const Ch* text, std::size_t n) noexcept
{
    unsigned long value = 0;
    const ShortText<timeRoom> time(spot, text, n);
    const int result = time.bytes[0] ? tStringUlong(time.bytes, &value, spot.fmt) : 0;
    put(spot.at, static_cast<zulong>(value));
    const bool whole = result >= 0 && value != 999999 && static_cast<std::size_t>(result) >= n;
    return time.fits && (n == 0 || whole) ? Fault::none : Fault::badTime;
}

Fault storeDayNumber(const Spot& spot, const zwchar* text, std::size_t n, unsigned) noexcept
{
    constexpr std::size_t most = 63; // no date is longer
    zwchar terminated[most + 1];
    const std::size_t kept = std::min(n, most);
    if (kept)
        std::memcpy(terminated, text, kept * sizeof(zwchar));
    terminated[kept] = 0;
    ZXDate date(static_cast<unsigned short>(0));
    if (n)
        date.fromWString(terminated, spot.fmt);
    put(spot.at, date.get());
    return n == 0 || date.get() != 0 ? Fault::none : Fault::badDate;
}

Fault storeDayNumber(const Spot& spot, const char* text, std::size_t n, unsigned page) noexcept
{
    GrowingText<zwchar> wide;
    wide.narrow(text, std::min<std::size_t>(n, 255), page);
    return storeDayNumber(spot, wide.text(), wide.length(), page);
}

template <class Ch> Fault storeAmount(const Spot& spot, const Ch* text, std::size_t n) noexcept
{
    double value = 0;
    const ShortText<amountRoom> amount(spot, text, n);
    int result = 0;
    if (amount.bytes[0])
        result = aStringDoubleEx(amount.bytes, &value, spot.fmt, static_cast<char>(spot.flags & 0x0F));
    put(spot.at, value);
    const char decimal = spot.fmt ? spot.fmt->cDecimal : ',';
    const char* const point = decimal ? std::strchr(amount.bytes, decimal) : nullptr;
    const bool twoPoints = point && std::strchr(point + 1, decimal); // which the parser takes
    return amount.fits && result >= 0 && !twoPoints ? Fault::none : Fault::badAmount;
}

// --- to text ---

// What is left of the value without its pad characters.
template <class Ch> void strip(const Spot& spot, GrowingText<Ch>& out, std::size_t start) noexcept
{
    const auto pad = static_cast<Ch>(padOf(spot.flags));
    if (spot.flags & csvFlagRaw || pad == 0)
        return;
    Ch* const first = out.text() + start;
    Ch* const end = out.text() + out.length();
    if (spot.flags & csvFlagAlignRight) {
        Ch* at = first;
        while (at != end && *at == pad)
            ++at;
        if (at != first && at != end)
            std::memmove(first, at, static_cast<std::size_t>(end - at) * sizeof(Ch));
        out.cut(out.length() - static_cast<std::size_t>(at - first));
    } else {
        Ch* at = end;
        while (at != first && at[-1] == pad)
            --at;
        out.cut(start + static_cast<std::size_t>(at - first));
    }
}

template <class Ch> void formWide(const Spot& spot, GrowingText<Ch>& out) noexcept
{
    std::size_t n = 0;
    while (n < spot.size && load<zwchar>(spot.at + n * sizeof(zwchar)))
        ++n;
    const std::size_t bytes = n * sizeof(zwchar);
    if constexpr (sizeof(Ch) == sizeof(zwchar)) {
        if (Ch* to = out.room(n)) {
            std::memcpy(to, spot.at, bytes);
            out.added(n);
        }
    } else {
        GrowingText<zwchar> aligned; // the record's own address may be an odd one
        if (zwchar* to = aligned.room(n)) {
            std::memcpy(to, spot.at, bytes);
            out.wide(to, n);
        }
        out.fail(aligned.failed());
    }
}

template <class Ch> void formPacked(const Spot& spot, GrowingText<Ch>& out) noexcept
{
    static constexpr char digits[] = "0123456789ABCDEF";
    std::size_t at = 0;
    while (at < spot.size && spot.at[at] == 0)
        ++at;
    Ch* to = out.room((spot.size - at) * 2);
    if (!to)
        return;
    out.added((spot.size - at) * 2);
    for (; at < spot.size; ++at) {
        const auto byte = static_cast<unsigned char>(spot.at[at]);
        *to++ = static_cast<Ch>(digits[byte >> 4]);
        *to++ = static_cast<Ch>(digits[byte & 15]);
    }
}

template <class N, class Ch> void formNumber(N value, GrowingText<Ch>& out) noexcept
{
    char digits[16];
    out.ascii(digits,
              static_cast<std::size_t>(std::to_chars(digits, digits + sizeof digits, value).ptr - digits));
}

template <class Ch> void formReal(double value, GrowingText<Ch>& out) noexcept
{
    char text[std::numeric_limits<double>::max_exponent10 + 16];
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, 4).ptr;
    out.ascii(text, static_cast<std::size_t>(end - text));
}

template <class Ch> void formMinutes(short value, GrowingText<Ch>& out) noexcept
{
    // Kept: quotient and remainder of a negative value are written as the unsigned numbers they wrap around
    // to.
    formNumber(static_cast<unsigned>(value / 60), out);
    out.unit(static_cast<Ch>(':'));
    const auto minutes = static_cast<unsigned>(value % 60);
    if (minutes < 10)
        out.unit(static_cast<Ch>('0'));
    formNumber(minutes, out);
}

template <class Ch> void formAmount(const Spot& spot, GrowingText<Ch>& out) noexcept
{
    char text[ztree::roomDoubleTextEx];
    // Kept: without csvFlagRaw the decimals are negated, which writes none; files of whole amounts rely on
    // it.
    const int decimals = static_cast<int>(spot.flags & 0x0F);
    const int length =
        doubleAStringEx(load<double>(spot.at), text, !(spot.flags & csvFlagAmountPlain), spot.fmt,
                        static_cast<char>(spot.flags & csvFlagRaw ? decimals : -decimals));
    if (length > 0)
        out.narrow(text, std::strlen(text), spot.page);
}

template <class Ch> void formDayNumber(const Spot& spot, GrowingText<Ch>& out) noexcept
{
    zwchar text[ztree::roomDateWide];
    ZXDate(load<unsigned short>(spot.at)).toWString(text, ztree::roomDateWide, spot.fmt);
    out.wide(text, std::char_traits<zwchar>::length(text));
}

} // namespace

unsigned widthOf(Kind kind) noexcept
{
    switch (kind) {
    case Kind::int8:
    case Kind::uint8:
        return 1;
    case Kind::int16:
    case Kind::uint16:
    case Kind::dayNumber:
    case Kind::minutes:
        return 2;
    case Kind::real:
    case Kind::amount:
        return 8;
    case Kind::text:
    case Kind::wide:
    case Kind::packed:
    case Kind::constant:
    case Kind::other:
        return 0;
    default:
        return 4;
    }
}

Kind kindOf(const csvField& field) noexcept
{
    static const std::type_info* const classes[] = {
        &typeid(csvField), &typeid(csvWideChar), &typeid(csvPacked), &typeid(csvChar), &typeid(csvByte),
        &typeid(csvShort), &typeid(csvUshort),   &typeid(csvInt),    &typeid(csvUint), &typeid(csvLong),
        &typeid(csvUlong), &typeid(csvDouble),   &typeid(csvDate),   &typeid(csvTime), &typeid(csvXDate),
        &typeid(csvZTime), &typeid(csvAmount),   &typeid(csvConst)};
    const std::type_info& wanted = typeid(field);
    unsigned char kind = 0;
    for (const std::type_info* one : classes) {
        if (*one == wanted)
            break;
        ++kind;
    }
    return static_cast<Kind>(kind);
}

template <class Ch> Fault store(const Spot& spot, const Ch* text, std::size_t n, unsigned page) noexcept
{
    if (spot.kind == Kind::constant)
        return Fault::none;
    if (spot.flags & csvFlagReadOnly)
        return Fault::refused;
    if (!spot.at)
        return widthOf(spot.kind) == 0 && spot.size == 0 ? Fault::none : Fault::refused;
    switch (spot.kind) {
    case Kind::text:
        return storeText(spot, text, n, page);
    case Kind::wide:
        return storeWide(spot, text, n, page);
    case Kind::packed:
        return storePacked(spot, text, n);
    case Kind::int8:
        return storeWhole<signed char>(spot, text, n);
    case Kind::uint8:
        return storeWhole<unsigned char>(spot, text, n);
    case Kind::int16:
        return storeWhole<short>(spot, text, n);
    case Kind::uint16:
        return storeWhole<unsigned short>(spot, text, n);
    case Kind::int32:
    case Kind::long32:
        return storeWhole<std::int32_t>(spot, text, n);
    case Kind::uint32:
    case Kind::ulong32:
        return storeWhole<std::uint32_t>(spot, text, n);
    case Kind::real:
        return storeReal(spot, text, n, page);
    case Kind::date:
        return storeDate(spot, text, n);
    case Kind::time:
        return storeTime(spot, text, n);
    case Kind::dayNumber:
        return storeDayNumber(spot, text, n, page);
    case Kind::minutes:
        return storeMinutes(spot, text, n);
    case Kind::amount:
        return storeAmount(spot, text, n);
    default:
        return Fault::refused;
    }
}

template <class Ch> bool form(const Spot& spot, GrowingText<Ch>& out) noexcept
{
    if (!spot.at)
        return widthOf(spot.kind) == 0 && spot.size == 0;
    const std::size_t start = out.length();
    switch (spot.kind) {
    case Kind::text: {
        const void* nul = std::memchr(spot.at, 0, spot.size);
        out.narrow(spot.at,
                   nul ? static_cast<std::size_t>(static_cast<const char*>(nul) - spot.at) : spot.size,
                   spot.page);
        strip(spot, out, start);
        return true;
    }
    case Kind::wide:
        formWide(spot, out);
        strip(spot, out, start);
        return true;
    case Kind::packed:
        formPacked(spot, out);
        return true;
    case Kind::int8:
        formNumber(int{load<signed char>(spot.at)}, out);
        return true;
    case Kind::uint8:
        formNumber(int{load<unsigned char>(spot.at)}, out);
        return true;
    case Kind::int16:
        formNumber(int{load<short>(spot.at)}, out);
        return true;
    case Kind::uint16:
        formNumber(int{load<unsigned short>(spot.at)}, out);
        return true;
    // Kept: an unsigned int is written as a signed one; files hold -1 for "all bits set".
    case Kind::uint32:
    case Kind::int32:
    case Kind::long32:
        formNumber(load<std::int32_t>(spot.at), out);
        return true;
    case Kind::ulong32:
        formNumber(load<std::uint32_t>(spot.at), out);
        return true;
    case Kind::real:
        formReal(load<double>(spot.at), out);
        return true;
    case Kind::date:
    case Kind::time: {
        char text[ztree::roomDate];
        const auto write = spot.kind == Kind::date ? &ulongDString : &ulongTString;
        write(load<zulong>(spot.at), text, spot.fmt);
        out.narrow(text, std::strlen(text), spot.page);
        return true;
    }
    case Kind::dayNumber:
        formDayNumber(spot, out);
        return true;
    case Kind::minutes:
        formMinutes(load<short>(spot.at), out);
        return true;
    case Kind::amount:
        formAmount(spot, out);
        return true;
    default:
        return false;
    }
}

template Fault store(const Spot&, const char*, std::size_t, unsigned) noexcept;
template Fault store(const Spot&, const zwchar*, std::size_t, unsigned) noexcept;
template bool form(const Spot&, GrowingText<char>&) noexcept;
template bool form(const Spot&, GrowingText<zwchar>&) noexcept;

} // namespace ztree_impl
