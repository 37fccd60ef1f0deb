#include <fcntl.h>
#include <gmock/gmock.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

#include "tests/tool/tool_fixture.h"
#include "tools/cli/progress.h"
#include "tools/cli/suggestions.h"
#include "util/util.h"

namespace quillon::tool_test {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using tool::did_you_mean;
using tool::edit_distance;
using tool::nearest;
using tool::progress_line;

constexpr const char* kSquare = "1 2 2 4\n1 2\n1 2\n";
constexpr const char* kBad = "1 2 1 2\n1 3\n";

TEST(EditDistance, CountsInsertedDroppedReplacedAndSwappedLetters) {
  EXPECT_EQ(edit_distance("", ""), 0);
  EXPECT_EQ(edit_distance("", "abc"), 3);
  EXPECT_EQ(edit_distance("abc", ""), 3);
  EXPECT_EQ(edit_distance("stats", "stats"), 0);
  EXPECT_EQ(edit_distance("stat", "stats"), 1);
  EXPECT_EQ(edit_distance("statss", "stats"), 1);
  EXPECT_EQ(edit_distance("stads", "stats"), 1);
  EXPECT_EQ(edit_distance("sttas", "stats"), 1);
  EXPECT_EQ(edit_distance("kitten", "sitting"), 3);
}

TEST(Nearest, TakesTheFirstOfTheNearestThatIsNearEnough) {
  EXPECT_EQ(nearest("statz", {"check", "stats", "state"}), "stats");
  EXPECT_EQ(nearest("part", {"check", "partition-info"}), "partition-info");
  EXPECT_EQ(nearest("pa", {"partition-info"}), "");
  EXPECT_EQ(nearest("nonsense", {"check", "stats"}), "");
  EXPECT_EQ(nearest("x", {}), "");
  EXPECT_EQ(did_you_mean("chekc", {"check"}), "; did you mean 'check'?");
  EXPECT_EQ(did_you_mean("x", {"check"}), "");
}

class Ux : public WritingTool {
 protected:
  void SetUp() override {
    place_.write("square.qhg", kSquare);
    place_.write("bad.qhg", kBad);
  }
};

TEST_F(Ux, SuggestsTheNearestCommandOptionAndChoice) {
  const auto error = [this](const std::string& arguments) {
    const Outcome outcome = place_.run("$QUILLON " + arguments);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.out, "");
    return outcome.err;
  };
  EXPECT_EQ(error("statz square.qhg"),
            "quillon: error: there is no command 'statz'; did you mean 'stats'?\nTry 'quillon --help'.\n");
  EXPECT_EQ(error("nonsense"), "quillon: error: there is no command 'nonsense'\nTry 'quillon --help'.\n");
  EXPECT_EQ(error("stats --sumary square.qhg"),
            "quillon: error: The following argument was not expected: --sumary; did you mean '--summary'?\n"
            "Try 'quillon stats --help'.\n");
  // What is missing is missing because of the misspelt option.
  EXPECT_EQ(error("report square.qhg --outptu=x"),
            "quillon: error: The following argument was not expected: --outptu=x; did you mean '--output'?\n"
            "Try 'quillon report --help'.\n");
  EXPECT_EQ(error("convert square.qhg x.hgr --to hmetsi"),
            "quillon: error: --to: 'hmetsi' is none of quillon|hmetis|kub|mtx|metis|hif; did you mean "
            "'hmetis'?\nTry 'quillon convert --help'.\n");
  EXPECT_EQ(error("--nonsense"),
            "quillon: error: The following argument was not expected: --nonsense\nTry 'quillon --help'.\n");
}

TEST_F(Ux, ExplainsEveryTopicAndCommandThatItNames) {
  const Outcome list = place_.run("$QUILLON help");
  EXPECT_EQ(list.status, 0);
  for (const std::string name :
       {"formats", "numbering", "weights", "partitions", "output", "terminal", "exit-status", "stats",
        "check", "dump", "prune", "reorder", "convert", "partition-info", "report"}) {
    EXPECT_THAT(list.out, HasSubstr("\n  " + name + " ")) << name;
    const Outcome help = place_.run("$QUILLON help " + name);
    EXPECT_EQ(help.status, 0) << name;
    EXPECT_EQ(help.err, "") << name;
    EXPECT_GT(help.out.size(), 100U) << name;
  }
  EXPECT_EQ(place_.run("$QUILLON help prune").out, place_.run("$QUILLON prune --help").out);
  EXPECT_THAT(place_.run("$QUILLON help --help").out, Not(HasSubstr("Examples:")));
  EXPECT_THAT(place_.run("$QUILLON help exit-status").out,
              StartsWith("0  fine\n1  a finding (check), bad input, or output that could not be written\n"));
}

