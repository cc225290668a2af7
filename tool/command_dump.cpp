#include "tool/files.h"
#include "tool/options.h"

#include <ztree/helpers.h>

#include <algorithm>

namespace tool {

int runDump(const Arguments& arguments)
{
    Input input(arguments.operands()[0]);
    std::uint64_t at = arguments.number("skip", 0);
    std::uint64_t left = arguments.has("length") ? arguments.number("length", 0) : ~std::uint64_t{0};
    input.skip(at);
    Out& out = standardOutput();
    std::string piece(std::size_t{1} << 16, '\0'); // whole lines
    while (left > 0) {
        const std::size_t got =
            input.read(&piece[0], static_cast<std::size_t>(std::min<std::uint64_t>(left, piece.size())));
        for (std::size_t i = 0; i < got;) {
            unsigned char line[80];
            const int n = formatDump(static_cast<unsigned long>(at + i),
                                     reinterpret_cast<const unsigned char*>(&piece[i]),
                                     static_cast<unsigned>(got - i), line, sizeof line);
            // The line ends with CR LF; here it is text for people on any system.
            std::string_view text = reinterpret_cast<const char*>(line);
            out.put(text.substr(0, text.size() - 2));
            out.put('\n');
            i += static_cast<std::size_t>(n);
        }
        at += got;
        left -= got;
        if (got < piece.size())
            break;
    }
    return exitDone;
}

} // namespace tool
