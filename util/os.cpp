#include "util/os.h"

#include <algorithm>

#if (defined(__unix__) || defined(__APPLE__)) && !defined(QUILLON_PORTABLE)
#include <sys/mman.h>
#include <sys/resource.h>
#else
#include <cstdlib>
#endif

namespace quillon::os {

#if (defined(__unix__) || defined(__APPLE__)) && !defined(QUILLON_PORTABLE)

std::uint64_t preferred_reservation() {
  constexpr std::uint64_t kPlenty = std::uint64_t{1} << 40;
  rlimit limit{};
  if (getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return kPlenty;
  return std::min<std::uint64_t>(kPlenty, limit.rlim_cur / 4);
}

void* reserve(std::uint64_t bytes) {
  void* const at = mmap(nullptr, bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (at == MAP_FAILED) return nullptr;
  advise_huge_pages(at, bytes);
  return at;
}

bool commit(void* at, std::uint64_t bytes) { return mprotect(at, bytes, PROT_READ | PROT_WRITE) == 0; }

void decommit(void* at, std::uint64_t bytes) {
  // Without the advice the memory stays ours until it is used again, which costs space but nothing else.
  madvise(at, bytes, MADV_DONTNEED);
  mprotect(at, bytes, PROT_NONE);
}

void advise_huge_pages([[maybe_unused]] void* at, [[maybe_unused]] std::uint64_t bytes) {
#ifdef MADV_HUGEPAGE
  // From the start of the block's first page on: to the system a mapping that is advised in part is two,
  // and then realloc copies a block that it could have moved.
  constexpr std::uint64_t kPage = std::uint64_t{1} << 12;
  const std::uint64_t before = reinterpret_cast<std::uintptr_t>(at) % kPage;
  madvise(static_cast<char*>(at) - before, before + bytes, MADV_HUGEPAGE);
#endif
}

#else

std::uint64_t preferred_reservation() { return std::uint64_t{1} << 30; }

void* reserve(std::uint64_t bytes) { return std::malloc(bytes); }

bool commit(void* /*at*/, std::uint64_t /*bytes*/) { return true; }

void decommit(void* /*at*/, std::uint64_t /*bytes*/) {}

void advise_huge_pages(void* /*at*/, std::uint64_t /*bytes*/) {}

#endif

}  // namespace quillon::os
