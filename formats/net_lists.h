#pragma once
/// @file
/// A hypergraph between a file and the record: nets as arrays, with weights and names.

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "formats/ints.h"
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
  Ints xnadj{"NetLists: xnadj"};  ///< By net, nnets + 2 entries: where its pins begin in `nadj`, from 0.
  Ints nadj{"NetLists: nadj"};    ///< Cells, net by net.
  std::vector<int> diagonal;      ///< By net: 0 asks for the cell of its number as a pin; or empty.
  std::vector<int> cell_weights;  ///< By cell; or empty, all are 1.
  std::vector<int> net_weights;   ///< By net; or empty, all are 1.

  std::vector<std::string> cell_names;  ///< By cell, as JSON texts; or empty.
  std::vector<std::string> net_names;   ///< By net, likewise.

  /// Whether room is made for nets when they are read, not for all that a header announces: no record will be
  /// made of these lists.
  bool grow_slowly = false;

  /// Whether arrays are to be avoided because they would be far larger than the file.
  ///
  /// @param nentries  Of the arrays.
  /// @param npins     Number of pins in the file.
  /// @return          Never true unless `grow_slowly` is.
  [[nodiscard]] bool avoids(std::int64_t nentries, std::size_t npins) const {
    constexpr std::int64_t kAlways = std::int64_t{1} << 24;
    constexpr std::int64_t kForEachPin = 64;
    return grow_slowly && nentries > kAlways + kForEachPin * static_cast<std::int64_t>(npins);
  }

  std::vector<std::string> remarks;  ///< On what is kept as it is, and may surprise.
  std::vector<std::string> losses;   ///< What a hypergraph cannot hold.
};

/// Most pins of a record: its arrays have two more entries.
inline constexpr std::size_t kMostPins = std::numeric_limits<int>::max() - 2;

/// Checks that a record can have this many pins.
///
/// @param npins  Number of pins.
/// @throws BadFile if there are more than 2147483645. It names no file; `read_file` adds it.
void check_pins(std::size_t npins);

/// Fails if a record cannot have so many cells and nets, before a text is read that is long or does not hold
/// as much as it announces.
///
/// @param ncells  Number of cells.
/// @param nnets   Number of nets.
/// @par Errors    Out of memory is fatal (util/util.h).
void check_room(int ncells, int nnets);

/// Begins the arrays of a hypergraph whose nets follow one by one, after a check for room.
///
/// @param lists  With its number of cells. Gets `nnets` and the start of net 1. Then append the pins of each
/// net to `nadj` and call
///               `end_net`.
/// @param nnets  Number of nets that follow.
void begin_nets(NetLists& lists, int nnets);

/// Ends the net of the pins appended last.
///
/// @param lists  Begun by `begin_nets`. Gets the start of the next net.
/// @throws BadFile as `check_pins` does.
void end_net(NetLists& lists);

/// Ends a net whose line has an error: it gets no pins, and the weight 1.
///
/// @param lists        As for `end_net`.
/// @param has_weights  Whether net weights are read.
void drop_net(NetLists& lists, bool has_weights);

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

/// What to do with nets of one pin or none.
enum class SmallNets {
  kFold,  ///< Removed; only their weights count, in totals of the record and `inw` of cells.
  kKeep,  ///< Nets like others.
};

/// Makes the record, both sides built, with weights and totals. Warns of totals beyond 32 bits.
///
/// If small nets are kept, the summaries are those of `set_hypergraph_infos`. If they are folded, the record
/// is what the folding reader of the module and `construct_net_list` make of the same hypergraph. In both
/// cases `_fmt` tells which weights are not all 1.
///
/// @param lists       Cells and offsets are not checked. Loses its pins, offsets, weights and the names of
///                    folded nets; `nadj` becomes `_cell_list` without a copy.
/// @param record      Out, fresh. Unchanged after an error.
/// @param small_nets  Whether to fold them.
/// @throws BadFile    if a net without pins that is to be folded has a weight of 2 or more. It names no file.
/// @par Errors        Out of memory is fatal (util/util.h), and so is a missing diagonal that makes too many
///                    pins.
/// @par Cost          The record, and an int for each cell, at the peak.
void to_record(NetLists&& lists, Record& record, SmallNets small_nets = SmallNets::kKeep);

/// The first half of `to_record`: makes the record without its cell side and the summaries of cells.
///
/// @param lists,record,small_nets  As for `to_record`.
/// @throws BadFile                 as `to_record` does.
/// @par Errors                     Those of `to_record`.
void to_net_side(NetLists&& lists, Record& record, SmallNets small_nets = SmallNets::kKeep);

/// The second half of `to_record`: builds the cell side and the summaries of cells.
///
/// @param record      Made by `to_net_side`. Unchanged after an error.
/// @param small_nets  As given to `to_net_side`.
/// @par Errors        Out of memory is fatal (util/util.h).
void add_cell_side(Record& record, SmallNets small_nets = SmallNets::kKeep);

/// Counts pins that repeat a cell of their net.
///
/// @param h   Read only. Needs the pins of its nets.
/// @return    A net that names a cell three times counts two.
/// @par Cost  O(_c + _n + _p) time; _c ints of memory for each of at most two threads
///            if a net has more than 16 pins.
std::int64_t count_repeated_pins(const Hypergraph& h);

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
