#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "engines/slice.h"
#include "formats/formats.h"
#include "formats/part_vector.h"
#include "formats/sink.h"
#include "formats/source.h"
#include "tools/cli/console.h"
#include "tools/commands/commands.h"
#include "tools/commands/common_options.h"
#include "tools/commands/engine.h"
#include "tools/commands/page_file.h"
#include "tools/commands/part_file.h"
#include "tools/report/evaluation_report.h"
#include "tools/report/json_report.h"
#include "tools/report/model.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

struct PartitionOptions {
  std::string hypergraph;
  std::string out;
  std::string report;
  std::string limit = "epsilon=0.03";
  InputOptions input;
  bool skips_evaluation = false;
  bool json = false;
  EngineRequest engine;
};

constexpr const char* kPartitionNotes = R"(
Examples:
  quillon partition circuit.hgr -k 8 -o circuit.part.8
  quillon partition circuit.hgr -k 8 -o circuit.part.8 --report circuit.html
  quillon partition circuit.qhg -k 2 -o circuit.part.2 --engine metis --expand clique --seed 7
  quillon partition large.qhg -k 64 -o large.part.64 --ranks 128 --hostfile hosts --no-eval

The partition is made by a program that is installed separately: quillon-ptscotch, which runs on --ranks processes
under mpirun, or quillon-metis. It is looked for in the folders of QUILLON_ENGINES and where it is installed. Plain
files of quillon and hMETIS are read by the engine itself, each rank its own slice; other input is loaded first. The
same seed, ranks and threads give the same partition.

The engine partitions a graph. A net of two pins is an edge; a larger one is a vertex without weight and an edge to
each of its cells (star), or an edge of weight w / (size - 1) between each two of its cells (clique).

--limit is one of those of eval: epsilon=X, ufactor=X, ubfactor=X, share=X or mondriaan=X. Engines know upper bounds
only; they are asked again for a better balance if a part is too light.

The exit status is 1 if the limit does not hold, although PARTFILE is written, and if the engine fails or a file cannot
be read or written: then no file is.)";

void check_usage(const PartitionOptions& options) {
  const EngineRequest& engine = options.engine;
  if (options.skips_evaluation && (options.json || !options.report.empty()))
    throw UsageError("--no-eval excludes --json and --report");
  if (engine.engine == Engine::kMetis && (engine.ranks > 1 || !engine.hostfile.empty()))
    throw UsageError("METIS runs in one process; --ranks and --hostfile need --engine ptscotch");
  if (engine.fixed.empty()) return;
  if (engine.engine == Engine::kMetis)
    throw UsageError("METIS has no fixed cells; --fixed needs --engine ptscotch");
  if (engine.ranks > 1)
    throw UsageError("PT-Scotch has fixed cells only on one rank; --fixed excludes --ranks");
}

// What an engine prints: checked, and written on to a file.
class PartWriter {
 public:
  /// @param keeps  Whether `partition` is wanted.
  PartWriter(const char* filename, int nparts, bool keeps)
      : filename_(filename), nparts_(nparts), keeps_(keeps) {
    begin();
  }
  ~PartWriter() { std::fclose(file_); }
  PartWriter(const PartWriter&) = delete;
  PartWriter& operator=(const PartWriter&) = delete;

  /// An empty text discards what came before.
  void accept(std::string_view text) {
    if (text.empty()) return begin();
    for (const char c : text) accept_byte(c);
    if (std::fwrite(text.data(), 1, text.size(), file_) != text.size()) fail_writing();
  }

  void finish(std::int64_t ncells) {
    if (count_ != ncells || number_ != kNone)
      errexit("the engine gave the parts of %lld cells, expected %lld lines", static_cast<long long>(count_),
              static_cast<long long>(ncells));
    if (std::fflush(file_) != 0) fail_writing();
  }

  measures::Partition take_partition() { return {std::move(parts_), nparts_}; }

 private:
  void begin() {
    if (file_ != nullptr) std::fclose(file_);
    file_ = std::fopen(filename_.c_str(), "w");
    if (file_ == nullptr) fail_writing();
    parts_.assign(1, 0);  // entry 0 is not used
    count_ = 0;
    number_ = kNone;
  }

  void accept_byte(char c) {
    if (c >= '0' && c <= '9') {
      number_ = 10 * std::max<std::int64_t>(number_, 0) + (c - '0');
      if (number_ >= nparts_)
        errexit("the engine gave cell %lld a part above %d", static_cast<long long>(count_) + 1, nparts_ - 1);
      return;
    }
    if (c != '\n') errexit("the engine printed something else than parts");
    if (number_ == kNone) return;
    if (keeps_) parts_.push_back(static_cast<int>(number_));
    ++count_;
    number_ = kNone;
  }

