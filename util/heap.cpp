#include <cinttypes>
#include <cstdlib>
#include <limits>
#include <new>
#include <unordered_map>
#include <utility>

#include "util/os.h"
#include "util/scope_internal.h"
#include "util/util.h"

namespace quillon {
namespace {

constexpr std::uint64_t kHugePagesFrom = std::uint64_t{4} << 20;
// The line buffers of readers, of which mostly only the start is used: clearing a huge page for it costs more
// than reading a small file, and the advice more than reading a small record.
constexpr std::uint64_t kLineBuffer = std::uint64_t{16} << 20;
constexpr std::uint64_t kLargest = std::numeric_limits<std::ptrdiff_t>::max();

// Blocks allocated while a scope exists and not yet freed, each with its serial number.
using Blocks = std::unordered_map<void*, std::uint64_t>;

constinit int nscopes = 0;
constinit std::uint64_t next_number = 0;

// Never destroyed: blocks may be freed during exit.
Blocks& blocks() {
  alignas(Blocks) static char memory[sizeof(Blocks)];
  static Blocks& noted = *new (memory) Blocks;
  return noted;
}

bool note(void* block) try {
  blocks().insert_or_assign(block, next_number);
  ++next_number;
  return true;
} catch (const std::bad_alloc&) {
  return false;
}

// The entry follows the block to its new address; a block from before all scopes has none. Out of line:
// inlined, it makes requests without a scope save more registers.
[[gnu::cold, gnu::noinline]] void* noted_realloc(void* block, std::uint64_t bytes) {
  if (block == nullptr) {
    void* const fresh = std::malloc(bytes);
    if (fresh == nullptr || note(fresh)) return fresh;
    std::free(fresh);
    return nullptr;
  }
  Blocks::node_type entry = blocks().extract(block);
  void* const result = std::realloc(block, bytes);
  if (entry.empty()) return result;
  entry.key() = result == nullptr ? block : result;
  blocks().insert(std::move(entry));  // allocates nothing: it only goes back
  return result;
}

[[gnu::cold, gnu::noinline]] void forget(void* block) { blocks().erase(block); }

// realloc serves every request: of a null block it is malloc. A size of 0 would free the block, so 1 byte is
// requested instead.
void* resized(void* block, std::uint64_t bytes, const char* function, const char* tag) {
  void* result = nullptr;
  if (bytes <= kLargest) {
    const std::uint64_t requested = bytes == 0 ? 1 : bytes;
    result = nscopes == 0 ? std::realloc(block, requested) : noted_realloc(block, requested);
  }
  if (result == nullptr) errexit("%s: cannot allocate %" PRIu64 " bytes for \"%s\"", function, bytes, tag);
  if (bytes >= kHugePagesFrom && bytes != kLineBuffer) os::advise_huge_pages(result, bytes);
  return result;
}

}  // namespace

void* umalloc(std::uint64_t bytes, const char* tag) { return resized(nullptr, bytes, "umalloc", tag); }

std::int32_t* imalloc(std::int64_t count, const char* tag) {
  if (count < 0) errexit("imalloc: negative count %" PRId64 " for \"%s\"", count, tag);
  const auto elements = static_cast<std::uint64_t>(count);
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
  const std::uint64_t bytes = elements > kMost / 4 ? kMost : 4 * elements;
  return static_cast<std::int32_t*>(resized(nullptr, bytes, "imalloc", tag));
}

void* urealloc(void* block, std::uint64_t bytes, const char* tag) {
  return resized(block, bytes, "urealloc", tag);
}

void _usfree(void* block) {
  if (nscopes != 0) [[unlikely]]
    forget(block);
  std::free(block);
}

namespace internal {

std::uint64_t open_heap_scope() {
  ++nscopes;
  return next_number;
}

void close_heap_scope(std::uint64_t first, bool release) {
  if (release) {
    std::erase_if(blocks(), [first](const Blocks::value_type& entry) {
      if (entry.second < first) return false;
      std::free(entry.first);
      return true;
    });
  }
  if (--nscopes == 0) Blocks().swap(blocks());
}

}  // namespace internal
}  // namespace quillon
