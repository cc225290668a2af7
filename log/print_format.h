#pragma once
// What the logs ask of a format before they print by it.

/// False for null, for a conversion that print.h does not know, for a lone % and for %n. May fault on a bad
/// pointer.
bool isPrintFormat(const char* fmt) noexcept;
