#include "attrib/attrib_list.h"
#include "text/units.h"

ZAttribWList::ZAttribWList(const zwchar* text) : m_pImpl(mZAttribWList::make())
{
    try {
        m_pImpl->parse(text);
    } catch (...) {
        delete m_pImpl;
        throw;
    }
}

ZAttribWList::ZAttribWList(const unsigned short* text) : ZAttribWList(units(text)) {}

ZAttribWList::ZAttribWList(const ZAttribWList& other) : ZAttribWList(static_cast<const zwchar*>(nullptr))
{
    m_pImpl->share(*other.m_pImpl);
}

const ZAttribWList& ZAttribWList::operator=(const ZAttribWList& other)
{
    m_pImpl->share(*other.m_pImpl);
    return *this;
}

ZAttribWList::~ZAttribWList()
{
    delete m_pImpl;
}

unsigned int ZAttribWList::getLibVersion() const
{
    return ztree::detail::libVersion;
}

int ZAttribWList::setData(const zwchar* text)
{
    return m_pImpl->parse(text);
}

int ZAttribWList::setData(const unsigned short* text)
{
    return setData(units(text));
}

void ZAttribWList::addAttrib(const zwchar* name, const zwchar* value)
{
    m_pImpl->add(name, value);
}

void ZAttribWList::addAttrib(const unsigned short* name, const unsigned short* value)
{
    addAttrib(units(name), units(value));
}

void ZAttribWList::setAttrib(const zwchar* name, const zwchar* value)
{
    m_pImpl->set(name, value);
}

void ZAttribWList::setAttrib(const unsigned short* name, const unsigned short* value)
{
    setAttrib(units(name), units(value));
}

void ZAttribWList::removeAttrib(const zwchar* name)
{
    m_pImpl->remove(name);
}

void ZAttribWList::removeAttrib(const unsigned short* name)
{
    removeAttrib(units(name));
}

void ZAttribWList::removeAllAttribs()
{
    m_pImpl->removeAll();
}

const zwchar* ZAttribWList::getAttrib(const zwchar* name) const
{
    return m_pImpl->get(name);
}

const zwchar* ZAttribWList::getAttrib(const unsigned short* name) const
{
    return getAttrib(units(name));
}

int ZAttribWList::size() const
{
    return m_pImpl->size();
}

const zwchar* ZAttribWList::nameAt(int index) const
{
    const auto* attrib = m_pImpl->at(index);
    return attrib ? attrib->getName() : nullptr;
}

const zwchar* ZAttribWList::dataAt(int index) const
{
    const auto* attrib = m_pImpl->at(index);
    return attrib ? attrib->getValue() : nullptr;
}

ZStringW ZAttribWList::elementAt(int index)
{
    ZStringW text;
    if (const auto* attrib = m_pImpl->at(index)) {
        text.append(attrib->getName(), -1);
        text.append(ZTEXT("=\""), 2);
        text.append(attrib->getValue(), -1);
        text.append(ZTEXT('"'));
    }
    return text;
}

int ZAttribWList::sort() const
{
    return m_pImpl->sort();
}