  [[noreturn]] void fail_writing() const { errexit("cannot write: %s", std::strerror(errno)); }

  static constexpr std::int64_t kNone = -1;

  std::string filename_;
  int nparts_;
  bool keeps_;
  std::FILE* file_ = nullptr;
  std::vector<int> parts_;
  std::int64_t count_ = 0;
  std::int64_t number_ = kNone;  // read so far
};

// The format in which engines can read a file themselves. None for others: they are loaded first.
std::optional<engines::FileFormat> plain_format(const PartitionOptions& options) {
  if (options.hypergraph == "-") return std::nullopt;
  formats::Source source(options.hypergraph);
  if (!source.is_regular() || source.is_compressed()) return std::nullopt;
  const formats::Format* const format =
      options.input.from != nullptr ? options.input.from : formats::format_of_file(options.hypergraph);
  if (format == nullptr) return std::nullopt;
  if (format == &formats::own_format()) return engines::FileFormat::kQuillon;
  if (format->name == "hmetis") return engines::FileFormat::kHmetis;
  return std::nullopt;
}

// A hypergraph in a file that has no name of its own and goes with this object.
class TemporaryFile {
 public:
  explicit TemporaryFile(const Hypergraph& h) : file_(std::tmpfile()) {
    if (file_ == nullptr) errexit("cannot make a temporary file: %s", std::strerror(errno));
    name_ = "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(fileno(file_));
    write_hypergraph(&h, name_.c_str(), /*numbering=*/1, h._fmt);
  }
  ~TemporaryFile() { std::fclose(file_); }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  /// For any program of the same user on this machine.
  [[nodiscard]] const std::string& name() const { return name_; }

 private:
  std::FILE* file_;
  std::string name_;
};

// The hypergraph on its way to the engine and, after that, to the evaluation.
struct PartitionInput {
  formats::Record record;
  bool is_loaded = false;
  formats::Labels names;
  std::optional<TemporaryFile> temporary;
  std::int64_t ncells = 0;
};

void load(PartitionInput& input, const PartitionOptions& options) {
  if (!input.is_loaded) input.names = load_input(input.record, options.hypergraph, options.input).names;
  input.is_loaded = true;
}

// Completes the request by a file that the engine can read.
void prepare(PartitionInput& input, const PartitionOptions& options, EngineRequest& request) {
  if (const std::optional<engines::FileFormat> format = plain_format(options)) {
    request.file = options.hypergraph;
    request.format = *format == engines::FileFormat::kHmetis ? "hmetis" : "quillon";
    input.ncells = engines::read_header(options.hypergraph, *format).ncells;
    return;
  }
  if (!request.hostfile.empty())
    errexit("'%s' is no plain file of quillon or hMETIS, which each host needs to read its part",
            options.hypergraph.c_str());
  load(input, options);
  input.temporary.emplace(input.record.h);
  request.file = input.temporary->name();
  request.format = "quillon";
  input.ncells = input.record.h._c;
}

// Says what is wrong with the balance, and returns the exit status.
int report_balance(const PartitionModel& model) {
  const std::vector<BrokenPart>& broken = model.limits.front().broken;
  if (!broken.empty()) {
    const auto [light, heavy] = std::minmax_element(
        broken.begin(), broken.end(), [](const auto& a, const auto& b) { return a.weight < b.weight; });
    if (heavy->weight > heavy->most)
      print_error(
          fmt::format("the heaviest part weighs {}, more than the limit of {}", heavy->weight, heavy->most));
    if (light->weight < light->least)
      print_error(
          fmt::format("the lightest part weighs {}, less than the limit of {}", light->weight, light->least));
  }
  return model.is_within_limits() ? kSuccess : kFinding;
}

PartitionWishes wishes_of(const PartitionInput& input, const PartitionOptions& options) {
  PartitionWishes wishes;
  wishes.limits.push_back(limit_of(options.limit));
  if (!options.engine.fixed.empty())
    wishes.fixed = formats::read_fixed_parts(options.engine.fixed, input.record.h._c, options.engine.nparts);
  wishes.names = &input.names;
  return wishes;
}

