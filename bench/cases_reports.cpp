#include <cstdio>
#include <filesystem>
#include <optional>

#include "bench/cases.h"
#include "bench/differences.h"
#include "bench/rounds.h"
#include "bench/system.h"
#include "oracle/oracle.h"

namespace quillon::bench {
namespace {

using Report = void (*)(const Hypergraph* h);

// Each side prints to a file that is opened before the timing starts and flushed before it stops.
void run_report(benchmark::State& state, Input& input, const Options& options, Report oracle_report,
                Report report_function) {
  const Hypergraph& h = input.record();
  const std::string path_a = options.folder + "/printed.baseline";
  const std::string path_b = options.folder + "/printed.module";
  std::optional<StandardOutput> output;
  const auto side = [&output, &h](const std::string& path, Report function) {
    return Side{[&output, &path] { output.emplace(path); },
                [&h, function] {
                  function(&h);
                  std::fflush(stdout);
                },
                [&output] { output.reset(); }};
  };
  Comparison comparison;
  comparison.baseline = side(path_a, oracle_report);
  comparison.measured = side(path_b, report_function);
  comparison.difference = [&] {
    Differences differences;
    differences.files(path_a, path_b);
    return differences.first();
  };
  measure(state, comparison, {h._p});
  std::filesystem::remove(path_a);
  std::filesystem::remove(path_b);
}

void oracle_check_symmetry(const Hypergraph* h) {
  std::printf("%d", oracle::CheckSymmetryinHypergraph(h, 1));
}

void check_symmetry(const Hypergraph* h) { std::printf("%d", CheckSymmetryinHypergraph(h, 1)); }

void add_report(const char* name, Input& input, const Options& options, Report oracle_report,
                Report report_function) {
  add_benchmark(std::string(name) + "/" + input.name(), options.nrounds,
                [=, &input, &options](benchmark::State& state) {
                  run_report(state, input, options, oracle_report, report_function);
                });
}

}  // namespace

void add_reports(Input& input, const Options& options) {
  add_report("prinfo_hypergraph", input, options, oracle::prinfo_hypergraph, prinfo_hypergraph);
  add_report("pr_detailinfo_hypergraph", input, options, oracle::pr_detailinfo_hypergraph,
             pr_detailinfo_hypergraph);
  // The checks end the program when a record does not pass.
  if (!input.has_duplicate_pins())
    add_report("CheckListsofHypergraph", input, options, oracle::CheckListsofHypergraph,
               CheckListsofHypergraph);
  if (input.symmetric())
    add_report("CheckSymmetryinHypergraph", input, options, oracle_check_symmetry, check_symmetry);
}

}  // namespace quillon::bench
