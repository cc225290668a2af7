#include "text/units.h"
#include "xml/xml_reader.h"

#include <ztree/runtime.h>

ZXmlReaderW::ZXmlReaderW(const zwchar* text) : ZXmlReaderW(text, 65001) {}

ZXmlReaderW::ZXmlReaderW(const zwchar* text, unsigned int codepage) : m_pImpl(new mZXmlReaderW)
{
    if (!m_pImpl)
        throw structExcept(ztree::errMemory);
    if (text && m_pImpl->setData(text, codepage) != 0) {
        delete m_pImpl;
        throw structExcept(ztree::errMemory);
    }
}

ZXmlReaderW::ZXmlReaderW(const unsigned short* text) : ZXmlReaderW(units(text), 65001) {}

ZXmlReaderW::ZXmlReaderW(const unsigned short* text, unsigned int codepage)
    : ZXmlReaderW(units(text), codepage)
{
}

ZXmlReaderW::ZXmlReaderW(const ZXmlReaderW& other) : ZXmlReaderW(static_cast<const zwchar*>(nullptr), 65001)
{
    m_pImpl->copyText(*other.m_pImpl);
}

ZXmlReaderW& ZXmlReaderW::operator=(const ZXmlReaderW& other)
{
    m_pImpl->copyText(*other.m_pImpl);
    return *this;
}

ZXmlReaderW::~ZXmlReaderW()
{
    delete m_pImpl;
}

unsigned int ZXmlReaderW::getLibVersion() const
{
    return ztree::detail::libVersion;
}

int ZXmlReaderW::setData(const zwchar* text, unsigned int codepage)
{
    return m_pImpl->setData(text, codepage);
}

int ZXmlReaderW::setData(const unsigned short* text, unsigned int codepage)
{
    return setData(units(text), codepage);
}

int ZXmlReaderW::readFile(const char* path, unsigned int codepage)
{
    return path ? m_pImpl->readFile(path, nullptr, codepage) : static_cast<int>(ztree::errInvalidArg);
}

int ZXmlReaderW::readFile(void* handle, unsigned int codepage)
{
    return m_pImpl->readFile(nullptr, handle, codepage);
}

bool ZXmlReaderW::load(bool sort, bool restart)
{
    return m_pImpl->load(sort, restart);
}

void ZXmlReaderW::unload()
{
    m_pImpl->unload();
}

bool ZXmlReaderW::isEmpty() const
{
    return !m_pImpl->root();
}

ZXmlTagW* ZXmlReaderW::getRoot() const
{
    return m_pImpl->root();
}

const zwchar* ZXmlReaderW::getBuffer(unsigned long* length) const
{
    return m_pImpl->text(length);
}

const zwchar* ZXmlReaderW::getPosition(unsigned long* offset) const
{
    return m_pImpl->position(offset);
}

ZXmlTagW* ZXmlReaderW::findChild(const ZXmlTagW* tag, const zwchar* path) const
{
    return m_pImpl->findChild(tag, path);
}

ZXmlTagW* ZXmlReaderW::findChild(const ZXmlTagW* tag, const unsigned short* path) const
{
    return findChild(tag, units(path));
}

ZXmlTagW* ZXmlReaderW::findNextChild(const ZXmlTagW* parent, const ZXmlTagW* after, const zwchar* name,
                                     bool skip) const
{
    return m_pImpl->findNextChild(parent, after, name, skip);
}

ZXmlTagW* ZXmlReaderW::findNextChild(const ZXmlTagW* parent, const ZXmlTagW* after,
                                     const unsigned short* name, bool skip) const
{
    return findNextChild(parent, after, units(name), skip);
}

ZTreeW* ZXmlReaderW::createTree(bool skipProlog) const
{
    return m_pImpl->createTree(skipProlog);
}
