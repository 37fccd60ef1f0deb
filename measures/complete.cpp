#include "measures/complete.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "hypergraph/detail/lists.h"

namespace quillon::measures {

void complete(Hypergraph& h) {
  h._nlst[h._n + 1].pins = h._cell_list + h._p;
  std::vector<int> work(static_cast<std::size_t>(h._c) + 1);
  construct_net_list(&h, work.data());
  set_hypergraph_infos(&h);
  h._totnw = 0;
  for (int j = 1; j <= h._n; ++j) add_wrapping(h._totnw, h._nlst[j].w);
  const auto has_weight = [](const auto& item) { return item.w != 1; };
  h._fmt = (std::any_of(h._clst + 1, h._clst + h._c + 1, has_weight) ? 1 : 0) |
           (std::any_of(h._nlst + 1, h._nlst + h._n + 1, has_weight) ? 2 : 0);
}

}  // namespace quillon::measures
