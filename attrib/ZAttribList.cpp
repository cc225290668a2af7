#include "attrib/attrib_list.h"

ZAttribList::ZAttribList(const char* text) : m_pImpl(mZAttribList::make())
{
    try {
        m_pImpl->parse(text);
    } catch (...) {
        delete m_pImpl;
        throw;
    }
}

ZAttribList::ZAttribList(const ZStringW& text) : ZAttribList(static_cast<const char*>(nullptr))
{
    const ZString utf8(text.getBuffer(), text.length() ? text.length() : -1, 65001);
    m_pImpl->parse(utf8.getBuffer());
}

ZAttribList::ZAttribList(const ZAttribList& other) : ZAttribList(static_cast<const char*>(nullptr))
{
    m_pImpl->share(*other.m_pImpl);
}

const ZAttribList& ZAttribList::operator=(const ZAttribList& other)
{
    m_pImpl->share(*other.m_pImpl);
    return *this;
}

ZAttribList::~ZAttribList()
{
    delete m_pImpl;
}

unsigned int ZAttribList::getLibVersion() const
{
    return ztree::detail::libVersion;
}

int ZAttribList::setData(const char* text)
{
    return m_pImpl->parse(text);
}

void ZAttribList::addAttrib(const char* name, const char* value)
{
    m_pImpl->add(name, value);
}

void ZAttribList::setAttrib(const char* name, const char* value)
{
    m_pImpl->set(name, value);
}

void ZAttribList::removeAttrib(const char* name)
{
    m_pImpl->remove(name);
}

void ZAttribList::removeAllAttribs()
{
    m_pImpl->removeAll();
}

const char* ZAttribList::getAttrib(const char* name) const
{
    return m_pImpl->get(name);
}

int ZAttribList::size() const
{
    return m_pImpl->size();
}

const char* ZAttribList::nameAt(int index) const
{
    const auto* attrib = m_pImpl->at(index);
    return attrib ? attrib->getName() : nullptr;
}

const char* ZAttribList::dataAt(int index) const
{
    const auto* attrib = m_pImpl->at(index);
    return attrib ? attrib->getValue() : nullptr;
}

ZString ZAttribList::elementAt(int index)
{
    ZString text;
    if (const auto* attrib = m_pImpl->at(index)) {
        text.append(attrib->getName(), -1);
        text.append("=\"", 2);
        text.append(attrib->getValue(), -1);
        text.append('"');
    }
    return text;
}

int ZAttribList::sort() const
{
    return m_pImpl->sort();
}
