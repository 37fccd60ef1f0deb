#include <unistd.h>

#include "formats/load.h"
#include "formats/source.h"
#include "hypergraph/hypergraph.h"
#include "tools/cli/console.h"
#include "tools/cli/isolate.h"
#include "tools/commands/commands.h"
#include "tools/report/json_report.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

// The symmetry check ends the process for some hypergraphs that are not symmetric, and returns for others.
bool is_symmetric(const Hypergraph& h) {
  return run_isolated(Output::kHidden,
                      [&h] { return CheckSymmetryinHypergraph(&h, 0) == 1 ? kFine : kFinding; }) == kFine;
}

void say_why_not_symmetric(const Hypergraph& h) {
  run_isolated(Output::kOnStandardError, [&h] {
    CheckSymmetryinHypergraph(&h, 1);
    uprintf("\n");
    return kFinding;
  });
}

void print_verdict(const std::string& file, const Loaded& loaded, bool is_symmetric) {
  const Hypergraph& h = loaded.h;
  uprintf("%s: %s, %d cells, %d nets, %d pins", shown_name(file).c_str(),
          coloured(STDOUT_FILENO, Colour::kGreen, "ok").c_str(), h._c, h._n, h._p);
  if (loaded.nsmall_nets > 0) uprintf(", %d nets with one pin or none folded", loaded.nsmall_nets);
  uprintf(", %s\n", is_symmetric ? "symmetric" : "not symmetric");
}

// The totals are those of the reader: summaries recomputed before would hide what is wrong with them.
int check(const std::string& file, const CheckOptions& options) {
  Loaded loaded;
  load(loaded, file, options.keep_small_nets ? SmallNets::kKeep : SmallNets::kFold, true);
  Hypergraph& h = loaded.h;
  const int lists = run_isolated(Output::kErrorsOnly, [&h] {
    CheckListsofHypergraph(&h);
    return kFine;
  });
  if (lists != kFine) return kFinding;

  const bool symmetric = is_symmetric(h);
  if (!symmetric && options.symmetric) {
    say_why_not_symmetric(h);
    return kFinding;
  }
  if (options.json)
    print_check_json(file, loaded, symmetric);
  else if (!quiet())
    print_verdict(file, loaded, symmetric);
  return kFine;
}

void print_failure(const std::string& file, const CheckOptions& options) {
  if (options.json)
    print_failure_json("check", file);
  else
    uprintf("%s: %s\n", shown_name(file).c_str(), coloured(STDOUT_FILENO, Colour::kRed, "FAILED").c_str());
}

}  // namespace

int run(const CheckOptions& options) {
  return for_each_file(
      options.files, [&](const std::string& file) { return check(file, options); },
      [&](const std::string& file) { print_failure(file, options); });
}

}  // namespace quillon::tool
