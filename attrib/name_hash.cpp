#include "attrib/name_hash.h"

#include <chrono>

namespace ztree_impl {

// The time, and where the system put the stack and the library.
const std::uint64_t nameSeed = [] {
    const auto now = std::chrono::high_resolution_clock::now().time_since_epoch().count();
    const std::uint64_t stack = reinterpret_cast<std::uintptr_t>(&now);
    const std::uint64_t library = reinterpret_cast<std::uintptr_t>(&nameSeed);
    return mixed(static_cast<std::uint64_t>(now) ^ stack << 20, library | 1);
}();

} // namespace ztree_impl
