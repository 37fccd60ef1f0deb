#pragma once
// What a command reports, computed once: text, JSON and the HTML page show these numbers.

#include <optional>
#include <string>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "measures/figures.h"
#include "measures/partition.h"
#include "tools/report/summaries.h"

namespace quillon::tool {

/// A partition in numbers.
struct PartitionModel {
  std::string hypergraph;  // file names as messages show them
  std::string part_file;
  int ncells = 0;
  int nnets = 0;
  int npins = 0;
  measures::PartSizes sizes;
  measures::CutSizes cut;
  double imbalance = 0;
};

PartitionModel partition_model(const std::string& hypergraph, const std::string& part_file,
                               const Hypergraph& h, const measures::Partition& partition);

struct ListedNet {
  int number;
  int size;
  int weight;
  int connectivity;  // 0 without a partition
};

struct ListedCell {
  int number;
  int degree;
  int weight;
  int part;  // -1 without a partition
};

/// Everything on the page.
struct PageModel {
  std::string title;
  measures::Figures figures;
  measures::Distribution cell_weights;
  measures::Distribution net_weights;
  DensityGrid density;
  std::vector<ListedNet> largest_nets;
  std::vector<ListedCell> busiest_cells;
  std::optional<PartitionModel> partition;
  measures::CutMatrix between;  // empty without a partition
};

/// @param h          Both sides built, with all nets of the file.
/// @param partition  Null without one; then `part_file` is not used.
/// @param part_file  File name of the partition, for the page's heading.
PageModel page_model(const std::string& title, const Hypergraph& h, const measures::Partition* partition,
                     const std::string& part_file);

}  // namespace quillon::tool
