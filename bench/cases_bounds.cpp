#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "bench/cases.h"
#include "bench/differences.h"
#include "bench/rounds.h"
#include "bench/system.h"
#include "bench/writers.h"
#include "formats/formats.h"
#include "util/util.h"

namespace quillon::bench {
namespace {

using Writer = void (*)(const Hypergraph* h, const char* filename);

// A writer against cat, which copies the written file.
void run_against_cat(benchmark::State& state, Input& input, const Options& options, Writer writer) {
  const Hypergraph& h = input.record();
  const std::string source = options.folder + "/cat.source";
  const std::string path_a = options.folder + "/written.cat";
  const std::string path_b = options.folder + "/written.module";
  writer(&h, source.c_str());
  settle(source);
  Comparison comparison;
  comparison.baseline.run = [&] { run_program({"cat", source}, path_a); };
  comparison.baseline.release = [&] { std::filesystem::remove(path_a); };
  comparison.measured.run = [&] { writer(&h, path_b.c_str()); };
  comparison.measured.release = [&] { std::filesystem::remove(path_b); };
  comparison.difference = [&] {
    Differences differences;
    differences.files(path_a, path_b);
    return differences.first();
  };
  const Medians medians = run_rounds(state, comparison);
  if (!state.error_occurred()) {
    const auto bytes = static_cast<double>(std::filesystem::file_size(source));
    state.counters["times_cat"] = 1 / medians.ratio;
    state.counters["bytes_per_second"] = bytes / medians.measured;
    state.counters["cat_bytes_per_second"] = bytes / medians.baseline;
  }
  std::filesystem::remove(source);
}

struct Block {
  const void* from;
  std::uint64_t bytes;
  void* to;
};

// The four arrays of a record.
std::vector<Block> blocks_of(const Hypergraph& h) {
  const auto bytes = [](int count, std::size_t each) {
    return (static_cast<std::uint64_t>(count) + 2) * each;
  };
  return {{h._clst, bytes(h._c, sizeof(Cell)), nullptr},
          {h._nlst, bytes(h._n, sizeof(Net)), nullptr},
          {h._cell_list, bytes(h._p, sizeof(int)), nullptr},
          {h._net_list, bytes(h._p, sizeof(int)), nullptr}};
}

// Both sides allocate their memory in the same way: only the copying differs.
void run_against_memcpy(benchmark::State& state, Input& input) {
  const Hypergraph& h = input.record();
  std::vector<Block> blocks = blocks_of(h);
  Hypergraph copy = {};
  Comparison comparison;
  comparison.baseline.run = [&] {
    for (Block& block : blocks) {
      block.to = umalloc(block.bytes, "bench: memcpy");
      std::memcpy(block.to, block.from, block.bytes);
    }
  };
  comparison.baseline.release = [&] {
    for (const Block& block : blocks) _usfree(block.to);
  };
  comparison.measured.run = [&] { CopyHypergraph(&copy, &h); };
  comparison.measured.release = [&] { free_hypergraph(&copy); };
  comparison.difference = [] { return std::string(); };
  const Medians medians = run_rounds(state, comparison);
  double bytes = 0;
  for (const Block& block : blocks) bytes += static_cast<double>(block.bytes);
  state.counters["times_memcpy"] = 1 / medians.ratio;
  state.counters["bytes_per_second"] = bytes / medians.measured;
  state.counters["memcpy_bytes_per_second"] = bytes / medians.baseline;
}

std::int64_t longest_line(const char* path) {
  std::int64_t longest = 0;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) longest = std::max(longest, std::ssize(line) + 1);
  return longest;
}

// Peak memory, in bytes, of a child process that reads a file, if any.
double peak_of_child(const Options& options, const std::vector<std::string>& arguments) {
  const std::string output = options.folder + "/peak";
  std::vector<std::string> words = {"/proc/self/exe", kPeakOfRead};
  words.insert(words.end(), arguments.begin(), arguments.end());
  run_program(words, output);
  double kibibytes = 0;
  std::ifstream(output) >> kibibytes;
  return 1024 * kibibytes;
}

// Median over the rounds of the peak of a child process that reads a file, beyond that of one that reads
// none.
double peak_beyond_empty(benchmark::State& state, const Options& options,
                         const std::vector<std::string>& arguments) {
  std::vector<double> peaks;
  for ([[maybe_unused]] const auto& round : state) {
    const double empty = peak_of_child(options, {});
    double peak = 0;
    state.SetIterationTime(timed([&] { peak = peak_of_child(options, arguments); }).wall);
    peaks.push_back(peak - empty);
  }
  return median(peaks);
}

// The allowance is the arrays of the record, the longest line of the file, and 2 MiB.
void run_peak_of_read(benchmark::State& state, Input& input, const Options& options) {
  const Hypergraph& h = input.record();
  const std::vector<Block> blocks = blocks_of(h);
  const auto arrays = static_cast<double>(blocks[0].bytes + blocks[1].bytes + blocks[2].bytes);
  const double allowed = arrays + static_cast<double>(longest_line(input.path())) + (2 << 20);
  const double peak = peak_beyond_empty(state, options, {input.path()});
  state.counters["peak_bytes"] = peak;
  state.counters["array_bytes"] = arrays;
  state.counters["of_allowance"] = peak / allowed;
}

// The allowance is the arrays of the record and 64 MiB.
void run_peak_of_import(benchmark::State& state, Input& input, const Options& options,
                        const std::string& format) {
  const std::string path = options.folder + "/peak." + format;
  formats::format_named(format)->write(input.record(), {}, path.c_str());
  const std::vector<Block> blocks = blocks_of(input.record());
  const auto arrays = static_cast<double>(blocks[0].bytes + blocks[1].bytes + blocks[2].bytes);
  const double peak = peak_beyond_empty(state, options, {path, format});
  state.counters["peak_bytes"] = peak;
  state.counters["array_bytes"] = arrays;
  state.counters["of_import_allowance"] = peak / (arrays + (64 << 20));
  std::filesystem::remove(path);
}

void add_writer(const char* name, Input& input, const Options& options, Writer writer) {
  add_benchmark(
      std::string(name) + ":cat/" + input.name(), options.nrounds,
      [=, &input, &options](benchmark::State& state) { run_against_cat(state, input, options, writer); });
}

}  // namespace

