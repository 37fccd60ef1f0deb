#include "formats/degree_generators.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <numeric>
#include <span>
#include <utility>

#include "formats/draws.h"
#include "formats/pin_set.h"

namespace quillon::formats {
namespace {

// Each cell has as many stubs as its degree, in the order of ranks; which cell has a rank is random. Pins are
// joined to stubs by a random order. If the degrees do not add up to the pins, they are scaled.
class PowerlawGenerator final : public Generator {
 public:
  explicit PowerlawGenerator(const Recipe& recipe)
      : Generator(recipe, recipe.ncells, recipe.nnets),
        cells_(seed(), Purpose::kCellOrder, static_cast<std::uint64_t>(std::max(recipe.ncells, 1))),
        stubs_(seed(), Purpose::kStubOrder, 1) {
    require_sizes(recipe, recipe.ncells, "cells");
    if (recipe.degrees.min() < 1) throw BadRecipe("cells have a degree of 1 at least");
    count_pins();
    int rank = 0;
    for (const auto& [degree, count] : recipe.degrees.shares(recipe.ncells)) {
      groups_.push_back({nstubs_, rank, degree});
      rank += count;
      nstubs_ += std::uint64_t{1} * static_cast<unsigned>(degree) * static_cast<unsigned>(count);
    }
    if (nstubs_ > std::numeric_limits<std::uint32_t>::max())
      throw BadRecipe("the degrees of all cells add up to more than 4294967295");
    stubs_ =
        Shuffle(seed(), Purpose::kStubOrder, static_cast<std::uint64_t>(std::max<std::int64_t>(npins(), 1)));
  }

  [[nodiscard]] int size_of(int j) const override { return size_by_law(recipe(), j); }

  void find_pins(int j, std::int64_t first, PinSet& pins) const override {
    const int size = size_of(j);
    Draws draws(seed(), Purpose::kPins, static_cast<std::uint64_t>(j));
    pins.begin(size);
    for (int k = 0; k < size; ++k) {
      int rank = rank_of_pin(stubs_.at(static_cast<std::uint64_t>(first + k)));
      // A cell that the net has gets a substitute by the same degrees, or in the end the next rank.
      for (int ntries = 0; !pins.add(cell_of(rank)); ++ntries)
        rank = ntries < kMostTries ? rank_of_pin(draws.below(static_cast<std::uint64_t>(npins())))
                                   : (rank + 1) % ncells();
    }
  }

 private:
  static constexpr int kMostTries = 64;

  struct Group {  // of cells of the same degree
    std::uint64_t first_stub;
    int first_rank;
    int degree;
  };

  [[nodiscard]] int rank_of_pin(std::uint64_t pin) const {
    const std::uint64_t stub = pin * nstubs_ / static_cast<std::uint64_t>(npins());
    const auto after =
        std::upper_bound(groups_.begin(), groups_.end(), stub,
                         [](std::uint64_t value, const Group& group) { return value < group.first_stub; });
    const Group& group = *(after - 1);
    return group.first_rank +
           static_cast<int>((stub - group.first_stub) / static_cast<unsigned>(group.degree));
  }

  [[nodiscard]] int cell_of(int rank) const {
    return static_cast<int>(cells_.at(static_cast<std::uint64_t>(rank))) + 1;
  }

  std::vector<Group> groups_;
  std::uint64_t nstubs_ = 0;
  Shuffle cells_;
  Shuffle stubs_;
};

std::int64_t sum_of(const std::vector<int>& counts) {
  return std::accumulate(counts.begin() + 1, counts.end(), std::int64_t{0});
}

// The numbers of items in the order of decreasing values; equal ones keep their order.
std::vector<int> by_value(const std::vector<int>& values) {
  std::vector<int> order(values.size() - 1);
  std::iota(order.begin(), order.end(), 1);
  std::stable_sort(order.begin(), order.end(), [&values](int a, int b) {
    return values[static_cast<std::size_t>(a)] > values[static_cast<std::size_t>(b)];
  });
  return order;
}

// The pins of all nets, one after another: a hypergraph with the given degrees, in which pins of different
// nets are then exchanged at random.
class DegreeGenerator final : public Generator {
 public:
  explicit DegreeGenerator(const Recipe& recipe)
      : Generator(recipe, count_of(recipe.given_degrees), count_of(recipe.given_sizes)) {
    const std::int64_t ndegrees = sum_of(recipe.given_degrees);
    const std::int64_t nsizes = sum_of(recipe.given_sizes);
    if (ndegrees != nsizes)
      throw BadRecipe("the degrees add up to " + std::to_string(ndegrees) + ", the sizes to " +
                      std::to_string(nsizes));
    count_pins();
    starts_.reserve(static_cast<std::size_t>(nnets()) + 1);
    starts_.push_back(0);
    for (int j = 1; j <= nnets(); ++j)
      starts_.push_back(starts_.back() + static_cast<std::size_t>(size_of(j)));
    pins_.resize(starts_.back());
    choose_pins();
    exchange_pins();
  }

