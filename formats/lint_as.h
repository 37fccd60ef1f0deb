#pragma once
/// @file
/// What lint would find in a file with another header. Internal to `formats/`.

#include <string>

#include "formats/audit.h"
#include "formats/lint.h"

namespace quillon::formats {

/// Finds all that is wrong with a file, or odd about it, if its header had other counts.
///
/// @param filename,options  As for `lint`.
/// @param counts            Instead of those of the header.
/// @return                  As from `lint`.
/// @par Errors              Those of `lint`.
LintResult lint_as(const std::string& filename, const LintOptions& options, const Counts& counts);

}  // namespace quillon::formats
