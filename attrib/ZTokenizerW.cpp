#include "attrib/tokenizer_core.h"
#include "text/units.h"

ZTokenizerW::ZTokenizerW(const zwchar* text, const zwchar* seps, int mode)
    : m_pImpl(ztree_impl::makeTokenizer<mZTokenizerW>(
          [&](mZTokenizerW& impl) { impl.init(text, -1, seps, mode); }))
{
}

ZTokenizerW::ZTokenizerW(const unsigned short* text, const unsigned short* seps, int mode)
    : ZTokenizerW(units(text), units(seps), mode)
{
}

ZTokenizerW::ZTokenizerW(const ZTokenizerW& other)
    : ZVersion(other), m_pImpl(ztree_impl::makeTokenizer<mZTokenizerW>(
                           [&](mZTokenizerW& impl) { impl.assign(*other.m_pImpl); }))
{
}

ZTokenizerW& ZTokenizerW::operator=(const ZTokenizerW& other)
{
    if (&other != this)
        m_pImpl->assign(*other.m_pImpl);
    return *this;
}

ZTokenizerW::~ZTokenizerW()
{
    delete m_pImpl;
}

unsigned int ZTokenizerW::getLibVersion() const
{
    return ztree::detail::libVersion;
}

void ZTokenizerW::init(const zwchar* text, const zwchar* seps, int mode)
{
    m_pImpl->init(text, -1, seps, mode);
}

ZTokenizerW::operator const zwchar*() const
{
    return m_pImpl->text().getBuffer();
}

void ZTokenizerW::setSepList(const zwchar* seps)
{
    m_pImpl->setSeps(seps);
}

const zwchar* ZTokenizerW::getSepList() const
{
    return m_pImpl->seps();
}

void ZTokenizerW::setMode(int mode)
{
    m_pImpl->setMode(mode);
}

int ZTokenizerW::getMode() const
{
    return m_pImpl->mode();
}

bool ZTokenizerW::hasMoreTokens() const
{
    return m_pImpl->hasMore();
}

int ZTokenizerW::skip(const zwchar* chars)
{
    return m_pImpl->skip(chars);
}

zwchar ZTokenizerW::lastSplit() const
{
    return m_pImpl->lastSplit();
}

const zwchar* ZTokenizerW::nextToken(const zwchar* delims, int mode)
{
    return m_pImpl->next(delims, mode);
}

void ZTokenizerW::init(const unsigned short* text, const unsigned short* seps, int mode)
{
    init(units(text), units(seps), mode);
}

void ZTokenizerW::setSepList(const unsigned short* seps)
{
    setSepList(units(seps));
}

int ZTokenizerW::skip(const unsigned short* chars)
{
    return skip(units(chars));
}

const zwchar* ZTokenizerW::nextToken(const unsigned short* delims, int mode)
{
    return nextToken(units(delims), mode);
}
