#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "formats/formats.h"
#include "formats/readers.h"
#include "formats/writers.h"
#include "hypergraph/hypergraph.h"
#include "tests/support/records.h"
#include "tests/support/temp_file.h"

namespace quillon::tool {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Texts = std::vector<std::string>;
using Import = std::function<void(Tokenizer&, Arrays&)>;

Arrays imported(const Import& import, const std::string& text) {
  Tokenizer in("in", text);
  Arrays arrays;
  import(in, arrays);
  return arrays;
}

struct Expected {
  int ncells = 0;
  Lists pins = {};
  std::vector<int> net_weights = {};  // with entry 0, or empty
  std::vector<int> cell_weights = {};
  Texts remarks = {};
  Texts losses = {};
  std::vector<int> diagonal = {};
  Texts cell_names = {};
  Texts net_names = {};
};

void expect_arrays(const Arrays& arrays, const Expected& expected) {
  std::vector<int> xnadj{0, 0};
  std::vector<int> nadj;
  for (const std::vector<int>& pins : expected.pins) {
    nadj.insert(nadj.end(), pins.begin(), pins.end());
    xnadj.push_back(static_cast<int>(nadj.size()));
  }
  EXPECT_EQ(arrays.ncells, expected.ncells);
  EXPECT_EQ(arrays.nnets, std::ssize(expected.pins));
  EXPECT_EQ(arrays.xnadj, xnadj);
  EXPECT_EQ(arrays.nadj, nadj);
  EXPECT_EQ(arrays.net_weights, expected.net_weights);
  EXPECT_EQ(arrays.cell_weights, expected.cell_weights);
  EXPECT_EQ(arrays.diagonal, expected.diagonal);
  EXPECT_EQ(arrays.remarks, expected.remarks);
  EXPECT_EQ(arrays.losses, expected.losses);
  EXPECT_EQ(arrays.cell_names, expected.cell_names);
  EXPECT_EQ(arrays.net_names, expected.net_names);
}

void expect_import(const Import& import, const std::string& text, const Expected& expected) {
  SCOPED_TRACE(text);
  expect_arrays(imported(import, text), expected);
}

TEST(ImportHmetis, FillsTheArraysFrom1) {
  const Arrays arrays = imported(import_hmetis, "3 4 11\n5 4 1\n6\n7 2\n8\n9\n0\n2147483647\n");

  EXPECT_EQ(arrays.ncells, 4);
  EXPECT_EQ(arrays.nnets, 3);
  EXPECT_THAT(arrays.xnadj, ElementsAre(0, 0, 2, 2, 3));
  EXPECT_THAT(arrays.nadj, ElementsAre(4, 1, 2));
  EXPECT_THAT(arrays.net_weights, ElementsAre(0, 5, 6, 7));
  EXPECT_THAT(arrays.cell_weights, ElementsAre(0, 8, 9, 0, 2147483647));
}

TEST(ImportHmetis, TakesWeightsByTheFormat) {
  const std::string data = "\n1 2\n3\n";
  const std::string weighted = "\n5 1 2\n0 3\n";
  const Lists pins{{1, 2}, {3}};
  for (const char* const fmt : {"2 3", "2 3 0", "2 3 00"})
    expect_import(import_hmetis, fmt + data, {.ncells = 3, .pins = pins});
  for (const char* const fmt : {"2 3 1", "2 3 01"})
    expect_import(import_hmetis, fmt + weighted, {.ncells = 3, .pins = pins, .net_weights = {0, 5, 0}});
  expect_import(import_hmetis, "2 3 10" + data + "7\n8\n9\n",
                {.ncells = 3, .pins = pins, .cell_weights = {0, 7, 8, 9}});
  expect_import(import_hmetis, "2 3 11" + weighted + "7\n8\n9\n",
                {.ncells = 3, .pins = pins, .net_weights = {0, 5, 0}, .cell_weights = {0, 7, 8, 9}});
}

TEST(ImportHmetis, TakesCommentsBlanksAndLineEndsAsTheyCome) {
  const Expected expected{.ncells = 3, .pins = {{1, 2}, {3}}, .net_weights = {0, 5, 6}};
  for (const char* const text :
       {"2 3 1\n5 1 2\n6 3", "% 9\n%\n2 3 1\n%9\n5 1 2\n% 9\n6 3\n% 9", "2\t3  1 \t\n\t5  1\t\t2 \n6 3\n",
        "2 3 1\r\n5 1 2\r\n6 3\r\n", "2 3 1\n5 1 2\n6 3\n\n \n% 9\n\r\n\n"})
    expect_import(import_hmetis, text, expected);
}

TEST(ImportHmetis, TakesABlankLineForANetWithoutPinsAndKeepsRepeatedPins) {
  expect_import(import_hmetis, "4 3\n\n3 1 3\n \t\r\n\n", {.ncells = 3, .pins = {{}, {3, 1, 3}, {}, {}}});
  expect_import(import_hmetis, "1 3\n\n\n\n", {.ncells = 3, .pins = {{}}});
  expect_import(import_hmetis, "0 0\n", {});
  expect_import(import_hmetis, "0 2 11\n4\n5", {.ncells = 2, .net_weights = {0}, .cell_weights = {0, 4, 5}});
}

TEST(ImportHmetis, RemarksOnWhatMayBeAGraph) {
  const std::string remark =
      "line j names i whenever line i names j, as in a METIS graph; --from metis reads it as one";
  expect_import(import_hmetis, "3 3\n2 3\n1 3\n1 2\n",
                {.ncells = 3, .pins = {{2, 3}, {1, 3}, {1, 2}}, .remarks = {remark}});
  expect_import(import_hmetis, "4 4\n2 4\n1 3\n2 4\n3 1\n",
                {.ncells = 4, .pins = {{2, 4}, {1, 3}, {2, 4}, {3, 1}}, .remarks = {remark}});

  // One not mirrored, one with a cell on the net of its number, two with pins that are not 2 a cell.
  expect_import(import_hmetis, "3 2\n2\n1\n1 2\n", {.ncells = 2, .pins = {{2}, {1}, {1, 2}}});
  expect_import(import_hmetis, "2 2\n1 2\n1 2\n", {.ncells = 2, .pins = {{1, 2}, {1, 2}}});
  expect_import(import_hmetis, "4 3\n2\n1 3\n2\n\n", {.ncells = 3, .pins = {{2}, {1, 3}, {2}, {}}});
  expect_import(import_hmetis, "2 0\n\n\n", {.pins = {{}, {}}});
}

TEST(ImportQuillon, CountsCellsFromTheNumberOfTheHeader) {
  const Expected expected{.ncells = 3, .pins = {{3, 1}, {2}}};
  expect_import(import_quillon, "1 3 2 3\n3 1\n2\n", expected);
  expect_import(import_quillon, "0 3 2 3\n2 0\n1\n", expected);
}

TEST(ImportQuillon, TakesWeightsByTheFormat) {
  const Lists pins{{3, 1}, {2}};
  const std::string weighted = "\n-7 3 1\n2147483647 2\n";
  const std::vector<int> net_weights{0, -7, 2147483647};
  const std::vector<int> cell_weights{0, 4, -2147483648, 0};
  expect_import(import_quillon, "1 3 2 3 0\n3 1\n2\n4 5 6\n", {.ncells = 3, .pins = pins});
  expect_import(import_quillon, "1 3 2 3 1\n3 1\n2\n4 -2147483648 0\n",
                {.ncells = 3, .pins = pins, .cell_weights = cell_weights});
  expect_import(import_quillon, "1 3 2 3 2" + weighted,
                {.ncells = 3, .pins = pins, .net_weights = net_weights});
  expect_import(import_quillon, "1 3 2 3 3" + weighted + "4\n-2147483648\n0",
                {.ncells = 3, .pins = pins, .net_weights = net_weights, .cell_weights = cell_weights});
}

TEST(ImportQuillon, TakesTheFirstOfTheWeightsOfEachCell) {
  expect_import(import_quillon, "1 2 1 1 1 2\n1\n4 5 6\n7\n8\n",
                {.ncells = 2, .pins = {{1}}, .cell_weights = {0, 4, 6}});
  expect_import(import_quillon, "1 2 1 1 3 3\n9 1\n4 2147483648 5\n6\n",
                {.ncells = 2, .pins = {{1}}, .net_weights = {0, 9}, .cell_weights = {0, 4, 6}});
}

TEST(ImportQuillon, TakesCellWeightsThatAreMissingFor1) {
  const std::string head = "1 3 1 1 1\n1\n";
  const Lists pins{{1}};
  expect_import(import_quillon, head + "4 5",
                {.ncells = 3,
                 .pins = pins,
                 .cell_weights = {0, 4, 5, 1},
                 .remarks = {"the file ends before 1 cell weight, taken as 1"}});
  expect_import(import_quillon, head,
                {.ncells = 3,
                 .pins = pins,
                 .cell_weights = {0, 1, 1, 1},
                 .remarks = {"the file ends before 3 cell weights, taken as 1"}});
}

TEST(ImportQuillon, LeavesWhatStandsBehindNumbersAndDataAlone) {
  expect_import(import_quillon, "1 3 2 3 x 1\n3 1 and 2\n2x 1\n", {.ncells = 3, .pins = {{3, 1}, {2}}});
  expect_import(import_quillon, "1 3 2 3\n3 1\n2\n9 9 9\nand so on", {.ncells = 3, .pins = {{3, 1}, {2}}});
  expect_import(import_quillon,
                "1 2 1 1 1\n1\n% ------ Cell weights -------\n4 5 \n"
                "% ------ Hypergraph info -------\n #Cells           :       2\n 9 9",
                {.ncells = 2, .pins = {{1}}, .cell_weights = {0, 4, 5}});
}

TEST(ImportQuillon, TakesCommentsBlanksAndLineEndsAsTheyCome) {
  const Expected expected{.ncells = 3, .pins = {{3, 1}, {}, {2}}, .cell_weights = {0, 4, 5, 6}};
  for (const char* const text :
       {"1 3 3 3 1\n3 1\n\n2\n4 5 6", "% 9\n1 3 3 3 1\n% 9\n3 1\n\n% 9\n2\n%9\n4\n% 9\n\n5\n6\n%",
        "1\t3  3 3\t1\r\n\t3\t1 \r\n\r\n2\r\n4\r\n5\r\n6\r\n", "+1 3 3 +3 1\n+3 1\n\n2\n+4 5 6\n"})
    expect_import(import_quillon, text, expected);
  expect_import(import_quillon, "1 0 0 0\n", {});
  expect_import(import_quillon, "0 0 0 0 3", {.net_weights = {0}, .cell_weights = {0}});
}

TEST(ImportKub, CountsCellsFrom0) {
  const Expected expected{
      .ncells = 3, .pins = {{3, 1, 3}, {}}, .net_weights = {0, 5, 2147483647}, .cell_weights = {0, 7, 0, 9}};
  for (const char* const text : {"3\n2\n5 3 2 0 2\n2147483647 0\n7\n0\n9",
                                 " 3\t\r\n2\r\n5\t3 2  0 2 \r\n2147483647 0\r\n7\r\n0\r\n9\r\n\r\n \n"})
    expect_import(import_kub, text, expected);
  expect_import(import_kub, "0\n0", {.net_weights = {0}, .cell_weights = {0}});
}

TEST(ImportMetis, MakesEachEdgeANetWhereTheLineOfItsSmallerEndNamesIt) {
  expect_import(import_metis, "4 4\n4 2 3\n1\n4 1\n3 1\n",
                {.ncells = 4, .pins = {{1, 4}, {1, 2}, {1, 3}, {3, 4}}});
  expect_import(import_metis, "3 2 001\n3 5 2 6\n1 6\n1 5",
                {.ncells = 3, .pins = {{1, 3}, {1, 2}}, .net_weights = {0, 5, 6}});
}

TEST(ImportMetis, TakesWeightsByTheFormat) {
  const Lists pins{{1, 2}};
  const std::vector<int> net_weights{0, 5};
  const std::vector<int> cell_weights{0, 7, 8};
  for (const char* const fmt : {"2 1", "2 1 0", "2 1 00", "2 1 000"})
    expect_import(import_metis, fmt + std::string("\n2\n1\n"), {.ncells = 2, .pins = pins});
  for (const char* const fmt : {"2 1 1", "2 1 01", "2 1 001"})
    expect_import(import_metis, fmt + std::string("\n2 5\n1 5\n"),
                  {.ncells = 2, .pins = pins, .net_weights = net_weights});
  for (const char* const fmt : {"2 1 10", "2 1 010", "2 1 010 1"})
    expect_import(import_metis, fmt + std::string("\n7 2\n8 1\n"),
                  {.ncells = 2, .pins = pins, .cell_weights = cell_weights});
  for (const char* const fmt : {"2 1 11", "2 1 011"})
    expect_import(import_metis, fmt + std::string("\n7 2 5\n8 1 5\n"),
                  {.ncells = 2, .pins = pins, .net_weights = net_weights, .cell_weights = cell_weights});
}

TEST(ImportMetis, CountsSizesAndFurtherWeightsAsLost) {
  const Lists pins{{1, 2}};
  const std::string sizes = "the sizes of 2 vertices";
  expect_import(import_metis, "2 1 101\n4 2 5\n3 1 5\n",
                {.ncells = 2, .pins = pins, .net_weights = {0, 5}, .losses = {sizes}});
  expect_import(import_metis, "2 1 110\n4 7 2\n3 8 1\n",
                {.ncells = 2, .pins = pins, .cell_weights = {0, 7, 8}, .losses = {sizes}});
  expect_import(
      import_metis, "2 1 111\n4 7 2 5\n3 8 1 5\n",
      {.ncells = 2, .pins = pins, .net_weights = {0, 5}, .cell_weights = {0, 7, 8}, .losses = {sizes}});
  expect_import(import_metis, "2 1 111 3\n4 7 0 9 2 5\n3 8 0 9 1 5\n",
                {.ncells = 2,
                 .pins = pins,
                 .net_weights = {0, 5},
                 .cell_weights = {0, 7, 8},
                 .losses = {sizes, "all but the first of 3 weights of each vertex"}});
  expect_import(import_metis, "1 0 110\n4 7\n",
                {.ncells = 1, .cell_weights = {0, 7}, .losses = {"the sizes of 1 vertex"}});
}

TEST(ImportMetis, TakesCommentsBlanksAndLineEndsAsTheyCome) {
  const Expected expected{.ncells = 3, .pins = {{1, 3}}};
  for (const char* const text :
       {"3 1\n3\n\n1", "% 9\n3 1\n%9\n3\n% 9\n\n1\n% 9", "3\t1 \r\n 3\t\r\n\r\n1\r\n\r\n% 9\r\n \n"})
    expect_import(import_metis, text, expected);
  expect_import(import_metis, "0 0\n", {});
}

Import matrix(Model model, bool add_diagonal = false) {
  return [=](Tokenizer& in, Arrays& arrays) { import_matrix_market(in, arrays, model, add_diagonal); };
}

const Import kByRow = matrix(Model::kRowNet);

std::string banner(const std::string& kind) { return "%%MatrixMarket matrix coordinate " + kind + "\n"; }

TEST(ImportMatrixMarket, MakesAHypergraphByTheModel) {
  const std::string text = banner("pattern general") + "2 3 3\n2 3\n1 1\n2 1\n";
  expect_import(kByRow, text, {.ncells = 3, .pins = {{1}, {3, 1}}});
  expect_import(matrix(Model::kColumnNet), text, {.ncells = 2, .pins = {{1, 2}, {}, {2}}});
  expect_import(matrix(Model::kFineGrain), text, {.ncells = 3, .pins = {{2}, {1, 3}, {2, 3}, {}, {1}}});
}

TEST(ImportMatrixMarket, TakesTheValuesOfEveryField) {
  const Expected expected{.ncells = 2, .pins = {{2}, {}, {1}}};
  expect_import(kByRow, banner("pattern general") + "3 2 2\n1 2\n3 1\n", expected);
  expect_import(kByRow, banner("integer general") + "3 2 2\n1 2 -5\n3 1 +7\n", expected);
  expect_import(kByRow, banner("real general") + "3 2 2\n1 2 -1.5e-3\n3 1 1e999\n", expected);
  expect_import(kByRow, banner("complex general") + "3 2 2\n1 2 +.5 0\n3 1 1E5 -2.\n", expected);
}

TEST(ImportMatrixMarket, MirrorsOneTriangle) {
  // The entries are (1,1), (2,1) and (1,2), (3,2) and (2,3).
  for (const char* const kind : {"pattern symmetric", "pattern hermitian"}) {
    const std::string text = banner(kind) + "3 3 3\n1 1\n2 1\n3 2\n";
    expect_import(kByRow, text, {.ncells = 3, .pins = {{1, 2}, {1, 3}, {2}}});
    expect_import(matrix(Model::kColumnNet), text, {.ncells = 3, .pins = {{1, 2}, {1, 3}, {2}}});
    expect_import(matrix(Model::kFineGrain), text,
                  {.ncells = 5, .pins = {{1, 3}, {2, 5}, {4}, {1, 2}, {3, 4}, {5}}});
  }
  const std::string skew = banner("real skew-symmetric") + "3 3 2\n2 1 5\n3 2 6\n";
  expect_import(kByRow, skew, {.ncells = 3, .pins = {{2}, {1, 3}, {2}}});
}

TEST(ImportMatrixMarket, TakesTheFirstLineInAnyCase) {
  for (const char* const line : {"%%MATRIXMARKET MATRIX COORDINATE PATTERN GENERAL\n",
                                 "%%matrixmarket matrix coordinate pattern general\n",
                                 "%%MatrixMarket\tMatrix  Coordinate Pattern General \r\n"})
    expect_import(kByRow, line + std::string("1 2 1\n1 2\n"), {.ncells = 2, .pins = {{2}}});
}

TEST(ImportMatrixMarket, TakesCommentsBlanksAndLineEndsAsTheyCome) {
  expect_import(kByRow, banner("pattern general") + "% 9\n\n%\n \t\n 2  2\t2\r\n\r\n1 1\n\n \n\t2 2\n\n\r\n",
                {.ncells = 2, .pins = {{1}, {2}}});
  expect_import(kByRow, banner("pattern general") + "2 2 1\n2 1", {.ncells = 2, .pins = {{}, {1}}});
  expect_import(kByRow, banner("pattern general") + "0 0 0", {});
}

TEST(ImportMatrixMarket, CountsAndDropsRepeatedEntries) {
  const std::string head = banner("pattern general");
  expect_import(kByRow, head + "2 2 4\n1 2\n1 1\n1 2\n1 2\n",
                {.ncells = 2, .pins = {{2, 1}, {}}, .remarks = {"2 repetitions of entries dropped"}});
  expect_import(
      matrix(Model::kFineGrain), head + "2 2 3\n1 2\n1 1\n1 2\n",
      {.ncells = 2, .pins = {{1, 2}, {}, {2}, {1}}, .remarks = {"1 repetition of entries dropped"}});
  // Of one triangle the other is no news.
  expect_import(kByRow, banner("pattern symmetric") + "2 2 3\n2 2\n2 1\n1 2\n",
                {.ncells = 2, .pins = {{2}, {2, 1}}, .remarks = {"1 repetition of entries dropped"}});
}

TEST(ImportMatrixMarket, MarksOrAddsTheDiagonal) {
  const std::string text = banner("pattern general") + "3 3 2\n2 3\n1 1\n";
  for (const Model model : {Model::kRowNet, Model::kColumnNet}) {
    const Lists pins = model == Model::kRowNet ? Lists{{1}, {3}, {}} : Lists{{1}, {}, {2}};
    expect_import(matrix(model, true), text, {.ncells = 3, .pins = pins, .diagonal = {0, 1, 0, 0}});
  }
  // The entries are (2,3), (1,1), and then (2,2) and (3,3).
  expect_import(matrix(Model::kFineGrain, true), text,
                {.ncells = 4, .pins = {{2}, {1, 3}, {4}, {2}, {3}, {1, 4}}});
}

void import_json(Tokenizer& in, Arrays& arrays) { import_hif(in, arrays); }

TEST(ImportHif, NumbersWhatIsListedBeforeWhatIncidencesName) {
  const Expected expected{.ncells = 3,
                          .pins = {{2}, {3, 1}},
                          .cell_names = {"", "\"a\"", "\"b\"", "\"x\""},
                          .net_names = {"", "\"f\"", "\"e\""}};
  const std::string incidences =
      R"("incidences":[{"edge":"e","node":"x"},{"edge":"f","node":"b"},{"node":"a","edge":"e"}])";
  const std::string lists = R"("edges":[{"edge":"f"}],"nodes":[{"node":"a"},{"node":"b"}])";
  expect_import(import_json, "{" + incidences + "," + lists + "}", expected);
  expect_import(import_json, "\xef\xbb\xbf { " + lists + " ,\r\n\t" + incidences + "\n}\n\n", expected);
}

TEST(ImportHif, TellsNumbersFromStringsAndNotHowTheyAreWritten) {
  expect_import(import_json,
                R"({"incidences":[{"edge":1,"node":"1"},{"edge":"1","node":1},{"edge":-5,"node":"a"},
                    {"edge":18446744073709551615,"node":"\u0061"},{"edge":-5,"node":""}]})",
                {.ncells = 4,
                 .pins = {{1}, {2}, {3, 4}, {3}},
                 .cell_names = {"", "\"1\"", "1", "\"a\"", "\"\""},
                 .net_names = {"", "1", "\"1\"", "-5", "18446744073709551615"}});
}

