#include <gmock/gmock.h>

#include <numeric>
#include <string>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "tests/double/recorded.h"
#include "tests/double/recorder.h"
#include "tests/support/extremes.h"
#include "tests/support/records.h"

namespace quillon {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using PrinfoHypergraph = Recorded;
using PrDetailinfoHypergraph = Recorded;

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

// NaN is printed with either sign; everything else is kept.
std::string without_nan_signs(const std::string& text) {
  return replaced(replaced(text, " -nan", "  nan"), "-nan", "nan");
}

std::string line_of(const Record& r) {
  testing::internal::CaptureStdout();
  prinfo_hypergraph(&r.h);
  return without_nan_signs(testing::internal::GetCapturedStdout());
}

std::string report_of(const Record& r) {
  pr_detailinfo_hypergraph(&r.h);
  return without_nan_signs(recorder::printed());
}

// Degrees 2, 2, 1 and 0, sizes 2 and 3.
Shape two_nets() {
  return {.ncells = 4, .pins = {{1, 2}, {2, 3, 1}}, .net_weights = {15, 5}, .cell_weights = {2, 1, 4, 3}};
}

TEST_F(PrinfoHypergraph, PrintsTwentyOneFieldsInOneLine) {
  EXPECT_EQ(line_of(Record(two_nets())),
            "4\t2\t5\t1.25\t0.83\t0.66\t1\t1\t2\t2.50\t0.50\t0.20\t2\t0\t3\t1\t4\t10\t5\t15\t20\n");
}

TEST_F(PrinfoHypergraph, WritesToStandardOutputAloneAndAllocatesNoMemory) {
  line_of(Record(two_nets()));

  EXPECT_EQ(recorder::printed(), "");
  EXPECT_THAT(recorder::requests(), IsEmpty());
}

TEST_F(PrinfoHypergraph, TheSmallestDegreeIsTheTrueOneWhenEveryCellHasANet) {
  EXPECT_EQ(line_of(Record({.ncells = 2, .pins = {{1, 2}, {2}}})),
            "2\t2\t3\t1.50\t0.50\t0.33\t1\t0\t2\t1.50\t0.50\t0.33\t1\t0\t2\t1\t1\t2\t1\t1\t2\n");
}

TEST_F(PrinfoHypergraph, EmptyNetsAreCountedAndDoNotLowerTheSmallestSize) {
  EXPECT_EQ(line_of(Record({.ncells = 2, .pins = {{}, {1, 2}, {}}})),
            "2\t3\t2\t1.00\t0.00\t0.00\t1\t0\t1\t0.67\t0.94\t1.41\t2\t2\t2\t1\t1\t2\t1\t1\t3\n");
}

TEST_F(PrinfoHypergraph, ANetWithoutAPinListIsEmpty) {
  Record r({.ncells = 2, .pins = {{}, {1, 2}}});
  r.nets[1].pins = nullptr;
  r.nets[1].pinsend = nullptr;

  EXPECT_EQ(line_of(r), "2\t2\t2\t1.00\t0.00\t0.00\t1\t0\t1\t1.00\t1.00\t1.00\t2\t1\t2\t1\t1\t2\t1\t1\t2\n");
}

TEST_F(PrinfoHypergraph, WithOnlyEmptyListsTheSmallestNonzeroLengthStaysAtItsStart) {
  EXPECT_EQ(
      line_of(Record({.ncells = 1, .pins = {{}}})),
      "1\t1\t0\t0.00\t0.00\tnan\t2000000000\t1\t0\t0.00\t0.00\tnan\t2000000000\t1\t0\t1\t1\t1\t1\t1\t1\n");
}

TEST_F(PrinfoHypergraph, WithoutNetsTheNetFieldsAreStartValuesAndDivisionsByZero) {
  EXPECT_EQ(line_of(Record({.ncells = 2})),
            "2\t0\t0\t0.00\t0.00\tnan\t2000000000\t2\t0\tnan\tnan\tnan\t2000000000\t0\t0\t1\t1\t2\t"
            "2000000000\t0\t0\n");
}

TEST_F(PrinfoHypergraph, WithoutCellsTheCellFieldsAreStartValuesAndDivisionsByZero) {
  EXPECT_EQ(line_of(Record({.ncells = 0, .pins = {{}}})),
            "0\t1\t0\tnan\tnan\tnan\t2000000000\t0\t0\t0.00\t0.00\tnan\t2000000000\t1\t0\t2000000000\t0\t0\t"
            "1\t1\t1\n");
}

TEST_F(PrinfoHypergraph, PinsWithoutCellsAndNetsAverageToInfinity) {
  Record r({});
  r.h._p = 3;

  EXPECT_EQ(line_of(r),
            "0\t0\t3\tinf\tnan\tnan\t2000000000\t0\t0\tinf\tnan\tnan\t2000000000\t0\t0\t"
            "2000000000\t0\t0\t2000000000\t0\t0\n");
}

TEST_F(PrinfoHypergraph, AveragesUseTheStoredNumberOfPins) {
  Record r({.ncells = 2, .pins = {{1, 2}}});
  r.h._p = 6;  // degrees 1 and 1 around 3, size 2 around 6

  EXPECT_EQ(line_of(r), "2\t1\t6\t3.00\t2.00\t0.67\t1\t0\t1\t6.00\t4.00\t0.67\t2\t0\t2\t1\t1\t2\t1\t1\t1\n");
}

TEST_F(PrinfoHypergraph, LargestWeightsNeverGoBelowZero) {
  EXPECT_EQ(line_of(Record({.ncells = 2, .pins = {{1, 2}}, .net_weights = {-4}, .cell_weights = {-3, -5}})),
            "2\t1\t2\t1.00\t0.00\t0.00\t1\t0\t1\t2.00\t0.00\t0.00\t2\t0\t2\t-5\t0\t-8\t-4\t0\t-4\n");
}

TEST_F(PrinfoHypergraph, SmallestWeightsNeverGoAboveTheirStart) {
  EXPECT_EQ(
      line_of(Record({.ncells = 1, .pins = {{1}}, .net_weights = {kMost}, .cell_weights = {2000000001}})),
      "1\t1\t1\t1.00\t0.00\t0.00\t1\t0\t1\t1.00\t0.00\t0.00\t1\t0\t1\t2000000000\t2000000001\t2000000001\t"
      "2000000000\t2147483647\t2147483647\n");
}

TEST_F(PrinfoHypergraph, NetWeightsAreSummedWhateverTheStoredTotalsSay) {
  Record r({.ncells = 1, .pins = {{1}, {1}}, .net_weights = {2, 5}});
  r.h._totnw = r.h._totinw = r.h._virtualnets = 400;

  EXPECT_EQ(line_of(r), "1\t2\t2\t2.00\t0.00\t0.00\t2\t0\t2\t1.00\t0.00\t0.00\t1\t0\t1\t1\t1\t1\t2\t5\t7\n");
}

TEST_F(PrinfoHypergraph, TotalsWrapAround) {
  Record r({.ncells = 2, .pins = {{1}, {2}}, .net_weights = {kMost, 1}, .cell_weights = {kMost - 1, 1}});
  r.h._clst[1].w = kMost;
  r.h._totcw = -kMost - 1;

  EXPECT_EQ(line_of(r),
            "2\t2\t2\t1.00\t0.00\t0.00\t1\t0\t1\t1.00\t0.00\t0.00\t1\t0\t1\t1\t2147483647\t"
            "-2147483648\t1\t2147483647\t-2147483648\n");
}

TEST_F(PrinfoHypergraph, AStaleCellTotalIsFatalBeforeAnythingIsPrinted) {
  Record r(two_nets());
  r.cells[1].w = 7;
  testing::internal::CaptureStdout();
  const std::string text = recorder::fatal_text([&r] { prinfo_hypergraph(&r.h); });

  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(text, "computed total cellw=15 but hypergraph->_totcw=10");
}

TEST_F(PrDetailinfoHypergraph, PrintsTheWholeReport) {
  EXPECT_EQ(report_of(Record(two_nets())),
            " H=(4, 2, 5)"
            "\nCell Degree"
            "\n\tAvg\t:    1.250"
            "\n\tStd\t:    0.829"
            "\n\tCov\t:    0.663"
            "\n\tMin\t:        0 (Zero#: 1)"
            "\n\tMax\t:        2"
            "\nNet Size"
            "\n\tAvg\t:    2.500"
            "\n\tStd\t:    0.500"
            "\n\tCov\t:    0.200"
            "\n\tMin\t:        2 (Zero#: 0)"
            "\n\tMax\t:        3"
            "\nCell Weights"
            "\n\tMin\t:        1 (10.000% of total weight)"
            "\n\tMax\t:        4 (40.000% of total weight)"
            "\n\tTotal\t:       10"
            "\nNet Weights"
            "\n\tMin\t:        5 (25.000% of total weight)"
            "\n\tMax\t:       15 (75.000% of total weight)"
            "\n\tTotal\t:       20"
            "\n\n Cell Degree distribution"
            "\n==============================================="
            "\n CelDeg=    0 -->      1 cell(s) (   25.00%)"
            "\n CelDeg=    1 -->      1 cell(s) (   25.00%)"
            "\n CelDeg=    2 -->      2 cell(s) (   50.00%)"
            "\n\n Net Size  distribution"
            "\n==============================================="
            "\n NetSize=    2 -->      1 net(s) (   50.00%)"
            "\n NetSize=    3 -->      1 net(s) (   50.00%)"
            "\n\n");
}

TEST_F(PrDetailinfoHypergraph, EqualDegreesHaveNoSpreadAndOneLine) {
  EXPECT_EQ(report_of(Record({.ncells = 3, .pins = {{1, 2, 3}, {}}, .net_weights = {1, 3}})),
            " H=(3, 2, 3)"
            "\nCell Degree"
            "\n\tAvg\t:    1.000"
            "\n\tStd\t:    0.000"
            "\n\tCov\t:    0.000"
            "\n\tMin\t:        1 (Zero#: 0)"
            "\n\tMax\t:        1"
            "\nNet Size"
            "\n\tAvg\t:    1.500"
            "\n\tStd\t:    1.500"
            "\n\tCov\t:    1.000"
            "\n\tMin\t:        0 (Zero#: 1)"
            "\n\tMax\t:        3"
            "\nCell Weights"
            "\n\tMin\t:        1 (33.333% of total weight)"
            "\n\tMax\t:        1 (33.333% of total weight)"
            "\n\tTotal\t:        3"
            "\nNet Weights"
            "\n\tMin\t:        1 (25.000% of total weight)"
            "\n\tMax\t:        3 (75.000% of total weight)"
            "\n\tTotal\t:        4"
            "\n\n Cell Degree distribution"
            "\n==============================================="
            "\n CelDeg=    1 -->      3 cell(s) (  100.00%)"
            "\n\n Net Size  distribution"
            "\n==============================================="
            "\n NetSize=    0 -->      1 net(s) (   50.00%)"
            "\n NetSize=    3 -->      1 net(s) (   50.00%)"
            "\n\n");
}

TEST_F(PrDetailinfoHypergraph, WithoutNetsTheSizeDistributionIsAHeading) {
  EXPECT_EQ(report_of(Record({.ncells = 2})),
            " H=(2, 0, 0)"
            "\nCell Degree"
            "\n\tAvg\t:    0.000"
            "\n\tStd\t:    0.000"
            "\n\tCov\t:      nan"
            "\n\tMin\t:        0 (Zero#: 2)"
            "\n\tMax\t:        0"
            "\nNet Size"
            "\n\tAvg\t:      nan"
            "\n\tStd\t:      nan"
            "\n\tCov\t:      nan"
            "\n\tMin\t: 2000000000 (Zero#: 0)"
            "\n\tMax\t:        0"
            "\nCell Weights"
            "\n\tMin\t:        1 (50.000% of total weight)"
            "\n\tMax\t:        1 (50.000% of total weight)"
            "\n\tTotal\t:        2"
            "\nNet Weights"
            "\n\tMin\t: 2000000000 (inf% of total weight)"
            "\n\tMax\t:        0 (nan% of total weight)"
            "\n\tTotal\t:        0"
            "\n\n Cell Degree distribution"
            "\n==============================================="
            "\n CelDeg=    0 -->      2 cell(s) (  100.00%)"
            "\n\n Net Size  distribution"
            "\n==============================================="
            "\n\n");
}

TEST_F(PrDetailinfoHypergraph, WithoutCellsAndNetsBothDistributionsAreHeadings) {
  Record r({});
  r.h._p = 3;

  EXPECT_EQ(report_of(r),
            " H=(0, 0, 3)"
            "\nCell Degree"
            "\n\tAvg\t:      inf"
            "\n\tStd\t:      nan"
            "\n\tCov\t:      nan"
            "\n\tMin\t: 2000000000 (Zero#: 0)"
            "\n\tMax\t:        0"
            "\nNet Size"
            "\n\tAvg\t:      inf"
            "\n\tStd\t:      nan"
            "\n\tCov\t:      nan"
            "\n\tMin\t: 2000000000 (Zero#: 0)"
            "\n\tMax\t:        0"
            "\nCell Weights"
            "\n\tMin\t: 2000000000 (inf% of total weight)"
            "\n\tMax\t:        0 (nan% of total weight)"
            "\n\tTotal\t:        0"
            "\nNet Weights"
            "\n\tMin\t: 2000000000 (inf% of total weight)"
            "\n\tMax\t:        0 (nan% of total weight)"
            "\n\tTotal\t:        0"
            "\n\n Cell Degree distribution"
            "\n==============================================="
            "\n\n Net Size  distribution"
            "\n==============================================="
            "\n\n");
}

TEST_F(PrDetailinfoHypergraph, NegativeWeightsAndTotalsOfZeroShowInThePercentages) {
  const std::string report = report_of(
      Record({.ncells = 2, .pins = {{1, 2}, {1}}, .net_weights = {-3, -5}, .cell_weights = {-2, 2}}));

  EXPECT_THAT(report, testing::HasSubstr("\nCell Weights"
                                         "\n\tMin\t:       -2 (-inf% of total weight)"
                                         "\n\tMax\t:        2 (inf% of total weight)"
                                         "\n\tTotal\t:        0"
                                         "\nNet Weights"
                                         "\n\tMin\t:       -5 (62.500% of total weight)"
                                         "\n\tMax\t:        0 (-0.000% of total weight)"
                                         "\n\tTotal\t:       -8"
                                         "\n\n Cell Degree distribution"));
}

TEST_F(PrDetailinfoHypergraph, AveragesUseTheStoredNumberOfPins) {
  Record r({.ncells = 2, .pins = {{1, 2}}});
  r.h._p = 6;
  const std::string report = report_of(r);

  EXPECT_THAT(report, testing::HasSubstr(" H=(2, 1, 6)"
                                         "\nCell Degree"
                                         "\n\tAvg\t:    3.000"
                                         "\n\tStd\t:    2.000"
                                         "\n\tCov\t:    0.667"
                                         "\n\tMin\t:        1 (Zero#: 0)"
                                         "\n\tMax\t:        1"
                                         "\nNet Size"
                                         "\n\tAvg\t:    6.000"
                                         "\n\tStd\t:    4.000"
                                         "\n\tCov\t:    0.667"));
}

TEST_F(PrDetailinfoHypergraph, CountsLongListsOfTheFirstAndTheLastItem) {
  std::vector<int> all(20000);
  std::iota(all.begin(), all.end(), 1);
  EXPECT_THAT(report_of(Record({.ncells = 20000, .pins = {all, {1}, all}})),
              testing::HasSubstr("\n NetSize=    1 -->      1 net(s) (   33.33%)"
                                 "\n NetSize= 20000 -->      2 net(s) (   66.67%)"));
}

TEST_F(PrDetailinfoHypergraph, AllocatesTwoArraysThatItDoesNotFree) {
  report_of(Record(two_nets()));

  EXPECT_THAT(recorder::requests(),
              ElementsAre("imalloc 3 detailinfo: degcnt", "imalloc 4 detailinfo: sizecnt"));
  EXPECT_THAT(recorder::held(), ElementsAre("detailinfo: degcnt", "detailinfo: sizecnt"));
}

TEST_F(PrDetailinfoHypergraph, WithoutCellsAndNetsTheArraysHaveOneEntry) {
  report_of(Record({}));

  EXPECT_THAT(recorder::requests(),
              ElementsAre("imalloc 1 detailinfo: degcnt", "imalloc 1 detailinfo: sizecnt"));
}

TEST_F(PrDetailinfoHypergraph, EachFailingRequestNamesItsBlockAndNothingIsPrinted) {
  std::vector<std::string> tags;
  for (int n = 1; n <= 3; ++n) {
    recorder::reset();
    const Record r(two_nets());
    recorder::fail_allocation(n);
    tags.push_back(recorder::fatal_text([&r] { pr_detailinfo_hypergraph(&r.h); }));
    EXPECT_EQ(recorder::printed().empty(), n < 3);
  }

  EXPECT_THAT(tags, ElementsAre("detailinfo: degcnt", "detailinfo: sizecnt", recorder::kSound));
}

TEST_F(PrDetailinfoHypergraph, WritesNothingToStandardOutputItself) {
  testing::internal::CaptureStdout();
  report_of(Record(two_nets()));

  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(PrDetailinfoHypergraph, AStaleCellTotalIsFatalBeforeAnythingIsPrintedOrAllocated) {
  Record r(two_nets());
  r.h._totcw = 11;

  EXPECT_EQ(recorder::fatal_text([&r] { pr_detailinfo_hypergraph(&r.h); }),
            "computed total cellw=10 but hypergraph->_totcw=11");
  EXPECT_EQ(recorder::printed(), "");
  EXPECT_THAT(recorder::requests(), IsEmpty());
}

}  // namespace
}  // namespace quillon
