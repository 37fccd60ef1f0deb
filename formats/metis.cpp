#include "formats/metis.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <tuple>
#include <utility>
#include <vector>

#include "formats/audit.h"
#include "formats/damaged_lines.h"
#include "formats/edge_matcher.h"
#include "formats/graph.h"
#include "formats/line_errors.h"
#include "formats/lines.h"
#include "formats/losses.h"
#include "formats/mentions.h"
#include "formats/mirror_sum.h"
#include "formats/net_lines.h"
#include "formats/notes.h"
#include "formats/ranges.h"
#include "formats/short_nets.h"
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
  int first = 1;       // number of the first vertex
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
  const Token nvertices = next_on_line(in);
  header.nvertices = as_number(in, nvertices, first_count_range("the number of vertices"));
  note_header(in, nvertices.offset);
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
  const int weights = (header.vertex_weights ? 1 : 0) + (header.edge_weights ? 2 : 0);
  header.nvertices = settled_counts(in, {header.nvertices, header.nedges, weights}).ncells;
  return header;
}

std::string vertex_name(int u, const Header& header) { return of_all("vertex", u, header.nvertices); }

// The first of the weights of a vertex, 1 if it has none. None after an error.
std::optional<int> read_vertex_weights(Scanner& in, const Header& header, int u) {
  const auto read = [&](const char* what) {
    return number_or_refuse(in, next_on_line(in), any_weight(),
                            [&] { return weight_meaning(what + vertex_name(u, header)); });
  };
  if (header.vertex_sizes && !read("the size of ")) return std::nullopt;
  if (!header.vertex_weights) return 1;
  const std::optional<int> first = read("the weight of ");
  for (int k = 2; first && k <= header.weights_per_vertex; ++k)
    if (!read("the weight of ")) return std::nullopt;
  return first;
}

// Of the edge to a vertex, as the file writes it. None after an error.
std::optional<int> read_edge_weight(Scanner& in, const std::string& vertex) {
  return number_or_refuse(in, next_on_line(in), any_weight(),
                          [&vertex] { return weight_meaning("the weight of the edge to " + vertex); });
}

// Calls visit(v, w, offset) for each vertex v that vertex u names. Returns whether there was no error.
template <typename Visit>
bool read_mentions(Scanner& in, const Header& header, int u, Visit visit) {
  const int last = header.nvertices - 1 + header.first;
  const Range vertices{header.first, last, {}, "cell-out-of-range"};
  const auto meaning = [&header, last] {
    return "a vertex from " + std::to_string(header.first) + " to " + std::to_string(last);
  };
  bool sound = true;
  while (true) {
    const Token token = next_on_line(in);
    if (token.text.empty()) break;
    const std::optional<int> number = number_in(token, vertices);
    const int v = number ? *number + 1 - header.first : 0;
    if (!number)
      refuse_number(in, token, vertices, meaning,
                    token.text == "0" ? "METIS counts vertices from 1; does this file count from 0?" : "");
    if (v == u)
      refuse(in, token, "self-loop", [u] { return "another vertex than " + std::to_string(u) + " itself"; });
    if (!number || v == u) {
      sound = false;
      if (header.edge_weights) next_on_line(in);
      continue;
    }
    locate(in, {Item::kNet, u, Item::kFirstPin + v}, token.offset);
    const std::optional<int> w = header.edge_weights ? read_edge_weight(in, std::string(token.text)) : 1;
    if (!w) return false;
    visit(v, *w, token.offset);
  }
  return sound;
}

// How many numbers stand for an edge.
int step_of(const Header& header) { return header.edge_weights ? 2 : 1; }

// How many numbers of a line are not about edges.
int head_of(const Header& header) {
  return (header.vertex_sizes ? 1 : 0) + (header.vertex_weights ? header.weights_per_vertex : 0);
}

NumberLines part_of(const NumberLines& lines, int first, int count) {
  NumberLines part = lines;
  part.starts += first;
  part.count = count;
  part.numbers = part.line(0);
  part.nnumbers = part.before(count);
  return part;
}

