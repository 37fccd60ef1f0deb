#pragma once
/// @file
/// What the nets of a file say of it: repeated pins, parallel nets and the like. Internal to `formats/`.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "formats/net_lists.h"
#include "formats/parallel_nets.h"
#include "formats/used_cells.h"

namespace quillon::formats {

/// A pin that repeats a cell of its net. Pins count from 0.
struct RepeatedPin {
  int net;
  int first;   ///< The pin that it repeats.
  int second;  ///< The pin itself.

  bool operator==(const RepeatedPin&) const = default;
};

/// All of a kind are counted, the first are kept, in ascending order.
template <typename Entry>
struct Tally {
  std::int64_t count = 0;
  std::vector<Entry> first;

  void add(const Entry& entry, std::size_t most_kept) {
    ++count;
    if (first.size() < most_kept) first.push_back(entry);
  }

  /// Adds those of later nets.
  void append(const Tally& later, std::size_t most_kept) {
    count += later.count;
    for (const Entry& entry : later.first)
      if (first.size() < most_kept) first.push_back(entry);
  }
};

/// What there is to say of nets.
struct NetFindings {
  Tally<int> empty_nets;
  Tally<int> one_pin_nets;
  Tally<RepeatedPin> repeated_pins;
  std::vector<ParallelNet> parallel_nets;  ///< All of them, ascending.
  IsolatedCells isolated_cells;
};

/// @return  On how many threads `audit_nets` pays.
int audit_threads(const NetLists& lists);

/// Finds the cells that are on no net.
///
/// @param lists,nthreads  As for `audit_nets`.
/// @par Cost              O(cells + pins) time; for each thread a bit per cell, or four bytes per pin if
/// there
///                        are far fewer pins than cells.
IsolatedCells find_isolated_cells(const NetLists& lists, int nthreads);

/// Looks at nets while they are read: their pins are still in the cache then, and other threads go on
/// scanning the text. What it finds does not depend on how many nets were looked at when.
class NetAudit {
 public:
  /// @param lists,damaged,most_kept  As for `audit_nets`. Arrays may grow, and must outlive this object.
  NetAudit(const NetLists& lists, const std::vector<int>& damaged, std::size_t most_kept);
  ~NetAudit();
  NetAudit(const NetAudit&) = delete;
  NetAudit& operator=(const NetAudit&) = delete;

  /// Looks at nets that are complete, unless they are few, or the header announces far more than has been
  /// read.
  ///
  /// @param last  All nets up to this one are.
  void look_at(int last);

  /// Looks at the nets that are left.
  ///
  /// @param nthreads  As for `audit_nets`.
  /// @return          What there is to say of all nets.
  NetFindings finish(int nthreads);

 private:
  class Part;

  std::vector<std::unique_ptr<Part>> look_at_rest(int nthreads);

  const NetLists& lists_;
  const std::vector<int>& damaged_;
  std::size_t most_kept_;
  int nlooked_ = 0;              // at the first nets
  std::unique_ptr<Part> ahead_;  // of these; null if there are none
};

/// Looks at all nets.
///
/// @param lists      Cells are those of the lists; `nnets` may be more than there are nets.
/// @param damaged    Nets to omit, ascending. Their cells are on a net nevertheless.
/// @param most_kept  Of each kind of findings but parallel nets.
/// @param nthreads   Threads to use. They do not change the result.
/// @par Cost         O(cells + nets + pins) time, more for nets with repeated pins and parallel ones.
///                   8 bytes of memory per net, and for each thread up to 1 MiB and a bit per cell, or four
///                   bytes per pin if there are far fewer pins than cells; if a net has over 16 pins, four
///                   bytes per cell more, but at most four per pin of the thread.
NetFindings audit_nets(const NetLists& lists, const std::vector<int>& damaged, std::size_t most_kept,
                       int nthreads);

}  // namespace quillon::formats
