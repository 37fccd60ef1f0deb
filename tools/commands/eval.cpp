#include <unistd.h>

#include <algorithm>
#include <list>
#include <memory>

#include "formats/part_vector.h"
#include "formats/sink.h"
#include "formats/source.h"
#include "hypergraph/hypergraph.h"
#include "tools/cli/console.h"
#include "tools/commands/commands.h"
#include "tools/commands/common_options.h"
#include "tools/commands/part_file.h"
#include "tools/report/evaluation_report.h"
#include "tools/report/feasibility_report.h"
#include "tools/report/json_report.h"
#include "tools/report/model.h"
#include "tools/report/text_report.h"

namespace quillon::tool {
namespace {

struct EvalOptions {
  std::string command;  // "eval", or its old name "partition-info"
  std::string hypergraph;
  std::vector<std::string> part_files;
  InputOptions input;
  PartOptions parts;
  BalanceOptions balance;
  bool feasible = false;
  const Measure* sort = nullptr;
  const Measure* best = nullptr;
  bool matrix = false;
  bool details = false;
  int nnets = 0;
  bool table = false;
  bool summary = false;
  bool json = false;
  std::string write;
  bool one_per_line = false;
};

constexpr const char* kEvalNotes = R"(
Examples:
  quillon eval circuit.hgr circuit.part.8
  quillon eval circuit.hgr a.part b.part c.part --sort connectivity_minus_one
  quillon eval circuit.hgr circuit.part.8 --limit epsilon=0.03 --fixed circuit.fix
  quillon eval circuit.hgr circuit.part.8 --matrix > matrix.tsv
  quillon eval --feasible circuit.hgr -k 8 --limit epsilon=0.03

PARTFILE has one part number per cell, separated by any white space.

Let w be the weight of a net and L the number of parts with pins of it. Over the nets with L > 1, the cut is the sum of
w, the connectivity minus one the sum of w (L - 1), and the sum of external degrees the sum of w L. The absorption is
the sum over nets and parts of w (pins in the part - 1) / (pins - 1).

The balances are the smallest limits that hold. With W the total weight, k parts and t = W / k, or the target of the
part, a part that weighs p is within the limit if
  epsilon=X    p <= floor((1 + X) ceil(t))
  ufactor=X    p <= (1 + X / 1000) t
  ubfactor=X   W (1/2 - X/100)^l <= p <= W (1/2 + X/100)^l, where l = log2(W / t)
  share=X      t - W X / 100 <= p <= t + W X / 100
  mondriaan=X  p <= (1 + X) t
The imbalance is the weight of the heaviest part divided by the average, minus 1.

--matrix, --parts and --nets print tab-separated tables instead of the measures. An entry of the matrix is the weight
of the nets that touch both parts. With more than 256 parts, or several files, the matrix is a list of its entries that
are not 0. A part sends and receives volume as if the part of a net's first pin sent w to all others that it touches.

--summary prints a line for scripts: RESULT, then KEY=VALUE for each column of --table, the name of PARTFILE last.

The exit status is 1 if a limit does not hold, a fixed cell has moved, or a file cannot be read; with several files, the
others are still evaluated.)";

constexpr const char* kPartitionInfoNotes = R"(
The old name of eval; only the text for a single PARTFILE differs.

Examples:
  quillon partition-info circuit.qhg circuit.part.8
  quillon partition-info circuit.hgr circuit.part.8 -k 8 --write circuit.parts)";

void check_usage(const EvalOptions& options) {
  if (options.feasible && !options.part_files.empty()) throw UsageError("--feasible excludes PARTFILE");
  if (options.feasible && options.parts.nparts == 0) throw UsageError("--feasible requires -k");
  if (!options.feasible && options.part_files.empty()) throw UsageError("PARTFILE is required");
  if (!options.write.empty() && options.part_files.size() != 1)
    throw UsageError("--write requires a single PARTFILE");
}

std::string name_for(const EvalOptions& options, const std::string& file) {
  const int stream = formats::is_standard_output(options.write) ? STDERR_FILENO : STDOUT_FILENO;
  const std::string name = formats::shown_name(file);
  return options.json ? name : printable(stream, name);
}

