#include "csv/mCsvReader.h"

namespace ztree {

const char* csvReasonText(CsvReason reason) noexcept
{
    static const char* const texts[] = {"not a number",
                                        "number out of range",
                                        "text too long",
                                        "not a date",
                                        "not a time",
                                        "not an amount",
                                        "not a hexadecimal digit",
                                        "value refused",
                                        "column missing",
                                        "quote inside an unquoted column",
                                        "text behind a closing quote",
                                        "quote not closed"};
    const auto i = static_cast<std::size_t>(reason);
    return i < sizeof texts / sizeof *texts ? texts[i] : "bad value";
}

CsvReader::CsvReader(const varnik::ztree::csvBuffer& settings) : m_pImpl(new mCsvReader(settings))
{
    if (!m_pImpl)
        throw structExcept(errMemory);
}

CsvReader::~CsvReader()
{
    delete m_pImpl;
}

int CsvReader::setCodepage(unsigned int codepage) noexcept
{
    if (!ztree_impl::isFilePage(codepage))
        return static_cast<int>(errInvalidArg);
    m_pImpl->page = codepage;
    return 0;
}

int CsvReader::setLongestRecord(std::size_t bytes) noexcept
{
    m_pImpl->longest = bytes;
    return 0;
}

int CsvReader::setPiece(std::size_t bytes) noexcept
{
    m_pImpl->piece = std::max<std::size_t>(bytes, 16);
    return 0;
}

int CsvReader::bind(unsigned short id, std::string_view name)
{
    return m_pImpl->bind(id, name);
}

void CsvReader::onError(ErrorCall call, void* context) noexcept
{
    m_pImpl->errorCall = call;
    m_pImpl->errorContext = context;
}

void CsvReader::onProgress(ProgressCall call, void* context, std::uint64_t step) noexcept
{
    m_pImpl->progressCall = call;
    m_pImpl->progressContext = context;
    m_pImpl->progressStep = step;
}

int CsvReader::openFile(const char* path)
{
    return m_pImpl->openFile(path);
}

int CsvReader::openText(std::string_view text)
{
    return m_pImpl->openText(text);
}

int CsvReader::open(Source source, void* context, std::uint64_t total)
{
    return m_pImpl->open(source, context, total);
}

void CsvReader::close() noexcept
{
    m_pImpl->close();
}

int CsvReader::readHeader()
{
    return m_pImpl->readHeader();
}

int CsvReader::read(void* record)
{
    return m_pImpl->read(record);
}

int CsvReader::readColumns()
{
    return m_pImpl->readColumns();
}

int CsvReader::columns() const noexcept
{
    return m_pImpl->columns();
}

std::string_view CsvReader::column(int i) const noexcept
{
    return m_pImpl->column(i);
}

std::uint64_t CsvReader::line() const noexcept
{
    return m_pImpl->line();
}

std::uint64_t CsvReader::offset() const noexcept
{
    return m_pImpl->offset();
}

std::uint64_t CsvReader::records() const noexcept
{
    return m_pImpl->records();
}

int CsvReader::names() const noexcept
{
    return m_pImpl->names();
}

std::string_view CsvReader::name(int i) const noexcept
{
    return m_pImpl->name(i);
}

} // namespace ztree
