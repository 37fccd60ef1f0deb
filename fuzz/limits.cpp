// Readers allocate what a header announces. Here requests above a limit fail, so that runs are fast and
// failing requests are tested too.

#include <cstdlib>
#include <new>

// NOLINTNEXTLINE(bugprone-reserved-identifier): the address sanitizer looks for this name
extern "C" const char* __asan_default_options();

extern "C" const char* __asan_default_options() {
  return "max_allocation_size_mb=40:allocator_may_return_null=1";
}

// The operators of the sanitizer end the program instead of throwing bad_alloc.
// NOLINTBEGIN(misc-new-delete-overloads): every operator has its counterpart
void* operator new(std::size_t bytes, const std::nothrow_t& /*nothrow*/) noexcept {
  return std::malloc(bytes == 0 ? 1 : bytes);
}

void* operator new(std::size_t bytes) {
  void* const block = operator new(bytes, std::nothrow);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void* operator new[](std::size_t bytes) { return operator new(bytes); }
void* operator new[](std::size_t bytes, const std::nothrow_t& /*nothrow*/) noexcept {
  return operator new(bytes, std::nothrow);
}

void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t /*bytes*/) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t /*bytes*/) noexcept { std::free(block); }
// NOLINTEND(misc-new-delete-overloads)