TEST_F(Ux, SuggestsTheNearestTopic) {
  const Outcome outcome = place_.run("$QUILLON help format");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err,
            "quillon: error: there is no help on 'format'; did you mean 'formats'?\nTry 'quillon help'.\n");
}

TEST_F(Ux, PrintsNoLineForASoundFileWhenQuiet) {
  const Outcome outcome = place_.run("$QUILLON check -q square.qhg bad.qhg");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out, "bad.qhg: FAILED\n");
  EXPECT_EQ(place_.run("$QUILLON --quiet check square.qhg").out, "");
  EXPECT_EQ(place_.run("$QUILLON stats --quiet --summary square.qhg").out,
            "\nH(2, 2, 4) MWCD=2 MINCD=2 TOTCW=2\nTOTNW=2 TOTINW=0 VN=0\n");
}

TEST_F(Ux, PrintsStatisticsAsJson) {
  // Cells of degrees 1, 1 and 0 that weigh 7, 8 and 9; one net of two pins that weighs 5, one with one pin
  // that weighs 4, one without that weighs 1.
  place_.write("small.qhg", "1 3 3 3 3\n5 1 2\n4 2\n1\n7 8 9\n");
  const Outcome outcome = place_.run("$QUILLON stats --json small.qhg bad.qhg");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(
      outcome.out,
      R"({"schema_version":1,"command":"stats","file":"small.qhg","status":"ok","cells":3,"nets":1,"pins":2,)"
      R"("folded":{"nets":2,"one_pin_weight":4,"pinless_weight":1},)"
      R"("cell_degree":{"average":0.6666666666666666,"standard_deviation":0.4714045207910317,)"
      R"("coefficient_of_variation":0.7071067811865476,"minimum":0,"minimum_above_zero":1,"zeros":1,)"
      R"("maximum":1,"distribution":[[0,1],[1,2]]},)"
      R"("net_size":{"average":2.0,"standard_deviation":0.0,"coefficient_of_variation":0.0,"minimum":2,)"
      R"("minimum_above_zero":2,"zeros":0,"maximum":2,"distribution":[[2,1]]},)"
      R"("cell_weight":{"minimum":7,"maximum":9,"total":24},"net_weight":{"minimum":5,"maximum":5,"total":5}})"
      "\n"
      R"({"schema_version":1,"command":"stats","file":"bad.qhg","status":"failed"})"
      "\n");
}

TEST_F(Ux, PrintsNullForWhatNothingHas) {
  place_.write("none.qhg", "1 0 0 0\n");
  const std::string lengths =
      R"({"average":null,"standard_deviation":null,"coefficient_of_variation":null,"minimum":null,)"
      R"("minimum_above_zero":null,"zeros":0,"maximum":null,"distribution":[]})";
  const std::string weights = R"({"minimum":null,"maximum":null,"total":0})";
  EXPECT_THAT(place_.run("$QUILLON stats --json none.qhg").out,
              EndsWith(R"("cell_degree":)" + lengths + R"(,"net_size":)" + lengths + R"(,"cell_weight":)" +
                       weights + R"(,"net_weight":)" + weights + "}\n"));
}

// The table and the JSON count independently of each other.
TEST_F(Ux, PrintsTheSameStatisticsInTheTableAndAsJson) {
  for (const std::string name : {"davis", "lesmis", "mesh24"}) {
    const std::string file = "$DATA/" + name + ".qhg";
    const Outcome outcome = place_.run(
        "$QUILLON stats --json " + file +
        " | /usr/bin/python3 -c 'import json, sys\n"
        "j = json.load(sys.stdin)\n"
        "def side(s): return [\"%.2f\" % s[k] for k in (\"average\", \"standard_deviation\", "
        "\"coefficient_of_variation\")] + [s[k] for k in (\"minimum_above_zero\", \"zeros\", \"maximum\")]\n"
        "def weights(w): return [w[k] for k in (\"minimum\", \"maximum\", \"total\")]\n"
        "print(*[j[\"cells\"], j[\"nets\"], j[\"pins\"]], *side(j[\"cell_degree\"]), *side(j[\"net_size\"]), "
        "*weights(j[\"cell_weight\"]), *weights(j[\"net_weight\"]), sep=\"\\t\")'");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, place_.run("$QUILLON stats --table " + file).out) << name;
  }
}

