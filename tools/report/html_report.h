#pragma once
// The model as one HTML page that needs nothing else: no script and no network.

#include <string>

#include "tools/report/model.h"

namespace quillon::tool {

/// The page, which is well-formed XML too. Names may hold any bytes.
std::string html_page(const PageModel& model);

}  // namespace quillon::tool
