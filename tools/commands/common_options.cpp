#include "tools/commands/common_options.h"

#include <algorithm>
#include <span>
#include <utility>

#include "formats/net_stream.h"
#include "formats/notes.h"
#include "formats/source.h"
#include "formats/threads.h"
#include "hypergraph/detail/lists.h"
#include "tools/cli/advice.h"
#include "tools/cli/console.h"
#include "tools/cli/run.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

using formats::Format;
using formats::Model;
using formats::Pairs;

constexpr const char* kInputFile = "Hypergraph file; - is standard input";

// Counts names that differ from the numbers of their items. If items are folded, these numbers are no longer
// known, and any integer may be one.
std::int64_t count_names(const std::vector<std::string>& names, bool are_folded) {
  if (!are_folded) return formats::count_names(names);
  return std::count_if(names.begin(), names.end(), [](const std::string& name) {
    return name.find_first_not_of("0123456789") != std::string::npos;
  });
}

bool has_model(const Format& format, Model model) {
  return std::count(format.models.begin(), format.models.end(), model) > 0;
}

// The names of the formats that have a model.
std::string formats_with(Model model) {
  std::string names;
  for (const Format& format : formats::all_formats())
    if (has_model(format, model)) names.append(names.empty() ? "" : ", ").append(format.name);
  return names;
}

// The nets of a record.
class RecordStream : public formats::NetStream {
 public:
  explicit RecordStream(const Hypergraph& h) : h_(h) {
    ncells = h._c;
    nnets = h._n;
    npins = h._p;
    weights = h._fmt;
  }

  std::span<const int> next_net() override { return pins_of(h_._nlst[++net_]); }
  [[nodiscard]] int net_weight(int j) const override { return h_._nlst[j].w; }
  [[nodiscard]] int cell_weight(int i) const override { return h_._clst[i].w; }

 private:
  const Hypergraph& h_;
  int net_ = 0;
};

}  // namespace

std::string model_error(Model model, const Format& from, const Format* to) {
  const bool is_used = has_model(from, model) || (to != nullptr && has_model(*to, model));
  if (model == Model::kDefault || is_used) return "";
  return "--model " + std::string(name_of(model)) + " is for " + formats_with(model);
}

void add_hypergraph(Options& options, const char* name, std::string& file) {
  options.file(name, name, file, ValueKind::kHypergraphIn, kInputFile).required();
}

void add_hypergraphs(Options& options, std::vector<std::string>& files) {
  options.files("FILE", files, ValueKind::kHypergraphIn, "Hypergraph files; - is standard input").required();
}

void add_from(Options& options, InputOptions& input) {
  options.format("--from", input.from, "Format of the input (default: by suffix, or else by content)");
  options.number("--threads", "N", 1, input.threads,
                 "Threads that read (default: QUILLON_THREADS, or as many as processors)");
}

void add_model(Options& options, InputOptions& input) {
  std::vector<std::pair<std::string, Model>> models;
  for (const Format& format : formats::all_formats())
    for (const Model model : format.models) models.emplace_back(name_of(model), model);
  options.choice<Model>("--model", models, input.model,
                        "How a matrix or formula becomes a hypergraph (default row-net, primal)");
  options.flag("--diagonal", input.add_diagonal, "Add the missing diagonal entries of a square matrix");
  options.ordered(
      "--pairs", "net", "cell",
      [&input](bool net_first) { input.pairs = net_first ? Pairs::kNetCell : Pairs::kCellNet; },
      "Lines of a list are pins: the names of a net and its cell, or of a cell and its net");
}

void add_input(Options& options, InputOptions& input) {
  add_from(options, input);
  add_model(options, input);
  options.flag("--strict", input.strict, "Fail if something in the input would be lost");
}

formats::ReadOptions read_options(const InputOptions& input) {
  return {input.model, input.add_diagonal, input.pairs};
}

