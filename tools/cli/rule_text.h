#pragma once
// Texts on the rules of lint, for --list, --explain and help.

#include <string>

#include "formats/rules.h"

namespace quillon::tool {

/// A line for each rule.
std::string list_of_rules();

/// What a rule is, why it matters, an example, how to mend it, and what other programs do.
std::string page_of(const formats::Rule& rule);

/// Its example, each line indented by two blanks; empty if it has none.
std::string example_of(const formats::Rule& rule);

/// A paragraph on what other programs do with files that break a rule; empty if they accept them all, or read
/// no such file.
std::string programs_on(const formats::Rule& rule);

/// "there is no rule 'WORD'", with a suggestion if one is similar.
std::string unknown_rule(const std::string& word);

}  // namespace quillon::tool
