#include "text/units.h"
#include "xml/xml_file.h"

#include <ztree/runtime.h>

ZXmlFileW::ZXmlFileW() : m_pImpl(new mZXmlFileW)
{
    if (!m_pImpl)
        throw structExcept(ztree::errMemory);
}

ZXmlFileW::~ZXmlFileW()
{
    delete m_pImpl;
}

unsigned int ZXmlFileW::getLibVersion() const
{
    return ztree::detail::libVersion;
}

int ZXmlFileW::start(const zwchar** result, const zwchar* docType, const zwchar* systemId)
{
    return m_pImpl->start(result, docType, systemId);
}

int ZXmlFileW::start(const zwchar** result, const unsigned short* docType, const unsigned short* systemId)
{
    return start(result, units(docType), units(systemId));
}

int ZXmlFileW::finish()
{
    return m_pImpl->finish();
}

int ZXmlFileW::freeBuffer(const zwchar** p)
{
    return m_pImpl->freeBuffer(p);
}

int ZXmlFileW::getDataSize() const
{
    return m_pImpl->dataSize();
}

int ZXmlFileW::setCodepage(unsigned int codepage)
{
    m_pImpl->setCodepage(codepage);
    return 1;
}

unsigned int ZXmlFileW::getCodepage() const
{
    return m_pImpl->codepage();
}

int ZXmlFileW::write(const zwchar* text, int length, int escape)
{
    return m_pImpl->write(text, length, escape != 0);
}

int ZXmlFileW::write(const unsigned short* text, int length, int escape)
{
    return write(units(text), length, escape);
}

int ZXmlFileW::lineFeed()
{
    return m_pImpl->lineFeed();
}

int ZXmlFileW::startTag(const zwchar* name, int more)
{
    return m_pImpl->startTag(name, more != 0);
}

int ZXmlFileW::startTag(const unsigned short* name, int more)
{
    return startTag(units(name), more);
}

int ZXmlFileW::quickTag(const zwchar* name, int more)
{
    return m_pImpl->quickTag(name, more != 0);
}

int ZXmlFileW::quickTag(const unsigned short* name, int more)
{
    return quickTag(units(name), more);
}

int ZXmlFileW::endTag(const zwchar* name)
{
    return m_pImpl->endTag(name);
}

int ZXmlFileW::endTag(const unsigned short* name)
{
    return endTag(units(name));
}

int ZXmlFileW::attrib(const zwchar* name, const zwchar* value, int more)
{
    return m_pImpl->attrib(name, value, more != 0);
}

int ZXmlFileW::attrib(const unsigned short* name, const unsigned short* value, int more)
{
    return attrib(units(name), units(value), more);
}

int ZXmlFileW::descend(const zwchar* name, int more)
{
    return m_pImpl->descend(name, more != 0);
}

int ZXmlFileW::descend(const unsigned short* name, int more)
{
    return descend(units(name), more);
}

int ZXmlFileW::ascend()
{
    return m_pImpl->ascend();
}

int ZXmlFileW::writeStr(const zwchar* name, const zwchar* value)
{
    return m_pImpl->writeStr(name, value);
}

int ZXmlFileW::writeStr(const unsigned short* name, const unsigned short* value)
{
    return writeStr(units(name), units(value));
}

int ZXmlFileW::writeData(const zwchar* name, const zwchar* data, int length)
{
    return m_pImpl->writeData(name, data, length);
}

int ZXmlFileW::writeData(const unsigned short* name, const unsigned short* data, int length)
{
    return writeData(units(name), units(data), length);
}

int ZXmlFileW::writePacked(const zwchar* name, const unsigned char* digits, int count)
{
    return m_pImpl->writePacked(name, digits, count);
}

int ZXmlFileW::writePacked(const unsigned short* name, const unsigned char* digits, int count)
{
    return writePacked(units(name), digits, count);
}

int ZXmlFileW::writeAmount(const zwchar* name, double value, int decimals)
{
    return m_pImpl->writeAmount(name, value, decimals);
}

int ZXmlFileW::writeAmount(const unsigned short* name, double value, int decimals)
{
    return writeAmount(units(name), value, decimals);
}

int ZXmlFileW::writeCommand(const zwchar* name, int command, const zwchar* query)
{
    return m_pImpl->writeCommand(name, command, query);
}

int ZXmlFileW::writeCommand(const unsigned short* name, int command, const unsigned short* query)
{
    return writeCommand(units(name), command, units(query));
}

int ZXmlFileW::writeBranch(ZTreeW* tree)
{
    return m_pImpl->writeBranch(tree ? tree->current() : nullptr, nullptr, false);
}

int ZXmlFileW::writeBranch(ZTreeW* tree, ZTBranchW* identity, int inIdentity)
{
    return m_pImpl->writeBranch(tree ? tree->current() : nullptr, identity, inIdentity != 0);
}
