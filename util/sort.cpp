#include <algorithm>

#include "util/util.h"

namespace quillon {

void uqsorti(std::uint64_t count, std::int32_t* values) { std::sort(values, values + count); }

}  // namespace quillon
