#include "tools/report/partition_section.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>
#include <variant>
#include <vector>

#include "measures/groups.h"
#include "tools/report/charts.h"
#include "tools/report/evaluation_report.h"
#include "tools/report/text.h"

namespace quillon::tool {
namespace {

using page::data;
using page::figure;
using page::kDash;
using page::list;
using page::name_cell;
using page::object;
using page::row;
using page::share;
using page::table;
using page::table_unless_empty;
using page::tile;

constexpr std::int64_t kMostPartsListed = 1000;  // in tables
constexpr std::size_t kMostBeside = 16;          // parts whose table fits next to their chart
constexpr int kMostPartsInFull = 12;             // whose matrix is a table
constexpr std::size_t kMostPairs = 10;           // listed

list cut_tiles(const PartitionModel& model) {
  object cut_nets = figure("cut-nets", model.cut.ncut_nets);
  cut_nets.emplace("note", percentage(static_cast<double>(model.cut.ncut_nets) / model.nnets) + " of all");
  return {tile("Parts", "parts", std::ssize(model.sizes.weights)),
          tile("Cut nets", std::move(cut_nets)),
          tile("Cut", "cut", model.cut.cut),
          tile("Connectivity minus one", "connectivity", model.cut.connectivity_minus_one),
          tile("Sum of external degrees", "external-degrees", model.cut.sum_of_external_degrees),
          tile("Imbalance", {{"id", "imbalance"},
                             {"value", fmt::format("{:.9g}", model.imbalance)},
                             {"shown", percentage(model.imbalance)}})};
}

// Parts in tables: not all, so that the page stays small.
std::size_t number_listed(const PartitionModel& model) {
  return std::min<std::size_t>(model.sizes.weights.size(), kMostPartsListed);
}

object parts_table(const PartitionModel& model) {
  const measures::PartSizes& sizes = model.sizes;
  const auto total =
      static_cast<double>(std::accumulate(sizes.weights.begin(), sizes.weights.end(), std::int64_t{0}));
  list rows;
  for (std::size_t part = 0; part < number_listed(model); ++part)
    rows.push_back(row(grouped(static_cast<std::int64_t>(part)),
                       {figure(sizes.ncells[part]), figure(sizes.weights[part]),
                        share(static_cast<double>(sizes.weights[part]), total)}));
  return table("Parts", {"part", "cells", "weight", "of the weight"}, rows);
}

object volumes_table(const PartitionModel& model) {
  const measures::PartDetails& details = *model.details;
  list rows;
  for (std::size_t part = 0; part < number_listed(model); ++part)
    rows.push_back(row(grouped(static_cast<std::int64_t>(part)),
                       {figure(details.nboundary_cells[part]), figure(details.ninternal_nets[part]),
                        figure(details.volumes_sent[part]), figure(details.volumes_received[part])}));
  return table("Boundaries and volumes", {"part", "boundary cells", "internal nets", "sent", "received"},
               rows);
}

bool have_names(const std::vector<CostlyNet>& nets) {
  return std::any_of(nets.begin(), nets.end(), [](const CostlyNet& net) { return !net.name.empty(); });
}

data costliest_table(const std::vector<CostlyNet>& nets) {
  const bool is_named = have_names(nets);
  std::vector<std::string> head{"net", "pins", "weight", "parts", "cost"};
  if (is_named) head.insert(head.begin() + 1, "name");
  list rows;
  for (const CostlyNet& net : nets) {
    list cells;
    if (is_named) cells.emplace_back(name_cell(net.name));
    for (const std::int64_t number :
         {std::int64_t{net.size}, std::int64_t{net.weight}, std::int64_t{net.connectivity}, net.cost})
      cells.emplace_back(figure(number));
    rows.push_back(row(grouped(net.net), cells));
  }
  return table_unless_empty("Nets that cost most", head, rows);
}

// `suffix` makes the chart's id unique in the page.
void add_balance(object& section, const PartitionModel& model, const std::string& suffix) {
  const std::size_t nparts = model.sizes.weights.size();
  section["balance"] =
      parts_chart(model.sizes.weights,
                  {"balance" + suffix, "Weights of the parts",
                   "The weight of each part, with a dashed line at the average. The table has the numbers."});
  section["parts"] = parts_table(model);
  section["volumes"] = volumes_table(model);
  section["beside"] = nparts <= kMostBeside;
  section["first_parts"] = number_listed(model) == nparts
                               ? data(false)
                               : data(fmt::format("The first {} of {} parts.", grouped(kMostPartsListed),
                                                  grouped(static_cast<std::int64_t>(nparts))));
}

std::string parts_of_group(const measures::CutMatrix& matrix, int group) {
  const int first = measures::group_begin(group, matrix.nparts, matrix.ngroups);
  const int last = measures::group_begin(group + 1, matrix.nparts, matrix.ngroups) - 1;
  return first == last ? grouped(first) : grouped(first) + kDash + grouped(last);
}

object matrix_in_full(const measures::CutMatrix& matrix, const std::string& suffix) {
  constexpr double kMostShade = 0.45;  // text on it stays readable
  std::int64_t most = 1;
  for (int a = 0; a < matrix.ngroups; ++a)
    for (int b = 0; b < a; ++b) most = std::max(most, matrix.at(a, b));

