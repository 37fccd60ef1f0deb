#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <utility>
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
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// Nets 1 2, none, 5, 3 3 1 and 2 1 of weights 7, 3, 1, 2 and 5 on cells of weights 1, 1, 4, 0 and 2, of which
// cell 4 is on no net: as people write it, and below as the tool does.
const std::map<std::string, std::string> kSources{
    {"qhg",
     "% as people write it\n0 5 5 8 3\n7 0 1\n3\n% in between\n1 4\n2 2 2 0\n5 1 0\n1 1\n4 0 2\n# the end\n"},
    {"hgr", "%\n5\t5  11 \n7 1 2\n3\n1  5\r\n% in between\n2 3 3 1 \n5 2 1\n1\n1\n4\n0\n2\n\n% the end"},
    {"kub", "5\n5\n7 2 0 1\n3 0\n1 1 4\n2 3 2 2 0\n5 2 1 0\n1\n1\n4\n0\n2\n"},
    {"json", R"({
      "nodes": [{"node": 1}, {"node": 2, "weight": 1}, {"node": 3, "weight": 4.0}, {"weight": 0, "node": 4},
                {"node": 5, "weight": 2}],
      "incidences": [{"edge": 1, "node": 1}, {"edge": 4, "node": 3}, {"edge": 5, "node": 2},
                     {"edge": 4, "node": 3}, {"edge": 4, "node": 1}, {"edge": 1, "node": 2},
                     {"edge": 5, "node": 1}, {"node": 5, "edge": 3}],
      "edges": [{"edge": 1, "weight": 7}, {"edge": 2, "weight": 3}, {"edge": 3}, {"edge": 4, "weight": 2},
                {"edge": 5, "weight": 5}]})"}};

std::string quillon_file(const std::string& data) {
  return written_file(
      data,
      {.ncells = 5, .nnets = 5, .npins = 8, .min_degree = 0, .max_degree = 3, .min_size = 0, .max_size = 3});
}

constexpr const char* kCellWeights = "\n% ------ Cell weights -------\n1 1 4 0 2 ";

const std::string kQuillon =
    quillon_file("1 5 5 8 3\n7 1 2 \n3 \n1 5 \n2 3 3 1 \n5 2 1 " + std::string(kCellWeights));

constexpr const char* kHmetis = "5 5 11\n7 1 2 \n3 \n1 5 \n2 3 3 1 \n5 2 1 \n1 \n1 \n4 \n0 \n2 ";

constexpr const char* kKub = "5\n5\n7 2 0 1\n3 0\n1 1 4\n2 3 2 2 0\n5 2 1 0\n1\n1\n4\n0\n2";

constexpr const char* kMatrix =
    "%%MatrixMarket matrix coordinate pattern general\n5 5 7\n1 1\n1 2\n3 5\n4 3\n4 1\n5 2\n5 1\n";

constexpr const char* kHif = R"({"network-type":"undirected",
"nodes":[
{"node":1},
{"node":2},
{"node":3,"weight":4},
{"node":4,"weight":0},
{"node":5,"weight":2}],
"edges":[
{"edge":1,"weight":7},
{"edge":2,"weight":3},
{"edge":3},
{"edge":4,"weight":2},
{"edge":5,"weight":5}],
"incidences":[
{"edge":1,"node":1},
{"edge":1,"node":2},
{"edge":3,"node":5},
{"edge":4,"node":3},
{"edge":4,"node":3},
{"edge":4,"node":1},
{"edge":5,"node":2},
{"edge":5,"node":1}]}
)";

// What the tool writes of them by suffix, and what it says about it behind "quillon: warning: 'OUT' ".
struct Written {
  std::string text;
  std::vector<std::string> warnings;
};

const std::map<std::string, Written> kTargets{
    {"qhg",
     {kQuillon, {"holds 1 net without pins of weight 2 or more, which readers that fold small nets refuse"}}},
    {"hgr",
     {kHmetis,
      {"holds 1 net without pins, which many readers refuse",
       "holds 1 weight of 0, which some readers refuse", "holds 1 net of one pin, which some readers drop"}}},
    {"kub", {kKub, {}}},
    {"mtx",
     {kMatrix,
      {"does not hold 3 cell weights other than 1", "does not hold 4 net weights other than 1",
       "does not hold 1 repeated pin"}}},
    {"json", {kHif, {}}}};

std::string warnings_about(const std::string& target, const std::vector<std::string>& warnings) {
  std::string text;
  for (const std::string& warning : warnings) text += "quillon: warning: '" + target + "' " + warning + "\n";
  return text;
}

// Names of which some look alike, over a net and a cell that nothing lists.
constexpr const char* kNamed =
    R"({"network-type":"undirected","nodes":[{"node":"b","weight":3},{"node":7}],)"
    R"("edges":[{"edge":"e 1"},{"edge":"1","weight":2}],"incidences":[)"
    R"({"edge":1,"node":"a\"\u00e9\n"},{"edge":"1","node":7},{"edge":"e 1","node":"b"},)"
    R"({"edge":"1","node":"b"}]})";

constexpr const char* kNames =
    "cell 1 \"b\"\ncell 2 7\ncell 3 \"a\\\"\u00e9\\n\"\nnet 1 \"e 1\"\nnet 2 \"1\"\nnet 3 1\n";

const std::string kNamedQuillon = written_file(
    "1 3 3 4 3\n1 1 \n2 2 1 \n1 3 \n% ------ Cell weights -------\n3 1 1 ",
    {.ncells = 3, .nnets = 3, .npins = 4, .min_degree = 1, .max_degree = 2, .min_size = 1, .max_size = 2});

constexpr const char* kNamedHif =
    "{\"network-type\":\"undirected\",\n\"nodes\":[\n{\"node\":\"b\",\"weight\":3},\n{\"node\":7},\n"
    "{\"node\":\"a\\\"\u00e9\\n\"}],\n"
    "\"edges\":[\n{\"edge\":\"e 1\"},\n{\"edge\":\"1\",\"weight\":2},\n{\"edge\":1}],\n"
    "\"incidences\":[\n{\"edge\":\"e 1\",\"node\":\"b\"},\n{\"edge\":\"1\",\"node\":7},\n"
    "{\"edge\":\"1\",\"node\":\"b\"},\n{\"edge\":1,\"node\":\"a\\\"\u00e9\\n\"}]}\n";

