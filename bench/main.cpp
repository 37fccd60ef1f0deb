#include <stdlib.h>
#if __has_include(<malloc.h>)
#include <malloc.h>
#endif

#include <charconv>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "bench/cases.h"
#include "bench/rounds.h"
#include "oracle/services.h"
#include "util/util.h"

namespace quillon::bench {
namespace {

constexpr const char* kUsage =
    R"(Usage: quillon_bench [OPTION]... [FILE]...
Compares the functions of the module with their obvious twins, on generated hypergraphs and the given files.

  --cells N    cells of the generated hypergraphs (2000000)
  --rounds N   times each benchmark alternates between the two sides (5)
  --growth N   also measures local hypergraphs of 1, 2, 4, .. up to N million pins
  --reuse      keeps freed memory for later runs: by default every run gets fresh pages from the system
  --tool PATH  also measures commands of the command-line tool at PATH

Options of the benchmark library, such as --benchmark_filter=REGEX, work as well.)";

// A temporary folder, removed when the program ends, even by errexit.
class Folder {
 public:
  Folder() {
    std::string path = (std::filesystem::temp_directory_path() / "quillon-bench-XXXXXX").string();
    if (mkdtemp(path.data()) == nullptr) errexit("cannot make a folder like '%s'", path.c_str());
    path_ = path;
  }
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  std::string path_;
};

int number_of(const char* option, const char* text, int least) {
  int value = 0;
  const char* const end = text + std::strlen(text);
  const auto [at, error] = std::from_chars(text, end, value);
  if (error != std::errc() || at != end || value < least)
    errexit("%s takes a number from %d on, not '%s'", option, least, text);
  return value;
}

// Has freed memory stay in the heap of the C library, for both sides.
void reuse_memory() {
#ifdef M_MMAP_MAX
  if (mallopt(M_MMAP_MAX, 0) == 1 && mallopt(M_TRIM_THRESHOLD, -1) == 1) return;
#endif
  errexit("this C library cannot be told to keep freed memory");
}

Options parse(int argc, char** argv) {
  Options options;
  for (int k = 1; k < argc; ++k) {
    const char* const word = argv[k];
    const auto value = [&] {
      if (k + 1 == argc) errexit("%s takes a value", word);
      return argv[++k];
    };
    if (std::strcmp(word, "--cells") == 0)
      options.ncells = number_of(word, value(), 100);
    else if (std::strcmp(word, "--rounds") == 0)
      options.nrounds = number_of(word, value(), 1);
    else if (std::strcmp(word, "--growth") == 0)
      options.growth = number_of(word, value(), 1);
    else if (std::strcmp(word, "--reuse") == 0)
      reuse_memory();
    else if (std::strcmp(word, "--tool") == 0)
      options.tool = value();
    else if (word[0] == '-')
      errexit("unknown option '%s'\n%s", word, kUsage);
    else
      options.files.emplace_back(word);
  }
  return options;
}

Inputs make_inputs(const Options& options) {
  Inputs inputs;
  const auto generated = [&](const char* name, Shape shape) {
    inputs.push_back(std::make_unique<Input>(name, shape, options.ncells, options.folder));
  };
  generated("random", Shape::kRandom);
  generated("local", Shape::kLocal);
  generated("wide", Shape::kWide);
  generated("mesh", Shape::kMesh);
  generated("power", Shape::kPower);
  for (const std::string& file : options.files) inputs.push_back(std::make_unique<Input>(file));
  return inputs;
}

// The rest of the line of a system file that begins with `key`, or nothing.
std::string system_line(const char* path, const std::string& key) {
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    if (!line.starts_with(key)) continue;
    const std::size_t value = line.find_first_not_of(" \t:", key.size());
    return value == std::string::npos ? "" : line.substr(value);
  }
  return "";
}

void add_context(const Options& options) {
  benchmark::AddCustomContext("cpu", system_line("/proc/cpuinfo", "model name"));
  benchmark::AddCustomContext("memory", system_line("/proc/meminfo", "MemTotal"));
  benchmark::AddCustomContext("huge_pages", system_line("/sys/kernel/mm/transparent_hugepage/enabled", ""));
#ifdef __clang__
  benchmark::AddCustomContext("compiler", "clang " __clang_version__);
#else
  benchmark::AddCustomContext("compiler", "g++ " __VERSION__);
#endif
  benchmark::AddCustomContext("cells", std::to_string(options.ncells));
  benchmark::AddCustomContext("rounds", std::to_string(options.nrounds));
}

int run(int argc, char** argv) {
  if (argc > 1 && std::strcmp(argv[1], kPeakOfRead) == 0)
    return print_peak_of_read(argc > 2 ? argv[2] : nullptr, argc > 3 ? argv[3] : nullptr);

  benchmark::Initialize(&argc, argv, [] {
    std::printf("%s\n\n", kUsage);
    benchmark::PrintDefaultHelp();
  });
  Options options = parse(argc, argv);
  static const Folder folder;
  options.folder = folder.path();

  oracle::services = oracle::kPlain;
  const Inputs inputs = make_inputs(options);
  for (const auto& input : inputs) {
    add_reading(*input, options);
    add_writing(*input, options);
    add_incidence(*input, options);
    add_copies(*input, options);
    add_reports(*input, options);
    add_measures(*input, options);
    add_imports(*input, options);
    add_lint(*input, options);
    add_bounds(*input, options);
  }
  add_hif(*inputs[0], options);  // random
  add_hif(*inputs[1], options);  // local
  add_small_records(options);
  if (!options.tool.empty()) {
    add_tool(*inputs.front(), options);
    for (const auto& input : inputs) add_commands(*input, options);
    add_peers(options);
  }
  add_growth(options);
  add_context(options);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return failed() ? 1 : 0;
}

}  // namespace
}  // namespace quillon::bench

int main(int argc, char** argv) { return quillon::bench::run(argc, argv); }
