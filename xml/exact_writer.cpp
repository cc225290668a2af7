// A tree as XML that reads back to the same tree.

#include "platform/work_stack.h"
#include "text/mZString.h"
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

// One growing buffer; texts are scanned for the next byte that cannot stand as
// it is.
class Output {
public:
    void put(const char* s, std::size_t n)
    {
        if (n == 0)
            return;
        if (m_limit - m_length < n)
            grow(n);
        copyText(m_text.get() + m_length, s, n);
        m_length += n;
    }
    /// A short literal, a text and another literal.
    template <std::size_t B, std::size_t A>
    void put(const char (&before)[B], const char* s, std::size_t n, const char (&after)[A])
    {
        if (m_limit - m_length < n + B + A)
            grow(n + B + A);
        char* to = m_text.get() + m_length;
        std::memcpy(to, before, B - 1);
        copyText(to + B - 1, s, n);
        std::memcpy(to + B - 1 + n, after, A - 1);
        m_length += B - 1 + n + A - 1;
    }
    void put(const char* s) { put(s, std::strlen(s)); }
    void put(char c) { put(&c, 1); }
    void blanks(std::size_t n)
    {
        if (m_limit - m_length < n)
            grow(n);
        std::memset(m_text.get() + m_length, ' ', n);
        m_length += n;
    }
    std::size_t length() const noexcept { return m_length - front; }
    /// Behind what out holds; an empty string takes over the block of a long text.
    void appendTo(ZString& out)
    {
        const int n = static_cast<int>(length());
        if (out.length() > 0 || m_limit < StringCore<char>::leastTaken) {
            out.append(m_text.get() + front, n);
            return;
        }
        mZString& to = StringAccess::need(out);
        // What a very large block has left goes back to the system; a smaller one is as roomy as any text
        // that grew, and cutting it would only make the next one come from fresh memory.
        if (m_limit > veryLarge && m_limit - m_length > spare)
            if (void* less = platform::heapResize(m_text.get(), m_length + spare)) {
                static_cast<void>(m_text.release());
                m_text.reset(static_cast<char*>(less));
                m_limit = m_length + spare - 1;
            }
        to.take(m_text.release(), m_limit + 1, n);
    }

private:
    static constexpr std::size_t front = StringCore<char>::blockHead;
    static constexpr std::size_t spare = 4096;
    static constexpr std::size_t veryLarge = std::size_t{32} << 20;
    void grow(std::size_t n)
    {
        const std::size_t wanted = m_length + n + spare;
        if (n > INT_MAX || wanted > INT_MAX)
            throwMemory();
        const std::size_t room = std::max(wanted, std::min<std::size_t>(m_limit + m_limit / 2, INT_MAX));
        char* fresh = static_cast<char*>(platform::heapResize(m_text.get(), room));
        if (!fresh)
            throwMemory();
        static_cast<void>(m_text.release());
        m_text.reset(fresh);
        m_limit = room - 1;
    }
    platform::HeapPtr<char> m_text; // begins with what heads a string's block
    std::size_t m_length = front;
    std::size_t m_limit = front; // one byte of the room is kept for the terminator
};

class Writer {
public:
    Writer(XmlError& error, const ztree::XmlStyle& style) noexcept : m_error(error), m_style(style) {}
    bool write(const ZTBranch& top);
    Output& output() noexcept { return m_out; }

private:
    struct Open {
        const ZTBranch* branch;
        int next;
        bool inlined;    // no line ends may come in
        bool onlyBlanks; // its text is blank, and none was written yet
    };
    bool fail(XmlFault fault, const char* message, const char* name);
    bool isName(const char* text, int n);
    template <unsigned char plain> bool escaped(const char* text, std::size_t n);
    bool startOfTag(const Core& branch);
    bool value(const Core& branch, bool& empty, bool& onlyBlanks);
    void line(std::size_t depth)
    {
        if (m_style.indent < 0)
            return;
        m_out.put('\n');
        m_out.blanks(std::min<std::size_t>(depth, ztree::XmlStyle::deepestIndent) *
                     static_cast<std::size_t>(m_style.indent));
    }

    XmlError& m_error;
    const ztree::XmlStyle& m_style;
    Output m_out;
};

