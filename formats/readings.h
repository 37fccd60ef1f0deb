#pragma once
/// @file
/// How the header of a file with errors may be meant. Internal to `formats/`.

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "formats/audit.h"
#include "formats/lint.h"

namespace quillon::formats {

/// A way to read a file in which all that is wrong can be mended.
struct Reading {
  std::optional<Counts> counts;  ///< Instead of those of the header; none: it is right.
  std::string change;            ///< What is different then, such as "3 nets instead of 2"; or empty.
  Place header;                  ///< Of the header, if `counts` has a value.
  LintResult found;              ///< What `lint` finds then.
};

/// Whether the errors of a rule are gone once the nets are written again.
bool is_mended_by_writing(std::string_view rule);

/// Finds the only way to read a file.
///
/// @param filename,found,options  As for `mend`.
/// @return                        The reading.
/// @throws BadFile  if there is none, or more than one; then the message names two of them.
/// @par Cost        One read if all that is wrong is in the lines; else several.
Reading only_reading(const std::string& filename, const LintResult& found, const LintOptions& options);

/// Opens a file for a reader, without the byte order mark that `lint` has found.
///
/// @param audit  Outlives the scanner.
std::unique_ptr<Scanner> open_audited(const std::string& filename, const LintResult& found, Audit& audit);

}  // namespace quillon::formats
