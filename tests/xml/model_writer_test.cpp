// The XML writer and SaveZTree, narrow and wide, against a literal, recursive model of their steps, on random
// trees.

#include "support/tree_model.h"

#include <ztree/xml.h>

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <memory>

namespace {

/// What the widths differ in.
template <class Ch> struct Form {
    static constexpr auto saveTree = SaveZTree;
    static constexpr std::size_t numberRoom = 1000;
    static std::string head()
    {
        return "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"utf-8\" standalone=\"no\"?>\n";
    }
    static const char* lineEnd() { return "\n"; }
};
template <> struct Form<zwchar> {
    static constexpr auto saveTree = SaveZTreeW;
    static constexpr std::size_t numberRoom = 99; // units of a number's text
    static std::basic_string<zwchar> head()
    {
        return zwchar(0xFEFF) +
               widen<zwchar>("<?xml version=\"1.0\" encoding=\"utf-16\" standalone=\"no\"?>\r\n");
    }
    static const char* lineEnd() { return "\r\n"; }
};

// Every step as it is stated, with the state bits.
template <class Ch> class Model {
public:
    using Text = std::basic_string<Ch>;

    explicit Model(const TreeModel* identity) : m_identity(identity) {}
    Text document(const TreeModel& root, bool inIdentity)
    {
        m_out = Form<Ch>::head();
        put("<!DOCTYPE Debug SYSTEM \"Debug.ztd\">");
        put(Form<Ch>::lineEnd());
        branch(root, inIdentity);
        return m_out;
    }

private:
    static Text units(const std::string& bytes) { return tree_model::units<Ch>(bytes); }
    void put(const std::string& text) { m_out += units(text); }
    void write(const Text& text, bool escape)
    {
        if (m_indent)
            put(std::string(3 * static_cast<std::size_t>(m_depth), ' '));
        m_indent = false;
        if (!escape) {
            m_out += text;
            return;
        }
        for (std::size_t at = 0; at < text.size() && text[at]; ++at) {
            const Ch c = text[at];
            if (c == '<')
                put("&lt;");
            else if (c == '>')
                put("&gt;");
            else if (c == '"')
                put("&quot;");
            else if (c == '&' && !begins(text, at))
                put("&amp;");
            else
                m_out += c;
        }
    }
    static bool begins(const Text& text, std::size_t at)
    {
        for (const char* entity : {"&amp;", "&lt;", "&gt;", "&quot;"}) {
            std::size_t i = 0;
            while (entity[i] && at + i < text.size() && text[at + i] < 128 &&
                   std::tolower(static_cast<int>(text[at + i])) == entity[i])
                ++i;
            if (!entity[i])
                return true;
        }
        return false;
    }
    void write(const std::string& text) { write(units(text), false); }
    void lineFeed()
    {
        put("\n");
        m_indent = true;
    }
    void startTag(const std::string& name, bool more)
    {
        write("<");
        write(name);
        if (!more)
            write(m_empty ? "/>" : ">");
        if (!more)
            m_empty = false;
    }
    void quickTag(const std::string& name, bool more)
    {
        m_empty = true;
        startTag(name, more);
    }
    void endTag(const std::string& name) { write("</" + name + ">"); }
    void attrib(const std::string& name, const std::string& value, bool more)
    {
        write(" " + name + "=\"");
        write(units(value), true);
        if (more) {
            write("\"");
            return;
        }
        write(m_empty ? "\"/>" : "\">");
        if (!m_empty && m_due)
            lineFeed();
        if (!m_empty)
            m_due = false;
        m_empty = false;
    }
    void attribs(const TreeModel& m)
    {
        for (std::size_t i = 0; i < m.attribs.size(); ++i)
            attrib(m.attribs[i].first, m.attribs[i].second, i + 1 < m.attribs.size());
    }
    void descend(const std::string& name, bool more)
    {
        startTag(name, more);
        ++m_depth;
        if (more)
            m_due = true;
        else
            lineFeed();
    }
    void ascend(const std::string& name)
    {
        --m_depth;
        endTag(name);
        lineFeed();
    }
    static std::string value(const TreeModel& m)
    {
        const std::string text = tree_model::printed(m);
        return m.type == 7 ? text : text.substr(0, Form<Ch>::numberRoom);
    }
    static const std::string* find(const TreeModel& m, const char* name)
    {
        for (const auto& [key, text] : m.attribs)
            if (key == name)
                return &text;
        return nullptr;
    }
    void branch(const TreeModel& m, bool inIdentity)
    {
        if (!m.children.empty()) {
            if (m_identity && m.name == m_identity->name)
                inIdentity = true;
            descend(m.name, !m.attribs.empty());
            attribs(m);
            for (const TreeModel& child : m.children)
                branch(child, inIdentity);
            ascend(m.name);
            return;
        }
        if (m_identity && inIdentity && m.name == "VELIdentity") {
            const std::string* module = find(*m_identity, "Module");
            descend("Link", false);
            if (module)
                descend(*module, false);
            quickTag(*find(*m_identity, "Name"), true);
            attrib("Command", *find(*m_identity, "Command"), true);
            const std::string* query = find(*m_identity, "Query");
            std::string text = query ? *query : "";
            text.erase(text.rfind('.') == std::string::npos ? 0 : text.rfind('.') + 1);
            attrib("Query", text + value(m), false);
            lineFeed();
            if (module)
                ascend(*module);
            ascend("Link");
            return;
        }
        const std::string text = value(m);
        if (!text.empty()) {
            startTag(m.name, !m.attribs.empty());
            attribs(m);
            write(units(text), true);
            endTag(m.name);
        } else {
            quickTag(m.name, !m.attribs.empty());
            attribs(m);
        }
        lineFeed();
    }

    const TreeModel* m_identity;
    Text m_out;
    int m_depth = 0;
    bool m_indent = false;
    bool m_due = false;
    bool m_empty = false;
};

template <class Twin> class WriterModel : public ::testing::Test {
};
TYPED_TEST_SUITE(WriterModel, BothTwins);

// Leaves to be replaced, and branches that ask for it; attributes end at a zero.
void prepare(TreeModel& m, std::mt19937& dice)
{
    for (auto& attrib : m.attribs)
        attrib.second = attrib.second.c_str();
    if (m.children.empty() && dice() % 4 == 0) {
        m.name = "VELIdentity";
        m.bytes = m.bytes.c_str();
    }
    for (TreeModel& child : m.children)
        prepare(child, dice);
}

TYPED_TEST(WriterModel, agreesOnRandomTrees)
{
    using Ch = typename TypeParam::Ch;
    using Text = std::basic_string<Ch>;
    using Branch = typename TypeParam::Branch;
    using Attrib = typename TypeParam::Attrib;
    tree_model::Pieces pieces;
    pieces.values = {"",
                     "v",
                     "two words",
                     "a<b>c\"d'",
                     "&",
                     "&amp;",
                     "x&LT;y&gTz;",
                     "&quot;&quo",
                     "&#10;",
                     "line\r\n\tend",
                     "\xC3\xA9\xFF",
                     std::string(79, 'x'),
                     std::string(80, '<'),
                     std::string(1013, 'y') + "&lt;&",
                     std::string("zero\0<", 6)};
    std::mt19937 dice(sizeof(Ch));
    const Text type = widen<Ch>("Debug");
    const Text id = widen<Ch>("Debug.ztd");
    int differences = 0;
    for (int n = 0; n < 20000 && differences < 3; ++n) {
        TreeModel m = tree_model::random(dice, pieces, n % 4);
        TreeModel identity;
        prepare(m, dice);
        typename TypeParam::Tree tree;
        tree.set(tree_model::build<Branch, Attrib>(m));
        identity.name = n % 2 ? "Item" : "a";
        if (n % 3)
            identity.attribs.emplace_back("Module", "mod");
        identity.attribs.emplace_back("Name", "nam");
        identity.attribs.emplace_back("Command", std::to_string(n));
        if (n % 5)
            identity.attribs.emplace_back("Query", n % 7 ? "a.b.c" : "none");
        const bool substitute = n % 2 == 0;
        const bool inside = n % 4 == 0;
        const std::unique_ptr<Branch> given(tree_model::build<Branch, Attrib>(identity));
        typename TypeParam::File file;
        const Ch* document = nullptr;
        file.start(&document, type.c_str(), id.c_str());
        if (substitute)
            file.writeBranch(&tree, given.get(), inside);
        else
            file.writeBranch(&tree);
        file.finish();
        const Text expected = Model<Ch>(substitute ? &identity : nullptr).document(m, inside);
        const Text got(document, static_cast<std::size_t>(file.getDataSize()));
        if (got != expected && ++differences)
            ADD_FAILURE() << n << ": " << narrow(got.c_str()) << "\nnot " << narrow(expected.c_str());
        if (n % 100 == 1) { // the file is the same document, whole
            Form<Ch>::saveTree("model_writer_test.xml", &tree);
            std::ifstream in("model_writer_test.xml", std::ios::binary);
            const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
            in.close();
            ASSERT_EQ(bytes, std::string(reinterpret_cast<const char*>(expected.data()),
                                         expected.size() * sizeof(Ch)));
            Form<Ch>::saveTree("model_writer_test.xml", nullptr);
            ASSERT_FALSE(std::ifstream("model_writer_test.xml").is_open());
        }
    }
}

} // namespace