TEST(ImportHif, TakesNothingAndItemsByThemselves) {
  expect_import(import_json, R"({"incidences": []})", {.cell_names = {""}, .net_names = {""}});
  expect_import(import_json, R"({"nodes":[{"node":5},{"node":4}],"incidences":[],"edges":[{"edge":6}]})",
                {.ncells = 2, .pins = {{}}, .cell_names = {"", "5", "4"}, .net_names = {"", "6"}});
}

TEST(ImportHif, KeepsRepeatedIncidencesAndTheFirstOfRepeatedRecords) {
  expect_import(import_json,
                R"({"nodes":[{"node":1,"weight":5},{"node":2},{"node":1,"weight":6},{"node":2,"weight":7}],
                    "incidences":[{"edge":1,"node":2},{"edge":1,"node":1},{"edge":1,"node":2}]})",
                {.ncells = 2,
                 .pins = {{2, 1, 2}},
                 .cell_weights = {0, 5, 1},
                 .remarks = {"2 records of nodes or edges listed before, of which the first holds"},
                 .cell_names = {"", "1", "2"},
                 .net_names = {"", "1"}});
  expect_import(import_json, R"({"edges":[{"edge":1},{"edge":1}],"incidences":[]})",
                {.pins = {{}},
                 .remarks = {"1 record of nodes or edges listed before, of which the first holds"},
                 .cell_names = {""},
                 .net_names = {"", "1"}});
}

