#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>

#include "hypergraph/hypergraph.h"
#include "tools/commands.h"
#include "tools/formats.h"
#include "tools/html_report.h"
#include "tools/input.h"
#include "tools/output.h"
#include "tools/parts.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

constexpr const char* kExamples = R"(
Examples:
  quillon report circuit.qhg -o circuit.html
  quillon report circuit.hgr circuit.part.8 -o circuit.html
  quillon convert matrix.mtx.gz - --to quillon | quillon report - -o - > matrix.html

The page has counts, distributions, weights, a picture of where the pins are, the largest nets and, of a partition,
its balance, its cut and what lies between its parts. It needs neither scripts nor a network. Nets of one pin or none
are kept. The hypergraph may be of any format that convert reads.)";

struct Options {
  std::string hypergraph;
  std::string part_file;
  std::string out;
  std::string title;
  std::optional<Format> from;
  int nparts = 0;  // 0: as many as the file needs
};

// Where a file lies is nothing for those who get the page.
std::string name_of(const std::string& file) {
  return file == "-" ? shown_name(file) : std::filesystem::path(file).filename().string();
}

void read_record(const Options& options, Loaded& loaded) {
  const Format format = options.from.value_or(format_of_name(options.hypergraph).value_or(Format::kQuillon));
  if (format == Format::kQuillon)
    load(loaded, options.hypergraph, SmallNets::kKeep, false);
  else
    to_record(import_file(options.hypergraph, format, {}), loaded);
}

std::optional<Partition> read_partition(const Options& options, int ncells) {
  if (options.part_file.empty()) return std::nullopt;
  Partition partition{name_of(options.part_file), {}, options.nparts};
  partition.parts = read_parts(options.part_file, ncells, options.nparts > 0 ? options.nparts : ncells);
  if (options.nparts == 0)
    partition.nparts = *std::max_element(partition.parts.begin(), partition.parts.end()) + 1;
  return partition;
}

void write_page(const std::string& page, const char* filename) {
  std::FILE* const file = ufopen(filename, "w", "quillon report: page");
  std::fwrite(page.data(), 1, page.size(), file);
  ufclose(file);
}

int run(const Options& options) {
  Loaded loaded;
  read_record(options, loaded);
  const std::optional<Partition> partition = read_partition(options, loaded.h._c);
  const std::string title = options.title.empty() ? name_of(options.hypergraph) : options.title;
  const std::string page = html_page(title, loaded.h, partition);

  Outputs outputs;
  stage(outputs, options.out, [&page](const char* filename) { write_page(page, filename); });
  publish(outputs);
  return kFine;
}

}  // namespace

void add_report(CLI::App& app, int& status) {
  auto options = std::make_shared<Options>();
  CLI::App* const command = app.add_subcommand("report", "Make a page with pictures of a hypergraph");
  command->add_option("HYPERGRAPH", options->hypergraph, "Hypergraph file; - is standard input")->required();
  CLI::Option* const part_file = command->add_option("PARTFILE", options->part_file,
                                                     "Part numbers of the cells, if there is a partition");
  command->add_option("-o,--output", options->out, "File for the page; - is standard output")
      ->required()
      ->type_name("OUT");
  add_format_option(*command, "--from", options->from, "Format of HYPERGRAPH, if its suffix does not tell");
  command->add_option("-k", options->nparts, "Number of parts, if not one above the largest in the file")
      ->type_name("K")
      ->check(CLI::PositiveNumber)
      ->needs(part_file);
  command->add_option("--title", options->title, "Heading of the page, if not the file's name")
      ->type_name("TEXT");
  command->footer(kExamples);
  command->callback([options, &status] { status = run(*options); });
}

}  // namespace quillon::tool
