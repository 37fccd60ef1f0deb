#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "bench/cases.h"
#include "bench/rounds.h"
#include "formats/formats.h"
#include "formats/part_vector.h"
#include "formats/threads.h"
#include "hypergraph/detail/lists.h"
#include "util/util.h"

namespace quillon::bench {
namespace {

using WriteFile = void (*)(const Hypergraph& h, const char* filename);

void write_hmetis(const Hypergraph& h, const char* filename) { write_hmetis_hypergraph(&h, filename); }
void write_kub(const Hypergraph& h, const char* filename) { write_kub_hypergraph(&h, filename); }
void write_quillon(const Hypergraph& h, const char* filename) { write_hypergraph(&h, filename, 1, 0); }

// A matrix with a row for each net; the kind tells the values after the two indices.
template <typename PrintValue>
void write_matrix(const Hypergraph& h, const char* filename, const char* kind, PrintValue print_value) {
  std::FILE* const file = ufopen(filename, "w", "bench: matrix");
  std::fprintf(file, "%%%%MatrixMarket matrix coordinate %s general\n%d %d %d\n", kind, h._n, h._c, h._p);
  for (int j = 1; j <= h._n; ++j) {
    for (const int i : pins_of(h._nlst[j])) {
      std::fprintf(file, "%d %d", j, i);
      print_value(file, i);
      std::fputc('\n', file);
    }
  }
  ufclose(file);
}

void write_pattern(const Hypergraph& h, const char* filename) {
  write_matrix(h, filename, "pattern", [](std::FILE* /*file*/, int /*i*/) {});
}
void write_integers(const Hypergraph& h, const char* filename) {
  write_matrix(h, filename, "integer", [](std::FILE* file, int i) { std::fprintf(file, " %d", i % 100); });
}
void write_reals(const Hypergraph& h, const char* filename) {
  write_matrix(h, filename, "real", [](std::FILE* file, int i) { std::fprintf(file, " %.8e", i / 7.0); });
}

// A graph with an edge for each pair of neighbouring pins.
void write_graph(const Hypergraph& h, const char* filename) {
  std::vector<std::set<int>> named(static_cast<std::size_t>(h._c) + 1);
  std::size_t nmentions = 0;
  for (int k = 0; k + 1 < h._p; k += 2) {
    const int u = h._cell_list[k];
    const int v = h._cell_list[k + 1];
    if (u == v || !named[static_cast<std::size_t>(u)].insert(v).second) continue;
    named[static_cast<std::size_t>(v)].insert(u);
    nmentions += 2;
  }
  std::FILE* const file = ufopen(filename, "w", "bench: graph");
  std::fprintf(file, "%d %zu\n", h._c, nmentions / 2);
  for (int u = 1; u <= h._c; ++u) {
    for (const int v : named[static_cast<std::size_t>(u)]) std::fprintf(file, "%d ", v);
    std::fputc('\n', file);
  }
  ufclose(file);
}

std::string made_file(const Hypergraph& h, const Options& options, WriteFile write) {
  std::string path = options.folder + "/import";
  write(h, path.c_str());
  return path;
}

double bytes_of(const std::string& path) { return static_cast<double>(std::filesystem::file_size(path)); }

std::string difference_of_pins(const formats::NetLists& lists, const Hypergraph& h, bool same_pins) {
  if (!same_pins) return "";
  const bool equal = lists.ncells == h._c && lists.nnets == h._n &&
                     std::equal(lists.nadj.begin(), lists.nadj.end(), h._cell_list, h._cell_list + h._p);
  return equal ? "" : "the pins";
}

// Bytes per second against those of read_hypergraph on a file of the same pins, on one thread.
void run_import(benchmark::State& state, Input& input, const Options& options, const char* format,
                WriteFile write) {
  const std::string path = made_file(input.record(), options, write);
  const bool same_pins = write != write_graph && !input.has_duplicate_pins();
  formats::set_threads(1);
  Hypergraph h = {};
  formats::NetLists lists;
  Comparison comparison;
  comparison.baseline.run = [&] { read_hypergraph(&h, input.path(), 0); };
  comparison.baseline.release = [&] { free_hypergraph(&h); };
  comparison.measured.run = [&] { lists = formats::read_file(path, *formats::format_named(format), {}); };
  comparison.measured.release = [&] { lists = {}; };
  comparison.difference = [&] { return difference_of_pins(lists, input.record(), same_pins); };
  const Medians medians = run_rounds(state, comparison);
  formats::set_threads(0);
  if (state.error_occurred()) return;
  state.counters["import_bytes_per_second"] = bytes_of(path) / medians.measured;
  state.counters["times_read_hypergraph"] =
      medians.ratio * bytes_of(path) / static_cast<double>(input.bytes());
  std::filesystem::remove(path);
}

// Two threads against one.
void run_threads(benchmark::State& state, Input& input, const Options& options, const char* format,
                 WriteFile write) {
  const std::string path = made_file(input.record(), options, write);
  formats::NetLists one;
  formats::NetLists two;
  const auto read = [&](formats::NetLists& lists, int nthreads) {
    formats::set_threads(nthreads);
    lists = formats::read_file(path, *formats::format_named(format), {});
  };
  Comparison comparison;
  comparison.baseline.run = [&] { read(one, 1); };
  comparison.baseline.release = [&] { one = {}; };
  comparison.measured.run = [&] { read(two, 2); };
  comparison.measured.release = [&] { two = {}; };
  comparison.difference = [&] { return std::string(one.nadj == two.nadj ? "" : "the pins"); };
  const Medians medians = run_rounds(state, comparison);
  formats::set_threads(0);
  if (!state.error_occurred()) state.counters["times_one_thread"] = medians.ratio;
  std::filesystem::remove(path);
}

// A file with a number for each cell, in bytes per second against the hMETIS importer.
void run_numbers(benchmark::State& state, Input& input, const Options& options, bool permutation) {
  const Hypergraph& h = input.record();
  const std::string hypergraph = made_file(h, options, write_hmetis);
  const std::string path = options.folder + "/numbers";
  std::vector<int> numbers(static_cast<std::size_t>(h._c) + 1);
  for (int i = 1; i <= h._c; ++i) numbers[static_cast<std::size_t>(i)] = permutation ? h._c + 1 - i : i % 64;
  formats::write_permutation(numbers, path.c_str());
  formats::set_threads(1);
  std::vector<int> read;
  Comparison comparison;
  comparison.baseline.run = [&] { formats::read_file(hypergraph, *formats::format_named("hmetis"), {}); };
  comparison.measured.run = [&] {
    read = permutation ? formats::read_permutation(path, h._c) : formats::read_parts(path, h._c, 64);
  };
  comparison.difference = [&] { return std::string(read == numbers ? "" : "the numbers"); };
  const Medians medians = run_rounds(state, comparison);
  formats::set_threads(0);
  if (state.error_occurred()) return;
  state.counters["times_hmetis"] = medians.ratio * bytes_of(path) / bytes_of(hypergraph);
  std::filesystem::remove(path);
  std::filesystem::remove(hypergraph);
}

}  // namespace

void add_imports(Input& input, const Options& options) {
  struct Kind {
    const char* name;
    const char* format;
    WriteFile write;
  };
  static const Kind kKinds[] = {{"quillon", "quillon", write_quillon},
                                {"hmetis", "hmetis", write_hmetis},
                                {"kub", "kub", write_kub},
                                {"metis", "metis", write_graph},
                                {"mtx_pattern", "mtx", write_pattern},
                                {"mtx_integer", "mtx", write_integers},
                                {"mtx_real", "mtx", write_reals}};
  for (const Kind& kind : kKinds) {
    add_benchmark(
        std::string("import_") + kind.name + "/" + input.name(), options.nrounds,
        [&](benchmark::State& state) { run_import(state, input, options, kind.format, kind.write); });
    add_benchmark(
        std::string("import_") + kind.name + ":threads/" + input.name(), options.nrounds,
        [&](benchmark::State& state) { run_threads(state, input, options, kind.format, kind.write); });
  }
  for (const bool permutation : {false, true})
    add_benchmark((permutation ? "import_permutation/" : "import_parts/") + input.name(), options.nrounds,
                  [&input, &options, permutation](benchmark::State& state) {
                    run_numbers(state, input, options, permutation);
                  });
}

}  // namespace quillon::bench