TEST_F(Ux, PrintsVerdictsAsJson) {
  const Outcome outcome = place_.run("$QUILLON check --json -q square.qhg bad.qhg");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out,
            R"({"schema_version":1,"command":"check","file":"square.qhg","status":"ok","cells":2,"nets":2,)"
            R"("pins":4,"folded":{"nets":0},"symmetric":true})"
            "\n"
            R"({"schema_version":1,"command":"check","file":"bad.qhg","status":"failed"})"
            "\n");
}

TEST_F(Ux, PrintsPartitionsAsJson) {
  place_.write("h.part", "0 2");
  const Outcome outcome = place_.run("$QUILLON partition-info --json square.qhg h.part -k 3");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out,
            R"({"schema_version":1,"command":"partition-info","file":"square.qhg","status":"ok",)"
            R"("partition":"h.part","cells":2,"nets":2,"pins":4,"parts":[{"part":0,"cells":1,"weight":1},)"
            R"({"part":1,"cells":0,"weight":0},{"part":2,"cells":1,"weight":1}],"cut_nets":2,"cut":2,)"
            R"("connectivity_minus_one":2,"sum_of_external_degrees":4,"imbalance":0.5})"
            "\n");
}

TEST_F(Ux, EscapesFileNamesInJson) {
  EXPECT_EQ(place_.run("cp square.qhg 'a\"b'; $QUILLON check --json 'a\"b' | cut -c 1-55").out,
            R"({"schema_version":1,"command":"check","file":"a\"b","st)"
            "\n");
  EXPECT_EQ(
      place_.run("f=$(printf 'a\\377'); cp square.qhg \"$f\"; $QUILLON check --json \"$f\" | cut -d , -f 3")
          .out,
      "\"file\":\"a\uFFFD\"\n");
}

TEST(ProgressLine, ShowsShareBytesAndTime) {
  EXPECT_EQ(progress_line("reading x.hgr", 25000000, 100000000, 30, 100),
            "reading x.hgr   25%  [#####...............]  25.0 of 100.0 MB  1:30 left");
  EXPECT_EQ(progress_line("reading x.hgr", 0, 100000000, 30, 100),
            "reading x.hgr    0%  [....................]  0.0 of 100.0 MB");
  // A file may grow while it is read.
  EXPECT_EQ(progress_line("reading x.hgr", 2000000, 1000000, 3, 100),
            "reading x.hgr  100%  [####################]  2.0 of 1.0 MB  0:00 left");
  EXPECT_EQ(progress_line("reading standard input", 1234567, 0, 65, 100),
            "reading standard input  1.2 MB  1:05");
}

TEST(ProgressLine, FitsTheTerminal) {
  const std::string name = "reading a-very-long-name-of-a-file-in-a-deep-folder.hgr";
  for (int columns = 0; columns <= 150; ++columns) {
    const std::string line = progress_line(name, 1, 2, 1, columns);
    EXPECT_LE(static_cast<int>(line.size()), std::max(0, columns - 1)) << columns;
  }
  EXPECT_EQ(progress_line(name, 1, 2, 1, 40), "reading a-very-long-name-of-a-...   50%");
}

// What a program writes to a terminal as its standard error.
std::string on_terminal(void (*program)()) {
  int terminal = -1;
  winsize size{24, 100, 0, 0};
  std::fflush(nullptr);  // what stands in the buffers is not for the child to write
  const pid_t child = forkpty(&terminal, nullptr, nullptr, &size);
  if (child == 0) {
    setenv("TERM", "xterm", 1);
    program();
    std::exit(0);
  }
  std::string text;
  char block[4096];
  for (ssize_t length = 0; (length = read(terminal, block, sizeof block)) > 0;)
    text.append(block, static_cast<std::size_t>(length));
  close(terminal);
  waitpid(child, nullptr, 0);
  return text;
}

