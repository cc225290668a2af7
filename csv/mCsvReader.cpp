#include "csv/mCsvReader.h"

#include "attrib/name_hash.h"

#include <ztree/runtime.h>

using namespace varnik::ztree;
using namespace ztree_impl;
using ztree::CsvReason;

namespace {

constexpr int badArgument = static_cast<int>(ztree::errInvalidArg);
constexpr int noMemory = static_cast<int>(ztree::errOutOfMemory);
constexpr int stopped = static_cast<int>(0x80004004);
constexpr int notFound = static_cast<int>(0x80070490);
constexpr int tooLongRecord = static_cast<int>(0x800700EA);

// Behind the data, so that scanning by blocks may look there.
constexpr std::size_t slack = 64;

int codeOfSystem(unsigned error) noexcept
{
    return static_cast<int>(0x80070000u | (error & 0xFFFF));
}

CsvReason reasonOf(Fault fault) noexcept
{
    switch (fault) {
    case Fault::badDigit:
        return CsvReason::badDigit;
    case Fault::cut:
        return CsvReason::tooLong;
    case Fault::noNumber:
        return CsvReason::notANumber;
    case Fault::range:
        return CsvReason::outOfRange;
    case Fault::badDate:
        return CsvReason::badDate;
    case Fault::badTime:
        return CsvReason::badTime;
    case Fault::badAmount:
        return CsvReason::badAmount;
    default:
        return CsvReason::refused;
    }
}

std::uint32_t lineEndsIn(const char* at, const char* end) noexcept
{
    std::uint32_t n = 0;
    for (; at != end; ++at)
        n += *at == '\n' || (*at == '\r' && (at + 1 == end || at[1] != '\n'));
    return n;
}

unsigned readFile(void* context, char* buffer, std::size_t room, std::size_t* got)
{
    return static_cast<platform::File*>(context)->read(buffer, room, got);
}

unsigned readText(void* context, char* buffer, std::size_t room, std::size_t* got)
{
    auto& text = *static_cast<std::string_view*>(context);
    *got = std::min(room, text.size());
    if (*got)
        std::memcpy(buffer, text.data(), *got);
    text.remove_prefix(*got);
    return 0;
}

std::uint32_t hashOfName(std::string_view text) noexcept
{
    return foldedHash(text.data(), static_cast<int>(std::min<std::size_t>(text.size(), INT_MAX)));
}

// The columns of a header by their names, of equal ones the first. Chains are built from the last column to
// the first, so that one number a chain is enough: of 65,535 columns all of them stay in a cache.
class ColumnsByName {
public:
    bool isBuilt() const noexcept { return static_cast<bool>(m_first); }
    bool build(const mCsvReader& reader) noexcept
    {
        const auto count = static_cast<std::size_t>(reader.names());
        std::size_t chains = 16;
        while (chains < count * 2)
            chains *= 2;
        m_first.reset(platform::allocArray<std::int32_t>(chains + count));
        if (!m_first)
            return false;
        std::fill_n(m_first.get(), chains, -1);
        m_next = m_first.get() + chains;
        m_mask = chains - 1;
        for (std::size_t i = count; i-- > 0;) {
            std::int32_t& first = m_first[hashOfName(reader.name(static_cast<int>(i))) & m_mask];
            m_next[i] = first;
            first = static_cast<std::int32_t>(i);
        }
        return true;
    }
    /// Its hash is going to be looked for soon.
    void fetch(std::uint32_t hash) const noexcept { __builtin_prefetch(&m_first[hash & m_mask]); }
    int find(const mCsvReader& reader, std::uint32_t hash, std::string_view wanted) const noexcept
    {
        std::int32_t i = m_first[hash & m_mask];
        while (i >= 0 && reader.name(i) != wanted)
            i = m_next[i];
        return i;
    }

private:
    platform::HeapPtr<std::int32_t> m_first; // of each chain, -1 where there is none
    std::int32_t* m_next = nullptr;          // in the same block
    std::size_t m_mask = 0;
};

} // namespace

mCsvReader::mCsvReader(const csvBuffer& settings) : m_fields(mCsvAccess::of(m_settings))
{
    mCsvAccess::copySettings(m_settings, settings);
    const int count = m_fields.slots();
    m_bindings = platform::allocZeroed<Binding>(static_cast<std::size_t>(count));
    if (!m_bindings)
        throw structExcept(ztree::errMemory);
    for (int i = 0; i < count; ++i) {
        const mCsvBuffer::Slot& slot = m_fields.slot(i);
        if (!slot.field)
            continue;
        Binding& binding = m_bindings[m_bindingCount++];
        binding.field = slot.field;
        binding.id = slot.field->getId();
        binding.column = i;
        binding.spot = m_fields.spot(slot);
        m_others |= slot.kind == Kind::other;
    }
}

