#pragma once
/// @file
/// The rules of `lint`: what can be wrong with a file, or odd about it.

#include <span>
#include <string>
#include <string_view>

#include "formats/findings.h"

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility push(default)
#endif

namespace quillon::formats {

/// A kind of finding. Its name never changes its meaning.
struct Rule {
  std::string_view name;     ///< Words with hyphens, as `Finding::rule`.
  Severity severity;         ///< Of its findings.
  std::string_view summary;  ///< Half a line: what is there.
  std::string_view text;     ///< Why it matters; sentences.
  std::string_view mend;     ///< How to mend it; a sentence.
  std::string_view format;   ///< Of the example; empty if there is none.
  std::string_view example;  ///< A file that breaks the rule.
};

/// @return  All rules: errors, warnings, notes. This table is the only list of them.
std::span<const Rule> all_rules();

/// Finds a rule by name.
///
/// @param name  Such as "duplicate-pin"; case matters.
/// @return      An entry of the table; null if there is none.
const Rule* rule_named(std::string_view name);

/// @return  "error", "warning" or "note".
std::string_view name_of(Severity severity);

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
