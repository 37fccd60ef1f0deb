#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "tests/tool/run_tool.h"

namespace {

using quillon::tool_test::Outcome;
using quillon::tool_test::Workplace;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

// 3 cells; a net of two pins, one of one pin and one without; numbering from 1.
constexpr const char* kSmallNets = "1 3 3 3\n1 2\n3\n\n";
constexpr const char* kSquare = "1 2 2 4\n1 2\n1 2\n";

constexpr const char* kColumns =
    "cells\tnets\tpins\tdeg_avg\tdeg_std\tdeg_cov\tdeg_min\tdeg_zero\tdeg_max\t"
    "size_avg\tsize_std\tsize_cov\tsize_min\tsize_zero\tsize_max\t"
    "cellw_min\tcellw_max\tcellw_total\tnetw_min\tnetw_max\tnetw_total\n";

class Tool : public testing::Test {
 protected:
  Workplace place_;
};

using Stats = Tool;
using Check = Tool;
using Dump = Tool;

TEST_F(Stats, PrintsTheDetailedReport) {
  place_.write("square.qhg", kSquare);
  const Outcome outcome = place_.run("$QUILLON stats square.qhg");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(
      outcome.out,
      " H=(2, 2, 4)"
      "\nCell Degree\n\tAvg\t:    2.000\n\tStd\t:    0.000\n\tCov\t:    0.000\n\tMin\t:        2 (Zero#: 0)"
      "\n\tMax\t:        2"
      "\nNet Size\n\tAvg\t:    2.000\n\tStd\t:    0.000\n\tCov\t:    0.000\n\tMin\t:        2 (Zero#: 0)"
      "\n\tMax\t:        2"
      "\nCell Weights\n\tMin\t:        1 (50.000% of total weight)\n\tMax\t:        1 (50.000% of total "
      "weight)"
      "\n\tTotal\t:        2"
      "\nNet Weights\n\tMin\t:        1 (50.000% of total weight)\n\tMax\t:        1 (50.000% of total "
      "weight)"
      "\n\tTotal\t:        2"
      "\n\n Cell Degree distribution\n==============================================="
      "\n CelDeg=    2 -->      2 cell(s) (  100.00%)"
      "\n\n Net Size  distribution\n==============================================="
      "\n NetSize=    2 -->      2 net(s) (  100.00%)\n\n");
}

TEST_F(Stats, MakesATableOfSeveralFiles) {
  place_.write("small.qhg", kSmallNets);
  place_.write("square.qhg", kSquare);
  const Outcome outcome = place_.run("$QUILLON stats --table --header small.qhg square.qhg");
  EXPECT_EQ(outcome.status, 0);
  // Of small.qhg one net is left: degrees 1, 1, 0 with average 2/3 and variance 2/9.
  EXPECT_EQ(outcome.out,
            std::string(kColumns) +
                "3\t1\t2\t0.67\t0.47\t0.71\t1\t1\t1\t2.00\t0.00\t0.00\t2\t0\t2\t1\t1\t3\t1\t1\t1\n"
                "2\t2\t4\t2.00\t0.00\t0.00\t2\t0\t2\t2.00\t0.00\t0.00\t2\t0\t2\t1\t1\t2\t1\t1\t2\n");
}

TEST_F(Stats, KeepsSmallNetsWhenAsked) {
  place_.write("small.qhg", kSmallNets);
  // Degrees 1, 1, 1; sizes 2, 1, 0 with average 1 and variance 2/3.
  EXPECT_EQ(place_.run("$QUILLON stats --table --keep-small-nets small.qhg").out,
            "3\t3\t3\t1.00\t0.00\t0.00\t1\t0\t1\t1.00\t0.82\t0.82\t1\t1\t2\t1\t1\t3\t1\t1\t3\n");
}

TEST_F(Stats, PrintsTheSummaryOfEachFileUnderItsName) {
  place_.write("small.qhg", kSmallNets);
  place_.write("square.qhg", kSquare);
  // One-pin nets count in TOTNW and TOTINW, pinless ones in VN.
  EXPECT_EQ(place_.run("$QUILLON stats --summary small.qhg square.qhg").out,
            "small.qhg:\n\nH(3, 1, 2) MWCD=1 MINCD=0 TOTCW=3\nTOTNW=2 TOTINW=1 VN=1\n"
            "square.qhg:\n\nH(2, 2, 4) MWCD=2 MINCD=2 TOTCW=2\nTOTNW=2 TOTINW=0 VN=0\n");
  EXPECT_EQ(place_.run("$QUILLON stats --summary square.qhg").out,
            "\nH(2, 2, 4) MWCD=2 MINCD=2 TOTCW=2\nTOTNW=2 TOTINW=0 VN=0\n");
}

TEST_F(Stats, ReadsStandardInput) {
  place_.write("square.qhg", kSquare);
  EXPECT_EQ(place_.run("cat square.qhg | $QUILLON stats --summary -").out,
            "\nH(2, 2, 4) MWCD=2 MINCD=2 TOTCW=2\nTOTNW=2 TOTINW=0 VN=0\n");
}

TEST_F(Stats, ReportsTheOtherFilesWhenOneIsBad) {
  place_.write("square.qhg", kSquare);
  place_.write("bad.qhg", "1 2 1 2\n1 3\n");
  const Outcome outcome = place_.run("$QUILLON stats --table square.qhg bad.qhg missing.qhg square.qhg");
  EXPECT_EQ(outcome.status, 1);
  const std::string line =
      "2\t2\t4\t2.00\t0.00\t0.00\t2\t0\t2\t2.00\t0.00\t0.00\t2\t0\t2\t1\t1\t2\t1\t1\t2\n";
  EXPECT_EQ(outcome.out, line + line);
  EXPECT_EQ(outcome.err,
            "quillon: error: invalid vertex/cell id 3 in the  vertex/cell list of net 1\n"
            "quillon: error: bad.qhg: not reported, because of the error above\n"
            "quillon: error: cannot open 'missing.qhg': No such file or directory\n"
            "quillon: error: missing.qhg: not reported, because of the error above\n");
}

TEST_F(Stats, FailsWhenItsOutputIsLost) {
  place_.write("square.qhg", kSquare);
  const Outcome outcome = place_.run("$QUILLON stats square.qhg >/dev/full");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err,
              StartsWith("quillon: error: cannot write standard output: No space left on device\n"));
}

