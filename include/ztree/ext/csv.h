#pragma once
/// @file ext/csv.h
/// Delimited files of any size, over the field definitions of <ztree/csv.h>: a reader and a writer that hold
/// one piece of the file at a time, report every bad value with its place, and know columns by name.
///
/// Settings come from a csvBuffer: its parameters 3 to 9, its local format, its field order and definitions
/// (made with offsets, or moved back to them by relocFieldDefinitionList(nullptr)). Take csvParamDialect
/// csvDialectRfc for what the rest of the world calls CSV. The separator has to be ASCII.
///
/// Results: 0 or more on success, else below 0: 0x8007xxxx with a system error of the file, 0x8007000E for
/// lack of memory, 0x80070057 for settings or calls that make no sense, 0x80004004 when a callback stopped
/// the work. Nothing throws but constructors (structExcept 0x84201001), and callbacks must not throw: what
/// they let out ends the program. A call that found no memory may be repeated: no record is lost or written
/// twice. Threads: no lock; an object belongs to one thread at a time.

#include <ztree/csv.h>

#include <string_view>
#include <type_traits>

class mCsvReader;
class mCsvWriter;

namespace ztree {

// --- definitions by offset ---

/// A field at an offset of the record, with its own size and the flags as given: what the offset constructors
/// of csvInt, csvUlong and csvDouble and of what derives from them do not make.
///     fieldAt<csvAmount>(3, offsetof(Order, total), 2 | csvFlagRaw)
template <class Field> Field fieldAt(unsigned short id, std::size_t offset, unsigned long flags = 0) noexcept
{
    Field field(id, 0L, flags);
    field.setFlags(flags);
    unsigned int size = 0;
    // The slip left the flags in the size.
    if (std::is_base_of_v<varnik::ztree::csvDouble, Field>)
        size = sizeof(double);
    else if (std::is_base_of_v<varnik::ztree::csvInt, Field> ||
             std::is_base_of_v<varnik::ztree::csvUlong, Field>)
        size = sizeof(int);
    else
        field.getBuffer(&size);
    field.setSize(size);
    field.setOffset(static_cast<long>(offset));
    return field;
}
/// The same for characters and packed digits; size as in their constructors.
template <class Field>
Field fieldAt(unsigned short id, std::size_t offset, unsigned int size, unsigned long flags) noexcept
{
    return Field(id, static_cast<long>(offset), size, flags);
}

// --- reading ---

/// What is wrong with a column.
enum class CsvReason : unsigned char {
    notANumber,      ///< other characters than those of a number; what was read of it is stored
    outOfRange,      ///< a number that the field cannot hold; its low bits are stored
    tooLong,         ///< a text longer than the field; its beginning is stored
    badDate,         ///< 99999999 or 0 is stored
    badTime,         ///< 999999 or 0 is stored
    badAmount,       ///< 1e-8 or 0 is stored
    badDigit,        ///< a character that is no packed digit; the digits behind it are stored
    refused,         ///< the field takes no value, or its own write() failed
    missing,         ///< the record has no such column; the value stays
    strayQuote,      ///< a quote inside a column that is not quoted; taken as it stands
    textBehindQuote, ///< something between a closing quote and the separator; taken as it stands
    unclosedQuote    ///< the file ends inside quotes; the column goes to its end
};
/// A sentence in English without a full stop.
ZTREE_API const char* csvReasonText(CsvReason reason) noexcept;

/// A bad column.
struct CsvError {
    std::uint64_t line = 0;   ///< where the column begins, from 1; line breaks inside quotes count
    unsigned column = 0;      ///< its number in the record, from 1
    std::uint64_t offset = 0; ///< where it begins, in bytes from the start of the file
    CsvReason reason = CsvReason::missing; ///< what is wrong
    unsigned short id = 0;                 ///< of the field; 0 where the column has none
    std::string_view text = {};            ///< the column's text; valid during the call
    std::string_view name = {};            ///< its name in the header; empty without one
};

/// Reads records out of a file, a text or whatever delivers bytes.
///
/// Ownership: owns clones of the definitions, one piece of the file (256 KB unless a record is longer) and
///     the names of the header. The callbacks' objects have to outlive the reader.
class ZTREE_API CsvReader {
public:
    /// Delivers at most `room` bytes; *got = 0 at the end. Returns 0, or a system error, which ends the reader's
    /// call; its repetition goes on where it was.
    using Source = unsigned (*)(void* context, char* buffer, std::size_t room, std::size_t* got);
    /// Returns false to stop.
    using ErrorCall = bool (*)(void* context, const CsvError& error);
    /// Bytes read so far, and in all where that is known, else 0. Returns false to stop.
    using ProgressCall = bool (*)(void* context, std::uint64_t done, std::uint64_t total);

