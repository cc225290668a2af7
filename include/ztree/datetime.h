#pragma once
/// @file datetime.h
/// Times, dates, money amounts and amounts in words.
///
/// Forms
///   packed time    decimal HHMMSS in an unsigned long; 0 no time, 999999 invalid
///   packed date    decimal YYYYMMDD; 0 no date, 99999999 invalid; the last date is 9998-12-31
///   storage text   digits only: "HHMMSS", "DDMMYYYY", amounts without separators ("123456" is 1234.56)
///   display text   by the pictures and separators of a tagLocalFmt
///   amount         double; 1e-8 invalid, -1e-8 empty
///
/// Common rules: the conversions are stateless and re-entrant, take no lock, allocate nothing and never
/// throw. They return the characters written or consumed, 0 for an empty value, -1 on failure. Buffers
/// are the caller's; the room each needs, terminator included, is given as one of ztree::DateTimeRoom.
/// A null text buffer gives -1; any other null output gets nothing and changes no result.
/// Amounts in words are strings and may throw structExcept 0x84201001 for lack of memory.

#include <ztree/types.h>
#include <ztree/version.h>

class ZString;
class ZStringW;

namespace ztree {
/// Room for a text, in characters with the terminator, that no picture and no value exceeds.
/// A function without an entry takes a size or says what it needs.
enum DateTimeRoom : int {
    roomTime = 16,            ///< ulongTString, ulongTStringW, timeTString
    roomTimeStorage = 16,     ///< tStringTime; ulongTime writes at most 7
    roomDate = 52,            ///< ulongDString, dateDString (default picture: 11)
    roomDateWide = 16,        ///< ulongDStringW, dateDStringW
    roomDateStorage = 10,     ///< dStringDate, dStringWDate, ulongDate
    roomMonthName = 17,       ///< getMonthName
    roomDoubleAmount = 22,    ///< doubleAmount
    roomDoubleAmountEx = 130, ///< doubleAmountEx
    roomDoubleText = 28,      ///< doubleAString
    roomDoubleTextEx = 420,   ///< doubleAStringEx (amounts below 1e15: 28)
};

/// Bits of amountInWords::getTextEx and doubleAmountInWords.
enum WordsFlags : unsigned int {
    wordsDigits = 1,     ///< the fraction as two digits
    wordsCapital = 2,    ///< first letter in upper case
    wordsModern = 0x100, ///< wording of today, see amountInWords
};
} // namespace ztree

// --- locale record ---

/// Separators, pictures and month names of the display forms.
///
/// A picture is a sequence of fields, each a run of one letter whose length is the field's width: H M S in
/// a time, D M Y and N (month by name) in a date, either case. Between two fields may stand one other
/// character, which is taken literally; where two fields touch, the record's separator stands between them.
///
/// A null record pointer stands for pictures "HHMMSS" and "DDMMYYYY", ':', '.', English month names, and
/// for amounts the decimal separator ',' and the thousands separator '.'.
/// Ownership: the month names stay the caller's and have to outlive the record and its copies.
struct ZTREE_API tagLocalFmt {
    zulong ulSpare1;            ///< not read by a conversion
    char cDecimal;              ///< decimal separator of amounts
    char cThousand;             ///< thousands separator of amounts; 0: none is written
    char cTimeSep;              ///< between time fields
    char cDateSep;              ///< between date fields
    char szTimeFmt[10];         ///< time picture; all 10 characters may be used
    char szDateFmt[20];         ///< date picture; all 20 characters may be used
    zulong ulSpare2;            ///< not read by a conversion
    const zwchar* apwMonth[12]; ///< January to December; null: the English name

    tagLocalFmt() noexcept { init(); }
    tagLocalFmt(const tagLocalFmt&) noexcept = default;
    tagLocalFmt& operator=(const tagLocalFmt&) noexcept = default;
    /// '.', ',', ':', '.', "HHMMSS", "DDMMYYYY" with zeros behind, spare words and names 0.
    void init() noexcept;
};

// --- time, numeric ---

/// Packs a time. 0; or -1 and 999999 when hour > 23, minute > 59 or second > 59.
ZTREE_API int initTime(unsigned long* pTime, unsigned short hour, unsigned short minute,
                       unsigned short second) noexcept;
