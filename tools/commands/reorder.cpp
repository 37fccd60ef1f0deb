#include <algorithm>
#include <cstdio>
#include <limits>
#include <numeric>
#include <optional>

#include "formats/load.h"
#include "formats/scanner.h"
#include "formats/sink.h"
#include "hypergraph/hypergraph.h"
#include "tools/commands/commands.h"
#include "tools/commands/part_file.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

// Orders are arrays of the module: entry 0 is not used.
using Order = std::vector<int>;

Order identity(int count) {
  Order order(static_cast<std::size_t>(count) + 1);
  std::iota(order.begin(), order.end(), 0);
  return order;
}

Order read_permutation(const std::string& file, int ncells) {
  Tokenizer tokenizer = open_tokenizer(file);
  const Range cells{1, ncells, "a cell number from 1 to " + std::to_string(ncells)};
  constexpr std::size_t kUnseen = std::numeric_limits<std::size_t>::max();
  Order order = identity(ncells);
  std::vector<std::size_t> seen_at(order.size(), kUnseen);
  for (int i = 1; i <= ncells; ++i) {
    const Token token = next_token(tokenizer);
    const int cell = as_number(tokenizer, token, cells);
    std::size_t& seen = seen_at[static_cast<std::size_t>(cell)];
    if (seen != kUnseen)
      unexpected(tokenizer, token,
                 "a cell not named before, which it was on line " + std::to_string(line_of(tokenizer, seen)));
    seen = token.offset;
    order[static_cast<std::size_t>(i)] = cell;
  }
  expect_end(tokenizer, "the numbers of " + std::to_string(ncells) + " cells");
  return order;
}

// Part numbers are replaced by their ranks, so that what is allocated for them depends on how many there are.
int take_parts(const std::string& file, Hypergraph& h) {
  const Order part_of = read_parts(file, h._c, std::numeric_limits<int>::max());
  std::vector<int> parts(part_of.begin() + 1, part_of.end());
  std::sort(parts.begin(), parts.end());
  parts.erase(std::unique(parts.begin(), parts.end()), parts.end());
  for (int i = 1; i <= h._c; ++i) {
    const auto rank = std::lower_bound(parts.begin(), parts.end(), part_of[static_cast<std::size_t>(i)]);
    h._clst[i].pno = static_cast<int>(rank - parts.begin());
  }
  return static_cast<int>(parts.size());
}

Order order_by_part(const Hypergraph& h) {
  Order order = identity(h._c);
  std::stable_sort(order.begin() + 1, order.end(),
                   [&h](int a, int b) { return h._clst[a].pno < h._clst[b].pno; });
  return order;
}

Order inverse_of(const Order& order) {
  Order inverse(order.size());
  for (std::size_t i = 1; i < order.size(); ++i)
    inverse[static_cast<std::size_t>(order[i])] = static_cast<int>(i);
  return inverse;
}

void write_order(const Order& order, const char* filename) {
  std::FILE* const file = ufopen(filename, "w", "quillon reorder: order");
  for (std::size_t i = 1; i < order.size(); ++i) std::fprintf(file, "%d\n", order[i]);
  ufclose(file);
}

Order chosen_order(const Hypergraph& h, const ReorderOptions& options) {
  if (options.by_part) return order_by_part(h);
  if (options.perm) return read_permutation(*options.perm, h._c);
  Order order = identity(h._c);
  uSeed(options.seed);
  PermuteInPlace(order.data() + 1, h._c);
  return order;
}

}  // namespace

int run(const ReorderOptions& options) {
  const std::string order_file = options.by_part.value_or(options.perm.value_or(""));
  refuse_to_replace({order_file}, options.out);
  refuse_to_replace({options.in}, options.write_perm);
  refuse_to_replace({options.in}, options.write_inverse);
  Loaded source;
  load(source, options.in, SmallNets::kKeep, false);
  Hypergraph& h = source.h;
  const int nparts = options.by_part ? take_parts(*options.by_part, h) : 0;
  const Order order = chosen_order(h, options);

  Hypergraph nh{};
  nh._c = h._c;
  nh._n = h._n;
  nh._p = h._p;
  malloc_hypergraph(&nh);
  if (options.by_part) {
    SymmetricPermute(&h, nparts, &nh);
  } else {
    Order work = order;
    PermuteHypergraph(&h, &nh, identity(h._n).data(), work.data());
  }

  Outputs outputs;
  stage(outputs, options.out, [&](const char* filename) { write_hypergraph(&nh, filename, 1, h._fmt); });
  if (!options.write_perm.empty())
    stage(outputs, options.write_perm, [&](const char* filename) { write_order(order, filename); });
  if (!options.write_inverse.empty())
    stage(outputs, options.write_inverse,
          [&](const char* filename) { write_order(inverse_of(order), filename); });
  publish(outputs);

  free_hypergraph(&nh);
  return kFine;
}

}  // namespace quillon::tool
