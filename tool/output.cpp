#include "tool/output.h"

#include "tool/characters.h"
#include "tool/system.h"

#include <cerrno>
#include <system_error>

namespace tool {

void failUsage(const std::string& text)
{
    throw Failure{exitTrouble, "ztree: " + harmless(text) + "\nTry 'ztree help'.\n", true};
}

void failFile(const char* what, const std::string& name, int error)
{
    throw Failure{exitTrouble, std::string("cannot ") + what + " '" + name +
                                   "': " + std::generic_category().message(error)};
}

void Out::blanks(std::size_t n)
{
    static const std::string run(64, ' ');
    for (; n > run.size(); n -= run.size())
        put(run);
    put(std::string_view(run).substr(0, n));
}

void Out::putLarge(std::string_view text)
{
    send();
    if (text.size() >= room)
        write(text);
    else
        m_buffer.append(text);
}

void Out::send()
{
    // Emptied first: what cannot be written is not tried again.
    std::string pending;
    pending.swap(m_buffer);
    write(pending);
    pending.clear();
    m_buffer.swap(pending);
}

void Out::write(std::string_view text)
{
    errno = 0;
    if (!text.empty() && std::fwrite(text.data(), 1, text.size(), m_file) != text.size())
        fail(errno);
}

void Out::flush()
{
    send();
    errno = 0;
    if (std::fflush(m_file) != 0)
        fail(errno);
}

void Out::fail(int error)
{
    if (isClosedPipe(error))
        throw Failure{exitTrouble, std::string(), true};
    failFile("write", m_name, error);
}

Out& standardOutput()
{
    static Out out(stdout, "standard output");
    return out;
}

void report(std::string_view text)
{
    standardOutput().flush();
    std::fwrite(text.data(), 1, text.size(), stderr);
}

void message(std::string_view text)
{
    report("ztree: " + harmless(text) + '\n');
}

std::string harmless(std::string_view text)
{
    std::string result;
    for (; !text.empty(); text.remove_prefix(1)) {
        const bool control = isControl(text);
        result += control ? '?' : text[0];
        if (control && text[0] == '\xC2') // C1 has two bytes
            text.remove_prefix(1);
    }
    return result;
}

Progress::Progress(std::size_t bytes)
    : m_bytes(bytes), m_enabled(bytes > std::size_t{50} * 1000 * 1000 && isTerminal(stderr))
{
}

void Progress::stage(const char* what)
{
    if (!m_enabled)
        return;
    clear();
    std::fprintf(stderr, "%s %llu MB ...", what, static_cast<unsigned long long>(m_bytes / 1000000));
    std::fflush(stderr);
    m_shown = true;
}

void Progress::clear()
{
    if (m_shown)
        std::fprintf(stderr, "\r%50s\r", "");
    m_shown = false;
}

} // namespace tool
