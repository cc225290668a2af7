// The small reader against a literal, recursive model of its steps, on random hostile texts.

#include "support/twins.h"

#include <ztree/xml.h>

#include <gtest/gtest.h>

#include <cstring>
#include <list>
#include <memory>
#include <random>

namespace {

struct Element {
    std::string name, text;
    std::string attribs; // as the attribute list of the library has them
    bool pre = false;
    int kind = 0;
    std::list<Element> children;
};

const char* const spaces = " \t\r\n";

std::string trimmed(const std::string& s)
{
    const std::size_t from = s.find_first_not_of(spaces);
    return from == std::string::npos ? "" : s.substr(from, s.find_last_not_of(spaces) - from + 1);
}

template <class List> std::string listed(List& list)
{
    std::string all;
    for (int i = 0; i < list.size(); ++i)
        all += " " + (list.nameAt(i) ? narrow(list.nameAt(i)) : "") + "=" + narrow(list.dataAt(i));
    return all;
}

class Model {
public:
    explicit Model(const std::string& text) : m_text(text) {}
    bool parse(Element& element, int depth)
    {
        if (depth == 0) {
            while (more() && m_text[m_at] != '<')
                ++m_at;
            m_at += more();
        }
        if (more() && m_text[m_at] == '<')
            ++m_at;
        const std::size_t close = std::min(m_text.find('>', m_at), m_text.size());
        const std::string tag = m_text.substr(m_at, close - m_at);
        m_at = std::min(close + 1, m_text.size());
        if (tag.empty())
            return false;
        m_first = tag[0];
        std::string text;
        bool childMet = false;
        if (tag.back() != '/')
            content(element, depth, text, childMet);
        tagged(element, tag);
        m_first = tag[0];
        if (childMet)
            return true;
        element.text = element.pre ? text : decoded(trimmed(text));
        return true;
    }

private:
    bool more() const { return m_at < m_text.size(); }
    void content(Element& element, int depth, std::string& text, bool& childMet)
    {
        while (more()) {
            if (m_text[m_at] != '<') {
                if (!childMet)
                    text += m_text[m_at];
                ++m_at;
            } else if (m_at + 1 < m_text.size() && m_text[m_at + 1] == '/') {
                m_at = std::min(m_text.find('>', m_at), m_text.size());
                m_at += more();
                return;
            } else {
                Element child;
                if (!parse(child, depth + 1))
                    continue;
                element.children.push_back(std::move(child));
                if ((m_first == '!' || m_first == '?') && depth < 2)
                    return;
                childMet = true;
            }
        }
    }
    static void tagged(Element& element, std::string tag)
    {
        if (tag.back() == '/') {
            tag.pop_back();
            element.kind = 2;
        }
        tag = trimmed(tag);
        const std::size_t end = std::min(tag.find_first_of(spaces), tag.size());
        element.name = tag.substr(0, end);
        if (element.name[0] == '/') {
            element.name.erase(0, 1);
            element.kind = 1;
        } else if (element.name[0] == '!' || element.name[0] == '?') {
            element.kind = 3;
        }
        ZAttribList list(trimmed(tag.substr(end)).c_str());
        list.sort();
        element.attribs = listed(list);
        element.pre = list.getAttrib("Pre") != nullptr;
    }
    static std::string decoded(const std::string& text)
    {
        std::string out;
        for (std::size_t at = 0; at < text.size();) {
            const std::size_t semicolon = text[at] == '&' ? text.find(';', at) : std::string::npos;
            if (semicolon == std::string::npos) {
                out += text[at++];
                continue;
            }
            std::string name = text.substr(at + 1, semicolon - at - 1);
            for (char& c : name)
                c = c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
            if (name == "amp")
                out += '&';
            else if (name == "lt")
                out += '<';
            else if (name == "gt")
                out += '>';
            else if (name == "quot")
                out += '"';
            else
                out += text.substr(at, semicolon - at + 1);
            at = semicolon + 1;
        }
        return out;
    }

    const std::string m_text;
    std::size_t m_at = 0;
    char m_first = 0; // of the tag parsed last
};

std::string shown(const Element& e)
{
    std::string all = "<" + e.name + e.attribs + "|" + std::to_string(e.kind) + "|" + e.text + ">";
    for (const Element& child : e.children)
        all += shown(child);
    return all + "</>";
}

template <class Tag> std::string shownTag(Tag& tag)
{
    std::string all = "<" + (tag.getName() ? narrow(tag.getName()) : "") + listed(*tag.getAttribList()) +
                      "|" + std::to_string(tag.getKind()) + "|" +
                      (tag.getText() ? narrow(tag.getText()) : "") + ">";
    for (int i = 0; i < tag.getChildCount(); ++i)
        all += shownTag(*tag.getChild(i));
    return all + "</>";
}

template <class Reader, class Ch> std::string readBy(const std::basic_string<Ch>& text)
{
    Reader reader(text.c_str());
    return reader.load(false, true) ? "(none)" : shownTag(*reader.getRoot());
}

TEST(XmlReaderModel, agreesOnHostileTexts)
{
    static const char* const pieces[] = {
        "<",       ">",     "/",    "<a>", "</a>",      "<b x='1'>", "</b>", "<c/>",         "<!--",
        "<?xml?>", "&amp;", "&LT;", "&x;", "&",         ";",         " ",    "\n",           "t",
        "<>",      "</",    "\"",   "=",   "<d Pre=1>", "!",         "?",    "<!DOCTYPE d>", "\r",
        "&;",      "&quot;"};
    std::mt19937 random(20260101);
    long differences = 0;
    for (int n = 0; n < 200000; ++n) {
        std::string text;
        const unsigned count = static_cast<unsigned>(random() % 24);
        for (unsigned i = 0; i < count; ++i)
            text += pieces[random() % (sizeof pieces / sizeof *pieces)];
        Element root;
        const bool parsed = Model(text).parse(root, 0);
        const std::string expected = parsed ? shown(root) : "(none)";
        const std::string got = readBy<ZXmlReader>(text);
        const std::string wide = n % 4 ? expected : readBy<ZXmlReaderW>(widen<zwchar>(text));
        if ((got != expected || wide != expected) && ++differences < 4)
            ADD_FAILURE() << text << "\n got " << got << "\nwide " << wide << "\nnot  " << expected;
    }
    EXPECT_EQ(differences, 0);
}

} // namespace