/// Takes a packed time apart. 0; or -1 and nothing written for one that does not exist. The hour is
/// reduced to 16 bits before it is looked at. Any output may be null.
ZTREE_API int splitTime(unsigned long time, unsigned short* hour, unsigned short* minute,
                        unsigned short* second) noexcept;
/// Local time without milliseconds. Returns 0.
ZTREE_API int currentTime(unsigned long* pTime) noexcept;

// --- time, storage text ---

/// "HHMMSS" to packed time; ':' may stand between the fields. A field that was reached but has no digits
/// counts as 0, so "1230" is 12:30:00; "12" fails. Null or empty text: 0, result 0. Failure: 999999, -1.
/// Returns the characters consumed; a text that ends with its last field counts its terminator too
/// ("130509" gives 7).
ZTREE_API int timeUlong(const char* text, unsigned long* pTime) noexcept;
/// Packed time to "HHMMSS", at most `size` characters; the terminator is written only if there is room
/// left for it. Returns the length, `size` for a text that was cut; 0 and "" for time 0, -1 and "" for
/// an invalid one.
ZTREE_API int ulongTimeEx(unsigned long time, char* buffer, int size) noexcept;
/// The same with size 8.
ZTREE_API int ulongTime(unsigned long time, char* buffer) noexcept;

// --- time, display text ---

/// Display text to packed time by the record's picture, leniently: when the text ends early or does not
/// fit, fields not reached are taken from the clock; hour and minute alone give second 0, an hour alone
/// gives 999999 and yet a result that is not negative. Results else as timeUlong. The wide text is cut
/// to the low 8 bits of its units.
ZTREE_API int tStringUlong(const char* text, unsigned long* pTime, const tagLocalFmt* fmt) noexcept;
ZTREE_API int tStringWUlong(const zwchar* text, unsigned long* pTime, const tagLocalFmt* fmt) noexcept;
ZTREE_API int tStringWUlong(const unsigned short* text, unsigned long* pTime,
                            const tagLocalFmt* fmt) noexcept;
/// Packed time to display text, at most three fields, each padded with zeros to its width. A record
/// separator of 0 is written too, as a zero character. Returns the length; 0 and "" for time 0 (midnight
/// cannot be shown), -1 and "" for an invalid one. Room: ztree::roomTime.
ZTREE_API int ulongTString(unsigned long time, char* buffer, const tagLocalFmt* fmt) noexcept;
/// The same, widened up to the first zero character; returns the narrow length.
ZTREE_API int ulongTStringW(unsigned long time, zwchar* buffer, const tagLocalFmt* fmt) noexcept;
ZTREE_API int ulongTStringW(unsigned long time, unsigned short* buffer, const tagLocalFmt* fmt) noexcept;
/// Storage text to display text: timeUlong, then ulongTString. -1 and "" for a text that fails, 0 and ""
/// for an empty one. Room: ztree::roomTime.
ZTREE_API int timeTString(const char* storage, char* buffer, const tagLocalFmt* fmt) noexcept;
/// Display text to storage text, read leniently and not checked again: an hour alone writes the numbers
/// 65535 and the current second too. Returns the length; -1 and "" on failure, 0 and "" for a null or
/// empty text. Room: ztree::roomTimeStorage.
ZTREE_API int tStringTime(const char* display, char* buffer, const tagLocalFmt* fmt) noexcept;

// --- month names ---

/// Name of month 0 (January) to 11 by the record, else in English; "???" from 12 on. Valid as long as the
/// record's names, or for ever.
ZTREE_API const zwchar* getMonthNameW(unsigned short month, const tagLocalFmt* fmt) noexcept;
/// The same narrow. A name of the record is converted to UTF-8 into `buffer` (ztree::roomMonthName), which
/// is returned then; the English name is returned for one that is empty or takes more than 16 bytes.
ZTREE_API const char* getMonthName(unsigned short month, const tagLocalFmt* fmt, char* buffer) noexcept;

// --- date, numeric ---

/// Packs a date; note the order day, month, year. A year below 80 counts from 2000, below 100 from 1900.
/// 0; or -1 and 99999999 for a date that does not exist or lies behind 9998.
ZTREE_API int initDate(unsigned long* pDate, unsigned short day, unsigned short month,
                       unsigned short year) noexcept;
