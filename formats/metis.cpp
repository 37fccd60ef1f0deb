#include "formats/metis.h"

#include <algorithm>
#include <tuple>
#include <vector>

#include "formats/notes.h"
#include "formats/ranges.h"

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

std::string refusal_of_metis(const WriteOptions& /*options*/) {
  return "METIS graphs are only read: a net may have more than two pins";
}

}  // namespace quillon::formats
