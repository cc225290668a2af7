#include "platform/stack_trace.h"

#include <cstring>
#include <initializer_list>

namespace platform {

namespace {

CodeMap s_map; // not on a stack that may be nearly exhausted

// Bytes of an indirect call (FF /2) by what follows its first byte.
int indirectCallLength(const unsigned char* code) noexcept
{
    const unsigned mode = code[1] >> 6;
    const unsigned base = code[1] & 7;
    if ((code[1] >> 3 & 7) != 2)
        return 0;
    if (mode == 3)
        return 2;
    const int sib = base == 4 ? 1 : 0;
    if (mode == 1)
        return 3 + sib;
    if (mode == 2 || base == 5)
        return 6 + sib;
    return sib && (code[2] & 7) == 5 ? 7 : 2 + sib;
}

// Whether a call instruction ends where this address begins.
bool followsCall(const CodeMap& map, const CodeRange& range, Register address) noexcept
{
    const auto* const at = reinterpret_cast<const unsigned char*>(address);
    const Register before = address - range.begin;
    if (before >= 5 && at[-5] == 0xE8) {
        std::int32_t distance;
        std::memcpy(&distance, at - 4, sizeof distance);
        if (map.find(address + static_cast<Register>(static_cast<std::intptr_t>(distance))))
            return true;
    }
    for (const int length : {2, 3, 6, 7, 4})
        if (before >= static_cast<Register>(length) && at[-length] == 0xFF &&
            indirectCallLength(at - length) == length)
            return true;
    return false;
}

CodePlace placeOf(const CodeRange* range, Register address) noexcept
{
    return range ? CodePlace{address, address - range->base, range->name} : CodePlace{address, 0, "?"};
}

} // namespace

// Not instrumented: the stack is read as it is.
__attribute__((no_sanitize("address"), no_sanitize("thread"))) int
returnAddresses(const CONTEXT& context, CodePlace* places, int room) noexcept
{
    constexpr Register mostWords = 32768;
    const RegisterSet registers = registersOf(context);
    s_map.load(registers.sp);
    int count = 0;
    if (room > 0)
        places[count++] = placeOf(s_map.find(registers.ip), registers.ip);
    const Register aligned = registers.sp & ~(sizeof(Register) - 1);
    const auto* at =
        reinterpret_cast<const Register*>(aligned > s_map.stackBegin ? aligned : s_map.stackBegin);
    const auto* const end = reinterpret_cast<const Register*>(s_map.stackEnd);
    for (Register words = 0; at < end && words < mostWords && count < room; ++at, ++words) {
        const CodeRange* const range = s_map.find(*at);
        if (range && followsCall(s_map, *range, *at))
            places[count++] = placeOf(range, *at);
    }
    return count;
}

const CodeRange* CodeMap::find(Register address) const noexcept
{
    for (int i = 0; i < m_count; ++i)
        if (address >= m_ranges[i].begin && address < m_ranges[i].end)
            return &m_ranges[i];
    return nullptr;
}

void CodeMap::add(Register begin, Register end, Register base, const char* name, std::size_t length) noexcept
{
    if (m_count == most || length >= nameRoom - m_namesUsed)
        return;
    char* const kept = m_names + m_namesUsed;
    std::memcpy(kept, name, length);
    kept[length] = 0;
    m_namesUsed += length + 1;
    m_ranges[m_count++] = {begin, end, base, kept};
}

} // namespace platform
