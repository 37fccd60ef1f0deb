#include <algorithm>
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

// What is wrong with each net line, each entry of a matrix, each incidence of a JSON document, each cell
// weight or each line of a graph.
enum class Mistake {
  kNone,
  kCellOutOfRange,
  kRepeatedPin,
  kParallelNets,
  kWord,
  kWordInMatrix,
  kWeightInQuotes,
  kTextAfterWeight,
  kRepeatedEdge,
  kAsymmetricEdge
};

void write_bad_matrix(const Hypergraph& h, const std::string& path, Mistake mistake) {
  std::FILE* const file = ufopen(path.c_str(), "w", "bench: lint");
  std::fprintf(file, "%%%%MatrixMarket matrix coordinate pattern general\n%d %d %d\n", h._n, h._c, h._p);
  const char* const line = mistake == Mistake::kNone ? "%d %d\n" : "%d x%d\n";
  for (int j = 1; j <= h._n; ++j)
    for (const int i : pins_of(h._nlst[j])) std::fprintf(file, line, j, i);
  ufclose(file);
}

void write_bad_document(const Hypergraph& h, const std::string& path, Mistake mistake) {
  std::FILE* const file = ufopen(path.c_str(), "w", "bench: lint");
  const char* const incidence = mistake == Mistake::kNone ? R"({"edge":%d,"node":%d,"weight":1})"
                                                          : R"({"edge":%d,"node":%d,"weight":"1"})";
  std::fputs("{\"incidences\":[", file);
  const char* separator = "\n";
  for (int j = 1; j <= h._n; ++j) {
    for (const int i : pins_of(h._nlst[j])) {
      std::fputs(separator, file);
      std::fprintf(file, incidence, j, i);
      separator = ",\n";
    }
  }
  std::fputs("]}\n", file);
  ufclose(file);
}

void write_bad_file(const Hypergraph& h, const std::string& path, Mistake mistake) {
  std::FILE* const file = ufopen(path.c_str(), "w", "bench: lint");
  std::fprintf(file, "%d %d\n", h._n, h._c);
  const int nsingle = mistake == Mistake::kParallelNets ? h._n / 2 : h._n;  // the others are the same again
  for (int j = 1; j <= h._n; ++j) {
    for (const int i : pins_of(h._nlst[j > nsingle ? j - nsingle : j])) std::fprintf(file, "%d ", i);
    if (mistake == Mistake::kCellOutOfRange) std::fprintf(file, "%d", h._c + 7);
    if (mistake == Mistake::kRepeatedPin) std::fprintf(file, "%d", *h._nlst[j].pins);
    if (mistake == Mistake::kWord) std::fputc('x', file);
    std::fputc('\n', file);
  }
  ufclose(file);
}

void write_weights(const Hypergraph& h, const std::string& path, Mistake mistake) {
  std::FILE* const file = ufopen(path.c_str(), "w", "bench: lint");
  std::fprintf(file, "0 %d 10\n", h._c);
  const char* const line = mistake == Mistake::kTextAfterWeight ? "%d x\n" : "%d\n";
  for (int i = 1; i <= h._c; ++i) std::fprintf(file, line, 1 + i % 1000);
  ufclose(file);
}

// An edge that no vertex names otherwise.
constexpr int kOddStep = 100;

// Vertices joined with those at a few distances, as many as there are cells.
void write_lattice(const Hypergraph& h, const std::string& path, Mistake mistake) {
  constexpr int kSteps[] = {-200, -50, -7, -1, 1, 7, 50, 200};
  std::int64_t nedges = 0;
  for (const int step : kSteps) nedges += step > 0 ? std::max(h._c - step, 0) : 0;
  std::FILE* const file = ufopen(path.c_str(), "w", "bench: lint");
  std::fprintf(file, "%d %lld\n", h._c, static_cast<long long>(nedges));
  for (int u = 1; u <= h._c; ++u) {
    for (const int step : kSteps)
      if (u + step >= 1 && u + step <= h._c) std::fprintf(file, "%d ", u + step);
    if (mistake == Mistake::kRepeatedEdge) std::fprintf(file, "%d", u == 1 ? 2 : u - 1);
    if (mistake == Mistake::kAsymmetricEdge && u + kOddStep <= h._c) std::fprintf(file, "%d", u + kOddStep);
    std::fputc('\n', file);
  }
  ufclose(file);
}

