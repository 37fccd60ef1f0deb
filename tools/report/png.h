#pragma once
// Pictures in one colour of varying opacity.

#include <cstdint>
#include <string>
#include <vector>

namespace quillon::tool {

/// Opacities row by row: 0 is transparent, 255 the full colour.
struct Shades {
  int columns = 0;  // at least 1
  int rows = 0;     // at least 1
  std::vector<std::uint8_t> values;
};

/// A PNG file in the page's `--ink` colour. Fatal if libpng fails.
std::string png_of(const Shades& shades);

std::string base64(const std::string& bytes);

}  // namespace quillon::tool
