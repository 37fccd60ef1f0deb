#include "tools/report/model.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "hypergraph/detail/lists.h"
#include "tools/report/json_report.h"

namespace quillon::tool {
namespace {

constexpr int kMostListed = 10;
constexpr int kMostColumns = 240;
constexpr int kMostRows = 312;
constexpr int kMostGroups = 256;  // rows of the matrix between parts

LimitModel limit_model(const NamedLimit& named, const measures::PartSizes& sizes,
                       const measures::Targets& targets) {
  const std::int64_t total = std::accumulate(sizes.weights.begin(), sizes.weights.end(), std::int64_t{0});
  const measures::Bounds bounds = measures::bounds_of(named.limit, std::max<std::int64_t>(0, total),
                                                      static_cast<int>(sizes.weights.size()), targets);
  LimitModel model{named.text, {}};
  for (const int part : measures::parts_outside(sizes, bounds)) {
    const auto k = static_cast<std::size_t>(part);
    model.broken.push_back({part, sizes.weights[k], bounds.least[k], bounds.most[k]});
  }
  return model;
}

// Empty if there is none.
std::string name_in(const std::vector<std::string>& names, int number) {
  if (names.empty()) return "";
  return text_of_name(names[static_cast<std::size_t>(number)]);
}

std::vector<MovedCell> moved_cells(const std::vector<int>& parts, const std::vector<int>& fixed,
                                   const formats::Labels& names) {
  std::vector<MovedCell> moved;
  for (int i = 1; i < static_cast<int>(parts.size()); ++i) {
    const auto cell = static_cast<std::size_t>(i);
    if (fixed[cell] >= 0 && fixed[cell] != parts[cell])
      moved.push_back({i, name_in(names.cells, i), parts[cell], fixed[cell]});
  }
  return moved;
}

std::vector<CostlyNet> costly_nets(const Hypergraph& h, const measures::Partition& partition, int count,
                                   const formats::Labels& names) {
  std::vector<CostlyNet> nets;
  for (const measures::NetCost& found : measures::costliest_nets(h, partition, count)) {
    const Net& net = h._nlst[found.net];
    nets.push_back(
        {found.net, name_in(names.nets, found.net), net_size(net), net.w, found.connectivity, found.cost});
  }
  return nets;
}

template <typename Iterator>
std::size_t index_of(Iterator begin, Iterator at) {
  return static_cast<std::size_t>(at - begin);
}

void add_balance(PartitionModel& model, const PartitionWishes& wishes) {
  const std::vector<std::int64_t>& weights = model.sizes.weights;
  model.imbalance = measures::imbalance(model.sizes);
  model.balance = measures::balance_figures(model.sizes, wishes.targets);
  model.heaviest = index_of(weights.begin(), std::max_element(weights.begin(), weights.end()));
  model.lightest = index_of(weights.begin(), std::min_element(weights.begin(), weights.end()));
  model.nempty = std::count(model.sizes.ncells.begin(), model.sizes.ncells.end(), 0);
  for (const NamedLimit& limit : wishes.limits)
    model.limits.push_back(limit_model(limit, model.sizes, wishes.targets));
}

void add_largest(PageModel& model, const Hypergraph& h, std::span<const NamedPartition> partitions,
                 const formats::Labels& names) {
  for (const int j : largest_nets(h, kMostListed)) {
    const Net& net = h._nlst[j];
    ListedNet listed{j, name_in(names.nets, j), net_size(net), net.w, {}};
    for (const NamedPartition& named : partitions)
      listed.connectivities.push_back(measures::connectivity(net, named.partition));
    model.largest_nets.push_back(std::move(listed));
  }
  for (const int i : busiest_cells(h, kMostListed)) {
    const Cell& cell = h._clst[i];
    ListedCell listed{i, name_in(names.cells, i), degree(cell), cell.w, {}};
    for (const NamedPartition& named : partitions)
      listed.parts.push_back(named.partition.parts[static_cast<std::size_t>(i)]);
    model.busiest_cells.push_back(std::move(listed));
  }
}

}  // namespace

bool PartitionModel::is_within_limits() const {
  return std::all_of(limits.begin(), limits.end(), [](const auto& limit) { return limit.broken.empty(); }) &&
         (!moved || moved->empty());
}

PartitionModel partition_model(const std::string& hypergraph, const std::string& part_file,
                               const Hypergraph& h, const measures::Partition& partition,
                               const PartitionWishes& wishes) {
  PartitionModel model;
  model.hypergraph = hypergraph;
  model.part_file = part_file;
  model.ncells = h._c;
  model.nnets = h._n;
  model.npins = h._p;
  measures::Evaluation evaluation = measures::evaluate(h, partition);
  model.sizes = std::move(evaluation.sizes);
  model.cut = evaluation.cut;
  model.absorption = evaluation.absorption;
  model.connectivity_pairs = evaluation.connectivity_pairs;
  add_balance(model, wishes);
  const formats::Labels no_names{};
  const formats::Labels& names = wishes.names != nullptr ? *wishes.names : no_names;
  if (!wishes.fixed.empty()) model.moved = moved_cells(partition.parts, wishes.fixed, names);
  if (wishes.details) model.details = measures::part_details(h, partition);
  if (wishes.matrix) model.matrix = measures::part_matrix(h, partition);
  if (wishes.nnets > 0) model.nets = costly_nets(h, partition, wishes.nnets, names);
  return model;
}

PageModel page_model(const std::string& title, const Hypergraph& h,
                     std::span<const NamedPartition> partitions, const formats::Labels& names) {
  PageModel model;
  model.title = title;
  model.figures = measures::figures_of(h);
  model.cell_weights = measures::cell_weight_distribution(h);
  model.net_weights = measures::net_weight_distribution(h);
  model.density = density_grid(h, kMostColumns, kMostRows);
  add_largest(model, h, partitions, names);
  PartitionWishes wishes;
  wishes.details = true;
  wishes.nnets = kMostListed;
  wishes.names = &names;
  for (const auto& [file, partition] : partitions)
    model.partitions.push_back({partition_model(title, file, h, partition, wishes),
                                measures::cut_matrix(h, partition, kMostGroups)});
  return model;
}

}  // namespace quillon::tool