bool Writer::fail(XmlFault fault, const char* message, const char* name)
{
    m_error.fault = fault;
    m_error.offset = m_out.length();
    std::snprintf(m_error.message, sizeof m_error.message, "%s\"%.80s\"", message, name ? name : "");
    return false;
}

bool Writer::isName(const char* text, int n)
{
    return (text && n > 0 && xmlNameLength(text, text + n) == static_cast<std::size_t>(n)) ||
           fail(XmlFault::name, "this is no name in XML: ", text);
}

template <unsigned char plain> bool Writer::escaped(const char* text, std::size_t n)
{
    const char* end = text + n;
    const char* run = text;
    for (const char* at = text; at < end;) {
        at = skipOrdinary<plain>(at, end);
        if (at == end)
            break;
        const char* replacement = nullptr;
        switch (*at) {
        case '<':
            replacement = "&lt;";
            break;
        case '&':
            replacement = "&amp;";
            break;
        case '"':
            replacement = "&quot;";
            break;
        case '\t':
            replacement = "&#9;";
            break;
        case '\n':
            replacement = "&#10;";
            break;
        case '\r':
            replacement = "&#13;";
            break;
        case '\'':
            ++at;
            continue;
        case ']':
            // Only "]]>" is forbidden; the ">" is what is replaced.
            if (end - at >= 3 && at[1] == ']' && at[2] == '>') {
                m_out.put(run, static_cast<std::size_t>(at + 2 - run));
                m_out.put("&gt;");
                at += 3;
                run = at;
            } else {
                ++at;
            }
            continue;
        default: {
            std::uint32_t c = 0;
            const int width = utf8Character(at, static_cast<std::size_t>(end - at), c);
            if (width == 0 || !isXmlCharacter(c))
                return false;
            at += width;
            continue;
        }
        }
        m_out.put(run, static_cast<std::size_t>(at - run));
        m_out.put(replacement);
        run = ++at;
    }
    m_out.put(run, static_cast<std::size_t>(end - run));
    return true;
}

bool Writer::startOfTag(const Core& branch)
{
    if (!isName(branch.name(), branch.nameLength()))
        return false;
    m_out.put("<", branch.name(), static_cast<std::size_t>(branch.nameLength()), "");
    for (int i = 0; i < branch.attribCount(); ++i) {
        const ZAttrib& attrib = *branch.attrib(i);
        const int length = nameLength(attrib);
        if (!isName(attrib.getName(), length))
            return false;
        m_out.put(" ", attrib.getName(), static_cast<std::size_t>(length), "=\"");
        if (!escaped<xmlPlainValue>(attrib.getValue(), static_cast<std::size_t>(valueLength(attrib))))
            return fail(XmlFault::unrepresented, "XML cannot hold the value of the attribute ",
                        attrib.getName());
        m_out.put('"');
    }
    return true;
}

// The value as text; `empty` when there is none.
bool Writer::value(const Core& branch, bool& empty, bool& onlyBlanks)
{
    char digits[NarrowTree::numberRoom];
    const char* text = branch.binary();
    std::size_t n = text ? branch.binaryLength() : 0;
    if (branch.type() != 7 && branch.type() != 0) {
        n = static_cast<std::size_t>(branch.printNumber(digits));
        text = digits;
    }
    if (n && empty) {
        empty = false;
        m_out.put('>');
    }
    if (n && onlyBlanks) {
        // Blanks among elements do not count; one that is written as a reference does, and makes all count.
        char reference[40]; // 5 bytes are used; the compiler takes copyText() to read up to 32
        m_out.put(reference,
                  static_cast<std::size_t>(std::snprintf(reference, sizeof reference, "&#%d;", *text)));
        ++text;
        --n;
        onlyBlanks = false;
    }
    return escaped<xmlPlainText>(text, n) ||
           fail(XmlFault::unrepresented, "XML cannot hold the value of ", branch.name());
}

bool isText(const Core& branch) noexcept
{
    return branch.nameLength() == 5 && std::memcmp(branch.name(), "#text", 5) == 0;
}

bool hasText(const Core& branch) noexcept
{
    return branch.type() == 7 ? branch.binaryLength() > 0 : branch.type() != 0;
}

