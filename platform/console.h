#pragma once
// Standard output, standard error and the system's log, for logs.

#include <ztree/types.h>

namespace platform {

enum class Stream { output, error };

/// Whether the stream is a terminal that shows colours and the environment does not forbid them
/// (NO_COLOR). Switches such a terminal to them.
bool wantsColour(Stream stream) noexcept;
/// Writes UTF-8 without buffering; the result is a system code, 0 for success.
unsigned writeStream(Stream stream, const char* text, std::size_t bytes) noexcept;

enum class Severity { emergency, alert, critical, error, warning, notice, info, debug };
/// Hands one message of `bytes` bytes to the system's log.
void writeSystemLog(Severity severity, const char* text, std::size_t bytes) noexcept;

} // namespace platform
