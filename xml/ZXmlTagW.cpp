#include "text/units.h"
#include "xml/xml_tag.h"

#include <ztree/runtime.h>

ZXmlTagW::ZXmlTagW(ZXmlTagW* parent, const zwchar* name, const zwchar* text) : m_pImpl(mZXmlTagW::make(this))
{
    try {
        m_pImpl->setName(name);
        m_pImpl->setText(text);
        if (parent)
            m_pImpl->appendTo(parent);
    } catch (...) {
        delete m_pImpl;
        throw;
    }
}

ZXmlTagW::ZXmlTagW(ZXmlTagW* parent, const unsigned short* name, const unsigned short* text)
    : ZXmlTagW(parent, units(name), units(text))
{
}

ZXmlTagW::ZXmlTagW(const ZXmlTagW& other) : ZXmlTagW()
{
    m_pImpl->share(*other.m_pImpl);
}

ZXmlTagW& ZXmlTagW::operator=(const ZXmlTagW& other)
{
    m_pImpl->share(*other.m_pImpl);
    return *this;
}

ZXmlTagW::~ZXmlTagW()
{
    mZXmlTagW::dispose(m_pImpl);
}

int ZXmlTagW::compare(const ZSortObject* other) const
{
    if (other == this)
        return 0;
    static const zwchar none = 0;
    const zwchar* name = m_pImpl->name();
    const zwchar* otherName = static_cast<const ZXmlTagW*>(other)->m_pImpl->name();
    return ztree_impl::compareUnits(name ? name : &none, otherName ? otherName : &none);
}

unsigned int ZXmlTagW::getLibVersion() const
{
    return ztree::detail::libVersion;
}

void ZXmlTagW::setParent(ZXmlTagW* parent)
{
    m_pImpl->setParent(parent);
}

ZXmlTagW* ZXmlTagW::getParent() const
{
    return m_pImpl->parent();
}

void ZXmlTagW::setName(const zwchar* name)
{
    m_pImpl->setName(name);
}

void ZXmlTagW::setName(const unsigned short* name)
{
    setName(units(name));
}

const zwchar* ZXmlTagW::getName() const
{
    return m_pImpl->name();
}

void ZXmlTagW::setText(const zwchar* text)
{
    m_pImpl->setText(text);
}

void ZXmlTagW::setText(const unsigned short* text)
{
    setText(units(text));
}

const zwchar* ZXmlTagW::getText() const
{
    return m_pImpl->text();
}

int ZXmlTagW::getKind() const
{
    return m_pImpl->kind();
}

void ZXmlTagW::addAttrib(const zwchar* name, const zwchar* value)
{
    m_pImpl->attribs().addAttrib(name, value);
}

void ZXmlTagW::addAttrib(const unsigned short* name, const unsigned short* value)
{
    addAttrib(units(name), units(value));
}

void ZXmlTagW::setAttrib(const zwchar* name, const zwchar* value)
{
    m_pImpl->attribs().setAttrib(name, value);
}

void ZXmlTagW::setAttrib(const unsigned short* name, const unsigned short* value)
{
    setAttrib(units(name), units(value));
}

const zwchar* ZXmlTagW::getAttrib(const zwchar* name) const
{
    return m_pImpl->attrib(name);
}

const zwchar* ZXmlTagW::getAttrib(const unsigned short* name) const
{
    return getAttrib(units(name));
}

ZAttribWList* ZXmlTagW::getAttribList()
{
    return &m_pImpl->attribs();
}

void ZXmlTagW::addChild(ZXmlTagW* child)
{
    m_pImpl->addChild(child);
}

void ZXmlTagW::addChild(const zwchar* name, const zwchar* text)
{
    m_pImpl->addChild(name, text);
}

void ZXmlTagW::addChild(const unsigned short* name, const unsigned short* text)
{
    addChild(units(name), units(text));
}

void ZXmlTagW::removeChild(ZXmlTagW* child)
{
    m_pImpl->removeChild(child);
}

int ZXmlTagW::getChildIndex(const ZXmlTagW* child) const
{
    return m_pImpl->childIndex(child);
}

ZXmlTagW* ZXmlTagW::getChild(int index) const
{
    return m_pImpl->child(index);
}

int ZXmlTagW::getChildCount() const
{
    return m_pImpl->childCount();
}

ZXmlTagW* ZXmlTagW::getChild(const zwchar* path) const
{
    return m_pImpl->findChild(path);
}

ZXmlTagW* ZXmlTagW::getChild(const unsigned short* path) const
{
    return getChild(units(path));
}

int ZXmlTagW::sortChildren()
{
    return m_pImpl->sortChildren();
}

int ZXmlTagW::setData(const zwchar* tag)
{
    return m_pImpl->setData(tag);
}

int ZXmlTagW::setData(const unsigned short* tag)
{
    return setData(units(tag));
}
