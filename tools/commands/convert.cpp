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
using formats::Model;
using formats::NetLists;

// The weights that a file gets. The first four have the numbers that our own format gives them.
enum class WrittenWeights { kNone, kCells, kNets, kBoth, kAuto };

struct ConvertOptions {
  std::string in;
  std::string out;
  const Format* from = nullptr;
  const Format* to = nullptr;
  std::optional<int> numbering;
  std::optional<WrittenWeights> weights;
  Model model = Model::kRowNet;
  bool add_diagonal = false;
  std::string labels;
  bool strict = false;
};

constexpr const char* kNotes = R"(
Examples:
  quillon convert circuit.hgr circuit.qhg
  quillon convert matrix.mtx.gz matrix.hgr --model column-net
  quillon convert --from metis --to quillon - - < mesh.txt > mesh.qhg
  quillon convert people.json people.qhg --labels people.names

Anything the target cannot represent is counted and reported on standard error. Files that end in .gz or .zst are
compressed. See quillon help formats for all formats and their suffixes.

Models of a matrix:
  row-net      rows are nets, columns are cells
  column-net   columns are nets, rows are cells
  fine-grain   entries are cells; rows, then columns are nets; only for reading)";

bool has(const Format& format, formats::OptionBit option) { return (format.options & option) != 0; }

formats::WriteOptions write_options(const ConvertOptions& options, const Labels* labels) {
  formats::WriteOptions written;
  written.numbering = options.numbering.value_or(1);
  if (options.weights && *options.weights != WrittenWeights::kAuto)
    written.weights = static_cast<int>(*options.weights);
  written.model = options.model;
  written.labels = labels;
  return written;
}

// Counts names that differ from the numbers of their items.
std::int64_t count_names(const std::vector<std::string>& names) {
  std::int64_t count = 0;
  for (std::size_t k = 1; k < names.size(); ++k) count += names[k] != std::to_string(k) ? 1 : 0;
  return count;
}

bool keeps_names(const ConvertOptions& options) {
  return !options.labels.empty() || has(*options.to, formats::kLabelsOption);
}

void warn_about_source(const ConvertOptions& options, const NetLists& lists, const Hypergraph& h) {
  std::vector<std::string> remarks = lists.remarks;
  if (options.to->keeps_repeated_pins && options.from->keeps_repeated_pins)
    formats::note(remarks, formats::count_repeated_pins(h), "repetition", " of a cell on its net, kept");
  if (options.from != options.to && options.from->note_oddities != nullptr)
    options.from->note_oddities(h, remarks);
  for (const std::string& remark : remarks)
    uwarning("%s: %s", formats::shown_name(options.in).c_str(), remark.c_str());
}

void warn_about_target(const ConvertOptions& options, const NetLists& lists, const Hypergraph& h) {
  formats::Losses losses{lists.losses, {}, {}};
  if (!keeps_names(options)) {
    formats::note(losses.lost, count_names(lists.cell_names), "cell name");
    formats::note(losses.lost, count_names(lists.net_names), "net name");
  }
  if (options.to->find_losses != nullptr) options.to->find_losses(h, write_options(options, nullptr), losses);
  const std::string target = formats::shown_target(options.out);
  for (const std::string& lost : losses.lost) uwarning("%s does not hold %s", target.c_str(), lost.c_str());
  for (const std::vector<std::string>* const held : {&losses.refused, &losses.dropped})
    for (const std::string& what : *held) uwarning("%s holds %s", target.c_str(), what.c_str());
  if (options.strict && !(losses.lost.empty() && losses.refused.empty()))
    errexit("%s is not written, because of --strict", target.c_str());
}

// The names of the source; for a source without names, those in the file of --labels.
Labels labels_for(const ConvertOptions& options, const NetLists& lists, const Hypergraph& h) {
  if (has(*options.from, formats::kLabelsOption)) return {lists.cell_names, lists.net_names};
  if (options.labels.empty()) return {};
  return formats::read_labels(options.labels, h._c, h._n);
}

