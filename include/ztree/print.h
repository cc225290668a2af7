#pragma once
/// @file print.h
/// Formatted print into a bounded buffer and bounded scan: printf and sscanf that never run over an end.
///
/// The output does not depend on the locale, the system's C library or the target: the same format
/// and values give the same characters everywhere.
///
/// A format is text with conversions `%[flags][width][.precision][length]conversion`.
///
/// | part       | values                                                                               |
/// |------------|--------------------------------------------------------------------------------------|
/// | flags      | `-` left-justified, `+` and blank (sign of a positive number), `#`, `0`              |
/// | width      | number or `*` (an int; negative: left-justified); counts units of the output         |
/// | precision  | number or `*` (an int; negative: as if absent)                                       |
/// | length     | hh h l ll j z t L, I (as wide as a pointer), I32, I64, w                             |
/// | d i u o x X | integer. `l` is the compiler's `long`, hence 64 bits wide on 64-bit Linux; ll, j, L and
/// I64 have 64 bits, z t I those of a pointer | | e E f F g G a A | double, exact and correctly rounded (ties
/// to even) at any precision; the exponent of e and g has two digits at least; "inf" and "nan" (upper-case
/// for E F G A), signed. With L the argument is a long double and is printed as the nearest double | | c |
/// one unit of the function's own width; in wide text a value above 0xFFFF is a code point | | s          |
/// text of the function's own width                                                     | | C S        | as c
/// and s with the other width: wide in the narrow functions, narrow in the wide ones | | hs hc, ls lc |
/// narrow, wide text whatever the function (h, l or w before c, s, C or S)            | | p          |
/// pointer: upper-case hexadecimal digits, all of them (8 or 16)                        | | %          | a
/// percent sign                                                                       | | n          |
/// refused: takes its argument and does nothing, neither prints nor writes through it   |
///
/// - Wide text is `zwchar` (16-bit units). Text of the other width is converted through the code page.
///   What cannot be converted, because the code page is unknown, prints as nothing.
/// - The precision of s and S bounds what is read as well as what is written: no unit of the argument
///   at or behind it is touched, so the argument needs no terminator there. A character that it would
///   cut is left out whole.
/// - A null s or S prints "(null)".
/// - What is no conversion (an unknown letter, a lone % at the end) is printed as it stands.
/// - No character is cut in half where the limit ends the output: no UTF-8 sequence, no pair of a
///   double-byte code page, no surrogate pair. Nothing is printed behind such a cut.
///
/// The argument list is taken at its word, as printf does: arguments that do not match the format may
/// fault. The functions hold no lock and own nothing, so such a fault can be guarded or translated.
/// They carry no compiler check of the format, because `%S`, `%I64d` and 16-bit wide text are not
/// what that check knows on every target.
///
/// Threads: no state; any number of threads at once. Failure: nothing is thrown, nothing allocated.

#include <ztree/types.h>

#include <cstdarg>

/// Prints into buffer.
///   buffer    the caller's, room for `limit` bytes; null: nothing happens
///   limit     bytes that may be written, terminator included; 0 and less: nothing is written
///   codepage  of the buffer: for text of the other width and for not cutting a character; 0 is the
///             system's ANSI code page
///   fmt       in the same code page; null: nothing happens
/// Returns the bytes written without the terminator, also for cut output; 0 when nothing happened.
/// With limit above 0 the result is always terminated. args is left undefined, as vsnprintf leaves it.
ZTREE_API int vsprintfn(char* buffer, int limit, unsigned int codepage, const char* fmt, va_list args);
/// vsprintfn with the arguments themselves.
ZTREE_API int sprintfn(char* buffer, int limit, unsigned int codepage, const char* fmt, ...);

/// The wide twin: limit and result count 16-bit units. The code page is that of narrow arguments
/// (`%S`, `%hs`, `%C`, `%hc`) alone; 0 is UTF-8 (65001).
ZTREE_API int vswprintfn(zwchar* buffer, int limit, unsigned int codepage, const zwchar* fmt, va_list args);
ZTREE_API int vswprintfn(unsigned short* buffer, int limit, unsigned int codepage, const unsigned short* fmt,
                         va_list args);
/// vswprintfn with the arguments themselves.
ZTREE_API int swprintfn(zwchar* buffer, int limit, unsigned int codepage, const zwchar* fmt, ...);
ZTREE_API int swprintfn(unsigned short* buffer, int limit, unsigned int codepage, const unsigned short* fmt,
                        ...);

/// Reads fields from text as sscanf does, within bounds.
///   text    ends at `length` bytes or at its terminator, whichever comes first; nothing behind is
///           read. length < 0: at the terminator
///   fmt     blanks match any run of white space (also none), other text itself, and conversions
///           `%[*][width][length]conversion`:
///           d i u o x X   integers, hh h l ll j z t I I32 I64 as in printing. A value outside the
///                         destination's range is stored as the nearest end of that range; a minus
///                         before an unsigned field negates within it
///           e f g a (E F G A)  float, with l double, with L long double (to a double's accuracy);
///                         the decimal point is '.'; too large a value is stored as infinity
///           s [set] [^set]  width is required: at most width bytes and a terminator are stored
///           c             width bytes (1 without one), no terminator; fewer than that are no match
///           n             int: bytes read so far; no field of its own
///           %             a percent sign
///           `*` reads and stores nothing; then s and [set] need no width.
/// An s or [set] without width that would store, a wide text field or an unknown conversion ends the
/// scan, as the first mismatch and the end of the text do.
/// Returns the number of fields stored, n not counted; 0 for a null text or fmt.
/// Threads: no state. Nothing is thrown or allocated.
ZTREE_API int vscanfn(const char* text, int length, const char* fmt, va_list args);
/// vscanfn with the destinations themselves.
ZTREE_API int scanfn(const char* text, int length, const char* fmt, ...);
