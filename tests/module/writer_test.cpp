#include <gmock/gmock.h>
#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "tests/double/recorded.h"
#include "tests/double/recorder.h"
#include "tests/support/extremes.h"
#include "tests/support/records.h"

namespace quillon {
namespace {

using testing::AnyOf;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using WriteHypergraphToStream = Recorded;

const std::string kOpening =
    "% This file is created by Quillon v1.1\n"
    "% Quillon, a hypergraph partitioning library, by the Quillon authors\n"
    "%\n";

std::string contents(std::FILE* stream) {
  std::fflush(stream);
  std::rewind(stream);
  std::string text;
  for (int byte = std::getc(stream); byte != EOF; byte = std::getc(stream)) text += static_cast<char>(byte);
  return text;
}

std::string written(const Hypergraph& h, int numbering, int fmt) {
  std::FILE* const stream = std::tmpfile();
  EXPECT_NE(stream, nullptr);
  EXPECT_EQ(write_hypergraph2File(&h, stream, numbering, fmt), 0);
  std::string text = contents(stream);
  std::fclose(stream);
  return text;
}

// Four cells, the last one on no net; the second net is empty.
Record four_cells() {
  return Record({.ncells = 4,
                 .pins = {{3, 1}, {}, {2, 1, 3}},
                 .net_weights = {10, 20, -30},
                 .cell_weights = {5, 6, 7, 8}});
}

// The statistics after the data of four_cells(), the same for every format and numbering.
const std::string kSmallInfo =
    "\n% ------ Hypergraph info -------"
    "\n #Cells           :       4"
    "\n #Nets            :       3"
    "\n #Pins            :       5"
    "\n Min. Cells Deg.  :       0"
    "\n Max. Cells Deg.  :       2"
    "\n Avg. Cells Deg.  :   1.250"
    "\n Min. Nets Size   :       0"
    "\n Max. Nets Size   :       3"
    "\n Avg. Nets Size   :   1.667";

TEST_F(WriteHypergraphToStream, WithoutWeightsWritesTheHeaderAndALineANet) {
  const Record r = four_cells();

  EXPECT_EQ(written(r.h, 1, 0), kOpening + "1 4 3 5 0\n3 1 \n\n2 1 3 " + kSmallInfo);
  EXPECT_EQ(written(r.h, 0, 0), kOpening + "0 4 3 5 0\n2 0 \n\n1 0 2 " + kSmallInfo);
}

TEST_F(WriteHypergraphToStream, LetsTheNumberOfABrokenPinWrap) {
  Record r({.ncells = 1, .pins = {{1}}});
  r.cell_list[0] = std::numeric_limits<int>::min();

  EXPECT_THAT(written(r.h, 0, 0), HasSubstr("0 1 1 1 0\n2147483647 \n%"));
  EXPECT_THAT(written(r.h, 1, 0), HasSubstr("1 1 1 1 0\n-2147483648 \n%"));
}

TEST_F(WriteHypergraphToStream, WritesCellWeightsAfterTheNets) {
  const Record r = four_cells();
  const std::string weights = "\n% ------ Cell weights -------\n5 6 7 8 ";

  EXPECT_EQ(written(r.h, 1, 1), kOpening + "1 4 3 5 1\n3 1 \n\n2 1 3 " + weights + kSmallInfo);
  EXPECT_EQ(written(r.h, 0, 1), kOpening + "0 4 3 5 1\n2 0 \n\n1 0 2 " + weights + kSmallInfo);
}

TEST_F(WriteHypergraphToStream, WritesNetWeightsFirstOnEachLineAlsoOfAnEmptyNet) {
  const Record r = four_cells();

  EXPECT_EQ(written(r.h, 1, 2), kOpening + "1 4 3 5 2\n10 3 1 \n20 \n-30 2 1 3 " + kSmallInfo);
  EXPECT_EQ(written(r.h, 0, 2), kOpening + "0 4 3 5 2\n10 2 0 \n20 \n-30 1 0 2 " + kSmallInfo);
}

TEST_F(WriteHypergraphToStream, WritesBothWeights) {
  const Record r = four_cells();
  const std::string weights = "\n% ------ Cell weights -------\n5 6 7 8 ";

  EXPECT_EQ(written(r.h, 1, 3), kOpening + "1 4 3 5 3\n10 3 1 \n20 \n-30 2 1 3 " + weights + kSmallInfo);
  EXPECT_EQ(written(r.h, 0, 3), kOpening + "0 4 3 5 3\n10 2 0 \n20 \n-30 1 0 2 " + weights + kSmallInfo);
}

TEST_F(WriteHypergraphToStream, DoesNotAskTheRecordForItsFormat) {
  const std::string expected = kOpening + "1 4 3 5 0\n3 1 \n\n2 1 3 " + kSmallInfo;
  for (const int fmt : {0, 1, 2, 3, kMarker}) {
    Record r = four_cells();
    r.h._fmt = fmt;
    EXPECT_EQ(written(r.h, 1, 0), expected) << fmt;
  }
}

// The lines of cell weights 1 .. ncells, up to the comment that follows them.
std::string weight_block(int ncells) {
  Shape shape = {.ncells = ncells};
  for (int i = 1; i <= ncells; ++i) shape.cell_weights.push_back(i);
  const std::string text = written(Record(shape).h, 1, 1);
  const std::string before = "------ Cell weights -------\n", after = "% ------ Hypergraph info";
  const std::size_t start = text.find(before) + before.size();
  return text.substr(start, text.find(after) - start);
}

std::string numbers(int first, int last) {
  std::string text;
  for (int i = first; i <= last; ++i) text += std::to_string(i) + " ";
  return text;
}

TEST_F(WriteHypergraphToStream, WritesAHundredCellWeightsALine) {
  EXPECT_EQ(weight_block(250), numbers(1, 100) + "\n" + numbers(101, 200) + "\n" + numbers(201, 250) + "\n");
  EXPECT_EQ(weight_block(101), numbers(1, 100) + "\n" + numbers(101, 101) + "\n");
  EXPECT_EQ(weight_block(99), numbers(1, 99) + "\n");
}

TEST_F(WriteHypergraphToStream, LeavesAnEmptyLineAfterAFullLastLineOfCellWeights) {
  EXPECT_EQ(weight_block(100), numbers(1, 100) + "\n\n");
  EXPECT_EQ(weight_block(200), numbers(1, 100) + "\n" + numbers(101, 200) + "\n\n");
}

TEST_F(WriteHypergraphToStream, OfARecordFreshFromAReaderReportsDegree1) {
  const Record r({.ncells = 3, .pins = {{1, 2}, {2, 1}}}, Side::kNets);

  EXPECT_THAT(written(r.h, 1, 0), HasSubstr("\n Min. Cells Deg.  :       1\n Max. Cells Deg.  :       1\n"));
}

TEST_F(WriteHypergraphToStream, CountsDegreesFromTheCellsAndSizesFromTheNets) {
  Record r({.ncells = 3, .pins = {{1, 2, 3}, {3, 1}}});
  --r.cells[3].netsend;  // 2, 1 and 1 nets
  --r.nets[1].pinsend;   // 2 and 2 pins
  r.h._p = 30;

  EXPECT_EQ(written(r.h, 1, 0), kOpening +
                                    "1 3 2 30 0\n1 2 \n3 1 "
                                    "\n% ------ Hypergraph info -------"
                                    "\n #Cells           :       3"
                                    "\n #Nets            :       2"
                                    "\n #Pins            :      30"
                                    "\n Min. Cells Deg.  :       1"
                                    "\n Max. Cells Deg.  :       2"
                                    "\n Avg. Cells Deg.  :  10.000"
                                    "\n Min. Nets Size   :       2"
                                    "\n Max. Nets Size   :       2"
                                    "\n Avg. Nets Size   :  15.000");
}

TEST_F(WriteHypergraphToStream, TreatsANetWithoutAPinListAsEmpty) {
  Record r({.ncells = 2, .pins = {{}, {1, 2}}, .net_weights = {4, 5}});
  r.nets[1].pins = r.nets[1].pinsend = nullptr;
  const std::string text = written(r.h, 1, 2);

  EXPECT_THAT(text, HasSubstr("1 2 2 2 2\n4 \n5 1 2 \n"));
  EXPECT_THAT(text, HasSubstr("\n Min. Nets Size   :       0\n Max. Nets Size   :       2\n"));
}

TEST_F(WriteHypergraphToStream, WritesTheLargestAndSmallestNumbersWhole) {
  const Record r({.ncells = 1, .pins = {{}, {}}, .net_weights = {kLeast, kMost}, .cell_weights = {kLeast}});
  const std::string text = written(r.h, 1, 3);

  EXPECT_THAT(text, HasSubstr("\n-2147483648 \n2147483647 \n% ------ Cell weights -------\n-2147483648 \n"));
}

std::string file_of_nothing(const std::string& average) {
  return kOpening +
         "0 0 0 0 3"
         "\n% ------ Cell weights -------\n"
         "\n% ------ Hypergraph info -------"
         "\n #Cells           :       0"
         "\n #Nets            :       0"
         "\n #Pins            :       0"
         "\n Min. Cells Deg.  : 2000000000"
         "\n Max. Cells Deg.  :      -1"
         "\n Avg. Cells Deg.  : " +
         average +
         "\n Min. Nets Size   : 2000000000"
         "\n Max. Nets Size   :      -1"
         "\n Avg. Nets Size   : " +
         average;
}

// Some systems print 0 / 0 with a sign.
TEST_F(WriteHypergraphToStream, OfNothingGivesTheStartingValuesOfTheExtremes) {
  const Record r(Shape{});

  EXPECT_THAT(written(r.h, 0, 3), AnyOf(file_of_nothing("    nan"), file_of_nothing("   -nan")));
}

TEST_F(WriteHypergraphToStream, WithoutNetsWritesTheCellsOnly) {
  const Record r({.ncells = 2, .cell_weights = {3, 4}});
  const std::string text = written(r.h, 1, 1);

  EXPECT_THAT(text, HasSubstr("%\n1 2 0 0 1\n% ------ Cell weights -------\n3 4 \n% ------ Hypergraph"));
  EXPECT_THAT(text, HasSubstr("\n Min. Cells Deg.  :       0\n Max. Cells Deg.  :       0"
                              "\n Avg. Cells Deg.  :   0.000"
                              "\n Min. Nets Size   : 2000000000\n Max. Nets Size   :      -1\n"));
}

TEST_F(WriteHypergraphToStream, WithoutCellsWritesEmptyNetsOnly) {
  const Record r({.ncells = 0, .pins = {{}, {}}});
  const std::string text = written(r.h, 1, 0);

  EXPECT_THAT(text, HasSubstr("%\n1 0 2 0 0\n\n\n% ------ Hypergraph info"));
  EXPECT_THAT(text, HasSubstr("\n Min. Cells Deg.  : 2000000000\n Max. Cells Deg.  :      -1\n"));
  EXPECT_THAT(text, HasSubstr("\n Min. Nets Size   :       0\n Max. Nets Size   :       0"
                              "\n Avg. Nets Size   :   0.000"));
}

// More lines than fit in any buffer, of the longest numbers and empty.
TEST_F(WriteHypergraphToStream, WritesAnyNumberOfEmptyNets) {
  const std::size_t nnets = 30000;
  Record r({.ncells = 0, .pins = Lists(nnets), .net_weights = std::vector<int>(nnets, kLeast)});
  std::string lines;
  for (std::size_t j = 0; j < nnets; ++j) lines += "\n-2147483648 ";

  EXPECT_THAT(written(r.h, 1, 2), HasSubstr("%\n1 0 30000 0 2" + lines + "\n% ------ Hypergraph"));
  EXPECT_THAT(written(r.h, 1, 0),
              HasSubstr("%\n1 0 30000 0 0" + std::string(nnets, '\n') + "\n% ------ Hypergraph"));
}

TEST_F(WriteHypergraphToStream, DividesPinsByNoCellsOrNetsAsTheyStand) {
  Record r(Shape{});
  r.h._p = 3;

  EXPECT_THAT(written(r.h, 1, 0), HasSubstr("\n Avg. Cells Deg.  :     inf\n"));
}

TEST_F(WriteHypergraphToStream, DividesInDoublePrecision) {
  Record r({.ncells = 3, .pins = {{1}}});
  r.h._p = kMost;

  // In single precision this would be 715827904.000.
  EXPECT_THAT(written(r.h, 1, 0), HasSubstr("\n Avg. Cells Deg.  : 715827882.333\n"));
}

std::string fatal_text_of(int numbering, int fmt) {
  const Record r = four_cells();
  std::FILE* const stream = std::tmpfile();
  std::string text = recorder::fatal_text([&] { write_hypergraph2File(&r.h, stream, numbering, fmt); });
  EXPECT_EQ(contents(stream), "");
  std::fclose(stream);
  return text;
}

TEST_F(WriteHypergraphToStream, RefusesAFormatOutOfRangeBeforeAnythingIsWritten) {
  EXPECT_EQ(fatal_text_of(1, 4), "write_hypergraph : invalid fmt parameter [4]");
  EXPECT_EQ(fatal_text_of(1, -1), "write_hypergraph : invalid fmt parameter [-1]");
  EXPECT_EQ(fatal_text_of(0, kMost), "write_hypergraph : invalid fmt parameter [2147483647]");
  EXPECT_EQ(fatal_text_of(0, kLeast), "write_hypergraph : invalid fmt parameter [-2147483648]");
}

TEST_F(WriteHypergraphToStream, RefusesANumberingOutOfRangeBeforeAnythingIsWritten) {
  EXPECT_EQ(fatal_text_of(2, 0), "write_hypergraph : invalid numbering parameter [2]");
  EXPECT_EQ(fatal_text_of(-1, 3), "write_hypergraph : invalid numbering parameter [-1]");
}

TEST_F(WriteHypergraphToStream, LooksAtTheFormatFirst) {
  EXPECT_EQ(fatal_text_of(2, 4), "write_hypergraph : invalid fmt parameter [4]");
}

TEST_F(WriteHypergraphToStream, AsksTheUtilityLayerForNothing) {
  const Record r = four_cells();
  written(r.h, 1, 3);

  EXPECT_THAT(recorder::requests(), IsEmpty());
  EXPECT_EQ(recorder::printed(), "");
}

TEST_F(WriteHypergraphToStream, ChangesNothingInTheRecord) {
  const Record r = four_cells(), same = four_cells();
  written(r.h, 0, 3);

  EXPECT_EQ(r.cell_list, same.cell_list);
  EXPECT_EQ(r.net_list, same.net_list);
  EXPECT_THAT(of_cells(r.h, &Cell::wdeg), Each(kMarker));
  EXPECT_EQ(r.h._maxcd, kMarker);
}

TEST_F(WriteHypergraphToStream, ContinuesWhereTheStreamStands) {
  const Record r = four_cells();
  std::FILE* const stream = std::tmpfile();
  std::fputs("before|", stream);
  write_hypergraph2File(&r.h, stream, 1, 0);
  std::fputs("|after", stream);

  EXPECT_EQ(contents(stream), "before|" + kOpening + "1 4 3 5 0\n3 1 \n\n2 1 3 " + kSmallInfo + "|after");
  std::fclose(stream);
}

// A temporary folder, removed at the end of the test.
class WriteHypergraph : public Recorded {
 protected:
  WriteHypergraph() {
    std::string name = (std::filesystem::temp_directory_path() / "quillon-writer-XXXXXX").string();
    EXPECT_NE(mkdtemp(name.data()), nullptr);
    folder_ = name;
  }
  ~WriteHypergraph() override { std::filesystem::remove_all(folder_); }