  [[nodiscard]] int size_of(int j) const override {
    return recipe().given_sizes[static_cast<std::size_t>(j)];
  }

  void find_pins(int j, std::int64_t /*first*/, PinSet& pins) const override {
    pins.begin(size_of(j));
    for (const int i : pins_of(j)) pins.add(i);
  }

 private:
  static int count_of(const std::vector<int>& counts) { return static_cast<int>(counts.size()) - 1; }

  // From the largest net to the smallest, a net gets the cells that miss the most pins: by the theorem of
  // D. Gale and H. Ryser, that succeeds if any choice does. Those are the first cells in the order of missing
  // pins; of the cells that miss as many as the last one chosen, the net gets the last, which keeps the
  // order.
  void choose_pins() {
    const std::vector<int> cells = by_value(recipe().given_degrees);
    std::vector<int> nmissing;
    nmissing.reserve(cells.size());
    for (const int i : cells) nmissing.push_back(recipe().given_degrees[static_cast<std::size_t>(i)]);
    for (const int j : by_value(recipe().given_sizes)) {
      const auto size = static_cast<std::size_t>(size_of(j));
      if (size == 0) break;
      if (size > cells.size() || nmissing[size - 1] == 0)
        throw BadRecipe("no hypergraph has these degrees and sizes, without a cell twice on a net");
      const auto [first, end] =
          std::equal_range(nmissing.begin(), nmissing.end(), nmissing[size - 1], std::greater<>());
      const auto nequal =
          static_cast<std::size_t>(nmissing.begin() + static_cast<std::ptrdiff_t>(size) - first);
      std::size_t at = starts_[static_cast<std::size_t>(j) - 1];
      const auto add = [&](std::size_t from, std::size_t count) {
        for (std::size_t k = from; k < from + count; ++k) {
          pins_[at++] = cells[k];
          --nmissing[k];
        }
      };
      add(0, size - nequal);
      add(static_cast<std::size_t>(end - nmissing.begin()) - nequal, nequal);
    }
  }

  void exchange_pins() {
    constexpr std::size_t kDrawsPerPin = 10;
    Draws draws(seed(), Purpose::kStubOrder, 0);
    const std::uint64_t count{pins_.size()};
    for (std::size_t k = 0; k < kDrawsPerPin * pins_.size(); ++k) {
      const std::size_t a = draws.below(count);
      const std::size_t b = draws.below(count);
      if (!has(net_of(a), pins_[b]) && !has(net_of(b), pins_[a])) std::swap(pins_[a], pins_[b]);
    }
  }

  [[nodiscard]] int net_of(std::size_t pin) const {
    return static_cast<int>(std::upper_bound(starts_.begin(), starts_.end(), pin) - starts_.begin());
  }

  [[nodiscard]] std::span<const int> pins_of(int j) const {
    const std::size_t start = starts_[static_cast<std::size_t>(j) - 1];
    return std::span(pins_).subspan(start, starts_[static_cast<std::size_t>(j)] - start);
  }

  [[nodiscard]] bool has(int j, int cell) const {
    const std::span<const int> pins = pins_of(j);
    return std::find(pins.begin(), pins.end(), cell) != pins.end();
  }

  std::vector<std::size_t> starts_;  // by net: the end of its pins; entry 0 is 0
  std::vector<int> pins_;            // cells
};

}  // namespace

std::unique_ptr<Generator> make_powerlaw_generator(const Recipe& recipe) {
  return std::make_unique<PowerlawGenerator>(recipe);
}

std::unique_ptr<Generator> make_degree_generator(const Recipe& recipe) {
  return std::make_unique<DegreeGenerator>(recipe);
}

}  // namespace quillon::formats