mCsvReader::~mCsvReader()
{
    close();
    dropNames();
    for (int i = 0; i < m_bindingCount; ++i)
        platform::heapFree(m_bindings[i].name);
    platform::heapFree(m_bindings);
    platform::heapFree(m_buffer);
    platform::heapFree(m_cells);
}

int mCsvReader::bind(unsigned short id, std::string_view name)
{
    // Callers bind in order as a rule, so the search goes on where the last one ended.
    int tried = 0;
    while (tried < m_bindingCount && m_bindings[m_lastBound].id != id) {
        m_lastBound = (m_lastBound + 1) % m_bindingCount;
        ++tried;
    }
    if (tried == m_bindingCount)
        return badArgument;
    char* copy = platform::allocArray<char>(name.size() + 1);
    if (!copy)
        return noMemory;
    name.copy(copy, name.size());
    Binding& binding = m_bindings[m_lastBound];
    platform::heapFree(binding.name);
    binding.name = copy;
    binding.nameLength = name.size();
    binding.hash = hashOfName(name);
    binding.column = -1;
    for (int i = 0; i < m_bindingCount && !m_byName; ++i)
        m_bindings[i].column = -1;
    m_byName = true;
    return 0;
}

// --- opening ---

int mCsvReader::begin() noexcept
{
    const LineStyle style = m_fields.style();
    if (style.separator >= 0x80)
        return badArgument;
    const auto separator = static_cast<char>(style.separator);
    m_quoting = style.dialect != 0;
    m_recordRules.set(separator);
    m_lineRules.set(separator, style.quotes, style.escape);
    m_lineRules.page = page;
    m_isOpen = true;
    m_ended = false;
    m_done = m_reported = 0;
    m_at = m_end = m_buffer;
    m_line = 1;
    m_afterCr = false;
    m_count = 0;
    m_recordLine = m_recordOffset = m_records = 0;
    m_again = false;
    m_goOn = nullptr;
    dropNames();
    return 0;
}

int mCsvReader::open(ztree::CsvReader::Source source, void* context, std::uint64_t total)
{
    close();
    if (!source)
        return badArgument;
    m_source = source;
    m_context = context;
    m_total = total;
    return begin();
}

int mCsvReader::openFile(const char* path)
{
    close();
    const unsigned error = m_file.open(path, platform::OpenFor::read);
    if (error)
        return codeOfSystem(error);
    std::uint64_t size = 0;
    if (m_file.size(&size) != 0)
        size = 0;                            // a pipe
    platform::File file = std::move(m_file); // close() would take it
    const int result = open(&readFile, &m_file, size);
    m_file = std::move(file);
    return result;
}

int mCsvReader::openText(std::string_view text)
{
    const int result = open(&readText, &m_text, text.size());
    m_text = text;
    return result;
}

void mCsvReader::close() noexcept
{
    m_isOpen = m_again = false;
    m_goOn = nullptr;
    m_count = 0;
    m_at = m_end = m_buffer;
    m_file = platform::File();
}

// --- bytes ---

int mCsvReader::progress(bool always) noexcept
{
    if (!progressCall || (!always && m_done - m_reported < progressStep))
        return 0;
    m_reported = m_done;
    return progressCall(progressContext, m_done, m_total) ? 0 : stopped;
}

// What is known of a record whose data have not all come moves with them.
void mCsvReader::moveParts(const char* from, char* to) noexcept
{
    if (!m_goOn)
        return;
    const auto move = [from, to](char*& p) { p = to + (p - from); };
    move(m_goOn);
    move(m_seen);
    for (int i = 0; i < m_cut; ++i) {
        move(m_cells[i].text);
        move(m_cells[i].end);
    }
    if (m_part.text) {
        move(m_part.text);
        move(m_part.end);
    }
}

