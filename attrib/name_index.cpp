#include "attrib/name_index.h"

namespace ztree_impl {

std::atomic_flag NameIndex::s_busy = ATOMIC_FLAG_INIT;

} // namespace ztree_impl
