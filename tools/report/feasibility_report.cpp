#include "tools/report/feasibility_report.h"

#include <fmt/format.h>

#include <algorithm>

#include "tools/report/text.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

using measures::BoundReason;
using measures::Obstacle;

FeasibilityLimit limit_model(const NamedLimit& named, const measures::CellWeights& weights, int nparts,
                             const measures::Targets& targets) {
  const measures::Bounds bounds = measures::bounds_of(named.limit, weights.total, nparts, targets);
  FeasibilityLimit limit{named.text,
                         *std::min_element(bounds.least.begin(), bounds.least.end()),
                         *std::max_element(bounds.most.begin(), bounds.most.end()),
                         0,
                         {}};
  constexpr std::int64_t kMost = std::int64_t{1} << 62;
  for (const std::int64_t most : bounds.most)
    limit.capacity = most > kMost - limit.capacity ? kMost : limit.capacity + most;
  limit.obstacles = measures::obstacles(weights, bounds);
  return limit;
}

}  // namespace

bool FeasibilityModel::may_be_feasible() const {
  return std::all_of(limits.begin(), limits.end(), [](const auto& limit) { return limit.obstacles.empty(); });
}

double FeasibilityModel::least_imbalance() const {
  return measures::imbalance_of(bound.weight, weights.total, nparts);
}

FeasibilityModel feasibility_model(const std::string& hypergraph, const Hypergraph& h, int nparts,
                                   const PartitionWishes& wishes) {
  FeasibilityModel model;
  model.hypergraph = hypergraph;
  model.ncells = h._c;
  model.nparts = nparts;
  model.weights = measures::cell_weights_of(h, wishes.fixed, nparts);
  model.bound = measures::heaviest_part_bound(model.weights, nparts);
  model.has_targets = !wishes.targets.values.empty();
  for (const NamedLimit& limit : wishes.limits)
    model.limits.push_back(limit_model(limit, model.weights, nparts, wishes.targets));
  return model;
}

std::string reason_of(const measures::LowerBound& bound, int nparts) {
  switch (bound.reason) {
    case BoundReason::kAverage:
      return fmt::format("the average of {} parts, rounded up", nparts);
    case BoundReason::kDivisor:
      return fmt::format("the average of {} parts, rounded up to a multiple of {}, which divides all weights",
                         nparts, bound.divisor);
    case BoundReason::kHeaviest:
      return fmt::format("the weight of cell {}", bound.cell);
    case BoundReason::kSharedPart:
      return fmt::format("of the {} heaviest cells, {} share a part", bound.nheaviest, bound.ncells);
    case BoundReason::kFixed:
      return fmt::format("the cells fixed to part {}", bound.part);
  }
  return {};
}

std::string reason_of(const Obstacle& obstacle) {
  const std::int64_t needed = obstacle.needed;
  const std::int64_t available = obstacle.available;
  switch (obstacle.kind) {
    case Obstacle::Kind::kTotalAboveMost:
      return fmt::format("the cells weigh {}, the parts hold {} together", needed, available);
    case Obstacle::Kind::kTotalBelowLeast:
      return fmt::format("the parts need {} together, the cells weigh {}", needed, available);
    case Obstacle::Kind::kCell:
      return fmt::format("cell {} weighs {}, a part holds at most {}", obstacle.cell, needed, available);
    case Obstacle::Kind::kManyCells:
      return fmt::format("{} cells weigh {} or more, the parts have room for {} such cells", needed,
                         obstacle.weight, available);
    case Obstacle::Kind::kSharedPart:
      return fmt::format("heavy cells share a part and weigh {} or more, a part holds at most {}", needed,
                         available);
    case Obstacle::Kind::kFixed:
      return fmt::format("the cells fixed to part {} weigh {}, it holds at most {}", obstacle.part, needed,
                         available);
    case Obstacle::Kind::kEmptyParts:
      return fmt::format("{} parts must not be empty, {} cells have a weight", needed, available);
  }
  return {};
}

void print_feasibility_text(const FeasibilityModel& model) {
  uprintf("%s: %d cells of total weight %lld into %d %s\n", model.hypergraph.c_str(), model.ncells,
          static_cast<long long>(model.weights.total), model.nparts, model.nparts == 1 ? "part" : "parts");
  if (model.weights.heaviest != 0)
    print_row("heaviest cell",
              fmt::format("{}, weight {}", model.weights.heaviest, model.weights.sorted.front()));
  for (std::size_t part = 0; part < model.weights.fixed_weights.size(); ++part)
    if (model.weights.fixed_weights[part] > 0)
      print_row(fmt::format("fixed to part {}", part), std::to_string(model.weights.fixed_weights[part]));
  print_row("heaviest part, at least",
            fmt::format("{} ({})", model.bound.weight, reason_of(model.bound, model.nparts)));
  if (!model.has_targets) print_row("imbalance, at least", fmt::format("{:.6f}", model.least_imbalance()));
  for (const FeasibilityLimit& limit : model.limits) {
    print_row("limit " + limit.text,
              fmt::format("{}: parts of {} to {}, together up to {}",
                          limit.obstacles.empty() ? "no obstacle found" : "cannot hold", limit.least,
                          limit.most, limit.capacity));
    for (const Obstacle& obstacle : limit.obstacles) uprintf("  %s\n", reason_of(obstacle).c_str());
  }
}

}  // namespace quillon::tool
