#include "attrib/attrib_core.h"
#include "text/units.h"

using Core = ztree_impl::AttribCore<ztree_impl::WideAttrib>;

ZAttribW::ZAttribW(const zwchar* name, const zwchar* value) : m_pImpl(nullptr)
{
    if (name)
        m_pImpl = Core::make(name, value);
}

ZAttribW::ZAttribW(const ZAttribW& other) : ZSortObject(other), m_pImpl(nullptr)
{
    if (other.m_pImpl)
        m_pImpl = Core::copy(*other.m_pImpl);
}

const ZAttribW& ZAttribW::operator=(const ZAttribW& other)
{
    Core::assign(m_pImpl, other.m_pImpl);
    return *this;
}

ZAttribW::~ZAttribW()
{
    Core::dispose(m_pImpl);
}

int ZAttribW::compare(const ZSortObject* other) const
{
    return Core::compare(this, static_cast<const ZAttribW*>(other));
}

unsigned int ZAttribW::getLibVersion() const
{
    return ztree::detail::libVersion;
}

const zwchar* ZAttribW::getName() const
{
    return m_pImpl ? m_pImpl->name.text : nullptr;
}

const zwchar* ZAttribW::getValue() const
{
    static const zwchar none = 0;
    return m_pImpl && m_pImpl->value.text ? m_pImpl->value.text : &none;
}

void ZAttribW::setName(const zwchar* name)
{
    Core::setField(m_pImpl, &Core::Impl::name, name);
}

void ZAttribW::setValue(const zwchar* value)
{
    Core::setField(m_pImpl, &Core::Impl::value, value);
}

ZAttribW::ZAttribW(const unsigned short* name, const unsigned short* value)
    : ZAttribW(units(name), units(value))
{
}

void ZAttribW::setName(const unsigned short* name)
{
    setName(units(name));
}

void ZAttribW::setValue(const unsigned short* value)
{
    setValue(units(value));
}

int ZAttribW::save(std::ostream& out) const
{
    return Core::save(m_pImpl, out);
}

int ZAttribW::load(std::istream& in)
{
    return Core::load(m_pImpl, in);
}
