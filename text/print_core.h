#pragma once
// The print engine: one body for narrow and wide output.
//
// It owns nothing that needs a destructor and takes no lock: a fault on a bad argument may end it
// anywhere, by an exception or by a guard that drops its frames. Arguments are first read by loops of
// its own, never inside the C library, whose frames cannot be unwound on every target.

#include <ztree/types.h>

#include <climits>
#include <cstdarg>
#include <cstddef>
#include <cstdint>

namespace ztree {

/// The length part of a conversion.
enum class ArgSize : unsigned char { plain, hh, h, l, ll, pointer, i32, longDouble, wide };

/// One conversion as the format states it.
struct PrintForm {
    bool left = false;
    bool plus = false;
    bool blank = false;
    bool alt = false;
    bool zero = false;
    ArgSize size = ArgSize::plain;
    int width = 0;
    int precision = -1; ///< -1: none given
};

/// A number ready to print: prefix, head, zeros, tail.
struct NumberText {
    char prefix[3] = {}; ///< sign, then 0x
    int prefixSize = 0;
    const char* head = nullptr;
    int headSize = 0;
    int zerosAfter = 0;
    const char* tail = nullptr;
    int tailSize = 0;
    bool padZeros = false; ///< fill the width with zeros between prefix and head

    void addPrefix(char c) { prefix[prefixSize++] = c; }
};

template <class Ch> struct PrintTraits;
template <> struct PrintTraits<char> {
    using Other = zwchar;
    static unsigned defaultPage(); ///< what code page 0 stands for
    static int convert(unsigned page, const Other* s, int n, char* out, int room);
};
template <> struct PrintTraits<zwchar> {
    using Other = char;
    static unsigned defaultPage();
    static int convert(unsigned page, const Other* s, int n, zwchar* out, int room);
};

/// One call. limit is above 0, buffer and fmt are not null.
template <class Ch> class Printer {
public:
    Printer(Ch* buffer, int limit, unsigned codepage);
    /// The whole format; terminates the buffer and returns the units before the terminator.
    int run(const Ch* fmt, va_list args);

    // --- output, cut at the end of the buffer ---
    void fill(char c, int n);
    void copy(const Ch* s, std::size_t n);
    void copyAscii(const char* s, int n);
    void digits(char letter, std::uint64_t value, int count);

private:
    using Traits = PrintTraits<Ch>;
    using Other = typename Traits::Other;
    struct Args {
        va_list list; ///< in a record, so that it can be handed on by reference on every target
    };

    const Ch* conversion(const Ch* at, Args& args);
    const Ch* parseField(const Ch* at, PrintForm& form, Args& args);
    const Ch* parseNumber(const Ch* at, int& number) const;
    const Ch* parseSize(const Ch* at, ArgSize& size) const;

    std::int64_t signedArgument(ArgSize size, Args& args);
    std::uint64_t unsignedArgument(ArgSize size, Args& args);
    void integer(const PrintForm& form, char letter, Args& args);
    void pointer(const PrintForm& form, Args& args);
    void floating(const PrintForm& form, char letter, Args& args);
    void character(const PrintForm& form, bool swapped, Args& args);
    void string(const PrintForm& form, bool swapped, Args& args);

    void number(const PrintForm& form, NumberText& text);
    template <class LayOut> void write(long long size, const LayOut& layOut);
    void ownText(const PrintForm& form, const Ch* s, std::size_t n);
    void otherText(const PrintForm& form, const Other* s, std::size_t n);
    std::size_t convertWhole(const Other* s, std::size_t n, std::size_t& used, Ch* out, std::size_t room);
    std::size_t measure(const Other* s, std::size_t n, std::size_t bound, std::size_t enough);
    template <class Unit>
    std::size_t boundByPrecision(const PrintForm& form, const Unit* s, std::size_t enough);
    std::size_t wholeCharacters(const char* s, std::size_t n);
    std::size_t wholeCharacters(const zwchar* s, std::size_t n);

    std::size_t room() const { return static_cast<std::size_t>(m_end - m_at); }
    unsigned page();
    std::size_t fitting(std::size_t n);

    Ch* m_at;
    Ch* m_end; ///< the place that the terminator needs
    Ch* m_start;
    unsigned m_page;
    bool m_cut = false; ///< something did not fit: nothing more is printed
};

extern template class Printer<char>;
extern template class Printer<zwchar>;

} // namespace ztree
