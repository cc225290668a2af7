#include "platform/com.h"

#include <objbase.h>

namespace platform {

HRESULT clsidFromString(const zwchar* text, GUID* id) noexcept
{
    return CLSIDFromString(text, id);
}

HRESULT stringFromClsid(const GUID& id, zwchar (&text)[clsidUnits + 1]) noexcept
{
    LPOLESTR made = nullptr;
    const HRESULT result = StringFromCLSID(id, &made);
    text[0] = 0;
    if (FAILED(result))
        return result;
    int n = 0;
    for (; n < clsidUnits && made[n]; ++n)
        text[n] = made[n];
    text[n] = 0;
    CoTaskMemFree(made);
    return 0;
}

} // namespace platform