TEST(ImportHif, TakesWholeWeightsAndCountsTheOthersAsLost) {
  const Arrays arrays =
      imported(import_json, R"({"nodes":[{"node":1,"weight":3},{"node":2,"weight":0},{"node":3,"weight":2.0},
                                        {"node":4},{"weight":2147483647,"node":5},{"node":6,"weight":2e1}],
                                "edges":[{"edge":1,"weight":1.5},{"edge":2,"weight":-1},{"edge":3,"weight":7},
                                        {"edge":4,"weight":2147483648},{"edge":5,"weight":-2147483648},
                                        {"edge":6,"weight":-2147483649}],
                                "incidences":[{"edge":9,"node":9}]})");
  EXPECT_THAT(arrays.cell_weights, ElementsAre(0, 3, 0, 2, 1, 2147483647, 20, 1));
  EXPECT_THAT(arrays.net_weights, ElementsAre(0, 1, -1, 7, 1, -2147483648, 1, 1));
  EXPECT_THAT(arrays.losses,
              ElementsAre("3 weights of nodes or edges, not whole or out of range, taken as 1"));

  const Arrays unfit = imported(import_json, R"({"nodes":[{"node":1,"weight":0.5}],"incidences":[]})");
  EXPECT_THAT(unfit.cell_weights, IsEmpty());
  EXPECT_THAT(unfit.losses, ElementsAre("1 weight of nodes or edges, not whole or out of range, taken as 1"));
}

