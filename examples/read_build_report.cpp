// Reads a hypergraph from a file, builds its cell side, verifies it and prints a summary.
//
//   read_build_report FILE
#include <cstdint>

#include "hypergraph/hypergraph.h"
#include "util/util.h"

namespace {

// The record holds pins twice: each net lists its cells, and each cell lists its nets. A reader fills the net
// side only.
void build_cells_side(quillon::Hypergraph* h) {
  // From here on part of the record, and freed with it.
  h->_net_list = quillon::imalloc(std::int64_t{h->_p} + 2, "build_cells_side: net_list");

  int* const work = quillon::imalloc(std::int64_t{h->_c} + 1, "build_cells_side: work");
  quillon::construct_net_list(h, work);
  quillon::_usfree(work);
}

// Lists are closed ranges: netsend points to the last net of a cell, or one before nets if there is none.
int degree(const quillon::Cell& cell) { return static_cast<int>(cell.netsend - cell.nets) + 1; }

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) quillon::errexit("usage: %s FILE", argv[0]);

  // No function returns an error: a file that cannot be read or is malformed ends the program with a message.
  // The 1 turns on warnings, for example about a cell that a net names twice.
  quillon::Hypergraph h;
  const int nremoved = quillon::read_hypergraph(&h, argv[1], 1);
  build_cells_side(&h);

  // Verify before the summary: set_hypergraph_infos clears the weights of one-pin nets that the reader has
  // stored in the cells.
  quillon::CheckListsofHypergraph(&h);
  quillon::set_hypergraph_infos(&h);

  // Cells and nets count from 1; entry 0 is never a real item.
  int busiest = 0;
  for (int i = 1; i <= h._c; ++i)
    if (busiest == 0 || degree(h._clst[i]) > degree(h._clst[busiest])) busiest = i;

  quillon::uprintf("%d nets of fewer than two pins removed\n", nremoved);
  quillon::uprintf("%s", quillon::HygrInfo(&h));
  if (busiest != 0) {
    quillon::uprintf("Cell %d has the most nets, %d:", busiest, degree(h._clst[busiest]));
    quillon::PrintNets(&h, busiest);
  }
  quillon::free_hypergraph(&h);
}
