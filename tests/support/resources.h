#pragma once
// Memory and descriptors that this process holds.

#include <cstdint>
#include <ostream>

namespace quillon {

/// Bytes in heap blocks that are not freed, to the byte. Without the address sanitizer, malloc of this
/// program counts them.
std::uint64_t held_bytes();

/// Whether `held_bytes` sees allocations. It does not under valgrind, which has its own malloc, or without
/// glibc.
bool heap_is_counted();

/// Number of open descriptors, or -1 if the system does not tell.
int open_descriptors();

/// Memory of this process that has pages, without files, in bytes; 0 if the system does not tell.
std::uint64_t resident_bytes();

/// What the process holds at the time of construction.
class Held {
 public:
  Held();
  bool operator==(const Held& other) const = default;
  friend void PrintTo(const Held& held, std::ostream* out);

 private:
  std::uint64_t bytes_;
  int descriptors_;
  void* pool_tops_[2];
};

}  // namespace quillon
