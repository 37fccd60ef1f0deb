#pragma once
// Integers of Python arguments, checked and counted as the module counts.

#include <pybind11/numpy.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace quillon::python {

/// What the integers of an argument may be.
struct Range {
  std::string name;
  std::int64_t least = std::numeric_limits<int>::min();
  std::int64_t most = std::numeric_limits<int>::max();
};

/// The memory of a contiguous array of ints of 32 or 64 bits, for use without the interpreter.
struct Integers {
  const void* data = nullptr;  // null: there is no array
  std::size_t size = 0;
  bool are_wide = false;

  Integers() = default;
  explicit Integers(const pybind11::array& array);
  explicit Integers(const std::optional<pybind11::array>& array);
};

/// @throws std::invalid_argument  always: the integer at this position is out of range.
[[noreturn]] void refuse(const Range& range, std::size_t position, std::int64_t value);

/// Copies the integers, each increased by `shift`.
///
/// @throws std::invalid_argument  if one is out of range.
void copy_in_range(const Integers& integers, const Range& range, int shift, int* copy);

/// The integers of all cells or nets, as arrays of the module: entry 0 is 0.
///
/// @throws std::invalid_argument  if one is out of range, or their number is another.
std::vector<int> by_number(const Integers& integers, int count, const Range& range, int shift = 0);

/// Entries 1 and above, each less by 1.
pybind11::array_t<int> from_zero(std::span<const int> by_number);

}  // namespace quillon::python
