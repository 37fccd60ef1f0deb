#pragma once
/// @file
/// A hypergraph between a file and the record: nets as arrays, with weights and names.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "formats/record.h"

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility push(default)
#endif

namespace quillon::formats {

/// Counts and compressed arrays as readers fill them. Cells and nets count from 1; entry 0 of what is indexed
/// by them is not used.
struct NetLists {
  int ncells = 0;
  int nnets = 0;
  std::vector<int> xnadj;         ///< By net, nnets + 2 entries: where its pins begin.
  std::vector<int> nadj;          ///< Cells.
  std::vector<int> diagonal;      ///< By net: 0 asks for the cell of its number as a pin; or empty.
  std::vector<int> cell_weights;  ///< By cell; or empty, all are 1.
  std::vector<int> net_weights;   ///< By net; or empty, all are 1.

  std::vector<std::string> cell_names;  ///< By cell, as JSON texts; or empty.
  std::vector<std::string> net_names;   ///< By net, likewise.

  std::vector<std::string> remarks;  ///< On what is kept as it is, and may surprise.
  std::vector<std::string> losses;   ///< What a hypergraph cannot hold.
};

/// @throws BadFile if there are more pins than a record can have.
void check_pins(std::size_t npins);

/// Begins the arrays of a hypergraph whose nets follow one by one.
void begin_nets(NetLists& lists, int nnets);

/// Ends the net of the pins appended last.
///
/// @throws BadFile as `check_pins` does.
void end_net(NetLists& lists);

/// A pin with its net, for files that do not list pins net by net.
struct Pin {
  int net;
  int cell;
};

/// Fills the net arrays from pins in any order; those of one net keep theirs.
///
/// @throws BadFile as `check_pins` does.
void group_by_net(NetLists& lists, const std::vector<Pin>& pins);

/// Makes the record, both sides built, with weights and totals. Warns of totals beyond 32 bits.
///
/// @param record  Out, fresh.
/// @par Errors    Out of memory is fatal (util/util.h).
void to_record(const NetLists& lists, Record& record);

/// Counts pins that repeat a cell of their net.
std::int64_t count_repeated_pins(const Hypergraph& h);

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
