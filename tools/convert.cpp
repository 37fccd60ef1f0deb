#include <map>
#include <memory>

#include "hypergraph/hypergraph.h"
#include "tools/commands.h"
#include "tools/export.h"
#include "tools/formats.h"
#include "tools/input.h"
#include "tools/output.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

constexpr const char* kExamples = R"(
Examples:
  quillon convert circuit.hgr circuit.qhg
  quillon convert matrix.mtx.gz matrix.hgr --model column-net
  quillon convert --from metis --to quillon - - < mesh.txt > mesh.qhg
  quillon convert people.json people.qhg --labels people.names

Formats, with the suffixes that stand for them:
  quillon  .qhg               our own
  hmetis   .hgr .hmetis .hg   hypergraphs of hMETIS; weights of nets and cells are always written
  kub      .kub               count-prefixed nets, cells from 0
  mtx      .mtx               Matrix Market coordinates; written as a pattern
  metis    .graph             graphs of METIS as hypergraphs of 2-pin nets; only read
  hif      .json              Hypergraph Interchange Format 0.1, undirected
A name that ends in .gz is read as the format that stands before it. Nothing is written compressed.

Models of a matrix:
  row-net      rows are nets, columns are cells
  column-net   columns are nets, rows are cells
  fine-grain   entries are cells, rows and then columns are nets; only read)";

enum class Weights { kNone, kCells, kNets, kBoth, kAuto };

struct Options {
  std::string in;
  std::string out;
  std::optional<Format> from;
  std::optional<Format> to;
  std::optional<int> numbering;
  std::optional<Weights> weights;
  Model model = Model::kRowNet;
  bool add_diagonal = false;
  std::string labels;
  bool strict = false;
};

int weight_format(const Options& options, const Hypergraph& h) {
  const Weights weights = options.weights.value_or(Weights::kAuto);
  return weights == Weights::kAuto ? h._fmt : static_cast<int>(weights);
}

template <typename Item>
std::int64_t count_weights(const Item* items, int count, bool (*which)(int)) {
  return std::count_if(items + 1, items + count + 1, [which](const Item& item) { return which(item.w); });
}

std::int64_t count_pinless(const Hypergraph& h, bool (*which)(int)) {
  return std::count_if(h._nlst + 1, h._nlst + h._n + 1,
                       [which](const Net& net) { return net.pinsend < net.pins && which(net.w); });
}

void note(std::vector<std::string>& notes, std::int64_t count, const std::string& what,
          const std::string& more = {}) {
  if (count > 0) notes.push_back(counted(count, what) + more);
}

// What is not as it was, or not as others want it.
struct Doubts {
  std::vector<std::string> lost;     // the target has no room for it
  std::vector<std::string> refused;  // it is there, but readers do not take it
};

void note_weights(std::vector<std::string>& lost, const Hypergraph& h, bool cells, bool nets) {
  const auto counts = [](int w) { return w != 1; };
  if (!cells) note(lost, count_weights(h._clst, h._c, counts), "cell weight", " other than 1");
  if (!nets) note(lost, count_weights(h._nlst, h._n, counts), "net weight", " other than 1");
}

// Names that are more than the numbers that the items have anyway.
std::int64_t count_names(const std::vector<std::string>& names) {
  std::int64_t count = 0;
  for (std::size_t k = 1; k < names.size(); ++k) count += names[k] != std::to_string(k) ? 1 : 0;
  return count;
}

void note_doubts_of_target(Doubts& doubts, const Options& options, const Hypergraph& h) {
  const auto any = [](int /*w*/) { return true; };
  const auto negative = [](int w) { return w < 0; };
  switch (*options.to) {
    case Format::kQuillon: {
      const int fmt = weight_format(options, h);
      note_weights(doubts.lost, h, (fmt & 1) != 0, (fmt & 2) != 0);
      if ((fmt & 2) != 0)
        note(doubts.refused, count_pinless(h, [](int w) { return w >= 2; }), "net",
             " without pins of weight 2 or more, which readers that fold small nets refuse");
      break;
    }
    case Format::kHmetis:
      note(doubts.refused, count_pinless(h, any), "net", " without pins, which many readers refuse");
      [[fallthrough]];
    case Format::kKub:
      note(doubts.refused, count_weights(h._clst, h._c, negative) + count_weights(h._nlst, h._n, negative),
           "weight", " below 0, which readers refuse");
      break;
    case Format::kMatrixMarket:
      note_weights(doubts.lost, h, false, false);
      note(doubts.lost, count_repeated_pins(h), "repeated pin");
      break;
    case Format::kMetis:
    case Format::kHif:
      break;
  }
}

bool keeps_names(const Options& options) { return !options.labels.empty() || *options.to == Format::kHif; }

void tell(const Options& options, const Arrays& arrays, const Hypergraph& h) {
  for (const std::string& remark : arrays.remarks)
    uwarning("%s: %s", shown_name(options.in).c_str(), remark.c_str());
  if (*options.to != Format::kMatrixMarket && *options.from != Format::kMatrixMarket)
    if (const std::int64_t count = count_repeated_pins(h); count > 0)
      uwarning("%s: %s of a cell on its net, kept", shown_name(options.in).c_str(),
               counted(count, "repetition").c_str());

  Doubts doubts{arrays.losses, {}};
  if (!keeps_names(options)) {
    note(doubts.lost, count_names(arrays.cell_names), "cell name");
    note(doubts.lost, count_names(arrays.net_names), "net name");
  }
  note_doubts_of_target(doubts, options, h);
  const std::string target = shown_target(options.out);
  for (const std::string& lost : doubts.lost) uwarning("%s does not hold %s", target.c_str(), lost.c_str());
  for (const std::string& refused : doubts.refused) uwarning("%s holds %s", target.c_str(), refused.c_str());
  if (options.strict && !(doubts.lost.empty() && doubts.refused.empty()))
    errexit("%s is not written, because of --strict", target.c_str());
}

