#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "tests/tool/full_disk.h"
#include "tests/tool/run_tool.h"
#include "tests/tool/tool_fixture.h"
#include "tests/tool/written_file.h"

namespace {

using quillon::tool_test::kMakeFullDisk;
using quillon::tool_test::Outcome;
using quillon::tool_test::WritingTool;
using quillon::tool_test::written_file;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// 3 cells and 2 nets, with all weights.
constexpr const char* kInput = "1 3 2 4 3\n5 1 2\n6 3 1\n10 20 30\n";

// Old cell 3 comes first, then old cell 1, then old cell 2.
const std::string kReordered = written_file(
    "1 3 2 4 3\n5 2 3 \n6 1 2 \n% ------ Cell weights -------\n30 10 20 ",
    {.ncells = 3, .nnets = 2, .npins = 4, .min_degree = 1, .max_degree = 2, .min_size = 2, .max_size = 2});

// 3 cells and 3 nets.
constexpr const char* kSquare = "1 3 3 5 3\n5 1 2\n6 2\n7 3 1\n10 20 30\n";

// The second cell and the second net come first.
const std::string kSecondFirst = written_file(
    "1 3 3 5 3\n6 1 \n5 2 1 \n7 3 2 \n% ------ Cell weights -------\n20 10 30 ",
    {.ncells = 3, .nnets = 3, .npins = 5, .min_degree = 1, .max_degree = 2, .min_size = 1, .max_size = 2});

class Reorder : public WritingTool {
 protected:
  Reorder() {
    place_.write("in.qhg", kInput);
    place_.write("square.qhg", kSquare);
  }

  [[nodiscard]] std::string failure(const std::string& arguments) const {
    return WritingTool::failure("$QUILLON reorder " + arguments,
                                {{"out.qhg", "old"}, {"old.txt", "old order"}});
  }

  std::string failure_of_order(const std::string& text) {
    place_.write("order.txt", text);
    return failure("in.qhg -o out.qhg --perm order.txt --write-perm old.txt");
  }

