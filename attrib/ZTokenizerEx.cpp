#include "attrib/tokenizer_core.h"

ZTokenizerEx::ZTokenizerEx(const char* text, int length, const char* seps, int mode)
    : m_pImpl(ztree_impl::makeTokenizer<mZTokenizerEx>(
          [&](mZTokenizerEx& impl) { impl.init(text, length, seps, mode); }))
{
}

ZTokenizerEx::ZTokenizerEx(const ZTokenizerEx& other)
    : ZVersion(other), m_pImpl(ztree_impl::makeTokenizer<mZTokenizerEx>(
                           [&](mZTokenizerEx& impl) { impl.assign(*other.m_pImpl); }))
{
}

ZTokenizerEx& ZTokenizerEx::operator=(const ZTokenizerEx& other)
{
    if (&other != this)
        m_pImpl->assign(*other.m_pImpl);
    return *this;
}

ZTokenizerEx::~ZTokenizerEx()
{
    delete m_pImpl;
}

unsigned int ZTokenizerEx::getLibVersion() const
{
    return ztree::detail::libVersion;
}

void ZTokenizerEx::init(const char* text, int length, const char* seps, int mode)
{
    m_pImpl->init(text, length, seps, mode);
}

ZTokenizerEx::operator const char*() const
{
    return m_pImpl->text().getBuffer();
}

void ZTokenizerEx::setSepList(const char* seps)
{
    m_pImpl->setSeps(seps);
}

const char* ZTokenizerEx::getSepList() const
{
    return m_pImpl->seps();
}

void ZTokenizerEx::setMode(int mode)
{
    m_pImpl->setMode(mode);
}

int ZTokenizerEx::getMode() const
{
    return m_pImpl->mode();
}

bool ZTokenizerEx::hasMoreTokens() const
{
    return m_pImpl->hasMore();
}

int ZTokenizerEx::skip(const char* chars)
{
    return m_pImpl->skip(chars);
}

char ZTokenizerEx::lastSplit() const
{
    return m_pImpl->lastSplit();
}

namespace {
// The copy may fail: the tokenizer moves on only behind it.
const char* handOut(mZTokenizerEx& impl, const mZTokenizerEx::Piece& piece, ZString& out)
{
    out.set(piece.text, piece.length(), 65001);
    impl.accept(piece);
    return out.length() ? out.getBuffer() : "";
}
} // namespace

const char* ZTokenizerEx::nextToken(ZString& out, const char* delims, int mode)
{
    const mZTokenizerEx::Piece piece = m_pImpl->cut(delims, mode);
    const char* token = handOut(*m_pImpl, piece, out);
    return piece.text ? token : nullptr;
}

const char* ZTokenizerEx::getChunk(ZString& out, int size)
{
    return handOut(*m_pImpl, m_pImpl->chunk(size), out);
}
