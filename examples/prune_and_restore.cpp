// Works on a reduced copy of a hypergraph and maps the results back to the original.
//
//   prune_and_restore FILE MAXSIZE
//
// Nets of MAXSIZE pins and more are set aside, as a partitioner does with nets that are cut in any case. Nets
// of one pin or none cannot be cut and are dropped. The rest is divided into two halves; then the number of
// parts that each net touches is printed for every net of the file.
#include <cstdlib>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "util/util.h"

namespace {

// A pruning copy: the record and the other results.
struct Pruned {
  quillon::Hypergraph* h = nullptr;
  std::vector<int> netorder;
  int nmulti = 0;  // number of nets in the copy, including those set aside
};

Pruned prune(const quillon::Hypergraph& source, int maxsize) {
  Pruned pruned;
  // The copy is in the pools, with room for the whole source, a net list and labels.
  pruned.h = quillon::create_hypergraph(/*tag=*/0);
  pruned.h->_c = source._c;
  pruned.h->_n = source._n;
  pruned.h->_p = source._p;
  quillon::create_hypergraph_data(pruned.h, /*withNetList=*/1, /*withFixed=*/0, /*withLabels=*/1);

  const auto ncells = static_cast<std::size_t>(source._c);
  std::vector<int> celldeg(ncells + 1);
  std::vector<int*> cellend(ncells + 1);
  pruned.netorder.resize(static_cast<std::size_t>(source._n) + 1);
  // Mode 2 records the dropped nets in _internets and in the weights.
  quillon::CopyConsHypergraph(&source, pruned.h, pruned.netorder.data(), celldeg.data(), cellend.data(),
                              maxsize, &pruned.nmulti, /*mode=*/2);
  return pruned;
}

// In place of a partitioner: the first half of the cells is one part, the second half the other.
void halve(quillon::Hypergraph* h) {
  for (int i = 1; i <= h->_c; ++i) h->_clst[i].pno = 2 * i <= h->_c ? 0 : 1;
}

int count_parts(const quillon::Hypergraph& h, int j) {
  bool touches[2] = {false, false};
  for (const int* pin = h._nlst[j].pins; pin <= h._nlst[j].pinsend; ++pin) touches[h._clst[*pin].pno] = true;
  return (touches[0] ? 1 : 0) + (touches[1] ? 1 : 0);
}

// Results by cell are mapped back by the copy's labels: cell i was cell _clabel[i].
void restore_cells(const quillon::Hypergraph& copy, quillon::Hypergraph* source) {
  for (int i = 1; i <= copy._c; ++i) source->_clst[copy._clabel[i]].pno = copy._clst[i].pno;
}

// Results by net are mapped back in three ways. The remaining nets have no pins and touch no part.
std::vector<int> restore_nets(const Pruned& pruned, int nnets) {
  const quillon::Hypergraph& copy = *pruned.h;
  std::vector<int> nparts(static_cast<std::size_t>(nnets) + 1, 0);
  const auto of_source = [&nparts](int j) -> int& { return nparts[static_cast<std::size_t>(j)]; };

  // 1. The nets that were kept: net j was net _nlabel[j].
  for (int j = 1; j <= copy._n; ++j) of_source(copy._nlabel[j]) = count_parts(copy, j);
  // 2. The nets set aside follow the last net and have labels and pins like any other.
  for (int j = copy._n + 1; j <= pruned.nmulti; ++j) of_source(copy._nlabel[j]) = count_parts(copy, j);
  // 3. The one-pin nets are in _internets, with their numbers in the source.
  for (int k = 0; k < copy._ninternets; ++k) of_source(copy._internets[k].net) = 1;
  return nparts;
}

}  // namespace

int main(int argc, char** argv) {
  const int maxsize = argc == 3 ? static_cast<int>(std::strtol(argv[2], nullptr, 10)) : 0;
  if (maxsize < 2) quillon::errexit("usage: %s FILE MAXSIZE", argv[0]);

  quillon::Hypergraph source;
  quillon::read_hypergraph_with_onepin_nets(&source, argv[1], 1);
  const Pruned pruned = prune(source, maxsize);
  const quillon::Hypergraph& copy = *pruned.h;
  quillon::uprintf("%d nets: %d kept, %d set aside, %d with one pin, %d with none\n", source._n, copy._n,
                   pruned.nmulti - copy._n, copy._ninternets, source._n - pruned.nmulti - copy._ninternets);

  halve(pruned.h);
  restore_cells(copy, &source);
  const std::vector<int> nparts = restore_nets(pruned, source._n);
  for (int j = 1; j <= source._n; ++j)
    quillon::uprintf("net %d touches %d\n", j, nparts[static_cast<std::size_t>(j)]);

  // Youngest first: the pools are stacks.
  quillon::destroy_hypergraph_data(pruned.h);
  quillon::destroy_hypergraph(pruned.h);
  quillon::free_hypergraph(&source);
}
