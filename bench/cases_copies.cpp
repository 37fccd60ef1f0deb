#include <algorithm>
#include <numeric>

#include "bench/cases.h"
#include "bench/differences.h"
#include "bench/rounds.h"
#include "oracle/oracle.h"
#include "oracle/services.h"
#include "util/util.h"

namespace quillon::bench {
namespace {

constexpr int kMaxSize = 12;  // nets of as many pins or more are set aside
constexpr int kAccountForPruned = 2;
constexpr std::uint64_t kSeed = 5;

void run_copy(benchmark::State& state, Input& input) {
  const Hypergraph& h = input.record();
  Hypergraph a = {};
  Hypergraph b = {};
  Comparison comparison;
  comparison.baseline.run = [&] { oracle::CopyHypergraph(&a, &h); };
  comparison.baseline.release = [&] { oracle::free_hypergraph(&a); };
  comparison.measured.run = [&] { CopyHypergraph(&b, &h); };
  comparison.measured.release = [&] { free_hypergraph(&b); };
  comparison.difference = [&] {
    Differences differences;
    differences.counts(a, b);
    differences.nets(a, b, h._n, h._p);
    differences.cells(a, b);
    differences.cell_lists(a, b, h._p);
    differences.values("sentinel net", a._nlst[h._n + 1].pinsend - a._cell_list,
                       b._nlst[h._n + 1].pinsend - b._cell_list);
    return differences.first();
  };
  measure(state, comparison, {h._p});
}

// A pruning copy with the arrays that its caller provides.
struct PrunedCopy {
  Hypergraph* nh = nullptr;
  int* netorder = nullptr;
  int* cellperm = nullptr;
  int* celldeg = nullptr;
  int** cellend = nullptr;
  int nmulti = 0;
};

void allocate_plainly(PrunedCopy& copy, Hypergraph& record, const Hypergraph& h) {
  record = {};
  record._c = h._c;
  record._n = h._n;
  record._p = h._p;
  oracle::malloc_hypergraph(&record);
  record._clabel = oracle::services.imalloc(std::int64_t{h._c} + 1, "bench: clabel");
  record._nlabel = oracle::services.imalloc(std::int64_t{h._n} + 1, "bench: nlabel");
  copy.nh = &record;
  copy.netorder = oracle::services.imalloc(std::int64_t{h._n} + 1, "bench: netorder");
  copy.cellperm = oracle::services.imalloc(std::int64_t{h._c} + 1, "bench: cellperm");
  copy.celldeg = oracle::services.imalloc(std::int64_t{h._c} + 1, "bench: celldeg");
  copy.cellend = static_cast<int**>(
      oracle::services.umalloc((static_cast<std::uint64_t>(h._c) + 1) * sizeof(int*), "bench: cellend"));
}

void free_plainly(const PrunedCopy& copy) {
  oracle::services.free(copy.nh->_internets);
  oracle::services.free(copy.nh->_clabel);
  oracle::services.free(copy.nh->_nlabel);
  oracle::free_hypergraph(copy.nh);
  oracle::services.free(copy.netorder);
  oracle::services.free(copy.cellperm);
  oracle::services.free(copy.celldeg);
  oracle::services.free(static_cast<void*>(copy.cellend));
}

void allocate_in_pools(PrunedCopy& copy, const Hypergraph& h) {
  copy.nh = create_hypergraph(0);
  copy.nh->_c = h._c;
  copy.nh->_n = h._n;
  copy.nh->_p = h._p;
  create_hypergraph_data(copy.nh, 1, 0, 1);
  copy.netorder = imalloc(std::int64_t{h._n} + 1, "bench: netorder");
  copy.cellperm = imalloc(std::int64_t{h._c} + 1, "bench: cellperm");
  copy.celldeg = imalloc(std::int64_t{h._c} + 1, "bench: celldeg");
  const std::uint64_t entries = static_cast<std::uint64_t>(h._c) + 1;
  copy.cellend = static_cast<int**>(umalloc(entries * sizeof(int*), "bench: cellend"));
}

void release_pools(const PrunedCopy& copy) {
  _usfree(static_cast<void*>(copy.cellend));
  _usfree(copy.celldeg);
  _usfree(copy.cellperm);
  _usfree(copy.netorder);
  destroy_hypergraph_data(copy.nh);
  destroy_hypergraph(copy.nh);
}

std::string difference_of_copies(const PrunedCopy& a, const PrunedCopy& b, const Hypergraph& h) {
  Differences differences;
  differences.values("nmulti", a.nmulti, b.nmulti);
  differences.counts(*a.nh, *b.nh);
  if (!differences.first().empty()) return differences.first();

  const std::int64_t npins = a.nh->_nlst[a.nmulti + 1].pins - a.nh->_cell_list;
  differences.nets(*a.nh, *b.nh, a.nmulti, npins);
  differences.net_sentinel(*a.nh, *b.nh, a.nmulti);
  differences.cells(*a.nh, *b.nh);
  differences.cell_lists(*a.nh, *b.nh, npins);
  differences.ints("netorder", a.netorder + 1, b.netorder + 1, h._n);
  differences.ints("_nlabel", a.nh->_nlabel + 1, b.nh->_nlabel + 1, h._n);
  differences.ints("_clabel", a.nh->_clabel + 1, b.nh->_clabel + 1, h._c);
  differences.ints("celldeg", a.celldeg, b.celldeg, std::int64_t{h._c} + 1);
  for (int i = 1; i <= h._c; ++i)
    differences.values("cellend", a.cellend[i] - a.nh->_net_list, b.cellend[i] - b.nh->_net_list);
  for (int k = 0; k < a.nh->_ninternets; ++k) {
    differences.values("internal net", a.nh->_internets[k].net, b.nh->_internets[k].net);
    differences.values("cell of internal net", a.nh->_internets[k].cell, b.nh->_internets[k].cell);
  }
  return differences.first();
}

void run_pruning(benchmark::State& state, Input& input) {
  const Hypergraph& h = input.record();
  Hypergraph record = {};
  PrunedCopy a;
  PrunedCopy b;
  Comparison comparison;
  comparison.baseline.run = [&] {
    allocate_plainly(a, record, h);
    oracle::CopyConsHypergraph(&h, a.nh, a.netorder, a.celldeg, a.cellend, kMaxSize, &a.nmulti,
                               kAccountForPruned);
  };
  comparison.baseline.release = [&] { free_plainly(a); };
  comparison.measured.run = [&] {
    allocate_in_pools(b, h);
    CopyConsHypergraph(&h, b.nh, b.netorder, b.celldeg, b.cellend, kMaxSize, &b.nmulti, kAccountForPruned);
  };
  comparison.measured.release = [&] { release_pools(b); };
  comparison.difference = [&] { return difference_of_copies(a, b, h); };
  measure(state, comparison, {h._p});
}

// A run changes the order of the pins of its source, so each side has its own source. Both start from the
// same order and draw the same numbers in each round.
void run_shuffled_pruning(benchmark::State& state, Input& input) {
  const Hypergraph& h = input.record();
  Hypergraph source_a = {};
  Hypergraph source_b = {};
  CopyHypergraph(&source_a, &h);
  CopyHypergraph(&source_b, &h);
  Hypergraph record = {};
  PrunedCopy a;
  PrunedCopy b;
  Comparison comparison;
  comparison.baseline.prepare = comparison.measured.prepare = [] { uSeed(kSeed); };
  comparison.baseline.run = [&] {
    allocate_plainly(a, record, h);
    oracle::CopyPermConsHypergraph(&source_a, a.nh, a.netorder, a.cellperm, a.celldeg, a.cellend, kMaxSize,
                                   &a.nmulti, kAccountForPruned);
  };
  comparison.baseline.release = [&] { free_plainly(a); };
  comparison.measured.run = [&] {
    allocate_in_pools(b, h);
    CopyPermConsHypergraph(&source_b, b.nh, b.netorder, b.cellperm, b.celldeg, b.cellend, kMaxSize, &b.nmulti,
                           kAccountForPruned);
  };
  comparison.measured.release = [&] { release_pools(b); };
  comparison.difference = [&] {
    Differences differences;
    differences.ints("cellperm", a.cellperm + 1, b.cellperm + 1, h._c);
    differences.ints("pins of the source", source_a._cell_list, source_b._cell_list, h._p);
    return differences.first().empty() ? difference_of_copies(a, b, h) : differences.first();
  };
  measure(state, comparison, {h._p});
  free_hypergraph(&source_a);
  free_hypergraph(&source_b);
}

std::vector<int> random_order(int count) {
  std::vector<int> order(static_cast<std::size_t>(count) + 1);
  std::iota(order.begin(), order.end(), 0);
  PermuteInPlace(order.data() + 1, count);
  return order;
}

void run_permutation(benchmark::State& state, Input& input) {
  const Hypergraph& h = input.record();
  uSeed(kSeed);
  const std::vector<int> netperm = random_order(h._n);
  const std::vector<int> cellperm = random_order(h._c);
  std::vector<int> work_a;
  std::vector<int> work_b;
  Hypergraph a = {};
  Hypergraph b = {};
  Comparison comparison;
  comparison.baseline.prepare = [&] { work_a = cellperm; };
  comparison.baseline.run = [&] {
    a._c = h._c;
    a._n = h._n;
    a._p = h._p;
    oracle::malloc_hypergraph(&a);
    oracle::PermuteHypergraph(&h, &a, netperm.data(), work_a.data());
  };
  comparison.baseline.release = [&] { oracle::free_hypergraph(&a); };
  comparison.measured.prepare = [&] { work_b = cellperm; };
  comparison.measured.run = [&] {
    b._c = h._c;
    b._n = h._n;
    b._p = h._p;
    malloc_hypergraph(&b);
    PermuteHypergraph(&h, &b, netperm.data(), work_b.data());
  };
  comparison.measured.release = [&] { free_hypergraph(&b); };
  comparison.difference = [&] {
    Differences differences;
    differences.counts(a, b);
    differences.nets(a, b, h._n, h._p);
    differences.net_sentinel(a, b, h._n);
    differences.cells(a, b);
    differences.cell_lists(a, b, h._p);
    differences.ints("cellperm", work_a.data(), work_b.data(), std::int64_t{h._c} + 1);
    return differences.first();
  };
  measure(state, comparison, {h._p});
}

}  // namespace

void add_copies(Input& input, const Options& options) {
  add_benchmark("CopyHypergraph/" + input.name(), options.nrounds,
                [&input](benchmark::State& state) { run_copy(state, input); });
  add_benchmark("CopyConsHypergraph/" + input.name(), options.nrounds,
                [&input](benchmark::State& state) { run_pruning(state, input); });
  add_benchmark("CopyPermConsHypergraph/" + input.name(), options.nrounds,
                [&input](benchmark::State& state) { run_shuffled_pruning(state, input); });
  add_benchmark("PermuteHypergraph/" + input.name(), options.nrounds,
                [&input](benchmark::State& state) { run_permutation(state, input); });
}

}  // namespace quillon::bench
