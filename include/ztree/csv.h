#pragma once
/// @file csv.h
/// Delimited text and binary records: typed field definitions, and the buffer that scans lines into a record
/// and creates lines from it. Everything here lives in namespace varnik::ztree.
///
/// Use: declare the order of the columns (setFieldOrder), register a definition for each identifier, then
/// setData and scanBuffer or scanLine, or createLine.
///
/// Common rules: operations that return int return 0, or below 0 a code of ztree::ErrorCode:
///     errFail         a read-only field, a field without memory, no field order, a bad digit
///     errInvalidArg   a bad argument, data without a line
///     errOutOfMemory  memory is short
/// They never throw. Constructors, copy constructors and assignments that need memory throw structExcept
/// 0x84201001.
/// Ownership: a field never owns the record it points into; a buffer owns clones of the definitions.
/// Threads: no lock; a buffer and its fields belong to one thread at a time.

#include <ztree/datetime.h>
#include <ztree/runtime.h>
#include <ztree/text.h>

class mCsvBuffer;
struct mCsvAccess;

namespace varnik::ztree {

class csvBuffer;

/// Formatting bits of a field. setFlags and constructors take the first seven; for csvAmount the low four
/// bits are the number of decimals as well (0 to 3).
enum csvFlags : unsigned int {
    csvFlagTerminated = 0x00000001,  ///< the size given includes a terminator; the stored one does not
    csvFlagPadBlank = 0x00000002,    ///< pad with blanks
    csvFlagPadZero = 0x00000020,     ///< pad with "0", unless csvFlagPadBlank is set too; else NUL pads
    csvFlagAlignRight = 0x00000200,  ///< the value stands at the right end, padding in front
    csvFlagAmountPlain = 0x08000000, ///< csvAmount: no thousands separators
    csvFlagRaw = 0x10000000,         ///< reading keeps pad characters; csvAmount: reading uses the decimals
    csvFlagFixed = 0x01000000,       ///< internal: the address cannot be moved
    csvFlagReadOnly = 0x04000000     ///< internal: writing is refused
};

/// Maps fixed-width narrow characters of a record, in the buffer's code page, to a column and back. Base of
/// all fields.
///
/// The address of the value is absolute, or an offset from the start of the record that the buffer adds the
/// record's address to. Flags that setFlags refuses count as 0 in a constructor.
class ZTREE_API csvField {
public:
    /// Without a value: size 0.
    csvField(unsigned short id, unsigned long flags) noexcept;
    /// size in bytes; one byte less is stored with csvFlagTerminated.
    csvField(unsigned short id, char* buffer, unsigned int size, unsigned long flags) noexcept;
    /// Read-only.
    csvField(unsigned short id, const char* buffer, unsigned int size, unsigned long flags) noexcept;
    /// offset in bytes.
    csvField(unsigned short id, long offset, unsigned int size, unsigned long flags) noexcept;
    csvField(const csvField&) noexcept = default;
    csvField& operator=(const csvField&) noexcept = default;
    virtual ~csvField();

    /// The value as text: cut at the first NUL, converted, pad characters stripped.
    virtual int read(ZStringW& text) const;
    /// Stores the text converted to the code page, cut to the size without a report or padded. A text of
    /// exactly the size gets its terminator with csvFlagTerminated, a cut one does not.
    virtual int write(const ZStringW& text) const;
    /// A copy made with new; null when memory is short.
    virtual csvField* clone() const;

