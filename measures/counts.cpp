#include "measures/counts.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "hypergraph/detail/lists.h"
#include "measures/distinct_cells.h"
#include "measures/net_keys.h"

namespace quillon::measures {
namespace {

class Counter {
 public:
  explicit Counter(const Hypergraph& h)
      : h_(h),
        distinct_(h._c),
        nets_by_key_(static_cast<std::size_t>(h._n)),
        is_used_(static_cast<std::size_t>(h._c) + 1, false) {}

  Counts count() {
    counts_.ncells = h_._c;
    counts_.nnets = h_._n;
    for (int j = 1; j <= h_._n; ++j) count_net(j);
    for (int i = 1; i <= h_._c; ++i) count_cell(i);
    return counts_;
  }

 private:
  [[nodiscard]] Pins pins(int j) const { return pins_of(h_._nlst[j]); }

  void count_net(int j) {
    CellHash hash;
    std::int64_t ncells = 0;
    distinct_.for_each_cell(pins(j), [&](int i) {
      hash.add(i);
      ++ncells;
      is_used_[static_cast<std::size_t>(i)] = true;
    });
    const auto npins = static_cast<std::int64_t>(pins(j).size());
    counts_.npins += static_cast<int>(npins);
    counts_.nrepeated_pins += npins - ncells;
    counts_.npairs += ncells * (ncells - 1) / 2;
    counts_.nempty_nets += ncells == 0 ? 1 : 0;
    counts_.nsingle_nets += ncells == 1 ? 1 : 0;
    counts_.nzero_nets += h_._nlst[j].w == 0 ? 1 : 0;
    counts_.net_weight += h_._nlst[j].w;
    const auto is_same = [&](int other) { return distinct_.have_same_cells(pins(other), pins(j)); };
    if (nets_by_key_.find(hash.value(), is_same) != 0)
      ++counts_.nparallel_nets;
    else
      nets_by_key_.add(hash.value(), j);
  }

  void count_cell(int i) {
    counts_.nzero_cells += h_._clst[i].w == 0 ? 1 : 0;
    counts_.cell_weight += h_._clst[i].w;
    if (!is_used_[static_cast<std::size_t>(i)]) return;
    ++counts_.ncells_used;
    counts_.highest_cell = i;
  }

  const Hypergraph& h_;
  DistinctCells distinct_;
  NetsByKey nets_by_key_;
  std::vector<bool> is_used_;
  Counts counts_;
};

}  // namespace

Counts counts_of(const Hypergraph& h) { return Counter(h).count(); }

}  // namespace quillon::measures
