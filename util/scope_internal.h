#pragma once
/// @file
/// Bookkeeping of heap, pools and files for Scope. Each function is defined beside its resource, so that a
/// program may replace one source of `util/` without linking the others. None throws or reports errors.
/// Internal to `util/`.

#include <cstdint>

#include "util/scope.h"

namespace quillon::internal {

/// Starts recording heap blocks for one more scope.
/// @return  Serial number of the next block.
std::uint64_t open_heap_scope();

/// Ends the innermost scope.
///
/// @param first    The result of `open_heap_scope`.
/// @param release  Frees the blocks with this serial number and above; else the next outer scope gets them.
void close_heap_scope(std::uint64_t first, bool release);

/// Stores the tops of both pools. `poolfree_upto` lowers them until `close_pool_scope`.
void open_pool_scope(Scope::PoolMarks& marks);

/// Removes the innermost marks and, if `release`, releases every block above them.
void close_pool_scope(const Scope::PoolMarks& marks, bool release);

/// Starts opening streams so that `close_file_scope` can tell which are still open, for one more scope.
/// @return  Serial number of the next stream.
std::uint64_t open_file_scope();

/// As `close_heap_scope`, for streams.
void close_file_scope(std::uint64_t first, bool release);

}  // namespace quillon::internal
