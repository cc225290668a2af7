#pragma once
/// @file output.h
/// Data goes to standard output through one buffer, messages to standard error; failures end a command.

#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tool {

/// Exit codes.
enum Exit : int {
    exitDone = 0,
    exitNo = 1,        ///< the answer is no
    exitTrouble = 2,   ///< usage, or a file that cannot be read or written
    exitMalformed = 3, ///< input that is not well-formed
};

/// Ends a command. The text is a message without line end, or a finished report, or empty.
struct Failure {
    Exit code;
    std::string text;
    bool finished = false; ///< the text is printed as it is
};
/// A failure of the command line itself, with a hint at the help.
[[noreturn]] void failUsage(const std::string& text);
/// "cannot <what> '<name>': <reason of errno>", exit code 2.
[[noreturn]] void failFile(const char* what, const std::string& name, int error);

/// Collects what is written to a file and hands it on in large pieces.
class Out {
public:
    explicit Out(std::FILE* file, std::string name) : m_file(file), m_name(std::move(name)) {}
    Out(const Out&) = delete;
    Out& operator=(const Out&) = delete;

    void put(std::string_view text)
    {
        if (text.size() < room - m_buffer.size())
            m_buffer.append(text);
        else
            putLarge(text);
    }
    void put(char c)
    {
        if (m_buffer.size() == room)
            send();
        m_buffer += c;
    }
    void blanks(std::size_t n);
    /// Hands on what is there; throws Failure when it cannot be written, one without text for a closed pipe.
    void flush();

private:
    static constexpr std::size_t room = std::size_t{1} << 16;
    void putLarge(std::string_view text);
    void send();
    void write(std::string_view text);
    [[noreturn]] void fail(int error);

    std::FILE* m_file;
    std::string m_name;
    std::string m_buffer;
};

/// Standard output. Whatever is printed to standard error goes behind what stands in it.
Out& standardOutput();
/// The text with "?" for control characters: names of files and options do nothing to a terminal.
std::string harmless(std::string_view text);
/// "ztree: <text>" to standard error, made harmless.
void message(std::string_view text);
/// The text as it is to standard error.
void report(std::string_view text);

/// Tells a person at a terminal what a long run is at; nothing for small input or without a terminal.
class Progress {
public:
    explicit Progress(std::size_t bytes);
    ~Progress() { clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    void stage(const char* what);
    void clear();

private:
    std::size_t m_bytes;
    bool m_shown = false;
    bool m_enabled;
};

} // namespace tool
