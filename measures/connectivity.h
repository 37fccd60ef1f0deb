#pragma once
// Checks of a partition, and the walk over all nets that counts the parts each one touches. Not installed.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "hypergraph/detail/lists.h"
#include "measures/partition.h"

namespace quillon::measures {

/// Checks the partition as `check_partition` does, then counts and weighs the cells of each part.
PartSizes checked_part_sizes(const char* caller, const Hypergraph& h, const Partition& partition);

/// Ends the program (util/util.h) unless the partition has a part in range for every cell.
void check_partition(const char* caller, const Hypergraph& h, const Partition& partition);

/// Counts the parts of one net: the last net that touched each part. Without branches, since they would be
/// mispredicted.
class PartsAsStamps {
 public:
  explicit PartsAsStamps(const Partition& partition)
      : parts_(partition.parts.data()), last_net_(static_cast<std::size_t>(partition.nparts), 0) {}

  int count(const Net& net, int j) {
    int* const last_net = last_net_.data();
    int nparts = 0;
    for (const int i : pins_of(net)) {
      const int part = parts_[i];
      nparts += static_cast<int>(last_net[part] != j);
      last_net[part] = j;
    }
    return nparts;
  }

 private:
  const int* parts_;
  std::vector<int> last_net_;  // nets count from 1
};

/// Counts the parts of nets of at most `kMostPins` pins, many nets at a time: a table of the parts seen,
/// small enough for the first-level cache, with linear probing. Each loop goes over the pins of all these
/// nets, since the end of a net is hard to predict; and the one that reads the parts does nothing else, so
/// that the processor waits for many cache misses at a time.
class PartsAsTable {
 public:
  PartsAsTable(const Hypergraph& h, const Partition& partition)
      : h_(h), parts_of_cells_(partition.parts.data()) {}

  /// Counts the parts of nets until the next one does not fit.
  ///
  /// @param first  Number of the first net, 1 .. _n.
  /// @return       Number of the last one; `first - 1` if the first one has too many pins.
  int count(int first) {
    npins_ = 0;
    begins_net_.fill(0);
    const int last = fetch(first);
    mark_first_touches();
    return last;
  }

  /// The connectivity of a net whose pins are these in the order of all pins counted.
  [[nodiscard]] int connectivity(std::size_t begin, std::size_t end) const {
    return ntouches_[end] - ntouches_[begin];
  }

 private:
  static constexpr std::size_t kSlots = 2048;
  static constexpr std::size_t kMostPins = kSlots / 4;

  int fetch(int first) {
    std::span<const int> run;  // pins that follow each other in memory, as those of most nets do
    int last = first - 1;
    for (; last < h_._n; ++last) {
      const std::span<const int> pins = pins_of(h_._nlst[last + 1]);
      const std::size_t begin = npins_ + run.size();
      if (begin + pins.size() > kMostPins) break;
      begins_net_[begin] = 1;
      if (pins.data() == run.data() + run.size()) {
        run = {run.data(), run.size() + pins.size()};
      } else {
        append(run);
        run = pins;
      }
    }
    append(run);
    return last;
  }

  void append(std::span<const int> pins) {
    int* const parts = parts_.data() + npins_;
    for (std::size_t k = 0; k < pins.size(); ++k) parts[k] = parts_of_cells_[pins[k]];
    npins_ += pins.size();
  }

  void mark_first_touches() {
    constexpr std::uint64_t kPart = 0xFFFFFFFFU;
    std::uint64_t stamp = stamp_;
    int ntouches = 0;
    for (std::size_t k = 0; k < npins_; ++k) {
      stamp += std::uint64_t{begins_net_[k]} << 32U;
      const std::uint64_t seen = stamp | static_cast<std::uint32_t>(parts_[k]);
      std::size_t slot = seen % kSlots;
      std::uint64_t difference = table_[slot] ^ seen;
      while (difference - 1 < kPart) {  // another part of this net
        slot = (slot + 1) % kSlots;
        difference = table_[slot] ^ seen;
      }
      ntouches += static_cast<int>(difference != 0);
      table_[slot] = seen;
      ntouches_[k + 1] = ntouches;
    }
    stamp_ = stamp;
  }

  const Hypergraph& h_;
  const int* parts_of_cells_;
  std::size_t npins_ = 0;
  std::uint64_t stamp_ = 0;                                // of the last net, in the upper half
  std::array<std::uint64_t, kSlots> table_{};              // net and part
  std::array<int, kMostPins> parts_{};                     // by pin
  std::array<unsigned char, kMostPins + 1> begins_net_{};  // by pin, and after the last
  std::array<int, kMostPins + 1> ntouches_{};  // by pin: parts that the nets touch with the pins before it
};

/// Sums over cut nets. Without branches, since whether a net is cut is hard to predict.
class CutSum {
 public:
  void add(std::int64_t w, int connectivity) {
    const bool is_cut = connectivity > 1;
    ncut_nets_ += static_cast<std::int64_t>(is_cut);
    cut_ += is_cut ? w : 0;
    connectivity_minus_one_ += is_cut ? w * (connectivity - 1) : 0;
  }

  [[nodiscard]] CutSizes sizes() const {
    return {ncut_nets_, cut_, connectivity_minus_one_, connectivity_minus_one_ + cut_};
  }

 private:
  std::int64_t ncut_nets_ = 0;
  std::int64_t cut_ = 0;
  std::int64_t connectivity_minus_one_ = 0;
};

/// Lists the parts that a net touches, for one net after another.
class TouchedParts {
 public:
  /// @param partition  Checked; must outlive this object.
  explicit TouchedParts(const Partition& partition)
      : parts_of_cells_(partition.parts.data()), last_net_(static_cast<std::size_t>(partition.nparts), 0) {}

  /// @param j  Number of the net, at most once each.
  /// @return   Parts in order of first touch, valid until the next call.
  const std::vector<int>& of_net(const Net& net, int j) {
    parts_.clear();
    for (const int i : pins_of(net)) {
      const int part = parts_of_cells_[i];
      int& last_net = last_net_[static_cast<std::size_t>(part)];
      if (last_net != j) parts_.push_back(part);
      last_net = j;
    }
    return parts_;
  }

 private:
  const int* parts_of_cells_;
  std::vector<int> last_net_;  // by part; nets count from 1
  std::vector<int> parts_;
};

/// Calls `visit(j, L)` for each net j in turn; L is its connectivity, 0 without pins.
///
/// @param partition  Checked.
template <typename Visit>
void for_each_connectivity(const Hypergraph& h, const Partition& partition, Visit visit) {
  PartsAsTable table(h, partition);
  std::optional<PartsAsStamps> stamps;  // for the few nets with too many pins
  for (int j = 1; j <= h._n;) {
    const int last = table.count(j);
    if (last < j) {
      if (!stamps) stamps.emplace(partition);
      visit(j, stamps->count(h._nlst[j], j));
      ++j;
    }
    for (std::size_t begin = 0; j <= last; ++j) {
      const std::size_t end = begin + pins_of(h._nlst[j]).size();
      visit(j, table.connectivity(begin, end));
      begin = end;
    }
  }
}

}  // namespace quillon::measures
