#include "text/units.h"
#include "tree/branch_core.h"

ZTBranchW::ZTBranchW()
{
    init();
}

void ZTBranchW::init()
{
    m_pImpl = mZTBranchW::make(this);
}

ZTBranchW::~ZTBranchW()
{
    mZTBranchW::dispose(m_pImpl);
}

unsigned int ZTBranchW::getLibVersion() const
{
    return ztree::detail::libVersion;
}

ZTBranchW::ZTBranchW(const ZTBranchW& other) : ZVersion(other)
{
    init();
    try {
        m_pImpl->copyNode(*other.m_pImpl);
    } catch (...) {
        mZTBranchW::dispose(m_pImpl);
        throw;
    }
}

ZTBranchW& ZTBranchW::operator=(const ZTBranchW& other)
{
    m_pImpl->copyNode(*other.m_pImpl);
    return *this;
}

// --- construction: implementation, name, value, parent ---

namespace {
// Gives the implementation back when a constructor fails after making it.
class Making {
public:
    explicit Making(mZTBranchW* impl) noexcept : m_impl(impl) {}
    Making(const Making&) = delete;
    Making& operator=(const Making&) = delete;
    ~Making()
    {
        if (m_impl)
            mZTBranchW::dispose(m_impl);
    }
    void done(ZTBranchW* parent) noexcept
    {
        m_impl->setParent(parent);
        m_impl = nullptr;
    }

private:
    mZTBranchW* m_impl;
};
} // namespace

ZTBranchW::ZTBranchW(const zwchar* name, ZTBranchW* parent)
{
    m_pImpl = mZTBranchW::make(this, name);
    Making making(m_pImpl);
    making.done(parent);
}

ZTBranchW::ZTBranchW(const zwchar* name, char value, ZTBranchW* parent)
{
    m_pImpl = mZTBranchW::make(this, name);
    Making making(m_pImpl);
    setValue(value);
    making.done(parent);
}

ZTBranchW::ZTBranchW(const zwchar* name, unsigned char value, ZTBranchW* parent)
{
    m_pImpl = mZTBranchW::make(this, name);
    Making making(m_pImpl);
    setValue(value);
    making.done(parent);
}

ZTBranchW::ZTBranchW(const zwchar* name, short value, ZTBranchW* parent)
{
    m_pImpl = mZTBranchW::make(this, name);
    Making making(m_pImpl);
    setValue(value);
    making.done(parent);
}

ZTBranchW::ZTBranchW(const zwchar* name, int value, ZTBranchW* parent)
{
    m_pImpl = mZTBranchW::make(this, name);
    Making making(m_pImpl);
    setValue(value);
    making.done(parent);
}

ZTBranchW::ZTBranchW(const zwchar* name, long value, ZTBranchW* parent)
{
    m_pImpl = mZTBranchW::make(this, name);
    Making making(m_pImpl);
    setValue(value);
    making.done(parent);
}

ZTBranchW::ZTBranchW(const zwchar* name, double value, unsigned char precision, ZTBranchW* parent)
{
    m_pImpl = mZTBranchW::make(this, name);
    Making making(m_pImpl);
    setValue(value, precision);
    m_pImpl->setPrecision(precision);
    making.done(parent);
}

ZTBranchW::ZTBranchW(const zwchar* name, const void* data, int length, ZTBranchW* parent)
{
    m_pImpl = mZTBranchW::make(this, name, data ? length : 0, data);
    Making making(m_pImpl);
    m_pImpl->setBytes(data, length);
    making.done(parent);
}

ZTBranchW::ZTBranchW(const unsigned short* name, ZTBranchW* parent) : ZTBranchW(units(name), parent) {}
ZTBranchW::ZTBranchW(const unsigned short* name, char value, ZTBranchW* parent)
    : ZTBranchW(units(name), value, parent)
{
}
ZTBranchW::ZTBranchW(const unsigned short* name, unsigned char value, ZTBranchW* parent)
    : ZTBranchW(units(name), value, parent)
{
}
ZTBranchW::ZTBranchW(const unsigned short* name, short value, ZTBranchW* parent)
    : ZTBranchW(units(name), value, parent)
{
}
ZTBranchW::ZTBranchW(const unsigned short* name, int value, ZTBranchW* parent)
    : ZTBranchW(units(name), value, parent)
{
}
ZTBranchW::ZTBranchW(const unsigned short* name, long value, ZTBranchW* parent)
    : ZTBranchW(units(name), value, parent)
{
}
ZTBranchW::ZTBranchW(const unsigned short* name, double value, unsigned char precision, ZTBranchW* parent)
    : ZTBranchW(units(name), value, precision, parent)
{
}
ZTBranchW::ZTBranchW(const unsigned short* name, const void* data, int length, ZTBranchW* parent)
    : ZTBranchW(units(name), data, length, parent)
{
}

