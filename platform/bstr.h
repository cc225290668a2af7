#pragma once
// Automation strings.

#include <ztree/types.h>

namespace platform {

/// SysAllocString: a copy of w up to its terminator for SysFreeString to release; null when memory is out.
zwchar* bstrAlloc(const zwchar* w) noexcept;

} // namespace platform
