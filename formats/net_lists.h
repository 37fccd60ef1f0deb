#pragma once
// A hypergraph between a foreign file and the record.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "formats/load.h"

namespace quillon::tool {

/// Counts and compressed arrays as the importers fill them. Cells and nets count from 1; entry 0 of what is
/// indexed by them is not used.
struct Arrays {
  int ncells = 0;
  int nnets = 0;
  std::vector<int> xnadj;         // by net, nnets + 2 entries: where its pins begin
  std::vector<int> nadj;          // cells
  std::vector<int> diagonal;      // by net: 0 asks for the cell of its number as a pin; or empty
  std::vector<int> cell_weights;  // by cell; or empty, all are 1
  std::vector<int> net_weights;   // by net; or empty, all are 1

  std::vector<std::string> cell_names;  // by cell, as JSON has them; or empty
  std::vector<std::string> net_names;   // by net, likewise

  std::vector<std::string> remarks;  // on what is kept as it is, and may surprise
  std::vector<std::string> losses;   // what a hypergraph cannot hold
};

/// Ends the program for more pins than a record can have.
void check_pins(std::size_t npins);

/// Opens the arrays of a hypergraph whose nets follow one by one.
void begin_nets(Arrays& arrays, int nnets);

/// Closes the net that the pins appended last belong to.
void end_net(Arrays& arrays);

/// A pin of net j by itself, for files that do not go net by net.
struct Pin {
  int net;
  int cell;
};

/// Fills the net arrays from pins in any order, of which those of one net keep theirs.
void group_by_net(Arrays& arrays, const std::vector<Pin>& pins);

/// Counts pins that repeat a cell of their net.
std::int64_t count_repeated_pins(const Hypergraph& h);

/// Makes the record, both sides built, with weights and totals.
void to_record(const Arrays& arrays, Loaded& loaded);

/// "3 nets" or "1 net".
std::string counted(std::int64_t count, const std::string& what);

/// Adds "3 weights of 0", of the count, what it counts and more, unless there are none.
void note(std::vector<std::string>& notes, std::int64_t count, const std::string& what,
          const std::string& more = {});

}  // namespace quillon::tool
