#include "tools/report/model.h"

#include "hypergraph/detail/lists.h"

namespace quillon::tool {
namespace {

constexpr std::size_t kMostListed = 10;
constexpr int kMostColumns = 240;
constexpr int kMostRows = 312;
constexpr int kMostGroups = 256;  // rows of the matrix between parts

}  // namespace

PartitionModel partition_model(const std::string& hypergraph, const std::string& part_file,
                               const Hypergraph& h, const measures::Partition& partition) {
  PartitionModel model{hypergraph, part_file, h._c, h._n, h._p, {}, {}, 0};
  model.sizes = measures::part_sizes(h, partition);
  model.cut = measures::cut_sizes(h, partition);
  model.imbalance = measures::imbalance(model.sizes);
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
