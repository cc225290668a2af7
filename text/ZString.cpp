#include "platform/bstr.h"
#include "platform/codepage.h"
#include "text/mZString.h"
#include "text/units.h"

#include <cstdarg>
#include <cstring>

namespace {
mZString* core(ztree::detail::StringFields<char>* impl) noexcept
{
    return static_cast<mZString*>(impl);
}
} // namespace

// --- making ---
__attribute__((noinline)) mZString* ZString::getInstance()
{
    if (!m_pImpl) {
        m_pImpl = new mZString(this);
        if (!m_pImpl)
            throwNoMemory();
    }
    return core(m_pImpl);
}
void ZString::destroy() noexcept
{
    delete core(m_pImpl);
}
void ZString::construct(const char* s, int len, unsigned int codepage)
{
    getInstance()->set(s, len < 1 ? -1 : len, codepage);
    m_pImpl->m_uCodepage = codepage; // also for an empty text
}
void ZString::construct(const ztree::detail::StringFields<char>& src)
{
    m_pImpl = new mZString(this, src);
    if (!m_pImpl)
        throwNoMemory();
}
ZString::ZString(const zwchar* s, int len, unsigned int codepage) : ZString(nullptr)
{
    if (s)
        getInstance()->setWide(s, len < 1 ? -1 : len, codepage);
}
ZString::ZString(const unsigned short* s, int len, unsigned int codepage) : ZString(units(s), len, codepage)
{
}
ZString::ZString(int value) : ZString(nullptr)
{
    getInstance()->setNumber(value);
}
ZString::ZString(char c) : ZString(nullptr)
{
    *this = c;
}

// --- setting ---
int ZString::set(const char* s, int len, unsigned int codepage)
{
    // Behind a length of 0 there need not be a unit to look at, but for the own text, which stays.
    if (!s || (len < 1 && ((len == 0 && s != getBuffer()) || !*s))) {
        clear();
        return 0;
    }
    return getInstance()->set(s, len, codepage);
}
int ZString::set(const zwchar* s, int len, unsigned int codepage)
{
    if (!s || len == 0 || (len < 0 && !*s)) {
        clear();
        return 0;
    }
    return getInstance()->setWide(s, len, codepage);
}
int ZString::set(const unsigned short* s, int len, unsigned int codepage)
{
    return set(units(s), len, codepage);
}
const ZString& ZString::operator=(const ZString& src)
{
    if (this == &src)
        return *this;
    if (src.m_pImpl)
        getInstance()->share(*src.m_pImpl);
    else
        clear();
    return *this;
}
const ZString& ZString::operator=(ZString&& src) noexcept
{
    if (this == &src)
        return *this;
    if (!src.m_pImpl) {
        clear();
    } else if (!m_pImpl || !m_pImpl->m_pBlock || m_pImpl->m_pBlock != src.m_pImpl->m_pBlock) {
        const int growth = m_pImpl ? core(m_pImpl)->growth() : mZString(nullptr).growth();
        delete core(m_pImpl);
        m_pImpl = src.m_pImpl;
        src.m_pImpl = nullptr;
        m_pImpl->m_pOwner = this;
        m_pImpl->m_nGrowth = growth;
    }
    return *this;
}
const ZString& ZString::operator=(const char* s)
{
    if (s && *s)
        getInstance()->set(s, -1, getCodepage());
    else
        clear();
    return *this;
}
const ZString& ZString::operator=(const zwchar* s)
{
    if (s && *s)
        getInstance()->setWide(s, -1, getCodepage());
    else
        clear();
    return *this;
}
const ZString& ZString::operator=(const unsigned short* s)
{
    return *this = units(s);
}
const ZString& ZString::operator=(int value)
{
    getInstance()->setNumber(value);
    return *this;
}
const ZString& ZString::operator=(char c)
{
    if (c)
        getInstance()->set(&c, 1, getCodepage());
    else
        clear();
    return *this;
}
void ZString::clear()
{
    if (m_pImpl)
        core(m_pImpl)->reset();
}

// --- appending ---
const ZString& ZString::append(const char* s, int len)
{
    if (s && len < 0)
        len = textLength(s);
    if (s && len > 0)
        getInstance()->append(s, len);
    return *this;
}
void ZString::appendSlow(char c)
{
    getInstance()->append(c);
}
const ZString& ZString::operator+=(const char* s)
{
    return append(s, -1);
}
const ZString& ZString::operator+=(const ZString& s)
{
    return append(s.getBuffer(), s.length());
}
const ZString& ZString::operator+=(int value)
{
    char digits[12];
    return append(digits, decimalText(value, digits));
}