PartitionWishes wishes_of(const EvalOptions& options) {
  PartitionWishes wishes;
  for (const std::string& limit : options.balance.limits) wishes.limits.push_back(limit_of(limit));
  wishes.details = options.details;
  wishes.matrix = options.matrix;
  wishes.nnets = options.nnets;
  return wishes;
}

void add_fixed(PartitionWishes& wishes, const EvalOptions& options, int ncells) {
  if (!options.balance.fixed.empty())
    wishes.fixed =
        formats::read_fixed_parts(options.balance.fixed, ncells, options.parts.nparts, options.parts.first);
}

void rewrite(formats::Outputs& outputs, const EvalOptions& options, const measures::Partition& partition) {
  outputs.write(options.write, [&](const char* filename) {
    if (options.one_per_line)
      formats::write_parts_by_line(partition.parts, filename);
    else
      write_partvec(static_cast<int>(partition.parts.size()) - 1, partition.parts.data(), filename);
  });
}

PartitionModel evaluate_file(const EvalOptions& options, const std::string& file, const Hypergraph& h,
                             PartitionWishes& wishes, formats::Outputs& outputs) {
  const measures::Partition partition = read_partition(file, h._c, options.parts);
  if (!options.balance.targets.empty())
    wishes.targets = read_targets(options.balance.targets, partition.nparts);
  PartitionModel model =
      partition_model(name_for(options, options.hypergraph), name_for(options, file), h, partition, wishes);
  if (!options.write.empty()) rewrite(outputs, options, partition);
  return model;
}

void print(const EvalOptions& options, const std::vector<const PartitionModel*>& models) {
  if (options.json)
    for (const PartitionModel* const model : models) print_partition_json(options.command, *model);
  else if (options.details || options.matrix || options.nnets > 0)
    print_part_tables(models);
  else if (options.table)
    print_evaluation_table(models);
  else if (options.summary)
    for (const PartitionModel* const model : models) print_evaluation_summary(*model);
  else if (models.size() > 1)
    print_overview_text(models);
  else if (!models.empty() && options.command == "eval")
    print_evaluation_text(*models.front());
  else if (!models.empty())
    print_partition_text(*models.front());
}

std::vector<const PartitionModel*> chosen_models(const EvalOptions& options,
                                                 const std::list<PartitionModel>& all) {
  std::vector<const PartitionModel*> models;
  for (const PartitionModel& model : all) models.push_back(&model);
  const Measure* const order = options.best != nullptr ? options.best : options.sort;
  if (order != nullptr)
    std::stable_sort(models.begin(), models.end(),
                     [order](const auto* a, const auto* b) { return is_better(*order, *a, *b); });
  if (options.best != nullptr && models.size() > 1) models.erase(models.begin() + 1, models.end());
  return models;
}

// Where the report does not show them.
void warn_of_limits(const EvalOptions& options, const std::vector<const PartitionModel*>& models) {
  const bool has_text = models.size() == 1 && !options.table && !options.summary && !options.details &&
                        !options.matrix && options.nnets == 0;
  if (options.json || has_text) return;
  const DivertedOutput diverted(print_on_standard_error);
  for (const PartitionModel* const model : models) {
    if (model->is_within_limits()) continue;
    print_error(model->part_file + ": not within limits:");
    print_limits_text(*model);
  }
}

void print_skipped(const EvalOptions& options, const std::string& file) {
  if (options.json)
    print_beside(options.write, [&] {
      print_failure_json(options.command, formats::shown_name(options.hypergraph), formats::shown_name(file));
    });
  else if (options.part_files.size() > 1)
    print_error(formats::shown_name(file) + ": skipped (see the error above)");
}

int evaluate_files(const EvalOptions& options, const Hypergraph& h, PartitionWishes& wishes) {
  std::list<PartitionModel> all;
  formats::Outputs outputs(force());
  const int status = for_each_file(
      options.part_files,
      [&](const std::string& file) {
        all.push_back(evaluate_file(options, file, h, wishes, outputs));
        return kSuccess;
      },
      [&options](const std::string& file) { print_skipped(options, file); });
  const std::vector<const PartitionModel*> models = chosen_models(options, all);
  outputs.publish([&] { print_beside(options.write, [&] { print(options, models); }); });
  warn_of_limits(options, models);
  const bool hold =
      std::all_of(models.begin(), models.end(), [](const auto* model) { return model->is_within_limits(); });
  return hold ? status : kFinding;
}

