#include "csv/mCsvBuffer.h"

#include "text/search.h"

#include <ztree/runtime.h>

#include <typeinfo>

using namespace varnik::ztree;
using namespace ztree_impl;

namespace {

constexpr int failed = static_cast<int>(ztree::errFail);
constexpr int badArgument = static_cast<int>(ztree::errInvalidArg);
constexpr int noMemory = static_cast<int>(ztree::errOutOfMemory);

constexpr zwchar byteOrderMark = 0xFEFF;

} // namespace

mCsvBuffer::mCsvBuffer(Buffer* owner) noexcept : m_owner(owner)
{
    m_format.ulSpare1 = platform::codepageUtf8;
    m_format.cThousand = 0;
    m_format.cDateSep = '/';
    std::memset(m_format.szTimeFmt, 0, sizeof m_format.szTimeFmt);
    std::memset(m_format.szDateFmt, 0, sizeof m_format.szDateFmt);
    m_parameters[csvParamSeparator] = ';';
    m_parameters[csvParamCodepage] = static_cast<unsigned short>(platform::codepageUtf8);
}

mCsvBuffer::~mCsvBuffer()
{
    clearFields();
}

void mCsvBuffer::assign(const mCsvBuffer& other)
{
    const auto size = static_cast<std::size_t>(other.m_end - other.m_line);
    const auto fieldSize = static_cast<std::size_t>(other.m_fieldEnd - other.m_field);
    platform::HeapPtr<zwchar> data(size ? platform::allocArray<zwchar>(size) : nullptr);
    platform::HeapPtr<zwchar> former(fieldSize ? platform::allocArray<zwchar>(fieldSize) : nullptr);
    if ((size && !data) || (fieldSize && !former))
        throw structExcept(ztree::errMemory);
    m_order = other.m_order;
    m_rising = other.m_rising;
    if (size)
        std::memcpy(data.get(), other.m_line, size * sizeof(zwchar));
    if (fieldSize)
        std::memcpy(former.get(), other.m_field, fieldSize * sizeof(zwchar));
    m_data.reset(data.release());
    m_line = m_data.get();
    m_end = m_line + size;
    m_former.reset(former.release());
    m_field = m_former.get();
    m_fieldEnd = m_field + fieldSize;
    m_record = other.m_record;
    m_open = other.m_open;
    m_lineRules = other.m_lineRules;
    m_recordRules = other.m_recordRules;
    std::copy_n(other.m_parameters, parameters, m_parameters);
    // Kept: clones point where their originals do, while this buffer's record address stays what it was;
    // callers copy a buffer before its first record.
    for (int i = 0; i < other.m_slotCount; ++i) {
        const Field* field = other.m_slots[i].field;
        if (field && addFields(&field, 1) == noMemory)
            throw structExcept(ztree::errMemory);
    }
}

// --- data ---

// Takes over a block of n units: from its first line on, up to its first NUL.
int mCsvBuffer::adopt(platform::HeapPtr<zwchar>& block, std::size_t n) noexcept
{
    // Columns may be left of the data that is replaced; later ones never come back to older data.
    if (m_field == m_fieldEnd)
        m_field = m_fieldEnd = nullptr;
    else if (!m_former)
        m_former.reset(m_data.release());
    zwchar* text = block.release();
    m_data.reset(text);
    m_line = text;
    m_end = text ? std::find(text, text + n, zwchar(0)) : text;
    while (m_end != m_line && isLineEnd(m_end[-1]))
        --m_end;
    if (m_parameters[csvParamDialect])
        skipMark();
    skipLineEnds();
    return m_line != m_end ? 0 : badArgument;
}

int mCsvBuffer::setData(const char* data, int length, unsigned codepage)
{
    const std::size_t n = !data ? 0 : length < 0 ? std::strlen(data) : static_cast<std::size_t>(length);
    if (n > static_cast<std::size_t>(INT_MAX) / sizeof(zwchar))
        return noMemory;
    platform::HeapPtr<zwchar> block(platform::allocArray<zwchar>(n));
    if (!block)
        return noMemory;
    const int made =
        n ? platform::toWide(codepage, data, static_cast<int>(n), block.get(), static_cast<int>(n)) : 0;
    if (made == 0)
        return badArgument;
    return adopt(block, static_cast<std::size_t>(made));
}

