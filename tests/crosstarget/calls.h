#pragma once
// What every group of calls is made of: random arguments that are the same on every target, and a hash of all
// that went in and came out.
//
// Draw random values in statements of their own: the order in which a call's arguments are evaluated differs.

#include "support/random.h"

#include <ztree/ext/strings.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace crosstarget {

using Wide = std::basic_string<zwchar>;

class Random : public Bits {
public:
    using Bits::Bits;
    int below(int n) { return static_cast<int>((next() >> 33) % static_cast<unsigned>(n)); }
    int between(int least, int most) { return least + below(most - least + 1); }
    bool oneIn(int n) { return below(n) == 0; }
    int number() { return static_cast<int>(static_cast<std::uint32_t>(next()) >> below(32)); }
    template <class All> const auto& pick(const All& all)
    {
        return all[static_cast<std::size_t>(below(static_cast<int>(std::size(all))))];
    }
    /// Up to `most` of these pieces in a row.
    template <class Pieces> std::string text(const Pieces& pieces, int most)
    {
        std::string made;
        for (int n = below(most + 1); n > 0; --n)
            made += pick(pieces);
        return made;
    }
    /// Does one of these and returns what it gave.
    template <class... Acts> int choose(Acts... acts)
    {
        const int chosen = below(sizeof...(acts));
        int i = 0, result = 0;
        ((i++ == chosen ? void(result = acts()) : void()), ...);
        return result;
    }
    double real()
    {
        static const double edges[] = {0.0, -0.0, 0.005, 0.015, 1e-8, -1e-8, 999999.995, 1e15, 1e22, 5e-324};
        const int kind = below(5);
        const auto bits = static_cast<std::int64_t>(next());
        double value = 0;
        if (kind == 0)
            return pick(edges);
        if (kind == 1)
            std::memcpy(&value, &bits, sizeof value);
        else
            value = static_cast<double>(bits >> below(60)) / (kind == 2 ? 1 : kind == 3 ? 100 : 1024);
        return value == value ? value : 0; // which bits a NaN has is the processor's choice
    }
};

/// ASCII, text of several scripts, what is broken or cut, and zeros.
inline const std::string_view mixed[] = {"a",
                                         "b",
                                         "aab",
                                         "Z9",
                                         " ",
                                         "\t",
                                         "\n",
                                         ",",
                                         "(",
                                         ")",
                                         "\"",
                                         "%",
                                         "017",
                                         "-",
                                         "\x80",
                                         "\xC3",
                                         "\xE4\xB8",
                                         "\xFF",
                                         "\0",
                                         "\xC3\xA4",
                                         "\xD0\x96",
                                         "\xE2\x82\xAC",
                                         "\xF0\x9F\x98\x80",
                                         "\r\n",
                                         "\x1F",
                                         "\xC4\xB1",
                                         "\xEF\xBF\xBF"};

inline Wide widened(const std::string& text)
{
    return Wide(ztree::view(ztree::wide(text)));
}

/// Counts calls and hashes what they took and gave. There is no put() for pointers, nor may sizes of the
/// target's own types get in.
class Calls {
public:
    explicit Calls(std::FILE* trace) : m_trace(trace) {}
    long count() const { return m_count; }
    std::uint64_t hash() const { return m_hash; }

private:
    friend struct Call;
    void bytes(const void* data, std::size_t n)
    {
        for (std::size_t i = 0; i < n; ++i)
            m_hash = (m_hash ^ static_cast<const unsigned char*>(data)[i]) * 0x100000001B3u;
    }
    template <class T, std::enable_if_t<std::is_integral_v<T> || std::is_enum_v<T>, int> = 0> void put(T v)
    {
        const auto wide = static_cast<std::int64_t>(v);
        bytes(&wide, sizeof wide);
        if (m_trace)
            std::fprintf(m_trace, " %08x%08x", static_cast<unsigned>(wide >> 32),
                         static_cast<unsigned>(wide));
    }
    void put(double v)
    {
        std::int64_t bits;
        std::memcpy(&bits, &v, sizeof bits);
        put(bits);
    }
    template <class Ch> void text(std::basic_string_view<Ch> v)
    {
        const auto n = static_cast<std::uint32_t>(v.size());
        bytes(&n, sizeof n);
        bytes(v.data(), v.size() * sizeof(Ch));
        if (m_trace)
            std::fputs(" '", m_trace);
        for (std::size_t i = 0; m_trace && i < v.size(); ++i) {
            const unsigned u =
                static_cast<std::make_unsigned_t<std::conditional_t<sizeof(Ch) == 1, char, short>>>(v[i]);
            std::fprintf(m_trace, u >= 32 && u < 127 ? "%c" : "<%x>", u);
        }
        if (m_trace)
            std::fputc('\'', m_trace);
    }
    void put(std::string_view v) { text(v); }
    void put(const std::string& v) { text(std::string_view(v)); }
    void put(ztree::WideView v) { text(v); }
    void put(const Wide& v) { text(ztree::WideView(v)); }
    void put(const ZString& v) { text(ztree::view(v)); }
    void put(const ZStringW& v) { text(ztree::view(v)); }
    void put(const char* v) { v ? text(std::string_view(v)) : put(-1); }
    void put(const zwchar* v) { v ? text(ztree::WideView(v)) : put(-1); }
    template <class T> void put(const std::optional<T>& v) { v ? put(*v) : put(-1); }
    void put(const void*) = delete;

    std::FILE* m_trace;
    long m_count = 0;
    std::uint64_t m_hash = 0xCBF29CE484222325u;
};

/// Takes one call down. Braces, Call{c, ...}, see to it that arguments are evaluated from left to right; what
/// is passed by name is read behind all of them.
struct Call {
    template <class... Values> explicit Call(Calls& c, const Values&... values)
    {
        ++c.m_count;
        (c.put(values), ...);
        if (c.m_trace)
            std::fputc('\n', c.m_trace);
    }
};

/// A group of calls, made one case at a time from a generator of its own.
struct Group {
    const char* name;
    void (*run)(Calls& c, Random& r);
    int cases;
};
extern const std::vector<Group> textGroups, treeGroups, dataGroups;

} // namespace crosstarget
