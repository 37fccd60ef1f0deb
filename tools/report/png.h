#pragma once
// Pictures in one colour, more or less of it.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace quillon::tool {

/// Shades row by row: 0 shows what lies behind, 255 is the full colour.
struct Shades {
  int columns = 0;
  int rows = 0;
  std::vector<std::uint8_t> values;
};

/// A PNG file, whose colour is that of `--ink` in the page.
std::string png_of(const Shades& shades);

std::string base64(const std::string& bytes);

}  // namespace quillon::tool
