// Holds the strict reader and the exact writer against libxml2 on files, and on texts made by changing them.
//
//   check-xml [--mutate N] [--seed S] [--small] [--verbose] PATH...
//
// PATH is a file or a folder (searched for XML by the ends of the names). For each file: is it taken or
// refused by both, do both see the same tree, does it read back the same after it was written (indented and
// not).
// --mutate N: the same for N texts of at most 2 KB, cut from the files and changed at random places; S is the
// seed. --small: the small reader over the files too, with its time. Differences are listed by reason, each
// with its shortest text; status 1 when one of them has no known reason.
//
// libxml2 runs without namespaces, network, external DTD and expansion of entities.

#include <ztree/ext/strings.h>
#include <ztree/ext/xml.h>
#include <ztree/xml.h>

#include <libxml/parser.h>
#include <libxml/xmlerror.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;

// --- one form for both trees: <name NUL, @name=value NUL, "text NUL, > at the end ---

struct Canon {
    std::string out;
    void start(std::string_view name) { add('<', name); }
    void attribute(std::string_view name, std::string_view value)
    {
        out += '@';
        out += name;
        add('=', value);
    }
    void text(std::string_view s) { add('"', s); }
    void end() { out += '>'; }

private:
    void add(char kind, std::string_view s)
    {
        out += kind;
        out += s;
        out += '\0';
    }
};

std::string canonOf(const ZTree& tree)
{
    Canon canon;
    std::vector<std::pair<const ZTBranch*, int>> way;
    auto enter = [&](const ZTBranch* branch) {
        const void* value = nullptr;
        int bytes = 0;
        branch->getValuePtr(&value, &bytes);
        const std::string_view text(static_cast<const char*>(value), static_cast<std::size_t>(bytes));
        if (std::strcmp(branch->getName(), "#text") == 0) {
            canon.text(text);
            return;
        }
        canon.start(branch->getName());
        for (int i = 0; i < branch->getAttribCount(); ++i) {
            const char* s = nullptr;
            int n = 0;
            branch->getAttribValue(i, &s, &n);
            canon.attribute(branch->getAttrib(i)->getName(), {s ? s : "", static_cast<std::size_t>(n)});
        }
        if (bytes)
            canon.text(text);
        way.emplace_back(branch, 0);
    };
    if (tree.root())
        enter(tree.root());
    while (!way.empty()) {
        const ZTBranch* child = way.back().first->getChild(way.back().second++);
        if (child) {
            enter(child);
        } else {
            canon.end();
            way.pop_back();
        }
    }
    return canon.out;
}

struct Result {
    bool taken = false;
    std::string tree;
    std::string reason; // of a refusal, without what varies
    int code = 0;
    int line = 0;
};

// --- this library ---

Result ours(const std::string& text)
{
    static const char* const faults[] = {"none",      "file",    "encoding",     "character",
                                         "syntax",    "end tag", "attribute",    "entity",
                                         "structure", "name",    "unrepresented"};
    Result r;
    ZTree tree;
    ztree::XmlError error;
    // In a block of its own, so that a sanitizer sees a step behind the end.
    const std::vector<char> bytes(text.begin(), text.end());
    r.taken = ztree::readXml(bytes.data(), bytes.size(), tree, &error);
    if (r.taken) {
        r.tree = canonOf(tree);
        return r;
    }
    r.code = static_cast<int>(error.fault);
    r.line = error.line;
    std::string_view message = error.message;
    if (error.fault == ztree::XmlFault::endTag || error.fault == ztree::XmlFault::entity)
        message = message.substr(0, message.find('"'));
    if (const std::size_t colon = message.find(": "); colon != message.npos)
        message = message.substr(0, colon);
    if (const std::size_t code = message.find("U+"); code != message.npos)
        message = message.substr(0, code);
    if (const std::size_t behind = message.find("behind "); behind != message.npos)
        message = message.substr(0, behind);
    r.reason = std::string(faults[r.code]) + ": " + std::string(message);
    return r;
}

