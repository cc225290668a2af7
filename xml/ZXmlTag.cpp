#include "xml/xml_tag.h"

#include <ztree/runtime.h>

ZXmlTag::ZXmlTag(ZXmlTag* parent, const char* name, const char* text) : m_pImpl(mZXmlTag::make(this))
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

ZXmlTag::ZXmlTag(const ZXmlTag& other) : ZXmlTag()
{
    m_pImpl->share(*other.m_pImpl);
}

ZXmlTag& ZXmlTag::operator=(const ZXmlTag& other)
{
    m_pImpl->share(*other.m_pImpl);
    return *this;
}

ZXmlTag::~ZXmlTag()
{
    mZXmlTag::dispose(m_pImpl);
}

int ZXmlTag::compare(const ZSortObject* other) const
{
    if (other == this)
        return 0;
    static const char none = 0;
    const char* name = m_pImpl->name();
    const char* otherName = static_cast<const ZXmlTag*>(other)->m_pImpl->name();
    return ztree_impl::compareUnits(name ? name : &none, otherName ? otherName : &none);
}

unsigned int ZXmlTag::getLibVersion() const
{
    return ztree::detail::libVersion;
}

void ZXmlTag::setParent(ZXmlTag* parent)
{
    m_pImpl->setParent(parent);
}

ZXmlTag* ZXmlTag::getParent() const
{
    return m_pImpl->parent();
}

void ZXmlTag::setName(const char* name)
{
    m_pImpl->setName(name);
}

const char* ZXmlTag::getName() const
{
    return m_pImpl->name();
}

void ZXmlTag::setText(const char* text)
{
    m_pImpl->setText(text);
}

const char* ZXmlTag::getText() const
{
    return m_pImpl->text();
}

int ZXmlTag::getKind() const
{
    return m_pImpl->kind();
}

void ZXmlTag::addAttrib(const char* name, const char* value)
{
    m_pImpl->attribs().addAttrib(name, value);
}

void ZXmlTag::setAttrib(const char* name, const char* value)
{
    m_pImpl->attribs().setAttrib(name, value);
}

const char* ZXmlTag::getAttrib(const char* name) const
{
    return m_pImpl->attrib(name);
}

ZAttribList* ZXmlTag::getAttribList()
{
    return &m_pImpl->attribs();
}

void ZXmlTag::addChild(ZXmlTag* child)
{
    m_pImpl->addChild(child);
}

void ZXmlTag::addChild(const char* name, const char* text)
{
    m_pImpl->addChild(name, text);
}

void ZXmlTag::removeChild(ZXmlTag* child)
{
    m_pImpl->removeChild(child);
}

int ZXmlTag::getChildIndex(const ZXmlTag* child) const
{
    return m_pImpl->childIndex(child);
}

ZXmlTag* ZXmlTag::getChild(int index) const
{
    return m_pImpl->child(index);
}

int ZXmlTag::getChildCount() const
{
    return m_pImpl->childCount();
}

ZXmlTag* ZXmlTag::getChild(const char* path) const
{
    return m_pImpl->findChild(path);
}

int ZXmlTag::sortChildren()
{
    return m_pImpl->sortChildren();
}

int ZXmlTag::setData(const char* tag)
{
    return m_pImpl->setData(tag);
}
