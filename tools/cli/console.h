#pragma once
// What the tool says beside its results: errors and warnings on standard error, colours, and whether the user
// wants progress.

#include <string>
#include <string_view>

namespace quillon::tool {

/// Whether lines can be redrawn there: a terminal that understands control sequences.
bool can_draw_on(int descriptor);

enum class Colour { kRed, kGreen, kBlue };

/// The text in bold and in colour if the descriptor is a terminal that shows it and NO_COLOR is not set.
std::string coloured(int descriptor, Colour colour, const std::string& text);

/// The text as a terminal can show it safely: on one, control characters, also those beyond ASCII, and bytes
/// that are no UTF-8 become "\x1B" and the like.
std::string printable(int descriptor, std::string_view text);

/// "quillon: error: ", as it begins every usage error.
std::string error_prefix();

/// Prints a usage error on standard error.
void print_usage_error(const std::string& text);

/// Prints "quillon: error: TEXT" on standard error. A line end follows unless the text has one.
void print_error(std::string_view text);

/// The same with "quillon: warning: ".
void print_warning(const char* text);

/// The same with "quillon: note: ", unless --quiet is given.
void print_note(std::string_view text);

/// Prints "quillon: FILE:LINE:COLUMN: error: ..." of a finding's text on standard error.
void print_finding(std::string_view text);

/// Prints a text on standard error, above the progress line if one is drawn.
void print_on_standard_error(const char* text);

/// The --quiet flag.
bool& quiet();

}  // namespace quillon::tool