// A square matrix without entry 2 2.
constexpr const char* kSquare =
    "%%MatrixMarket matrix coordinate real general\n% 3 of 4\n3 3 4\n1 2 0.5\n3 1 -1e3\n3 3 2\n1 1 4\n";

// The edges 1 2, 1 3 and 3 4 of weights 7, 8 and 9.
constexpr const char* kGraph = "% weighted\n4 3 011\n5 2 7 3 8\n1 1 7\n6 1 8 4 9\n2 3 9\n";

const std::string kGraphQuillon = written_file(
    "1 4 3 6 3\n7 1 2 \n8 1 3 \n9 3 4 \n% ------ Cell weights -------\n5 1 6 2 ",
    {.ncells = 4, .nnets = 3, .npins = 6, .min_degree = 1, .max_degree = 2, .min_size = 2, .max_size = 2});

constexpr const char* kRepetition = ": 1 repetition of a cell on its net, kept\n";

class Convert : public WritingTool {
 protected:
  Convert() { place_.write("in.qhg", kSources.at("qhg")); }

  [[nodiscard]] std::string failure(const std::string& arguments) const {
    return WritingTool::failure("$QUILLON convert " + arguments,
                                {{"out.qhg", "old"}, {"out.json", "old too"}, {"names", "old names"}});
  }

  [[nodiscard]] Outcome convert(const std::string& arguments) const {
    return place_.run("$QUILLON convert " + arguments);
  }

  // What a conversion writes to standard output, with whatever warnings.
  [[nodiscard]] std::string converted(const std::string& arguments) const {
    const Outcome outcome = convert(arguments);
    EXPECT_EQ(outcome.status, 0) << arguments << '\n' << outcome.err;
    return outcome.out;
  }
};

TEST_F(Convert, WritesEveryFormatFromEveryOtherThatHoldsAll) {
  for (const auto& [from, source] : kSources) {
    for (const auto& [to, written] : kTargets) {
      SCOPED_TRACE(from + " to " + to);
      place_.write("source." + from, source);
      const std::string target = "target." + to;
      const Outcome outcome = convert("source." + from + " " + target);

      EXPECT_EQ(outcome.status, 0);
      EXPECT_EQ(outcome.out, "");
      EXPECT_EQ(contents(target), written.text);
      std::string remarks = to == "mtx" ? "" : "quillon: warning: source." + from + std::string(kRepetition);
      if (from == "hgr" && to != "hgr")
        for (const std::string what : {"net without pins", "net of one pin", "weight of 0"})
          remarks += "quillon: warning: source.hgr: 1 " + what + ", kept\n";
      EXPECT_EQ(outcome.err, remarks + warnings_about(target, written.warnings));
    }
  }
}

TEST_F(Convert, TellsTheFormatOfBothFilesByTheirSuffixes) {
  const std::vector<std::pair<std::string, std::string>> suffixes{
      {"qhg", "qhg"}, {"hgr", "hgr"},   {"hmetis", "hgr"},   {"hg", "hgr"},
      {"kub", "kub"}, {"json", "json"}, {"hif.json", "json"}};
  for (const auto& [suffix, kind] : suffixes) {
    SCOPED_TRACE(suffix);
    place_.write("a.b." + suffix, kSources.at(kind));
    EXPECT_EQ(converted("a.b." + suffix + " - --to quillon"), kQuillon);
    EXPECT_EQ(place_.run("gzip a.b." + suffix).status, 0);
    EXPECT_EQ(converted("a.b." + suffix + ".gz - --to quillon"), kQuillon);

    EXPECT_EQ(convert("in.qhg c." + suffix).status, 0);
    EXPECT_EQ(contents("c." + suffix), kTargets.at(kind).text);
  }
}

TEST_F(Convert, TellsMatricesAndGraphsByTheirSuffixes) {
  place_.write("a.mtx", kSquare);
  place_.write("a.graph", kGraph);
  const std::string matrix = "3 3 11\n1 2 1 \n1 \n1 1 3 \n1 \n1 \n1 ";
  EXPECT_EQ(converted("a.mtx - --to hmetis"), matrix);
  succeed("$QUILLON convert a.graph b.qhg && gzip a.mtx a.graph");
  EXPECT_EQ(converted("a.mtx.gz - --to hmetis"), matrix);
  EXPECT_EQ(contents("b.qhg"), kGraphQuillon);
  EXPECT_EQ(converted("a.graph.gz - --to quillon"), kGraphQuillon);
}

TEST_F(Convert, TakesTheFormatsThatAreSaidBeforeThoseOfTheSuffixes) {
  place_.write("misnamed.hgr", kSources.at("kub"));
  EXPECT_EQ(convert("misnamed.hgr target.json --from kub --to hmetis").status, 0);
  EXPECT_EQ(contents("target.json"), kHmetis);

  const std::vector<std::pair<std::string, std::string>> names{
      {"quillon", "qhg"}, {"hmetis", "hgr"}, {"kub", "kub"}, {"hif", "json"}};
  for (const auto& [name, kind] : names) {
    SCOPED_TRACE(name);
    place_.write("plain", kSources.at(kind));
    EXPECT_EQ(converted("plain - --to kub --from " + name), kKub);
    EXPECT_EQ(converted("in.qhg - --to " + name), kTargets.at(kind).text);
  }
  place_.write("plain", kSquare);
  EXPECT_EQ(converted("plain - --to mtx --from mtx"),
            "%%MatrixMarket matrix coordinate pattern general\n3 3 4\n1 2\n1 1\n3 1\n3 3\n");
  place_.write("plain", kGraph);
  EXPECT_EQ(converted("plain - --to quillon --from metis"), kGraphQuillon);
}