// Waits for ever where nothing is drawn, until the terminal is closed by whoever runs the test.
void wait_for_looks(const std::atomic<int>& looks, int count) {
  while (looks < count) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

TEST(Progress, DrawsOverItsOwnLineAndLeavesNothing) {
  const std::string text = on_terminal([] {
    std::atomic<int> looks = 0;
    {
      const tool::Progress progress(
          "reading x", 4000000, [&looks] { return ++looks > 1 ? 3000000U : 1000000U; },
          std::chrono::milliseconds(0));
      wait_for_looks(looks, 3);
    }
    std::fputs("done\n", stderr);
  });
  EXPECT_THAT(text, StartsWith("\r\x1b[Kreading x   25%  [#####...............]  1.0 of 4.0 MB"));
  EXPECT_THAT(text, HasSubstr("\r\x1b[Kreading x   75%  [###############.....]  3.0 of 4.0 MB"));
  EXPECT_THAT(text, EndsWith("\r\x1b[Kdone\r\n"));
}

TEST(Progress, LetsMessagesStandAboveIt) {
  const std::string text = on_terminal([] {
    std::atomic<int> looks = 0;
    const tool::Progress progress(
        "reading x", 0, [&looks] { return ++looks > 0 ? 5000000U : 0U; }, std::chrono::milliseconds(0));
    wait_for_looks(looks, 2);
    uwarning("number %d", 1);
    const int seen = looks;
    wait_for_looks(looks, seen + 2);
    errexit("number %d", 2);
  });
  EXPECT_THAT(text, HasSubstr("5.0 MB  0:00\r\x1b[Kquillon: warning: number 1\r\n\r\x1b[Kreading x  5.0 MB"));
  EXPECT_THAT(text, EndsWith("5.0 MB  0:00\r\x1b[Kquillon: error: number 2\r\n"));
}

TEST(Progress, IsNotSeenWhereReadingTakesNoTime) {
  EXPECT_EQ(on_terminal([] {
              const tool::Progress progress("reading x", 1, [] { return std::uint64_t{1}; });
              std::fputs("fast\n", stderr);
            }),
            "fast\r\n");
}

// Runs the tool with a terminal as standard error, or as standard output too.
class OnTerminal : public Ux {
 protected:
  [[nodiscard]] std::string run(const std::string& command) const {
    return place_
        .run("TERM=xterm && export TERM QUILLON && unset NO_COLOR && script -qec \"" + command +
             "\" /dev/null | tr -d '\\r'")
        .out;
  }
};

TEST_F(OnTerminal, ShowsVerdictsAndErrorsInColour) {
  EXPECT_EQ(run("$QUILLON check square.qhg"),
            "square.qhg: \x1b[1;32mok\x1b[0m, 2 cells, 2 nets, 4 pins, symmetric\n");
  EXPECT_THAT(run("$QUILLON check bad.qhg"), EndsWith("bad.qhg: \x1b[1;31mFAILED\x1b[0m\n"));
  EXPECT_THAT(run("$QUILLON statz"), StartsWith("\x1b[1;31mquillon: error:\x1b[0m there is no command"));
}

TEST_F(OnTerminal, ShowsNoColoursToThoseWhoWantNone) {
  const std::string plain = "square.qhg: ok, 2 cells, 2 nets, 4 pins, symmetric\n";
  EXPECT_EQ(run("NO_COLOR=1 $QUILLON check square.qhg"), plain);
  EXPECT_EQ(run("TERM=dumb $QUILLON check square.qhg"), plain);
  EXPECT_EQ(run("TERM= $QUILLON check square.qhg"), plain);
  EXPECT_EQ(run("$QUILLON check square.qhg | cat"), plain);
}

TEST_F(OnTerminal, ShowsHowFarALongReadHasCome) {
  // The file comes late: the tool has to wait for the rest of it.
  const std::string late = "(echo 1 2 2 4; echo 1 2; sleep 1.6; echo 1 2) | $QUILLON ";
  EXPECT_THAT(run(late + "stats --summary -"),
              AllOf(HasSubstr("\x1b[Kreading standard input  0.0 MB  0:01"),
                    EndsWith("\x1b[K\nH(2, 2, 4) MWCD=2 MINCD=2 TOTCW=2\nTOTNW=2 TOTINW=0 VN=0\n")));
}

TEST_F(OnTerminal, ShowsNoProgressToThoseWhoWantNone) {
  const std::string late = "(echo 1 2 2 4; echo 1 2; sleep 1.6; echo 1 2) | ";
  EXPECT_THAT(run(late + "$QUILLON stats -q --summary -"), Not(HasSubstr("reading")));
  EXPECT_THAT(run(late + "TERM=dumb $QUILLON stats --summary -"), Not(HasSubstr("reading")));
  EXPECT_THAT(run(late + "$QUILLON stats --summary - 2>err; cat err"), Not(HasSubstr("reading")));
}

}  // namespace
}  // namespace quillon::tool_test
