// The base of the fields and the fields of characters.

#include "csv/field_shell.h"
#include "text/units.h"

using namespace ztree_impl;

namespace ztree_impl {

int readText(const varnik::ztree::csvField& field, Kind kind, ZStringW& text) noexcept
{
    GrowingText<zwchar> out;
    if (!form(spotOf(field, kind), out))
        return refused;
    if (out.failed())
        return noMemory;
    // Kept: an amount that has no text leaves what stood there; callers preset it.
    if (kind == Kind::amount && out.length() == 0)
        return 0;
    try {
        text.set(out.text(), static_cast<int>(out.length()));
    } catch (const structExcept&) {
        return noMemory;
    }
    return 0;
}

int writeText(const varnik::ztree::csvField& field, Kind kind, const ZStringW& text) noexcept
{
    const zwchar* units = text.getBuffer();
    return codeOf(store(spotOf(field, kind), units, units ? static_cast<std::size_t>(text.length()) : 0, 0u));
}

} // namespace ztree_impl

namespace varnik::ztree {
namespace {

// Kept: bits 2 and 3 are refused, so an amount has at most three decimals, whose bits are those for
// terminated and blank-padded fields as well.
constexpr unsigned long refusedFlags = ~0x1A000223ul;

// The field's memory, and how many bytes the caller's n exchange with it.
struct Span {
    char* at;
    std::size_t bytes;
    int result; // not 0: nothing can be exchanged
};
Span spanOf(const csvField& field, const void* caller, unsigned int n, bool writing) noexcept
{
    unsigned int size;
    Span span = {field.getBuffer(&size), 0, 0};
    span.bytes = std::min(size, n);
    if ((writing && isReadOnly(field)) || (caller && !span.at && span.bytes))
        span.result = refused;
    else if (!caller)
        span.result = badArgument;
    return span;
}

} // namespace

// --- the base ---

csvField::csvField(unsigned short id, unsigned long flags) noexcept
{
    init(id, flags);
}

csvField::csvField(unsigned short id, char* buffer, unsigned int size, unsigned long flags) noexcept
    : csvField(id, flags)
{
    setBuffer(buffer, m_flags & csvFlagTerminated && size ? size - 1 : size);
}

csvField::csvField(unsigned short id, const char* buffer, unsigned int size, unsigned long flags) noexcept
    : csvField(id, const_cast<char*>(buffer), size, flags)
{
    m_flags |= csvFlagReadOnly;
}

csvField::csvField(unsigned short id, long offset, unsigned int size, unsigned long flags) noexcept
    : csvField(id, static_cast<char*>(nullptr), size, flags)
{
    setOffset(offset);
}

csvField::~csvField() = default;

int csvField::read(ZStringW& text) const
{
    return readText(*this, Kind::text, text);
}

int csvField::write(const ZStringW& text) const
{
    return writeText(*this, Kind::text, text);
}

csvField* csvField::clone() const
{
    return cloneOf(*this);
}

int csvField::init(unsigned short id, unsigned long flags) noexcept
{
    m_parent = nullptr;
    m_buffer = nullptr;
    m_size = 0;
    setId(id);
    return setFlags(flags);
}

int csvField::setParent(const csvBuffer* parent) noexcept
{
    m_parent = parent;
    return 0;
}

int csvField::setId(unsigned short id) noexcept
{
    m_id = id;
    return 0;
}

int csvField::setFlags(unsigned long flags) noexcept
{
    if (flags & refusedFlags)
        return badArgument;
    // Kept: the whole word is replaced, so that the internal bits go too; callers unlock a field with it.
    m_flags = static_cast<zulong>(flags);
    return 0;
}

int csvField::setBuffer(char* buffer, unsigned int size) noexcept
{
    m_buffer = buffer;
    m_size = size;
    m_flags &= ~static_cast<zulong>(csvFlagReadOnly);
    return 0;
}

int csvField::setBuffer(const char* buffer, unsigned int size) noexcept
{
    setBuffer(const_cast<char*>(buffer), size);
    m_flags |= csvFlagReadOnly;
    return 0;
}

int csvField::setSize(unsigned int size) noexcept
{
    m_size = size;
    return 0;
}

int csvField::setOffset(long offset) noexcept
{
    static_assert(sizeof(long) == sizeof(char*), "an offset takes the place of an address");
    if (m_flags & csvFlagFixed)
        return refused;
    m_buffer = reinterpret_cast<char*>(static_cast<std::uintptr_t>(offset));
    return 0;
}

int csvField::shiftBuffer(long delta) noexcept
{
    // In integers: an address and an offset wrap around alike.
    const auto at = reinterpret_cast<std::uintptr_t>(m_buffer) + static_cast<std::uintptr_t>(delta);
    return setOffset(static_cast<long>(at));
}

const tagLocalFmt* csvField::getLocalFormat() const noexcept
{
    return m_parent ? m_parent->getLocalFormat() : nullptr;
}

unsigned int csvField::getCodepage() const noexcept
{
    return m_parent ? m_parent->getParameter(csvParamCodepage) : 65001;
}

int csvField::unformat(ZStringW& text) const
{
    const zwchar set[] = {static_cast<zwchar>(padOf(m_flags)), 0};
    if (text.length() == 0 || m_flags & csvFlagRaw || set[0] == 0)
        return 0;
    try {
        text.trim(set, m_flags & csvFlagAlignRight ? 1 : 2);
    } catch (const structExcept&) {
        return noMemory;
    }
    return 0;
}

// --- wide characters ---

csvWideChar::csvWideChar(unsigned short id, zwchar* buffer, unsigned int size, unsigned long flags) noexcept
    : csvField(id, bytesOf(buffer), size, flags)
{
}

csvWideChar::csvWideChar(unsigned short id, const zwchar* buffer, unsigned int size,
                         unsigned long flags) noexcept
    : csvField(id, bytesOf(buffer), size, flags)
{
}

csvWideChar::csvWideChar(unsigned short id, unsigned short* buffer, unsigned int size,
                         unsigned long flags) noexcept
    : csvField(id, bytesOf(buffer), size, flags)
{
}

csvWideChar::csvWideChar(unsigned short id, const unsigned short* buffer, unsigned int size,
                         unsigned long flags) noexcept
    : csvField(id, bytesOf(buffer), size, flags)
{
}

csvWideChar::csvWideChar(unsigned short id, long offset, unsigned int size, unsigned long flags) noexcept
    : csvField(id, offset, size, flags)
{
}

int csvWideChar::read(ZStringW& text) const
{
    return readText(*this, Kind::wide, text);
}

int csvWideChar::write(const ZStringW& text) const
{
    return writeText(*this, Kind::wide, text);
}

csvField* csvWideChar::clone() const
{
    return cloneOf(*this);
}

// Kept: both copy as many bytes as the size counts characters, half of the field; callers pass byte counts.
int csvWideChar::read(zwchar* dest, unsigned int n) const
{
    const Span span = spanOf(*this, dest, n, false);
    if (span.result == 0 && span.bytes)
        std::memcpy(dest, span.at, span.bytes);
    return span.result;
}

int csvWideChar::write(const zwchar* src, unsigned int n) const
{
    const Span span = spanOf(*this, src, n, true);
    if (span.result == 0 && span.bytes)
        std::memcpy(span.at, src, span.bytes);
    return span.result;
}

int csvWideChar::read(unsigned short* dest, unsigned int n) const
{
    return read(units(dest), n);
}

int csvWideChar::write(const unsigned short* src, unsigned int n) const
{
    return write(units(src), n);
}

// --- packed digits ---

csvPacked::csvPacked(unsigned short id, unsigned char* buffer, unsigned int size,
                     unsigned long flags) noexcept
    : csvField(id, bytesOf(buffer), size, flags)
{
}

csvPacked::csvPacked(unsigned short id, const unsigned char* buffer, unsigned int size,
                     unsigned long flags) noexcept
    : csvField(id, bytesOf(buffer), size, flags)
{
}

csvPacked::csvPacked(unsigned short id, long offset, unsigned int size, unsigned long flags) noexcept
    : csvField(id, offset, size, flags)
{
}

int csvPacked::read(ZStringW& text) const
{
    return readText(*this, Kind::packed, text);
}

int csvPacked::write(const ZStringW& text) const
{
    return writeText(*this, Kind::packed, text);
}

csvField* csvPacked::clone() const
{
    return cloneOf(*this);
}

// Kept: reading fills the caller's array from its end, writing the field from its start; callers align their
// numbers themselves.
int csvPacked::read(unsigned char* dest, unsigned int n) const
{
    const Span span = spanOf(*this, dest, n, false);
    if (span.result == 0 && span.bytes)
        std::memcpy(dest + n - span.bytes, span.at, span.bytes);
    return span.result;
}

int csvPacked::write(const unsigned char* src, unsigned int n) const
{
    const Span span = spanOf(*this, src, n, true);
    if (span.result == 0 && span.bytes)
        std::memcpy(span.at, src + n - span.bytes, span.bytes);
    return span.result;
}

// --- constants ---

csvConst::csvConst(unsigned short id, const zwchar* text)
    : csvWideChar(id, static_cast<const zwchar*>(nullptr), 0, 0), m_text(text)
{
    setBuffer(bytesOf(m_text.getBuffer()), static_cast<unsigned int>(m_text.length()) * 2);
    lockAddress();
}

csvConst::csvConst(unsigned short id, const unsigned short* text) : csvConst(id, units(text)) {}

int csvConst::read(ZStringW& text) const
{
    try {
        text = m_text;
    } catch (const structExcept&) {
        return noMemory;
    }
    return 0;
}

int csvConst::write(const ZStringW&) const
{
    return 0;
}

csvField* csvConst::clone() const
{
    return cloneOf(*this);
}

// Of the own text: the address in a copy may be that of a text that is gone.
int csvConst::read(zwchar* dest, unsigned int n) const
{
    if (!dest)
        return badArgument;
    unsigned int size;
    getBuffer(&size);
    const std::size_t own = static_cast<std::size_t>(m_text.length()) * sizeof(zwchar);
    if (own)
        std::memcpy(dest, m_text.getBuffer(), std::min<std::size_t>({size, n, own}));
    return 0;
}

int csvConst::write(const zwchar*, unsigned int) const
{
    return 0;
}

} // namespace varnik::ztree
