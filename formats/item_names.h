#pragma once
/// @file
/// Names that are JSON strings or integers, to numbers. Internal to `formats/`.

#include <algorithm>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "formats/names.h"

namespace quillon::formats {

/// Numbers names from 1 in the order of their first appearance. The integer 1 and the string "1" differ.
///
/// Integers not much larger than the number of names are looked up by index, all other names by `Names`.
class ItemNames {
 public:
  /// @return  Whether the integer is looked up by index. If not, its text should be among those of
  ///          `numbers_of`, which is faster than `number_of`.
  [[nodiscard]] bool is_indexed(std::uint64_t integer) const {
    return integer < by_integer_.size() || integer < most_by_index();
  }

  /// @throws BadFile  as `Names::number_of`; so do the others.
  int number_of(std::uint64_t integer) {
    if (integer < by_integer_.size() && by_integer_[integer] != 0) return by_integer_[integer];
    return number_of_new(integer);
  }

  /// Prefetch hint for `number_of`.
  void prefetch(std::uint64_t integer) const {
    if (integer < by_integer_.size()) __builtin_prefetch(&by_integer_[integer]);
  }

  /// The numbers of many texts, as `Names::numbers_of`.
  ///
  /// @param texts    Canonical JSON texts of strings, and of integers that are not indexed.
  /// @param numbers  Out, one for each.
  void numbers_of(std::span<const std::string_view> texts, int* numbers);

  /// @return  Number of names.
  [[nodiscard]] int size() const { return static_cast<int>(origins_.size()); }

  /// @param number  From 1 to `size()`.
  /// @return        The canonical JSON text of a name.
  [[nodiscard]] std::string text_of(int number) const;

  /// @param number  From 1 to `size()`.
  /// @return        Whether the name is a string that spells an integer which is a name too.
  [[nodiscard]] bool spells_other(int number) const;

 private:
  // The index has at most eight entries for each name.
  [[nodiscard]] std::uint64_t most_by_index() const {
    constexpr std::uint64_t kLimit = std::numeric_limits<int>::max();
    return std::min<std::uint64_t>(4 * (origins_.size() + 16384), kLimit);
  }

  [[nodiscard]] bool knows_integer(std::string_view digits) const;
  int number_of_new(std::uint64_t integer);
  int number_of_text(int text_number);
  int add(int origin);

  Names texts_;
  std::vector<int> by_integer_;        // numbers; 0: not known yet
  std::vector<int> numbers_of_texts_;  // by number in `texts_`, from 1; empty while they are the same
  std::vector<int> origins_;           // by number - 1: the integer, or minus the number in `texts_`
};

}  // namespace quillon::formats
