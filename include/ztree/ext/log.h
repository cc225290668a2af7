#pragma once
/// @file ext/log.h
/// Entries that are put together only when they are written: ztree::log(client, level, "{} of {}", i, n).
/// Header-only, on top of <ztree/log.h>.
///
/// A pattern is text with places: `{}` takes the next argument, `{:x}` and `{:X}` print an integer or a
/// pointer in hexadecimal, `{:.3}` a floating-point number with so many decimals, `{{` and `}}` are braces.
/// A place without an argument, or with a description that is none of these, stays as it stands; arguments
/// without a place are left out.
///
/// Threads: no state. Failure: nothing throws. Entries up to 512 bytes need no heap; where it has nothing
/// left, a longer entry is cut.

#include <ztree/log.h>
#include <ztree/text.h>

#include <charconv>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace ztree {

/// One argument, as it was given; texts are not copied.
class LogValue {
public:
    /// Integers, bool, char, enums.
    template <class T, std::enable_if_t<std::is_integral_v<T> || std::is_enum_v<T>, int> = 0>
    LogValue(T value) noexcept : m_kind(kindOf<T>())
    {
        if (m_kind == Kind::negative)
            m_signed = static_cast<long long>(value);
        else
            m_unsigned = static_cast<unsigned long long>(value);
    }
    /// Numbers, texts (null is "(null)"), pointers.
    LogValue(double value) noexcept : m_kind(Kind::real), m_real(value) {}
    LogValue(float value) noexcept : m_kind(Kind::shortReal), m_real(value) {}
    LogValue(std::string_view text) noexcept : m_kind(Kind::text), m_text(text) {}
    LogValue(const char* text) noexcept : m_kind(Kind::text), m_text(text ? text : "(null)") {}
    LogValue(const ZString& text) noexcept
        : m_kind(Kind::text),
          m_text(text.length() ? text.getBuffer() : "", static_cast<std::size_t>(text.length()))
    {
    }
    LogValue(const void* pointer) noexcept
        : m_kind(Kind::pointer), m_unsigned(reinterpret_cast<std::uintptr_t>(pointer))
    {
    }

private:
    friend class LogLine;
    enum class Kind : unsigned char {
        negative,
        positive,
        boolean,
        character,
        real,
        shortReal,
        text,
        pointer
    };
    template <class T> static constexpr Kind kindOf() noexcept
    {
        if constexpr (std::is_same_v<T, bool>)
            return Kind::boolean;
        else if constexpr (std::is_same_v<T, char>)
            return Kind::character;
        else if constexpr (std::is_enum_v<T>)
            return kindOf<std::underlying_type_t<T>>() == Kind::negative ? Kind::negative : Kind::positive;
        else
            return std::is_signed_v<T> ? Kind::negative : Kind::positive;
    }

    Kind m_kind;
    union {
        long long m_signed;
        unsigned long long m_unsigned;
        double m_real;
        std::string_view m_text;
    };
};

/// The text of an entry. Room for usual ones on the stack.
class LogLine {
public:
    LogLine() noexcept : m_at(m_usual), m_end(m_usual + sizeof m_usual) {}
    LogLine(const LogLine&) = delete;
    LogLine& operator=(const LogLine&) = delete;
    ~LogLine()
    {
        if (m_start != m_usual)
            platform::heapFree(m_start);
    }

    const char* data() const noexcept { return m_start; }
    int size() const noexcept { return static_cast<int>(m_at - m_start); }

    /// Appends the pattern with its places filled.
    void format(std::string_view pattern, const LogValue* values, std::size_t count) noexcept
    {
        std::size_t used = 0;
        const char* at = pattern.data();
        const char* const end = at + pattern.size();
        for (;;) {
            const char* const text = at;
            while (at < end && *at != '{' && *at != '}')
                ++at;
            append({text, static_cast<std::size_t>(at - text)});
            if (at == end)
                return;
            const char* close = at + 1; // no description holds a brace
            while (*at == '{' && close < end && *close != '}' && *close != '{')
                ++close;
            if (end - at > 1 && at[1] == at[0]) {
                append({at, 1});
                at += 2;
            } else if (*at == '{' && close < end && *close == '}' && used < count &&
                       append(values[used], {at + 1, static_cast<std::size_t>(close - at - 1)})) {
                ++used;
                at = close + 1;
            } else {
                append({at, 1});
                ++at;
            }
        }
    }

private:
    using Kind = LogValue::Kind;