// What a written tree gives when it is read; empty when it is the same.
std::string roundTrip(const std::string& text)
{
    ZTree tree;
    if (!ztree::readXml(text.data(), text.size(), tree))
        return "";
    const std::string before = canonOf(tree);
    for (const int indent : {2, -1}) {
        ztree::XmlStyle style;
        style.indent = indent;
        ZString out;
        ztree::XmlError error;
        if (!ztree::writeXml(tree, out, &error, style))
            return std::string("not writable: ") + error.message;
        ZTree again;
        const std::string_view written = ztree::view(out);
        if (!ztree::readXml(written.data(), written.size(), again, &error))
            return std::string("not readable again: ") + error.message;
        if (canonOf(again) != before)
            return indent < 0 ? "another tree" : "another tree when indented";
    }
    return "";
}

// --- libxml2 ---

std::string_view plain(const xmlChar* s)
{
    return reinterpret_cast<const char*>(s);
}
std::string_view plain(const xmlChar* s, int n)
{
    return {reinterpret_cast<const char*>(s), static_cast<std::size_t>(n)};
}

// Attribute values keep every "&" as a reference.
std::string value(const xmlChar* s)
{
    std::string out(s ? plain(s) : "");
    for (std::size_t at = 0; (at = out.find("&#38;", at)) != out.npos; ++at)
        out.erase(at + 1, 4);
    return out;
}

bool isBlank(std::string_view s)
{
    return s.find_first_not_of(" \t\r\n") == s.npos;
}

// Blank text between child elements counts only beside other text; references and CDATA are such.
class Builder {
public:
    void start(const xmlChar* name, const xmlChar** attributes)
    {
        if (!m_open.empty())
            m_open.back().hasChild = true;
        m_inText = false;
        m_canon.start(plain(name));
        for (; attributes && *attributes; attributes += 2)
            m_canon.attribute(plain(attributes[0]), value(attributes[1]));
        m_open.emplace_back();
    }
    void end()
    {
        const Open& open = m_open.back();
        if (open.hasChild && !open.hasText)
            m_dropped.insert(m_dropped.end(), open.blanks.begin(), open.blanks.end());
        m_open.pop_back();
        m_inText = false;
        m_canon.end();
    }
    void text(std::string_view s, bool literal)
    {
        if (m_open.empty() || s.empty())
            return;
        Open& open = m_open.back();
        if (!literal || !isBlank(s))
            open.hasText = true;
        if (m_inText) {
            m_canon.out.pop_back();
            m_canon.out += s;
            m_canon.out += '\0';
            open.blanks.back().second += s.size();
        } else {
            open.blanks.emplace_back(m_canon.out.size(), s.size() + 2);
            m_canon.text(s);
            m_inText = true;
        }
    }
    std::string finish()
    {
        std::sort(m_dropped.begin(), m_dropped.end());
        std::string kept;
        std::size_t from = 0;
        for (const auto& drop : m_dropped) {
            kept.append(m_canon.out, from, drop.first - from);
            from = drop.first + drop.second;
        }
        return kept.append(m_canon.out, from, std::string::npos);
    }
    bool sawEntity = false;

private:
    struct Open {
        bool hasText = false;
        bool hasChild = false;
        std::vector<std::pair<std::size_t, std::size_t>> blanks; // texts: place and bytes in the result
    };
    Canon m_canon;
    std::vector<Open> m_open;
    std::vector<std::pair<std::size_t, std::size_t>> m_dropped;
    bool m_inText = false;
};

