#pragma once
// What a command reports, computed once: text, JSON and the HTML page show these numbers.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "formats/format.h"
#include "formats/lint.h"
#include "hypergraph/hypergraph.h"
#include "measures/balance.h"
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
  std::string name;  // empty if the file of the hypergraph has no names
  int part;
  int fixed_to;
};

/// A cut net and what it adds to the connectivity minus one.
struct CostlyNet {
  int net;
  std::string name;  // empty if the file of the hypergraph has no names
  int size;
  int weight;
  int connectivity;
  std::int64_t cost;
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
  std::optional<std::vector<CostlyNet>> nets;

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
  const formats::Labels* names = nullptr;
};

PartitionModel partition_model(const std::string& hypergraph, const std::string& part_file,
                               const Hypergraph& h, const measures::Partition& partition,
                               const PartitionWishes& wishes = {});

struct ListedNet {
  int number;
  std::string name;  // as in CostlyNet
  int size;
  int weight;
  std::vector<int> connectivities;  // by partition
};

struct ListedCell {
  int number;
  std::string name;
  int degree;
  int weight;
  std::vector<int> parts;  // by partition
};

/// A partition with what the page draws of it.
struct PagePartition {
  PartitionModel numbers;  // with details and the costliest nets
  measures::CutMatrix between;
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
  std::vector<PagePartition> partitions;
  std::optional<formats::LintResult> lint;  // with the first finding of each rule; none: not looked for
};

/// A partition under the file name that the page gives it.
struct NamedPartition {
  std::string file;
  measures::Partition partition;
};

/// @param h           Both sides built, with all nets of the file.
/// @param partitions  Shown side by side.
/// @param names       Of cells and nets, or empty.
PageModel page_model(const std::string& title, const Hypergraph& h,
                     std::span<const NamedPartition> partitions, const formats::Labels& names);

}  // namespace quillon::tool
