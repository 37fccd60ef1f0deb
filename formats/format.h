#pragma once
/// @file
/// What a file format is to the rest: its name and suffixes, its reader and writer, and what it cannot hold.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "formats/net_lists.h"
#include "formats/net_stream.h"
#include "formats/scanner.h"
#include "hypergraph/hypergraph.h"

namespace quillon::formats {

/// How a matrix or a formula becomes a hypergraph. Readers and writers treat a model that is none of their
/// format as `kDefault`.
enum class Model {
  kDefault,    ///< The first of `Format::models`.
  kRowNet,     ///< Of matrices: rows are nets, columns are cells.
  kColumnNet,  ///< Of matrices: columns are nets, rows are cells.
  kFineGrain,  ///< Of matrices: entries are cells; rows, and after them columns, are nets.
  kPrimal,     ///< Of formulas: clauses are nets, variables are cells.
  kDual,       ///< Of formulas: variables are nets, clauses are cells.
  kLiteral,    ///< Of formulas: clauses are nets, literals are cells: v is cell 2v - 1, its negation 2v.
};

/// What the lines of an edge list are.
enum class Pairs {
  kNone,     ///< Nets: the names of their cells.
  kNetCell,  ///< Pins: the name of the net, then that of the cell.
  kCellNet,  ///< Pins: the name of the cell, then that of the net.
};

/// Names of cells and nets as JSON texts, by number from 1; empty vectors where the numbers serve as names.
struct Labels {
  std::vector<std::string> cells;  ///< By cell number, _c + 1 entries; entry 0 is not used.
  std::vector<std::string> nets;   ///< By net number, _n + 1 entries; entry 0 is not used.
};

/// How to read a file. Formats without an option ignore it.
struct ReadOptions {
  Model model = Model::kDefault;  ///< Of matrices and formulas.
  bool add_diagonal = false;      ///< To square matrices: the missing diagonal entries.
  Pairs pairs = Pairs::kNone;     ///< Of edge lists.
};

/// How to write a file. Formats without an option ignore it.
struct WriteOptions {
  int numbering = 1;                ///< First cell number, where the format has a choice.
  std::optional<int> weights = {};  ///< 0 none, 1 cells, 2 nets, 3 both; by default the record's `_fmt`.
  Model model = Model::kDefault;    ///< Of matrices.
  const Labels* labels = nullptr;   ///< For formats with names; null or empty: the numbers.
};

/// The beginning of a file, decompressed.
struct Sample {
  std::string_view text;  ///< From the first byte on.
  bool is_whole = false;  ///< Nothing follows.
};

/// How well the beginning of a file agrees with a format.
enum class Fit {
  kNone,      ///< Its first lines break a rule of the format.
  kPossible,  ///< Its first lines obey the format; more does not, or too little is there to tell.
  kCertain,   ///< All of it obeys the format, and no similar format is likelier.
};

/// What a file in a format loses of a hypergraph, and what readers of the file refuse or leave out.
struct Losses {
  std::vector<std::string> lost;     ///< The format has no room for it.
  std::vector<std::string> refused;  ///< It is written, but some readers refuse the file.
  std::vector<std::string> dropped;  ///< It is written, but some readers leave it out.
};

/// Options that only some formats have, as bits.
enum OptionBit : unsigned {
  kNumberingOption = 1,  ///< `WriteOptions::numbering`.
  kWeightsOption = 2,    ///< `WriteOptions::weights`.
  kModelOption = 4,      ///< `ReadOptions::model` and `WriteOptions::model`.
  kDiagonalOption = 8,   ///< `ReadOptions::add_diagonal`.
  kLabelsOption = 16,    ///< `WriteOptions::labels`: the format has names of cells and nets.
  kPairsOption = 32,     ///< `ReadOptions::pairs`.
};

/// An entry of the table of formats.
struct Format {
  std::string_view name;                   ///< As after --from and --to.
  std::vector<std::string_view> suffixes;  ///< Of file names, with their dot.
  std::string_view summary;                ///< Half a line.
  std::string_view first_cell;             ///< Number of the first cell in files.
  std::string_view weights;                ///< Which weights files have.
  unsigned options = 0;                    ///< The `OptionBit`s that mean something to it.
  std::vector<Model> models = {};          ///< Of `kModelOption`, the default first.
  bool has_weights = true;                 ///< Whether files have weights that are read.
  bool keeps_repeated_pins = true;         ///< Whether a net of a file can name a cell twice.

  bool reads_whole_text = false;  ///< Whether `read` needs all of a text at once.
  bool writes_cell_side = false;  ///< Whether `write` and `find_losses` need the cell side of a record.

  /// Reads a text.
  ///
  /// @param in       At its start. If it has a listener, that gets the errors after which the reader can go
  /// on,
  ///                 and the net lists are not complete.
  /// @param lists    Out, fresh.
  /// @param options  Those without meaning to the format are ignored.
  /// @throws BadFile if the text breaks a rule of the format.
  void (*read)(Scanner& in, NetLists& lists, const ReadOptions& options) = nullptr;

  /// Writes a file. Null for formats that are only read.
  ///
  /// @param h         Read only. Unless `writes_cell_side`, it need not have its cell side; `_net_list` is
  /// null
  ///                  then.
  /// @param options   Not refused by `refusal`.
  /// @param filename  File to write. One that exists is overwritten.
  /// @par Errors      Fatal (util/util.h) if the file cannot be written.
  void (*write)(const Hypergraph& h, const WriteOptions& options, const char* filename) = nullptr;

  /// Writes a file net by net, in little memory: the text of `write` but for comments and a last line end.
  /// Null: only `write` can.
  ///
  /// @param nets      Read to its end.
  /// @param filename  File to write. One that exists is overwritten.
  /// @par Errors      Fatal (util/util.h) if the file cannot be written.
  void (*write_stream)(NetStream& nets, const char* filename) = nullptr;

  /// Why a file cannot be written with these options; empty if it can. Null: it always can. A format that is
  /// only read needs this.
  ///
  /// @param options  As for `write`.
  std::string (*refusal)(const WriteOptions& options) = nullptr;

  /// Finds what the format cannot hold of a hypergraph. Null: it holds everything.
  ///
  /// @param h        As for `write`.
  /// @param options  As for `write`.
  /// @param losses   Out, appended to.
  void (*find_losses)(const Hypergraph& h, const WriteOptions& options, Losses& losses) = nullptr;

  /// Tells how well a file fits, for files whose name says nothing or something else. Null: it never does,
  /// and only the name or an option can say so.
  ///
  /// @param sample  Any text.
  Fit (*fit)(const Sample& sample) = nullptr;

  /// Notes what a hypergraph that was read from this format holds and programs for it treat differently.
  /// Null: nothing.
  ///
  /// @param h        Read only. Needs its nets.
  /// @param remarks  Out, appended to.
  void (*note_oddities)(const Hypergraph& h, std::vector<std::string>& remarks) = nullptr;
};

}  // namespace quillon::formats