class Peer {
public:
    Result read(const std::string& text)
    {
        // Names pile up in the dictionary of a context.
        if (!m_context || ++m_uses % 2000 == 0)
            renew();
        Builder builder;
        m_result = Result();
        m_context->_private = &builder;
        xmlSetStructuredErrorFunc(this, onError);
        xmlDoc* doc = xmlCtxtReadMemory(m_context.get(), text.data(), static_cast<int>(text.size()), nullptr,
                                        nullptr, XML_PARSE_NONET | XML_PARSE_HUGE | XML_PARSE_NOWARNING);
        m_result.taken = doc && m_context->wellFormed;
        xmlFreeDoc(doc);
        if (m_result.taken)
            m_result.tree = builder.finish();
        else if (m_result.reason.empty())
            m_result.reason = "refused without a reason";
        usesEntities = builder.sawEntity;
        return m_result;
    }
    bool usesEntities = false; // of the text last read

private:
    struct Free {
        void operator()(xmlParserCtxt* context) const { xmlFreeParserCtxt(context); }
    };
    static Builder& builderOf(void* context)
    {
        return *static_cast<Builder*>(static_cast<xmlParserCtxt*>(context)->_private);
    }
    void renew()
    {
        m_context.reset(xmlNewParserCtxt());
        xmlSAXHandler* sax = m_context->sax;
        xmlSAXVersion(sax, 1);
        sax->startElement = [](void* c, const xmlChar* name, const xmlChar** attributes) {
            builderOf(c).start(name, attributes);
        };
        sax->endElement = [](void* c, const xmlChar*) { builderOf(c).end(); };
        sax->characters = sax->ignorableWhitespace = [](void* c, const xmlChar* s, int n) {
            // Behind a reference stands its semicolon, behind blank text never.
            const xmlParserInput* input = static_cast<xmlParserCtxt*>(c)->input;
            builderOf(c).text(plain(s, n), input->cur == input->base || input->cur[-1] != ';');
        };
        sax->cdataBlock = [](void* c, const xmlChar* s, int n) { builderOf(c).text(plain(s, n), false); };
        sax->reference = [](void* c, const xmlChar*) { builderOf(c).sawEntity = true; };
        sax->comment = nullptr;
        sax->processingInstruction = nullptr;
    }
    static void onError(void* self, xmlError* error)
    {
        Result& r = static_cast<Peer*>(self)->m_result;
        if (error->level != XML_ERR_FATAL || r.code)
            return;
        r.code = error->code;
        r.line = error->line;
        std::string message = error->message ? error->message : "";
        while (!message.empty() && message.back() == '\n')
            message.pop_back();
        // Without what varies: names, line numbers, bytes.
        for (const char* varies : {" in tag ", "Tag ", ", bytes 0x", "Entity '", ": ", " for attribute "})
            message.resize(std::min(message.find(varies), message.size()));
        r.reason = std::to_string(error->code) + " " + message;
    }

    std::unique_ptr<xmlParserCtxt, Free> m_context;
    Result m_result;
    long m_uses = 0;
};

// --- differences and their reasons ---

// The text without its DOCTYPE; empty when there is none.
std::string withoutDoctype(const std::string& text)
{
    std::size_t at = 0;
    auto skip = [&](const char* close) {
        const std::size_t end = text.find(close, at + 1);
        at = end == text.npos ? text.size() : end + std::strlen(close);
    };
    auto skipped = [&] {
        if (text.compare(at, 4, "<!--") == 0)
            skip("-->");
        else if (text.compare(at, 2, "<?") == 0)
            skip("?>");
        else
            return false;
        return true;
    };
    while (at < text.size() && text.compare(at, 9, "<!DOCTYPE") != 0)
        if (!skipped())
            ++at;
    if (at == text.size())
        return "";
    const std::size_t start = at;
    bool inside = false; // of the brackets, and there of a declaration
    for (bool deep = false; at < text.size();) {
        if (skipped())
            continue;
        if (text[at] == '"' || text[at] == '\'')
            skip(text[at] == '"' ? "\"" : "'");
        else if (const char c = text[at++]; (c == '[' && !inside) || (c == ']' && !deep))
            inside = c == '[';
        else if (c == '>' && !inside)
            break;
        else if (c == '<' || c == '>')
            deep = c == '<';
    }
    return text.substr(0, start) + text.substr(at);
}

// The declared encoding in small letters.
std::string declared(const std::string& text)
{
    std::string head = text.substr(0, text.find("?>"));
    std::transform(head.begin(), head.end(), head.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? c | 32 : c; });
    std::size_t at = head.find("<?xml") < 4 ? head.find("encoding") : head.npos;
    at = head.find_first_of("\"'", at);
    return at == head.npos ? "" : head.substr(at + 1, head.find(head[at], at + 1) - at - 1);
}