  std::string failure_of_parts(const std::string& text) {
    place_.write("parts.txt", text);
    return failure("square.qhg -o out.qhg --by-part parts.txt --write-inverse old.txt");
  }
};

TEST_F(Reorder, TakesTheOrderOfAFile) {
  place_.write("order.txt", "3\n1\n2\n");
  const Outcome outcome = place_.run("$QUILLON reorder in.qhg -o out.qhg --perm order.txt");

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(contents("out.qhg"), kReordered);
  EXPECT_EQ(folder(), "in.qhg\norder.txt\nout.qhg\nsquare.qhg\n");
}

TEST_F(Reorder, TakesAnOrderWithAnyWhiteSpaceBetween) {
  for (const char* const text : {"3 1 2", "3 1 2\n", "\n\n 3\t1\r\n2\r\n\n", "\v3\f1\n2"}) {
    place_.write("order.txt", text);
    EXPECT_EQ(place_.run("$QUILLON reorder in.qhg -o out.qhg --perm order.txt").status, 0) << text;
    EXPECT_EQ(contents("out.qhg"), kReordered) << text;
  }
}

TEST_F(Reorder, WritesTheOrderAndItsInverse) {
  place_.write("order.txt", "3 1 2");
  EXPECT_EQ(place_
                .run("$QUILLON reorder in.qhg -o out.qhg --perm order.txt --write-perm perm.txt "
                     "--write-inverse inverse.txt")
                .status,
            0);

  EXPECT_EQ(contents("perm.txt"), "3\n1\n2\n");
  EXPECT_EQ(contents("inverse.txt"), "2\n3\n1\n");
  EXPECT_EQ(contents("out.qhg"), kReordered);
}

TEST_F(Reorder, ByAnOrderAndThenItsInverseRestoresTheFile) {
  // The first call brings the file into the form in which the tool writes it.
  const Outcome outcome = place_.run(
      "seq 18 >identity.txt && $QUILLON reorder $DATA/davis.qhg -o a.qhg --perm identity.txt && "
      "$QUILLON reorder a.qhg -o b.qhg --random --seed 5 --write-perm perm.txt --write-inverse inverse.txt "
      "&& "
      "! cmp -s a.qhg b.qhg && "
      "$QUILLON reorder b.qhg -o c.qhg --perm inverse.txt --write-inverse again.txt && cmp a.qhg c.qhg && "
      "cmp perm.txt again.txt && "
      "$QUILLON reorder a.qhg -o d.qhg --perm perm.txt && cmp b.qhg d.qhg");

  EXPECT_EQ(outcome.status, 0) << outcome.err;
}

TEST_F(Reorder, TheSameSeedGivesTheSameOrder) {
  const std::string random = "$QUILLON reorder $DATA/davis.qhg --random ";
  const Outcome outcome = place_.run(
      random + "--seed 7 -o a.qhg --write-perm a.txt && " + random +
      "--seed 7 -o b.qhg --write-perm b.txt && " + random + "--seed 8 -o c.qhg --write-perm c.txt && " +
      random + "-o d.qhg --write-perm d.txt && " + random +
      "--seed 0 -o e.qhg --write-perm e.txt && "
      "cmp a.qhg b.qhg && cmp a.txt b.txt && ! cmp -s a.qhg c.qhg && ! cmp -s a.txt c.txt && "
      "cmp d.qhg e.qhg && cmp d.txt e.txt && ! cmp -s a.qhg d.qhg");

  EXPECT_EQ(outcome.status, 0) << outcome.err;
}

TEST_F(Reorder, ARandomOrderNamesEachCellOnce) {
  EXPECT_EQ(place_
                .run("$QUILLON reorder $DATA/davis.qhg -o out.qhg --random --write-perm perm.txt && "
                     "seq 18 >all.txt && sort -n perm.txt | cmp - all.txt && ! cmp -s perm.txt all.txt")
                .status,
            0);
}

TEST_F(Reorder, LeavesTheNetsInTheirOrderWhenItDoesNotGoByPart) {
  place_.write("sizes.qhg", "1 4 3 6\n1\n1 2 3\n4 2\n");
  for (int seed = 0; seed < 10; ++seed) {
    succeed("$QUILLON reorder sizes.qhg -o out.qhg --random --seed " + std::to_string(seed));
    EXPECT_EQ(place_.run("sed -n 5,7p out.qhg | awk '{ print NF }'").out, "1\n3\n2\n") << seed;
  }
}

TEST_F(Reorder, SortsCellsAndNetsByPart) {
  place_.write("parts.txt", "1\n0\n1\n");
  const Outcome outcome = place_.run(
      "$QUILLON reorder square.qhg -o out.qhg --by-part parts.txt --write-perm perm.txt "
      "--write-inverse inverse.txt");

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(contents("out.qhg"), kSecondFirst);
  EXPECT_EQ(contents("perm.txt"), "2\n1\n3\n");
  EXPECT_EQ(contents("inverse.txt"), "2\n1\n3\n");
}

TEST_F(Reorder, KeepsTheOldOrderWithinAPart) {
  // 40 cells that weigh what their number is, in parts 1 and 0 by turns, and as many empty nets.
  std::string weights, parts, even, odd;
  for (int i = 1; i <= 40; ++i) {
    const std::string number = std::to_string(i);
    weights += number + " ";
    parts += i % 2 == 0 ? "0 " : "1 ";
    (i % 2 == 0 ? even : odd) += number + " ";
  }
  place_.write("forty.qhg", "1 40 40 0 1\n" + std::string(40, '\n') + weights + "\n");
  place_.write("parts.txt", parts);
  succeed("$QUILLON reorder forty.qhg -o out.qhg --by-part parts.txt --write-perm perm.txt");

  EXPECT_THAT(contents("out.qhg"), HasSubstr("Cell weights -------\n" + even + odd + "\n"));
  EXPECT_EQ(place_.run("tr '\\n' ' ' <perm.txt").out, even + odd);
}

TEST_F(Reorder, TakesPartsWithAnyWhiteSpaceBetweenAndAnyNumbers) {
  for (const char* const text : {"1 0 1", "1 0 1\n", " 1\t0\r\n1\r\n", "7 3 7", "2147483647 5 2147483647\n",
                                 "2147483646\n0\n2147483647\n", "007 03 7"}) {
    place_.write("parts.txt", text);
    EXPECT_EQ(place_.run("$QUILLON reorder square.qhg -o out.qhg --by-part parts.txt").status, 0) << text;
    EXPECT_EQ(contents("out.qhg"), kSecondFirst) << text;
  }
}

TEST_F(Reorder, KeepsTheNumbersWhenAllCellsAreInOnePart) {
  place_.write("parts.txt", "4 4 4");
  succeed("$QUILLON reorder square.qhg -o out.qhg --by-part parts.txt --write-perm perm.txt");

  EXPECT_EQ(contents("perm.txt"), "1\n2\n3\n");
  EXPECT_THAT(contents("out.qhg"), HasSubstr("%\n1 3 3 5 3\n5 1 2 \n6 2 \n7 3 1 \n%"));
}

TEST_F(Reorder, ByPartRefusesAnotherNumberOfNetsThanOfCells) {
  place_.write("parts.txt", "1 0 1\n");
  EXPECT_EQ(failure("in.qhg -o out.qhg --by-part parts.txt --write-perm old.txt"),
            "quillon: error: SymmetricPermute only run in symmetric hypergraphs (#C:3 #N:2)\n");

  place_.write("none.txt", "");
  place_.write("no-cells.qhg", "1 0 2 0\n\n\n");
  EXPECT_EQ(failure("no-cells.qhg -o out.qhg --by-part none.txt"),
            "quillon: error: SymmetricPermute only run in symmetric hypergraphs (#C:0 #N:2)\n");
}

TEST_F(Reorder, AcceptsAHypergraphOfNothing) {
  place_.write("nothing.qhg", "1 0 0 0\n");
  place_.write("none.txt", "\n");
  for (const std::string how : {"--by-part none.txt", "--perm none.txt", "--random"}) {
    EXPECT_EQ(place_.run("$QUILLON reorder nothing.qhg -o out.qhg --write-perm perm.txt " + how).status, 0)
        << how;
    EXPECT_THAT(contents("out.qhg"), HasSubstr("%\n1 0 0 0 0\n%")) << how;
    EXPECT_EQ(contents("perm.txt"), "") << how;
  }
}

TEST_F(Reorder, SaysWhereAnOrderIsNoneAndWhatItExpectedThere) {
  const std::string number = "expected a cell number from 1 to 3\n";
  EXPECT_EQ(failure_of_order("3\n  4\n1\n"), "quillon: order.txt:2:3: error: found \"4\", " + number);
  EXPECT_EQ(failure_of_order("0 1 2\n"), "quillon: order.txt:1:1: error: found \"0\", " + number);
  EXPECT_EQ(failure_of_order("3 -1 2\n"), "quillon: order.txt:1:3: error: found \"-1\", " + number);
  EXPECT_EQ(failure_of_order("3 1x 2\n"), "quillon: order.txt:1:3: error: found \"1x\", " + number);
  EXPECT_EQ(failure_of_order("3 +1 2\n"), "quillon: order.txt:1:3: error: found \"+1\", " + number);
  EXPECT_EQ(failure_of_order("3 1.0 2\n"), "quillon: order.txt:1:3: error: found \"1.0\", " + number);
  EXPECT_EQ(failure_of_order("3 4294967297 2\n"),
            "quillon: order.txt:1:3: error: found \"4294967297\", " + number);
  EXPECT_EQ(failure_of_order("3\n1\n"),
            "quillon: order.txt:3:1: error: found the end of the file, " + number);
  EXPECT_EQ(failure_of_order(""), "quillon: order.txt:1:1: error: found the end of the file, " + number);
}

TEST_F(Reorder, SaysWhereACellIsNamedAgain) {
  EXPECT_EQ(failure_of_order("1\n3\n3\n"),
            "quillon: order.txt:3:1: error: found \"3\", expected a cell not named before, which it was on "
            "line 2\n");
}

TEST_F(Reorder, SaysWhatIsTooMuchInAnOrder) {
  EXPECT_EQ(failure_of_order("3 1 2\n\n  2\n"),
            "quillon: order.txt:3:3: error: found \"2\", expected nothing behind the numbers of 3 cells\n");
}

TEST_F(Reorder, ShowsWhatCanBeShownOfAWord) {
  const std::string forty(40, 'x');
  const std::string number = ", expected a cell number from 1 to 3\n";
  EXPECT_EQ(failure_of_order(forty), "quillon: order.txt:1:1: error: found \"" + forty + "\"" + number);
  EXPECT_EQ(failure_of_order(forty + "y"),
            "quillon: order.txt:1:1: error: found \"" + forty + "...\"" + number);
  EXPECT_EQ(failure_of_order(std::string("3 \0\x1b\xff"
                                         "1",
                                         6)),
            "quillon: order.txt:1:3: error: found \"???1\"" + number);
}

TEST_F(Reorder, SaysWhereAPartIsNoneAndWhoseItIs) {
  EXPECT_EQ(failure_of_parts("1\nx\n1\n"),
            "quillon: parts.txt:2:1: error: found \"x\", expected the part number, from 0, of cell 2\n");
  EXPECT_EQ(failure_of_parts("1 0 -1\n"),
            "quillon: parts.txt:1:5: error: found \"-1\", expected the part number, from 0, of cell 3\n");
  EXPECT_EQ(
      failure_of_parts("2147483648 0 1\n"),
      "quillon: parts.txt:1:1: error: found \"2147483648\", expected the part number, from 0, of cell 1\n");
  EXPECT_EQ(failure_of_parts("1 0\n"),
            "quillon: parts.txt:2:1: error: found the end of the file, expected the part number, from 0, of "
            "cell 3\n");
  EXPECT_EQ(failure_of_parts("1 0 1 7\n"),
            "quillon: parts.txt:1:7: error: found \"7\", expected nothing behind the parts of 3 cells\n");
}

TEST_F(Reorder, LeavesNothingBehindOfFilesThatCannotBeRead) {
  place_.write("bad.qhg", "1 2 1 2\n1 3\n");
  EXPECT_EQ(failure("bad.qhg -o out.qhg --random"),
            "quillon: error: invalid vertex/cell id 3 in the  vertex/cell list of net 1\n");
  EXPECT_EQ(failure("in.qhg -o out.qhg --perm no.txt"),
            "quillon: error: cannot open 'no.txt': No such file or directory\n");
  EXPECT_EQ(failure("square.qhg -o out.qhg --by-part ."),
            "quillon: error: cannot read '.': Is a directory\n");
}

TEST_F(Reorder, AFileWithoutANameIsNoReasonForAnotherOrder) {
  for (const std::string how : {"--by-part", "--perm"}) {
    const Outcome outcome = place_.run("$QUILLON reorder square.qhg -o out.qhg " + how + " ''");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err,
              "quillon: error: " + how + ": the name of a file is empty\nTry 'quillon reorder --help'.\n");
    EXPECT_THAT(folder(), Not(HasSubstr("out.qhg")));
  }
}

