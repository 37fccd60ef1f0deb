#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/tool/full_disk.h"
#include "tests/tool/run_tool.h"
#include "tests/tool/tool_fixture.h"
#include "tests/tool/written_file.h"

namespace {

using quillon::tool_test::kMakeFullDisk;
using quillon::tool_test::Outcome;
using quillon::tool_test::WritingTool;
using quillon::tool_test::written_file;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

// 4 cells and nets of 1, 2, 0, 3, 2 and 1 pins, all with weights.
constexpr const char* kMixed = "1 4 6 9 3\n10 1\n20 1 2\n30\n40 4 2 1\n50 3 1\n60 4\n5 6 7 8\n";

constexpr const char* kMixedReport =
    "kept               2 nets          4 pins   weight 70\n"
    "set aside          1 nets          3 pins   weight 40\n"
    "one pin            2 nets          2 pins   weight 70\n"
    "no pin             1 nets          0 pins   weight 30\n";

const std::string kMixedKept = written_file(
    "1 4 2 4 3\n50 3 1 \n20 1 2 \n% ------ Cell weights -------\n5 6 7 8 ",
    {.ncells = 4, .nnets = 2, .npins = 4, .min_degree = 0, .max_degree = 2, .min_size = 2, .max_size = 2});

const std::string kMixedAside = written_file(
    "1 4 1 3 3\n40 4 2 1 \n% ------ Cell weights -------\n5 6 7 8 ",
    {.ncells = 4, .nnets = 1, .npins = 3, .min_degree = 0, .max_degree = 1, .min_size = 3, .max_size = 3});

constexpr const char* kMixedMap =
    "net 1 5\nnet 2 2\naside 1 4\n"
    "cell 1 1\ncell 2 2\ncell 3 3\ncell 4 4\n";

class Prune : public WritingTool {
 protected:
  Prune() { place_.write("in.qhg", kMixed); }

  [[nodiscard]] std::string failure(const std::string& arguments) const {
    return WritingTool::failure("$QUILLON prune " + arguments, {{"out.qhg", "old"}, {"map.txt", "old map"}});
  }
};

TEST_F(Prune, WritesTheNetsKeptAndReportsOnAllOfThem) {
  const Outcome outcome = place_.run("$QUILLON prune in.qhg -o out.qhg --max-size 3");

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, kMixedReport);
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(contents("out.qhg"), kMixedKept);
  EXPECT_EQ(folder(), "in.qhg\nout.qhg\n");
}

TEST_F(Prune, WritesTheNetsSetAsideAndWhereEverythingCameFrom) {
  const Outcome outcome =
      place_.run("$QUILLON prune in.qhg -o out.qhg --max-size 3 --set-aside aside.qhg --map map.txt");

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, kMixedReport);
  EXPECT_EQ(contents("out.qhg"), kMixedKept);
  EXPECT_EQ(contents("aside.qhg"), kMixedAside);
  EXPECT_EQ(contents("map.txt"), kMixedMap);
  EXPECT_EQ(folder(), "aside.qhg\nin.qhg\nmap.txt\nout.qhg\n");
}

TEST_F(Prune, OfALargeMaximumSetsNothingAside) {
  const Outcome outcome =
      place_.run("$QUILLON prune in.qhg -o out.qhg --max-size 2147483647 --set-aside aside.qhg");

  EXPECT_EQ(outcome.out,
            "kept               3 nets          7 pins   weight 110\n"
            "set aside          0 nets          0 pins   weight 0\n"
            "one pin            2 nets          2 pins   weight 70\n"
            "no pin             1 nets          0 pins   weight 30\n");
  EXPECT_THAT(contents("out.qhg"), HasSubstr("%\n1 4 3 7 3\n50 3 1 \n20 1 2 \n40 4 2 1 \n% ------ Cell"));
  EXPECT_THAT(contents("aside.qhg"), HasSubstr("%\n1 4 0 0 3\n% ------ Cell weights"));
}

TEST_F(Prune, OfMaximum1SetsEveryNetAsideThatHasTwoPins) {
  succeed("$QUILLON prune in.qhg -o out.qhg --max-size 1 --set-aside aside.qhg");

  EXPECT_THAT(contents("out.qhg"), HasSubstr("%\n1 4 0 0 3\n% ------ Cell weights"));
  EXPECT_THAT(contents("aside.qhg"),
              HasSubstr("%\n1 4 3 7 3\n20 1 2 \n40 4 2 1 \n50 3 1 \n% ------ Cell weights"));
}

