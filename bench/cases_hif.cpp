#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "bench/cases.h"
#include "bench/differences.h"
#include "bench/rounds.h"
#include "bench/system.h"
#include "formats/findings.h"
#include "formats/formats.h"
#include "util/util.h"

namespace quillon::bench {
namespace {

using formats::Labels;

Labels string_names(const Hypergraph& h) {
  const auto names_of = [](const std::string& kind, int count) {
    std::vector<std::string> names(1);
    for (int k = 1; k <= count; ++k) names.push_back("\"" + kind + std::to_string(k) + "\"");
    return names;
  };
  return {names_of("cell_", h._c), names_of("net_", h._n)};
}

// A HIF file of an input, removed with this object.
class HifFile {
 public:
  HifFile(Input& input, const Options& options, bool has_names) : path_(options.folder + "/input.hif") {
    const Labels labels = has_names ? string_names(input.record()) : Labels{};
    formats::WriteOptions write_options;
    if (has_names) write_options.labels = &labels;
    formats::format_named("hif")->write(input.record(), write_options, path_.c_str());
    settle(path_);
  }
  ~HifFile() { std::filesystem::remove(path_); }
  HifFile(const HifFile&) = delete;
  HifFile& operator=(const HifFile&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] double bytes() const { return static_cast<double>(std::filesystem::file_size(path_)); }

 private:
  std::string path_;
};

// The record alone, whose arrays the caller frees.
Hypergraph load_hif(const std::string& path) {
  formats::Record record;
  formats::LoadOptions options;
  options.format = formats::format_named("hif");
  formats::load(record, path, options);
  return std::exchange(record.h, {});
}

// `bytes` were processed by the measured side, `baseline_bytes` by the other.
void report_speeds(benchmark::State& state, const Medians& medians, double bytes, double baseline_bytes) {
  if (state.error_occurred()) return;
  state.counters["bytes_per_second"] = bytes / medians.measured;
  state.counters["baseline_bytes_per_second"] = baseline_bytes / medians.baseline;
  state.counters["times_module"] = medians.ratio * bytes / baseline_bytes;
}

// Against the reader of the module on the same hypergraph, which leaves out the side of the cells.
void run_hif_reader(benchmark::State& state, Input& input, const Options& options, bool has_names) {
  const HifFile file(input, options, has_names);
  Hypergraph a = {};
  Hypergraph b = {};
  Comparison comparison;
  comparison.baseline.run = [&] { read_hypergraph_with_onepin_nets(&a, input.path(), 0); };
  comparison.baseline.release = [&] { free_hypergraph(&a); };
  comparison.measured.run = [&] { b = load_hif(file.path()); };
  comparison.measured.release = [&] { free_hypergraph(&b); };
  comparison.difference = [&] {
    Differences differences;
    differences.values("cells", a._c, b._c);
    differences.values("nets", a._n, b._n);
    differences.values("pins", a._p, b._p);
    if (differences.first().empty()) differences.nets(a, b, a._n, a._p);
    return differences.first();
  };
  const Medians medians = run_rounds(state, comparison);
  report_speeds(state, medians, file.bytes(), static_cast<double>(input.bytes()));
}

// Against Python's reader of JSON, which makes no hypergraph: both whole processes but the start of this one.
void run_json_peer(benchmark::State& state, Input& input, const Options& options) {
  const HifFile file(input, options, true);
  Hypergraph h = {};
  Comparison comparison;
  comparison.baseline.run = [&] {
    run_program({"python3", "-c", "import json, sys; json.load(open(sys.argv[1]))", file.path()},
                "/dev/null");
  };
  comparison.measured.run = [&] { h = load_hif(file.path()); };
  comparison.measured.release = [&] { free_hypergraph(&h); };
  comparison.difference = [] { return std::string(); };
  const Medians medians = run_rounds(state, comparison);
  if (state.error_occurred()) return;
  state.counters["times_python"] = medians.ratio;
  state.counters["python_seconds"] = medians.baseline;
  state.counters["bytes_per_second"] = file.bytes() / medians.measured;
}

// Against the module's writer of the text format, by the bytes that each writes.
void run_exporter(benchmark::State& state, Input& input, const Options& options, const char* format) {
  const Hypergraph& h = input.record();
  const std::string path_a = options.folder + "/written.module";
  const std::string path_b = options.folder + "/written.exporter";
  double bytes_a = 0;
  double bytes_b = 0;
  Comparison comparison;
  comparison.baseline.run = [&] { write_hypergraph(&h, path_a.c_str(), 1, h._fmt); };
  comparison.baseline.release = [&] { std::filesystem::remove(path_a); };
  comparison.measured.run = [&] { formats::format_named(format)->write(h, {}, path_b.c_str()); };
  comparison.measured.release = [&] { std::filesystem::remove(path_b); };
  comparison.difference = [&] {
    bytes_a = static_cast<double>(std::filesystem::file_size(path_a));
    bytes_b = static_cast<double>(std::filesystem::file_size(path_b));
    return std::string();
  };
  const Medians medians = run_rounds(state, comparison);
  report_speeds(state, medians, bytes_b, bytes_a);
}

bool has_python() { return std::system("python3 -c 'import json' >/dev/null 2>&1") == 0; }

}  // namespace

void add_hif(Input& input, const Options& options) {
  const auto add = [&](const char* subject, const auto& run) {
    add_benchmark(subject + ("/" + input.name()), options.nrounds,
                  [&input, &options, run](benchmark::State& state) { run(state, input, options); });
  };
  add("hif:read_integers",
      [](auto& state, Input& in, const Options& with) { run_hif_reader(state, in, with, false); });
  add("hif:read_strings",
      [](auto& state, Input& in, const Options& with) { run_hif_reader(state, in, with, true); });
  static const bool with_python = has_python();
  if (with_python) add("hif:python", run_json_peer);
  add("hif:write", [](auto& state, Input& in, const Options& with) { run_exporter(state, in, with, "hif"); });
  add("mtx:write", [](auto& state, Input& in, const Options& with) { run_exporter(state, in, with, "mtx"); });
}

}  // namespace quillon::bench