void convert(const ConvertOptions& options) {
  const bool writes_labels = !options.labels.empty() && has(*options.from, formats::kLabelsOption);
  formats::refuse_to_replace({options.in}, options.labels);
  if (writes_labels) formats::refuse_named_twice({options.out, options.labels});
  if (!writes_labels) formats::refuse_to_replace({options.labels}, options.out);
  NetLists lists = formats::read_file(options.in, *options.from, {options.model, options.add_diagonal});
  formats::Record record;
  to_record(std::move(lists), record);  // leaves names, remarks and losses
  const Hypergraph& h = record.h;
  warn_about_source(options, lists, h);
  warn_about_target(options, lists, h);

  const Labels labels = labels_for(options, lists, h);
  formats::Outputs outputs(force());
  outputs.write(options.out, [&](const char* filename) {
    options.to->write(h, write_options(options, &labels), filename);
  });
  if (writes_labels)
    outputs.write(options.labels, [&](const char* filename) { formats::write_labels(labels, filename); });
  outputs.publish();
}

// The names of the formats that an option means something to.
std::string formats_with(formats::OptionBit option) {
  std::string names;
  for (const Format& format : formats::all_formats())
    if (has(format, option)) names.append(names.empty() ? "" : ", ").append(format.name);
  return names;
}

std::string usage_error(const ConvertOptions& options) {
  const Format& from = *options.from;
  const Format& to = *options.to;
  if (to.write == nullptr) return to.refusal({});
  if (options.numbering && !has(to, formats::kNumberingOption))
    return "--numbering is for writing " + formats_with(formats::kNumberingOption);
  if (options.weights && !has(to, formats::kWeightsOption))
    return "--weights is for writing " + formats_with(formats::kWeightsOption);
  if (to.refusal != nullptr)
    if (const std::string refusal = to.refusal(write_options(options, nullptr)); !refusal.empty())
      return refusal;
  if (!has(from, formats::kModelOption) && !has(to, formats::kModelOption) && options.model != Model::kRowNet)
    return "--model is for " + formats_with(formats::kModelOption);
  if (!has(from, formats::kDiagonalOption) && options.add_diagonal)
    return "--diagonal is for reading " + formats_with(formats::kDiagonalOption);
  if (!options.labels.empty() && !has(from, formats::kLabelsOption) && !has(to, formats::kLabelsOption))
    return "--labels is for " + formats_with(formats::kLabelsOption);
  return "";
}

void deduce(const Format*& format, const std::string& name, const char* option) {
  if (format != nullptr) return;
  format = formats::format_of_file(name);
  if (format == nullptr)
    throw UsageError("cannot tell the format of " + (name == "-" ? "-" : "'" + name + "'") + "; use " +
                     option);
}

int run(ConvertOptions options) {
  deduce(options.from, options.in, "--from");
  deduce(options.to, options.out, "--to");
  if (const std::string error = usage_error(options); !error.empty()) throw UsageError(error);
  convert(options);
  return kSuccess;
}

std::function<int()> declare(Options& options) {
  auto chosen = std::make_shared<ConvertOptions>();
  options.file("IN", "IN", chosen->in, ValueKind::kHypergraphIn, "File to read; - is standard input")
      .required();
  options.file("OUT", "OUT", chosen->out, ValueKind::kHypergraphOut, "File to write; - is standard output")
      .required();
  options.format("--from", chosen->from, "Format of IN (default: by suffix)");
  options.written_format("--to", chosen->to, "Format of OUT (default: by suffix)");
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
  options.choice<Model>(
      "--model",
      {{"row-net", Model::kRowNet}, {"column-net", Model::kColumnNet}, {"fine-grain", Model::kFineGrain}},
      chosen->model, "How a matrix becomes a hypergraph (default row-net)");
  options.flag("--diagonal", chosen->add_diagonal, "Add the missing diagonal entries of a square matrix");
  options.file("--labels", "FILE", chosen->labels, ValueKind::kFile,
               "Write the names in a hif file to FILE, or read them from FILE");
  options.flag("--strict", chosen->strict,
               "Write nothing if something would be lost, or rejected by some readers");
  add_force(options);
  return [chosen] { return run(*chosen); };
}

}  // namespace

Command convert_command() { return {"convert", "Convert a file to another format", kNotes, declare}; }

}  // namespace quillon::tool
