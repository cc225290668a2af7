#pragma once
/// @file text.h
/// The strings, and helpers over raw characters, numbers and buffers.

#include <ztree/bstr.h>
#include <ztree/print.h>
#include <ztree/types.h>
#include <ztree/version.h>

#include <atomic>
#include <type_traits>

class ZStringW;
class mZString;
class mZStringW;
namespace ztree_impl {
struct StringAccess;
}

namespace ztree::detail {

/// Strings of up to this many units live inside the implementation object.
constexpr int stringInline = 16;

/// What the inline operations below read of a string's implementation object.
template <class Ch> struct StringHead {
    virtual ~StringHead() = default;

    const void* m_pOwner = nullptr; ///< the public string; null in temporaries
    std::atomic<std::int32_t>* m_pBlock =
        nullptr;           ///< shared block: its count, then the text; null while inline
    Ch* m_pText = nullptr; ///< the text in the block; null while inline
    int m_nCapacity = 0;   ///< units that fit, terminator not counted; 0 nothing reserved, 16 inline
    int m_nLength = 0;     ///< units in the string
    int m_nGrowth = 16;    ///< least growth step
};
template <class Ch> struct StringFields : StringHead<Ch> {
    Ch m_achInline[stringInline + 1] = {};
};
template <> struct StringFields<char> : StringHead<char> {
    unsigned int m_uCodepage = 65001; ///< how the bytes are to be read
    char m_achInline[stringInline + 1] = {};
};

/// Stores c behind the text when that needs neither a new block nor a copy of a shared one.
template <class Ch> inline bool appendInPlace(StringFields<Ch>* impl, Ch c) noexcept
{
    if (!impl || !impl->m_pBlock || impl->m_nLength >= impl->m_nCapacity ||
        impl->m_pBlock->load(std::memory_order_acquire) != 1)
        return false;
    Ch* end = impl->m_pText + impl->m_nLength++;
    end[0] = c;
    end[1] = 0;
    return true;
}
template <class Ch> inline const Ch* stringText(const StringFields<Ch>* impl) noexcept
{
    if (!impl || impl->m_nLength == 0)
        return nullptr;
    return impl->m_pText ? impl->m_pText : impl->m_achInline;
}
/// The unit at i, also for an index of another integer type; 0 outside the text.
template <class Ch, class Index> inline Ch stringUnit(const StringFields<Ch>* impl, Index i) noexcept
{
    const int at = static_cast<std::uint64_t>(i) < 0x7FFFFFFF ? static_cast<int>(i) : -1;
    if (!impl || at < 0 || at >= impl->m_nLength)
        return 0;
    return (impl->m_pText ? impl->m_pText : impl->m_achInline)[at];
}

template <class T> using IfInteger = std::enable_if_t<std::is_integral_v<T>, int>;
/// A character of another type as a wide unit; a narrow one by its byte value.
template <class C> constexpr zwchar wideUnit(C c) noexcept
{
    if constexpr (sizeof(C) == 1)
        return static_cast<zwchar>(static_cast<unsigned char>(c));
    else
        return static_cast<zwchar>(c);
}

} // namespace ztree::detail

