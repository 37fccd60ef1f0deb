#include "formats/metis.h"

#include <algorithm>
#include <cstdint>
#include <tuple>
#include <vector>

#include "formats/losses.h"
#include "formats/notes.h"
#include "formats/ranges.h"
#include "formats/text_writer.h"
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
  std::size_t nedges_offset = 0;  // of the number of edges in the file
};

// Vertex u names vertex v.
struct Mention {
  int u;
  int v;
  int w;
  std::size_t offset;
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
  header.nedges_offset = nedges.offset;

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

void read_vertex_weights(Scanner& in, NetLists& lists, const Header& header, const std::string& vertex) {
  if (header.vertex_sizes) as_number(in, next_on_line(in), weight_range("the size of " + vertex));
  if (!header.vertex_weights) return;
  const Range weights = weight_range("the weight of " + vertex);
  lists.cell_weights.push_back(as_number(in, next_on_line(in), weights));
  for (int k = 2; k <= header.weights_per_vertex; ++k) as_number(in, next_on_line(in), weights);
}

void read_mentions(Scanner& in, std::vector<Mention>& mentions, const Header& header, int u) {
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
    mentions.push_back({u, *v, w, token.offset});
  }
}

auto edge_of(const Mention& mention) { return std::minmax(mention.u, mention.v); }

[[noreturn]] void bad_edge(const Scanner& in, const Mention& mention, const char* rule,
                           const std::string& what) {
  bad_text(in, mention.offset, rule,
           "found vertex " + std::to_string(mention.v) + " on the line of vertex " +
               std::to_string(mention.u) + ", " + what);
}

// Every edge has to be named once by either end, with one weight.
void check_edges(const Scanner& in, std::vector<Mention> mentions) {
  std::sort(mentions.begin(), mentions.end(), [](const Mention& a, const Mention& b) {
    return std::tuple(std::min(a.u, a.v), std::max(a.u, a.v), a.u, a.offset) <
           std::tuple(std::min(b.u, b.v), std::max(b.u, b.v), b.u, b.offset);
  });
  for (std::size_t k = 0; k < mentions.size(); k += 2) {
    const Mention& there = mentions[k];
    const bool is_paired = k + 1 < mentions.size() && edge_of(mentions[k + 1]) == edge_of(there);
    if (is_paired && mentions[k + 1].u == there.u)
      bad_edge(in, mentions[k + 1], "repeated-edge", "expected it there only once");
    if (!is_paired)
      bad_edge(in, there, "asymmetric-edge",
               "expected " + std::to_string(there.u) + " on the line of " + std::to_string(there.v) + " too");
    const Mention& back = mentions[k + 1];
    if (there.w != back.w)
      bad_edge(in, back, "asymmetric-edge",
               "with weight " + std::to_string(back.w) + ", expected " + std::to_string(there.w) +
                   " as on the line of " + std::to_string(there.u));
    if (k + 2 < mentions.size() && edge_of(mentions[k + 2]) == edge_of(there))
      bad_edge(in, mentions[k + 2], "repeated-edge", "expected it there only once");
  }
}