// What libxml2 calls the code page that an encoding is read with here; empty when that is its own name.
std::string windowsName(const std::string& encoding)
{
    static const std::map<std::string, const char*> names = {{"shift_jis", "cp932"},
                                                             {"gb2312", "cp936"},
                                                             {"gbk", "cp936"},
                                                             {"euc-kr", "cp949"},
                                                             {"big5", "cp950"}};
    const auto found = names.find(encoding);
    return found == names.end() ? "" : found->second;
}

class Comparison {
public:
    // The difference and, behind a bar, its reason where it is known; empty when there is none.
    std::string compare(const std::string& text)
    {
        const Result mine = ours(text);
        const Result theirs = m_peer.read(text);
        m_taken = mine.taken && theirs.taken;
        std::string difference;
        if (mine.taken != theirs.taken)
            difference =
                mine.taken ? "only libxml2 refuses: " + theirs.reason : "only we refuse: " + mine.reason;
        else if (mine.taken && mine.tree != theirs.tree)
            difference = "other trees";
        if (!difference.empty())
            return difference + " | " + reason(text, mine, theirs);
        if (mine.taken)
            if (const std::string changed = roundTrip(text); !changed.empty())
                return "written and read: " + changed + " | ";
        return "";
    }
    bool bothTook() const { return m_taken; }

private:
    std::string reason(const std::string& text, const Result& mine, const Result& theirs)
    {
        if (!mine.taken && mine.code == static_cast<int>(ztree::XmlFault::entity))
            return "entities of a DTD are not known";
        if (!mine.taken && mine.reason.find("is not known") != std::string::npos)
            return "an encoding that is not supported";
        if (mine.reason.find("no version of XML 1") != std::string::npos)
            return "libxml2 takes a version without digits behind the point";
        if (mine.reason.find("UTF-16") != std::string::npos)
            return "libxml2 leaves out half a character at the end";
        if (mine.reason == "syntax: a blank is missing " && theirs.taken)
            return "libxml2 wants no blank behind DOCTYPE";
        if (!mine.taken && text.find('\0') != text.npos && m_peer.read(text.substr(0, text.find('\0'))).taken)
            return "libxml2 stops at a zero byte behind the document";
        if (mine.taken && theirs.code == XML_ERR_INVALID_HEX_CHARREF)
            return "libxml2 loses count in long hexadecimal references";
        const std::string encoding = declared(text);
        if (mine.taken && theirs.code == XML_ERR_UNSUPPORTED_ENCODING &&
            static_cast<unsigned char>(text[0]) >= 0xFE)
            return "a byte-order mark counts more than the declaration";
        const bool marked = text.compare(0, 3, "\xEF\xBB\xBF") == 0;
        if (const std::string name = marked ? "utf-8" : windowsName(encoding); !name.empty()) {
            const std::size_t at = text.find_first_of("\"'", text.find("encoding")) + 1;
            const Result renamed = m_peer.read(text.substr(0, at) + name + text.substr(at + encoding.size()));
            if (renamed.taken == mine.taken && renamed.tree == mine.tree)
                return marked ? "a byte-order mark counts more than the declaration"
                              : "the encoding as Windows knows it";
        }
        if (mine.taken && theirs.taken && (encoding == "windows-1255" || encoding == "windows-1258"))
            return "iconv composes letters and their marks";
        if (mine.taken && theirs.taken && encoding.compare(0, 9, "iso-8859-") == 0)
            return "later characters of the encoding";
        if (mine.reason.find("may follow the document") != std::string::npos && isForeign(text, mine, theirs))
            return "libxml2 stops at bytes that the encoding does not have behind the document";
        if (mine.taken && !encoding.empty() && encoding.compare(0, 4, "utf-") != 0 &&
            isForeign(text, mine, theirs))
            return "bytes that the encoding does not have are taken";
        if (mine.taken && theirs.taken) {
            std::string rest = text;
            for (std::size_t at = 0; (at = rest.find("<![CDATA[]]>", at)) != rest.npos;)
                rest.erase(at, 12);
            if (rest.size() < text.size() && ours(rest).tree == theirs.tree)
                return "an empty CDATA section counts as text";
        }
        if (const std::string rest = withoutDoctype(text); mine.taken && !rest.empty()) {
            const Result without = m_peer.read(rest);
            if (without.taken && without.tree == mine.tree)
                return theirs.taken ? "what the DTD adds" : "the inside of the DTD is not checked";
        }
        return "";
    }
    // Refused for its bytes: iconv says so, or the text is taken without those above ASCII; taken in spite of
    // them: with another meaning, or because they stand behind the document.
    bool isForeign(const std::string& text, const Result& mine, const Result& theirs)
    {
        const auto above = [](char c) { return static_cast<unsigned char>(c) >= 128; };
        std::string ascii = text;
        ascii.erase(std::remove_if(ascii.begin(), ascii.end(), above), ascii.end());
        if (ascii.size() == text.size() || theirs.code == XML_I18N_CONV_FAILED)
            return ascii.size() < text.size();
        if (!theirs.taken || mine.taken)
            return theirs.taken || m_peer.read(ascii).taken;
        int looks = 8;
        for (std::size_t at = text.size(); at-- && looks;)
            if (above(text[at]) && looks-- && m_peer.read(text.substr(0, at)).taken)
                return true;
        return false;
    }
    Peer m_peer;
    bool m_taken = false;
};

