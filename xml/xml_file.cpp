#include "xml/xml_file.h"

#include "platform/codepage.h"
#include "text/string_core.h"

#include <ztree/runtime.h>

#include <algorithm>
#include <charconv>
#include <climits>

namespace ztree_impl {

namespace {

[[noreturn]] void throwMemory()
{
    throw structExcept(ztree::errMemory);
}

constexpr int growth = 4096;   // of the document between long texts
constexpr int chunk = 1014;    // texts above it make their own room
constexpr int oneLine = 80;    // from here on an element's tags stand on lines of their own
constexpr int mostDigits = 42; // of a packed number

template <class Ch> const Ch* orEmpty(const Ch* text) noexcept
{
    static const Ch none = 0;
    return text ? text : &none;
}

} // namespace

template <class Kind> XmlFileCore<Kind>::XmlFileCore()
{
    m_out.setGrowth(growth);
}

template <class Kind> XmlFileCore<Kind>::~XmlFileCore()
{
    clear();
}

template <class Kind> void XmlFileCore<Kind>::clear() noexcept
{
    while (Name* name = m_names) {
        m_names = name->outer;
        platform::heapFree(name);
    }
    m_depth = 0;
    m_pending = m_lineFeed = m_indent = m_empty = false;
    m_out.clear();
}

template <class Kind> void XmlFileCore<Kind>::put(const Ch* text, int n)
{
    if (n > 0)
        m_out.append(text, n);
}

template <class Kind> void XmlFileCore<Kind>::put(const char* ascii)
{
    Ch text[64];
    int n = 0;
    for (; ascii[n]; ++n)
        text[n] = static_cast<Ch>(ascii[n]);
    put(text, n);
}

template <> int XmlFileCore<NarrowXml>::start(const char** result, const char* docType, const char* systemId)
{
    clear();
    m_result = result;
    if (result)
        *result = nullptr;
    if (!docType || !systemId)
        return 0;
    put("\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"utf-8\"");
    put(" standalone=\"no\"?>\n<!DOCTYPE ");
    put(docType, textLength(docType));
    put(" SYSTEM \"");
    put(systemId, textLength(systemId));
    put("\">\n");
    return 0;
}

template <>
int XmlFileCore<WideXml>::start(const zwchar** result, const zwchar* docType, const zwchar* systemId)
{
    clear();
    m_result = result;
    if (result)
        *result = nullptr;
    if (!docType || !systemId)
        return 0;
    m_out.append(static_cast<zwchar>(0xFEFF));
    put("<?xml version=\"1.0\" encoding=\"utf-16\"");
    put(" standalone=\"no\"?>\r\n<!DOCTYPE ");
    put(docType, textLength(docType));
    put(" SYSTEM \"");
    put(systemId, textLength(systemId));
    put("\">\r\n");
    return 0;
}

template <class Kind> int XmlFileCore<Kind>::finish()
{
    if (m_out.length() == 0)
        return 0;
    while (m_depth > 0)
        ascend();
    if (m_result)
        *m_result = m_out.getBuffer();
    return 1;
}

template <class Kind> int XmlFileCore<Kind>::freeBuffer(const Ch** p) noexcept
{
    if (m_result)
        *m_result = nullptr;
    if (p)
        *p = nullptr;
    return 1;
}

// --- text ---

template <class Kind> void XmlFileCore<Kind>::indent()
{
    if (!m_indent)
        return;
    m_indent = false;
    static const char blanks[] = "                                                ";
    constexpr std::size_t perPut = (sizeof blanks - 1) / 3;
    std::size_t levels = static_cast<std::size_t>(m_depth);
    for (; levels > perPut; levels -= perPut)
        put(blanks);
    put(blanks + sizeof blanks - 1 - 3 * levels);
}

template <class Kind> int XmlFileCore<Kind>::write(const Ch* text, int length, bool escape)
{
    indent();
    const int n = !text ? 0 : length < 1 ? textLength(text) : length;
    if (!escape) {
        put(text, n);
        return n < 1; // Kept: nobody tests it.
    }
    escaped(text, n);
    return 1;
}

template <class Kind> int XmlFileCore<Kind>::lineFeed()
{
    const Ch end = '\n';
    put(&end, 1);
    m_indent = true;
    return 1;
}

namespace {

// Whether an "&" begins an entity that the writer itself would write.
template <class Ch> bool isEntity(const Ch* amp, const Ch* end) noexcept
{
    for (const char* entity : {"&amp;", "&lt;", "&gt;", "&quot;"}) {
        const Ch* at = amp;
        while (*entity && at < end) {
            const Ch c = *at >= 'A' && *at <= 'Z' ? static_cast<Ch>(*at | 0x20) : *at;
            if (c != static_cast<Ch>(*entity))
                break;
            ++entity;
            ++at;
        }
        if (!*entity)
            return true;
    }
    return false;
}

template <class Ch> bool isSpecial(Ch c) noexcept
{
    return c == '<' || c == '>' || c == '"' || c == '&' || c == 0;
}

bool leads(char c) noexcept
{
    return static_cast<unsigned char>(c) > 127 && platform::isLeadByte(0, static_cast<unsigned char>(c));
}
bool leads(zwchar) noexcept
{
    return false;
}
bool hasLeads(char) noexcept
{
    static const bool some = [] {
        for (unsigned c = 128; c < 256; ++c)
            if (platform::isLeadByte(0, static_cast<unsigned char>(c)))
                return true;
        return false;
    }();
    return some;
}
bool hasLeads(zwchar) noexcept
{
    return false;
}

} // namespace

template <class Kind> void XmlFileCore<Kind>::escaped(const Ch* text, int n)
{
    typename Kind::String converted;
    if constexpr (sizeof(Ch) == 1) {
        if (m_codepage != platform::codepageUtf8 && n > 0) {
            converted.set(text, n, m_codepage);
            converted.convertTo(platform::codepageUtf8);
            text = converted.getBuffer();
            n = converted.length();
        }
    }
    if (n > chunk)
        m_out.setGrowth(n > INT_MAX - chunk ? INT_MAX : n + chunk);
    const bool doubleBytes = hasLeads(Ch{});
    const Ch* end = text + n;
    const Ch* plain = text;
    for (const Ch* at = text; at < end; ++at) {
        if (doubleBytes && leads(*at)) {
            if (++at == end)
                break;
            if (*at)
                continue; // the second half of a character
        }
        if (!isSpecial(*at))
            continue;
        if (*at == '&' && isEntity(at, end))
            continue;
        put(plain, static_cast<int>(at - plain));
        plain = at + 1;
        if (*at == '<')
            put("&lt;");
        else if (*at == '>')
            put("&gt;");
        else if (*at == '"')
            put("&quot;");
        else if (*at == '&')
            put("&amp;");
        else { // a zero ends the text
            end = plain = at;
            break;
        }
    }
    put(plain, static_cast<int>(end - plain));
    if (n > chunk)
        m_out.setGrowth(growth);
}

// --- tags ---

template <class Kind> void XmlFileCore<Kind>::startOf(const Ch* name, int n)
{
    indent();
    put("<");
    put(name, n);
}

template <class Kind> void XmlFileCore<Kind>::closeStart(bool more)
{
    if (!more) {
        put(m_empty ? "/>" : ">");
        m_empty = false;
    }
    m_pending = more;
}

template <class Kind> int XmlFileCore<Kind>::startTag(const Ch* name, bool more)
{
    startOf(name, name ? textLength(name) : 0);
    closeStart(more);
    return 1;
}

template <class Kind> int XmlFileCore<Kind>::quickTag(const Ch* name, bool more)
{
    m_empty = true;
    return startTag(name, more);
}

template <class Kind> int XmlFileCore<Kind>::endTag(const Ch* name, int n)
{
    indent();
    put("</");
    put(name, n);
    put(">");
    return 1;
}

template <class Kind> int XmlFileCore<Kind>::endTag(const Ch* name)
{
    return endTag(name, name ? textLength(name) : 0);
}

template <class Kind> int XmlFileCore<Kind>::attrib(const Ch* name, const Ch* value, bool more)
{
    indent();
    put(" ");
    put(name, name ? textLength(name) : 0);
    put("=\"");
    escaped(value, value ? textLength(value) : 0);
    put("\"");
    m_pending = more;
    if (more)
        return 1;
    if (m_empty) {
        m_empty = false;
        put("/>");
        return 1;
    }
    put(">");
    if (m_lineFeed) {
        m_lineFeed = false;
        lineFeed();
    }
    return 1;
}

template <class Kind> int XmlFileCore<Kind>::descend(const Ch* name, bool more)
{
    static const Ch unnamed[] = {'_', 'u', 'n', 'n', 'a', 'm', 'e', 'd', 0};
    if (!name)
        name = unnamed;
    return descend(name, textLength(name), more);
}

template <class Kind> int XmlFileCore<Kind>::descend(const Ch* name, int n, bool more)
{
    void* block = platform::heapAlloc(sizeof(Name) + static_cast<std::size_t>(n) * sizeof(Ch));
    if (!block)
        throwMemory();
    Name* node = static_cast<Name*>(block);
    node->outer = m_names;
    node->length = n;
    std::copy_n(name, n, node->text);
    node->text[n] = 0;
    try {
        startOf(name, n);
        closeStart(more);
    } catch (...) {
        platform::heapFree(block);
        throw;
    }
    m_names = node;
    ++m_depth;
    if (more) {
        m_lineFeed = true;
        return 1;
    }
    return lineFeed();
}

template <class Kind> int XmlFileCore<Kind>::ascend()
{
    if (m_depth == 0)
        return 0;
    // The end tag stands one level out.
    --m_depth;
    Name* name = m_names;
    try {
        endTag(name->text, name->length);
    } catch (...) {
        ++m_depth;
        throw;
    }
    m_names = name->outer;
    platform::heapFree(name);
    return lineFeed();
}

// --- elements ---

template <class Kind> int XmlFileCore<Kind>::writeStr(const Ch* name, const Ch* value)
{
    const int n = value ? textLength(value) : 0;
    if (n < oneLine) {
        startTag(name, false);
        escaped(value, n);
        return endTag(name);
    }
    descend(name, false);
    write(value, n, true);
    ascend();
    return 1;
}

template <class Kind> int XmlFileCore<Kind>::writeData(const Ch* name, const Ch* data, int length)
{
    int n = data ? std::max(length, 0) : 0;
    while (n > 0 && static_cast<std::make_unsigned_t<std::conditional_t<sizeof(Ch) == 1, char, short>>>(
                        data[n - 1]) < 33)
        --n;
    platform::HeapPtr<Ch> copy(platform::allocArray<Ch>(static_cast<std::size_t>(n) + 1));
    if (!copy)
        throwMemory();
    std::copy_n(data, n, copy.get());
    copy[static_cast<std::size_t>(n)] = 0;
    return writeStr(name, copy.get());
}

template <class Kind>
int XmlFileCore<Kind>::writePacked(const Ch* name, const unsigned char* digits, int count)
{
    Ch text[mostDigits + 1];
    const int n = digits ? std::clamp(count, 0, mostDigits) : 0;
    for (int i = 0; i < n; ++i)
        text[i] = static_cast<Ch>('0' + (i % 2 ? digits[i / 2] & 15 : digits[i / 2] >> 4));
    text[n] = 0;
    return writeStr(name, text);
}

template <class Kind> int XmlFileCore<Kind>::writeAmount(const Ch* name, double value, int decimals)
{
    // The longest double has 309 digits before the point; behind 1,074 decimals
    // every one is 0.
    char digits[310 + 1 + 1100 + 2];
    if (decimals < 0)
        decimals = 6; // printf's default
    decimals = std::min(decimals, 1100);
    const char* end =
        std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, decimals).ptr;
    Ch text[sizeof digits + 1];
    int n = 0;
    for (const char* c = digits; c < end; ++c)
        text[n++] = static_cast<Ch>(*c);
    text[n] = 0;
    return writeStr(name, text);
}

