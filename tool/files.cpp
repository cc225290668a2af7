#include "tool/files.h"

#include "tool/system.h"

#include <ztree/helpers.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>

namespace tool {

namespace fs = std::filesystem;

namespace {

void readAll(std::istream& in, std::string& bytes)
{
    std::size_t length = 0;
    do {
        bytes.resize(std::max<std::size_t>(length * 2, std::size_t{1} << 16));
        in.read(&bytes[length], static_cast<std::streamsize>(bytes.size() - length));
        length += static_cast<std::size_t>(in.gcount());
    } while (in);
    bytes.resize(length);
}

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

Source readSource(const std::string& name)
{
    Source source;
    if (name == "-") {
        source.name = "standard input";
        errno = 0;
        readAll(std::cin, source.bytes);
        if (std::ferror(stdin))
            failFile("read", source.name, errno);
        return source;
    }
    source.name = name;
    const fs::path path = fs::u8path(name);
    std::error_code code;
    const fs::file_status status = fs::status(path, code);
    if (fs::is_directory(status))
        throw Failure{exitTrouble, "cannot read '" + name + "': it is a folder"};
    errno = 0;
    std::ifstream in(path, std::ios::binary);
    if (!in)
        failFile("read", name, errno);
    const std::uintmax_t size = fs::is_regular_file(status) ? fs::file_size(path, code) : 0;
    if (code || size == 0) { // also what says 0 and is not empty
        readAll(in, source.bytes);
        return source;
    }
    if (size > source.bytes.max_size() / 2)
        throw Failure{exitTrouble, "cannot read '" + name + "': it is too large"};
    Progress progress(static_cast<std::size_t>(size));
    progress.stage("reading");
    source.bytes.resize(static_cast<std::size_t>(size));
    errno = 0;
    in.read(&source.bytes[0], static_cast<std::streamsize>(size));
    if (in.bad())
        failFile("read", name, errno ? errno : EIO);
    source.bytes.resize(static_cast<std::size_t>(in.gcount()));
    return source;
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
