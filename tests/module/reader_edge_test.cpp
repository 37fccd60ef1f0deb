#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "tests/double/recorder.h"
#include "tests/support/reader_outcome.h"

// Cases that a file and its listing in tests/files cannot show: memory, pointers, positions, garbage in the
// record, lines of megabytes. All other cases are files.

namespace quillon {
namespace {

using namespace std::string_literals;
using recorder::fatal_text;
using testing::ElementsAre;
using testing::IsEmpty;

using Reader = int (*)(Hypergraph*, std::FILE*, int);

const Reader standard = read_hypergraphFromFile;
const Reader one_pin = read_hypergraph_with_onepin_netsFromFile;

constexpr int kLineSize = 16777216;
const char kCannotRead[] = "read_hypergraph : cannot read numbering, #cells, #nets, #pins.";
const char kMissingWeights[] = "read_hypergraph: some cell (vertex) weights are missing, initializing to 1";
const char kLineTooLong[] = "read_hypergraph: Buffer for fgets not big enough.";

// A record that held garbage before a reader filled it from a text.
struct Filled {
  Filled(Reader reader, const std::string& text, int check = 0)
      : Filled(reader, stream_of(text).get(), check) {}

  Filled(Reader reader, std::FILE* stream, int check) {
    std::memset(&h, 0xa5, sizeof h);
    returned = reader(&h, stream, check);
  }

  Hypergraph h;
  int returned;
};

std::string fatal(Reader reader, const std::string& text, int check = 0) {
  return fatal_text([&] { Filled(reader, text, check); });
}

std::vector<int> pins(const Hypergraph& h, int j) { return {h._nlst[j].pins, h._nlst[j].pinsend + 1}; }

std::vector<int> net_weights(const Hypergraph& h) {
  std::vector<int> weights;
  for (int j = 1; j <= h._n; ++j) weights.push_back(h._nlst[j].w);
  return weights;
}

std::vector<int> cell_weights(const Hypergraph& h) {
  std::vector<int> weights;
  for (int i = 1; i <= h._c; ++i) weights.push_back(h._clst[i].w);
  return weights;
}

std::vector<int> folded_weights(const Hypergraph& h) {
  std::vector<int> weights;
  for (int i = 1; i <= h._c; ++i) weights.push_back(h._clst[i].inw);
  return weights;
}

std::vector<int> counts(const Hypergraph& h) { return {h._c, h._n, h._p, h._fmt}; }

std::vector<int> weights_read_from(Reader reader, const std::string& text) {
  return cell_weights(Filled(reader, text).h);
}

// A line of `length` bytes with its line end: the numbers, then blanks.
std::string padded(const std::string& numbers, int length) {
  std::string line = numbers;
  line.resize(static_cast<std::size_t>(length - 1), ' ');
  return line + "\n";
}

std::string rest_of(std::FILE* stream) {
  std::string rest;
  for (int c = std::fgetc(stream); c != EOF; c = std::fgetc(stream)) rest += static_cast<char>(c);
  return rest;
}

// Behaviour of both readers.
class BothReaders : public testing::TestWithParam<bool> {
 protected:
  BothReaders() { recorder::reset(); }
  ~BothReaders() override { recorder::reset(); }

