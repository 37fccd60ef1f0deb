// Loads files of any format into records.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "formats/net_places.h"
#include "formats/threads.h"
#include "tests/formats/finding_of.h"
#include "tests/formats/temp_folder.h"
#include "tests/support/records.h"
#include "tests/support/resources.h"
#include "tests/support/throwing.h"
#include "util/scope.h"

namespace quillon::formats {
namespace {

using testing::ElementsAre;

// The outcome of a read: a finding, a fatal error, or the pins of the nets.
struct Loading {
  Finding finding = {kNoFinding, Severity::kNote, "", 0, 0, "", ""};
  std::string fatal;
  Lists pins = {};
  int nfolded = 0;
};

Loading load_from(const std::string& filename, SmallNets small_nets = SmallNets::kKeep) {
  Loading outcome;
  const ThrowingHandler throwing;
  const Scope scope;
  try {
    Record record;
    outcome.finding = finding_of([&] { load(record, filename, {.small_nets = small_nets}); });
    if (outcome.finding.rule == kNoFinding) {
      outcome.pins = pins_of_nets(record.h);
      outcome.nfolded = record.nfolded;
    }
  } catch (const FatalError& error) {
    outcome.fatal = error.what();
  }
  return outcome;
}

// Calls `check` with the name of a file, a compressed file and a pipe that hold the text.
void for_each_source(const std::string& text, const std::function<void(const std::string&)>& check) {
  const TempFolder folder;
  {
    SCOPED_TRACE("plain");
    check(folder.write("plain.qhg", text));
  }
  {
    SCOPED_TRACE("gzip");
    check(folder.write("packed.qhg.gz", gzipped(text)));
  }
  SCOPED_TRACE("pipe");
  const std::string fifo = folder.at("pipe.qhg");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  std::signal(SIGPIPE, SIG_IGN);  // a reader may close the pipe early
  std::thread writer([&] { std::ofstream(fifo, std::ios::binary) << text; });
  check(fifo);
  writer.join();
}

TEST(Load, ReadsFilesAndPipes) {
  for (const char* const text :
       {"1 3 2 3\n3 1\n2\n", "% c\n0 3 2 3\n2 0\n% c\n1\n", "1 3 2 3\r\n3 1\r\n2\r\n"}) {
    for_each_source(text, [](const std::string& file) {
      const Loading kept = load_from(file);
      EXPECT_EQ(kept.finding.rule, kNoFinding);
      EXPECT_EQ(kept.fatal, "");
      EXPECT_THAT(kept.pins, ElementsAre(ElementsAre(3, 1), ElementsAre(2)));
    });
  }
  for_each_source("1 3 3 3\n3 1\n2\n\n", [](const std::string& file) {
    const Loading folded = load_from(file, SmallNets::kFold);
    EXPECT_THAT(folded.pins, ElementsAre(ElementsAre(3, 1)));
    EXPECT_EQ(folded.nfolded, 2);
  });
}

TEST(Load, BuildsTheCellSide) {
  const TempFolder folder;
  Record record;
  load(record, folder.write("a", "1 3 2 4\n3 1\n2 3\n"), {});
  EXPECT_THAT(nets_of_cells(record.h), ElementsAre(ElementsAre(1), ElementsAre(2), ElementsAre(1, 2)));
}

// A file written of a loaded one, and what is said of it.
struct Written {
  std::string text;
  std::vector<std::string> notes;

