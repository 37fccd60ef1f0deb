#include "oracle/texts.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <limits>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>

namespace quillon::oracle {
namespace {

using Words = std::vector<std::string>;

void demand(bool condition, const char* what) {
  if (!condition) throw std::runtime_error(what);
}

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

Words words_of(const std::string& line) {
  Words words;
  std::istringstream in(line);
  for (std::string word; in >> word;) words.push_back(word);
  return words;
}

int number_of(const std::string& word, int min, int max) {
  demand(!word.empty() && word.find_first_not_of("0123456789") == std::string::npos, "not a number");
  const std::size_t first = std::min(word.find_first_not_of('0'), word.size() - 1);
  demand(word.size() - first <= 10, "a number out of range");
  const long long value = std::stoll(word);
  demand(value >= min && value <= max, "a number out of range");
  return static_cast<int>(value);
}

int weight_of(const std::string& word) { return number_of(word, 0, std::numeric_limits<int>::max()); }

bool is_comment(const std::string& line) { return line.starts_with('%'); }

struct GraphHeader {
  std::size_t nedges = 0;
  bool sizes = false;
  std::size_t weights = 0;  // of a vertex
};

GraphHeader parse_header(const Words& words, GraphText& graph) {
  demand(words.size() >= 2 && words.size() <= 4, "no header");
  const int kMost = std::numeric_limits<int>::max() - 2;
  GraphHeader header;
  graph.nvertices = number_of(words[0], 0, kMost);
  header.nedges = static_cast<std::size_t>(number_of(words[1], 0, kMost));
  std::string format = words.size() > 2 ? words[2] : "0";
  demand(format.size() <= 3 && format.find_first_not_of("01") == std::string::npos && format != "100",
         "no format");
  format.insert(0, 3 - format.size(), '0');
  header.sizes = format[0] == '1';
  graph.has_vertex_weights = format[1] == '1';
  graph.has_edge_weights = format[2] == '1';
  header.weights = graph.has_vertex_weights ? 1 : 0;
  demand(words.size() < 4 || graph.has_vertex_weights, "a number of weights that are not there");
  if (words.size() == 4) header.weights = static_cast<std::size_t>(number_of(words[3], 1, kMost));
  return header;
}

using Arcs = std::map<std::pair<int, int>, int>;

void parse_vertex(const Words& words, int u, const GraphHeader& header, GraphText& graph, Arcs& arcs) {
  const std::size_t head = header.weights + (header.sizes ? 1 : 0);
  demand(words.size() >= head, "too few weights");
  for (std::size_t k = 0; k < head; ++k) weight_of(words[k]);
  if (graph.has_vertex_weights) graph.vertex_weights.push_back(weight_of(words[header.sizes ? 1 : 0]));
  const std::size_t step = graph.has_edge_weights ? 2 : 1;
  demand((words.size() - head) % step == 0, "an edge without its weight");
  for (std::size_t k = head; k < words.size(); k += step) {
    const int v = number_of(words[k], 1, graph.nvertices);
    const int w = step == 2 ? weight_of(words[k + 1]) : 1;
    demand(v != u, "a loop");
    demand(arcs.emplace(std::pair(u, v), w).second, "an edge named twice");
    if (u < v) graph.edges.push_back({u, v, w});
  }
}

void expect_symmetry(const Arcs& arcs) {
  for (const auto& [ends, w] : arcs) {
    const auto other = arcs.find({ends.second, ends.first});
    demand(other != arcs.end() && other->second == w, "an edge with one end");
  }
}

std::string lower(std::string word) {
  for (char& c : word) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return word;
}

struct MatrixKind {
  std::string field;
  std::string symmetry;
};

MatrixKind parse_banner(const std::string& line) {
  const Words words = words_of(line);
  demand(words.size() == 5 && lower(words[0]) == "%%matrixmarket" && lower(words[1]) == "matrix" &&
             lower(words[2]) == "coordinate",
         "no banner");
  MatrixKind kind{lower(words[3]), lower(words[4])};
  const std::set<std::string> fields{"pattern", "integer", "real", "complex"};
  const std::set<std::string> symmetries{"general", "symmetric", "skew-symmetric", "hermitian"};
  demand(fields.count(kind.field) == 1 && symmetries.count(kind.symmetry) == 1, "no banner");
  return kind;
}

// A value of the kinds that tests write: digits, with a sign, a point and an exponent.
void expect_value(std::string word, bool whole) {
  if (word.starts_with('+') || word.starts_with('-')) word.erase(0, 1);
  std::size_t used = 0;
  const bool begins_well = !word.empty() && word.find_first_not_of("0123456789.eE+-") == std::string::npos &&
                           word[0] != '+' && word[0] != '-';
  demand(begins_well, "not a value");
  try {
    std::stold(word, &used);
  } catch (const std::logic_error&) {
    used = 0;
  }
  demand(used == word.size(), "not a value");
  demand(!whole || word.find_first_not_of("0123456789") == std::string::npos, "not a whole value");
}

std::pair<int, int> parse_entry(const Words& words, const MatrixText& matrix, const MatrixKind& kind) {
  const std::size_t nvalues = kind.field == "pattern" ? 0 : kind.field == "complex" ? 2 : 1;
  demand(words.size() == 2 + nvalues, "not an entry");
  const std::pair entry{number_of(words[0], 1, matrix.nrows), number_of(words[1], 1, matrix.ncolumns)};
  demand(kind.symmetry != "skew-symmetric" || entry.first != entry.second, "an entry on the diagonal");
  for (std::size_t k = 2; k < words.size(); ++k) expect_value(words[k], kind.field == "integer");
  return entry;
}

}  // namespace

GraphText parse_graph(const std::string& text) {
  std::vector<std::string> lines = lines_of(text);
  lines.erase(std::remove_if(lines.begin(), lines.end(), is_comment), lines.end());
  demand(!lines.empty(), "no header");
  GraphText graph;
  const GraphHeader header = parse_header(words_of(lines[0]), graph);
  demand(lines.size() > static_cast<std::size_t>(graph.nvertices), "too few lines");
  Arcs arcs;
  for (std::size_t k = 1; k < lines.size(); ++k) {
    const Words words = words_of(lines[k]);
    if (k <= static_cast<std::size_t>(graph.nvertices))
      parse_vertex(words, static_cast<int>(k), header, graph, arcs);
    else
      demand(words.empty(), "text after the last line");
  }
  expect_symmetry(arcs);
  demand(graph.edges.size() == header.nedges, "the header does not count the edges");
  return graph;
}

MatrixText parse_matrix(const std::string& text) {
  const std::vector<std::string> lines = lines_of(text);
  demand(!lines.empty(), "no banner");
  const MatrixKind kind = parse_banner(lines[0]);
  const bool is_mirrored = kind.symmetry != "general";
  std::size_t at = 1;
  while (at < lines.size() && (is_comment(lines[at]) || words_of(lines[at]).empty())) ++at;
  demand(at < lines.size(), "no size");
  const Words size = words_of(lines[at++]);
  demand(size.size() == 3, "no size");
  const int kMost = std::numeric_limits<int>::max() - 2;
  MatrixText matrix;
  matrix.nrows = number_of(size[0], 0, kMost);
  matrix.ncolumns = number_of(size[1], 0, kMost);
  demand(!is_mirrored || matrix.nrows == matrix.ncolumns, "not square");
  const int nentries = number_of(size[2], 0, kMost);

  int nread = 0;
  std::set<std::pair<int, int>> seen;
  for (; at < lines.size(); ++at) {
    const Words words = words_of(lines[at]);
    if (words.empty()) continue;
    demand(++nread <= nentries, "text after the last entry");
    const auto [row, column] = parse_entry(words, matrix, kind);
    if (!seen.emplace(row, column).second) {
      ++matrix.nrepetitions;
      continue;
    }
    matrix.entries.emplace_back(row, column);
    if (is_mirrored && seen.emplace(column, row).second) matrix.entries.emplace_back(column, row);
  }
  demand(nread == nentries, "too few entries");
  return matrix;
}

}  // namespace quillon::oracle
