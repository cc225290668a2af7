#include "platform/bstr.h"
#include "text/mZString.h"
#include "text/units.h"

#include <cstdarg>

namespace {
mZStringW* core(ztree::detail::StringFields<zwchar>* impl) noexcept
{
    return static_cast<mZStringW*>(impl);
}
} // namespace

// --- making ---
__attribute__((noinline)) mZStringW* ZStringW::getInstance()
{
    if (!m_pImpl) {
        m_pImpl = new mZStringW(this);
        if (!m_pImpl)
            throwNoMemory();
    }
    return core(m_pImpl);
}
void ZStringW::destroy() noexcept
{
    delete core(m_pImpl);
}
void ZStringW::construct(const zwchar* s, int len)
{
    getInstance()->set(s, len < 1 ? -1 : len);
}
void ZStringW::construct(const ztree::detail::StringFields<zwchar>& src)
{
    m_pImpl = new mZStringW(this, src);
    if (!m_pImpl)
        throwNoMemory();
}
ZStringW::ZStringW(const unsigned short* s, int len) : ZStringW(units(s), len) {}
ZStringW::ZStringW(const zwcharOther* s, int len) : ZStringW(nullptr)
{
    OtherText text(s, len < 1 ? -1 : len);
    if (s)
        construct(text.get(), text.length());
}
ZStringW::ZStringW(const char* s, int len, unsigned int codepage) : ZStringW(nullptr)
{
    if (s && len != 0)
        getInstance()->convertFrom(codepage, s, len);
}
ZStringW::ZStringW(int value) : ZStringW(nullptr)
{
    getInstance()->setNumber(value);
}
ZStringW::ZStringW(zwchar c) : ZStringW(nullptr)
{
    *this = c;
}
ZStringW::ZStringW(unsigned short c) : ZStringW(static_cast<zwchar>(c)) {}
ZStringW::ZStringW(zwcharOther c) : ZStringW(nullptr)
{
    *this = c;
}

// --- setting ---
int ZStringW::set(const zwchar* s, int len)
{
    if (!s || (len < 1 && ((len == 0 && s != getBuffer()) || !*s))) { // as in the narrow string
        clear();
        return 0;
    }
    return getInstance()->set(s, len);
}
int ZStringW::set(const unsigned short* s, int len)
{
    return set(units(s), len);
}
int ZStringW::set(const zwcharOther* s, int len)
{
    OtherText text(s, len);
    return set(text.get(), text.length());
}
int ZStringW::set(const char* s, int len, unsigned int codepage)
{
    if (!s || len == 0 || (len < 0 && !*s))
        clear();
    else
        convertFrom(codepage, s, len);
    return length();
}
const ZStringW& ZStringW::operator=(const ZStringW& src)
{
    if (this == &src)
        return *this;
    if (src.m_pImpl)
        getInstance()->share(*src.m_pImpl);
    else
        clear();
    return *this;
}
const ZStringW& ZStringW::operator=(ZStringW&& src) noexcept
{
    if (this == &src)
        return *this;
    if (!src.m_pImpl) {
        clear();
    } else {
        const int growth = m_pImpl ? core(m_pImpl)->growth() : mZStringW(nullptr).growth();
        delete core(m_pImpl);
        m_pImpl = src.m_pImpl;
        src.m_pImpl = nullptr;
        m_pImpl->m_pOwner = this;
        m_pImpl->m_nGrowth = growth;
    }
    return *this;
}
const ZStringW& ZStringW::operator=(const zwchar* s)
{
    set(s, -1);
    return *this;
}
const ZStringW& ZStringW::operator=(const unsigned short* s)
{
    set(units(s), -1);
    return *this;
}
const ZStringW& ZStringW::operator=(const zwcharOther* s)
{
    set(s, -1);
    return *this;
}
const ZStringW& ZStringW::operator=(const char* s)
{
    // Kept: assigning reads bytes in the ANSI code page, appending as UTF-8.
    if (s && *s)
        getInstance()->convertFrom(0, s, textLength(s));
    else
        clear();
    return *this;
}
const ZStringW& ZStringW::operator=(int value)
{
    getInstance()->setNumber(value);
    return *this;
}
const ZStringW& ZStringW::operator=(zwchar c)
{
    if (c)
        getInstance()->set(&c, 1);
    else
        clear();
    return *this;
}
const ZStringW& ZStringW::operator=(unsigned short c)
{
    return *this = static_cast<zwchar>(c);
}
const ZStringW& ZStringW::operator=(zwcharOther c)
{
    if (c)
        set(&c, 1);
    else
        clear();
    return *this;
}
void ZStringW::clear()
{
    if (m_pImpl)
        core(m_pImpl)->reset();
}

