#include "python/core/integers.h"

namespace quillon::python {
namespace {

template <typename Work>
void visit(const Integers& integers, const Work& work) {
  if (integers.are_wide)
    work(std::span(static_cast<const std::int64_t*>(integers.data), integers.size));
  else
    work(std::span(static_cast<const std::int32_t*>(integers.data), integers.size));
}

}  // namespace

Integers::Integers(const pybind11::array& array)
    : data(array.data()), size(static_cast<std::size_t>(array.size())), are_wide(array.itemsize() == 8) {}

Integers::Integers(const std::optional<pybind11::array>& array)
    : Integers(array ? Integers(*array) : Integers()) {}

void refuse(const Range& range, std::size_t position, std::int64_t value) {
  std::string expected = std::to_string(range.least) + " to " + std::to_string(range.most);
  if (range.most < range.least) expected = "none, as there are no cells";
  throw std::invalid_argument(range.name + "[" + std::to_string(position) + "] is " + std::to_string(value) +
                              ", expected " + expected);
}

void copy_in_range(const Integers& integers, const Range& range, int shift, int* copy) {
  visit(integers, [&](const auto values) {
    bool is_any_outside = false;
    for (std::size_t k = 0; k < values.size(); ++k) {
      is_any_outside |= values[k] < range.least || values[k] > range.most;
      copy[k] = static_cast<int>(static_cast<unsigned>(values[k]) + static_cast<unsigned>(shift));
    }
    if (!is_any_outside) return;
    for (std::size_t k = 0; k < values.size(); ++k)
      if (values[k] < range.least || values[k] > range.most) refuse(range, k, values[k]);
  });
}

std::vector<int> by_number(const Integers& integers, int count, const Range& range, int shift) {
  if (integers.size != static_cast<std::size_t>(count))
    throw std::invalid_argument(range.name + " has " + std::to_string(integers.size) + " entries, expected " +
                                std::to_string(count));
  std::vector<int> values(integers.size + 1);
  copy_in_range(integers, range, shift, values.data() + 1);
  return values;
}

pybind11::array_t<int> from_zero(std::span<const int> by_number) {
  const std::size_t count = by_number.empty() ? 0 : by_number.size() - 1;
  pybind11::array_t<int> array(static_cast<pybind11::ssize_t>(count));
  int* const values = array.mutable_data();
  for (std::size_t k = 0; k < count; ++k) values[k] = by_number[k + 1] - 1;
  return array;
}

}  // namespace quillon::python
