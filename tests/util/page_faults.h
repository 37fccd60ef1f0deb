#pragma once
/// @file
/// Counts the page faults of filling memory.

#include <sys/mman.h>
#include <sys/resource.h>

#include <cstdint>
#include <cstring>

namespace quillon {

inline constexpr std::uint64_t kMiB = std::uint64_t{1} << 20;

inline std::uint64_t minor_faults() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<std::uint64_t>(usage.ru_minflt);
}

inline std::uint64_t faults_of_filling(void* block, std::uint64_t bytes) {
  const std::uint64_t before = minor_faults();
  std::memset(block, 1, bytes);
  return minor_faults() - before;
}

/// Page faults of filling memory that was mapped and advised directly by system calls; the number of small
/// pages if the system has no huge ones.
inline std::uint64_t faults_at_best(std::uint64_t bytes) {
  std::uint64_t faults = bytes / 4096;
#ifdef MADV_HUGEPAGE
  void* const block = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (block == MAP_FAILED) return faults;
  madvise(block, bytes, MADV_HUGEPAGE);
  faults = faults_of_filling(block, bytes);
  munmap(block, bytes);
#endif
  return faults;
}

}  // namespace quillon
