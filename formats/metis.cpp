#include "formats/metis.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <numeric>
#include <utility>
#include <vector>

#include "formats/graph.h"
#include "formats/lines.h"
#include "formats/losses.h"
#include "formats/mirror_sum.h"
#include "formats/notes.h"
#include "formats/ranges.h"
#include "hypergraph/detail/lists.h"
#include "util/util.h"

namespace quillon::formats {
namespace {

struct Header {
  int nvertices = 0;
  int nedges = 0;
  bool vertex_sizes = false;
  bool vertex_weights = false;
  bool edge_weights = false;
  int weights_per_vertex = 1;
  Place nedges_place;  // of the number of edges
};

void read_format(const Scanner& in, const Token& token, Header& header) {
  const std::string digits =
      std::string(3 - std::min<std::size_t>(token.text.size(), 3), '0') + std::string(token.text);
  const bool known = digits.size() == 3 && digits.find_first_not_of("01") == std::string::npos;
  if (!known) unexpected(in, token, "bad-format-code", "a format of up to three digits 0 and 1");
  if (digits == "100")
    unexpected(in, token, "bad-format-code", "another format",
               "100 is used for graphs with self-loops and multiple edges, which are not read here");
  header.vertex_sizes = digits[0] == '1';
  header.vertex_weights = digits[1] == '1';
  header.edge_weights = digits[2] == '1';
}

Header read_header(Scanner& in) {
  skip_comments(in);
  Header header;
  header.nvertices = as_number(in, next_on_line(in), count_range("the number of vertices"));
  const Token nedges = next_on_line(in);
  header.nedges = as_number(in, nedges, count_range("the number of edges"));
  header.nedges_place = place_of(in, nedges.offset);

  const Token fmt = next_on_line(in);
  read_format(in, fmt, header);
  const Token weights_per_vertex = next_on_line(in);
  if (!weights_per_vertex.text.empty()) {
    if (!header.vertex_weights)
      unexpected(in, weights_per_vertex, "trailing-text", "the end of the line after the header",
                 "a number of weights goes with formats 10, 11, 110 and 111");
    header.weights_per_vertex =
        as_number(in, weights_per_vertex, {1, kMostItems, "the number of weights, from 1", "bad-count"});
  }
  expect_line_end(in, "the header");
  return header;
}

// The first of the weights of a vertex, 1 if it has none.
int read_vertex_weights(Scanner& in, const Header& header, const std::string& vertex) {
  if (header.vertex_sizes) as_number(in, next_on_line(in), weight_range("the size of " + vertex));
  if (!header.vertex_weights) return 1;
  const Range weights = weight_range("the weight of " + vertex);
  const int first = as_number(in, next_on_line(in), weights);
  for (int k = 2; k <= header.weights_per_vertex; ++k) as_number(in, next_on_line(in), weights);
  return first;
}

// Calls visit(v, w, offset) for each vertex v that vertex u names.
template <typename Visit>
void read_mentions(Scanner& in, const Header& header, int u, Visit visit) {
  const Range vertices{1, header.nvertices, "a vertex from 1 to " + std::to_string(header.nvertices),
                       "cell-out-of-range"};
  for (Token token = next_on_line(in); !token.text.empty(); token = next_on_line(in)) {
    const std::optional<int> v = number_in(token, vertices);
    if (!v)
      unexpected(in, token, vertices.rule, vertices.meaning,
                 token.text == "0" ? "METIS counts vertices from 1; does this file count from 0?" : "");
    if (*v == u) unexpected(in, token, "self-loop", "another vertex than " + std::to_string(u) + " itself");
    const int w =
        header.edge_weights
            ? as_number(in, next_on_line(in), weight_range("the weight of the edge to " + std::to_string(*v)))
            : 1;
    visit(*v, w, token.offset);
  }
}

std::string vertex_name(int u, const Header& header) { return of_all("vertex", u, header.nvertices); }

// Makes nets of the edges as they are read, in the order of the lines of their smaller ends, and finds out
// whether every edge is named once by either end, with one weight.
class EdgeReader {
 public:
  EdgeReader(NetLists& lists, const Header& header) : lists_(lists), has_weights_(header.edge_weights) {}

  void begin_line(int u) {
    u_ = u;
    line_.clear();
    is_ascending_ = true;
  }

  void add(int v, int w) {
    is_ascending_ = is_ascending_ && (line_.empty() || v > line_.back());
    line_.push_back(v);
    sum_.add(u_, v, w);
    ++nmentions_;
    if (u_ > v) return;
    int* const pins = lists_.nadj.extend(2);
    pins[0] = u_;
    pins[1] = v;
    end_net(lists_);
    if (has_weights_) lists_.net_weights.push_back(w);
  }