int find_obstacles(const EvalOptions& options, const Hypergraph& h, PartitionWishes& wishes) {
  if (!options.balance.targets.empty())
    wishes.targets = read_targets(options.balance.targets, options.parts.nparts);
  const FeasibilityModel model =
      feasibility_model(name_for(options, options.hypergraph), h, options.parts.nparts, wishes);
  if (options.json)
    print_feasibility_json(model);
  else
    print_feasibility_text(model);
  return model.may_be_feasible() ? kSuccess : kFinding;
}

int run(const EvalOptions& options) {
  check_usage(options);
  PartitionWishes wishes = wishes_of(options);
  formats::refuse_to_replace({options.hypergraph}, options.write);
  formats::Record record;
  formats::Loaded loaded;
  try {
    loaded = load_input(record, options.hypergraph, options.input);
    add_fixed(wishes, options, record.h._c);
    if (options.feasible) check_number_of_parts(options.parts, record.h._c);
  } catch (...) {
    if (options.json) print_failure_json(options.command, formats::shown_name(options.hypergraph));
    throw;
  }
  wishes.names = &loaded.names;
  return options.feasible ? find_obstacles(options, record.h, wishes)
                          : evaluate_files(options, record.h, wishes);
}

Option add_measure(Options& options, const char* name, const Measure*& measure, const char* help) {
  std::vector<std::pair<std::string, const Measure*>> choices;
  for (const Measure& known : all_measures()) choices.emplace_back(known.key, &known);
  return options.choice<const Measure*>(name, choices, measure, help);
}

void add_formats_of_results(Options& options, EvalOptions& chosen) {
  const Option table = options.flag("--table", chosen.table, "Print tab-separated values with a header");
  const Option summary =
      options.flag("--summary", chosen.summary, "Print a line RESULT key=value ... per PARTFILE")
          .excludes(table);
  options.flag("--json", chosen.json, "Print one JSON object per PARTFILE, each on one line")
      .excludes(table)
      .excludes(summary);
  options.flag("--matrix", chosen.matrix, "Print the matrix between parts").excludes(table).excludes(summary);
  options.flag("--parts", chosen.details, "Print a row for each part").excludes(table).excludes(summary);
  options.number("--nets", "N", 1, chosen.nnets, "Print the N cut nets that cost most")
      .excludes(table)
      .excludes(summary);
}

std::function<int()> declare_as(const char* command, Options& options) {
  auto chosen = std::make_shared<EvalOptions>();
  chosen->command = command;
  chosen->input.keeps_names = true;
  add_hypergraph(options, "HYPERGRAPH", chosen->hypergraph);
  options.files("PARTFILE", chosen->part_files, ValueKind::kFile,
                "Part numbers of the cells; - is standard input");
  add_input(options, chosen->input);
  add_parts(options, chosen->parts);
  add_balance(options, chosen->balance);
  options.flag("--feasible", chosen->feasible, "Look for reasons why K parts cannot keep the limits");
  const Option sort = add_measure(options, "--sort", chosen->sort, "Print the best PARTFILE first");
  add_measure(options, "--best", chosen->best, "Print the best PARTFILE only").excludes(sort);
  add_formats_of_results(options, *chosen);
  const Option write = options.file("--write", "FILE", chosen->write, ValueKind::kFile,
                                    "Write the partition to FILE, 100 numbers per line");
  options.flag("--one-per-line", chosen->one_per_line, "Write one number per line").needs(write);
  add_force(options);
  return [chosen] { return run(*chosen); };
}

std::function<int()> declare_eval(Options& options) { return declare_as("eval", options); }

std::function<int()> declare_old(Options& options) { return declare_as("partition-info", options); }

}  // namespace

Command eval_command() {
  return {"eval", "Evaluate partitions: cut, balance, limits", kEvalNotes, declare_eval};
}

Command partition_info_command() {
  return {"partition-info", "Old name of eval: measure a partition", kPartitionInfoNotes, declare_old};
}

}  // namespace quillon::tool