// Measures the partition, and publishes all files. Returns the exit status.
int evaluate(PartitionInput& input, const PartitionOptions& options, const measures::Partition& partition,
             formats::Outputs& outputs) {
  load(input, options);
  const std::string part_file = formats::is_standard_output(options.out) ? "standard output" : options.out;
  const Hypergraph& h = input.record.h;
  const PartitionModel model = partition_model(formats::shown_name(options.hypergraph), part_file, h,
                                               partition, wishes_of(input, options));
  if (!options.report.empty()) {
    const NamedPartition named{heading_of(options.out), partition};
    PageModel page = page_model(heading_of(options.hypergraph), h, {&named, 1}, input.names);
    page.lint = lint_for_page(options.hypergraph, options.input);
    write_page(outputs, options.report, page);
  }
  outputs.publish([&] {
    print_beside(options.out,
                 [&] { options.json ? print_partition_json("eval", model) : print_evaluation_text(model); });
  });
  return report_balance(model);
}

// Before an engine runs for long: fails if the page could not be written.
void check_target(const std::string& target) {
  formats::Outputs trial(force());
  trial.write(target,
              [](const char* filename) { ufclose(ufopen(filename, "w", "quillon partition: page")); });
}

int run(const PartitionOptions& options) {
  formats::refuse_to_replace({options.hypergraph, options.engine.fixed, options.engine.hostfile},
                             options.out);
  formats::refuse_to_replace({options.hypergraph, options.engine.fixed, options.engine.hostfile},
                             options.report);
  formats::refuse_named_twice({options.out, options.report});
  if (!options.report.empty()) check_target(options.report);
  PartitionInput input;
  EngineRequest request = options.engine;
  request.limit = options.limit;
  prepare(input, options, request);

  formats::Outputs outputs(force());
  measures::Partition partition;
  outputs.write(options.out, [&](const char* filename) {
    PartWriter writer(filename, request.nparts, !options.skips_evaluation);
    run_engine(request, [&writer](std::string_view text) { writer.accept(text); });
    writer.finish(input.ncells);
    partition = writer.take_partition();
  });
  input.temporary.reset();
  if (options.skips_evaluation) {
    outputs.publish();
    return kSuccess;
  }
  return evaluate(input, options, partition, outputs);
}

void add_engine_options(Options& options, PartitionOptions& chosen) {
  EngineRequest& engine = chosen.engine;
  options.choice<Engine>("--engine", {{"ptscotch", Engine::kPtscotch}, {"metis", Engine::kMetis}},
                         engine.engine, "Program that makes the partition (default: ptscotch)");
  options.number("--ranks", "R", 1, engine.ranks, "Processes of ptscotch (default: 1)");
  options.file("--hostfile", "FILE", engine.hostfile, ValueKind::kFile,
               "Machines for the processes, one on a line, as mpirun reads them");
  options.number("--engine-threads", "N", 1, engine.threads,
                 "Threads of each process of ptscotch (default: 1)");
  options.number("--seed", "S", 0, engine.seed, "Seed; the same seed gives the same partition (default: 0)");
  options.choice<const char*>("--expand", {{"star", "star"}, {"clique", "clique"}}, engine.expansion,
                              "What a net of three pins or more becomes in the graph (default: star)");
  options.number("--largest-clique", "SIZE", 2, engine.largest_clique,
                 "With --expand clique, nets of more pins become stars (default: 32)");
  options.file("--fixed", "FILE", engine.fixed, ValueKind::kFile,
               "For each cell the part that it must be in, or -1; only ptscotch on one rank");
}

std::function<int()> declare_partition(Options& options) {
  auto chosen = std::make_shared<PartitionOptions>();
  add_hypergraph(options, "HYPERGRAPH", chosen->hypergraph);
  options.number("-k", "K", 1, chosen->engine.nparts, "Number of parts").required();
  options
      .file("-o,--output", "PARTFILE", chosen->out, ValueKind::kFile,
            "Output file, one part number per line; - is standard output")
      .required();
  options.file("--report", "PAGE", chosen->report, ValueKind::kPageOut,
               "Write an HTML page of the partition, too");
  options.text("--limit", "RULE=VALUE", chosen->limit, "Limit on the balance (default: epsilon=0.03)");
  add_engine_options(options, *chosen);
  add_input(options, chosen->input);
  options.flag("--no-eval", chosen->skips_evaluation,
               "Do not load the hypergraph to measure the partition; it may be larger than memory");
  add_force(options);
  add_json(options, chosen->json);
  return [chosen] {
    limit_of(chosen->limit);
    check_usage(*chosen);
    return run(*chosen);
  };
}

}  // namespace

Command partition_command() {
  return {"partition", "Make a partition with an existing partitioner, and measure it", kPartitionNotes,
          declare_partition};
}

}  // namespace quillon::tool
