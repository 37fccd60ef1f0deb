#include "tools/operations/pruning.h"

#include <cstddef>
#include <string>

#include "util/util.h"

namespace quillon::tool {

Pruned::~Pruned() {
  if (h == nullptr) return;
  destroy_hypergraph_data(h);
  destroy_hypergraph(h);
}

void prune(Hypergraph& source, const PruneChoice& choice, Pruned& pruned) {
  pruned.netorder.resize(static_cast<std::size_t>(source._n) + 1);
  std::vector<int> celldeg(static_cast<std::size_t>(source._c) + 1);
  std::vector<int*> cellend(celldeg.size());
  std::vector<int> cellperm(choice.shuffle ? celldeg.size() : 0);

  Hypergraph* const h = create_hypergraph(0);
  h->_c = source._c;
  h->_n = source._n;
  h->_p = source._p;
  create_hypergraph_data(h, 1, 0, 1);
  pruned.h = h;
  constexpr int kAccountForPruned = 2;
  if (choice.shuffle) {
    uSeed(choice.seed);
    CopyPermConsHypergraph(&source, h, pruned.netorder.data(), cellperm.data(), celldeg.data(),
                           cellend.data(), choice.max_size, &pruned.ncopied, kAccountForPruned);
  } else {
    CopyConsHypergraph(&source, h, pruned.netorder.data(), celldeg.data(), cellend.data(), choice.max_size,
                       &pruned.ncopied, kAccountForPruned);
  }
  pruned.nkept = h->_n;
}

formats::Labels names_of_copy(const formats::Labels& names, const Hypergraph& copy, int first, int last) {
  formats::Labels copied;
  const auto select = [](const std::vector<std::string>& all, const int* labels, int from, int to) {
    std::vector<std::string> selected;
    if (all.empty()) return selected;
    selected.emplace_back();
    for (int k = from; k <= to; ++k) selected.push_back(all[static_cast<std::size_t>(labels[k])]);
    return selected;
  };
  copied.cells = select(names.cells, copy._clabel, 1, copy._c);
  copied.nets = select(names.nets, copy._nlabel, first, last);
  return copied;
}

}  // namespace quillon::tool
