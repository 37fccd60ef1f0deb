#pragma once
// What the counts of a hypergraph mean, as text and as JSON on standard output.

#include <string>

#include "measures/counts.h"

namespace quillon::tool {

struct ExplanationModel {
  std::string file;
  std::string format;
  measures::Counts counts;
};

void print_explanation_text(const ExplanationModel& model);
void print_explanation_json(const ExplanationModel& model);

}  // namespace quillon::tool
