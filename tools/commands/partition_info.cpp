#include <algorithm>
#include <cstdio>

#include "formats/formats.h"
#include "formats/sink.h"
#include "formats/source.h"
#include "hypergraph/hypergraph.h"
#include "measures/partition.h"
#include "tools/cli/isolate.h"
#include "tools/commands/commands.h"
#include "tools/commands/part_file.h"
#include "tools/report/json_report.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

void report(const PartitionInfoOptions& options, const Hypergraph& h, const measures::Partition& partition) {
  const measures::PartSizes sizes = measures::part_sizes(h, partition);
  const measures::CutSizes cut = measures::cut_sizes(h, partition);
  if (options.json) {
    print_partition_json(options.hypergraph, options.part_file, h, sizes, cut);
    return;
  }
  uprintf("%s: %d cells, %d nets, %d pins in %s\n", shown_name(options.hypergraph).c_str(), h._c, h._n, h._p,
          counted(partition.nparts, "part").c_str());
  uprintf("%10s %10s %14s\n", "part", "cells", "weight");
  for (std::size_t part = 0; part < sizes.ncells.size(); ++part)
    uprintf("%10zu %10lld %14lld\n", part, static_cast<long long>(sizes.ncells[part]),
            static_cast<long long>(sizes.weights[part]));
  uprintf("cut nets                 %lld\n", static_cast<long long>(cut.ncut_nets));
  uprintf("cut                      %lld\n", static_cast<long long>(cut.cut));
  uprintf("connectivity minus one   %lld\n", static_cast<long long>(cut.connectivity_minus_one));
  uprintf("sum of external degrees  %lld\n", static_cast<long long>(cut.sum_of_external_degrees));
  uprintf("imbalance                %.6f\n", measures::imbalance(sizes));
}

void write_one_per_line(const std::vector<int>& parts, const char* filename) {
  std::FILE* const file = ufopen(filename, "w", "quillon partition-info: parts");
  for (std::size_t i = 1; i < parts.size(); ++i) std::fprintf(file, "%d\n", parts[i]);
  ufclose(file);
}

void rewrite(const PartitionInfoOptions& options, const std::vector<int>& parts) {
  Outputs outputs;
  stage(outputs, options.write, [&](const char* filename) {
    if (options.one_per_line)
      write_one_per_line(parts, filename);
    else
      write_partvec(static_cast<int>(parts.size()) - 1, parts.data(), filename);
  });
  publish(outputs);
}

}  // namespace

int run(const PartitionInfoOptions& options) {
  refuse_to_replace({options.hypergraph}, options.write);
  Loaded loaded;
  load_any(loaded, options.hypergraph, options.from);
  const Hypergraph& h = loaded.h;
  measures::Partition partition{read_parts(options.part_file, h._c, options.nparts), options.nparts};
  if (options.nparts == 0)
    partition.nparts = *std::max_element(partition.parts.begin(), partition.parts.end()) + 1;
  if (!options.write.empty()) rewrite(options, partition.parts);
  print_beside(options.write, [&] { report(options, h, partition); });
  return kFine;
}

}  // namespace quillon::tool
