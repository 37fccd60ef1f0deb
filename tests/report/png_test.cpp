#include "tools/report/png.h"

#include <gmock/gmock.h>
#include <png.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace quillon::tool {
namespace {

using testing::ElementsAreArray;

// Red, green, blue and alpha of each pixel, row by row.
std::vector<png_byte> pixels_of(const std::string& file) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  EXPECT_NE(png_image_begin_read_from_memory(&image, file.data(), file.size()), 0) << image.message;
  image.format = PNG_FORMAT_RGBA;
  std::vector<png_byte> pixels(PNG_IMAGE_SIZE(image));
  EXPECT_NE(png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr), 0) << image.message;
  return pixels;
}

TEST(PngOf, HasTheInkWithEachOpacityRowByRow) {
  Shades shades{3, 2, {0, 70, 255, 9, 8, 7}};
  std::vector<png_byte> expected;
  for (const std::uint8_t opacity : shades.values) {
    const std::vector<png_byte> colour{0x3b, 0x7d, 0xdd, opacity};
    expected.insert(expected.end(), colour.begin(), colour.end());
  }

  const std::string file = png_of(shades);

  EXPECT_THAT(pixels_of(file), ElementsAreArray(expected));
  // Three columns, two rows, eight bits, a palette, not interlaced.
  EXPECT_EQ(file.substr(16, 13), std::string("\0\0\0\3\0\0\0\2\x08\x03\0\0\0", 13));
}

TEST(PngOf, HoldsEveryOpacity) {
  Shades shades{256, 1, {}};
  for (int opacity = 255; opacity >= 0; --opacity)
    shades.values.push_back(static_cast<std::uint8_t>(opacity));

  const std::vector<png_byte> pixels = pixels_of(png_of(shades));

  ASSERT_EQ(pixels.size(), 1024U);
  for (std::size_t k = 0; k < 256; ++k) EXPECT_EQ(pixels[4 * k + 3], 255 - k);
}

TEST(PngOf, FitsNoiseIntoTheBufferForIt) {
  Shades shades{240, 312, {}};
  std::uint32_t state = 1;
  for (int k = 0; k < 240 * 312; ++k) {
    state = state * 1664525U + 1013904223U;
    shades.values.push_back(static_cast<std::uint8_t>(state >> 24U));
  }

  const std::vector<png_byte> pixels = pixels_of(png_of(shades));

  ASSERT_EQ(pixels.size(), 4 * shades.values.size());
  for (std::size_t k = 0; k < shades.values.size(); ++k) ASSERT_EQ(pixels[4 * k + 3], shades.values[k]) << k;
}

TEST(Base64, IsPaddedToFourDigits) {
  EXPECT_EQ(base64(""), "");
  EXPECT_EQ(base64("M"), "TQ==");
  EXPECT_EQ(base64("Ma"), "TWE=");
  EXPECT_EQ(base64("Man"), "TWFu");
  EXPECT_EQ(base64("\xFF\xEF\xBE"), "/+++");
}

}  // namespace
}  // namespace quillon::tool