// The readers themselves would wait for ever at the end of each of these.
TEST_F(Tool, RefusesFilesThatEndInACommentWhereMoreIsDue) {
  const std::string message =
      "ends in a comment line, but its header, a net line or cell weights are still due\n";
  const std::string long_comment = "%" + std::string(300000, 'x');
  for (const std::string& text :
       {std::string("% only\n"), std::string("1 2 1 2\n% net due\n"), std::string("1 2 1 2\n% net due"),
        std::string("1 2 1 2 1\n1 2\n% weights\n"), std::string("1 2 1 2 1\n1 2\n1\n% weight due\n"),
        std::string("1 2 2 4\n1 2\n% one\n% two\n"), "1 2 1 2\n" + long_comment,
        "1 2 1 2\n" + long_comment + "\n"}) {
    place_.write("file.qhg", text);
    for (const std::string command : {"stats", "check", "dump"}) {
      for (const std::string option : {"", " --keep-small-nets"}) {
        SCOPED_TRACE(command + option + ": " + text.substr(0, 40));
        const Outcome outcome = place_.run("$QUILLON " + command + option + " file.qhg");
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.err, StartsWith("quillon: error: 'file.qhg' " + message));
      }
    }
  }
  EXPECT_THAT(place_.run("printf '1 2 1 2\\n%% c\\n' | $QUILLON stats -").err,
              StartsWith("quillon: error: 'standard input' " + message));
}

std::string padded(std::string text, std::size_t size) {
  text.resize(size, ' ');
  return text;
}

// What is behind byte 16777215 of a header is another line to the readers, here a comment.
TEST_F(Tool, RefusesFilesThatEndInALineTooLongWhereMoreIsDue) {
  const std::string message =
      "ends in a line of more than 16777215 bytes, but its header, a net line or cell weights are still "
      "due\n";
  for (const std::string& text : {padded("1 2 1 2", 16777215) + "% x\n", padded("1 2 1 2", 16777215) + "%"}) {
    place_.write("file.qhg", text);
    for (const std::string command : {"stats", "stats --keep-small-nets", "check"}) {
      SCOPED_TRACE(command + ": " + std::to_string(text.size()));
      EXPECT_THAT(place_.run("$QUILLON " + command + " file.qhg").err,
                  StartsWith("quillon: error: 'file.qhg' " + message));
      EXPECT_THAT(place_.run("$QUILLON " + command + " - <file.qhg").err,
                  StartsWith("quillon: error: 'standard input' " + message));
    }
  }
}