void add_bounds(Input& input, const Options& options) {
  add_writer("write_hypergraph", input, options, write_text_format);
  add_writer("write_hmetis_hypergraph", input, options, write_hmetis);
  add_writer("write_kub_hypergraph", input, options, write_kub);
  add_writer("write_part_info", input, options, write_part_info);
  add_benchmark("CopyHypergraph:memcpy/" + input.name(), options.nrounds,
                [&input](benchmark::State& state) { run_against_memcpy(state, input); });
  add_benchmark("read_hypergraph:peak/" + input.name(), options.nrounds,
                [&](benchmark::State& state) { run_peak_of_read(state, input, options); });
  for (const char* const format : {"hmetis", "kub", "mtx", "hif"})
    add_benchmark(std::string("import_") + format + ":peak/" + input.name(), options.nrounds,
                  [&input, &options, format](benchmark::State& state) {
                    run_peak_of_import(state, input, options, format);
                  });
}

int print_peak_of_read(const char* file, const char* format) {
  Hypergraph h = {};
  formats::NetLists lists;
  if (format != nullptr)
    lists = formats::read_file(file, *formats::format_named(format), {});
  else if (file != nullptr)
    read_hypergraph(&h, file, 0);
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    if (word != "VmHWM:") continue;
    status >> word;
    std::printf("%s\n", word.c_str());
    free_hypergraph(&h);
    return 0;
  }
  errexit("the system does not tell how much memory was used");
}

}  // namespace quillon::bench
