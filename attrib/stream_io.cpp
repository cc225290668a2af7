#include "attrib/stream_io.h"

#include <ztree/runtime.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <istream>
#include <ostream>

namespace ztree_impl {

void writeLength(std::ostream& out, std::uint32_t n)
{
    const char bytes[4] = {static_cast<char>(n), static_cast<char>(n >> 8), static_cast<char>(n >> 16),
                           static_cast<char>(n >> 24)};
    out.write(bytes, 4);
}

bool readLength(std::istream& in, std::uint32_t& n)
{
    unsigned char bytes[4];
    in.read(reinterpret_cast<char*>(bytes), 4);
    if (in.gcount() != 4)
        return false;
    n = bytes[0] | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 |
        std::uint32_t{bytes[3]} << 24;
    return true;
}

char* readBlock(std::istream& in, std::uint64_t n, std::size_t spare, std::uint32_t& got)
{
    got = 0;
    // Texts and values are counted by an int.
    const std::size_t wanted = static_cast<std::size_t>(std::min<std::uint64_t>(n, INT_MAX - 64));
    std::size_t room = 0;
    platform::HeapPtr<char> block;
    while (got < wanted) {
        if (got == room) {
            room = std::min(wanted, std::max<std::size_t>(room * 2, 4096));
            char* fresh = static_cast<char*>(platform::heapResize(block.get(), room + spare));
            if (!fresh)
                throw structExcept(ztree::errMemory);
            block.release();
            block.reset(fresh);
        }
        in.read(block.get() + got, static_cast<std::streamsize>(room - got));
        got += static_cast<std::uint32_t>(in.gcount());
        if (got < room)
            break;
    }
    if (block)
        std::memset(block.get() + got, 0, spare);
    return block.release();
}

} // namespace ztree_impl
