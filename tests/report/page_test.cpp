#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/five_cells.h"
#include "tests/support/records.h"
#include "tools/report/charts.h"
#include "tools/report/html_report.h"
#include "tools/report/model.h"

namespace quillon::tool {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

// Nets 2 and 3 are cut by parts 0, 2, 0, 2, 0.
const measures::Partition kThreeParts{{-7, 0, 2, 0, 2, 0}, 3};

std::string page_of(const Record& r) { return html_page(page_model("title", r.h, {}, {})); }

std::string page_of(const Record& r, const measures::Partition& partition) {
  const NamedPartition named{"parts", partition};
  return html_page(page_model("title", r.h, {&named, 1}, {}));
}

std::string datum(const std::string& id, const std::string& value, const std::string& shown) {
  return "<data id=\"" + id + "\" value=\"" + value + "\">" + shown + "</data>";
}

std::size_t count(const std::string& text, const std::string& part) {
  std::size_t n = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
  return n;
}

TEST(PartitionModel, HasTheNumbersOfAPartition) {
  const PartitionModel model = partition_model("h.qhg", "h.part", five_cells().h, kThreeParts);

  EXPECT_EQ(model.hypergraph, "h.qhg");
  EXPECT_EQ(model.part_file, "h.part");
  EXPECT_EQ(model.ncells, 5);
  EXPECT_EQ(model.nnets, 4);
  EXPECT_EQ(model.npins, 9);
  EXPECT_THAT(model.sizes.ncells, ElementsAre(3, 0, 2));
  EXPECT_THAT(model.sizes.weights, ElementsAre(6, 0, 2));
  EXPECT_EQ(model.cut.cut, 9);
  EXPECT_EQ(model.imbalance, 1.25);
}

TEST(PageModel, ListsTheLargestWithTheirParts) {
  const std::vector<NamedPartition> partitions{{"p", kThreeParts}, {"q", {{-7, 0, 0, 0, 1, 0}, 2}}};
  const PageModel model = page_model("t", five_cells().h, partitions, {});

  ASSERT_EQ(model.largest_nets.size(), 4U);
  EXPECT_EQ(model.largest_nets[0].number, 3);
  EXPECT_EQ(model.largest_nets[0].size, 4);
  EXPECT_EQ(model.largest_nets[0].weight, 7);
  EXPECT_THAT(model.largest_nets[0].connectivities, ElementsAre(2, 2));
  EXPECT_THAT(model.largest_nets[3].connectivities, ElementsAre(0, 0));
  ASSERT_EQ(model.busiest_cells.size(), 5U);
  EXPECT_EQ(model.busiest_cells[1].number, 2);
  EXPECT_THAT(model.busiest_cells[1].parts, ElementsAre(2, 0));
  EXPECT_EQ(model.partitions[0].between.ngroups, 3);

  EXPECT_THAT(page_model("t", five_cells().h, {}, {}).partitions, IsEmpty());
}

TEST(HtmlPage, ShowsTheNumbersOfTheHypergraph) {
  EXPECT_THAT(page_of(five_cells()),
              AllOf(StartsWith("<!DOCTYPE html>\n<html lang=\"en\""), EndsWith("</body>\n</html>\n"),
                    HasSubstr("default-src 'none'"), HasSubstr("<style>\n:root {"),
                    HasSubstr("\n}\n</style>\n"), HasSubstr("<p>Hypergraph of 5 cells, 4 nets, 9 pins</p>"),
                    HasSubstr("<div><dt>Cells</dt><dd>" + datum("cells", "5", "5") + "</dd></div>\n"),
                    HasSubstr(datum("average-degree", "1.8", "1.800")),
                    HasSubstr("<div><dt>Density</dt><dd>45 %</dd></div>\n"), Not(HasSubstr("Partition"))));
}

TEST(HtmlPage, ShowsTheNumbersOfThePartition) {
  EXPECT_THAT(
      page_of(five_cells(), kThreeParts),
      AllOf(HasSubstr("9 pins; partition parts</p>"),
            HasSubstr("<dd>" + datum("cut-nets", "2", "2") + " <small>50 % of all</small></dd>"),
            HasSubstr(datum("external-degrees", "18", "18")), HasSubstr(datum("imbalance", "1.25", "125 %")),
            HasSubstr("<tr><th scope=\"row\">0</th><td class=\"within\">14</td>"
                      "<td style=\"--a:0.000\">0</td><td style=\"--a:0.450\">9</td></tr>\n"),
            HasSubstr("<tr><th scope=\"row\">2</th><td>2</td><td>2</td><td>25 %</td></tr>\n")));
}

TEST(HtmlPage, ShowsSeveralPartitionsSideBySide) {
  const std::vector<NamedPartition> partitions{{"p", kThreeParts}, {"q", {{-7, 0, 0, 0, 1, 0}, 2}}};
  const std::string page = html_page(page_model("t", five_cells().h, partitions, {}));

  EXPECT_THAT(
      page,
      AllOf(HasSubstr("9 pins; partitions p, q</p>"), HasSubstr("<h2>Partitions</h2>"),
            HasSubstr("<th scope=\"col\">p</th><th scope=\"col\">q</th>"),
            HasSubstr("<tr><th scope=\"row\">cut nets</th><td>2</td><td class=\"best\">1</td></tr>\n"),
            HasSubstr("<tr><th scope=\"row\">lightest part</th><td>0</td><td class=\"best\">1</td></tr>\n"),
            HasSubstr("<h2>Partition p</h2>"), HasSubstr("<h2>Partition q</h2>"),
            HasSubstr("<th scope=\"col\">parts, p</th><th scope=\"col\">parts, q</th>")));
  for (const char* const id : {"balance-title", "balance-2-title", "cut-matrix", "cut-matrix-2"})
    EXPECT_EQ(count(page, std::string(" id=\"") + id + "\""), 1U) << id;
}

TEST(HtmlPage, ShowsVolumesAndTheNetsThatCostMost) {
  const formats::Labels labels{{}, {"", "clock", "data", "reset", "unused"}};
  const NamedPartition named{"p", kThreeParts};

  // Nets 1, {1, 3, 5}, and 2, {1, 2}, with the parts 0, 0, 0 and 0, 2; net 3, {2, 3, 4, 5}, belongs to
  // part 2.
  EXPECT_THAT(
      html_page(page_model("t", five_cells().h, {&named, 1}, labels)),
      AllOf(
          HasSubstr("<tr><th scope=\"row\">0</th><td>3</td><td>1</td><td>2</td><td>7</td></tr>\n"),
          HasSubstr("<tr><th scope=\"row\">2</th><td>2</td><td>0</td><td>7</td><td>2</td></tr>\n"),
          HasSubstr("<tr><th scope=\"row\">3</th><td class=\"name\">reset</td><td>4</td><td>7</td><td>2</td>"
                    "<td>7</td></tr>\n")));
}

TEST(HtmlPage, ShowsTheFirstFindingOfEachRule) {
  PageModel model = page_model("t", five_cells().h, {}, {});
  EXPECT_THAT(html_page(model), Not(HasSubstr("Findings")));

  model.lint.emplace();
  EXPECT_THAT(html_page(model), HasSubstr("<p class=\"note\">Lint finds nothing wrong"));

  model.lint->counts = {{formats::rule_named("duplicate-pin"), 1234},
                        {formats::rule_named("isolated-cell"), 1}};
  model.lint->findings = {
      {"duplicate-pin", formats::Severity::kWarning, "f", 7, 2, "cell <3> is named twice", ""},
      {"isolated-cell", formats::Severity::kNote, "f", 0, 0, "cell 4 is on no net", ""}};
  EXPECT_THAT(
      html_page(model),
      AllOf(HasSubstr("<tr><th scope=\"row\">duplicate-pin</th><td>warning</td><td>1,234</td><td>7:2</td>"
                      "<td class=\"name\">cell &lt;3&gt; is named twice</td></tr>\n"),
            HasSubstr("<tr><th scope=\"row\">isolated-cell</th><td>note</td><td>1</td><td>\u2013</td>"
                      "<td class=\"name\">cell 4 is on no net</td></tr>\n")));
}

TEST(HtmlPage, LeavesNoTagOfTheTemplateAndNoEmptyLine) {
  std::vector<int> parts{0, 0, 1, 2, 3, 4};
  for (const int nparts : {5, 12, 13, 16, 17, 2000}) {
    parts.back() = nparts - 1;
    const std::string page = page_of(five_cells(), {parts, nparts});
    EXPECT_THAT(page, AllOf(Not(HasSubstr("{{")), Not(HasSubstr("}}")), Not(HasSubstr("\n\n")))) << nparts;
    EXPECT_EQ(count(page, "<table"), count(page, "</table>")) << nparts;
    EXPECT_EQ(count(page, "<div"), count(page, "</div>")) << nparts;
  }
}

TEST(HtmlPage, EscapesNamesAndDoesNotRenderThemAsTemplates) {
  const std::string name = "<b>&'\"{{title}}{{{style}}}\xFF";
  const std::string shown = "&lt;b&gt;&amp;&#39;&quot;{{title}}{{{style}}}\uFFFD";
  const NamedPartition named{name, kThreeParts};
  const formats::Labels labels{std::vector<std::string>(6, name), std::vector<std::string>(5, name)};

  EXPECT_THAT(html_page(page_model(name, five_cells().h, {&named, 1}, labels)),
              AllOf(HasSubstr("<title>" + shown + "</title>"), HasSubstr("<h1>" + shown + "</h1>"),
                    HasSubstr("; partition " + shown + "</p>"),
                    HasSubstr("<td class=\"name\">" + shown + "</td>"), Not(HasSubstr("<b>"))));
}

TEST(HtmlPage, ShowsSevenDigitsRoundedAndExactly) {
  const Record r({2, {{1, 2}}, {16000000}});

  EXPECT_THAT(
      page_of(r, {{0, 0, 1}, 2}),
      HasSubstr("<dt>Cut</dt><dd>16.0 M <small>" + datum("cut", "16000000", "16,000,000") + "</small></dd>"));
}

TEST(HtmlPage, HasDashesWithoutItems) {
  const std::string page = page_of(Record({0, {}}), {{0}, 1});

  EXPECT_THAT(page, AllOf(HasSubstr("<p class=\"note\">There are no cells.</p></figure>\n"),
                          HasSubstr("<p class=\"note\">There are no pins.</p>\n"),
                          HasSubstr("<div><p class=\"note\">There are no nets.</p>\n</div>\n"),
                          HasSubstr("<dt>Density</dt><dd>\u2013</dd>"),
                          HasSubstr("<tr><th scope=\"row\">cells</th><td>\u2013</td><td>\u2013</td>"),
                          Not(HasSubstr("nan")), Not(HasSubstr("inf<")), Not(HasSubstr("{{"))));
}

TEST(HtmlPage, HasNoChartForEqualOrNegativeWeights) {
  EXPECT_THAT(page_of(Record({2, {{1}, {2}}, {4, 4}, {1, 2}})),
              AllOf(HasSubstr("Weights of the cells"), Not(HasSubstr("Weights of the nets"))));
  EXPECT_THAT(page_of(Record({2, {{1}, {2}}, {-4, 4}, {1, 1}})),
              AllOf(Not(HasSubstr("Weights of the cells")), Not(HasSubstr("Weights of the nets")),
                    HasSubstr("<h2>Weights</h2>\n<div class=\"scroll\"")));
}

TEST(HtmlPage, GroupsPartsWhereThereAreMany) {
  measures::Partition partition{{0}, 3000};
  for (int i = 0; i < 3000; ++i) partition.parts.push_back(i);
  const Record r({3000, {{1, 2}, {1, 3000}}});

  EXPECT_THAT(
      page_of(r, partition),
      AllOf(HasSubstr("The first 1,000 of 3,000 parts."), HasSubstr(", for groups of parts.</p>"),
            HasSubstr("<tr><th scope=\"row\">0\u201311</th><td>2,989\u20132,999</td><td>1</td></tr>")));
}

TEST(DistributionChart, DrawsABarForEachBinUpToItsCount) {
  EXPECT_THAT(
      distribution_chart({{0, 0, 3}, {1, 1, 10}, {2, 9, 1000}}, "degree", "cells", {"id", "T<", "D&"}),
      AllOf(StartsWith("<svg viewBox=\"0 0 400 260\" role=\"img\" aria-labelledby=\"id-title id-desc\">\n"
                       "<title id=\"id-title\">T&lt;</title>\n<desc id=\"id-desc\">D&amp;</desc>\n"),
            HasSubstr("<title>degree 0: 3 cells</title>"), HasSubstr("<title>degree 1: 10 cells</title>"),
            HasSubstr("<title>degree 2 to 9: 1,000 cells</title>"), HasSubstr(">1,000</text>"),
            EndsWith("</svg>\n")));
}

TEST(PartsChart, SharesBarsBeyond330Parts) {
  const Caption caption{"id", "T", "D"};
  const std::string all = parts_chart(std::vector<std::int64_t>(330, 7), caption);
  EXPECT_EQ(count(all, "class=\"bar\""), 330U);
  EXPECT_THAT(all, HasSubstr("<title>part 329: weight 7</title>"));

  std::vector<std::int64_t> weights(660, 1);
  weights[659] = 5;
  const std::string halved = parts_chart(weights, caption);
  EXPECT_EQ(count(halved, "class=\"bar\""), 330U);
  EXPECT_THAT(halved, HasSubstr("<title>parts 658 to 659, at most: weight 5</title>"));
}

TEST(DensityPicture, HasALegendOfTheExtremes) {
  DensityGrid grid{2, 1, {1, 4}, {0.25, 1}, 0.25, 1};
  EXPECT_THAT(density_picture(grid, 2, 1, {"id", "T", "D"}),
              AllOf(HasSubstr("data:image/png;base64,"), HasSubstr(">25 %</text>"),
                    HasSubstr(">100 %</text>"), HasSubstr("id-shades")));

  grid.densities = {0.25, 0.25};
  grid.largest = 0.25;
  EXPECT_THAT(density_picture(grid, 2, 1, {"id", "T", "D"}),
              AllOf(HasSubstr("class=\"swatch\""), Not(HasSubstr("id-shades"))));

  EXPECT_THAT(density_picture({}, 0, 0, {"id", "T", "D"}),
              AllOf(HasSubstr(">no pins</text>"), Not(HasSubstr("<image"))));
}

TEST(CutPicture, LeavesOutWhatIsNotCut) {
  EXPECT_THAT(cut_picture({2, 2, {9, 0, 0, 9}}, {"id", "T", "D"}), Not(HasSubstr("<image")));
  EXPECT_THAT(cut_picture({2, 2, {9, 3, 3, 9}}, {"id", "T", "D"}),
              AllOf(HasSubstr("<image"), HasSubstr("class=\"swatch\""), HasSubstr(">3</text>")));
}

TEST(PartsChart, HasNoGapsBetweenNarrowBars) {
  const std::string narrow = parts_chart(std::vector<std::int64_t>(330, 7), {"id", "title", "description"});
  // The first bars begin at 56 and 56 + 332 / 330; each is a little wider than their distance.
  EXPECT_THAT(narrow, HasSubstr("x=\"55.50\""));
  EXPECT_THAT(narrow, HasSubstr("width=\"2.01\""));
}

TEST(DistributionChart, HasOneUnitOnAnAxis) {
  const std::string large = distribution_chart({{1, 1, 300000}, {50000, 200000, 5}}, "weight", "nets",
                                               {"id", "title", "description"});
  EXPECT_THAT(large, HasSubstr(">100 k</text>"));
  EXPECT_THAT(large, HasSubstr(">10 k</text>"));
  EXPECT_THAT(large, Not(HasSubstr(">10,000</text>")));
  const std::string small =
      distribution_chart({{1, 1, 300}, {5000, 20000, 5}}, "weight", "nets", {"id", "title", "description"});
  EXPECT_THAT(small, HasSubstr(">10,000</text>"));
}

}  // namespace
}  // namespace quillon::tool
