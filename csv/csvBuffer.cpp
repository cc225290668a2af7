#include "csv/mCsvBuffer.h"
#include "text/units.h"

namespace varnik::ztree {

const char* const csvBuffer::s_pcszFmtDateDMY = "DDMMYYYY";
const char* const csvBuffer::s_pcszFmtDateYMD = "YYYYMMDD";
const char* const csvBuffer::s_pcszFmtDateMDY = "MMDDYYYY";
const char* const csvBuffer::s_pcszFmtTimeHMS = "HHMMSS";

csvBuffer::csvBuffer() : m_pImpl(new mCsvBuffer(this))
{
    if (!m_pImpl)
        throw structExcept(::ztree::errMemory);
}

csvBuffer::csvBuffer(const csvBuffer& other) : csvBuffer()
{
    m_pImpl->assign(*other.m_pImpl); // the object is complete, so its destructor runs when this throws
}

csvBuffer& csvBuffer::operator=(const csvBuffer& other)
{
    if (this != &other)
        m_pImpl->assign(*other.m_pImpl);
    return *this;
}

csvBuffer::~csvBuffer()
{
    delete m_pImpl;
}

int csvBuffer::setData(const char* data, int length, unsigned int codepage)
{
    return m_pImpl->setData(data, length, codepage);
}

int csvBuffer::setData(const zwchar* text)
{
    return m_pImpl->setData(text);
}

int csvBuffer::setData(const unsigned short* text)
{
    return setData(units(text));
}

int csvBuffer::setParameter(csvParameter p, unsigned short value)
{
    return m_pImpl->setParameter(p, value);
}

unsigned short csvBuffer::getParameter(csvParameter p) const
{
    return m_pImpl->parameter(p);
}

int csvBuffer::buildLocalFormat()
{
    m_pImpl->buildFormat();
    return 0;
}

int csvBuffer::setLocalFormat(const tagLocalFmt* fmt)
{
    return m_pImpl->setFormat(fmt);
}

const tagLocalFmt* csvBuffer::getLocalFormat() const
{
    return &m_pImpl->format();
}

int csvBuffer::setFieldOrder(const unsigned short* ids, int count)
{
    m_pImpl->clearOrder();
    return addFieldOrder(ids, count);
}

int csvBuffer::addFieldOrder(const unsigned short* ids, int count)
{
    return m_pImpl->addOrder(ids, count);
}

const unsigned short* csvBuffer::getFieldOrder(int* count) const
{
    if (count)
        *count = m_pImpl->order().length();
    return reinterpret_cast<const unsigned short*>(m_pImpl->order().getBuffer());
}

int csvBuffer::setFieldDefinitionList(const csvField** list, int count)
{
    clearFieldDefinitionList();
    return addFieldDefinitionList(list, count);
}

int csvBuffer::addFieldDefinition(const csvField& field)
{
    const csvField* list = &field;
    return addFieldDefinitionList(&list, 1);
}

int csvBuffer::addFieldDefinitionList(const csvField** list, int count)
{
    return m_pImpl->addFields(list, count);
}

int csvBuffer::getFieldDefinitionList(const csvField** out, int* count) const
{
    return m_pImpl->listFields(out, count);
}

int csvBuffer::clearFieldDefinitionList()
{
    m_pImpl->clearFields();
    return 0;
}

int csvBuffer::relocFieldDefinitionList(const void* base)
{
    m_pImpl->relocate(base);
    return 0;
}

bool csvBuffer::hasMoreLines() const
{
    return m_pImpl->hasLines();
}

bool csvBuffer::hasMoreFields() const
{
    return m_pImpl->hasFields();
}

int csvBuffer::scanBuffer(const void* record)
{
    return m_pImpl->scanAll(record);
}

int csvBuffer::scanLine(const void* record)
{
    return m_pImpl->scanLine(record);
}

int csvBuffer::scanField(const csvField*, ZStringW& text)
{
    return m_pImpl->scanField(text);
}

int csvBuffer::createLine(ZString& line, const void* record)
{
    return m_pImpl->createLine(line, record);
}

} // namespace varnik::ztree
