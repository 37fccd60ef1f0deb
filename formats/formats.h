#pragma once
/// @file
/// The table of formats, and files of any format to and from a record.

#include <span>
#include <string>
#include <string_view>

#include "formats/format.h"
#include "formats/record.h"

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility push(default)
#endif

namespace quillon::formats {

/// All formats, ours first. This table is the only list of them.
std::span<const Format> all_formats();

/// The format of a name; null if there is none.
const Format* format_named(std::string_view name);

/// The format that the suffix of a file name stands for, a trailing .gz ignored; null if there is none.
const Format* format_of_file(std::string_view filename);

/// Our own format.
const Format& own_format();

/// Reads a file of a format.
///
/// @param filename  File name, or - for standard input.
/// @throws BadFile if it cannot be read, or breaks a rule of the format.
NetLists read_file(const std::string& filename, const Format& format, const ReadOptions& options);

/// What to do with nets of one pin or none.
enum class SmallNets { kFold, kKeep };

/// Reads a file of our own format by the reader of the module, and builds the cell side.
///
/// @param record    Out, fresh.
/// @param filename  File name, or - for standard input.
/// @param warn      Warn about cells named twice and missing cell weights.
/// @throws BadFile  if it cannot be read, or ends in a comment line, or a line too long, where more is due:
///                  the readers of the module would wait for ever.
/// @par Errors      What else is wrong with the file is fatal (util/util.h). Under a handler that throws, a
///                  Scope (util/scope.h) that outlives `record` frees what is left of the call.
void load_own(Record& record, const std::string& filename, SmallNets small_nets, bool warn);

/// Reads a file into a record, both sides built; nets of one pin or none are kept.
///
/// @param format  Null for the format of the file's suffix, or else our own.
void load(Record& record, const std::string& filename, const Format* format);

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
