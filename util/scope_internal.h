#pragma once
/// @file
/// What a Scope asks of the heap, the pools and the files. Each is defined beside the resource, so that a
/// program may replace one source of `util/` without linking the others. Internal to `util/`; all noexcept in
/// effect, none ends the program.

#include <cstdint>

#include "util/scope.h"

namespace quillon::internal {

/// Starts noting heap blocks for one scope more.
/// @return  Number that the next block gets.
std::uint64_t open_heap_scope();

/// Stops noting blocks for the innermost scope.
///
/// @param first  Blocks with this number and above are freed if `release`, else left to the next outer scope.
void close_heap_scope(std::uint64_t first, bool release);

/// Stores the tops of both pools and has them lowered by `poolfree_upto`, until the marks are closed.
void open_pool_scope(Scope::PoolMarks& marks);

/// Releases, if `release`, every block above the marks, which must be the innermost ones.
void close_pool_scope(const Scope::PoolMarks& marks, bool release);

/// Starts opening streams in a way that tells whether they are still open, for one scope more.
/// @return  Number that the next stream gets.
std::uint64_t open_file_scope();

/// As `close_heap_scope`, for streams.
void close_file_scope(std::uint64_t first, bool release);

}  // namespace quillon::internal