  std::string path(const std::string& name) const { return (folder_ / name).string(); }

  static std::string read(const std::string& name) {
    std::ostringstream text;
    text << std::ifstream(name, std::ios::binary).rdbuf();
    return text.str();
  }

 private:
  std::filesystem::path folder_;
};

TEST_F(WriteHypergraph, OpensWritesAndClosesTheFile) {
  const Record r = four_cells();
  const std::string name = path("small.qhg");

  EXPECT_EQ(write_hypergraph(&r.h, name.c_str(), 0, 2), 0);
  EXPECT_EQ(read(name), kOpening + "0 4 3 5 2\n10 2 0 \n20 \n-30 1 0 2 " + kSmallInfo);
  EXPECT_THAT(recorder::requests(), ElementsAre("ufopen " + name + " w write_hypergraph", "ufclose " + name));
}

TEST_F(WriteHypergraph, ReplacesWhatTheFileHeld) {
  const Record r = four_cells();
  const std::string name = path("small.qhg");
  std::ofstream(name) << std::string(5000, 'x');
  write_hypergraph(&r.h, name.c_str(), 1, 0);

  EXPECT_EQ(read(name), kOpening + "1 4 3 5 0\n3 1 \n\n2 1 3 " + kSmallInfo);
}

TEST_F(WriteHypergraph, RefusesTheArgumentsThatTheStreamWriterRefuses) {
  const Record r = four_cells();
  const std::string name = path("small.qhg");

  EXPECT_EQ(recorder::fatal_text([&] { write_hypergraph(&r.h, name.c_str(), 2, 0); }),
            "write_hypergraph : invalid numbering parameter [2]");
  EXPECT_EQ(recorder::fatal_text([&] { write_hypergraph(&r.h, name.c_str(), 2, 4); }),
            "write_hypergraph : invalid fmt parameter [4]");
}

TEST_F(WriteHypergraph, LeavesFlushingAStreamToTheCaller) {
  const Record r = four_cells();
  const std::string name = path("small.qhg");
  std::vector<char> buffer(1 << 16);
  std::FILE* const stream = std::fopen(name.c_str(), "w");
  std::setvbuf(stream, buffer.data(), _IOFBF, buffer.size());
  write_hypergraph2File(&r.h, stream, 1, 0);

  EXPECT_EQ(read(name), "");
  std::fclose(stream);
  EXPECT_EQ(read(name), kOpening + "1 4 3 5 0\n3 1 \n\n2 1 3 " + kSmallInfo);
}

using WrittenAndReadBack = Recorded;
using StreamReader = int(Hypergraph*, std::FILE*, int);

// Reads a record back that was written with all weights.
Hypergraph read_back(StreamReader* reader, const Hypergraph& h, int numbering) {
  std::FILE* const stream = std::tmpfile();
  write_hypergraph2File(&h, stream, numbering, 3);
  std::rewind(stream);
  Hypergraph again;
  reader(&again, stream, 1);
  std::fclose(stream);
  return again;
}

void expect_same(const Hypergraph& read, const Hypergraph& h) {
  EXPECT_EQ(pins_of_nets(read), pins_of_nets(h));
  EXPECT_EQ(of_nets(read, &Net::w), of_nets(h, &Net::w));
  EXPECT_EQ(of_cells(read, &Cell::w), of_cells(h, &Cell::w));
  EXPECT_EQ(read._c, h._c);
  EXPECT_EQ(read._p, h._p);
  EXPECT_EQ(read._totcw, h._totcw);
  EXPECT_EQ(read._totnw, h._totnw);
  EXPECT_EQ(read._fmt, 3);
  EXPECT_THAT(recorder::warnings(), IsEmpty());
}

TEST_F(WrittenAndReadBack, IsTheSameToTheReaderThatKeepsSmallNets) {
  for (unsigned seed = 1; seed <= 300; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    recorder::reset();
    const Record r = random_record(seed);
    Hypergraph again = read_back(read_hypergraph_with_onepin_netsFromFile, r.h, static_cast<int>(seed % 2));

    expect_same(again, r.h);
    free_hypergraph(&again);
  }
}

TEST_F(WrittenAndReadBack, IsTheSameToTheOtherReaderWhenNoNetIsSmall) {
  for (unsigned seed = 1; seed <= 300; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    recorder::reset();
    Shape shape = random_shape(seed);
    std::erase_if(shape.pins, [](const std::vector<int>& pins) { return pins.size() < 2; });
    shape.net_weights.resize(shape.pins.size());
    const Record r(shape);
    Hypergraph again = read_back(read_hypergraphFromFile, r.h, static_cast<int>(seed % 2));

    expect_same(again, r.h);
    free_hypergraph(&again);
  }
}

TEST_F(WrittenAndReadBack, SurvivesWeightBlocksOfEveryLength) {
  for (int ncells = 95; ncells <= 205; ++ncells) {
    recorder::reset();
    Shape shape = {.ncells = ncells, .pins = {{1, ncells}}};
    for (int i = 1; i <= ncells; ++i) shape.cell_weights.push_back(i * i);
    const Record r(shape);
    Hypergraph again = read_back(read_hypergraphFromFile, r.h, 1);

    expect_same(again, r.h);
    free_hypergraph(&again);
  }
}

}  // namespace
}  // namespace quillon
