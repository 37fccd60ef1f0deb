#pragma once
/// @file
/// The table of formats, and files of any format to and from a record.

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "formats/findings.h"
#include "formats/format.h"
#include "formats/record.h"

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility push(default)
#endif

namespace quillon::formats {

/// @return  All formats, our own first. This table is the only list of them.
std::span<const Format> all_formats();

/// Finds a format by name.
///
/// @param name  Such as "hmetis"; case matters.
/// @return      An entry of the table; null if there is none.
const Format* format_named(std::string_view name);

/// Finds the format that the suffix of a file name stands for.
///
/// @param filename  The file need not exist. A trailing .gz or .zst is ignored; case matters.
/// @return          An entry of the table; null if there is none.
const Format* format_of_file(std::string_view filename);

/// Finds the format that a text seems to be in.
///
/// @param sample  Any text.
/// @return        The entry of the table that fits best; null if none does.
const Format* format_of_text(const Sample& sample);

/// Names a model.
///
/// @param model  Any of them.
/// @return       Such as "row-net"; "default" for `kDefault`.
std::string_view name_of(Model model);

/// @return  Our own format, the first entry of the table.
const Format& own_format();

/// Reads a file of a format, our own too. Errors in the file come with line and column.
///
/// @param filename  File name, or - for standard input; gzip and zstd are decompressed.
/// @param format    An entry of the table.
/// @param options   Those without meaning to the format are ignored.
/// @return          The contents, for `to_record`.
/// @throws BadFile if it cannot be read, or breaks a rule of the format.
NetLists read_file(const std::string& filename, const Format& format, const ReadOptions& options);

/// Finds all errors in a text, as far as a reader can go on after an error.
///
/// @param in       At the start of the text. Gets a listener.
/// @param format   An entry of the table.
/// @param options  As for `read_file`.
/// @return         The errors in the order of the text; none if it can be read.
std::vector<Finding> findings_in(Scanner& in, const Format& format, const ReadOptions& options);

/// Reads an open file of a format.
///
/// @param source   At its start; closed at the end.
/// @param format   An entry of the table.
/// @param options  Those without meaning to the format are ignored.
/// @return         The contents, for `to_record`.
/// @throws BadFile as `read_file` does.
NetLists read_source(std::unique_ptr<Source> source, const Format& format, const ReadOptions& options);

/// How to load a file.
struct LoadOptions {
  const Format* format = nullptr;           ///< An entry of the table; null: by suffix or content.
  ReadOptions read = {};                    ///< Those without meaning to the format are ignored.
  SmallNets small_nets = SmallNets::kKeep;  ///< Whether to fold nets of one pin or none.
  bool cell_side = true;                    ///< Whether to build the cell side and the summaries of cells.

  /// How users name a format, in the message that none was found.
  std::string advice = "name the format";

  /// Called before the file is read if its content, not its name, chose the format. May be empty.
  std::function<void(const Format& chosen)> on_choice = {};
};

/// What a record does not say of the file that it was loaded from.
struct Loaded {
  const Format* format = nullptr;    ///< The file's; an entry of the table.
  int weights = 0;                   ///< That the file has: 0 none, 1 cells, 2 nets, 3 both.
  std::vector<std::string> remarks;  ///< On what is kept as it is, and may surprise.
  std::vector<std::string> losses;   ///< What a hypergraph cannot hold; names are not among them.
  Labels names;                      ///< Of the cells and nets of the record.
};

/// Reads a file of any format into a record, both sides built unless the options say otherwise. Errors in the
/// file come with line and column.
///
/// @param record    Out, fresh.
/// @param filename  File name, or - for standard input; gzip and zstd are decompressed.
/// @param options   How to read it.
/// @return          What else is to be known of the file.
/// @throws BadFile  as `read_file` does; also if the format cannot be found out, or a net without pins that
/// weighs 2 or more is to be folded.
/// @par Errors      Out of memory is fatal (util/util.h).
Loaded load(Record& record, const std::string& filename, const LoadOptions& options);

/// Reads an open file of any format into a record, like the function above.
///
/// @param record    Out, fresh.
/// @param source    At its start; closed at the end. The suffix of its name tells the format.
/// @param options   How to read it.
/// @return          What else is to be known of the file.
/// @throws BadFile  as the function above does.
/// @par Errors      As there.
Loaded load(Record& record, std::unique_ptr<Source> source, const LoadOptions& options);

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