TEST_F(Prune, WritesTheWeightsThatTheInputHasAndCountsCellsFrom1) {
  place_.write("plain.qhg", "0 3 2 4\n2 0\n0 1\n");
  succeed("$QUILLON prune plain.qhg -o out.qhg --max-size 9");

  EXPECT_THAT(contents("out.qhg"), HasSubstr("%\n1 3 2 4 0\n3 1 \n1 2 \n% ------ Hypergraph info"));
}

TEST_F(Prune, WritesWhatTheToolFindsSound) {
  succeed("$QUILLON prune $DATA/davis.qhg -o out.qhg --max-size 6 --set-aside aside.qhg --shuffle --seed 3");
  const Outcome outcome = place_.run("$QUILLON check --keep-small-nets out.qhg aside.qhg");

  // Of the 14 events of 89 attendances, 7 have fewer than six.
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.out,
            "out.qhg: ok, 18 cells, 7 nets, 25 pins, not symmetric\n"
            "aside.qhg: ok, 18 cells, 7 nets, 64 pins, not symmetric\n");
}

TEST_F(Prune, ReadsStandardInputAndReplacesAFile) {
  place_.write("out.qhg", std::string(5000, 'x'));
  EXPECT_EQ(place_.run("$QUILLON prune - -o out.qhg --max-size 3 <in.qhg").out, kMixedReport);

  EXPECT_EQ(contents("out.qhg"), kMixedKept);
}

TEST_F(Prune, MayReplaceItsInput) {
  EXPECT_EQ(place_.run("$QUILLON prune in.qhg -o in.qhg --max-size 3").status, 0);

  EXPECT_EQ(contents("in.qhg"), kMixedKept);
  EXPECT_EQ(folder(), "in.qhg\n");
}

TEST_F(Prune, AcceptsAHypergraphOfNothing) {
  place_.write("nothing.qhg", "1 0 0 0\n");
  const Outcome outcome = place_.run("$QUILLON prune nothing.qhg -o out.qhg --max-size 3 --map map.txt");

  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, StartsWith("kept               0 nets          0 pins   weight 0\n"));
  EXPECT_THAT(contents("out.qhg"), HasSubstr("%\n1 0 0 0 0\n% ------ Hypergraph info"));
  EXPECT_EQ(contents("map.txt"), "");
}

// The numbers of a map file by their kind, new to old.
struct Origin {
  std::map<int, int> net, aside, cell;
};

Origin parsed_map(const std::string& text) {
  Origin origin;
  std::istringstream in(text);
  std::string kind;
  for (int to = 0, from = 0; in >> kind >> to >> from;)
    (kind == "net" ? origin.net : kind == "aside" ? origin.aside : origin.cell)[to] = from;
  return origin;
}

// The net lines of a written file, by the old numbers of the nets and of their cells.
std::map<int, std::vector<int>> nets_in_old_numbers(const std::string& text, const std::map<int, int>& nets,
                                                    const std::map<int, int>& cells) {
  std::istringstream in(text);
  std::string line;
  do std::getline(in, line);
  while (line.starts_with("%"));  // up to the header
  std::map<int, std::vector<int>> old_nets;
  for (const auto& [to, from] : nets) {
    std::getline(in, line);
    std::istringstream numbers(line);
    std::vector<int>& pins = old_nets[from];
    for (int cell = 0; numbers >> cell;) pins.push_back(cells.at(cell));
    std::sort(pins.begin(), pins.end());
  }
  return old_nets;
}

