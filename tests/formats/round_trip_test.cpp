// Round trips of hypergraphs between formats, and whole files of the writers.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "formats/formats.h"
#include "formats/record.h"
#include "hypergraph/hypergraph.h"
#include "tests/formats/finding_of.h"
#include "tests/support/records.h"
#include "tests/support/temp_file.h"
#include "tests/support/throwing.h"
#include "util/util.h"

namespace quillon::formats {
namespace {

constexpr unsigned kSeeds = 24;

// A format and, for matrices, a model.
struct Target {
  const char* name;
  const char* format;
  Model model = Model::kRowNet;
  bool weights = true;  // whether the format has weights

  [[nodiscard]] bool repeated_pins() const { return quillon::formats::format(format).keeps_repeated_pins; }
};

// Otherwise gtest prints the bytes, including uninitialised padding.
void PrintTo(const Target& kind, std::ostream* out) { *out << kind.name; }

const std::vector<Target> kKinds{{"quillon", "quillon"},
                                 {"hmetis", "hmetis"},
                                 {"kub", "kub"},
                                 {"hif", "hif"},
                                 {"mtx", "mtx", Model::kRowNet, false},
                                 {"mtx by columns", "mtx", Model::kColumnNet, false}};

std::string text_in(const Target& kind, const Hypergraph& h) {
  const TempFile file;
  format(kind.format).write(h, {.weights = 3, .model = kind.model}, file.name());
  return file.contents();
}

void read_back(const std::string& text, const Target& kind, Record& record) {
  const TempFile file(text);
  NetLists lists = read_file(file.name(), format(kind.format), {kind.model, false});
  EXPECT_THAT(lists.losses, testing::IsEmpty());
  to_record(std::move(lists), record);
}

bool has_repeated_pins(const Shape& shape) {
  return std::any_of(shape.pins.begin(), shape.pins.end(), [](std::vector<int> pins) {
    std::sort(pins.begin(), pins.end());
    return std::adjacent_find(pins.begin(), pins.end()) != pins.end();
  });
}

int bit_unless_all_1(const std::vector<int>& weights, int bit) {
  return std::all_of(weights.begin(), weights.end(), [](int w) { return w == 1; }) ? 0 : bit;
}

void expect_shape(const Hypergraph& h, const Shape& shape) {
  const std::vector<int> ones(std::max(shape.pins.size(), static_cast<std::size_t>(shape.ncells)), 1);
  const auto or_ones = [&ones](const std::vector<int>& weights, std::size_t count) {
    return weights.empty() ? std::vector<int>(ones.begin(), ones.begin() + static_cast<int>(count)) : weights;
  };
  const std::vector<int> net_weights = or_ones(shape.net_weights, shape.pins.size());
  const std::vector<int> cell_weights = or_ones(shape.cell_weights, static_cast<std::size_t>(shape.ncells));
  int npins = 0;
  for (const std::vector<int>& pins : shape.pins) npins += static_cast<int>(pins.size());

  ASSERT_EQ(h._c, shape.ncells);
  ASSERT_EQ(h._n, std::ssize(shape.pins));
  EXPECT_EQ(h._p, npins);
  EXPECT_EQ(pins_of_nets(h), shape.pins);
  EXPECT_EQ(nets_of_cells(h), nets_of_cells(shape));
  EXPECT_EQ(of_nets(h, &Net::w), net_weights);
  EXPECT_EQ(of_cells(h, &Cell::w), cell_weights);
  EXPECT_EQ(h._totnw, std::accumulate(net_weights.begin(), net_weights.end(), 0));
  EXPECT_EQ(h._totcw, std::accumulate(cell_weights.begin(), cell_weights.end(), 0));
  EXPECT_EQ(h._fmt, bit_unless_all_1(cell_weights, 1) | bit_unless_all_1(net_weights, 2));
  if (!has_repeated_pins(shape)) CheckListsofHypergraph(&h);  // an error is fatal
}

// A random hypergraph, mostly small and sometimes large, reduced to what both formats can represent.
Shape shape_for(unsigned seed, const Target& a, const Target& b) {
  const bool large = seed % 16 == 7;
  Shape shape = random_shape(seed, {.ncells = large ? 250 : 9,
                                    .nnets = large ? 150 : 9,
                                    .weight = 9,
                                    .nparts = 1,
                                    .duplicates = a.repeated_pins() && b.repeated_pins()});
  if (!a.weights || !b.weights || seed % 4 == 1) shape.cell_weights.clear();
  if (!a.weights || !b.weights || seed % 4 == 2) shape.net_weights.clear();
  return shape;
}

// Hides the reports of the checks; their findings are fatal.
class RoundTrip : public testing::TestWithParam<Target> {
 protected:
  void SetUp() override { testing::internal::CaptureStdout(); }
  void TearDown() override {
    std::fflush(stdout);
    EXPECT_THAT(testing::internal::GetCapturedStdout(), testing::EndsWith("\n Checking DONE....\n"));
  }
};

TEST_P(RoundTrip, ThroughEveryOtherFormatGivesTheSameHypergraphAndFile) {
  const Target& a = GetParam();
  for (const Target& b : kKinds) {
    for (unsigned seed = 1; seed <= kSeeds; ++seed) {
      SCOPED_TRACE(testing::Message() << "through " << b.name << ", seed " << seed);
      const Shape shape = shape_for(seed, a, b);
      const quillon::Record record(shape);

      const std::string there = text_in(a, record.h);
      Record from_a;
      read_back(there, a, from_a);
      expect_shape(from_a.h, shape);

      Record from_b;
      read_back(text_in(b, from_a.h), b, from_b);
      expect_shape(from_b.h, shape);
      EXPECT_EQ(text_in(a, from_b.h), there);
      if (HasFailure()) return;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Formats, RoundTrip, testing::ValuesIn(kKinds), [](const auto& kind) {
  std::string name = kind.param.name;
  std::replace(name.begin(), name.end(), ' ', '_');
  return name;
});

TEST(RoundTripShapes, HaveEveryCorner) {
  int nno_cells = 0;
  int nno_nets = 0;
  int nrepeated = 0;
  int nunweighted = 0;
  std::vector<int> nets_of_size(3, 0);
  int nisolated = 0;
  int nover_100_cells = 0;  // whose weights fill more than a line
  for (unsigned seed = 1; seed <= kSeeds; ++seed) {
    const Shape shape = shape_for(seed, kKinds[0], kKinds[1]);
    nno_cells += shape.ncells == 0 ? 1 : 0;
    nover_100_cells += shape.ncells > 100 && !shape.cell_weights.empty() ? 1 : 0;
    nno_nets += shape.pins.empty() ? 1 : 0;
    nrepeated += has_repeated_pins(shape) ? 1 : 0;
    nunweighted += shape.net_weights.empty() || shape.cell_weights.empty() ? 1 : 0;
    for (const std::vector<int>& pins : shape.pins)
      if (pins.size() < nets_of_size.size()) ++nets_of_size[pins.size()];
    for (const std::vector<int>& nets : nets_of_cells(shape)) nisolated += nets.empty() ? 1 : 0;
  }
  for (const int count : {nno_cells, nno_nets, nrepeated, nunweighted, nets_of_size[0], nets_of_size[1],
                          nets_of_size[2], nisolated, nover_100_cells})
    EXPECT_GT(count, 0);
}

void read_by_the_module(const char* filename, Record& record) {
  Hypergraph& h = record.h;
  std::FILE* const file = ufopen(filename, "r", "round_trip_test");
  read_hypergraph_with_onepin_netsFromFile(&h, file, 0);
  ufclose(file);
  h._net_list = static_cast<int*>(umalloc((static_cast<std::uint64_t>(h._p) + 2) * sizeof(int), "net_list"));
  std::vector<int> work(static_cast<std::size_t>(h._c) + 1);
  construct_net_list(&h, work.data());
}

std::vector<int> summary(const Hypergraph& h) {
  return {h._c, h._n, h._p, h._maxwcd, h._maxcd, h._mincd, h._totcw, h._totnw, h._totinw, h._virtualnets};
}

TEST(ReadQuillon, AgreesWithTheReaderOfTheModuleOnAllItWrites) {
  const Target& quillon = kKinds[0];
  for (unsigned seed = 1; seed <= kSeeds; ++seed) {
    Shape shape = shape_for(seed, quillon, quillon);
    for (std::vector<int>* weights : {&shape.cell_weights, &shape.net_weights})
      for (int& w : *weights) w -= seed % 8 == 0 ? 5 : 0;
    const quillon::Record record(shape);
    for (const int fmt : {0, 1, 2, 3}) {
      for (const int numbering : {0, 1}) {
        SCOPED_TRACE(testing::Message() << "seed " << seed << ", fmt " << fmt << " from " << numbering);
        const TempFile file;
        write_hypergraph(&record.h, file.name(), numbering, fmt);
        Record imported;
        read_back(file.contents(), quillon, imported);
        Record read;
        read_by_the_module(file.name(), read);
        set_hypergraph_infos(&read.h);

        EXPECT_EQ(summary(imported.h), summary(read.h));
        EXPECT_EQ(pins_of_nets(imported.h), pins_of_nets(read.h));
        EXPECT_EQ(nets_of_cells(imported.h), nets_of_cells(read.h));
        EXPECT_EQ(of_nets(imported.h, &Net::w), of_nets(read.h, &Net::w));
        for (int Cell::*const field : {&Cell::w, &Cell::inw, &Cell::pno, &Cell::wdeg})
          EXPECT_EQ(of_cells(imported.h, field), of_cells(read.h, field));
        if (testing::Test::HasFailure()) return;
      }
    }
  }
}

// Exits, because the limit cannot be raised again.
[[noreturn]] void write_kub_within(std::size_t nbytes, const Hypergraph& h, const char* filename) {
  std::signal(SIGXFSZ, SIG_IGN);
  const rlimit limit{nbytes, nbytes};
  setrlimit(RLIMIT_FSIZE, &limit);
  format("kub").write(h, {}, filename);
  std::exit(0);
}

TEST(WriteKub, RefusesAFileThatLacksOneByte) {
  const quillon::Record record({.ncells = 300, .pins = {{1, 300}, {}}, .net_weights = {10, -1}});
  const TempFile whole;
  format("kub").write(record.h, {}, whole.name());
  const std::size_t nbytes = whole.contents().size();
  EXPECT_EQ(nbytes, std::string("300\n2\n10 2 0 299\n-1 0").size() + 300 * std::string("\n1").size());

  const TempFile file;
  EXPECT_EXIT(write_kub_within(nbytes, record.h, file.name()), testing::ExitedWithCode(0), "");
  EXPECT_EQ(file.contents(), whole.contents());
  EXPECT_EXIT(write_kub_within(nbytes - 1, record.h, file.name()), testing::ExitedWithCode(1),
              "the kub file is not whole, data was lost: is the disk full?");
}

TEST(WriteHif, WritesNamesInTheirPlacesAndWeightsOtherThan1) {
  const quillon::Record record(
      {.ncells = 2, .pins = {{2}, {}}, .net_weights = {1, 0}, .cell_weights = {-4, 1}});
  const TempFile file;
  const Labels labels{{"", "\"a\"", "5"}, {"", "\"b c\"", "0"}};
  format("hif").write(record.h, {.labels = &labels}, file.name());
  EXPECT_EQ(
      file.contents(),
      "{\"network-type\":\"undirected\",\n\"nodes\":[\n{\"node\":\"a\",\"weight\":-4},\n{\"node\":5}],\n"
      "\"edges\":[\n{\"edge\":\"b c\"},\n{\"edge\":0,\"weight\":0}],\n"
      "\"incidences\":[\n{\"edge\":\"b c\",\"node\":5}]}\n");
}

TEST(WriteHif, RefusesLongNamesAtManyIncidences) {
  const quillon::Record record({.ncells = 1, .pins = {std::vector<int>(1100, 1), {1}}});
  const TempFile file;
  const auto write = [&](std::size_t length) {
    std::string net(length + 2, 'x');
    net.front() = net.back() = '"';
    const Labels labels{{"", "1"}, {"", net, "2"}};
    return fatal_text([&] { format("hif").write(record.h, {.labels = &labels}, file.name()); });
  };
  EXPECT_EQ(write(1000000),
            "the names of the incidences would have 1100003302 bytes, more than 1 GiB and 1 KiB for each");
  EXPECT_EQ(file.contents(), "");
  EXPECT_EQ(write(10000), kNoFatalError);
}

std::string metis_text(const Shape& shape) {
  const quillon::Record record(shape);
  const TempFile file;
  format("metis").write(record.h, {}, file.name());
  return file.contents();
}

TEST(WriteMetis, WritesTheWeightsThatAreNotAll1) {
  Shape shape{.ncells = 4, .pins = {{3, 1}, {1, 2}, {2, 3}}};
  EXPECT_EQ(metis_text(shape), "4 3\n3 2\n1 3\n1 2\n\n");
  shape.net_weights = {5, 1, 2};
  EXPECT_EQ(metis_text(shape), "4 3 1\n3 5 2 1\n1 1 3 2\n1 5 2 2\n\n");
  shape.cell_weights = {7, 1, 1, 0};
  EXPECT_EQ(metis_text(shape), "4 3 11\n7 3 5 2 1\n1 1 1 3 2\n1 1 5 2 2\n0\n");
  shape.net_weights.clear();
  EXPECT_EQ(metis_text(shape), "4 3 10\n7 3 2\n1 1 3\n1 1 2\n0\n");
  EXPECT_EQ(metis_text({.ncells = 0, .pins = {}}), "0 0\n");
}

TEST(WriteMetis, MergesParallelNetsAndAddsTheirWeights) {
  EXPECT_EQ(metis_text({.ncells = 3, .pins = {{1, 2}, {3, 2}, {2, 1}, {1, 2}}}),
            "3 2 1\n2 3\n1 3 3 1\n2 1\n");
  EXPECT_EQ(metis_text({.ncells = 2, .pins = {{1, 2}, {2, 1}}, .net_weights = {2147483000, 647}}),
            "2 1 1\n2 2147483647\n1 2147483647\n");
  // Weights that add up to 1 need no column.
  EXPECT_EQ(metis_text({.ncells = 2, .pins = {{1, 2}, {2, 1}}, .net_weights = {1, 0}}), "2 1\n2\n1\n");
}

TEST(WriteMetis, RefusesNetsThatAreNoEdges) {
  const auto refusal = [](const Shape& shape) { return fatal_text([&shape] { (void)metis_text(shape); }); };
  EXPECT_EQ(refusal({.ncells = 4, .pins = {{1, 2}, {2, 1, 4}, {1}}}),
            "net 2 has 3 pins; an edge of a METIS graph joins two cells");
  EXPECT_EQ(refusal({.ncells = 4, .pins = {{4}}}),
            "net 1 has 1 pin; an edge of a METIS graph joins two cells");
  EXPECT_EQ(refusal({.ncells = 4, .pins = {{1, 2}, {3, 4}, {}}}),
            "net 3 has 0 pins; an edge of a METIS graph joins two cells");
  EXPECT_EQ(refusal({.ncells = 4, .pins = {{1, 2}, {4, 4}}}),
            "net 2 names cell 4 twice; an edge of a METIS graph joins two different cells");
  EXPECT_EQ(refusal({.ncells = 2, .pins = {{1, 2}, {2, 1}}, .net_weights = {2147483647, 1}}),
            "1 edge: the weights of parallel nets add up to more than 32 bits hold");
}

// A random graph without parallel edges as nets in the order in which the reader makes them.
Shape random_graph(unsigned seed) {
  std::mt19937 random(seed);
  const int ncells = 1 + static_cast<int>(random() % 30);
  Shape shape{.ncells = ncells, .pins = {}};
  const auto weight = [&random] { return static_cast<int>(random() % 9); };
  for (int u = 1; u <= ncells; ++u)
    for (int v = u + 1; v <= ncells; ++v)
      if (random() % 4 == 0) shape.pins.push_back({u, v});
  if (seed % 4 != 1)
    for (int i = 1; i <= ncells; ++i) shape.cell_weights.push_back(weight());
  if (seed % 4 != 2)
    for (std::size_t j = 0; j < shape.pins.size(); ++j) shape.net_weights.push_back(weight());
  return shape;
}

TEST(WriteMetis, WritesWhatIsReadBackTheSame) {
  testing::internal::CaptureStdout();  // of the checks
  for (unsigned seed = 1; seed <= kSeeds; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    const Shape shape = random_graph(seed);
    const std::string text = metis_text(shape);
    Record back;
    read_back(text, {"metis", "metis"}, back);
    expect_shape(back.h, shape);
    const TempFile again;
    format("metis").write(back.h, {}, again.name());
    EXPECT_EQ(again.contents(), text);
  }
  (void)testing::internal::GetCapturedStdout();
}

TEST(WriteEdgeList, WritesNamesInQuotesWhereTheyNeedThem) {
  const quillon::Record record({.ncells = 9, .pins = {{1, 2, 3, 4, 5, 6, 7, 8}, {}, {2, 2}, {1}}});
  const std::vector<std::string> cells{"",      "\"a\"",   "5",    "\"5\"",      "\"b c\"",
                                       "\"#\"", "\"0.5\"", "\"\"", "\"x\\\"y\"", "9"};
  const Labels labels{cells, {}};
  const TempFile file;
  format("edges").write(record.h, {.labels = &labels}, file.name());
  EXPECT_EQ(file.contents(), "a 5 \"5\" \"b c\" \"#\" \"0.5\" \"\" \"x\\\"y\"\n5 5\na\n");
  const NetLists back = read_file(file.name(), format("edges"), {});
  EXPECT_EQ(back.cell_names, std::vector<std::string>(cells.begin(), cells.end() - 1));
  EXPECT_EQ(back.nadj, (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 2, 2, 1}));
}

// The start of a file would be a byte order mark.
TEST(WriteEdgeList, WritesNamesThatBeginWithAMarkInQuotes) {
  const quillon::Record record({.ncells = 2, .pins = {{1, 2}}});
  const Labels labels{{"", "\"\xEF\xBB\xBF\"", "\"a\xEF\xBB\xBF\""}, {}};
  const TempFile file;
  format("edges").write(record.h, {.labels = &labels}, file.name());
  EXPECT_EQ(file.contents(), "\"\xEF\xBB\xBF\" a\xEF\xBB\xBF\n");
  EXPECT_EQ(read_file(file.name(), format("edges"), {}).cell_names, labels.cells);
}

TEST(WriteEdgeList, RefusesLongNamesAtManyPins) {
  const quillon::Record record({.ncells = 1, .pins = {std::vector<int>(1100, 1)}});
  const TempFile file;
  std::string name(1000000, 'x');
  name.front() = name.back() = '"';
  const Labels labels{{"", name}, {"", "1"}};
  EXPECT_EQ(fatal_text([&] { format("edges").write(record.h, {.labels = &labels}, file.name()); }),
            "the names of the incidences would have 1100000000 bytes, more than 1 GiB and 1 KiB for each");
  EXPECT_EQ(file.contents(), "");
}

TEST(WriteEdgeList, WritesNumbersWithoutNames) {
  const quillon::Record record({.ncells = 3, .pins = {{3, 1}, {2, 3}}});
  const TempFile file;
  format("edges").write(record.h, {}, file.name());
  EXPECT_EQ(file.contents(), "3 1\n2 3\n");
}

TEST(WriteMatrixMarket, OmitsRepeatedPinsAndKeepsEmptyNets) {
  const quillon::Record record({.ncells = 3, .pins = {{3, 1, 3}, {}, {3}}});
  const TempFile file;
  format("mtx").write(record.h, {.model = Model::kRowNet}, file.name());
  EXPECT_EQ(file.contents(), "%%MatrixMarket matrix coordinate pattern general\n3 3 3\n1 3\n1 1\n3 3\n");
  format("mtx").write(record.h, {.model = Model::kColumnNet}, file.name());
  EXPECT_EQ(file.contents(), "%%MatrixMarket matrix coordinate pattern general\n3 3 3\n3 1\n1 1\n3 3\n");
}

}  // namespace
}  // namespace quillon::formats
