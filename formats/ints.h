#pragma once
/// @file
/// A growing array of ints that a record can own afterwards.

#include <cstddef>
#include <initializer_list>
#include <span>

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility push(default)
#endif

namespace quillon::formats {

/// Ints in heap memory of the utility layer. Has the functions of std::vector that readers use, but leaves
/// new entries uninitialised where it can, and grows by `urealloc`, which moves the pages of large blocks
/// instead of copying them.
///
/// @par Errors  Out of memory is fatal (util/util.h).
class Ints {
 public:
  using value_type = int;
  using size_type = std::size_t;
  using difference_type = std::ptrdiff_t;
  using reference = int&;
  using const_reference = const int&;
  using iterator = int*;
  using const_iterator = const int*;

  /// @param tag  What the array is for, in the message of a failed request.
  explicit Ints(const char* tag = "Ints: entries") : tag_(tag) {}
  Ints(Ints&& other) noexcept;
  Ints& operator=(Ints&& other) noexcept;
  ~Ints();

  [[nodiscard]] std::size_t size() const { return size_; }
  [[nodiscard]] bool empty() const { return size_ == 0; }
  [[nodiscard]] std::size_t capacity() const { return capacity_; }
  int* data() { return data_; }
  [[nodiscard]] const int* data() const { return data_; }
  int* begin() { return data_; }
  int* end() { return data_ + size_; }
  [[nodiscard]] const int* begin() const { return data_; }
  [[nodiscard]] const int* end() const { return data_ + size_; }
  int& operator[](std::size_t k) { return data_[k]; }
  const int& operator[](std::size_t k) const { return data_[k]; }
  int& back() { return data_[size_ - 1]; }
  [[nodiscard]] const int& back() const { return data_[size_ - 1]; }

  void push_back(int value) {
    if (size_ == capacity_) grow(size_ + 1);
    data_[size_++] = value;
  }

  void clear() { size_ = 0; }

  /// Ensures a capacity, exactly `count` if that is more than the present one. The system provides memory for
  /// entries when they are first used.
  void reserve(std::size_t count);

  /// @param value  Of the entries added.
  void resize(std::size_t count, int value = 0);

  void assign(std::size_t count, int value);
  void assign(std::initializer_list<int> values);

  /// Adds entries without a value.
  ///
  /// @return  The first of them.
  int* extend(std::size_t count) {
    if (count > capacity_ - size_) grow(size_ + count);
    size_ += count;
    return data_ + size_ - count;
  }

  /// Hands over the block, cut to its entries and `nspare` more without a value.
  ///
  /// @return  Never null; free it with `_usfree`. This array is empty afterwards.
  [[nodiscard]] int* release(std::size_t nspare);

  /// Frees the block.
  void free();

 private:
  void grow(std::size_t count);

  const char* tag_;
  int* data_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

bool operator==(const Ints& a, std::span<const int> b);
inline bool operator==(const Ints& a, const Ints& b) { return a == std::span<const int>(b); }

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
