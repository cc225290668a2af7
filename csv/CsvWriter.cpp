#include "csv/mCsvBuffer.h"
#include "platform/file.h"
#include "platform/replace.h"

#include <ztree/ext/csv.h>

using namespace ztree_impl;

class mCsvWriter : public platform::HeapObject {
public:
    explicit mCsvWriter(const varnik::ztree::csvBuffer& settings) : m_fields(mCsvAccess::of(m_settings))
    {
        mCsvAccess::copySettings(m_settings, settings);
    }
    mCsvWriter(const mCsvWriter&) = delete;
    mCsvWriter& operator=(const mCsvWriter&) = delete;
    ~mCsvWriter() { drop(); }

    void setPage(unsigned page) noexcept { m_out.setPage(page); }
    int openFile(const char* path);
    int open(ztree::CsvWriter::Sink sink, void* context);
    int writeTexts(const std::string_view* texts, int count);
    int write(const void* record);
    int finish();

private:
    static constexpr int badArgument = static_cast<int>(ztree::errInvalidArg);
    static constexpr int noMemory = static_cast<int>(ztree::errOutOfMemory);
    static constexpr std::size_t piece = std::size_t{256} << 10;

    int begin() noexcept;
    int fail(unsigned error) noexcept { return m_error = static_cast<int>(0x80070000u | (error & 0xFFFF)); }
    int appendValue(const mCsvBuffer::Slot& slot, std::uintptr_t record);
    int endLine(std::size_t start) noexcept;
    int flush() noexcept;
    void drop() noexcept;

    varnik::ztree::csvBuffer m_settings;
    mCsvBuffer& m_fields;
    ColumnForm<char> m_form;
    GrowingText<char> m_out;
    ZStringW m_text;
    ztree::CsvWriter::Sink m_sink = nullptr;
    void* m_context = nullptr;
    platform::File m_file;
    platform::HeapPtr<char> m_path;      // where the file goes
    platform::HeapPtr<char> m_temporary; // null: it is there already
    bool m_isOpen = false;
    int m_error = 0; // stays once something failed
};

int mCsvWriter::begin() noexcept
{
    const LineStyle style = m_fields.style();
    if (style.separator >= 0x80)
        return badArgument;
    m_form.set(style);
    m_out.clear();
    m_error = 0;
    m_isOpen = true;
    return 0;
}

int mCsvWriter::open(ztree::CsvWriter::Sink sink, void* context)
{
    drop();
    m_sink = sink;
    m_context = context;
    return sink ? begin() : badArgument;
}

int mCsvWriter::openFile(const char* path)
{
    drop();
    if (!path || !*path)
        return badArgument;
    m_sink = nullptr;
    if (const int result = begin())
        return result;
    m_isOpen = false;
    static constexpr char ending[] = ".part~";
    const std::size_t length = std::strlen(path);
    m_path.reset(platform::allocArray<char>(length + 1));
    platform::HeapPtr<char> temporary(platform::allocArray<char>(length + sizeof ending));
    if (!m_path || !temporary)
        return noMemory;
    std::memcpy(m_path.get(), path, length + 1);
    std::memcpy(temporary.get(), path, length);
    std::memcpy(temporary.get() + length, ending, sizeof ending);
    const bool aside = platform::isReplaceable(path);
    const unsigned error = m_file.open(aside ? temporary.get() : path, platform::OpenFor::create);
    if (error)
        return fail(error);
    if (aside)
        m_temporary.reset(temporary.release());
    m_isOpen = true;
    return 0;
}

// What was written so far is not kept.
void mCsvWriter::drop() noexcept
{
    m_isOpen = false;
    m_file = platform::File();
    if (m_temporary)
        platform::removeFile(m_temporary.get());
    m_temporary.reset(nullptr);
}

int mCsvWriter::flush() noexcept
{
    if (m_error)
        return m_error;
    const std::size_t n = m_out.length();
    const unsigned error = n == 0   ? 0
                           : m_sink ? m_sink(m_context, m_out.text(), n)
                                    : m_file.write(m_out.text(), n);
    m_out.clear();
    return error ? fail(error) : 0;
}

