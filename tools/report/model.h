#pragma once
// What a command reports, computed once: text, JSON and the HTML page show these numbers.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "measures/balance.h"
#include "measures/evaluation.h"
#include "measures/figures.h"
#include "measures/partition.h"
#include "tools/report/summaries.h"

namespace quillon::tool {

/// A limit on the balance as it was given, "epsilon=0.03", and what it means.
struct NamedLimit {
  std::string text;
  measures::Limit limit;
};

/// A part outside the bounds of a limit.
struct BrokenPart {
  int part;
  std::int64_t weight;
  std::int64_t least;
  std::int64_t most;
};

struct LimitModel {
  std::string text;
  std::vector<BrokenPart> broken;  // empty if the limit holds
};

/// A cell that is not in the part it is fixed to.
struct MovedCell {
  int cell;
  int part;
  int fixed_to;
};

/// A partition in numbers.
struct PartitionModel {
  std::string hypergraph;  // file names as messages show them
  std::string part_file;
  int ncells = 0;
  int nnets = 0;
  int npins = 0;
  measures::PartSizes sizes;
  measures::CutSizes cut;
  double absorption = 0;
  std::optional<std::int64_t> connectivity_pairs;
  double imbalance = 0;
  measures::BalanceFigures balance;
  std::size_t heaviest = 0;  // parts; the first of equal ones
  std::size_t lightest = 0;
  std::int64_t nempty = 0;  // parts without cells
  std::vector<LimitModel> limits;
  std::optional<std::vector<MovedCell>> moved;  // with fixed cells only

  // As wanted.
  std::optional<measures::PartDetails> details;
  std::optional<std::vector<measures::MatrixEntry>> matrix;
  std::optional<std::vector<measures::NetCost>> nets;

  /// Whether all limits hold and no fixed cell has moved.
  [[nodiscard]] bool is_within_limits() const;
};

/// What a partition is compared with, and what else to find out.
struct PartitionWishes {
  measures::Targets targets;
  std::vector<NamedLimit> limits;
  std::vector<int> fixed;  // by cell: its part, or -1; empty: no cell is fixed
  bool details = false;
  bool matrix = false;
  int nnets = 0;  // costliest nets to list
};

PartitionModel partition_model(const std::string& hypergraph, const std::string& part_file,
                               const Hypergraph& h, const measures::Partition& partition,
                               const PartitionWishes& wishes = {});

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
