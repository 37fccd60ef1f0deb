#pragma once
// The tool as data for templates.

#include <kainjow/mustache.hpp>
#include <span>

#include "tools/cli/command.h"

namespace quillon::tool {

/// The members of a template, by section:
///
///     version, own_suffixes, own_written_suffixes, read_suffixes, written_suffixes
///     topics {name, summary}
///     formats {name, suffixes {.}, summary, first_cell, weights, is_written, options {.}}
///     options {OPTION}            of the program
///     commands {name, command, summary, paragraphs {is_literal, text},
///       arguments {OPTION}        positional
///       options {OPTION}          all others
///       special {OPTION}          the options that the program does not have, or explains differently
///       required, alternatives, optional {OPTION}}    the options but --help, for a synopsis
///
/// An OPTION is
///
///     name, short_name            with dashes
///     flag, short_flag            without the first dash
///     help, placeholder
///     choices, words              separated by |, by blanks; an option with choices has no placeholder
///     kind                        the ValueKind, as in hypergraph_in
///     place                       the number of an argument, * if it repeats
///     needs, excludes             names of options, separated by commas
///     is_optional, is_last, repeats, takes_value
///
/// Suffixes are separated by blanks; those of files to read include compressed ones. A text that is missing
/// is false.
kainjow::mustache::data template_data(std::span<const Command> commands);

}  // namespace quillon::tool
