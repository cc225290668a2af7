#include "xml/xml_file.h"

#include <ztree/runtime.h>

ZXmlFile::ZXmlFile() : m_pImpl(new mZXmlFile)
{
    if (!m_pImpl)
        throw structExcept(ztree::errMemory);
}

ZXmlFile::~ZXmlFile()
{
    delete m_pImpl;
}

unsigned int ZXmlFile::getLibVersion() const
{
    return ztree::detail::libVersion;
}

int ZXmlFile::start(const char** result, const char* docType, const char* systemId)
{
    return m_pImpl->start(result, docType, systemId);
}

int ZXmlFile::finish()
{
    return m_pImpl->finish();
}

int ZXmlFile::freeBuffer(const char** p)
{
    return m_pImpl->freeBuffer(p);
}

int ZXmlFile::getDataSize() const
{
    return m_pImpl->dataSize();
}

int ZXmlFile::setCodepage(unsigned int codepage)
{
    m_pImpl->setCodepage(codepage);
    return 1;
}

unsigned int ZXmlFile::getCodepage() const
{
    return m_pImpl->codepage();
}

int ZXmlFile::write(const char* text, int length, int escape)
{
    return m_pImpl->write(text, length, escape != 0);
}

int ZXmlFile::lineFeed()
{
    return m_pImpl->lineFeed();
}

int ZXmlFile::startTag(const char* name, int more)
{
    return m_pImpl->startTag(name, more != 0);
}

int ZXmlFile::quickTag(const char* name, int more)
{
    return m_pImpl->quickTag(name, more != 0);
}

int ZXmlFile::endTag(const char* name)
{
    return m_pImpl->endTag(name);
}

int ZXmlFile::attrib(const char* name, const char* value, int more)
{
    return m_pImpl->attrib(name, value, more != 0);
}

int ZXmlFile::descend(const char* name, int more)
{
    return m_pImpl->descend(name, more != 0);
}

int ZXmlFile::ascend()
{
    return m_pImpl->ascend();
}

int ZXmlFile::writeStr(const char* name, const char* value)
{
    return m_pImpl->writeStr(name, value);
}

int ZXmlFile::writeData(const char* name, const char* data, int length)
{
    return m_pImpl->writeData(name, data, length);
}

int ZXmlFile::writePacked(const char* name, const unsigned char* digits, int count)
{
    return m_pImpl->writePacked(name, digits, count);
}

int ZXmlFile::writeAmount(const char* name, double value, int decimals)
{
    return m_pImpl->writeAmount(name, value, decimals);
}

int ZXmlFile::writeCommand(const char* name, int command, const char* query)
{
    return m_pImpl->writeCommand(name, command, query);
}

int ZXmlFile::writeBranch(ZTree* tree)
{
    return m_pImpl->writeBranch(tree ? tree->current() : nullptr, nullptr, false);
}

int ZXmlFile::writeBranch(ZTree* tree, ZTBranch* identity, int inIdentity)
{
    return m_pImpl->writeBranch(tree ? tree->current() : nullptr, identity, inIdentity != 0);
}
