#pragma once
// Files. Results are Windows error codes on every target, 0 for success. Names are in the ANSI code
// page on Windows and UTF-8 elsewhere. Every call first asks the test hook whether it has to fail.

#include "platform/heap.h"
#include "platform/hooks.h"

namespace platform {

enum class OpenFor {
    read,   ///< an existing file; others may read it too
    create, ///< a new file, or an old one made empty; nobody else may open it
    append, ///< an old or new file; what is written goes to its end; others may read it
    share   ///< as append; others may append to it, move and remove it as well
};
enum class SeekFrom { start, here, end };

/// Which file it is, and how much is in it.
struct FileState {
    std::uint64_t volume = 0;
    std::uint64_t index = 0;
    std::uint64_t size = 0;
    bool removed = false; ///< it has no name any more: what is written to it is lost
    bool isSameFile(const FileState& other) const noexcept
    {
        return volume == other.volume && index == other.index;
    }
};

constexpr unsigned fileReadOnly = 0x1; ///< attribute bits
constexpr unsigned fileDirectory = 0x10;

/// An open file, closed with the object. Not shared between threads.
class File {
public:
    File() noexcept = default;
    File(File&& other) noexcept : m_handle(other.m_handle), m_owned(other.m_owned)
    {
        other.m_handle = none();
    }
    File& operator=(File&& other) noexcept
    {
        if (this != &other) {
            release();
            m_handle = other.m_handle;
            m_owned = other.m_owned;
            other.m_handle = none();
        }
        return *this;
    }
    ~File() { release(); }
    /// A file that the caller has open and closes: a HANDLE on Windows, a descriptor cast to a pointer
    /// elsewhere.
    static File borrow(void* handle) noexcept
    {
        File f;
        f.m_handle = handle;
        f.m_owned = false;
        return f;
    }

    bool isOpen() const noexcept { return m_handle != none(); }
    /// Opens after closing what was open. 2: no such file, 3: no such folder, 5: no permission or a folder.
    unsigned open(const char* path, OpenFor mode) noexcept;
    /// Reads until `room` bytes or the end have come; *got is what came, also with an error.
    unsigned read(void* buffer, std::size_t room, std::size_t* got) noexcept;
    /// Writes all bytes, in one system call unless the system takes only a part of them.
    unsigned write(const void* data, std::size_t bytes) noexcept;
    /// Appends to a file opened for `share` as one piece: what other threads and processes append comes
    /// before or behind it. *written is less than bytes only with an error, for example on a full disk.
    unsigned append(const void* data, std::size_t bytes, std::size_t* written) noexcept;
    /// append() without waiting for anybody, for a fault handler; another piece may come in between.
    unsigned appendNow(const void* data, std::size_t bytes, std::size_t* written) noexcept;
    unsigned size(std::uint64_t* bytes) noexcept;
    unsigned state(FileState* state) noexcept;
    /// What was written is on the disk when it returns.
    unsigned sync() noexcept;
    /// Keeps other objects and processes that call lockOthersOut() waiting until unlock() or close();
    /// it does not keep anybody from writing.
    unsigned lockOthersOut() noexcept;
    void unlock() noexcept;
    /// *position (may be null) is the new offset from the start.
    unsigned seek(std::int64_t offset, SeekFrom from, std::uint64_t* position = nullptr) noexcept;
    /// 100 ns steps since 1601-01-01 UTC, as fileTime() in clock.h counts.
    unsigned lastWriteTime(std::uint64_t* time) noexcept;
    /// Closes also when it reports an error. 6 when nothing is open.
    unsigned close() noexcept;

private:
    static void* none() noexcept { return reinterpret_cast<void*>(~std::uintptr_t{0}); }
    unsigned closeNow() noexcept; // without asking the hook
    void release() noexcept
    {
        if (isOpen())
            closeNow();
    }

    void* m_handle = none();
    bool m_owned = true;
};

unsigned removeFile(const char* path) noexcept;
/// Makes an existing file empty, also while others have it open for `share`.
unsigned emptyFile(const char* path) noexcept;
unsigned fileState(const char* path, FileState* state) noexcept;
/// Gives a file another name; 183 when that name exists, which is then left alone.
unsigned moveFile(const char* from, const char* to) noexcept;
/// Attribute bits of a file or folder (null: only whether it exists). A link is looked at itself.
unsigned fileAttributes(const char* path, unsigned* attributes) noexcept;
/// Whether c separates folders in a path.
bool isPathSeparator(char c) noexcept;

/// Creates the file anew with these bytes, written with one call.
unsigned writeWholeFile(const char* path, const void* data, std::size_t bytes) noexcept;
/// Reads from the current position to the end into a heap block (released with heapFree) of *bytes
/// bytes and a terminating zero. 14: no memory.
unsigned readRest(File& file, char** block, std::size_t* bytes) noexcept;
unsigned readWholeFile(const char* path, char** block, std::size_t* bytes) noexcept;

/// The code that a file call has to fail with, or 0.
inline unsigned injectedFileError() noexcept
{
    if (!hook::fails(Site::file))
        return 0;
    const unsigned error = Hooks::fileError();
    return error && error != Hooks::endsEarly ? error : 31; // "a device does not work"
}
/// What a read that has to fail with this code reports.
inline unsigned readError(unsigned injected) noexcept
{
    return injected && Hooks::fileError() == Hooks::endsEarly ? 0 : injected;
}

} // namespace platform
