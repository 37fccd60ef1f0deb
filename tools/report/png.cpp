#include "tools/report/png.h"

#include <zlib.h>

#include <algorithm>
#include <array>

#include "util/util.h"

namespace quillon::tool {
namespace {

constexpr std::array<unsigned char, 3> kInk{0x3b, 0x7d, 0xdd};

std::string big_endian(std::uint32_t value) {
  std::string bytes;
  for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>((value >> shift) & 0xFFU);
  return bytes;
}

// Length, type, data, and a checksum of type and data.
std::string chunk(const std::string& type, const std::string& data) {
  const std::string checked = type + data;
  const uLong crc = crc32_z(0, reinterpret_cast<const Bytef*>(checked.data()), checked.size());
  return big_endian(static_cast<std::uint32_t>(data.size())) + checked +
         big_endian(static_cast<std::uint32_t>(crc));
}

std::string compressed(const std::string& bytes) {
  uLongf size = compressBound(bytes.size());
  std::string packed(size, '\0');
  if (compress2(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(bytes.data()),
                bytes.size(), Z_BEST_COMPRESSION) != Z_OK)
    errexit("cannot compress a picture: out of memory");
  packed.resize(size);
  return packed;
}

}  // namespace

std::string png_of(const Shades& shades) {
  constexpr int kShades = 256;
  std::string header = big_endian(static_cast<std::uint32_t>(shades.columns)) +
                       big_endian(static_cast<std::uint32_t>(shades.rows));
  header += std::string("\x08\x03\0\0\0", 5);  // eight bits, a palette, nothing special

  // One colour 256 times, with increasing opacity.
  std::string palette;
  std::string opacity;
  for (int shade = 0; shade < kShades; ++shade) {
    for (const unsigned char part : kInk) palette += static_cast<char>(part);
    opacity += static_cast<char>(shade);
  }

  std::string rows;
  const auto columns = static_cast<std::size_t>(shades.columns);
  for (std::size_t row = 0; row < static_cast<std::size_t>(shades.rows); ++row) {
    rows += '\0';  // unfiltered
    rows.append(reinterpret_cast<const char*>(shades.values.data()) + row * columns, columns);
  }
  return "\x89PNG\r\n\x1a\n" + chunk("IHDR", header) + chunk("PLTE", palette) + chunk("tRNS", opacity) +
         chunk("IDAT", compressed(rows)) + chunk("IEND", "");
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
