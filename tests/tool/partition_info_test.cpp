#include <gmock/gmock.h>

#include <set>
#include <vector>

#include "formats/scanner.h"
#include "measures/partition.h"
#include "tests/tool/full_disk.h"
#include "tests/tool/tool_fixture.h"

namespace quillon::tool_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// Cells 1..5 weigh 3, 1, 1, 1, 2 and have the part numbers 0, 2, 0, 2, 0: there is none with 1.
// Nets of weights 5, 2, 7, 1: {1, 3, 5} in one part, {1, 2} and {2, 3, 4, 5} in two, {} in none.
class PartitionInfo : public WritingTool {
 protected:
  void SetUp() override {
    place_.write("h.qhg", "1 5 4 9 3\n5 1 3 5\n2 1 2\n7 2 3 4 5\n1\n3 1 1 1 2\n");
    place_.write("h.part", "0\n2\n0\n2\n0\n");
  }

  [[nodiscard]] std::string failure(const std::string& text, const std::string& options = "") const {
    return WritingTool::failure("$QUILLON partition-info h.qhg bad.part " + options, {{"bad.part", text}});
  }
};

TEST_F(PartitionInfo, PrintsSizesCutsAndBalance) {
  const Outcome outcome = place_.run("$QUILLON partition-info h.qhg h.part");

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.out,
            "h.qhg: 5 cells, 4 nets, 9 pins in 3 parts\n"
            "      part      cells         weight\n"
            "         0          3              6\n"
            "         1          0              0\n"
            "         2          2              2\n"
            "cut nets                 2\n"
            "cut                      9\n"
            "connectivity minus one   9\n"
            "sum of external degrees  18\n"
            "imbalance                1.250000\n");  // 6 / (8 / 3) - 1
}

TEST_F(PartitionInfo, CountsAsManyPartsAsAreAskedFor) {
  const Outcome outcome = place_.run("$QUILLON partition-info h.qhg h.part -k 4 | sed -n '1p;6p;$p'");

  EXPECT_EQ(outcome.out,
            "h.qhg: 5 cells, 4 nets, 9 pins in 4 parts\n"
            "         3          0              0\n"
            "imbalance                2.000000\n");
}

TEST_F(PartitionInfo, ReadsAnyWhiteSpaceAndStandardInput) {
  EXPECT_EQ(place_.run("printf ' 0 2\\t0\\r\\n\\n2 0' | $QUILLON partition-info h.qhg -").out,
            place_.run("$QUILLON partition-info h.qhg h.part").out);
}

TEST_F(PartitionInfo, ReadsHypergraphsOfOtherFormats) {
  place_.write("h.hgr", "2 3\n1 2\n2 3\n");
  EXPECT_EQ(place_.run("echo 0 0 1 | $QUILLON partition-info h.hgr - | sed -n '1p;5p'").out,
            "h.hgr: 3 cells, 2 nets, 4 pins in 2 parts\ncut nets                 1\n");
  EXPECT_EQ(
      place_.run("cp h.hgr plain; echo 0 1 1 | $QUILLON partition-info plain - --from hmetis | sed -n 3p")
          .out,
      "         0          1              1\n");
}

TEST_F(PartitionInfo, SaysWhereANumberIsWrong) {
  const std::string place = "quillon: bad.part:";
  const std::string of_3 = ", expected the part number, from 0 to 2, of cell ";
  EXPECT_EQ(failure("0 2\n0 3 0", "-k 3"), place + "2:3: error: found \"3\"" + of_3 + "4\n");
  EXPECT_EQ(failure("0 -1 0 2 0", "-k 3"), place + "1:3: error: found \"-1\"" + of_3 + "2\n");
  EXPECT_EQ(failure("0 1 x 2 0", "-k 3"), place + "1:5: error: found \"x\"" + of_3 + "3\n");
  EXPECT_EQ(failure("0 1 0 2\n", "-k 3"), place + "2:1: error: found the end of the file" + of_3 + "5\n");
  EXPECT_EQ(failure("0 1 0 2 0\n0", "-k 3"),
            place + "2:1: error: found \"0\", expected nothing behind the parts of 5 cells\n");
  EXPECT_EQ(failure("0 1 5 2 0"),
            place +
                "1:5: error: found \"5\", expected the part number, from 0 to 4, of cell 3 "
                "(if there are more parts than cells, say it with -k)\n");
}

TEST_F(PartitionInfo, ReportsOnStandardErrorWhatIsWrittenBesideThePartition) {
  const Outcome plain = place_.run("$QUILLON partition-info h.qhg h.part");
  const Outcome text = place_.run("$QUILLON partition-info h.qhg h.part --write -");
  EXPECT_EQ(text.out, "0 2 0 2 0 ");
  EXPECT_EQ(text.err, plain.out);
  const Outcome json = place_.run("$QUILLON partition-info h.qhg h.part --json --write - --one-per-line");
  EXPECT_EQ(json.out, "0\n2\n0\n2\n0\n");
  EXPECT_EQ(json.err, place_.run("$QUILLON partition-info h.qhg h.part --json").out);
}

TEST_F(PartitionInfo, ReportsNothingOfAPartitionThatCannotBeWritten) {
  EXPECT_EQ(WritingTool::failure("$QUILLON partition-info h.qhg h.part --json --write missing/part", {}),
            "quillon: error: cannot write 'missing/part': No such file or directory\n");
  EXPECT_EQ(WritingTool::failure("$QUILLON partition-info h.qhg h.part --write h.qhg", {}),
            "quillon: error: 'h.qhg' is read, and would be replaced\n");
}

