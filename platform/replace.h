#pragma once
// Putting a finished file in the place of another one.

namespace platform {

/// Whether there is a plain file of that name or none, so that another one may be moved there; false for
/// a folder, a device, a pipe and a link.
bool isReplaceable(const char* path) noexcept;
/// Gives a file the name of another one, which goes. Returns 0, or the system error with both left alone.
unsigned replaceFile(const char* from, const char* to) noexcept;

} // namespace platform
