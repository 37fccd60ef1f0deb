#pragma once
/// @file
/// All that is wrong with a file, or odd about it.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "formats/findings.h"
#include "formats/format.h"
#include "formats/rules.h"

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility push(default)
#endif

namespace quillon::formats {

/// How to lint a file.
struct LintOptions {
  const Format* format = nullptr;  ///< An entry of the table; null: by suffix or content.
  ReadOptions read = {};           ///< Those without meaning to the format are ignored.
  std::size_t most_kept = 50;      ///< Findings of each rule to keep; all are counted.
  bool excerpts = false;           ///< Whether to keep the lines that findings point to.
};

/// A piece of a line, for display.
struct Excerpt {
  std::string text;       ///< Without line end; tabs are blanks. Empty if there is none.
  std::size_t caret = 0;  ///< Index in `text` of the byte that the finding points to.
  std::size_t character =
      0;  ///< Column of the finding in characters of UTF-8, from 1; 0 if there is no line.
};

/// How often a rule is broken.
struct RuleCount {
  const Rule* rule = nullptr;  ///< An entry of the table.
  std::int64_t count = 0;      ///< From 1.
};

/// What lint found in a file.
struct LintResult {
  std::string file;                ///< As messages name it.
  const Format* format = nullptr;  ///< An entry of the table; null if it cannot be told, or for other files.
  std::vector<Finding> findings;   ///< By line and column; those of the whole file come last.
  std::vector<Excerpt> excerpts;   ///< One for each finding if they were asked for; else empty.
  std::vector<RuleCount> counts;   ///< Rules broken at least once, in the order of the table.
  int ncells = 0;                  ///< Number of cells, if the file could be read so far.
  int nnets = 0;                   ///< Number of nets, likewise.
  std::vector<int> cell_weights;   ///< By cell, entry 0 not used; or empty, all are 1.
  bool is_regular = true;          ///< Not a pipe, a device or the like.
  bool is_mended = false;          ///< The findings are notes on what was mended, whatever their rules say.

  /// @return  Number of all findings of a severity, kept or not.
  [[nodiscard]] std::int64_t count(Severity severity) const;

  /// @return  Number of all findings of a rule, kept or not.
  [[nodiscard]] std::int64_t count(std::string_view rule) const;
};

/// Finds all that is wrong with a file, or odd about it. It reads the file once, and if something was found,
/// parts of it again to find out where. One cause gives one finding.
///
/// @param filename  File name, or - for standard input, which is then held in memory; gzip and zstd are
///                  decompressed.
/// @param options   How to lint it.
/// @return          The findings. A file that cannot be opened has one too.
/// @par Errors      Out of memory is fatal (util/util.h).
LintResult lint(const std::string& filename, const LintOptions& options = {});

/// What a file that belongs to a hypergraph holds.
enum class Companion {
  kParts,        ///< A part number for each cell.
  kFixed,        ///< A part number for each cell, or -1 for a free one.
  kPermutation,  ///< A line for each new cell: its old number.
  kLabels,       ///< Names of cells and nets.
};

/// Finds all that is wrong with a file that belongs to a hypergraph.
///
/// @param filename    As for `lint`.
/// @param kind        What the file holds.
/// @param hypergraph  Result of `lint` for the hypergraph, which must be without errors.
/// @param nparts      Number of parts; 0 if unknown.
/// @param most_kept   As in `LintOptions`, as is `excerpts`.
/// @param excerpts    Whether to keep the lines that findings point to.
/// @return            The findings; without format.
LintResult lint_companion(const std::string& filename, Companion kind, const LintResult& hypergraph,
                          int nparts = 0, std::size_t most_kept = 50, bool excerpts = false);

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
