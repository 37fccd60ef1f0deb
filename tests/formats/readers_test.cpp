// The result of each reader for sound files, and the record built from it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "formats/formats.h"
#include "formats/record.h"
#include "hypergraph/hypergraph.h"
#include "tests/formats/finding_of.h"
#include "tests/support/records.h"
#include "tests/support/temp_file.h"
#include "util/util.h"

namespace quillon::formats {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Texts = std::vector<std::string>;

// A format and the options for reading it.
struct Reader {
  Reader(const char* format_name, const ReadOptions& its_options = {})  // NOLINT(google-explicit-constructor)
      : name(format_name), options(its_options) {}

  const char* name;
  ReadOptions options;
};

NetLists lists_of(const Reader& reader, const std::string& text) {
  return read_text(format(reader.name), text, reader.options);
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

void expect_lists(const NetLists& lists, const Expected& expected) {
  std::vector<int> xnadj{0, 0};
  std::vector<int> nadj;
  for (const std::vector<int>& pins : expected.pins) {
    nadj.insert(nadj.end(), pins.begin(), pins.end());
    xnadj.push_back(static_cast<int>(nadj.size()));
  }
  EXPECT_EQ(lists.ncells, expected.ncells);
  EXPECT_EQ(lists.nnets, std::ssize(expected.pins));
  EXPECT_EQ(lists.xnadj, xnadj);
  EXPECT_EQ(lists.nadj, nadj);
  EXPECT_EQ(lists.net_weights, expected.net_weights);
  EXPECT_EQ(lists.cell_weights, expected.cell_weights);
  EXPECT_EQ(lists.diagonal, expected.diagonal);
  EXPECT_EQ(lists.remarks, expected.remarks);
  EXPECT_EQ(lists.losses, expected.losses);
  EXPECT_EQ(lists.cell_names, expected.cell_names);
  EXPECT_EQ(lists.net_names, expected.net_names);
}

void expect_read(const Reader& reader, const std::string& text, const Expected& expected) {
  SCOPED_TRACE(text);
  expect_lists(lists_of(reader, text), expected);
}

TEST(ReadHmetis, FillsTheArraysFrom1) {
  const NetLists lists = lists_of("hmetis", "3 4 11\n5 4 1\n6\n7 2\n8\n9\n0\n2147483647\n");

  EXPECT_EQ(lists.ncells, 4);
  EXPECT_EQ(lists.nnets, 3);
  EXPECT_THAT(lists.xnadj, ElementsAre(0, 0, 2, 2, 3));
  EXPECT_THAT(lists.nadj, ElementsAre(4, 1, 2));
  EXPECT_THAT(lists.net_weights, ElementsAre(0, 5, 6, 7));
  EXPECT_THAT(lists.cell_weights, ElementsAre(0, 8, 9, 0, 2147483647));
}

TEST(ReadHmetis, ReadsWeightsByTheFormat) {
  const std::string data = "\n1 2\n3\n";
  const std::string weighted = "\n5 1 2\n0 3\n";
  const Lists pins{{1, 2}, {3}};
  for (const char* const fmt : {"2 3", "2 3 0", "2 3 00"})
    expect_read("hmetis", fmt + data, {.ncells = 3, .pins = pins});
  for (const char* const fmt : {"2 3 1", "2 3 01"})
    expect_read("hmetis", fmt + weighted, {.ncells = 3, .pins = pins, .net_weights = {0, 5, 0}});
  expect_read("hmetis", "2 3 10" + data + "7\n8\n9\n",
              {.ncells = 3, .pins = pins, .cell_weights = {0, 7, 8, 9}});
  expect_read("hmetis", "2 3 11" + weighted + "7\n8\n9\n",
              {.ncells = 3, .pins = pins, .net_weights = {0, 5, 0}, .cell_weights = {0, 7, 8, 9}});
}

TEST(ReadHmetis, AcceptsCommentsBlanksAndAnyLineEnds) {
  const Expected expected{.ncells = 3, .pins = {{1, 2}, {3}}, .net_weights = {0, 5, 6}};
  for (const char* const text :
       {"2 3 1\n5 1 2\n6 3", "% 9\n%\n2 3 1\n%9\n5 1 2\n% 9\n6 3\n% 9", "2\t3  1 \t\n\t5  1\t\t2 \n6 3\n",
        "2 3 1\r\n5 1 2\r\n6 3\r\n", "2 3 1\n5 1 2\n6 3\n\n \n% 9\n\r\n\n"})
    expect_read("hmetis", text, expected);
}

TEST(ReadHmetis, ReadsABlankLineAsANetWithoutPinsAndKeepsRepeatedPins) {
  expect_read("hmetis", "4 3\n\n3 1 3\n \t\r\n\n", {.ncells = 3, .pins = {{}, {3, 1, 3}, {}, {}}});
  expect_read("hmetis", "1 3\n\n\n\n", {.ncells = 3, .pins = {{}}});
  expect_read("hmetis", "0 0\n", {});
  expect_read("hmetis", "0 2 11\n4\n5", {.ncells = 2, .net_weights = {0}, .cell_weights = {0, 4, 5}});
}

TEST(ReadHmetis, RemarksOnWhatMayBeAGraph) {
  const std::string remark = "line j names i whenever line i names j, as in a METIS graph";
  expect_read("hmetis", "3 3\n2 3\n1 3\n1 2\n",
              {.ncells = 3, .pins = {{2, 3}, {1, 3}, {1, 2}}, .remarks = {remark}});
  expect_read("hmetis", "4 4\n2 4\n1 3\n2 4\n3 1\n",
              {.ncells = 4, .pins = {{2, 4}, {1, 3}, {2, 4}, {3, 1}}, .remarks = {remark}});

  // Not graphs: one is not mirrored, one has a cell on the net of its own number, and two have pins that are
  // not two per cell.
  expect_read("hmetis", "3 2\n2\n1\n1 2\n", {.ncells = 2, .pins = {{2}, {1}, {1, 2}}});
  expect_read("hmetis", "2 2\n1 2\n1 2\n", {.ncells = 2, .pins = {{1, 2}, {1, 2}}});
  expect_read("hmetis", "4 3\n2\n1 3\n2\n\n", {.ncells = 3, .pins = {{2}, {1, 3}, {2}, {}}});
  expect_read("hmetis", "2 0\n\n\n", {.pins = {{}, {}}});
}

TEST(ReadQuillon, CountsCellsFromTheNumberOfTheHeader) {
  const Expected expected{.ncells = 3, .pins = {{3, 1}, {2}}};
  expect_read("quillon", "1 3 2 3\n3 1\n2\n", expected);
  expect_read("quillon", "0 3 2 3\n2 0\n1\n", expected);
}

TEST(ReadQuillon, ReadsWeightsByTheFormat) {
  const Lists pins{{3, 1}, {2}};
  const std::string weighted = "\n-7 3 1\n2147483647 2\n";
  const std::vector<int> net_weights{0, -7, 2147483647};
  const std::vector<int> cell_weights{0, 4, -2147483648, 0};
  expect_read("quillon", "1 3 2 3 0\n3 1\n2\n4 5 6\n", {.ncells = 3, .pins = pins});
  expect_read("quillon", "1 3 2 3 1\n3 1\n2\n4 -2147483648 0\n",
              {.ncells = 3, .pins = pins, .cell_weights = cell_weights});
  expect_read("quillon", "1 3 2 3 2" + weighted, {.ncells = 3, .pins = pins, .net_weights = net_weights});
  expect_read("quillon", "1 3 2 3 3" + weighted + "4\n-2147483648\n0",
              {.ncells = 3, .pins = pins, .net_weights = net_weights, .cell_weights = cell_weights});
}

TEST(ReadQuillon, UsesTheFirstWeightOfEachCell) {
  expect_read("quillon", "1 2 1 1 1 2\n1\n4 5 6\n7\n8\n",
              {.ncells = 2, .pins = {{1}}, .cell_weights = {0, 4, 6}});
  expect_read("quillon", "1 2 1 1 3 3\n9 1\n4 2147483648 5\n6\n",
              {.ncells = 2, .pins = {{1}}, .net_weights = {0, 9}, .cell_weights = {0, 4, 6}});
}

TEST(ReadQuillon, ReadsMissingCellWeightsAs1) {
  const std::string head = "1 3 1 1 1\n1\n";
  const Lists pins{{1}};
  expect_read("quillon", head + "4 5",
              {.ncells = 3,
               .pins = pins,
               .cell_weights = {0, 4, 5, 1},
               .remarks = {"the file ends before 1 cell weight, set to 1"}});
  expect_read("quillon", head,
              {.ncells = 3,
               .pins = pins,
               .cell_weights = {0, 1, 1, 1},
               .remarks = {"the file ends before 3 cell weights, set to 1"}});
}

TEST(ReadQuillon, IgnoresTextAfterNumbersAndAfterTheData) {
  expect_read("quillon", "1 3 2 3 x 1\n3 1 and 2\n2x 1\n", {.ncells = 3, .pins = {{3, 1}, {2}}});
  expect_read("quillon", "1 3 2 3\n3 1\n2\n9 9 9\nand so on", {.ncells = 3, .pins = {{3, 1}, {2}}});
  expect_read("quillon",
              "1 2 1 1 1\n1\n% ------ Cell weights -------\n4 5 \n"
              "% ------ Hypergraph info -------\n #Cells           :       2\n 9 9",
              {.ncells = 2, .pins = {{1}}, .cell_weights = {0, 4, 5}});
}

TEST(ReadQuillon, AcceptsCommentsBlanksAndAnyLineEnds) {
  const Expected expected{.ncells = 3, .pins = {{3, 1}, {}, {2}}, .cell_weights = {0, 4, 5, 6}};
  for (const char* const text :
       {"1 3 3 3 1\n3 1\n\n2\n4 5 6", "% 9\n1 3 3 3 1\n% 9\n3 1\n\n% 9\n2\n%9\n4\n% 9\n\n5\n6\n%",
        "1\t3  3 3\t1\r\n\t3\t1 \r\n\r\n2\r\n4\r\n5\r\n6\r\n", "+1 3 3 +3 1\n+3 1\n\n2\n+4 5 6\n"})
    expect_read("quillon", text, expected);
  expect_read("quillon", "1 0 0 0\n", {});
  expect_read("quillon", "0 0 0 0 3", {.net_weights = {0}, .cell_weights = {0}});
}

TEST(ReadKub, CountsCellsFrom0) {
  const Expected expected{
      .ncells = 3, .pins = {{3, 1, 3}, {}}, .net_weights = {0, 5, 2147483647}, .cell_weights = {0, 7, 0, 9}};
  for (const char* const text : {"3\n2\n5 3 2 0 2\n2147483647 0\n7\n0\n9",
                                 " 3\t\r\n2\r\n5\t3 2  0 2 \r\n2147483647 0\r\n7\r\n0\r\n9\r\n\r\n \n"})
    expect_read("kub", text, expected);
  expect_read("kub", "0\n0", {.net_weights = {0}, .cell_weights = {0}});
}

TEST(ReadMetis, MakesANetOfEachEdgeInTheOrderOfItsSmallerEnd) {
  expect_read("metis", "4 4\n4 2 3\n1\n4 1\n3 1\n", {.ncells = 4, .pins = {{1, 4}, {1, 2}, {1, 3}, {3, 4}}});
  expect_read("metis", "3 2 001\n3 5 2 6\n1 6\n1 5",
              {.ncells = 3, .pins = {{1, 3}, {1, 2}}, .net_weights = {0, 5, 6}});
}

TEST(ReadMetis, ReadsWeightsByTheFormat) {
  const Lists pins{{1, 2}};
  const std::vector<int> net_weights{0, 5};
  const std::vector<int> cell_weights{0, 7, 8};
  for (const char* const fmt : {"2 1", "2 1 0", "2 1 00", "2 1 000"})
    expect_read("metis", fmt + std::string("\n2\n1\n"), {.ncells = 2, .pins = pins});
  for (const char* const fmt : {"2 1 1", "2 1 01", "2 1 001"})
    expect_read("metis", fmt + std::string("\n2 5\n1 5\n"),
                {.ncells = 2, .pins = pins, .net_weights = net_weights});
  for (const char* const fmt : {"2 1 10", "2 1 010", "2 1 010 1"})
    expect_read("metis", fmt + std::string("\n7 2\n8 1\n"),
                {.ncells = 2, .pins = pins, .cell_weights = cell_weights});
  for (const char* const fmt : {"2 1 11", "2 1 011"})
    expect_read("metis", fmt + std::string("\n7 2 5\n8 1 5\n"),
                {.ncells = 2, .pins = pins, .net_weights = net_weights, .cell_weights = cell_weights});
}

TEST(ReadMetis, CountsSizesAndFurtherWeightsAsLost) {
  const Lists pins{{1, 2}};
  const std::string sizes = "the sizes of 2 vertices";
  expect_read("metis", "2 1 101\n4 2 5\n3 1 5\n",
              {.ncells = 2, .pins = pins, .net_weights = {0, 5}, .losses = {sizes}});
  expect_read("metis", "2 1 110\n4 7 2\n3 8 1\n",
              {.ncells = 2, .pins = pins, .cell_weights = {0, 7, 8}, .losses = {sizes}});
  expect_read(
      "metis", "2 1 111\n4 7 2 5\n3 8 1 5\n",
      {.ncells = 2, .pins = pins, .net_weights = {0, 5}, .cell_weights = {0, 7, 8}, .losses = {sizes}});
  expect_read("metis", "2 1 111 3\n4 7 0 9 2 5\n3 8 0 9 1 5\n",
              {.ncells = 2,
               .pins = pins,
               .net_weights = {0, 5},
               .cell_weights = {0, 7, 8},
               .losses = {sizes, "all but the first of 3 weights of each vertex"}});
  expect_read("metis", "1 0 110\n4 7\n",
              {.ncells = 1, .cell_weights = {0, 7}, .losses = {"the sizes of 1 vertex"}});
}

TEST(ReadMetis, AcceptsCommentsBlanksAndAnyLineEnds) {
  const Expected expected{.ncells = 3, .pins = {{1, 3}}};
  for (const char* const text :
       {"3 1\n3\n\n1", "% 9\n3 1\n%9\n3\n% 9\n\n1\n% 9", "3\t1 \r\n 3\t\r\n\r\n1\r\n\r\n% 9\r\n \n"})
    expect_read("metis", text, expected);
  expect_read("metis", "0 0\n", {});
}

Reader matrix(Model model, bool add_diagonal = false) {
  return {"mtx", {.model = model, .add_diagonal = add_diagonal}};
}

const Reader kByRow = matrix(Model::kRowNet);

std::string banner(const std::string& kind) { return "%%MatrixMarket matrix coordinate " + kind + "\n"; }

TEST(ReadMatrixMarket, MakesAHypergraphByTheModel) {
  const std::string text = banner("pattern general") + "2 3 3\n2 3\n1 1\n2 1\n";
  expect_read(kByRow, text, {.ncells = 3, .pins = {{1}, {3, 1}}});
  expect_read(matrix(Model::kColumnNet), text, {.ncells = 2, .pins = {{1, 2}, {}, {2}}});
  expect_read(matrix(Model::kFineGrain), text, {.ncells = 3, .pins = {{2}, {1, 3}, {2, 3}, {}, {1}}});
}

TEST(ReadMatrixMarket, AcceptsTheValuesOfEveryField) {
  const Expected expected{.ncells = 2, .pins = {{2}, {}, {1}}};
  expect_read(kByRow, banner("pattern general") + "3 2 2\n1 2\n3 1\n", expected);
  expect_read(kByRow, banner("integer general") + "3 2 2\n1 2 -5\n3 1 +7\n", expected);
  expect_read(kByRow, banner("real general") + "3 2 2\n1 2 -1.5e-3\n3 1 1e999\n", expected);
  expect_read(kByRow, banner("complex general") + "3 2 2\n1 2 +.5 0\n3 1 1E5 -2.\n", expected);
}

TEST(ReadMatrixMarket, MirrorsOneTriangle) {
  // The entries are (1,1), (2,1) and (1,2), (3,2) and (2,3).
  for (const char* const kind : {"pattern symmetric", "pattern hermitian"}) {
    const std::string text = banner(kind) + "3 3 3\n1 1\n2 1\n3 2\n";
    expect_read(kByRow, text, {.ncells = 3, .pins = {{1, 2}, {1, 3}, {2}}});
    expect_read(matrix(Model::kColumnNet), text, {.ncells = 3, .pins = {{1, 2}, {1, 3}, {2}}});
    expect_read(matrix(Model::kFineGrain), text,
                {.ncells = 5, .pins = {{1, 3}, {2, 5}, {4}, {1, 2}, {3, 4}, {5}}});
  }
  const std::string skew = banner("real skew-symmetric") + "3 3 2\n2 1 5\n3 2 6\n";
  expect_read(kByRow, skew, {.ncells = 3, .pins = {{2}, {1, 3}, {2}}});
}

TEST(ReadMatrixMarket, AcceptsTheFirstLineInAnyCase) {
  for (const char* const line : {"%%MATRIXMARKET MATRIX COORDINATE PATTERN GENERAL\n",
                                 "%%matrixmarket matrix coordinate pattern general\n",
                                 "%%MatrixMarket\tMatrix  Coordinate Pattern General \r\n"})
    expect_read(kByRow, line + std::string("1 2 1\n1 2\n"), {.ncells = 2, .pins = {{2}}});
}

TEST(ReadMatrixMarket, AcceptsCommentsBlanksAndAnyLineEnds) {
  expect_read(kByRow, banner("pattern general") + "% 9\n\n%\n \t\n 2  2\t2\r\n\r\n1 1\n\n \n\t2 2\n\n\r\n",
              {.ncells = 2, .pins = {{1}, {2}}});
  expect_read(kByRow, banner("pattern general") + "2 2 1\n2 1", {.ncells = 2, .pins = {{}, {1}}});
  expect_read(kByRow, banner("pattern general") + "0 0 0", {});
}

TEST(ReadMatrixMarket, CountsAndDropsRepeatedEntries) {
  const std::string head = banner("pattern general");
  expect_read(kByRow, head + "2 2 4\n1 2\n1 1\n1 2\n1 2\n",
              {.ncells = 2, .pins = {{2, 1}, {}}, .remarks = {"2 repetitions of entries dropped"}});
  expect_read(matrix(Model::kFineGrain), head + "2 2 3\n1 2\n1 1\n1 2\n",
              {.ncells = 2, .pins = {{1, 2}, {}, {2}, {1}}, .remarks = {"1 repetition of entries dropped"}});
  // An entry across the diagonal repeats one of the stored triangle.
  expect_read(kByRow, banner("pattern symmetric") + "2 2 3\n2 2\n2 1\n1 2\n",
              {.ncells = 2, .pins = {{2}, {2, 1}}, .remarks = {"1 repetition of entries dropped"}});
}

TEST(ReadMatrixMarket, MarksOrAddsTheDiagonal) {
  const std::string text = banner("pattern general") + "3 3 2\n2 3\n1 1\n";
  for (const Model model : {Model::kRowNet, Model::kColumnNet}) {
    const Lists pins = model == Model::kRowNet ? Lists{{1}, {3}, {}} : Lists{{1}, {}, {2}};
    expect_read(matrix(model, true), text, {.ncells = 3, .pins = pins, .diagonal = {0, 1, 0, 0}});
  }
  // The entries are (2,3), (1,1), and then (2,2) and (3,3).
  expect_read(matrix(Model::kFineGrain, true), text,
              {.ncells = 4, .pins = {{2}, {1, 3}, {4}, {2}, {3}, {1, 4}}});
}

TEST(ReadHif, NumbersListedItemsBeforeThoseOfIncidences) {
  const Expected expected{.ncells = 3,
                          .pins = {{2}, {3, 1}},
                          .cell_names = {"", "\"a\"", "\"b\"", "\"x\""},
                          .net_names = {"", "\"f\"", "\"e\""}};
  const std::string incidences =
      R"("incidences":[{"edge":"e","node":"x"},{"edge":"f","node":"b"},{"node":"a","edge":"e"}])";
  const std::string lists = R"("edges":[{"edge":"f"}],"nodes":[{"node":"a"},{"node":"b"}])";
  expect_read("hif", "{" + incidences + "," + lists + "}", expected);
  expect_read("hif", "\xef\xbb\xbf { " + lists + " ,\r\n\t" + incidences + "\n}\n\n", expected);
}

TEST(ReadHif, DistinguishesNumbersFromStringsButNotEscapes) {
  expect_read("hif",
              R"({"incidences":[{"edge":1,"node":"1"},{"edge":"1","node":1},{"edge":-5,"node":"a"},
                    {"edge":18446744073709551615,"node":"\u0061"},{"edge":-5,"node":""}]})",
              {.ncells = 4,
               .pins = {{1}, {2}, {3, 4}, {3}},
               .cell_names = {"", "\"1\"", "1", "\"a\"", "\"\""},
               .net_names = {"", "1", "\"1\"", "-5", "18446744073709551615"}});
}