  list rows;
  for (int a = 0; a < matrix.ngroups; ++a) {
    list cells;
    for (int b = 0; b < matrix.ngroups; ++b) {
      const auto weight = static_cast<double>(std::max<std::int64_t>(0, matrix.at(a, b)));
      const double shade = kMostShade * (weight / static_cast<double>(most));
      cells.emplace_back(object{{"shown", grouped(matrix.at(a, b))},
                                {"shade", a == b ? data(false) : data(fmt::format("{:.3f}", shade))}});
    }
    rows.push_back(row(std::to_string(a), cells));
  }
  return {{"rows", rows}, {"suffix", suffix}};
}

// The pairs of groups with most weight between them, heaviest first.
std::vector<std::pair<int, int>> heaviest_pairs(const measures::CutMatrix& matrix) {
  std::vector<std::pair<int, int>> pairs;
  for (int a = 0; a < matrix.ngroups; ++a)
    for (int b = a + 1; b < matrix.ngroups; ++b)
      if (matrix.at(a, b) > 0) pairs.emplace_back(a, b);
  if (pairs.empty()) return pairs;

  const std::size_t nlisted = std::min(pairs.size(), kMostPairs);
  std::partial_sort(pairs.begin(), pairs.begin() + static_cast<std::ptrdiff_t>(nlisted), pairs.end(),
                    [&matrix](const auto& p, const auto& q) {
                      const std::int64_t more = matrix.at(p.first, p.second) - matrix.at(q.first, q.second);
                      return more != 0 ? more > 0 : p < q;
                    });
  pairs.resize(nlisted);
  return pairs;
}

void add_matrix(object& section, const measures::CutMatrix& matrix, const std::string& suffix) {
  section["matrix"] = false;
  if (matrix.ngroups <= kMostPartsInFull) {
    section["matrix"] = matrix_in_full(matrix, suffix);
    return;
  }
  list rows;
  for (const auto& [a, b] : heaviest_pairs(matrix))
    rows.push_back(
        row(parts_of_group(matrix, a), {figure(parts_of_group(matrix, b)), figure(matrix.at(a, b))}));
  section["between"] =
      cut_picture(matrix, {"between" + suffix, "Between parts",
                           "Parts against parts; the table has the pairs with most weight between them."});
  section["pairs"] = table_unless_empty("Heaviest connections", {"part", "and part", "weight"}, rows);
  section["has_groups"] = matrix.ngroups < matrix.nparts;
}

object measured(const Measure& measure, const PartitionModel& model) {
  const MeasureValue value = measure.value(model);
  if (const auto* const whole = std::get_if<std::int64_t>(&value)) return figure(*whole);
  const auto* const real = std::get_if<double>(&value);
  return figure(real != nullptr && std::isfinite(*real) ? rounded_text(value) : kDash);
}

// Whether a partition is better than all others by a measure.
bool is_best(const Measure& measure, const PageModel& model, const PagePartition& partition) {
  return std::all_of(model.partitions.begin(), model.partitions.end(), [&](const PagePartition& other) {
    return &other == &partition || is_better(measure, partition.numbers, other.numbers);
  });
}

// A column for each partition.
object measures_table(const PageModel& model) {
  std::vector<std::string> head{""};
  for (const PagePartition& partition : model.partitions) head.push_back(partition.numbers.part_file);
  list rows;
  for (const Measure& measure : all_measures()) {
    list cells;
    for (const PagePartition& partition : model.partitions) {
      object cell = measured(measure, partition.numbers);
      const bool is_marked = model.partitions.size() > 1 && is_best(measure, model, partition);
      if (is_marked) cell.emplace("class", "best");
      cells.emplace_back(std::move(cell));
    }
    rows.push_back(row(measure.label, cells));
  }
  return table("Measures", head, rows);
}

data section_of(const PageModel& model, std::size_t number) {
  const bool is_only = model.partitions.size() == 1;
  const std::string suffix = number == 0 ? "" : "-" + std::to_string(number + 1);
  const auto& [numbers, between] = model.partitions[number];
  object section{{"heading", is_only ? "Partition" : "Partition " + numbers.part_file},
                 {"tiles", is_only ? data(cut_tiles(numbers)) : data(false)},
                 {"alone", is_only ? data(object{{"measures", measures_table(model)}}) : data(false)},
                 {"nets_layout", page::layout(have_names(*numbers.nets))},
                 {"costliest", costliest_table(*numbers.nets)}};
  add_balance(section, numbers, suffix);
  add_matrix(section, between, suffix);
  return section;
}

}  // namespace

void add_partitions(page::object& page, const PageModel& model) {
  page["comparison"] =
      model.partitions.size() > 1 ? data(object{{"measures", measures_table(model)}}) : data(false);
  list sections;
  for (std::size_t k = 0; k < model.partitions.size(); ++k) sections.push_back(section_of(model, k));
  page["partitions"] = sections;
}

}  // namespace quillon::tool