struct Difference {
    long count = 0;
    std::string example; // a text, or the path of a file
};

// The shortest text that shows the same difference, as far as leaving out parts leads.
std::string shrunk(Comparison& comparison, std::string text, const std::string& difference)
{
    for (std::size_t part = text.size() / 2; part; part /= 2) {
        for (std::size_t at = 0; at < text.size();) {
            const std::string less = text.substr(0, at) + text.substr(std::min(text.size(), at + part));
            if (comparison.compare(less) == difference)
                text = less;
            else
                at += part;
        }
    }
    return text;
}

std::string shown(const std::string& text)
{
    std::string out;
    for (const char c : text.substr(0, 300)) {
        char code[8];
        const unsigned char u = static_cast<unsigned char>(c);
        std::snprintf(code, sizeof code, "\\x%02X", u);
        out += u < 32 || u > 126 ? std::string(code) : std::string(1, c);
    }
    return text.size() > 300 ? out + "..." : out;
}

int report(std::map<std::string, Difference>& differences, const char* what)
{
    int unknown = 0;
    for (const auto& [key, d] : differences) {
        const bool known = key.substr(key.size() - 2) != "| ";
        unknown += !known;
        std::printf("%s %s%8ld  %s\n      e.g. %s\n", what, known ? "" : "UNEXPLAINED ", d.count, key.c_str(),
                    d.example.c_str());
    }
    return unknown;
}

// --- files ---