TEST(ReadHif, AcceptsEmptyListsAndItemsWithoutIncidences) {
  expect_read("hif", R"({"incidences": []})", {.cell_names = {""}, .net_names = {""}});
  expect_read("hif", R"({"nodes":[{"node":5},{"node":4}],"incidences":[],"edges":[{"edge":6}]})",
              {.ncells = 2, .pins = {{}}, .cell_names = {"", "5", "4"}, .net_names = {"", "6"}});
}

TEST(ReadHif, KeepsRepeatedIncidencesAndTheFirstOfRepeatedRecords) {
  expect_read("hif",
              R"({"nodes":[{"node":1,"weight":5},{"node":2},{"node":1,"weight":6},{"node":2,"weight":7}],
                    "incidences":[{"edge":1,"node":2},{"edge":1,"node":1},{"edge":1,"node":2}]})",
              {.ncells = 2,
               .pins = {{2, 1, 2}},
               .cell_weights = {0, 5, 1},
               .remarks = {"2 records of nodes or edges listed twice; the first is used"},
               .cell_names = {"", "1", "2"},
               .net_names = {"", "1"}});
  expect_read("hif", R"({"edges":[{"edge":1},{"edge":1}],"incidences":[]})",
              {.pins = {{}},
               .remarks = {"1 record of nodes or edges listed twice; the first is used"},
               .cell_names = {""},
               .net_names = {"", "1"}});
}

