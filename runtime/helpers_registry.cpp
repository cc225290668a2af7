#include "platform/codepage.h"
#include "platform/com.h"
#include "platform/registry.h"
#include "platform/syserror.h"

#include <ztree/helpers.h>
#include <ztree/runtime.h>

#include <cstring>

namespace {

constexpr unsigned long textType = 1;        // REG_SZ
constexpr unsigned long identifierRoom = 60; // bytes of a stored name or identifier

/// An open key, closed with the scope.
class Key {
public:
    Key() noexcept = default;
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;
    ~Key() { close(); }
    long open(HKEY root, const char* name) noexcept
    {
        HKEY fresh = nullptr;
        const long result = platform::regOpenKey(root, name, &fresh);
        if (result == 0) {
            close();
            m_key = fresh;
        }
        return result;
    }
    HKEY get() const noexcept { return m_key; }

private:
    void close() noexcept
    {
        if (m_key)
            platform::regCloseKey(m_key);
    }
    HKEY m_key = nullptr;
};

// The default value as terminated text; "" on failure. out has room for one byte more.
long readDefault(HKEY key, char* out, unsigned long room) noexcept
{
    unsigned long size = room;
    const long result = platform::regQueryValue(key, nullptr, nullptr, out, &size);
    out[result == 0 ? size : 0] = 0;
    return result;
}

int hresultOf(long result) noexcept
{
    return static_cast<int>(result > 0 ? 0x80070000u | (static_cast<unsigned long>(result) & 0xFFFF)
                                       : static_cast<unsigned long>(result));
}

// The text below HKEY_CLASSES_ROOT\name\CLSID, or below its current version's.
long readClassId(const char* name, char (&text)[identifierRoom + 1]) noexcept
{
    Key program, id;
    long result = program.open(HKEY_CLASSES_ROOT, name);
    if (result != 0)
        return result;
    result = id.open(program.get(), "CLSID");
    if (result == platform::sysFileNotFound) { // any other failure is no reason to look elsewhere
        Key version;
        result = version.open(program.get(), "CurVer");
        if (result == 0)
            result = readDefault(version.get(), text, identifierRoom);
        if (result == 0)
            result = program.open(HKEY_CLASSES_ROOT, text);
        if (result == 0)
            result = id.open(program.get(), "CLSID");
    }
    return result == 0 ? readDefault(id.get(), text, identifierRoom) : result;
}

} // namespace

long setRegKeyValue(HKEY root, const char* subKey, const char* name, const char* data, unsigned long type,
                    unsigned long size, HKEY* key)
{
    if (!data) {
        type = textType;
        size = 0;
    } else if (type == textType && size == 0) {
        size = static_cast<unsigned long>(std::strlen(data) + 1);
    }
    if (key)
        *key = nullptr;
    if (!subKey)
        return platform::regSetValue(root, name, type, data, size);
    HKEY made = nullptr;
    long result = platform::regCreateKey(root, subKey, &made);
    if (result != 0)
        return result;
    if (name || data)
        result = platform::regSetValue(made, name, type, data, size);
    if (key)
        *key = made;
    else
        platform::regCloseKey(made);
    return result;
}

int getClassIdFromName(const char* name, GUID& clsid)
{
    if (!name)
        return static_cast<int>(ztree::errInvalidArg);
    char text[identifierRoom + 1];
    const long result = readClassId(name, text);
    if (result != 0)
        return hresultOf(result);
    zwchar wide[512];
    const int units = platform::toWide(0, text, static_cast<int>(std::strlen(text)), wide, 511);
    wide[units > 0 ? units : 0] = 0;
    GUID found;
    const HRESULT converted = platform::clsidFromString(wide, &found);
    if (converted < 0)
        return static_cast<int>(converted);
    clsid = found;
    return 0;
}

int getNameFromClassId(GUID clsid, char* out, int size)
{
    if (!out || size < 1)
        return static_cast<int>(ztree::errInvalidArg);
    out[0] = 0;
    zwchar wide[platform::clsidUnits + 1];
    const HRESULT converted = platform::stringFromClsid(clsid, wide);
    if (converted < 0)
        return static_cast<int>(converted);
    char name[256 + sizeof "\\ProgID"];
    const int length = platform::toNarrow(0, wide, platform::clsidUnits, name, 255);
    std::memcpy(name + (length > 0 ? length : 0), "\\ProgID", sizeof "\\ProgID");
    Key classes, program;
    long result = classes.open(HKEY_CLASSES_ROOT, "CLSID");
    if (result == 0)
        result = program.open(classes.get(), name);
    if (result == 0)
        result = readDefault(program.get(), out, static_cast<unsigned long>(size) - 1);
    return hresultOf(result);
}
