#include "log/crash.h"

#include "support/faults.h"

#include <atomic>
#include <cstring>
#include <thread>
#include <windows.h>

void smashHeap()
{
    char* blocks[64];
    for (char*& b : blocks)
        b = opaque(static_cast<char*>(HeapAlloc(GetProcessHeap(), 0, 100)));
    for (char* b : blocks)
        std::memset(opaque(b - 8), 0x5A, 116);
}

void holdHeapLock(const std::string& path)
{
    static std::atomic<bool> held{false};
    std::thread([&path] {
        HeapLock(GetProcessHeap());
        HANDLE const file =
            CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                        nullptr, OPEN_EXISTING, 0, nullptr);
        held = true;
        static char text[8192];
        for (int wait = 0; wait < 1000; ++wait) {
            DWORD got = 0;
            Sleep(10);
            SetFilePointer(file, 0, nullptr, FILE_BEGIN);
            ReadFile(file, text, sizeof text - 1, &got, nullptr);
            text[got] = 0;
            if (std::strstr(text, "end of report")) {
                HeapUnlock(GetProcessHeap()); // the system's own handling needs it
                Sleep(60000);
            }
        }
        TerminateProcess(GetCurrentProcess(), 98); // the report waits for the heap
    }).detach();
    while (!held)
        Sleep(1);
}
