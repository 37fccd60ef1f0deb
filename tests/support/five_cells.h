#pragma once

#include "tests/support/records.h"

namespace quillon {

/// Cells of degrees 2, 2, 2, 1, 2.
inline Record five_cells() {
  return Record({5, {{1, 3, 5}, {1, 2}, {2, 3, 4, 5}, {}}, {5, 2, 7, 1}, {3, 1, 1, 1, 2}});
}

}  // namespace quillon