template <class Kind> int XmlFileCore<Kind>::writeCommand(const Ch* name, int command, const Ch* query)
{
    static const Ch commandName[] = {'C', 'o', 'm', 'm', 'a', 'n', 'd', 0};
    static const Ch queryName[] = {'Q', 'u', 'e', 'r', 'y', 0};
    Ch number[12];
    decimalText(command, number);
    quickTag(name, true);
    attrib(commandName, number, query != nullptr);
    if (query)
        attrib(queryName, query, false);
    return lineFeed();
}

// --- trees ---

template <class Kind> void XmlFileCore<Kind>::attribs(const BranchOf& branch)
{
    const int count = branch.attribCount();
    for (int i = 0; i < count; ++i)
        attrib(branch.attrib(i)->getName(), branch.attrib(i)->getValue(), i + 1 < count);
}

template <class Kind> void XmlFileCore<Kind>::leaf(const BranchOf& branch)
{
    Ch digits[Kind::TreeKind::numberRoom];
    const Ch* text = nullptr;
    int n = 0;
    if (branch.type() == 7) {
        text = reinterpret_cast<const Ch*>(branch.binary());
        n = static_cast<int>(branch.binaryLength() / sizeof(Ch));
    } else if (branch.type() != 0) {
        n = branch.printNumber(digits);
        text = digits;
    }
    const bool more = branch.attribCount() > 0;
    m_empty = !text || !n;
    const bool isEmpty = m_empty;
    startOf(branch.name(), branch.nameLength());
    closeStart(more);
    attribs(branch);
    if (!isEmpty) {
        escaped(text, n);
        endTag(branch.name(), branch.nameLength());
    }
    lineFeed();
}