TEST_F(Convert, ReadsStandardInputAndWritesStandardOutput) {
  const std::string repetition = "quillon: warning: standard input" + std::string(kRepetition);
  const Outcome both = convert("- - --from quillon --to kub <in.qhg");
  EXPECT_EQ(both.status, 0);
  EXPECT_EQ(both.out, kKub);
  EXPECT_EQ(both.err, repetition);

  const Outcome through_a_pipe =
      place_.run("cat in.qhg | $QUILLON convert --from quillon --to hmetis - - | cat");
  EXPECT_EQ(through_a_pipe.out, kHmetis);
  std::string warnings;
  for (const std::string& warning : kTargets.at("hgr").warnings)
    warnings += "quillon: warning: standard output " + warning + "\n";
  EXPECT_EQ(through_a_pipe.err, repetition + warnings);

  EXPECT_EQ(convert("- out.json --from quillon <in.qhg").status, 0);
  EXPECT_EQ(contents("out.json"), kHif);
  EXPECT_EQ(folder(), "in.qhg\nout.json\n");
}

TEST_F(Convert, UnpacksWhatGzipHasPacked) {
  EXPECT_EQ(place_.run("gzip -k in.qhg").status, 0);
  EXPECT_EQ(converted("- - --from quillon --to kub <in.qhg.gz"), kKub);
  EXPECT_EQ(converted("in.qhg.gz - --from quillon --to kub"), kKub);
  // Two packed files behind each other are the packed form of both together.
  EXPECT_EQ(
      place_.run("head -c 30 in.qhg | gzip >parts.gz && tail -c +31 in.qhg | gzip -9 >>parts.gz").status, 0);
  EXPECT_EQ(converted("parts.gz - --from quillon --to kub"), kKub);
  EXPECT_EQ(place_.run("mv in.qhg.gz packed.qhg").status, 0);
  EXPECT_EQ(converted("packed.qhg - --to kub"), kKub);
}

TEST_F(Convert, TakesAPlainFileThatIsNamedAsIfItWerePacked) {
  EXPECT_EQ(place_.run("cp in.qhg plain.qhg.gz").status, 0);
  EXPECT_EQ(converted("plain.qhg.gz - --to kub"), kKub);
}

TEST_F(Convert, OfPackedFilesTheOtherCommandsReportTheSame) {
  EXPECT_EQ(place_.run("gzip -k in.qhg && cp in.qhg.gz packed.qhg").status, 0);
  for (const std::string command :
       {"stats --keep-small-nets", "stats --keep-small-nets --table", "dump --keep-small-nets"}) {
    const Outcome plain = place_.run("$QUILLON " + command + " in.qhg");
    EXPECT_EQ(plain.status, 0) << command;
    EXPECT_THAT(plain.out, HasSubstr("5")) << command;
    for (const std::string packed : {" in.qhg.gz", " packed.qhg", " - <in.qhg.gz"}) {
      const Outcome outcome = place_.run("$QUILLON " + command + packed);
      EXPECT_EQ(outcome.status, 0) << command << packed;
      EXPECT_EQ(outcome.out, plain.out) << command << packed;
      EXPECT_EQ(outcome.err, plain.err) << command << packed;
    }
  }
}

TEST_F(Convert, SaysThatPackedDataIsCutOffOrDamaged) {
  ASSERT_EQ(place_.run("gzip -n in.qhg").status, 0);
  const std::string packed = contents("in.qhg.gz");
  ASSERT_GT(packed.size(), 60U);
  for (const std::size_t length :
       {std::size_t{2}, std::size_t{9}, std::size_t{10}, std::size_t{11}, packed.size() / 2,
        packed.size() - 9, packed.size() - 8, packed.size() - 1}) {
    SCOPED_TRACE(length);
    place_.write("cut.gz", packed.substr(0, length));
    EXPECT_EQ(failure("cut.gz out.qhg --from quillon"),
              "quillon: error: cannot read 'cut.gz': its compressed data is cut off\n");
    EXPECT_EQ(failure("- out.qhg --from quillon <cut.gz"),
              "quillon: error: cannot read 'standard input': its compressed data is cut off\n");
  }
  std::string damaged = packed;
  damaged[packed.size() - 6] = static_cast<char>(damaged[packed.size() - 6] ^ 1);  // in the check sum
  place_.write("damaged.gz", damaged);
  EXPECT_EQ(
      failure("damaged.gz out.qhg --from quillon"),
      "quillon: error: cannot read 'damaged.gz': its compressed data is damaged: incorrect data check\n");
}

TEST_F(Convert, CountsCellsFromTheNumberAskedFor) {
  EXPECT_EQ(convert("in.qhg one.qhg --numbering 1").status, 0);
  EXPECT_EQ(contents("one.qhg"), kQuillon);
  EXPECT_EQ(convert("one.qhg zero.qhg --numbering 0").status, 0);
  EXPECT_EQ(contents("zero.qhg"),
            quillon_file("0 5 5 8 3\n7 0 1 \n3 \n1 4 \n2 2 2 0 \n5 1 0 " + std::string(kCellWeights)));
}

TEST_F(Convert, WritesTheWeightsAskedFor) {
  const std::string plain_nets = "\n1 2 \n\n5 \n3 3 1 \n2 1 ";
  const std::string weighted_nets = "\n7 1 2 \n3 \n1 5 \n2 3 3 1 \n5 2 1 ";
  const std::string no_cells = "does not hold 3 cell weights other than 1";
  const std::string no_nets = "does not hold 4 net weights other than 1";
  const std::string refused =
      "holds 1 net without pins of weight 2 or more, which readers that fold small nets refuse";
  const std::map<std::string, Written> expected{
      {"none", {"1 5 5 8 0" + plain_nets, {no_cells, no_nets}}},
      {"cells", {"1 5 5 8 1" + plain_nets + kCellWeights, {no_nets}}},
      {"nets", {"1 5 5 8 2" + weighted_nets, {no_cells, refused}}},
      {"both", {"1 5 5 8 3" + weighted_nets + kCellWeights, {refused}}},
      {"auto", {"1 5 5 8 3" + weighted_nets + kCellWeights, {refused}}}};
  for (const auto& [weights, written] : expected) {
    SCOPED_TRACE(weights);
    const Outcome outcome = convert("in.qhg out.qhg --weights " + weights);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(contents("out.qhg"), quillon_file(written.text));
    EXPECT_EQ(outcome.err, "quillon: warning: in.qhg" + std::string(kRepetition) +
                               warnings_about("out.qhg", written.warnings));
  }
}