void make_nets(NetLists& lists, const std::vector<Mention>& mentions, const Header& header) {
  begin_nets(lists, header.nedges);
  if (header.edge_weights) lists.net_weights.push_back(0);
  for (const Mention& mention : mentions) {
    if (mention.u > mention.v) continue;
    lists.nadj.push_back(mention.u);
    lists.nadj.push_back(mention.v);
    end_net(lists);
    if (header.edge_weights) lists.net_weights.push_back(mention.w);
  }
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
  const Header header = read_header(in);
  lists.ncells = header.nvertices;
  if (header.vertex_weights) lists.cell_weights.push_back(0);
  std::vector<Mention> mentions;
  for (int u = 1; u <= header.nvertices; ++u) {
    skip_comments(in);
    const std::string vertex = of_all("vertex", u, header.nvertices);
    if (at_end(in)) unexpected(in, {{}, in.at}, "missing-line", "the line of " + vertex);
    read_vertex_weights(in, lists, header, vertex);
    read_mentions(in, mentions, header, u);
    skip_line(in);
  }
  expect_comments(in, "the lines of " + counted_vertices(header));
  check_edges(in, mentions);
  const std::size_t nedges = mentions.size() / 2;
  if (nedges != static_cast<std::size_t>(header.nedges)) {
    bad_text(in, header.nedges_offset, "edge-count",
             "found " + counted(static_cast<std::int64_t>(nedges), "edge") +
                 " on the lines of the vertices, expected the " + std::to_string(header.nedges) +
                 " of the header",
             static_cast<std::size_t>(header.nedges) == mentions.size()
                 ? "an edge stands on two lines and counts once"
                 : "");
  }
  make_nets(lists, mentions, header);
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

struct Edge {
  int neighbour;
  std::int64_t w;  // of all nets between the two cells
};

// The edges of one cell after the other, parallel nets merged. All nets must be edges.
class Edges {
 public:
  explicit Edges(const Hypergraph& h) : h_(h), places_(static_cast<std::size_t>(h._c) + 1, kNowhere) {}

  // In the order of the cell's nets; valid until the next call. O(degree).
  const std::vector<Edge>& of_cell(int i) {
    for (const Edge& edge : edges_) place_of(edge.neighbour) = kNowhere;
    edges_.clear();
    for (const int j : nets_of(h_._clst[i])) {
      const Net& net = h_._nlst[j];
      const int neighbour = *net.pins == i ? *net.pinsend : *net.pins;
      int& place = place_of(neighbour);
      if (place == kNowhere) {
        place = static_cast<int>(edges_.size());
        edges_.push_back({neighbour, 0});
      }
      edges_[static_cast<std::size_t>(place)].w += net.w;
    }
    return edges_;
  }

 private:
  static constexpr int kNowhere = -1;

  int& place_of(int i) { return places_[static_cast<std::size_t>(i)]; }

  const Hypergraph& h_;
  std::vector<Edge> edges_;
  std::vector<int> places_;  // by cell, in `edges_`
};

struct Totals {
  std::int64_t nedges = 0;
  std::int64_t nbelow_one = 0;  // edges of a weight below 1
  std::int64_t nbeyond = 0;     // edges of a weight that 32 bits do not hold
  bool edge_weights = false;    // not all are 1
};

Totals totals_of(const Hypergraph& h) {
  Totals totals;
  Edges edges(h);
  for (int u = 1; u <= h._c; ++u) {
    for (const Edge& edge : edges.of_cell(u)) {
      if (edge.neighbour < u) continue;  // counted there
      ++totals.nedges;
      if (edge.w < 1) ++totals.nbelow_one;
      if (edge.w != static_cast<int>(edge.w)) ++totals.nbeyond;
      if (edge.w != 1) totals.edge_weights = true;
    }
  }
  return totals;
}

void write_vertices(TextWriter& out, const Hypergraph& h, bool vertex_weights, bool edge_weights) {
  Edges edges(h);
  for (int u = 1; u <= h._c; ++u) {
    if (vertex_weights) out.number(h._clst[u].w);
    bool is_first = !vertex_weights;
    for (const Edge& edge : edges.of_cell(u)) {
      char* at = out.room(2 * TextWriter::kNumber);
      if (!is_first) *at++ = ' ';
      at = print(at, edge.neighbour);
      if (edge_weights) {
        *at++ = ' ';
        at = print(at, static_cast<int>(edge.w));
      }
      out.end(at);
      is_first = false;
    }
    out.character('\n');
  }
}

}  // namespace

void write_metis(const Hypergraph& h, const WriteOptions& /*options*/, const char* filename) {
  expect_graph(h);
  const Totals totals = totals_of(h);
  if (totals.nbeyond > 0)
    errexit("%s: the weights of parallel nets add up to more than 32 bits hold",
            counted(totals.nbeyond, "edge").c_str());
  const bool vertex_weights = count_weights(h._clst, h._c, is_not_one) > 0;
  const char* const fmt =
      vertex_weights ? (totals.edge_weights ? " 11" : " 10") : (totals.edge_weights ? " 1" : "");
  TextWriter out(filename, "quillon convert: METIS graph");
  out.number(h._c);
  out.character(' ');
  out.number(totals.nedges);
  out.text(fmt);
  out.character('\n');
  write_vertices(out, h, vertex_weights, totals.edge_weights);
  out.close();
}

void find_losses_of_metis(const Hypergraph& h, const WriteOptions& /*options*/, Losses& losses) {
  if (first_other_net(h) != 0) return;  // cannot be written
  const Totals totals = totals_of(h);
  note(losses.lost, h._n - totals.nedges, "net",
       " parallel to an earlier one, merged with it by adding the weights");
  note(losses.refused, totals.nbelow_one, "edge", " of a weight below 1, which METIS refuses");
  note(losses.refused, count_weights(h._clst, h._c, is_negative), "vertex weight",
       " below 0, which METIS refuses");
  if (h._n == 0) losses.refused.emplace_back("no edges, which METIS refuses");
}

}  // namespace quillon::formats
