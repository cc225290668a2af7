// Conversions of any bytes through any code page, with any room: what is written stays in the room, a
// count is what a conversion writes, the vector kernels of UTF-8 agree with the scalar body, and what
// UTF-8 made of the input survives the way back. Bytes: code page (2), room (1), text.

#include "platform/codepage.h"
#include "platform/syserror.h"
#include "platform/utf8_linux.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace {

void require(bool condition)
{
    if (!condition)
        std::abort();
}

// Exactly n objects, so that the sanitizer sees the first step beside them.
template <class T> struct Exact {
    explicit Exact(int size) : n(size), data(new T[static_cast<std::size_t>(size)]) {}
    int n;
    std::unique_ptr<T[]> data;
};

template <class In, class Out, class Call>
void convert(Call call, unsigned page, const Exact<In>& in, int room)
{
    const int need = call(page, in.data.get(), in.n, nullptr, 0);
    require(need >= 0 && (need || platform::lastError()));
    const Exact<Out> tight(room);
    const int n = call(page, in.data.get(), in.n, room ? tight.data.get() : nullptr, room);
    require(n <= (room ? room : need));
    if (!need || page == 42) // that page counts first and refuses later
        return;
    const Exact<Out> enough(need);
    require(call(page, in.data.get(), in.n, enough.data.get(), need) == need);
    require(room < need || n == need);
}

void compareKernels(const Exact<char>& in, int room)
{
    namespace utf8 = platform::utf8;
    int count = 0;
    const utf8::Kernels* const* kernels = utf8::runnable(count);
    const Exact<zwchar> expected(room), wide(room);
    utf8::use(&utf8::scalarKernels);
    const int need = utf8::decode(in.data.get(), in.n, nullptr, 0);
    const int n = utf8::decode(in.data.get(), in.n, expected.data.get(), room);
    const Exact<zwchar> whole(need);
    require(utf8::decode(in.data.get(), in.n, whole.data.get(), need) == need);
    const int size = utf8::encode(whole.data.get(), need, nullptr, 0);
    for (int i = 0; i < count; ++i) {
        utf8::use(kernels[i]);
        require(utf8::decode(in.data.get(), in.n, nullptr, 0) == need);
        require(utf8::decode(in.data.get(), in.n, wide.data.get(), room) == n);
        require(n < 0 || !std::memcmp(wide.data.get(), expected.data.get(),
                                      static_cast<std::size_t>(n) * sizeof(zwchar)));
        const Exact<char> narrow(size);
        require(utf8::encode(whole.data.get(), need, narrow.data.get(), size) == size);
        const Exact<zwchar> back(need);
        require(utf8::decode(narrow.data.get(), size, back.data.get(), need) == need);
        require(
            !std::memcmp(back.data.get(), whole.data.get(), static_cast<std::size_t>(need) * sizeof(zwchar)));
    }
    utf8::use(nullptr);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 4 || size > 5000)
        return 0;
    static constexpr unsigned pages[] = {65001, 65001, 65001, 0,     1252,  1251, 437, 932,
                                         936,   949,   950,   54936, 65000, 42,   500, 50220};
    const unsigned selector = data[0] | static_cast<unsigned>(data[1]) << 8;
    const unsigned page = selector < 0x8000 ? pages[selector % 16] : selector;
    const int room = data[2];
    data += 3;
    size -= 3;
    const Exact<char> in(static_cast<int>(size));
    std::memcpy(in.data.get(), data, size);
    platform::setLastError(0);
    convert<char, zwchar>(platform::toWide, page, in, room);
    if (room)
        compareKernels(in, room);
    const Exact<zwchar> wide(static_cast<int>(size / 2 + 1));
    wide.data[static_cast<std::size_t>(wide.n) - 1] = 0xD83D;
    std::memcpy(wide.data.get(), data, size / 2 * 2);
    platform::setLastError(0);
    convert<zwchar, char>(platform::toNarrow, page, wide, room);
    platform::upperWide(wide.data.get(), wide.n);
    platform::lowerWide(wide.data.get(), wide.n);
    platform::upperAnsi(in.data.get(), in.n);
    platform::lowerAnsi(in.data.get(), in.n);
    return 0;
}
