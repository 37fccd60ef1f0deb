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

void NumberSet::remove(int number) {
  --size_;
  if (others_.erase(number) == 0) by_number_[static_cast<std::size_t>(number)] = 0;
}

}  // namespace quillon::formats
