#include "formats/formats.h"

#include <algorithm>
#include <atomic>

#include "formats/cnf.h"
#include "formats/detect.h"
#include "formats/edge_list.h"
#include "formats/findings.h"
#include "formats/hif.h"
#include "formats/hmetis.h"
#include "formats/kub.h"
#include "formats/matrix_market.h"
#include "formats/metis.h"
#include "formats/quillon.h"
#include "formats/source.h"
#include "formats/stream.h"

namespace quillon::formats {
namespace {

// Longer than other functions: one entry per format.
// NOLINTNEXTLINE(readability-function-size)
std::vector<Format> make_format_table() {
  return {
      {.name = "quillon",
       .suffixes = {".qhg"},
       .summary = "the library's own: a header, one line of cells per net, cell weights",
       .first_cell = "0 or 1, the first number of the header",
       .weights =
           "fifth number of the header: 0 none, 1 cells, 2 nets, 3 both. Cell weights follow the nets;\n"
           "the weight of a net begins its line. The sixth number is the number of weights per cell;\n"
           "the first is used",
       .options = kNumberingOption | kWeightsOption,
       .read = read_quillon,
       .write = write_quillon,
       .write_stream = write_quillon_stream,
       .find_losses = find_losses_of_quillon,
       .fit = fit_quillon},
      {.name = "hmetis",
       .suffixes = {".hgr", ".hmetis", ".hg"},
       .summary = "hMETIS hypergraphs, formats 0, 1, 10 and 11; written as 11",
       .first_cell = "1",
       .weights = "format 1 nets, 10 cells, 11 both",
       .read = read_hmetis,
       .write = write_hmetis,
       .write_stream = write_hmetis_stream,
       .find_losses = find_losses_of_hmetis,
       .fit = fit_hmetis,
       .note_oddities = note_oddities_of_hmetis},
      {.name = "kub",
       .suffixes = {".kub"},
       .summary = "count-prefixed nets, cells from 0; for programs that need pin counts",
       .first_cell = "0",
       .weights = "always both",
       .read = read_kub,
       .write = write_kub,
       .write_stream = write_kub_stream,
       .find_losses = find_losses_of_kub,
       .fit = fit_kub},
      {.name = "mtx",
       .suffixes = {".mtx"},
       .summary = "Matrix Market coordinates; written as a pattern",
       .first_cell = "1",
       .weights = "none; the values of entries are ignored",
       .options = kModelOption | kDiagonalOption,
       .models = {Model::kRowNet, Model::kColumnNet, Model::kFineGrain},
       .has_weights = false,
       .keeps_repeated_pins = false,
       .read = read_matrix_market,
       .write = write_matrix_market,
       .write_stream = write_matrix_market_stream,
       .refusal = refusal_of_matrix_market,
       .find_losses = find_losses_of_matrix_market,
       .fit = fit_matrix_market},
      {.name = "metis",
       .suffixes = {".graph"},
       .summary = "METIS graphs; each edge is a net of two pins",
       .first_cell = "1",
       .weights = "format 1 edges, 10 vertices, 11 both; the first weight of a vertex is used",
       .writes_cell_side = true,
       .read = read_metis,
       .write = write_metis,
       .find_losses = find_losses_of_metis,
       .fit = fit_metis},
      {.name = "hif",
       .suffixes = {".json"},
       .summary = "Hypergraph Interchange Format 0.1; has names of cells and nets",
       .first_cell = "any name; cells are numbered in the order of the file",
       .weights = "\"weight\" of nodes and edges; whole numbers",
       .options = kLabelsOption,
       .reads_whole_text = true,
       .read = read_hif,
       .write = write_hif,
       .fit = fit_hif},
      {.name = "edges",
       .suffixes = {".edges", ".hel"},
       .summary = "edge and hyperedge lists: a net per line, the names of its cells",
       .first_cell = "any name; cells are numbered in the order of the file",
       .weights = "none",
       .options = kLabelsOption | kPairsOption,
       .has_weights = false,
       .reads_whole_text = true,
       .writes_cell_side = true,
       .read = read_edge_list,
       .write = write_edge_list,
       .find_losses = find_losses_of_edge_list},
      {.name = "cnf",
       .suffixes = {".cnf"},
       .summary = "SAT formulas (DIMACS); clauses are nets, variables are cells",
       .first_cell = "1",
       .weights = "none",
       .options = kModelOption,
       .models = {Model::kPrimal, Model::kDual, Model::kLiteral},
       .has_weights = false,
       .keeps_repeated_pins = false,
       .reads_whole_text = true,
       .read = read_cnf,
       .refusal = refusal_of_cnf,
       .fit = fit_cnf},
  };
}

const std::vector<Format>& format_table() {
  static const std::vector<Format> formats = make_format_table();
  return formats;
}

// Errors of `check_pins` do not know the file.
void read_lists(Scanner& in, NetLists& lists, const Format& format, const ReadOptions& options) {
  if (format.reads_whole_text) read_whole(in);
  try {
    format.read(in, lists, options);
  } catch (const BadFile& error) {
    if (!error.finding().file.empty()) throw;
    Finding finding = error.finding();
    finding.file = in.name;
    throw BadFile(finding);
  }
}

}  // namespace

std::span<const Format> all_formats() { return format_table(); }

std::string_view name_of(Model model) {
  constexpr std::string_view kNames[] = {"default", "row-net", "column-net", "fine-grain",
                                         "primal",  "dual",    "literal"};
  return kNames[static_cast<std::size_t>(model)];
}

const Format& own_format() { return format_table().front(); }

const Format* format_named(std::string_view name) {
  for (const Format& format : format_table())
    if (format.name == name) return &format;
  return nullptr;
}

const Format* format_of_file(std::string_view filename) {
  for (const std::string_view compressed : kCompressedSuffixes)
    if (filename.ends_with(compressed)) {
      filename.remove_suffix(compressed.size());
      break;
    }
  for (const Format& format : format_table())
    for (const std::string_view suffix : format.suffixes)
      if (filename.ends_with(suffix)) return &format;
  return nullptr;
}

NetLists read_file(const std::string& filename, const Format& format, const ReadOptions& options) {
  return read_source(std::make_unique<Source>(filename), format, options);
}

NetLists read_source(std::unique_ptr<Source> source, const Format& format, const ReadOptions& options) {
  NetLists lists;
  if (format.reads_whole_text) {
    Scanner in = open_scanner(std::move(source));
    const Watch watch("parsing " + in.name, in.text.size(),
                      [&in] { return in.seen.load(std::memory_order_relaxed); });
    read_lists(in, lists, format, options);
    finish(in);
  } else {
    Scanner in(std::move(source));
    read_lists(in, lists, format, options);
    finish(in);
  }
  return lists;
}

std::vector<Finding> findings_in(Scanner& in, const Format& format, const ReadOptions& options) {
  std::vector<Finding> findings;
  in.listener = [&findings](const Finding& finding) { findings.push_back(finding); };
  NetLists lists;
  try {
    read_lists(in, lists, format, options);
  } catch (const BadFile& error) {
    findings.push_back(error.finding());
  }
  return findings;
}

}  // namespace quillon::formats