// --- reading ---
int ZString::characters() const
{
    return m_pImpl ? core(m_pImpl)->characters() : 0;
}
int ZString::indexOf(char c, int from) const
{
    return m_pImpl ? core(m_pImpl)->indexOf(c, from) : -1;
}
int ZString::indexOf(const char* s, int from) const
{
    return m_pImpl ? core(m_pImpl)->indexOf(s, from) : -1;
}
int ZString::lastIndexOf(char c) const
{
    return m_pImpl ? core(m_pImpl)->lastIndexOf(c) : -1;
}
bool ZString::startsWith(const char* prefix) const
{
    return m_pImpl && core(m_pImpl)->startsWith(prefix);
}
ZString ZString::substring(int start, int end) const
{
    ZString result;
    if (m_pImpl && core(m_pImpl)->clampRange(start, end))
        result.getInstance()->set(core(m_pImpl)->text() + start, end - start, m_pImpl->m_uCodepage);
    return result;
}

// --- editing ---
void ZString::setAt(int i, char c)
{
    if (m_pImpl)
        core(m_pImpl)->setAt(i, c);
}
int ZString::trim(const char* set, int flags)
{
    return m_pImpl ? core(m_pImpl)->trim(set, flags) : 0;
}
int ZString::remove(const char* set)
{
    return m_pImpl ? core(m_pImpl)->remove(set) : 0;
}
int ZString::exchange(const char* set, char c)
{
    return m_pImpl ? core(m_pImpl)->exchange(set, c) : 0;
}
int ZString::expand(int n, char c)
{
    return m_pImpl || n > 0 ? getInstance()->expand(n, c) : 0;
}
int ZString::truncate(int start, int count)
{
    return m_pImpl ? core(m_pImpl)->truncate(start, count) : 0;
}
int ZString::toupper()
{
    return m_pImpl ? core(m_pImpl)->upper() : 0;
}
int ZString::tolower()
{
    return m_pImpl ? core(m_pImpl)->lower() : 0;
}
int ZString::setCodepage(unsigned int codepage)
{
    getInstance()->m_uCodepage = codepage;
    return 0;
}
int ZString::convertTo(unsigned int codepage)
{
    return m_pImpl ? core(m_pImpl)->convertTo(codepage) : 0;
}
int ZString::setGrowth(int step)
{
    return getInstance()->setGrowth(step);
}

int ZString::format(const char* fmt, ...)
{
    const unsigned codepage = getCodepage();
    char buffer[1024];
    va_list args;
    va_start(args, fmt);
    const int n =
        guardedPrint([&] { return vsprintfn(buffer, static_cast<int>(sizeof buffer), codepage, fmt, args); });
    va_end(args);
    // Kept: whatever a bad argument list does, nothing is thrown; callers format what they are given.
    try {
        if (n == 0)
            clear();
        else if (n > 0)
            getInstance()->set(buffer, n, codepage);
    } catch (...) {
        setFallback(codepage);
    }
    if (n < 0)
        setFallback(codepage);
    return length();
}
void ZString::setFallback(unsigned int codepage) noexcept
{
    try {
        set("ZString::format(): Invalid argument list caused an exception", -1, codepage);
    } catch (...) { // no memory for the message either: the text stays
    }
}

// --- text for others ---
zwchar* ZString::sysAllocString() const
{
    if (length() == 0)
        return nullptr;
    mZStringW wide(nullptr);
    wide.convertFrom(m_pImpl->m_uCodepage, getBuffer(), length());
    return wide.length() ? platform::bstrAlloc(wide.text()) : nullptr;
}
char* ZString::strDup(const char* s, unsigned int codepage)
{
    if (!s || !*s)
        return nullptr;
    int n = textLength(s);
    if (codepage != platform::codepageUtf8) {
        mZStringW wide(nullptr);
        wide.convertFrom(codepage, s, n);
        return wide.length() ? wide.convertTo(platform::codepageUtf8, n) : nullptr;
    }
    char* copy = platform::allocArray<char>(static_cast<std::size_t>(n) + 1);
    if (!copy)
        throwNoMemory();
    std::memcpy(copy, s, static_cast<std::size_t>(n) + 1);
    return copy;
}
void ZString::freeDup(char* buffer)
{
    platform::heapFree(buffer);
}

unsigned int ZString::getLibVersion() const
{
    return ztree::detail::libVersion;
}

// --- concatenation: the left part as a temporary, the right one appended ---
namespace {
template <class Right> ZString joined(ZString left, const Right& right)
{
    left += right;
    return left;
}
} // namespace

ZString operator+(const ZString& a, const ZString& b)
{
    return joined(a, b);
}
ZString operator+(const ZString& a, const char* b)
{
    return joined(a, b);
}
ZString operator+(const char* a, const ZString& b)
{
    return joined(a ? a : "", b);
}
ZString operator+(const ZString& a, int b)
{
    return joined(a, b);
}
ZString operator+(int a, const ZString& b)
{
    return joined(a, b);
}
ZString operator+(const ZString& a, char b)
{
    return joined(a, b);
}
ZString operator+(char a, const ZString& b)
{
    return joined(a, b);
}
