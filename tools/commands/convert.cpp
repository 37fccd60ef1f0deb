#include <memory>
#include <optional>
#include <utility>

#include "formats/formats.h"
#include "formats/labels.h"
#include "formats/notes.h"
#include "formats/sink.h"
#include "formats/source.h"
#include "hypergraph/hypergraph.h"
#include "tools/commands/commands.h"
#include "tools/commands/common_options.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

using formats::Format;
using formats::Labels;
using formats::Loaded;

// The weights that a file gets. The first four have the numbers that our own format gives them.
enum class WrittenWeights { kNone, kCells, kNets, kBoth, kAuto };

struct ConvertOptions {
  std::string in;
  std::string out;
  InputOptions input;
  OutputOptions output;
  std::optional<int> numbering;
  std::optional<WrittenWeights> weights;
  std::string labels;
};

constexpr const char* kConvertNotes = R"(
Examples:
  quillon convert circuit.hgr circuit.qhg
  quillon convert matrix.mtx.gz matrix.hgr --model column-net
  quillon convert --from metis --to quillon - - < mesh.txt > mesh.qhg
  quillon convert people.json people.qhg --labels people.names
  quillon convert pins.csv pins.hgr --from edges --pairs net cell

Anything the target cannot represent is counted and reported on standard error. Files that end in .gz or .zst are
compressed. See quillon help formats for all formats and their suffixes.

Models of a matrix:
  row-net      rows are nets, columns are cells (default)
  column-net   columns are nets, rows are cells
  fine-grain   entries are cells; rows, then columns are nets; only for reading

Models of a SAT formula:
  primal       clauses are nets, variables are cells (default)
  dual         variables are nets, clauses are cells
  literal      clauses are nets, literals are cells: variable v is cell 2v - 1, its negation cell 2v)";

bool has(const Format& format, formats::OptionBit option) { return (format.options & option) != 0; }

formats::WriteOptions write_options(const ConvertOptions& options) {
  formats::WriteOptions written;
  written.numbering = options.numbering.value_or(1);
  if (options.weights && *options.weights != WrittenWeights::kAuto)
    written.weights = static_cast<int>(*options.weights);
  written.model = options.input.model;
  return written;
}

void warn_about_source(const ConvertOptions& options, const Loaded& loaded, const Hypergraph& h) {
  const Format* const to = options.output.to;
  std::vector<std::string> remarks;
  if (to->keeps_repeated_pins && loaded.format->keeps_repeated_pins)
    formats::note(remarks, formats::count_repeated_pins(h), "repetition", " of a cell on its net, kept");
  if (loaded.format != to && loaded.format->note_oddities != nullptr)
    loaded.format->note_oddities(h, remarks);
  for (const std::string& remark : remarks)
    uwarning("%s: %s", formats::shown_name(options.in).c_str(), remark.c_str());
}

// The names of the source; for a source without names, those in the file of --labels.
Labels labels_for(const ConvertOptions& options, const Loaded& loaded, const Hypergraph& h) {
  if (has(*loaded.format, formats::kLabelsOption)) return loaded.names;
  if (options.labels.empty()) return {};
  return formats::read_labels(options.labels, h._c, h._n);
}

// The names of the formats that an option means something to.
std::string formats_with(formats::OptionBit option) {
  std::string names;
  for (const Format& format : formats::all_formats())
    if (has(format, option)) names.append(names.empty() ? "" : ", ").append(format.name);
  return names;
}

std::string target_error(const ConvertOptions& options) {
  const Format& to = *options.output.to;
  if (to.write == nullptr) return to.refusal({});
  if (options.numbering && !has(to, formats::kNumberingOption))
    return "--numbering is for writing " + formats_with(formats::kNumberingOption);
  if (options.weights && !has(to, formats::kWeightsOption))
    return "--weights is for writing " + formats_with(formats::kWeightsOption);
  return to.refusal != nullptr ? to.refusal(options.output.write) : "";
}

