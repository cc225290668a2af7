#pragma once
// Implementation objects of the strings: the body plus what only one of the twins has.

#include "platform/fault.h"
#include "text/string_core.h"

/// Runs the print engine: its result, or -1 when the arguments make it fault or throw. The engine owns
/// nothing, so a fault may drop its frames.
template <class Print> int guardedPrint(const Print& print) noexcept
{
    int n = -1;
    const unsigned fault = platform::guarded([&] {
        try {
            n = print();
        } catch (...) {
            n = -1;
        }
    });
    return fault ? -1 : n;
}

class mZString final : public StringCore<char> {
public:
    using StringCore<char>::StringCore;
    /// s null counts as empty; n < 0: up to the terminator. The object's own text changes nothing.
    int set(const char* s, int n, unsigned codepage);
    /// From UTF-16; empties when that cannot be converted.
    int setWide(const zwchar* w, int n, unsigned codepage);
    void setNumber(int value);
    int characters() const noexcept;
    int convertTo(unsigned codepage);
};

class mZStringW final : public StringCore<zwchar> {
public:
    using StringCore<zwchar>::StringCore;
    int set(const zwchar* s, int n);
    void setNumber(int value);
    /// n < 0: s is terminated and room is made for its characters in the ANSI code page. The system error or
    /// 0.
    unsigned convertFrom(unsigned codepage, const char* s, int n);
    int convertTo(unsigned codepage, char* buffer, int size) const noexcept;
    /// Null when that cannot be converted.
    char* convertTo(unsigned codepage, int& length) const;
    void appendUtf8(const char* s, int n);
};

namespace ztree_impl {

/// For other parts of the library.
struct StringAccess {
    /// The implementation object, made when there is none. Throws structExcept 0x84201001.
    static mZString& need(ZString& s) { return *s.getInstance(); }
};

} // namespace ztree_impl