TEST_F(Convert, FindsOutWhichWeightsAreNotAll1) {
  struct Case {
    std::string source;
    std::string data;
    std::string remark;
  };
  const std::string zero = "quillon: warning: in.hgr: 1 weight of 0, kept\n";
  const std::vector<Case> cases{
      {"2 2 11\n1 1 2\n1 2 1\n1\n1\n", "1 2 2 4 0\n1 2 \n2 1 \n% ------ Hypergraph info", ""},
      {"2 2 11\n1 1 2\n1 2 1\n1\n0\n", "1 2 2 4 1\n1 2 \n2 1 \n% ------ Cell weights -------\n1 0 \n", zero},
      {"2 2 11\n1 1 2\n0 2 1\n1\n1\n", "1 2 2 4 2\n1 1 2 \n0 2 1 \n% ------ Hypergraph info", zero},
      {"2 2 11\n3 1 2\n1 2 1\n1\n9\n", "1 2 2 4 3\n3 1 2 \n1 2 1 \n% ------ Cell weights -------\n1 9 \n",
       ""}};
  for (const Case& test : cases) {
    place_.write("in.hgr", test.source);
    const Outcome outcome = convert("in.hgr - --to quillon");
    EXPECT_THAT(outcome.out, HasSubstr("%\n" + test.data)) << test.source;
    EXPECT_EQ(outcome.err, test.remark) << test.source;
  }
}

TEST_F(Convert, ReadsAMatrixByTheModelAskedFor) {
  place_.write("in.mtx", kSquare);
  const std::string weights = "\n1 \n1 \n1 ";
  const std::map<std::string, std::string> expected{
      {"", "3 3 11\n1 2 1 \n1 \n1 1 3 " + weights},
      {"--model row-net", "3 3 11\n1 2 1 \n1 \n1 1 3 " + weights},
      {"--model column-net", "3 3 11\n1 3 1 \n1 1 \n1 3 " + weights},
      {"--model fine-grain", "6 4 11\n1 1 4 \n1 \n1 2 3 \n1 2 4 \n1 1 \n1 3 " + weights + "\n1 "},
      {"--diagonal", "3 3 11\n1 2 1 \n1 2 \n1 1 3 " + weights},
      {"--diagonal --model column-net", "3 3 11\n1 3 1 \n1 1 2 \n1 3 " + weights},
      {"--diagonal --model fine-grain",
       "6 5 11\n1 1 4 \n1 5 \n1 2 3 \n1 2 4 \n1 1 5 \n1 3 " + weights + "\n1 \n1 "}};
  for (const auto& [arguments, text] : expected)
    EXPECT_EQ(converted("in.mtx - --to hmetis " + arguments), text) << arguments;
}

TEST_F(Convert, WritesAMatrixByTheModelAskedFor) {
  place_.write("in.hgr", "2 3\n3 1\n2\n");
  const std::string banner = "%%MatrixMarket matrix coordinate pattern general\n";
  EXPECT_EQ(converted("in.hgr - --to mtx"), banner + "2 3 3\n1 3\n1 1\n2 2\n");
  EXPECT_EQ(converted("in.hgr - --to mtx --model row-net"), banner + "2 3 3\n1 3\n1 1\n2 2\n");
  EXPECT_EQ(converted("in.hgr - --to mtx --model column-net"), banner + "3 2 3\n3 1\n1 1\n2 2\n");

  place_.write("in.mtx", banner + "2 3 2\n1 3\n2 1\n");
  EXPECT_EQ(converted("in.mtx - --to mtx --model column-net"), banner + "2 3 2\n2 1\n1 3\n");
}

TEST_F(Convert, KeepsTheNamesOfHifAndGivesThemBack) {
  place_.write("in.json", kNamed);
  succeed("$QUILLON convert in.json out.qhg --labels names");
  EXPECT_EQ(contents("out.qhg"), kNamedQuillon);
  EXPECT_EQ(contents("names"), kNames);

  succeed("$QUILLON convert out.qhg out.json --labels names");
  EXPECT_EQ(contents("out.json"), kNamedHif);
  EXPECT_EQ(folder(), "in.json\nin.qhg\nnames\nout.json\nout.qhg\n");

  succeed("$QUILLON convert out.json again.qhg --labels names.again && cmp names names.again");
  EXPECT_EQ(contents("again.qhg"), kNamedQuillon);
}

TEST_F(Convert, FromHifToHifKeepsTheNames) {
  place_.write("in.json", kNamed);
  succeed("$QUILLON convert in.json out.json && $QUILLON convert out.json again.json");
  EXPECT_EQ(contents("out.json"), kNamedHif);
  EXPECT_EQ(contents("again.json"), kNamedHif);

  succeed("$QUILLON convert in.json third.json --labels names");
  EXPECT_EQ(contents("third.json"), kNamedHif);
  EXPECT_EQ(contents("names"), kNames);
}

TEST_F(Convert, CountsTheNamesThatGetLost) {
  place_.write("in.json", kNamed);
  EXPECT_EQ(convert("in.json out.qhg").err,
            warnings_about("out.qhg", {"does not hold 3 cell names", "does not hold 3 net names"}));
  EXPECT_EQ(contents("out.qhg"), kNamedQuillon);

  // The integers 1 and 2 are no more than the numbers of the cells; the string "1" is.
  place_.write("in.json", R"({"incidences":[{"edge":"1","node":1},{"edge":2,"node":2}]})");
  EXPECT_EQ(convert("in.json out.qhg").err, warnings_about("out.qhg", {"does not hold 1 net name"}));
}

