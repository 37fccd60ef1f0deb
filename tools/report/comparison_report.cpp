#include "tools/report/comparison_report.h"

#include <fmt/format.h>

#include "tools/report/evaluation_report.h"
#include "tools/report/text.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

void print_figure(const std::string& label, const std::string& value) { print_row(label, value, 30); }

std::string share_of(std::int64_t part, std::int64_t whole) {
  if (whole == 0) return {};
  return fmt::format(" ({:.2f} %)", 100 * static_cast<double>(part) / static_cast<double>(whole));
}

std::string listed(const std::vector<int>& nets) {
  std::string text = std::to_string(nets.size());
  for (std::size_t k = 0; k < nets.size(); ++k) text += (k == 0 ? ": " : ", ") + std::to_string(nets[k]);
  return text;
}

// Parts that have another name in the first partition.
std::string renamed_parts(const measures::Comparison& comparison) {
  constexpr int kMostListed = 20;
  std::string text;
  int nlisted = 0;
  for (std::size_t part = 0; part < comparison.names.size(); ++part) {
    if (comparison.names[part] == static_cast<int>(part)) continue;
    if (++nlisted > kMostListed) return text + ", ...";
    text += fmt::format("{}{} is {}", text.empty() ? "" : ", ", part, comparison.names[part]);
  }
  return text.empty() ? "none" : text;
}

std::string difference(const MeasureValue& a, const MeasureValue& b) {
  if (a.index() != b.index()) return "-";
  if (const auto* const x = std::get_if<std::int64_t>(&a))
    return fmt::format("{:+}", std::get<std::int64_t>(b) - *x);
  if (const auto* const x = std::get_if<double>(&a)) return fmt::format("{:+.6f}", std::get<double>(b) - *x);
  return "-";
}

}  // namespace

void print_comparison_text(const ComparisonModel& model) {
  const measures::Comparison& comparison = model.comparison;
  std::int64_t weight = 0;
  for (const std::int64_t part : model.first.sizes.weights) weight += part;
  uprintf("%s: %d cells, %d nets, %d pins; %s and %s\n", model.first.hypergraph.c_str(), model.first.ncells,
          model.first.nnets, model.first.npins, model.first.part_file.c_str(),
          model.second.part_file.c_str());
  print_figure("parts with another name", renamed_parts(comparison));
  print_figure("cells moved", std::to_string(comparison.ncells_moved) +
                                  share_of(comparison.ncells_moved, model.first.ncells));
  print_figure("weight moved",
               std::to_string(comparison.weight_moved) + share_of(comparison.weight_moved, weight));
  print_figure("normalised mutual information",
               fmt::format("{:.6f}", comparison.normalised_mutual_information));
  print_figure("adjusted Rand index", fmt::format("{:.6f}", comparison.adjusted_rand_index));
  const auto nets = [&model](const std::vector<int>& list) {
    return model.lists_nets ? listed(list) : std::to_string(list.size());
  };
  print_figure("nets newly cut", nets(model.nets.newly_cut));
  print_figure("nets no longer cut", nets(model.nets.no_longer_cut));
  uprintf("%s\n", fmt::format("{:<24} {:>18} {:>18} {:>18}", "", "first", "second", "difference").c_str());
  for (const Measure& measure : all_measures()) {
    const MeasureValue a = measure.value(model.first);
    const MeasureValue b = measure.value(model.second);
    uprintf("%s\n", fmt::format("{:<24} {:>18} {:>18} {:>18}", measure.label, rounded_text(a),
                                rounded_text(b), difference(a, b))
                        .c_str());
  }
}

}  // namespace quillon::tool