    /// Forgets parent, address and size, then setId and setFlags, whose result is returned.
    int init(unsigned short id, unsigned long flags) noexcept;
    /// The buffer whose code page and formats the field uses; not owned.
    int setParent(const csvBuffer* parent) noexcept;
    /// Null without one.
    const csvBuffer* getParent() const noexcept { return m_parent; }
    /// Returns 0.
    int setId(unsigned short id) noexcept;
    /// The column that the field takes.
    unsigned short getId() const noexcept { return m_id; }
    /// 0x80070057, and no change, for bits outside 0x1A000223. Replaces the whole word, the internal bits
    /// too.
    int setFlags(unsigned long flags) noexcept;
    /// With the internal bits.
    unsigned long getFlags() const noexcept { return m_flags; }
    /// Address and size as given; the const form makes the field read-only, the other one writable.
    int setBuffer(char* buffer, unsigned int size) noexcept;
    int setBuffer(const char* buffer, unsigned int size) noexcept;
    /// Bytes of the value. Returns 0.
    int setSize(unsigned int size) noexcept;
    /// 0x80004005 for a fixed address.
    int setOffset(long offset) noexcept;
    /// Adds to the address, as setOffset() sets it.
    int shiftBuffer(long delta) noexcept;
    /// Address or offset; *size (may be null) receives the size.
    char* getBuffer(unsigned int* size) const noexcept
    {
        if (size)
            *size = m_size;
        return m_buffer;
    }
    /// The parent's; null without a parent.
    const tagLocalFmt* getLocalFormat() const noexcept;
    /// The parent's parameter 6; 65001 without a parent.
    unsigned int getCodepage() const noexcept;
    /// Strips pad characters from the padded side, unless csvFlagRaw is set. Returns 0.
    int unformat(ZStringW& text) const;

    static void* operator new(std::size_t bytes) noexcept { return platform::heapAlloc(bytes); }
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void* block) noexcept { platform::heapFree(block); }
    static void operator delete(void*, void*) noexcept {}

protected:
    /// Sets csvFlagFixed.
    void lockAddress() noexcept { m_flags |= csvFlagFixed; }

private:
    const csvBuffer* m_parent = nullptr;
    unsigned short m_id = 0;
    zulong m_flags = 0;
    char* m_buffer = nullptr;
    unsigned int m_size = 0;
};

/// UTF-16 characters; the size counts characters.
class ZTREE_API csvWideChar : public csvField {
public:
    csvWideChar(unsigned short id, zwchar* buffer, unsigned int size, unsigned long flags) noexcept;
    csvWideChar(unsigned short id, const zwchar* buffer, unsigned int size, unsigned long flags) noexcept;
    csvWideChar(unsigned short id, unsigned short* buffer, unsigned int size, unsigned long flags) noexcept;
    csvWideChar(unsigned short id, const unsigned short* buffer, unsigned int size,
                unsigned long flags) noexcept;
    csvWideChar(unsigned short id, long offset, unsigned int size, unsigned long flags) noexcept;

    int read(ZStringW& text) const override;
    int write(const ZStringW& text) const override;
    csvField* clone() const override;
    /// Copy min(size, n) bytes, not characters, between the starts of the field and the caller's array.
    virtual int read(zwchar* dest, unsigned int n) const;
    virtual int write(const zwchar* src, unsigned int n) const;
    int read(unsigned short* dest, unsigned int n) const;
    int write(const unsigned short* src, unsigned int n) const;
};

/// Packed hexadecimal digits, two a byte, the most significant first.
class ZTREE_API csvPacked : public csvField {
public:
    csvPacked(unsigned short id, unsigned char* buffer, unsigned int size, unsigned long flags) noexcept;
    csvPacked(unsigned short id, const unsigned char* buffer, unsigned int size,
              unsigned long flags) noexcept;
    csvPacked(unsigned short id, long offset, unsigned int size, unsigned long flags) noexcept;

    /// Upper-case digits without leading zero bytes; "" for zeros.
    int read(ZStringW& text) const override;
    /// Stores digits (either case) from the last one backwards, as many as there is room for; bytes in front
    /// of them stay as they were. 0x80004005 at another character, with what was stored behind it kept.
    int write(const ZStringW& text) const override;
    csvField* clone() const override;
    /// The first min(size, n) bytes of the field to the end of dest.
    virtual int read(unsigned char* dest, unsigned int n) const;
    /// The last min(size, n) bytes of src to the start of the field.
    virtual int write(const unsigned char* src, unsigned int n) const;
};