int mCsvBuffer::setData(const zwchar* text)
{
    const std::size_t n = text ? std::char_traits<zwchar>::length(text) : 0;
    platform::HeapPtr<zwchar> block(platform::allocArray<zwchar>(n));
    if (!block)
        return noMemory;
    if (n)
        std::memcpy(block.get(), text, n * sizeof(zwchar));
    return adopt(block, n);
}

// --- settings ---

int mCsvBuffer::setParameter(unsigned p, unsigned short value) noexcept
{
    if (p >= parameters)
        return badArgument;
    m_parameters[p] = value;
    return 0;
}

void mCsvBuffer::buildFormat() noexcept
{
    const unsigned d = m_parameters[csvParamDateFormat];
    struct Picture {
        const char* text;
        std::size_t length;
    };
    const Picture pictures[] = {{csvBuffer::s_pcszFmtDateDMY, 6},     {csvBuffer::s_pcszFmtDateDMY, 8},
                                {csvBuffer::s_pcszFmtDateYMD + 2, 6}, {csvBuffer::s_pcszFmtDateYMD, 8},
                                {csvBuffer::s_pcszFmtDateMDY, 6},     {csvBuffer::s_pcszFmtDateMDY, 8},
                                {csvBuffer::s_pcszFmtDateYMD, 8}};
    const Picture& picture = pictures[std::min(d / 2, 6u)];
    m_format.cDateSep = d & 1 ? '/' : '.';
    // Kept: no terminator is set, so six letters leave the end of an eight-letter picture in place; callers
    // who switch between the two set the whole record.
    std::memcpy(m_format.szDateFmt, picture.text, picture.length);
    m_format.cTimeSep = ':';
    std::memcpy(m_format.szTimeFmt, csvBuffer::s_pcszFmtTimeHMS, 6);
    const unsigned n = m_parameters[csvParamNumberFormat];
    m_format.cDecimal = n == 1 || n == 2 ? ',' : '.';
    m_format.cThousand = n < 2 ? '\0' : n == 2 ? '.' : ',';
}

int mCsvBuffer::setFormat(const tagLocalFmt* fmt) noexcept
{
    if (!fmt)
        return badArgument;
    m_format = *fmt;
    // Kept: these codes are not those of buildFormat(); stored settings hold them.
    m_parameters[csvParamNumberFormat] =
        m_format.cDecimal == '.' ? (m_format.cThousand ? 0 : 3) : (m_format.cThousand ? 1 : 2);
    static const char* const pictures[] = {"DDMMYYYY", "YYMMDD", "YYYYMMDD", "MMDDYYYY"};
    static constexpr unsigned short codes[] = {0, 4, 6, 8};
    unsigned short code = 12;
    for (int i = 0; i < 4; ++i)
        if (std::strncmp(m_format.szDateFmt, pictures[i], sizeof m_format.szDateFmt) == 0)
            code = codes[i];
    m_parameters[csvParamDateFormat] = static_cast<unsigned short>(code + (m_format.cDateSep == '/'));
    return 0;
}

// --- columns and definitions ---

int mCsvBuffer::addOrder(const unsigned short* ids, int count)
{
    if (!ids || count < 1)
        return badArgument;
    try {
        m_order.append(ids, count);
        // Kept: identifiers that are a blank, a tab or a line feed are lost at the end; numbers start above.
        m_order.trim(nullptr, 2);
        m_rising = std::min(m_rising, m_order.length());
    } catch (const structExcept&) {
        return noMemory;
    }
    return 0;
}

bool mCsvBuffer::growSlots() noexcept
{
    const int wanted = m_order.length();
    if (wanted <= m_slotCount)
        return true;
    auto* slots =
        static_cast<Slot*>(platform::heapResize(m_slots, static_cast<std::size_t>(wanted) * sizeof(Slot)));
    if (!slots)
        return false;
    std::fill(slots + m_slotCount, slots + wanted, Slot{nullptr, Kind::other});
    m_slots = slots;
    m_slotCount = wanted;
    return true;
}