// Reads on behind what is left from `keep` on, which becomes the start of the buffer.
int mCsvReader::fill(char* keep) noexcept
{
    const auto kept = static_cast<std::size_t>(m_end - keep);
    if (m_buffer == nullptr || (kept == m_room && kept > 0)) {
        const std::size_t wanted = m_buffer ? m_room * 2 : piece;
        if (kept >= longest)
            return tooLongRecord;
        auto* fresh =
            wanted < SIZE_MAX / 4 ? static_cast<char*>(platform::heapAlloc(wanted + slack)) : nullptr;
        if (!fresh)
            return noMemory;
        if (kept)
            std::memcpy(fresh, keep, kept);
        moveParts(keep, fresh);
        platform::heapFree(m_buffer);
        m_buffer = fresh;
        m_room = wanted;
    } else if (kept && keep != m_buffer) {
        std::memmove(m_buffer, keep, kept);
        moveParts(keep, m_buffer);
    }
    m_at = m_buffer;
    m_end = m_buffer + kept;
    std::size_t got = 0;
    const unsigned error = m_source(m_context, m_end, m_room - kept, &got);
    if (error)
        return codeOfSystem(error);
    m_ended = got == 0;
    m_end += got;
    m_done += got;
    std::memset(m_end, 0, slack);
    return progress(m_ended);
}

void mCsvReader::countLineEnd(char c) noexcept
{
    if (c == '\r' || !m_afterCr)
        ++m_line;
    m_afterCr = c == '\r';
}

void mCsvReader::passLineEnds() noexcept
{
    while (m_at != m_end && isLineEnd(*m_at))
        countLineEnd(*m_at++);
}

// --- cutting ---

mCsvReader::Cell* mCsvReader::addCell() noexcept
{
    if (m_count == m_cellRoom) {
        const int room = m_cellRoom ? m_cellRoom * 2 : 32;
        auto* cells =
            static_cast<Cell*>(platform::heapResize(m_cells, static_cast<std::size_t>(room) * sizeof(Cell)));
        if (!cells)
            return nullptr;
        m_cells = cells;
        m_cellRoom = room;
    }
    return &m_cells[m_count++];
}

// Cuts columns without quotes, which most are, with all that it needs in registers. Returns true when the
// record is complete; else p is where cutRecord() has to go on.
bool mCsvReader::cutPlain(char*& p) noexcept
{
#if defined(__SSE2__)
    const __m128i separators = _mm_set1_epi8(m_recordRules.separator);
    const __m128i quotes = _mm_set1_epi8('"');
    const __m128i returns = _mm_set1_epi8('\r');
    const __m128i feeds = _mm_set1_epi8('\n');
    const std::uint32_t lines = m_lines;
    char* begin = p;
    for (char* at = p; at < m_end;) {
        const __m128i block =
            _mm_loadu_si128(reinterpret_cast<const __m128i*>(at)); // may reach into the slack
        const __m128i found =
            _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(block, separators), _mm_cmpeq_epi8(block, quotes)),
                         _mm_or_si128(_mm_cmpeq_epi8(block, returns), _mm_cmpeq_epi8(block, feeds)));
        for (auto hits = static_cast<unsigned>(_mm_movemask_epi8(found)); hits; hits &= hits - 1) {
            char* const split = at + __builtin_ctz(hits);
            if (split >= m_end || *split == '"' || m_count == m_cellRoom)
                return false;
            m_cells[m_count++] = {begin, split, lines, false, QuoteFault::none, false};
            p = begin = split + 1;
            if (isLineEnd(*split)) {
                m_line += lines;
                countLineEnd(*split);
                return true;
            }
        }
        at += 16;
    }
#endif
    return false;
}

// Cuts on to the end of the record. False when the data ends before it does; `ok` without memory.
bool mCsvReader::cutRecord(bool& ok) noexcept
{
    char* p = m_goOn;
    bool isPlain = m_seen == p;
    char* seen = isPlain ? nullptr : m_seen;
    for (;;) {
        if (isPlain && cutPlain(p)) {
            m_goOn = p;
            return true;
        }
        char* const begin = p;
        const RawColumn<char> raw =
            seen ? findMore(p, seen, m_end, m_recordRules, m_part) : findColumn(p, m_end, m_recordRules);
        if (raw.ending == Ending::data && !m_ended) {
            m_goOn = begin;
            m_seen = m_end;
            m_part = raw;
            return false;
        }
        isPlain = seen || m_count == m_cellRoom; // which may be all that stopped cutPlain()
        seen = nullptr;
        Cell* cell = addCell();
        if (!cell) {
            m_goOn = m_seen = begin;
            ok = false;
            return true;
        }
        *cell = {raw.text, raw.end, m_lines, raw.text != begin, raw.fault, raw.pairs};
        m_faults |= raw.fault != QuoteFault::none;
        if (raw.text != begin)
            m_lines += lineEndsIn(raw.text, raw.end);
        if (raw.ending != Ending::separator) {
            m_line += m_lines;
            if (raw.ending == Ending::line)
                countLineEnd(p[-1]);
            m_goOn = p;
            return true;
        }
    }
}

