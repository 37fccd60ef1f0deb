#pragma once
// Statistics as text: the reports of the module, with totals of weights in 64 bits.

#include <vector>

#include "hypergraph/hypergraph.h"
#include "measures/components.h"
#include "measures/figures.h"
#include "tools/report/json_report.h"

namespace quillon::tool {

/// As `prinfo_hypergraph`.
void print_table_row(const Hypergraph& h, const measures::Figures& figures);

/// As `pr_detailinfo_hypergraph`.
void print_details(const Hypergraph& h, const measures::Figures& figures);

/// Quantiles, mean and deviation of sizes, degrees and weights.
std::vector<NamedQuantiles> all_quantiles(const Hypergraph& h, const measures::Figures& figures);

/// Prints them, a line each.
void print_quantiles(const std::vector<NamedQuantiles>& all);

/// The number of connected components, and how many cells the largest has.
void print_components(const measures::Components& components);

/// All of that as words KEY=VALUE on one line, which a blank and the file name may follow.
void print_result(const Hypergraph& h, const measures::Figures& figures,
                  const measures::Components& components);

/// As `HygrInfo`.
void print_summary(const Hypergraph& h, const measures::Figures& figures, const FoldedNets& folded);

}  // namespace quillon::tool