TEST_F(Convert, CountsWhatHifHoldsAndAHypergraphDoesNot) {
  place_.write("in.json", R"({"network-type":"directed","metadata":{"of":["us"]},
    "nodes":[{"node":1,"weight":0.5,"attrs":{"a":{}}},{"node":2,"weight":3000000000},{"node":1,"weight":4}],
    "edges":[{"edge":1,"attrs":{}}],
    "incidences":[{"edge":1,"node":1,"direction":"head","weight":1},
                  {"edge":1,"node":1,"direction":"tail","weight":2,"attrs":{"b":1}}]})");
  const Outcome outcome = convert("in.json out.json");

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err,
            "quillon: warning: in.json: 1 record of nodes or edges listed before, of which the first holds\n"
            "quillon: warning: in.json: 1 repetition of a cell on its net, kept\n"
            "quillon: warning: 'out.json' does not hold 2 incidence weights\n"
            "quillon: warning: 'out.json' does not hold 2 weights of nodes or edges, not whole or out of "
            "range, taken as 1\n"
            "quillon: warning: 'out.json' does not hold 2 directions of incidences\n"
            "quillon: warning: 'out.json' does not hold 3 sets of attributes\n"
            "quillon: warning: 'out.json' does not hold the metadata\n"
            "quillon: warning: 'out.json' does not hold the network type directed\n");
  EXPECT_EQ(contents("out.json"),
            "{\"network-type\":\"undirected\",\n\"nodes\":[\n{\"node\":1},\n{\"node\":2}],\n"
            "\"edges\":[\n{\"edge\":1}],\n\"incidences\":[\n{\"edge\":1,\"node\":1},\n"
            "{\"edge\":1,\"node\":1}]}\n");
}

TEST_F(Convert, WarnsOfWeightsBelow0) {
  place_.write("in.qhg", "1 2 1 1 3\n-4 2\n-5 6\n");
  const std::vector<std::string> warnings{"holds 2 weights below 0, which readers refuse"};
  EXPECT_EQ(convert("in.qhg out.hgr").err,
            warnings_about("out.hgr", {warnings[0], "holds 1 net of one pin, which some readers drop"}));
  EXPECT_EQ(contents("out.hgr"), "1 2 11\n-4 2 \n-5 \n6 ");
  EXPECT_EQ(convert("in.qhg out.kub").err, warnings_about("out.kub", warnings));
  EXPECT_EQ(contents("out.kub"), "2\n1\n-4 1 1\n-5\n6");
  succeed("$QUILLON convert in.qhg out.qhg");
  EXPECT_THAT(contents("out.qhg"), HasSubstr("%\n1 2 1 1 3\n-4 2 \n% ------ Cell weights -------\n-5 6 \n"));
}

TEST_F(Convert, KeepsWeightsBelow0OfHif) {
  place_.write("in.qhg", "1 2 1 2 3\n-2147483648 1 2\n-5 6\n");
  succeed("$QUILLON convert --strict in.qhg out.json && $QUILLON convert --strict out.json out.qhg");
  EXPECT_THAT(contents("out.qhg"),
              HasSubstr("%\n1 2 1 2 3\n-2147483648 1 2 \n% ------ Cell weights -------\n-5 6 \n"));
}

TEST_F(Convert, RefusesWeightsOf0UnderStrictButNotNetsOfOnePinForHmetis) {
  place_.write("in.qhg", "1 2 2 3 2\n1 1 2\n3 2\n");
  EXPECT_EQ(convert("in.qhg out.hgr --strict").status, 0);
  place_.write("in.qhg", "1 2 2 4 2\n1 1 2\n0 2 1\n");
  EXPECT_EQ(failure("in.qhg out.qhg --to hmetis --strict"),
            warnings_about("out.qhg", {"holds 1 weight of 0, which some readers refuse"}) +
                "quillon: error: 'out.qhg' is not written, because of --strict\n");
}

TEST_F(Convert, WritesNothingUnderStrictWhenAnythingIsLostOrRefused) {
  place_.write("in.json", kNamed);
  const std::string refusal = "quillon: error: 'out.qhg' is not written, because of --strict\n";
  EXPECT_EQ(failure("in.json out.qhg --strict"),
            warnings_about("out.qhg", {"does not hold 3 cell names", "does not hold 3 net names"}) + refusal);
  EXPECT_EQ(failure("in.qhg out.qhg --weights cells --strict"),
            "quillon: warning: in.qhg" + std::string(kRepetition) +
                warnings_about("out.qhg", {"does not hold 4 net weights other than 1"}) + refusal);
  for (const std::string arguments : {"in.qhg --to hmetis", "in.qhg --to mtx", "in.qhg --to quillon"})
    EXPECT_THAT(failure(arguments + " out.qhg --strict"), EndsWith("\n" + refusal)) << arguments;
  EXPECT_THAT(failure("in.qhg - --to hmetis --strict"),
              EndsWith("\nquillon: error: standard output is not written, because of --strict\n"));

  place_.write("in.mtx", "%%MatrixMarket matrix coordinate pattern general\n1 2 1\n1 2\n");
  EXPECT_EQ(convert("in.mtx new.qhg --strict").status, 0);
  EXPECT_EQ(convert("in.qhg new.kub --strict").status, 0);
  EXPECT_EQ(convert("in.json new.json --strict").status, 0);
  EXPECT_EQ(convert("in.json named.qhg --strict --labels new.names").status, 0);
  EXPECT_EQ(contents("new.kub"), kKub);
  EXPECT_EQ(contents("new.json"), kNamedHif);
  EXPECT_EQ(contents("new.names"), kNames);
}

TEST_F(Convert, AcceptsHypergraphsOfNothing) {
  const std::string banner = "%%MatrixMarket matrix coordinate pattern general\n";
  const std::map<std::string, std::string> none{{"qhg", "1 0 0 0\n"}, {"hgr", "0 0\n"},
                                                {"kub", "0\n0\n"},    {"mtx", banner + "0 0 0\n"},
                                                {"graph", "0 0\n"},   {"json", "{\"incidences\": []}"}};
  for (const auto& [suffix, text] : none) {
    SCOPED_TRACE(suffix);
    place_.write("none." + suffix, text);
    EXPECT_THAT(converted("none." + suffix + " - --to quillon"),
                HasSubstr("%\n1 0 0 0 0\n% ------ Hypergraph info"));
    EXPECT_EQ(converted("none." + suffix + " - --to hmetis"), "0 0 11");
    EXPECT_EQ(converted("none." + suffix + " - --to kub"), "0\n0");
    EXPECT_EQ(converted("none." + suffix + " - --to mtx"), banner + "0 0 0\n");
    EXPECT_EQ(converted("none." + suffix + " - --to hif"),
              "{\"network-type\":\"undirected\",\n\"nodes\":[],\n\"edges\":[],\n\"incidences\":[]}\n");
  }
}