  const Reader reader = GetParam() ? standard : one_pin;
};

class ReadHypergraphFromFile : public testing::Test {
 protected:
  ReadHypergraphFromFile() { recorder::reset(); }
  ~ReadHypergraphFromFile() override { recorder::reset(); }
};

class ReadHypergraphWithOnepinNetsFromFile : public ReadHypergraphFromFile {};

INSTANTIATE_TEST_SUITE_P(Reader, BothReaders, testing::Bool(),
                         [](const auto& of) { return of.param ? "Standard" : "OnePin"; });

// ---- The record

TEST_P(BothReaders, SetEverySummary) {
  const Filled f(reader, "1 3 2 4 3\n5 1 2\n6 2 3\n7 8 9\n");

  EXPECT_EQ(f.h._maxwcd, 0);
  EXPECT_EQ(f.h._maxcd, 0);
  EXPECT_EQ(f.h._mincd, 2000000000);
  EXPECT_EQ(f.h._totcw, 24);
  EXPECT_EQ(f.h._totnw, 11);
  EXPECT_EQ(f.h._totinw, 0);
  EXPECT_EQ(f.h._virtualnets, 0);
  EXPECT_EQ(f.h._fmt, 3);
}

TEST_P(BothReaders, LeaveNothingOfWhatWasInTheRecord) {
  const Filled f(reader, "1 2 1 2\n1 2\n");

  EXPECT_EQ(f.h._net_list, nullptr);
  EXPECT_EQ(f.h._aux1, nullptr);
  EXPECT_EQ(f.h._aux2, nullptr);
  EXPECT_EQ(f.h._iprm, nullptr);
  EXPECT_EQ(f.h._iprmi, nullptr);
  EXPECT_EQ(f.h._netmap, nullptr);
  EXPECT_EQ(f.h._clabel, nullptr);
  EXPECT_EQ(f.h._nlabel, nullptr);
  EXPECT_EQ(f.h._ninternets, 0);
  EXPECT_EQ(f.h._internets, nullptr);
  EXPECT_EQ(f.h._fixedAtPart, nullptr);
  EXPECT_EQ(f.h._tag, 0);
}

TEST_P(BothReaders, GiveCellsNoPartNoListsAndNoWeightedDegree) {
  const Filled f(reader, "1 2 1 2\n1 2\n");

  for (int i = 1; i <= 2; ++i) {
    const Cell& cell = f.h._clst[i];
    EXPECT_EQ(cell.pno, -1);
    EXPECT_EQ(cell.nets, nullptr);
    EXPECT_EQ(cell.netsend, nullptr);
    EXPECT_EQ(cell.wdeg, kUntouched);
  }
}

TEST_P(BothReaders, LeaveTheSentinelCellsAlone) {
  const Filled f(reader, "1 2 1 2 1\n1 2\n3 4\n");
  const std::string untouched(sizeof(Cell), '\xa5');

  for (const int i : {0, 3})
    EXPECT_EQ(std::string_view(reinterpret_cast<const char*>(&f.h._clst[i]), sizeof(Cell)), untouched);
}

TEST_P(BothReaders, StoreTheNetsOneAfterTheOtherUpToTheSentinel) {
  const Filled f(reader, "1 3 3 7\n3 1\n2 1 3\n1 2\n");
  const int* const list = f.h._cell_list;

  EXPECT_THAT(std::vector<int>(list, list + 7), ElementsAre(3, 1, 2, 1, 3, 1, 2));
  EXPECT_EQ(f.h._nlst[1].pins, list);
  EXPECT_EQ(f.h._nlst[1].pinsend, list + 1);
  EXPECT_EQ(f.h._nlst[2].pins, list + 2);
  EXPECT_EQ(f.h._nlst[2].pinsend, list + 4);
  EXPECT_EQ(f.h._nlst[3].pins, list + 5);
  EXPECT_EQ(f.h._nlst[3].pinsend, list + 6);
  EXPECT_EQ(f.h._nlst[4].pins, list + 7);
}

TEST_P(BothReaders, StoreTheShiftAfterTheLastPin) {
  const Filled from_zero(reader, "0 2 1 2\n0 1\n");
  const Filled from_one(reader, "1 2 1 2\n1 2\n");

  EXPECT_EQ(from_zero.h._cell_list[2], 1);
  EXPECT_EQ(from_zero.h._cell_list[3], kUntouched);
  EXPECT_EQ(from_one.h._cell_list[2], 0);
  EXPECT_EQ(from_one.h._cell_list[3], kUntouched);
}

TEST_P(BothReaders, FillARecordOfNoCellsAndNoNets) {
  const Filled f(reader, "0 0 0 0 3\n", 1);

  EXPECT_EQ(f.returned, 0);
  EXPECT_THAT(counts(f.h), ElementsAre(0, 0, 0, 3));
  EXPECT_EQ(f.h._totcw, 0);
  EXPECT_EQ(f.h._nlst[1].pins, f.h._cell_list);
  EXPECT_THAT(recorder::warnings(), IsEmpty());
}

// ---- Memory

TEST_P(BothReaders, AllocateTheLineBufferAndThreeArraysAndFreeTheBuffer) {
  const Filled f(reader, "1 3 2 4\n1 2\n2 3\n");

  EXPECT_THAT(recorder::requests(),
              ElementsAre("umalloc 16777216 read_hypergraph : line", "umalloc 160 read_hypergraph: clst",
                          "umalloc 96 read_hypergraph: nlst", "umalloc 24 read_hypergraph: cell_list",
                          "free read_hypergraph : line"));
  EXPECT_THAT(recorder::held(),
              ElementsAre("read_hypergraph: clst", "read_hypergraph: nlst", "read_hypergraph: cell_list"));
}

TEST_P(BothReaders, AllocateAWorkArrayForTheCheckAndFreeIt) {
  for (const int check : {1, -1}) {
    recorder::reset();
    const Filled f(reader, "1 3 2 4\n1 2\n2 3\n", check);

    EXPECT_THAT(recorder::requests(),
                ElementsAre("umalloc 16777216 read_hypergraph : line", "umalloc 160 read_hypergraph: clst",
                            "umalloc 96 read_hypergraph: nlst", "umalloc 24 read_hypergraph: cell_list",
                            "umalloc 20 read_hypergraph: work", "free read_hypergraph: work",
                            "free read_hypergraph : line"));
    EXPECT_THAT(recorder::held(),
                ElementsAre("read_hypergraph: clst", "read_hypergraph: nlst", "read_hypergraph: cell_list"));
  }
}

TEST_P(BothReaders, GiveTheWorkArrayBackBeforeTheyCompareThePins) {
  EXPECT_EQ(fatal(reader, "1 1 0 1\n", 1),
            "read_hypergraph: Something wrong with the pins from input file 1 0\n");
  EXPECT_THAT(recorder::held(), ElementsAre("read_hypergraph : line", "read_hypergraph: clst",
                                            "read_hypergraph: nlst", "read_hypergraph: cell_list"));
}

TEST_P(BothReaders, AllocateOnlyTheLineBufferForAHeaderTheyRefuse) {
  for (const char* const text : {"", "1 2 1\n", "1 2 1 2 7\n", "5 2 1 2\n", "1 -2 1 2\n"}) {
    recorder::reset();
    EXPECT_NE(fatal(reader, text, 1), recorder::kSound);
    EXPECT_THAT(recorder::requests(), ElementsAre("umalloc 16777216 read_hypergraph : line")) << text;
  }
}

TEST_P(BothReaders, KeepTheLineBufferForAsManyPinsAsItHasBytes) {
  EXPECT_EQ(fatal(reader, "1 1 0 16777216\n"),
            "read_hypergraph: Something wrong with the pins from input file 16777216 0\n");
  EXPECT_THAT(recorder::requests({"urealloc"}), IsEmpty());
}

TEST_P(BothReaders, EndWithTheTagOfTheBlockThatCannotBeHad) {
  const char* const tags[] = {"read_hypergraph : line", "read_hypergraph: clst", "read_hypergraph: nlst",
                              "read_hypergraph: cell_list", "read_hypergraph: work"};
  for (int n = 1; n <= 5; ++n) {
    recorder::reset();
    recorder::fail_allocation(n);
    EXPECT_EQ(fatal(reader, "1 2 1 2\n1 2\n", 1), tags[n - 1]);
  }
}

// The largest counts of a record. The request under test fails, so that no memory is used.
TEST_P(BothReaders, AskForAllTheMemoryThatTheLargestCountsNeed) {
  recorder::fail_allocation(2);
  EXPECT_EQ(fatal(reader, "1 2147483645 0 0\n"), "read_hypergraph: clst");
  EXPECT_EQ(recorder::requests().back(), "umalloc 68719476704 read_hypergraph: clst");

  recorder::fail_allocation(3);
  EXPECT_EQ(fatal(reader, "1 1 2147483645 0\n"), "read_hypergraph: nlst");
  EXPECT_EQ(recorder::requests().back(), "umalloc 51539607528 read_hypergraph: nlst");
}

TEST_F(ReadHypergraphFromFile, GrowsTheLineBufferBeforeItAllocatesTheArrays) {
  EXPECT_EQ(fatal(standard, "0 1 1 16777217\n0 0\n", 1),
            "read_hypergraph: Something wrong with the pins from input file 16777217 2\n");
  EXPECT_THAT(recorder::requests(),
              ElementsAre("umalloc 16777216 read_hypergraph : line",
                          "urealloc 16777217 read_hypergraph: line", "umalloc 96 read_hypergraph: clst",
                          "umalloc 72 read_hypergraph: nlst", "umalloc 67108876 read_hypergraph: cell_list",
                          "umalloc 12 read_hypergraph: work", "free read_hypergraph: work"));
}

TEST_F(ReadHypergraphWithOnepinNetsFromFile, GrowsTheLineBufferWhenItHasTheArrays) {
  EXPECT_EQ(fatal(one_pin, "0 1 1 16777217\n0 0\n", 1),
            "read_hypergraph: Something wrong with the pins from input file 16777217 2\n");
  EXPECT_THAT(recorder::requests(),
              ElementsAre("umalloc 16777216 read_hypergraph : line", "umalloc 96 read_hypergraph: clst",
                          "umalloc 72 read_hypergraph: nlst", "umalloc 67108876 read_hypergraph: cell_list",
                          "urealloc 16777217 read_hypergraph: line", "umalloc 12 read_hypergraph: work",
                          "free read_hypergraph: work"));
}

TEST_F(ReadHypergraphFromFile, GrowsTheLineBufferToTheLargestNumberOfPins) {
  recorder::fail_allocation(2);
  EXPECT_EQ(fatal(standard, "1 1 1 2147483647\n"), "read_hypergraph: line");
  EXPECT_EQ(recorder::requests().back(), "urealloc 2147483647 read_hypergraph: line");
}

TEST_F(ReadHypergraphWithOnepinNetsFromFile, AllocatesEntriesForTheLargestNumberOfPins) {
  recorder::fail_allocation(4);
  EXPECT_EQ(fatal(one_pin, "1 1 1 2147483647\n"), "read_hypergraph: cell_list");
  EXPECT_EQ(recorder::requests().back(), "umalloc 8589934596 read_hypergraph: cell_list");
}

TEST_P(BothReaders, ReadMorePinsThanTheFirstLineBufferHasBytes) {
  constexpr int kPins = 3 * 5592406;  // 16777218
  std::string line;
  for (int k = 0; k < kPins / 3; ++k) line += "1 ";
  const Filled f(reader, "1 1 3 " + std::to_string(kPins) + "\n" + line + "\n" + line + "\n" + line + "\n");

  EXPECT_THAT(counts(f.h), ElementsAre(1, 3, kPins, 0));
  EXPECT_EQ(f.h._nlst[3].pinsend - f.h._cell_list, kPins - 1);
  EXPECT_EQ(*f.h._nlst[3].pinsend, 1);
  EXPECT_THAT(recorder::held(),
              ElementsAre("read_hypergraph: clst", "read_hypergraph: nlst", "read_hypergraph: cell_list"));
}

// ---- The header

TEST_P(BothReaders, AcceptFourNumbersAsAHeaderWithoutWeights) {
  const Filled f(reader, "1 2 1 2\n1 2\n9 9\n");

  EXPECT_THAT(counts(f.h), ElementsAre(2, 1, 2, 0));
  EXPECT_THAT(net_weights(f.h), ElementsAre(1));
  EXPECT_THAT(cell_weights(f.h), ElementsAre(1, 1));
  EXPECT_EQ(f.h._totcw, 2);
}

TEST_P(BothReaders, UseTheFifthNumberAsTheWeightFormat) {
  const std::string lines = "2 1 2\n3 4\n";
  const Filled none(reader, "1 2 1 3 0\n" + lines);
  const Filled cells(reader, "1 2 1 3 1\n" + lines);
  const Filled nets(reader, "1 2 1 2 2\n" + lines);
  const Filled both(reader, "1 2 1 2 3\n" + lines);

  EXPECT_THAT(cell_weights(none.h), ElementsAre(1, 1));
  EXPECT_THAT(net_weights(none.h), ElementsAre(1));
  EXPECT_THAT(cell_weights(cells.h), ElementsAre(3, 4));
  EXPECT_THAT(net_weights(cells.h), ElementsAre(1));
  EXPECT_THAT(cell_weights(nets.h), ElementsAre(1, 1));
  EXPECT_THAT(net_weights(nets.h), ElementsAre(2));
  EXPECT_THAT(cell_weights(both.h), ElementsAre(3, 4));
  EXPECT_THAT(net_weights(both.h), ElementsAre(2));
  EXPECT_THAT((std::vector<int>{none.h._fmt, cells.h._fmt, nets.h._fmt, both.h._fmt}),
              ElementsAre(0, 1, 2, 3));
}

TEST_P(BothReaders, IgnoreWhatFollowsInTheHeaderLine) {
  for (const char* const header : {"1 2 0 0 1 1 7 8", "1 2 0 0 1 1 cells", "1 2 0 0 1 %", "1 2 0 0 1x 3",
                                   "1 2 0 0 1 1x", "1 2 0 0 1 1\r", "1 2 0 0 1 - 3"}) {
    recorder::reset();
    EXPECT_THAT(weights_read_from(reader, std::string(header) + "\n3 4\n"), ElementsAre(3, 4)) << header;
  }
}

TEST_P(BothReaders, AcceptFourNumbersBeforeOtherTextAsAHeader) {
  for (const char* const header : {"1 2 1 2 x 3", "1 2 1 2x", "1 2 1 2 %1", "1 2 1 2 + 1", "1 2 1 2."}) {
    recorder::reset();
    EXPECT_EQ(Filled(reader, std::string(header) + "\n1 2\n").h._fmt, 0) << header;
  }
}

TEST_P(BothReaders, ReadTheHeaderAfterAnyWhiteSpaceAndSigns) {
  const Filled f(reader, " \t\v\f\r+1\t+2\v1\f2\r+3  \r 01\n7 1 2\n3 4\n");

  EXPECT_THAT(counts(f.h), ElementsAre(2, 1, 2, 3));
  EXPECT_THAT(cell_weights(f.h), ElementsAre(3, 4));
}

TEST_P(BothReaders, ReadNumbersThatTouch) {
  EXPECT_THAT(counts(Filled(reader, "1+2+1+2+0-5\n1+2\n").h), ElementsAre(2, 1, 2, 0));
}

TEST_P(BothReaders, ReadAHeaderThatEndsTheFile) {
  EXPECT_THAT(counts(Filled(reader, "1 2 0 0").h), ElementsAre(2, 0, 0, 0));
}

TEST_P(BothReaders, RefuseAHeaderOfFewerThanFourNumbers) {
  for (const std::string& text : {"%"s, "%\n"s, "\n"s, "1 2\n1 2\n"s, "x\n"s, "1 2 1 %2\n"s, "\0 1 2 1 2\n"s,
                                  "1 2 1 --2\n"s, "1 2 1 -\n"s, "1 2 1 +-2\n"s, "1 2 . 1 2\n"s}) {
    recorder::reset();
    EXPECT_EQ(fatal(reader, text), kCannotRead) << text;
  }
}

TEST_P(BothReaders, RefuseAWeightFormatOutsideZeroToThree) {
  EXPECT_EQ(fatal(reader, "1 0 0 0 2147483647\n"), "read_hypergraph : invalid fmt parameter [2147483647]");
}

TEST_P(BothReaders, RefuseANumberingOutsideZeroToOne) {
  EXPECT_EQ(fatal(reader, "-2147483648 0 0 0\n"),
            "read_hypergraph : invalid numbering parameter [-2147483648]");
}

TEST_P(BothReaders, RefuseCountsThatNoRecordCanHave) {
  EXPECT_EQ(fatal(reader, "1 0 0 -2147483648\n"), "read_hypergraph : negative number of pins [-2147483648]");
  EXPECT_EQ(fatal(reader, "1 0 2147483646 0\n"),
            "read_hypergraph : too many nets [2147483646], at most 2147483645 are possible");
}

TEST_P(BothReaders, ExamineTheWeightFormatThenTheNumberingThenTheCounts) {
  EXPECT_EQ(fatal(reader, "2 -1 -1 -1 4\n"), "read_hypergraph : invalid fmt parameter [4]");
  EXPECT_EQ(fatal(reader, "2 -1 -1 -1 3\n"), "read_hypergraph : invalid numbering parameter [2]");
  EXPECT_EQ(fatal(reader, "1 -1 -2 -3 3\n"), "read_hypergraph : negative number of cells [-1]");
  EXPECT_EQ(fatal(reader, "1 1 -2 -3 3\n"), "read_hypergraph : negative number of nets [-2]");
}

TEST_P(BothReaders, KeepTheLow32BitsOfWhat64BitsHoldOfAHeaderNumber) {
  EXPECT_THAT(counts(Filled(reader, "4294967297 4294967298 -99999999999999999999 -4294967296\n").h),
              ElementsAre(2, 0, 0, 0));
  EXPECT_EQ(fatal(reader, "1 0 0 0 99999999999999999999\n"), "read_hypergraph : invalid fmt parameter [-1]");
  EXPECT_EQ(fatal(reader, "1 0 0 9223372036854775807\n"), "read_hypergraph : negative number of pins [-1]");
  EXPECT_EQ(fatal(reader, "1 2147483648 0 0\n"), "read_hypergraph : negative number of cells [-2147483648]");
}

TEST_P(BothReaders, GoOnWithTheRestOfAHeaderLongerThanTheBuffer) {
  std::string header = "1 2 1 2";
  header.resize(kLineSize - 1, ' ');  // fills the buffer: the next text is the first net line

  EXPECT_THAT(pins(Filled(reader, header + "2 1\n").h, 1), ElementsAre(2, 1));
}

// ---- Comments

TEST_P(BothReaders, ReadNothingButAPercentSignInTheFirstColumnAsAComment) {
  EXPECT_EQ(fatal(reader, "1 2 2 2\n %\n# 1 2\n1 2\n"),
            "read_hypergraph: Something wrong with the pins from input file 2 0\n");
  EXPECT_THAT(weights_read_from(reader, "1 2 0 0 1\n %9\n3\n#\n4\n"), ElementsAre(3, 4));
}

TEST_P(BothReaders, StopInALineAtWhatIsNoNumber) {
  const Filled f(reader, "1 3 3 6 1\n1 2 % 3\n2 3x1\n1 3 - 1\n5 %9\n6 x 9\n7.9\n");

  EXPECT_THAT(pins(f.h, 1), ElementsAre(1, 2));
  EXPECT_THAT(pins(f.h, 2), ElementsAre(2, 3));
  EXPECT_THAT(pins(f.h, 3), ElementsAre(1, 3));
  EXPECT_THAT(cell_weights(f.h), ElementsAre(5, 6, 7));
}

TEST_P(BothReaders, GoOnWithTheRestOfACommentLongerThanTheBuffer) {
  std::string comment = "%";
  comment.resize(kLineSize - 1, 'x');

  EXPECT_THAT(counts(Filled(reader, comment + "1 2 0 0\n").h), ElementsAre(2, 0, 0, 0));
  EXPECT_THAT(counts(Filled(reader, comment + "%9 9\n1 2 0 0\n").h), ElementsAre(2, 0, 0, 0));
}

TEST_P(BothReaders, SkipACommentThatFillsTheBufferWithItsLineEnd) {
  std::string comment = "%";
  comment.resize(kLineSize - 2, 'x');

  EXPECT_THAT(counts(Filled(reader, comment + "\n1 2 0 0\n").h), ElementsAre(2, 0, 0, 0));
}

TEST_P(BothReaders, SplitCommentsAtTheSizeOfTheGrownBuffer) {
  std::string comment = "%";
  comment.resize(16777300 - 1, 'x');

  EXPECT_EQ(fatal(reader, "1 2 1 16777300\n" + comment + "1 2\n"),
            "read_hypergraph: Something wrong with the pins from input file 16777300 2\n");
}

// ---- Net lines

TEST_P(BothReaders, ReadPinsAfterAnyWhiteSpaceAndSigns) {
  EXPECT_THAT(pins(Filled(reader, "0 3 1 6\n \t\v\f\r+1\t2\v-0\f00\r+0002 1 \r\n").h, 1),
              ElementsAre(2, 3, 1, 1, 3, 2));
}

TEST_P(BothReaders, ReadPinsUpToANulByte) {
  EXPECT_THAT(pins(Filled(reader, "1 3 1 2\n1 2\0 3\n"s).h, 1), ElementsAre(1, 2));
}

TEST_P(BothReaders, ReadANetLineThatBeginsWithANulByteAsAPinlessNet) {
  EXPECT_EQ(fatal(reader, "1 2 1 2\n\0 1 2\n"s),
            "read_hypergraph: Something wrong with the pins from input file 2 0\n");
}

TEST_P(BothReaders, ReadTheWeightOfANetBeforeItsPins) {
  const Filled f(reader, "1 2 2 4 2\n-8 1 2\n 2147483647 2 1\n");

  EXPECT_THAT(net_weights(f.h), ElementsAre(-8, 2147483647));
  EXPECT_THAT(pins(f.h, 1), ElementsAre(1, 2));
  EXPECT_EQ(f.h._totnw, 2147483639);
}

TEST_P(BothReaders, ShiftCellNumbersButNoWeights) {
  const Filled f(reader, "0 2 1 2 3\n5 0 1\n0 3\n");

  EXPECT_THAT(net_weights(f.h), ElementsAre(5));
  EXPECT_THAT(pins(f.h, 1), ElementsAre(1, 2));
  EXPECT_THAT(cell_weights(f.h), ElementsAre(0, 3));
}

TEST_P(BothReaders, RefuseACellNumberAtTheEndsOfTheRange) {
  EXPECT_EQ(fatal(reader, "1 2 1 2\n2147483647\n"),
            "invalid vertex/cell id 2147483647 in the  vertex/cell list of net 1");
  EXPECT_EQ(fatal(reader, "1 2 1 2\n-2147483648\n"),
            "invalid vertex/cell id -2147483648 in the  vertex/cell list of net 1");
}

TEST_P(BothReaders, KeepTheLow32BitsOfWhat64BitsHoldOfACellNumber) {
  EXPECT_THAT(pins(Filled(reader, "1 2 1 2\n4294967297 -4294967294\n").h, 1), ElementsAre(1, 2));
  EXPECT_EQ(fatal(reader, "1 2 1 2\n9223372036854775808\n"),
            "invalid vertex/cell id -1 in the  vertex/cell list of net 1");
  EXPECT_EQ(fatal(reader, "1 2 1 2\n-9223372036854775809\n"),
            "invalid vertex/cell id 0 in the  vertex/cell list of net 1");
  EXPECT_EQ(fatal(reader, "0 2 1 2\n-99999999999999999999999\n0\n"),
            "read_hypergraph: Something wrong with the pins from input file 2 1\n");  // it was cell 1
}

TEST_P(BothReaders, RefuseACellBeforeTheyWarnOfIt) {
  EXPECT_NE(fatal(reader, "1 2 1 4\n1 1 3 1\n", 1), recorder::kSound);
  EXPECT_THAT(recorder::warnings(), ElementsAre("read_hypergraph: \n 1 is already added to net list of 1"));
}

TEST_P(BothReaders, WarnOfEveryRepeatedPinAndKeepIt) {
  const Filled f(reader, "1 3 2 7\n1 2 1 1\n2 3 2\n", 1);

  EXPECT_THAT(pins(f.h, 1), ElementsAre(1, 2, 1, 1));
  EXPECT_THAT(pins(f.h, 2), ElementsAre(2, 3, 2));
  EXPECT_EQ(f.h._p, 7);
  EXPECT_THAT(recorder::warnings(), ElementsAre("read_hypergraph: \n 1 is already added to net list of 1",
                                                "read_hypergraph: \n 1 is already added to net list of 1",
                                                "read_hypergraph: \n 2 is already added to net list of 2"));
}

TEST_P(BothReaders, NameTheRepeatedPinWithItsNumberInTheRecord) {
  const Filled f(reader, "0 3 1 2\n2 2\n", 1);
  EXPECT_THAT(recorder::warnings(), ElementsAre("read_hypergraph: \n 3 is already added to net list of 1"));
}

// The work array is likely to reuse freed memory. Here that memory is full of ones, which would mean that
// every cell is on net 1.
TEST_P(BothReaders, StartTheCheckWithNoCellOnAnyNet) {
  std::vector<std::vector<int>> blocks(64, std::vector<int>(2002, 1));
  const std::vector<int> keeps_them_apart_from_what_is_unused(2002, 1);
  blocks.clear();
  std::string all;
  for (int i = 2000; i >= 1; --i) all += std::to_string(i) + " ";
  const Filled f(reader, "1 2000 1 2000\n" + all + "\n", 1);

  EXPECT_EQ(pins(f.h, 1).front(), 2000);
  EXPECT_THAT(recorder::warnings(), IsEmpty());
}

TEST_P(BothReaders, CountPinsForWhichThereIsNoRoom) {
  std::string pins_of_net;
  for (int k = 0; k < 5000; ++k) pins_of_net += "1 ";

  EXPECT_EQ(fatal(reader, "1 1 1 0\n" + pins_of_net + "\n", 1),
            "read_hypergraph: Something wrong with the pins from input file 0 5000\n");
  EXPECT_EQ(fatal(reader, "1 1 5 3\n" + pins_of_net + "\n1\n\n1 1\n" + pins_of_net + "\n"),
            "read_hypergraph: Something wrong with the pins from input file 3 10003\n");
}

TEST_P(BothReaders, AcceptANetLineOfSixBytesLessThanTheBuffer) {
  EXPECT_THAT(pins(Filled(reader, "1 2 1 2\n" + padded("1 2", kLineSize - 6)).h, 1), ElementsAre(1, 2));
}

TEST_P(BothReaders, MeasureANetLineUpToANulByte) {
  EXPECT_THAT(pins(Filled(reader, "1 2 1 2\n" + padded("1 2\0"s, kLineSize - 1)).h, 1), ElementsAre(1, 2));
}

TEST_P(BothReaders, AcceptALongerNetLineWhenThereAreMorePins) {
  EXPECT_EQ(fatal(reader, "1 2 1 16777300\n" + padded("1 2", 16777300 - 6)),
            "read_hypergraph: Something wrong with the pins from input file 16777300 2\n");
}

TEST_F(ReadHypergraphFromFile, RefusesANetLineThatComesTooCloseToTheBuffer) {
  const std::string message = "read_hypergraph: Buffer for fgets not big enough for net 1\n.";

  EXPECT_EQ(fatal(standard, "1 2 1 2\n" + padded("1 2", kLineSize - 5)), message);
  EXPECT_EQ(fatal(standard, "1 2 1 2\n" + padded("1 2", kLineSize + 100)), message);
  EXPECT_EQ(fatal(standard, "1 2 1 16777300\n" + padded("1 2", 16777300 - 5)), message);
}

TEST_F(ReadHypergraphFromFile, NamesATooLongNetLineWithTheNumberTheNetWouldGet) {
  EXPECT_EQ(fatal(standard, "1 2 4 4\n1 2\n1\n\n" + padded("1", kLineSize - 5)),
            "read_hypergraph: Buffer for fgets not big enough for net 2\n.");
}

TEST_F(ReadHypergraphWithOnepinNetsFromFile, RefusesANetLineThatComesTooCloseToTheBuffer) {
  EXPECT_EQ(fatal(one_pin, "1 2 1 2\n" + padded("1 2", kLineSize - 5)), kLineTooLong);
  EXPECT_EQ(fatal(one_pin, "1 2 1 2\n" + padded("1 2", kLineSize + 100)), kLineTooLong);
  EXPECT_EQ(fatal(one_pin, "1 2 1 16777300\n" + padded("1 2", 16777300 - 5)), kLineTooLong);
}

// ---- Nets of fewer than two pins

TEST_F(ReadHypergraphFromFile, SumsUpWhatIsFoldedIntoACell) {
  const Filled f(standard, "1 2 4 4 2\n3 2\n-5 2\n4 1\n6 2\n");

  EXPECT_EQ(f.returned, 4);
  EXPECT_THAT(counts(f.h), ElementsAre(2, 0, 0, 2));
  EXPECT_THAT(folded_weights(f.h), ElementsAre(4, 4));
  EXPECT_EQ(f.h._totinw, 8);
  EXPECT_EQ(f.h._totnw, 8);
  EXPECT_EQ(f.h._nlst[1].pins, f.h._cell_list);
}

TEST_F(ReadHypergraphFromFile, OverwritesThePinOfARemovedNet) {
  const Filled f(standard, "1 3 3 5\n3\n1 2\n2 1\n");

  EXPECT_EQ(f.h._nlst[1].pins, f.h._cell_list);
  EXPECT_THAT(std::vector<int>(f.h._cell_list, f.h._cell_list + 4), ElementsAre(1, 2, 2, 1));
  EXPECT_EQ(f.h._nlst[3].pins, f.h._cell_list + 4);
}

TEST_F(ReadHypergraphFromFile, LeavesThePinOfALastRemovedNetAfterThePinsInUse) {
  const Filled f(standard, "1 3 2 3\n1 2\n3\n");

  EXPECT_EQ(f.h._p, 2);
  EXPECT_EQ(f.h._nlst[2].pins, f.h._cell_list + 2);
  EXPECT_EQ(f.h._cell_list[2], 3);
  EXPECT_EQ(f.h._cell_list[3], 0);
}

TEST_F(ReadHypergraphWithOnepinNetsFromFile, KeepsAnEmptyLineAmongTheNetsAsANet) {
  const Filled f(one_pin, "1 2 2 2\n\n1 2\n", 1);

  EXPECT_EQ(f.returned, 0);
  EXPECT_THAT(counts(f.h), ElementsAre(2, 2, 2, 0));
  EXPECT_EQ(f.h._virtualnets, 0);
  EXPECT_EQ(f.h._totnw, 2);
  EXPECT_EQ(f.h._nlst[1].pins, f.h._cell_list);
  EXPECT_EQ(f.h._nlst[1].pinsend, f.h._cell_list - 1);
  EXPECT_THAT(pins(f.h, 2), ElementsAre(1, 2));
}

TEST_F(ReadHypergraphFromFile, RefusesAPinlessNetOfWeightTwoAndMore) {
  EXPECT_EQ(fatal(standard, "1 2 1 0 2\n2\n"),
            "file contains a net with weight 2 but net doesn't have any pin.");
  EXPECT_EQ(fatal(standard, "1 2 1 0 3\n2147483647 x\n1 1\n"),
            "file contains a net with weight 2147483647 but net doesn't have any pin.");
}

TEST_F(ReadHypergraphWithOnepinNetsFromFile, KeepsAPinlessNetOfAnyWeight) {
  const Filled f(one_pin, "1 2 2 0 2\n5\n-3\n");

  EXPECT_THAT(net_weights(f.h), ElementsAre(5, -3));
  EXPECT_THAT(pins(f.h, 1), IsEmpty());
  EXPECT_THAT(pins(f.h, 2), IsEmpty());
  EXPECT_EQ(f.h._totnw, 2);
  EXPECT_EQ(f.h._virtualnets, 0);
}

TEST_F(ReadHypergraphFromFile, GivesANetLineWithoutTheWeightItShouldBeginWithTheWeightZero) {
  const Filled f(standard, "1 2 3 0 2\n\nx 1 2\n\0 1\n"s);

  EXPECT_EQ(f.returned, 3);
  EXPECT_EQ(f.h._virtualnets, 0);
  EXPECT_EQ(f.h._totnw, 0);
}

TEST_F(ReadHypergraphWithOnepinNetsFromFile, GivesANetLineWithoutTheWeightItShouldBeginWithTheWeightZero) {
  const Filled f(one_pin, "1 2 2 0 2\n\nx 1 2\n");

  EXPECT_THAT(net_weights(f.h), ElementsAre(0, 0));
  EXPECT_THAT(pins(f.h, 2), IsEmpty());
}

// ---- Sums

TEST_F(ReadHypergraphFromFile, LetsItsSumsWrap) {
  const Filled f(standard, "1 1 4 2 2\n2147483647 1\n1 1\n-2147483648\n-1\n");

  EXPECT_THAT(folded_weights(f.h), ElementsAre(-2147483647 - 1));
  EXPECT_EQ(f.h._totinw, INT_MIN);
  EXPECT_EQ(f.h._totnw, INT_MIN);
  EXPECT_EQ(f.h._virtualnets, 2147483647);
}

TEST_P(BothReaders, LetTheSumsOfWeightsWrap) {
  const Filled f(reader, "1 3 2 4 3\n2147483647 1 2\n2147483647 2 1\n-2147483648 -2147483648 5\n");

  EXPECT_EQ(f.h._totnw, -2);
  EXPECT_EQ(f.h._totcw, 5);
}

TEST_P(BothReaders, LetTheSumWrapWhenTheyAddMissingWeights) {
  EXPECT_EQ(Filled(reader, "1 2 0 0 1\n2147483647\n").h._totcw, INT_MIN);
}

// ---- Cell weights

TEST_P(BothReaders, ReadCellWeightsFromAnyNumberOfLines) {
  const Filled f(reader, "1 5 0 0 1\n1 2\n\n \t\v\f\r\nno number\n3\n4 x 9\n-5\n");

  EXPECT_THAT(cell_weights(f.h), ElementsAre(1, 2, 3, 4, -5));
  EXPECT_EQ(f.h._totcw, 5);
}

TEST_P(BothReaders, LetTheWeightsOfACellRunOverALineEnd) {
  const Filled f(reader, "1 3 0 0 1 3\n5\n\n0 0 6 0\n0\n7 0 0\n");

  EXPECT_THAT(cell_weights(f.h), ElementsAre(5, 6, 7));
  EXPECT_EQ(f.h._totcw, 18);
}

TEST_P(BothReaders, KeepTheLow32BitsOfWhat64BitsHoldOfAWeight) {
  EXPECT_THAT(weights_read_from(reader,
                                "1 4 0 0 1\n4294967301 2147483648 99999999999999999999 "
                                "-99999999999999999999\n"),
              ElementsAre(5, INT_MIN, -1, 0));
}

TEST_P(BothReaders, WarnOfMissingWeightsOnceWithTheCheck) {
  for (const char* const text : {"1 4 0 0 1\n8 9\n", "1 2 0 0 1\n", "1 2 0 0 1\n7\n\n"}) {
    recorder::reset();
    const Filled f(reader, text, 1);
    EXPECT_THAT(recorder::warnings(), ElementsAre(kMissingWeights));
  }
}

TEST_P(BothReaders, TreatACellWhoseGroupIsCutShortAsOneWithoutAWeight) {
  const Filled f(reader, "1 2 0 0 1 2\n5 0 6\n");

  EXPECT_THAT(cell_weights(f.h), ElementsAre(5, 1));
  EXPECT_EQ(f.h._totcw, 12);  // 6 was added before it was replaced
}

TEST_P(BothReaders, UseOnlyTheFirstNumberWhenACellHasNoWeights) {
  for (const char* const each : {"0", "-1", "-2147483648"}) {
    recorder::reset();
    const Filled f(reader, "1 2 0 0 1 "s + each + "\n7 8 9\n10\n", 1);

    EXPECT_THAT(cell_weights(f.h), ElementsAre(1, 1));
    EXPECT_EQ(f.h._totcw, 9);
    EXPECT_THAT(recorder::warnings(), ElementsAre(kMissingWeights));
  }
}

TEST_P(BothReaders, StoreOneWeightTooManyInTheSentinelAndAddUpAll) {
  std::string many;
  for (int k = 0; k < 5000; ++k) many += " 2";
  const Filled f(reader, "1 2 0 0 1\n5 6 7" + many + "\n3\n", 1);

  EXPECT_THAT(cell_weights(f.h), ElementsAre(5, 6));
  EXPECT_EQ(f.h._clst[3].w, 7);
  EXPECT_EQ(f.h._clst[3].inw, kUntouched);
  EXPECT_EQ(f.h._totcw, 10018);
  EXPECT_THAT(recorder::warnings(), IsEmpty());
}

TEST_P(BothReaders, SkipTheOtherNumbersOfExcessGroupsToo) {
  const Filled f(reader, "1 1 0 0 1 2\n5 90 6 91 7\n");

  EXPECT_EQ(f.h._totcw, 18);
  EXPECT_EQ(f.h._clst[2].w, 6);
}

TEST_P(BothReaders, AcceptANulByteAfterTheLastWeightLine) {
  EXPECT_EQ(fatal(reader, "1 2 0 0 1\n3 4\n\0"s), recorder::kSound);
}

TEST_P(BothReaders, ShowALineWithoutItsEndAsItIs) {
  EXPECT_EQ(fatal(reader, "1 2 0 0 1\n3 %s %n\0\n4\n"s),
            "read_hypergraph: no newline at the end of line '3 %s %n'\n");
}

TEST_P(BothReaders, AcceptAWeightLineOfSixBytesLessThanTheBuffer) {
  EXPECT_THAT(weights_read_from(reader, "1 2 0 0 1\n" + padded("3 4", kLineSize - 6)), ElementsAre(3, 4));
}

TEST_P(BothReaders, RefuseAWeightLineThatComesTooCloseToTheBuffer) {
  EXPECT_EQ(fatal(reader, "1 2 0 0 1\n" + padded("3 4", kLineSize - 5)), kLineTooLong);
  EXPECT_EQ(fatal(reader, "1 2 0 0 1\n" + padded("3 4", kLineSize + 100)), kLineTooLong);
}

// ---- End of input

TEST_P(BothReaders, LeaveNetsEmptyThatTheFileEndsBefore) {
  const Filled f(reader, "1 2 3 2 2\n5 1 2\n");

  EXPECT_EQ(f.h._n, 3);
  EXPECT_THAT(net_weights(f.h), ElementsAre(5, 0, 0));
  for (int j = 2; j <= 3; ++j) {
    EXPECT_EQ(f.h._nlst[j].pins, f.h._cell_list + 2);
    EXPECT_EQ(f.h._nlst[j].pinsend, f.h._cell_list + 1);
  }
  EXPECT_EQ(f.h._nlst[4].pins, f.h._cell_list + 2);
  EXPECT_EQ(f.h._totnw, 5);
}

TEST_F(ReadHypergraphFromFile, LeavesNetsEmptyThatTheFileEndsBeforeAfterARemovedNet) {
  const Filled f(standard, "1 2 4 3\n1 2\n2\n");

  EXPECT_EQ(f.returned, 1);
  EXPECT_THAT(counts(f.h), ElementsAre(2, 3, 2, 0));
  EXPECT_THAT(net_weights(f.h), ElementsAre(1, 0, 0));
  EXPECT_EQ(f.h._nlst[2].pins, f.h._cell_list + 2);
  EXPECT_EQ(f.h._nlst[3].pinsend, f.h._cell_list + 1);
  EXPECT_EQ(f.h._nlst[4].pins, f.h._cell_list + 2);
}

TEST_P(BothReaders, DoNotReadALastNetLineWithoutItsLineEnd) {
  EXPECT_THAT(net_weights(Filled(reader, "1 2 2 2\n1 2\n9 9 9").h), ElementsAre(1, 0));
}

TEST_F(ReadHypergraphFromFile, DoesNotReadALastWeightLineWithoutItsLineEnd) {
  const Filled f(standard, "1 2 0 0 1\n3\n4", 1);

  EXPECT_THAT(cell_weights(f.h), ElementsAre(3, 1));
  EXPECT_THAT(recorder::warnings(), ElementsAre(kMissingWeights));
}

TEST_F(ReadHypergraphFromFile, AsksForTheEndBeforeItMeasuresAWeightLine) {
  std::string last = "3 4";
  last.resize(kLineSize - 5, ' ');

  EXPECT_THAT(weights_read_from(standard, "1 2 0 0 1\n" + last), ElementsAre(1, 1));
}

TEST_F(ReadHypergraphWithOnepinNetsFromFile, MeasuresAWeightLineBeforeItAsksForTheEnd) {
  std::string last = "3 4";
  last.resize(kLineSize - 5, ' ');

  EXPECT_EQ(fatal(one_pin, "1 2 0 0 1\n" + last), kLineTooLong);
}

// At the end of the input the buffer still holds the previous line: a net line or the header.
TEST_F(ReadHypergraphWithOnepinNetsFromFile, LooksAtTheLineBeforeWhenTheWeightsEnd) {
  EXPECT_THAT(weights_read_from(one_pin, "1 2 1 2 1\n1 2\n"), ElementsAre(1, 1));
  EXPECT_EQ(fatal(one_pin, "1 2 1 2 1\n1 2\0\n"s), "read_hypergraph: no newline at the end of line '1 2'\n");
  EXPECT_EQ(fatal(one_pin, "1 2 2 2 1\n1 2\n9"), "read_hypergraph: no newline at the end of line '9'\n");
}

TEST_F(ReadHypergraphWithOnepinNetsFromFile, MeasuresTheLineBeforeWhenTheWeightsEnd) {
  EXPECT_EQ(fatal(one_pin, padded("1 2 0 0 1", kLineSize - 5)), kLineTooLong);
  recorder::reset();
  EXPECT_THAT(weights_read_from(one_pin, padded("1 2 0 0 1", kLineSize - 6)), ElementsAre(1, 1));
}

TEST_F(ReadHypergraphFromFile, DoesNotLookAtTheLineBeforeWhenTheWeightsEnd) {
  EXPECT_THAT(weights_read_from(standard, "1 2 1 2 1\n1 2\0\n"s), ElementsAre(1, 1));
  EXPECT_THAT(weights_read_from(standard, "1 2 2 2 1\n1 2\n9"), ElementsAre(1, 1));
  EXPECT_THAT(weights_read_from(standard, "1 2 0 0 1"), ElementsAre(1, 1));
}

// ---- Position of the stream

TEST_P(BothReaders, LeaveTheStreamAfterTheLastLineNeeded) {
  for (const char* const text : {"1 2 1 2\n1 2\n", "1 2 1 2 1\n1 2\n3\n4\n", "1 2 1 2 1\n1 2\n3 4 5\n",
                                 "1 2 0 0\n", "%\n1 0 0 0 1\n", "1 2 1 2 2\n%\n1 1 2 %\n"}) {
    recorder::reset();
    const Stream stream = stream_of(text + "% the rest\n5\n"s);
    const Filled f(reader, stream.get(), 1);

    EXPECT_EQ(std::ftell(stream.get()), static_cast<long>(std::strlen(text)));
    EXPECT_EQ(rest_of(stream.get()), "% the rest\n5\n");
  }
}

TEST_P(BothReaders, ReadFromWhereTheStreamIs) {
  const Stream stream = stream_of("9 9 9\n1 2 1 2\n2 1\n1 3 1 2\n3 1\n");
  std::fseek(stream.get(), 6, SEEK_SET);
  const Filled first(reader, stream.get(), 0);
  const Filled second(reader, stream.get(), 0);

  EXPECT_THAT(pins(first.h, 1), ElementsAre(2, 1));
  EXPECT_THAT(pins(second.h, 1), ElementsAre(3, 1));
  EXPECT_EQ(rest_of(stream.get()), "");
}

// A stream with a text and then the end of the input, or an error.
Stream pipe_of(const std::string& text, bool breaks = false) {
  int ends[2];
  if (pipe(ends) != 0 || write(ends[1], text.data(), text.size()) != static_cast<ssize_t>(text.size()))
    throw std::runtime_error("cannot fill a pipe");
  Stream stream(fdopen(ends[0], "r"));
  if (breaks) {
    std::ungetc(std::fgetc(stream.get()), stream.get());  // the text is in the stream's own buffer now
    dup2(ends[1], ends[0]);
  }
  close(ends[1]);
  return stream;
}

TEST_P(BothReaders, ReadFromAPipe) {
  const Stream stream = pipe_of("1 2 1 2 1\n1 2\n3 4\nnext\n");
  const Filled f(reader, stream.get(), 0);

  EXPECT_THAT(cell_weights(f.h), ElementsAre(3, 4));
  EXPECT_EQ(rest_of(stream.get()), "next\n");
}

TEST_P(BothReaders, RefuseAStreamThatFailsBeforeItsHeader) {
  const Stream nothing(std::fopen("/dev/null", "w"));
  const Stream after_a_comment = pipe_of("%\n", true);

  EXPECT_EQ(fatal_text([&] { Filled(reader, nothing.get(), 0); }), kCannotRead);
  EXPECT_EQ(fatal_text([&] { Filled(reader, after_a_comment.get(), 0); }), kCannotRead);
}

// Only the end of the file ends the lines. The counts find most errors.
TEST_P(BothReaders, ParseTheLineBeforeOnceMoreWhenReadingFails) {
  const Stream in_nets = pipe_of("1 2 2 2\n1 2\n", true);
  const Stream in_sound_nets = pipe_of("1 2 2 4\n1 2\n", true);
  const Stream in_weights = pipe_of("1 3 1 2 1\n1 2\n7\n", true);

  EXPECT_EQ(fatal_text([&] { Filled(reader, in_nets.get(), 0); }),
            "read_hypergraph: Something wrong with the pins from input file 2 4\n");
  EXPECT_THAT(pins(Filled(reader, in_sound_nets.get(), 0).h, 2), ElementsAre(1, 2));
  EXPECT_NE(std::ferror(in_sound_nets.get()), 0);
  EXPECT_THAT(cell_weights(Filled(reader, in_weights.get(), 0).h), ElementsAre(7, 7, 7));
}

// A seekable stream over a text that cannot be read from some place on.
class FailingText {
 public:
  FailingText(std::string text, std::size_t fails_at, bool moves = true)
      : text_(std::move(text)), fails_at_(fails_at), moves_(moves) {}

