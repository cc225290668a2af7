#include "platform/registry.h"

#include <windows.h>

namespace platform {

long regCreateKey(HKEY root, const char* subKey, HKEY* key) noexcept
{
    char noClass[] = "";
    return RegCreateKeyExA(root, subKey, 0, noClass, 0, KEY_SET_VALUE, nullptr, key, nullptr);
}

long regOpenKey(HKEY root, const char* subKey, HKEY* key) noexcept
{
    return RegOpenKeyA(root, subKey, key);
}

long regQueryValue(HKEY key, const char* name, unsigned long* type, void* data, unsigned long* size) noexcept
{
    return RegQueryValueExA(key, name, nullptr, type, static_cast<BYTE*>(data), size);
}

long regSetValue(HKEY key, const char* name, unsigned long type, const void* data,
                 unsigned long size) noexcept
{
    return RegSetValueExA(key, name, 0, type, static_cast<const BYTE*>(data), size);
}

long regCloseKey(HKEY key) noexcept
{
    return RegCloseKey(key);
}

} // namespace platform
