#include "platform/iconv_linux.h"

#include "platform/singlebyte_linux.h"

#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>

namespace platform::iconvpages {

namespace {

struct Name {
    std::uint16_t number;
    zwchar unknown; // stands for bytes that mean nothing
    const char* name;
};
// Sorted by number.
constexpr Name names[] = {
    {858, '?', "CP858"},
    {870, '?', "IBM870"},
    {932, 0x30FB, "CP932"},
    {936, '?', "CP936"},
    {949, '?', "CP949"},
    {950, '?', "CP950"},
    {1047, '?', "IBM1047"},
    {1140, '?', "IBM1140"},
    {1141, '?', "IBM1141"},
    {1142, '?', "IBM1142"},
    {1143, '?', "IBM1143"},
    {1144, '?', "IBM1144"},
    {1145, '?', "IBM1145"},
    {1146, '?', "IBM1146"},
    {1147, '?', "IBM1147"},
    {1148, '?', "IBM1148"},
    {1149, '?', "IBM1149"},
    {1361, '?', "JOHAB"},
    {10001, 0x30FB, "SHIFT_JIS"},
    {10002, '?', "BIG5"},
    {10003, '?', "EUC-KR"},
    {10008, '?', "EUC-CN"},
    {20273, '?', "IBM273"},
    {20277, '?', "IBM277"},
    {20278, '?', "IBM278"},
    {20280, '?', "IBM280"},
    {20284, '?', "IBM284"},
    {20285, '?', "IBM285"},
    {20290, '?', "IBM290"},
    {20297, '?', "IBM297"},
    {20420, '?', "IBM420"},
    {20423, '?', "IBM423"},
    {20424, '?', "IBM424"},
    {20871, '?', "IBM871"},
    {20880, '?', "IBM880"},
    {20905, '?', "IBM905"},
    {20932, 0x30FB, "EUC-JP"},
    {20936, '?', "EUC-CN"},
    {20949, '?', "EUC-KR"},
    {21025, '?', "IBM1025"},
    {38598, '?', "ISO-8859-8"},
    {50220, 0x30FB, "ISO-2022-JP"},
    {50221, 0x30FB, "ISO-2022-JP"},
    {50222, 0x30FB, "ISO-2022-JP"},
    {50225, '?', "ISO-2022-KR"},
    {51932, 0x30FB, "EUC-JP"},
    {51936, '?', "EUC-CN"},
    {51949, '?', "EUC-KR"},
    {54936, '?', "GB18030"},
    {65000, 0xFFFD, "UTF-7"},
};

const Name* find(unsigned codepage) noexcept
{
    const Name* const found =
        std::lower_bound(std::begin(names), std::end(names), codepage,
                         [](const Name& n, unsigned number) { return n.number < number; });
    return found != std::end(names) && found->number == codepage ? found : nullptr;
}

class Converter {
public:
    Converter(const char* to, const char* from) noexcept : m_handle(iconv_open(to, from)) {}
    ~Converter()
    {
        if (isOpen())
            iconv_close(m_handle);
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;
    bool isOpen() const noexcept { return m_handle != reinterpret_cast<iconv_t>(-1); }
    /// iconv(); 0 or errno.
    int run(char** in, std::size_t* inLeft, char** out, std::size_t* outLeft) const noexcept
    {
        return iconv(m_handle, in, inLeft, out, outLeft) == static_cast<std::size_t>(-1) ? errno : 0;
    }

private:
    iconv_t m_handle;
};

// Where the result goes: the caller's room, or a scratch that is only counted.
class Sink {
public:
    Sink(void* out, std::size_t room) noexcept : m_out(static_cast<char*>(out)), m_room(room) {}
    /// Runs the converter over all it takes; false with `error` set when it stopped early.
    bool run(const Converter& converter, char** in, std::size_t* inLeft, int& error) noexcept
    {
        for (;;) {
            char scratch[512];
            char* to = m_out ? m_out + m_size : scratch;
            const std::size_t room = m_out ? m_room - m_size : sizeof scratch;
            std::size_t left = room;
            error = converter.run(in, inLeft, &to, &left);
            m_size += room - left;
            if (error == E2BIG && !m_out && left < room)
                continue;
            return !error;
        }
    }
    bool put(const void* bytes, std::size_t n) noexcept
    {
        if (m_out && m_room - m_size < n)
            return false;
        if (m_out)
            std::memcpy(m_out + m_size, bytes, n);
        m_size += n;
        return true;
    }
    std::size_t size() const noexcept { return m_size; }

private:
    char* m_out;
    std::size_t m_room;
    std::size_t m_size = 0;
};

} // namespace

bool isKnown(unsigned codepage) noexcept
{
    return find(codepage) != nullptr;
}

int toWide(unsigned codepage, const char* s, int n, zwchar* out, int room) noexcept
{
    const Name* const page = find(codepage);
    const Converter converter("UTF-16LE", page->name);
    Sink sink(out, static_cast<std::size_t>(room) * sizeof(zwchar));
    char* in = const_cast<char*>(s); // iconv does not write there
    auto left = static_cast<std::size_t>(n);
    int error = 0;
    while (left) {
        if (converter.isOpen() && sink.run(converter, &in, &left, error))
            break;
        if (error == E2BIG)
            return -1;
        // A lead byte takes its second byte along; the C1 controls stand for themselves.
        const auto c = static_cast<unsigned char>(*in);
        const bool pair = left > 1 && singlebyte::isLeadByte(codepage, c);
        const zwchar unit = c == 0x80 ? zwchar{0x80} : page->unknown;
        if (!sink.put(&unit, sizeof unit))
            return -1;
        in += pair ? 2 : 1;
        left -= pair ? 2 : 1;
    }
    if (converter.isOpen() && !sink.run(converter, nullptr, nullptr, error)) // what a state still holds back
        return -1;
    return static_cast<int>(sink.size() / sizeof(zwchar));
}

int toNarrow(unsigned codepage, const zwchar* w, int n, char* out, int room) noexcept
{
    const Name* const page = find(codepage);
    const Converter converter(page->name, "UTF-16LE");
    Sink sink(out, static_cast<std::size_t>(room));
    char* in = const_cast<char*>(reinterpret_cast<const char*>(w));
    std::size_t left = static_cast<std::size_t>(n) * sizeof(zwchar);
    int error = 0;
    while (left) {
        if (converter.isOpen() && sink.run(converter, &in, &left, error))
            break;
        // '?' in a stateful page has to be sent through the converter too.
        const zwchar question = '?';
        char* mark = const_cast<char*>(reinterpret_cast<const char*>(&question));
        std::size_t markLeft = sizeof question;
        if (error == E2BIG)
            return -1;
        if (converter.isOpen() ? !sink.run(converter, &mark, &markLeft, error) : !sink.put("?", 1))
            return -1;
        in += sizeof(zwchar);
        left -= sizeof(zwchar);
    }
    if (converter.isOpen() && !sink.run(converter, nullptr, nullptr, error))
        return -1;
    return static_cast<int>(sink.size());
}

} // namespace platform::iconvpages