// Lists the mentions on lines of numbers, in memory that is used again and again.
class MentionLists {
 public:
  explicit MentionLists(const Header& header) : head_(head_of(header)), shift_(1 - header.first) {}

  // The mentions on the line of vertex u and on those that follow. None if a line is too short for its
  // weights.
  std::optional<Mentions> list(const NumberLines& lines, int u) {
    const bool as_they_are = head_ == 0 && shift_ == 0;
    const std::size_t nmost = static_cast<std::size_t>(lines.nnumbers) + kAtOnce;
    from_.make_room(nmost);
    if (!as_they_are) to_.make_room(nmost);
    std::size_t nmentions = 0;
    for (int k = 0; k < lines.count; ++k) {
      const int size = lines.size(k) - head_;
      if (size < 0) return std::nullopt;
      fill(from_.data() + nmentions, size, u + k);
      if (!as_they_are) copy(lines.line(k) + head_, size, to_.data() + nmentions);
      nmentions += static_cast<std::size_t>(size);
    }
    from_.data()[nmentions] = 0;
    for (std::size_t k = 0; !as_they_are && k < nmentions; ++k) to_.data()[k] = shifted(to_.data()[k]);
    return Mentions{from_.data(), as_they_are ? lines.numbers : to_.data(), nmentions};
  }

 private:
  // Entries that are written for each line, whatever its length: the branch at the end of an exact loop over
  // a short line would be unpredictable.
  static constexpr int kAtOnce = 16;
  static_assert(kAtOnce <= kSpareNumbers);

  static void fill(int* to, int size, int value) {
    std::fill_n(to, kAtOnce, value);
    if (size > kAtOnce) [[unlikely]]
      std::fill(to + kAtOnce, to + size, value);
  }

  static void copy(const int* numbers, int size, int* to) {
    std::memcpy(to, numbers, kAtOnce * sizeof(int));
    if (size > kAtOnce) [[unlikely]]
      std::copy(numbers + kAtOnce, numbers + size, to + kAtOnce);
  }

  // The largest number wraps to a negative one, which names no vertex.
  [[nodiscard]] int shifted(int number) const {
    return static_cast<int>(static_cast<unsigned>(number) + static_cast<unsigned>(shift_));
  }

  int head_;
  int shift_;
  Scratch<int> from_;
  Scratch<int> to_;
};

// Makes nets of the edges as they are read, in the order of the lines of their smaller ends, and finds out
// whether every edge is named once by either end, with one weight.
class EdgeReader {
 public:
  EdgeReader(NetLists& lists, const Header& header)
      : lists_(lists), has_weights_(header.edge_weights), mentions_(header) {}

  // Makes room for the lines of vertex u and of those that follow, unless there is room for the announced
  // edges.
  void make_room(const NumberLines& lines, int u, const Header& header) {
    const auto nmore = static_cast<std::size_t>(lines.nnumbers / step_of(header));
    const std::size_t needed = lists_.nadj.size() + 2 * nmore;
    if (!lists_.grow_slowly || needed <= lists_.nadj.capacity()) return;
    const auto nread = static_cast<std::size_t>(u - 1) + static_cast<std::size_t>(lines.count);
    const std::size_t mentions =
        room_for_all(nmentions_ + nmore, nread, static_cast<std::size_t>(header.nvertices));
    // Half of them make nets of two pins, more if some edges are named by their smaller ends only.
    lists_.nadj.reserve(std::max(mentions + mentions / 4, needed));
    lists_.xnadj.reserve(lists_.nadj.capacity() / 2 + 2);
  }

  void begin_line(int u) {
    u_ = u;
    line_.clear();
  }

  void add(int v, int w) {
    line_.push_back(v);
    if (is_checking_) sum_.add(u_, v, w);
    ++nmentions_;
    if (u_ > v) return;
    int* const pins = lists_.nadj.extend(2);
    pins[0] = u_;
    pins[1] = v;
    end_net(lists_);
    if (has_weights_) lists_.net_weights.push_back(w);
  }

