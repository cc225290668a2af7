#pragma once
/// @file files.h
/// Files read whole, and files that are replaced whole or not at all. Names are UTF-8; "-" is standard input.

#include "tool/output.h"

#include <cstdint>
#include <fstream>
#include <memory>
#include <string>

namespace tool {

/// The bytes of a file, or of standard input, one after another.
class Input {
public:
    /// Throws Failure when it cannot be opened.
    explicit Input(const std::string& name);

    const std::string& shown() const { return m_shown; }
    /// Of an ordinary file, otherwise 0.
    std::uint64_t size() const { return m_size; }
    /// Up to `room` bytes; fewer at the end only. Throws Failure.
    std::size_t read(char* buffer, std::size_t room);
    /// The same without an exception: false when it cannot be read, which throwIfFailed() tells.
    bool tryRead(char* buffer, std::size_t room, std::size_t& got) noexcept;
    /// Throws the Failure of a tryRead(); nothing when there was none.
    void throwIfFailed() const;
    /// Goes on behind so many bytes, or at the end.
    void skip(std::uint64_t bytes);

private:
    std::string m_shown;
    std::ifstream m_file;
    std::istream& m_in;
    std::uint64_t m_size = 0;
    int m_error = 0;
};

struct Source {
    std::string name;  ///< as it is shown
    std::string bytes; ///< all of it
};
/// Throws Failure when it cannot be read.
Source readSource(const std::string& name);

/// A file in the making: a temporary one beside the target, which takes the target's place when all is
/// written. A target that is no ordinary file (a device, a pipe) is written to directly.
class NewFile {
public:
    /// Throws Failure when it cannot be created.
    explicit NewFile(const std::string& target);
    /// Removes the temporary file, unless keep() has moved it.
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    Out& out() { return *m_out; }
    /// Brings the file in place, to the disk before it replaces another; with backups above 0 what stood
    /// there is kept under one of so many numbers first. Throws Failure; until the last step the target is as
    /// it was.
    void keep(int backups = 0);

private:
    void close() noexcept;

    std::string m_shown;
    std::string m_target; ///< behind symbolic links
    std::string m_temporary;
    bool m_replaces = false; ///< there is something to lose
    std::FILE* m_file = nullptr;
    std::unique_ptr<Out> m_out;
};

/// Moves a file to a numbered backup and returns the backup's name, "" when the oldest was replaced. Throws
/// Failure, in which the file is called `shown`; then it is where it was.
std::string moveToBackup(const std::string& path, int backups, const std::string& shown);

} // namespace tool