/// Takes a packed date apart; -1 and nothing written for one that initDate would refuse. With
/// fourDigitYear false the year is reduced: up to 2000 by 1900 (2000 itself gives 100), above by 2000; a
/// year up to 100 stays. Any output may be null.
ZTREE_API int splitDate(unsigned long date, unsigned short* day, unsigned short* month, unsigned short* year,
                        bool fourDigitYear) noexcept;
/// Local date. Returns 0.
ZTREE_API int currentDate(unsigned long* pDate) noexcept;

// --- date, storage text ---

/// "DDMMYYYY" to packed date; '.' may stand between the fields. A missing year is 2000. Null or empty
/// text: 0, result 0. Failure: 99999999, -1. Returns the characters consumed, also for a date that
/// initDate refuses (99999999).
ZTREE_API int dateUlong(const char* text, unsigned long* pDate) noexcept;
/// Packed date to "DDMMYYYY", or "DDMMYY" with the reduced year (three digits for 2000), at most `size`
/// characters; the terminator is written only if there is room left for it. Returns the length, `size`
/// for a text that was cut; 0 and "" for date 0, -1 and "" for an invalid one.
ZTREE_API int ulongDateEx(unsigned long date, char* buffer, int size, bool fourDigitYear) noexcept;
/// The same with size 14.
ZTREE_API int ulongDate(unsigned long date, char* buffer, bool fourDigitYear) noexcept;

// --- date, display text ---

/// Display text (UTF-8, UTF-16) to packed date by the record's picture, leniently: when the text ends
/// early or does not fit, a month or year not read is taken from the clock. Month names are compared
/// ignoring case, over at most the field's width and 16 units; a name field takes two digits where no
/// letter stands. Results as dateUlong.
ZTREE_API int dStringUlong(const char* text, unsigned long* pDate, const tagLocalFmt* fmt) noexcept;
ZTREE_API int dStringWUlong(const zwchar* text, unsigned long* pDate, const tagLocalFmt* fmt) noexcept;
ZTREE_API int dStringWUlong(const unsigned short* text, unsigned long* pDate,
                            const tagLocalFmt* fmt) noexcept;
/// Packed date to display text, at most three fields: numbers padded with zeros to the field's width (a
/// year of width 2 without its century), names cut to it. A name that takes more than 16 bytes in UTF-8
/// is "???". A separator of 0 is left out. Returns the length; 0 and "" for date 0, -1 and "" for an
/// invalid one. Room: ztree::roomDate, ztree::roomDateWide; the wide text is cut after 15 units.
ZTREE_API int ulongDString(unsigned long date, char* buffer, const tagLocalFmt* fmt) noexcept;
ZTREE_API int ulongDStringW(unsigned long date, zwchar* buffer, const tagLocalFmt* fmt) noexcept;
ZTREE_API int ulongDStringW(unsigned long date, unsigned short* buffer, const tagLocalFmt* fmt) noexcept;
/// Storage text to display text. -1 and "" for a text that fails and, unlike timeTString, for an empty one.
/// Room as above.
ZTREE_API int dateDString(const char* storage, char* buffer, const tagLocalFmt* fmt) noexcept;
ZTREE_API int dateDStringW(const char* storage, zwchar* buffer, const tagLocalFmt* fmt) noexcept;
ZTREE_API int dateDStringW(const char* storage, unsigned short* buffer, const tagLocalFmt* fmt) noexcept;
/// Display text to storage text "DDMMYYYY" or, with the reduced year, "DDMMYY". Not checked by initDate.
/// Returns the length; -1 and "" on failure, 0 and "" for a null or empty text.
/// Room: ztree::roomDateStorage.
ZTREE_API int dStringDate(const char* display, char* buffer, bool fourDigitYear,
                          const tagLocalFmt* fmt) noexcept;
ZTREE_API int dStringWDate(const zwchar* display, char* buffer, bool fourDigitYear,
                           const tagLocalFmt* fmt) noexcept;
ZTREE_API int dStringWDate(const unsigned short* display, char* buffer, bool fourDigitYear,
                           const tagLocalFmt* fmt) noexcept;

// --- values ---

