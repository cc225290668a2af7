// Formats from anywhere, with arguments that are valid whatever a conversion asks for, into a buffer of
// any size; and scans of any text by any format. Bytes: limit, code page, size of the format, format, text.

#include <ztree/print.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

using Wide = std::basic_string<zwchar>;

void require(bool condition)
{
    if (!condition)
        std::abort();
}

template <class Ch> void checkEnd(const std::vector<Ch>& buffer, int limit, int written)
{
    require(written >= 0 && (limit == 0 ? written == 0 : written < limit));
    if (limit > 0)
        require(buffer[static_cast<std::size_t>(written)] == 0);
}

// As many conversions and stars as the arguments below last for, a long double taking three of them.
constexpr int mostArguments = 20;

int argumentsOf(const std::string& fmt)
{
    int n = 0;
    for (const char c : fmt)
        n += c == '%' || c == '*';
    return n;
}

// Integer arguments and pointers travel apart from doubles in the registers of x86-64; behind those, all
// share the stack. Every pointer leads to text that both widths can read to its end, so that any
// conversion may take any of them.
template <class Print> int withArguments(Print print, const void* t)
{
    return print(1.5, -0.1, 1e300, 5e-324, 1e22, 123456.789, 0.0, -1e-7, t, t, t, t, t, t, t, t, t, t, t, t,
                 t, t, t, t, t, t, t, t, t, t, t, t, t, t, t, t, t, t, t, t, t, t, t, t, t, t, t, t, t, t, t,
                 t, t, t, t, t, t, t, t, t, t, t, t, t);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 3 || size > 2000)
        return 0;
    const int limit = data[0] < 200 ? data[0] : (data[0] - 199) * 100;
    static const unsigned pages[] = {65001, 0, 1252, 932, 936, 65000, 12345};
    const unsigned page = pages[data[1] % (sizeof pages / sizeof *pages)];
    const std::size_t fmtSize = data[2] < size - 3 ? data[2] : size - 3;
    const std::string fmt(reinterpret_cast<const char*>(data) + 3, fmtSize);
    const std::string text(reinterpret_cast<const char*>(data) + 3 + fmtSize, size - 3 - fmtSize);

    if (argumentsOf(fmt) <= mostArguments) {
        std::vector<zwchar> either(text.size() / 2 + 4); // zeros at the end for both widths
        std::memcpy(either.data(), text.data(), text.size());
        const auto room = static_cast<std::size_t>(limit);
        std::vector<char> narrow(room);
        checkEnd(narrow, limit,
                 withArguments(
                     [&](auto... args) { return sprintfn(narrow.data(), limit, page, fmt.c_str(), args...); },
                     either.data()));
        std::vector<zwchar> wide(room);
        const Wide wideFmt(fmt.begin(), fmt.end());
        checkEnd(
            wide, limit,
            withArguments(
                [&](auto... args) { return swprintfn(wide.data(), limit, page, wideFmt.c_str(), args...); },
                either.data()));
        // Numbers look the same in both widths, and so does ASCII.
        if (std::all_of(fmt.begin(), fmt.end(), [](char c) { return c > 0 && !std::strchr("cCsS", c); }) &&
            page == 65001 && limit > 0)
            require(Wide(narrow.data(), narrow.data() + std::strlen(narrow.data())) == Wide(wide.data()));
    }

    // A field holds the text whole at most; the text has no terminator, so that reading on is seen.
    std::vector<char> source(text.begin(), text.end());
    std::vector<char> into(text.size() + 16);
    void* const p = into.data();
    if (argumentsOf(fmt) <= mostArguments && !source.empty()) {
        const int stored = scanfn(source.data(), static_cast<int>(source.size()), fmt.c_str(), p, p, p, p, p,
                                  p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p);
        require(stored >= 0 && stored <= mostArguments);
    }
    return 0;
}
