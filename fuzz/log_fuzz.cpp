// What logs make of texts: patterns and formats, names of modes and levels, dumps. The input's lines are the
// pieces; its first byte says how many rows are used.

#include <ztree/ext/attrib.h>
#include <ztree/ext/log.h>
#include <ztree/print.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace {

using Wide = std::basic_string<zwchar>;

void demand(bool holds)
{
    if (!holds)
        std::abort();
}

class TextLog : public mcwLog {
public:
    std::string take()
    {
        std::string out;
        out.swap(m_text);
        return out;
    }

protected:
    HRESULT output(unsigned, const char* s, std::size_t n) override
    {
        m_text.append(s, n);
        return 0;
    }

private:
    std::string m_text;
};

// Texts between places: braces are doubled, so that what comes out is known.
void patterns(const std::vector<std::string_view>& pieces)
{
    std::string pattern, expected;
    std::vector<ztree::LogValue> values;
    for (const std::string_view piece : pieces) {
        for (const char c : piece) {
            pattern += c;
            if (c == '{' || c == '}')
                pattern += c;
        }
        pattern += "{}";
        expected.append(piece).append(piece);
        values.emplace_back(piece);
    }
    ztree::LogLine line;
    line.format(pattern, values.data(), values.size());
    demand(std::string_view(line.data(), static_cast<std::size_t>(line.size())) == expected);
    // As it comes; the longest place shows 60 decimals of a huge number.
    const ztree::LogValue all[] = {-7, 7u, true, 'c', 1e300, 0.1f, "text", static_cast<const void*>(nullptr)};
    for (const std::string_view piece : pieces) {
        ztree::LogLine wild;
        wild.format(piece, all, 8);
        demand(static_cast<std::size_t>(wild.size()) <= piece.size() + 8 * 400);
    }
}

// An entry is what sprintfn makes of the format, or the sentence about a bad one.
void formats(TextLog& log, const std::string& fmt)
{
    std::size_t conversions = 0, digits = 0;
    for (const char c : fmt) {
        conversions += c == '%' || c == '*';
        digits = c >= '0' && c <= '9' ? digits + 1 : 0;
        // The arguments are numbers, and no long double; large fields cost time and show nothing more.
        if (digits > 3 || std::string_view("nsScCL").find(c) != std::string_view::npos)
            return;
    }
    if (conversions > 4)
        return;
    std::vector<char> room(6000);
    const int n = sprintfn(room.data(), static_cast<int>(room.size()), 65001, fmt.c_str(), 1LL, 2LL, 3LL, 4LL,
                           1.5, 2.5, 3.5, 4.5);
    const HRESULT result = log.printfEntry(0xE0000012, fmt.c_str(), 1LL, 2LL, 3LL, 4LL, 1.5, 2.5, 3.5, 4.5);
    const std::string text = log.take();
    if (n + 1 < static_cast<int>(room.size()))
        demand(result == 0 ? text == std::string(room.data(), static_cast<std::size_t>(n))
                           : text == "varnik::brax::mcwLog: *** Invalid error format string ***\r\n");
}

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
}

std::string folded(std::string_view s)
{
    std::string out;
    for (const char c : s)
        out += lower(c);
    return out;
}

// Names from the text are the lists, and the text itself names of them.
void names(const std::string& text, std::size_t rowCount)
{
    std::vector<std::string> rowNames;
    for (const std::string_view name : ztree::tokens(text, "+,| \n"))
        if (rowNames.size() < rowCount)
            rowNames.push_back(folded(name));
    std::vector<Wide> wide;
    for (const std::string& name : rowNames)
        wide.emplace_back(name.begin(), name.end());
    std::vector<tagLogMode> modes;
    std::vector<tagLogList> levels;
    for (std::size_t i = 0; i < wide.size(); ++i) {
        modes.push_back({1u << i, wide[i].c_str(), nullptr});
        levels.push_back({static_cast<unsigned char>(i + 100), wide[i].c_str(), nullptr});
    }
    logClient client;
    client.addLogModeList(modes.data(), static_cast<int>(modes.size()));
    client.setLogLevelList(levels.data(), static_cast<int>(levels.size()));
    zulong expected = 0;
    HRESULT result = 0;
    const auto indexOf = [&rowNames](std::string_view name) {
        std::size_t i = 0;
        while (i < rowNames.size() && rowNames[i] != folded(name))
            ++i;
        return i;
    };
    for (const std::string_view name : ztree::tokens(text, "+,| ")) {
        const std::size_t i = indexOf(name);
        if (i < rowNames.size())
            expected |= 1u << i;
        else
            result = static_cast<HRESULT>(0x80004005);
        const HRESULT found = client.setLogLevelString(Wide(name.begin(), name.end()).c_str());
        unsigned char level = 0;
        client.getLogLevel(&level);
        demand(i < rowNames.size() ? found == 0 && level == i + 100 : rowNames.empty() || found != 0);
    }
    demand(client.setLogModesString(Wide(text.begin(), text.end()).c_str()) == result);
    zulong got = 0;
    client.getLogModes(&got);
    demand(got == expected);
}

// The bytes can be read out of their dump.
void dump(TextLog& log, const std::string& bytes)
{
    log.hexDump(0xE0000012, bytes.data(), static_cast<unsigned long>(bytes.size()));
    const std::string text = log.take();
    std::string back;
    bool first = true;
    for (const std::string_view line : ztree::tokens(text, "\r\n")) {
        if (!first) {
            const std::string_view hex = line.substr(10, 36);
            for (std::size_t i = 0; i + 1 < hex.size() && hex[i] != ' ';) {
                back += static_cast<char>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16));
                i += 2;
                i += i < hex.size() && hex[i] == ' ';
            }
        }
        first = false;
    }
    demand(back == bytes);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    std::vector<std::string_view> lines;
    for (const std::string_view line : ztree::tokens(text, "\n", ztree::Empty::keep))
        lines.push_back(line);
    TextLog log;
    log.AddRef();
    patterns(lines);
    for (const std::string_view line : lines)
        formats(log, std::string(line));
    std::string ascii; // other names compare by the wide case mapping
    for (const char c : text)
        ascii += c & 127 ? static_cast<char>(c & 127) : ' ';
    names(ascii, data[0] % 32);
    dump(log, text);
    return 0;
}
