// The two dumps of trees against a literal, recursive model of their steps, on random trees.

#include "support/tree_model.h"

#include <ztree/helpers.h>
#include <ztree/text.h>

#include <cctype>

namespace {

std::string startOf(const TreeModel& m)
{
    std::string out = "<" + m.name;
    for (const auto& [name, value] : m.attribs)
        out += " " + name + "=\"" + value + "\"";
    return out;
}

std::string raw(const TreeModel& m)
{
    static const std::size_t sizes[] = {0, 1, 1, 2, 4, 4, 8};
    if (m.type == 7)
        return m.bytes;
    unsigned long long bits = static_cast<unsigned long long>(m.number);
    if (m.type == 6)
        std::memcpy(&bits, &m.real, sizeof bits);
    std::string out;
    for (std::size_t i = 0; i < sizes[m.type]; ++i)
        out += static_cast<char>(bits >> (8 * i) & 255);
    return out;
}

std::string compact(const TreeModel& m)
{
    const std::string value = raw(m);
    if (m.children.empty() && value.empty())
        return startOf(m) + "/>";
    std::string out = startOf(m) + ">";
    for (const TreeModel& child : m.children)
        out += compact(child);
    return out + value + "</" + m.name + ">";
}

void indented(const TreeModel& m, std::string prefix, const std::string& step, std::string& out)
{
    out += prefix + startOf(m);
    const std::string value = tree_model::printed(m);
    if (m.children.empty() && value.empty()) {
        out += "/>\r\n";
        return;
    }
    out += ">";
    const std::string outer = prefix;
    if (!m.children.empty()) {
        out += "\r\n";
        prefix += step;
    }
    for (const TreeModel& child : m.children)
        indented(child, prefix, step, out);
    bool control = false;
    for (const char c : value)
        control |= std::iscntrl(static_cast<unsigned char>(c)) != 0;
    if (!control) {
        out += value;
    } else {
        out += "\r\n[CDATA]\r\n";
        for (std::size_t at = 0; at < value.size();) {
            unsigned char line[70];
            const int done = formatDump(0, reinterpret_cast<const unsigned char*>(value.data()) + at,
                                        static_cast<unsigned>(value.size() - at), line, sizeof line);
            out += reinterpret_cast<const char*>(line);
            at += static_cast<std::size_t>(done);
        }
    }
    if (!m.children.empty() || control)
        out += outer;
    out += "</" + m.name + ">\r\n";
}

std::string content(const ZString& s)
{
    return std::string(s.getBuffer() ? s.getBuffer() : "", static_cast<std::size_t>(s.length()));
}

TEST(TreeDumpModel, agreesOnRandomTrees)
{
    tree_model::Pieces pieces;
    pieces.values = {"",
                     "v",
                     "two words",
                     "a<b>&\"c'",
                     "tab\there",
                     "line\r\nend",
                     "\x7F",
                     "\xC3\xA9\xFF",
                     "&amp;",
                     std::string(90, 'x'),
                     std::string("zero\0in", 7)};
    const char* const steps[] = {"", " ", "\t", "    "};
    std::mt19937 dice(5);
    int differences = 0;
    for (int n = 0; n < 20000 && differences < 3; ++n) {
        TreeModel m = tree_model::random(dice, pieces, 1 + n % 4);
        const auto cut = [](TreeModel& node, auto& self) -> void { // attributes end at a zero
            for (auto& attrib : node.attribs)
                attrib.second = attrib.second.c_str();
            for (TreeModel& child : node.children)
                self(child, self);
        };
        cut(m, cut);
        ZTree tree;
        tree.set(tree_model::build(m));
        ZString out("before");
        EXPECT_EQ(treeString(&tree, out), 0);
        if (content(out) != "before" + compact(m) && ++differences)
            ADD_FAILURE() << n << ": " << content(out) << "\nnot " << compact(m);
        const char* const step = steps[n % 4];
        std::string expected;
        indented(m, "", step, expected);
        EXPECT_EQ(treeText(&tree, ZString(step), out), 0);
        if (content(out) != expected && ++differences)
            ADD_FAILURE() << n << ": " << content(out) << "\nnot " << expected;
    }
}

} // namespace