// --- name and identity ---

int ZTBranchW::setName(const zwchar* name)
{
    return m_pImpl->setName(name);
}

int ZTBranchW::setName(const unsigned short* name)
{
    return setName(units(name));
}

const zwchar* ZTBranchW::getName() const
{
    return m_pImpl->name();
}

const zwchar* ZTBranchW::getFullName() const
{
    return m_pImpl->fullName();
}

int ZTBranchW::equals(const zwchar* text) const
{
    return m_pImpl->equals(text);
}

int ZTBranchW::equals(const unsigned short* text) const
{
    return equals(units(text));
}

void ZTBranchW::setParent(ZTBranchW* parent)
{
    m_pImpl->setParent(parent);
}

ZTBranchW* ZTBranchW::getParent() const
{
    return m_pImpl->parent();
}

unsigned char ZTBranchW::getType() const
{
    return static_cast<unsigned char>(m_pImpl->type());
}

unsigned char ZTBranchW::getFlags() const
{
    return static_cast<unsigned char>(m_pImpl->flags());
}

// --- value ---

void ZTBranchW::setValue(char value)
{
    m_pImpl->setNumber(1, value);
}

void ZTBranchW::setValue(unsigned char value)
{
    m_pImpl->setNumber(2, value);
}

void ZTBranchW::setValue(short value)
{
    m_pImpl->setNumber(3, value);
}

void ZTBranchW::setValue(int value)
{
    m_pImpl->setNumber(4, value);
}

void ZTBranchW::setValue(long value)
{
    m_pImpl->setNumber(5, value);
}

void ZTBranchW::setValue(double value, unsigned char)
{
    m_pImpl->setNumber(6, value);
    m_pImpl->setPrecision(255); // Kept: texts of doubles set afterwards show all their decimals.
}

void ZTBranchW::setValue(const void* data, int length)
{
    m_pImpl->setBytes(data, length);
}

int ZTBranchW::getValue(char* value) const
{
    return m_pImpl->number(1, value);
}

int ZTBranchW::getValue(unsigned char* value) const
{
    return m_pImpl->number(2, value);
}

int ZTBranchW::getValue(short* value) const
{
    return m_pImpl->number(3, value);
}

int ZTBranchW::getValue(int* value) const
{
    return m_pImpl->number(4, value);
}

int ZTBranchW::getValue(long* value) const
{
    return m_pImpl->number(5, value);
}

int ZTBranchW::getValue(double* value) const
{
    return m_pImpl->number(6, value);
}

int ZTBranchW::getValue(void* buffer, int size) const
{
    return m_pImpl->bytes(buffer, size);
}

int ZTBranchW::getValuePtr(const void** value, int* size) const
{
    return m_pImpl->valuePtr(value, size);
}

const zwchar* ZTBranchW::toString(int* length) const
{
    return m_pImpl->toText(length);
}

void ZTBranchW::freeString()
{
    m_pImpl->freeText();
}

// --- children ---

int ZTBranchW::getChildCount() const
{
    return m_pImpl->childCount();
}

ZTBranchW* ZTBranchW::getChild(int index) const
{
    return m_pImpl->child(index);
}

ZTBranchW* ZTBranchW::getChild(const zwchar* name) const
{
    return m_pImpl->child(m_pImpl->findChild(name));
}

ZTBranchW* ZTBranchW::getChild(const unsigned short* name) const
{
    return getChild(units(name));
}

ZTBranchW* ZTBranchW::getFirstChild(int* pos) const
{
    int start = 0;
    if (!pos)
        pos = &start;
    *pos = 0;
    return getNextChild(pos);
}

ZTBranchW* ZTBranchW::getNextChild(int* pos) const
{
    if (!pos)
        return nullptr;
    ZTBranchW* found = m_pImpl->child(*pos);
    if (found)
        ++*pos;
    return found;
}

int ZTBranchW::findChild(const zwchar* name) const
{
    return m_pImpl->findChild(name);
}

int ZTBranchW::findChild(const unsigned short* name) const
{
    return findChild(units(name));
}

int ZTBranchW::addChild(const ZTBranchW& src, ZTBranchW** added, bool replace)
{
    return m_pImpl->addChild(src, added, replace);
}

int ZTBranchW::linkChild(const ZTBranchW* child, bool replace)
{
    return m_pImpl->linkChild(child, replace);
}

int ZTBranchW::setChild(ZTBranchW* child, int index)
{
    return m_pImpl->setChild(child, index);
}