    /// Makes room for n bytes behind m_at; the result is how many there is room for.
    __attribute__((noinline)) std::size_t room(std::size_t n) noexcept
    {
        const auto left = static_cast<std::size_t>(m_end - m_at);
        const auto held = static_cast<std::size_t>(m_at - m_start);
        const std::size_t size = (held + n) * 2;
        char* const block = n < longest ? static_cast<char*>(platform::heapAlloc(size)) : nullptr;
        if (!block || size > longest) {
            platform::heapFree(block);
            m_cut = true; // nothing is put behind a gap
            return left;
        }
        std::memcpy(block, m_start, held);
        if (m_start != m_usual)
            platform::heapFree(m_start);
        m_start = block;
        m_at = block + held;
        m_end = block + size;
        return n;
    }
    void append(std::string_view text) noexcept
    {
        std::size_t n = text.size();
        if (m_cut)
            return;
        if (n > static_cast<std::size_t>(m_end - m_at))
            n = room(n);
        if (n)
            std::memcpy(m_at, text.data(), n);
        m_at += n;
    }
    /// False for a description that does not fit the value.
    bool append(const LogValue& v, std::string_view description) noexcept
    {
        const bool hex = description == ":x" || description == ":X";
        const bool plain = description.empty();
        switch (v.m_kind) {
        case Kind::text:
            return plain && (append(v.m_text), true);
        case Kind::boolean:
            return plain && (append(v.m_unsigned ? "true" : "false"), true);
        case Kind::character: {
            const char c = static_cast<char>(v.m_signed);
            return plain && (append({&c, 1}), true);
        }
        case Kind::pointer:
            if (plain)
                append("0x");
            return (plain || hex) && integer(v.m_unsigned, 16, description == ":X");
        case Kind::negative:
            if (hex)
                return integer(static_cast<unsigned long long>(v.m_signed), 16, description == ":X");
            return plain && integer(v.m_signed, 10, false);
        case Kind::positive:
            return (plain || hex) && integer(v.m_unsigned, hex ? 16 : 10, description == ":X");
        default:
            return real(v, description);
        }
    }
    template <class T> bool integer(T value, int base, bool upper) noexcept
    {
        char digits[24];
        const auto end = std::to_chars(digits, digits + sizeof digits, value, base).ptr;
        for (char* p = digits; upper && p < end; ++p)
            if (*p >= 'a')
                *p = static_cast<char>(*p - 'a' + 'A');
        append({digits, static_cast<std::size_t>(end - digits)});
        return true;
    }
    bool real(const LogValue& v, std::string_view description) noexcept
    {
        char digits[400]; // 309 before the point
        std::to_chars_result result;
        if (description.empty()) {
            result = v.m_kind == Kind::shortReal
                         ? std::to_chars(digits, digits + sizeof digits, static_cast<float>(v.m_real))
                         : std::to_chars(digits, digits + sizeof digits, v.m_real);
        } else {
            unsigned precision = 0;
            const char* const end = description.data() + description.size();
            if (description.size() < 3 || description[0] != ':' || description[1] != '.' ||
                std::from_chars(description.data() + 2, end, precision).ptr != end || precision > 60)
                return false;
            result = std::to_chars(digits, digits + sizeof digits, v.m_real, std::chars_format::fixed,
                                   static_cast<int>(precision));
        }
        append({digits, static_cast<std::size_t>(result.ptr - digits)});
        return true;
    }

    static constexpr std::size_t longest = 1 << 24;
    char m_usual[512];
    char* m_start = m_usual;
    char* m_at;
    char* m_end;
    bool m_cut = false;
};

namespace detail {
inline bool lets(const logClient& client, unsigned level) noexcept
{
    return client.passes(level);
}
inline bool lets(const IMCWLogClient& client, unsigned level)
{
    return client.checkLogLevel(static_cast<unsigned char>(level)) == 0;
}

// Out of the caller's way: what is filtered out costs a comparison.
template <class Client>
__attribute__((noinline)) HRESULT write(const Client& client, unsigned entry, std::string_view pattern,
                                        const LogValue* values, std::size_t count)
{
    IMCWLog* log = nullptr;
    const HRESULT result = client.getLog(&log);
    if (result != 0)
        return result;
    LogLine line;
    line.format(pattern, values, count);
    const HRESULT written = log->writelnEntry(entry, line.data(), line.size());
    log->Release();
    return written;
}
} // namespace detail

/// Writes an entry with a line end if the client lets its level pass. `entry` is an entry word: a level and
/// what to leave out of the header. The arguments are looked at only then; integers, bool, char, enums,
/// float and double, texts (const char*, std::string_view, std::string, ZString) and pointers will do.
/// Returns what the log says; 1 (S_FALSE) for an entry that is filtered out, 0x80004005 without a log.
template <class Client, class... Args>
inline HRESULT log(const Client& client, unsigned entry, std::string_view pattern, const Args&... args)
{
    static_assert(std::is_base_of_v<IMCWLogClient, Client>, "log(client, level, pattern, arguments...)");
    if (__builtin_expect(!detail::lets(client, entry & 0xFF), true))
        return 1;
    const LogValue values[sizeof...(Args) + 1] = {LogValue(args)..., LogValue(0)};
    return detail::write(client, entry, pattern, values, sizeof...(Args));
}

/// The text alone, for whoever wants to see it; at most `room` bytes of it. Returns its bytes.
template <class... Args>
inline std::size_t logText(char* buffer, std::size_t room, std::string_view pattern,
                           const Args&... args) noexcept
{
    const LogValue values[sizeof...(Args) + 1] = {LogValue(args)..., LogValue(0)};
    LogLine line;
    line.format(pattern, values, sizeof...(Args));
    const std::size_t n =
        static_cast<std::size_t>(line.size()) < room ? static_cast<std::size_t>(line.size()) : room;
    if (n)
        std::memcpy(buffer, line.data(), n);
    return n;
}

} // namespace ztree