TEST(ReadHif, KeepsWholeWeightsAndCountsTheOthersAsLost) {
  const NetLists lists =
      lists_of("hif", R"({"nodes":[{"node":1,"weight":3},{"node":2,"weight":0},{"node":3,"weight":2.0},
                                        {"node":4},{"weight":2147483647,"node":5},{"node":6,"weight":2e1}],
                                "edges":[{"edge":1,"weight":1.5},{"edge":2,"weight":-1},{"edge":3,"weight":7},
                                        {"edge":4,"weight":2147483648},{"edge":5,"weight":-2147483648},
                                        {"edge":6,"weight":-2147483649}],
                                "incidences":[{"edge":9,"node":9}]})");
  EXPECT_THAT(lists.cell_weights, ElementsAre(0, 3, 0, 2, 1, 2147483647, 20, 1));
  EXPECT_THAT(lists.net_weights, ElementsAre(0, 1, -1, 7, 1, -2147483648, 1, 1));
  EXPECT_THAT(lists.losses, ElementsAre("3 weights of nodes or edges, not whole or out of range, set to 1"));

  const NetLists unfit = lists_of("hif", R"({"nodes":[{"node":1,"weight":0.5}],"incidences":[]})");
  EXPECT_THAT(unfit.cell_weights, IsEmpty());
  EXPECT_THAT(unfit.losses, ElementsAre("1 weight of nodes or edges, not whole or out of range, set to 1"));
}

