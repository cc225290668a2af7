#include "tree/branch_core.h"

ZTBranch::ZTBranch()
{
    init();
}

void ZTBranch::init()
{
    m_pImpl = mZTBranch::make(this);
}

ZTBranch::~ZTBranch()
{
    mZTBranch::dispose(m_pImpl);
}

unsigned int ZTBranch::getLibVersion() const
{
    return ztree::detail::libVersion;
}

ZTBranch::ZTBranch(const ZTBranch& other) : ZVersion(other)
{
    init();
    try {
        m_pImpl->copyNode(*other.m_pImpl);
    } catch (...) {
        mZTBranch::dispose(m_pImpl);
        throw;
    }
}

ZTBranch& ZTBranch::operator=(const ZTBranch& other)
{
    m_pImpl->copyNode(*other.m_pImpl);
    return *this;
}

// --- construction: implementation, name, value, parent ---

namespace {
// Gives the implementation back when a constructor fails after making it.
class Making {
public:
    explicit Making(mZTBranch* impl) noexcept : m_impl(impl) {}
    Making(const Making&) = delete;
    Making& operator=(const Making&) = delete;
    ~Making()
    {
        if (m_impl)
            mZTBranch::dispose(m_impl);
    }
    void done(ZTBranch* parent) noexcept
    {
        m_impl->setParent(parent);
        m_impl = nullptr;
    }

private:
    mZTBranch* m_impl;
};
} // namespace

ZTBranch::ZTBranch(const char* name, ZTBranch* parent)
{
    m_pImpl = mZTBranch::make(this, name);
    Making making(m_pImpl);
    making.done(parent);
}

ZTBranch::ZTBranch(const char* name, char value, ZTBranch* parent)
{
    m_pImpl = mZTBranch::make(this, name);
    Making making(m_pImpl);
    setValue(value);
    making.done(parent);
}

ZTBranch::ZTBranch(const char* name, unsigned char value, ZTBranch* parent)
{
    m_pImpl = mZTBranch::make(this, name);
    Making making(m_pImpl);
    setValue(value);
    making.done(parent);
}

ZTBranch::ZTBranch(const char* name, short value, ZTBranch* parent)
{
    m_pImpl = mZTBranch::make(this, name);
    Making making(m_pImpl);
    setValue(value);
    making.done(parent);
}

ZTBranch::ZTBranch(const char* name, int value, ZTBranch* parent)
{
    m_pImpl = mZTBranch::make(this, name);
    Making making(m_pImpl);
    setValue(value);
    making.done(parent);
}

ZTBranch::ZTBranch(const char* name, long value, ZTBranch* parent)
{
    m_pImpl = mZTBranch::make(this, name);
    Making making(m_pImpl);
    setValue(value);
    making.done(parent);
}

ZTBranch::ZTBranch(const char* name, double value, unsigned char precision, ZTBranch* parent)
{
    m_pImpl = mZTBranch::make(this, name);
    Making making(m_pImpl);
    setValue(value, precision);
    m_pImpl->setPrecision(precision);
    making.done(parent);
}

ZTBranch::ZTBranch(const char* name, const void* data, int length, ZTBranch* parent)
{
    m_pImpl = mZTBranch::make(this, name, data ? length : 0, data);
    Making making(m_pImpl);
    m_pImpl->setBytes(data, length);
    making.done(parent);
}

// --- name and identity ---

int ZTBranch::setName(const char* name)
{
    return m_pImpl->setName(name);
}

const char* ZTBranch::getName() const
{
    return m_pImpl->name();
}

const char* ZTBranch::getFullName() const
{
    return m_pImpl->fullName();
}

int ZTBranch::equals(const char* text) const
{
    return m_pImpl->equals(text);
}

void ZTBranch::setParent(ZTBranch* parent)
{
    m_pImpl->setParent(parent);
}

ZTBranch* ZTBranch::getParent() const
{
    return m_pImpl->parent();
}

unsigned char ZTBranch::getType() const
{
    return static_cast<unsigned char>(m_pImpl->type());
}

unsigned char ZTBranch::getFlags() const
{
    return static_cast<unsigned char>(m_pImpl->flags());
}

// --- value ---

void ZTBranch::setValue(char value)
{
    m_pImpl->setNumber(1, value);
}

void ZTBranch::setValue(unsigned char value)
{
    m_pImpl->setNumber(2, value);
}

void ZTBranch::setValue(short value)
{
    m_pImpl->setNumber(3, value);
}

void ZTBranch::setValue(int value)
{
    m_pImpl->setNumber(4, value);
}

void ZTBranch::setValue(long value)
{
    m_pImpl->setNumber(5, value);
}

void ZTBranch::setValue(double value, unsigned char)
{
    m_pImpl->setNumber(6, value);
    m_pImpl->setPrecision(255); // Kept: texts of doubles set afterwards show all their decimals.
}

void ZTBranch::setValue(const void* data, int length)
{
    m_pImpl->setBytes(data, length);
}

int ZTBranch::getValue(char* value) const
{
    return m_pImpl->number(1, value);
}

int ZTBranch::getValue(unsigned char* value) const
{
    return m_pImpl->number(2, value);
}

int ZTBranch::getValue(short* value) const
{
    return m_pImpl->number(3, value);
}

