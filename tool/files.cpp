#include "tool/files.h"

#include "tool/system.h"

#include <ztree/helpers.h>

#include <cerrno>
#include <filesystem>
#include <iostream>
#include <random>

namespace tool {

namespace fs = std::filesystem;

namespace {

// A name in the same folder that no other program uses.
std::string temporaryName(const fs::path& target)
{
    static const char digits[] = "abcdefghijklmnopqrstuvwxyz012345";
    std::random_device random;
    std::string name = ".ztree-";
    for (int i = 0; i < 10; ++i)
        name += digits[random() % 32];
    return (target.parent_path() / name).u8string();
}

} // namespace

Input::Input(const std::string& name)
    : m_shown(name == "-" ? "standard input" : name), m_in(name == "-" ? std::cin : m_file)
{
    if (name == "-")
        return;
    const fs::path path = fs::u8path(name);
    std::error_code code;
    const fs::file_status status = fs::status(path, code);
    if (fs::is_directory(status))
        throw Failure{exitTrouble, "cannot read '" + name + "': it is a folder"};
    errno = 0;
    m_file.open(path, std::ios::binary);
    if (!m_file)
        failFile("read", name, errno);
    if (fs::is_regular_file(status)) {
        m_size = fs::file_size(path, code);
        if (code)
            m_size = 0;
    }
}

bool Input::tryRead(char* buffer, std::size_t room, std::size_t& got) noexcept
{
    errno = 0;
    m_in.read(buffer, static_cast<std::streamsize>(room));
    got = static_cast<std::size_t>(m_in.gcount());
    if (m_in.bad() || (&m_in == &std::cin && std::ferror(stdin)))
        m_error = errno ? errno : EIO;
    return m_error == 0;
}

void Input::throwIfFailed() const
{
    if (m_error)
        failFile("read", m_shown, m_error);
}

std::size_t Input::read(char* buffer, std::size_t room)
{
    std::size_t got = 0;
    if (!tryRead(buffer, room, got))
        throwIfFailed();
    return got;
}

void Input::skip(std::uint64_t bytes)
{
    if (m_size != 0) {
        m_in.seekg(static_cast<std::streamoff>(std::min(bytes, m_size)));
        return;
    }
    char buffer[4096];
    for (std::size_t got = 1; bytes > 0 && got > 0; bytes -= got)
        got = read(buffer, static_cast<std::size_t>(std::min<std::uint64_t>(bytes, sizeof buffer)));
}

Source readSource(const std::string& name)
{
    Input input(name);
    Source source;
    source.name = input.shown();
    if (input.size() > source.bytes.max_size() / 2)
        throw Failure{exitTrouble, "cannot read '" + name + "': it is too large"};
    Progress progress(static_cast<std::size_t>(input.size()));
    progress.stage("reading");
    // A byte more than there should be: one read then meets the end. What says 0 may not be empty.
    std::size_t room = input.size() ? static_cast<std::size_t>(input.size()) + 1 : std::size_t{1} << 16;
    for (std::size_t length = 0;; room *= 2) {
        source.bytes.resize(room);
        length += input.read(&source.bytes[length], room - length);
        if (length < room) {
            source.bytes.resize(length);
            return source;
        }
    }
}

NewFile::NewFile(const std::string& target) : m_shown(target), m_target(target)
{
    std::error_code code;
    fs::path path = fs::u8path(target);
    fs::file_status status = fs::status(path, code);
    if (fs::is_directory(status))
        throw Failure{exitTrouble, "cannot write '" + target + "': it is a folder"};
    if (fs::exists(status)) { // a link stays, what it names is replaced
        const fs::path real = fs::canonical(path, code);
        if (!code)
            path = real;
    }
    errno = 0;
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        m_file = std::fopen(target.c_str(), "wb");
    } else {
        m_replaces = fs::exists(status);
        m_target = path.u8string();
        m_temporary = temporaryName(path);
        m_file = createNew(m_temporary);
        if (m_file && m_replaces)
            fs::permissions(fs::u8path(m_temporary), status.permissions(), code);
    }
    if (!m_file)
        failFile("write", target, errno);
    m_out = std::make_unique<Out>(m_file, target);
}

NewFile::~NewFile()
{
    close();
    std::error_code code;
    if (!m_temporary.empty())
        fs::remove(fs::u8path(m_temporary), code);
}

void NewFile::close() noexcept
{
    if (m_file)
        std::fclose(m_file);
    m_file = nullptr;
}

void NewFile::keep(int backups)
{
    m_out->flush();
    if (m_temporary.empty()) {
        close();
        return;
    }
    errno = 0;
    if (m_replaces && !flushToDisk(m_file))
        failFile("write", m_shown, errno);
    std::FILE* file = m_file;
    m_file = nullptr;
    if (std::fclose(file) != 0)
        failFile("write", m_shown, errno);
    const fs::path target = fs::u8path(m_target);
    std::error_code code;
    const bool moved = m_replaces && backups > 0;
    if (moved)
        moveToBackup(m_target, backups, m_shown);
    fs::rename(fs::u8path(m_temporary), target, code);
    if (code && moved) {
        // The old state is a backup now, the new one must not be lost as well.
        const std::string left = m_temporary;
        m_temporary.clear();
        throw Failure{exitTrouble, "cannot write '" + m_shown + "': " + code.message() +
                                       "; the old file is its newest backup, the new one is '" + left + "'"};
    }
    if (code)
        throw Failure{exitTrouble, "cannot write '" + m_shown + "': " + code.message()};
    m_temporary.clear();
}

std::string moveToBackup(const std::string& path, int backups, const std::string& shown)
{
    const fs::path file = fs::u8path(path);
    const std::string start = "cannot back up '" + shown + "': ";
    std::error_code code;
    if (!fs::exists(file, code))
        throw Failure{exitTrouble, start + std::generic_category().message(ENOENT)};
    if (!file.has_extension())
        throw Failure{exitTrouble, start + "its name has no extension"};
    const std::string known = systemPath(path);
    if (known.empty() || known.size() > 250)
        throw Failure{exitTrouble, start + "its name is too long or has characters that do not fit"};

    // backupFile takes the first free number.
    std::string taken;
    for (int i = 0; i < backups && taken.empty(); ++i) {
        char number[16];
        std::snprintf(number, sizeof number, "%03d", i);
        std::string extension = file.extension().u8string().substr(0, 4);
        const fs::path backup = file.parent_path() / fs::u8path(file.stem().u8string() + number + extension);
        if (!fs::exists(backup, code))
            taken = backup.u8string();
    }
    const int result = backupFile(known.c_str(), backups);
    if (fs::exists(file, code)) // whatever the result: it has not been moved
        throw Failure{exitTrouble, start + (result > 0 ? "system error " + std::to_string(result)
                                                       : "no backup may be replaced")};
    return taken;
}

} // namespace tool
