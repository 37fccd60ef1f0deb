#pragma once
// What this process holds of memory and descriptors.

#include <cstdint>

namespace quillon {

/// Bytes in heap blocks that are not freed, to the byte. Without the address sanitizer, malloc of this
/// program counts them.
std::uint64_t held_bytes();

/// Decides whether `held_bytes` sees allocations; not under valgrind, which has a malloc of its own, nor
/// without glibc.
bool heap_is_counted();

/// Open descriptors, or -1 where the system does not tell.
int open_descriptors();

}  // namespace quillon