TEST_F(Convert, LeavesTheTargetsAsTheyWereOfABadInput) {
  const std::vector<std::pair<std::string, std::string>> bad{
      {"quillon", "1 2 1 2\n1 3\n"},
      {"hmetis", "1 2\n1 3\n"},
      {"kub", "2\n1\n1 2 0 2\n1\n1\n"},
      {"mtx", "%%MatrixMarket matrix coordinate pattern general\n1 2 1\n1 3\n"},
      {"metis", "2 1\n2\n3\n"},
      {"hif", "{\"incidences\":[{\"edge\":1}]}"}};
  for (const auto& [format, text] : bad) {
    place_.write("bad", text);
    EXPECT_THAT(failure("bad out.qhg --from " + format), StartsWith("quillon: bad:")) << format;
  }
  place_.write("bad", "{\"incidences\":[{\"edge\":1}]}");
  EXPECT_EQ(failure("bad out.qhg --from hif --labels names"),
            "quillon: bad:1:16: error: found an incidence without node, expected both edge and node\n");
  place_.write("bad.names", "cell 1 \"a\"\n");
  EXPECT_EQ(failure("in.qhg out.json --labels bad.names"),
            "quillon: warning: in.qhg" + std::string(kRepetition) +
                "quillon: bad.names:2:1: error: found the end of the file, expected the name of cell 2\n");
}

TEST_F(Convert, SaysThatItsInputCannotBeRead) {
  EXPECT_EQ(failure("missing.hgr out.qhg"),
            "quillon: error: cannot open 'missing.hgr': No such file or directory\n");
  EXPECT_EQ(failure(". out.qhg --from hmetis"), "quillon: error: cannot read '.': Is a directory\n");
  EXPECT_EQ(failure("- out.qhg --from hmetis <."),
            "quillon: error: cannot read 'standard input': Is a directory\n");
  EXPECT_EQ(failure("- out.qhg --from hmetis <&-"),
            "quillon: error: cannot read 'standard input': Bad file descriptor\n");
  EXPECT_EQ(failure("in.qhg out.json --labels missing"),
            "quillon: warning: in.qhg" + std::string(kRepetition) +
                "quillon: error: cannot open 'missing': No such file or directory\n");
}

TEST_F(Convert, SaysThatItsOutputCannotBeMade) {
  place_.write("in.mtx", kSquare);
  for (const std::string format : {"quillon", "hmetis", "kub", "mtx", "hif"}) {
    SCOPED_TRACE(format);
    const std::string to = " --to " + format;
    EXPECT_THAT(failure("in.mtx no/out" + to),
                EndsWith("quillon: error: cannot write 'no/out': No such file or directory\n"));
    EXPECT_THAT(failure("in.mtx ." + to), EndsWith("quillon: error: cannot write '.': Is a directory\n"));
    EXPECT_THAT(failure("in.mtx - >&-" + to),
                EndsWith("quillon: error: cannot write standard output: Bad file descriptor\n"));
  }
  EXPECT_EQ(place_.run("ln -s a b && ln -s b a").status, 0);
  EXPECT_EQ(failure("in.mtx a --to kub"),
            "quillon: error: cannot write 'a': Too many levels of symbolic links\n");
}

// The superuser may write everywhere, and has to be kept from it.
TEST_F(Convert, SaysThatItsFolderIsNotToBeWritten) {
  const std::string limited =
      "mkdir -p closed && chmod 555 closed && as= && if test -w closed; then "
      "as='setpriv --bounding-set=-dac_override --inh-caps=-dac_override'; fi && ";
  if (place_.run(limited + "! $as touch closed/x 2>&1").status != 0) GTEST_SKIP() << "every folder is open";
  place_.write("in.mtx", kSquare);
  const Outcome outcome = place_.run(limited + "$as $QUILLON convert in.mtx closed/out.kub");

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "quillon: error: cannot write 'closed/out.kub': Permission denied\n");
  EXPECT_EQ(place_.run("ls -A closed").out, "");
}

TEST_F(Convert, SaysOfEveryFormatThatADeviceIsFull) {
  ASSERT_EQ(place_.run(kMakeFullDisk).status, 0);
  if (folder().find("full") == std::string::npos) GTEST_SKIP() << "no device can be made here";
  place_.write("in.json", kNamed);
  const std::string full = "quillon: error: cannot write 'full': No space left on device\n";
  for (const std::string format : {"quillon", "hmetis", "kub", "mtx", "hif"})
    EXPECT_THAT(failure("in.json full --to " + format), EndsWith(full)) << format;
  EXPECT_EQ(failure("in.json full --to hif --labels names"), full);
  EXPECT_EQ(failure("in.json out.qhg --labels full"), full);
}

// The limit of the shell stands for a disk that gets full: 8 blocks of 512 or 1024 bytes, of which 2000 nets
// are more in every format.
TEST_F(Convert, LeavesNothingBehindOfAnyFormatWhenTheDiskIsFullHalfwayThroughAFile) {
  std::string text = "2000 2000\n";
  for (int j = 1; j <= 2000; ++j) text += std::to_string(j) + " " + std::to_string(j % 2000 + 1) + "\n";
  place_.write("in.hgr", text);
  for (const std::string format : {"quillon", "hmetis", "kub", "mtx", "hif"}) {
    for (const std::string target : {"out.qhg", "-"}) {
      SCOPED_TRACE(target + " --to " + format);
      const std::string message = WritingTool::failure(
          "(trap '' XFSZ; ulimit -f 8; $QUILLON convert in.hgr " + target + " --to " + format + ")",
          {{"out.qhg", "old"}});
      const std::string shown = target == "-" ? "standard output" : "'" + target + "'";
      EXPECT_THAT(message, AllOf(StartsWith("quillon: error: "), HasSubstr("is not whole"),
                                 HasSubstr("\nquillon: error: " + shown +
                                           " is not written, because of the error above\n")));
    }
  }
}

