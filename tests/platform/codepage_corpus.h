#pragma once
// The cases by which conversions and case mapping are compared between the targets: every byte and
// unit of every single-byte page, every character's case, a million random strings each way, every
// system message. All are made by arithmetic alone, so that both targets see the same.

#include "platform/codepage.h"
#include "platform/syserror.h"

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <vector>

namespace corpus {

/// One call and what came of it. Sizes in bytes; out is null after a failure and for a count.
struct Case {
    const char* call;
    unsigned number; // code page, or message code
    const void* in;
    std::size_t inSize;
    int room;
    int result;
    unsigned error; // after a failure
    const void* out;
    std::size_t outSize;
};

/// Cases come in groups of one kind.
class Observer {
public:
    virtual ~Observer() = default;
    virtual void group(const char* name, unsigned number) = 0;
    virtual void one(const Case& c) = 0;
};

/// 64 bits that stand for the outcome of a case.
inline std::uint64_t digest(const Case& c)
{
    std::uint64_t h = 0x9E3779B97F4A7C15u;
    const auto mix = [&h](std::uint64_t v) {
        h = (h ^ v) * 0xD6E8FEB86659FD93u;
        h ^= h >> 32;
    };
    mix(static_cast<std::uint32_t>(c.result));
    mix(c.error);
    const auto* p = static_cast<const unsigned char*>(c.out);
    std::size_t n = c.out ? c.outSize : 0;
    for (; n >= 8; n -= 8, p += 8) {
        std::uint64_t v;
        std::memcpy(&v, p, 8);
        mix(v);
    }
    std::uint64_t last = n;
    for (; n; --n)
        last = last << 8 | *p++;
    mix(last);
    return h;
}

constexpr unsigned singleBytePages[] = {
    37,    437,   500,   708,   720,   737,   775,   850,   852,   855,   857,   860,   861,   862,   863,
    864,   865,   866,   869,   874,   875,   1026,  1250,  1251,  1252,  1253,  1254,  1255,  1256,  1257,
    1258,  10000, 10004, 10005, 10006, 10007, 10010, 10017, 10021, 10029, 10079, 10081, 10082, 20127, 20866,
    21866, 28591, 28592, 28593, 28594, 28595, 28596, 28597, 28598, 28599, 28603, 28605};

class Random {
public:
    unsigned below(unsigned n)
    {
        m_state ^= m_state << 13;
        m_state ^= m_state >> 7;
        m_state ^= m_state << 17;
        return static_cast<unsigned>((m_state >> 32) * n >> 32);
    }

private:
    std::uint64_t m_state = 88172645463325252u;
};

// A code point of one of the kinds that conversions tell apart.
inline unsigned randomPoint(Random& r, unsigned kind)
{
    static constexpr unsigned edges[] = {0x7F,   0x80,   0x7FF,  0x800, 0xFFF,  0x1000,  0xD7FF,   0xE000,
                                         0xFFFD, 0xFFFE, 0xFFFF, 0,     0xFEFF, 0x10000, 0x10FFFF, 0xA0};
    switch (kind) {
    case 0:
        return r.below(0x80);
    case 1:
        return 0x400 + r.below(0x60);
    case 2:
        return 0x80 + r.below(0x780);
    case 3:
        return 0x4E00 + r.below(0x5000);
    case 4:
        return 0x1F300 + r.below(0x300);
    case 5:
        return edges[r.below(16)];
    default:
        return 0x800 + r.below(0xD000);
    }
}

inline void appendUnits(std::vector<zwchar>& w, unsigned point)
{
    if (point >= 0x10000) {
        w.push_back(static_cast<zwchar>(0xD7C0 + (point >> 10)));
        point = 0xDC00 | (point & 0x3FF);
    }
    w.push_back(static_cast<zwchar>(point));
}

// A text keeps to one kind for a while; one in three has unpaired surrogates.
inline void randomUnits(Random& r, std::vector<zwchar>& w)
{
    w.clear();
    const unsigned length = 1 + r.below(r.below(8) ? 24 : 150);
    const bool broken = r.below(3) == 0;
    while (w.size() < length) {
        const unsigned kind = r.below(7);
        for (unsigned run = 1 + r.below(12); run; --run)
            appendUnits(w, broken && r.below(5) == 0 ? 0xD800 + r.below(0x800)
                                                     : randomPoint(r, r.below(6) ? kind : 0));
    }
}

// UTF-8, one in two with bytes changed, dropped or doubled, or cut short anywhere.
inline void randomBytes(Random& r, std::vector<char>& s, std::vector<zwchar>& w)
{
    randomUnits(r, w);
    s.clear();
    const bool broken = r.below(2) == 0;
    const auto put = [&](unsigned byte) {
        const unsigned fate = broken ? r.below(24) : 9;
        if (fate == 0)
            return;
        if (fate == 1)
            byte = r.below(256);
        if (fate == 2)
            byte = 0xC0 + r.below(0x40);
        if (fate == 3)
            s.push_back(static_cast<char>(0x80 + r.below(0x40)));
        s.push_back(static_cast<char>(byte));
    };
    for (std::size_t i = 0; i < w.size(); ++i) {
        unsigned c = w[i]; // unpaired surrogates are written as such: three bytes that are no character
        if (c >> 10 == 0x36 && i + 1 < w.size() && w[i + 1] >> 10 == 0x37) {
            c = 0x10000 + ((c & 0x3FF) << 10) + (w[++i] & 0x3FFu);
            put(0xF0 | c >> 18);
            put(0x80 | (c >> 12 & 0x3F));
            put(0x80 | (c >> 6 & 0x3F));
            put(0x80 | (c & 0x3F));
        } else if (c >= 0x800) {
            put(0xE0 | c >> 12);
            put(0x80 | (c >> 6 & 0x3F));
            put(0x80 | (c & 0x3F));
        } else if (c >= 0x80) {
            put(0xC0 | c >> 6);
            put(0x80 | (c & 0x3F));
        } else {
            put(c);
        }
    }
    if (s.empty())
        s.push_back('\x80');
    if (broken && r.below(2))
        s.resize(1 + r.below(static_cast<unsigned>(s.size())));
}

template <class In, class Out, class Call>
int convert(Observer& to, const char* name, Call call, unsigned page, const std::vector<In>& in,
            std::vector<Out>& buffer, int room)
{
    const int n = static_cast<int>(in.size());
    platform::setLastError(7); // and 7 it stays where nothing fails
    const int result = call(page, in.data(), n, room ? buffer.data() : nullptr, room);
    const bool written = result > 0 && room;
    to.one({name, page, in.data(), in.size() * sizeof(In), room, result, platform::lastError(),
            written ? buffer.data() : nullptr, written ? static_cast<std::size_t>(result) * sizeof(Out) : 0});
    return result;
}

// With plenty of room, then counted, with just enough, one too little or much too little.
template <class In, class Out, class Call>
void convertTwice(Observer& to, Random& r, const char* name, Call call, unsigned page,
                  const std::vector<In>& in, std::vector<Out>& buffer)
{
    const int need = convert(to, name, call, page, in, buffer, static_cast<int>(in.size()) * 3 + 8);
    const int rooms[] = {0, need, need - 1, static_cast<int>(1 + r.below(static_cast<unsigned>(need)))};
    convert(to, name, call, page, in, buffer, rooms[r.below(4)]);
}

inline void runTables(Observer& to)
{
    std::vector<char> bytes(256), narrow(65536);
    std::vector<zwchar> units(65536), wide(256);
    for (unsigned b = 0; b < 256; ++b)
        bytes[b] = static_cast<char>(b);
    for (unsigned u = 0; u < 65536; ++u)
        units[u] = static_cast<zwchar>(u);
    to.group("pages", 0);
    for (const unsigned page : singleBytePages) {
        int n = platform::toWide(page, bytes.data(), 256, wide.data(), 256);
        for (std::size_t b = 0; b < 256; ++b)
            to.one({"toWide", page, &bytes[b], 1, 256, n, 0, &wide[b], 2});
        n = platform::toNarrow(page, units.data(), 65536, narrow.data(), 65536);
        for (std::size_t u = 0; u < 65536; ++u)
            to.one({"toNarrow", page, &units[u], 2, 65536, n, 0, &narrow[u], 1});
    }
    to.group("lead bytes", 0);
    for (const unsigned page : {932u, 936u, 949u, 950u, 1361u, 0u, 1252u, 65001u, 5u})
        for (unsigned b = 0; b < 256; ++b)
            to.one({"isLeadByte", page, &bytes[b], 1, 0,
                    platform::isLeadByte(page, static_cast<unsigned char>(b)), 0, nullptr, 0});
}

inline void runCase(Observer& to)
{
    struct Direction {
        const char* name;
        void (*wide)(zwchar*, int) noexcept;
        zwchar (*unit)(zwchar) noexcept;
        void (*narrow)(char*, int) noexcept;
    };
    for (const Direction& d :
         {Direction{"upper", platform::upperWide, platform::upperUnit, platform::upperAnsi},
          Direction{"lower", platform::lowerWide, platform::lowerUnit, platform::lowerAnsi}}) {
        to.group(d.name, 0);
        for (unsigned b = 0; b < 256; ++b) {
            const char in = static_cast<char>(b);
            char out = in;
            d.narrow(&out, 1);
            to.one({d.name, 0, &in, 1, 0, 0, 0, &out, 1});
        }
        for (unsigned u = 0; u < 65536; ++u) {
            const auto in = static_cast<zwchar>(u);
            const zwchar out = d.unit(in);
            to.one({d.name, 1, &in, 2, 0, 0, 0, &out, 2});
        }
        for (unsigned plane = 0; plane <= 16; ++plane) {
            std::vector<zwchar> in;
            for (unsigned low = 0; low < 65536; ++low)
                appendUnits(in, plane << 16 | low);
            std::vector<zwchar> out = in;
            d.wide(out.data(), static_cast<int>(out.size()));
            const std::size_t units = plane ? 2 : 1;
            for (std::size_t i = 0; i < in.size(); i += units)
                to.one({d.name, 0, &in[i], 2 * units, 0, 0, 0, &out[i], 2 * units});
        }
    }
}

inline void runStrings(Observer& to)
{
    Random r;
    std::vector<zwchar> w, wideBuffer(8192);
    std::vector<char> s, buffer(16384);
    constexpr int texts = 1000000;
    to.group("units to UTF-8", 0);
    for (int i = 0; i < texts; ++i) {
        randomUnits(r, w);
        convertTwice(to, r, "toNarrow", platform::toNarrow, 65001, w, buffer);
    }
    to.group("UTF-8 to units", 0);
    for (int i = 0; i < texts; ++i) {
        randomBytes(r, s, w);
        convertTwice(to, r, "toWide", platform::toWide, 65001, s, wideBuffer);
    }
    constexpr unsigned pageCount = sizeof singleBytePages / sizeof *singleBytePages;
    to.group("single-byte strings", 0);
    for (int i = 0; i < texts / 10; ++i) {
        const unsigned page = i & 1 ? singleBytePages[r.below(pageCount)] : 42;
        randomBytes(r, s, w);
        convertTwice(to, r, "toWide", platform::toWide, page, s, wideBuffer);
        if (page != 42) {
            convertTwice(to, r, "toNarrow", platform::toNarrow, page, w, buffer);
            continue;
        }
        for (zwchar& c : w) // the symbol page has nothing else; sometimes a unit stays foreign
            if (r.below(40))
                c = static_cast<zwchar>(r.below(8) ? 0xF020 + r.below(0xE0) : r.below(0x20));
        convert(to, "toNarrow", platform::toNarrow, page, w, buffer, static_cast<int>(r.below(200)));
    }
}

inline void runMessages(Observer& to)
{
    char text[2048];
    to.group("messages", 0);
    for (const unsigned first : {0u, 0x2000u, 0x80000000u, 0x80040000u, 0x80070000u, 0x80090000u}) {
        for (unsigned code = first; code < first + 0x2000; ++code) {
            const int n = platform::systemMessage(code, text, sizeof text);
            to.one({"message", code, nullptr, 0, sizeof text, n, 0, text, static_cast<std::size_t>(n) + 1});
        }
    }
}

inline void run(Observer& to)
{
    runTables(to);
    runCase(to);
    runStrings(to);
    runMessages(to);
}

/// Folds the digests of a group into one number.
class GroupDigests : public Observer {
public:
    struct Group {
        const char* name;
        unsigned number;
        std::uint64_t digest;
    };
    void group(const char* name, unsigned number) override { groups.push_back({name, number, 0}); }
    void one(const Case& c) override
    {
        std::uint64_t& d = groups.back().digest;
        d = (d ^ digest(c)) * 0xD6E8FEB86659FD93u;
        d ^= d >> 32;
    }
    std::vector<Group> groups;
};

} // namespace corpus
