#include "attrib/tokenizer_core.h"

ZTokenizer::ZTokenizer(const char* text, const char* seps, int mode)
    : m_pImpl(
          ztree_impl::makeTokenizer<mZTokenizer>([&](mZTokenizer& impl) { impl.init(text, -1, seps, mode); }))
{
}

ZTokenizer::ZTokenizer(const ZTokenizer& other)
    : ZVersion(other),
      m_pImpl(ztree_impl::makeTokenizer<mZTokenizer>([&](mZTokenizer& impl) { impl.assign(*other.m_pImpl); }))
{
}

ZTokenizer& ZTokenizer::operator=(const ZTokenizer& other)
{
    if (&other != this)
        m_pImpl->assign(*other.m_pImpl);
    return *this;
}

ZTokenizer::~ZTokenizer()
{
    delete m_pImpl;
}

unsigned int ZTokenizer::getLibVersion() const
{
    return ztree::detail::libVersion;
}

void ZTokenizer::init(const char* text, const char* seps, int mode)
{
    m_pImpl->init(text, -1, seps, mode);
}

ZTokenizer::operator const char*() const
{
    return m_pImpl->text().getBuffer();
}

void ZTokenizer::setSepList(const char* seps)
{
    m_pImpl->setSeps(seps);
}

const char* ZTokenizer::getSepList() const
{
    return m_pImpl->seps();
}

void ZTokenizer::setMode(int mode)
{
    m_pImpl->setMode(mode);
}

int ZTokenizer::getMode() const
{
    return m_pImpl->mode();
}

bool ZTokenizer::hasMoreTokens() const
{
    return m_pImpl->hasMore();
}

int ZTokenizer::skip(const char* chars)
{
    return m_pImpl->skip(chars);
}

char ZTokenizer::lastSplit() const
{
    return m_pImpl->lastSplit();
}

const char* ZTokenizer::nextToken(const char* delims, int mode)
{
    return m_pImpl->next(delims, mode);
}
