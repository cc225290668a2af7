#pragma once
/// @file version.h
/// The base of every exported class.

#include <ztree/types.h>

#include <new>

namespace platform {
ZTREE_API void* heapAlloc(std::size_t bytes) noexcept;
ZTREE_API void heapFree(void* block) noexcept;
} // namespace platform

namespace ztree::detail {
/// What every getLibVersion() answers: the interface version.
constexpr unsigned int libVersion = 2;
} // namespace ztree::detail

/// Base of the exported classes: a dispatch pointer and nothing else. Derived classes hold one
/// further pointer, to an implementation object that owns all state.
///
/// Memory: objects made with `new` come from the library's heap and go back to it, whichever module
///     deletes them. `new` of a single object yields null when the heap has nothing left; it does
///     not throw std::bad_alloc.
class ZTREE_API ZVersion {
public:
    ZVersion() noexcept = default;
    ZVersion(const ZVersion&) noexcept {}
    ZVersion& operator=(const ZVersion&) noexcept { return *this; }
    virtual ~ZVersion() {} // inline: every string on a stack runs it
    /// Interface version of the library that made the object: 2.
    virtual unsigned int getLibVersion() const = 0;

    static void* operator new(std::size_t bytes) noexcept { return platform::heapAlloc(bytes); }
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void* operator new[](std::size_t bytes) noexcept { return platform::heapAlloc(bytes); }
    static void operator delete(void* block) noexcept { platform::heapFree(block); }
    static void operator delete(void*, void*) noexcept {}
    static void operator delete[](void* block) noexcept { platform::heapFree(block); }
};
