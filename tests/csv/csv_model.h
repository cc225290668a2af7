#pragma once
// Scanning and creating lines step by step as they are described, on plain strings: the yardstick for
// csvBuffer.

#include <algorithm>
#include <string>
#include <vector>

namespace csvmodel {

using Text = std::u16string;

struct Parameters {
    char16_t separator = u';';
    bool quote = false;
    int escape = 0;
    int lineEnd = 0;
    bool trailing = false;
};

/// A splitter that hands out every token with the character that ended it (0 at the end).
class Splitter {
public:
    Splitter(Text text, Text delims) : m_text(std::move(text)), m_delims(delims.substr(0, delims.find(u'\0')))
    {
    }
    bool more() const { return !m_delims.empty() && m_at < m_text.size(); }
    Text next()
    {
        std::size_t end = m_text.find_first_of(m_delims, m_at);
        if (end == m_text.npos)
            end = m_text.size();
        const Text token = m_text.substr(m_at, end - m_at);
        split = end < m_text.size() ? m_text[end] : u'\0';
        m_at = end < m_text.size() ? end + 1 : end;
        return token;
    }
    char16_t split = 0;

private:
    Text m_text, m_delims;
    std::size_t m_at = 0;
};

inline std::vector<Text> lines(const Text& data)
{
    std::vector<Text> out;
    const Text text = data.substr(0, data.find(u'\0'));
    Text line;
    for (const char16_t c : text + u"\n") {
        if (c != u'\r' && c != u'\n')
            line += c;
        else if (!line.empty()) {
            out.push_back(line);
            line.clear();
        }
    }
    return out;
}

inline Text columnSplits(const Parameters& p)
{
    Text set(1, p.separator);
    if (p.quote)
        set += u'"';
    if (p.escape == 1)
        set += u'\\';
    if (p.escape == 2)
        set += u'%';
    return set;
}

inline Text collect(Splitter& tokens, const Parameters& p)
{
    static const Text hex = u"0123456789ABCDEF";
    Text text;
    char16_t prev = 0;
    bool inQuotes = false;
    while (tokens.more()) {
        Text t = tokens.next();
        char16_t c = tokens.split;
        bool pair = false;
        if (prev == u'"') {
            if (c != p.separator && c != 0 && !text.empty()) {
                text += u'"';
                inQuotes = !inQuotes;
                pair = t.empty() && c == u'"';
            }
        } else if (prev == u'%') {
            if (t.empty()) {
                text += u'%';
                prev = 0;
            } else if (const auto high = hex.find(t[0]); high != hex.npos) {
                const auto low = t.size() > 1 ? hex.find(t[1]) : hex.npos;
                if (low != hex.npos) {
                    text += static_cast<char16_t>(high * 16 + low);
                    t.erase(0, 2);
                } else {
                    t.erase(0, 1);
                }
            }
        } else if (prev == u'\\') {
            if (t.empty()) {
                text += c;
                c = 0;
            } else {
                text += u'\\';
                prev = 0;
            }
        }
        text += t;
        if (c == u'"') {
            if (prev == u'\\' || pair)
                c = 0;
            else
                inQuotes = !inQuotes;
        } else if (c != u'%' && c != u'\\') {
            if (prev == u'\\') {
                c = 0;
            } else {
                if (!(c == p.separator && inQuotes))
                    break;
                text += c;
            }
        }
        prev = c;
    }
    return text;
}

inline std::vector<Text> columns(const Text& line, const Parameters& p)
{
    std::vector<Text> out;
    Splitter tokens(line, columnSplits(p));
    while (tokens.more())
        out.push_back(collect(tokens, p));
    return out;
}

inline Text escaped(const Text& value, const Parameters& p)
{
    static const char16_t* const hex = u"0123456789ABCDEF";
    if (p.escape != 1 && p.escape != 2)
        return value;
    Text set = p.escape == 1 ? u"\\" : u"%";
    if (p.escape == 2) {
        if (p.separator != u';')
            set += u';';
        set += u"\r\n";
    }
    set += p.separator;
    if (p.quote)
        set += u'"';
    set.resize(std::min(set.find(u'\0'), set.size()));
    Text out;
    for (const char16_t c : value) {
        if (set.find(c) == set.npos) {
            out += c;
        } else if (p.escape == 1) {
            out += u'\\';
            out += c;
        } else {
            out += u'%';
            for (int shift = 12; shift >= 0; shift -= 4)
                if (shift <= 4 || c >> shift)
                    out += hex[c >> shift & 15];
        }
    }
    return out;
}

/// A column's value, or that its field has none, or that there is no field.
struct Value {
    enum { text, failure, noField } kind = text;
    Text value = {};
};

inline Text line(const std::vector<Value>& values, const Parameters& p)
{
    Text out;
    for (const Value& v : values) {
        if (v.kind == Value::text) {
            const Text value = escaped(v.value, p);
            out += p.quote ? u'"' + value + u'"' : value;
        } else if (v.kind == Value::noField && p.quote) {
            out += u"\"\"";
        }
        out += p.separator;
    }
    if (!p.trailing && !out.empty())
        out.pop_back();
    static const char16_t* const ends[] = {u"\r\n", u"\n", u"\r"};
    if (p.lineEnd < 3)
        out += ends[p.lineEnd];
    return out;
}

} // namespace csvmodel
