#include <unistd.h>

#include <memory>

#include "formats/formats.h"
#include "formats/source.h"
#include "hypergraph/hypergraph.h"
#include "tools/cli/console.h"
#include "tools/commands/commands.h"
#include "tools/commands/common_options.h"
#include "tools/operations/symmetry.h"
#include "tools/report/json_report.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

using formats::Record;

struct CheckOptions {
  std::vector<std::string> files;
  InputOptions input;
  bool symmetric = false;
  bool json = false;
};

constexpr const char* kCheckNotes = R"(
Examples:
  quillon check circuit.qhg
  quillon check --symmetric matrix.qhg && echo symmetric

Checks the counts, that cells and nets list each other exactly once, and the totals. Prints one line per file on
standard output, and errors on standard error.)";

void drop(const char* /*text*/) {}

void print_asymmetry(const Hypergraph& h) {
  const DivertedOutput diverted(print_on_standard_error);
  CheckSymmetryinHypergraph(&h, 1);
  uprintf("\n");
}

void print_verdict(const std::string& file, const Record& record, bool is_symmetric) {
  const Hypergraph& h = record.h;
  uprintf("%s: %s, %d cells, %d nets, %d pins", printable(STDOUT_FILENO, formats::shown_name(file)).c_str(),
          coloured(STDOUT_FILENO, Colour::kGreen, "ok").c_str(), h._c, h._n, h._p);
  if (record.nfolded > 0) uprintf(", %d nets with one pin or none folded", record.nfolded);
  uprintf(", %s\n", is_symmetric ? "symmetric" : "not symmetric");
}

// The totals are those of the reader: recomputing the summaries would hide errors in them.
int check(const std::string& file, const CheckOptions& options) {
  Record record;
  load_input(record, file, options.input);
  Hypergraph& h = record.h;
  {
    const DivertedOutput diverted(drop);
    CheckListsofHypergraph(&h);
  }

  const bool symmetric = is_symmetric(h);
  if (!symmetric && options.symmetric) {
    print_asymmetry(h);
    return kFinding;
  }
  if (options.json)
    print_check_json(formats::shown_name(file), h, record.nfolded, symmetric);
  else if (!quiet())
    print_verdict(file, record, symmetric);
  return kSuccess;
}

void print_failure(const std::string& file, const CheckOptions& options) {
  if (options.json)
    print_failure_json("check", formats::shown_name(file));
  else
    uprintf("%s: %s\n", printable(STDOUT_FILENO, formats::shown_name(file)).c_str(),
            coloured(STDOUT_FILENO, Colour::kRed, "FAILED").c_str());
}

int run(const CheckOptions& options) {
  return for_each_file(
      options.files, [&](const std::string& file) { return check(file, options); },
      [&](const std::string& file) { print_failure(file, options); });
}

std::function<int()> declare_check(Options& options) {
  auto chosen = std::make_shared<CheckOptions>();
  add_hypergraphs(options, chosen->files);
  options.flag("--symmetric", chosen->symmetric,
               "Require a symmetric pattern: cell j is on net i exactly when cell i is on net j");
  add_json(options, chosen->json);
  add_keep_small_nets(options, chosen->input);
  add_input(options, chosen->input);
  return [chosen] { return run(*chosen); };
}

}  // namespace

Command check_command() {
  return {"check", "Verify files: counts, both sides, totals, symmetry", kCheckNotes, declare_check};
}

}  // namespace quillon::tool
