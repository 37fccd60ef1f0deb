#include "tests/support/resources.h"

#include <dirent.h>
#include <malloc.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <fstream>

#include "tests/support/pool_top.h"
#include "tests/util/variant.h"
#include "util/util.h"

// The thread sanitizer needs its own functions.
#if !defined(QUILLON_TESTS_ADDRESS_SANITIZER) && !defined(__SANITIZE_THREAD__) && defined(__GLIBC__)

// Counts malloc_usable_size per block, without the space between blocks.
namespace {
std::atomic<std::uint64_t> held = 0;

void* counted(void* block) {
  if (block != nullptr) held += malloc_usable_size(block);
  return block;
}
}  // namespace

extern "C" {  // NOLINTBEGIN(bugprone-reserved-identifier)
void* __libc_malloc(std::size_t bytes);
void* __libc_calloc(std::size_t count, std::size_t bytes);
void* __libc_realloc(void* block, std::size_t bytes);
void* __libc_memalign(std::size_t alignment, std::size_t bytes);
void __libc_free(void* block);

void* malloc(std::size_t bytes) noexcept { return counted(__libc_malloc(bytes)); }
void* calloc(std::size_t count, std::size_t bytes) noexcept { return counted(__libc_calloc(count, bytes)); }
void* memalign(std::size_t alignment, std::size_t bytes) noexcept {
  return counted(__libc_memalign(alignment, bytes));
}
void* aligned_alloc(std::size_t alignment, std::size_t bytes) noexcept { return memalign(alignment, bytes); }
int posix_memalign(void** block, std::size_t alignment, std::size_t bytes) noexcept {
  *block = memalign(alignment, bytes);
  return *block == nullptr ? ENOMEM : 0;
}
void free(void* block) noexcept {
  if (block != nullptr) held -= malloc_usable_size(block);
  __libc_free(block);
}
void* realloc(void* block, std::size_t bytes) noexcept {
  const std::uint64_t before = block == nullptr ? 0 : malloc_usable_size(block);
  void* const result = __libc_realloc(block, bytes);
  if (result != nullptr || bytes == 0) held -= before;
  return counted(result);
}
}  // NOLINTEND(bugprone-reserved-identifier)

std::uint64_t quillon::held_bytes() { return held; }

#elif defined(QUILLON_TESTS_ADDRESS_SANITIZER)

extern "C" std::size_t __sanitizer_get_current_allocated_bytes();  // NOLINT(bugprone-reserved-identifier)

std::uint64_t quillon::held_bytes() { return __sanitizer_get_current_allocated_bytes(); }

#else

std::uint64_t quillon::held_bytes() { return 0; }

#endif

namespace quillon {
namespace {}  // namespace

bool heap_is_counted() {
  const std::uint64_t before = held_bytes();
  void* volatile block = std::malloc(100);  // volatile, or the compiler drops the pair
  const bool counts = held_bytes() >= before + 100;
  std::free(block);
  return counts;
}

int open_descriptors() {
  DIR* const folder = opendir("/proc/self/fd");
  if (folder == nullptr) return -1;
  int count = 0;
  while (readdir(folder) != nullptr) ++count;
  closedir(folder);
  return count;
}

std::uint64_t resident_bytes() {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    std::uint64_t kib = 0;
    if (word == "RssAnon:" && status >> kib) return kib << 10;
  }
  return 0;
}

Held::Held() : bytes_(held_bytes()), descriptors_(open_descriptors()), pool_tops_{top_of(0), top_of(1)} {}

void PrintTo(const Held& held, std::ostream* out) {
  *out << held.bytes_ << " bytes, " << held.descriptors_ << " descriptors, pools up to " << held.pool_tops_[0]
       << " and " << held.pool_tops_[1];
}

}  // namespace quillon