// --- appending ---
const ZStringW& ZStringW::append(const zwchar* s, int len)
{
    if (s && len < 0)
        len = textLength(s);
    if (s && len > 0)
        getInstance()->append(s, len);
    return *this;
}
const ZStringW& ZStringW::append(const unsigned short* s, int len)
{
    return append(units(s), len);
}
const ZStringW& ZStringW::append(const zwcharOther* s, int len)
{
    OtherText text(s, len);
    return append(text.get(), text.length());
}
const ZStringW& ZStringW::append(const char* s, int len)
{
    if (s && len < 0)
        len = textLength(s);
    if (s && len > 0)
        getInstance()->appendUtf8(s, len);
    return *this;
}
const ZStringW& ZStringW::append(zwcharOther c)
{
    return append(&c, 1);
}
void ZStringW::appendSlow(zwchar c)
{
    getInstance()->append(c);
}
const ZStringW& ZStringW::operator+=(const zwchar* s)
{
    return append(s, -1);
}
const ZStringW& ZStringW::operator+=(const unsigned short* s)
{
    return append(units(s), -1);
}
const ZStringW& ZStringW::operator+=(const zwcharOther* s)
{
    return append(s, -1);
}
const ZStringW& ZStringW::operator+=(const char* s)
{
    return append(s, -1);
}
const ZStringW& ZStringW::operator+=(const ZStringW& s)
{
    return append(s.getBuffer(), s.length());
}
const ZStringW& ZStringW::operator+=(int value)
{
    zwchar digits[12];
    return append(digits, decimalText(value, digits));
}

// --- reading ---
int ZStringW::indexOf(zwchar c, int from) const
{
    return m_pImpl ? core(m_pImpl)->indexOf(c, from) : -1;
}
int ZStringW::indexOf(const zwchar* s, int from) const
{
    return m_pImpl ? core(m_pImpl)->indexOf(s, from) : -1;
}
int ZStringW::indexOf(const unsigned short* s, int from) const
{
    return indexOf(units(s), from);
}
int ZStringW::lastIndexOf(zwchar c) const
{
    return m_pImpl ? core(m_pImpl)->lastIndexOf(c) : -1;
}
bool ZStringW::startsWith(const zwchar* prefix) const
{
    return m_pImpl && core(m_pImpl)->startsWith(prefix);
}
bool ZStringW::startsWith(const unsigned short* prefix) const
{
    return startsWith(units(prefix));
}
ZStringW ZStringW::substring(int start, int end) const
{
    ZStringW result;
    if (m_pImpl && core(m_pImpl)->clampRange(start, end))
        result.getInstance()->set(core(m_pImpl)->text() + start, end - start);
    return result;
}

// --- editing ---
void ZStringW::setAt(int i, zwchar c)
{
    if (m_pImpl)
        core(m_pImpl)->setAt(i, c);
}
int ZStringW::trim(const zwchar* set, int flags)
{
    return m_pImpl ? core(m_pImpl)->trim(set, flags) : 0;
}
int ZStringW::trim(const unsigned short* set, int flags)
{
    return trim(units(set), flags);
}
int ZStringW::remove(const zwchar* set)
{
    return m_pImpl ? core(m_pImpl)->remove(set) : 0;
}
int ZStringW::remove(const unsigned short* set)
{
    return remove(units(set));
}
int ZStringW::exchange(const zwchar* set, zwchar c)
{
    return m_pImpl ? core(m_pImpl)->exchange(set, c) : 0;
}
int ZStringW::exchange(const unsigned short* set, unsigned short c)
{
    return exchange(units(set), static_cast<zwchar>(c));
}
int ZStringW::expand(int n, zwchar c)
{
    return m_pImpl || n > 0 ? getInstance()->expand(n, c) : 0;
}
int ZStringW::truncate(int start, int count)
{
    return m_pImpl ? core(m_pImpl)->truncate(start, count) : 0;
}
int ZStringW::toupper()
{
    return m_pImpl ? core(m_pImpl)->upper() : 0;
}
int ZStringW::tolower()
{
    return m_pImpl ? core(m_pImpl)->lower() : 0;
}
int ZStringW::setGrowth(int step)
{
    return getInstance()->setGrowth(step);
}

