#pragma once
// The options by which users follow what the formats library says, which knows no options.

#include <string>
#include <string_view>

#include "formats/findings.h"

namespace quillon::tool {

/// A hint or remark, followed by the option that it calls for, if there is one.
std::string advised(std::string_view text);

/// A finding with such a hint and message.
formats::Finding advised(formats::Finding finding);

}  // namespace quillon::tool