std::string difference_of(const formats::LintResult& result, const Hypergraph& h, Mistake mistake) {
  const auto nnets = static_cast<std::int64_t>(h._n);
  if (mistake == Mistake::kCellOutOfRange && result.count("cell-out-of-range") != nnets) return "the errors";
  if (mistake == Mistake::kRepeatedPin && result.count("duplicate-pin") < nnets) return "the repeated pins";
  if (mistake == Mistake::kParallelNets && result.count("parallel-net") < nnets / 2)
    return "the parallel nets";
  if (mistake == Mistake::kWord && result.count("not-a-number") != nnets) return "the words";
  if (mistake == Mistake::kWordInMatrix && result.count("not-a-number") != h._p) return "the words";
  if (mistake == Mistake::kWeightInQuotes && result.count("bad-json-value") != h._p) return "the weights";
  const std::int64_t ncells = h._c;
  if (mistake == Mistake::kTextAfterWeight && result.count("trailing-text") != ncells) return "the texts";
  if (mistake == Mistake::kRepeatedEdge && result.count("repeated-edge") != ncells - 1)
    return "the repeated edges";  // vertices 1 and 2 repeat the same one
  if (mistake == Mistake::kAsymmetricEdge &&
      result.count("asymmetric-edge") != std::max<std::int64_t>(ncells - kOddStep, 0))
    return "the asymmetric edges";
  const bool is_sound =
      mistake == Mistake::kNone || mistake == Mistake::kRepeatedPin || mistake == Mistake::kParallelNets;
  return is_sound && result.count(formats::Severity::kError) > 0 ? "no errors" : "";
}

struct Subject {
  const char* name;
  Mistake mistake;
  int nthreads;
  const char* format = "hmetis";
  void (*write)(const Hypergraph& h, const std::string& path, Mistake mistake) = write_bad_file;
};

// Against the importer on the file without mistakes, on as many threads.
void run_lint(benchmark::State& state, Input& input, const Options& options, const Subject& subject) {
  const Hypergraph& h = input.record();
  const std::string clean = options.folder + "/clean";
  const std::string bad = options.folder + "/bad";
  subject.write(h, clean, Mistake::kNone);
  subject.write(h, bad, subject.mistake);
  formats::LintOptions lint_options;
  lint_options.format = formats::format_named(subject.format);
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
      {"lint_parallel_nets", Mistake::kParallelNets, 1},
      {"lint_clean_matrix", Mistake::kNone, 1, "mtx", write_bad_matrix},
      {"lint_word_per_entry", Mistake::kWordInMatrix, 1, "mtx", write_bad_matrix},
      {"lint_clean_document", Mistake::kNone, 1, "hif", write_bad_document},
      {"lint_weight_per_incidence", Mistake::kWeightInQuotes, 1, "hif", write_bad_document},
      {"lint_clean_weights", Mistake::kNone, 1, "hmetis", write_weights},
      {"lint_text_per_weight", Mistake::kTextAfterWeight, 1, "hmetis", write_weights},
      {"lint_clean_graph", Mistake::kNone, 1, "metis", write_lattice},
      {"lint_repeated_edge_per_line", Mistake::kRepeatedEdge, 1, "metis", write_lattice},
      {"lint_asymmetric_edge_per_line", Mistake::kAsymmetricEdge, 1, "metis", write_lattice},
  };
  for (const Subject& subject : kSubjects)
    add_benchmark(
        std::string(subject.name) + "/" + input.name(), options.nrounds,
        [&input, &options, subject](benchmark::State& state) { run_lint(state, input, options, subject); });
}

}  // namespace quillon::bench
