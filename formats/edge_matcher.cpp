#include "formats/edge_matcher.h"

#include <algorithm>
#include <bit>
#include <numeric>

namespace quillon::formats {
namespace {

constexpr int kBucketBits = 11;

// The net of an edge by its index from 0 counts from 1.
int first_net_of(const NetLists& lists, int u) {
  int begin = 1;
  int end = static_cast<int>(lists.nadj.size() / 2) + 1;
  while (begin < end) {
    const int middle = begin + (end - begin) / 2;
    if (lists.nadj[2 * (static_cast<std::size_t>(middle) - 1)] < u)
      begin = middle + 1;
    else
      end = middle;
  }
  return begin;
}

std::uint64_t pair_of(int a, int b) { return static_cast<std::uint64_t>(a) << 32 | static_cast<unsigned>(b); }

}  // namespace

// Surplus edges go out some at a time.
void FewBadEdges::keep(std::uint64_t key, const BadEdge& edge) {
  kept_.push_back({key, edge});
  if (kept_.size() / 2 >= most_kept_) drop_surplus();
}

void FewBadEdges::drop_surplus() {
  if (kept_.size() <= most_kept_) return;
  const auto end = kept_.begin() + static_cast<std::ptrdiff_t>(most_kept_);
  std::nth_element(kept_.begin(), end, kept_.end(),
                   [](const Kept& a, const Kept& b) { return a.key < b.key; });
  limit_ = end->key;
  kept_.erase(end, kept_.end());
}

void FewBadEdges::append_to(std::vector<BadEdge>& edges) {
  drop_surplus();
  for (const Kept& kept : kept_) edges.push_back(kept.edge);
}

// Sorts by the upper bits of larger ends; `of` sorts by the lower ones, in the cache.
EdgesByLargerEnd::EdgesByLargerEnd(const NetLists& lists)
    : shift_(
          std::max(static_cast<int>(std::bit_width(static_cast<unsigned>(lists.ncells))) - kBucketBits, 0)),
      mask_((1U << shift_) - 1),
      mentions_(reinterpret_cast<Mention*>(
          memory_.extend(sizeof(Mention) / sizeof(int) * (lists.nadj.size() / 2)))),
      bucket_ends_((static_cast<unsigned>(lists.ncells) >> shift_) + 2),
      starts_(std::size_t{mask_} + 2) {
  const std::size_t nnets = lists.nadj.size() / 2;
  const int* const ends = lists.nadj.data();
  unsigned* const places = bucket_ends_.data();
  for (std::size_t k = 0; k < nnets; ++k) ++places[(static_cast<unsigned>(ends[2 * k + 1]) >> shift_) + 1];
  std::partial_sum(bucket_ends_.begin(), bucket_ends_.end(), bucket_ends_.begin());
  for (std::size_t k = 0; k < nnets; ++k)
    mentions_[places[static_cast<unsigned>(ends[2 * k + 1]) >> shift_]++] = {ends[2 * k], ends[2 * k + 1],
                                                                             static_cast<int>(k) + 1};
}

void EdgesByLargerEnd::sort_bucket(unsigned bucket) {
  bucket_ = bucket;
  const std::span mentions(mentions_ + (bucket == 0 ? 0 : bucket_ends_[bucket - 1]),
                           mentions_ + bucket_ends_[bucket]);
  std::fill(starts_.begin(), starts_.end(), 0);
  unsigned* const places = starts_.data();
  for (const Mention& mention : mentions) ++places[(static_cast<unsigned>(mention.names) & mask_) + 1];
  std::partial_sum(starts_.begin(), starts_.end(), starts_.begin());
  sorted_.make_room(mentions.size());
  Mention* const sorted = sorted_.data();
  for (const Mention& mention : mentions)
    sorted[places[static_cast<unsigned>(mention.names) & mask_]++] = mention;
  // Each start has moved to that of the next vertex.
  std::copy_backward(starts_.begin(), starts_.end() - 1, starts_.end());
  starts_[0] = 0;
}

EdgeMatcher::EdgeMatcher(const NetLists& lists, Order order, std::size_t most_kept)
    : lists_(lists),
      order_(order),
      edges_(lists),
      one_sided_forward_(most_kept),
      repeated_forward_(most_kept),
      asymmetric_backward_(most_kept),
      repeated_backward_(most_kept) {}

void EdgeMatcher::add_line(int u, const VertexLine& line) {
  compare(u, edges_.of(u), list_backwards(u, line));
}

// The smaller vertices named, ascending, equal ones in the order of the line. No branch depends on which
// vertices are smaller.
EdgeMatcher::Backwards EdgeMatcher::list_backwards(int u, const VertexLine& line) {
  backwards_.make_room(static_cast<std::size_t>(line.count) + 1);
  Backward* const backwards = backwards_.data();
  int count = 0;
  int last = 0;
  bool ascend = true;
  for (int k = 0; k < line.count; k += line.step) {
    const int v = line.vertex(k);
    backwards[count] = {v, count, line.weight(k)};
    const bool is_smaller = v < u;
    ascend = ascend && (!is_smaller || v >= last);
    last = is_smaller ? v : last;
    count += is_smaller ? 1 : 0;
  }
  if (!ascend)
    std::sort(backwards, backwards + count, [](const Backward& a, const Backward& b) {
      return pair_of(a.v, a.index) < pair_of(b.v, b.index);
    });
  return {backwards, static_cast<std::size_t>(count)};
}

// How many edges at the front are named once by either end, with one weight, but for the last of each list.
std::size_t EdgeMatcher::count_alike(Nets nets, Backwards backwards) const {
  const std::size_t most = std::min(nets.size(), backwards.size());
  std::size_t count = 0;
  while (count < most && nets[count].by == backwards[count].v &&
         (count + 1 == nets.size() || nets[count + 1].by != nets[count].by) &&
         (count + 1 == backwards.size() || backwards[count + 1].v != backwards[count].v) &&
         weight_of(nets[count].net) == backwards[count].w)
    ++count;
  return count;
}

void EdgeMatcher::compare(int u, Nets nets, Backwards backwards) {
  while (true) {
    const std::size_t nalike = count_alike(nets, backwards);
    nets = nets.subspan(nalike);
    backwards = backwards.subspan(nalike);
    if (nets.empty() && backwards.empty()) break;
    const bool is_net = backwards.empty() || (!nets.empty() && nets.front().by <= backwards.front().v);
    const int v = is_net ? nets.front().by : backwards.front().v;
    std::size_t nforward = 0;
    while (nforward < nets.size() && nets[nforward].by == v) ++nforward;
    std::size_t nbackward = 0;
    while (nbackward < backwards.size() && backwards[nbackward].v == v) ++nbackward;
    judge(u, v, nets.first(nforward), backwards.first(nbackward));
    nets = nets.subspan(nforward);
    backwards = backwards.subspan(nbackward);
  }
}

// One edge has one finding, whatever its mentions.
void EdgeMatcher::judge(int u, int v, Nets nets, Backwards backwards) {
  if (nets.size() > 1) {
    add_forward(BadEdge::kRepeated, v, u, nets[1].net);
    count_parallel(nets);
  } else if (nets.empty()) {
    if (backwards.size() == 1)
      add_backward(BadEdge::kOneSided, u, backwards[0]);
    else
      add_backward(BadEdge::kRepeated, u, backwards[1]);
  } else if (backwards.empty()) {
    add_forward(BadEdge::kOneSided, v, u, nets[0].net);
  } else if (const int w = weight_of(nets[0].net); w != backwards[0].w) {
    add_backward(BadEdge::kUnequal, u, backwards[0], w);
  } else if (backwards.size() > 1) {
    add_backward(BadEdge::kRepeated, u, backwards[1]);
  }
}

void EdgeMatcher::add_forward(BadEdge::Kind kind, int u, int v, int net) {
  const std::uint64_t key = order_ == Order::kText ? static_cast<std::uint64_t>(net) : pair_of(u, v);
  FewBadEdges& edges = kind == BadEdge::kRepeated ? repeated_forward_ : one_sided_forward_;
  edges.add(key, {kind, u, v, net, weight_of(net), 0});
}

void EdgeMatcher::add_backward(BadEdge::Kind kind, int u, const Backward& backward, int expected_w) {
  const std::uint64_t key = order_ == Order::kText ? pair_of(u, backward.index) : pair_of(backward.v, u);
  FewBadEdges& edges = kind == BadEdge::kRepeated ? repeated_backward_ : asymmetric_backward_;
  edges.add(key, {kind, u, backward.v, backward.index, backward.w, expected_w});
}

void EdgeMatcher::count_parallel(Nets nets) {
  nparallel_ += std::ssize(nets) - 1;
  if (first_parallel_ == 0 || nets[1].net < first_parallel_) first_parallel_ = nets[1].net;
}

EdgeFindings EdgeMatcher::finish() {
  EdgeFindings found;
  found.nasymmetric = one_sided_forward_.count() + asymmetric_backward_.count();
  found.nrepeated = repeated_forward_.count() + repeated_backward_.count();
  one_sided_forward_.append_to(found.edges);
  repeated_forward_.append_to(found.edges);
  for (BadEdge& edge : found.edges) edge.index -= first_net_of(lists_, edge.u);
  asymmetric_backward_.append_to(found.edges);
  repeated_backward_.append_to(found.edges);
  if (order_ == Order::kEnds && !found.edges.empty()) {
    const auto by_ends = [](const BadEdge& a, const BadEdge& b) {
      return std::minmax(a.u, a.v) < std::minmax(b.u, b.v);
    };
    found.edges = {*std::min_element(found.edges.begin(), found.edges.end(), by_ends)};
  }
  found.nparallel = nparallel_;
  found.first_parallel = first_parallel_;
  return found;
}

}  // namespace quillon::formats