void write_file(const Options& options, const Hypergraph& h, const Labels& labels, const char* filename) {
  switch (*options.to) {
    case Format::kQuillon:
      write_hypergraph(&h, filename, options.numbering.value_or(1), weight_format(options, h));
      break;
    case Format::kHmetis:
      write_hmetis_hypergraph(&h, filename);
      break;
    case Format::kKub:
      export_kub(&h, filename);
      break;
    case Format::kMatrixMarket:
      export_matrix_market(&h, options.model, filename);
      break;
    case Format::kHif:
      export_hif(&h, labels, filename);
      break;
    case Format::kMetis:
      break;  // refused before anything is read
  }
}

// Names of the source, or for a source without names those kept when it was made.
Labels labels_for(const Options& options, const Arrays& arrays, const Hypergraph& h) {
  if (*options.from == Format::kHif) return {arrays.cell_names, arrays.net_names};
  if (options.labels.empty()) return {};
  return read_labels(options.labels, h._c, h._n);
}

void convert(const Options& options) {
  Arrays arrays = import_file(options.in, *options.from, {options.model, options.add_diagonal});
  Loaded loaded;
  to_record(arrays, loaded);
  const Hypergraph& h = loaded.h;
  arrays.nadj = {};
  tell(options, arrays, h);

  const Labels labels = labels_for(options, arrays, h);
  Outputs outputs;
  stage(outputs, options.out, [&](const char* filename) { write_file(options, h, labels, filename); });
  if (!options.labels.empty() && *options.from == Format::kHif)
    stage(outputs, options.labels, [&](const char* filename) { write_labels(labels, filename); });
  publish(outputs);
}

std::string usage_error(const Options& options) {
  const bool reads_matrix = *options.from == Format::kMatrixMarket;
  const bool writes_matrix = *options.to == Format::kMatrixMarket;
  if (*options.to == Format::kMetis) return "METIS graphs are only read: a net may have more than two pins";
  if (options.out.ends_with(".gz")) return "nothing is written compressed; write to - and pipe it into gzip";
  if (options.numbering && *options.to != Format::kQuillon) return "--numbering is for writing quillon";
  if (options.weights && *options.to != Format::kQuillon) return "--weights is for writing quillon";
  if (writes_matrix && options.model == Model::kFineGrain)
    return "a matrix is written by --model row-net or column-net";
  if (!reads_matrix && !writes_matrix && options.model != Model::kRowNet) return "--model is for mtx";
  if (!reads_matrix && options.add_diagonal) return "--diagonal is for reading mtx";
  if (!options.labels.empty() && *options.from != Format::kHif && *options.to != Format::kHif)
    return "--labels is for hif";
  return "";
}

void deduce(std::optional<Format>& format, const std::string& name, const char* option) {
  if (format) return;
  format = format_of_name(name);
  if (!format)
    throw CLI::ValidationError("cannot tell the format of " + (name == "-" ? "-" : "'" + name + "'") +
                               ": say it with " + option);
}

int run(Options& options) {
  deduce(options.from, options.in, "--from");
  deduce(options.to, options.out, "--to");
  if (const std::string error = usage_error(options); !error.empty()) throw CLI::ValidationError(error);
  convert(options);
  return kFine;
}

}  // namespace

void add_convert(CLI::App& app, int& status) {
  auto options = std::make_shared<Options>();
  CLI::App* const command = app.add_subcommand("convert", "Turn a file into one of another format");
  command->add_option("IN", options->in, "File to read; - is standard input")->required();
  command->add_option("OUT", options->out, "File to write; - is standard output")->required();
  add_format_option(*command, "--from", options->from, "Format of IN, if its suffix does not tell");
  add_format_option(*command, "--to", options->to, "Format of OUT, if its suffix does not tell");
  add_choice<int>(*command, "--numbering", {{"0", 0}, {"1", 1}}, options->numbering,
                  "First cell number in a quillon file, 1 if not given");
  add_choice<Weights>(*command, "--weights",
                      {{"none", Weights::kNone},
                       {"cells", Weights::kCells},
                       {"nets", Weights::kNets},
                       {"both", Weights::kBoth},
                       {"auto", Weights::kAuto}},
                      options->weights,
                      "Weights in a quillon file; auto, if not given: those that are not all 1");
  add_choice<Model>(
      *command, "--model",
      {{"row-net", Model::kRowNet}, {"column-net", Model::kColumnNet}, {"fine-grain", Model::kFineGrain}},
      options->model, "How a matrix is a hypergraph, row-net if not given");
  command->add_flag("--diagonal", options->add_diagonal,
                    "Add the missing diagonal entries of a square matrix");
  command
      ->add_option("--labels", options->labels, "Keep the names of a hif file in FILE, or take them from it")
      ->type_name("FILE");
  command->add_flag("--strict", options->strict,
                    "Write nothing if anything would be lost, or refused by readers");
  command->footer(kExamples);
  command->callback([options, &status] { status = run(*options); });
}

}  // namespace quillon::tool