TEST_F(PartitionInfo, ReadsOurOwnFormatAsTheOtherCommandsDo) {
  place_.write("no_end.qhg", "1 3 2 5\n1 2\n2 3 1");
  place_.write("three.part", "0 1 1");
  const std::string message = place_.run("$QUILLON report no_end.qhg three.part -o page.html").err;
  EXPECT_THAT(message, HasSubstr("Something wrong with the pins"));
  EXPECT_EQ(place_.run("$QUILLON partition-info no_end.qhg three.part").err, message);
}

TEST_F(PartitionInfo, RewritesThePartitionInEitherLayout) {
  std::string header = "1 250 0 0\n";
  std::string one_per_line;
  std::string lines_of_100;
  for (int i = 1; i <= 250; ++i) {
    const std::string part = std::to_string(i % 7);
    one_per_line.append(part).append("\n");
    lines_of_100.append(part).append(" ").append(i % 100 == 0 ? "\n" : "");
  }
  place_.write("big.qhg", header);
  place_.write("big.part", one_per_line);

  EXPECT_EQ(place_.run("$QUILLON partition-info big.qhg big.part --write out").status, 0);
  EXPECT_EQ(contents("out"), lines_of_100);
  EXPECT_EQ(place_.run("$QUILLON partition-info big.qhg out --write back --one-per-line").status, 0);
  EXPECT_EQ(contents("back"), one_per_line);
}

TEST_F(PartitionInfo, WritesNothingOfABadPartition) {
  EXPECT_NE(failure("0 1", "--write out"), "");
  EXPECT_EQ(place_.run("$QUILLON partition-info h.qhg h.part --write no/out").err,
            "quillon: error: cannot write 'no/out': No such file or directory\n");
}

TEST_F(PartitionInfo, SeesAFullDisk) {
  ASSERT_EQ(place_.run(kMakeFullDisk).status, 0);
  if (folder().find("full") == std::string::npos) GTEST_SKIP() << "no device can be made here";
  const Outcome outcome = place_.run("$QUILLON partition-info h.qhg h.part --write full");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "quillon: error: cannot write 'full': No space left on device\n");
}

TEST_F(PartitionInfo, RefusesWrongUsage) {
  for (const std::string options : {"-k 0", "-k -1", "-k x", "--one-per-line", "--from mtrix"})
    EXPECT_EQ(place_.run("$QUILLON partition-info h.qhg h.part " + options).status, 2) << options;
}

TEST_F(PartitionInfo, AcceptsAHypergraphWithoutCells) {
  place_.write("none.qhg", "1 0 0 0\n");
  EXPECT_THAT(place_.run("$QUILLON partition-info none.qhg - </dev/null").out,
              testing::EndsWith("imbalance                0.000000\n"));
}

// Independent of the tool's way of counting: a set of parts for each net.
TEST(CutSizes, AgreesWithASetOfPartsPerNet) {
  unsigned state = 1;
  const auto random = [&state](unsigned below) {
    state = state * 1664525U + 1013904223U;
    return static_cast<int>((state >> 8U) % below);
  };
  for (int round = 0; round < 200; ++round) {
    const int ncells = 1 + random(12);
    const int nnets = random(12);
    std::vector<std::vector<int>> pins(static_cast<std::size_t>(nnets));
    std::vector<int> cell_list;
    for (auto& list : pins) {
      for (int size = random(6); size > 0; --size) list.push_back(1 + random(static_cast<unsigned>(ncells)));
      cell_list.insert(cell_list.end(), list.begin(), list.end());
    }
    std::vector<Net> nets(pins.size() + 2);
    std::vector<Cell> cells(static_cast<std::size_t>(ncells) + 2);
    std::vector<int> parts{0};
    for (int i = 1; i <= ncells; ++i) parts.push_back(random(4));

    cell_list.push_back(0);
    int* cursor = cell_list.data();
    std::int64_t cut = 0;
    std::int64_t km1 = 0;
    std::int64_t soed = 0;
    for (std::size_t j = 0; j < pins.size(); ++j) {
      const int w = random(5);
      nets[j + 1] = {w, cursor, cursor + pins[j].size() - 1};
      cursor += pins[j].size();
      std::set<int> touched;
      for (const int i : pins[j]) touched.insert(parts[static_cast<std::size_t>(i)]);
      if (touched.size() < 2) continue;
      const auto connectivity = static_cast<std::int64_t>(touched.size());
      cut += w;
      km1 += w * (connectivity - 1);
      soed += w * connectivity;
    }
    Hypergraph h{};
    h._c = ncells;
    h._n = nnets;
    h._nlst = nets.data();
    h._clst = cells.data();

    const tool::CutSizes sizes = tool::cut_sizes(h, parts, 4);
    EXPECT_EQ(sizes.cut, cut) << round;
    EXPECT_EQ(sizes.connectivity_minus_one, km1) << round;
    EXPECT_EQ(sizes.sum_of_external_degrees, soed) << round;
  }
}

TEST(Imbalance, IsTheShareByWhichTheHeaviestPartExceedsTheAverage) {
  EXPECT_EQ(tool::imbalance({{1, 1}, {5, 5}}), 0);
  EXPECT_EQ(tool::imbalance({{1, 1}, {6, 2}}), 0.5);
  EXPECT_EQ(tool::imbalance({{2, 0}, {0, 0}}), 0);
}

}  // namespace
}  // namespace quillon::tool_test