std::string fileText(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

std::vector<fs::path> filesBelow(const fs::path& path)
{
    static const std::string_view ends =
        ".xml .xsl .xsd .xslt .svg .rng .ui .rdf .xhtml .docbook .glade .gir .owl .xmi .xlf .tei ";
    std::vector<fs::path> found;
    std::error_code none;
    if (fs::is_regular_file(path, none))
        return {path};
    for (fs::recursive_directory_iterator at(path, fs::directory_options::skip_permission_denied, none), end;
         at != end; at.increment(none))
        if (at->is_regular_file(none) && !at->is_symlink(none) && at->path().has_extension() &&
            ends.find(at->path().extension().string() + ' ') != ends.npos)
            found.push_back(at->path());
    std::sort(found.begin(), found.end());
    return found;
}

// --- changed texts ---

using Random = std::mt19937_64;

std::size_t below(Random& random, std::size_t n)
{
    return static_cast<std::size_t>(random() % n);
}

// Elements of 20 to 1,800 bytes out of a document, at most `most` of them, and the document itself if it is
// small.
void cut(const std::string& text, std::size_t most, Random& random, std::vector<std::string>& pieces)
{
    if (text.size() <= 2000)
        pieces.push_back(text);
    const std::size_t prolog = std::min(text.find("?>"), text.size());
    const std::string head = prolog < 200 ? text.substr(0, prolog + 2) : "";
    std::vector<std::size_t> open;
    std::vector<std::pair<std::size_t, std::size_t>> elements;
    for (std::size_t at = text.find('<'); at < text.size(); at = text.find('<', at + 1)) {
        const char* close = text.compare(at, 4, "<!--") == 0        ? "-->"
                            : text.compare(at, 9, "<![CDATA[") == 0 ? "]]>"
                            : text.compare(at, 2, "<?") == 0        ? "?>"
                                                                    : ">";
        const std::size_t end = text.find(close, at);
        if (end == text.npos)
            break;
        const std::size_t behind = end + std::strlen(close);
        const bool markup = *close == '>' && text[at + 1] != '!';
        std::size_t from = std::string::npos;
        if (markup && text[at + 1] == '/') {
            if (!open.empty()) {
                from = open.back();
                open.pop_back();
            }
        } else if (markup && text[end - 1] == '/') {
            from = at;
        } else if (markup) {
            open.push_back(at);
        }
        if (from != std::string::npos && behind - from >= 20 && behind - from <= 1800)
            elements.emplace_back(from, behind - from);
        at = end;
    }
    std::shuffle(elements.begin(), elements.end(), random);
    for (std::size_t i = 0; i < std::min(most, elements.size()); ++i)
        pieces.push_back((i % 2 ? head : "") + text.substr(elements[i].first, elements[i].second));
}

// What stands between bars; last a zero byte.
std::vector<std::string> split(std::string_view list)
{
    std::vector<std::string> out;
    for (std::size_t bar; (bar = list.find('|')) != list.npos; list.remove_prefix(bar + 1))
        out.emplace_back(list.substr(0, bar));
    out.emplace_back(1, '\0');
    return out;
}

void change(std::string& text, const std::vector<std::string>& pieces, Random& random)
{
    static const std::vector<std::string> parts =
        split("<|>|&|;|\"|'|=|/|!|?|-|[|]|(|)|#|:|%| |\t|\r|\n|\r\n|x|<a>|</a>|<a/>|<a b='c'>| a=\"b\"| "
              "a='b'|<![CDATA[|]]>|<!--"
              "|-->|--|<?p x?>|<?xml version=\"1.0\"?>|<?xml version='1.0' encoding='latin1' "
              "standalone='yes'?>|?>|&amp;|&lt;"
              "|&quot;|&apos;|&#65;|&#x41;|&#32;|&#13;|&#10;|&#9;|&#0;|&#x110000;|&#xFFFE;|&#x0000000000041;|"
              "&e;|<!DOCTYPE a>"
              "|<!DOCTYPE a [|<!DOCTYPE a SYSTEM \"a.dtd\">|<!ENTITY e 'v'>|<!ELEMENT a ANY>|<!ATTLIST a b "
              "CDATA 'c'>|]>"
              "|xml:lang|xmlns=''|\xEF\xBB\xBF|\xEF\xBF\xBE|\xED\xA0\x80|\xC0\x80|\xC3\xA4|\xC3|"
              "\xF0\x9F\x98\x80|\xC2\x85"
              "|\xE2\x80\xA8|\x7F|\x01|\xCD\xBE|\xC2\xB7|\xC3\x97|");
    const std::size_t at = below(random, text.size() + 1);
    const std::size_t n = std::min(text.size() - at, 1 + below(random, below(random, 4) ? 3 : 60));
    const std::size_t to = below(random, text.size() + 1);
    switch (below(random, 8)) {
    case 0:
        text.erase(at, n);
        break;
    case 1:
    case 2:
    case 3:
        text.insert(at, parts[below(random, parts.size())]);
        break;
    case 4:
        if (n)
            text[at] = static_cast<char>(below(random, 4) ? 32 + below(random, 96) : below(random, 256));
        break;
    case 5:
        text.insert(to, std::string(text, at, n));
        break;
    case 6: {
        const std::string& other = pieces[below(random, pieces.size())];
        const std::size_t from = below(random, other.size() + 1);
        text.insert(at, other, from, 1 + below(random, 40));
        break;
    }
    default: {
        // In front of markup, behind it: where the rules change.
        const std::size_t mark = text.find_first_of("<>&=\"", at);
        text.insert(mark == text.npos ? 0 : mark + below(random, 2), parts[below(random, parts.size())]);
    }
    }
    text.resize(std::min<std::size_t>(text.size(), 2048));
}

double seconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// The small reader takes what it understands; true when there was an element.
bool readSmall(const fs::path& path, long& branches)
{
    ZXmlReader reader;
    if (reader.readFile(path.c_str(), 65001) != 0)
        return false;
    bool any = false;
    for (bool first = true; !reader.load(false, first); first = false) {
        const std::unique_ptr<ZTree> tree(reader.createTree(true));
        any = any || tree;
        const std::string canon = tree ? canonOf(*tree) : "";
        branches += std::count(canon.begin(), canon.end(), '>');
    }
    return any;
}

} // namespace

