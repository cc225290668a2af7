#include "tool/options.h"
#include "tool/paths.h"

#include <ztree/ext/expression.h>

namespace tool {

int runEval(const Arguments& arguments)
{
    int result = exitDone;
    for (const std::string& text : arguments.operands()) {
        const ztree::ExprResult value = ztree::checkedEval(text);
        if (value) {
            standardOutput().put(std::to_string(value.value) + '\n');
            continue;
        }
        report(sourceError({"expression", text}, placeOf(text, value.position),
                           ztree::exprErrorText(value.error)));
        result = exitMalformed;
    }
    return result;
}

} // namespace tool
