#pragma once
// Class identifiers as text.

#include <ztree/types.h>
#include <ztree/winnames.h>

namespace platform {

/// CLSIDFromString: "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" in hexadecimal digits of either case; null
/// is the identifier of zeros. Returns 0, or 0x800401F3 for another text.
HRESULT clsidFromString(const zwchar* text, GUID* id) noexcept;

constexpr int clsidUnits = 38;
/// StringFromCLSID: the same form in upper-case digits, terminated. Returns 0, or 0x8007000E for lack of
/// memory.
HRESULT stringFromClsid(const GUID& id, zwchar (&text)[clsidUnits + 1]) noexcept;

} // namespace platform