int ZStringW::format(const zwchar* fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const int n = formatList(fmt, &args);
    va_end(args);
    return n;
}
int ZStringW::format(const unsigned short* fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const int n = formatList(units(fmt), &args);
    va_end(args);
    return n;
}
int ZStringW::formatList(const zwchar* fmt, void* list)
{
    va_list& args = *static_cast<va_list*>(list);
    constexpr int limit = 1024;
    zwchar buffer[limit];
    const int n = guardedPrint([&] { return vswprintfn(buffer, limit, 0, fmt, args); });
    // Kept: as in the narrow string.
    try {
        if (n == 0)
            clear();
        else if (n > 0)
            getInstance()->set(buffer, n);
    } catch (...) {
        setFallback();
    }
    if (n < 0)
        setFallback();
    return length();
}
void ZStringW::setFallback() noexcept
{
    try {
        set(ZTEXT("ZStringW::format(): Invalid argument list caused an exception"), -1);
    } catch (...) { // no memory for the message either: the text stays
    }
}

// --- conversion ---
int ZStringW::convertFrom(unsigned int codepage, const char* s, int len)
{
    if (!s || len == 0 || (len < 0 && !*s)) {
        clear();
        return 0;
    }
    return static_cast<int>(getInstance()->convertFrom(codepage, s, len));
}
int ZStringW::convertTo(unsigned int codepage, char* buffer, int size) const
{
    if (m_pImpl)
        return core(m_pImpl)->convertTo(codepage, buffer, size);
    if (buffer && size > 0)
        buffer[0] = 0;
    return 0;
}
int ZStringW::convertTo(unsigned int codepage, char** result, int* resultLength) const
{
    int converted = 0;
    if (resultLength)
        *resultLength = 0;
    if (!result)
        return -1;
    *result = nullptr;
    if (length() == 0)
        return 0;
    *result = core(m_pImpl)->convertTo(codepage, converted);
    if (!*result)
        return -1;
    if (resultLength)
        *resultLength = converted;
    return 0;
}
zwchar* ZStringW::sysAllocString() const
{
    return length() ? platform::bstrAlloc(getBuffer()) : nullptr;
}

unsigned int ZStringW::getLibVersion() const
{
    return ztree::detail::libVersion;
}

// --- concatenation: the left part as a temporary, the right one appended ---
namespace {
template <class Right> ZStringW joined(ZStringW left, const Right& right)
{
    left += right;
    return left;
}
} // namespace

ZStringW operator+(const ZStringW& a, const ZStringW& b)
{
    return joined(a, b);
}
ZStringW operator+(const ZStringW& a, const zwchar* b)
{
    return joined(a, b);
}
ZStringW operator+(const ZStringW& a, const unsigned short* b)
{
    return joined(a, b);
}
ZStringW operator+(const zwchar* a, const ZStringW& b)
{
    return joined(a, b);
}
ZStringW operator+(const unsigned short* a, const ZStringW& b)
{
    return joined(a, b);
}
ZStringW operator+(const ZStringW& a, int b)
{
    return joined(a, b);
}
ZStringW operator+(int a, const ZStringW& b)
{
    return joined(a, b);
}
ZStringW operator+(const ZStringW& a, zwchar b)
{
    return joined(a, b);
}
ZStringW operator+(zwchar a, const ZStringW& b)
{
    return joined(a, b);
}
ZStringW operator+(const ZStringW& a, unsigned short b)
{
    return joined(a, b);
}
ZStringW operator+(unsigned short a, const ZStringW& b)
{
    return joined(a, b);
}
ZStringW operator+(const ZStringW& a, zwcharOther b)
{
    return joined(a, b);
}
ZStringW operator+(zwcharOther a, const ZStringW& b)
{
    return joined(a, b);
}