TEST_F(Convert, WritesBehindALinkThatStays) {
  const Outcome outcome = place_.run(
      "mkdir far && echo old >far/real.kub && ln -s far/real.kub near.kub && ln -s near.kub link.kub && "
      "$QUILLON convert in.qhg link.kub && readlink link.kub near.kub && ls -A far");

  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, "near.kub\nfar/real.kub\nreal.kub\n");
  EXPECT_EQ(contents("far/real.kub"), kKub);
  EXPECT_EQ(folder(), "far\nin.qhg\nlink.kub\nnear.kub\n");
}

TEST_F(Convert, MayReplaceItsInputAndKeepsItsPermissions) {
  const Outcome outcome =
      place_.run("chmod 640 in.qhg && $QUILLON convert in.qhg in.qhg 2>/dev/null && stat -c %a in.qhg");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "640\n");
  EXPECT_EQ(contents("in.qhg"), kQuillon);
  EXPECT_EQ(convert("in.qhg ./in.qhg --to kub").status, 0);
  EXPECT_EQ(contents("in.qhg"), kKub);
  EXPECT_EQ(folder(), "in.qhg\n");
}

TEST_F(Convert, RefusesToReplaceTheOtherFileThatItReads) {
  place_.write("in.json", kNamed);
  EXPECT_EQ(failure("in.json out.qhg --labels ./in.json"),
            "quillon: error: './in.json' is read, and would be replaced\n");
  EXPECT_EQ(contents("in.json"), kNamed);
  place_.write("names", kNames);
  EXPECT_EQ(failure("in.qhg names --to hif --labels names"),
            "quillon: error: 'names' is read, and would be replaced\n");
}

TEST_F(Convert, RefusesToWriteAFileTwice) {
  place_.write("in.json", kNamed);
  EXPECT_EQ(place_.run("mkdir folder && ln -s folder other").status, 0);
  for (const auto& [out, labels] : std::map<std::string, std::string>{
           {"same", "./same"}, {"folder/same", "other/same"}, {"other/same", "folder/../folder/same"}})
    EXPECT_EQ(failure("in.json " + out + " --to kub --labels " + labels),
              "quillon: error: '" + labels + "' is to be written twice\n");
  EXPECT_EQ(place_.run("ls -A folder").out, "");
  EXPECT_EQ(failure("in.json - --to kub --labels -"),
            "quillon: error: standard output is to be written twice\n");
}

TEST_F(Convert, EndsWithStatus2OnWrongUsageAndWritesNothing) {
  place_.write("in.mtx", kSquare);
  const std::vector<std::pair<std::string, std::string>> usages{
      {"", "IN is required"},
      {"in.qhg", "OUT is required"},
      {"in.qhg out.foo", "cannot tell the format of 'out.foo': say it with --to"},
      {"in.qhg out", "cannot tell the format of 'out': say it with --to"},
      {"in.qhg qhg", "cannot tell the format of 'qhg': say it with --to"},
      {"in.qhg -", "cannot tell the format of -: say it with --to"},
      {"in.foo out.hgr", "cannot tell the format of 'in.foo': say it with --from"},
      {"in.gz out.hgr", "cannot tell the format of 'in.gz': say it with --from"},
      {"- out.hgr", "cannot tell the format of -: say it with --from"},
      {"in.qhg out.hgr --from text", ""},
      {"in.qhg out.hgr --to text", ""},
      {"in.qhg out.graph", "METIS graphs are only read: a net may have more than two pins"},
      {"in.qhg out --to metis", "METIS graphs are only read: a net may have more than two pins"},
      {"in.qhg out.kub.gz", "nothing is written compressed; write to - and pipe it into gzip"},
      {"in.qhg out.gz --to kub", "nothing is written compressed; write to - and pipe it into gzip"},
      {"in.qhg out.mtx --model fine-grain", "a matrix is written by --model row-net or column-net"},
      {"in.mtx out.mtx --model fine-grain", "a matrix is written by --model row-net or column-net"},
      {"in.mtx out.kub --model rows", "--model: 'rows' is none of row-net|column-net|fine-grain"},
      {"in.mtx out.kub --model 1", "--model: '1' is none of row-net|column-net|fine-grain"},
      {"in.qhg out.kub --model column-net", "--model is for mtx"},
      {"in.qhg out.kub --diagonal", "--diagonal is for reading mtx"},
      {"in.qhg out.mtx --diagonal", "--diagonal is for reading mtx"},
      {"in.qhg out.kub --labels names", "--labels is for hif"},
      {"in.qhg out.kub --numbering 0", "--numbering is for writing quillon"},
      {"in.qhg out.kub --weights none", "--weights is for writing quillon"},
      {"in.qhg out.qhg --numbering 2", "--numbering: '2' is none of 0|1"},
      {"in.qhg out.qhg --numbering one", "--numbering: 'one' is none of 0|1"},
      {"in.qhg out.qhg --weights all", "--weights: 'all' is none of none|cells|nets|both|auto"},
      {"in.qhg out.qhg --weights 3", "--weights: '3' is none of none|cells|nets|both|auto"},
      {"in.qhg out.qhg more.qhg", "The following argument was not expected: more.qhg"},
      {"in.qhg out.qhg --nonsense", "The following argument was not expected: --nonsense"}};
  for (const auto& [arguments, message] : usages) {
    const Outcome outcome = convert(arguments);
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_EQ(outcome.out, "") << arguments;
    EXPECT_THAT(outcome.err, StartsWith("quillon: error: " + message + (message.empty() ? "" : "\n")))
        << arguments;
  }
  EXPECT_EQ(folder(), "in.mtx\nin.qhg\n");
}

TEST_F(Convert, RunsItsOwnExamples) {
  place_.write("circuit.hgr", kSources.at("hgr"));
  place_.write("matrix.mtx", kSquare);
  place_.write("mesh.txt", kGraph);
  place_.write("people.json", kNamed);
  ASSERT_EQ(place_.run("gzip matrix.mtx").status, 0);
  const Outcome help =
      place_.run("$QUILLON convert --help | grep '^  quillon convert ' | sed 's/quillon/$QUILLON/'");
  std::istringstream examples(help.out);
  int nexamples = 0;
  for (std::string example; std::getline(examples, example); ++nexamples)
    EXPECT_EQ(place_.run(example).status, 0) << example;

  EXPECT_EQ(nexamples, 4);
  EXPECT_EQ(contents("circuit.qhg"), kQuillon);
  EXPECT_EQ(contents("matrix.hgr"), "3 3 11\n1 3 1 \n1 1 \n1 3 \n1 \n1 \n1 ");
  EXPECT_EQ(contents("mesh.qhg"), kGraphQuillon);
  EXPECT_EQ(contents("people.qhg"), kNamedQuillon);
  EXPECT_EQ(contents("people.names"), kNames);
}