TEST(ImportHif, PassesOverAttributesMetadataAndDirectionsAndCountsThem) {
  const std::string nested = R"({"edge":1.5,"node":[{"weight":"w"},[null,true]],"incidences":{}})";
  const Arrays arrays = imported(
      import_json, R"({"metadata":)" + nested + R"(,"network-type":"directed","nodes":[{"attrs":)" + nested +
                       R"(,"node":1}],"incidences":[{"edge":1,"node":2,"weight":0.5,"direction":"head"},
                       {"edge":1,"node":1,"direction":"tail","attrs":{}},{"edge":1,"node":3,"weight":-1}]})");
  EXPECT_THAT(arrays.nadj, ElementsAre(2, 1, 3));
  EXPECT_THAT(arrays.cell_weights, IsEmpty());
  EXPECT_THAT(arrays.remarks, IsEmpty());
  EXPECT_THAT(arrays.losses,
              ElementsAre("2 incidence weights", "2 directions of incidences", "2 sets of attributes",
                          "the metadata", "the network type directed"));
}

TEST(ImportHif, CountsASingleLossInTheSingular) {
  const auto losses = [](const std::string& text) { return imported(import_json, text).losses; };
  EXPECT_THAT(losses(R"({"network-type":"asc","incidences":[{"edge":1,"node":2,"weight":1}]})"),
              ElementsAre("1 incidence weight", "the network type asc"));
  EXPECT_THAT(
      losses(R"({"network-type":"undirected","incidences":[{"edge":1,"node":2,"direction":"head"}]})"),
      ElementsAre("1 direction of incidences"));
  EXPECT_THAT(losses(R"({"incidences":[],"edges":[{"edge":1,"attrs":{}}]})"),
              ElementsAre("1 set of attributes"));
}

