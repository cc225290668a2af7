#include "faults/process.h"

#include "faults/calls.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <unordered_set>

namespace faults {

namespace {
std::unordered_set<const void*> s_heap;
std::unordered_set<const void*> s_file; // all addresses on the way
} // namespace

void Places::note(platform::Site site, const void* caller)
{
    if (site == platform::Site::heap)
        s_heap.insert(caller);
    if (site != platform::Site::file)
        return;
    void* way[24];
    const int n = backtrace(way, 24);
    s_file.insert(way, way + n);
}

std::size_t Places::count()
{
    return s_heap.size();
}

void Places::write(const char* path)
{
    std::FILE* out = std::fopen(path, "w");
    if (!out)
        return;
    for (const auto* all : {&s_heap, &s_file})
        for (const void* address : *all) {
            Dl_info where;
            if (dladdr(address, &where) && std::strstr(where.dli_fname, "libztree"))
                std::fprintf(out, "%s %lx\n", all == &s_heap ? "heap" : "file",
                             static_cast<unsigned long>(reinterpret_cast<std::uintptr_t>(address) -
                                                        reinterpret_cast<std::uintptr_t>(where.dli_fbase)));
        }
    std::fclose(out);
}

long openHandles()
{
    namespace fs = std::filesystem;
    return static_cast<long>(
        std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
}

SystemFile::SystemFile(const char* path)
{
    const SystemCalls::Pause pause;
    handle = reinterpret_cast<void*>(static_cast<std::intptr_t>(open(path, O_RDONLY | O_CLOEXEC)));
}
SystemFile::~SystemFile()
{
    const SystemCalls::Pause pause;
    close(static_cast<int>(reinterpret_cast<std::intptr_t>(handle)));
}

} // namespace faults