/// A time of day: the packed time and, beside it, the minutes since midnight (seconds dropped; 0 for a
/// packed time that does not exist).
/// Threads: a plain value. Failure: nothing throws.
class ZTREE_API ZTime {
public:
    /// From what set(), fromValues(), fromMcoTime() and fromString() take.
    ZTime(unsigned short minutes) noexcept { set(minutes); }
    ZTime() noexcept { set(0); }
    ZTime(unsigned short hour, unsigned short minute, unsigned short second) noexcept
    {
        fromValues(hour, minute, second);
    }
    ZTime(unsigned long packed) noexcept { fromMcoTime(packed); }
    ZTime(const zwchar* text, const tagLocalFmt* fmt) noexcept { fromWString(text, fmt); }
    ZTime(const unsigned short* text, const tagLocalFmt* fmt) noexcept { fromWString(text, fmt); }
    ZTime(const char* text, const tagLocalFmt* fmt) noexcept { fromString(text, fmt); }
    /// As set().
    ZTime& operator=(unsigned short minutes) noexcept
    {
        set(minutes);
        return *this;
    }
    /// As get().
    operator unsigned short() const noexcept { return get(); }

    /// Minutes since midnight become the time; 0 and 1440 upwards make it invalid. Returns 0.
    int set(unsigned short minutes) noexcept;
    /// Minutes since midnight.
    unsigned short get() const noexcept { return m_usMinutes; }
    /// Result of initTime.
    int fromValues(unsigned short hour, unsigned short minute, unsigned short second) noexcept;
    /// Takes any packed value as it is. Returns 0.
    int fromMcoTime(unsigned long packed) noexcept;
    /// The packed time.
    unsigned long toMcoTime() const noexcept { return m_ulTime; }
    /// tStringUlong, tStringWUlong.
    int fromString(const char* text, const tagLocalFmt* fmt) noexcept;
    int fromWString(const zwchar* text, const tagLocalFmt* fmt) noexcept;
    int fromWString(const unsigned short* text, const tagLocalFmt* fmt) noexcept;
    /// ulongTString, ulongTStringW into `size` characters: a longer text is cut without a terminator; below
    /// a size of 8 what the text leaves free is filled with zeros. Returns the length before the cut.
    int toString(char* buffer, int size, const tagLocalFmt* fmt) const noexcept;
    int toWString(zwchar* buffer, int size, const tagLocalFmt* fmt) const noexcept;
    int toWString(unsigned short* buffer, int size, const tagLocalFmt* fmt) const noexcept;
    /// splitTime; returns 0 whether that worked or not.
    int toValues(unsigned short* hour, unsigned short* minute, unsigned short* second) const noexcept;

protected:
    /// Makes the minutes anew from the packed time.
    void updateZTime() noexcept;

private:
    unsigned long m_ulTime;
    unsigned short m_usMinutes;
};

/// A date: the packed date and, beside it, its day number: 1 is 1900-01-01, 65535 is 2079-06-05. Later and
/// earlier dates keep their packed date, their number wraps around; 0 for a packed date that does not
/// exist.
/// Threads: a plain value. Failure: nothing throws.
class ZTREE_API ZXDate {
public:
    /// Days of the year at the end of January to November, and a twelfth entry 0.
    static const unsigned short s_arDaysAtEndOfMonth[12];
    /// The same in a leap year.
    static const unsigned short s_arDaysAtEndOfMonthLeaped[12];

    /// From what set(), fromValues(), fromMcoDate() and fromString() take.
    ZXDate(unsigned short dayNumber) noexcept { set(dayNumber); }
    ZXDate() noexcept { set(0); }
    ZXDate(unsigned short day, unsigned short month, unsigned short year) noexcept
    {
        fromValues(day, month, year);
    }
    ZXDate(unsigned long packed) noexcept { fromMcoDate(packed); }
    ZXDate(const zwchar* text, const tagLocalFmt* fmt) noexcept { fromWString(text, fmt); }
    ZXDate(const unsigned short* text, const tagLocalFmt* fmt) noexcept { fromWString(text, fmt); }
    ZXDate(const char* text, const tagLocalFmt* fmt) noexcept { fromString(text, fmt); }
    /// As set().
    ZXDate& operator=(unsigned short dayNumber) noexcept
    {
        set(dayNumber);
        return *this;
    }
    /// As get().
    operator unsigned short() const noexcept { return get(); }

