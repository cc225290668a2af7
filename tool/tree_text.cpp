#include "tool/tree_text.h"

#include "tool/source_error.h"

#include <ztree/ext/tree.h>
#include <ztree/ext/xml.h>

#include <algorithm>
#include <memory>
#include <unordered_map>

namespace tool {

namespace {

// Terminal sequences, all empty without colour.
struct Palette {
    const char* name = "";
    const char* attribute = "";
    const char* value = "";
    const char* end = "";
};
constexpr Palette coloured = {"\033[1m", "\033[36m", "\033[32m", "\033[0m"};

void putQuoted(Out& out, std::string_view text, const Palette& palette)
{
    out.put(palette.value);
    out.put('"');
    putVisible(out, text, '"');
    out.put('"');
    out.put(palette.end);
}

void showBranch(const ZTBranch& branch, bool cut, const ShowStyle& style, const Palette& palette, Out& out)
{
    out.put(palette.name);
    const char* name = branch.getName();
    putVisible(out, name ? name : "", 0);
    out.put(palette.end);
    if (style.attributes) {
        for (const auto [attribute, value] : ztree::attribs(branch)) {
            out.put(' ');
            out.put(palette.attribute);
            putVisible(out, attribute, 0);
            out.put(palette.end);
            out.put('=');
            putQuoted(out, value, palette);
        }
    }
    std::string room;
    const std::string_view value = valueOf(branch, room);
    if (!value.empty()) {
        out.put(": ");
        if (branch.getType() == 7)
            putQuoted(out, value, palette);
        else
            out.put(value);
    }
    if (cut && branch.getChildCount() > 0)
        out.put(" (" + std::to_string(branch.getChildCount()) + " below)");
    out.put('\n');
}

char folded(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}
struct SameName {
    bool operator()(std::string_view a, std::string_view b) const
    {
        if (a.size() != b.size())
            return false;
        for (std::size_t i = 0; i < a.size(); ++i)
            if (folded(a[i]) != folded(b[i]))
                return false;
        return true;
    }
};
struct NameHash {
    std::size_t operator()(std::string_view name) const
    {
        std::uint64_t h = 14695981039346656037u;
        for (const char c : name)
            h = (h ^ static_cast<unsigned char>(folded(c))) * 1099511628211u;
        return static_cast<std::size_t>(h ^ h >> 32);
    }
};

std::string_view nameOf(const ZTBranch& branch)
{
    const char* name = branch.getName();
    return name ? name : "";
}

// How often each name stands below a branch, and how often it has been met. Few names are searched one by
// one, many through an index.
class NameCounts {
public:
    struct Entry {
        std::string_view name;
        int total;
        int met;
    };
    explicit NameCounts(const ZTBranch& parent)
    {
        for (const ZTBranch* child : ztree::children(parent))
            ++entry(nameOf(*child)).total;
    }
    Entry& entry(std::string_view name)
    {
        if (!m_index) {
            for (Entry& e : m_entries)
                if (e.name == name || SameName()(e.name, name))
                    return e;
            if (m_entries.size() == 16) {
                m_index = std::make_unique<Index>();
                for (std::size_t i = 0; i < m_entries.size(); ++i)
                    m_index->emplace(m_entries[i].name, i);
            }
        }
        if (m_index) {
            const auto [found, fresh] = m_index->emplace(name, m_entries.size());
            if (!fresh)
                return m_entries[found->second];
        }
        m_entries.push_back({name, 0, 0});
        return m_entries.back();
    }

private:
    using Index = std::unordered_map<std::string_view, std::size_t, NameHash, SameName>;
    std::vector<Entry> m_entries;
    std::unique_ptr<Index> m_index;
};

// A name as a step; in quotes where it would mean something else.
void appendStep(std::string& path, std::string_view name)
{
    const bool plain = !name.empty() && name != "." && name != ".." && name[0] != '@' &&
                       name.find_first_of("/[]*'\"=\r\n") == std::string_view::npos;
    const char quote = name.find('\'') == std::string_view::npos ? '\'' : '"';
    if (!plain)
        path += quote;
    path += name;
    if (!plain)
        path += quote;
}

void putPathLine(Out& out, std::string_view path, std::string_view attribute, std::string_view value,
                 bool has)
{
    putVisible(out, path, 0);
    if (!attribute.empty()) {
        out.put("/@");
        putVisible(out, attribute, 0);
    }
    if (has) {
        out.put('=');
        putVisible(out, value, 0);
    }
    out.put('\n');
}

void putPaths(const ZTBranch& branch, const std::string& path, std::string& room, Out& out)
{
    for (const auto [attribute, value] : ztree::attribs(branch))
        putPathLine(out, path, attribute, value, true);
    const bool has = branch.getType() != 0;
    if (has || (branch.getChildCount() == 0 && branch.getAttribCount() == 0))
        putPathLine(out, path, {}, valueOf(branch, room), has);
}

} // namespace

std::string_view valueOf(const ZTBranch& branch, std::string& room)
{
    if (branch.getType() == 7) {
        const void* value = nullptr;
        int size = 0;
        if (branch.getValuePtr(&value, &size) == 0 && value && size > 0)
            return {static_cast<const char*>(value), static_cast<std::size_t>(size)};
        return {};
    }
    room.clear();
    if (branch.getType() != 0)
        room = ztree::text(branch);
    return room;
}

void showTree(const ZTBranch& top, const ShowStyle& style, Out& out)
{
    const Palette palette = style.colour ? coloured : Palette();
    showBranch(top, style.depth == 0, style, palette, out);
    if (style.depth == 0)
        return;
    auto all = ztree::descendants(top);
    for (const ZTBranch* branch : all) {
        out.blanks(2 * std::min<std::size_t>(all.depth(), ztree::XmlStyle::deepestIndent));
        const bool cut = all.depth() >= style.depth;
        showBranch(*branch, cut, style, palette, out);
        if (cut)
            all.skip();
    }
}

void writePaths(const ZTree& tree, const Layout&, Out& out)
{
    if (!tree.root())
        return;
    struct Level {
        std::size_t pathLength; // of the branch whose children are on this level
        NameCounts names;
    };
    std::vector<Level> way;
    std::string room;
    std::string path = "/";
    appendStep(path, nameOf(*tree.root()));
    putPaths(*tree.root(), path, room, out);
    way.push_back({path.size(), NameCounts(*tree.root())});
    auto all = ztree::descendants(*tree.root());
    for (const ZTBranch* branch : all) {
        while (way.size() > all.depth())
            way.pop_back();
        Level& level = way.back();
        path.resize(level.pathLength);
        path += '/';
        NameCounts::Entry& name = level.names.entry(nameOf(*branch));
        appendStep(path, nameOf(*branch));
        if (name.total > 1)
            path += '[' + std::to_string(++name.met) + ']';
        putPaths(*branch, path, room, out);
        if (branch->getChildCount() > 0)
            way.push_back({path.size(), NameCounts(*branch)});
    }
}

} // namespace tool