bool mCsvReader::cutLine(bool& ok) noexcept
{
    static const FewDelimiters<char> lineEnds("\r\n");
    char* const end = const_cast<char*>(lineEnds.find(m_seen, m_end));
    m_seen = end;
    if (end == m_end && !m_ended)
        return false;
    while (m_goOn != end && m_lineRules.splits.count() > 0) {
        Cell* cell = addCell();
        if (!cell) {
            ok = false;
            return true;
        }
        char* const begin = m_goOn;
        const Column<char> column = cutColumn(m_goOn, end, m_lineRules);
        *cell = {begin, column.end, 0, false, QuoteFault::none, false};
    }
    m_openEnd = end != m_at && end[-1] == m_lineRules.separator;
    m_goOn = end;
    if (m_goOn != m_end)
        countLineEnd(*m_goOn++);
    return true;
}

// Goes to the start of the next record: 1; 0 at the end.
int mCsvReader::beginRecord() noexcept
{
    m_count = 0;
    m_faults = m_openEnd = false;
    for (;;) {
        if (m_done >= 3 || m_ended) { // a byte-order mark may come in pieces
            if (m_recordOffset == 0 && m_at == m_buffer && m_done >= 3 &&
                m_done == static_cast<std::uint64_t>(m_end - m_at) && page == platform::codepageUtf8 &&
                std::memcmp(m_at, "\xEF\xBB\xBF", 3) == 0)
                m_at += 3;
            passLineEnds();
            if (m_at != m_end)
                break;
            if (m_ended)
                return 0;
        }
        if (const int result = fill(m_at))
            return result;
    }
    m_goOn = m_seen = m_at;
    m_part = {};
    m_lines = 0;
    m_cut = 0;
    m_afterCr = false;
    return 1;
}

// Cuts the next record: 1, 0 at the end; 2: it was cut before. Each byte is looked at once, into however
// many pieces the source cuts the record.
int mCsvReader::cut() noexcept
{
    if (m_again) {
        m_again = false;
        return 2;
    }
    if (!m_isOpen) {
        m_count = 0;
        return badArgument;
    }
    if (!m_goOn)
        if (const int result = beginRecord(); result <= 0)
            return result;
    for (;;) {
        bool ok = true;
        const std::uint64_t line = m_line;
        m_count = m_cut;
        if (m_quoting ? cutRecord(ok) : cutLine(ok)) {
            if (ok) {
                m_recordLine = line;
                m_recordOffset = m_done - static_cast<std::uint64_t>(m_end - m_at);
                m_record = m_at;
                m_at = m_goOn;
                m_goOn = nullptr;
                return 1;
            }
        }
        m_cut = m_count;
        m_count = 0;
        if (!ok)
            return noMemory;
        if (const int result = fill(m_at))
            return result;
    }
}

void mCsvReader::takeQuotesOut(Cell& cell) noexcept
{
    if (!cell.pairs)
        return;
    const Column<char> column = unquote(RawColumn<char>{cell.text, cell.end, true, cell.fault, Ending::data});
    cell.end = column.end;
    cell.pairs = false;
}

std::string_view mCsvReader::column(int i) noexcept
{
    if (i < 0 || i >= m_count)
        return {};
    takeQuotesOut(m_cells[i]);
    return {m_cells[i].text, static_cast<std::size_t>(m_cells[i].end - m_cells[i].text)};
}

std::string_view mCsvReader::name(int i) const noexcept
{
    if (i < 0 || i >= m_nameCount)
        return {};
    const std::size_t from = i ? m_nameEnds[i - 1] : 0;
    return {m_names + from, m_nameEnds[i] - from};
}

// --- reporting ---

// False: the caller wants to stop.
bool mCsvReader::report(int column, Reason reason, const Binding* binding) noexcept
{
    if (!errorCall)
        return true;
    Error error;
    error.line = m_recordLine;
    error.offset = m_recordOffset;
    error.column = static_cast<unsigned>(column) + 1;
    error.reason = reason;
    if (column >= 0 && column < m_count) {
        error.line += m_cells[column].lines;
        error.offset += static_cast<std::uint64_t>(m_cells[column].text - m_record) - m_cells[column].quoted;
        error.text = this->column(column);
    }
    error.name = name(column);
    if (binding) {
        error.id = binding->id;
        if (error.name.empty() && binding->name)
            error.name = {binding->name, binding->nameLength};
    }
    return errorCall(errorContext, error);
}

