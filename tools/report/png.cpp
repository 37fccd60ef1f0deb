#include "tools/report/png.h"

#include <png.h>

#include <algorithm>
#include <array>
#include <cstddef>

#include "util/util.h"

namespace quillon::tool {
namespace {

constexpr std::size_t kShades = 256;

// The ink with each opacity, as red, green, blue and alpha.
std::array<png_byte, 4 * kShades> colour_map() {
  std::array<png_byte, 4 * kShades> map{};
  for (std::size_t shade = 0; shade < kShades; ++shade) {
    const std::array<png_byte, 4> colour{0x3b, 0x7d, 0xdd, static_cast<png_byte>(shade)};
    std::copy(colour.begin(), colour.end(), map.begin() + static_cast<std::ptrdiff_t>(4 * shade));
  }
  return map;
}

}  // namespace

std::string png_of(const Shades& shades) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(shades.columns);
  image.height = static_cast<png_uint_32>(shades.rows);
  image.format = PNG_FORMAT_RGBA_COLORMAP;
  image.colormap_entries = kShades;

  const std::array<png_byte, 4 * kShades> map = colour_map();
  png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
  std::string file(size, '\0');
  if (png_image_write_to_memory(&image, file.data(), &size, 0, shades.values.data(), shades.columns,
                                map.data()) == 0)
    errexit("cannot compress a picture: %s", image.message);
  file.resize(size);
  return file;
}

std::string base64(const std::string& bytes) {
  constexpr const char* kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    const std::size_t length = std::min<std::size_t>(3, bytes.size() - at);
    std::uint32_t bits = 0;
    for (std::size_t k = 0; k < 3; ++k)
      bits = bits << 8U | (k < length ? static_cast<unsigned char>(bytes[at + k]) : 0U);
    for (std::size_t k = 0; k < 4; ++k) text += k <= length ? kDigits[bits >> (18 - 6 * k) & 63U] : '=';
  }
  return text;
}

}  // namespace quillon::tool