/// Narrow string: bytes with a code-page tag that says how they are read when they become wide text.
///
/// Ownership: owns its bytes. Copies share one block until one of them is written to. Up to 16 bytes
///     need no block. A string that never stored anything holds no memory at all.
/// Threads: one object belongs to one thread at a time; copies that share bytes may live in different
///     threads.
/// Failure: structExcept 0x84201001 when memory is out, the string is then as it was. Nothing else is
///     thrown: bad indices and null texts give neutral results (0, -1, null, false, no change).
///
/// Lengths, positions and counts are bytes. Texts may hold zero bytes where a length is given.
/// "Null or empty" texts empty the string. Returned pointers are valid until the string changes.
class ZTREE_API ZString : public ZVersion {
public:
    // --- making ---
    /// s null: an empty string without memory; then the tag is 65001.
    ///   len       bytes of s; below 1: all up to its terminator, so 0 takes the whole text, other than in
    ///   set() codepage  stored as the tag; 0 is the system's ANSI code page
    ZString(const char* s = nullptr, int len = -1, unsigned int codepage = 0) : ZString(nullptr)
    {
        if (s)
            construct(s, len, codepage);
    }
    /// Converts from UTF-16 to `codepage`; s and len as above, len in units.
    ZString(const zwchar* s, int len, unsigned int codepage);
    ZString(const unsigned short* s, int len, unsigned int codepage);
    ZString(std::nullptr_t, int = -1, unsigned int = 0) noexcept : m_pImpl(nullptr) {}
    /// Shares the bytes; takes the tag, not the growth step.
    ZString(const ZString& src) : ZString(nullptr)
    {
        if (src.m_pImpl)
            construct(*src.m_pImpl);
    }
    /// Leaves src as a string that never stored anything.
    ZString(ZString&& src) noexcept : m_pImpl(src.m_pImpl)
    {
        src.m_pImpl = nullptr;
        if (m_pImpl)
            m_pImpl->m_pOwner = this;
    }
    /// Decimal text, tag 0.
    ZString(int value);
    /// One byte, tag 65001; empty for 0.
    ZString(char c);
    ~ZString() override
    {
        if (__builtin_expect(m_pImpl != nullptr, 0)) // that way there is a call anyway
            destroy();
    }

    // --- setting ---
    /// Null s, or empty s with len < 1: empties. Else len bytes (below 0: up to the terminator; 0: empties)
    /// and the tag. The string's own getBuffer() as s changes nothing; a part of it works. Returns the
    /// length.
    int set(const char* s, int len, unsigned int codepage);
    /// The same from UTF-16, converted to `codepage`; empties when that fails. Exactly len units are
    /// converted, nothing behind them is read.
    int set(const zwchar* s, int len, unsigned int codepage);
    int set(const unsigned short* s, int len, unsigned int codepage);
    /// Shares the bytes and takes the tag; the growth step stays.
    const ZString& operator=(const ZString& src);
    const ZString& operator=(ZString&& src) noexcept;
    /// The tag stays.
    const ZString& operator=(const char* s);
    /// Converted to the current tag.
    const ZString& operator=(const zwchar* s);
    const ZString& operator=(const unsigned short* s);
    const ZString& operator=(std::nullptr_t)
    {
        clear();
        return *this;
    }
    /// Decimal text; the tag becomes 0.
    const ZString& operator=(int value);
    /// One byte (0 empties); the tag stays.
    const ZString& operator=(char c);
    /// Empties; growth step and tag stay.
    void clear();

    // --- appending: bytes as they are, never converted ---
    /// Bytes as they are; a number in decimal.
    const ZString& operator+=(const char* s);
    const ZString& operator+=(const ZString& s);
    const ZString& operator+=(int value);
    const ZString& operator+=(char c) { return append(c); }
    /// len < 0: up to the terminator. s may be the string's own text or a part of it.
    const ZString& append(const char* s, int len);
    const ZString& append(char c)
    {
        if (!ztree::detail::appendInPlace(m_pImpl, c))
            appendSlow(c);
        return *this;
    }

