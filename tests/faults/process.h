#pragma once
// Where in the library calls were made to fail, and what the process holds of the system.

#include "platform/hooks.h"

#include <cstddef>

namespace faults {

struct Places {
    /// The witness of the hook.
    static void note(platform::Site site, const void* caller);
    /// Distinct calls of the allocator so far.
    static std::size_t count();
    /// One line for each: "heap" or "file", and the address behind a call in the library's file, in
    /// hexadecimal. Writes nothing where addresses are not known (Windows).
    static void write(const char* path);
};

/// Files and other objects of the system that the process has open.
long openHandles();
/// A file opened for reading, as the readers take it.
struct SystemFile {
    explicit SystemFile(const char* path);
    ~SystemFile();
    void* handle;
};

} // namespace faults