  void end_line() { find_repetitions(line_, u_, line_.data() + line_.size()); }

  // Adds the line of vertex u and those that follow, whose edges have no weights. Returns false without
  // effect if any line has an error.
  bool add_lines(const NumberLines& lines, int u) {
    const std::optional<Mentions> mentions = mentions_.list(lines, u);
    if (!mentions) return false;
    const MentionsLook look = look_at_mentions(*mentions, lists_.ncells);
    if (!look.sound) return false;
    check_pins(lists_.nadj.size() + 2 * look.nforward);
    if (is_checking_) sum_.add(*mentions);
    nmentions_ += mentions->count;
    store_forward(*mentions, lists_.nadj.extend(2 * look.nforward), look.nforward);
    const int before = lists_.xnadj.back();
    int* const ends = lists_.xnadj.extend(look.nforward);
    for (std::size_t k = 0; k < look.nforward; ++k) ends[k] = before + 2 * (static_cast<int>(k) + 1);
    if (!look.ascending && is_checking_) find_repetitions(*mentions);
    return true;
  }

  // From now on edges are only stored: there is an error already.
  void stop_checking() { is_checking_ = false; }

  [[nodiscard]] bool are_sound() const { return sum_.is_zero() && !has_repetitions_; }

  [[nodiscard]] std::size_t nmentions() const { return nmentions_; }

 private:
  // end  Of the array that the line is in.
  void find_repetitions(std::span<const int> line, int u, const int* end) {
    if (!is_checking_) return;
    if (line.size() <= kShortNet)
      has_repetitions_ = repeated_pins(line, end) != 0;
    else if (std::adjacent_find(line.begin(), line.end(), std::greater_equal<>()) != line.end())
      has_repetitions_ = has_repetition(line, u);
    if (has_repetitions_) stop_checking();
  }

  bool has_repetition(std::span<const int> line, int u) {
    if (lists_.avoids(lists_.ncells, nmentions_)) {
      std::vector<int> sorted(line.begin(), line.end());
      std::sort(sorted.begin(), sorted.end());
      return std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end();
    }
    named_by_.resize(static_cast<std::size_t>(lists_.ncells) + 1, 0);
    bool found = false;
    for (const int v : line) found = std::exchange(named_by_[static_cast<std::size_t>(v)], u) == u || found;
    return found;
  }

  void find_repetitions(const Mentions& mentions) {
    for (std::size_t begin = 0, end = 0; begin < mentions.count && is_checking_; begin = end) {
      const int u = mentions.from[begin];
      while (mentions.from[end] == u) ++end;
      find_repetitions({mentions.to + begin, end - begin}, u, mentions.to + mentions.count + kSpareNumbers);
    }
  }

  NetLists& lists_;
  bool has_weights_;
  int u_ = 0;
  std::vector<int> line_;      // the vertices that u_ names
  std::vector<int> named_by_;  // by vertex: the last one that names it, on a line that is not ascending
  bool is_checking_ = true;
  bool has_repetitions_ = false;
  MirrorSum sum_;
  MentionLists mentions_;
  std::size_t nmentions_ = 0;
};

void skip_header(Scanner& in) {
  skip_comments(in);
  skip_line(in);
}

bool is_sound(const int* numbers, int count, int u, const Header& header) {
  const int head = head_of(header);
  const int step = step_of(header);
  if (count < head || (count - head) % step != 0) return false;
  bool sound = true;
  for (int k = head; k < count; k += step)
    sound = sound && numbers[k] >= header.first && numbers[k] - header.first < header.nvertices &&
            numbers[k] + 1 - header.first != u;
  return sound;
}

