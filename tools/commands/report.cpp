#include <algorithm>
#include <filesystem>
#include <optional>

#include "formats/formats.h"
#include "formats/sink.h"
#include "formats/source.h"
#include "hypergraph/hypergraph.h"
#include "measures/partition.h"
#include "tools/commands/commands.h"
#include "tools/commands/part_file.h"
#include "tools/report/html_report.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

// Where a file lies is nothing for those who get the page.
std::string name_of(const std::string& file) {
  return file == "-" ? shown_name(file) : std::filesystem::path(file).filename().string();
}

std::optional<measures::Partition> read_partition(const ReportOptions& options, int ncells) {
  if (options.part_file.empty()) return std::nullopt;
  measures::Partition partition{read_parts(options.part_file, ncells, options.nparts), options.nparts};
  if (options.nparts == 0)
    partition.nparts = *std::max_element(partition.parts.begin(), partition.parts.end()) + 1;
  return partition;
}

void write_page(const std::string& page, const char* filename) {
  std::FILE* const file = ufopen(filename, "w", "quillon report: page");
  std::fwrite(page.data(), 1, page.size(), file);
  ufclose(file);
}

}  // namespace

int run(const ReportOptions& options) {
  refuse_to_replace({options.hypergraph, options.part_file}, options.out);
  Loaded loaded;
  load_any(loaded, options.hypergraph, options.from);
  const std::optional<measures::Partition> partition = read_partition(options, loaded.h._c);
  const std::string title = options.title.empty() ? name_of(options.hypergraph) : options.title;
  const std::string page = html_page(title, loaded.h, partition, name_of(options.part_file));

  Outputs outputs;
  stage(outputs, options.out, [&page](const char* filename) { write_page(page, filename); });
  publish(outputs);
  return kFine;
}

}  // namespace quillon::tool
