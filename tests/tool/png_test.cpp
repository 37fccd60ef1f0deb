#include "tools/report/png.h"

#include <gmock/gmock.h>
#include <zlib.h>

#include <cstdint>
#include <map>
#include <string>

namespace quillon::tool_test {
namespace {

using testing::ElementsAre;
using testing::Pair;

TEST(Base64, FillsUpToFourDigits) {
  EXPECT_EQ(tool::base64(""), "");
  EXPECT_EQ(tool::base64("M"), "TQ==");
  EXPECT_EQ(tool::base64("Ma"), "TWE=");
  EXPECT_EQ(tool::base64("Man"), "TWFu");
  EXPECT_EQ(tool::base64("\xFF\xEF\xBE"), "/+++");
}

std::uint32_t big_endian(const std::string& bytes, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t k = 0; k < 4; ++k) value = value << 8U | static_cast<unsigned char>(bytes[at + k]);
  return value;
}

// The data of each chunk by its type.
std::map<std::string, std::string> chunks_of(const std::string& file) {
  std::map<std::string, std::string> chunks;
  for (std::size_t at = 8; at < file.size();) {
    const std::uint32_t length = big_endian(file, at);
    const auto* const checked = reinterpret_cast<const Bytef*>(file.data() + at + 4);
    EXPECT_EQ(big_endian(file, at + 8 + length), crc32(0, checked, length + 4));
    chunks[file.substr(at + 4, 4)] = file.substr(at + 8, length);
    at += 12 + length;
  }
  return chunks;
}

TEST(Png, HoldsTheShadesInChunksWithChecksums) {
  const std::string file = tool::png_of({3, 2, {0, 70, 255, 9, 8, 7}});
  ASSERT_EQ(file.substr(0, 8), "\x89PNG\r\n\x1a\n");
  const std::map<std::string, std::string> chunks = chunks_of(file);
  ASSERT_THAT(chunks,
              ElementsAre(Pair("IDAT", testing::_), Pair("IEND", ""),
                          Pair("IHDR", std::string("\0\0\0\3\0\0\0\2\x08\x03\0\0\0", 13)),
                          Pair("PLTE", testing::SizeIs(3 * 256)), Pair("tRNS", testing::SizeIs(256))));
  EXPECT_EQ(chunks.at("tRNS")[70], '\x46');

  std::string pixels(8, '?');
  uLongf size = pixels.size();
  const std::string& packed = chunks.at("IDAT");
  ASSERT_EQ(uncompress(reinterpret_cast<Bytef*>(pixels.data()), &size,
                       reinterpret_cast<const Bytef*>(packed.data()), packed.size()),
            Z_OK);
  EXPECT_EQ(size, 8U);
  EXPECT_EQ(pixels, std::string("\0\0\x46\xFF\0\x09\x08\x07", 8));
}

}  // namespace
}  // namespace quillon::tool_test
