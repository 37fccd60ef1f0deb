#include <cstdio>
#include <filesystem>
#include <string>

#include "bench/cases.h"
#include "bench/rounds.h"
#include "formats/formats.h"
#include "formats/lint.h"
#include "formats/threads.h"
#include "hypergraph/detail/lists.h"
#include "util/util.h"

namespace quillon::bench {
namespace {

// What is wrong with each net line, or with each entry of a matrix.
enum class Mistake { kNone, kCellOutOfRange, kRepeatedPin, kWord, kWordInMatrix };

void write_bad_matrix(const Hypergraph& h, const std::string& path, Mistake mistake) {
  std::FILE* const file = ufopen(path.c_str(), "w", "bench: lint");
  std::fprintf(file, "%%%%MatrixMarket matrix coordinate pattern general\n%d %d %d\n", h._n, h._c, h._p);
  const char* const line = mistake == Mistake::kNone ? "%d %d\n" : "%d x%d\n";
  for (int j = 1; j <= h._n; ++j)
    for (const int i : pins_of(h._nlst[j])) std::fprintf(file, line, j, i);
  ufclose(file);
}

void write_bad_file(const Hypergraph& h, const std::string& path, Mistake mistake) {
  std::FILE* const file = ufopen(path.c_str(), "w", "bench: lint");
  std::fprintf(file, "%d %d\n", h._n, h._c);
  for (int j = 1; j <= h._n; ++j) {
    for (const int i : pins_of(h._nlst[j])) std::fprintf(file, "%d ", i);
    if (mistake == Mistake::kCellOutOfRange) std::fprintf(file, "%d", h._c + 7);
    if (mistake == Mistake::kRepeatedPin) std::fprintf(file, "%d", *h._nlst[j].pins);
    if (mistake == Mistake::kWord) std::fputc('x', file);
    std::fputc('\n', file);
  }
  ufclose(file);
}

std::string difference_of(const formats::LintResult& result, const Hypergraph& h, Mistake mistake) {
  const auto nnets = static_cast<std::int64_t>(h._n);
  if (mistake == Mistake::kCellOutOfRange && result.count("cell-out-of-range") != nnets) return "the errors";
  if (mistake == Mistake::kRepeatedPin && result.count("duplicate-pin") < nnets) return "the repeated pins";
  if (mistake == Mistake::kWord && result.count("not-a-number") != nnets) return "the words";
  if (mistake == Mistake::kWordInMatrix && result.count("not-a-number") != h._p) return "the words";
  const bool is_sound = mistake == Mistake::kNone || mistake == Mistake::kRepeatedPin;
  return is_sound && result.count(formats::Severity::kError) > 0 ? "no errors" : "";
}

struct Subject {
  const char* name;
  Mistake mistake;
  int nthreads;
};

// Against the importer on the file without mistakes, on as many threads.
void run_lint(benchmark::State& state, Input& input, const Options& options, const Subject& subject) {
  const Hypergraph& h = input.record();
  const std::string clean = options.folder + "/clean";
  const std::string bad = options.folder + "/bad";
  const bool is_matrix = subject.mistake == Mistake::kWordInMatrix;
  const auto write = is_matrix ? write_bad_matrix : write_bad_file;
  write(h, clean, Mistake::kNone);
  write(h, bad, subject.mistake);
  formats::LintOptions lint_options;
  lint_options.format = formats::format_named(is_matrix ? "mtx" : "hmetis");
  formats::set_threads(subject.nthreads);
  formats::NetLists lists;
  formats::LintResult result;
  Comparison comparison;
  comparison.baseline.run = [&] { lists = formats::read_file(clean, *lint_options.format, {}); };
  comparison.baseline.release = [&] { lists = {}; };
  comparison.measured.run = [&] { result = formats::lint(bad, lint_options); };
  comparison.measured.release = [&] { result = {}; };
  comparison.difference = [&] { return difference_of(result, h, subject.mistake); };
  const Medians medians = run_rounds(state, comparison);
  formats::set_threads(0);
  if (!state.error_occurred()) {
    state.counters["lint_times_importer"] = medians.measured / medians.baseline;
    state.counters["lint_cpu_times_importer"] = 1 / medians.cpu_ratio;
    state.counters["lint_bytes_per_second"] =
        static_cast<double>(std::filesystem::file_size(bad)) / medians.measured;
  }
  std::filesystem::remove(clean);
  std::filesystem::remove(bad);
}

}  // namespace

void add_lint(Input& input, const Options& options) {
  constexpr Subject kSubjects[] = {
      {"lint_clean", Mistake::kNone, 1},
      {"lint_clean_two_threads", Mistake::kNone, 2},
      {"lint_error_per_line", Mistake::kCellOutOfRange, 1},
      {"lint_warning_per_line", Mistake::kRepeatedPin, 1},
      {"lint_word_per_line", Mistake::kWord, 1},
      {"lint_word_per_entry", Mistake::kWordInMatrix, 1},
  };
  for (const Subject& subject : kSubjects)
    add_benchmark(
        std::string(subject.name) + "/" + input.name(), options.nrounds,
        [&input, &options, subject](benchmark::State& state) { run_lint(state, input, options, subject); });
}

}  // namespace quillon::bench