TEST_F(Reorder, RefusesToReplaceWhatItReads) {
  place_.write("order.txt", "3 1 2");
  EXPECT_EQ(failure("in.qhg -o order.txt --perm order.txt"),
            "quillon: error: 'order.txt' is read, and would be replaced\n");
  EXPECT_EQ(failure("in.qhg -o out.qhg --random --write-perm ./in.qhg"),
            "quillon: error: './in.qhg' is read, and would be replaced\n");
  EXPECT_EQ(failure("in.qhg -o out.qhg --random --write-inverse in.qhg"),
            "quillon: error: 'in.qhg' is read, and would be replaced\n");
}

TEST_F(Reorder, LeavesTheTargetWholeWhenAnotherOutputIsLost) {
  ASSERT_EQ(place_.run(kMakeFullDisk).status, 0);
  if (folder().find("full") == std::string::npos) GTEST_SKIP() << "no device can be made here";
  const std::string full = "quillon: error: cannot write 'full': No space left on device\n";
  EXPECT_EQ(failure("in.qhg -o out.qhg --random --write-perm full"), full);
  EXPECT_EQ(failure("in.qhg -o out.qhg --random --write-perm old.txt --write-inverse full"), full);
  EXPECT_EQ(failure("in.qhg -o full --random --write-perm old.txt"), full);
}

