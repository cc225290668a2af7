#include "tool/system.h"

#include <cerrno>
#include <unistd.h>

namespace tool {

void prepareStreams() {}
bool isTerminal(std::FILE* stream)
{
    return isatty(fileno(stream)) == 1;
}
bool colourWorks()
{
    return true;
}
std::FILE* createNew(const std::string& path)
{
    return std::fopen(path.c_str(), "wbx");
}
bool flushToDisk(std::FILE* file)
{
    return std::fflush(file) == 0 && fsync(fileno(file)) == 0;
}
bool isClosedPipe(int error)
{
    return error == EPIPE;
}
std::string systemPath(const std::string& path)
{
    return path;
}

} // namespace tool

int main(int argc, char** argv)
{
    return tool::runTool({argv + (argc > 0 ? 1 : 0), argv + argc});
}
