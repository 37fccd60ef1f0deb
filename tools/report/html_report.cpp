#include "tools/report/html_report.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "hypergraph/detail/lists.h"
#include "measures/figures.h"
#include "measures/groups.h"
#include "measures/partition.h"
#include "tools/report/charts.h"
#include "tools/report/page_style.h"
#include "tools/report/summaries.h"
#include "tools/report/text.h"

namespace quillon::tool {
namespace {

constexpr std::size_t kMostListed = 10;
constexpr int kMostColumns = 240;
constexpr int kMostRows = 312;
constexpr int kMostPartsListed = 1000;  // in tables
constexpr int kMostPartsInFull = 12;    // whose matrix is a table
constexpr int kMostGroups = 256;        // whose matrix is a picture

using Row = std::vector<std::string>;

std::string element(const std::string& name, const std::string& content) {
  return std::string("<").append(name).append(">").append(content).append("</").append(name).append(">\n");
}

// A number for people, with the number for programs beside it.
std::string value(const char* id, std::int64_t number) {
  return formatted("<data id=\"%s\" value=\"%lld\">%s</data>", id, static_cast<long long>(number),
                   grouped(number).c_str());
}

std::string value(const char* id, double number) {
  if (!std::isfinite(number)) return decimal(number);
  return formatted("<data id=\"%s\" value=\"%.9g\">%s</data>", id, number, decimal(number).c_str());
}

std::string head_row(const Row& cells) {
  std::string row = "<tr>";
  for (const std::string& cell : cells)
    row += cell.empty() ? "<td></td>" : "<th scope=\"col\">" + cell + "</th>";
  return row + "</tr>\n";
}

std::string table_row(const Row& cells) {
  std::string row = "<tr><th scope=\"row\">" + cells.front() + "</th>";
  for (auto cell = cells.begin() + 1; cell != cells.end(); ++cell) row += "<td>" + *cell + "</td>";
  return row + "</tr>\n";
}

// It may be wider than a narrow page, and is scrolled by itself then.
std::string table(const std::string& caption, const Row& head, const std::vector<Row>& rows) {
  std::string html = std::string("<div class=\"scroll\" tabindex=\"0\" role=\"region\" aria-label=\"")
                         .append(caption)
                         .append("\"><table>\n<caption>")
                         .append(caption)
                         .append("</caption>\n<thead>")
                         .append(head_row(head))
                         .append("</thead>\n<tbody>\n");
  for (const Row& row : rows) html += table_row(row);
  return html + "</tbody></table></div>\n";
}

// Large numbers are for comparing first, and exact below.
std::string tile(const char* id, const char* name, std::int64_t number) {
  constexpr std::int64_t kSevenDigits = 1000000;
  std::string shown = value(id, number);
  if (number >= kSevenDigits)
    shown = short_form(static_cast<double>(number)) + " <small>" + value(id, number) + "</small>";
  return formatted("<div><dt>%s</dt><dd>", name) + shown + "</dd></div>\n";
}

std::string tile(const char* name, const std::string& shown) {
  return formatted("<div><dt>%s</dt><dd>", name) + shown + "</dd></div>\n";
}

std::string overview(const measures::Figures& figures) {
  const double places = static_cast<double>(figures.ncells) * figures.nnets;
  return "<dl class=\"tiles\">\n" + tile("cells", "Cells", figures.ncells) +
         tile("nets", "Nets", figures.nnets) + tile("pins", "Pins", figures.npins) +
         tile("Density", percentage(figures.npins / places)) +
         tile("Nets per cell", value("average-degree", figures.degrees.average)) +
         tile("Pins per net", value("average-size", figures.sizes.average)) + "</dl>\n";
}

// Of nothing, nothing is the smallest.
std::string value_if(bool is_known, const std::string& id, std::int64_t number) {
  return is_known ? value(id.c_str(), number) : "\u2013";
}

Row lengths_row(const char* name, const char* id, const measures::Lengths& lengths) {
  const std::string prefix = id;
  return {name,
          value_if(lengths.count > 0, prefix + "-min", lengths.min),
          decimal(lengths.average),
          value_if(lengths.count > 0, prefix + "-max", lengths.max),
          value((prefix + "-deviation").c_str(), lengths.deviation),
          decimal(lengths.variation),
          value((prefix + "-zero").c_str(), std::int64_t{lengths.nzero})};
}

Row weights_row(const char* name, const char* id, const measures::Weights& weights, int count) {
  const std::string prefix = id;
  return {name, value_if(count > 0, prefix + "-min", weights.min),
          decimal(static_cast<double>(weights.total) / count),
          value_if(count > 0, prefix + "-max", weights.max),
          value((prefix + "-total").c_str(), weights.total)};
}

std::vector<Row> bin_rows(const std::vector<Bin>& bins, int count) {
  std::vector<Row> rows;
  rows.reserve(bins.size());
  for (const Bin& bin : bins)
    rows.push_back({bin.lo == bin.hi ? grouped(bin.lo) : grouped(bin.lo) + "\u2013" + grouped(bin.hi),
                    grouped(bin.count), percentage(static_cast<double>(bin.count) / count)});
  return rows;
}

// A chart, and the same in numbers.
std::string distribution(const std::vector<std::pair<int, int>>& values, int count, const std::string& id,
                         const std::string& title, const std::string& x_label, const std::string& y_label) {
  const std::vector<Bin> bins = logarithmic_bins(values);
  std::string html = "<figure>\n" + element("figcaption", title);
  if (bins.empty()) return html + "<p class=\"note\">There are no " + y_label + ".</p></figure>\n";
  const std::string about = "How many " + y_label + " have which " + x_label + ", from " +
                            grouped(values.front().first) + " to " + grouped(values.back().first) +
                            ", over logarithmic axes. The table below has the numbers.";
  html += distribution_chart(bins, x_label, y_label, {id, title, about});
  html += "<details><summary>In numbers</summary>\n" +
          table(title, {x_label, y_label, "share"}, bin_rows(bins, count)) + "</details>\n";
  return html + "</figure>\n";
}

std::string distributions(const measures::Figures& figures) {
  return "<section>\n<h2>Degrees and sizes</h2>\n<div class=\"columns\">\n" +
         distribution(figures.degrees.distribution, figures.ncells, "degrees", "Degrees of the cells",
                      "degree", "cells") +
         distribution(figures.sizes.distribution, figures.nnets, "sizes", "Sizes of the nets", "size",
                      "nets") +
         "</div>\n" +
         table("Spread",
               {"", "smallest", "average", "largest", "std. deviation", "coeff. of variation", "zero"},
               {lengths_row("cell degree", "degree", figures.degrees),
                lengths_row("net size", "size", figures.sizes)}) +
         "</section>\n";
}

// Weights that are all the same, or of which some are below 0, have no picture over a logarithmic axis.
std::string weight_chart(const measures::Weights& weights, const std::vector<std::pair<int, int>>& values,
                         int count, const char* id, const std::string& of) {
  if (weights.min == weights.max || weights.min < 0) return "";
  return distribution(values, count, id, std::string("Weights of the ").append(of), "weight", of);
}

std::string weights(const measures::Figures& figures, const Hypergraph& h) {
  std::string charts =
      weight_chart(figures.cells, measures::cell_weight_distribution(h), h._c, "cell-weights", "cells") +
      weight_chart(figures.nets, measures::net_weight_distribution(h), h._n, "net-weights", "nets");
  if (!charts.empty()) charts = "<div class=\"columns\">\n" + charts + "</div>\n";
  return "<section>\n<h2>Weights</h2>\n" + charts +
         table("Range and total", {"", "smallest", "average", "largest", "total"},
               {weights_row("cells", "cell-weight", figures.cells, figures.ncells),
                weights_row("nets", "net-weight", figures.nets, figures.nnets)}) +
         "</section>\n";
}

std::string sparsity(const measures::Figures& figures, const Hypergraph& h) {
  const DensityGrid grid = density_grid(h, kMostColumns, kMostRows);
  const auto nfilled = std::count_if(grid.npins.begin(), grid.npins.end(), [](auto n) { return n > 0; });
  const std::string boxes = "Boxes: " + grouped(grid.ncolumns) + " by " + grouped(grid.nrows) +
                            ", with pins in " + grouped(nfilled) + ".";
  const std::string about = "Where the pins are: cells from left to right, nets from top to bottom. " + boxes;
  return "<section>\n<h2>Sparsity</h2>\n<figure class=\"picture\">\n" +
         density_picture(grid, figures.ncells, figures.nnets, {"density", "Sparsity", about}) +
         "</figure>\n<p class=\"note\">" +
         (figures.npins == 0 ? "There are no pins."
                             : boxes + " Colour is the share of places that are pins, by its logarithm.") +
         "</p>\n</section>\n";
}

std::string net_list(const Hypergraph& h, const std::optional<measures::Partition>& partition) {
  Row head{"net", "pins", "of all cells", "weight"};
  if (partition) head.emplace_back("parts");
  std::vector<Row> rows;
  for (const int j : largest_nets(h, kMostListed)) {
    const Net& net = h._nlst[j];
    rows.push_back({grouped(j), grouped(net_size(net)), percentage(static_cast<double>(net_size(net)) / h._c),
                    grouped(net.w)});
    if (partition) rows.back().push_back(grouped(measures::connectivity(net, *partition)));
  }
  return rows.empty() ? "<p class=\"note\">There are no nets.</p>\n" : table("Largest nets", head, rows);
}

std::string cell_list(const Hypergraph& h, const std::optional<measures::Partition>& partition) {
  Row head{"cell", "nets", "of all nets", "weight"};
  if (partition) head.emplace_back("part");
  std::vector<Row> rows;
  for (const int i : busiest_cells(h, kMostListed)) {
    const Cell& cell = h._clst[i];
    rows.push_back({grouped(i), grouped(degree(cell)), percentage(static_cast<double>(degree(cell)) / h._n),
                    grouped(cell.w)});
    if (partition) rows.back().push_back(grouped(partition->parts[static_cast<std::size_t>(i)]));
  }
  return rows.empty() ? "<p class=\"note\">There are no cells.</p>\n"
                      : table("Cells of the highest degree", head, rows);
}

std::string largest(const Hypergraph& h, const std::optional<measures::Partition>& partition) {
  return "<section>\n<h2>Largest</h2>\n<div class=\"columns\">\n<div>" + net_list(h, partition) +
         "</div>\n<div>" + cell_list(h, partition) + "</div>\n</div>\n</section>\n";
}

std::string cut_tiles(const measures::PartSizes& sizes, const measures::CutSizes& cut, int nnets) {
  return "<dl class=\"tiles\">\n" + tile("parts", "Parts", static_cast<std::int64_t>(sizes.weights.size())) +
         tile("Cut nets", value("cut-nets", cut.ncut_nets) + " <small>" +
                              percentage(static_cast<double>(cut.ncut_nets) / nnets) + " of all</small>") +
         tile("cut", "Cut", cut.cut) +
         tile("connectivity", "Connectivity minus one", cut.connectivity_minus_one) +
         tile("external-degrees", "Sum of external degrees", cut.sum_of_external_degrees) +
         tile("Imbalance",
              formatted("<data id=\"imbalance\" value=\"%.9g\">%s</data>", measures::imbalance(sizes),
                        percentage(measures::imbalance(sizes)).c_str())) +
         "</dl>\n";
}

std::string part_table(const measures::PartSizes& sizes) {
  const std::size_t nlisted = std::min<std::size_t>(sizes.weights.size(), kMostPartsListed);
  const auto total =
      static_cast<double>(std::accumulate(sizes.weights.begin(), sizes.weights.end(), std::int64_t{0}));
  std::vector<Row> rows;
  rows.reserve(nlisted);
  for (std::size_t part = 0; part < nlisted; ++part)
    rows.push_back({grouped(static_cast<std::int64_t>(part)), grouped(sizes.ncells[part]),
                    grouped(sizes.weights[part]),
                    percentage(static_cast<double>(sizes.weights[part]) / total)});
  std::string html = table("Parts", {"part", "cells", "weight", "of the weight"}, rows);
  if (nlisted < sizes.weights.size())
    html += "<p class=\"note\">The first " + grouped(static_cast<std::int64_t>(nlisted)) + " of " +
            grouped(static_cast<std::int64_t>(sizes.weights.size())) + " parts.</p>\n";
  return html;
}

std::string balance(const measures::PartSizes& sizes) {
  constexpr std::size_t kFewParts = 16;
  const Caption caption{
      "balance", "Weights of the parts",
      "The weight of each part, with a dashed line at the average. The table has the numbers."};
  const std::string chart =
      "<figure>\n<figcaption>Balance</figcaption>\n" + parts_chart(sizes.weights, caption) + "</figure>\n";
  const std::string numbers = part_table(sizes);
  if (sizes.weights.size() <= kFewParts)
    return "<div class=\"columns\">\n" + chart + "<div>" + numbers + "</div>\n</div>\n";
  return "<div class=\"picture\">" + chart + "</div>\n<details><summary>In numbers</summary>\n" + numbers +
         "</details>\n";
}

std::string parts_of_group(const measures::CutMatrix& matrix, int group) {
  const int first = measures::group_begin(group, matrix.nparts, matrix.ngroups);
  const int last = measures::group_begin(group + 1, matrix.nparts, matrix.ngroups) - 1;
  return first == last ? grouped(first) : grouped(first) + "\u2013" + grouped(last);
}

std::string matrix_table(const measures::CutMatrix& matrix) {
  constexpr double kMostShade = 0.45;  // what is written on it stays readable
  std::int64_t most = 1;
  for (int a = 0; a < matrix.ngroups; ++a)
    for (int b = 0; b < a; ++b) most = std::max(most, matrix.at(a, b));
  std::string html = "<thead><tr><td></td>";
  for (int b = 0; b < matrix.ngroups; ++b) html += formatted("<th scope=\"col\">%d</th>", b);
  html += "</tr></thead>\n<tbody>\n";
  for (int a = 0; a < matrix.ngroups; ++a) {
    html += formatted("<tr><th scope=\"row\">%d</th>", a);
    for (int b = 0; b < matrix.ngroups; ++b) {
      const double share =
          static_cast<double>(std::max<std::int64_t>(0, matrix.at(a, b))) / static_cast<double>(most);
      html += a == b ? "<td class=\"within\">" : formatted("<td style=\"--a:%.3f\">", kMostShade * share);
      html += grouped(matrix.at(a, b)) + "</td>";
    }
    html += "</tr>\n";
  }
  return "<div class=\"scroll\" tabindex=\"0\" role=\"region\" aria-label=\"Between parts\">"
         "<table class=\"matrix\" id=\"cut-matrix\">\n" +
         html + "</tbody></table></div>\n";
}

std::string heaviest_pairs(const measures::CutMatrix& matrix) {
  std::vector<std::pair<int, int>> pairs;
  for (int a = 0; a < matrix.ngroups; ++a)
    for (int b = a + 1; b < matrix.ngroups; ++b)
      if (matrix.at(a, b) > 0) pairs.emplace_back(a, b);
  if (pairs.empty()) return "<p class=\"note\">No net is cut.</p>\n";

  const std::size_t nlisted = std::min(pairs.size(), kMostListed);
  std::partial_sort(pairs.begin(), pairs.begin() + static_cast<std::ptrdiff_t>(nlisted), pairs.end(),
                    [&matrix](const auto& p, const auto& q) {
                      const std::int64_t more = matrix.at(p.first, p.second) - matrix.at(q.first, q.second);
                      return more != 0 ? more > 0 : p < q;
                    });
  std::vector<Row> rows;
  rows.reserve(nlisted);
  for (std::size_t k = 0; k < nlisted; ++k)
    rows.push_back({parts_of_group(matrix, pairs[k].first), parts_of_group(matrix, pairs[k].second),
                    grouped(matrix.at(pairs[k].first, pairs[k].second))});
  return table("Heaviest connections", {"part", "and part", "weight"}, rows);
}

std::string between_parts(const measures::CutMatrix& matrix) {
  std::string html = "<h3>Between parts</h3>\n";
  if (matrix.ngroups <= kMostPartsInFull)
    return html + matrix_table(matrix) +
           "<p class=\"note\">Weight of the nets that have pins in both parts; in grey, of those with all "
           "their "
           "pins in one.</p>\n";
  const Caption caption{"between", "Between parts",
                        "Parts against parts; the table has the pairs with most weight between them."};
  html += "<div class=\"columns\">\n<figure>\n" + cut_picture(matrix, caption) + "</figure>\n<div>" +
          heaviest_pairs(matrix) +
          "</div>\n</div>\n<p class=\"note\">Weight of the nets that have pins in both, by its logarithm";
  return html + (matrix.ngroups < matrix.nparts ? ", for groups of parts.</p>\n" : ".</p>\n");
}

std::string partition_section(const Hypergraph& h, const measures::Partition& partition) {
  const measures::PartSizes sizes = measures::part_sizes(h, partition);
  const measures::CutSizes cut = measures::cut_sizes(h, partition);
  return "<section>\n<h2>Partition</h2>\n" + cut_tiles(sizes, cut, h._n) + balance(sizes) +
         between_parts(measures::cut_matrix(h, partition, kMostGroups)) + "</section>\n";
}

std::string head_of_page(const std::string& name) {
  // Nothing may come from elsewhere, and nothing may run.
  return "<!DOCTYPE html>\n<html lang=\"en\" xmlns=\"http://www.w3.org/1999/xhtml\">\n<head>\n"
         "<meta charset=\"utf-8\" />\n"
         "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
         "style-src 'unsafe-inline'; img-src data:\" />\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\" />\n"
         "<meta name=\"color-scheme\" content=\"light dark\" />\n"
         "<link rel=\"icon\" href=\"data:,\" />\n<title>" +
         escaped(name) + "</title>\n<style>" + kPageStyle + "</style>\n</head>\n";
}

}  // namespace

std::string html_page(const std::string& name, const Hypergraph& h,
                      const std::optional<measures::Partition>& partition,
                      const std::string& partition_name) {
  const measures::Figures figures = measures::figures_of(h);
  std::string about = grouped_count(figures.ncells, "cell") + ", " + grouped_count(figures.nnets, "net") +
                      ", " + grouped_count(figures.npins, "pin");
  if (partition) about += "; partition " + escaped(partition_name);
  return head_of_page(name) + "<body>\n<header>\n" + element("h1", escaped(name)) +
         element("p", "Hypergraph of " + about) + "</header>\n<main>\n" + overview(figures) +
         (partition ? partition_section(h, *partition) : "") + distributions(figures) + weights(figures, h) +
         sparsity(figures, h) + largest(h, partition) +
         "</main>\n<footer>Made by quillon report. Cells and nets count from 1, parts from 0.</footer>\n"
         "</body>\n</html>\n";
}

}  // namespace quillon::tool