  // Adds the line of vertex u, whose edges have no weights.
  void add_line(int u, const int* first, const int* last) {
    begin_line(u);
    int previous = 0;
    int* pin = lists_.nadj.extend(2 * static_cast<std::size_t>(last - first));
    std::size_t nnets = 0;
    for (const int* number = first; number != last; ++number) {
      const int v = *number;
      is_ascending_ = is_ascending_ && v > previous;
      previous = v;
      sum_.add(u, v, 1);
      if (u > v) continue;
      pin[0] = u;
      pin[1] = v;
      pin += 2;
      ++nnets;
    }
    nmentions_ += static_cast<std::size_t>(last - first);
    lists_.nadj.resize(static_cast<std::size_t>(pin - lists_.nadj.data()));
    check_pins(lists_.nadj.size());
    int end = lists_.xnadj.back();
    int* const ends = lists_.xnadj.extend(nnets);
    for (std::size_t k = 0; k < nnets; ++k) ends[k] = end += 2;
    if (is_ascending_) return;
    line_.assign(first, last);
    end_line();
  }

  void end_line() {
    if (is_ascending_) return;
    named_by_.resize(static_cast<std::size_t>(lists_.ncells) + 1, 0);
    for (const int v : line_)
      if (std::exchange(named_by_[static_cast<std::size_t>(v)], u_) == u_) has_repetitions_ = true;
  }

  [[nodiscard]] bool are_sound() const { return sum_.is_zero() && !has_repetitions_; }

  [[nodiscard]] std::size_t nmentions() const { return nmentions_; }

