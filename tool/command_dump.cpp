#include "tool/files.h"
#include "tool/options.h"

#include <ztree/helpers.h>

#include <algorithm>

namespace tool {

int runDump(const Arguments& arguments)
{
    const Source source = readSource(arguments.operands()[0]);
    std::size_t at = std::min<std::size_t>(arguments.number("skip", 0), source.bytes.size());
    const std::size_t end =
        at + std::min<std::size_t>(arguments.number("length", ~0ul), source.bytes.size() - at);
    Out& out = standardOutput();
    constexpr std::size_t most = 0x7FFFFFFF; // bytes that formatDump can be told of
    while (at < end) {
        unsigned char line[80];
        const int n = formatDump(static_cast<unsigned long>(at),
                                 reinterpret_cast<const unsigned char*>(source.bytes.data()) + at,
                                 static_cast<unsigned>(std::min(end - at, most)), line, sizeof line);
        // The line ends with CR LF; here it is text for people on any system.
        std::string_view text = reinterpret_cast<const char*>(line);
        out.put(text.substr(0, text.size() - 2));
        out.put('\n');
        at += static_cast<std::size_t>(n);
    }
    return exitDone;
}

} // namespace tool
