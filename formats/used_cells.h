#pragma once
/// @file
/// Which cells are on a net. Internal to `formats/`.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "formats/net_lists.h"

namespace quillon::formats {

/// Cells on no net.
struct IsolatedCells {
  std::int64_t count = 0;
  int first = 0;  ///< The first of them, or 0.
};

/// Cells that are on a net, a bit for each.
class UsedCells {
 public:
  /// @return  Whether bits for all cells are few beside the pins. A header can announce any number of cells.
  static bool suit(const NetLists& lists);

  /// Holds no cells unless bits for them suit.
  explicit UsedCells(const NetLists& lists);

  void add(std::span<const int> cells) {
    if (ncells_ == 0) return;
    if (nstores_-- > 0) return store(cells);
    std::size_t nnew = 0;
    const std::uint64_t* const words = words_.data();
#pragma GCC unroll 4
    for (const int i : cells)
      if ((words[static_cast<unsigned>(i) / 64] >> (i % 64U) & 1U) == 0) [[unlikely]]
        nnew += add_new(i);
    nstores_ = nnew * kRare > cells.size() ? kStores : 0;
  }

  void add(const UsedCells& others);

  /// @return  The cells that have not been added.
  [[nodiscard]] IsolatedCells isolated() const;

 private:
  // A branch for each cell is faster than a store if fewer than one in kRare are new. If they are not, some
  // calls store before the next attempt.
  static constexpr std::size_t kRare = 10;
  static constexpr int kStores = 15;

  void store(std::span<const int> cells) {
    std::uint64_t* const words = words_.data();  // stores might alias the members
#pragma GCC unroll 4
    for (const int i : cells) {
      std::uint64_t word = words[static_cast<unsigned>(i) / 64];
      word |= std::uint64_t{1} << (i % 64U);
      words[static_cast<unsigned>(i) / 64] = word;
    }
  }

  // Not inline: the loop that rarely calls it needs the registers.
  [[gnu::noinline]] std::size_t add_new(int cell) {
    words_[static_cast<unsigned>(cell) / 64] |= std::uint64_t{1} << (cell % 64U);
    return 1;
  }

  int ncells_;
  int nstores_ = 0;  // next calls that store
  std::vector<std::uint64_t> words_;
};

/// As from `UsedCells`, without memory for each cell.
IsolatedCells isolated_by_sorting(const NetLists& lists);

}  // namespace quillon::formats
