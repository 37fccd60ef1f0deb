#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "tests/double/recorded.h"
#include "tests/double/recorder.h"
#include "tests/support/records.h"

namespace quillon {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using PrinfoHypergraph = Recorded;
using PrDetailinfoHypergraph = Recorded;

constexpr int kMost = std::numeric_limits<int>::max();

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

// What is not a number is printed with either sign; all else stays as it is.
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
Shape small_shape() {
  return {.ncells = 4, .pins = {{1, 2}, {2, 3, 1}}, .net_weights = {15, 5}, .cell_weights = {2, 1, 4, 3}};
}

TEST_F(PrinfoHypergraph, PrintsTwentyOneFieldsInOneLine) {
  EXPECT_EQ(line_of(Record(small_shape())),
            "4\t2\t5\t1.25\t0.83\t0.66\t1\t1\t2\t2.50\t0.50\t0.20\t2\t0\t3\t1\t4\t10\t5\t15\t20\n");
}

TEST_F(PrinfoHypergraph, WritesToStandardOutputAloneAndTakesNoMemory) {
  line_of(Record(small_shape()));

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
  Record r(small_shape());
  r.cells[1].w = 7;
  testing::internal::CaptureStdout();
  const std::string text = recorder::fatal_text([&r] { prinfo_hypergraph(&r.h); });

  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(text, "computed total cellw=15 but hypergraph->_totcw=10");
}

// Mean, deviation and their ratio of the lengths of lists, by the mean of squares.
std::vector<double> spread_of(const Lists& lists) {
  const auto n = static_cast<double>(lists.size());
  double sum = 0, squares = 0;
  for (const std::vector<int>& list : lists) {
    const auto length = static_cast<double>(list.size());
    sum += length;
    squares += length * length;
  }
  const double mean = sum / n;
  const double deviation = std::sqrt(std::max(squares / n - mean * mean, 0.0));
  return {mean, lists.empty() ? mean : deviation, deviation / mean};
}

// Smallest length above 0, number of empty lists, largest length.
std::vector<double> extremes_of(const Lists& lists) {
  std::map<std::size_t, int> count;
  for (const std::vector<int>& list : lists) ++count[list.size()];
  const int nempty = count.count(0) != 0 ? count[0] : 0;
  const double largest = count.empty() ? 0 : static_cast<double>(count.rbegin()->first);
  count.erase(0);
  return {count.empty() ? 2000000000.0 : static_cast<double>(count.begin()->first), double(nempty), largest};
}

std::vector<double> weights_of(const std::vector<int>& weights) {
  double least = 2000000000, most = 0, sum = 0;
  for (const int w : weights) {
    least = w < least ? w : least;
    most = w > most ? w : most;
    sum += w;
  }
  return {least, most, sum};
}

TEST_F(PrinfoHypergraph, AgreesWithPlainFormulasOnRandomRecords) {
  for (unsigned seed = 1; seed <= 300; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    const Shape shape = random_shape(seed, {.duplicates = seed % 2 == 0});
    const Record r(shape);
    const Lists nets = nets_of_cells(shape);
    std::vector<double> expected = {double(r.h._c), double(r.h._n), double(r.h._p)};
    for (const std::vector<double>& part :
         {spread_of(nets), extremes_of(nets), spread_of(shape.pins), extremes_of(shape.pins),
          weights_of(shape.cell_weights), weights_of(shape.net_weights)})
      expected.insert(expected.end(), part.begin(), part.end());

    std::istringstream line(line_of(r));
    std::vector<double> fields;
    for (std::string field; std::getline(line, field, '\t');)
      fields.push_back(std::strtod(field.c_str(), nullptr));
    ASSERT_EQ(fields.size(), 21u);
    for (std::size_t k = 0; k < fields.size(); ++k)
      if (std::isnan(expected[k]))
        EXPECT_TRUE(std::isnan(fields[k])) << "field " << k + 1 << " is " << fields[k];
      else
        EXPECT_NEAR(fields[k], expected[k], 0.00501) << "field " << k + 1;
  }
}

TEST_F(PrDetailinfoHypergraph, PrintsTheWholeReport) {
  EXPECT_EQ(report_of(Record(small_shape())),
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

TEST_F(PrDetailinfoHypergraph, TakesTwoArraysThatItDoesNotGiveBack) {
  report_of(Record(small_shape()));

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
    const Record r(small_shape());
    recorder::fail_allocation(n);
    tags.push_back(recorder::fatal_text([&r] { pr_detailinfo_hypergraph(&r.h); }));
    EXPECT_EQ(recorder::printed().empty(), n < 3);
  }

  EXPECT_THAT(tags, ElementsAre("detailinfo: degcnt", "detailinfo: sizecnt", "(no fatal error)"));
}

TEST_F(PrDetailinfoHypergraph, WritesNothingToStandardOutputItself) {
  testing::internal::CaptureStdout();
  report_of(Record(small_shape()));

  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(PrDetailinfoHypergraph, AStaleCellTotalIsFatalBeforeAnythingIsPrintedOrTaken) {
  Record r(small_shape());
  r.h._totcw = 11;

  EXPECT_EQ(recorder::fatal_text([&r] { pr_detailinfo_hypergraph(&r.h); }),
            "computed total cellw=10 but hypergraph->_totcw=11");
  EXPECT_EQ(recorder::printed(), "");
  EXPECT_THAT(recorder::requests(), IsEmpty());
}

// The counts of one distribution in a report, by length; `line` begins its lines.
std::map<int, int> distribution(const std::string& report, const std::string& line) {
  std::map<int, int> counts;
  for (std::size_t at = report.find(line); at != std::string::npos; at = report.find(line, at + 1)) {
    std::istringstream rest(report.substr(at + line.size()));
    int length = kMarker, count = kMarker;
    std::string arrow;
    rest >> length >> arrow >> count;
    counts[length] = count;
  }
  return counts;
}

std::map<int, int> lengths_of(const Lists& lists) {
  std::map<int, int> counts;
  for (const std::vector<int>& list : lists) ++counts[static_cast<int>(list.size())];
  return counts;
}

TEST_F(PrDetailinfoHypergraph, DistributionsAgreeWithMapsOnRandomRecords) {
  for (unsigned seed = 1; seed <= 200; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    recorder::reset();
    const Shape shape = random_shape(seed, {.ncells = 20, .duplicates = seed % 2 == 0});
    const std::string report = report_of(Record(shape));

    EXPECT_EQ(distribution(report, "\n CelDeg= "), lengths_of(nets_of_cells(shape)));
    EXPECT_EQ(distribution(report, "\n NetSize= "), lengths_of(shape.pins));
  }
}

}  // namespace
}  // namespace quillon
