#include "log/line_buffer.h"
#include "log/mFileLog.h"

namespace {
constexpr int mostBackups = 1000; // backups have numbers of three digits
} // namespace

fileLog::fileLog() : m_pImpl(nullptr)
{
    m_pImpl = new mFileLog(*this, [](fileLog& owner, const char* path, unsigned error) {
        owner.tellErrorLog(path, resultOf(error));
    });
    if (!m_pImpl)
        throw structExcept(ztree::errMemory);
    if (!m_pImpl->init()) {
        delete m_pImpl;
        throw structExcept(ztree::errLock);
    }
}

fileLog::~fileLog()
{
    delete m_pImpl;
}

HRESULT ZTREE_COMCALL fileLog::open(const char* path)
{
    return resultOf(m_pImpl->open(path));
}

HRESULT ZTREE_COMCALL fileLog::isOpen()
{
    return resultOf(m_pImpl->isOpen());
}

HRESULT ZTREE_COMCALL fileLog::reset()
{
    return resultOf(m_pImpl->reset());
}

HRESULT ZTREE_COMCALL fileLog::close()
{
    return resultOf(m_pImpl->close());
}

HRESULT ZTREE_COMCALL fileLog::flush()
{
    return resultOf(m_pImpl->flush());
}

HRESULT fileLog::setLimit(unsigned long long bytes, int backups) noexcept
{
    if (bytes > 0 && (backups < 1 || backups > mostBackups))
        return static_cast<HRESULT>(ztree::errInvalidArg);
    m_pImpl->setLimit(bytes, bytes > 0 ? backups : mostBackups);
    return S_OK;
}

void fileLog::setRotateOnOpen(bool rotate) noexcept
{
    m_pImpl->setRotateOnOpen(rotate);
}

HRESULT fileLog::setFlushPolicy(FlushPolicy policy) noexcept
{
    return resultOf(m_pImpl->setFlushPolicy(policy));
}

HRESULT fileLog::output(unsigned entry, const char* text, std::size_t length)
{
    const unsigned level = entry & 0xFF;
    return resultOf(m_pImpl->append(text, length, level > 0 && level <= logError));
}