TEST_F(Prune, ShufflesTheSameHypergraphUnderItsMap) {
  place_.write("plain.qhg", "1 5 5 12\n1 2\n4 5\n2 3 4 5\n1\n5 3 1\n");
  for (int seed = 0; seed < 20; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    const Outcome outcome = place_.run(
        "$QUILLON prune plain.qhg -o out.qhg --max-size 3 --set-aside aside.qhg --map map.txt "
        "--shuffle --seed " +
        std::to_string(seed));
    ASSERT_EQ(outcome.status, 0);
    const Origin origin = parsed_map(contents("map.txt"));

    EXPECT_EQ(nets_in_old_numbers(contents("out.qhg"), origin.net, origin.cell),
              (std::map<int, std::vector<int>>({{1, {1, 2}}, {2, {4, 5}}})));
    EXPECT_EQ(nets_in_old_numbers(contents("aside.qhg"), origin.aside, origin.cell),
              (std::map<int, std::vector<int>>({{3, {2, 3, 4, 5}}, {5, {1, 3, 5}}})));
    EXPECT_EQ(origin.cell.size(), 5u);
  }
}

TEST_F(Prune, ShufflesCellWeightsAlong) {
  place_.write("weights.qhg", "1 5 1 5 1\n1 2 3 4 5\n100 200 300 400 500\n");
  succeed("$QUILLON prune weights.qhg -o out.qhg --max-size 9 --map map.txt --shuffle --seed 1");
  std::string weights;
  const Origin origin = parsed_map(contents("map.txt"));
  for (const auto& [to, from] : origin.cell) weights += std::to_string(100 * from) + " ";

  EXPECT_NE(weights, "100 200 300 400 500 ");
  EXPECT_THAT(contents("out.qhg"), HasSubstr("% ------ Cell weights -------\n" + weights + "\n"));
}

TEST_F(Prune, TheSameSeedGivesTheSameFiles) {
  const std::string shuffle = "$QUILLON prune $DATA/davis.qhg --max-size 6 --shuffle ";
  const Outcome outcome =
      place_.run(shuffle + "--seed 7 -o a.qhg --map a.map --set-aside a.aside && " + shuffle +
                 "--seed 7 -o b.qhg --map b.map --set-aside b.aside && " + shuffle +
                 "--seed 8 -o c.qhg --map c.map --set-aside c.aside && "
                 "cmp a.qhg b.qhg && cmp a.map b.map && cmp a.aside b.aside && "
                 "! cmp -s a.qhg c.qhg && ! cmp -s a.map c.map && ! cmp -s a.aside c.aside");

  EXPECT_EQ(outcome.status, 0) << outcome.err;
}

TEST_F(Prune, TheSeedIs0UnlessGiven) {
  const Outcome outcome = place_.run(
      "$QUILLON prune $DATA/davis.qhg --max-size 6 --shuffle -o a.qhg && "
      "$QUILLON prune $DATA/davis.qhg --max-size 6 --shuffle --seed 0 -o b.qhg && cmp a.qhg b.qhg");

  EXPECT_EQ(outcome.status, 0) << outcome.err;
}

TEST_F(Prune, LeavesNothingBehindOfABadInput) {
  place_.write("bad.qhg", "1 2 1 2\n1 3\n");

  EXPECT_EQ(failure("bad.qhg -o out.qhg --max-size 3 --map map.txt"),
            "quillon: error: invalid vertex/cell id 3 in the  vertex/cell list of net 1\n");
  EXPECT_EQ(failure("missing.qhg -o out.qhg --max-size 3 --map map.txt"),
            "quillon: error: cannot open 'missing.qhg': No such file or directory\n");
}

TEST_F(Prune, LeavesTheTargetWholeWhenAnotherOutputIsLost) {
  ASSERT_EQ(place_.run(kMakeFullDisk).status, 0);
  if (folder().find("full") == std::string::npos) GTEST_SKIP() << "no device can be made here";
  const std::string full = "quillon: error: cannot write 'full': No space left on device\n";
  EXPECT_EQ(failure("in.qhg -o out.qhg --max-size 3 --map full"), full);
  EXPECT_EQ(failure("in.qhg -o out.qhg --max-size 3 --set-aside full --map map.txt"), full);
  EXPECT_EQ(failure("in.qhg -o full --max-size 3 --map map.txt"), full);
}

TEST_F(Prune, LeavesTheTargetWholeWhenAnotherOutputCannotBeMade) {
  EXPECT_EQ(failure("in.qhg -o out.qhg --max-size 3 --map no/map.txt"),
            "quillon: error: cannot write 'no/map.txt': No such file or directory\n");
  EXPECT_EQ(failure("in.qhg -o out.qhg --max-size 3 --map ."),
            "quillon: error: cannot write '.': Is a directory\n");
  EXPECT_EQ(failure("in.qhg -o no/out.qhg --max-size 3 --map map.txt"),
            "quillon: error: cannot write 'no/out.qhg': No such file or directory\n");
}