TEST(ReadLabels, TakesNamesInAnyOrder) {
  const TempFile file("net 1 \"a  b\" \r\n\n cell  2\t5 \ncell 1 \"\\u0035\"");
  const Labels labels = read_labels(file.name(), 2, 1);
  EXPECT_THAT(labels.cells, ElementsAre("", "\"5\"", "5"));
  EXPECT_THAT(labels.nets, ElementsAre("", "\"a  b\""));

  const TempFile same("cell 1 7\nnet 1 7\n");  // a cell and a net may share one
  EXPECT_THAT(read_labels(same.name(), 1, 1).nets, ElementsAre("", "7"));
  const TempFile empty("");
  EXPECT_THAT(read_labels(empty.name(), 0, 0).cells, ElementsAre(""));
}

TEST(GroupByNet, KeepsTheOrderOfThePinsOfANet) {
  Arrays arrays;
  arrays.nnets = 4;
  group_by_net(arrays, {{2, 5}, {4, 4}, {2, 3}, {1, 1}, {2, 5}});
  EXPECT_THAT(arrays.xnadj, ElementsAre(0, 0, 1, 4, 4, 5));
  EXPECT_THAT(arrays.nadj, ElementsAre(1, 5, 3, 5, 4));

  Arrays none;
  group_by_net(none, {});
  EXPECT_THAT(none.xnadj, ElementsAre(0, 0));
}

