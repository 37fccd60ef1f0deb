// Partitions a symmetric hypergraph (net i belongs to cell i, as in a matrix with a symmetric pattern),
// renumbers it so that every part is a contiguous range, and writes it together with the part of each cell.
//
//   partition_and_renumber FILE NPARTS NEW_FILE NEW_PARTS
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "util/util.h"

namespace {

constexpr int kNoPart = -1;  // set by the reader

void read_both_sides(quillon::Hypergraph* h, const char* filename) {
  quillon::read_hypergraph_with_onepin_nets(h, filename, 1);
  h->_net_list = quillon::imalloc(std::int64_t{h->_p} + 2, "read_both_sides: net_list");
  std::vector<int> work(static_cast<std::size_t>(h->_c) + 1);
  quillon::construct_net_list(h, work.data());
  quillon::set_hypergraph_infos(h);
}

// Grows a part over neighbouring cells, from the first one without a part, until it has its share of the
// weight. A simple substitute for a partitioner.
void grow(quillon::Hypergraph* h, int part, std::int64_t share) {
  std::vector<int> queue;
  std::int64_t weight = 0;
  int next_start = 1;
  for (std::size_t next = 0; weight < share; ++next) {
    if (next == queue.size()) {
      while (next_start <= h->_c && h->_clst[next_start].pno != kNoPart) ++next_start;
      if (next_start > h->_c) return;
      h->_clst[next_start].pno = part;
      queue.push_back(next_start);
      weight += h->_clst[next_start].w;
    }
    const quillon::Cell& cell = h->_clst[queue[next]];
    for (const int* net = cell.nets; net <= cell.netsend; ++net) {
      for (const int* pin = h->_nlst[*net].pins; pin <= h->_nlst[*net].pinsend; ++pin) {
        quillon::Cell& neighbour = h->_clst[*pin];
        if (neighbour.pno != kNoPart || weight >= share) continue;
        neighbour.pno = part;
        queue.push_back(*pin);
        weight += neighbour.w;
      }
    }
  }
}

// Each part gets an equal share of the remaining weight; the last part gets all remaining cells.
void partition(quillon::Hypergraph* h, int nparts) {
  std::int64_t left = h->_totcw;
  for (int part = 0; part < nparts - 1; ++part) {
    grow(h, part, left / (nparts - part));
    left = 0;
    for (int i = 1; i <= h->_c; ++i)
      if (h->_clst[i].pno == kNoPart) left += h->_clst[i].w;
  }
  for (int i = 1; i <= h->_c; ++i)
    if (h->_clst[i].pno == kNoPart) h->_clst[i].pno = nparts - 1;
}

// Sum over the nets of weight times (number of parts - 1).
std::int64_t connectivity_minus_one(const quillon::Hypergraph& h, int nparts) {
  std::vector<int> last_net(static_cast<std::size_t>(nparts), 0);  // with a pin in each part
  std::int64_t sum = 0;
  for (int j = 1; j <= h._n; ++j) {
    int ntouched = 0;
    for (const int* pin = h._nlst[j].pins; pin <= h._nlst[j].pinsend; ++pin) {
      int& last = last_net[static_cast<std::size_t>(h._clst[*pin].pno)];
      if (last != j) ++ntouched;
      last = j;
    }
    if (ntouched > 1) sum += std::int64_t{h._nlst[j].w} * (ntouched - 1);
  }
  return sum;
}

}  // namespace

int main(int argc, char** argv) {
  const int nparts = argc == 5 ? static_cast<int>(std::strtol(argv[2], nullptr, 10)) : 0;
  if (nparts < 1) quillon::errexit("usage: %s FILE NPARTS NEW_FILE NEW_PARTS", argv[0]);

  quillon::Hypergraph h;
  read_both_sides(&h, argv[1]);
  partition(&h, nparts);

  // The renumbered copy has the same sizes. SymmetricPermute is fatal unless there are as many cells as
  // nets. It does not compute the summary.
  quillon::Hypergraph* const renumbered = quillon::create_hypergraph(/*tag=*/0);
  renumbered->_c = h._c;
  renumbered->_n = h._n;
  renumbered->_p = h._p;
  quillon::create_hypergraph_data(renumbered, /*withNetList=*/1, /*withFixed=*/0, /*withLabels=*/0);
  quillon::SymmetricPermute(&h, nparts, renumbered);
  quillon::set_hypergraph_infos(renumbered);

  quillon::uprintf("connectivity minus one: %lld before, %lld after\n",
                   static_cast<long long>(connectivity_minus_one(h, nparts)),
                   static_cast<long long>(connectivity_minus_one(*renumbered, nparts)));
  quillon::write_hypergraph(renumbered, argv[3], /*numbering=*/1, /*fmt=*/3);
  quillon::write_part_info(renumbered, argv[4]);

  quillon::destroy_hypergraph_data(renumbered);
  quillon::destroy_hypergraph(renumbered);
  quillon::free_hypergraph(&h);
}