    /// Takes a copy of the settings.
    explicit CsvReader(const varnik::ztree::csvBuffer& settings);
    CsvReader(const CsvReader&) = delete;
    CsvReader& operator=(const CsvReader&) = delete;
    ~CsvReader();

    // --- before reading ---
    /// The code page of the file, a known one whose units are bytes (else 0x80070057, and nothing changes);
    /// 65001 at first, and then a byte-order mark is passed over.
    int setCodepage(unsigned int codepage) noexcept;
    /// A record that takes more bytes ends reading with 0x800700EA; 64 MB at first.
    int setLongestRecord(std::size_t bytes) noexcept;
    /// Size of the pieces, at least 16 bytes; before the first one is read.
    int setPiece(std::size_t bytes) noexcept;
    /// The field takes the column of this name. As soon as one name is given, columns count by name alone and
    /// readHeader() has to be called.
    int bind(unsigned short id, std::string_view name);
    /// Called for each bad column; without it bad values are passed over.
    void onError(ErrorCall call, void* context) noexcept;
    template <class F> void onError(F& call) noexcept
    {
        onError([](void* f, const CsvError& error) -> bool { return (*static_cast<F*>(f))(error); }, &call);
    }
    /// Called about every `step` bytes and at the end.
    void onProgress(ProgressCall call, void* context, std::uint64_t step = 1 << 24) noexcept;
    template <class F> void onProgress(F& call, std::uint64_t step = 1 << 24) noexcept
    {
        onProgress([](void* f, std::uint64_t done,
                      std::uint64_t total) -> bool { return (*static_cast<F*>(f))(done, total); },
                   &call, step);
    }

    /// These begin anew. A path is UTF-8 on Linux, ANSI on Windows. The text has to stay.
    int openFile(const char* path);
    /// Reads a text in memory.
    int openText(std::string_view text);
    /// Reads what `source` delivers; total: bytes in all where they are known, for the progress call.
    int open(Source source, void* context, std::uint64_t total = 0);
    /// Lets go of file and piece.
    void close() noexcept;

    // --- reading ---
    /// Takes the next record as header. 1, or 0 for an empty file. A bound name that is not there gives
    /// 0x80070490 and an error with reason `missing`; names are compared byte by byte.
    int readHeader();
    /// Stores the next record into the caller's; null: where the definitions point. Returns 1, or 0 at the
    /// end. Without an error callback bad values are passed over, as in csvBuffer.
    int read(void* record);
    /// Takes the next record apart and stores nothing. Returns 1, or 0 at the end.
    int readColumns();
    /// Reads all records into `record` and hands each to call(record), which returns false to stop. Returns
    /// 0, or below 0.
    template <class Record, class F> int readAll(Record& record, F call)
    {
        int result;
        while ((result = read(&record)) > 0)
            if (!call(record))
                return 0;
        return result;
    }

    // --- the last record ---
    /// Columns, as bytes of the file's code page without their quotes; valid until the next call. Empty for i
    /// outside [0, columns()).
    int columns() const noexcept;
    /// Column i of the last record.
    std::string_view column(int i) const noexcept;
    std::uint64_t line() const noexcept;    ///< where it begins, from 1
    std::uint64_t offset() const noexcept;  ///< in bytes
    std::uint64_t records() const noexcept; ///< read so far, without the header
    /// Names of the header.
    int names() const noexcept;
    /// Name i of the header; empty outside [0, names()).
    std::string_view name(int i) const noexcept;

private:
    mCsvReader* m_pImpl;
};

// --- writing ---

/// Writes records to a file or to whatever takes bytes.
///
/// A file is written beside its place and moved there by finish(): until then, and when anything fails, a
/// file of that name stays as it was. What is no plain file (a pipe, a device, a link) is written directly.
/// Ownership: owns clones of the definitions and one piece of the file.
class ZTREE_API CsvWriter {
public:
    /// Takes all bytes. Returns 0, or a system error.
    using Sink = unsigned (*)(void* context, const char* data, std::size_t bytes);

    /// Takes a copy of the settings.
    explicit CsvWriter(const varnik::ztree::csvBuffer& settings);
    CsvWriter(const CsvWriter&) = delete;
    CsvWriter& operator=(const CsvWriter&) = delete;
    /// Without finish() the file is dropped.
    ~CsvWriter();

    /// The code page of the file, as in CsvReader; 65001 at first.
    int setCodepage(unsigned int codepage) noexcept;
    /// Begins a file; a path as in CsvReader.
    int openFile(const char* path);
    /// Begins writing to `sink`.
    int open(Sink sink, void* context);
    /// Texts as one line, in the file's code page; for a header, or for records without definitions.
    int writeTexts(const std::string_view* texts, int count);
    /// The record's values; null: from where the definitions point.
    int write(const void* record);
    /// Writes what is left and puts the file in its place.
    int finish();

private:
    mCsvWriter* m_pImpl;
};

} // namespace ztree
