#include "tools/report/text_report.h"

#include "tools/report/evaluation_report.h"
#include "util/util.h"

namespace quillon::tool {

void print_partition_text(const PartitionModel& model) {
  const std::size_t nparts = model.sizes.ncells.size();
  uprintf("%s: %d cells, %d nets, %d pins in %zu %s\n", model.hypergraph.c_str(), model.ncells, model.nnets,
          model.npins, nparts, nparts == 1 ? "part" : "parts");
  uprintf("%10s %10s %14s\n", "part", "cells", "weight");
  for (std::size_t part = 0; part < nparts; ++part)
    uprintf("%10zu %10lld %14lld\n", part, static_cast<long long>(model.sizes.ncells[part]),
            static_cast<long long>(model.sizes.weights[part]));
  uprintf("cut nets                 %lld\n", static_cast<long long>(model.cut.ncut_nets));
  uprintf("cut                      %lld\n", static_cast<long long>(model.cut.cut));
  uprintf("connectivity minus one   %lld\n", static_cast<long long>(model.cut.connectivity_minus_one));
  uprintf("sum of external degrees  %lld\n", static_cast<long long>(model.cut.sum_of_external_degrees));
  uprintf("imbalance                %.6f\n", model.imbalance);
  print_limits_text(model);
}

}  // namespace quillon::tool
