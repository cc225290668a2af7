// What only the Linux substitutes have: several kernels for one conversion, an ANSI page from the
// environment.

#include "platform/codepage_corpus.h"
#include "platform/utf8_linux.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstdlib>
#include <string>

namespace {

namespace utf8 = platform::utf8;

// Room for n objects that end where memory ends: a read or write behind them faults.
template <class T> class AtTheEdge {
public:
    AtTheEdge()
        : m_pages(static_cast<char*>(
              mmap(nullptr, 3 * pages, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)))
    {
        mprotect(m_pages, pages, PROT_NONE);
        mprotect(m_pages + 2 * pages, pages, PROT_NONE);
    }
    ~AtTheEdge() { munmap(m_pages, 3 * pages); }
    T* last(std::size_t n) { return reinterpret_cast<T*>(m_pages + 2 * pages) - n; }
    T* first() { return reinterpret_cast<T*>(m_pages + pages); }

private:
    static constexpr std::size_t pages = 16 * 4096;
    char* m_pages;
};

struct Outcome {
    int count;
    std::string out;
    bool operator==(const Outcome& other) const { return count == other.count && out == other.out; }
};

template <class In, class Out, class Call>
Outcome run(Call call, const In* in, std::size_t n, AtTheEdge<Out>& edge, int room)
{
    Out* const out = edge.last(static_cast<std::size_t>(room));
    std::memset(static_cast<void*>(out), '#', static_cast<std::size_t>(room) * sizeof(Out));
    const int count = call(in, static_cast<int>(n), out, room);
    return {count,
            std::string(reinterpret_cast<const char*>(out), static_cast<std::size_t>(room) * sizeof(Out))};
}

class Utf8Kernels : public ::testing::Test {
protected:
    ~Utf8Kernels() override { utf8::use(nullptr); }
};

// Every kernel, also with input and output that touch unmapped memory, gives what the scalar body
// gives: results, partial results, and nothing written elsewhere in the room.
TEST_F(Utf8Kernels, agreeWithScalar)
{
    int kernelCount = 0;
    const utf8::Kernels* const* kernels = utf8::runnable(kernelCount);
    corpus::Random r;
    AtTheEdge<char> bytesIn, bytesOut;
    AtTheEdge<zwchar> unitsIn, unitsOut;
    std::vector<zwchar> w;
    std::vector<char> s;
    for (int i = 0; i < 40000; ++i) {
        corpus::randomBytes(r, s, w);
        const bool low = r.below(4) == 0; // input right behind unmapped memory
        char* const in = low ? bytesIn.first() : bytesIn.last(s.size());
        std::copy(s.begin(), s.end(), in);
        zwchar* const inWide = low ? unitsIn.first() : unitsIn.last(w.size());
        std::copy(w.begin(), w.end(), inWide);
        utf8::use(&utf8::scalarKernels);
        const int units = utf8::decode(in, static_cast<int>(s.size()), nullptr, 0);
        const int size = utf8::encode(inWide, static_cast<int>(w.size()), nullptr, 0);
        const int unitRooms[] = {units, units + 3,
                                 static_cast<int>(1 + r.below(static_cast<unsigned>(units)))};
        const int byteRooms[] = {size, size + 5, static_cast<int>(1 + r.below(static_cast<unsigned>(size)))};
        for (int k = 0; k < 3; ++k) {
            utf8::use(&utf8::scalarKernels);
            const Outcome decoded = run(utf8::decode, in, s.size(), unitsOut, unitRooms[k]);
            const Outcome encoded = run(utf8::encode, inWide, w.size(), bytesOut, byteRooms[k]);
            for (int j = 0; j + 1 < kernelCount; ++j) {
                utf8::use(kernels[j]);
                ASSERT_EQ(utf8::decode(in, static_cast<int>(s.size()), nullptr, 0), units)
                    << kernels[j]->name;
                ASSERT_TRUE(run(utf8::decode, in, s.size(), unitsOut, unitRooms[k]) == decoded)
                    << kernels[j]->name << " text " << i << " room " << unitRooms[k];
                ASSERT_TRUE(run(utf8::encode, inWide, w.size(), bytesOut, byteRooms[k]) == encoded)
                    << kernels[j]->name << " text " << i << " room " << byteRooms[k];
            }
        }
    }
}

// The environment is read once, so each value needs a process of its own.
TEST(AnsiCodepage, fromTheEnvironment)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const struct {
        const char* value;
        unsigned page;
        const char* text;
        const char* upper;
    } cases[] = {
        {"1251", 1251, "\xE0\xB8z", "\xC0\xA8Z"},
        {"65001", 65001, "\xC3\xA9\xD1\x8F\xC3z", "\xC3\x89\xD0\xAF\xC3Z"},
        {"932", 932, "\x83\x61\x61\xB1", "\x83\x61\x41\xB1"}, // a second byte is no letter
        {"", 1252, "\xE0", "\xC0"},
        {"0", 1252, "\xE0", "\xC0"},
        {"12345", 1252, "\xE0", "\xC0"},
        {"1251x", 1252, "\xE0", "\xC0"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.value);
        setenv("ZTREE_ACP", c.value, 1);
        const auto check = [&c] {
            std::string s = c.text;
            platform::upperAnsi(&s[0], static_cast<int>(s.size()));
            std::exit(platform::ansiCodepage() == c.page && s == c.upper ? 0 : 1);
        };
        EXPECT_EXIT(check(), ::testing::ExitedWithCode(0), "");
    }
    unsetenv("ZTREE_ACP");
}

} // namespace
