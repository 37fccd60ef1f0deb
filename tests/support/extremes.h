#pragma once

#include <limits>

namespace quillon {

inline constexpr int kMost = std::numeric_limits<int>::max();
inline constexpr int kLeast = std::numeric_limits<int>::min();

}  // namespace quillon