  Stream open() { return Stream(fopencookie(this, "r", {read, nullptr, seek, nullptr})); }

  // How often the stream failed so far.
  int nfailed() const { return nfailed_; }

 private:
  static ssize_t read(void* cookie, char* to, std::size_t size) {
    FailingText& self = *static_cast<FailingText*>(cookie);
    if (self.at_ >= self.fails_at_) {
      ++self.nfailed_;
      errno = EIO;
      return -1;
    }
    const std::size_t length = std::min({size, self.text_.size() - self.at_, self.fails_at_ - self.at_});
    std::memcpy(to, self.text_.data() + self.at_, length);
    self.at_ += length;
    return static_cast<ssize_t>(length);
  }

  static int seek(void* cookie, off64_t* to, int from) {
    FailingText& self = *static_cast<FailingText*>(cookie);
    const auto at = static_cast<off64_t>(self.at_);
    const off64_t base = from == SEEK_SET   ? 0
                         : from == SEEK_CUR ? at
                                            : static_cast<off64_t>(self.text_.size());
    if (!self.moves_ && base + *to != at) {
      errno = ESPIPE;
      return -1;
    }
    self.at_ = static_cast<std::size_t>(*to = base + *to);
    return 0;
  }

  std::string text_;
  std::size_t fails_at_;
  bool moves_;
  std::size_t at_ = 0;
  int nfailed_ = 0;
};

// Lines of nets without pins: a record of few bytes is not read ahead.
const std::string kPinless(198, '\n');

TEST_P(BothReaders, ParseTheLineBeforeOnceMoreAlsoWhenTheyReadAhead) {
  const std::string text = "1 2 200 4\n" + kPinless + "1 2\n";
  FailingText failing(text + "2 1\n", text.size());
  const Stream stream = failing.open();
  const Filled filled(reader, stream.get(), 0);

  EXPECT_THAT(pins(filled.h, filled.h._n), ElementsAre(1, 2));
  EXPECT_NE(std::ferror(stream.get()), 0);
}

TEST_P(BothReaders, HideAnErrorAfterWhatTheyNeed) {
  const std::string text = "1 2 199 2\n1 2\n" + kPinless;
  FailingText failing(text + "never read\n", text.size() + 3);
  const Stream stream = failing.open();

  EXPECT_THAT(pins(Filled(reader, stream.get(), 0).h, 1), ElementsAre(1, 2));
  EXPECT_GT(failing.nfailed(), 0);
  EXPECT_EQ(std::ferror(stream.get()), 0);
  EXPECT_EQ(std::ftell(stream.get()), static_cast<long>(text.size()));
}

TEST_P(BothReaders, ReadAStreamThatHasFailedBefore) {
  const std::string text = "1 2 200 4\n1 2\n2 1\n" + kPinless;
  FailingText whole(text, 1000);
  for (const bool is_pipe : {false, true}) {
    const Stream stream = is_pipe ? pipe_of(text) : whole.open();
    EXPECT_EQ(std::fputc('x', stream.get()), EOF);  // not open for writing
    ASSERT_NE(std::ferror(stream.get()), 0);

    EXPECT_THAT(pins(Filled(reader, stream.get(), 0).h, 2), ElementsAre(2, 1));
    EXPECT_NE(std::ferror(stream.get()), 0);
  }
}

TEST_P(BothReaders, ReadAStreamLineByLineThatTellsItsPositionAndCannotBeMoved) {
  FailingText still("1 2 199 2 1\n1 2\n" + kPinless + "3 4\nnext\n", 1000, false);
  const Stream stream = still.open();
  ASSERT_GE(std::ftell(stream.get()), 0);

  EXPECT_THAT(cell_weights(Filled(reader, stream.get(), 0).h), ElementsAre(3, 4));
  EXPECT_EQ(rest_of(stream.get()), "next\n");
}

// They go on where the stream is, and leave it at the next record.
TEST_P(BothReaders, ReadRecordAfterRecordFromAStream) {
  const std::string small = "1 2 1 2\n1 2\n";
  const std::string large = "1 2 200 4\n1 2\n2 1\n" + kPinless;
  FailingText records(small + large + small + small + large, 2000);
  const Stream stream = records.open();
  for (const int npins : {2, 4, 2, 2, 4}) EXPECT_EQ(Filled(reader, stream.get(), 0).h._p, npins);
  EXPECT_EQ(rest_of(stream.get()), "");
}

// ---- Named files

class NamedFile : public ReadHypergraphFromFile {
 protected:
  ~NamedFile() override { std::filesystem::remove(name); }