    // --- reading ---
    /// The text with a terminator, or null when the string is empty.
    const char* getBuffer() const { return ztree::detail::stringText(m_pImpl); }
    /// getBuffer(), not to be written through: other strings may share the bytes.
    operator char*() const { return const_cast<char*>(getBuffer()); }
    /// The byte at i; 0 outside [0, length()).
    char getAt(int i) const { return ztree::detail::stringUnit(m_pImpl, i); }
    /// As getAt().
    char operator[](int i) const { return ztree::detail::stringUnit(m_pImpl, i); }
    template <class Index, ztree::detail::IfInteger<Index> = 0> char operator[](Index i) const
    {
        return ztree::detail::stringUnit(m_pImpl, i);
    }
    /// Bytes of the text.
    int length() const { return m_pImpl ? m_pImpl->m_nLength : 0; }
    /// UTF-16 units the text stands for when it is tagged 65001, else the length.
    int characters() const;
    /// The tag.
    unsigned int getCodepage() const { return m_pImpl ? m_pImpl->m_uCodepage : 65001; }
    /// First index of c from `from` on, or -1.
    int indexOf(char c, int from) const;
    template <class C, ztree::detail::IfInteger<C> = 0> int indexOf(C c, int from) const
    {
        return indexOf(static_cast<char>(c), from);
    }
    /// First index of s from `from` on, or -1; -1 for a null or empty s. One pass: a match that begins
    /// inside a failed partial match is missed ("aab" is not found in "aaab"); ztree::find finds it.
    int indexOf(const char* s, int from) const;
    /// Last index of c, or -1.
    int lastIndexOf(char c) const;
    /// Compares bytes; false for a null or empty prefix.
    bool startsWith(const char* prefix) const;
    /// Bytes [start, end) with the same tag; end outside the text means its end, start is cut to [0, end].
    ZString substring(int start, int end) const;

    // --- editing ---
    /// Ignored outside [0, length()).
    void setAt(int i, char c);
    /// Strips characters of `set` (null: newline, tab, blank) at the ends; returns how many.
    ///   flags 1  leading   2  trailing
    ///         4  at most one at each end; with 1 and 2 both or none, the last having to equal the first.
    ///            Without 1, or when the first is not in the set, the last alone is stripped if it is there
    ///         8  with 4: the last has to be the character that follows the first one in `set`
    int trim(const char* set, int flags);
    /// Drops every byte of the set (a zero byte counts as in it); returns how many. 0 for null or empty.
    int remove(const char* set);
    /// Replaces every byte of the set by c, likewise.
    int exchange(const char* set, char c);
    /// Fills with c up to n bytes. Shortens a longer string to n when n is at most 16 or the bytes are
    /// shared with another string, else leaves it. Negative n: no change. Returns the length.
    int expand(int n, char c);
    /// Keeps `count` bytes from `start` (count < 0 or too large: to the end). start behind the end empties;
    /// count >= length() changes nothing whatever start is; negative start: no change. Returns the length.
    int truncate(int start, int count);
    /// By the system's ANSI code page whatever the tag is. Returns the length.
    int toupper();
    /// The same to lower case.
    int tolower();
    /// Changes the tag alone. Returns 0.
    int setCodepage(unsigned int codepage);
    /// Converts the bytes and changes the tag; a text that cannot be converted becomes empty. Returns the
    /// length.
    int convertTo(unsigned int codepage);
    /// Least growth in bytes, 16 at first; a negative step is refused with 0x80070057. Returns 0.
    int setGrowth(int step);
    /// Formatted as by vsprintfn with the string's code page, at most 1,023 bytes. Arguments that fault or
    /// throw leave "ZString::format(): Invalid argument list caused an exception". Returns the length.
    int format(const char* fmt, ...);

    // --- text for others ---
    /// The text as UTF-16 by its tag, for SysFreeString to release; null when empty.
    zwchar* sysAllocString() const;
    /// s converted from `codepage` to UTF-8 in a buffer for freeDup to release; null for a null or empty s
    /// or one that cannot be converted.
    static char* strDup(const char* s, unsigned int codepage);
    /// Gives a buffer of strDup() back; null is ignored.
    static void freeDup(char* buffer);

    unsigned int getLibVersion() const override;

private:
    void construct(const char* s, int len, unsigned int codepage);
    void construct(const ztree::detail::StringFields<char>& src);
    void destroy() noexcept;
    void appendSlow(char c);
    void setFallback(unsigned int codepage) noexcept;
    mZString* getInstance();

    friend struct ztree_impl::StringAccess;
    ztree::detail::StringFields<char>* m_pImpl; // an mZString
};