TEST(ReadHif, SkipsAndCountsAttributesMetadataAndDirections) {
  const std::string nested = R"({"edge":1.5,"node":[{"weight":"w"},[null,true]],"incidences":{}})";
  const NetLists lists = lists_of(
      "hif", R"({"metadata":)" + nested + R"(,"network-type":"directed","nodes":[{"attrs":)" + nested +
                 R"(,"node":1}],"incidences":[{"edge":1,"node":2,"weight":0.5,"direction":"head"},
                       {"edge":1,"node":1,"direction":"tail","attrs":{}},{"edge":1,"node":3,"weight":-1}]})");
  EXPECT_THAT(lists.nadj, ElementsAre(2, 1, 3));
  EXPECT_THAT(lists.cell_weights, IsEmpty());
  EXPECT_THAT(lists.remarks, IsEmpty());
  EXPECT_THAT(lists.losses, ElementsAre("2 incidence weights", "2 directions of incidences",
                                        "2 sets of attributes", "the metadata", "the network type directed"));
}

TEST(ReadHif, CountsASingleLossInTheSingular) {
  const auto losses = [](const std::string& text) { return lists_of("hif", text).losses; };
  EXPECT_THAT(losses(R"({"network-type":"asc","incidences":[{"edge":1,"node":2,"weight":1}]})"),
              ElementsAre("1 incidence weight", "the network type asc"));
  EXPECT_THAT(
      losses(R"({"network-type":"undirected","incidences":[{"edge":1,"node":2,"direction":"head"}]})"),
      ElementsAre("1 direction of incidences"));
  EXPECT_THAT(losses(R"({"incidences":[],"edges":[{"edge":1,"attrs":{}}]})"),
              ElementsAre("1 set of attributes"));
}

