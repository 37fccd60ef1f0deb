#include <algorithm>
#include <functional>

#include "bench/cases.h"
#include "bench/differences.h"
#include "bench/rounds.h"
#include "oracle/oracle.h"
#include "oracle/services.h"
#include "util/util.h"

namespace quillon::bench {
namespace {

// A record that shares one side with another; the other side is built in each run, with a new array of lists
// and a new work array, as after a reader.
struct HalfRecord {
  Hypergraph h;
  int* work = nullptr;
};

void give_own_cells(HalfRecord& half, const Hypergraph& h) {
  half.h = h;
  const std::int64_t count = std::int64_t{h._c} + 2;
  half.h._clst = static_cast<Cell*>(umalloc(static_cast<std::uint64_t>(count) * sizeof(Cell), "bench: clst"));
  std::copy_n(h._clst, count, half.h._clst);
}

void give_own_nets(HalfRecord& half, const Hypergraph& h) {
  half.h = h;
  const std::int64_t count = std::int64_t{h._n} + 2;
  half.h._nlst = static_cast<Net*>(umalloc(static_cast<std::uint64_t>(count) * sizeof(Net), "bench: nlst"));
  std::copy_n(h._nlst, count, half.h._nlst);
}

// The side to build: the array of its lists and the functions that build it with a work array of `nwork`
// ints.
struct Construction {
  int* Hypergraph::*list;
  std::int64_t nwork;
  int (*oracle)(Hypergraph* h, int* work);
  int (*module)(Hypergraph* h, int* work);
};

void compare_constructions(benchmark::State& state, const Construction& construction, HalfRecord& a,
                           HalfRecord& b, const std::function<void(Differences&)>& compare_lists) {
  const auto list = construction.list;
  const std::int64_t nentries = std::int64_t{a.h._p} + 2;
  Comparison comparison;
  comparison.baseline.run = [&] {
    a.h.*list = oracle::services.imalloc(nentries, "bench: list");
    a.work = oracle::services.imalloc(construction.nwork, "bench: work");
    construction.oracle(&a.h, a.work);
  };
  comparison.baseline.release = [&] {
    oracle::services.free(a.work);
    oracle::services.free(a.h.*list);
  };
  comparison.measured.run = [&] {
    b.h.*list = imalloc(nentries, "bench: list");
    b.work = imalloc(construction.nwork, "bench: work");
    construction.module(&b.h, b.work);
  };
  comparison.measured.release = [&] {
    _usfree(b.work);
    _usfree(b.h.*list);
  };
  comparison.difference = [&] {
    Differences differences;
    compare_lists(differences);
    differences.ints("work", a.work, b.work, construction.nwork);
    return differences.first();
  };
  measure(state, comparison, {a.h._p});
}

void run_net_list(benchmark::State& state, Input& input) {
  const Hypergraph& h = input.record();
  HalfRecord a;
  HalfRecord b;
  give_own_cells(a, h);
  give_own_cells(b, h);
  const Construction construction{&Hypergraph::_net_list, std::int64_t{h._c} + 1, oracle::construct_net_list,
                                  construct_net_list};
  compare_constructions(state, construction, a, b, [&](Differences& differences) {
    differences.counts(a.h, b.h);
    differences.cell_lists(a.h, b.h, h._p);
  });
  _usfree(b.h._clst);
  _usfree(a.h._clst);
}

void run_cell_list(benchmark::State& state, Input& input) {
  const Hypergraph& h = input.record();
  HalfRecord a;
  HalfRecord b;
  give_own_nets(a, h);
  give_own_nets(b, h);
  const Construction construction{&Hypergraph::_cell_list, std::int64_t{h._n} + 1,
                                  oracle::construct_cell_list, construct_cell_list};
  compare_constructions(state, construction, a, b, [&](Differences& differences) {
    differences.nets(a.h, b.h, h._n, h._p);
    differences.net_sentinel(a.h, b.h, h._n);
  });
  _usfree(b.h._nlst);
  _usfree(a.h._nlst);
}

// Changes the record, but every run gives the same result.
void run_infos(benchmark::State& state, Input& input) {
  const Hypergraph& h = input.record();
  HalfRecord a;
  HalfRecord b;
  give_own_cells(a, h);
  give_own_cells(b, h);
  Comparison comparison;
  comparison.baseline.run = [&] { oracle::set_hypergraph_infos(&a.h); };
  comparison.measured.run = [&] { set_hypergraph_infos(&b.h); };
  comparison.difference = [&] {
    Differences differences;
    differences.counts(a.h, b.h);
    differences.cells(a.h, b.h);
    differences.cell_lists(a.h, b.h, h._p);
    return differences.first();
  };
  measure(state, comparison, {h._p});
  _usfree(b.h._clst);
  _usfree(a.h._clst);
}

void run_fill_arrays(benchmark::State& state, Input& input) {
  const Hypergraph& h = input.record();
  int* xnadj_a = nullptr;
  int* nadj_a = nullptr;
  int* xnadj_b = nullptr;
  int* nadj_b = nullptr;
  Comparison comparison;
  comparison.baseline.run = [&] { oracle::hypergraph_Fill2Arr(&h, &xnadj_a, &nadj_a); };
  comparison.baseline.release = [&] {
    oracle::services.free(xnadj_a);
    oracle::services.free(nadj_a);
  };
  comparison.measured.run = [&] { hypergraph_Fill2Arr(&h, &xnadj_b, &nadj_b); };
  comparison.measured.release = [&] {
    _usfree(xnadj_b);
    _usfree(nadj_b);
  };
  comparison.difference = [&] {
    Differences differences;
    differences.ints("xnadj", xnadj_a + 1, xnadj_b + 1, std::int64_t{h._n} + 1);
    differences.ints("nadj", nadj_a, nadj_b, h._p);
    return differences.first();
  };
  measure(state, comparison, {h._p});
}

void run_load_arrays(benchmark::State& state, Input& input) {
  const Hypergraph& h = input.record();
  int* xnadj = nullptr;
  int* nadj = nullptr;
  hypergraph_Fill2Arr(&h, &xnadj, &nadj);
  Hypergraph a = {};
  Hypergraph b = {};
  Comparison comparison;
  comparison.baseline.run = [&] { oracle::hypergraph_LoadFromArr(&a, h._n, h._c, xnadj, nadj, nullptr); };
  comparison.baseline.release = [&] { oracle::free_hypergraph(&a); };
  comparison.measured.run = [&] { hypergraph_LoadFromArr(&b, h._n, h._c, xnadj, nadj, nullptr); };
  comparison.measured.release = [&] { free_hypergraph(&b); };
  comparison.difference = [&] {
    Differences differences;
    differences.counts(a, b);
    differences.nets(a, b, h._n, h._p);
    differences.net_sentinel(a, b, h._n);
    differences.cell_lists(a, b, h._p);
    return differences.first();
  };
  measure(state, comparison, {h._p});
  _usfree(xnadj);
  _usfree(nadj);
}

}  // namespace

void add_incidence(Input& input, const Options& options) {
  add_benchmark("construct_net_list/" + input.name(), options.nrounds,
                [&input](benchmark::State& state) { run_net_list(state, input); });
  add_benchmark("construct_cell_list/" + input.name(), options.nrounds,
                [&input](benchmark::State& state) { run_cell_list(state, input); });
  add_benchmark("set_hypergraph_infos/" + input.name(), options.nrounds,
                [&input](benchmark::State& state) { run_infos(state, input); });
  add_benchmark("hypergraph_Fill2Arr/" + input.name(), options.nrounds,
                [&input](benchmark::State& state) { run_fill_arrays(state, input); });
  add_benchmark("hypergraph_LoadFromArr/" + input.name(), options.nrounds,
                [&input](benchmark::State& state) { run_load_arrays(state, input); });
}

}  // namespace quillon::bench
