#include <memory>
#include <optional>

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
  std::string part_file;
  std::string out;
  std::string title;
  InputOptions input;
  PartOptions parts;
};

constexpr const char* kNotes = R"(
Examples:
  quillon report circuit.qhg -o circuit.html
  quillon report circuit.hgr circuit.part.8 -o circuit.html
  quillon convert matrix.mtx.gz - --to quillon | quillon report - -o - > matrix.html

The page shows counts, distributions, weights, a picture of the pins, the largest nets and, with a partition, its
balance, its cut and the nets between its parts. It has no scripts and loads nothing from the network. Nets of one pin
or none are kept. The hypergraph can have any format that convert reads.)";

int run(const ReportOptions& options) {
  formats::refuse_to_replace({options.hypergraph, options.part_file}, options.out);
  formats::Record record;
  load_input(record, options.hypergraph, options.input);
  std::optional<measures::Partition> partition;
  if (!options.part_file.empty()) partition = read_partition(options.part_file, record.h._c, options.parts);
  const std::string title = options.title.empty() ? heading_of(options.hypergraph) : options.title;
  formats::Outputs outputs(force());
  write_page(outputs, options.out,
             page_model(title, record.h, partition ? &*partition : nullptr, heading_of(options.part_file)));
  outputs.publish();
  return kSuccess;
}

std::function<int()> declare(Options& options) {
  auto chosen = std::make_shared<ReportOptions>();
  add_hypergraph(options, "HYPERGRAPH", chosen->hypergraph);
  const Option part_file = options.file("PARTFILE", "PARTFILE", chosen->part_file, ValueKind::kFile,
                                        "Part numbers of the cells, if there is a partition");
  options.file("-o,--output", "OUT", chosen->out, ValueKind::kPageOut, "Output file; - is standard output")
      .required();
  add_input(options, chosen->input);
  for (Option& option : add_parts(options, chosen->parts)) option.needs(part_file);
  options.text("--title", "TEXT", chosen->title, "Heading of the page (default: name of the file)");
  add_force(options);
  return [chosen] { return run(*chosen); };
}

}  // namespace

Command report_command() {
  return {"report", "Make an HTML page with charts of a hypergraph", kNotes, declare};
}

}  // namespace quillon::tool
