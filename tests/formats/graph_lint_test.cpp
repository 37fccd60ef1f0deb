// What lint finds in graphs with errors, against slow, obvious twins.

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "formats/formats.h"
#include "formats/lint.h"
#include "tests/formats/dice.h"
#include "tests/formats/finding_of.h"
#include "tests/formats/lint_text.h"
#include "tests/formats/on_blocks.h"

namespace quillon::formats {
namespace {

using testing::ElementsAre;

// Vertex u names vertex v.
struct Mention {
  int u;
  int v;
  int w;
  std::size_t line = 0;
  std::size_t column = 0;
};

struct RandomGraph {
  std::string text;
  std::vector<Mention> mentions;  // in the order of the text
};

// Adds a random edge, named by either end, or with a defect.
void add_edge(Dice& dice, int nvertices, bool is_bad, std::vector<Mention>& mentions) {
  const int u = dice.from_to(1, nvertices);
  const int v = dice.from_to(1, nvertices);
  if (u == v) return;
  const int w = dice.from_to(1, 3);
  const auto add = [&mentions](int from, int to, int weight, int times) {
    for (int k = 0; k < times; ++k) mentions.push_back({from, to, weight});
  };
  add(u, v, w, is_bad ? dice.from_to(0, 3) : 1);
  add(v, u, is_bad ? dice.from_to(1, 3) : w, is_bad ? dice.from_to(0, 3) : 1);
}

// The lines of a graph, in some of which the reader has to look at words.
RandomGraph write_graph(Dice& dice, int nvertices, bool has_weights, std::vector<Mention> mentions) {
  RandomGraph graph;
  const bool is_sorted = dice.from_to(0, 1) == 0;
  std::stable_sort(mentions.begin(), mentions.end(), [is_sorted](const Mention& a, const Mention& b) {
    return is_sorted ? std::pair(a.u, a.v) < std::pair(b.u, b.v) : a.u < b.u;
  });
  graph.text =
      std::to_string(nvertices) + " " + std::to_string(mentions.size() / 2) + (has_weights ? " 11\n" : "\n");
  std::size_t line = 2;
  auto next = mentions.begin();
  for (int u = 1; u <= nvertices; ++u) {
    if (dice.from_to(0, 9) == 0) graph.text += "% between lines\n", ++line;
    const std::size_t begin = graph.text.size();
    graph.text += has_weights ? "7" : dice.from_to(0, 9) == 0 ? " " : "";
    for (; next != mentions.end() && next->u == u; ++next) {
      if (graph.text.size() > begin) graph.text += ' ';
      next->line = line;
      next->column = graph.text.size() - begin + 1;
      graph.text += (dice.from_to(0, 19) == 0 ? "0000000000" : "") + std::to_string(next->v);
      if (has_weights) graph.text += ' ' + std::to_string(next->w);
      if (!has_weights) next->w = 1;
    }
    graph.text += '\n';
    ++line;
  }
  graph.mentions = std::move(mentions);
  return graph;
}

RandomGraph random_graph(Dice& dice) {
  const int nvertices = dice.from_to(2, dice.from_to(0, 3) == 0 ? 600 : 12);
  const int rarity = dice.from_to(0, 2) == 0 ? 40 : dice.from_to(1, 4);
  std::vector<Mention> mentions;
  for (int k = dice.from_to(1, 3 * nvertices); k > 0; --k)
    add_edge(dice, nvertices, dice.from_to(1, rarity) == 1, mentions);
  return write_graph(dice, nvertices, dice.from_to(0, 1) == 0, std::move(mentions));
}

// An error in the edge of one or more mentions, which come in the order of the text.
struct EdgeError {
  const Mention* mention = nullptr;  // null: no error
  std::string rule;
  std::string message;
};

EdgeError error_in(const std::vector<const Mention*>& same) {
  const auto found = [](const Mention& mention) {
    return "found vertex " + std::to_string(mention.v) + " on the line of vertex " +
           std::to_string(mention.u);
  };
  const Mention& first = *same[0];
  if (same.size() == 1)
    return {&first, "asymmetric-edge",
            found(first) + ", expected " + std::to_string(first.u) + " on the line of " +
                std::to_string(first.v) + " too"};
  const Mention& second = *same[1];
  if (second.u == first.u) return {&second, "repeated-edge", found(second) + ", expected it there only once"};
  if (second.w != first.w)
    return {&second, "asymmetric-edge",
            found(second) + ", with weight " + std::to_string(second.w) + ", expected " +
                std::to_string(first.w) + " as on the line of " + std::to_string(first.u)};
  if (same.size() == 2) return {};
  return {same[2], "repeated-edge", found(*same[2]) + ", expected it there only once"};
}

// All errors, by the ends of their edges.
std::vector<EdgeError> errors_by_edge(const std::vector<Mention>& mentions) {
  std::map<std::pair<int, int>, std::vector<const Mention*>> edges;
  for (const Mention& mention : mentions) edges[std::minmax(mention.u, mention.v)].push_back(&mention);
  std::vector<EdgeError> errors;
  for (const auto& [ends, same] : edges)
    if (const EdgeError error = error_in(same); error.mention != nullptr) errors.push_back(error);
  return errors;
}

Finding finding_on(const EdgeError& error, const std::string& file) {
  return {error.rule, Severity::kError, file, error.mention->line, error.mention->column, error.message, ""};
}

// Those of edges, of which the first of each rule are kept.
std::vector<Finding> first_findings(std::vector<EdgeError> errors, std::size_t most_kept,
                                    const std::string& file) {
  std::sort(errors.begin(), errors.end(),
            [](const EdgeError& a, const EdgeError& b) { return a.mention < b.mention; });
  std::map<std::string, std::size_t> nkept;
  std::vector<Finding> findings;
  for (const EdgeError& error : errors)
    if (nkept[error.rule]++ < most_kept) findings.push_back(finding_on(error, file));
  return findings;
}

std::vector<Finding> findings_on_edges(const LintResult& result) {
  std::vector<Finding> findings;
  for (const Finding& finding : result.findings)
    if (finding.rule == "asymmetric-edge" || finding.rule == "repeated-edge") findings.push_back(finding);
  return findings;
}

// Edges that a smaller end names again: they make parallel nets.
std::int64_t count_parallel(const std::vector<Mention>& mentions) {
  std::map<std::pair<int, int>, std::int64_t> times;
  for (const Mention& mention : mentions)
    if (mention.u < mention.v) ++times[{mention.u, mention.v}];
  std::int64_t count = 0;
  for (const auto& [ends, ntimes] : times) count += ntimes - 1;
  return count;
}

TEST(LintGraphs, FindsTheEdgesThatATwinFinds) {
  constexpr std::size_t kMost[] = {1000, 50, 3, 1, 0};
  for (unsigned seed = 1; seed <= 1500; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Dice dice(seed);
    const RandomGraph graph = random_graph(dice);
    const std::vector<EdgeError> errors = errors_by_edge(graph.mentions);
    const Settings settings(dice.from_to(1, 2), {});
    LintOptions options;
    options.most_kept = kMost[seed % 5];

    const LintResult result = lint_text("metis", graph.text, options);

    EXPECT_THAT(findings_on_edges(result),
                testing::ElementsAreArray(first_findings(errors, options.most_kept, result.file)));
    EXPECT_EQ(result.count("asymmetric-edge") + result.count("repeated-edge"), std::ssize(errors));
    EXPECT_EQ(result.count("repeated-edge"),
              std::count_if(errors.begin(), errors.end(),
                            [](const EdgeError& error) { return error.rule == "repeated-edge"; }));
    EXPECT_EQ(result.count("parallel-net"), count_parallel(graph.mentions));
    if (HasFailure()) return;
  }
}

// Lines of random words, most of them with errors.
std::string random_lines(Dice& dice, int nvertices) {
  const std::vector<std::string> words{"1", "2", "3", "4", "7", "0", "-1", "x", "0000000002", "99999999999"};
  std::string text;
  for (int u = 1; u <= nvertices; ++u) {
    if (dice.from_to(0, 19) == 0) text += "% between lines\n";
    const int nplain = dice.from_to(0, 2) == 0 ? static_cast<int>(words.size()) : dice.from_to(3, 5);
    for (int k = dice.from_to(0, 6); k > 0; --k)
      text += words[static_cast<std::size_t>(dice.from_to(0, nplain - 1))] + " ";
    text += '\n';
  }
  return text;
}

std::map<std::string, std::int64_t> counts_of(const LintResult& result) {
  std::map<std::string, std::int64_t> counts;
  for (const RuleCount& broken : result.counts) counts[std::string(broken.rule->name)] = broken.count;
  return counts;
}

// Those that are kept are read by words, those that are only counted by arrays.
TEST(LintGraphs, CountsErrorsThatItDoesNotKeep) {
  const FewKept few_kept;
  for (unsigned seed = 1; seed <= 400; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Dice dice(seed);
    const int nvertices = dice.from_to(1, 90);
    const char* const formats[] = {"", " 1", " 10", " 11", " 110", " 11 2"};
    const std::string text =
        std::to_string(nvertices) + " 9" + formats[seed % 6] + "\n" + random_lines(dice, nvertices);
    LintOptions options;
    options.most_kept = 1000;
    const LintResult all = lint_text("metis", text, options);
    options.most_kept = static_cast<std::size_t>(dice.from_to(0, 3));
    const LintResult few = lint_text("metis", text, options);

    EXPECT_EQ(counts_of(few), counts_of(all));
    EXPECT_EQ(few.cell_weights, all.cell_weights);
    if (HasFailure()) return;
  }
}

TEST(ReadMetis, RefusesTheFirstBadEdgeByItsEnds) {
  for (unsigned seed = 1; seed <= 500; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Dice dice(seed);
    const RandomGraph graph = random_graph(dice);
    const std::vector<EdgeError> errors = errors_by_edge(graph.mentions);
    const Finding found = finding_of([&] { read_text(*format_named("metis"), graph.text); });
    if (errors.empty())
      EXPECT_NE(found.rule, "asymmetric-edge");
    else
      EXPECT_EQ(found, finding_on(errors.front(), "in"));
    if (HasFailure()) return;
  }
}

TEST(LintGraphs, NamesTheFirstParallelNetAndIsolatedVertex) {
  const LintResult result = lint_text("metis", "6 4\n\n4 5 5 4\n\n2\n2\n\n");
  std::vector<std::string> messages;
  for (const Finding& finding : result.findings)
    if (finding.severity == Severity::kNote) messages.push_back(finding.message);
  EXPECT_THAT(messages, ElementsAre("2 nets: " + std::string(rule_named("parallel-net")->summary) +
                                        "; the first is net 3",
                                    "3 cells are on no net; the first is cell 1"));
}

// A vertex that all others name; the first edges in the order of the text are found last.
TEST(LintGraphs, KeepsTheFirstEdgesInTheOrderOfTheText) {
  std::string text = "40 39\n";
  for (int v = 40; v >= 2; --v) text += " " + std::to_string(v);
  LintOptions options;
  options.most_kept = 2;
  const LintResult result = lint_text("metis", text + std::string(40, '\n'), options);
  ASSERT_EQ(result.findings.size(), 2U);
  EXPECT_EQ(result.findings[0].message,
            "found vertex 40 on the line of vertex 1, expected 1 on the line of 40 too");
  EXPECT_EQ(result.findings[1].message,
            "found vertex 39 on the line of vertex 1, expected 1 on the line of 39 too");
  EXPECT_EQ(result.count("asymmetric-edge"), 39);
}

}  // namespace
}  // namespace quillon::formats
