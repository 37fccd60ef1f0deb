#pragma once
/// @file
/// What other programs do with a file, by what lint found in it.

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "formats/lint.h"

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility push(default)
#endif

namespace quillon::formats {

/// What a program does with files that break a rule.
enum class Treatment {
  kRefuses,  ///< It does not take the file.
  kChanges,  ///< It takes the file, and the hypergraph is another one.
  kAccepts,  ///< It takes a file that the tool refuses.
};

/// A row of the table of programs, `programs.tsv`.
struct ProgramRow {
  std::string_view program;
  std::string_view version;
  std::string_view format;  ///< That the program reads.
  std::string_view rule;    ///< "-" declares a program for a format.
  Treatment treatment;
  std::string_view text;    ///< Half a sentence, such as "drops one-pin nets".
  std::string_view source;  ///< Where this is known from.
};

/// @return  "refuses", "changes" or "accepts".
std::string_view name_of(Treatment treatment);

/// @return  The table, sorted by program.
std::span<const ProgramRow> program_rows();

/// @return  The names of all programs, in the order of the table.
std::vector<std::string_view> program_names();

/// What a program does with one file.
struct ProgramVerdict {
  std::string_view program;
  std::string_view version;
  std::string_view verdict;  ///< "takes", "changes", "refuses", or "other-format".
  std::string reason;        ///< Rules and places; empty for "takes".
};

/// @param result    Of `lint`, of all rules.
/// @param programs  Names; empty: all.
/// @return          A verdict for each.
std::vector<ProgramVerdict> verdicts_on(const LintResult& result, const std::vector<std::string>& programs);

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
