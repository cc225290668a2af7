#pragma once
// What tests reach in the shared library: exported where they are built along (ZTREE_TEST_HOOKS), nowhere
// else.

#include <ztree/types.h>

#if defined(ZTREE_TEST_HOOKS)
#define ZTREE_TEST_API ZTREE_API
#else
#define ZTREE_TEST_API
#endif
