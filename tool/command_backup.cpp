#include "tool/files.h"
#include "tool/options.h"

namespace tool {

int runBackup(const Arguments& arguments)
{
    const int numbers = static_cast<int>(arguments.number("max", 10));
    int result = exitDone;
    for (const std::string& file : arguments.operands()) {
        try {
            const std::string backup = moveToBackup(file, numbers, file);
            standardOutput().put(harmless(file + " -> " + (backup.empty() ? "its oldest backup" : backup)) +
                                 '\n');
        } catch (const Failure& failure) {
            message(failure.text);
            result = failure.code;
        }
    }
    return result;
}

} // namespace tool