int mCsvWriter::appendValue(const mCsvBuffer::Slot& slot, std::uintptr_t record)
{
    if (slot.kind < Kind::constant) {
        Spot spot = m_fields.spot(slot);
        spot.at = reinterpret_cast<char*>(reinterpret_cast<std::uintptr_t>(spot.at) + record);
        return form(spot, m_out) ? 0 : static_cast<int>(ztree::errFail);
    }
    m_text.clear();
    const int result = slot.field->read(m_text);
    if (result >= 0)
        m_out.wide(m_text.getBuffer(), static_cast<std::size_t>(m_text.length()));
    return result;
}

// Of the line that began at `start`.
int mCsvWriter::endLine(std::size_t start) noexcept
{
    m_form.endLine(m_out);
    if (m_out.failed()) {
        m_out.cut(start); // the lines before it are whole
        m_out.clearFailure();
        return noMemory;
    }
    return m_out.length() < piece ? 0 : flush();
}

int mCsvWriter::writeTexts(const std::string_view* texts, int count)
{
    if (!m_isOpen || !texts || count < 1)
        return badArgument;
    if (m_error)
        return m_error;
    const std::size_t start = m_out.length();
    for (int i = 0; i < count; ++i) {
        const std::size_t value = m_form.begin(m_out);
        m_out.units(texts[i].data(), texts[i].size());
        m_form.end(m_out, value, count == 1);
    }
    return endLine(start);
}

int mCsvWriter::write(const void* record)
{
    const int columns = m_fields.order().length();
    if (!m_isOpen || columns == 0)
        return badArgument;
    if (m_error)
        return m_error;
    const std::size_t start = m_out.length();
    m_fields.relocate(nullptr);
    try {
        for (int i = 0; i < columns; ++i) {
            const std::size_t value = m_form.begin(m_out);
            const bool filled = i < m_fields.slots() && m_fields.slot(i).field;
            int result = 0;
            if (filled && m_fields.slot(i).kind == Kind::other) {
                m_fields.relocate(record);
                result = appendValue(m_fields.slot(i), 0);
                m_fields.relocate(nullptr);
            } else if (filled) {
                result = appendValue(m_fields.slot(i), reinterpret_cast<std::uintptr_t>(record));
            }
            if (result == noMemory)
                m_out.fail(true);
            if (result < 0)
                m_form.none(m_out, value, columns == 1);
            else
                m_form.end(m_out, value, columns == 1);
        }
    } catch (const structExcept&) {
        m_out.fail(true);
    }
    return endLine(start);
}

int mCsvWriter::finish()
{
    if (!m_isOpen)
        return m_error ? m_error : badArgument;
    flush();
    if (!m_sink) {
        const unsigned closing = m_file.close();
        if (closing && !m_error)
            fail(closing);
        if (!m_error && m_temporary) {
            const unsigned moving = platform::replaceFile(m_temporary.get(), m_path.get());
            if (moving)
                fail(moving);
            else
                m_temporary.reset(nullptr);
        }
    }
    drop();
    return m_error;
}

namespace ztree {

CsvWriter::CsvWriter(const varnik::ztree::csvBuffer& settings) : m_pImpl(new mCsvWriter(settings))
{
    if (!m_pImpl)
        throw structExcept(errMemory);
}

CsvWriter::~CsvWriter()
{
    delete m_pImpl;
}

int CsvWriter::setCodepage(unsigned int codepage) noexcept
{
    if (!isFilePage(codepage))
        return static_cast<int>(errInvalidArg);
    m_pImpl->setPage(codepage);
    return 0;
}

int CsvWriter::openFile(const char* path)
{
    return m_pImpl->openFile(path);
}

int CsvWriter::open(Sink sink, void* context)
{
    return m_pImpl->open(sink, context);
}

int CsvWriter::writeTexts(const std::string_view* texts, int count)
{
    return m_pImpl->writeTexts(texts, count);
}

int CsvWriter::write(const void* record)
{
    return m_pImpl->write(record);
}

int CsvWriter::finish()
{
    return m_pImpl->finish();
}

} // namespace ztree