 private:
  NetLists& lists_;
  bool has_weights_;
  int u_ = 0;
  std::vector<int> line_;  // the vertices that u_ names
  bool is_ascending_ = true;
  std::vector<int> named_by_;  // by vertex: the last one that names it, on a line that is not ascending
  bool has_repetitions_ = false;
  MirrorSum sum_;
  std::size_t nmentions_ = 0;
};

// Vertex u names vertex v.
struct Mention {
  int u;
  int v;
  int w;
};

auto edge_of(const Mention& mention) { return std::minmax(mention.u, mention.v); }

void skip_header(Scanner& in) {
  skip_comments(in);
  skip_line(in);
}

// Reads all lines by words once more.
std::vector<Mention> all_mentions(Scanner& in, const Header& header) {
  std::vector<Mention> mentions;
  skip_header(in);
  for (int u = 1; u <= header.nvertices; ++u) {
    skip_comments(in);
    read_vertex_weights(in, header, vertex_name(u, header));
    read_mentions(in, header, u, [&](int v, int w, std::size_t /*offset*/) {
      mentions.push_back({u, v, w});
    });
    skip_line(in);
  }
  return mentions;
}

// The place of a mention, counted from 0.
Place find_mention(Scanner& in, const Header& header, std::size_t index) {
  Place place;
  skip_header(in);
  std::size_t nread = 0;
  for (int u = 1; u <= header.nvertices && nread <= index; ++u) {
    skip_comments(in);
    read_vertex_weights(in, header, vertex_name(u, header));
    read_mentions(in, header, u, [&](int /*v*/, int /*w*/, std::size_t offset) {
      if (nread++ == index) place = place_of(in, offset);
    });
    skip_line(in);
  }
  return place;
}

// Sorts indices of mentions stably by one of their vertices.
template <typename VertexOf>
std::vector<std::size_t> sorted_by(const std::vector<std::size_t>& order, int nvertices, VertexOf vertex_of) {
  std::vector<std::size_t> ends(static_cast<std::size_t>(nvertices) + 2, 0);
  for (const std::size_t k : order) ++ends[static_cast<std::size_t>(vertex_of(k)) + 1];
  for (std::size_t v = 1; v < ends.size(); ++v) ends[v] += ends[v - 1];
  std::vector<std::size_t> sorted(order.size());
  for (const std::size_t k : order) sorted[ends[static_cast<std::size_t>(vertex_of(k))]++] = k;
  return sorted;
}

// The first thing that is wrong with an edge.
struct BadEdge {
  std::size_t mention;  // its index
  const char* rule;
  std::string what;
};

// Mentions of one edge stand together in the order of the file: those by its smaller end come first.
BadEdge find_bad_edge(const std::vector<Mention>& mentions, const std::vector<std::size_t>& order) {
  const char* const kOnce = "expected it there only once";
  const auto is_same = [&](std::size_t a, std::size_t b) {
    return b < order.size() && edge_of(mentions[order[a]]) == edge_of(mentions[order[b]]);
  };
  for (std::size_t k = 0; k < order.size(); k += 2) {
    const Mention& there = mentions[order[k]];
    if (!is_same(k, k + 1))
      return {order[k], "asymmetric-edge",
              "expected " + std::to_string(there.u) + " on the line of " + std::to_string(there.v) + " too"};
    const Mention& back = mentions[order[k + 1]];
    if (back.u == there.u) return {order[k + 1], "repeated-edge", kOnce};
    if (there.w != back.w)
      return {order[k + 1], "asymmetric-edge",
              "with weight " + std::to_string(back.w) + ", expected " + std::to_string(there.w) +
                  " as on the line of " + std::to_string(there.u)};
    if (is_same(k, k + 2)) return {order[k + 2], "repeated-edge", kOnce};
  }
  return {order.size(), "", ""};
}

// Reads the file again to find which edge is not named once by either end, and where.
void explain_edges(Scanner& in, const Header& header) {
  const std::unique_ptr<Scanner> again = read_again(in);
  const std::vector<Mention> mentions = all_mentions(*again, header);
  std::vector<std::size_t> order(mentions.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  order = sorted_by(order, header.nvertices, [&](std::size_t k) { return edge_of(mentions[k]).second; });
  order = sorted_by(order, header.nvertices, [&](std::size_t k) { return edge_of(mentions[k]).first; });
  const BadEdge bad = find_bad_edge(mentions, order);
  if (bad.mention == mentions.size()) return;  // the file has changed

  const Mention& mention = mentions[bad.mention];
  const Place place = find_mention(*read_again(*again), header, bad.mention);
  bad_text(in, place, bad.rule,
           "found vertex " + std::to_string(mention.v) + " on the line of vertex " +
               std::to_string(mention.u) + ", " + bad.what);
}

// How many numbers of a line are not about edges.
std::int64_t head_of(const Header& header) {
  return (header.vertex_sizes ? 1 : 0) + std::int64_t{header.vertex_weights ? header.weights_per_vertex : 0};
}

bool is_sound(const int* numbers, std::int64_t count, int u, const Header& header) {
  const std::int64_t head = head_of(header);
  const int step = header.edge_weights ? 2 : 1;
  if (count < head || (count - head) % step != 0) return false;
  bool sound = true;
  for (std::int64_t k = head; k < count; k += step)
    sound = sound && numbers[k] >= 1 && numbers[k] <= header.nvertices && numbers[k] != u;
  return sound;
}

// Reads the lines of vertex u and of some that follow. Returns how many; 0 without effect if lines have to be
// read by words.
int read_plain_vertices(Scanner& in, NetLists& lists, const Header& header, EdgeReader& edges, int u) {
  const NumberLines lines = number_lines(in);
  const int count =
      static_cast<int>(std::min<std::int64_t>(lines.count, std::int64_t{header.nvertices} + 1 - u));
  for (int k = 0; k < count; ++k)
    if (!is_sound(lines.line(k), lines.size(k), u + k, header)) return 0;
  const std::int64_t head = head_of(header);
  const int step = header.edge_weights ? 2 : 1;
  for (int k = 0; k < count; ++k) {
    const int* const line = lines.line(k);
    if (header.vertex_weights) lists.cell_weights.push_back(line[header.vertex_sizes ? 1 : 0]);
    if (step == 1) {
      edges.add_line(u + k, line + head, lines.line(k + 1));
      continue;
    }
    edges.begin_line(u + k);
    for (std::int64_t m = head; m < lines.size(k); m += 2) edges.add(line[m], line[m + 1]);
    edges.end_line();
  }
  if (count > 0) skip_lines(in, count);
  return count;
}

void read_vertex(Scanner& in, NetLists& lists, const Header& header, EdgeReader& edges, int u) {
  const int weight = read_vertex_weights(in, header, vertex_name(u, header));
  if (header.vertex_weights) lists.cell_weights.push_back(weight);
  edges.begin_line(u);
  read_mentions(in, header, u, [&](int v, int w, std::size_t /*offset*/) { edges.add(v, w); });
  edges.end_line();
  skip_line(in);
}

// Returns whether no line has an error.
bool read_vertices(Scanner& in, NetLists& lists, const Header& header, EdgeReader& edges) {
  bool sound = true;
  for (int u = 1; u <= header.nvertices;) {
    if (const int nread = read_plain_vertices(in, lists, header, edges, u); nread > 0) {
      u += nread;
      continue;
    }
    if (!skip_to_line(in))
      unexpected(in, {{}, in.at}, "missing-line", "the line of " + vertex_name(u, header));
    if (!read_line(in, [&] { read_vertex(in, lists, header, edges, u); })) sound = false;
    ++u;
    if (header.vertex_weights) lists.cell_weights.resize(static_cast<std::size_t>(u), 1);
  }
  return sound;
}

// "3 vertices" or "1 vertex"
std::string counted_vertices(const Header& header) {
  return std::to_string(header.nvertices) + (header.nvertices == 1 ? " vertex" : " vertices");
}

void note_losses(NetLists& lists, const Header& header) {
  if (header.vertex_sizes) lists.losses.push_back("the sizes of " + counted_vertices(header));
  if (header.weights_per_vertex > 1)
    lists.losses.push_back("all but the first of " + std::to_string(header.weights_per_vertex) +
                           " weights of each vertex");
}

}  // namespace

void read_metis(Scanner& in, NetLists& lists, const ReadOptions& /*options*/) {
  prepare_second_read(in);
  const Header header = read_header(in);
  lists.ncells = header.nvertices;
  begin_nets(lists, header.nedges);
  lists.nadj.reserve(std::min(2 * static_cast<std::size_t>(header.nedges), kMostPins) + 2);
  if (header.vertex_weights) lists.cell_weights.push_back(0);
  if (header.edge_weights) lists.net_weights.push_back(0);
  begin_lines(in, {});
  EdgeReader edges(lists, header);
  const bool sound = read_vertices(in, lists, header, edges);
  expect_comments(in, "the lines of " + counted_vertices(header));
  if (!sound) return;
  if (!edges.are_sound()) explain_edges(in, header);
  const std::size_t nedges = edges.nmentions() / 2;
  if (nedges != static_cast<std::size_t>(header.nedges)) {
    bad_text(in, header.nedges_place, "edge-count",
             "found " + counted(static_cast<std::int64_t>(nedges), "edge") +
                 " on the lines of the vertices, expected the " + std::to_string(header.nedges) +
                 " of the header",
             static_cast<std::size_t>(header.nedges) == edges.nmentions()
                 ? "an edge stands on two lines and counts once"
                 : "");
  }
  note_losses(lists, header);
}

namespace {

bool is_edge(const Net& net) { return net_size(net) == 2 && *net.pins != *net.pinsend; }

// The first net that is no edge; 0 if all are.
int first_other_net(const Hypergraph& h) {
  for (int j = 1; j <= h._n; ++j)
    if (!is_edge(h._nlst[j])) return j;
  return 0;
}

void expect_graph(const Hypergraph& h) {
  const int j = first_other_net(h);
  if (j == 0) return;
  const Net& net = h._nlst[j];
  if (net_size(net) == 2)
    errexit("net %d names cell %d twice; an edge of a METIS graph joins two different cells", j, *net.pins);
  errexit("net %d has %d pin%s; an edge of a METIS graph joins two cells", j, net_size(net),
          net_size(net) == 1 ? "" : "s");
}

// A hypergraph whose nets all have two different pins.
class NetGraph final : public Graph {
 public:
  explicit NetGraph(const Hypergraph& h) : Graph(h._c), h_(&h) {}