TEST(CountRepeatedPins, CountsThemNetByNet) {
  EXPECT_EQ(count_repeated_pins(Record({.ncells = 3, .pins = {{1, 1, 1}, {2, 1}, {}, {2, 3, 2}}}).h), 3);
  EXPECT_EQ(count_repeated_pins(Record({.ncells = 3, .pins = {{1, 2}, {2, 1}, {1}}}).h), 0);
}

// What the record says of itself, beside its lists.
struct Summary {
  int fmt;
  int totcw;
  int totnw;
};

void expect_record(const Arrays& arrays, const Shape& shape, const Summary& summary) {
  Loaded loaded;
  to_record(arrays, loaded);
  const Hypergraph& h = loaded.h;
  testing::internal::CaptureStdout();
  CheckListsofHypergraph(&h);  // ends the program when it finds something
  std::fflush(stdout);
  EXPECT_THAT(testing::internal::GetCapturedStdout(), testing::EndsWith("\n Checking DONE....\n"));

  EXPECT_EQ(h._c, shape.ncells);
  EXPECT_EQ(h._n, std::ssize(shape.pins));
  EXPECT_EQ(pins_of_nets(h), shape.pins);
  EXPECT_EQ(nets_of_cells(h), nets_of_cells(shape));
  EXPECT_EQ(of_nets(h, &Net::w), shape.net_weights);
  EXPECT_EQ(of_cells(h, &Cell::w), shape.cell_weights);
  EXPECT_EQ(of_cells(h, &Cell::pno), shape.parts);
  EXPECT_EQ(h._fmt, summary.fmt);
  EXPECT_EQ(h._totcw, summary.totcw);
  EXPECT_EQ(h._totnw, summary.totnw);
}

TEST(ToRecord, BuildsBothSidesWithWeightsAndTotals) {
  const Shape shape{.ncells = 3,
                    .pins = {{3, 1}, {}, {3}},
                    .net_weights = {5, 1, -2},
                    .cell_weights = {7, 1, 0},
                    .parts = {-1, -1, -1}};
  expect_record(imported(import_quillon, "1 3 3 3 3\n5 3 1\n1\n-2 3\n7 1 0\n"), shape,
                {.fmt = 3, .totcw = 8, .totnw = 4});
}