    /// A day number becomes the date; 0 makes it invalid. Returns 0.
    int set(unsigned short dayNumber) noexcept;
    /// The day number.
    unsigned short get() const noexcept { return m_usDays; }
    /// Result of initDate; note the order day, month, year.
    int fromValues(unsigned short day, unsigned short month, unsigned short year) noexcept;
    /// Takes any packed value as it is. Returns 0.
    int fromMcoDate(unsigned long packed) noexcept;
    /// The packed date.
    unsigned long toMcoDate() const noexcept { return m_ulDate; }
    /// dStringUlong, dStringWUlong.
    int fromString(const char* text, const tagLocalFmt* fmt) noexcept;
    int fromWString(const zwchar* text, const tagLocalFmt* fmt) noexcept;
    int fromWString(const unsigned short* text, const tagLocalFmt* fmt) noexcept;
    /// As ZTime::toString with ulongDString, ulongDStringW; zeros are filled in below a size of 14.
    int toString(char* buffer, int size, const tagLocalFmt* fmt) const noexcept;
    int toWString(zwchar* buffer, int size, const tagLocalFmt* fmt) const noexcept;
    int toWString(unsigned short* buffer, int size, const tagLocalFmt* fmt) const noexcept;
    /// splitDate with a four-digit year; returns 0 whether that worked or not.
    int toValues(unsigned short* day, unsigned short* month, unsigned short* year) const noexcept;

    /// Leap days from 1900 to the start of the year: 0 for 1900, 1 for 1905.
    static unsigned short leapDays(unsigned short year) noexcept;
    /// By the Gregorian rule.
    static bool isLeapYear(unsigned short year) noexcept;

protected:
    /// Makes the day number anew from the packed date.
    void updateXDate() noexcept;

private:
    unsigned long m_ulDate;
    unsigned short m_usDays;
};

// --- amounts: storage and display text ---
// The plain functions work with two decimals; the last argument of the Ex twins is their number, a
// negative one counts as 0. Blanks around a display text are ignored.

/// Storage text to display text; with `group` a thousands separator before every third digit.
///   length  characters of `storage` to read; negative: up to the terminator, which always ends it
/// A negative amount below 1 starts with its sign and the separator, "-,05". Returns the length. A character
/// that is no digit and no separator gives -1, and `display` receives the text, cut after 23 characters.
/// A null storage gives "" and 0, an empty one writes a zero amount.
/// Room: at least 24; else the length read, a third of it again, the decimals and 4.
ZTREE_API int amountAString(const char* storage, char* display, int length, bool group,
                            const tagLocalFmt* fmt) noexcept;
ZTREE_API int amountAStringEx(const char* storage, char* display, int length, bool group,
                              const tagLocalFmt* fmt, char decimals) noexcept;
/// Display text to a storage field of exactly `width` characters, right-aligned and filled with "0", without
/// a terminator. Decimals in excess are dropped; the carry they make is added to the character of the last
/// one kept, so 9 becomes ':'. Returns `width` plus the characters left unread, so that more than `width`
/// means overflow; -1 for an invalid text (nothing written), `width` for an empty one (all "0").
ZTREE_API int aStringAmount(const char* display, char* storage, int width, const tagLocalFmt* fmt) noexcept;
ZTREE_API int aStringAmountEx(const char* display, char* storage, int width, const tagLocalFmt* fmt,
                              char decimals) noexcept;

// --- amounts: text and double ---

