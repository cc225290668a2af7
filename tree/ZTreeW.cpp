#include "text/units.h"
#include "tree/tree_core.h"

#include <ztree/runtime.h>

ZTreeW::ZTreeW() : m_pImpl(new mZTreeW)
{
    if (!m_pImpl)
        throw structExcept(ztree::errMemory);
}

ZTreeW::ZTreeW(const ZTreeW& other) : ZTreeW()
{
    m_pImpl->assign(*other.m_pImpl);
}

ZTreeW& ZTreeW::operator=(const ZTreeW& other)
{
    m_pImpl->assign(*other.m_pImpl);
    return *this;
}

ZTreeW::~ZTreeW()
{
    delete m_pImpl;
}

unsigned int ZTreeW::getLibVersion() const
{
    return ztree::detail::libVersion;
}

void ZTreeW::clear()
{
    m_pImpl->clear();
}

int ZTreeW::set(ZTBranchW* branch)
{
    m_pImpl->set(branch);
    return 0;
}

ZTBranchW* ZTreeW::root() const
{
    return m_pImpl->root();
}

ZTBranchW* ZTreeW::current() const
{
    return m_pImpl->current();
}

void ZTreeW::current(ZTBranchW* branch)
{
    m_pImpl->current(branch);
}

ZTBranchW* ZTreeW::reset()
{
    m_pImpl->current(m_pImpl->root());
    return m_pImpl->current();
}

ZTBranchW* ZTreeW::findParent(const ZTBranchW* branch) const
{
    return m_pImpl->findParent(branch);
}

ZTBranchW* ZTreeW::descend(int index)
{
    return m_pImpl->descend(index);
}

ZTBranchW* ZTreeW::descend(const zwchar* name)
{
    return m_pImpl->descend(name);
}

ZTBranchW* ZTreeW::descend(const unsigned short* name)
{
    return m_pImpl->descend(units(name));
}

ZTBranchW* ZTreeW::descend(const ZTBranchW* child)
{
    return m_pImpl->descend(child);
}

ZTBranchW* ZTreeW::ascend()
{
    return m_pImpl->ascend();
}

ZTBranchW* ZTreeW::next()
{
    return m_pImpl->next();
}

int ZTreeW::add(const ZTBranchW& branch)
{
    return m_pImpl->add(branch);
}

int ZTreeW::insert(const ZTBranchW* branch)
{
    return m_pImpl->insert(branch);
}

int ZTreeW::insert(const ZTreeW* tree)
{
    return tree ? m_pImpl->insert(tree->root()) : -1;
}

void ZTreeW::remove(const zwchar* name)
{
    m_pImpl->remove(name);
}

void ZTreeW::remove(const unsigned short* name)
{
    m_pImpl->remove(units(name));
}

int ZTreeW::save(std::ostream& out) const
{
    return m_pImpl->save(out);
}

int ZTreeW::load(std::istream& in)
{
    return m_pImpl->load(in);
}