  [[nodiscard]] int weight_of(int u) const override { return h_->_clst[u].w; }

 protected:
  void add_edges(int u, EdgeList& edges) const override {
    for (const int j : nets_of(h_->_clst[u])) {
      const Net& net = h_->_nlst[j];
      edges.add(*net.pins == u ? *net.pinsend : *net.pins, net.w);
    }
  }

 private:
  const Hypergraph* h_;
};

}  // namespace

void write_metis(const Hypergraph& h, const WriteOptions& /*options*/, const char* filename) {
  expect_graph(h);
  NetGraph graph(h);
  write_graph(graph, totals_of(graph), filename, "quillon convert: METIS graph");
}

void find_losses_of_metis(const Hypergraph& h, const WriteOptions& /*options*/, Losses& losses) {
  if (first_other_net(h) != 0) return;  // cannot be written
  NetGraph graph(h);
  const GraphTotals totals = totals_of(graph);
  note(losses.lost, h._n - totals.nedges, "net",
       " parallel to an earlier one, merged with it by adding the weights");
  note(losses.refused, totals.nbelow_one, "edge", " of a weight below 1, which METIS refuses");
  note(losses.refused, count_weights(h._clst, h._c, is_negative), "vertex weight",
       " below 0, which METIS refuses");
  if (h._n == 0) losses.refused.emplace_back("no edges, which METIS refuses");
}

}  // namespace quillon::formats
