// Real-world XML straight into a tree: one pass, one block for each branch and
// attribute.

#include "attrib/attrib_core.h"
#include "platform/codepage.h"
#include "platform/file.h"
#include "platform/work_stack.h"
#include "tree/branch_core.h"
#include "xml/xml_chars.h"

#include <ztree/ext/xml.h>
#include <ztree/runtime.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>

namespace {

using ztree::XmlError;
using ztree::XmlFault;
using namespace ztree_impl;
using Core = BranchCore<NarrowTree>;

[[noreturn]] void throwMemory()
{
    throw structExcept(ztree::errMemory);
}

struct Span {
    const char* text = nullptr;
    int length = 0;
};

// Text that has to be changed on the way in.
class Scratch {
public:
    void clear() noexcept { m_length = 0; }
    void append(const char* s, std::size_t n)
    {
        if (n == 0)
            return;
        if (m_length + n > m_room)
            grow(n);
        std::memcpy(m_text.get() + m_length, s, n);
        m_length += n;
    }
    void append(char c) { append(&c, 1); }
    void appendCharacter(std::uint32_t c)
    {
        char bytes[4];
        int n = 0;
        if (c < 0x80) {
            bytes[n++] = static_cast<char>(c);
        } else if (c < 0x800) {
            bytes[n++] = static_cast<char>(0xC0 | c >> 6);
            bytes[n++] = static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            bytes[n++] = static_cast<char>(0xE0 | c >> 12);
            bytes[n++] = static_cast<char>(0x80 | (c >> 6 & 0x3F));
            bytes[n++] = static_cast<char>(0x80 | (c & 0x3F));
        } else {
            bytes[n++] = static_cast<char>(0xF0 | c >> 18);
            bytes[n++] = static_cast<char>(0x80 | (c >> 12 & 0x3F));
            bytes[n++] = static_cast<char>(0x80 | (c >> 6 & 0x3F));
            bytes[n++] = static_cast<char>(0x80 | (c & 0x3F));
        }
        append(bytes, static_cast<std::size_t>(n));
    }
    Span span() const noexcept { return {m_text.get(), static_cast<int>(m_length)}; }

private:
    void grow(std::size_t n)
    {
        const std::size_t room = std::max(m_room * 2, m_length + n + 256);
        char* fresh = static_cast<char*>(platform::heapResize(m_text.get(), room));
        if (!fresh)
            throwMemory();
        m_text.release();
        m_text.reset(fresh);
        m_room = room;
    }
    platform::HeapPtr<char> m_text;
    std::size_t m_length = 0;
    std::size_t m_room = 0;
};

// An element whose end tag is still to come.
struct Open {
    ZTBranch* branch;
    Span name;              // as it stands in the text
    bool hasText;           // other than blank
    std::size_t firstBlank; // its blank runs begin here in the reader's list
};

// Blank text that counts only if the element turns out to hold other text, or
// nothing else at all.
struct Blank {
    const char* from;
    const char* to;
    int before; // children in front of it
};

class Reader {
public:
    Reader(const char* data, std::size_t bytes, XmlError& error) noexcept
        : m_begin(data), m_at(data), m_end(data + bytes), m_error(error)
    {
    }
    ~Reader() { delete m_root; }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    bool read();
    bool readAscii()
    {
        for (const char* at = m_begin; at < m_end; ++at)
            if (static_cast<unsigned char>(*at) > 127)
                return fail(XmlFault::encoding, at,
                            "this byte is not ASCII, which the XML declaration names");
        return read();
    }
    ZTBranch* takeRoot() noexcept
    {
        ZTBranch* root = m_root;
        m_root = nullptr;
        return root;
    }

private:
    bool fail(XmlFault fault, const char* at, const char* message, Span name = {nullptr, 0},
              const char* rest = "");
    bool badCharacter(const char* at);
    bool atEnd() const noexcept { return m_at == m_end; }
    bool looksAt(const char* text) const noexcept
    {
        const std::size_t n = std::strlen(text);
        return static_cast<std::size_t>(m_end - m_at) >= n && std::memcmp(m_at, text, n) == 0;
    }
    void skipSpace() noexcept
    {
        while (m_at < m_end && xmlChars.is(*m_at, xmlSpace))
            ++m_at;
    }
    bool name(Span& found, const char* what);
    bool declaration();
    bool pseudoAttribute(const char* wanted, Span& value);
    bool misc(bool inProlog);
    bool comment();
    bool instruction();
    bool doctype();
    bool content();
    bool startTag();
    bool endTag();
    bool attributes();
    bool attributeValue(Span& value);
    bool reference(Scratch& to);
    bool text();
    bool cdata();
    bool keepText(Span run);
    bool addText(Core& element, Span run);
    bool keepBlanks(Open& open);
    Span blankText(const Blank& blank);
    ZTBranch* textBranch(Span run);
    bool characterAt(const char*& at);

