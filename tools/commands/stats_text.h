#pragma once
// Statistics as text: the reports of the module, with totals of weights in 64 bits.

#include "hypergraph/hypergraph.h"
#include "measures/figures.h"
#include "tools/report/json_report.h"

namespace quillon::tool {

/// As `prinfo_hypergraph`.
void print_table_row(const Hypergraph& h, const measures::Figures& figures);

/// As `pr_detailinfo_hypergraph`.
void print_details(const Hypergraph& h, const measures::Figures& figures);

/// As `HygrInfo`.
void print_summary(const Hypergraph& h, const measures::Figures& figures, const FoldedNets& folded);

}  // namespace quillon::tool
