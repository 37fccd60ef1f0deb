#include <unistd.h>

#include <memory>

#include "formats/formats.h"
#include "formats/part_vector.h"
#include "formats/sink.h"
#include "formats/source.h"
#include "hypergraph/hypergraph.h"
#include "measures/partition.h"
#include "tools/cli/console.h"
#include "tools/commands/commands.h"
#include "tools/commands/common_options.h"
#include "tools/commands/part_file.h"
#include "tools/report/json_report.h"
#include "tools/report/model.h"
#include "tools/report/text_report.h"

namespace quillon::tool {
namespace {

struct PartitionInfoOptions {
  std::string hypergraph;
  std::string part_file;
  const formats::Format* from = nullptr;
  int nparts = 0;  // 0: as many as the file needs
  std::string write;
  bool one_per_line = false;
  bool json = false;
};

constexpr const char* kNotes = R"(
Examples:
  quillon partition-info circuit.qhg circuit.part.8
  quillon partition-info circuit.hgr circuit.part.8 -k 8 --write circuit.parts
  quillon partition-info circuit.qhg circuit.parts --write other.part --one-per-line

PARTFILE has one part number per cell, counted from 0, separated by any white space. The hypergraph can have any format
that convert reads.

Let w be the weight of a net and L the number of parts with pins of it. Over the nets with L > 1, the cut is the sum of
w, the connectivity minus one the sum of w (L - 1), and the sum of external degrees the sum of w L. The imbalance is the
weight of the heaviest part divided by the average, minus 1.)";

void report(const PartitionInfoOptions& options, const Hypergraph& h, const measures::Partition& partition) {
  const int stream = formats::is_standard_output(options.write) ? STDERR_FILENO : STDOUT_FILENO;
  const std::string name = formats::shown_name(options.hypergraph);
  const PartitionModel model = partition_model(options.json ? name : printable(stream, name),
                                               formats::shown_name(options.part_file), h, partition);
  if (options.json)
    print_partition_json(model);
  else
    print_partition_text(model);
}

void rewrite(formats::Outputs& outputs, const PartitionInfoOptions& options, const std::vector<int>& parts) {
  outputs.write(options.write, [&](const char* filename) {
    if (options.one_per_line)
      formats::write_parts_by_line(parts, filename);
    else
      write_partvec(static_cast<int>(parts.size()) - 1, parts.data(), filename);
  });
}

int run(const PartitionInfoOptions& options) {
  formats::refuse_to_replace({options.hypergraph}, options.write);
  formats::Record record;
  formats::load(record, options.hypergraph, {.format = options.from});
  const Hypergraph& h = record.h;
  const measures::Partition partition = read_partition(options.part_file, h._c, options.nparts);
  formats::Outputs outputs(force());
  if (!options.write.empty()) rewrite(outputs, options, partition.parts);
  outputs.publish([&] { print_beside(options.write, [&] { report(options, h, partition); }); });
  return kSuccess;
}

std::function<int()> declare(Options& options) {
  auto chosen = std::make_shared<PartitionInfoOptions>();
  add_hypergraph(options, "HYPERGRAPH", chosen->hypergraph);
  options
      .file("PARTFILE", "PARTFILE", chosen->part_file, ValueKind::kFile,
            "Part numbers of the cells; - is standard input")
      .required();
  options.format("--from", chosen->from, "Format of HYPERGRAPH (default: by suffix)");
  add_nparts(options, chosen->nparts);
  const Option write = options.file("--write", "FILE", chosen->write, ValueKind::kFile,
                                    "Write the partition to FILE, 100 numbers per line");
  options.flag("--one-per-line", chosen->one_per_line, "Write one number per line").needs(write);
  add_force(options);
  add_json(options, chosen->json);
  return [chosen] { return run(*chosen); };
}

}  // namespace

Command partition_info_command() {
  return {"partition-info", "Measure a partition: sizes of its parts, cut, balance", kNotes, declare};
}

}  // namespace quillon::tool
