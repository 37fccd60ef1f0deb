#include "formats/ints.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "util/util.h"

namespace quillon::formats {
namespace {

std::uint64_t bytes_of(std::size_t count) { return std::uint64_t{sizeof(int)} * count; }

}  // namespace

Ints::Ints(Ints&& other) noexcept
    : tag_(other.tag_),
      data_(std::exchange(other.data_, nullptr)),
      size_(std::exchange(other.size_, 0)),
      capacity_(std::exchange(other.capacity_, 0)) {}

// The tag says what the array is for, which stays.
// cppcheck-suppress operatorEqVarError
Ints& Ints::operator=(Ints&& other) noexcept {
  if (this == &other) return *this;
  free();
  data_ = std::exchange(other.data_, nullptr);
  size_ = std::exchange(other.size_, 0);
  capacity_ = std::exchange(other.capacity_, 0);
  return *this;
}

Ints::~Ints() { _usfree(data_); }

void Ints::reserve(std::size_t count) {
  if (count <= capacity_) return;
  data_ = static_cast<int*>(urealloc(data_, bytes_of(count), tag_));
  capacity_ = count;
}

void Ints::grow(std::size_t count) {
  constexpr std::size_t kLeast = 16;
  reserve(std::max({count, 2 * capacity_, kLeast}));
}

void Ints::resize(std::size_t count, int value) {
  if (count > size_) {
    const std::size_t nadded = count - size_;
    std::fill_n(extend(nadded), nadded, value);
  }
  size_ = count;
}

void Ints::assign(std::size_t count, int value) {
  clear();
  reserve(count);
  resize(count, value);
}

void Ints::assign(std::initializer_list<int> values) {
  clear();
  std::copy(values.begin(), values.end(), extend(values.size()));
}

int* Ints::release(std::size_t nspare) {
  data_ = static_cast<int*>(urealloc(data_, bytes_of(size_ + nspare), tag_));
  size_ = 0;
  capacity_ = 0;
  return std::exchange(data_, nullptr);
}

void Ints::free() {
  _usfree(std::exchange(data_, nullptr));
  size_ = 0;
  capacity_ = 0;
}

bool operator==(const Ints& a, std::span<const int> b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end());
}

}  // namespace quillon::formats