TEST_F(Reorder, LeavesTheTargetWholeWhenAnotherOutputCannotBeMade) {
  EXPECT_EQ(failure("in.qhg -o out.qhg --random --write-perm old.txt --write-inverse no/inverse.txt"),
            "quillon: error: cannot write 'no/inverse.txt': No such file or directory\n");
  EXPECT_EQ(failure("in.qhg -o no/out.qhg --random --write-perm old.txt"),
            "quillon: error: cannot write 'no/out.qhg': No such file or directory\n");
}

TEST_F(Reorder, WritesBehindALinkThatStays) {
  place_.write("order.txt", "3 1 2");
  const Outcome outcome = place_.run(
      "mkdir far && echo old >far/real.qhg && ln -s far/real.qhg link.qhg && "
      "$QUILLON reorder in.qhg -o link.qhg --perm order.txt && readlink link.qhg && ls -A far");

  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, "far/real.qhg\nreal.qhg\n");
  EXPECT_EQ(contents("far/real.qhg"), kReordered);
}

TEST_F(Reorder, MayReplaceItsInputs) {
  place_.write("order.txt", "3 1 2");
  EXPECT_EQ(place_.run("$QUILLON reorder in.qhg -o in.qhg --perm order.txt --write-inverse order.txt").status,
            0);

  EXPECT_EQ(contents("in.qhg"), kReordered);
  EXPECT_EQ(contents("order.txt"), "2\n3\n1\n");
}