/// The result keeps the tag of its left part: of a ZString its own, of a text or an int 0, of a char 65001.
ZTREE_API ZString operator+(const ZString& a, const ZString& b);
ZTREE_API ZString operator+(const ZString& a, const char* b);
ZTREE_API ZString operator+(const char* a, const ZString& b);
ZTREE_API ZString operator+(const ZString& a, int b);
ZTREE_API ZString operator+(int a, const ZString& b);
ZTREE_API ZString operator+(const ZString& a, char b);
ZTREE_API ZString operator+(char a, const ZString& b);

/// Wide string: UTF-16, no code-page tag; code pages appear where it is converted to and from bytes.
///
/// Ownership, threads and failure as ZString. Lengths, positions and counts are 16-bit units. What has
/// the same name as in ZString and no comment here behaves as there.
///
/// A wide text is taken as `const zwchar*` or `const unsigned short*`; constructors, set, =, += and append
/// take the remaining spelling of a wide literal as well (zwcharOther). A `char` is an int here, as in
/// any arithmetic: `w = 'c'` stores "99".
class ZTREE_API ZStringW : public ZVersion {
public:
    // --- making ---
    ZStringW(const zwchar* s = nullptr, int len = -1) : ZStringW(nullptr)
    {
        if (s)
            construct(s, len);
    }
    ZStringW(const unsigned short* s, int len = -1);
    ZStringW(const zwcharOther* s, int len = -1);
    ZStringW(std::nullptr_t, int = -1) noexcept : m_pImpl(nullptr) {}
    /// Converted as by convertFrom; a null s or a len of 0 gives an empty string.
    ZStringW(const char* s, int len, unsigned int codepage);
    ZStringW(const ZStringW& src) : ZStringW(nullptr)
    {
        if (src.m_pImpl)
            construct(*src.m_pImpl);
    }
    ZStringW(ZStringW&& src) noexcept : m_pImpl(src.m_pImpl)
    {
        src.m_pImpl = nullptr;
        if (m_pImpl)
            m_pImpl->m_pOwner = this;
    }
    ZStringW(int value);
    ZStringW(zwchar c);
    ZStringW(unsigned short c);
    ZStringW(zwcharOther c);
    ~ZStringW() override
    {
        if (__builtin_expect(m_pImpl != nullptr, 0)) // that way there is a call anyway
            destroy();
    }

    // --- setting ---
    int set(const zwchar* s, int len);
    int set(const unsigned short* s, int len);
    int set(const zwcharOther* s, int len);
    /// Null s, or empty s with len < 1: empties. Else convertFrom; returns the length.
    int set(const char* s, int len, unsigned int codepage);
    const ZStringW& operator=(const ZStringW& src);
    const ZStringW& operator=(ZStringW&& src) noexcept;
    const ZStringW& operator=(const zwchar* s);
    const ZStringW& operator=(const unsigned short* s);
    const ZStringW& operator=(const zwcharOther* s);
    /// Converted from the system's ANSI code page; += takes UTF-8.
    const ZStringW& operator=(const char* s);
    const ZStringW& operator=(std::nullptr_t)
    {
        clear();
        return *this;
    }
    const ZStringW& operator=(int value);
    const ZStringW& operator=(zwchar c);
    const ZStringW& operator=(unsigned short c);
    const ZStringW& operator=(zwcharOther c);
    void clear();

    // --- appending ---
    const ZStringW& operator+=(const zwchar* s);
    const ZStringW& operator+=(const unsigned short* s);
    const ZStringW& operator+=(const zwcharOther* s);
    /// Converted from UTF-8.
    const ZStringW& operator+=(const char* s);
    const ZStringW& operator+=(const ZStringW& s);
    const ZStringW& operator+=(int value);
    const ZStringW& operator+=(zwchar c) { return append(c); }
    const ZStringW& operator+=(unsigned short c) { return append(static_cast<zwchar>(c)); }
    const ZStringW& operator+=(zwcharOther c) { return append(c); }
    const ZStringW& append(const zwchar* s, int len);
    const ZStringW& append(const unsigned short* s, int len);
    const ZStringW& append(const zwcharOther* s, int len);
    /// Converted from UTF-8; len in bytes.
    const ZStringW& append(const char* s, int len);
    const ZStringW& append(zwchar c)
    {
        if (!ztree::detail::appendInPlace(m_pImpl, c))
            appendSlow(c);
        return *this;
    }
    const ZStringW& append(unsigned short c) { return append(static_cast<zwchar>(c)); }
    const ZStringW& append(zwcharOther c);
    template <class C, ztree::detail::IfInteger<C> = 0> const ZStringW& append(C c)
    {
        return append(ztree::detail::wideUnit(c));
    }

