#pragma once
// Return addresses for a crash report.

#include "platform/fault.h"

namespace platform {

/// A place in code.
struct CodePlace {
    Register address;
    Register offset;    ///< from the start of the module, 0 when there is none
    const char* module; ///< file name without folders, "?" for code outside of every module
};

/// The instruction that the context stands at, then every value on its stack that a call instruction of
/// a loaded module has left there, innermost first. Nothing tells the frames in use from what earlier
/// calls left between them, so some may be stale. At most `room` places; returns their number.
///
/// Uses no heap, no lock and no unwind tables. The names stay until the next call; one thread at a time.
/// May fault on a broken process: call it inside a guard.
int returnAddresses(const CONTEXT& context, CodePlace* places, int room) noexcept;

/// Code of a loaded file.
struct CodeRange {
    Register begin, end;
    Register base; ///< where the file begins in memory
    const char* name;
};
/// Modules, their names and the bounds of the stack that sp is on. One thread at a time.
class CodeMap {
public:
    void load(Register sp) noexcept; ///< the system's own part
    const CodeRange* find(Register address) const noexcept;

    Register stackBegin;
    Register stackEnd;

private:
    void add(Register begin, Register end, Register base, const char* name, std::size_t length) noexcept;
    void addMapping(const char* line, const char* end, Register sp) noexcept;

    static constexpr int most = 512;
    static constexpr std::size_t nameRoom = 16384;
    CodeRange m_ranges[most];
    int m_count;
    char m_names[nameRoom];
    std::size_t m_namesUsed;
    Register m_fileBase; // of the file whose mappings are being read
    unsigned long m_fileIndex;
};

} // namespace platform