/// Storage text to amount. Returns the characters consumed; -1 and 1e-8 for an invalid text. An empty text,
/// or a sign alone, gives -1e-8. Digits before the last six count modulo 2^32.
ZTREE_API int amountDouble(const char* storage, int length, double* value) noexcept;
/// Amount to storage text of at least nine digits (12.34 gives "000001234"). Above a million the part below
/// the last full million is rounded by itself: round a value that may lie within half a cent of the next
/// one with doubleFix first. Returns the length; 0 and "" for the empty marker. -1 and nothing written for
/// the invalid marker, a null buffer, no number, or 4294967296 millions and more.
/// Room: ztree::roomDoubleAmount.
ZTREE_API int doubleAmount(double value, char* storage) noexcept;
/// Amount to storage text with n decimals, correctly rounded (halves away from zero), n + 1 digits at least
/// and at most 39 behind leading zeros. Returns the length without the sign; markers and failures as above.
/// Room: ztree::roomDoubleAmountEx.
ZTREE_API int doubleAmountEx(double value, char* storage, char decimals) noexcept;
/// Amount, rounded with doubleFix, to display text. Returns the length; markers and failures as doubleAmount.
/// Room: ztree::roomDoubleText.
ZTREE_API int doubleAString(double value, char* display, bool group, const tagLocalFmt* fmt) noexcept;
/// Amount to display text with 0 to 5 decimals (others count as the nearer of the two), correctly rounded
/// (halves away from zero). Without decimals a value below 1 keeps the separator: "0,". A separator of 0 is
/// left out. Returns the length; -1 and nothing written for the invalid marker, a null buffer or no number.
/// Room: ztree::roomDoubleTextEx.
ZTREE_API int doubleAStringEx(double value, char* display, bool group, const tagLocalFmt* fmt,
                              char decimals) noexcept;
/// Display text to amount, rounded with doubleFix (Ex: doubleFixEx). 1; 0 and -1e-8 for an empty text, -1 and
/// 1e-8 for an invalid one or 16 integer digits and more.
ZTREE_API int aStringDouble(const char* display, double* value, const tagLocalFmt* fmt) noexcept;
ZTREE_API int aStringDoubleEx(const char* display, double* value, const tagLocalFmt* fmt,
                              char decimals) noexcept;

// --- rounding ---

/// Rounds to hundredths, halves away from zero, as the binary remainder by 0.01 decides: a value just below
/// a half goes down. ztree::roundDecimal (ext/datetime.h) goes by the decimal digits.
ZTREE_API double doubleFix(double value) noexcept;
/// Rounds to n decimals in the same way. Leaves alone a multiple of a coarser step, and everything for n <=
/// 0.
ZTREE_API double doubleFixEx(double value, char decimals) noexcept;
/// Sum of the rounded values, not rounded again.
ZTREE_API double doubleAdd(double a, double b) noexcept;
ZTREE_API double doubleAddEx(double a, double b, char decimals) noexcept;

// --- amounts in words ---

/// Spells a money amount as on a cheque: "one thousand two hundred thirty-four Euro fifty-six Cent".
///
/// currency: "RUB", "USD", "EUR", "KZT" in either case choose the names of both units; any other text stands
/// itself for the main unit, and none for the fraction.
/// Wording: a negative amount gives the words of its absolute value. ztree::wordsModern writes the minus
/// word, "forty", scale words in today's spelling and number, Russian forms by the last two digits, German
/// numbers below a million as one word, no blank at an end, and amounts up to 2^63.
/// Results: the length of the text; -1 and an empty text for an amount that doubleAmount refuses, the empty
/// marker included.
/// Threads: objects hold nothing and may be shared. Failure: structExcept 0x84201001 for lack of memory.
class ZTREE_API amountInWords {
public:
    // The library's heap, as for its other classes; null when that has nothing left.
    static void* operator new(std::size_t bytes) noexcept { return platform::heapAlloc(bytes); }
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void* block) noexcept { platform::heapFree(block); }
    static void operator delete(void*, void*) noexcept {}

    virtual ~amountInWords();
    /// Replaces `out` by the words.
    virtual int getText(double value, const zwchar* currency, ZStringW& out) = 0;
    /// flags: ztree::WordsFlags. The base calls getText and ignores them.
    virtual int getTextEx(double value, const zwchar* currency, unsigned int flags, ZStringW& out);
    /// The same with UTF-8; the result is still the length in 16-bit units.
    virtual int getTextA(double value, const char* currency, ZString& out);
    virtual int getTextExA(double value, const char* currency, unsigned int flags, ZString& out);

    int getText(double value, const unsigned short* currency, ZStringW& out);
    int getTextEx(double value, const unsigned short* currency, unsigned int flags, ZStringW& out);
};

