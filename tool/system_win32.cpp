#include "tool/system.h"

#include <ztree/ext/strings.h>
#include <ztree/winnames.h>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

namespace tool {

namespace {
UINT s_codepageBefore = 0;
}

void prepareStreams()
{
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    if (isTerminal(stdout) || isTerminal(stderr)) {
        s_codepageBefore = GetConsoleOutputCP();
        SetConsoleOutputCP(CP_UTF8);
        std::atexit([] { SetConsoleOutputCP(s_codepageBefore); });
    }
}
bool isTerminal(std::FILE* stream)
{
    return _isatty(_fileno(stream)) != 0;
}
bool colourWorks()
{
    constexpr DWORD sequences = 4; // ENABLE_VIRTUAL_TERMINAL_PROCESSING, which older headers lack
    const HANDLE console = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    return GetConsoleMode(console, &mode) && SetConsoleMode(console, mode | sequences);
}
std::FILE* createNew(const std::string& path)
{
    const int file = _wopen(ztree::wide(path).getBuffer(), _O_CREAT | _O_EXCL | _O_BINARY | _O_WRONLY,
                            _S_IREAD | _S_IWRITE);
    return file < 0 ? nullptr : _fdopen(file, "wb");
}
bool flushToDisk(std::FILE* file)
{
    return std::fflush(file) == 0 && _commit(_fileno(file)) == 0;
}
bool isClosedPipe(int error)
{
    return error == EPIPE || error == EINVAL;
}
std::string systemPath(const std::string& path)
{
    const ZStringW text = ztree::wide(path);
    char ansi[1024];
    BOOL lost = FALSE;
    const int n =
        WideCharToMultiByte(CP_ACP, 0, text.getBuffer(), text.length(), ansi, sizeof ansi, nullptr, &lost);
    return n > 0 && !lost ? std::string(ansi, static_cast<std::size_t>(n)) : std::string();
}

} // namespace tool

int wmain(int argc, wchar_t** argv)
{
    std::vector<std::string> arguments;
    for (int i = 1; i < argc; ++i)
        arguments.push_back(ztree::toUtf8(ZStringW(argv[i])));
    return tool::runTool(arguments);
}