TEST_F(Tool, AcceptsLongLastLinesWhereNothingIsDue) {
  const std::string summary = "\nH(2, 1, 2) MWCD=1 MINCD=1 TOTCW=2\nTOTNW=1 TOTINW=0 VN=0\n";
  for (const std::string& text :
       {"1 2 1 2\n1 2\n" + padded("", 16777216), "1 2 1 2\n1 2\n" + padded("%", 20000000),
        padded("1 2 1 2", 16777214) + "\n1 2\n"}) {
    place_.write("file.qhg", text);
    EXPECT_EQ(place_.run("$QUILLON stats --summary file.qhg").out, summary) << text.size();
    EXPECT_EQ(place_.run("$QUILLON stats --summary - <file.qhg").out, summary) << text.size();
  }
}

TEST_F(Tool, AcceptsCommentsBehindTheDataAndAnywhereBefore) {
  const std::string summary = "\nH(2, 1, 2) MWCD=1 MINCD=1 TOTCW=2\nTOTNW=1 TOTINW=0 VN=0\n";
  for (const std::string text :
       {"1 2 1 2\n1 2\n% behind\n", "% a\n1 2 1 2\n% b\n1 2\n% c", "% a\n% b\n1 2 1 2\n1 2\n"}) {
    place_.write("file.qhg", text);
    EXPECT_EQ(place_.run("$QUILLON stats --summary file.qhg").out, summary) << text;
  }
}

TEST_F(Tool, ReadsFilesLongerThanOneBufferWithCommentsAtItsBorders) {
  // Comment lines of every length near the size of the buffer put its border at each place of the lines
  // behind.
  for (int length = 262120; length <= 262150; ++length) {
    place_.write("file.qhg",
                 "1 2 2 4\n1 2\n%" + std::string(static_cast<std::size_t>(length), 'x') + "\n2 1\n%\n");
    EXPECT_EQ(place_.run("$QUILLON stats --summary file.qhg").out,
              "\nH(2, 2, 4) MWCD=2 MINCD=2 TOTCW=2\nTOTNW=2 TOTINW=0 VN=0\n")
        << length;
  }
}

TEST_F(Check, PrintsOneVerdictAFile) {
  place_.write("square.qhg", kSquare);
  place_.write("small.qhg", kSmallNets);
  const Outcome outcome = place_.run("$QUILLON check square.qhg small.qhg $DATA/davis.qhg");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
  EXPECT_THAT(outcome.out, StartsWith("square.qhg: ok, 2 cells, 2 nets, 4 pins, symmetric\n"
                                      "small.qhg: ok, 3 cells, 1 nets, 2 pins, "
                                      "2 nets with one pin or none folded, not symmetric\n"));
  EXPECT_THAT(outcome.out, HasSubstr("davis.qhg: ok, 18 cells, 14 nets, 89 pins, not symmetric\n"));
}

TEST_F(Check, KeepsSmallNetsWhenAsked) {
  place_.write("small.qhg", kSmallNets);
  const Outcome outcome = place_.run("$QUILLON check --keep-small-nets small.qhg");
  EXPECT_EQ(outcome.out, "small.qhg: ok, 3 cells, 3 nets, 3 pins, not symmetric\n");
  EXPECT_EQ(outcome.err, "quillon: warning: hypergraph has nets with no pins\n");
}

TEST_F(Check, SaysOfEveryBadFileThatItFailedAndWhy) {
  place_.write("twice.qhg", "1 2 1 3\n1 2 1\n");
  place_.write("weights.qhg", "1 2 1 2 1\n1 2\n4 5 6\n");
  place_.write("pins.qhg", "1 2 1 3\n1 2\n");
  place_.write("square.qhg", kSquare);
  const Outcome outcome = place_.run("$QUILLON check twice.qhg weights.qhg pins.qhg square.qhg");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out,
            "twice.qhg: FAILED\nweights.qhg: FAILED\npins.qhg: FAILED\n"
            "square.qhg: ok, 2 cells, 2 nets, 4 pins, symmetric\n");
  EXPECT_EQ(outcome.err,
            "quillon: warning: read_hypergraph: \n 1 is already added to net list of 1\n"
            "quillon: error:  CheckListsofHypergraph: net 1 occurs 2 times in the net list of cell 1\n"
            "quillon: error: CheckListsofHypergraph: computed totcw=9 but h->_totcw = 15\n"
            "quillon: error: read_hypergraph: Something wrong with the pins from input file 3 2\n");
}

