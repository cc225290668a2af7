#include "tool/process.h"

#include "tool/transcript.h"

#include <ztree/ext/strings.h>
#include <ztree/winnames.h>

#include <filesystem>

const char* const programSuffix = ".exe";

namespace {

std::wstring wide(const std::string& utf8)
{
    const ZStringW text = ztree::wide(utf8);
    return std::wstring(text.length() ? text.getBuffer() : L"", static_cast<std::size_t>(text.length()));
}

// As the C runtime takes a command line apart: a run of backslashes counts double before a quote.
std::wstring quoted(const std::wstring& word)
{
    std::wstring result = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t c : word) {
        if (c == L'"')
            result.append(backslashes + 1, L'\\');
        backslashes = c == L'\\' ? backslashes + 1 : 0;
        result += c;
    }
    result.append(backslashes, L'\\');
    return result + L'"';
}

HANDLE openFile(const std::wstring& path, bool write)
{
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    return CreateFileW(path.c_str(), write ? GENERIC_WRITE : GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                       &inherited, write ? CREATE_ALWAYS : OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
}

} // namespace

ProcessResult runProcess(const std::vector<std::string>& words, const std::string& folder,
                         const std::string& input, const std::string& scratch)
{
    std::wstring line;
    for (const std::string& word : words)
        line += (line.empty() ? L"" : L" ") + quoted(wide(word));
    STARTUPINFOW start = {};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = openFile(input.empty() ? L"NUL" : wide(folder + "/" + input), false);
    start.hStdOutput = openFile(wide(scratch + "/stdout"), true);
    start.hStdError = openFile(wide(scratch + "/stderr"), true);
    PROCESS_INFORMATION process = {};
    ProcessResult result;
    if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, wide(folder).c_str(), &start,
                       &process)) {
        DWORD code = 0;
        WaitForSingleObject(process.hProcess, INFINITE);
        GetExitCodeProcess(process.hProcess, &code);
        result.code = static_cast<int>(code);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
    for (const HANDLE handle : {start.hStdInput, start.hStdOutput, start.hStdError})
        CloseHandle(handle);
    result.out = fileText(scratch + "/stdout");
    result.err = fileText(scratch + "/stderr");
    return result;
}

std::string programFolder()
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return std::filesystem::path(path).parent_path().u8string();
}

void setVariable(const char* name, const char* value)
{
    SetEnvironmentVariableA(name, value);
}
