#include <ztree/version.h>

#include <typeinfo>

static_assert(sizeof(ZVersion) == sizeof(void*), "a dispatch pointer and nothing else");