Reader formula(Model model) { return {"cnf", {.model = model}}; }

TEST(ReadCnf, MakesAHypergraphByTheModel) {
  const std::string text = "p cnf 4 3\n1 -3 0\n3 0\n-1 2 3 0\n";
  const Lists clauses{{1, 3}, {3}, {1, 2, 3}};
  for (const Reader& reader : {Reader("cnf"), formula(Model::kPrimal), formula(Model::kRowNet)})
    expect_read(reader, text, {.ncells = 4, .pins = clauses});
  expect_read(formula(Model::kDual), text, {.ncells = 3, .pins = {{1, 3}, {3}, {1, 2, 3}, {}}});
  expect_read(formula(Model::kLiteral), text, {.ncells = 8, .pins = {{1, 6}, {5}, {2, 3, 5}}});
}

TEST(ReadCnf, AcceptsClausesOverSeveralLinesAndSeveralOnALine) {
  const Expected expected{.ncells = 3, .pins = {{1, 2}, {}, {3}}};
  for (const char* const text : {"p cnf 3 3\n1 2 0 0 3 0", "p cnf 3 3\n1\n\n-2\n0\n0\n\t-3 \r\n 0\r\n",
                                 "p  cnf\t3 3 \r\n1 2 0\n0 3\n0\n"})
    expect_read("cnf", text, expected);
  expect_read("cnf", "p cnf 2 0", {.ncells = 2});
  expect_read("cnf", "p cnf 0 1\n0", {.pins = {{}}});
}

