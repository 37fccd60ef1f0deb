#include <cstdio>
#include <filesystem>

#include "bench/cases.h"
#include "bench/differences.h"
#include "bench/rounds.h"
#include "bench/writers.h"
#include "oracle/oracle.h"
#include "oracle/services.h"
#include "util/util.h"

namespace quillon::bench {
namespace {

using Reader = int (*)(Hypergraph* h, const char* filename, int check);
using Writer = void (*)(const Hypergraph* h, const char* filename);
using WriteTo = std::function<void(const char* filename)>;

std::string difference_of_read(const Hypergraph& a, const Hypergraph& b) {
  Differences differences;
  differences.counts(a, b);
  if (!differences.first().empty()) return differences.first();
  differences.nets(a, b, a._n, a._p);
  differences.net_sentinel(a, b, a._n);
  differences.cells(a, b);
  return differences.first();
}

void run_reader(benchmark::State& state, Input& input, Reader oracle_reader, Reader reader, int check) {
  const char* const path = input.path();
  Hypergraph a = {};
  Hypergraph b = {};
  int result_a = 0;
  int result_b = 0;
  Comparison comparison;
  comparison.baseline.run = [&] { result_a = oracle_reader(&a, path, check); };
  comparison.baseline.release = [&] { oracle::free_hypergraph(&a); };
  comparison.measured.run = [&] { result_b = reader(&b, path, check); };
  comparison.measured.release = [&] { free_hypergraph(&b); };
  comparison.difference = [&] {
    if (result_a != result_b) return std::string("the values returned");
    return difference_of_read(a, b);
  };
  measure(state, comparison, {input.record()._p, input.bytes()});
}

// Reads the records of a file one after another with `read`, which returns their pins. Returns all pins.
template <typename Read>
std::int64_t read_all(const std::string& path, const Read& read) {
  std::FILE* const stream = ufopen(path.c_str(), "r", "bench: records");
  std::int64_t npins = 0;
  for (int next = std::getc(stream); next != EOF; next = std::getc(stream)) {
    std::ungetc(next, stream);
    Hypergraph h = {};
    npins += read(h, stream);
  }
  ufclose(stream);
  return npins;
}

// A stream of many small records: what each call costs before and after its lines.
void run_small_records(benchmark::State& state, const Options& options) {
  constexpr int kRecords = 20000;
  const std::string path = options.folder + "/records";
  std::FILE* const file = ufopen(path.c_str(), "w", "bench: records");
  for (int k = 0; k < kRecords; ++k) std::fputs("1 4 3 6\n1 2\n2 3\n3 4\n", file);
  ufclose(file);

  std::int64_t npins_a = 0;
  std::int64_t npins_b = 0;
  Comparison comparison;
  comparison.baseline.run = [&] {
    npins_a = read_all(path, [](Hypergraph& h, std::FILE* stream) {
      oracle::read_hypergraphFromFile(&h, stream, 0);
      const int npins = h._p;
      oracle::free_hypergraph(&h);
      return npins;
    });
  };
  comparison.measured.run = [&] {
    npins_b = read_all(path, [](Hypergraph& h, std::FILE* stream) {
      read_hypergraphFromFile(&h, stream, 0);
      const int npins = h._p;
      free_hypergraph(&h);
      return npins;
    });
  };
  comparison.difference = [&] {
    Differences differences;
    differences.values("pins read", npins_a, npins_b);
    return differences.first();
  };
  const Medians medians = run_rounds(state, comparison);
  state.counters["times_obvious"] = 1 / medians.ratio;
  state.counters["ns_per_record"] = 1e9 * medians.measured / kRecords;
  std::filesystem::remove(path);
}

struct NetArrays {
  int ncells = 0;
  int nnets = 0;
  int* xnadj = nullptr;
  int* nadj = nullptr;
};

void run_net_array_reader(benchmark::State& state, Input& input) {
  const char* const path = input.path();
  NetArrays a;
  NetArrays b;
  Comparison comparison;
  comparison.baseline.run = [&] {
    oracle::read_hypergraph_netar(path, &a.ncells, &a.nnets, &a.xnadj, &a.nadj);
  };
  comparison.baseline.release = [&] {
    oracle::services.free(a.xnadj);
    oracle::services.free(a.nadj);
  };
  comparison.measured.run = [&] { read_hypergraph_netar(path, &b.ncells, &b.nnets, &b.xnadj, &b.nadj); };
  comparison.measured.release = [&] {
    _usfree(b.xnadj);
    _usfree(b.nadj);
  };
  comparison.difference = [&] {
    Differences differences;
    differences.values("ncells", a.ncells, b.ncells);
    differences.values("nnets", a.nnets, b.nnets);
    if (!differences.first().empty()) return differences.first();
    differences.ints("xnadj", a.xnadj + 1, b.xnadj + 1, std::int64_t{a.nnets} + 1);
    if (differences.first().empty()) differences.ints("nadj", a.nadj, b.nadj, a.xnadj[a.nnets + 1]);
    return differences.first();
  };
  measure(state, comparison, {input.record()._p, input.bytes()});
}

void forget_parts(Hypergraph& h) {
  for (int i = 1; i <= h._c; ++i) h._clst[i].pno = -1;
}

void run_part_reader(benchmark::State& state, Input& input, const Options& options) {
  const std::string path = options.folder + "/parts";
  write_part_info(&input.record(), path.c_str());
  Hypergraph a = {};
  Hypergraph b = {};
  oracle::CopyHypergraph(&a, &input.record());
  oracle::CopyHypergraph(&b, &input.record());
  Comparison comparison;
  comparison.baseline.prepare = [&] { forget_parts(a); };
  comparison.baseline.run = [&] { oracle::read_part_info(&a, path.c_str()); };
  comparison.measured.prepare = [&] { forget_parts(b); };
  comparison.measured.run = [&] { read_part_info(&b, path.c_str()); };
  comparison.difference = [&] {
    Differences differences;
    differences.cells(a, b);
    differences.cells(a, input.record());
    return differences.first();
  };
  measure(state, comparison, {a._c, static_cast<std::int64_t>(std::filesystem::file_size(path))});
  oracle::free_hypergraph(&a);
  oracle::free_hypergraph(&b);
  std::filesystem::remove(path);
}

// Each run writes a new file: replacing one would include the removal of its old contents in the time.
void run_writer(benchmark::State& state, const Options& options, const WriteTo& oracle_write,
                const WriteTo& write, int nitems) {
  const std::string path_a = options.folder + "/written.baseline";
  const std::string path_b = options.folder + "/written.module";
  std::int64_t bytes = 0;
  Comparison comparison;
  comparison.baseline.run = [&] { oracle_write(path_a.c_str()); };
  comparison.baseline.release = [&] { std::filesystem::remove(path_a); };
  comparison.measured.run = [&] { write(path_b.c_str()); };
  comparison.measured.release = [&] { std::filesystem::remove(path_b); };
  comparison.difference = [&] {
    bytes = static_cast<std::int64_t>(std::filesystem::file_size(path_b));
    Differences differences;
    differences.files(path_a, path_b);
    return differences.first();
  };
  const Medians medians = run_rounds(state, comparison);
  report(state, medians, {nitems, bytes});
}

void run_part_vector_writer(benchmark::State& state, Input& input, const Options& options) {
  const Hypergraph& h = input.record();
  std::vector<int> parts(static_cast<std::size_t>(h._c) + 1);
  for (int i = 1; i <= h._c; ++i) parts[i] = h._clst[i].pno;
  run_writer(
      state, options, [&](const char* filename) { oracle::write_partvec(h._c, parts.data(), filename); },
      [&](const char* filename) { write_partvec(h._c, parts.data(), filename); }, h._c);
}

void oracle_write_text(const Hypergraph* h, const char* filename) {
  oracle::write_hypergraph(h, filename, 1, h->_fmt);
}
void oracle_write_hmetis(const Hypergraph* h, const char* filename) {
  oracle::write_hmetis_hypergraph(h, filename);
}
void oracle_write_kub(const Hypergraph* h, const char* filename) {
  oracle::write_kub_hypergraph(h, filename);
}

void add_reader(const char* name, Input& input, const Options& options, Reader oracle_reader, Reader reader,
                int check) {
  add_benchmark(
      std::string(name) + "/" + input.name(), options.nrounds,
      [=, &input](benchmark::State& state) { run_reader(state, input, oracle_reader, reader, check); });
}

void add_writer(const char* name, Input& input, const Options& options, Writer oracle_writer, Writer writer,
                bool cells_only = false) {
  add_benchmark(std::string(name) + "/" + input.name(), options.nrounds,
                [=, &input, &options](benchmark::State& state) {
                  const Hypergraph& h = input.record();
                  run_writer(
                      state, options, [&](const char* filename) { oracle_writer(&h, filename); },
                      [&](const char* filename) { writer(&h, filename); }, cells_only ? h._c : h._p);
                });
}

}  // namespace

void add_reading(Input& input, const Options& options) {
  add_reader("read_hypergraph", input, options, oracle::read_hypergraph, read_hypergraph, 0);
  add_reader("read_hypergraph_with_onepin_nets", input, options, oracle::read_hypergraph_with_onepin_nets,
             read_hypergraph_with_onepin_nets, 0);
  // Only this reader: the other one also warns about cells of removed nets.
  add_reader("read_hypergraph_with_onepin_nets:check", input, options,
             oracle::read_hypergraph_with_onepin_nets, read_hypergraph_with_onepin_nets, 1);
  add_benchmark("read_hypergraph_netar/" + input.name(), options.nrounds,
                [&input](benchmark::State& state) { run_net_array_reader(state, input); });
  add_benchmark("read_part_info/" + input.name(), options.nrounds,
                [&input, &options](benchmark::State& state) { run_part_reader(state, input, options); });
}

void add_small_records(const Options& options) {
  add_benchmark("records/read_hypergraphFromFile", options.nrounds,
                [&options](benchmark::State& state) { run_small_records(state, options); });
}

void add_writing(Input& input, const Options& options) {
  add_writer("write_hypergraph", input, options, oracle_write_text, write_text_format);
  add_writer("write_hmetis_hypergraph", input, options, oracle_write_hmetis, write_hmetis);
  add_writer("write_kub_hypergraph", input, options, oracle_write_kub, write_kub);
  add_writer("write_part_info", input, options, oracle::write_part_info, write_part_info, true);
  add_benchmark(
      "write_partvec/" + input.name(), options.nrounds,
      [&input, &options](benchmark::State& state) { run_part_vector_writer(state, input, options); });
}

}  // namespace quillon::bench
