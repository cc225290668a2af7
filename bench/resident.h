#pragma once
// Memory of this process.

#include <cstdio>

#if defined(_WIN32)
#include <windows.h>
#define PSAPI_VERSION 2
#include <psapi.h>
#else
#include <unistd.h>
#endif

/// Bytes that are in memory now.
inline double residentBytes()
{
#if defined(_WIN32)
    PROCESS_MEMORY_COUNTERS counters = {};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return static_cast<double>(counters.WorkingSetSize);
#else
    long pages = 0;
    if (std::FILE* f = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(f, "%*d %ld", &pages) != 1)
            pages = 0;
        std::fclose(f);
    }
    return static_cast<double>(pages) * static_cast<double>(sysconf(_SC_PAGESIZE));
#endif
}