// --- numbers ---
// Texts are decimal; reading a text takes leading white space, a sign and digits up to the first other
// character, wraps around on overflow and cuts to the field's width; no digits and "" give 0. The typed read
// gives 0x80070057 for a null pointer.
// The offset constructors of csvInt, csvUlong, csvDouble and of what derives from these two take the flags
// for the size and leave the flags 0; ztree::fieldAt (ext/csv.h) makes such fields with their flags.

/// Signed 8 bits.
class ZTREE_API csvChar : public csvField {
public:
    csvChar(unsigned short id, char* value, unsigned long flags) noexcept;
    csvChar(unsigned short id, const char* value, unsigned long flags) noexcept;
    csvChar(unsigned short id, long offset, unsigned long flags) noexcept;

    int read(ZStringW& text) const override;
    int write(const ZStringW& text) const override;
    csvField* clone() const override;
    virtual int read(char* value) const;
    virtual int write(char value) const;
};

/// Unsigned 8 bits.
class ZTREE_API csvByte : public csvField {
public:
    csvByte(unsigned short id, unsigned char* value, unsigned long flags) noexcept;
    csvByte(unsigned short id, const unsigned char* value, unsigned long flags) noexcept;
    csvByte(unsigned short id, long offset, unsigned long flags) noexcept;

    int read(ZStringW& text) const override;
    int write(const ZStringW& text) const override;
    csvField* clone() const override;
    virtual int read(unsigned char* value) const;
    virtual int write(unsigned char value) const;
};

/// Signed 16 bits.
class ZTREE_API csvShort : public csvField {
public:
    csvShort(unsigned short id, short* value, unsigned long flags) noexcept;
    csvShort(unsigned short id, const short* value, unsigned long flags) noexcept;
    csvShort(unsigned short id, long offset, unsigned long flags) noexcept;

    int read(ZStringW& text) const override;
    int write(const ZStringW& text) const override;
    csvField* clone() const override;
    virtual int read(short* value) const;
    virtual int write(short value) const;
};

/// Unsigned 16 bits.
class ZTREE_API csvUshort : public csvField {
public:
    csvUshort(unsigned short id, unsigned short* value, unsigned long flags) noexcept;
    csvUshort(unsigned short id, const unsigned short* value, unsigned long flags) noexcept;
    csvUshort(unsigned short id, long offset, unsigned long flags) noexcept;

    int read(ZStringW& text) const override;
    int write(const ZStringW& text) const override;
    csvField* clone() const override;
    virtual int read(unsigned short* value) const;
    virtual int write(unsigned short value) const;
};

/// Signed 32 bits.
class ZTREE_API csvInt : public csvField {
public:
    csvInt(unsigned short id, int* value, unsigned long flags) noexcept;
    csvInt(unsigned short id, const int* value, unsigned long flags) noexcept;
    /// Takes the flags for the size and has none, see above.
    csvInt(unsigned short id, long offset, unsigned long flags) noexcept;

    int read(ZStringW& text) const override;
    int write(const ZStringW& text) const override;
    csvField* clone() const override;
    virtual int read(int* value) const;
    virtual int write(int value) const;
};

/// Unsigned 32 bits; as text a signed number, so that 2^31 and above are negative.
class ZTREE_API csvUint : public csvField {
public:
    csvUint(unsigned short id, unsigned int* value, unsigned long flags) noexcept;
    csvUint(unsigned short id, const unsigned int* value, unsigned long flags) noexcept;
    csvUint(unsigned short id, long offset, unsigned long flags) noexcept;

    int read(ZStringW& text) const override;
    int write(const ZStringW& text) const override;
    csvField* clone() const override;
    virtual int read(unsigned int* value) const;
    virtual int write(unsigned int value) const;
};

/// Signed 32 bits.
class ZTREE_API csvLong : public csvField {
public:
    csvLong(unsigned short id, zlong* value, unsigned long flags) noexcept;
    csvLong(unsigned short id, const zlong* value, unsigned long flags) noexcept;
    csvLong(unsigned short id, long offset, unsigned long flags) noexcept;

