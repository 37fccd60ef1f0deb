#include <memory>

#include "formats/formats.h"
#include "formats/sink.h"
#include "hypergraph/hypergraph.h"
#include "tools/commands/commands.h"
#include "tools/commands/common_options.h"
#include "tools/commands/page_file.h"
#include "tools/commands/part_file.h"

namespace quillon::tool {
namespace {

struct ReportOptions {
  std::string hypergraph;
  std::vector<std::string> part_files;
  std::string out;
  std::string title;
  InputOptions input;
  PartOptions parts;
};

constexpr const char* kReportNotes = R"(
Examples:
  quillon report circuit.qhg -o circuit.html
  quillon report circuit.hgr circuit.part.8 -o circuit.html
  quillon report circuit.hgr a.part b.part -o circuit.html
  quillon convert matrix.mtx.gz - --to quillon | quillon report - -o - > matrix.html

The page shows counts, distributions, weights, a picture of the pins, the largest nets and, for each partition, its
measures, its balance, the nets between its parts, the volume that each part sends and receives, and the nets that cost
most. Several partitions are also shown side by side. Unless the input is a pipe, the findings of lint follow. The page
has no scripts and loads nothing from the network. Nets of one pin or none are kept. The hypergraph can have any format
that convert reads.)";

int run(const ReportOptions& options) {
  std::vector<std::string> inputs = options.part_files;
  inputs.push_back(options.hypergraph);
  formats::refuse_to_replace(inputs, options.out);
  formats::Record record;
  const formats::Loaded loaded = load_input(record, options.hypergraph, options.input);
  std::vector<NamedPartition> partitions;
  for (const std::string& file : options.part_files)
    partitions.push_back({heading_of(file), read_partition(file, record.h._c, options.parts)});
  const std::string title = options.title.empty() ? heading_of(options.hypergraph) : options.title;
  formats::Outputs outputs(force());
  PageModel page = page_model(title, record.h, partitions, loaded.names);
  page.lint = lint_for_page(options.hypergraph, options.input);
  write_page(outputs, options.out, page);
  outputs.publish();
  return kSuccess;
}

std::function<int()> declare_report(Options& options) {
  auto chosen = std::make_shared<ReportOptions>();
  chosen->input.keeps_names = true;
  add_hypergraph(options, "HYPERGRAPH", chosen->hypergraph);
  const Option part_files = options.files("PARTFILE", chosen->part_files, ValueKind::kFile,
                                          "Part numbers of the cells; several are shown side by side");
  options.file("-o,--output", "OUT", chosen->out, ValueKind::kPageOut, "Output file; - is standard output")
      .required();
  add_input(options, chosen->input);
  for (Option& option : add_parts(options, chosen->parts)) option.needs(part_files);
  options.text("--title", "TEXT", chosen->title, "Heading of the page (default: name of the file)");
  add_force(options);
  return [chosen] { return run(*chosen); };
}

}  // namespace

Command report_command() {
  return {"report", "Make an HTML page with charts of a hypergraph", kReportNotes, declare_report};
}

}  // namespace quillon::tool