    // --- reading ---
    const zwchar* getBuffer() const { return ztree::detail::stringText(m_pImpl); }
    /// As getBuffer().
    operator const zwchar*() const { return getBuffer(); }
    zwchar getAt(int i) const { return ztree::detail::stringUnit(m_pImpl, i); }
    zwchar operator[](int i) const { return ztree::detail::stringUnit(m_pImpl, i); }
    template <class Index, ztree::detail::IfInteger<Index> = 0> zwchar operator[](Index i) const
    {
        return ztree::detail::stringUnit(m_pImpl, i);
    }
    int length() const { return m_pImpl ? m_pImpl->m_nLength : 0; }
    int indexOf(zwchar c, int from) const;
    int indexOf(unsigned short c, int from) const { return indexOf(static_cast<zwchar>(c), from); }
    template <class C, ztree::detail::IfInteger<C> = 0> int indexOf(C c, int from) const
    {
        return indexOf(ztree::detail::wideUnit(c), from);
    }
    int indexOf(const zwchar* s, int from) const;
    int indexOf(const unsigned short* s, int from) const;
    int lastIndexOf(zwchar c) const;
    int lastIndexOf(unsigned short c) const { return lastIndexOf(static_cast<zwchar>(c)); }
    template <class C, ztree::detail::IfInteger<C> = 0> int lastIndexOf(C c) const
    {
        return lastIndexOf(ztree::detail::wideUnit(c));
    }
    /// An empty prefix yields true, other than in ZString, unless the string never stored anything.
    bool startsWith(const zwchar* prefix) const;
    bool startsWith(const unsigned short* prefix) const;
    ZStringW substring(int start, int end) const;

    // --- editing ---
    void setAt(int i, zwchar c);
    void setAt(int i, unsigned short c) { setAt(i, static_cast<zwchar>(c)); }
    template <class C, ztree::detail::IfInteger<C> = 0> void setAt(int i, C c)
    {
        setAt(i, ztree::detail::wideUnit(c));
    }
    int trim(const zwchar* set, int flags);
    int trim(const unsigned short* set, int flags);
    int trim(std::nullptr_t, int flags) { return trim(static_cast<const zwchar*>(nullptr), flags); }
    int remove(const zwchar* set);
    int remove(const unsigned short* set);
    int exchange(const zwchar* set, zwchar c);
    int exchange(const unsigned short* set, unsigned short c);
    template <class C, ztree::detail::IfInteger<C> = 0> int exchange(const zwchar* set, C c)
    {
        return exchange(set, ztree::detail::wideUnit(c));
    }
    int expand(int n, zwchar c);
    int expand(int n, unsigned short c) { return expand(n, static_cast<zwchar>(c)); }
    template <class C, ztree::detail::IfInteger<C> = 0> int expand(int n, C c)
    {
        return expand(n, ztree::detail::wideUnit(c));
    }
    int truncate(int start, int count);
    /// Unicode simple case mapping, unit by unit. Returns the length.
    int toupper();
    int tolower();
    int setGrowth(int step);
    /// Formatted as by vswprintfn, at most 1,023 units; narrow arguments are UTF-8. Arguments that fault or
    /// throw leave "ZStringW::format(): Invalid argument list caused an exception". Returns the length.
    int format(const zwchar* fmt, ...);
    int format(const unsigned short* fmt, ...);

