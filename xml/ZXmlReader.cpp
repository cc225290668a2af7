#include "xml/xml_reader.h"

#include <ztree/runtime.h>

ZXmlReader::ZXmlReader(const char* text) : ZXmlReader(text, 65001) {}

ZXmlReader::ZXmlReader(const char* text, unsigned int codepage) : m_pImpl(new mZXmlReader)
{
    if (!m_pImpl)
        throw structExcept(ztree::errMemory);
    if (text && m_pImpl->setData(text, codepage) != 0) {
        delete m_pImpl;
        throw structExcept(ztree::errMemory);
    }
}

ZXmlReader::ZXmlReader(const ZXmlReader& other) : ZXmlReader(static_cast<const char*>(nullptr), 65001)
{
    m_pImpl->copyText(*other.m_pImpl);
}

ZXmlReader& ZXmlReader::operator=(const ZXmlReader& other)
{
    m_pImpl->copyText(*other.m_pImpl);
    return *this;
}

ZXmlReader::~ZXmlReader()
{
    delete m_pImpl;
}

unsigned int ZXmlReader::getLibVersion() const
{
    return ztree::detail::libVersion;
}

int ZXmlReader::setData(const char* text, unsigned int codepage)
{
    return m_pImpl->setData(text, codepage);
}

int ZXmlReader::readFile(const char* path, unsigned int codepage)
{
    return path ? m_pImpl->readFile(path, nullptr, codepage) : static_cast<int>(ztree::errInvalidArg);
}

int ZXmlReader::readFile(void* handle, unsigned int codepage)
{
    return m_pImpl->readFile(nullptr, handle, codepage);
}

bool ZXmlReader::load(bool sort, bool restart)
{
    return m_pImpl->load(sort, restart);
}

void ZXmlReader::unload()
{
    m_pImpl->unload();
}

bool ZXmlReader::isEmpty() const
{
    return !m_pImpl->root();
}

ZXmlTag* ZXmlReader::getRoot() const
{
    return m_pImpl->root();
}

const char* ZXmlReader::getBuffer(unsigned long* length) const
{
    return m_pImpl->text(length);
}

const char* ZXmlReader::getPosition(unsigned long* offset) const
{
    return m_pImpl->position(offset);
}

ZXmlTag* ZXmlReader::findChild(const ZXmlTag* tag, const char* path) const
{
    return m_pImpl->findChild(tag, path);
}

ZXmlTag* ZXmlReader::findNextChild(const ZXmlTag* parent, const ZXmlTag* after, const char* name,
                                   bool skip) const
{
    return m_pImpl->findNextChild(parent, after, name, skip);
}

ZTree* ZXmlReader::createTree(bool skipProlog) const
{
    return m_pImpl->createTree(skipProlog);
}
