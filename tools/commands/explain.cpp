#include <unistd.h>

#include <memory>

#include "formats/formats.h"
#include "formats/source.h"
#include "measures/counts.h"
#include "tools/cli/console.h"
#include "tools/commands/commands.h"
#include "tools/commands/common_options.h"
#include "tools/report/explanation_report.h"
#include "tools/report/json_report.h"

namespace quillon::tool {
namespace {

struct ExplainOptions {
  std::vector<std::string> files;
  InputOptions input;
  bool json = false;
};

constexpr const char* kExplainNotes = R"(
Examples:
  quillon explain circuit.hgr
  quillon explain matrix.mtx --model column-net --json

Programs count differently: some leave out cells on no net, nets of one pin, repeated pins or parallel nets, and some
count the nodes of the bipartite graph. Each number that one of them may report for the file is printed with what it
counts.)";

int explain(const std::string& file, const ExplainOptions& options) {
  formats::Record record;
  const formats::Loaded loaded = load_input(record, file, options.input);
  const std::string name = formats::shown_name(file);
  const ExplanationModel model{options.json ? name : printable(STDOUT_FILENO, name),
                               std::string(loaded.format->name), measures::counts_of(record.h)};
  options.json ? print_explanation_json(model) : print_explanation_text(model);
  return kSuccess;
}

int run(const ExplainOptions& options) {
  return for_each_file(
      options.files, [&options](const std::string& file) { return explain(file, options); },
      [&options](const std::string& file) {
        if (options.json) print_failure_json("explain", formats::shown_name(file));
      });
}

std::function<int()> declare_explain(Options& options) {
  auto chosen = std::make_shared<ExplainOptions>();
  add_hypergraphs(options, chosen->files);
  add_json(options, chosen->json);
  add_input(options, chosen->input);
  chosen->input.keeps_names = true;  // names do not matter to counts
  return [chosen] { return run(*chosen); };
}

}  // namespace

Command explain_command() {
  return {"explain", "Tell what each count means and why other programs report another", kExplainNotes,
          declare_explain};
}

}  // namespace quillon::tool