int main(int count, char** arguments)
{
    long wanted = 0;
    std::uint64_t seed = 1;
    bool small = false;
    bool verbose = false;
    std::vector<fs::path> files;
    for (int i = 1; i < count; ++i) {
        const std::string argument = arguments[i];
        if (argument == "--mutate" && i + 1 < count)
            wanted = std::strtol(arguments[++i], nullptr, 10);
        else if (argument == "--seed" && i + 1 < count)
            seed = std::strtoull(arguments[++i], nullptr, 10);
        else if (argument == "--small")
            small = true;
        else if (argument == "--verbose")
            verbose = true;
        else
            for (fs::path& found : filesBelow(argument))
                files.push_back(std::move(found));
    }
    if (files.empty()) {
        std::fprintf(stderr, "check-xml: no files\n");
        return 2;
    }
    Comparison comparison;
    Random random(seed);
    std::vector<std::string> pieces;
    std::map<std::string, Difference> ofFiles;
    long taken = 0;
    double bytes = 0;
    for (const fs::path& path : files) {
        const std::string text = fileText(path);
        bytes += static_cast<double>(text.size());
        const std::string difference = comparison.compare(text);
        if (verbose)
            std::printf("%s: %s\n", path.c_str(), difference.empty() ? "same" : difference.c_str());
        taken += comparison.bothTook();
        if (!difference.empty()) {
            Difference& d = ofFiles[difference];
            if (d.count++ == 0)
                d.example = path.string();
        }
        if (wanted)
            cut(text, 20, random, pieces);
    }
    std::printf("%zu files, %.1f MB: %ld taken by both\n", files.size(), bytes / 1e6, taken);
    int unknown = report(ofFiles, "file");

    if (small) {
        const double start = seconds();
        long read = 0;
        long branches = 0;
        for (const fs::path& path : files)
            read += readSmall(path, branches);
        std::printf("small reader: %ld of %zu files gave a tree, %ld branches, %.2f s\n", read, files.size(),
                    branches, seconds() - start);
    }

    if (wanted) {
        std::map<std::string, Difference> ofTexts;
        const double start = seconds();
        taken = 0;
        for (long i = 0; i < wanted; ++i) {
            std::string text = pieces[below(random, pieces.size())];
            for (std::size_t n = 1 + below(random, 1 + below(random, 4)); n; --n)
                change(text, pieces, random);
            const std::string difference = comparison.compare(text);
            taken += comparison.bothTook();
            if (!difference.empty()) {
                Difference& d = ofTexts[difference];
                if (d.count++ == 0 || text.size() < d.example.size())
                    d.example = text;
            }
        }
        std::printf("%ld changed texts from %zu pieces, %.1f s: %ld taken by both\n", wanted, pieces.size(),
                    seconds() - start, taken);
        for (auto& [difference, d] : ofTexts)
            d.example = shown(shrunk(comparison, d.example, difference));
        unknown += report(ofTexts, "text");
    }
    return unknown ? 1 : 0;
}
