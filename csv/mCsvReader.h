#pragma once
// The work behind ztree::CsvReader.

#include "csv/mCsvBuffer.h"
#include "platform/file.h"

#include <ztree/ext/csv.h>

class mCsvReader : public platform::HeapObject {
public:
    using Error = ztree::CsvError;
    using Reason = ztree::CsvReason;

    /// Throws structExcept 0x84201001.
    explicit mCsvReader(const varnik::ztree::csvBuffer& settings);
    mCsvReader(const mCsvReader&) = delete;
    mCsvReader& operator=(const mCsvReader&) = delete;
    ~mCsvReader();

    int bind(unsigned short id, std::string_view name);
    int openFile(const char* path);
    int open(ztree::CsvReader::Source source, void* context, std::uint64_t total);
    int openText(std::string_view text);
    void close() noexcept;
    int readHeader();
    int read(void* record);
    int readColumns();

    int columns() const noexcept { return m_count; }
    std::string_view column(int i) noexcept;
    std::uint64_t line() const noexcept { return m_recordLine; }
    std::uint64_t offset() const noexcept { return m_recordOffset; }
    std::uint64_t records() const noexcept { return m_records; }
    int names() const noexcept { return m_nameCount; }
    std::string_view name(int i) const noexcept;

    // --- settings ---
    unsigned page = platform::codepageUtf8;
    std::size_t longest = std::size_t{64} << 20;
    std::size_t piece = std::size_t{256} << 10;
    ztree::CsvReader::ErrorCall errorCall = nullptr;
    void* errorContext = nullptr;
    ztree::CsvReader::ProgressCall progressCall = nullptr;
    void* progressContext = nullptr;
    std::uint64_t progressStep = 0;

private:
    // A column of the record that was cut last.
    struct Cell {
        char* text;
        char* end;
        std::uint32_t lines; // line ends in the columns before it
        bool quoted;         // a quote stands in front of the text
        ztree_impl::QuoteFault fault;
        bool pairs; // quotes have not been taken out yet
    };
    // Which column a field takes.
    struct Binding {
        ztree_impl::Spot spot; // its address counts from the start of the record
        varnik::ztree::csvField* field;
        unsigned short id;
        int column; // -1: none
        char* name; // null: by place
        std::size_t nameLength;
        std::uint32_t hash; // of the name
    };

    int begin() noexcept;
    int prepare() noexcept;
    int fill(char* keep) noexcept;
    void moveParts(const char* from, char* to) noexcept;
    int progress(bool always) noexcept;
    void passLineEnds() noexcept;
    void countLineEnd(char c) noexcept;
    int beginRecord() noexcept;
    int cut() noexcept;
    bool cutRecord(bool& ok) noexcept;
    bool cutPlain(char*& p) noexcept;
    bool cutLine(bool& ok) noexcept;
    Cell* addCell() noexcept;
    void takeQuotesOut(Cell& cell) noexcept;
    bool report(int column, Reason reason, const Binding* binding) noexcept;
    int reportQuotes() noexcept;
    int storeCell(const Binding& binding, char* record) noexcept;
    int keepNames() noexcept;
    int bindNames() noexcept;
    void dropNames() noexcept;

    varnik::ztree::csvBuffer m_settings;
    mCsvBuffer& m_fields;
    Binding* m_bindings = nullptr;
    int m_bindingCount = 0;
    int m_lastBound = 0;
    bool m_byName = false;
    bool m_others = false; // fields of a caller's own class

    ztree::CsvReader::Source m_source = nullptr;
    void* m_context = nullptr;
    platform::File m_file;
    std::string_view m_text;
    bool m_isOpen = false;
    bool m_ended = false; // the source has nothing more
    std::uint64_t m_done = 0;
    std::uint64_t m_total = 0;
    std::uint64_t m_reported = 0;

    char* m_buffer = nullptr;
    std::size_t m_room = 0;
    char* m_at = nullptr;
    char* m_end = nullptr;
    std::uint64_t m_line = 1;
    bool m_afterCr = false;

    bool m_quoting = false; // records as RFC 4180 has them
    ztree_impl::RecordRules<char> m_recordRules;
    ztree_impl::LineRules<char> m_lineRules;
    Cell* m_cells = nullptr;
    int m_count = 0;
    int m_cellRoom = 0;
    bool m_faults = false;  // a cell has one
    bool m_openEnd = false; // the line ended with a separator that makes no column
    std::uint64_t m_recordLine = 0;
    std::uint64_t m_recordOffset = 0;
    const char* m_record = nullptr; // in the buffer
    std::uint64_t m_records = 0;

    // Where a call that found no memory goes on when it is repeated: nothing is lost, and columns whose
    // escapes were resolved in place are not looked at again.
    bool m_again = false;  // the record that was cut last is still to be taken
    int m_nextBinding = 0; // of that record

    // A record that is cut in part, because its data or memory ran out.
    char* m_goOn = nullptr;                  // the column to go on with; null: no record was begun
    char* m_seen = nullptr;                  // the data behind m_goOn is known so far
    ztree_impl::RawColumn<char> m_part = {}; // what is known of that column
    std::uint32_t m_lines = 0;               // line ends in the columns before it
    int m_cut = 0;                           // columns before it

    char* m_names = nullptr; // one behind the other
    std::size_t* m_nameEnds = nullptr;
    int m_nameCount = 0;
};
