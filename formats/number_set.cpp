#include "formats/number_set.h"

#include <algorithm>

namespace quillon::formats {

bool NumberSet::add_rarely(int number) {
  if (contains(number)) return false;
  constexpr std::size_t kMostBytes = 32;  // for each number
  constexpr std::size_t kFew = 4096;
  ++size_;
  const auto at = static_cast<std::size_t>(number);
  if (at >= by_number_.size()) {
    if (at >= kMostBytes * (size_ + kFew)) return others_.insert(number).second;
    by_number_.resize(std::max(at + 1, 2 * by_number_.size()));
  }
  by_number_[at] = 1;
  return true;
}

bool NumberSet::add_all(std::span<const int> numbers, int largest) {
  if (static_cast<std::size_t>(largest) < by_number_.size() && others_.empty()) return add_bytes(numbers);
  for (std::size_t k = 0; k < numbers.size(); ++k) {
    if (add(numbers[k])) continue;
    for (const int number : numbers.first(k)) remove(number);
    return false;
  }
  return true;
}

bool NumberSet::add_bytes(std::span<const int> numbers) {
  char* const bytes = by_number_.data();
  for (std::size_t k = 0; k < numbers.size(); ++k) {
    char& byte = bytes[numbers[k]];
    if (byte == 0) {
      byte = 1;
      continue;
    }
    for (const int number : numbers.first(k)) bytes[number] = 0;
    return false;
  }
  size_ += numbers.size();
  return true;
}

void NumberSet::remove(int number) {
  --size_;
  if (others_.erase(number) == 0) by_number_[static_cast<std::size_t>(number)] = 0;
}

}  // namespace quillon::formats
