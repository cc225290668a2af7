#pragma once
// What was read, as text.

#include "support/heap_fixture.h"

#include <ztree/ext/strings.h>
#include <ztree/ext/xml.h>

inline std::string asText(ZTree& tree)
{
    ZString out;
    treeString(&tree, out);
    return std::string(ztree::view(out));
}
