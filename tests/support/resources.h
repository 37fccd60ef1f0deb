#pragma once
// What this process holds of memory and descriptors.

#include <dirent.h>
#include <malloc.h>

#include <cstddef>
#include <cstdint>

#include "tests/util/variant.h"

#ifdef QUILLON_TESTS_ADDRESS_SANITIZER
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();  // NOLINT(bugprone-reserved-identifier)
#endif

namespace quillon {

/// Bytes in heap blocks that are not freed.
inline std::uint64_t held_bytes() {
#ifdef QUILLON_TESTS_ADDRESS_SANITIZER
  return __sanitizer_get_current_allocated_bytes();
#else
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
#endif
}

/// Open descriptors, or -1 where the system does not tell.
inline int open_descriptors() {
  DIR* const folder = opendir("/proc/self/fd");
  if (folder == nullptr) return -1;
  int count = 0;
  while (readdir(folder) != nullptr) ++count;
  closedir(folder);
  return count;
}

}  // namespace quillon
