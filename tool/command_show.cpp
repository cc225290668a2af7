#include "tool/options.h"
#include "tool/paths.h"
#include "tool/system.h"
#include "tool/tree_text.h"

#include <cstdlib>

namespace tool {

namespace {

bool wantsColour(const std::string& when)
{
    if (when != "auto")
        return when == "always";
    const char* no = std::getenv("NO_COLOR");
    return !(no && *no) && isTerminal(stdout) && colourWorks();
}

} // namespace

int runShow(const Arguments& arguments)
{
    ShowStyle style;
    if (arguments.has("depth"))
        style.depth = arguments.number("depth", 0);
    style.attributes = !arguments.has("no-attributes");
    style.colour = wantsColour(arguments.text("color", "auto"));
    const KnownPath path(arguments.text("path", "."));
    ZTree tree;
    readTree(readSource(arguments.operands()[0]), arguments.text("format"), tree);
    if (!arguments.has("path")) {
        if (tree.root())
            showTree(*tree.root(), style, standardOutput());
        return exitDone;
    }
    int result = exitNo;
    ztree::findAll(tree, path.path, [&](const ztree::PathMatch& match) {
        if (match.attrib) {
            putVisible(standardOutput(), match.attrib->getValue(), 0);
            standardOutput().put('\n');
        } else {
            showTree(*match.branch, style, standardOutput());
        }
        result = exitDone;
    });
    return result;
}

} // namespace tool
