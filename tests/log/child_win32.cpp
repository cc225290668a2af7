#include "log/child.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <windows.h>

namespace {
const char* const variable = "ZTREE_TEST_ROLE";
}

// The child is this program, told to run this test alone.
TEST(ChildProcess, playsItsRole)
{
    if (const char* const role = std::getenv(variable))
        ExitProcess(static_cast<UINT>(playRole(role)));
}

void* startChild(const std::string& role)
{
    char program[MAX_PATH];
    GetModuleFileNameA(nullptr, program, sizeof program);
    std::string command = std::string("\"") + program + "\" --gtest_brief=1 --gtest_filter=ChildProcess.*";
    SetEnvironmentVariableA(variable, role.c_str());
    STARTUPINFOA start = {};
    start.cb = sizeof start;
    PROCESS_INFORMATION made = {};
    const BOOL done = CreateProcessA(program, &command[0], nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr,
                                     nullptr, &start, &made);
    SetEnvironmentVariableA(variable, nullptr);
    if (!done)
        return nullptr;
    CloseHandle(made.hThread);
    return made.hProcess;
}

int endOfChild(void* child)
{
    DWORD code = ~0u;
    if (WaitForSingleObject(child, 60000) != WAIT_OBJECT_0)
        TerminateProcess(child, 99);
    GetExitCodeProcess(child, &code);
    CloseHandle(child);
    return static_cast<int>(code);
}
