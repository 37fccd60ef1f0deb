#include "measures/partition.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <optional>
#include <utility>

#include "hypergraph/detail/lists.h"
#include "measures/connectivity.h"
#include "measures/wide.h"
#include "util/util.h"

namespace quillon::measures {
namespace {

std::size_t part_of(int cell, const Partition& partition) {
  return static_cast<std::size_t>(partition.parts[static_cast<std::size_t>(cell)]);
}

// Numbers of cells, by part: bytes, of which those of a million parts stay in the second-level cache, and
// carries for the parts that have more.
class CellCounts {
 public:
  explicit CellCounts(int nparts) : low_(static_cast<std::size_t>(nparts), 0) {}

  void add(std::size_t part) {
    if (++low_[part] == 0) carry(part);
  }

  [[nodiscard]] std::int64_t of(std::size_t part) const {
    return low_[part] + (high_.empty() ? 0 : std::int64_t{256} * high_[part]);
  }

  [[nodiscard]] std::size_t nparts() const { return low_.size(); }

 private:
  void carry(std::size_t part) {
    if (high_.empty()) high_.resize(low_.size(), 0);
    ++high_[part];
  }

  std::vector<unsigned char> low_;
  std::vector<int> high_;  // empty until a byte is full
};

// Nothing if weights differ or a part is out of range. With a million parts, this reads far fewer cache lines
// than `sizes_by_sums`.
std::optional<PartSizes> sizes_by_counts(const Hypergraph& h, const Partition& partition) {
  CellCounts counts(partition.nparts);
  const int w = h._c == 0 ? 0 : h._clst[1].w;
  for (int i = 1; i <= h._c; ++i) {
    const std::size_t part = part_of(i, partition);  // that of a negative number is out of range, too
    if (h._clst[i].w != w || part >= counts.nparts()) return std::nullopt;
    counts.add(part);
  }
  PartSizes sizes;
  sizes.ncells.resize(counts.nparts());
  sizes.weights.resize(counts.nparts());
  for (std::size_t part = 0; part < counts.nparts(); ++part) {
    sizes.ncells[part] = counts.of(part);
    sizes.weights[part] = w * sizes.ncells[part];
  }
  return sizes;
}

PartSizes sizes_by_sums(const Hypergraph& h, const Partition& partition) {
  const auto count = static_cast<std::size_t>(partition.nparts);
  PartSizes sizes{std::vector<std::int64_t>(count, 0), std::vector<std::int64_t>(count, 0)};
  for (int i = 1; i <= h._c; ++i) {
    const std::size_t part = part_of(i, partition);
    ++sizes.ncells[part];
    sizes.weights[part] += h._clst[i].w;
  }
  return sizes;
}

/// Sum of w (s - L) / (s - 1) over nets of s pins. Numerators add up exactly for each s, and so do the
/// integer parts of the quotients: the result does not depend on the order of the nets.
class Absorption {
 public:
  void add(std::size_t size, int connectivity, std::int64_t weight) {
    if (size < 2) return;
    if (size >= numerators_.size()) numerators_.resize(size + 1, 0);
    numerators_[size] += weight * (static_cast<std::int64_t>(size) - connectivity);
  }

  [[nodiscard]] double sum() const {
    std::int64_t whole = 0;
    long double rest = 0;
    for (std::size_t size = 2; size < numerators_.size(); ++size) {
      const auto divisor = static_cast<std::int64_t>(size - 1);
      whole += numerators_[size] / divisor;
      rest += static_cast<long double>(numerators_[size] % divisor) / static_cast<long double>(divisor);
    }
    return static_cast<double>(static_cast<long double>(whole) + rest);
  }

 private:
  std::vector<std::int64_t> numerators_;  // by number of pins
};

std::optional<std::int64_t> in_64_bits(Wide value) {
  if (value < std::numeric_limits<std::int64_t>::min() || value > std::numeric_limits<std::int64_t>::max())
    return std::nullopt;
  return static_cast<std::int64_t>(value);
}

void check_length(const char* caller, const Hypergraph& h, const Partition& partition) {
  if (partition.parts.size() != static_cast<std::size_t>(h._c) + 1)
    errexit("%s: %zu entries for the parts of %d cells", caller, partition.parts.size(), h._c);
}

void check_range(const char* caller, const Hypergraph& h, const Partition& partition) {
  unsigned highest = 0;  // a negative part becomes a high one
  for (int i = 1; i <= h._c; ++i)
    highest = std::max(highest, static_cast<unsigned>(partition.parts[static_cast<std::size_t>(i)]));
  if (h._c == 0 || highest < static_cast<unsigned>(partition.nparts)) return;
  for (int i = 1; i <= h._c; ++i)
    if (const int part = partition.parts[static_cast<std::size_t>(i)]; part < 0 || part >= partition.nparts)
      errexit("%s: cell %d is in part %d of %d", caller, i, part, partition.nparts);
}

}  // namespace

void check_partition(const char* caller, const Hypergraph& h, const Partition& partition) {
  check_length(caller, h, partition);
  check_range(caller, h, partition);
}

PartSizes checked_part_sizes(const char* caller, const Hypergraph& h, const Partition& partition) {
  check_length(caller, h, partition);
  if (std::optional<PartSizes> sizes = sizes_by_counts(h, partition)) return *std::move(sizes);
  check_range(caller, h, partition);
  return sizes_by_sums(h, partition);
}

PartSizes part_sizes(const Hypergraph& h, const Partition& partition) {
  return checked_part_sizes("part_sizes", h, partition);
}

CutSizes cut_sizes(const Hypergraph& h, const Partition& partition) {
  check_partition("cut_sizes", h, partition);
  CutSum sum;
  for_each_connectivity(h, partition, [&](int j, int connectivity) { sum.add(h._nlst[j].w, connectivity); });
  return sum.sizes();
}

Evaluation evaluate(const Hypergraph& h, const Partition& partition) {
  Evaluation evaluation;
  evaluation.sizes = checked_part_sizes("evaluate", h, partition);
  CutSum cut;
  Absorption absorption;
  Wide pairs = 0;
  for_each_connectivity(h, partition, [&](int j, int connectivity) {
    const std::int64_t w = h._nlst[j].w;
    cut.add(w, connectivity);
    absorption.add(pins_of(h._nlst[j]).size(), connectivity, w);
    const std::int64_t npairs = std::int64_t{connectivity} * (connectivity - 1);
    pairs += Wide{w} * npairs;
  });
  evaluation.cut = cut.sizes();
  evaluation.absorption = absorption.sum();
  evaluation.connectivity_pairs = in_64_bits(pairs);
  return evaluation;
}

double imbalance(const PartSizes& sizes) {
  if (sizes.weights.empty()) return 0;
  return imbalance_of(*std::max_element(sizes.weights.begin(), sizes.weights.end()),
                      std::accumulate(sizes.weights.begin(), sizes.weights.end(), std::int64_t{0}),
                      std::ssize(sizes.weights));
}

double imbalance_of(std::int64_t heaviest, std::int64_t total, std::int64_t nparts) {
  if (total == 0) return 0;
  const Wide excess = Wide{heaviest} * nparts - total;
  return static_cast<double>(static_cast<long double>(excess) / static_cast<long double>(total));
}

int connectivity(const Net& net, const Partition& partition) {
  std::vector<std::size_t> parts;
  for (const int i : pins_of(net)) parts.push_back(part_of(i, partition));
  std::sort(parts.begin(), parts.end());
  return static_cast<int>(std::unique(parts.begin(), parts.end()) - parts.begin());
}

}  // namespace quillon::measures