TEST_F(Reorder, KeepsSmallNetsAndReadsStandardInput) {
  place_.write("order.txt", "2 1");
  place_.write("small.qhg", "0 2 3 3\n1\n\n0 1\n");
  EXPECT_EQ(place_.run("$QUILLON reorder - -o out.qhg --perm order.txt <small.qhg").status, 0);

  EXPECT_THAT(contents("out.qhg"), HasSubstr("%\n1 2 3 3 0\n1 \n\n2 1 \n% ------ Hypergraph info"));
  EXPECT_EQ(place_.run("$QUILLON check --keep-small-nets out.qhg").out,
            "out.qhg: ok, 2 cells, 3 nets, 3 pins, not symmetric\n");
}

TEST_F(Reorder, ByPartKeepsASymmetricHypergraphSymmetric) {
  place_.write("symmetric.qhg", "1 4 4 10\n1 2\n2 1 4\n3 4\n4 2 3\n");
  place_.write("parts.txt", "2 0 2 1");
  succeed("$QUILLON reorder symmetric.qhg -o out.qhg --by-part parts.txt");

  EXPECT_EQ(place_.run("$QUILLON check --keep-small-nets --symmetric symmetric.qhg out.qhg").out,
            "symmetric.qhg: ok, 4 cells, 4 nets, 10 pins, symmetric\n"
            "out.qhg: ok, 4 cells, 4 nets, 10 pins, symmetric\n");
}

TEST_F(Reorder, EndsWithStatus2OnWrongUsageAndWritesNothing) {
  for (const std::string arguments :
       {"", "in.qhg", "in.qhg -o out.qhg", "in.qhg --random", "-o out.qhg --random",
        "in.qhg -o out.qhg --random --perm in.qhg", "in.qhg -o out.qhg --by-part in.qhg --perm in.qhg",
        "in.qhg -o out.qhg --perm in.qhg --seed 3", "in.qhg -o out.qhg --random --seed -1",
        "in.qhg -o out.qhg --random --seed x", "in.qhg in.qhg -o out.qhg --random",
        "in.qhg -o out.qhg --random --nonsense"}) {
    const Outcome outcome = place_.run("$QUILLON reorder " + arguments);
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_EQ(outcome.out, "") << arguments;
    EXPECT_THAT(outcome.err, StartsWith("quillon: error: ")) << arguments;
  }
  EXPECT_EQ(folder(), "in.qhg\nsquare.qhg\n");
}

TEST_F(Reorder, ExplainsItsOrdersByThreeCells) {
  const Outcome outcome = place_.run("$QUILLON reorder --help");

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
  EXPECT_THAT(
      outcome.out,
      HasSubstr(
          "\n"
          "Orders have one number a line, from 1. When old cell 3 comes first, then old cell 1, then old "
          "cell 2:\n"
          "  --write-perm writes     3 1 2   line i: the old number of new cell i; --perm reads this\n"
          "  --write-inverse writes  2 3 1   line i: the new number of old cell i\n"));
}

TEST_F(Reorder, RunsItsOwnExamples) {
  place_.write("circuit.qhg", kInput);
  place_.write("matrix.qhg", kSquare);
  place_.write("matrix.part", "1 0 1");
  const Outcome help =
      place_.run("$QUILLON reorder --help | grep '^  quillon reorder ' | sed 's/quillon/$QUILLON/'");
  std::istringstream examples(help.out);
  int nexamples = 0;
  for (std::string example; std::getline(examples, example); ++nexamples)
    EXPECT_EQ(place_.run(example).status, 0) << example;

  EXPECT_EQ(nexamples, 3);
  EXPECT_EQ(contents("other.qhg"), contents("mixed.qhg"));
  EXPECT_EQ(contents("blocks.qhg"), kSecondFirst);
}

}  // namespace