// Adds the lines of vertex u and of those that follow to a matcher, up to the first one that has to be read
// by words. Returns the number of lines.
int match_plain_lines(Scanner& in, const Header& header, int u, EdgeMatcher& matcher) {
  const NumberLines lines = number_lines(in);
  const auto count =
      static_cast<int>(std::min<std::int64_t>(lines.count, std::int64_t{header.nvertices} + 1 - u));
  const int head = head_of(header);
  const int step = step_of(header);
  for (int k = 0; k < count; ++k) {
    const int nedges = (lines.size(k) - head) / step;  // below 1 if the file has changed
    matcher.add_line(u + k, {lines.line(k) + head, nedges * step, step, 1 - header.first});
  }
  if (count > 0) skip_lines(in, count);
  return count;
}

// Reads all lines once more.
void match_lines(Scanner& in, const Header& header, EdgeMatcher& matcher) {
  skip_header(in);
  begin_lines(in, {});
  std::vector<int> numbers;
  for (int u = 1; u <= header.nvertices;) {
    if (const int nread = match_plain_lines(in, header, u, matcher); nread > 0) {
      u += nread;
      continue;
    }
    skip_comments(in);
    read_vertex_weights(in, header, u);
    numbers.clear();
    read_mentions(in, header, u, [&](int v, int w, std::size_t /*offset*/) {
      numbers.push_back(v);
      if (header.edge_weights) numbers.push_back(w);
    });
    matcher.add_line(u, {numbers.data(), static_cast<int>(numbers.size()), step_of(header), 0});
    skip_line(in);
    ++u;
  }
}

// A bad edge, and the place of the mention that messages concern.
struct PlacedEdge {
  BadEdge edge;
  Place place;  // line 0 if it was not found
};

// Finds the places on the line of vertex u.
//
// edges  Those of the vertex, by direction and index.
void find_places(Scanner& in, const Header& header, int u, std::span<PlacedEdge> edges) {
  const auto middle = std::find_if(edges.begin(), edges.end(),
                                   [](const PlacedEdge& placed) { return placed.edge.names_larger(); });
  auto smaller = edges.begin();
  auto larger = middle;
  int nsmaller = 0;
  int nlarger = 0;
  read_vertex_weights(in, header, u);
  read_mentions(in, header, u, [&](int v, int /*w*/, std::size_t offset) {
    auto& next = v > u ? larger : smaller;
    const int index = v > u ? nlarger++ : nsmaller++;
    if (next == (v > u ? edges.end() : middle) || next->edge.index != index) return;
    next->place = place_of(in, offset);
    ++next;
  });
}

// Skips lines before that of vertex `wanted`, from that of vertex u on. Returns their number.
int skip_vertices(Scanner& in, int u, int wanted) {
  if (const NumberLines lines = number_lines(in); lines.count > 0) {
    const int count = std::min(lines.count, wanted - u);
    skip_lines(in, count);
    return count;
  }
  skip_comments(in);
  skip_line(in);
  return 1;
}

// Finds all places.
//
// edges  By vertex, direction and index.
void find_places(Scanner& in, const Header& header, std::span<PlacedEdge> edges) {
  skip_header(in);
  begin_lines(in, {});
  for (int u = 1; !edges.empty();) {
    const int wanted = edges.front().edge.u;
    while (u < wanted) u += skip_vertices(in, u, wanted);
    std::size_t count = 0;
    while (count < edges.size() && edges[count].edge.u == u) ++count;
    skip_comments(in);
    find_places(in, header, u, edges.first(count));
    skip_line(in);
    ++u;
    edges = edges.subspan(count);
  }
}

std::string message_on(const BadEdge& bad) {
  const std::string found =
      "found vertex " + std::to_string(bad.v) + " on the line of vertex " + std::to_string(bad.u) + ", ";
  if (bad.kind == BadEdge::kRepeated) return found + "expected it there only once";
  if (bad.kind == BadEdge::kOneSided)
    return found + "expected " + std::to_string(bad.u) + " on the line of " + std::to_string(bad.v) + " too";
  return found + "with weight " + std::to_string(bad.w) + ", expected " + std::to_string(bad.expected_w) +
         " as on the line of " + std::to_string(bad.v);
}

