// The XML writer and SaveZTree, narrow and wide, against a recursive model of what they write, on random
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

/// What is written, told by the shape of the tree alone.
template <class Ch> class Model {
public:
    using Text = std::basic_string<Ch>;

    explicit Model(const TreeModel* identity) : m_identity(identity) {}
    Text document(const TreeModel& root, bool inIdentity)
    {
        m_out = Form<Ch>::head();
        put("<!DOCTYPE Debug SYSTEM \"Debug.ztd\">");
        put(Form<Ch>::lineEnd());
        branch(root, 0, inIdentity);
        return m_out;
    }

private:
    static Text units(const std::string& bytes) { return tree_model::units<Ch>(bytes); }
    void put(const std::string& text) { m_out += units(text); }
    void escaped(const std::string& bytes)
    {
        const Text text = units(bytes);
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
    void line(std::size_t depth, const std::string& text) { put(std::string(3 * depth, ' ') + text + "\n"); }
    /// Name and attributes of an element, without its bracket.
    void start(std::size_t depth, const TreeModel& m)
    {
        put(std::string(3 * depth, ' ') + "<" + m.name);
        for (const auto& [name, value] : m.attribs) {
            put(" " + name + "=\"");
            escaped(value);
            put("\"");
        }
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
    void branch(const TreeModel& m, std::size_t depth, bool inIdentity)
    {
        if (!m.children.empty()) {
            if (m_identity && m.name == m_identity->name)
                inIdentity = true;
            start(depth, m);
            put(">\n");
            for (const TreeModel& child : m.children)
                branch(child, depth + 1, inIdentity);
            line(depth, "</" + m.name + ">");
            return;
        }
        if (m_identity && inIdentity && m.name == "VELIdentity") {
            link(m, depth);
            return;
        }
        const std::string text = value(m);
        start(depth, m);
        if (text.empty()) {
            put("/>\n");
            return;
        }
        put(">");
        escaped(text);
        put("</" + m.name + ">\n");
    }
    void link(const TreeModel& m, std::size_t depth)
    {
        const std::string* module = find(*m_identity, "Module");
        line(depth, "<Link>");
        if (module)
            line(++depth, "<" + *module + ">");
        const std::string* query = find(*m_identity, "Query");
        std::string text = query ? *query : "";
        text.erase(text.rfind('.') == std::string::npos ? 0 : text.rfind('.') + 1);
        TreeModel leaf;
        leaf.name = *find(*m_identity, "Name");
        leaf.attribs = {{"Command", *find(*m_identity, "Command")}, {"Query", text + value(m)}};
        start(depth + 1, leaf);
        put("/>\n");
        if (module)
            line(depth--, "</" + *module + ">");
        line(depth, "</Link>");
    }

    const TreeModel* m_identity;
    Text m_out;
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
