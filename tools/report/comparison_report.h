#pragma once
// Comparisons of two partitions as text and as JSON on standard output.

#include <optional>
#include <string>

#include "measures/comparison.h"
#include "tools/report/model.h"

namespace quillon::tool {

struct ComparisonModel {
  PartitionModel first;
  PartitionModel second;
  measures::Comparison comparison;
  measures::CutChanges nets;
  bool lists_nets = false;
};

void print_comparison_text(const ComparisonModel& model);
void print_comparison_json(const ComparisonModel& model);

}  // namespace quillon::tool