TEST(ReadCnf, SkipsCommentsAndWhatFollowsAPercentSign) {
  const Expected expected{.ncells = 2, .pins = {{1, 2}, {2}}};
  for (const char* const text :
       {"c\nc p cnf 9 9\n\ncomment\np cnf 2 2\n1 2 0\n2 0\n", "p cnf 2 2\n1\nc 0\n2 0\n c 1\n2 0\nc",
        "p cnf 2 2\n1 2 0\n2 0\n%\n0\n\n", "p cnf 2 2\n1 2 0\n2 0\n% and so on\n7 x"})
    expect_read("cnf", text, expected);
}

TEST(ReadCnf, CountsAndDropsRepeatedLiterals) {
  const std::string text = "p cnf 3 2\n3 -1 3 3 0\n2 -2 1 -2 2 0\n";
  const std::string repetitions = "4 repetitions of a literal in its clause dropped";
  const std::string pairs = "1 pair of a variable and its negation in one clause, read as one pin";
  expect_read("cnf", text, {.ncells = 3, .pins = {{3, 1}, {2, 1}}, .remarks = {repetitions, pairs}});
  expect_read(formula(Model::kDual), text,
              {.ncells = 2, .pins = {{1, 2}, {2}, {1}}, .remarks = {repetitions, pairs}});
  expect_read(formula(Model::kLiteral), text,
              {.ncells = 6, .pins = {{5, 2}, {3, 4, 1}}, .remarks = {repetitions}});
  expect_read("cnf", "p cnf 3 1\n3 -3 1 -1 3 0\n",
              {.ncells = 3,
               .pins = {{3, 1}},
               .remarks = {"1 repetition of a literal in its clause dropped",
                           "2 pairs of a variable and its negation in one clause, read as one pin"}});
}

TEST(ReadEdgeList, MakesANetOfEachLine) {
  expect_read("edges", "b a\nc\na c b a\n",
              {.ncells = 3,
               .pins = {{1, 2}, {3}, {2, 3, 1, 2}},
               .cell_names = {"", "\"b\"", "\"a\"", "\"c\""},
               .net_names = {"", "1", "2", "3"}});
}

TEST(ReadEdgeList, AcceptsBlanksCommasCommentsAndAnyLineEnds) {
  const Expected expected{.ncells = 3,
                          .pins = {{1, 2}, {2, 3}},
                          .cell_names = {"", "\"a\"", "\"b\"", "\"c\""},
                          .net_names = {"", "1", "2"}};
  for (const char* const text :
       {"a b\nb c", "a,b\nb,c\n", "a ,\tb\r\n\r\nb, c\r\n", "# x y\n%x\n\n \t\n a b # x\n  # x\nb c %x,y\n"})
    expect_read("edges", text, expected);
}

TEST(ReadEdgeList, DistinguishesIntegersFromOtherNames) {
  expect_read("edges", "1 01 -5 -0 +1 99999999999999999999 18446744073709551615\n",
              {.ncells = 7,
               .pins = {{1, 2, 3, 4, 5, 6, 7}},
               .cell_names = {"", "1", "\"01\"", "-5", "\"-0\"", "\"+1\"", "\"99999999999999999999\"",
                              "18446744073709551615"},
               .net_names = {"", "1"}});
  expect_read("edges", "\"1\" 1 \"a\" a\n",
              {.ncells = 3,
               .pins = {{1, 2, 3, 3}},
               .cell_names = {"", "\"1\"", "1", "\"a\""},
               .net_names = {"", "1"}});
}

TEST(ReadEdgeList, ReadsNamesInQuotesAsJson) {
  expect_read("edges", "\"a, b\" \"#\\\"\",x\"y \"0.5\" \"\" \"\\u00e9\" \xc3\xa9 192.168.0.1 a\\b\n",
              {.ncells = 8,
               .pins = {{1, 2, 3, 4, 5, 6, 6, 7, 8}},
               .cell_names = {"", "\"a, b\"", "\"#\\\"\"", "\"x\\\"y\"", "\"0.5\"", "\"\"", "\"\xc3\xa9\"",
                              "\"192.168.0.1\"", "\"a\\\\b\""},
               .net_names = {"", "1"}});
}

TEST(ReadEdgeList, RemarksOnAThirdColumnThatMayBeWeights) {
  const std::string remark = "every line has three names, the last a number; weights are not read from lists";
  expect_read("edges", "a b 1\nb c 2\n",
              {.ncells = 5,
               .pins = {{1, 2, 3}, {2, 4, 5}},
               .remarks = {remark},
               .cell_names = {"", "\"a\"", "\"b\"", "1", "\"c\"", "2"},
               .net_names = {"", "1", "2"}});
  for (const char* const text : {"a b 1\nb c d\n", "a b 1\nb c\n", "1 2\n", "1 2 3 4\n"})
    EXPECT_THAT(lists_of("edges", text).remarks, IsEmpty()) << text;
}

Reader pairs(Pairs order) { return {"edges", {.pairs = order}}; }

TEST(ReadEdgeList, ReadsPairsOfNetAndCell) {
  const Expected expected{.ncells = 3,
                          .pins = {{1, 3}, {1, 2, 1}},
                          .cell_names = {"", "\"a\"", "7", "\"b\""},
                          .net_names = {"", "\"n 1\"", "2"}};
  expect_read(pairs(Pairs::kNetCell), "# net cell\n\"n 1\",a\n2,a\n2,7\n\n\"n 1\",b # last\n2 a", expected);
  expect_read(pairs(Pairs::kCellNet), "a \"n 1\"\na 2\n7 2\nb \"n 1\"\na 2\n", expected);
}