    int read(ZStringW& text) const override;
    int write(const ZStringW& text) const override;
    csvField* clone() const override;
    virtual int read(zlong* value) const;
    virtual int write(zlong value) const;
};

/// Unsigned 32 bits.
class ZTREE_API csvUlong : public csvField {
public:
    csvUlong(unsigned short id, zulong* value, unsigned long flags) noexcept;
    csvUlong(unsigned short id, const zulong* value, unsigned long flags) noexcept;
    /// Takes the flags for the size and has none, see above.
    csvUlong(unsigned short id, long offset, unsigned long flags) noexcept;

    int read(ZStringW& text) const override;
    int write(const ZStringW& text) const override;
    csvField* clone() const override;
    virtual int read(zulong* value) const;
    virtual int write(zulong value) const;
};

/// Double; as text with four decimals and ".".
class ZTREE_API csvDouble : public csvField {
public:
    csvDouble(unsigned short id, double* value, unsigned long flags) noexcept;
    csvDouble(unsigned short id, const double* value, unsigned long flags) noexcept;
    /// Takes the flags for the size and has none, see above.
    csvDouble(unsigned short id, long offset, unsigned long flags) noexcept;

    int read(ZStringW& text) const override;
    int write(const ZStringW& text) const override;
    csvField* clone() const override;
    virtual int read(double* value) const;
    virtual int write(double value) const;
};

// --- dates, times, amounts ---
// They go through the formats of the buffer's tagLocalFmt. Texts that cannot be converted are not reported:
// the value is what the conversion left (99999999, 999999, 1e-8), or 0 for a text that is too long.

/// Packed date, see datetime.h; text of at most 14 bytes.
class ZTREE_API csvDate : public csvUlong {
public:
    csvDate(unsigned short id, zulong* value, unsigned long flags) noexcept;
    csvDate(unsigned short id, const zulong* value, unsigned long flags) noexcept;
    /// Takes the flags for the size and has none, see above.
    csvDate(unsigned short id, long offset, unsigned long flags) noexcept;

    using csvUlong::read;
    using csvUlong::write;
    int read(ZStringW& text) const override;
    int write(const ZStringW& text) const override;
    csvField* clone() const override;
};

/// Packed time; text of at most 8 bytes.
class ZTREE_API csvTime : public csvUlong {
public:
    csvTime(unsigned short id, zulong* value, unsigned long flags) noexcept;
    csvTime(unsigned short id, const zulong* value, unsigned long flags) noexcept;
    /// Takes the flags for the size and has none, see above.
    csvTime(unsigned short id, long offset, unsigned long flags) noexcept;

    using csvUlong::read;
    using csvUlong::write;
    int read(ZStringW& text) const override;
    int write(const ZStringW& text) const override;
    csvField* clone() const override;
};

/// Day number of a ZXDate; 0 for "" and for a text that is no date.
class ZTREE_API csvXDate : public csvUshort {
public:
    csvXDate(unsigned short id, unsigned short* value, unsigned long flags) noexcept;
    csvXDate(unsigned short id, const unsigned short* value, unsigned long flags) noexcept;
    csvXDate(unsigned short id, long offset, unsigned long flags) noexcept;

    using csvUshort::read;
    using csvUshort::write;
    int read(ZStringW& text) const override;
    int write(const ZStringW& text) const override;
    csvField* clone() const override;
};

/// Minutes since midnight as "h:mm"; a text without ":" is minutes.
class ZTREE_API csvZTime : public csvShort {
public:
    csvZTime(unsigned short id, short* value, unsigned long flags) noexcept;
    csvZTime(unsigned short id, const short* value, unsigned long flags) noexcept;
    csvZTime(unsigned short id, long offset, unsigned long flags) noexcept;

    using csvShort::read;
    using csvShort::write;
    int read(ZStringW& text) const override;
    int write(const ZStringW& text) const override;
    csvField* clone() const override;
};

