// Readers of graphs and matrices against slow, obvious ones, on random texts with random mistakes, whatever
// the blocks and the number of threads.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "formats/mentions.h"
#include "oracle/texts.h"
#include "tests/formats/finding_of.h"
#include "tests/formats/on_blocks.h"

namespace quillon::formats {
namespace {

// Numbers that depend on the seed only, on every system.
class TextDice {
 public:
  explicit TextDice(unsigned seed) : engine_(seed) {}
  int below(int bound) { return static_cast<int>(engine_() % static_cast<unsigned>(bound)); }
  bool one_in(int count) { return below(count) == 0; }
  template <typename Items>
  auto one_of(const Items& items) {
    return items[static_cast<std::size_t>(below(static_cast<int>(std::size(items))))];
  }

 private:
  std::mt19937 engine_;
};

// Words as lines of text, with any white space that is allowed, and comments where `comments` allows them.
class Printer {
 public:
  Printer(TextDice& dice, bool comments)
      : dice_(dice), comments_(comments), is_odd_(dice.one_in(2)), cr_(dice.one_in(4)) {}

  void word(const std::string& word) {
    if (is_odd_ && dice_.one_in(20)) text_ += dice_.one_of(std::vector<std::string>{" ", "\t", "  \v"});
    text_ += word;
    text_ += is_odd_ && dice_.one_in(10) ? "\t  " : " ";
  }

  void word(int number) {
    const bool is_long = is_odd_ && dice_.one_in(200);
    word((is_long ? std::string(static_cast<std::size_t>(dice_.below(9)), '0') : "") +
         std::to_string(number));
  }

  void end_line() {
    if (text_.ends_with(' ') && dice_.one_in(2)) text_.pop_back();
    text_ += cr_ ? "\r\n" : "\n";
    if (comments_ && is_odd_ && dice_.one_in(15)) text_ += "% 1 2 3\n";
  }

  void blank_line() {
    if (is_odd_ && dice_.one_in(15)) text_ += dice_.one_of(std::vector<std::string>{"\n", " \t\n", "\r\n"});
  }

  void allow_comments(bool allowed) { comments_ = allowed; }

  std::string text() {
    if (dice_.one_in(4) && text_.ends_with('\n')) text_.pop_back();
    return text_;
  }

