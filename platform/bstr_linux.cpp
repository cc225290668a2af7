#include "platform/bstr.h"

#include "platform/heap.h"

#include <ztree/bstr.h>

#include <cstring>
#include <string>

namespace {
// The byte length stands in the 4 bytes before the text, as on Windows.
constexpr std::size_t headBytes = 8;
} // namespace

zwchar* SysAllocString(const zwchar* s)
{
    if (!s)
        return nullptr;
    const std::size_t bytes = std::char_traits<zwchar>::length(s) * sizeof(zwchar);
    if (bytes > 0xFFFFFFFFu - sizeof(zwchar))
        return nullptr;
    char* block = static_cast<char*>(platform::heapAlloc(headBytes + bytes + sizeof(zwchar)));
    if (!block)
        return nullptr;
    const std::uint32_t length = static_cast<std::uint32_t>(bytes);
    std::memcpy(block + headBytes - sizeof length, &length, sizeof length);
    std::memcpy(block + headBytes, s, bytes + sizeof(zwchar));
    return reinterpret_cast<zwchar*>(block + headBytes);
}

unsigned int SysStringLen(const zwchar* bstr)
{
    std::uint32_t bytes = 0;
    if (bstr)
        std::memcpy(&bytes, reinterpret_cast<const char*>(bstr) - sizeof bytes, sizeof bytes);
    return bytes / static_cast<std::uint32_t>(sizeof(zwchar));
}

void SysFreeString(zwchar* bstr)
{
    if (bstr)
        platform::heapFree(reinterpret_cast<char*>(bstr) - headBytes);
}

namespace platform {

zwchar* bstrAlloc(const zwchar* w) noexcept
{
    return SysAllocString(w);
}

} // namespace platform