/// Amount, see datetime.h; text of at most 24 bytes. Written with the decimals of the flags when
/// csvFlagRaw is set and without decimals else; 1e-8 and -1e-8 give no text.
class ZTREE_API csvAmount : public csvDouble {
public:
    csvAmount(unsigned short id, double* value, unsigned long flags) noexcept;
    csvAmount(unsigned short id, const double* value, unsigned long flags) noexcept;
    /// Takes the flags for the size and has none, see above.
    csvAmount(unsigned short id, long offset, unsigned long flags) noexcept;

    using csvDouble::read;
    using csvDouble::write;
    int read(ZStringW& text) const override;
    int write(const ZStringW& text) const override;
    csvField* clone() const override;
};

/// A constant column: gives its text, takes any. A copy's address still is that of the text it was copied
/// from.
class ZTREE_API csvConst : public csvWideChar {
public:
    /// Copies the text. The size is twice its length.
    csvConst(unsigned short id, const zwchar* text);
    csvConst(unsigned short id, const unsigned short* text);

    using csvWideChar::read;
    using csvWideChar::write;
    int read(ZStringW& text) const override;
    int write(const ZStringW& text) const override;
    csvField* clone() const override;
    int read(zwchar* dest, unsigned int n) const override;
    int write(const zwchar* src, unsigned int n) const override;

private:
    ZStringW m_text;
};

// --- the record buffer ---

/// Parameters of a buffer; 1 and 10 to 31 are free.
enum csvParameter : unsigned int {
    csvParamDateFormat = 0,        ///< date format code of buildLocalFormat
    csvParamNumberFormat = 2,      ///< number format code of buildLocalFormat
    csvParamLineEnd = 3,           ///< of createLine: 0 CR LF, 1 LF, 2 CR, else none
    csvParamSeparator = 4,         ///< between columns; ';' (59) at first
    csvParamQuote = 5,             ///< not 0: columns are enclosed in double quotes
    csvParamCodepage = 6,          ///< of narrow fields; 65001 at first
    csvParamEscape = 7,            ///< 0 none, 1 backslash, 2 percent sign and two hexadecimal digits
    csvParamTrailingSeparator = 8, ///< not 0: createLine keeps the separator behind the last column
    csvParamDialect = 9            ///< a csvDialect
};

/// Values of csvParamDialect. The dialects 1 and 2 read alike, by RFC 4180: a quoted column may hold
/// separators, line breaks and doubled quotes; every separator, also the last of a line, makes a column; a
/// leading byte-order mark is skipped; parameters 5, 7 and 8 are not looked at. Quotes inside an unquoted
/// column, and text behind a closing quote, are taken as they stand.
enum csvDialect : unsigned int {
    csvDialectLines = 0,    ///< a line is a record; quotes and escapes by parameters 5 and 7
    csvDialectRfc = 1,      ///< columns are quoted where they have to be
    csvDialectRfcQuoted = 2 ///< all columns are quoted
};

/// Converts between delimited text and records.
///
/// In dialect 0 a line ends at CR or LF and empty lines are passed over. A column ends at the separator
/// unless it is escaped or stands between quotes; a doubled quote inside quotes gives one, other quotes
/// inside a column are kept, "%XX" takes upper-case digits only. A line that ends with a separator has no
/// column behind it. A line created with quotes but without escapes has the quotes inside a value as they
/// are.
class ZTREE_API csvBuffer {
public:
    static const char* const s_pcszFmtDateDMY; ///< "DDMMYYYY"
    static const char* const s_pcszFmtDateYMD; ///< "YYYYMMDD"
    static const char* const s_pcszFmtDateMDY; ///< "MMDDYYYY"
    static const char* const s_pcszFmtTimeHMS; ///< "HHMMSS"

