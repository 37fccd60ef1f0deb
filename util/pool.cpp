#include <algorithm>
#include <cinttypes>
#include <cstring>
#include <limits>
#include <new>

#include "util/os.h"
#include "util/scope_internal.h"
#include "util/util.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QUILLON_ADDRESS_SANITIZER
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define QUILLON_ADDRESS_SANITIZER
#endif
#ifdef QUILLON_ADDRESS_SANITIZER
#include <sanitizer/asan_interface.h>
#endif

namespace quillon {
namespace {

// A cache line before every block, which also separates neighbours. Under the address sanitizer it is
// unaddressable, like all memory that no caller owns; only `header_of` opens it for a moment.
struct Header {
  Header* below;  // the block allocated before this one, or null
  std::uint64_t bytes;
  char tag[48];  // a copy, since the caller may free the text; truncated if longer
};

constexpr std::uint64_t kLine = 64;
constexpr std::uint64_t kCommitStep = std::uint64_t{2} << 20;
constexpr std::uint64_t kIdle = std::uint64_t{64} << 20;
constexpr std::uint64_t kSmallestReservation = 2 * kCommitStep;
static_assert(sizeof(Header) == kLine);

// base <= top <= committed <= end. Memory is usable up to `committed`, blocks lie below `top`.
struct Pool {
  char* base;
  char* top;
  char* committed;
  char* end;
  Header* newest;
};

constinit Pool pools[2] = {};
constinit Scope::PoolMarks* innermost = nullptr;

void poison([[maybe_unused]] const void* at, [[maybe_unused]] std::uint64_t bytes) {
#ifdef QUILLON_ADDRESS_SANITIZER
  __asan_poison_memory_region(at, bytes);
#endif
}

void unpoison([[maybe_unused]] const void* at, [[maybe_unused]] std::uint64_t bytes) {
#ifdef QUILLON_ADDRESS_SANITIZER
  __asan_unpoison_memory_region(at, bytes);
#endif
}

std::uint64_t distance(const char* from, const char* to) { return static_cast<std::uint64_t>(to - from); }

std::uint64_t rounded_up(std::uint64_t bytes, std::uint64_t unit) { return (bytes + unit - 1) / unit * unit; }

char* block_of(Header* header) { return reinterpret_cast<char*>(header) + kLine; }

Header header_of(const Header* at) {
  unpoison(at, sizeof(Header));
  const Header header = *at;
  poison(at, sizeof(Header));
  return header;
}

Header header_for(Header* below, std::uint64_t bytes, const char* tag) {
  Header header{below, bytes, {}};
  std::memcpy(header.tag, tag, std::min(std::strlen(tag), sizeof header.tag - 1));
  return header;
}

Pool& pool_at(int pool, const char* function, const char* tag) {
  if (pool != 0 && pool != 1) errexit("%s: there is no pool %d for \"%s\"", function, pool, tag);
  return pools[pool];
}

// If address space is scarce, the pool reserves what it can get and never grows beyond that.
void reserve_region(Pool& pool) {
  std::uint64_t bytes = os::preferred_reservation() / kCommitStep * kCommitStep;
  void* region = os::reserve(bytes);
  while (region == nullptr && bytes > kSmallestReservation) {
    bytes /= 2;
    region = os::reserve(bytes);
  }
  if (region == nullptr) return;

  // Aligned to the commit step, so that growing by whole steps splits no huge page.
  char* const start = static_cast<char*>(region);
  char* const base = start + -reinterpret_cast<std::uintptr_t>(start) % kCommitStep;
  pool = {base, base, base, start + bytes, nullptr};
}

bool grow_committed(Pool& pool, char* new_top) {
  if (new_top <= pool.committed) return true;
  const std::uint64_t wanted = rounded_up(distance(pool.base, new_top), kCommitStep);
  char* const target = pool.base + std::min(wanted, distance(pool.base, pool.end));
  const std::uint64_t bytes = distance(pool.committed, target);
  if (!os::commit(pool.committed, bytes)) return false;
  poison(pool.committed, bytes);
  pool.committed = target;
  return true;
}

// At most kIdle bytes stay committed above the top, so that allocating and releasing copies in turn causes no
// page faults.
void shrink_committed(Pool& pool) {
  if (distance(pool.top, pool.committed) <= kIdle) return;
  char* const target = pool.base + rounded_up(distance(pool.base, pool.top) + kIdle, kCommitStep);
  if (target >= pool.committed) return;
  os::decommit(target, distance(target, pool.committed));
  pool.committed = target;
}

// Releases a block that the pool holds, with every younger block.
void release(Pool& pool, Header* oldest) {
  char* const new_top = reinterpret_cast<char*>(oldest);
  pool.newest = header_of(oldest).below;
  poison(new_top, distance(new_top, pool.top));
  pool.top = new_top;
  shrink_committed(pool);
}

// The mark of an outer scope is never above that of an inner one.
[[gnu::cold, gnu::noinline]] void lower_marks(int pool) {
  const std::uint64_t top = distance(pools[pool].base, pools[pool].top);
  for (Scope::PoolMarks* marks = innermost; marks != nullptr && marks->lowest[pool] > top;
       marks = marks->outer)
    marks->lowest[pool] = top;
}

}  // namespace

void* poolalloc(int pool, std::uint64_t bytes, const char* tag) {
  Pool& stack = pool_at(pool, "poolalloc", tag);
  if (stack.base == nullptr) reserve_region(stack);

  const std::uint64_t room = distance(stack.top, stack.end);
  const std::uint64_t span = bytes < room ? kLine + rounded_up(std::max<std::uint64_t>(bytes, 1), kLine)
                                          : std::numeric_limits<std::uint64_t>::max();
  if (span > room || !grow_committed(stack, stack.top + span))
    errexit("poolalloc: pool %d cannot provide %" PRIu64 " bytes for \"%s\"", pool, bytes, tag);

  unpoison(stack.top, sizeof(Header));
  stack.newest = new (stack.top) Header(header_for(stack.newest, bytes, tag));
  poison(stack.top, sizeof(Header));
  stack.top += span;

  char* const block = block_of(stack.newest);
  unpoison(block, bytes);
  return block;
}

int poolfree_upto(int pool, void* block, const char* tag) {
  Pool& stack = pool_at(pool, "poolfree_upto", tag);
  const auto address = reinterpret_cast<std::uintptr_t>(block);

  int nreleased = 1;
  Header* header = stack.newest;
  for (; header != nullptr && reinterpret_cast<std::uintptr_t>(block_of(header)) > address; ++nreleased)
    header = header_of(header).below;

  if (header == nullptr || block_of(header) != block) {
    const Header newest = stack.newest == nullptr ? header_for(nullptr, 0, "none") : header_of(stack.newest);
    errexit("poolfree_upto: pool %d does not hold block %p for \"%s\"; its newest is \"%s\" of %" PRIu64
            " bytes",
            pool, block, tag, newest.tag, newest.bytes);
  }

  release(stack, header);
  if (innermost != nullptr) [[unlikely]]
    lower_marks(pool);
  return nreleased;
}

namespace internal {

void open_pool_scope(Scope::PoolMarks& marks) {
  marks.outer = innermost;
  for (const int pool : {0, 1}) marks.lowest[pool] = distance(pools[pool].base, pools[pool].top);
  innermost = &marks;
}

void close_pool_scope(const Scope::PoolMarks& marks, bool release_blocks) {
  innermost = marks.outer;
  if (!release_blocks) return;
  for (const int pool : {0, 1}) {
    const char* const mark = pools[pool].base + marks.lowest[pool];
    Header* oldest = nullptr;
    for (Header* header = pools[pool].newest; header != nullptr && reinterpret_cast<char*>(header) >= mark;
         header = header_of(header).below)
      oldest = header;
    if (oldest != nullptr) release(pools[pool], oldest);
  }
}

}  // namespace internal

}  // namespace quillon