    const char* m_begin;
    const char* m_at;
    const char* m_end;
    XmlError& m_error;
    ZTBranch* m_root = nullptr;
    platform::WorkStack<Open> m_open;
    platform::WorkStack<Blank> m_blanks;
    using Attribute = Core::AttribTexts;
    // Of the last start tag. Values that had to be changed are null: they stand one behind the other in
    // m_values. Entries from m_count on are those of earlier tags.
    platform::WorkStack<Attribute, 16> m_attributes;
    std::size_t m_count = 0;
    Scratch m_values;
    const Attribute* firstRepeated();
    Scratch m_text;
};

bool Reader::fail(XmlFault fault, const char* at, const char* message, Span name, const char* rest)
{
    m_error.fault = fault;
    m_error.offset = static_cast<std::size_t>(at - m_begin);
    m_error.line = 1;
    const char* lineStart = m_begin;
    for (const char* c = m_begin; c < at; ++c) {
        if (*c == '\n' || (*c == '\r' && !(c + 1 < m_end && c[1] == '\n'))) {
            ++m_error.line;
            lineStart = c + 1;
        }
    }
    m_error.column = 1;
    for (const char* c = lineStart; c < at; ++c)
        m_error.column += (*c & 0xC0) != 0x80;
    std::snprintf(m_error.message, sizeof m_error.message, "%s%.*s%s", message, std::min(name.length, 60),
                  name.text ? name.text : "", rest);
    return false;
}

bool Reader::badCharacter(const char* at)
{
    std::uint32_t c = 0;
    if (utf8Character(at, static_cast<std::size_t>(m_end - at), c) == 0)
        return fail(XmlFault::encoding, at, "these bytes are not UTF-8");
    char number[16];
    const int n = std::snprintf(number, sizeof number, "U+%04X", static_cast<unsigned>(c));
    return fail(XmlFault::character, at, "the character ", {number, n}, " is not allowed in XML");
}

// Steps over a character that the table does not know as plain; false for one
// that XML does not allow.
bool Reader::characterAt(const char*& at)
{
    std::uint32_t c = 0;
    const int n = utf8Character(at, static_cast<std::size_t>(m_end - at), c);
    if (n == 0 || !isXmlCharacter(c))
        return badCharacter(at);
    at += n;
    return true;
}

bool Reader::name(Span& found, const char* what)
{
    const std::size_t n = xmlNameLength(m_at, m_end);
    if (n == 0 || n > INT_MAX)
        return fail(XmlFault::syntax, m_at, what);
    found = {m_at, static_cast<int>(n)};
    m_at += n;
    return true;
}

// --- outside of elements ---

bool Reader::read()
{
    if (looksAt("<?xml") && m_end - m_at > 5 && xmlChars.is(m_at[5], xmlSpace) && !declaration())
        return false;
    if (!misc(true))
        return false;
    if (atEnd() || !looksAt("<"))
        return fail(XmlFault::structure, m_at,
                    atEnd() ? "the document has no element"
                            : "text may not stand before the document element");
    if (!startTag() || !content())
        return false;
    if (!misc(false))
        return false;
    if (!atEnd())
        return fail(XmlFault::structure, m_at, "nothing may follow the document element");
    return true;
}

bool Reader::pseudoAttribute(const char* wanted, Span& value)
{
    value = {nullptr, 0};
    const char* before = m_at;
    skipSpace();
    if (!looksAt(wanted)) {
        m_at = before; // for what comes instead
        return true;
    }
    if (before == m_at)
        return fail(XmlFault::syntax, m_at, "a blank is missing in the XML declaration");
    m_at += std::strlen(wanted);
    skipSpace();
    if (atEnd() || *m_at != '=')
        return fail(XmlFault::syntax, m_at, "\"=\" is missing in the XML declaration");
    ++m_at;
    skipSpace();
    if (atEnd() || (*m_at != '"' && *m_at != '\''))
        return fail(XmlFault::syntax, m_at, "a quoted value is missing in the XML declaration");
    const char quote = *m_at++;
    const char* close =
        static_cast<const char*>(std::memchr(m_at, quote, static_cast<std::size_t>(m_end - m_at)));
    if (!close)
        return fail(XmlFault::syntax, m_at, "the XML declaration does not end");
    value = {m_at, static_cast<int>(std::min<std::ptrdiff_t>(close - m_at, 1000))};
    m_at = close + 1;
    return true;
}

bool Reader::declaration()
{
    m_at += 5;
    Span version, encoding, standalone;
    const char* at = m_at;
    if (!pseudoAttribute("version", version))
        return false;
    if (!version.text)
        return fail(XmlFault::syntax, at, "the XML declaration has no version");
    bool good = version.length >= 3 && version.text[0] == '1' && version.text[1] == '.';
    for (int i = 2; i < version.length; ++i)
        good = good && version.text[i] >= '0' && version.text[i] <= '9';
    if (!good)
        return fail(XmlFault::syntax, version.text, "this is no version of XML 1: ", version);
    if (!pseudoAttribute("encoding", encoding))
        return false;
    // The encoding was followed before; here only its form counts.
    for (int i = 0; i < encoding.length; ++i) {
        const char c = encoding.text[i];
        const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        if (!letter && !(i && ((c >= '0' && c <= '9') || c == '.' || c == '_' || c == '-')))
            return fail(XmlFault::syntax, encoding.text, "this is no name of an encoding: ", encoding);
    }
    if (encoding.text && encoding.length == 0)
        return fail(XmlFault::syntax, encoding.text, "the encoding has no name");
    if (!pseudoAttribute("standalone", standalone))
        return false;
    if (standalone.text && !(standalone.length == 3 && std::memcmp(standalone.text, "yes", 3) == 0) &&
        !(standalone.length == 2 && std::memcmp(standalone.text, "no", 2) == 0))
        return fail(XmlFault::syntax, standalone.text, "standalone is \"yes\" or \"no\"");
    skipSpace();
    if (!looksAt("?>"))
        return fail(XmlFault::syntax, m_at, "the XML declaration does not end with \"?>\" here");
    m_at += 2;
    return true;
}

// Comments, instructions and blanks; in front of the document element one
// DOCTYPE too.
bool Reader::misc(bool inProlog)
{
    bool hadDoctype = false;
    for (;;) {
        skipSpace();
        if (looksAt("<!--")) {
            if (!comment())
                return false;
        } else if (looksAt("<?")) {
            if (!instruction())
                return false;
        } else if (inProlog && looksAt("<!DOCTYPE")) {
            if (hadDoctype)
                return fail(XmlFault::structure, m_at, "there is a second DOCTYPE");
            hadDoctype = true;
            if (!doctype())
                return false;
        } else {
            return true;
        }
    }
}

bool Reader::comment()
{
    const char* start = m_at;
    const char* at = m_at + 4;
    while (at < m_end) {
        // Up to the next "--", or to the end of a comment that has none.
        const char* dashes = at;
        do
            dashes =
                static_cast<const char*>(std::memchr(dashes, '-', static_cast<std::size_t>(m_end - dashes)));
        while (dashes && ++dashes < m_end && *dashes != '-');
        const bool closed = dashes && dashes < m_end;
        const char* stop = closed ? dashes - 1 : m_end;
        while ((at = skipOrdinary<xmlPlainText>(at, stop)) < stop)
            if (*at == '<' || *at == '&' || *at == ']')
                ++at;
            else if (!characterAt(at))
                return false;
        if (!closed || m_end - at < 3)
            break;
        if (at[2] != '>')
            return fail(XmlFault::syntax, at, "\"--\" may not stand in a comment");
        m_at = at + 3;
        return true;
    }
    return fail(XmlFault::syntax, start, "the comment does not end");
}

bool Reader::instruction()
{
    const char* start = m_at;
    m_at += 2;
    Span target;
    if (!name(target, "a processing instruction begins with a name"))
        return false;
    if (target.length == 3 && (target.text[0] | 0x20) == 'x' && (target.text[1] | 0x20) == 'm' &&
        (target.text[2] | 0x20) == 'l')
        return fail(XmlFault::syntax, start, "the XML declaration may only stand at the very start");
    if (!looksAt("?>") && !(m_at < m_end && xmlChars.is(*m_at, xmlSpace)))
        return fail(XmlFault::syntax, m_at, "a blank is missing behind the instruction's name");
    for (const char* at = m_at; at < m_end;) {
        if (*at == '?' && m_end - at >= 2 && at[1] == '>') {
            m_at = at + 2;
            return true;
        }
        if (xmlChars.is(*at, xmlPlainText))
            ++at;
        else if (!characterAt(at))
            return false;
    }
    return fail(XmlFault::syntax, start, "the processing instruction does not end");
}

// The DOCTYPE is passed: quoted texts, comments, instructions and declarations
// in brackets.
bool Reader::doctype()
{
    const char* start = m_at;
    m_at += 9;
    if (atEnd() || !xmlChars.is(*m_at, xmlSpace))
        return fail(XmlFault::syntax, m_at, "a blank is missing behind DOCTYPE");
    skipSpace();
    Span rootName;
    if (!name(rootName, "the DOCTYPE names no element"))
        return false;
    bool inSubset = false;
    int depth = 0; // of declarations in the subset
    while (m_at < m_end) {
        if (looksAt("<!--")) {
            if (!inSubset || depth)
                return fail(XmlFault::syntax, m_at, "a comment may not stand here in the DOCTYPE");
            if (!comment())
                return false;
            continue;
        }
        if (looksAt("<?")) {
            if (!inSubset || depth)
                return fail(XmlFault::syntax, m_at, "an instruction may not stand here in the DOCTYPE");
            if (!instruction())
                return false;
            continue;
        }
        const char c = *m_at;
        if (c == '"' || c == '\'') {
            const char* at = m_at + 1;
            while (at < m_end && *at != c)
                if (xmlChars.is(*at, xmlPlainText))
                    ++at;
                else if (!characterAt(at))
                    return false;
            if (at == m_end)
                return fail(XmlFault::syntax, m_at, "a quoted text in the DOCTYPE does not end");
            m_at = at + 1;
            continue;
        }
        if (c == '[' && !inSubset) {
            inSubset = true;
        } else if (c == ']' && inSubset && depth == 0) {
            ++m_at;
            skipSpace();
            if (atEnd() || *m_at != '>')
                return fail(XmlFault::syntax, m_at, "\"]\" in the DOCTYPE is not followed by \">\"");
            ++m_at;
            return true;
        } else if (c == '<' && inSubset) {
            if (depth++ || m_end - m_at < 2 || m_at[1] != '!')
                return fail(XmlFault::syntax, m_at, "\"<\" may not stand here in the DOCTYPE");
        } else if (c == '>' && (depth || !inSubset)) {
            ++m_at;
            if (!inSubset)
                return true;
            --depth;
            continue;
        }
        if (xmlChars.is(c, xmlPlainText))
            ++m_at;
        else if (!characterAt(m_at))
            return false;
    }
    return fail(XmlFault::syntax, start, "the DOCTYPE does not end");
}

// --- elements ---

// "&...;" at m_at.
bool Reader::reference(Scratch& to)
{
    const char* start = m_at;
    if (m_end - m_at >= 2 && m_at[1] == '#') {
        const bool hex = m_end - m_at >= 3 && m_at[2] == 'x';
        const char* digits = m_at + (hex ? 3 : 2);
        // Leading zeros may make it long.
        const char* end = digits;
        std::uint32_t c = 0;
        for (; end < m_end; ++end) {
            const char d = *end;
            const std::uint32_t value =
                d >= '0' && d <= '9'          ? static_cast<std::uint32_t>(d - '0')
                : hex && d >= 'a' && d <= 'f' ? static_cast<std::uint32_t>(d - 'a' + 10)
                : hex && d >= 'A' && d <= 'F' ? static_cast<std::uint32_t>(d - 'A' + 10)
                                              : 99;
            if (value == 99)
                break;
            c = std::min<std::uint32_t>(c * (hex ? 16 : 10) + value, 0x110000);
        }
        if (end == digits || end == m_end || *end != ';')
            return fail(XmlFault::syntax, start, "this character reference is not complete");
        if (!isXmlCharacter(c))
            return fail(XmlFault::character, start,
                        "this reference names a character that XML does not allow");
        to.appendCharacter(c);
        m_at = end + 1;
        return true;
    }
    const std::size_t n = xmlNameLength(m_at + 1, m_end);
    if (n == 0)
        return fail(XmlFault::syntax, start, "\"&\" has to be written as \"&amp;\"");
    const Span entity = {m_at + 1, static_cast<int>(std::min<std::size_t>(n, 1000))};
    if (m_at + 1 + n == m_end || m_at[1 + n] != ';')
        return fail(XmlFault::syntax, start, "\";\" is missing behind \"&", entity, "\"");
    static const struct {
        const char* name;
        char character;
    } known[] = {{"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};
    for (const auto& k : known)
        if (std::strlen(k.name) == n && std::memcmp(k.name, entity.text, n) == 0) {
            to.append(k.character);
            m_at += n + 2;
            return true;
        }
    return fail(XmlFault::entity, start, "the entity \"&", entity, ";\" is not known here");
}

bool Reader::attributeValue(Span& value)
{
    if (atEnd() || (*m_at != '"' && *m_at != '\''))
        return fail(XmlFault::syntax, m_at, "an attribute value stands in quotes");
    const char* start = m_at;
    const char quote = *m_at++;
    const char* run = m_at;
    bool changed = false;
    const std::size_t before = static_cast<std::size_t>(m_values.span().length);
    for (;;) {
        m_at = skipOrdinary<xmlPlainValue>(m_at, m_end);
        if (atEnd())
            return fail(XmlFault::syntax, start, "the attribute value does not end");
        const char c = *m_at;
        if (c == quote)
            break;
        if (c == '"' || c == '\'') {
            ++m_at;
        } else if (c == '<') {
            return fail(XmlFault::syntax, m_at, "\"<\" in an attribute value has to be written as \"&lt;\"");
        } else if (c == '&' || xmlChars.is(c, xmlSpace)) {
            m_values.append(run, static_cast<std::size_t>(m_at - run));
            changed = true;
            if (c == '&') {
                if (!reference(m_values))
                    return false;
            } else {
                // White space as it stands counts as a blank, CR LF as one.
                m_at += c == '\r' && m_end - m_at >= 2 && m_at[1] == '\n' ? 2 : 1;
                m_values.append(' ');
            }
            run = m_at;
        } else if (!characterAt(m_at)) {
            return false;
        }
    }
    if (m_at - start > INT_MAX - 64)
        return fail(XmlFault::syntax, start, "the attribute value is too long");
    if (changed) {
        m_values.append(run, static_cast<std::size_t>(m_at - run));
        value = {nullptr, static_cast<int>(static_cast<std::size_t>(m_values.span().length) - before)};
    } else {
        value = {run, static_cast<int>(m_at - run)};
    }
    ++m_at;
    return true;
}

// Short texts as a rule.
inline bool sameBytes(const char* a, const char* b, std::size_t n) noexcept
{
    if (n >= 8 && n <= 16) {
        std::uint64_t x, y, u, v;
        std::memcpy(&x, a, 8);
        std::memcpy(&y, b, 8);
        std::memcpy(&u, a + n - 8, 8);
        std::memcpy(&v, b + n - 8, 8);
        return ((x ^ y) | (u ^ v)) == 0;
    }
    if (n < 8) {
        for (std::size_t i = 0; i < n; ++i)
            if (a[i] != b[i])
                return false;
        return true;
    }
    return std::memcmp(a, b, n) == 0;
}

std::uint64_t hashOf(const char* name, int n) noexcept
{
    std::uint64_t hash = 14695981039346656037U;
    for (int i = 0; i < n; ++i)
        hash = (hash ^ static_cast<unsigned char>(name[i])) * 1099511628211U;
    return hash ^ hash >> 29; // the last bytes have not come far
}

// The second one of two attributes with the same name, the earliest in the text; null when all differ.
const Reader::Attribute* Reader::firstRepeated()
{
    std::uint64_t seen = 0; // a bit for names alike in length and ends
    bool alike = false;
    for (std::size_t i = 0; i < m_count; ++i) {
        const Attribute& a = m_attributes[i];
        const unsigned ends = static_cast<unsigned char>(a.name[0]) * 7u +
                              static_cast<unsigned char>(a.name[a.nameLength - 1]) * 3u;
        const std::uint64_t bit = std::uint64_t{1}
                                  << ((static_cast<unsigned>(a.nameLength) * 11u + ends) & 63);
        alike = alike || seen & bit;
        seen |= bit;
    }
    if (!alike)
        return nullptr;
    auto same = [](const Attribute& a, const Attribute& b) {
        return a.nameLength == b.nameLength &&
               sameBytes(a.name, b.name, static_cast<std::size_t>(a.nameLength));
    };
    if (m_count <= 16) {
        for (std::size_t i = 1; i < m_count; ++i)
            for (std::size_t k = 0; k < i; ++k)
                if (same(m_attributes[i], m_attributes[k]))
                    return &m_attributes[i];
        return nullptr;
    }
    // By a hash first, which needs no look at the names; names that were made to have one hash cost no more
    // than sorting them.
    struct Key {
        std::uint64_t hash;
        const Attribute* attribute;
    };
    platform::HeapPtr<Key> sorted(platform::allocArray<Key>(m_count));
    if (!sorted)
        throwMemory();
    for (std::size_t i = 0; i < m_count; ++i)
        sorted[i] = {hashOf(m_attributes[i].name, m_attributes[i].nameLength), &m_attributes[i]};
    std::sort(sorted.get(), sorted.get() + m_count, [](const Key& a, const Key& b) {
        if (a.hash != b.hash)
            return a.hash < b.hash;
        const int lengths[] = {a.attribute->nameLength, b.attribute->nameLength};
        const int order = std::memcmp(a.attribute->name, b.attribute->name,
                                      static_cast<std::size_t>(std::min(lengths[0], lengths[1])));
        if (order || lengths[0] != lengths[1])
            return order ? order < 0 : lengths[0] < lengths[1];
        return a.attribute < b.attribute;
    });
    const Attribute* first = nullptr;
    for (std::size_t i = 1; i < m_count; ++i)
        if (sorted[i].hash == sorted[i - 1].hash && same(*sorted[i].attribute, *sorted[i - 1].attribute) &&
            (!first || sorted[i].attribute < first))
            first = sorted[i].attribute;
    return first;
}

// What stands behind the name in a start tag, up to its ">" or "/". Elements of a kind tend to have the same
// attributes in the same order: names are compared with those of the tag before, and looked at only when they
// differ.
bool Reader::attributes()
{
    const std::size_t known = m_count;
    bool asBefore = true;
    m_count = 0;
    m_values.clear();
    for (;;) {
        const char* before = m_at;
        skipSpace();
        if (atEnd())
            return fail(XmlFault::syntax, m_at, "the tag does not end");
        if (*m_at == '>' || *m_at == '/')
            break;
        if (before == m_at)
            return fail(XmlFault::syntax, m_at, "a blank is missing before the attribute");
        Attribute attribute{};
        if (m_count < known) {
            const Attribute& candidate = m_attributes[m_count];
            if (m_end - m_at > candidate.nameLength && m_at[candidate.nameLength] == '=' &&
                sameBytes(m_at, candidate.name, static_cast<std::size_t>(candidate.nameLength))) {
                attribute.name = m_at;
                attribute.nameLength = candidate.nameLength;
                m_at += candidate.nameLength;
            }
        }
        if (!attribute.name) {
            asBefore = false;
            Span found;
            if (!name(found, "an attribute name, \">\" or \"/>\" is missing here"))
                return false;
            attribute.name = found.text;
            attribute.nameLength = found.length;
            skipSpace();
            if (atEnd() || *m_at != '=')
                return fail(XmlFault::syntax, m_at, "\"=\" is missing behind the attribute \"", found, "\"");
        }
        ++m_at;
        skipSpace();
        Span value;
        if (!attributeValue(value))
            return false;
        attribute.value = value.text;
        attribute.valueLength = value.length;
        if (m_count < m_attributes.size())
            m_attributes[m_count] = attribute;
        else if (!m_attributes.push(attribute))
            throwMemory();
        ++m_count;
    }
    const Attribute* twice = asBefore ? nullptr : firstRepeated();
    return !twice || fail(XmlFault::attribute, twice->name, "the attribute \"",
                          {twice->name, twice->nameLength}, "\" stands here twice");
}

bool Reader::startTag()
{
    ++m_at;
    Span tag;
    if (!name(tag, "\"<\" has to be written as \"&lt;\", or a name is missing "
                   "behind it") ||
        !attributes())
        return false;
    const bool empty = *m_at == '/';
    if (empty && (m_end - m_at < 2 || m_at[1] != '>'))
        return fail(XmlFault::syntax, m_at, "\"/\" is not followed by \">\"");
    m_at += empty ? 2 : 1;

    // An element with nothing but plain text takes its value into the same block.
    Span value = {nullptr, 0};
    bool leaf = false;
    if (!empty) {
        const char* run = skipOrdinary<xmlPlainText>(m_at, m_end);
        leaf = run > m_at && run - m_at < INT_MAX - 64 && m_end - run >= 2 && run[0] == '<' && run[1] == '/';
        if (leaf) {
            value = {m_at, static_cast<int>(run - m_at)};
            m_at = run;
        }
    }
    const int count = static_cast<int>(m_count);
    std::size_t units = 0;
    const char* changed = m_values.span().text;
    for (int i = 0; i < count; ++i) {
        Attribute& a = m_attributes[static_cast<std::size_t>(i)];
        if (!a.value) {
            a.value = changed;
            changed += a.valueLength;
        }
        units += static_cast<std::size_t>(a.nameLength) + static_cast<std::size_t>(a.valueLength) + 2;
    }
    const bool inBlock = units <= Core::mostAttribUnits;
    ZTBranch* branch = Core::create(tag.text, tag.length, value.length,
                                    inBlock && count ? &m_attributes[0] : nullptr, inBlock ? count : 0);
    Core& core = *Core::of(branch);
    try {
        if (m_open.empty())
            m_root = branch;
        else
            Core::of(m_open.top().branch)->adopt(branch);
    } catch (...) {
        delete branch;
        throw;
    }
    // From here on the branch belongs to the tree being built.
    if (leaf)
        core.setBytes(value.text, value.length);
    for (int i = 0; i < count && !inBlock; ++i) {
        const Attribute& texts = m_attributes[static_cast<std::size_t>(i)];
        ZAttrib* attrib = newAttrib(texts.name, texts.nameLength, texts.value, texts.valueLength);
        try {
            core.adoptAttrib(attrib);
        } catch (...) {
            delete attrib;
            throw;
        }
    }
    if (empty)
        return true;
    // Its end tag is the usual one.
    if (leaf && m_end - m_at >= tag.length + 3 && m_at[tag.length + 2] == '>' &&
        std::memcmp(m_at + 2, tag.text, static_cast<std::size_t>(tag.length)) == 0) {
        m_at += tag.length + 3;
        return true;
    }
    if (!m_open.push({branch, tag, leaf, m_blanks.size()}))
        throwMemory();
    return true;
}

// A run of text with its references resolved, up to the next markup.
bool Reader::text()
{
    const char* from = m_at;
    const char* start = m_at;
    bool changed = false;
    bool blank = true;
    m_text.clear();
    for (;;) {
        while (m_at < m_end && xmlChars.is(*m_at, xmlSpace) && *m_at != '\r')
            ++m_at;
        if (const char* stop = skipOrdinary<xmlPlainText>(m_at, m_end); stop != m_at) {
            blank = false;
            m_at = stop;
        }
        if (atEnd() || *m_at == '<')
            break;
        if (*m_at == '&' || *m_at == '\r') {
            m_text.append(from, static_cast<std::size_t>(m_at - from));
            changed = true;
            if (*m_at == '&') {
                // What is written as a reference is meant.
                blank = false;
                if (!reference(m_text))
                    return false;
            } else {
                m_at += m_end - m_at >= 2 && m_at[1] == '\n' ? 2 : 1;
                m_text.append('\n');
            }
            from = m_at;
        } else if (*m_at == ']') {
            blank = false;
            if (m_end - m_at >= 3 && m_at[1] == ']' && m_at[2] == '>')
                return fail(XmlFault::syntax, m_at, "\"]]>\" may not stand in text");
            ++m_at;
        } else {
            blank = false;
            if (!characterAt(m_at))
                return false;
        }
    }
    if (m_at - start > INT_MAX - 64)
        return fail(XmlFault::syntax, start, "the text is too long");
    if (changed)
        m_text.append(from, static_cast<std::size_t>(m_at - from));
    if (!blank || m_open.top().hasText)
        return keepText(changed ? m_text.span() : Span{from, static_cast<int>(m_at - from)});
    if (!m_blanks.push({start, m_at, Core::of(m_open.top().branch)->childCount()}))
        throwMemory();
    return true;
}

bool Reader::cdata()
{
    const char* start = m_at;
    m_at += 9;
    const char* from = m_at;
    m_text.clear();
    for (;;) {
        m_at = skipOrdinary<xmlPlainText>(m_at, m_end);
        if (atEnd())
            return fail(XmlFault::syntax, start, "the CDATA section does not end");
        if (*m_at == ']' && m_end - m_at >= 3 && m_at[1] == ']' && m_at[2] == '>')
            break;
        if (*m_at == '\r') {
            m_text.append(from, static_cast<std::size_t>(m_at - from));
            m_text.append('\n');
            m_at += m_end - m_at >= 2 && m_at[1] == '\n' ? 2 : 1;
            from = m_at;
        } else if (*m_at == '<' || *m_at == '&' || *m_at == ']') {
            ++m_at;
        } else if (!characterAt(m_at)) {
            return false;
        }
    }
    m_text.append(from, static_cast<std::size_t>(m_at - from));
    m_at += 3;
    return keepText(m_text.span());
}

constexpr Span textName = {"#text", 5};
bool isTextBranch(const ZTBranch* branch) noexcept
{
    return branch && Core::of(branch)->nameLength() == textName.length && *Core::of(branch)->name() == '#';
}

ZTBranch* Reader::textBranch(Span run)
{
    ZTBranch* branch = Core::create(textName.text, textName.length, run.length);
    try {
        Core::of(branch)->setBytes(run.text, run.length);
    } catch (...) {
        delete branch;
        throw;
    }
    return branch;
}

// Text belongs to the "#text" branch it stands directly behind, or to the value
// while there are no children.
bool Reader::addText(Core& element, Span run)
{
    ZTBranch* last = element.child(element.childCount() - 1);
    if (last && !isTextBranch(last)) {
        ZTBranch* branch = textBranch(run);
        try {
            element.adopt(branch);
        } catch (...) {
            delete branch;
            throw;
        }
        return true;
    }
    Core& target = last ? *Core::of(last) : element;
    if (target.type() != 7) {
        target.setBytes(run.text, run.length);
        return true;
    }
    if (static_cast<std::size_t>(target.binaryLength()) + static_cast<std::size_t>(run.length) > INT_MAX - 64)
        return fail(XmlFault::syntax, m_at, "the text is too long");
    target.appendBytes(run.text, run.length);
    return true;
}

bool Reader::keepText(Span run)
{
    if (run.length == 0) // an empty CDATA section is no text
        return true;
    Open& open = m_open.top();
    if (!open.hasText && !keepBlanks(open))
        return false;
    open.hasText = true;
    return addText(*Core::of(open.branch), run);
}

Span Reader::blankText(const Blank& blank)
{
    m_values.clear();
    for (const char* c = blank.from; c < blank.to; ++c)
        if (*c != '\r')
            m_values.append(*c);
        else if (c + 1 == blank.to || c[1] != '\n')
            m_values.append('\n');
    return m_values.span();
}

// The element holds other text, or no children: its blank runs count.
bool Reader::keepBlanks(Open& open)
{
    Core& element = *Core::of(open.branch);
    const std::size_t count = m_blanks.size() - open.firstBlank;
    if (count == 0)
        return true;
    if (element.childCount() == 0) {
        for (std::size_t i = 0; i < count; ++i)
            if (!addText(element, blankText(m_blanks[open.firstBlank + i])))
                return false;
    } else {
        platform::HeapPtr<Core::Insertion> fresh(platform::allocZeroed<Core::Insertion>(count));
        if (!fresh)
            throwMemory();
        std::size_t n = 0;
        try {
            for (std::size_t i = 0; i < count; ++i) {
                const Blank& blank = m_blanks[open.firstBlank + i];
                const Span run = blankText(blank);
                if (n && fresh[n - 1].before == blank.before) {
                    Core::of(fresh[n - 1].child)->appendBytes(run.text, run.length);
                    continue;
                }
                fresh[n].child = textBranch(run);
                fresh[n++].before = blank.before;
            }
            element.insertChildren(fresh.get(), static_cast<int>(n));
        } catch (...) {
            while (n)
                delete fresh[--n].child;
            throw;
        }
    }
    while (m_blanks.size() > open.firstBlank)
        m_blanks.pop();
    return true;
}

bool Reader::endTag()
{
    const char* start = m_at;
    m_at += 2;
    Open& open = m_open.top();
    const std::size_t n = static_cast<std::size_t>(open.name.length);
    const bool matches =
        static_cast<std::size_t>(m_end - m_at) >= n && std::memcmp(m_at, open.name.text, n) == 0;
    const bool ends = m_end - m_at > open.name.length && m_at[n] == '>';
    if (!matches || (!ends && xmlNameLength(m_at, m_end) != n)) {
        Span found;
        if (!name(found, "an end tag has no name"))
            return false;
        char message[100];
        std::snprintf(message, sizeof message, "the end tag of \"%.*s\" is due here, not of \"",
                      std::min(open.name.length, 40), open.name.text);
        return fail(XmlFault::endTag, start, message, found, "\"");
    }
    m_at += n;
    skipSpace();
    if (atEnd() || *m_at != '>')
        return fail(XmlFault::syntax, m_at, "the end tag does not end with \">\" here");
    ++m_at;
    if (!open.hasText && Core::of(open.branch)->childCount() == 0 && !keepBlanks(open))
        return false;
    while (m_blanks.size() > open.firstBlank)
        m_blanks.pop();
    m_open.pop();
    return true;
}

bool Reader::content()
{
    while (!m_open.empty()) {
        if (atEnd())
            return fail(XmlFault::endTag, m_at, "the document ends inside of \"", m_open.top().name, "\"");
        if (*m_at != '<') {
            if (!text())
                return false;
        } else if (m_end - m_at >= 2 && m_at[1] == '/') {
            if (!endTag())
                return false;
        } else if (m_end - m_at >= 2 && m_at[1] == '?') {
            if (!instruction())
                return false;
        } else if (looksAt("<!--")) {
            if (!comment())
                return false;
        } else if (looksAt("<![CDATA[")) {
            if (!cdata())
                return false;
        } else {
            // Text in front of the first child element becomes a child of its own.
            Core& element = *Core::of(m_open.top().branch);
            if (element.type() == 7)
                element.valueToChild(textName.text, textName.length);
            if (!startTag())
                return false;
        }
    }
    return true;
}

// --- encodings ---

constexpr unsigned codepageAscii = 20127;

unsigned codepageOf(Span name) noexcept
{
    static const struct {
        const char* name;
        unsigned codepage;
    } known[] = {{"utf-8", 65001},
                 {"utf8", 65001},
                 {"us-ascii", codepageAscii},
                 {"ascii", codepageAscii},
                 {"iso-8859-1", 28591},
                 {"latin1", 28591},
                 {"iso-8859-2", 28592},
                 {"iso-8859-3", 28593},
                 {"iso-8859-4", 28594},
                 {"iso-8859-5", 28595},
                 {"iso-8859-6", 28596},
                 {"iso-8859-7", 28597},
                 {"iso-8859-8", 28598},
                 {"iso-8859-9", 28599},
                 {"iso-8859-13", 28603},
                 {"iso-8859-15", 28605},
                 {"koi8-r", 20866},
                 {"koi8-u", 21866},
                 {"shift_jis", 932},
                 {"windows-31j", 932},
                 {"gb2312", 936},
                 {"gbk", 936},
                 {"euc-kr", 949},
                 {"big5", 950},
                 {"windows-1250", 1250},
                 {"windows-1251", 1251},
                 {"windows-1252", 1252},
                 {"windows-1253", 1253},
                 {"windows-1254", 1254},
                 {"windows-1255", 1255},
                 {"windows-1256", 1256},
                 {"windows-1257", 1257},
                 {"windows-1258", 1258},
                 {"ibm437", 437},
                 {"ibm850", 850},
                 {"ibm866", 866}};
    for (const auto& k : known) {
        int i = 0;
        while (i < name.length && k.name[i] && (name.text[i] | 0x20) == (k.name[i] | 0x20))
            ++i;
        if (i == name.length && !k.name[i])
            return k.codepage;
    }
    return 0;
}

// The encoding that the declaration names, {null, 0} for none. Looks at plain
// bytes only.
Span declaredEncoding(const char* data, std::size_t bytes) noexcept
{
    if (bytes < 6 || std::memcmp(data, "<?xml", 5) != 0 || !xmlChars.is(data[5], xmlSpace))
        return {nullptr, 0};
    const char* end = data + std::min<std::size_t>(bytes, 1000);
    const char* close = std::find(data, end, '>');
    static const char word[] = "encoding";
    const char* at = std::search(data, close, word, word + 8);
    if (at == close)
        return {nullptr, 0};
    at += 8;
    while (at < close && (xmlChars.is(*at, xmlSpace) || *at == '='))
        ++at;
    if (at == close || (*at != '"' && *at != '\''))
        return {nullptr, 0};
    const char quote = *at++;
    const char* stop = std::find(at, close, quote);
    return {at, static_cast<int>(stop - at)};
}

// UTF-8 of the units into `text`; the bytes.
std::size_t toUtf8(const zwchar* units, int n, platform::HeapPtr<char>& text)
{
    const int needed = n ? platform::toNarrow(platform::codepageUtf8, units, n, nullptr, 0) : 0;
    text.reset(platform::allocArray<char>(static_cast<std::size_t>(needed) + 1));
    if (!text)
        throwMemory();
    if (needed)
        platform::toNarrow(platform::codepageUtf8, units, n, text.get(), needed);
    return static_cast<std::size_t>(needed);
}

} // namespace

namespace ztree {

bool readXml(const char* data, std::size_t bytes, ZTree& tree, XmlError* error)
{
    XmlError scratch;
    XmlError& report = error ? *error : scratch;
    report = XmlError();
    const unsigned char* raw = reinterpret_cast<const unsigned char*>(data);
    platform::HeapPtr<char> converted;
    bool ascii = false;
    auto refuse = [&report](const char* message) {
        report.fault = XmlFault::encoding;
        report.line = report.column = 1;
        std::snprintf(report.message, sizeof report.message, "%s", message);
        return false;
    };
    const bool little = bytes >= 2 && raw[0] == 0xFF && raw[1] == 0xFE;
    const bool big = bytes >= 2 && raw[0] == 0xFE && raw[1] == 0xFF;
    if (little || big) {
        if (bytes % 2 || bytes / 2 > INT_MAX)
            return refuse("UTF-16 text has an even number of bytes, at most 4 GB");
        const int n = static_cast<int>(bytes / 2 - 1);
        platform::HeapPtr<zwchar> units(platform::allocArray<zwchar>(static_cast<std::size_t>(n) + 1));
        if (!units)
            throwMemory();
        for (int i = 0; i < n; ++i) {
            const unsigned char* pair = raw + 2 + 2 * static_cast<std::size_t>(i);
            units[static_cast<std::size_t>(i)] =
                static_cast<zwchar>(little ? pair[0] | pair[1] << 8 : pair[1] | pair[0] << 8);
        }
        for (int i = 0; i < n; ++i) {
            const unsigned u = static_cast<std::uint16_t>(units[static_cast<std::size_t>(i)]);
            if (u < 0xD800 || u > 0xDFFF)
                continue;
            const unsigned next =
                i + 1 < n ? static_cast<std::uint16_t>(units[static_cast<std::size_t>(i) + 1]) : 0;
            if (u > 0xDBFF || next < 0xDC00 || next > 0xDFFF)
                return refuse("the text holds half of a UTF-16 character");
            ++i;
        }
        bytes = toUtf8(units.get(), n, converted);
        data = converted.get();
    } else {
        if (bytes >= 3 && raw[0] == 0xEF && raw[1] == 0xBB && raw[2] == 0xBF) {
            data += 3;
            bytes -= 3;
        } else if (const Span name = declaredEncoding(data, bytes); name.text) {
            const unsigned codepage = codepageOf(name);
            if (codepage == 0)
                return refuse("the encoding that the XML declaration names is not known");
            ascii = codepage == codepageAscii;
            if (!ascii && codepage != platform::codepageUtf8) {
                if (bytes > INT_MAX)
                    return refuse("text in this encoding is read up to 2 GB");
                const int n = platform::toWide(codepage, data, static_cast<int>(bytes), nullptr, 0);
                platform::HeapPtr<zwchar> units(
                    platform::allocArray<zwchar>(static_cast<std::size_t>(n) + 1));
                if (!units)
                    throwMemory();
                platform::toWide(codepage, data, static_cast<int>(bytes), units.get(), n);
                bytes = toUtf8(units.get(), n, converted);
                data = converted.get();
            }
        }
    }
    Reader reader(data, bytes, report);
    if (!(ascii ? reader.readAscii() : reader.read()))
        return false;
    tree.set(reader.takeRoot());
    tree.reset();
    return true;
}

bool readXmlFile(const char* path, ZTree& tree, XmlError* error)
{
    char* block = nullptr;
    std::size_t bytes = 0;
    const unsigned code = platform::readWholeFile(path, &block, &bytes);
    const platform::HeapPtr<char> owner(block);
    if (code == 0)
        return readXml(block, bytes, tree, error);
    if (code == 14)
        throwMemory();
    if (error) {
        *error = XmlError();
        error->fault = XmlFault::file;
        error->system = code;
        std::snprintf(error->message, sizeof error->message, "the file cannot be read (system error %u)",
                      code);
    }
    return false;
}

} // namespace ztree
