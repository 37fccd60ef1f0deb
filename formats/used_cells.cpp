#include "formats/used_cells.h"

#include <iterator>
#include <limits>

#include "formats/parallel_nets.h"
#include "util/digits.h"

namespace quillon::formats {

bool UsedCells::suit(const NetLists& lists) {
  return !lists.avoids(lists.ncells / std::numeric_limits<unsigned>::digits, lists.nadj.size());
}

UsedCells::UsedCells(const NetLists& lists)
    : ncells_(suit(lists) ? lists.ncells : 0), words_(static_cast<std::size_t>(ncells_) / 64 + 1) {}

void UsedCells::add(const UsedCells& others) {
  for (std::size_t k = 0; k < words_.size(); ++k) words_[k] |= others.words_[k];
}

IsolatedCells UsedCells::isolated() const {
  IsolatedCells isolated{ncells_, 0};
  for (const std::uint64_t word : words_) isolated.count -= count_bits(word);
  for (int i = 1; isolated.count > 0 && isolated.first == 0; ++i)
    if ((words_[static_cast<unsigned>(i) / 64] >> (i % 64U) & 1U) == 0) isolated.first = i;
  return isolated;
}

IsolatedCells isolated_by_sorting(const NetLists& lists) {
  const std::vector<int> used = sorted_set(lists.nadj);
  IsolatedCells isolated{lists.ncells - std::ssize(used), 1};
  for (const int i : used) isolated.first += i == isolated.first ? 1 : 0;
  if (isolated.count == 0) isolated.first = 0;
  return isolated;
}

}  // namespace quillon::formats
