#pragma once
// Memory and descriptors that this process holds.

#include <cstdint>

namespace quillon {

/// Bytes in heap blocks that are not freed, to the byte. Without the address sanitizer, malloc of this
/// program counts them.
std::uint64_t held_bytes();

/// Whether `held_bytes` sees allocations. It does not under valgrind, which has its own malloc, or without
/// glibc.
bool heap_is_counted();

/// Number of open descriptors, or -1 if the system does not tell.
int open_descriptors();

}  // namespace quillon
