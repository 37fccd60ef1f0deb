#include <algorithm>
#include <map>

#include "formats/formats.h"
#include "formats/sink.h"
#include "formats/source.h"
#include "formats/writers.h"
#include "hypergraph/hypergraph.h"
#include "tools/commands/commands.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

int weight_format(const ConvertOptions& options, const Hypergraph& h) {
  const WrittenWeights weights = options.weights.value_or(WrittenWeights::kAuto);
  return weights == WrittenWeights::kAuto ? h._fmt : static_cast<int>(weights);
}

template <typename Item>
std::int64_t count_weights(const Item* items, int count, bool (*which)(int)) {
  return std::count_if(items + 1, items + count + 1, [which](const Item& item) { return which(item.w); });
}

std::int64_t count_all_weights(const Hypergraph& h, bool (*which)(int)) {
  return count_weights(h._clst, h._c, which) + count_weights(h._nlst, h._n, which);
}

std::int64_t count_nets_of_size(const Hypergraph& h, int size, bool (*which)(int)) {
  return std::count_if(h._nlst + 1, h._nlst + h._n + 1,
                       [size, which](const Net& net) { return size_of(net) == size && which(net.w); });
}

// What is not as it was, or not as others want it.
struct Doubts {
  std::vector<std::string> lost;     // the target has no room for it
  std::vector<std::string> refused;  // it is there, but readers do not take it
  std::vector<std::string> dropped;  // it is there, but readers may leave it out
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

bool any(int /*w*/) { return true; }

bool is_zero(int w) { return w == 0; }

// Programs differ in what they make of these.
void note_oddities_of_hmetis(std::vector<std::string>& remarks, const Hypergraph& h) {
  note(remarks, count_nets_of_size(h, 0, any), "net", " without pins, kept");
  note(remarks, count_nets_of_size(h, 1, any), "net", " of one pin, kept");
  note(remarks, count_all_weights(h, is_zero), "weight", " of 0, kept");
}

void note_doubts_of_target(Doubts& doubts, const ConvertOptions& options, const Hypergraph& h) {
  const auto negative = [](int w) { return w < 0; };
  switch (*options.to) {
    case Format::kQuillon: {
      const int fmt = weight_format(options, h);
      note_weights(doubts.lost, h, (fmt & 1) != 0, (fmt & 2) != 0);
      if ((fmt & 2) != 0)
        note(doubts.refused, count_nets_of_size(h, 0, [](int w) { return w >= 2; }), "net",
             " without pins of weight 2 or more, which readers that fold small nets refuse");
      break;
    }
    case Format::kHmetis:
      note(doubts.refused, count_nets_of_size(h, 0, any), "net", " without pins, which many readers refuse");
      note(doubts.refused, count_all_weights(h, is_zero), "weight", " of 0, which some readers refuse");
      note(doubts.dropped, count_nets_of_size(h, 1, any), "net", " of one pin, which some readers drop");
      [[fallthrough]];
    case Format::kKub:
      note(doubts.refused, count_all_weights(h, negative), "weight", " below 0, which readers refuse");
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

bool keeps_names(const ConvertOptions& options) {
  return !options.labels.empty() || *options.to == Format::kHif;
}

void tell_of_source(const ConvertOptions& options, const Arrays& arrays, const Hypergraph& h) {
  std::vector<std::string> remarks = arrays.remarks;
  if (*options.to != Format::kMatrixMarket && *options.from != Format::kMatrixMarket)
    note(remarks, count_repeated_pins(h), "repetition", " of a cell on its net, kept");
  if (*options.from == Format::kHmetis && *options.to != Format::kHmetis) note_oddities_of_hmetis(remarks, h);
  for (const std::string& remark : remarks)
    uwarning("%s: %s", shown_name(options.in).c_str(), remark.c_str());
}

void tell_of_target(const ConvertOptions& options, const Arrays& arrays, const Hypergraph& h) {
  Doubts doubts{arrays.losses, {}, {}};
  if (!keeps_names(options)) {
    note(doubts.lost, count_names(arrays.cell_names), "cell name");
    note(doubts.lost, count_names(arrays.net_names), "net name");
  }
  note_doubts_of_target(doubts, options, h);
  const std::string target = shown_target(options.out);
  for (const std::string& lost : doubts.lost) uwarning("%s does not hold %s", target.c_str(), lost.c_str());
  for (const std::vector<std::string>* const held : {&doubts.refused, &doubts.dropped})
    for (const std::string& what : *held) uwarning("%s holds %s", target.c_str(), what.c_str());
  if (options.strict && !(doubts.lost.empty() && doubts.refused.empty()))
    errexit("%s is not written, because of --strict", target.c_str());
}

void write_file(const ConvertOptions& options, const Hypergraph& h, const Labels& labels,
                const char* filename) {
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
Labels labels_for(const ConvertOptions& options, const Arrays& arrays, const Hypergraph& h) {
  if (*options.from == Format::kHif) return {arrays.cell_names, arrays.net_names};
  if (options.labels.empty()) return {};
  return read_labels(options.labels, h._c, h._n);
}

void convert(const ConvertOptions& options) {
  refuse_to_replace({options.in}, options.labels);
  if (*options.from != Format::kHif) refuse_to_replace({options.labels}, options.out);
  Arrays arrays = import_file(options.in, *options.from, {options.model, options.add_diagonal});
  Loaded loaded;
  to_record(arrays, loaded);
  const Hypergraph& h = loaded.h;
  arrays.nadj = {};
  tell_of_source(options, arrays, h);
  tell_of_target(options, arrays, h);

  const Labels labels = labels_for(options, arrays, h);
  Outputs outputs;
  stage(outputs, options.out, [&](const char* filename) { write_file(options, h, labels, filename); });
  if (!options.labels.empty() && *options.from == Format::kHif)
    stage(outputs, options.labels, [&](const char* filename) { write_labels(labels, filename); });
  publish(outputs);
}

std::string usage_error(const ConvertOptions& options) {
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
    throw UsageError("cannot tell the format of " + (name == "-" ? "-" : "'" + name + "'") +
                     ": say it with " + option);
}

}  // namespace

int run(ConvertOptions options) {
  deduce(options.from, options.in, "--from");
  deduce(options.to, options.out, "--to");
  if (const std::string error = usage_error(options); !error.empty()) throw UsageError(error);
  convert(options);
  return kFine;
}

}  // namespace quillon::tool
