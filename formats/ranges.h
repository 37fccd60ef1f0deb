#pragma once
/// @file
/// Ranges of the numbers in files, in the words of messages. Internal to `formats/`.

#include <limits>
#include <string>

#include "formats/scanner.h"

namespace quillon::formats {

/// Most cells or nets of a record: they are numbered by ints, and so is the sentinel after the last one.
inline constexpr int kMostItems = std::numeric_limits<int>::max() - 2;

/// Counts; without the words of a message.
inline Range any_count(const char* if_missing) { return {0, kMostItems, {}, "bad-count", if_missing}; }

/// The meaning of `any_count`.
///
/// @param what  Such as "the number of nets".
inline std::string count_meaning(const std::string& what) {
  return what + ", from 0 to " + std::to_string(kMostItems);
}

/// A number of a header.
///
/// @param what  Such as "the number of nets".
inline Range count_range(const std::string& what, const char* if_missing = "header-short") {
  return {0, kMostItems, count_meaning(what), "bad-count", if_missing};
}

/// The first number of a header.
///
/// @param what  Such as "the number of nets".
inline Range first_count_range(const std::string& what) { return count_range(what, "header-missing"); }

/// Weights; without the words of a message.
inline Range any_weight() { return {0, std::numeric_limits<int>::max(), {}, "bad-weight"}; }

/// The meaning of `any_weight`.
///
/// @param what  Such as "the weight of net 3".
inline std::string weight_meaning(const std::string& what) {
  return what + ", from 0 to " + std::to_string(any_weight().max);
}

/// Weights that may be negative; without the words of a message.
inline Range any_signed_weight() {
  return {std::numeric_limits<int>::min(), std::numeric_limits<int>::max(), {}, "bad-weight"};
}

/// The meaning of `any_signed_weight`.
///
/// @param what  Such as "the weight of net 3".
inline std::string signed_weight_meaning(const std::string& what) {
  const Range range = any_signed_weight();
  return what + ", from " + std::to_string(range.min) + " to " + std::to_string(range.max);
}

/// Cell numbers of a file that counts from `first`.
inline Range cell_range(int ncells, int first) {
  const int last = ncells - 1 + first;
  if (ncells == 0) return {first, last, "no cell, as there are none", "cell-out-of-range"};
  return {first, last, "a cell number from " + std::to_string(first) + " to " + std::to_string(last),
          "cell-out-of-range"};
}

/// "net 3 of 10"
inline std::string of_all(const std::string& what, int number, int count) {
  return what + " " + std::to_string(number) + " of " + std::to_string(count);
}

}  // namespace quillon::formats
