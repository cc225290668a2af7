#include "platform/bstr.h"

#include <windows.h>

#include <oleauto.h>

namespace platform {

zwchar* bstrAlloc(const zwchar* w) noexcept
{
    return ::SysAllocString(w);
}

} // namespace platform
