#pragma once
/// @file tokenizer.h
/// Tokenizers: a text split one token a call, with the delimiters chosen at each call.

#include <ztree/text.h>
#include <ztree/types.h>
#include <ztree/version.h>

class mZTokenizer;
class mZTokenizerEx;
class mZTokenizerW;

/// Splits a copy of a text at separator characters.
///
/// Modes (bits): 1 exact: the text is not trimmed, every delimiter ends a token, so that tokens may be
///     empty; 2 a CR directly followed by LF ends a token as one split, reported as LF; 8 (ZTokenizerEx only)
///     a NUL byte counts as a delimiter in exact mode. Without bit 1 the text is trimmed of separators
///     and runs of delimiters count as one.
/// Ownership: owns its copy of the text and of the last token.
/// Threads: no lock; one tokenizer belongs to one thread at a time.
/// Failure: structExcept 0x84201001 when memory is short; the tokenizer is as it was.
class ZTREE_API ZTokenizer : public ZVersion {
public:
    /// As init(); null separators are " \t\r\n".
    ZTokenizer(const char* text = nullptr, const char* seps = nullptr, int mode = 0);
    /// Continues where the other stands; its last token is not copied.
    ZTokenizer(const ZTokenizer& other);
    ZTokenizer& operator=(const ZTokenizer& other);
    ~ZTokenizer() override;
    unsigned int getLibVersion() const override;

    /// Begins anew. lastSplit() is the first character when that is trimmed off, else 0.
    void init(const char* text, const char* seps, int mode);
    /// The text, trimmed unless the mode is exact; null when it is empty.
    operator const char*() const;
    /// Null sets " \t\r\n". An empty list makes hasMoreTokens() false.
    void setSepList(const char* seps);
    /// The separators in force.
    const char* getSepList() const;
    /// The bits named above.
    void setMode(int mode);
    /// The mode in force.
    int getMode() const;

    /// Whether something is left that nextToken() would give.
    bool hasMoreTokens() const;
    /// Passes the characters that stand in chars; returns how many.
    int skip(const char* chars);
    /// The characters up to the next delimiter, which is passed too. Null delimiters mean the separator list,
    /// a negative mode the tokenizer's own. Given delimiters are passed in front of the token as well
    /// (not in exact mode), and the separators behind it. Valid until the next call; null for an empty
    /// text, "" for an empty token.
    const char* nextToken(const char* delims = nullptr, int mode = -1);
    /// The character that ended the last token; 0 at the end of the text and before the first token.
    char lastSplit() const;

private:
    mZTokenizer* m_pImpl;
};

/// ZTokenizer over a text of explicit length, which may hold NUL bytes. A CR without a LF behind it never
/// ends a token; in mode 2 neither does a LF, unless a CR that is a delimiter stands before it.
class ZTREE_API ZTokenizerEx : public ZVersion {
public:
    /// Length in bytes; a negative one means up to the terminator, 0 means empty.
    ZTokenizerEx(const char* text, int length, const char* seps, int mode);
    ZTokenizerEx(const ZTokenizerEx& other);
    ZTokenizerEx& operator=(const ZTokenizerEx& other);
    ~ZTokenizerEx() override;
    unsigned int getLibVersion() const override;

    void init(const char* text, int length, const char* seps, int mode);
    operator const char*() const;
    void setSepList(const char* seps);
    const char* getSepList() const;
    void setMode(int mode);
    int getMode() const;

    bool hasMoreTokens() const;
    int skip(const char* chars);
    /// As ZTokenizer::nextToken; the token is copied to out, whose text is returned ("" for an empty token).
    const char* nextToken(ZString& out, const char* delims, int mode);
    /// The next `size` bytes, fewer at the end, as token.
    const char* getChunk(ZString& out, int size);
    char lastSplit() const;

private:
    mZTokenizerEx* m_pImpl;
};

/// ZTokenizer over UTF-16 text.
class ZTREE_API ZTokenizerW : public ZVersion {
public:
    ZTokenizerW(const zwchar* text = nullptr, const zwchar* seps = nullptr, int mode = 0);
    ZTokenizerW(const unsigned short* text, const unsigned short* seps = nullptr, int mode = 0);
    ZTokenizerW(const ZTokenizerW& other);
    ZTokenizerW& operator=(const ZTokenizerW& other);
    ~ZTokenizerW() override;
    unsigned int getLibVersion() const override;

    void init(const zwchar* text, const zwchar* seps, int mode);
    void init(const unsigned short* text, const unsigned short* seps, int mode);
    /// As in ZTokenizer.
    operator const zwchar*() const;
    void setSepList(const zwchar* seps);
    void setSepList(const unsigned short* seps);
    const zwchar* getSepList() const;
    void setMode(int mode);
    int getMode() const;

    bool hasMoreTokens() const;
    int skip(const zwchar* chars);
    int skip(const unsigned short* chars);
    const zwchar* nextToken(const zwchar* delims = nullptr, int mode = -1);
    const zwchar* nextToken(const unsigned short* delims, int mode = -1);
    zwchar lastSplit() const;

private:
    mZTokenizerW* m_pImpl;
};
