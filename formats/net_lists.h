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
  int ncells = 0;                 ///< Number of cells.
  int nnets = 0;                  ///< Number of nets.
  std::vector<int> xnadj;         ///< By net, nnets + 2 entries: where its pins begin in `nadj`, from 0.
  std::vector<int> nadj;          ///< Cells, net by net.
  std::vector<int> diagonal;      ///< By net: 0 asks for the cell of its number as a pin; or empty.
  std::vector<int> cell_weights;  ///< By cell; or empty, all are 1.
  std::vector<int> net_weights;   ///< By net; or empty, all are 1.

  std::vector<std::string> cell_names;  ///< By cell, as JSON texts; or empty.
  std::vector<std::string> net_names;   ///< By net, likewise.

  std::vector<std::string> remarks;  ///< On what is kept as it is, and may surprise.
  std::vector<std::string> losses;   ///< What a hypergraph cannot hold.
};

/// Checks that a record can have this many pins.
///
/// @param npins  Number of pins.
/// @throws BadFile if there are more than 2147483645. It names no file; `read_file` adds it.
void check_pins(std::size_t npins);

/// Begins the arrays of a hypergraph whose nets follow one by one.
///
/// @param lists  Gets `nnets` and the start of net 1. Then append the pins of each net to `nadj` and call
///               `end_net`.
/// @param nnets  Number of nets that follow.
void begin_nets(NetLists& lists, int nnets);

/// Ends the net of the pins appended last.
///
/// @param lists  Begun by `begin_nets`. Gets the start of the next net.
/// @throws BadFile as `check_pins` does.
void end_net(NetLists& lists);

/// A pin with its net, for files that do not list pins net by net.
struct Pin {
  int net;   ///< Net number, from 1.
  int cell;  ///< Cell number, from 1.
};

/// Fills the net arrays from pins in any order; those of one net keep theirs.
///
/// @param lists  Needs `nnets`; gets `xnadj` and `nadj`.
/// @param pins   Their nets are not checked: 1 .. nnets.
/// @throws BadFile as `check_pins` does.
void group_by_net(NetLists& lists, const std::vector<Pin>& pins);

/// Makes the record, both sides built, with weights and totals. Warns of totals beyond 32 bits.
///
/// @param lists   Read only. Cells and offsets are not checked.
/// @param record  Out, fresh.
/// @par Errors    Out of memory is fatal (util/util.h).
void to_record(const NetLists& lists, Record& record);

/// Counts pins that repeat a cell of their net.
///
/// @param h   Read only. Needs the pins of its nets.
/// @return    A net that names a cell three times counts two.
/// @par Cost  O(_c + _n + _p) time, _c ints of memory.
std::int64_t count_repeated_pins(const Hypergraph& h);

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