  bool operator==(const Written&) const = default;
};

void PrintTo(const Written& written, std::ostream* out) {
  *out << testing::PrintToString(written.notes) << " of\n" << written.text;
}

Written written_of(const Record& record, const Loaded& loaded, const Format& to,
                   const WriteOptions& options) {
  const TempFolder folder;
  Written written;
  Losses losses;
  if (to.find_losses != nullptr) to.find_losses(record.h, options, losses);
  if (loaded.format->note_oddities != nullptr) loaded.format->note_oddities(record.h, written.notes);
  for (const std::vector<std::string>* const some : {&losses.lost, &losses.refused, &losses.dropped})
    written.notes.insert(written.notes.end(), some->begin(), some->end());
  written.notes.push_back(std::to_string(count_repeated_pins(record.h)));
  to.write(record.h, options, folder.at("out").c_str());
  written.text = folder.contents("out");
  return written;
}

std::vector<WriteOptions> ways_to_write(const Format& to) {
  if (to.name == "quillon") return {{}, {.weights = 3}, {.numbering = 0, .weights = 0}};
  if (to.models.empty()) return {{}};
  return {{.model = to.models[0]}, {.model = to.models[1]}};
}

std::vector<std::string> files_of_all_formats() {
  std::vector<std::string> files;
  for (const char* const folder : {QUILLON_CONFORMANCE_CORPUS, QUILLON_DATA, QUILLON_TEST_FILES})
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
      if (entry.is_regular_file() && format_of_file(entry.path().string()) != nullptr)
        files.push_back(entry.path().string());
  return files;
}

TEST(Load, LeavesOutOnlyTheCellSideThatWritersDoNotNeed) {
  std::set<std::pair<std::string_view, std::string_view>> pairs;
  for (const std::string& file : files_of_all_formats()) {
    if (const Loading outcome = load_from(file); outcome.finding.rule != kNoFinding || !outcome.fatal.empty())
      continue;
    SCOPED_TRACE(file);
    Record whole;
    Record net_side;
    const Loaded loaded = load(whole, file, {});
    load(net_side, file, {.cell_side = false});
    EXPECT_NE(whole.h._net_list, nullptr);
    EXPECT_EQ(net_side.h._net_list, nullptr);
    for (const Format& to : all_formats()) {
      if (to.write == nullptr || to.writes_cell_side) continue;
      SCOPED_TRACE(to.name);
      for (const WriteOptions& options : ways_to_write(to))
        EXPECT_EQ(written_of(net_side, loaded, to, options), written_of(whole, loaded, to, options));
      pairs.insert({loaded.format->name, to.name});
    }
  }
  EXPECT_EQ(pairs.size(), 8U * 5U);  // all formats to those that need one side
}

// Every tenth net of 10 pins names a cell twice, and the last net, of 20 pins, names ten cells twice.
std::string long_text() {
  constexpr int kNets = 30000;
  std::string text = std::to_string(kNets + 1) + " 1000\n";
  for (int j = 0; j < kNets; ++j) {
    for (int k = 0; k < 9; ++k) text += std::to_string((7 * j + 11 * k) % 1000 + 1) + " ";
    text += std::to_string((7 * j + (j % 10 == 0 ? 0 : 500)) % 1000 + 1) + "\n";
  }
  for (int k = 0; k < 20; ++k) text += std::to_string(k % 10 + 1) + " ";
  return text + "\n";
}

TEST(Load, GivesTheSameFileOfOneSideOnEveryNumberOfThreads) {
  const TempFolder folder;
  const std::string file = folder.write("long.hgr", long_text());
  Record whole;
  const Loaded loaded = load(whole, file, {});
  EXPECT_EQ(count_repeated_pins(whole.h), 3000 + 10);
  const Written expected = written_of(whole, loaded, own_format(), {});
  for (const int nthreads : {1, 2, 7}) {
    set_threads(nthreads);
    Record net_side;
    load(net_side, file, {.cell_side = false});
    EXPECT_EQ(written_of(net_side, loaded, own_format(), {}), expected) << nthreads << " threads";
  }
  set_threads(0);
}

// The readers of the module would never return: they wait for one more line.
TEST(Load, RefusesACommentWhereMoreIsDue) {
  for (const char* const text : {"1 3 2 3\n3 1\n% no more", "1 3 2 3\n3 1\n% no more\n"}) {
    for_each_source(text, [text](const std::string& file) {
      SCOPED_TRACE(text);
      const Finding finding = load_from(file).finding;
      EXPECT_EQ(finding.rule, "missing-line");
      EXPECT_EQ(finding.message, "found the end of the file, expected net 2 of 2");
    });
  }
}

TEST(Load, AcceptsACommentAfterTheData) {
  for (const char* const text :
       {"1 3 2 3\n3 1\n2\n% end\n", "1 3 2 3\n3 1\n2\n%", "1 3 2 3 1\n3 1\n2\n1 1 1\n%\n"}) {
    for_each_source(text, [text](const std::string& file) {
      SCOPED_TRACE(text);
      const Loading outcome = load_from(file);
      EXPECT_EQ(outcome.finding.rule, kNoFinding) << outcome.finding.message;
      EXPECT_EQ(outcome.fatal, "");
      EXPECT_THAT(outcome.pins, ElementsAre(ElementsAre(3, 1), ElementsAre(2)));
    });
  }
}

TEST(Load, ReportsWhatIsWrongWithTheBytesFirst) {
  const TempFolder folder;
  std::string text = "1 2000 1000 2000\n";
  for (int j = 1; j <= 1000; ++j) text += std::to_string(2 * j - 1) + " " + std::to_string(2 * j) + "\n";
  const std::string packed = gzipped(text);
  const std::string cut = folder.write("cut.gz", packed.substr(0, packed.size() / 2));
  EXPECT_EQ(load_from(cut).finding,
            error_of_file("bad-compression", cut,
                          "cannot read '" + cut + "': its compressed data is cut off after byte " +
                              std::to_string(packed.size() / 2)));
  const std::string tail = folder.write("tail.gz", packed.substr(0, packed.size() - 4));  // after all data
  EXPECT_EQ(load_from(tail).finding,
            error_of_file("bad-compression", tail,
                          "cannot read '" + tail + "': its compressed data is cut off after byte " +
                              std::to_string(packed.size() - 4)));
  const std::string missing = folder.at("missing");
  EXPECT_EQ(
      load_from(missing).finding,
      error_of_file("cannot-open", missing, "cannot open '" + missing + "': No such file or directory"));
  const std::string none = folder.at("");
  EXPECT_EQ(load_from(none).finding,
            error_of_file("cannot-read", none, "cannot read '" + none + "': Is a directory"));
}

TEST(Load, LeavesNoBlockAndNoDescriptorWhenItFails) {
  const TempFolder folder;
  const std::vector<std::string> files = {folder.write("comment", "1 2 1 2\n%"),
                                          folder.write("pins", "1 2 1 5\n1 2\n"),
                                          folder.write("cell", "1 2 2 3\n1 2\n9\n"),
                                          folder.write("weights", "1 2 1 2 7\n1 2\n"),
                                          folder.write("packed", gzipped("1 2 1 5\n1 2\n")),
                                          folder.write("empty", ""),
                                          folder.at("missing")};
  for (const std::string& file : files) load_from(file);  // warms up
  const int descriptors = open_descriptors();
  for (const std::string& file : files) {
    SCOPED_TRACE(file);
    const std::uint64_t bytes = held_bytes();
    {
      const Loading outcome = load_from(file);
      EXPECT_TRUE(!outcome.fatal.empty() || outcome.finding.rule != kNoFinding);
    }
    EXPECT_EQ(held_bytes(), bytes);
    EXPECT_EQ(open_descriptors(), descriptors);
  }
}

TEST(Load, GoesByTheSuffixUnlessTold) {
  const TempFolder folder;
  const auto pins = [](const std::string& file, const Format* format) {
    Record record;
    load(record, file, {.format = format});
    EXPECT_EQ(nets_of_cells(record.h).size(), static_cast<std::size_t>(record.h._c));
    return pins_of_nets(record.h);
  };
  const Lists expected{{2}, {}};
  EXPECT_EQ(pins(folder.write("a.hgr", "2 2\n2\n\n"), nullptr), expected);
  EXPECT_EQ(pins(folder.write("a.kub", "2\n2\n1 1 1\n1 0\n1\n1"), nullptr), expected);
  EXPECT_EQ(pins(folder.write("a.txt", "1 2 2 1\n2\n\n"), nullptr), expected);
  EXPECT_EQ(pins(folder.write("b.txt", "2 2\n2\n\n"), &format("hmetis")), expected);
  EXPECT_EQ(pins(folder.write("b.qhg.gz", gzipped("1 2 2 1\n2\n\n")), nullptr), expected);
}

// Files of METIS are read twice: the first time for the sizes of the nets.
TEST(Load, ReadsOpenFilesOfEveryName) {
  const TempFolder folder;
  const std::string file = folder.write("a", "3 2\n2\n1 3\n2\n");
  Record record;
  load(record, std::make_unique<Source>(open(file.c_str(), O_RDONLY | O_CLOEXEC), "no/such/file.graph"), {});
  EXPECT_EQ(pins_of_nets(record.h), (Lists{{1, 2}, {2, 3}}));
}

TEST(Load, AdvisesHowToNameAFormat) {
  const TempFolder folder;
  const std::string file = folder.write("a", "");
  Record record;
  const auto message = [&](const LoadOptions& options) {
    return finding_of([&] { load(record, file, options); }).message;
  };
  EXPECT_EQ(message({}), "cannot tell the format of '" + file + "', which is empty; name the format");
  EXPECT_EQ(message({.advice = "ask"}), "cannot tell the format of '" + file + "', which is empty; ask");
}

TEST(Load, ReturnsWhatTheRecordCannotHold) {
  const TempFolder folder;
  Record record;
  const Loaded loaded = load(record,
                             folder.write("a.json", R"({"incidences":[{"edge":"e","node":"n","weight":2}],)"
                                                    R"("nodes":[{"node":"n","weight":3},{"node":"n"}]})"),
                             {});
  EXPECT_EQ(loaded.format, &format("hif"));
  EXPECT_EQ(loaded.weights, 1);
  EXPECT_THAT(loaded.remarks, ElementsAre("1 record of nodes or edges listed twice; the first is used"));
  EXPECT_THAT(loaded.losses, ElementsAre("1 incidence weight"));
  EXPECT_THAT(loaded.names.cells, ElementsAre("", R"("n")"));
  EXPECT_THAT(loaded.names.nets, ElementsAre("", R"("e")"));
}

TEST(Load, KeepsTheWeightsOfAFileApartFromThoseThatAreNotOne) {
  const TempFolder folder;
  Record record;
  EXPECT_EQ(load(record, folder.write("a.qhg", "1 2 1 2 3\n1 1 2\n1 1\n"), {}).weights, 3);
  EXPECT_EQ(record.h._fmt, 0);
}

// Nets of three, one, no, two and one pins.
TEST(Load, FoldsSmallNetsOfEveryFormatAsTheModuleDoes) {
  const TempFolder folder;
  const std::string own = folder.write("a.qhg", "1 3 5 7 3\n5 1 2 3\n6 2\n1\n4 3 1\n7 2\n1 2 3\n");
  Record expected;
  read_hypergraph(&expected.h, own.c_str(), 0);
  Record original;
  load(original, own, {});
  for (const char* const name : {"quillon", "hmetis", "kub", "hif"}) {
    SCOPED_TRACE(name);
    const std::string file = folder.at("copy");
    format(name).write(original.h, {}, file.c_str());
    Record record;
    load(record, file, {.format = &format(name), .small_nets = SmallNets::kFold});
    EXPECT_EQ(record.nfolded, 3);
    EXPECT_EQ(pins_of_nets(record.h), pins_of_nets(expected.h));
    EXPECT_THAT(nets_of_cells(record.h), ElementsAre(ElementsAre(1, 2), ElementsAre(1), ElementsAre(1, 2)));
    EXPECT_EQ(record.h._totnw, expected.h._totnw);
    EXPECT_EQ(record.h._totinw, 13);
    EXPECT_EQ(record.h._virtualnets, 1);
    EXPECT_EQ(record.h._clst[2].inw, 13);
    EXPECT_EQ(record.h._nlst[2].w, 4);
  }
}

TEST(Load, RefusesToFoldAHeavyNetWithoutPins) {
  const TempFolder folder;
  const std::string file = folder.write("a.hgr", "2 2 1\n3 1 2\n2\n");
  Record record;
  EXPECT_EQ(finding_of([&] { load(record, file, {.small_nets = SmallNets::kFold}); }),
            error_of_file("heavy-pinless-net", file,
                          file + ": net 2 has weight 2 but no pins, so it cannot be folded"));
  Record light;
  load(light, folder.write("b.hgr", "2 2 1\n3 1 2\n1\n"), {.small_nets = SmallNets::kFold});
  EXPECT_EQ(light.h._n, 1);
}

std::vector<std::size_t> lines_of(const TempFolder& folder, const std::string& name, const std::string& text,
                                  const std::vector<int>& nets, const ReadOptions& options = {}) {
  const std::string file = folder.write(name, text);
  return lines_of_nets(file, *format_of_file(name), options, nets);
}

TEST(LinesOfNets, AreThoseOfTheFileWithComments) {
  const TempFolder folder;
  EXPECT_THAT(lines_of(folder, "a.hgr", "% one\n3 4\n1 2\n%\n% two\n\n3 4", {1, 2, 3}), ElementsAre(3, 6, 7));
  EXPECT_THAT(lines_of(folder, "a.qhg", "1 4 3 4\n1 2\n%\n\n3 4\n", {1, 3}), ElementsAre(2, 5));
  EXPECT_THAT(lines_of(folder, "a.kub", "2\n2\n1 1 0\n1 1 1\n1\n1\n", {2}), ElementsAre(4));
  EXPECT_THAT(lines_of(folder, "a.qhg.gz", gzipped("1 4 3 4\n1 2\n%\n\n3 4\n"), {1, 3}), ElementsAre(2, 5));
}

TEST(LinesOfNets, AreThoseOfNetsThatAreLinesOfNamesOrClauses) {
  const TempFolder folder;
  EXPECT_THAT(lines_of(folder, "a.hel", "# c\na b\n\nc\nb a\n", {1, 2, 3}), ElementsAre(2, 4, 5));
  // A clause may begin in the middle of a line, and go on in the next.
  const std::string clauses = "c one\np cnf 3 3\n1 2 0 3\n0\n-1 0\n";
  EXPECT_THAT(lines_of(folder, "a.cnf", clauses, {1, 2, 3}), ElementsAre(3, 3, 5));
  EXPECT_THAT(lines_of(folder, "a.cnf", clauses, {3}, {.model = Model::kLiteral}), ElementsAre(5));
}

TEST(LinesOfNets, AreThoseOfFirstPins) {
  const TempFolder folder;
  const std::string matrix =
      "%%MatrixMarket matrix coordinate pattern general\n% c\n3 3 3\n3 1\n1 2\n\n3 2\n";
  EXPECT_THAT(lines_of(folder, "a.mtx", matrix, {1, 2, 3}), ElementsAre(5, 0, 4));
  EXPECT_THAT(lines_of(folder, "a.mtx", matrix, {1, 2, 3}, {.model = Model::kColumnNet}),
              ElementsAre(4, 5, 0));
  EXPECT_THAT(lines_of(folder, "a.mtx", matrix, {1, 3, 4, 5}, {.model = Model::kFineGrain}),
              ElementsAre(5, 4, 4, 5));
  const std::string lower = "%%MatrixMarket matrix coordinate pattern symmetric\n3 3 2\n2 1\n3 2\n";
  EXPECT_THAT(lines_of(folder, "a.mtx", lower, {1, 2, 3}), ElementsAre(3, 3, 4));
  EXPECT_THAT(lines_of(folder, "a.mtx", lower, {1, 2, 3}, {.model = Model::kColumnNet}),
              ElementsAre(3, 3, 4));
  EXPECT_THAT(lines_of(folder, "a.mtx", lower, {3, 5, 6}, {.model = Model::kFineGrain}),
              ElementsAre(4, 3, 4));
  EXPECT_THAT(lines_of(folder, "a.hel", "b x\na x\nb y\n", {1, 2}, {.pairs = Pairs::kNetCell}),
              ElementsAre(1, 2));
  EXPECT_THAT(lines_of(folder, "a.hel", "b x\na x\nb y\n", {2}, {.pairs = Pairs::kCellNet}), ElementsAre(3));
}

TEST(LinesOfNets, AreThoseOfTheFirstIncidenceInAnyOrderOfTheSections) {
  const TempFolder folder;
  const std::string incidences =
      "\"incidences\": [\n{\"edge\": 1, \"node\": 1},\n{\"edge\": 2, \"node\": 1},\n"
      "{\"edge\": 1, \"node\": 2}]";
  const std::string edges = "\"edges\": [{\"edge\": 2}, {\"edge\": 3}, {\"edge\": 1}]";
  // Net 1 is edge 2, net 2 is edge 3, which has no incidence, and net 3 is edge 1.
  EXPECT_THAT(lines_of(folder, "a.json", "{" + incidences + ",\n" + edges + "}", {1, 2, 3}),
              ElementsAre(3, 0, 2));
  EXPECT_THAT(lines_of(folder, "a.json", "{" + edges + ",\n" + incidences + "}", {1, 3}), ElementsAre(4, 3));
}

TEST(LinesOfNets, AreThoseOfFirstCellsInGraphsAndDuals) {
  const TempFolder folder;
  // Edges 1-2, 1-3, 2-3, of which the last has its first mention on the line of vertex 2.
  EXPECT_THAT(lines_of(folder, "a.graph", "3 3\n2 3\n% c\n1 3\n1 2\n", {1, 2, 3}), ElementsAre(2, 2, 4));
  const std::string clauses = "p cnf 3 2\n2\n1 0\n3 2 0\n";
  EXPECT_THAT(lines_of(folder, "a.cnf", clauses, {1, 2, 3}, {.model = Model::kDual}), ElementsAre(2, 2, 4));
  EXPECT_THAT(lines_of(folder, "a.cnf", "p cnf 2 1\n2 0\n", {1, 2}, {.model = Model::kDual}),
              ElementsAre(0, 2));
}

TEST(LinesOfNets, AreUnknownOfWhatIsNoFileAndAfterTheLastNet) {
  const TempFolder folder;
  EXPECT_THAT(lines_of_nets("/dev/null", own_format(), {}, {1}), ElementsAre(0));
  EXPECT_THAT(lines_of(folder, "a.hgr", "1 2\n1 2\n", {1, 2}), ElementsAre(2, 0));
}

// The number of the first line after the first two that begins with these words.
std::size_t line_with(const std::string& text, const std::string& words) {
  const std::size_t at = text.find('\n' + words, text.find('\n', text.find('\n') + 1));
  return static_cast<std::size_t>(
             std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(at), '\n')) +
         2;
}

TEST(LinesOfNets, HoldTheFirstPinsOfWhatWritersWrite) {
  const TempFolder folder;
  for (unsigned seed = 1; seed <= 40; ++seed) {
    SCOPED_TRACE(seed);
    const Shape shape = random_shape(seed, {.ncells = 9, .nnets = 9});
    const quillon::Record record(shape);
    const std::string matrix = folder.at("a.mtx");
    const std::string json = folder.at("a.json");
    format("mtx").write(record.h, {}, matrix.c_str());
    format("hif").write(record.h, {}, json.c_str());
    std::vector<int> nets;
    std::vector<std::size_t> entries;
    std::vector<std::size_t> incidences;
    for (int j = 1; j <= std::ssize(shape.pins); ++j) {
      if (shape.pins[static_cast<std::size_t>(j) - 1].empty()) continue;
      nets.push_back(j);
      entries.push_back(line_with(folder.contents("a.mtx"), std::to_string(j) + " "));
      incidences.push_back(
          line_with(folder.contents("a.json"), "{\"edge\":" + std::to_string(j) + ",\"node\":"));
    }
    EXPECT_EQ(lines_of_nets(matrix, format("mtx"), {}, nets), entries);
    EXPECT_EQ(lines_of_nets(json, format("hif"), {}, nets), incidences);
  }
}

TEST(LinesOfNets, AreFoundAfterLongLines) {
  std::string text = "2 1\n";
  for (int k = 0; k < 3000000; ++k) text += "1 ";  // more than a block
  const TempFolder folder;
  EXPECT_THAT(lines_of(folder, "a.hgr", text + "\n1\n", {1, 2}), ElementsAre(2, 3));
}

}  // namespace
}  // namespace quillon::formats
