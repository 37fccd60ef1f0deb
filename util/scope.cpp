#include "util/scope.h"

#include "util/scope_internal.h"

namespace quillon {

Scope::Scope()
    : first_block_(internal::open_heap_scope()), first_stream_(internal::open_file_scope()), pools_() {
  internal::open_pool_scope(pools_);
}

Scope::~Scope() {
  internal::close_file_scope(first_stream_, !kept_);
  internal::close_heap_scope(first_block_, !kept_);
  internal::close_pool_scope(pools_, !kept_);
}

}  // namespace quillon
