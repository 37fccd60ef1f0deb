#pragma once
/// @file
/// Mends what can be mended safely in a file.

#include <string>
#include <vector>

#include "formats/lint.h"
#include "formats/net_lists.h"

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility push(default)
#endif

namespace quillon::formats {

/// What to change beyond what is wrong.
struct MendOptions {
  bool drop_empty_nets = false;
  bool drop_one_pin_nets = false;
  bool merge_parallel_nets = false;  ///< Into the first of them, with the sum of the weights.
  bool drop_isolated_cells = false;  ///< Cells on no net, or on dropped nets only.
};

/// A hypergraph to write, and what was done to it.
struct Mended {
  NetLists lists;                   ///< For `to_record`.
  std::vector<RuleCount> done;      ///< How often each rule was broken and is not any longer, in table order.
  std::vector<Finding> findings;    ///< The findings on these rules that lint kept, as notes.
  std::vector<std::string> losses;  ///< What the file has and the lists have not.
  std::vector<int> cells;  ///< By new cell, entry 0 not used: its old number. Empty: no cell is dropped.
};

/// Reads a file, and mends it: cells count from the number that the format says, the counts and the weight
/// format of the header are those of the content, no net names a cell twice. What only concerns the text is
/// mended when the result is written.
///
/// @param filename  A file that can be read again, not -.
/// @param found     Result of `lint` for it.
/// @param lint      As for `lint`.
/// @param options   What else to change.
/// @return          The nets, and what was mended.
/// @throws BadFile  if it has an error that cannot be mended safely or in two ways, or a weight would not fit
///                  into 32 bits.
/// @par Errors      Out of memory is fatal (util/util.h).
Mended mend(const std::string& filename, const LintResult& found, const LintOptions& lint,
            const MendOptions& options);

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
