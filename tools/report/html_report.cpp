#include "tools/report/html_report.h"

#include <fmt/format.h>

#include <algorithm>
#include <cassert>
#include <kainjow/mustache.hpp>
#include <utility>
#include <vector>

#include "tools/report/charts.h"
#include "tools/report/page_data.h"
#include "tools/report/page_files.h"
#include "tools/report/partition_section.h"
#include "tools/report/text.h"

// The data of each section of page.mustache. Members that a template tests for and that may also be set in an
// outer section are always set here, to `false` if need be: look-ups go on outwards.
namespace quillon::tool {
namespace {

using page::data;
using page::figure;
using page::figure_if;
using page::kDash;
using page::list;
using page::name_cell;
using page::object;
using page::row;
using page::share;
using page::table;
using page::table_unless_empty;
using page::tile;

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

// "pins", or one heading for each of several partitions.
void add_headings(std::vector<std::string>& head, const PageModel& model, const std::string& heading) {
  for (const PagePartition& partition : model.partitions)
    head.push_back(model.partitions.size() == 1 ? heading : heading + ", " + partition.numbers.part_file);
}

bool has_names(const auto& listed) {
  return std::any_of(listed.begin(), listed.end(), [](const auto& item) { return !item.name.empty(); });
}

void add_largest_nets(object& page, const PageModel& model) {
  const bool is_named = has_names(model.largest_nets);
  std::vector<std::string> head{"net", "pins", "of all cells", "weight"};
  if (is_named) head.insert(head.begin() + 1, "name");
  add_headings(head, model, "parts");
  list rows;
  for (const ListedNet& net : model.largest_nets) {
    list cells;
    if (is_named) cells.emplace_back(name_cell(net.name));
    cells.emplace_back(figure(net.size));
    cells.emplace_back(share(net.size, model.figures.ncells));
    cells.emplace_back(figure(net.weight));
    for (const int connectivity : net.connectivities) cells.emplace_back(figure(connectivity));
    rows.push_back(row(grouped(net.number), cells));
  }
  page["largest_nets"] = table_unless_empty("Largest nets", head, rows);
}

void add_busiest_cells(object& page, const PageModel& model) {
  const bool is_named = has_names(model.busiest_cells);
  std::vector<std::string> head{"cell", "nets", "of all nets", "weight"};
  if (is_named) head.insert(head.begin() + 1, "name");
  add_headings(head, model, "part");
  list rows;
  for (const ListedCell& cell : model.busiest_cells) {
    list cells;
    if (is_named) cells.emplace_back(name_cell(cell.name));
    cells.emplace_back(figure(cell.degree));
    cells.emplace_back(share(cell.degree, model.figures.nnets));
    cells.emplace_back(figure(cell.weight));
    for (const int part : cell.parts) cells.emplace_back(figure(part));
    rows.push_back(row(grouped(cell.number), cells));
  }
  page["busiest_cells"] = table_unless_empty("Cells of the highest degree", head, rows);
}

std::string place_of(const formats::Finding& finding) {
  if (finding.line == 0) return kDash;
  return std::to_string(finding.line) + ":" + std::to_string(finding.column);
}

void add_findings(object& page, const formats::LintResult& lint) {
  list rows;
  for (const formats::RuleCount& broken : lint.counts) {
    const auto is_of_rule = [&broken](const auto& finding) { return finding.rule == broken.rule->name; };
    const auto first = std::find_if(lint.findings.begin(), lint.findings.end(), is_of_rule);
    if (first == lint.findings.end()) continue;
    rows.push_back(
        row(first->rule, {figure(std::string(formats::name_of(broken.rule->severity))), figure(broken.count),
                          figure(place_of(*first)), name_cell(first->message)}));
  }
  page["findings"] =
      object{{"rules", table_unless_empty("What lint finds in the file",
                                          {"rule", "severity", "count", "first at", "message"}, rows)}};
}

// The sizes of the hypergraph, and the files of its partitions.
std::string subtitle(const PageModel& model) {
  const measures::Figures& figures = model.figures;
  std::string text = grouped_count(figures.ncells, "cell") + ", " + grouped_count(figures.nnets, "net") +
                     ", " + grouped_count(figures.npins, "pin");
  for (const PagePartition& partition : model.partitions) {
    const bool is_first = &partition == model.partitions.data();
    text += !is_first ? ", " : model.partitions.size() == 1 ? "; partition " : "; partitions ";
    text += partition.numbers.part_file;
  }
  return text;
}

}  // namespace

std::string html_page(const PageModel& model) {
  const measures::Figures& figures = model.figures;
  object page{{"distribution", page::distribution_mustache},
              {"figure", page::figure_mustache},
              {"style", page::page_css},
              {"table", page::table_mustache},
              {"tile_list", page::tile_list_mustache},
              {"title", model.title},
              {"counts", subtitle(model)},
              {"tiles", overview_tiles(figures)}};
  add_partitions(page, model);
  add_lengths(page, figures);
  add_weights(page, model);
  add_density(page, model);
  page["largest_layout"] = page::layout(model.partitions.size() > 1 || has_names(model.largest_nets) ||
                                        has_names(model.busiest_cells));
  add_largest_nets(page, model);
  add_busiest_cells(page, model);
  page["findings"] = false;
  if (model.lint) add_findings(page, *model.lint);

  kainjow::mustache::mustache view(page::page_mustache);
  view.set_custom_escape(escaped);
  std::string html;
  // Not into a stream: that would lose text without an error when there is no memory.
  view.render(page, [&html](const std::string& text) { html += text; });
  assert(view.is_valid());
  return html + "\n";
}

}  // namespace quillon::tool