// Two blocks of 512 bytes are enough for neither file; the shell's limit counts for each of them alone.
TEST_F(Prune, LeavesNothingBehindWhenTheDiskIsFullHalfwayThroughAFile) {
  place_.write("out.qhg", "old");
  const Outcome outcome =
      place_.run("(trap '' XFSZ; ulimit -f 1; $QUILLON prune $DATA/davis.qhg -o out.qhg --max-size 99 2>&1)");

  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.out, HasSubstr("is not whole"));
  EXPECT_EQ(contents("out.qhg"), "old");
  EXPECT_EQ(folder(), "in.qhg\nout.qhg\n");
}

TEST_F(Prune, WritesBehindALinkThatStays) {
  const Outcome outcome = place_.run(
      "mkdir far && echo old >far/real.qhg && ln -s far/real.qhg near.qhg && ln -s near.qhg link.qhg && "
      "$QUILLON prune in.qhg -o link.qhg --max-size 3 >/dev/null && readlink link.qhg near.qhg && ls -A far");

  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, "near.qhg\nfar/real.qhg\nreal.qhg\n");
  EXPECT_EQ(contents("far/real.qhg"), kMixedKept);
  EXPECT_EQ(folder(), "far\nin.qhg\nlink.qhg\nnear.qhg\n");
}

TEST_F(Prune, WritesWhereALinkLeadsThatLedNowhereBefore) {
  const Outcome outcome = place_.run(
      "mkdir far && ln -s far/real.qhg link.qhg && ln -s \"$PWD/far/map.txt\" map.txt && "
      "$QUILLON prune in.qhg -o link.qhg --max-size 3 --map map.txt >/dev/null && "
      "test -L link.qhg -a -L map.txt && ls -A far");

  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, "map.txt\nreal.qhg\n");
  EXPECT_EQ(contents("far/real.qhg"), kMixedKept);
  EXPECT_EQ(contents("far/map.txt"), kMixedMap);
}

// The shell holds both ends until the tool has ended, so that nobody waits for a tool that never opens it.
TEST_F(Prune, KeepsThePermissionsOfAFileItReplaces) {
  place_.write("out.qhg", "old\n");
  EXPECT_EQ(place_
                .run("chmod 640 out.qhg && $QUILLON prune in.qhg -o out.qhg --max-size 3 >report && "
                     "rm report && stat -c %a out.qhg")
                .out,
            "640\n");
}

TEST_F(Prune, ReportsOnStandardErrorBesideAHypergraphOnStandardOutput) {
  const Outcome beside = place_.run("$QUILLON prune in.qhg -o out.qhg --max-size 3");
  const std::string written = contents("out.qhg");
  const Outcome outcome = place_.run("$QUILLON prune in.qhg -o - --max-size 3");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, written);
  EXPECT_EQ(outcome.err, beside.out);
}

TEST_F(Prune, WritesFilesOfLongNames) {
  const std::string name(251, 'o');
  EXPECT_EQ(place_.run("$QUILLON prune in.qhg -o " + name + ".qhg --max-size 3").status, 0);
  EXPECT_EQ(contents(name + ".qhg"), place_.run("$QUILLON prune in.qhg -o - --max-size 3").out);
}

TEST_F(Prune, RefusesToReplaceWhatItReads) {
  for (const std::string option : {"--map", "--set-aside"}) {
    const Outcome outcome =
        place_.run("$QUILLON prune in.qhg -o out.qhg --max-size 3 " + option + " ./in.qhg");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "quillon: error: './in.qhg' is read, and would be replaced\n");
    EXPECT_EQ(folder(), "in.qhg\n");
  }
}

