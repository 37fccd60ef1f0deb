#pragma once
/// @file
/// Counts of what formats cannot hold, or their readers refuse. Internal to `formats/`.

#include <algorithm>
#include <cstdint>

#include "formats/format.h"
#include "formats/notes.h"
#include "hypergraph/detail/lists.h"

namespace quillon::formats {

inline bool any_weight(int /*w*/) { return true; }

inline bool is_zero(int w) { return w == 0; }

inline bool is_negative(int w) { return w < 0; }

inline bool is_not_one(int w) { return w != 1; }

template <typename Item>
std::int64_t count_weights(const Item* items, int count, bool (*counts)(int)) {
  return std::count_if(items + 1, items + count + 1, [counts](const Item& item) { return counts(item.w); });
}

inline std::int64_t count_weights(const Hypergraph& h, bool (*counts)(int)) {
  return count_weights(h._clst, h._c, counts) + count_weights(h._nlst, h._n, counts);
}

inline std::int64_t count_nets_of_size(const Hypergraph& h, int size, bool (*counts)(int)) {
  return std::count_if(h._nlst + 1, h._nlst + h._n + 1,
                       [size, counts](const Net& net) { return net_size(net) == size && counts(net.w); });
}

/// Notes the weights other than 1 that a format without weights of cells, or of nets, loses.
inline void note_lost_weights(Losses& losses, const Hypergraph& h, bool holds_cells, bool holds_nets) {
  if (!holds_cells)
    note(losses.lost, count_weights(h._clst, h._c, is_not_one), "cell weight", " other than 1");
  if (!holds_nets) note(losses.lost, count_weights(h._nlst, h._n, is_not_one), "net weight", " other than 1");
}

}  // namespace quillon::formats