TEST(GroupByNet, KeepsTheOrderOfThePinsOfANet) {
  NetLists lists;
  lists.nnets = 4;
  group_by_net(lists, {{2, 5}, {4, 4}, {2, 3}, {1, 1}, {2, 5}});
  EXPECT_THAT(lists.xnadj, ElementsAre(0, 0, 1, 4, 4, 5));
  EXPECT_THAT(lists.nadj, ElementsAre(1, 5, 3, 5, 4));

  NetLists none;
  group_by_net(none, {});
  EXPECT_THAT(none.xnadj, ElementsAre(0, 0));
}

TEST(CountRepeatedPins, CountsThemNetByNet) {
  EXPECT_EQ(count_repeated_pins(quillon::Record({.ncells = 3, .pins = {{1, 1, 1}, {2, 1}, {}, {2, 3, 2}}}).h),
            3);
  EXPECT_EQ(count_repeated_pins(quillon::Record({.ncells = 3, .pins = {{1, 2}, {2, 1}, {1}}}).h), 0);
}

// Format and totals of a record.
struct Summary {
  int fmt;
  int totcw;
  int totnw;
};

void expect_record(NetLists lists, const Shape& shape, const Summary& summary) {
  Record record;
  to_record(std::move(lists), record);
  const Hypergraph& h = record.h;
  testing::internal::CaptureStdout();
  CheckListsofHypergraph(&h);  // an error is fatal
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
  expect_record(lists_of("quillon", "1 3 3 3 3\n5 3 1\n1\n-2 3\n7 1 0\n"), shape,
                {.fmt = 3, .totcw = 8, .totnw = 4});
}

TEST(ToRecord, SetsTheFormatBitsOfWeightsThatAreNotAll1) {
  Shape shape{.ncells = 2, .pins = {{1, 2}}, .net_weights = {1}, .cell_weights = {1, 1}, .parts = {-1, -1}};
  expect_record(lists_of("hmetis", "1 2\n1 2\n"), shape, {.fmt = 0, .totcw = 2, .totnw = 1});
  expect_record(lists_of("hmetis", "1 2 11\n1 1 2\n1\n1\n"), shape, {.fmt = 0, .totcw = 2, .totnw = 1});
  shape.cell_weights = {1, 0};
  expect_record(lists_of("hmetis", "1 2 11\n1 1 2\n1\n0\n"), shape, {.fmt = 1, .totcw = 1, .totnw = 1});
  shape.cell_weights = {1, 1};
  shape.net_weights = {4};
  expect_record(lists_of("hmetis", "1 2 1\n4 1 2\n"), shape, {.fmt = 2, .totcw = 2, .totnw = 4});
}

TEST(ToRecord, AddsTheDiagonalThatIsMarkedAsMissing) {
  const std::string text = banner("pattern general") + "3 3 2\n2 3\n1 1\n";
  Shape shape{.ncells = 3,
              .pins = {{1}, {3, 2}, {3}},
              .net_weights = {1, 1, 1},
              .cell_weights = {1, 1, 1},
              .parts = {-1, -1, -1}};
  const Summary ones{.fmt = 0, .totcw = 3, .totnw = 3};
  expect_record(lists_of(matrix(Model::kRowNet, true), text), shape, ones);
  shape.pins = {{1}, {2}, {2, 3}};
  expect_record(lists_of(matrix(Model::kColumnNet, true), text), shape, ones);
}

TEST(ToRecord, WarnsOfTotalsBeyond32Bits) {
  NetLists lists = lists_of("kub", "2\n3\n2147483647 0\n2147483647 0\n2147483647 0\n2147483647\n1\n");
  testing::internal::CaptureStderr();
  Record record;
  to_record(std::move(lists), record);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "quillon: warning: the weights of all cells are 2147483648 together, more than 32 bits hold\n"
            "quillon: warning: the weights of all nets are 6442450941 together, more than 32 bits hold\n");
}

TEST(ReadFile, ReadsEveryFormatFromAFile) {
  const std::string mtx = banner("pattern general") + "1 2 1\n1 2\n";
  const std::vector<std::pair<const char*, std::string>> files{
      {"quillon", "1 2 1 1\n2\n"},
      {"hmetis", "1 2\n2\n"},
      {"kub", "2\n1\n1 1 1\n1\n1\n"},
      {"mtx", mtx},
      {"hif", R"({"nodes":[{"node":1}],"incidences":[{"edge":1,"node":2}]})"}};
  for (const auto& [name, text] : files) {
    const TempFile file(text);
    const NetLists lists = read_file(file.name(), format(name), {});
    EXPECT_EQ(lists.ncells, 2) << text;
    EXPECT_THAT(lists.nadj, ElementsAre(2)) << text;
  }
  const TempFile graph("2 1\n2\n1\n");
  EXPECT_THAT(read_file(graph.name(), format("metis"), {}).nadj, ElementsAre(1, 2));

  const TempFile matrix_file(mtx);
  EXPECT_EQ(read_file(matrix_file.name(), format("mtx"), {Model::kFineGrain, false}).nnets, 3);
  EXPECT_EQ(finding_of([&] {
              read_file(matrix_file.name(), format("mtx"), {Model::kRowNet, true});
            }),
            (Finding{"not-square", Severity::kError, matrix_file.name(), 2, 1,
                     "found 1 rows and 2 columns, expected a square matrix to add a diagonal to", ""}));
}