 private:
  TextDice& dice_;
  bool comments_;
  bool is_odd_;
  bool cr_;
  std::string text_;
};

const std::vector<std::string> kBadWords{"x",    "-1",  "0",  "1x",  "99999999999",
                                         "1000", "2.5", "+1", "1\n", "1 1"};

// Lines of words, in which a mistake can be made before they are printed.
using Lines = std::vector<std::vector<std::string>>;

// Changes, removes, repeats or moves a word.
void make_mistake(Lines& lines, TextDice& dice) {
  auto& line = lines[static_cast<std::size_t>(dice.below(static_cast<int>(lines.size())))];
  if (line.empty()) return;
  const auto at = line.begin() + dice.below(static_cast<int>(line.size()));
  switch (dice.below(5)) {
    case 0:
      *at = dice.one_of(kBadWords);
      break;
    case 1:
      line.erase(at);
      break;
    case 2:
      line.push_back(*at);
      break;
    case 3:
      *at = std::to_string(1 + dice.below(20));
      break;
    default:
      lines.erase(lines.begin() + (&line - lines.data()));
  }
}

std::string printed(const Lines& lines, Printer& printer) {
  for (const auto& line : lines) {
    for (const std::string& word : line) printer.word(word);
    printer.end_line();
  }
  return printer.text();
}

std::string random_graph(TextDice& dice) {
  const int nvertices = 1 + dice.below(dice.one_in(3) ? 100 : 20);
  const bool sizes = dice.one_in(5);
  const bool vertex_weights = dice.one_in(3);
  const bool edge_weights = dice.one_in(3);
  const int nweights = vertex_weights ? 1 + dice.below(3) : 0;
  std::map<std::pair<int, int>, int> edges;
  for (int k = dice.below(6 * nvertices); k > 0; --k) {
    const auto [u, v] = std::minmax({1 + dice.below(nvertices), 1 + dice.below(nvertices)});
    if (u != v) edges.emplace(std::pair(u, v), dice.below(3));
  }
  Lines lines(static_cast<std::size_t>(nvertices) + 1);
  lines[0] = {std::to_string(nvertices), std::to_string(edges.size())};
  if (sizes || vertex_weights || edge_weights)
    lines[0].push_back(std::string(sizes ? "1" : "") +
                       (vertex_weights || sizes ? (vertex_weights ? "1" : "0") : "") +
                       (edge_weights ? "1" : "0"));
  if (lines[0].size() == 3 && lines[0][2] == "100") lines[0][2] = "101";
  const bool has_weights = edge_weights || (lines[0].size() == 3 && lines[0][2] == "101");
  if (nweights > 1 || (nweights == 1 && dice.one_in(2))) lines[0].push_back(std::to_string(nweights));
  for (int u = 1; u <= nvertices; ++u) {
    auto& line = lines[static_cast<std::size_t>(u)];
    for (int k = (sizes ? 1 : 0) + nweights; k > 0; --k) line.push_back(std::to_string(dice.below(12)));
  }
  std::vector<std::pair<std::pair<int, int>, int>> order(edges.begin(), edges.end());
  if (dice.one_in(3))
    for (std::size_t k = 1; k < order.size(); ++k)
      std::swap(order[k], order[static_cast<std::size_t>(dice.below(static_cast<int>(k) + 1))]);
  for (const auto& [ends, w] : order) {
    for (const auto& [u, v] : {ends, std::pair(ends.second, ends.first)}) {
      lines[static_cast<std::size_t>(u)].push_back(std::to_string(v));
      if (has_weights) lines[static_cast<std::size_t>(u)].push_back(std::to_string(w));
    }
  }
  if (dice.one_in(2)) make_mistake(lines, dice);
  Printer printer(dice, true);
  return printed(lines, printer);
}

NetLists expected_lists(const oracle::GraphText& graph) {
  NetLists lists;
  lists.ncells = graph.nvertices;
  lists.nnets = static_cast<int>(graph.edges.size());
  lists.xnadj.assign({0, 0});
  if (graph.has_vertex_weights) {
    lists.cell_weights = graph.vertex_weights;
    lists.cell_weights.insert(lists.cell_weights.begin(), 0);
  }
  if (graph.has_edge_weights) lists.net_weights.push_back(0);
  for (const auto& [u, v, w] : graph.edges) {
    lists.nadj.push_back(u);
    lists.nadj.push_back(v);
    lists.xnadj.push_back(static_cast<int>(lists.nadj.size()));
    if (graph.has_edge_weights) lists.net_weights.push_back(w);
  }
  return lists;
}

std::string random_value(const std::string& field, TextDice& dice) {
  if (field == "integer")
    return dice.one_of(std::vector<std::string>{"0", "7", "42", "-3", "+5", "1234567890123", "99"});
  return dice.one_of(
      std::vector<std::string>{"0", "1.5", "-.5", "2.", "1e3", "-2.5E-07", "12345678.9", "+1"});
}

std::string random_matrix(TextDice& dice) {
  const bool is_square = dice.one_in(2);
  const int nrows = 1 + dice.below(30);
  const int ncolumns = is_square ? nrows : 1 + dice.below(30);
  const auto field = dice.one_of(std::vector<std::string>{"pattern", "integer", "real", "complex"});
  const auto symmetry = is_square ? dice.one_of(std::vector<std::string>{"general", "general", "symmetric",
                                                                         "skew-symmetric", "Hermitian"})
                                  : std::string("general");
  std::vector<std::pair<int, int>> entries;
  for (int k = dice.below(200); k > 0; --k)
    entries.emplace_back(1 + dice.below(nrows), 1 + dice.below(ncolumns));
  const int order = dice.below(4);  // by row and column, by row, or anyhow
  if (order == 0) std::sort(entries.begin(), entries.end());
  if (order == 1)
    std::stable_sort(entries.begin(), entries.end(), [](auto a, auto b) { return a.first < b.first; });
  if (order == 2)
    std::stable_sort(entries.begin(), entries.end(), [](auto a, auto b) { return a.second < b.second; });
  if (dice.one_in(2)) entries.erase(std::unique(entries.begin(), entries.end()), entries.end());
  if (symmetry == "skew-symmetric")
    std::erase_if(entries, [](auto entry) { return entry.first == entry.second; });
  Lines lines{{std::to_string(nrows), std::to_string(ncolumns), std::to_string(entries.size())}};
  for (const auto& [row, column] : entries) {
    lines.push_back({std::to_string(row), std::to_string(column)});
    const int nvalues = field == "pattern" ? 0 : field == "complex" ? 2 : 1;
    for (int k = 0; k < nvalues; ++k) lines.back().push_back(random_value(field, dice));
  }
  if (dice.one_in(3)) make_mistake(lines, dice);
  Printer printer(dice, false);
  for (const auto& line : lines) {
    for (const std::string& word : line) printer.word(word);
    printer.end_line();
    printer.blank_line();
  }
  return "%%MatrixMarket Matrix coordinate " + field + " " + symmetry + "\n% comment\n\n" + printer.text();
}

// The nets of a matrix by rows or columns, or of all entries as cells.
NetLists expected_lists(const oracle::MatrixText& matrix, const ReadOptions& options) {
  NetLists lists;
  std::vector<std::vector<int>> nets(static_cast<std::size_t>(matrix.nrows) + 1);
  if (options.model == Model::kColumnNet) nets.resize(static_cast<std::size_t>(matrix.ncolumns) + 1);
  lists.ncells = options.model == Model::kColumnNet ? matrix.nrows : matrix.ncolumns;
  if (options.add_diagonal) lists.diagonal.assign(static_cast<std::size_t>(matrix.nrows) + 1, 0);
  for (const auto& [row, column] : matrix.entries) {
    const auto [net, cell] =
        options.model == Model::kColumnNet ? std::pair(column, row) : std::pair(row, column);
    nets[static_cast<std::size_t>(net)].push_back(cell);
    if (options.add_diagonal && row == column) lists.diagonal[static_cast<std::size_t>(row)] = 1;
  }
  lists.nnets = static_cast<int>(nets.size()) - 1;
  lists.xnadj.assign({0});
  for (const auto& net : nets) {
    for (const int cell : net) lists.nadj.push_back(cell);
    lists.xnadj.push_back(static_cast<int>(lists.nadj.size()));
  }
  const std::string repetitions = matrix.nrepetitions == 1 ? " repetition" : " repetitions";
  if (matrix.nrepetitions > 0)
    lists.remarks.push_back(std::to_string(matrix.nrepetitions) + repetitions + " of entries dropped");
  return lists;
}

NetLists expected_fine_grain(const oracle::MatrixText& matrix) {
  NetLists lists;
  lists.ncells = static_cast<int>(matrix.entries.size());
  lists.nnets = matrix.nrows + matrix.ncolumns;
  std::vector<std::vector<int>> nets(static_cast<std::size_t>(lists.nnets) + 1);
  int cell = 0;
  for (const auto& [row, column] : matrix.entries) {
    nets[static_cast<std::size_t>(row)].push_back(++cell);
    nets[static_cast<std::size_t>(matrix.nrows + column)].push_back(cell);
  }
  lists.xnadj.assign({0});
  for (const auto& net : nets) {
    for (const int pin : net) lists.nadj.push_back(pin);
    lists.xnadj.push_back(static_cast<int>(lists.nadj.size()));
  }
  return lists;
}

std::string random_blocks_of(TextDice& dice, BlockSizes& sizes) {
  sizes = dice.one_in(3) ? BlockSizes{} : BlockSizes{static_cast<std::size_t>(1 + dice.below(2000)), 4096};
  return std::to_string(sizes.usual);
}

std::optional<NetLists> read_on_blocks(const char* name, const std::string& text,
                                       const ReadOptions& options) {
  Scanner in("in", reader_of(text));
  NetLists lists;
  try {
    format(name).read(in, lists, options);
  } catch (const BadFile&) {
    return std::nullopt;
  }
  return lists;
}

void expect_equal(const std::optional<NetLists>& lists, const std::optional<NetLists>& expected) {
  ASSERT_EQ(lists.has_value(), expected.has_value());
  if (!expected) return;
  EXPECT_EQ(lists->ncells, expected->ncells);
  EXPECT_EQ(lists->nnets, expected->nnets);
  EXPECT_TRUE(lists->xnadj == expected->xnadj);
  EXPECT_TRUE(lists->nadj == expected->nadj);
  EXPECT_EQ(lists->diagonal, expected->diagonal);
  EXPECT_EQ(lists->cell_weights, expected->cell_weights);
  EXPECT_EQ(lists->net_weights, expected->net_weights);
}

// Runs a check of a text with blocks of random sizes, on one thread and on more.
template <typename Check>
void in_random_blocks(const std::string& text, TextDice& dice, const Check& check) {
  for (const int nthreads : {1, 2, 7}) {
    BlockSizes sizes;
    SCOPED_TRACE(testing::Message() << nthreads << " threads, blocks of " << random_blocks_of(dice, sizes)
                                    << "\n"
                                    << text);
    const Settings settings(nthreads, sizes);
    check();
  }
}

TEST(ReadMetis, AgreesWithASlowReaderOnRandomGraphs) {
  int nsound = 0;
  for (unsigned seed = 1; seed <= 600 && !HasFailure(); ++seed) {
    TextDice dice(seed);
    const std::string text = random_graph(dice);
    std::optional<NetLists> expected;
    try {
      expected = expected_lists(oracle::parse_graph(text));
      ++nsound;
    } catch (const std::runtime_error&) {
      // The text is not sound.
    }
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    in_random_blocks(text, dice, [&] { expect_equal(read_on_blocks("metis", text, {}), expected); });
  }
  EXPECT_GT(nsound, 250);
  EXPECT_LT(nsound, 550);
}

TEST(ReadMatrixMarket, AgreesWithASlowReaderOnRandomMatrices) {
  int nsound = 0;
  for (unsigned seed = 1; seed <= 600 && !HasFailure(); ++seed) {
    TextDice dice(seed);
    const std::string text = random_matrix(dice);
    ReadOptions options;
    options.model = dice.one_of(std::vector<Model>{Model::kRowNet, Model::kColumnNet, Model::kFineGrain});
    options.add_diagonal = options.model != Model::kFineGrain && dice.one_in(4);
    std::optional<NetLists> expected;
    try {
      const oracle::MatrixText matrix = oracle::parse_matrix(text);
      if (options.add_diagonal && matrix.nrows != matrix.ncolumns) options.add_diagonal = false;
      expected =
          options.model == Model::kFineGrain ? expected_fine_grain(matrix) : expected_lists(matrix, options);
      ++nsound;
    } catch (const std::runtime_error&) {
      // The text is not sound.
    }
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    in_random_blocks(text, dice, [&] {
      const std::optional<NetLists> lists = read_on_blocks("mtx", text, options);
      expect_equal(lists, expected);
      if (lists && expected && options.model != Model::kFineGrain) {
        EXPECT_EQ(lists->remarks, expected->remarks);
      }
    });
  }
  EXPECT_GT(nsound, 250);
  EXPECT_LT(nsound, 560);
}

struct MentionArrays {
  std::vector<int> from;
  std::vector<int> to;
};

// Lines of a sound graph, mostly; blocks of their own size, so that the address sanitizer sees any access
// outside.
MentionArrays random_mentions(TextDice& dice, int nvertices) {
  MentionArrays arrays;
  const int mostly_sound = dice.one_in(2) ? 1000000 : 40;
  const bool ascend = dice.one_in(2);
  for (int u = 1; u <= nvertices; ++u) {
    std::vector<int> line(static_cast<std::size_t>(dice.below(dice.one_in(9) ? 60 : 6)));
    for (int& v : line) {
      v = 1 + dice.below(nvertices);
      if (v == u) v = u == 1 ? 2 : u - 1;
      if (dice.one_in(mostly_sound)) v = dice.one_of(std::vector<int>{0, u, nvertices + 1, 999999999});
    }
    if (ascend) {
      std::sort(line.begin(), line.end());
      if (!dice.one_in(200)) line.erase(std::unique(line.begin(), line.end()), line.end());
    }
    arrays.from.insert(arrays.from.end(), line.size(), u);
    arrays.to.insert(arrays.to.end(), line.begin(), line.end());
  }
  return arrays;
}

using SignedPair = std::pair<std::uint64_t, std::uint64_t>;

std::vector<SignedPair> sorted_pairs(const MentionPairs& list) {
  std::vector<SignedPair> pairs;
  for (std::size_t k = 0; k < list.count; ++k) pairs.emplace_back(list.pairs[k], list.backward[k]);
  std::sort(pairs.begin(), pairs.end());
  return pairs;
}

// The fast way may list them in another order.
void expect_same_pairs(const Mentions& mentions) {
  MentionPairs list{};
  MentionPairs plain{};
  for (std::size_t first = 0; first < mentions.count; first += plain.count) {
    list_pairs(mentions, first, list);
    list_pairs_plainly(mentions, first, plain);
    ASSERT_GT(plain.count, 0U);
    ASSERT_EQ(sorted_pairs(list), sorted_pairs(plain));
  }
}

TEST(LookAtMentions, AgreesWithALookAtEach) {
  std::set<std::pair<bool, bool>> seen;
  for (unsigned seed = 1; seed <= 2000; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    TextDice dice(seed);
    const int nvertices = 2 + dice.below(60);
    MentionArrays arrays = random_mentions(dice, nvertices);
    const std::size_t count = arrays.from.size();
    arrays.from.push_back(0);
    arrays.to.push_back(dice.below(3));
    const Mentions mentions{arrays.from.data(), arrays.to.data(), count};
    const MentionsLook look = look_at_mentions(mentions, nvertices);
    ASSERT_EQ(look, look_at_mentions_plainly(mentions, nvertices));
    seen.emplace(look.sound, look.ascending);

    expect_same_pairs(mentions);
    std::vector<int> pins(2 * look.nforward);
    std::vector<int> expected(2 * look.nforward);
    store_forward(mentions, pins.data(), look.nforward);
    store_forward_plainly(mentions, expected.data(), look.nforward);
    ASSERT_EQ(pins, expected);
    std::size_t at = 0;
    for (std::size_t k = 0; k < count; ++k) {
      if (arrays.to[k] <= arrays.from[k]) continue;
      ASSERT_EQ(std::pair(pins[at], pins[at + 1]), std::pair(arrays.from[k], arrays.to[k]));
      at += 2;
    }
    ASSERT_EQ(at, pins.size());
  }
  EXPECT_EQ(seen.size(), 4U);
}

}  // namespace
}  // namespace quillon::formats
