#include "tree/tree_core.h"

#include <ztree/runtime.h>

ZTree::ZTree() : m_pImpl(new mZTree)
{
    if (!m_pImpl)
        throw structExcept(ztree::errMemory);
}

ZTree::ZTree(const ZTree& other) : ZTree()
{
    m_pImpl->assign(*other.m_pImpl);
}

ZTree& ZTree::operator=(const ZTree& other)
{
    m_pImpl->assign(*other.m_pImpl);
    return *this;
}

ZTree::~ZTree()
{
    delete m_pImpl;
}

unsigned int ZTree::getLibVersion() const
{
    return ztree::detail::libVersion;
}

void ZTree::clear()
{
    m_pImpl->clear();
}

int ZTree::set(ZTBranch* branch)
{
    m_pImpl->set(branch);
    return 0;
}

ZTBranch* ZTree::root() const
{
    return m_pImpl->root();
}

ZTBranch* ZTree::current() const
{
    return m_pImpl->current();
}

void ZTree::current(ZTBranch* branch)
{
    m_pImpl->current(branch);
}

ZTBranch* ZTree::reset()
{
    m_pImpl->current(m_pImpl->root());
    return m_pImpl->current();
}

ZTBranch* ZTree::findParent(const ZTBranch* branch) const
{
    return m_pImpl->findParent(branch);
}

ZTBranch* ZTree::descend(int index)
{
    return m_pImpl->descend(index);
}

ZTBranch* ZTree::descend(const char* name)
{
    return m_pImpl->descend(name);
}

ZTBranch* ZTree::descend(const ZTBranch* child)
{
    return m_pImpl->descend(child);
}

ZTBranch* ZTree::ascend()
{
    return m_pImpl->ascend();
}

ZTBranch* ZTree::next()
{
    return m_pImpl->next();
}

int ZTree::add(const ZTBranch& branch)
{
    return m_pImpl->add(branch);
}

int ZTree::insert(const ZTBranch* branch)
{
    return m_pImpl->insert(branch);
}

int ZTree::insert(const ZTree* tree)
{
    return tree ? m_pImpl->insert(tree->root()) : -1;
}

void ZTree::remove(const char* name)
{
    m_pImpl->remove(name);
}

int ZTree::save(std::ostream& out) const
{
    return m_pImpl->save(out);
}

int ZTree::load(std::istream& in)
{
    return m_pImpl->load(in);
}