// The guarantees of a reader for every text that it accepts.
bool is_sound(const NetLists& lists) {
  const auto in_range = [&lists](int cell) { return cell >= 1 && cell <= lists.ncells; };
  const auto fits = [](const auto& entries, int count) {
    return entries.empty() || std::ssize(entries) == count + 1;
  };
  return lists.ncells >= 0 && lists.nnets >= 0 && std::ssize(lists.xnadj) == lists.nnets + 2 &&
         lists.xnadj[1] == 0 && std::is_sorted(lists.xnadj.begin(), lists.xnadj.end()) &&
         lists.xnadj.back() == std::ssize(lists.nadj) &&
         std::all_of(lists.nadj.begin(), lists.nadj.end(), in_range) &&
         fits(lists.cell_weights, lists.ncells) && fits(lists.net_weights, lists.nnets) &&
         fits(lists.diagonal, lists.nnets) && fits(lists.cell_names, lists.ncells) &&
         fits(lists.net_names, lists.nnets);
}

// A small sound file. Its first `nkept` bytes are not changed.
struct Sample {
  const char* name;
  Reader reader;
  std::string text;
  std::size_t nkept = 0;
};

// Otherwise gtest prints the bytes, including uninitialised padding.
void PrintTo(const Sample& sample, std::ostream* out) { *out << sample.name; }

const std::string kSymmetricBanner = banner("pattern symmetric");

const std::vector<Sample> kSamples{
    {"quillon", "quillon", "1 2 1 2 3\n5 1 2\n6 7\n"},
    {"hmetis", "hmetis", "1 2 11\n3 2 1\n4\n5\n"},
    {"kub", "kub", "2\n1\n3 2 0 1\n4\n5"},
    {"metis", "metis", "2 1 11\n3 2 4\n5 1 4\n"},
    {"mtx", kByRow, kSymmetricBanner + "2 2 2\n2 1\n2 2\n", kSymmetricBanner.size()},
    {"hif", "hif", R"({"incidences":[{"edge":1,"node":"a"}]})"},
    {"edges", "edges", "# 1\na, \"b c\"\n2 a\n"},
    {"pairs", pairs(Pairs::kNetCell), "n \"b\"\nn,1 # 2\n"},
    {"cnf", "cnf", "c 1\np cnf 3 2\n1 -2\n0 3 0\n%\n"},
    {"cnf_dual", formula(Model::kDual), "p cnf 2 2\n2 -1 0\n2 0\n"},
    {"cnf_literal", formula(Model::kLiteral), "p cnf 2 2\n2 -1 0\n-2 0\n"}};

class Readers : public testing::TestWithParam<Sample> {
 protected:
  void SetUp() override {
    nwarnings = 0;
    previous_ = set_warning_handler([](const char* /*text*/) { ++nwarnings; });
  }
  void TearDown() override {
    set_warning_handler(previous_);
    EXPECT_EQ(nwarnings, 0);
  }

  // Whether the text is accepted. If not, its finding must be one line with a place inside the text.
  [[nodiscard]] static bool is_accepted(const std::string& text) {
    SCOPED_TRACE(testing::PrintToString(text));
    const Finding finding = finding_of([&text] {
      NetLists lists = lists_of(GetParam().reader, text);
      EXPECT_TRUE(is_sound(lists));
      Record record;
      to_record(std::move(lists), record);
    });
    if (finding.rule == kNoFinding) return true;
    EXPECT_THAT(text_of(finding), testing::MatchesRegex("in:[0-9]+:[0-9]+: error: found [^\n]+"));
    EXPECT_THAT(finding.rule, testing::MatchesRegex("[a-z]+(-[a-z]+)+"));
    EXPECT_TRUE(is_inside(text, finding.line, finding.column));
    return false;
  }

 private:
  // The end of the text counts as inside.
  static bool is_inside(const std::string& text, std::size_t line, std::size_t column) {
    std::size_t start = 0;
    for (; line > 1; --line) {
      start = text.find('\n', start) + 1;
      if (start == 0) return false;
    }
    return start + column - 1 <= std::min(text.find('\n', start), text.size());
  }

  static inline int nwarnings = 0;
  TextHandler previous_ = nullptr;
};

TEST_P(Readers, AcceptOrRefuseEveryPrefixOfAFile) {
  const std::string& text = GetParam().text;
  EXPECT_TRUE(is_accepted(text));
  EXPECT_FALSE(is_accepted(""));
  for (std::size_t size = GetParam().nkept + 1; size < text.size(); ++size) {
    (void)is_accepted(text.substr(0, size));
    if (HasFailure()) return;
  }
}

TEST_P(Readers, AcceptOrRefuseAFileWithAnyByteReplaced) {
  int nrefused = 0;
  for (std::size_t at = GetParam().nkept; at < GetParam().text.size(); ++at) {
    for (const char byte : {'\0', '0', '9', '-', ' ', '\n', '%', 'x', '"'}) {
      std::string text = GetParam().text;
      text[at] = byte;
      nrefused += is_accepted(text) ? 0 : 1;
      if (HasFailure()) return;
    }
  }
  EXPECT_GT(nrefused, 0);
}

INSTANTIATE_TEST_SUITE_P(Formats, Readers, testing::ValuesIn(kSamples),
                         [](const auto& sample) { return std::string(sample.param.name); });

}  // namespace
}  // namespace quillon::formats