int ZTBranch::getValue(int* value) const
{
    return m_pImpl->number(4, value);
}

int ZTBranch::getValue(long* value) const
{
    return m_pImpl->number(5, value);
}

int ZTBranch::getValue(double* value) const
{
    return m_pImpl->number(6, value);
}

int ZTBranch::getValue(void* buffer, int size) const
{
    return m_pImpl->bytes(buffer, size);
}

int ZTBranch::getValuePtr(const void** value, int* size) const
{
    return m_pImpl->valuePtr(value, size);
}

const char* ZTBranch::toString(int* length) const
{
    return m_pImpl->toText(length);
}

void ZTBranch::freeString()
{
    m_pImpl->freeText();
}

// --- children ---

int ZTBranch::getChildCount() const
{
    return m_pImpl->childCount();
}

ZTBranch* ZTBranch::getChild(int index) const
{
    return m_pImpl->child(index);
}

ZTBranch* ZTBranch::getChild(const char* name) const
{
    return m_pImpl->child(m_pImpl->findChild(name));
}

ZTBranch* ZTBranch::getFirstChild(int* pos) const
{
    int start = 0;
    if (!pos)
        pos = &start;
    *pos = 0;
    return getNextChild(pos);
}

ZTBranch* ZTBranch::getNextChild(int* pos) const
{
    if (!pos)
        return nullptr;
    ZTBranch* found = m_pImpl->child(*pos);
    if (found)
        ++*pos;
    return found;
}

int ZTBranch::findChild(const char* name) const
{
    return m_pImpl->findChild(name);
}

int ZTBranch::addChild(const ZTBranch& src, ZTBranch** added, bool replace)
{
    return m_pImpl->addChild(src, added, replace);
}

int ZTBranch::linkChild(const ZTBranch* child, bool replace)
{
    return m_pImpl->linkChild(child, replace);
}

int ZTBranch::setChild(ZTBranch* child, int index)
{
    return m_pImpl->setChild(child, index);
}

void ZTBranch::removeChild(int index)
{
    m_pImpl->removeChild(index);
}

void ZTBranch::removeChild(const char* name)
{
    m_pImpl->removeChild(m_pImpl->findChild(name));
}

int ZTBranch::getChildValue(int index, const char** value, int* length) const
{
    return m_pImpl->childValue(index, value, length);
}

int ZTBranch::getChildValue(const char* name, const char** value, int* length) const
{
    return m_pImpl->childValue(m_pImpl->findChild(name), value, length);
}

// --- attributes ---

int ZTBranch::getAttribCount() const
{
    return m_pImpl->attribCount();
}

ZAttrib* ZTBranch::getAttrib(int index) const
{
    return m_pImpl->attrib(index);
}

ZAttrib* ZTBranch::getAttrib(const char* name) const
{
    return m_pImpl->attrib(m_pImpl->findAttrib(name));
}

ZAttrib* ZTBranch::getFirstAttrib(int* pos) const
{
    int start = 0;
    if (!pos)
        pos = &start;
    *pos = 0;
    return getNextAttrib(pos);
}

ZAttrib* ZTBranch::getNextAttrib(int* pos) const
{
    if (!pos)
        return nullptr;
    ZAttrib* found = m_pImpl->attrib(*pos);
    if (found)
        ++*pos;
    return found;
}

int ZTBranch::findAttrib(const char* name) const
{
    return m_pImpl->findAttrib(name);
}

int ZTBranch::addAttrib(const ZAttrib& attrib, bool replace)
{
    return m_pImpl->addAttrib(attrib, replace);
}

void ZTBranch::removeAttrib(int index)
{
    m_pImpl->removeAttrib(index);
}

void ZTBranch::removeAttrib(const char* name)
{
    m_pImpl->removeAttrib(m_pImpl->findAttrib(name));
}

int ZTBranch::getAttribValue(int index, const char** value, int* length) const
{
    return m_pImpl->attribValue(index, value, length);
}

int ZTBranch::getAttribValue(const char* name, const char** value, int* length) const
{
    return m_pImpl->attribValue(m_pImpl->findAttrib(name), value, length);
}

// --- subtrees ---

int ZTBranch::addTree(const ZTBranch* src, bool withRoot)
{
    return m_pImpl->addTree(src, withRoot);
}

ZTBranch* ZTBranch::searchTree(const char* name) const
{
    return m_pImpl->searchTree(name);
}

ZTBranch* ZTBranch::highestBranch(const char* name) const
{
    return m_pImpl->highestBranch(name);
}

bool ZTBranch::scanTree(const char* name, const char* attribName, bool (*callback)(ZTBranch*, ZAttrib*, long),
                        long param)
{
    return m_pImpl->scanTree(name, attribName, callback, param);
}

ZTBranch* ZTBranch::findLinkParent(const ZTBranch* b) const
{
    return m_pImpl->findLinkParent(b);
}

void ZTBranch::remember(int value)
{
    m_pImpl->remember(value);
}

int ZTBranch::recall() const
{
    return m_pImpl->recall();
}

int ZTBranch::save(std::ostream& out) const
{
    return m_pImpl->save(out);
}

int ZTBranch::load(std::istream& in)
{
    return m_pImpl->load(in);
}
