#include "tools/report/model.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "hypergraph/detail/lists.h"

namespace quillon::tool {
namespace {

constexpr std::size_t kMostListed = 10;
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

std::vector<MovedCell> moved_cells(const std::vector<int>& parts, const std::vector<int>& fixed) {
  std::vector<MovedCell> moved;
  for (std::size_t i = 1; i < parts.size(); ++i)
    if (fixed[i] >= 0 && fixed[i] != parts[i]) moved.push_back({static_cast<int>(i), parts[i], fixed[i]});
  return moved;
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
  if (!wishes.fixed.empty()) model.moved = moved_cells(partition.parts, wishes.fixed);
  if (wishes.details) model.details = measures::part_details(h, partition);
  if (wishes.matrix) model.matrix = measures::part_matrix(h, partition);
  if (wishes.nnets > 0) model.nets = measures::costliest_nets(h, partition, wishes.nnets);
  return model;
}

PageModel page_model(const std::string& title, const Hypergraph& h, const measures::Partition* partition,
                     const std::string& part_file) {
  PageModel model;
  model.title = title;
  model.figures = measures::figures_of(h);
  model.cell_weights = measures::cell_weight_distribution(h);
  model.net_weights = measures::net_weight_distribution(h);
  model.density = density_grid(h, kMostColumns, kMostRows);
  for (const int j : largest_nets(h, kMostListed)) {
    const Net& net = h._nlst[j];
    const int connectivity = partition == nullptr ? 0 : measures::connectivity(net, *partition);
    model.largest_nets.push_back({j, net_size(net), net.w, connectivity});
  }
  for (const int i : busiest_cells(h, kMostListed)) {
    const Cell& cell = h._clst[i];
    const int part = partition == nullptr ? -1 : partition->parts[static_cast<std::size_t>(i)];
    model.busiest_cells.push_back({i, degree(cell), cell.w, part});
  }
  if (partition != nullptr) {
    model.partition = partition_model(title, part_file, h, *partition);
    model.between = measures::cut_matrix(h, *partition, kMostGroups);
  }
  return model;
}

}  // namespace quillon::tool