TEST_F(Convert, ItsHelpNamesEveryFormatSuffixAndModel) {
  const Outcome outcome = convert("--help");

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
  EXPECT_THAT(outcome.out,
              AllOf(HasSubstr("\n  quillon  .qhg  "), HasSubstr("\n  hmetis   .hgr .hmetis .hg  "),
                    HasSubstr("\n  kub      .kub  "), HasSubstr("\n  mtx      .mtx  "),
                    HasSubstr("\n  metis    .graph  "), HasSubstr("\n  hif      .json  ")));
  EXPECT_THAT(outcome.out, AllOf(HasSubstr("\n  row-net  "), HasSubstr("\n  column-net  "),
                                 HasSubstr("\n  fine-grain  "), Not(HasSubstr("->"))));
}

// A file as its lines of numbers say, read by code that shares nothing with the tool's.
struct Plain {
  int ncells = 0;
  std::vector<std::vector<int>> nets;  // cells from 1
  std::vector<int> net_weights;        // or none
  std::vector<int> cell_weights;       // or none

  bool operator==(const Plain&) const = default;
};

std::vector<std::vector<int>> lines_of_numbers(const std::string& text) {
  std::vector<std::vector<int>> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with("%")) continue;
    std::istringstream words(line);
    std::vector<int>& numbers = lines.emplace_back();
    for (int number = 0; words >> number;) numbers.push_back(number);
  }
  return lines;
}

Plain plain(const std::vector<std::vector<int>>& lines, int nnets, int ncells, int first, bool net_weights,
            bool cell_weights) {
  Plain result{ncells, {}, {}, {}};
  std::size_t at = 1;
  for (int j = 1; j <= nnets; ++j) {
    std::vector<int> cells = lines.at(at++);
    if (net_weights) {
      result.net_weights.push_back(cells.at(0));
      cells.erase(cells.begin());
    }
    for (int& cell : cells) cell += 1 - first;
    result.nets.push_back(cells);
  }
  while (cell_weights && static_cast<int>(result.cell_weights.size()) < ncells) {
    const std::vector<int>& weights = lines.at(at++);
    result.cell_weights.insert(result.cell_weights.end(), weights.begin(), weights.end());
  }
  return result;
}

Plain plain_of_hmetis(const std::string& text) {
  const std::vector<std::vector<int>> lines = lines_of_numbers(text);
  const std::vector<int>& header = lines.at(0);
  const int fmt = header.size() > 2 ? header[2] : 0;
  return plain(lines, header.at(0), header.at(1), 1, fmt % 10 == 1, fmt / 10 == 1);
}

Plain plain_of_quillon(const std::string& text) {
  const std::vector<std::vector<int>> lines = lines_of_numbers(text);
  const std::vector<int>& header = lines.at(0);
  const int fmt = header.size() > 4 ? header[4] : 0;
  return plain(lines, header.at(2), header.at(1), header.at(0), (fmt & 2) != 0, (fmt & 1) != 0);
}

Plain without_weights_of_1(Plain file) {
  for (std::vector<int>* weights : {&file.net_weights, &file.cell_weights})
    if (std::all_of(weights->begin(), weights->end(), [](int w) { return w == 1; })) weights->clear();
  return file;
}

class ConvertRealData : public Convert {
 protected:
  void SetUp() override {
    const char* const folder = std::getenv("QUILLON_REAL_DATA");
    if (folder == nullptr || *folder == '\0') GTEST_SKIP() << "QUILLON_REAL_DATA names no folder";
    folder_ = std::string(folder) + "/";
  }

  // From hMETIS to our own format and back.
  [[nodiscard]] Plain there_and_back(const std::string& file, std::size_t nnets, std::size_t npins) const {
    const Outcome outcome =
        convert("'" + folder_ + file + "' there.qhg && $QUILLON convert there.qhg back.hgr");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    Plain original = without_weights_of_1(plain_of_hmetis(place_.run("cat '" + folder_ + file + "'").out));
    std::size_t npins_read = 0;
    for (const std::vector<int>& net : original.nets) npins_read += net.size();
    EXPECT_EQ(original.nets.size(), nnets);
    EXPECT_EQ(npins_read, npins);
    EXPECT_TRUE(plain_of_quillon(contents("there.qhg")) == original);
    EXPECT_TRUE(without_weights_of_1(plain_of_hmetis(contents("back.hgr"))) == original);
    return original;
  }

  std::string folder_;
};

TEST_F(ConvertRealData, OfACircuitAgreesWithItsTwin) {
  const Plain circuit = there_and_back("ibm01.hgr", 14111, 50566);
  EXPECT_TRUE(plain_of_quillon(place_.run("cat '" + folder_ + "ibm01.qhg'").out) == circuit);
}

TEST_F(ConvertRealData, OfAMatrixAgreesWithItsTwinThatCountsFrom0) {
  const Plain matrix = there_and_back("powersim.mtx.hgr", 15838, 67562);
  EXPECT_TRUE(plain_of_quillon(place_.run("cat '" + folder_ + "powersim.qhg'").out) == matrix);
}

TEST_F(ConvertRealData, KeepsCellWeights) {
  const Plain circuit = there_and_back("ibm01.weight.hgr", 14111, 50566);
  EXPECT_EQ(circuit.cell_weights.size(), 12752U);
  EXPECT_TRUE(circuit.net_weights.empty());
}

TEST_F(ConvertRealData, KeepsLongNetsAndRepeatedPins) {
  const Plain circuit = there_and_back("sparcT1_core.hgr", 92827, 503922);
  EXPECT_EQ(circuit.ncells, 91976);
}

}  // namespace