template <class Kind> void XmlFileCore<Kind>::link(const BranchOf& leaf, const BranchOf& identity)
{
    static const Ch linkName[] = {'L', 'i', 'n', 'k', 0};
    static const Ch moduleName[] = {'M', 'o', 'd', 'u', 'l', 'e', 0};
    static const Ch nameName[] = {'N', 'a', 'm', 'e', 0};
    static const Ch commandName[] = {'C', 'o', 'm', 'm', 'a', 'n', 'd', 0};
    static const Ch queryName[] = {'Q', 'u', 'e', 'r', 'y', 0};
    auto value = [&identity](const Ch* name) -> const Ch* {
        const int at = identity.findAttrib(name);
        return at >= 0 ? identity.attrib(at)->getValue() : nullptr;
    };
    descend(linkName, false);
    const Ch* module = value(moduleName);
    if (module)
        descend(module, false);
    quickTag(orEmpty(value(nameName)), true);
    attrib(commandName, orEmpty(value(commandName)), true);
    // The query up to its last ".", then the leaf's own text.
    typename Kind::String query(value(queryName));
    query.truncate(0, query.lastIndexOf(static_cast<Ch>('.')) + 1);
    Ch digits[Kind::TreeKind::numberRoom];
    if (leaf.type() == 7)
        query.append(reinterpret_cast<const Ch*>(leaf.binary()),
                     static_cast<int>(leaf.binaryLength() / sizeof(Ch)));
    else if (leaf.type() != 0)
        query.append(digits, leaf.printNumber(digits));
    attrib(queryName, orEmpty(static_cast<const Ch*>(query.getBuffer())), false);
    lineFeed();
    if (module)
        ascend();
    ascend();
}