// Orders rise as a rule, if not to their end.
int mCsvBuffer::placeOf(zwchar id) noexcept
{
    const zwchar* const ids = m_order.getBuffer();
    const int count = m_order.length();
    while (m_rising < count && (m_rising == 0 || ids[m_rising] > ids[m_rising - 1]))
        ++m_rising;
    // Definitions come in order as a rule; where identifiers rise, each is there once.
    if (m_placed < m_rising && ids[m_placed] == id)
        return m_placed++;
    const zwchar* const found = std::lower_bound(ids, ids + m_rising, id);
    if (found != ids + m_rising && *found == id) {
        m_placed = static_cast<int>(found - ids) + 1;
        return m_placed - 1;
    }
    const std::size_t place =
        scan::unit(ids, static_cast<std::size_t>(m_rising), static_cast<std::size_t>(count), id);
    return place == scan::none ? -1 : static_cast<int>(place);
}

int mCsvBuffer::addFields(const Field** list, int count)
{
    if (m_order.length() == 0)
        return failed;
    if (!list || count < 1)
        return badArgument;
    if (!growSlots())
        return noMemory;
    for (int i = 0; i < count; ++i) {
        const Field* field = list[i];
        if (!field)
            continue;
        const int place = placeOf(static_cast<zwchar>(field->getId()));
        if (place < 0)
            continue;
        Slot& slot = m_slots[place];
        // Kept: a definition of the same class stays as it is; callers clear the list to replace it.
        if (!slot.field || typeid(*slot.field) != typeid(*field)) {
            csvField* const copy = field->clone();
            if (!copy)
                return noMemory;
            delete slot.field;
            slot.field = copy;
            slot.kind = kindOf(*copy);
        }
        slot.field->setParent(m_owner);
    }
    return 0;
}

int mCsvBuffer::listFields(const Field** out, int* count) const noexcept
{
    if (!out || !count || *count < 1)
        return badArgument;
    int n = 0;
    while (n < *count && n < m_slotCount && m_slots[n].field) {
        out[n] = m_slots[n].field;
        ++n;
    }
    *count = n;
    return 0;
}

void mCsvBuffer::clearFields() noexcept
{
    for (int i = m_slotCount; i-- > 0;)
        delete m_slots[i].field;
    platform::heapFree(m_slots);
    m_slots = nullptr;
    m_slotCount = 0;
}

void mCsvBuffer::relocate(const void* base) noexcept
{
    const auto address = reinterpret_cast<std::uintptr_t>(base);
    if (address == m_base)
        return;
    const auto delta = static_cast<long>(address - m_base);
    m_base = address;
    for (int i = 0; i < m_slotCount; ++i)
        if (m_slots[i].field)
            m_slots[i].field->shiftBuffer(delta); // a fixed one refuses and stays
}

// --- scanning ---

void mCsvBuffer::skipMark() noexcept
{
    if (m_line == m_data.get() && m_line != m_end && *m_line == byteOrderMark)
        ++m_line;
}

void mCsvBuffer::skipLineEnds() noexcept
{
    while (m_line != m_end && isLineEnd(*m_line))
        ++m_line;
}

// Makes the line at m_line the one that columns are taken from.
void mCsvBuffer::beginLine() noexcept
{
    const auto separator = static_cast<zwchar>(m_parameters[csvParamSeparator]);
    m_former.reset(nullptr);
    m_record = m_parameters[csvParamDialect] != 0;
    if (m_record) {
        skipMark();
        skipLineEnds();
        m_recordRules.set(separator);
        m_field = m_line;
        m_fieldEnd = m_end;
        m_open = m_line != m_end;
        return;
    }
    static const FewDelimiters<zwchar> lineEnds(ZTEXT("\r\n"));
    m_lineRules.set(separator, m_parameters[csvParamQuote] != 0, m_parameters[csvParamEscape]);
    m_field = m_line;
    m_fieldEnd = const_cast<zwchar*>(lineEnds.find(m_line, m_end));
    m_line = m_fieldEnd;
    skipLineEnds();
}

// What is left of the record stays there for scanField(); the next line begins behind it.
void mCsvBuffer::endRecord() noexcept
{
    if (!m_record)
        return;
    m_line = m_field;
    bool open = m_open;
    bool line = false;
    while (open) {
        const Ending ending = findColumn(m_line, m_end, m_recordRules).ending;
        open = ending == Ending::separator;
        line = ending == Ending::line;
    }
    m_fieldEnd = line ? m_line - 1 : m_line;
    skipLineEnds();
}