// Finds the places of edges, and sorts them by these.
std::vector<PlacedEdge> place_edges(Scanner& in, const Header& header, const std::vector<BadEdge>& edges) {
  std::vector<PlacedEdge> placed;
  placed.reserve(edges.size());
  for (const BadEdge& edge : edges) placed.push_back({edge, {}});
  std::sort(placed.begin(), placed.end(), [](const PlacedEdge& a, const PlacedEdge& b) {
    const auto key = [](const BadEdge& edge) { return std::tuple(edge.u, edge.names_larger(), edge.index); };
    return key(a.edge) < key(b.edge);
  });
  find_places(in, header, placed);
  std::sort(placed.begin(), placed.end(), [](const PlacedEdge& a, const PlacedEdge& b) {
    return std::pair(a.place.line, a.place.column) < std::pair(b.place.line, b.place.column);
  });
  return placed;
}

// Reads the file again to find which edges are not named once by either end, and where.
void explain_edges(Scanner& in, const NetLists& lists, const Header& header) {
  const std::unique_ptr<Scanner> again = read_again(in);
  const std::size_t most = in.audit != nullptr ? in.audit->most_kept : lists.xnadj.size();
  const auto order = in.listener == nullptr ? EdgeMatcher::Order::kEnds : EdgeMatcher::Order::kText;
  EdgeMatcher matcher(lists, order, order == EdgeMatcher::Order::kEnds ? 1 : most);
  match_lines(*again, header, matcher);
  const EdgeFindings found = matcher.finish();
  std::int64_t nasymmetric = found.nasymmetric;
  std::int64_t nrepeated = found.nrepeated;
  std::vector<PlacedEdge> edges;
  if (!found.edges.empty()) edges = place_edges(*read_again(*again), header, found.edges);
  for (const PlacedEdge& placed : edges) {
    if (placed.place.line == 0) continue;  // the file has changed
    --(placed.edge.kind == BadEdge::kRepeated ? nrepeated : nasymmetric);
    report(in, {placed.edge.rule(), Severity::kError, in.name, placed.place.line, placed.place.column,
                message_on(placed.edge), ""});
  }
  if (in.audit == nullptr) return;
  in.audit->count("asymmetric-edge", nasymmetric);
  in.audit->count("repeated-edge", nrepeated);
  in.audit->parallel_nets = {found.nparallel, found.first_parallel};
}

void add_weighted_line(const NumberLines& lines, int k, int u, const Header& header, EdgeReader& edges) {
  const int* const line = lines.line(k);
  edges.begin_line(u);
  for (int m = head_of(header); m < lines.size(k); m += 2) edges.add(line[m] + 1 - header.first, line[m + 1]);
  edges.end_line();
}

// Adds edges of many lines at once, as long as there is no error.
class PlainVertices {
 public:
  PlainVertices(const Header& header, EdgeReader& edges) : header_(header), edges_(edges) {}

  // Adds the edges of vertex u and of those that follow. Returns the number of lines before the first one
  // with an error.
  int add(const NumberLines& lines, int u) {
    int nadded = 0;
    while (nadded < lines.count) {
      const int count = std::min(at_once_, lines.count - nadded);
      const NumberLines part = part_of(lines, nadded, count);
      const int nsound = add_some(part, u + nadded);
      nadded += nsound;
      at_once_ = nsound < count ? kFew : std::min(2 * at_once_, kMany);
      if (nsound < count) break;
    }
    return nadded;
  }

  static constexpr int kFew = 8;  // lines after one with an error: it may not be the last

 private:
  static constexpr int kMany = 256;  // lines: their numbers stay in the first-level cache

  int add_some(const NumberLines& lines, int u) {
    if (!header_.edge_weights && edges_.add_lines(lines, u)) return lines.count;
    int nsound = 0;
    for (; nsound < lines.count; ++nsound) {
      if (!is_sound(lines.line(nsound), lines.size(nsound), u + nsound, header_)) break;
      if (header_.edge_weights) add_weighted_line(lines, nsound, u + nsound, header_, edges_);
    }
    if (!header_.edge_weights) edges_.add_lines(part_of(lines, 0, nsound), u);
    return nsound;
  }

