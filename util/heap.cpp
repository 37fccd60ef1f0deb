#include <cinttypes>
#include <cstdlib>
#include <limits>

#include "util/os.h"
#include "util/util.h"

namespace quillon {
namespace {

constexpr std::uint64_t kHugePagesFrom = std::uint64_t{4} << 20;
constexpr std::uint64_t kLargest = std::numeric_limits<std::ptrdiff_t>::max();

// realloc serves every request: of a null block it is malloc. A size of 0 would be a release, so none is
// asked for.
void* resized(void* block, std::uint64_t bytes, const char* function, const char* tag) {
  void* const result = bytes > kLargest ? nullptr : std::realloc(block, bytes == 0 ? 1 : bytes);
  if (result == nullptr) errexit("%s: cannot allocate %" PRIu64 " bytes for \"%s\"", function, bytes, tag);
  if (bytes >= kHugePagesFrom) os::advise_huge_pages(result, bytes);
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

void _usfree(void* block) { std::free(block); }

}  // namespace quillon
