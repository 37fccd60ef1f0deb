#pragma once
// Whether a hypergraph can be partitioned within limits at all, as text and as JSON on standard output.

#include <string>
#include <vector>

#include "measures/feasibility.h"
#include "tools/report/model.h"

namespace quillon::tool {

/// What a limit allows, and why no partition keeps it.
struct FeasibilityLimit {
  std::string text;
  std::int64_t least = 0;     // the smallest of the lower bounds of the parts
  std::int64_t most = 0;      // the largest of the upper bounds
  std::int64_t capacity = 0;  // sum of the upper bounds
  std::vector<measures::Obstacle> obstacles;
};

struct FeasibilityModel {
  std::string hypergraph;
  int ncells = 0;
  int nparts = 0;
  measures::CellWeights weights;
  measures::LowerBound bound;
  bool has_targets = false;
  std::vector<FeasibilityLimit> limits;

  /// Whether no limit has an obstacle.
  [[nodiscard]] bool may_be_feasible() const;
  /// The imbalance of a partition whose heaviest part weighs as much as the bound.
  [[nodiscard]] double least_imbalance() const;
};

/// @param h  Cells with weights of at least 0.
FeasibilityModel feasibility_model(const std::string& hypergraph, const Hypergraph& h, int nparts,
                                   const PartitionWishes& wishes);

/// A sentence without a full stop.
std::string reason_of(const measures::LowerBound& bound, int nparts);
std::string reason_of(const measures::Obstacle& obstacle);

void print_feasibility_text(const FeasibilityModel& model);
void print_feasibility_json(const FeasibilityModel& model);

}  // namespace quillon::tool
