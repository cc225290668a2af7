#include "text/mZString.h"

#include "platform/codepage.h"
#include "platform/syserror.h"
#include "text/temp_buffer.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace {

// Most scratch texts are fields of records and names.
constexpr int stackBytes = 1024;

// Bytes that n units may need in any code page: UTF-8 takes 3, a few pages 4.
int narrowRoom(int n) noexcept
{
    return static_cast<int>(std::min<std::int64_t>(std::int64_t{n} * 4, INT_MAX - 1));
}

// Characters of a terminated text in the ANSI code page.
int ansiCharacters(const char* s)
{
    const unsigned page = platform::ansiCodepage();
    constexpr unsigned char leadOfAll = 0x90; // a lead byte in every double-byte page
    if (!platform::isLeadByte(page, leadOfAll))
        return textLength(s);
    int n = 0;
    for (; *s; ++s, ++n)
        if (platform::isLeadByte(page, static_cast<unsigned char>(*s)) && !*++s)
            break;
    return n;
}

} // namespace

// --- narrow ---
int mZString::set(const char* s, int n, unsigned codepage)
{
    // Kept: the own text as source changes nothing, whatever length and code page come with it.
    if (s && s == text())
        return m_nLength;
    if (n < 0)
        n = textLength(s);
    if (n == 0 || !s) {
        reset();
    } else {
        assign(s, n);
        m_uCodepage = codepage;
    }
    return m_nLength;
}

int mZString::setWide(const zwchar* w, int n, unsigned codepage)
{
    if (n < 0)
        n = textLength(w);
    if (n == 0 || !w) {
        reset();
        return 0;
    }
    const int room = narrowRoom(n);
    TempBuffer<char, stackBytes> bytes(static_cast<std::size_t>(room));
    const int converted = platform::toNarrow(codepage, w, n, bytes.get(), room);
    if (converted == 0)
        reset();
    else
        set(bytes.get(), converted, codepage);
    return m_nLength;
}

void mZString::setNumber(int value)
{
    char digits[12];
    set(digits, decimalText(value, digits), 0); // Kept: a number is tagged with the ANSI code page
}

int mZString::characters() const noexcept
{
    if (m_nLength == 0 || m_uCodepage != platform::codepageUtf8)
        return m_nLength;
    return platform::toWide(platform::codepageUtf8, text(), m_nLength, nullptr, 0);
}

int mZString::convertTo(unsigned codepage)
{
    if (m_uCodepage == codepage)
        return m_nLength;
    mZStringW wide(nullptr);
    if (m_nLength)
        wide.convertFrom(m_uCodepage, text(), m_nLength);
    return setWide(wide.text(), wide.length(), codepage);
}

// --- wide ---
int mZStringW::set(const zwchar* s, int n)
{
    if (s && s == text()) // Kept: as in the narrow string
        return m_nLength;
    if (n < 0)
        n = textLength(s);
    if (n == 0 || !s)
        reset();
    else
        assign(s, n);
    return m_nLength;
}

void mZStringW::setNumber(int value)
{
    zwchar digits[12];
    set(digits, decimalText(value, digits));
}

unsigned mZStringW::convertFrom(unsigned codepage, const char* s, int n)
{
    const int bytes = n < 0 ? textLength(s) : n;
    if (!s || bytes == 0) {
        reset();
        return 0;
    }
    // Kept: without a length the room is counted in characters of the ANSI code page, whatever `codepage` is.
    const int count = n < 0 ? ansiCharacters(s) : n;
    if (count == 0) {
        reset();
        return 0;
    }
    reserve(count, false);
    const int converted = platform::toWide(codepage, s, bytes, text(), count);
    if (converted == 0) {
        const unsigned error = platform::lastError();
        reset();
        return error;
    }
    setLength(converted);
    return 0;
}

int mZStringW::convertTo(unsigned codepage, char* buffer, int size) const noexcept
{
    int written = 0;
    if (m_nLength) // the text's own terminator is converted with it
        written = platform::toNarrow(codepage, text(), m_nLength + 1, buffer, size);
    if (written == 0 && buffer && size > 0)
        buffer[0] = 0;
    return written;
}

char* mZStringW::convertTo(unsigned codepage, int& length) const
{
    const int room = narrowRoom(m_nLength);
    char onStack[stackBytes];
    platform::HeapPtr<char> block(
        room > stackBytes ? platform::allocArray<char>(static_cast<std::size_t>(room) + 1) : nullptr);
    if (room > stackBytes && !block)
        throwNoMemory();
    char* bytes = block ? block.get() : onStack;
    const int converted = platform::toNarrow(codepage, text(), m_nLength, bytes, room);
    if (converted == 0)
        return nullptr;
    const std::size_t size = static_cast<std::size_t>(converted) + 1;
    char* result =
        static_cast<char*>(platform::heapResize(block.get(), size)); // a new block, or the large one cut
    if (!result)
        throwNoMemory();
    if (block)
        block.release();
    else
        std::memcpy(result, bytes, size - 1);
    result[size - 1] = 0;
    length = converted;
    return result;
}

void mZStringW::appendUtf8(const char* s, int n)
{
    TempBuffer<zwchar, stackBytes / 2> wide(static_cast<std::size_t>(n));
    const int converted = platform::toWide(platform::codepageUtf8, s, n, wide.get(), n);
    if (converted)
        append(wide.get(), converted);
}