TEST_F(Check, WarnsOfMissingCellWeights) {
  place_.write("file.qhg", "1 2 1 2 1\n1 2\n4\n");
  const Outcome outcome = place_.run("$QUILLON check file.qhg");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err,
            "quillon: warning: read_hypergraph: some cell (vertex) weights are missing, initializing to 1\n");
}

TEST_F(Check, DemandsSymmetryWhenAskedAndSaysWhatIsMissing) {
  place_.write("square.qhg", kSquare);
  place_.write("lengths.qhg", "1 3 3 6\n1 2 3\n1 2\n3\n");
  place_.write("entries.qhg", "1 3 3 6\n1 2\n2 3\n3 1\n");
  const Outcome square = place_.run("$QUILLON check --symmetric square.qhg");
  EXPECT_EQ(square.status, 0);
  EXPECT_EQ(square.err, "");

  const Outcome lengths = place_.run("$QUILLON check --symmetric --keep-small-nets lengths.qhg");
  EXPECT_EQ(lengths.status, 1);
  EXPECT_EQ(lengths.out, "lengths.qhg: FAILED\n");
  EXPECT_EQ(lengths.err,
            "\n Checking Symmetry in Hypergraph H=(    3,     3,       6)"
            "\n NOT Symmetric beacuse deg[d]=1 size[2]=1\n");

  const Outcome entries = place_.run("$QUILLON check --symmetric entries.qhg");
  EXPECT_EQ(entries.status, 1);
  EXPECT_EQ(entries.out, "entries.qhg: FAILED\n");
  EXPECT_EQ(entries.err,
            "\n Checking Symmetry in Hypergraph H=(    3,     3,       6)"
            "\n Pins[   1] = {   1(P=-1, W=  1),    2(P=-1, W=  1) }\n"
            "\n Nets[   1] = {   1(W=  1),    3(W=  1), }\n"
            "quillon: error: \n NOT Symmetric cell 3 not occured in cell-list of net 1\n");
}

TEST_F(Check, TakesAnAsymmetricHypergraphForSoundOtherwise) {
  place_.write("entries.qhg", "1 3 3 6\n1 2\n2 3\n3 1\n");
  const Outcome outcome = place_.run("$QUILLON check entries.qhg");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "entries.qhg: ok, 3 cells, 3 nets, 6 pins, not symmetric\n");
  EXPECT_EQ(outcome.err, "");
}

TEST_F(Dump, PrintsTheWholeHypergraph) {
  place_.write("file.qhg", "1 2 2 3 3\n5 1 2\n4 2\n7 8\n");
  const Outcome outcome = place_.run("$QUILLON dump file.qhg");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out,
            "\n********************************************************************"
            "\n H=(2, 1, 2)"
            "\n totcw=15 totnw=9 totinw=4 virtnets=0\n"
            "\n Nets connectted to the cells\n=========================================================="
            "\n w=    7 inw=    0 pno=  -1 Nets[     1] = {1}"
            "\n w=    8 inw=    4 pno=  -1 Nets[     2] = {1}"
            "\n Cells connectted to the nets\n=========================================================="
            "\n w=    5 Pins[     1] = {1, 2}"
            "\n********************************************************************\n");
}

TEST_F(Dump, PrintsChosenNetsAndCellsInTheOrderAsked) {
  place_.write("file.qhg", "1 2 2 3 3\n5 1 2\n4 2\n7 8\n");
  EXPECT_EQ(place_.run("$QUILLON dump --keep-small-nets --net 2 --net 1 --cell 2 file.qhg").out,
            "\n Pins[   2] = {   2(P=-1, W=  8) }\n"
            "\n Pins[   1] = {   1(P=-1, W=  7),    2(P=-1, W=  8) }\n"
            "\n Nets[   2] = {   1(W=  5),    2(W=  4), }\n");
}

