#include "tool/formats.h"
#include "tool/options.h"

#include <ztree/ext/tree.h>

#include <algorithm>

namespace tool {

namespace {

std::string countOf(const ZTree& tree)
{
    unsigned long long n = 0;
    if (tree.root()) {
        n = 1;
        for ([[maybe_unused]] const ZTBranch* branch : ztree::descendants(*tree.root()))
            ++n;
    }
    return std::to_string(n) + (n == 1 ? " branch" : " branches");
}

} // namespace

int runCheck(const Arguments& arguments)
{
    int result = exitDone;
    for (const std::string& file : arguments.operands()) {
        try {
            const Source source = readSource(file);
            ZTree tree;
            readTree(source, arguments.text("format"), tree);
            if (!arguments.has("quiet"))
                standardOutput().put(harmless(source.name) + ": well-formed, " + countOf(tree) + '\n');
        } catch (const Failure& failure) {
            if (failure.text.empty())
                throw; // the reader of our output is gone
            if (failure.finished)
                report(failure.text);
            else
                message(failure.text);
            result = std::max<int>(result, failure.code);
        }
    }
    return result;
}

} // namespace tool
