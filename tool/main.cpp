#include "tool/options.h"
#include "tool/output.h"
#include "tool/system.h"

#include <ztree/runtime.h>

#include <exception>
#include <new>

namespace tool {

namespace {

int runCommand(const std::vector<std::string>& words)
{
    const Arguments arguments = parseArguments(words);
    int result = exitDone;
    if (arguments.has("version"))
        standardOutput().put(versionText());
    else if (arguments.has("help"))
        standardOutput().put(helpText(arguments.command()));
    else
        result = arguments.command().run(arguments);
    standardOutput().flush();
    return result;
}

int fail(const Failure& failure)
{
    try {
        if (failure.finished)
            report(failure.text);
        else
            message(failure.text);
        return failure.code;
    } catch (const Failure&) { // standard output is gone, too
        return exitTrouble;
    }
}

} // namespace

int runTool(const std::vector<std::string>& arguments)
{
    try {
        prepareStreams();
        return runCommand(arguments);
    } catch (const Failure& failure) {
        return fail(failure);
    } catch (const std::bad_alloc&) {
        return fail({exitTrouble, "not enough memory"});
    } catch (const structExcept& error) {
        if (error.getCode() == ztree::errMemory || error.getCode() == ztree::errOutOfMemory)
            return fail({exitTrouble, "not enough memory"});
        char code[16];
        std::snprintf(code, sizeof code, "0x%08X", error.getCode());
        return fail({exitTrouble, std::string("error ") + code});
    } catch (const std::exception& error) {
        return fail({exitTrouble, error.what()});
    }
}

} // namespace tool
