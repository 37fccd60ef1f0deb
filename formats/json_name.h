#pragma once
/// @file
/// Names of cells and nets as JSON writes them. Internal to `formats/`.

#include <optional>
#include <string>
#include <string_view>

namespace quillon::formats {

/// The canonical text of a JSON string or integer; none for other texts.
std::optional<std::string> json_name(std::string_view text);

}  // namespace quillon::formats