formats::Loaded load_input(formats::Record& record, const std::string& file, const InputOptions& input) {
  formats::set_threads(input.threads);
  formats::LoadOptions options{input.from, read_options(input), formats::SmallNets::kKeep};
  if (!input.keep_small_nets) options.small_nets = formats::SmallNets::kFold;
  options.cell_side = input.cell_side;
  options.advice = "use --from";
  const std::string name = formats::shown_name(file);
  options.on_choice = [&name](const Format& chosen) {
    print_note(name + ": read as " + std::string(chosen.name) + "; --from can say otherwise");
  };
  formats::Loaded loaded = formats::load(record, file, options);
  if (!loaded.format->models.empty() && !input.model_is_for_output)
    if (const std::string error = model_error(input.model, *loaded.format, nullptr); !error.empty())
      throw UsageError(error);
  for (const std::string& remark : loaded.remarks) uwarning("%s: %s", name.c_str(), advised(remark).c_str());
  if (!input.keeps_names) {
    formats::note(loaded.losses, count_names(loaded.names.cells, false), "cell name");
    formats::note(loaded.losses, count_names(loaded.names.nets, record.nfolded > 0), "net name");
  }
  for (const std::string& loss : loaded.losses) uwarning("%s: not read: %s", name.c_str(), loss.c_str());
  if (input.strict && !loaded.losses.empty()) errexit("%s is refused, because of --strict", name.c_str());
  return loaded;
}

void add_output(Options& options, OutputOptions& output) {
  options.written_format("--to", output.to, "Format of the output (default: by suffix, or else quillon)");
}

void prepare_output(OutputOptions& output, InputOptions& input, const std::vector<std::string>& files) {
  output.strict = input.strict;
  output.write.model = input.model;
  input.keeps_names = true;
  for (const std::string& file : files) {
    if (file.empty()) continue;
    const Format& format = output_format(file, output);
    if ((format.options & formats::kLabelsOption) == 0) input.keeps_names = false;
    if (has_model(format, input.model)) input.model_is_for_output = true;
  }
}

int written_weights(const Hypergraph& h, const formats::Loaded& loaded) {
  return loaded.format == &formats::own_format() ? loaded.weights : h._fmt;
}

const Format& output_format(const std::string& file, const OutputOptions& output) {
  const Format* format = output.to;
  if (format == nullptr) format = formats::format_of_file(file);
  if (format == nullptr) format = &formats::own_format();
  if (format->refusal != nullptr)
    if (const std::string refusal = format->refusal(output.write); !refusal.empty())
      throw UsageError(refusal);
  return *format;
}

void write_output(formats::Outputs& outputs, const std::string& file, const Hypergraph& h,
                  const OutputOptions& output) {
  const Format& format = output_format(file, output);
  formats::Losses losses;
  if (format.find_losses != nullptr) format.find_losses(h, output.write, losses);
  const std::string target = formats::shown_target(file);
  for (const std::string& lost : losses.lost) uwarning("%s does not hold %s", target.c_str(), lost.c_str());
  for (const std::vector<std::string>* const held : {&losses.refused, &losses.dropped})
    for (const std::string& what : *held) uwarning("%s holds %s", target.c_str(), what.c_str());
  if (output.strict && !(losses.lost.empty() && losses.refused.empty()))
    errexit("%s is not written, because of --strict", target.c_str());
  const bool is_streamed = output.plain && format.write_stream != nullptr && format.models.empty();
  outputs.write(file, [&](const char* filename) {
    if (!is_streamed) return format.write(h, output.write, filename);
    RecordStream nets(h);
    format.write_stream(nets, filename);
  });
}

void add_force(Options& options) { options.flag("--force", force(), "Replace write-protected files too"); }

Option add_json(Options& options, bool& json) {
  return options.flag("--json", json, "Print one JSON object per file, each on one line");
}

void add_keep_small_nets(Options& options, InputOptions& input) {
  input.keep_small_nets = false;
  options.flag("--keep-small-nets", input.keep_small_nets,
               "Keep nets of one pin or none (default: remove them and add their weights to totals)");
}

void add_seed(Options& options, std::uint64_t& seed, const Option& random) {
  options
      .number("--seed", "S", seed,
              "Seed of the random order (default 0); the same seed always gives the same order")
      .needs(random);
}

}  // namespace quillon::tool
