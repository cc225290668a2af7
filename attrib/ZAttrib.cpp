#include "attrib/attrib_core.h"

using Core = ztree_impl::AttribCore<ztree_impl::NarrowAttrib>;

ZAttrib::ZAttrib(const char* name, const char* value) : m_pImpl(nullptr)
{
    if (name)
        m_pImpl = Core::make(name, value);
}

ZAttrib::ZAttrib(const ZAttrib& other) : ZSortObject(other), m_pImpl(nullptr)
{
    if (other.m_pImpl)
        m_pImpl = Core::copy(*other.m_pImpl);
}

const ZAttrib& ZAttrib::operator=(const ZAttrib& other)
{
    Core::assign(m_pImpl, other.m_pImpl);
    return *this;
}

ZAttrib::~ZAttrib()
{
    Core::dispose(m_pImpl);
}

int ZAttrib::compare(const ZSortObject* other) const
{
    return Core::compare(this, static_cast<const ZAttrib*>(other));
}

unsigned int ZAttrib::getLibVersion() const
{
    return ztree::detail::libVersion;
}

const char* ZAttrib::getName() const
{
    return m_pImpl ? m_pImpl->name.text : nullptr;
}

const char* ZAttrib::getValue() const
{
    static const char none = 0;
    return m_pImpl && m_pImpl->value.text ? m_pImpl->value.text : &none;
}

void ZAttrib::setName(const char* name)
{
    Core::setField(m_pImpl, &Core::Impl::name, name);
}

void ZAttrib::setValue(const char* value)
{
    Core::setField(m_pImpl, &Core::Impl::value, value);
}

int ZAttrib::save(std::ostream& out) const
{
    return Core::save(m_pImpl, out);
}

int ZAttrib::load(std::istream& in)
{
    return Core::load(m_pImpl, in);
}
