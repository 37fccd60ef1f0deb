#pragma once
// What may be done to the terminal, and whether the user wants it.

#include <string>

namespace quillon::tool {

/// Whether lines can be drawn over there: a terminal, and one that understands control sequences.
bool can_draw_on(int descriptor);

enum class Colour { kRed, kGreen, kBlue };

/// The text in bold and in colour where that is shown and wanted: not in files, and never with NO_COLOR.
std::string coloured(int descriptor, Colour colour, const std::string& text);

/// "quillon: error: ", as it begins every message of the command line on standard error.
std::string error_prefix();

/// Where the option --quiet leaves that it was given.
bool& quiet();

}  // namespace quillon::tool