template <class Kind>
int XmlFileCore<Kind>::writeBranch(const Branch* top, const Branch* identity, bool inIdentity)
{
    struct Open {
        const Branch* branch;
        int next;
        bool inIdentity;
    };
    static const Ch identityName[] = {'V', 'E', 'L', 'I', 'd', 'e', 'n', 't', 'i', 't', 'y', 0};
    if (!top)
        return 1;
    const BranchOf* id = identity ? BranchOf::of(identity) : nullptr;
    platform::WorkStack<Open> way;
    for (const Branch* next = top; next;) {
        const BranchOf& branch = *BranchOf::of(next);
        bool inside = way.empty() ? inIdentity : way.top().inIdentity;
        if (branch.childCount() == 0) {
            if (id && inside && branch.equals(identityName) > 0)
                link(branch, *id);
            else
                leaf(branch);
        } else {
            if (id && id->name() && branch.equals(id->name()) > 0)
                inside = true;
            if (!way.push({next, 0, inside}))
                throwMemory();
            if (branch.name())
                descend(branch.name(), branch.nameLength(), branch.attribCount() > 0);
            else
                descend(nullptr, branch.attribCount() > 0);
            attribs(branch);
        }
        next = nullptr;
        while (!way.empty() && !next) {
            Open& open = way.top();
            const BranchOf& around = *BranchOf::of(open.branch);
            if (open.next < around.childCount()) {
                next = around.child(open.next++);
                // A link back to a branch around it would have no end.
                for (std::size_t i = 0; next && BranchOf::of(next)->wasLinked() && i < way.size(); ++i)
                    if (way[i].branch == next)
                        next = nullptr;
                continue;
            }
            ascend();
            way.pop();
        }
    }
    return 1;
}

template class XmlFileCore<NarrowXml>;
template class XmlFileCore<WideXml>;

} // namespace ztree_impl