    // --- conversion ---
    /// Replaces the text by len bytes of s read in `codepage`. A null or empty s, or a len of 0, empties.
    ///   len < 0  up to the terminator; then room is made for as many units as s has characters in the
    ///            system's ANSI code page. Where that page is single-byte (the usual case) these are as many
    ///            as bytes, which is always enough; where it is double-byte, a text of another code page
    ///            that needs more units fails with 122, so pass its length.
    /// Returns 0, or the system error (87: unknown code page, 122: too few units) with the string emptied.
    int convertFrom(unsigned int codepage, const char* s, int len);
    /// The text in `codepage` with a terminator into buffer, size in bytes. Returns the bytes written,
    /// terminator included; with size 0 the bytes needed; 0 for an empty string or a failed conversion,
    /// with "" in a buffer that has room.
    int convertTo(unsigned int codepage, char* buffer, int size) const;
    /// The same into a new buffer for ZString::freeDup to release; *resultLength (may be null) is without
    /// the terminator. Returns 0, with a null result for an empty string, or -1 with both outputs 0.
    int convertTo(unsigned int codepage, char** result, int* resultLength) const;
    /// For SysFreeString to release; null when empty.
    zwchar* sysAllocString() const;

    unsigned int getLibVersion() const override;

private:
    void construct(const zwchar* s, int len);
    void construct(const ztree::detail::StringFields<zwchar>& src);
    void destroy() noexcept;
    void appendSlow(zwchar c);
    int formatList(const zwchar* fmt, void* list);
    void setFallback() noexcept;
    mZStringW* getInstance();

    ztree::detail::StringFields<zwchar>* m_pImpl; // an mZStringW
};

ZTREE_API ZStringW operator+(const ZStringW& a, const ZStringW& b);
ZTREE_API ZStringW operator+(const ZStringW& a, const zwchar* b);
ZTREE_API ZStringW operator+(const ZStringW& a, const unsigned short* b);
ZTREE_API ZStringW operator+(const zwchar* a, const ZStringW& b);
ZTREE_API ZStringW operator+(const unsigned short* a, const ZStringW& b);
ZTREE_API ZStringW operator+(const ZStringW& a, int b);
ZTREE_API ZStringW operator+(int a, const ZStringW& b);
ZTREE_API ZStringW operator+(const ZStringW& a, zwchar b);
ZTREE_API ZStringW operator+(zwchar a, const ZStringW& b);
ZTREE_API ZStringW operator+(const ZStringW& a, unsigned short b);
ZTREE_API ZStringW operator+(unsigned short a, const ZStringW& b);
ZTREE_API ZStringW operator+(const ZStringW& a, zwcharOther b);
ZTREE_API ZStringW operator+(zwcharOther a, const ZStringW& b);

namespace ztree::detail {
template <class N> constexpr std::size_t byteCount(N n) noexcept
{
    if constexpr (std::is_signed_v<N>)
        return n < 0 ? 0 : static_cast<std::size_t>(n);
    else
        return static_cast<std::size_t>(n);
}
ZTREE_API const char* findBytes(const char* hay, std::size_t hayLen, const char* needle,
                                std::size_t needleLen) noexcept;
/// Place of the first occurrence from `from` on, or npos; linear whatever the texts are. The needle is not
/// empty.
ZTREE_API std::size_t findText(const char* hay, std::size_t hayLen, std::size_t from, const char* needle,
                               std::size_t needleLen) noexcept;
ZTREE_API std::size_t findText(const zwchar* hay, std::size_t hayLen, std::size_t from, const zwchar* needle,
                               std::size_t needleLen) noexcept;
} // namespace ztree::detail

// --- helpers over raw characters ---
// Lengths come from the caller. None allocates, locks, throws or writes a terminator unless it says so.
// A null text is an empty one, a negative length 0. Numbers wrap around on overflow.