TEST_F(Dump, RefusesNetsAndCellsThatAreNotThere) {
  place_.write("square.qhg", kSquare);
  const Outcome net = place_.run("$QUILLON dump square.qhg --net 3");
  EXPECT_EQ(net.status, 2);
  EXPECT_EQ(net.out, "");
  EXPECT_EQ(net.err, "quillon: error: there is no net 3 in 'square.qhg', which has 2\n");
  const Outcome cell = place_.run("$QUILLON dump square.qhg --cell 3");
  EXPECT_EQ(cell.status, 2);
  EXPECT_EQ(cell.err, "quillon: error: there is no cell 3 in 'square.qhg', which has 2\n");
}

TEST_F(Dump, TakesNumbersForDecimalAndRefusesWhatIsNone) {
  place_.write("square.qhg", "1 9 9 18\n1 2\n2 3\n3 4\n4 5\n5 6\n6 7\n7 8\n8 9\n9 1\n");
  EXPECT_THAT(place_.run("$QUILLON dump square.qhg --net 009 --cell 08").out,
              AllOf(StartsWith("\n Pins[   9] = {"), HasSubstr("\n Nets[   8] = {")));
  for (const std::string number : {"0", "-1", "0x1", "1,2", "1e0", " 1", "+1", "2147483648"}) {
    const Outcome outcome = place_.run("$QUILLON dump square.qhg '--net=" + number + "'");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err, "quillon: error: --net: '" + number +
                               "' is no whole number from 1 to 2147483647\nTry 'quillon dump --help'.\n");
  }
}

TEST_F(Tool, EndsWithStatus2OnWrongUsage) {
  for (const std::string arguments : {"", "nonsense", "stats", "check", "dump", "stats --nonsense x",
                                      "stats --header x", "stats --table --summary x", "dump x --net many"}) {
    const Outcome outcome = place_.run("$QUILLON " + arguments);
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_EQ(outcome.out, "") << arguments;
    EXPECT_THAT(outcome.err, StartsWith("quillon: error: ")) << arguments;
  }
}

TEST_F(Tool, SaysWhereAnOptionBelongs) {
  const Outcome outcome = place_.run("$QUILLON --json stats square.qhg");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err, "quillon: error: --json goes behind the command\nTry 'quillon stats --help'.\n");
}

TEST_F(Tool, SaysOfWhichFormatAFileIsByItsName) {
  place_.write("h.hgr", "2 2\n1 2\n1 2\n");
  const Outcome outcome = place_.run("$QUILLON check h.hgr");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err,
              StartsWith("quillon: warning: 'h.hgr' is read as quillon; by its name it is of another "
                         "format, of which convert makes that\nquillon: error: read_hypergraph"));
}

TEST_F(Tool, ExplainsItselfWithExamples) {
  for (const std::string command : {"", "stats ", "check ", "dump "}) {
    const Outcome outcome = place_.run("$QUILLON " + command + "--help");
    EXPECT_EQ(outcome.status, 0) << command;
    EXPECT_THAT(outcome.out, HasSubstr("Examples:\n  quillon ")) << command;
    EXPECT_EQ(outcome.err, "") << command;
  }
  EXPECT_EQ(place_.run("$QUILLON --version").out, "quillon " QUILLON_VERSION "\n");
}

// The process that does the work waits for someone to write into the pipe.
TEST_F(Tool, SaysWhichSignalEndedTheWorkOnAFile) {
  const Outcome outcome = place_.run(
      "mkfifo pipe; $QUILLON stats pipe & tool=$!; worker=; "
      "while [ -z \"$worker\" ]; do worker=$(cat /proc/$tool/task/$tool/children); done; "
      "kill -KILL $worker; wait $tool");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err,
            "quillon: error: pipe: ended by signal 9 (Killed)\n"
            "quillon: error: pipe: not reported, because of the error above\n");
}

TEST_F(Tool, ReadsRealHypergraphsWhereTheyAreAtHand) {
  if (std::getenv("QUILLON_REAL_DATA") == nullptr) GTEST_SKIP() << "QUILLON_REAL_DATA names no folder";
  const Outcome outcome = place_.run(
      "cd \"$QUILLON_REAL_DATA\" && $QUILLON stats --table --keep-small-nets "
      "ibm01.qhg powersim.qhg sat14_atco.qhg | cut -f 1-3");
  EXPECT_EQ(outcome.out, "12752\t14111\t50566\n15838\t15838\t67562\n9643\t152744\t641139\n");
}

}  // namespace