/// English words; getText writes the first letter in upper case.
class ZTREE_API amtEnglish : public amountInWords {
public:
    using amountInWords::getText;
    using amountInWords::getTextEx;
    int getText(double value, const zwchar* currency, ZStringW& out) override;
    int getTextEx(double value, const zwchar* currency, unsigned int flags, ZStringW& out) override;

protected:
    /// A number below 1000 as the group'th group of three digits, 1 the units, 2 the thousands ...; empty for
    /// 0. Returns the length.
    int numToString(unsigned short number, unsigned char group, ZStringW& out);

    static const zwchar* const s_pwNull;
    static const zwchar* const s_pwMinus;
    static const zwchar* const s_pwHundred;
    static const zwchar* const s_apwWordlist[20];
    static const zwchar* const s_apwTenth[10];
    static const zwchar* const s_apwMillions[8];
    /// Main unit singular and plural, fraction singular and plural.
    static const zwchar* const s_apwRubel[4];
    static const zwchar* const s_apwUsDollar[4];
    static const zwchar* const s_apwEuro[4];
    static const zwchar* const s_apwTenge[4];
};

/// German words.
class ZTREE_API amtGerman : public amountInWords {
public:
    using amountInWords::getText;
    using amountInWords::getTextEx;
    int getText(double value, const zwchar* currency, ZStringW& out) override;
    int getTextEx(double value, const zwchar* currency, unsigned int flags, ZStringW& out) override;

protected:
    /// As amtEnglish::numToString.
    int numToString(unsigned short number, unsigned char group, ZStringW& out);

    static const zwchar* const s_pwNull;
    static const zwchar* const s_pwMinus;
    static const zwchar* const s_pwHundred;
    static const zwchar* const s_pwAnd;
    static const zwchar* const s_apwWordlist[20];
    static const zwchar* const s_apwTenth[10];
    static const zwchar* const s_apwMillions[8];
    static const zwchar* const s_apwRubel[4];
    static const zwchar* const s_apwUsDollar[4];
    static const zwchar* const s_apwEuro[4];
    static const zwchar* const s_apwTenge[4];
};

/// Russian words.
class ZTREE_API amtRussian : public amountInWords {
public:
    using amountInWords::getText;
    using amountInWords::getTextEx;
    int getText(double value, const zwchar* currency, ZStringW& out) override;
    int getTextEx(double value, const zwchar* currency, unsigned int flags, ZStringW& out) override;

protected:
    /// Group 2 and groups from 255 on (a fraction) are feminine. A text ends with a blank.
    int numToString(unsigned short number, unsigned char group, ZStringW& out);
    /// Ending of the units word 1 or 2, else empty.
    static const zwchar* endWord(unsigned int units, bool masculine) noexcept;
    /// Ending of the group word.
    static const zwchar* endGroup(unsigned int group, unsigned int units, bool masculine) noexcept;
    /// Which form of a unit's name stands behind a number: 0 one, 1 few, 2 many.
    static int mode(unsigned int number) noexcept;

    static const zwchar* const s_pwNull;
    static const zwchar* const s_pwMinus;
    static const zwchar* const s_apwWordlist[20];
    static const zwchar* const s_apwTenth[10];
    static const zwchar* const s_apwHundreds[10];
    static const zwchar* const s_apwMillions[8];
    /// Main unit for one, few, many; fraction for one, few, many.
    static const zwchar* const s_apwRubel[6];
    static const zwchar* const s_apwUsDollar[6];
    static const zwchar* const s_apwEuro[6];
    static const zwchar* const s_apwTenge[6];
};

/// An amount in words.
///   currency  UTF-8; its first three bytes count
///   language  by its first two characters, either case: "DE" German, "RU" Russian, any other English
///   flags     ztree::WordsFlags
/// Returns 0 whether the amount could be spelled (`out` is empty) or not; 0x80070057 for a null currency or
/// language, with `out` left alone.
ZTREE_API int doubleAmountInWords(double value, const char* currency, const char* language,
                                  unsigned int flags, ZStringW& out);
/// The same into `size` units: a longer text is cut, what it leaves free is filled with zeros, the last unit
/// always is 0. 0x80070057 also for a null buffer (nothing written) or a size below 1.
ZTREE_API int doubleAmountInWords(double value, const char* currency, const char* language,
                                  unsigned int flags, zwchar* buffer, int size);
ZTREE_API int doubleAmountInWords(double value, const char* currency, const char* language,
                                  unsigned int flags, unsigned short* buffer, int size);