/// Hexadecimal digits (either case) to bytes, high nibble first; with an odd count the first digit alone
/// makes the first byte. The first other character ends the digits.
///   outSize, right  when outSize is above 0 and len above 2 * outSize, only outSize digits (half of the
///                   room) are converted, with `right` from position len - 2 * outSize on
/// Returns the bytes written.
ZTREE_API int atox(const char* hex, int len, char* out, int outSize, bool right);
/// Decimal value of at most n characters: blanks and minus signs may stand before the first digit, what
/// is no digit ends the number.
ZTREE_API int atoin(const char* s, int n);
/// atoin for hexadecimal digits.
ZTREE_API int xtoin(const char* s, int n);
/// xtoin for wide digits.
ZTREE_API int wxtoin(const zwchar* s, int n);
ZTREE_API int wxtoin(const unsigned short* s, int n);
/// First occurrence of the needle's bytes, or null; the start for an empty needle. After a failed partial
/// match the search goes on two bytes behind its start, so "aab" is not found in "aaab".
ZTREE_API const char* memmem(const char* hay, unsigned int hayLen, const char* needle,
                             unsigned int needleLen);
/// Lengths of another integer type, so that they do not lead to the C library's function of this name.
template <class N, class M, ztree::detail::IfInteger<N> = 0, ztree::detail::IfInteger<M> = 0>
inline const char* memmem(const char* hay, N hayLen, const char* needle, M needleLen)
{
    return ztree::detail::findBytes(hay, ztree::detail::byteCount(hayLen), needle,
                                    ztree::detail::byteCount(needleLen));
}
/// Copies exactly n characters through the C library's toupper / towupper. Returns n, 0 for n <= 0.
ZTREE_API int strnupr(const char* src, char* dst, int n);
/// The wide twin; n counts units.
ZTREE_API int wcsnupr(const zwchar* src, zwchar* dst, int n);
ZTREE_API int wcsnupr(const unsigned short* src, unsigned short* dst, int n);
/// True when one of the first n characters, before a terminator, differs from `filler`.
ZTREE_API bool isFilled(const char* s, int n, char filler);
ZTREE_API bool isFilledW(const zwchar* s, int n, zwchar filler);
ZTREE_API bool isFilledW(const unsigned short* s, int n, unsigned short filler);
/// True when all characters up to the terminator are decimal digits, also for an empty text; the number
/// goes to *value unless that is null. False for null.
ZTREE_API bool isNumeric(const char* s, unsigned long* value);
/// False when either is null or empty, else whether len bytes (len < 0: the texts) are equal.
ZTREE_API bool isSetAndEqual(const char* a, const char* b, int len);
/// False when either is null; true when both are empty; else as isSetAndEqual.
ZTREE_API bool isEmptyOrEqual(const char* a, const char* b, int len);
/// Adds the decimal digits b to the digit field a in place, both right-aligned. What is no digit ends an
/// operand. A carry out of the last digit goes one place further left when the field has room. Returns 0.
ZTREE_API int stradd(char* a, int aLen, const char* b, int bLen);
/// Estimate of the UTF-8 bytes for the first n characters up to a terminator: 1 below 128, 2 for all others.
ZTREE_API int utf8Len(const char* s, int n);
ZTREE_API int utf8LenW(const zwchar* s, int n);
ZTREE_API int utf8LenW(const unsigned short* s, int n);
/// First c, or null at the terminator. *lines (may be null) gets the line feeds up to there, a line feed
/// that is itself sought included.
ZTREE_API const zwchar* lfWcschr(const zwchar* s, zwchar c, int* lines);
ZTREE_API const unsigned short* lfWcschr(const unsigned short* s, unsigned short c, int* lines);
/// First place where `sub` stands, or null (also for an empty sub); *lines gets the line feeds before it,
/// its own first unit included when that is one.
ZTREE_API const zwchar* lfWcsstr(const zwchar* s, const zwchar* sub, int* lines);
ZTREE_API const unsigned short* lfWcsstr(const unsigned short* s, const unsigned short* sub, int* lines);
/// Copies every unit cut to its low 8 bits, terminator included; null gives an empty out. Returns out,
/// which the caller sizes.
ZTREE_API char* qconvA(const zwchar* w, char* out);
ZTREE_API char* qconvA(const unsigned short* w, char* out);
/// Widens every byte, likewise.
ZTREE_API zwchar* qconvW(const char* s, zwchar* out);
ZTREE_API unsigned short* qconvW(const char* s, unsigned short* out);
