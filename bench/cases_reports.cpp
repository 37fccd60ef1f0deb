#include <cstdio>
#include <filesystem>
#include <optional>

#include "bench/cases.h"
#include "bench/differences.h"
#include "bench/obvious.h"
#include "bench/rounds.h"
#include "bench/system.h"

namespace quillon::bench {
namespace {

using Report = void (*)(const Hypergraph* h);

// What is printed goes to a file a side, opened before the clock starts and written before it stops.
void run_report(benchmark::State& state, Input& input, const Options& options, Report obvious_report,
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
  comparison.baseline = side(path_a, obvious_report);
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

void obvious_check_symmetry(const Hypergraph* h) {
  std::printf("%d", obvious::CheckSymmetryinHypergraph(h, 1));
}

void check_symmetry(const Hypergraph* h) { std::printf("%d", CheckSymmetryinHypergraph(h, 1)); }

void add_report(const char* name, Input& input, const Options& options, Report obvious_report,
                Report report_function) {
  add_benchmark(std::string(name) + "/" + input.name(), options.nrounds,
                [=, &input, &options](benchmark::State& state) {
                  run_report(state, input, options, obvious_report, report_function);
                });
}

}  // namespace

void add_reports(Input& input, const Options& options) {
  add_report("prinfo_hypergraph", input, options, obvious::prinfo_hypergraph, prinfo_hypergraph);
  add_report("pr_detailinfo_hypergraph", input, options, obvious::pr_detailinfo_hypergraph,
             pr_detailinfo_hypergraph);
  // The checks end the program when a record does not pass.
  if (!input.has_duplicate_pins())
    add_report("CheckListsofHypergraph", input, options, obvious::CheckListsofHypergraph,
               CheckListsofHypergraph);
  if (input.symmetric())
    add_report("CheckSymmetryinHypergraph", input, options, obvious_check_symmetry, check_symmetry);
}

}  // namespace quillon::bench
