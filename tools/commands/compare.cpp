#include <unistd.h>

#include <memory>

#include "formats/part_vector.h"
#include "formats/sink.h"
#include "formats/source.h"
#include "hypergraph/hypergraph.h"
#include "measures/comparison.h"
#include "tools/cli/console.h"
#include "tools/commands/commands.h"
#include "tools/commands/common_options.h"
#include "tools/commands/part_file.h"
#include "tools/report/comparison_report.h"
#include "tools/report/json_report.h"

namespace quillon::tool {
namespace {

struct CompareOptions {
  std::string hypergraph;
  std::string first;
  std::string second;
  InputOptions input;
  PartOptions parts;
  bool nets = false;
  bool json = false;
  std::string relabel;
};

constexpr const char* kCompareNotes = R"(
Examples:
  quillon compare circuit.hgr before.part after.part
  quillon compare circuit.hgr before.part after.part --relabel after.renamed
  quillon compare circuit.hgr a.part b.part --json | jq .cells_moved

Parts are matched so that as many cells as possible stay where they are; all other cells have moved. The matching is
exact. The mutual information is divided by the mean of both entropies.

The exit status is 0 however much the partitions differ, and 1 if a file cannot be read or written.)";

int compare(const CompareOptions& options) {
  formats::Record record;
  load_input(record, options.hypergraph, options.input);
  const Hypergraph& h = record.h;
  const measures::Partition first = read_partition(options.first, h._c, options.parts);
  const measures::Partition second = read_partition(options.second, h._c, options.parts);

  const int stream = formats::is_standard_output(options.relabel) ? STDERR_FILENO : STDOUT_FILENO;
  const auto shown = [&](const std::string& file) {
    const std::string name = formats::shown_name(file);
    return options.json ? name : printable(stream, name);
  };
  const std::string hypergraph = shown(options.hypergraph);
  const ComparisonModel model{partition_model(hypergraph, shown(options.first), h, first),
                              partition_model(hypergraph, shown(options.second), h, second),
                              measures::compare_partitions(h, first, second),
                              measures::cut_changes(h, first, second), options.nets};
  formats::Outputs outputs(force());
  if (!options.relabel.empty())
    outputs.write(options.relabel, [&](const char* filename) {
      formats::write_parts_by_line(measures::renamed(second, model.comparison).parts, filename);
    });
  outputs.publish([&] {
    print_beside(options.relabel,
                 [&] { options.json ? print_comparison_json(model) : print_comparison_text(model); });
  });
  return kSuccess;
}

int run(const CompareOptions& options) {
  formats::refuse_to_replace({options.hypergraph, options.first, options.second}, options.relabel);
  return for_each_file(
      {options.hypergraph}, [&options](const std::string&) { return compare(options); },
      [&options](const std::string& file) {
        if (options.json)
          print_beside(options.relabel, [&] { print_failure_json("compare", formats::shown_name(file)); });
      });
}

std::function<int()> declare_compare(Options& options) {
  auto chosen = std::make_shared<CompareOptions>();
  add_hypergraph(options, "HYPERGRAPH", chosen->hypergraph);
  options
      .file("PART1", "PART1", chosen->first, ValueKind::kFile,
            "Part numbers of the cells; - is standard input")
      .required();
  options.file("PART2", "PART2", chosen->second, ValueKind::kFile, "Other part numbers of the same cells")
      .required();
  add_input(options, chosen->input);
  add_parts(options, chosen->parts);
  options.flag("--nets", chosen->nets, "List the nets that only one of them cuts");
  options.flag("--json", chosen->json, "Print one JSON object on one line");
  options.file("--relabel", "OUT", chosen->relabel, ValueKind::kFile,
               "Write PART2 with the part numbers of PART1, counted from 0");
  add_force(options);
  return [chosen] { return run(*chosen); };
}

}  // namespace

Command compare_command() {
  return {"compare", "Compare two partitions of the same cells", kCompareNotes, declare_compare};
}

}  // namespace quillon::tool
