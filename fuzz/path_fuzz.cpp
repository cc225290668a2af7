// Paths: parsed, followed, set and removed over a small tree. The first line is the path, what follows is
// read as a document where it is one.

#include <ztree/ext/tree.h>
#include <ztree/ext/xml.h>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <string>

namespace {

constexpr char usual[] =
    "<Order id='7'><Item Rel='1' sku='a'><Price>10</Price></Item><Item Rel='2'><Price>2,5</Price>"
    "<Item><Price k=''/><Price>x</Price></Item></Item><Note>it's</Note></Order>";

void check(const ztree::Path& path, ZTree& tree)
{
    std::set<std::pair<const void*, const void*>> seen;
    const ztree::PathMatch first = ztree::findMatch(tree, path);
    const bool all = ztree::findAll(tree, path, [&](const ztree::PathMatch& match) {
        if (seen.empty() && (match.branch != first.branch || match.attrib != first.attrib))
            std::abort(); // the first is the first
        if (!match || !seen.emplace(match.branch, match.attrib).second)
            std::abort(); // none twice
        ztree::text(match);
    });
    if (all != path.ok() || seen.empty() == static_cast<bool>(first))
        std::abort();
    for (const ZTBranch* branch : ztree::descendants(*tree.root()))
        ztree::findMatch(*branch, path);
    ztree::get<int>(tree, path, 0);
    ztree::get<double>(tree, path, 0);
    ztree::get<bool>(tree, path, false);
    ZTree other;
    ztree::copyTree(tree, other);
    if (ztree::remove(other, path) > static_cast<int>(seen.size()))
        std::abort();
}

void change(const ztree::Path& path, ZTree& tree)
{
    ztree::PathError error;
    const bool done = ztree::set(tree, path, "value", &error);
    if (done == static_cast<bool>(error))
        std::abort();
    // What was set is found, unless a condition or a later step goes by the value that was there.
    const ztree::PathMatch match = ztree::findMatch(tree, path);
    if (done && match && ztree::text(match) != "value" && !ztree::set(tree, path, 7))
        std::abort();
    ZTree empty;
    if (ztree::set(empty, path, 2.5) != (empty.root() != nullptr))
        std::abort();
}

// Texts as values: a number is all of the text, or none.
void values(const std::string& text)
{
    ZTree tree;
    if (!ztree::set(tree, "/a", text))
        std::abort();
    const bool negative = text.size() > 1 && text[0] == '-';
    const bool digits =
        text.find_first_not_of("0123456789", negative) == text.npos && text.size() < 10u + negative;
    const auto whole = ztree::get<int>(tree, ".");
    const auto number = ztree::get<double>(tree, ".");
    if (digits && !text.empty() && (!whole || *whole != std::stoi(text)))
        std::abort();
    if (whole && (!number || *number != *whole))
        std::abort();
    if (ztree::get<std::string>(tree, ".") != text)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t n)
{
    const std::string input(reinterpret_cast<const char*>(data), n);
    const std::size_t end = std::min(input.find('\n'), n);
    const ztree::Path path(std::string_view(input).substr(0, end));
    if (!path.ok() && (path.error().column < 1 || path.error().column > static_cast<int>(end) + 1 ||
                       !path.error().message[0]))
        std::abort();
    ZTree tree;
    if (end == n || !ztree::readXml(input.data() + end, n - end, tree))
        ztree::readXml(usual, sizeof usual - 1, tree);
    check(path, tree);
    change(path, tree);
    values(input);
    return 0;
}