bool isBlank(const Core& branch) noexcept
{
    if (branch.type() != 7)
        return branch.type() == 0;
    const char* text = branch.binary();
    return std::all_of(text, text + branch.binaryLength(), [](char c) { return xmlChars.is(c, xmlSpace); });
}

// What stands in an element that has children: whether text does, and whether that is nothing but blanks
// beside elements.
void lookAtText(const Core& element, bool& text, bool& onlyBlanks) noexcept
{
    bool elements = false;
    bool ordinary = !isBlank(element);
    text = hasText(element);
    for (int i = 0; i < element.childCount() && !ordinary; ++i) {
        const ZTBranch* child = element.child(i);
        if (!child)
            continue;
        // A branch made by a reader is one block: what is asked for stands in its first two lines.
        // Near the end there is none ahead; an address may be anything, a pointer may not.
        const auto ahead = reinterpret_cast<std::uintptr_t>(element.child(i + 6));
        __builtin_prefetch(reinterpret_cast<const void*>(ahead));
        __builtin_prefetch(reinterpret_cast<const void*>(ahead + 64));
        const bool piece = isText(*Core::of(child));
        elements |= !piece;
        text |= piece && hasText(*Core::of(child));
        ordinary |= piece && !isBlank(*Core::of(child));
    }
    onlyBlanks = text && elements && !ordinary;
}

bool Writer::write(const ZTBranch& top)
{
    if (m_style.declaration) {
        m_out.put("<?xml version=\"1.0\" encoding=\"UTF-8\"?>");
        m_out.put('\n');
    }
    platform::WorkStack<Open> way;
    const ZTBranch* next = &top;
    while (next) {
        const Core& branch = *Core::of(next);
        const bool inlined = !way.empty() && way.top().inlined;
        if (!way.empty() && isText(branch)) {
            bool empty = false;
            if (!value(branch, empty, way.top().onlyBlanks))
                return false;
        } else {
            if (!way.empty() && !inlined)
                line(way.size());
            if (!startOfTag(branch))
                return false;
            bool empty = true;
            bool text = false;
            bool onlyBlanks = false;
            if (branch.childCount())
                lookAtText(branch, text, onlyBlanks);
            if (!value(branch, empty, onlyBlanks))
                return false;
            if (branch.childCount()) {
                if (empty)
                    m_out.put('>');
                // Line ends among the children of an element with text would become part of the text.
                if (!way.push({next, 0, inlined || text, onlyBlanks}))
                    throwMemory();
            } else if (empty) {
                m_out.put("/>", 2);
            } else {
                m_out.put("</", branch.name(), static_cast<std::size_t>(branch.nameLength()), ">");
            }
        }
        next = nullptr;
        while (!way.empty() && !next) {
            Open& open = way.top();
            const Core& around = *Core::of(open.branch);
            if (open.next < around.childCount()) {
                next = around.child(open.next++);
                for (std::size_t i = 0; next && Core::of(next)->wasLinked() && i < way.size(); ++i)
                    if (way[i].branch == next)
                        return fail(XmlFault::unrepresented, "a link leads back to ", Core::of(next)->name());
                continue;
            }
            if (!open.inlined)
                line(way.size() - 1);
            m_out.put("</", around.name(), static_cast<std::size_t>(around.nameLength()), ">");
            way.pop();
        }
    }
    if (m_style.indent >= 0)
        m_out.put('\n');
    return true;
}

} // namespace

namespace ztree {

bool writeXml(const ZTBranch& branch, ZString& out, XmlError* error, const XmlStyle& style)
{
    XmlError scratch;
    XmlError& report = error ? *error : scratch;
    report = XmlError();
    Writer writer(report, style);
    if (!writer.write(branch))
        return false;
    writer.output().appendTo(out);
    return true;
}

bool writeXml(const ZTree& tree, ZString& out, XmlError* error, const XmlStyle& style)
{
    if (tree.root())
        return writeXml(*tree.root(), out, error, style);
    if (error) {
        *error = XmlError();
        error->fault = XmlFault::structure;
        std::snprintf(error->message, sizeof error->message, "the tree is empty");
    }
    return false;
}

} // namespace ztree