  const Header& header_;
  EdgeReader& edges_;
  int at_once_ = kMany;
};

// Reads lines of the vertices after those read so far. Returns how many; 0 without effect if the next line
// has to be read by words.
int read_plain_vertices(Scanner& in, NetLists& lists, const Header& header, EdgeReader& edges,
                        PlainVertices& vertices, int u) {
  const NumberLines all = number_lines(in);
  const auto nwanted = std::min<std::int64_t>(all.count, std::int64_t{header.nvertices} + 1 - u);
  if (nwanted == 0) return 0;
  const NumberLines lines = part_of(all, 0, static_cast<int>(nwanted));
  edges.make_room(lines, u, header);
  const int count = vertices.add(lines, u);
  const int weight = header.vertex_sizes ? 1 : 0;
  for (int k = 0; header.vertex_weights && k < count; ++k)
    lists.cell_weights.push_back(lines.line(k)[weight]);
  if (count > 0) skip_lines(in, count);
  return count;
}

// Reads lines with errors that lint only counts.
class DamagedVertices {
 public:
  DamagedVertices(const Scanner& in, const NumberLines& lines, NetLists& lists, const Header& header,
                  EdgeReader& edges)
      : in_(in),
        lists_(lists),
        header_(header),
        edges_(edges),
        vertices_{header.first, header.nvertices - 1 + header.first, {}, "cell-out-of-range"},
        lines_(in, lines) {}

  // Reads the line of vertex u. Returns false without effect if lint wants the text of an error.
  bool read(int line, int u) {
    lines_.enter(line);
    weight_ = 1;
    mentions_.clear();
    is_sound_ = read_weights() && read_mentions(u);
    if (!lines_.end_line()) return false;
    if (!is_sound_) edges_.stop_checking();
    if (header_.vertex_weights) lists_.cell_weights.push_back(weight_);
    edges_.begin_line(u);
    for (const auto& [v, w] : mentions_) edges_.add(v, w);
    edges_.end_line();
    if (!is_sound_) note_damage(in_, u);
    return true;
  }

  // Whether the line read last has no error.
  [[nodiscard]] bool is_sound() const { return is_sound_; }

 private:
  bool read_weights() {
    const int first = header_.vertex_sizes ? 1 : 0;
    for (int k = 0; k < head_of(header_); ++k) {
      int weight = 0;
      if (!lines_.next(weights_, weight)) {
        weight_ = 1;
        return false;
      }
      if (k == first && header_.vertex_weights) weight_ = weight;
    }
    return true;
  }

  // Up to an edge without a weight. Returns whether there was no error.
  bool read_mentions(int u) {
    bool is_sound = true;
    while (lines_.nleft() > 0) {
      int number = 0;
      const bool is_vertex = lines_.next_cell(vertices_, number);
      const int v = number + 1 - header_.first;
      const bool is_loop = is_vertex && v == u;
      if (is_loop) lines_.add("self-loop");
      if (!is_vertex || is_loop) {
        is_sound = false;
        if (header_.edge_weights) lines_.skip();
        continue;
      }
      int w = 1;
      if (header_.edge_weights && !lines_.next(weights_, w)) return false;
      mentions_.emplace_back(v, w);
    }
    return is_sound;
  }

  const Scanner& in_;
  NetLists& lists_;
  const Header& header_;
  EdgeReader& edges_;
  const Range vertices_;
  const Range weights_ = any_weight();
  DamagedLines lines_;
  int weight_ = 1;
  std::vector<std::pair<int, int>> mentions_;  // vertices and weights
  bool is_sound_ = true;
};

