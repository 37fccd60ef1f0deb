#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "oracle/oracle.h"
#include "tests/double/recorded.h"
#include "tests/double/recorder.h"
#include "tests/support/records.h"
#include "tests/support/temp_file.h"
#include "util/util.h"

namespace quillon {
namespace {

using recorder::fatal_text;
using recorder::requests;
using testing::ElementsAre;
using testing::IsEmpty;

using FillToArrays = Recorded;
using LoadFromArrays = Recorded;
using ReadNetArrays = Recorded;
using WriteHmetis = Recorded;
using PartitionVectors = Recorded;

// Net arrays as vectors: the starts from entry 1 on, and the pins that they lead to.
struct NetArrays {
  int ncells = 0;
  int nnets = 0;
  std::vector<int> starts;
  std::vector<int> pins;
};

NetArrays moved_to_vectors(int ncells, int nnets, int* xnadj, int* nadj) {
  NetArrays arrays{ncells, nnets, std::vector<int>(xnadj + 1, xnadj + nnets + 2), {}};
  arrays.pins.assign(nadj, nadj + arrays.starts.back());
  _usfree(xnadj);
  _usfree(nadj);
  return arrays;
}

NetArrays filled(const Hypergraph& h) {
  int* xnadj = nullptr;
  int* nadj = nullptr;
  hypergraph_Fill2Arr(&h, &xnadj, &nadj);
  return moved_to_vectors(h._c, h._n, xnadj, nadj);
}

NetArrays read(const std::string& text) {
  const TempFile file(text);
  int ncells = kMarker;
  int nnets = kMarker;
  int* xnadj = nullptr;
  int* nadj = nullptr;
  read_hypergraph_netar(file.name(), &ncells, &nnets, &xnadj, &nadj);
  return moved_to_vectors(ncells, nnets, xnadj, nadj);
}

std::string message(const std::string& text) {
  recorder::reset();
  return fatal_text([&] { read(text); });
}

constexpr const char* kNoHeader = "read_hypergraph : cannot read numbering, #cells, #nets, #pins.";

std::string wrong_pins(const std::string& numbers) {
  return "read_hypergraph_netar: Something wrong with the pins from input file " + numbers + "\n";
}

TEST_F(FillToArrays, GivesTheStartsAndPinsOfTheNets) {
  const Record r({.ncells = 4, .pins = {{3, 1}, {}, {2, 1, 3}}});
  const NetArrays arrays = filled(r.h);
  EXPECT_THAT(arrays.starts, ElementsAre(0, 2, 2, 5));
  EXPECT_THAT(arrays.pins, ElementsAre(3, 1, 2, 1, 3));
  EXPECT_THAT(requests(),
              ElementsAre("imalloc 5 hypergraph_Fill2Arr: xnadj", "imalloc 7 read_hypergraph_netar: nadj",
                          "free hypergraph_Fill2Arr: xnadj", "free read_hypergraph_netar: nadj"));
}

TEST_F(FillToArrays, OmitsWhatTheSpareNetHas) {
  Record r({.ncells = 4, .pins = {{3, 1}, {2}}});
  r.nets[0].pins = r.nets[0].pinsend = r.cell_list.data();
  const NetArrays arrays = filled(r.h);
  EXPECT_THAT(arrays.starts, ElementsAre(0, 2, 3));
  EXPECT_THAT(arrays.pins, ElementsAre(3, 1, 2));
}

TEST_F(FillToArrays, GivesOneStartWithoutNets) {
  const Record r({.ncells = 2, .pins = {}});
  EXPECT_THAT(filled(r.h).starts, ElementsAre(0));
}

TEST_F(LoadFromArrays, BuildsBothSidesWithWeightsOfOne) {
  const int xnadj[] = {kMarker, 0, 2, 2, 5};
  const int nadj[] = {3, 1, 2, 1, 3};
  Hypergraph h;
  h._fmt = 2;
  hypergraph_LoadFromArr(&h, 3, 4, xnadj, nadj, nullptr);

  EXPECT_THAT(pins_of_nets(h), ElementsAre(ElementsAre(3, 1), IsEmpty(), ElementsAre(2, 1, 3)));
  EXPECT_THAT(nets_of_cells(h), ElementsAre(ElementsAre(1, 3), ElementsAre(3), ElementsAre(1, 3), IsEmpty()));
  EXPECT_THAT(of_nets(h, &Net::w), ElementsAre(1, 1, 1));
  EXPECT_THAT(of_cells(h, &Cell::w), ElementsAre(1, 1, 1, 1));
  EXPECT_THAT((std::vector<int>{h._c, h._n, h._p, h._maxwcd, h._maxcd, h._mincd}),
              ElementsAre(4, 3, 5, 0, 2, 0));
  EXPECT_THAT((std::vector<int>{h._totcw, h._totinw, h._totnw, h._virtualnets, h._fmt, h._tag}),
              ElementsAre(0, 0, 0, 0, 2, 0));
  EXPECT_EQ(h._nlst[4].pins, h._cell_list + 5);
  EXPECT_EQ(h._nlst[2].pinsend, h._nlst[2].pins - 1);
}

TEST_F(LoadFromArrays, AllocatesTheArraysOfAHeapRecordAndOneForWork) {
  const int xnadj[] = {kMarker, 0, 2};
  const int nadj[] = {1, 2};
  const int diagonal[] = {kMarker, 1};
  Hypergraph h;
  hypergraph_LoadFromArr(&h, 1, 2, xnadj, nadj, diagonal);
  // Room for the pins and a full diagonal, of which nothing is added.
  EXPECT_THAT(requests(),
              ElementsAre("umalloc 128 malloc_hypergraph: clst", "umalloc 72 malloc_hypergraph: nlst",
                          "umalloc 24 malloc_hypergraph: cell_list", "umalloc 24 malloc_hypergraph: net_list",
                          "imalloc 4 hypergraph_LoadFromArr: work", "free hypergraph_LoadFromArr: work"));
  EXPECT_EQ(h._p, 2);
  free_hypergraph(&h);
  EXPECT_THAT(recorder::held(), IsEmpty());
}

TEST_F(LoadFromArrays, AddsTheDiagonalWhereTheMarkIsZero) {
  const int xnadj[] = {kMarker, 0, 1, 2, 2, 3};
  const int nadj[] = {2, 3, 1};
  const int diagonal[] = {kMarker, 0, 1, 0, 0};
  Hypergraph h;
  hypergraph_LoadFromArr(&h, 4, 3, xnadj, nadj, diagonal);  // there is no cell 4 to go with net 4
  EXPECT_THAT(pins_of_nets(h),
              ElementsAre(ElementsAre(2, 1), ElementsAre(3), ElementsAre(3), ElementsAre(1)));
  EXPECT_EQ(h._p, 5);
}

TEST_F(LoadFromArrays, UsesPositionsAsTheyAre) {
  const int xnadj[] = {kMarker, 2, 3, 4};
  const int nadj[] = {9, 9, 2, 1};
  Hypergraph h;
  hypergraph_LoadFromArr(&h, 2, 2, xnadj, nadj, nullptr);
  EXPECT_THAT(pins_of_nets(h), ElementsAre(ElementsAre(2), ElementsAre(1)));
  EXPECT_EQ(h._p, 2);
}

TEST_F(LoadFromArrays, MakesAHypergraphOfNothing) {
  const int xnadj[] = {kMarker, 0};
  Hypergraph h;
  hypergraph_LoadFromArr(&h, 0, 0, xnadj, nullptr, nullptr);
  EXPECT_EQ(h._p, 0);
  EXPECT_EQ(h._nlst[1].pins, h._cell_list);
  EXPECT_EQ(h._clst[1].nets, h._net_list);
  EXPECT_EQ(h._mincd, 2000000000);
}

TEST_F(LoadFromArrays, RefusesMorePinsThanAreCounted) {
  const int most = std::numeric_limits<int>::max();
  const int xnadj[] = {kMarker, most - 1};
  const int diagonal[] = {kMarker};
  Hypergraph h;
  EXPECT_EQ(fatal_text([&] { hypergraph_LoadFromArr(&h, 0, 2, xnadj, nullptr, diagonal); }),
            "hypergraph_LoadFromArr: 2147483646 pins and a diagonal of 2 are too many");
  EXPECT_THAT(requests(), IsEmpty());
}

TEST_F(LoadFromArrays, GivesBackWhatFillToArraysTook) {
  for (unsigned seed = 1; seed <= 300; ++seed) {
    const Record r = random_record(seed, {.duplicates = true});
    const NetArrays arrays = filled(r.h);
    std::vector<int> xnadj = arrays.starts;
    xnadj.insert(xnadj.begin(), kMarker);
    Hypergraph h;
    hypergraph_LoadFromArr(&h, arrays.nnets, arrays.ncells, xnadj.data(), arrays.pins.data(), nullptr);
    EXPECT_EQ(pins_of_nets(h), pins_of_nets(r.h)) << seed;
    EXPECT_EQ(nets_of_cells(h), nets_of_cells(r.h)) << seed;
    free_hypergraph(&h);
  }
  EXPECT_THAT(recorder::held(), IsEmpty());
}

TEST_F(ReadNetArrays, NumbersCellsFromOneWhateverTheFileDoes) {
  for (const std::string text : {"1 3 2 4\n1 2\n2 3\n", "0 3 2 4\n0 1\n1 2\n"}) {
    const NetArrays arrays = read(text);
    EXPECT_EQ(arrays.ncells, 3);
    EXPECT_EQ(arrays.nnets, 2);
    EXPECT_THAT(arrays.starts, ElementsAre(0, 2, 4)) << text;
    EXPECT_THAT(arrays.pins, ElementsAre(1, 2, 2, 3)) << text;
  }
}

TEST_F(ReadNetArrays, RequestsEverythingBeforeTheFirstNet) {
  const TempFile file("1 3 2 4\n1 2\n2 3\n");
  int ncells = 0;
  int nnets = 0;
  int* xnadj = nullptr;
  int* nadj = nullptr;
  read_hypergraph_netar(file.name(), &ncells, &nnets, &xnadj, &nadj);
  const std::string name = file.name();
  EXPECT_THAT(requests(),
              ElementsAre("umalloc 16777216 read_hypergraph_netar : line",
                          "ufopen " + name + " r read_hypergraph_netar",
                          "imalloc 4 read_hypergraph_netar: xnadj", "imalloc 6 read_hypergraph_netar: nadj",
                          "free read_hypergraph_netar : line", "ufclose " + name));
  EXPECT_EQ(nadj[4], 0);  // stored by the attempt to read after the last pin
}

TEST_F(ReadNetArrays, RequestsTwoEntriesForNoNets) {
  read("1 3 0 0\n");
  EXPECT_THAT(requests({"imalloc"}),
              ElementsAre("imalloc 2 read_hypergraph_netar: xnadj", "imalloc 2 read_hypergraph_netar: nadj"));
}

// As many as the array has room for, or more, scanned together.
TEST_F(ReadNetArrays, CountsSurplusPinsOfALongFileWithoutStoringThem) {
  for (const int size : {40, 41, 42, 60}) {
    std::string line;
    for (int k = 0; k < size; ++k) line += "5 ";
    EXPECT_EQ(message("1 9 5 80\n" + line + "\n" + line + "\n"),
              wrong_pins("80 " + std::to_string(5 * size)));
  }
}

int entry_after_the_last_pin(const std::string& text) {
  const TempFile file(text);
  int ncells = 0;
  int nnets = 0;
  int* xnadj = nullptr;
  int* nadj = nullptr;
  read_hypergraph_netar(file.name(), &ncells, &nnets, &xnadj, &nadj);
  const int entry = nadj[xnadj[nnets + 1]];
  moved_to_vectors(ncells, nnets, xnadj, nadj);
  return entry;
}

TEST_F(ReadNetArrays, LeavesTheShiftAfterTheLastPinAlsoBeforeCellWeights) {
  EXPECT_EQ(entry_after_the_last_pin("0 1 2 2\n0\n0\n"), 1);
  EXPECT_EQ(entry_after_the_last_pin("0 1 2 2 1\n0\n0\n7\n"), 1);
  EXPECT_EQ(entry_after_the_last_pin("1 1 2 2 1\n1\n1\n7\n"), 0);
}

// Long enough to be read ahead: the number after the last net is scanned together with the pins.
TEST_F(ReadNetArrays, LeavesTheShiftAfterTheLastPinOfALongFileToo) {
  std::string line;
  for (int k = 0; k < 40; ++k) line += "5 ";
  EXPECT_EQ(entry_after_the_last_pin("0 9 2 80\n" + line + "\n" + line + "\n7\n"), 1);
  EXPECT_EQ(entry_after_the_last_pin("1 9 2 80\n" + line + "\n" + line + "\n7\n"), 0);
}

// The buffer still holds an earlier piece of the file after the last number.
TEST_F(ReadNetArrays, EndsTheLastNumberAtTheEndOfTheFile) {
  constexpr int kNets = 30000;
  for (int extra = 0; extra < 8; ++extra) {
    std::string text = "1 9 " + std::to_string(kNets + 1) + " " + std::to_string(kNets + 1) + "\n";
    text += std::string(static_cast<std::size_t>(extra), ' ');
    for (int j = 1; j <= kNets; ++j) text += "7777777\n";
    EXPECT_EQ(read(text + "5").pins.back(), 5);
  }
}

TEST_F(ReadNetArrays, GrowsTheLineBufferForMorePinsThanBytes) {
  EXPECT_EQ(message("1 3 1 16777217\n1\n"), wrong_pins("16777217 1"));
  EXPECT_THAT(requests({"urealloc"}), ElementsAre("urealloc 16777217 read_hypergraph_netar: line"));
  EXPECT_EQ(message("1 3 1 16777216\n1\n"), wrong_pins("16777216 1"));
  EXPECT_THAT(requests({"urealloc"}), IsEmpty());
}

TEST_F(ReadNetArrays, SkipsNetWeightsCommentsAndWhatFollowsTheNumbers) {
  const NetArrays arrays = read("% a\n1 3 3 4 3\n% b\n7 1 2 end 3\n\n% c\n9 3 1\n1 2 3\n");
  EXPECT_THAT(arrays.starts, ElementsAre(0, 2, 2, 4));
  EXPECT_THAT(arrays.pins, ElementsAre(1, 2, 3, 1));
}

TEST_F(ReadNetArrays, ReadsTheFirstNumberAsAPinWithoutNetWeights) {
  EXPECT_THAT(read("1 9 1 3\n7 1 2\n").pins, ElementsAre(7, 1, 2));
  EXPECT_THAT(read("1 9 1 3 1\n7 1 2\n").pins, ElementsAre(7, 1, 2));
  EXPECT_THAT(read("1 9 1 2 2\n7 1 2\n").pins, ElementsAre(1, 2));
}

TEST_F(ReadNetArrays, ComparesNoPinWithTheNumberOfCells) {
  EXPECT_THAT(read("0 1 1 3\n-5 4294967295 2147483647\n").pins,
              ElementsAre(-4, 0, std::numeric_limits<int>::min()));
}

// Long enough for every path of the reader; one net in three is empty.
TEST_F(ReadNetArrays, GivesEachOfManyNetsItsPins) {
  for (const bool weights : {false, true}) {
    std::string lines;
    std::vector<int> starts = {0};
    std::vector<int> pins;
    for (int j = 1; j <= 500; ++j) {
      if (weights) lines += std::to_string(j) + " ";
      for (int k = 0; k < j % 3 * (j % 7); ++k) {
        pins.push_back(1 + j * j * (k + 1) % 99991);
        lines += std::to_string(pins.back() - 1) + " ";
      }
      lines += "\n";
      starts.push_back(static_cast<int>(pins.size()));
    }
    const NetArrays arrays =
        read("0 99991 500 " + std::to_string(pins.size()) + (weights ? " 2\n" : "\n") + lines);
    EXPECT_EQ(arrays.starts, starts);
    EXPECT_EQ(arrays.pins, pins);
  }
}

TEST_F(ReadNetArrays, RepeatsTheLineBeforeForOneThatIsMissing) {
  EXPECT_THAT(read("1 3 2 4\n1 2\n").pins, ElementsAre(1, 2, 1, 2));
  EXPECT_THAT(read("1 4 1 4").pins, ElementsAre(1, 4, 1, 4));  // the header
  EXPECT_EQ(message("1 3 2 3\n1 2\n"), wrong_pins("3 4"));
}

TEST_F(ReadNetArrays, RepeatsTheLastLineForAllThatAreMissing) {
  const NetArrays arrays = read("0 9 5 11\n7 8 6\n4 5");
  EXPECT_THAT(arrays.starts, ElementsAre(0, 3, 5, 7, 9, 11));
  EXPECT_THAT(arrays.pins, ElementsAre(8, 9, 7, 5, 6, 5, 6, 5, 6, 5, 6));
  EXPECT_THAT(read("1 9 4 4 2\n7 1\n").pins, ElementsAre(1, 1, 1, 1));  // without the weight of the line
  EXPECT_THAT(read("1 9 4 0\n\n").starts, ElementsAre(0, 0, 0, 0, 0));
  EXPECT_EQ(message("1 9 1000000 3\n1 2\n"), wrong_pins("3 2000000"));
  EXPECT_EQ(message("1 9 3000 5998\n1 2\n"), wrong_pins("5998 6000"));
}

TEST_F(ReadNetArrays, ReadsALastLineWithoutItsLineEnd) {
  EXPECT_THAT(read("1 3 2 4\n1 2\n2 3").pins, ElementsAre(1, 2, 2, 3));
}

TEST_F(ReadNetArrays, RefusesAnotherNumberOfPinsThanAnnounced) {
  EXPECT_EQ(message("1 3 2 5\n1 2\n2 3\n"), wrong_pins("5 4"));
  EXPECT_EQ(message("1 3 2 0\n1 2 3 1 2 3\n2 3\n"), wrong_pins("0 8"));
  EXPECT_EQ(message("1 3 1 -1\n1 2\n"), wrong_pins("-1 2"));
  EXPECT_EQ(message("1 3 1 -2147483648\n\n"), wrong_pins("-2147483648 0"));
}

TEST_F(ReadNetArrays, GivesOneStartWithoutNets) {
  EXPECT_THAT(read("1 3 0 0\n").starts, ElementsAre(0));
  EXPECT_EQ(message("1 3 0 2\n1 2\n"), wrong_pins("2 0"));
  EXPECT_EQ(message("1 3 -4 2\n1 2\n"), wrong_pins("2 0"));
}

TEST_F(ReadNetArrays, TreatsANegativeNumberOfNetsAsNone) {
  const TempFile file("1 3 -4 0\n");
  int ncells = 0;
  int nnets = 0;
  int* xnadj = nullptr;
  int* nadj = nullptr;
  read_hypergraph_netar(file.name(), &ncells, &nnets, &xnadj, &nadj);
  EXPECT_EQ(nnets, -4);
  EXPECT_EQ(xnadj[1], 0);
}

TEST_F(ReadNetArrays, RefusesAHeaderThatIsIncompleteOrOutOfRange) {
  EXPECT_EQ(message(""), kNoHeader);
  EXPECT_EQ(message("% only\n"), kNoHeader);
  EXPECT_EQ(message("1 2 3\n"), kNoHeader);
  EXPECT_EQ(message("2 2 1 2 4\n"), "read_hypergraph : invalid fmt parameter [4]");
  EXPECT_EQ(message("1 2 1 2 -1\n"), "read_hypergraph : invalid fmt parameter [-1]");
  EXPECT_EQ(message("2 2 1 2\n"), "read_hypergraph : invalid numbering parameter [2]");
  EXPECT_EQ(message("-1 2 1 2\n"), "read_hypergraph : invalid numbering parameter [-1]");
}

TEST_F(ReadNetArrays, RefusesALineOfTheBuffersSizeLessFive) {
  const std::string header = "1 1 1 1\n1";
  EXPECT_THAT(read(header + std::string(16777216 - 8, ' ') + "\n").pins, ElementsAre(1));
  EXPECT_EQ(message(header + std::string(16777216 - 7, ' ') + "\n"),
            "read_hypergraph_netar: Buffer for fgets not big enough.");
}

TEST_F(WriteHmetis, WritesNetsThenWeightsEachFollowedByABlank) {
  const Record r(
      {.ncells = 3, .pins = {{3, 1}, {}, {2}}, .net_weights = {5, 6, 7}, .cell_weights = {8, 9, 10}});
  const TempFile file;
  EXPECT_EQ(write_hmetis_hypergraph(&r.h, file.name()), 0);
  EXPECT_EQ(file.contents(), "3 3 11\n5 3 1 \n6 \n7 2 \n8 \n9 \n10 ");
  const std::string name = file.name();
  EXPECT_THAT(requests(), ElementsAre("ufopen " + name + " w write_hmetis_hypergraph", "ufclose " + name));
}

TEST_F(WriteHmetis, WritesAHypergraphWithoutNets) {
  const Record r({.ncells = 2, .pins = {}});
  const TempFile file;
  write_hmetis_hypergraph(&r.h, file.name());
  EXPECT_EQ(file.contents(), "0 2 11\n1 \n1 ");
}

constexpr std::size_t kMany = 30000;  // lines: more than fit in any buffer

std::string repeated(const std::string& line) {
  std::string text;
  for (std::size_t k = 0; k < kMany; ++k) text += line;
  return text;
}

TEST_F(WriteHmetis, WritesAnyNumberOfEmptyNetsAndOfCells) {
  const std::vector<int> weights(kMany, std::numeric_limits<int>::min());
  const Record r({.ncells = kMany, .pins = Lists(kMany), .net_weights = weights, .cell_weights = weights});
  const TempFile file;
  write_hmetis_hypergraph(&r.h, file.name());
  EXPECT_EQ(file.contents(), "30000 30000 11" + repeated("\n-2147483648 ") + repeated("\n-2147483648 "));
}

// The recorder still lists the stream as open: it does not see fclose.
struct KubFile : TempFile {
  explicit KubFile(const Hypergraph& h) { EXPECT_EQ(write_kub_hypergraph(&h, name()), 0); }
};

TEST(WriteKubHypergraph, WritesSizesAndCellsFromZeroAndClosesByItself) {
  recorder::reset();
  const Record r(
      {.ncells = 3, .pins = {{3, 1}, {}, {2}}, .net_weights = {5, 6, 7}, .cell_weights = {8, 9, 10}});
  const KubFile file(r.h);
  EXPECT_EQ(file.contents(), "3\n3\n5 2 2 0\n6 0\n7 1 1\n8\n9\n10");
  EXPECT_THAT(requests(), ElementsAre("ufopen " + std::string(file.name()) + " w write_kub_hypergraph"));
  recorder::forget_files();
}

TEST(WriteKubHypergraph, WritesAnyNumberOfEmptyNetsAndOfCells) {
  recorder::reset();
  const std::vector<int> weights(kMany, std::numeric_limits<int>::min());
  const Record r({.ncells = kMany, .pins = Lists(kMany), .net_weights = weights, .cell_weights = weights});
  const KubFile file(r.h);
  EXPECT_EQ(file.contents(), "30000\n30000" + repeated("\n-2147483648 0") + repeated("\n-2147483648"));
  recorder::forget_files();
}

TEST(WriteKubHypergraph, WritesOneLongNet) {
  recorder::reset();
  const Record r({.ncells = kMany, .pins = {std::vector<int>(kMany, kMany)}});
  const KubFile file(r.h);
  EXPECT_EQ(file.contents(), "30000\n1\n1 30000" + repeated(" 29999") + repeated("\n1"));
  recorder::forget_files();
}

TEST(WriteKubHypergraph, WritesAHypergraphWithoutNets) {
  recorder::reset();
  const Record r({.ncells = 2, .pins = {}});
  const KubFile file(r.h);
  EXPECT_EQ(file.contents(), "2\n0\n1\n1");
  recorder::forget_files();
}

Record with_parts(int ncells) {
  Shape shape{.ncells = ncells, .pins = {}};
  for (int i = 1; i <= ncells; ++i) shape.parts.push_back(i % 7);
  return Record(shape);
}

// Values of cells 1 .. n, 100 on a line.
std::string lines_of_100(const std::vector<int>& values) {
  std::string text;
  for (std::size_t i = 0; i < values.size(); ++i)
    text += std::to_string(values[i]) + (i % 100 == 99 ? " \n" : " ");
  return text;
}

TEST_F(PartitionVectors, AreWrittenWithAHundredNumbersALine) {
  for (const int ncells : {0, 1, 99, 100, 101, 200, 250}) {
    recorder::reset();
    const Record r = with_parts(ncells);
    const std::vector<int> parts = of_cells(r.h, &Cell::pno);
    std::vector<int> from_one = parts;
    from_one.insert(from_one.begin(), kMarker);
    const TempFile of_record;
    const TempFile of_array;
    write_part_info(&r.h, of_record.name());
    write_partvec(ncells, from_one.data(), of_array.name());
    EXPECT_EQ(of_record.contents(), lines_of_100(parts)) << ncells;
    EXPECT_EQ(of_array.contents(), lines_of_100(parts)) << ncells;

    const std::string tag = " w write_part_info: ofp";
    const std::string first = of_record.name();
    const std::string second = of_array.name();
    EXPECT_THAT(requests(), ElementsAre("ufopen " + first + tag, "ufclose " + first, "ufopen " + second + tag,
                                        "ufclose " + second));
  }
}

TEST_F(PartitionVectors, AreNothingForANegativeCount) {
  const TempFile file;
  write_partvec(-1, nullptr, file.name());
  EXPECT_EQ(file.contents(), "");
}

TEST_F(PartitionVectors, ReadBackAsTheyWereWritten) {
  Record r = with_parts(250);
  const std::vector<int> parts = of_cells(r.h, &Cell::pno);
  const TempFile file;
  write_part_info(&r.h, file.name());
  for (int i = 0; i <= 251; ++i) r.h._clst[i].pno = kMarker;
  recorder::reset();
  read_part_info(&r.h, file.name());
  EXPECT_EQ(of_cells(r.h, &Cell::pno), parts);
  EXPECT_EQ(r.h._clst[0].pno, kMarker);
  EXPECT_EQ(r.h._clst[251].pno, kMarker);
  EXPECT_THAT(requests(),
              ElementsAre("imalloc 251 read_part_info: ta",
                          "read_array " + std::string(file.name()) + " 250 1", "free read_part_info: ta"));
}

using Write = void (*)(const Hypergraph* h, const char* filename);

std::string written_by(Write write, const Hypergraph& h) {
  recorder::reset();
  const TempFile file;
  write(&h, file.name());
  recorder::forget_files();
  return file.contents();
}

TEST_F(PartitionVectors, AndAllOtherFormatsAgreeWithTheirTwinsOnRandomRecords) {
  const std::pair<Write, Write> pairs[] = {
      {[](const Hypergraph* h, const char* name) { write_hypergraph(h, name, h->_c % 2, h->_n % 4); },
       [](const Hypergraph* h, const char* name) {
         oracle::write_hypergraph(h, name, h->_c % 2, h->_n % 4);
       }},
      {[](const Hypergraph* h, const char* name) { write_hmetis_hypergraph(h, name); },
       [](const Hypergraph* h, const char* name) { oracle::write_hmetis_hypergraph(h, name); }},
      {[](const Hypergraph* h, const char* name) { write_kub_hypergraph(h, name); },
       [](const Hypergraph* h, const char* name) { oracle::write_kub_hypergraph(h, name); }},
      {write_part_info, oracle::write_part_info}};
  for (unsigned seed = 1; seed <= 100; ++seed) {
    const Record r = random_record(seed, {.ncells = seed % 10 == 0 ? 300 : 9, .weight = 1000000000});
    for (const auto& [write, twin] : pairs) EXPECT_EQ(written_by(write, r.h), written_by(twin, r.h)) << seed;
  }
}

}  // namespace
}  // namespace quillon