int mCsvReader::reportQuotes() noexcept
{
    for (int i = 0; i < m_count && m_faults; ++i) {
        static constexpr Reason reasons[] = {Reason::refused, Reason::strayQuote, Reason::textBehindQuote,
                                             Reason::unclosedQuote};
        const QuoteFault fault = m_cells[i].fault;
        if (fault != QuoteFault::none && !report(i, reasons[static_cast<int>(fault)], nullptr))
            return stopped;
    }
    return 0;
}

// --- storing ---

int mCsvReader::storeCell(const Binding& binding, char* record) noexcept
{
    if (binding.column < 0)
        return 0;
    if (binding.column >= m_count) {
        const bool expected = m_openEnd && binding.column == m_count;
        return expected || report(binding.column, Reason::missing, &binding) ? 0 : stopped;
    }
    Cell& cell = m_cells[binding.column];
    takeQuotesOut(cell);
    const auto length = static_cast<std::size_t>(cell.end - cell.text);
    Fault fault;
    if (binding.spot.kind == Kind::other) {
        GrowingText<zwchar> text;
        text.narrow(cell.text, length, page);
        try {
            ZStringW wide;
            wide.set(text.text(), static_cast<int>(text.length()));
            fault = text.failed()                    ? Fault::noMemory
                    : binding.field->write(wide) < 0 ? Fault::refused
                                                     : Fault::none;
        } catch (const structExcept&) {
            fault = Fault::noMemory;
        }
    } else {
        Spot spot = binding.spot;
        spot.at = reinterpret_cast<char*>(reinterpret_cast<std::uintptr_t>(spot.at) +
                                          reinterpret_cast<std::uintptr_t>(record));
        fault = store(spot, cell.text, length, page);
    }
    if (fault == Fault::none)
        return 0;
    if (fault == Fault::noMemory)
        return noMemory;
    return report(binding.column, reasonOf(fault), &binding) ? 0 : stopped;
}

int mCsvReader::read(void* record)
{
    if (m_byName && m_nameCount == 0)
        return badArgument;
    int result = cut();
    if (result <= 0)
        return result;
    if (m_others)
        m_fields.relocate(record);
    if (result == 1) {
        ++m_records;
        m_nextBinding = 0;
        if (m_faults && (result = reportQuotes()) != 0)
            return result;
    }
    for (; m_nextBinding < m_bindingCount; ++m_nextBinding)
        if ((result = storeCell(m_bindings[m_nextBinding], static_cast<char*>(record))) != 0) {
            m_again = result == noMemory;
            return result;
        }
    return 1;
}

int mCsvReader::readColumns()
{
    const int result = cut();
    if (result != 1)
        return std::min(result, 1);
    ++m_records;
    const int reported = m_faults ? reportQuotes() : 0;
    return reported ? reported : 1;
}

// --- the header ---

void mCsvReader::dropNames() noexcept
{
    platform::heapFree(m_names);
    platform::heapFree(m_nameEnds);
    m_names = nullptr;
    m_nameEnds = nullptr;
    m_nameCount = 0;
}

int mCsvReader::keepNames() noexcept
{
    dropNames();
    std::size_t size = 0;
    for (int i = 0; i < m_count; ++i)
        size += column(i).size();
    m_names = platform::allocArray<char>(size + 1);
    m_nameEnds = platform::allocArray<std::size_t>(static_cast<std::size_t>(m_count));
    if (!m_names || !m_nameEnds)
        return noMemory;
    std::size_t at = 0;
    for (int i = 0; i < m_count; ++i) {
        at += column(i).copy(m_names + at, size - at);
        m_nameEnds[i] = at;
    }
    m_nameCount = m_count;
    return 0;
}

int mCsvReader::bindNames() noexcept
{
    int result = 0;
    ColumnsByName columns;
    for (int b = 0; b < m_bindingCount && m_byName; ++b) {
        Binding& binding = m_bindings[b];
        binding.column = -1;
        if (!binding.name)
            continue;
        if (!columns.isBuilt() && !columns.build(*this))
            return noMemory;
        columns.fetch(m_bindings[std::min(b + 8, m_bindingCount - 1)].hash);
        binding.column = columns.find(*this, binding.hash, {binding.name, binding.nameLength});
        if (binding.column >= 0)
            continue;
        result = notFound;
        if (!report(-1, Reason::missing, &binding))
            return stopped;
    }
    return result;
}

int mCsvReader::readHeader()
{
    const int found = cut();
    if (found <= 0)
        return found;
    int result = keepNames();
    if (result == 0)
        result = bindNames();
    if (result == noMemory) {
        m_again = true;
        m_nextBinding = 0;
    }
    return result ? result : 1;
}
