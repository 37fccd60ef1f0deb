#pragma once
/// @file
/// Stores many plain lines of nets and weights at once. Internal to `formats/`.
///
/// These functions read the lines that begin where a scanner stands. They return how many, and have no effect
/// and return 0 if there are none or anything is wrong with them: then lines have to be read one by one.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "formats/audit.h"
#include "formats/line_errors.h"
#include "formats/net_lists.h"
#include "formats/scanner.h"

namespace quillon::formats {

/// The line of a net: its weight, its size, its cells.
struct NetForm {
  bool has_weight;        ///< The line begins with the weight of the net.
  bool has_size;          ///< The number of cells follows.
  bool ends_at_text;      ///< Text that is no integer ends it, and is ignored. Weights may be negative.
  int first_cell;         ///< Number of the first cell in the file.
  std::size_t most_pins;  ///< Pins that all nets may have together.

  /// Numbers before the cells.
  [[nodiscard]] int head() const { return (has_weight ? 1 : 0) + (has_size ? 1 : 0); }
};

/// @param lists  Begun by `begin_nets`, with its number of cells. Gets the nets.
/// @param form   What lines consist of.
/// @return       Number of nets read, up to those that `lists` still lacks.
int read_plain_nets(Scanner& in, NetLists& lists, const NetForm& form);

/// Reads the line of a net by its words. A line with an error gives a net without pins.
///
/// @param net          Its number.
/// @param has_weights  Whether net weights are read.
/// @param read         As for `read_line`; ends the net.
/// @throws BadFile     if there is an error and nobody listens.
template <typename Read>
void read_or_drop_net(Scanner& in, NetLists& lists, int net, bool has_weights, Read read) {
  if (skips_net(in, net)) {
    skip_line(in);
    drop_net(lists, has_weights);
    return;
  }
  if (read_line(in, read)) return;
  note_damage(in, net);
  drop_net(lists, has_weights);
}

/// @return  Pins of the net that has not ended yet.
std::int64_t pins_of_last_net(const NetLists& lists);

/// @param first  Number of the first cell by the rules of the format.
/// @return       The number to read it as: `lint` can say otherwise.
int first_cell_of(const Scanner& in, int first);

/// Reads weights, one a line.
///
/// @param weights  By number, with entry 0. Gets the weights.
/// @param count    How many it gets in all, entry 0 not counted.
/// @return         Number of weights read.
int read_plain_weights(Scanner& in, std::vector<int>& weights, int count);

/// How much room to make in an array when its room ends: for all of a text if the rest of it is like what was
/// read, so that the array moves seldom, but not for more than a multiple, whatever a header announces.
///
/// @param needed  Entries for what was read.
/// @param nread   Items read, at least 1, of which the text has `nall`.
/// @return        At least twice `needed`.
std::size_t room_for_all(std::size_t needed, std::size_t nread, std::size_t nall);

}  // namespace quillon::formats