TEST(ToRecord, SaysWhichWeightsAreNotAll1) {
  Shape shape{.ncells = 2, .pins = {{1, 2}}, .net_weights = {1}, .cell_weights = {1, 1}, .parts = {-1, -1}};
  expect_record(imported(import_hmetis, "1 2\n1 2\n"), shape, {.fmt = 0, .totcw = 2, .totnw = 1});
  expect_record(imported(import_hmetis, "1 2 11\n1 1 2\n1\n1\n"), shape, {.fmt = 0, .totcw = 2, .totnw = 1});
  shape.cell_weights = {1, 0};
  expect_record(imported(import_hmetis, "1 2 11\n1 1 2\n1\n0\n"), shape, {.fmt = 1, .totcw = 1, .totnw = 1});
  shape.cell_weights = {1, 1};
  shape.net_weights = {4};
  expect_record(imported(import_hmetis, "1 2 1\n4 1 2\n"), shape, {.fmt = 2, .totcw = 2, .totnw = 4});
}

TEST(ToRecord, AddsTheDiagonalThatIsMarkedAsMissing) {
  const std::string text = banner("pattern general") + "3 3 2\n2 3\n1 1\n";
  Shape shape{.ncells = 3,
              .pins = {{1}, {3, 2}, {3}},
              .net_weights = {1, 1, 1},
              .cell_weights = {1, 1, 1},
              .parts = {-1, -1, -1}};
  const Summary ones{.fmt = 0, .totcw = 3, .totnw = 3};
  expect_record(imported(matrix(Model::kRowNet, true), text), shape, ones);
  shape.pins = {{1}, {2}, {2, 3}};
  expect_record(imported(matrix(Model::kColumnNet, true), text), shape, ones);
}

TEST(ToRecord, WarnsOfTotalsThat32BitsDoNotHold) {
  const Arrays arrays =
      imported(import_kub, "2\n3\n2147483647 0\n2147483647 0\n2147483647 0\n2147483647\n1\n");
  testing::internal::CaptureStderr();
  Loaded loaded;
  to_record(arrays, loaded);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "quillon: warning: the weights of all cells are 2147483648 together, more than 32 bits hold\n"
            "quillon: warning: the weights of all nets are 6442450941 together, more than 32 bits hold\n");
}

TEST(FormatOfName, GoesByTheSuffix) {
  EXPECT_EQ(format_of_name("a.qhg"), Format::kQuillon);
  for (const char* const name : {"a.hgr", "a.hmetis", "a.hg", "b.mtx/a.hgr.gz"})
    EXPECT_EQ(format_of_name(name), Format::kHmetis);
  EXPECT_EQ(format_of_name("a.kub"), Format::kKub);
  EXPECT_EQ(format_of_name("a.mtx.gz"), Format::kMatrixMarket);
  EXPECT_EQ(format_of_name("a.graph"), Format::kMetis);
  EXPECT_EQ(format_of_name("a.hif.json"), Format::kHif);
  for (const char* const name : {"", "-", "qhg", "a.txt", "a.qhg.xz", "a.gz"})
    EXPECT_EQ(format_of_name(name), std::nullopt) << name;
}

TEST(ImportFile, TakesEveryFormatFromAFile) {
  const std::string mtx = banner("pattern general") + "1 2 1\n1 2\n";
  const std::vector<std::pair<Format, std::string>> files{
      {Format::kQuillon, "1 2 1 1\n2\n"},
      {Format::kHmetis, "1 2\n2\n"},
      {Format::kKub, "2\n1\n1 1 1\n1\n1\n"},
      {Format::kMatrixMarket, mtx},
      {Format::kHif, R"({"nodes":[{"node":1}],"incidences":[{"edge":1,"node":2}]})"}};
  for (const auto& [format, text] : files) {
    const TempFile file(text);
    const Arrays arrays = import_file(file.name(), format, {});
    EXPECT_EQ(arrays.ncells, 2) << text;
    EXPECT_THAT(arrays.nadj, ElementsAre(2)) << text;
  }
  const TempFile graph("2 1\n2\n1\n");
  EXPECT_THAT(import_file(graph.name(), Format::kMetis, {}).nadj, ElementsAre(1, 2));

  const TempFile matrix_file(mtx);
  EXPECT_EQ(import_file(matrix_file.name(), Format::kMatrixMarket, {Model::kFineGrain, false}).nnets, 3);
  EXPECT_EXIT(import_file(matrix_file.name(), Format::kMatrixMarket, {Model::kRowNet, true}),
              testing::ExitedWithCode(1), "expected a square matrix for --diagonal");
}

// How a process of its own ended that imported a text.
struct Ending {
  int status;
  std::string messages;
};

constexpr int kUnsound = 3;

