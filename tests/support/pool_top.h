#pragma once

#include "util/util.h"

namespace quillon {

/// The address of the next block of a pool: always the same when the pool is empty.
inline void* top_of(int pool) {
  void* const block = poolalloc(pool, 1, "top_of");
  poolfree_upto(pool, block, "top_of");
  return block;
}

}  // namespace quillon