void ZTBranchW::removeChild(int index)
{
    m_pImpl->removeChild(index);
}

void ZTBranchW::removeChild(const zwchar* name)
{
    m_pImpl->removeChild(m_pImpl->findChild(name));
}

void ZTBranchW::removeChild(const unsigned short* name)
{
    removeChild(units(name));
}

int ZTBranchW::getChildValue(int index, const char** value, int* length) const
{
    return m_pImpl->childValue(index, value, length);
}

int ZTBranchW::getChildValue(const zwchar* name, const char** value, int* length) const
{
    return m_pImpl->childValue(m_pImpl->findChild(name), value, length);
}

int ZTBranchW::getChildValue(const unsigned short* name, const char** value, int* length) const
{
    return getChildValue(units(name), value, length);
}

// --- attributes ---

int ZTBranchW::getAttribCount() const
{
    return m_pImpl->attribCount();
}

ZAttribW* ZTBranchW::getAttrib(int index) const
{
    return m_pImpl->attrib(index);
}

ZAttribW* ZTBranchW::getAttrib(const zwchar* name) const
{
    return m_pImpl->attrib(m_pImpl->findAttrib(name));
}

ZAttribW* ZTBranchW::getAttrib(const unsigned short* name) const
{
    return getAttrib(units(name));
}

ZAttribW* ZTBranchW::getFirstAttrib(int* pos) const
{
    int start = 0;
    if (!pos)
        pos = &start;
    *pos = 0;
    return getNextAttrib(pos);
}

ZAttribW* ZTBranchW::getNextAttrib(int* pos) const
{
    if (!pos)
        return nullptr;
    ZAttribW* found = m_pImpl->attrib(*pos);
    if (found)
        ++*pos;
    return found;
}

int ZTBranchW::findAttrib(const zwchar* name) const
{
    return m_pImpl->findAttrib(name);
}

int ZTBranchW::findAttrib(const unsigned short* name) const
{
    return findAttrib(units(name));
}

int ZTBranchW::addAttrib(const ZAttribW& attrib, bool replace)
{
    return m_pImpl->addAttrib(attrib, replace);
}

void ZTBranchW::removeAttrib(int index)
{
    m_pImpl->removeAttrib(index);
}

void ZTBranchW::removeAttrib(const zwchar* name)
{
    m_pImpl->removeAttrib(m_pImpl->findAttrib(name));
}

void ZTBranchW::removeAttrib(const unsigned short* name)
{
    removeAttrib(units(name));
}

int ZTBranchW::getAttribValue(int index, const zwchar** value, int* length) const
{
    return m_pImpl->attribValue(index, value, length);
}

int ZTBranchW::getAttribValue(const zwchar* name, const zwchar** value, int* length) const
{
    return m_pImpl->attribValue(m_pImpl->findAttrib(name), value, length);
}

int ZTBranchW::getAttribValue(const unsigned short* name, const zwchar** value, int* length) const
{
    return getAttribValue(units(name), value, length);
}

// --- subtrees ---

int ZTBranchW::addTree(const ZTBranchW* src, bool withRoot)
{
    return m_pImpl->addTree(src, withRoot);
}

ZTBranchW* ZTBranchW::searchTree(const zwchar* name) const
{
    return m_pImpl->searchTree(name);
}

ZTBranchW* ZTBranchW::searchTree(const unsigned short* name) const
{
    return searchTree(units(name));
}

ZTBranchW* ZTBranchW::highestBranch(const zwchar* name) const
{
    return m_pImpl->highestBranch(name);
}

ZTBranchW* ZTBranchW::highestBranch(const unsigned short* name) const
{
    return highestBranch(units(name));
}

bool ZTBranchW::scanTree(const zwchar* name, const zwchar* attribName,
                         bool (*callback)(ZTBranchW*, ZAttribW*, long), long param)
{
    return m_pImpl->scanTree(name, attribName, callback, param);
}

bool ZTBranchW::scanTree(const unsigned short* name, const unsigned short* attribName,
                         bool (*callback)(ZTBranchW*, ZAttribW*, long), long param)
{
    return scanTree(units(name), units(attribName), callback, param);
}

ZTBranchW* ZTBranchW::findLinkParent(const ZTBranchW* b) const
{
    return m_pImpl->findLinkParent(b);
}

void ZTBranchW::remember(int value)
{
    m_pImpl->remember(value);
}

int ZTBranchW::recall() const
{
    return m_pImpl->recall();
}

int ZTBranchW::save(std::ostream& out) const
{
    return m_pImpl->save(out);
}

int ZTBranchW::load(std::istream& in)
{
    return m_pImpl->load(in);
}