  void write_file(const std::string& text) { std::ofstream(name, std::ios::binary) << text; }

  const std::string name = testing::TempDir() + "quillon_reader_edge_" + std::to_string(getpid()) + ".qhg";
};

class ReadHypergraph : public NamedFile {};
class ReadHypergraphWithOnepinNets : public NamedFile {};

TEST_F(ReadHypergraph, OpensReadsAndClosesTheFile) {
  write_file("1 3 2 3\n3 1\n2\n");
  Hypergraph h{};

  EXPECT_EQ(read_hypergraph(&h, name.c_str(), 1), 1);
  EXPECT_THAT(counts(h), ElementsAre(3, 1, 2, 0));
  EXPECT_THAT(recorder::requests(),
              ElementsAre("ufopen " + name + " r read_hypergraph", "umalloc 16777216 read_hypergraph : line",
                          "umalloc 160 read_hypergraph: clst", "umalloc 96 read_hypergraph: nlst",
                          "umalloc 20 read_hypergraph: cell_list", "umalloc 20 read_hypergraph: work",
                          "free read_hypergraph: work", "free read_hypergraph : line", "ufclose " + name));
}

TEST_F(ReadHypergraphWithOnepinNets, OpensReadsAndClosesTheFile) {
  write_file("1 3 2 3\n3 1\n2\n");
  Hypergraph h{};

  EXPECT_EQ(read_hypergraph_with_onepin_nets(&h, name.c_str(), 0), 1);
  EXPECT_THAT(counts(h), ElementsAre(3, 2, 3, 0));
  EXPECT_THAT(
      recorder::requests(),
      ElementsAre("ufopen " + name + " r read_hypergraph", "umalloc 16777216 read_hypergraph : line",
                  "umalloc 160 read_hypergraph: clst", "umalloc 96 read_hypergraph: nlst",
                  "umalloc 20 read_hypergraph: cell_list", "free read_hypergraph : line", "ufclose " + name));
}

TEST_F(ReadHypergraph, PassesTheCheckOn) {
  write_file("1 1 1 2\n1 1\n");
  Hypergraph h{};

  EXPECT_EQ(read_hypergraph(&h, name.c_str(), 0), 0);
  EXPECT_THAT(recorder::warnings(), IsEmpty());
  EXPECT_EQ(read_hypergraph(&h, name.c_str(), 2), 0);
  EXPECT_EQ(recorder::warnings().size(), 1u);
}

TEST_F(ReadHypergraphWithOnepinNets, PassesTheCheckOn) {
  write_file("1 1 1 2\n1 1\n");
  Hypergraph h{};

  EXPECT_EQ(read_hypergraph_with_onepin_nets(&h, name.c_str(), 0), 1);
  EXPECT_THAT(recorder::warnings(), IsEmpty());
  EXPECT_EQ(read_hypergraph_with_onepin_nets(&h, name.c_str(), 2), 1);
  EXPECT_EQ(recorder::warnings().size(), 1u);
}

TEST_F(ReadHypergraph, LeavesAFileThatCannotBeOpenedToTheUtilityLayer) {
  Hypergraph h{};
  EXPECT_EQ(fatal_text([&] { read_hypergraph(&h, "/no/such/file", 0); }),
            "ufopen: /no/such/file: read_hypergraph");
  EXPECT_EQ(fatal_text([&] { read_hypergraph_with_onepin_nets(&h, "/no/such/file", 0); }),
            "ufopen: /no/such/file: read_hypergraph");
  EXPECT_THAT(recorder::requests({"umalloc"}), IsEmpty());
}

}  // namespace
}  // namespace quillon