// Reads lines of vertices by arrays, plain ones or odd ones, if lint only counts their errors. Returns how
// many; 0 without effect if the next line has to be read by words.
//
// sound  Gets false if any has an error.
int read_damaged_vertices(Scanner& in, NetLists& lists, const Header& header, EdgeReader& edges, int u,
                          bool& sound) {
  if (!may_count_errors(in)) return 0;
  NumberLines lines = number_lines(in);
  const bool are_plain = lines.count > 0;
  if (!are_plain) lines = odd_lines(in);
  if (lists.nadj.size() + 2 * static_cast<std::size_t>(lines.nnumbers) > kMostPins) return 0;
  const auto most = std::min<std::int64_t>(lines.count, std::int64_t{header.nvertices} + 1 - u);
  edges.make_room(lines, u, header);
  int nread = 0;
  int nsound = 0;  // in a row
  DamagedVertices vertices(in, lines, lists, header, edges);
  while (nread < most && !(are_plain && nsound == PlainVertices::kFew) && vertices.read(nread, u + nread)) {
    nsound = vertices.is_sound() ? nsound + 1 : 0;
    sound = sound && vertices.is_sound();
    ++nread;
  }
  if (nread > 0) skip_lines(in, nread);
  return nread;
}

// Returns whether there was no error.
bool read_vertex(Scanner& in, NetLists& lists, const Header& header, EdgeReader& edges, int u) {
  locate(in, {Item::kNet, u, Item::kLine}, in.at);
  const std::optional<int> weight = read_vertex_weights(in, header, u);
  if (!weight) return false;
  if (header.vertex_weights) lists.cell_weights.push_back(*weight);
  edges.begin_line(u);
  if (!read_mentions(in, header, u, [&](int v, int w, std::size_t /*offset*/) { edges.add(v, w); }))
    return false;
  edges.end_line();
  skip_line(in);
  return true;
}

// Returns whether no line has an error.
bool read_vertices(Scanner& in, NetLists& lists, const Header& header, EdgeReader& edges) {
  bool sound = true;
  PlainVertices vertices(header, edges);
  for (int u = 1; u <= header.nvertices;) {
    if (const int nread = read_plain_vertices(in, lists, header, edges, vertices, u); nread > 0) {
      u += nread;
      continue;
    }
    if (const int nread = read_damaged_vertices(in, lists, header, edges, u, sound); nread > 0) {
      u += nread;
      continue;
    }
    if (!skip_to_line(in))
      unexpected(in, {{}, in.at}, "missing-line", "the line of " + vertex_name(u, header));
    const bool is_skipped = skips_net(in, u);
    if (is_skipped) skip_line(in);
    if (is_skipped || !read_line(in, [&] { return read_vertex(in, lists, header, edges, u); })) {
      sound = false;
      edges.stop_checking();
      note_damage(in, u);
    }
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
  Header header = read_header(in);
  header.first = first_cell_of(in, 1);
  if (header.nvertices == 0 || header.nedges == 0)
    note_oddity(in, header.nedges_place, "no-edges",
                header.nvertices == 0 ? "the header announces no vertices" : "the header announces no edges");
  lists.ncells = header.nvertices;
  begin_nets(lists, header.nedges);
  if (!lists.grow_slowly)
    lists.nadj.reserve(std::min(2 * static_cast<std::size_t>(header.nedges), kMostPins) + 2);
  if (header.vertex_weights) lists.cell_weights.push_back(0);
  if (header.edge_weights) lists.net_weights.push_back(0);
  begin_lines(in, {});
  EdgeReader edges(lists, header);
  const bool sound = read_vertices(in, lists, header, edges);
  expect_comments(in, "the lines of " + counted_vertices(header));
  if (!sound) return;
  if (!edges.are_sound()) {
    explain_edges(in, lists, header);
    if (in.listener != nullptr) return;
  } else if (in.audit != nullptr) {
    in.audit->parallel_nets = Audit::ParallelNets{};
  }
  const std::size_t nedges = edges.nmentions() / 2;
  const bool is_corrected = in.audit != nullptr && in.audit->corrected.has_value();
  lists.nnets = static_cast<int>(nedges);
  if (nedges != static_cast<std::size_t>(header.nedges) && !is_corrected) {
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