TEST_F(Prune, RefusesEmptyNamesAndSeedsThatAreNone) {
  const std::string command = "$QUILLON prune in.qhg -o out.qhg --max-size 3 ";
  for (const std::string option : {"--map", "--set-aside", "-o"}) {
    const Outcome outcome = place_.run(command + option + " ''");
    EXPECT_EQ(outcome.status, 2) << option;
    EXPECT_THAT(outcome.err, HasSubstr("the name of a file is empty")) << option;
  }
  for (const std::string seed : {"-8", " 8", "0x8", "18446744073709551616"}) {
    const Outcome outcome = place_.run(command + "--shuffle '--seed=" + seed + "'");
    EXPECT_EQ(outcome.status, 2) << seed;
    EXPECT_THAT(outcome.err,
                HasSubstr("--seed: '" + seed + "' is no whole number from 0 to 18446744073709551615"));
  }
  EXPECT_EQ(folder(), "in.qhg\n");
}

TEST_F(Prune, RefusesToWriteAFileTwice) {
  const Outcome outcome = place_.run("$QUILLON prune in.qhg -o out.qhg --max-size 3 --map ./out.qhg");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "quillon: error: './out.qhg' is to be written twice\n");
  EXPECT_EQ(folder(), "in.qhg\n");
}

TEST_F(Prune, WritesIntoAPipe) {
  const Outcome outcome = place_.run(
      "mkfifo pipe && exec 3<>pipe 4<pipe && { cat <&4 3>&- >read.qhg & } && "
      "$QUILLON prune in.qhg -o pipe --max-size 3 3>&- 4<&- >/dev/null; exec 3>&- 4<&-; wait");

  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(contents("read.qhg"), kMixedKept);
  EXPECT_EQ(folder(), "in.qhg\npipe\nread.qhg\n");
}

TEST_F(Prune, FailsWhenItsReportIsLost) {
  const Outcome outcome = place_.run("$QUILLON prune in.qhg -o out.qhg --max-size 3 >/dev/full");

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "quillon: error: cannot write standard output: No space left on device\n");
  EXPECT_EQ(contents("out.qhg"), kMixedKept);
}

TEST_F(Prune, EndsWithStatus2OnWrongUsageAndWritesNothing) {
  for (const std::string arguments :
       {"", "in.qhg", "in.qhg -o out.qhg", "in.qhg --max-size 3", "-o out.qhg --max-size 3",
        "in.qhg -o out.qhg --max-size 0", "in.qhg -o out.qhg --max-size -1", "in.qhg -o out.qhg --max-size x",
        "in.qhg -o out.qhg --max-size 2147483648", "in.qhg -o out.qhg --max-size 3 --seed 1",
        "in.qhg -o out.qhg --max-size 3 --shuffle --seed -1", "in.qhg in.qhg -o out.qhg --max-size 3",
        "in.qhg -o out.qhg --max-size 3 --nonsense"}) {
    const Outcome outcome = place_.run("$QUILLON prune " + arguments);
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_EQ(outcome.out, "") << arguments;
    EXPECT_THAT(outcome.err, StartsWith("quillon: error: ")) << arguments;
  }
  EXPECT_EQ(folder(), "in.qhg\n");
}

TEST_F(Prune, ExplainsItselfWithExamples) {
  const Outcome outcome = place_.run("$QUILLON prune --help");

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
  EXPECT_THAT(outcome.out,
              HasSubstr("\n"
                        "Examples:\n"
                        "  quillon prune circuit.qhg -o small.qhg --max-size 50\n"
                        "  quillon prune circuit.qhg -o small.qhg --max-size 50 --set-aside big.qhg --map "
                        "origin.txt\n"
                        "  quillon prune circuit.qhg -o small.qhg --max-size 50 --shuffle --seed 7\n"
                        "\n"
                        "Kept are the nets of 2 to N - 1 pins. Nets of one pin or none are dropped.\n"));
}

TEST_F(Prune, RunsItsOwnExamples) {
  place_.write("circuit.qhg", kMixed);
  const Outcome help =
      place_.run("$QUILLON prune --help | grep '^  quillon prune ' | sed 's/quillon/$QUILLON/'");
  std::istringstream examples(help.out);
  int nexamples = 0;
  for (std::string example; std::getline(examples, example); ++nexamples)
    EXPECT_EQ(place_.run(example).status, 0) << example;

  EXPECT_EQ(nexamples, 3);
  EXPECT_EQ(folder(), "big.qhg\ncircuit.qhg\nin.qhg\norigin.txt\nsmall.qhg\n");
}

}  // namespace
