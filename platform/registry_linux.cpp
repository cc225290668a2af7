// The store: one folder a key, one file a value, below $ZTREE_REGISTRY, else
// $XDG_CONFIG_HOME/ztree/registry, else ~/.config/ztree/registry.
//
//   HKEY_CURRENT_USER/SOFTWARE/ZTREE/=VERSION    the value "Version" of HKEY_CURRENT_USER\Software\ztree
//   HKEY_CURRENT_USER/SOFTWARE/ZTREE/=           its default value
//
// Names are upper-cased UTF-8. "=" in front tells values from keys; control characters, "/", "%", "\"
// and a leading "." or "=" are written as % and two hexadecimal digits. A value file holds the type
// (4 bytes, little-endian) and the data.

#include "platform/registry.h"

#include "platform/codepage.h"
#include "platform/file.h"
#include "platform/syserror.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <ztree/helpers.h>

// What an HKEY points at, but for the roots. The folder's path stands behind it.
struct HKEY__ {
    std::size_t length;
};

namespace platform {

namespace {

constexpr unsigned sysInvalidHandle = 6;
constexpr unsigned sysNotEnoughMemory = 8;
constexpr unsigned sysBadPathname = 161;
constexpr unsigned sysNameTooLong = 206;
constexpr unsigned sysMoreData = 234;
constexpr std::size_t typeSize = 4;

// A path under construction; too long a one is remembered and nothing more is added.
class Path {
public:
    void add(std::string_view s) noexcept
    {
        m_fits = m_fits && s.size() < sizeof m_text - m_length;
        if (!m_fits)
            return;
        std::memcpy(m_text + m_length, s.data(), s.size());
        m_length += s.size();
        m_text[m_length] = 0;
    }
    void addName(std::string_view name) noexcept;
    bool fits() const noexcept { return m_fits; }
    std::size_t length() const noexcept { return m_length; }
    const char* text() const noexcept { return m_text; }
    // Makes the folder and those above it.
    unsigned makeFolders() noexcept;

private:
    std::size_t m_length = 0;
    bool m_fits = true;
    char m_text[4096] = "";
};

void Path::addName(std::string_view name) noexcept
{
    constexpr int most = 255; // units of a key's name; a file's name is no longer
    zwchar wide[most];
    char utf8[most * 3];
    const int units =
        name.size() <= most ? toWide(0, name.data(), static_cast<int>(name.size()), wide, most) : 0;
    if (units > 0)
        upperWide(wide, units);
    const int bytes = units > 0 ? toNarrow(codepageUtf8, wide, units, utf8, sizeof utf8) : 0;
    if (bytes <= 0 && !name.empty())
        m_fits = false;
    for (int i = 0; i < bytes; ++i) {
        const unsigned char c = static_cast<unsigned char>(utf8[i]);
        if (c < 0x20 || c == 0x7F || std::strchr("/%\\", c) || (i == 0 && (c == '.' || c == '='))) {
            char escaped[4];
            std::snprintf(escaped, sizeof escaped, "%%%02X", c);
            add(escaped);
        } else {
            add({utf8 + i, 1});
        }
    }
}

unsigned Path::makeFolders() noexcept
{
    for (std::size_t i = 1; i <= m_length; ++i) {
        if (m_text[i] != '/' && m_text[i] != 0)
            continue;
        const char separator = m_text[i];
        m_text[i] = 0;
        const int failed = mkdir(m_text, 0700);
        const int err = errno;
        m_text[i] = separator;
        if (failed && err != EEXIST)
            return errorFromErrno(err);
    }
    return 0;
}

unsigned addStore(Path& path) noexcept
{
    const auto set = [](const char* name) {
        const char* value = std::getenv(name);
        return value && *value ? value : nullptr;
    };
    if (const char* store = set("ZTREE_REGISTRY")) {
        path.add(store);
        return 0;
    }
    if (const char* config = set("XDG_CONFIG_HOME")) {
        path.add(config);
    } else if (const char* home = set("HOME")) {
        path.add(home);
        path.add("/.config");
    } else {
        return sysFileNotFound;
    }
    path.add("/ztree/registry");
    return 0;
}

bool isRoot(HKEY key) noexcept
{
    return reinterpret_cast<std::uintptr_t>(key) >> 16 == 0x8000; // no block has such an address here
}

unsigned addKey(Path& path, HKEY key) noexcept
{
    static const struct {
        HKEY root;
        const char* folder;
    } roots[] = {
        {HKEY_CLASSES_ROOT, "/HKEY_LOCAL_MACHINE/SOFTWARE/CLASSES"},
        {HKEY_CURRENT_USER, "/HKEY_CURRENT_USER"},
        {HKEY_LOCAL_MACHINE, "/HKEY_LOCAL_MACHINE"},
        {HKEY_USERS, "/HKEY_USERS"},
    };
    if (key && !isRoot(key)) {
        path.add({reinterpret_cast<const char*>(key + 1), key->length});
        return 0;
    }
    for (const auto& r : roots)
        if (key == r.root) {
            const unsigned error = addStore(path);
            path.add(r.folder);
            return error;
        }
    return sysInvalidHandle;
}

unsigned addSubKey(Path& path, const char* subKey) noexcept
{
    std::string_view rest = subKey ? subKey : "";
    if (!rest.empty() && rest[0] == '\\')
        return sysBadPathname;
    while (!rest.empty()) {
        const std::string_view name = rest.substr(0, rest.find('\\'));
        rest.remove_prefix(name.size() + (name.size() < rest.size()));
        if (name.empty())
            continue;
        path.add("/");
        path.addName(name);
    }
    return path.fits() ? 0 : sysNameTooLong;
}

unsigned addValue(Path& path, const char* name) noexcept
{
    path.add("/=");
    path.addName(name ? name : "");
    return path.fits() ? 0 : sysNameTooLong;
}

// What the file system has no words for: a missing folder is a missing key.
long result(unsigned error) noexcept
{
    return static_cast<long>(error == 3 ? sysFileNotFound : error);
}

unsigned makeHandle(const Path& path, HKEY* key) noexcept
{
    void* block = heapAlloc(sizeof(HKEY__) + path.length() + 1);
    if (!block)
        return sysNotEnoughMemory;
    *key = ::new (block) HKEY__{path.length()};
    std::memcpy(*key + 1, path.text(), path.length() + 1);
    return 0;
}

unsigned writeValue(const char* file, unsigned long type, const void* data, unsigned long size) noexcept
{
    HeapPtr<char> block(static_cast<char*>(heapAlloc(typeSize + size)));
    if (!block)
        return sysNotEnoughMemory;
    for (std::size_t i = 0; i < typeSize; ++i)
        block[i] = static_cast<char>(type >> (8 * i) & 0xFF);
    if (size)
        std::memcpy(block.get() + typeSize, data, size);
    return writeWholeFile(file, block.get(), typeSize + size);
}

} // namespace

long regCreateKey(HKEY root, const char* subKey, HKEY* key) noexcept
{
    Path path;
    unsigned error = addKey(path, root);
    if (!error)
        error = addSubKey(path, subKey);
    if (!error)
        error = path.makeFolders();
    return result(error ? error : makeHandle(path, key));
}

long regOpenKey(HKEY root, const char* subKey, HKEY* key) noexcept
{
    Path path;
    unsigned error = addKey(path, root);
    const std::size_t above = path.length();
    if (!error)
        error = addSubKey(path, subKey);
    if (!error && !(isRoot(root) && path.length() == above)) { // a root is always there
        unsigned attributes = 0;
        error = fileAttributes(path.text(), &attributes);
        if (!error && !(attributes & fileDirectory))
            error = sysFileNotFound;
    }
    return result(error ? error : makeHandle(path, key));
}

long regQueryValue(HKEY key, const char* name, unsigned long* type, void* data, unsigned long* size) noexcept
{
    Path path;
    unsigned error = addKey(path, key);
    if (!error)
        error = addValue(path, name);
    char* text = nullptr;
    std::size_t bytes = 0;
    if (!error)
        error = readWholeFile(path.text(), &text, &bytes);
    if (error)
        return result(error);
    const HeapPtr<char> block(text);
    if (bytes < typeSize)
        return result(sysFileNotFound);
    if (type) {
        *type = 0;
        for (std::size_t i = typeSize; i-- > 0;)
            *type = *type << 8 | static_cast<unsigned char>(text[i]);
    }
    bytes -= typeSize;
    const unsigned long room = *size;
    *size = static_cast<unsigned long>(bytes);
    if (data && bytes > room)
        return result(sysMoreData);
    if (data && bytes)
        std::memcpy(data, text + typeSize, bytes);
    return 0;
}

long regSetValue(HKEY key, const char* name, unsigned long type, const void* data,
                 unsigned long size) noexcept
{
    if (size && !data)
        return result(sysInvalidParameter);
    Path path;
    unsigned error = addKey(path, key);
    if (!error && isRoot(key))
        error = path.makeFolders();
    // Written beside the value under a name of this call's own, then put in its place at once.
    static std::atomic<unsigned> s_calls{0};
    char own[48];
    std::snprintf(own, sizeof own, "/.%ld.%u", static_cast<long>(getpid()), s_calls++);
    Path temporary(path);
    temporary.add(own);
    if (!error)
        error = addValue(path, name);
    if (error || !temporary.fits())
        return result(error ? error : sysNameTooLong);
    error = writeValue(temporary.text(), type, data, size);
    if (!error && rename(temporary.text(), path.text()) != 0)
        error = errorFromErrno(errno);
    if (error)
        unlink(temporary.text());
    return result(error);
}

long regCloseKey(HKEY key) noexcept
{
    if (!key)
        return result(sysInvalidHandle);
    if (!isRoot(key))
        heapFree(key);
    return 0;
}

} // namespace platform

long RegCloseKey(HKEY key)
{
    return platform::regCloseKey(key);
}
