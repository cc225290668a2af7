#pragma once
// The registry: the system's own on Windows, a small store in files elsewhere. Results are Windows
// error codes, 0 for success. Key names are separated by "\"; names ignore case and are in the ANSI
// code page. A null or empty value name is the default value; a null or empty key name is the key itself.

#include <ztree/types.h>
#include <ztree/winnames.h>

namespace platform {

/// Opens the key for writing values, creating it and the keys above it when missing. *key is closed by the
/// caller.
long regCreateKey(HKEY root, const char* subKey, HKEY* key) noexcept;
/// Opens an existing key for reading. 2: there is none.
long regOpenKey(HKEY root, const char* subKey, HKEY* key) noexcept;
/// Reads a value of up to *size bytes; *size becomes its size. 2: there is none; 234: it is larger.
/// type may be null. A text may come without a terminator.
long regQueryValue(HKEY key, const char* name, unsigned long* type, void* data, unsigned long* size) noexcept;
/// Writes or replaces a value; readers see the old one or the new one.
long regSetValue(HKEY key, const char* name, unsigned long type, const void* data,
                 unsigned long size) noexcept;
/// Closes a key; a root stays open. 6 for null.
long regCloseKey(HKEY key) noexcept;

} // namespace platform