std::string source_error(const ConvertOptions& options, const Format& from) {
  const Format& to = *options.output.to;
  if (std::string error = model_error(options.input.model, from, &to); !error.empty()) return error;
  if (!has(from, formats::kPairsOption) && options.input.pairs != formats::Pairs::kNone)
    return "--pairs is for reading " + formats_with(formats::kPairsOption);
  if (!has(from, formats::kDiagonalOption) && options.input.add_diagonal)
    return "--diagonal is for reading " + formats_with(formats::kDiagonalOption);
  if (!options.labels.empty() && !has(from, formats::kLabelsOption) && !has(to, formats::kLabelsOption))
    return "--labels is for " + formats_with(formats::kLabelsOption);
  return "";
}

void refuse_usage(const std::string& error) {
  if (!error.empty()) throw UsageError(error);
}

// Completes the options, and refuses those that do not go together as far as the names of files tell.
void prepare(ConvertOptions& options) {
  const Format*& to = options.output.to;
  if (to == nullptr) to = formats::format_of_file(options.out);
  if (to == nullptr)
    throw UsageError("cannot tell the format of " + (options.out == "-" ? "-" : "'" + options.out + "'") +
                     "; use --to");
  options.output.write = write_options(options);
  options.output.strict = options.input.strict;
  options.input.cell_side = to->writes_cell_side;
  options.input.model_is_for_output = model_error(options.input.model, *to, nullptr).empty();
  options.input.keeps_names = !options.labels.empty() || has(*to, formats::kLabelsOption);
  refuse_usage(target_error(options));
  const Format* const from =
      options.input.from != nullptr ? options.input.from : formats::format_of_file(options.in);
  if (from != nullptr) refuse_usage(source_error(options, *from));
}

int run(ConvertOptions options) {
  prepare(options);
  formats::refuse_to_replace({options.in}, options.labels);
  formats::Record record;
  const Loaded loaded = load_input(record, options.in, options.input);
  refuse_usage(source_error(options, *loaded.format));
  const bool writes_labels = !options.labels.empty() && has(*loaded.format, formats::kLabelsOption);
  if (writes_labels) formats::refuse_named_twice({options.out, options.labels});
  if (!writes_labels) formats::refuse_to_replace({options.labels}, options.out);
  warn_about_source(options, loaded, record.h);

  const Labels labels = labels_for(options, loaded, record.h);
  options.output.write.labels = &labels;
  formats::Outputs outputs(force());
  write_output(outputs, options.out, record.h, options.output);
  if (writes_labels)
    outputs.write(options.labels, [&](const char* filename) { formats::write_labels(labels, filename); });
  outputs.publish();
  return kSuccess;
}

std::function<int()> declare_convert(Options& options) {
  auto chosen = std::make_shared<ConvertOptions>();
  options.file("IN", "IN", chosen->in, ValueKind::kHypergraphIn, "File to read; - is standard input")
      .required();
  options.file("OUT", "OUT", chosen->out, ValueKind::kHypergraphOut, "File to write; - is standard output")
      .required();
  add_from(options, chosen->input);
  options.written_format("--to", chosen->output.to, "Format of OUT (default: by suffix)");
  options.choice<int>("--numbering", {{"0", 0}, {"1", 1}}, chosen->numbering,
                      "Number of the first cell in a quillon file (default 1)");
  options.choice<WrittenWeights>("--weights",
                                 {{"none", WrittenWeights::kNone},
                                  {"cells", WrittenWeights::kCells},
                                  {"nets", WrittenWeights::kNets},
                                  {"both", WrittenWeights::kBoth},
                                  {"auto", WrittenWeights::kAuto}},
                                 chosen->weights,
                                 "Weights in a quillon file (default auto: only weights that are not all 1)");
  add_model(options, chosen->input);
  options.file("--labels", "FILE", chosen->labels, ValueKind::kFile,
               "Write the names in a hif file to FILE, or read them from FILE");
  options.flag("--strict", chosen->input.strict,
               "Write nothing if something would be lost, or rejected by some readers");
  add_force(options);
  return [chosen] { return run(*chosen); };
}

}  // namespace

Command convert_command() {
  return {"convert", "Convert a file to another format", kConvertNotes, declare_convert};
}

}  // namespace quillon::tool
