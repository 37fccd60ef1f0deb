#include "tools/report/html_report.h"

#include <fmt/format.h>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <kainjow/mustache.hpp>
#include <numeric>
#include <utility>
#include <vector>

#include "measures/groups.h"
#include "tools/report/charts.h"
#include "tools/report/page_files.h"
#include "tools/report/text.h"

// The data of each section of page.mustache. Members that a template tests for and that may also be set in an
// outer section are always set here, to `false` if need be: look-ups go on outwards.
namespace quillon::tool {
namespace {

using kainjow::mustache::data;
using kainjow::mustache::list;
using kainjow::mustache::object;

constexpr int kMostPartsListed = 1000;   // in tables
constexpr std::size_t kMostBeside = 16;  // parts whose table fits next to their chart
constexpr int kMostPartsInFull = 12;     // whose matrix is a table
constexpr std::size_t kMostPairs = 10;   // listed

constexpr const char* kDash = "\u2013";

object figure(const std::string& shown) { return {{"shown", shown}}; }

object figure(std::int64_t number) { return figure(grouped(number)); }

// A number for readers, together with the number for programs.
object figure(const std::string& id, std::int64_t number) {
  return {{"id", id}, {"value", std::to_string(number)}, {"shown", grouped(number)}};
}

object figure(const std::string& id, double number) {
  if (!std::isfinite(number)) return figure(decimal(number));
  return {{"id", id}, {"value", fmt::format("{:.9g}", number)}, {"shown", decimal(number)}};
}

object figure_if(bool is_known, const std::string& id, std::int64_t number) {
  return is_known ? figure(id, number) : figure(kDash);
}

object share(double part, double whole) { return figure(percentage(part / whole)); }

data row(const std::string& name, const list& cells) { return object{{"name", name}, {"cells", cells}}; }

// An empty heading is a corner of the table.
object table(const std::string& caption, const std::vector<std::string>& headings, const list& rows) {
  list head;
  for (const std::string& heading : headings)
    head.emplace_back(object{{"name", heading.empty() ? data(false) : data(heading)}});
  return {{"caption", caption}, {"head", head}, {"rows", rows}};
}

data table_unless_empty(const std::string& caption, const std::vector<std::string>& headings,
                        const list& rows) {
  return rows.empty() ? data(false) : data(table(caption, headings, rows));
}

object tile(const std::string& name, object content) {
  content.emplace("name", name);
  return content;
}

// Large numbers are shown rounded, with the exact number below.
object tile(const std::string& name, const std::string& id, std::int64_t number) {
  constexpr std::int64_t kSevenDigits = 1000000;
  object content = figure(id, number);
  if (number >= kSevenDigits) content.emplace("short", short_form(static_cast<double>(number)));
  return tile(name, std::move(content));
}

list overview_tiles(const measures::Figures& figures) {
  const double places = static_cast<double>(figures.ncells) * figures.nnets;
  return {tile("Cells", "cells", figures.ncells),
          tile("Nets", "nets", figures.nnets),
          tile("Pins", "pins", figures.npins),
          tile("Density", share(figures.npins, places)),
          tile("Nets per cell", figure("average-degree", figures.degrees.average)),
          tile("Pins per net", figure("average-size", figures.sizes.average))};
}

data lengths_row(const std::string& name, const std::string& id, const measures::Lengths& lengths) {
  return row(name, {figure_if(lengths.count > 0, id + "-min", lengths.min), figure(decimal(lengths.average)),
                    figure_if(lengths.count > 0, id + "-max", lengths.max),
                    figure(id + "-deviation", lengths.deviation), figure(decimal(lengths.variation)),
                    figure(id + "-zero", std::int64_t{lengths.nzero})});
}

data weights_row(const std::string& name, const std::string& id, const measures::Weights& weights,
                 int count) {
  return row(name, {figure_if(count > 0, id + "-min", weights.min),
                    figure(decimal(static_cast<double>(weights.total) / count)),
                    figure_if(count > 0, id + "-max", weights.max), figure(id + "-total", weights.total)});
}

/// What a chart counts: `items` ("cells") by `value` ("degree").
struct Axes {
  std::string value;
  std::string items;
};

// A chart, and the same in numbers.
data distribution(const measures::Distribution& values, int count, const std::string& id,
                  const std::string& title, const Axes& axes) {
  const std::vector<Bin> bins = logarithmic_bins(values);
  if (bins.empty()) return object{{"title", title}, {"items", axes.items}, {"chart", false}};

  const std::string description = fmt::format(
      "How many {} have which {}, from {} to {}, over logarithmic axes. The table below has the numbers.",
      axes.items, axes.value, grouped(values.front().first), grouped(values.back().first));
  list rows;
  for (const Bin& bin : bins)
    rows.push_back(row(bin.lo == bin.hi ? grouped(bin.lo) : grouped(bin.lo) + kDash + grouped(bin.hi),
                       {figure(bin.count), share(static_cast<double>(bin.count), count)}));
  return object{{"title", title},
                {"chart", distribution_chart(bins, axes.value, axes.items, {id, title, description})},
                {"numbers", table(title, {axes.value, axes.items, "share"}, rows)}};
}

void add_lengths(object& page, const measures::Figures& figures) {
  page["length_charts"] = list{distribution(figures.degrees.distribution, figures.ncells, "degrees",
                                            "Degrees of the cells", {"degree", "cells"}),
                               distribution(figures.sizes.distribution, figures.nnets, "sizes",
                                            "Sizes of the nets", {"size", "nets"})};
  page["lengths"] =
      table("Spread", {"", "smallest", "average", "largest", "std. deviation", "coeff. of variation", "zero"},
            {lengths_row("cell degree", "degree", figures.degrees),
             lengths_row("net size", "size", figures.sizes)});
}

// Weights that are all equal need no chart, and negative ones have no place on a logarithmic axis.
bool has_chart(const measures::Weights& weights) { return weights.min != weights.max && weights.min >= 0; }

void add_weights(object& page, const PageModel& model) {
  const measures::Figures& figures = model.figures;
  list charts;
  if (has_chart(figures.cells))
    charts.push_back(distribution(model.cell_weights, figures.ncells, "cell-weights", "Weights of the cells",
                                  {"weight", "cells"}));
  if (has_chart(figures.nets))
    charts.push_back(distribution(model.net_weights, figures.nnets, "net-weights", "Weights of the nets",
                                  {"weight", "nets"}));
  page["weight_charts"] = charts.empty() ? data(false) : data(object{{"charts", charts}});
  page["weights"] = table("Range and total", {"", "smallest", "average", "largest", "total"},
                          {weights_row("cells", "cell-weight", figures.cells, figures.ncells),
                           weights_row("nets", "net-weight", figures.nets, figures.nnets)});
}

void add_density(object& page, const PageModel& model) {
  const DensityGrid& grid = model.density;
  const auto nfilled = std::count_if(grid.npins.begin(), grid.npins.end(), [](auto n) { return n > 0; });
  const std::string boxes = fmt::format("Boxes: {} by {}, with pins in {}.", grouped(grid.ncolumns),
                                        grouped(grid.nrows), grouped(nfilled));
  const std::string description =
      "Where the pins are: cells from left to right, nets from top to bottom. " + boxes;
  page["density"] =
      density_picture(grid, model.figures.ncells, model.figures.nnets, {"density", "Sparsity", description});
  page["boxes"] = model.figures.npins == 0 ? data(false) : data(boxes);
}

void add_largest(object& page, const PageModel& model) {
  const bool has_parts = model.partition.has_value();
  std::vector<std::string> head{"net", "pins", "of all cells", "weight"};
  if (has_parts) head.emplace_back("parts");
  list rows;
  for (const ListedNet& net : model.largest_nets) {
    list cells{figure(net.size), share(net.size, model.figures.ncells), figure(net.weight)};
    if (has_parts) cells.emplace_back(figure(net.connectivity));
    rows.push_back(row(grouped(net.number), cells));
  }
  page["largest_nets"] = table_unless_empty("Largest nets", head, rows);

  head = {"cell", "nets", "of all nets", "weight"};
  if (has_parts) head.emplace_back("part");
  rows.clear();
  for (const ListedCell& cell : model.busiest_cells) {
    list cells{figure(cell.degree), share(cell.degree, model.figures.nnets), figure(cell.weight)};
    if (has_parts) cells.emplace_back(figure(cell.part));
    rows.push_back(row(grouped(cell.number), cells));
  }
  page["busiest_cells"] = table_unless_empty("Cells of the highest degree", head, rows);
}

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

void add_balance(object& section, const measures::PartSizes& sizes) {
  const std::size_t nparts = sizes.weights.size();
  const std::size_t nlisted = std::min<std::size_t>(nparts, kMostPartsListed);
  const auto total =
      static_cast<double>(std::accumulate(sizes.weights.begin(), sizes.weights.end(), std::int64_t{0}));
  list rows;
  for (std::size_t part = 0; part < nlisted; ++part)
    rows.push_back(row(grouped(static_cast<std::int64_t>(part)),
                       {figure(sizes.ncells[part]), figure(sizes.weights[part]),
                        share(static_cast<double>(sizes.weights[part]), total)}));
  section["balance"] =
      parts_chart(sizes.weights,
                  {"balance", "Weights of the parts",
                   "The weight of each part, with a dashed line at the average. The table has the numbers."});
  section["parts"] = table("Parts", {"part", "cells", "weight", "of the weight"}, rows);
  section["beside"] = nparts <= kMostBeside;
  section["first_parts"] = nlisted == nparts
                               ? data(false)
                               : data(fmt::format("The first {} of {} parts.", grouped(std::ssize(rows)),
                                                  grouped(static_cast<std::int64_t>(nparts))));
}

std::string parts_of_group(const measures::CutMatrix& matrix, int group) {
  const int first = measures::group_begin(group, matrix.nparts, matrix.ngroups);
  const int last = measures::group_begin(group + 1, matrix.nparts, matrix.ngroups) - 1;
  return first == last ? grouped(first) : grouped(first) + kDash + grouped(last);
}

object matrix_in_full(const measures::CutMatrix& matrix) {
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
  return {{"rows", rows}};
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

void add_matrix(object& section, const measures::CutMatrix& matrix) {
  section["matrix"] = false;
  if (matrix.ngroups <= kMostPartsInFull) {
    section["matrix"] = matrix_in_full(matrix);
    return;
  }
  list rows;
  for (const auto& [a, b] : heaviest_pairs(matrix))
    rows.push_back(
        row(parts_of_group(matrix, a), {figure(parts_of_group(matrix, b)), figure(matrix.at(a, b))}));
  section["between"] =
      cut_picture(matrix, {"between", "Between parts",
                           "Parts against parts; the table has the pairs with most weight between them."});
  section["pairs"] = table_unless_empty("Heaviest connections", {"part", "and part", "weight"}, rows);
  section["has_groups"] = matrix.ngroups < matrix.nparts;
}

data partition_section(const PartitionModel& model, const measures::CutMatrix& between) {
  object section{{"file", model.part_file}, {"tiles", cut_tiles(model)}};
  add_balance(section, model.sizes);
  add_matrix(section, between);
  return section;
}

}  // namespace

std::string html_page(const PageModel& model) {
  const measures::Figures& figures = model.figures;
  object page{
      {"distribution", page::distribution_mustache},
      {"figure", page::figure_mustache},
      {"style", page::page_css},
      {"table", page::table_mustache},
      {"tile_list", page::tile_list_mustache},
      {"title", model.title},
      {"counts", grouped_count(figures.ncells, "cell") + ", " + grouped_count(figures.nnets, "net") + ", " +
                     grouped_count(figures.npins, "pin")},
      {"tiles", overview_tiles(figures)},
      {"partition", model.partition ? partition_section(*model.partition, model.between) : data(false)}};
  add_lengths(page, figures);
  add_weights(page, model);
  add_density(page, model);
  add_largest(page, model);

  kainjow::mustache::mustache view(page::page_mustache);
  view.set_custom_escape(escaped);
  std::string html;
  // Not into a stream: that would lose text without an error when there is no memory.
  view.render(page, [&html](const std::string& text) { html += text; });
  assert(view.is_valid());
  return html + "\n";
}

}  // namespace quillon::tool