Column<zwchar> mCsvBuffer::nextColumn() noexcept
{
    if (!m_record)
        return cutColumn(m_field, m_fieldEnd, m_lineRules);
    const RawColumn<zwchar> raw = findColumn(m_field, m_fieldEnd, m_recordRules);
    m_open = raw.ending == Ending::separator;
    return raw.pairs ? unquote(raw) : Column<zwchar>{raw.text, raw.end};
}

int mCsvBuffer::storeColumn(const Slot& slot, Column<zwchar> column)
{
    if (slot.kind < Kind::constant)
        return codeOf(store(spot(slot), column.text, column.length(), 0u));
    try {
        m_text.set(column.text, static_cast<int>(column.length()));
    } catch (const structExcept&) {
        return noMemory;
    }
    return slot.field->write(m_text);
}

int mCsvBuffer::scanLine(const void* record)
{
    if (record)
        relocate(record);
    if (m_line == m_end)
        return 0;
    beginLine();
    int result = 0;
    for (int i = 0; hasFields(); ++i) {
        const Column<zwchar> column = nextColumn();
        result = i < m_slotCount && m_slots[i].field ? storeColumn(m_slots[i], column) : 0;
        if (result < 0)
            break;
    }
    endRecord();
    return result;
}

int mCsvBuffer::scanAll(const void* record)
{
    if (record)
        relocate(record);
    int result = 0;
    for (m_lines = 0; m_line != m_end; ++m_lines) {
        result = scanLine(nullptr);
        if (result < 0)
            break;
    }
    return result;
}

int mCsvBuffer::scanField(ZStringW& text)
{
    try {
        Column<zwchar> column = {nullptr, nullptr};
        if (hasFields())
            column = nextColumn();
        if (column.text == column.end)
            text.clear();
        else
            text.set(column.text, static_cast<int>(column.length()));
    } catch (const structExcept&) {
        return noMemory;
    }
    return 0;
}

// --- creating ---

// Appends the field's value to the line. Below 0: there is none.
int mCsvBuffer::appendValue(const Slot& slot)
{
    if (slot.kind < Kind::constant) {
        const std::size_t start = m_out.length();
        if (form(spot(slot), m_out))
            return 0;
        m_out.cut(start);
        return failed;
    }
    m_text.clear();
    const int result = slot.field->read(m_text);
    if (result >= 0)
        m_out.units(m_text.getBuffer(), static_cast<std::size_t>(m_text.length()));
    return result;
}

LineStyle mCsvBuffer::style() const noexcept
{
    LineStyle style;
    style.separator = static_cast<zwchar>(m_parameters[csvParamSeparator]);
    style.dialect = m_parameters[csvParamDialect];
    style.quotes = m_parameters[csvParamQuote] != 0;
    style.escape = m_parameters[csvParamEscape];
    style.trailing = m_parameters[csvParamTrailingSeparator] != 0;
    style.lineEnd = m_parameters[csvParamLineEnd];
    return style;
}

int mCsvBuffer::createLine(ZString& line, const void* record)
{
    const int columns = m_order.length();
    if (columns == 0)
        return failed;
    if (record)
        relocate(record);
    m_form.set(style());
    m_out.clear();
    try {
        for (int i = 0; i < columns; ++i) {
            const std::size_t value = m_form.begin(m_out);
            const bool filled = i < m_slotCount && m_slots[i].field;
            const int result = filled ? appendValue(m_slots[i]) : 0;
            if (result == noMemory)
                return result;
            if (result < 0)
                m_form.none(m_out, value, columns == 1);
            else
                m_form.end(m_out, value, columns == 1);
        }
        m_form.endLine(m_out);
        if (m_out.failed())
            return noMemory;
        line.set(m_out.text(), static_cast<int>(m_out.length()), line.getCodepage());
    } catch (const structExcept&) {
        return noMemory;
    }
    return line.length() || m_out.length() == 0 ? 0 : failed;
}

void mCsvAccess::copySettings(csvBuffer& copy, const csvBuffer& from)
{
    mCsvBuffer& to = of(copy);
    to.assign(of(from));
    to.setBase(of(from).base());
    to.relocate(nullptr);
    to.setFormat(&of(from).format());
}