// What an importer promises of whatever it takes.
bool is_sound(const Arrays& arrays) {
  const auto in_range = [&arrays](int cell) { return cell >= 1 && cell <= arrays.ncells; };
  const auto fits = [](const auto& entries, int count) {
    return entries.empty() || std::ssize(entries) == count + 1;
  };
  return arrays.ncells >= 0 && arrays.nnets >= 0 && std::ssize(arrays.xnadj) == arrays.nnets + 2 &&
         arrays.xnadj[1] == 0 && std::is_sorted(arrays.xnadj.begin(), arrays.xnadj.end()) &&
         arrays.xnadj.back() == std::ssize(arrays.nadj) &&
         std::all_of(arrays.nadj.begin(), arrays.nadj.end(), in_range) &&
         fits(arrays.cell_weights, arrays.ncells) && fits(arrays.net_weights, arrays.nnets) &&
         fits(arrays.diagonal, arrays.nnets) && fits(arrays.cell_names, arrays.ncells) &&
         fits(arrays.net_names, arrays.nnets);
}

// Without the search for leaks, which takes longer than all the rest.
void end_at_once(int status, void* /*argument*/) { _exit(status); }

[[noreturn]] void import_and_end(const Import& import, const std::string& text, int messages) {
  dup2(messages, STDERR_FILENO);
  on_exit(end_at_once, nullptr);
  const Arrays arrays = imported(import, text);
  if (!is_sound(arrays)) std::exit(kUnsound);
  Loaded loaded;
  to_record(arrays, loaded);
  std::exit(EXIT_SUCCESS);
}

std::string read_to_the_end(int descriptor) {
  std::string text;
  char block[256];
  for (ssize_t size = 0; (size = read(descriptor, block, sizeof block)) > 0;)
    text.append(block, static_cast<std::size_t>(size));
  return text;
}

Ending import_apart(const Import& import, const std::string& text) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("cannot make a pipe");
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("cannot start a child process");
  if (child == 0) import_and_end(import, text, ends[1]);

  close(ends[1]);
  Ending ending{-1, read_to_the_end(ends[0])};
  close(ends[0]);
  int status = 0;
  if (waitpid(child, &status, 0) == child && WIFEXITED(status)) ending.status = WEXITSTATUS(status);
  return ending;
}

// A small good file, of which the first bytes may be left as they are.
struct Sample {
  const char* name;
  Import import;
  std::string text;
  std::size_t nkept = 0;
};

// In place of the bytes, of which some belong to no member.
void PrintTo(const Sample& sample, std::ostream* out) { *out << sample.name; }

const std::string kBanner = banner("pattern symmetric");

const std::vector<Sample> kSamples{{"quillon", import_quillon, "1 2 1 2 3\n5 1 2\n6 7\n"},
                                   {"hmetis", import_hmetis, "1 2 11\n3 2 1\n4\n5\n"},
                                   {"kub", import_kub, "2\n1\n3 2 0 1\n4\n5"},
                                   {"metis", import_metis, "2 1 11\n3 2 4\n5 1 4\n"},
                                   {"mtx", kByRow, kBanner + "2 2 2\n2 1\n2 2\n", kBanner.size()},
                                   {"hif", import_json, R"({"incidences":[{"edge":1,"node":"a"}]})"}};

class Importers : public testing::TestWithParam<Sample> {
 protected:
  // Whether the text is taken; one that is not has to be refused by a message of one line.
  [[nodiscard]] static bool is_taken(const std::string& text) {
    const Ending ending = import_apart(GetParam().import, text);
    if (ending.status == EXIT_SUCCESS) {
      EXPECT_EQ(ending.messages, "") << testing::PrintToString(text);
      return true;
    }
    EXPECT_EQ(ending.status, 1) << testing::PrintToString(text);
    EXPECT_THAT(ending.messages, testing::MatchesRegex("quillon: in:[0-9]+:[0-9]+: error: found [^\n]+\n"))
        << testing::PrintToString(text);
    return false;
  }
};

TEST_P(Importers, TakeOrRefuseEveryPrefixOfAFile) {
  const std::string& text = GetParam().text;
  EXPECT_TRUE(is_taken(text));
  EXPECT_FALSE(is_taken(""));
  for (std::size_t size = GetParam().nkept + 1; size < text.size(); ++size) {
    (void)is_taken(text.substr(0, size));
    if (HasFailure()) return;
  }
}

TEST_P(Importers, TakeOrRefuseAFileWithAnyByteReplaced) {
  int nrefused = 0;
  for (std::size_t at = GetParam().nkept; at < GetParam().text.size(); ++at) {
    for (const char byte : {'\0', '0', '9', '-', ' ', '\n', '%', 'x', '"'}) {
      std::string text = GetParam().text;
      text[at] = byte;
      nrefused += is_taken(text) ? 0 : 1;
      if (HasFailure()) return;
    }
  }
  EXPECT_GT(nrefused, 0);
}

INSTANTIATE_TEST_SUITE_P(Formats, Importers, testing::ValuesIn(kSamples),
                         [](const auto& sample) { return std::string(sample.param.name); });

}  // namespace
}  // namespace quillon::tool
