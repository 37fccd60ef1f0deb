#include "tools/commands/common_options.h"

#include "formats/notes.h"
#include "formats/source.h"
#include "tools/cli/console.h"
#include "tools/cli/run.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

using formats::Format;
using formats::Model;

constexpr const char* kInputFile = "Hypergraph file; - is standard input";

// Counts names that differ from the numbers of their items. If items are folded, these numbers are no longer
// known, and any integer may be one.
std::int64_t count_names(const std::vector<std::string>& names, bool are_folded) {
  std::int64_t count = 0;
  for (std::size_t k = 1; k < names.size(); ++k) {
    const bool is_number = are_folded ? names[k].find_first_not_of("0123456789") == std::string::npos
                                      : names[k] == std::to_string(k);
    count += is_number ? 0 : 1;
  }
  return count;
}

}  // namespace

void add_hypergraph(Options& options, const char* name, std::string& file) {
  options.file(name, name, file, ValueKind::kHypergraphIn, kInputFile).required();
}

void add_hypergraphs(Options& options, std::vector<std::string>& files) {
  options.files("FILE", files, ValueKind::kHypergraphIn, "Hypergraph files; - is standard input").required();
}

void add_from(Options& options, InputOptions& input) {
  options.format("--from", input.from, "Format of the input (default: by suffix, or else by content)");
}

void add_model(Options& options, InputOptions& input) {
  options.choice<Model>(
      "--model",
      {{"row-net", Model::kRowNet}, {"column-net", Model::kColumnNet}, {"fine-grain", Model::kFineGrain}},
      input.model, "How a matrix becomes a hypergraph (default row-net)");
  options.flag("--diagonal", input.add_diagonal, "Add the missing diagonal entries of a square matrix");
}

void add_input(Options& options, InputOptions& input) {
  add_from(options, input);
  add_model(options, input);
  options.flag("--strict", input.strict, "Fail if something in the input would be lost");
}

formats::Loaded load_input(formats::Record& record, const std::string& file, const InputOptions& input) {
  formats::LoadOptions options{input.from, {input.model, input.add_diagonal}, formats::SmallNets::kKeep};
  if (!input.keep_small_nets) options.small_nets = formats::SmallNets::kFold;
  const std::string name = formats::shown_name(file);
  options.on_choice = [&name](const Format& chosen) {
    print_note(name + ": read as " + std::string(chosen.name) + "; --from can say otherwise");
  };
  formats::Loaded loaded = formats::load(record, file, options);
  for (const std::string& remark : loaded.remarks) uwarning("%s: %s", name.c_str(), remark.c_str());
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
  for (const std::string& file : files)
    if (!file.empty() && (output_format(file, output).options & formats::kLabelsOption) == 0)
      input.keeps_names = false;
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
  outputs.write(file, [&](const char* filename) { format.write(h, output.write, filename); });
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
