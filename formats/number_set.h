#pragma once
/// @file
/// Numbers of a file of which a header announces the largest. Internal to `formats/`.

#include <cstddef>
#include <set>
#include <span>
#include <vector>

namespace quillon::formats {

/// Numbers from 0. Their memory follows how many there are, not how large they are.
class NumberSet {
 public:
  NumberSet() = default;

  /// @param nready  Numbers below it cost a byte each from the start.
  explicit NumberSet(std::size_t nready) : by_number_(nready, 0) {}

  [[nodiscard]] bool contains(int number) const {
    const auto at = static_cast<std::size_t>(number);
    return (at < by_number_.size() && by_number_[at] != 0) || (!others_.empty() && others_.contains(number));
  }

  /// @return  False without effect if it is there.
  bool add(int number) {
    const auto at = static_cast<std::size_t>(number);
    if (at >= by_number_.size() || by_number_[at] != 0 || !others_.empty()) return add_rarely(number);
    by_number_[at] = 1;
    ++size_;
    return true;
  }

  /// Adds numbers up to `largest`.
  ///
  /// @return  False without effect if one of them is there, or occurs twice.
  bool add_all(std::span<const int> numbers, int largest);

  /// @param number  One that is there.
  void remove(int number);

  [[nodiscard]] std::size_t size() const { return size_; }

 private:
  bool add_rarely(int number);
  bool add_bytes(std::span<const int> numbers);  // `add_all` of those that `by_number_` reaches

  std::vector<char> by_number_;
  std::set<int> others_;  // those beyond it when they were added
  std::size_t size_ = 0;
};

}  // namespace quillon::formats