    /// Local format: '.', no thousands separator, ':', '/', and empty pictures, so that dates and times have
    /// no text before buildLocalFormat or setLocalFormat.
    csvBuffer();
    /// Copy where scanning stands, field order, parameters and clones of the definitions, but not the local
    /// format, the number of lines and the record's address. Assignment keeps definitions that are there.
    csvBuffer(const csvBuffer& other);
    csvBuffer& operator=(const csvBuffer& other);
    virtual ~csvBuffer();

    // --- data ---
    /// length in bytes, below 0 up to the terminator; the text ends at its first NUL. 0x80070057 for a text
    /// without a line.
    int setData(const char* data, int length, unsigned int codepage);
    int setData(const zwchar* text);
    int setData(const unsigned short* text);

    // --- settings ---
    /// 0x80070057 for p from 32 on.
    int setParameter(csvParameter p, unsigned short value);
    /// 0 for p from 32 on.
    unsigned short getParameter(csvParameter p) const;
    /// Makes the local format from parameters 0 and 2. The date picture is copied over the old one without a
    /// terminator, so a picture of six letters keeps the end of a longer one.
    ///   0  even: '.', odd: '/' between the fields; 0 DDMMYY, 2 DDMMYYYY, 4 YYMMDD, 6 YYYYMMDD, 8 MMDDYY,
    ///      10 MMDDYYYY, 12 and above YYYYMMDD
    ///   2  0 "1234.5", 1 "1234,5", 2 "1.234,5", else "1,234.5"
    int buildLocalFormat();
    /// Copies the record and sets parameters 0 and 2 after it, with other number codes than above: 0 '.' and
    /// a thousands separator, 3 '.' alone, 1 another one and a thousands separator, 2 another one alone.
    int setLocalFormat(const tagLocalFmt* fmt);
    /// The buffer's own record.
    const tagLocalFmt* getLocalFormat() const;

    // --- columns ---
    /// Identifiers of the columns. Trailing identifiers 9, 10 and 32 are dropped.
    int setFieldOrder(const unsigned short* ids, int count);
    /// Appends to them.
    int addFieldOrder(const unsigned short* ids, int count);
    /// Stores how many there are; valid until they change.
    const unsigned short* getFieldOrder(int* count) const;

    // --- definitions ---
    /// clearFieldDefinitionList(), then addFieldDefinitionList().
    int setFieldDefinitionList(const csvField** list, int count);
    /// addFieldDefinitionList() for one.
    int addFieldDefinition(const csvField& field);
    /// Clones the definitions into the slots of their identifiers; others are left out. A slot that holds one
    /// of the same class keeps it as it is.
    int addFieldDefinitionList(const csvField** list, int count);
    /// Copies up to *count definitions, up to the first empty slot; *count becomes their number.
    int getFieldDefinitionList(const csvField** out, int* count) const;
    /// Deletes all definitions.
    int clearFieldDefinitionList();
    /// Moves all definitions from the last record to this one; at first that is address 0, so definitions
    /// made with offsets come before the first call.
    int relocFieldDefinitionList(const void* base);

    // --- scanning ---
    /// Whether scanLine() finds another line.
    bool hasMoreLines() const;
    /// Whether scanField() finds another column in the line.
    bool hasMoreFields() const;
    /// Scans all lines into the record, one over the other; null: into where the definitions point. Ends at a
    /// line whose scan fails. Returns the last line's result.
    int scanBuffer(const void* record);
    /// Scans one line. A column without a definition is passed over. Ends with the first negative result of a
    /// field; what was stored stays. Returns the last result, 0 without a line.
    int scanLine(const void* record);
    /// The text of the next column. def is not used and may be null.
    int scanField(const csvField* def, ZStringW& text);
    /// The record as one line in the code page of `line`. A column whose field fails is left empty.
    int createLine(ZString& line, const void* record);

    static void* operator new(std::size_t bytes) noexcept { return platform::heapAlloc(bytes); }
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void* block) noexcept { platform::heapFree(block); }
    static void operator delete(void*, void*) noexcept {}

private:
    friend struct ::mCsvAccess;

    mCsvBuffer* m_pImpl;
};

} // namespace varnik::ztree
