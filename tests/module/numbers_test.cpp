#include <gmock/gmock.h>

#include <algorithm>
#include <climits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "hypergraph/detail/printer.h"
#include "tests/support/temp_file.h"
#include "util/digits.h"

namespace quillon {
namespace {

// A scan as plain values.
struct Seen {
  int size;
  std::vector<int> numbers;
  std::vector<std::pair<int, int>> lines;  // numbers before each line end, and the offset after it
  bool operator==(const Seen&) const = default;
};

void PrintTo(const Seen& seen, std::ostream* out) {
  *out << "size " << seen.size << " numbers " << testing::PrintToString(seen.numbers) << " lines "
       << testing::PrintToString(seen.lines);
}

using Scan = void (*)(const char* text, const char* end, Scanned& scanned);

// What the program would use, and every other way that this processor has.
std::vector<Scan> all_scans() {
  std::vector<Scan> scans = {scan_numbers, scan_by_fours};
#ifdef QUILLON_AVX2
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2")) scans.push_back(scan_by_eights);
#endif
  return scans;
}

// Scans until there is no more. Each text is in a block of its own, so that the address sanitizer sees reads
// outside.
Seen scanned_by(Scan scan, const std::string& text) {
  const std::vector<char> block(text.begin(), text.end());
  Seen all{0, {}, {}};
  Scanned piece;
  do {
    scan(block.data() + all.size, block.data() + block.size(), piece);
    for (int k = 0; k < piece.nlines; ++k) {
      const auto& [count, end] = piece.lines[k];
      all.lines.emplace_back(static_cast<int>(all.numbers.size()) + count, all.size + end);
    }
    all.numbers.insert(all.numbers.end(), piece.numbers, piece.numbers + piece.count);
    all.size += piece.size;
  } while (piece.size > 0);
  return all;
}

Seen scan(const std::string& text) {
  const Seen seen = scanned_by(scan_numbers, text);
  for (const Scan other : all_scans()) EXPECT_EQ(scanned_by(other, text), seen) << text;
  return seen;
}

bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// The same, byte by byte: the leading numbers of up to nine digits that white space ends.
Seen slow_scan(const std::string& text) {
  Seen seen{0, {}, {}};
  std::string word;
  for (std::size_t k = 0; k < text.size(); ++k) {
    const char c = text[k];
    if (!is_space(c)) {
      word += c;
      if (c < '0' || c > '9' || word.size() > 9) break;
      continue;
    }
    if (!word.empty()) seen.numbers.push_back(std::stoi(word));
    seen.size = static_cast<int>(k) + 1;
    if (c == '\n') seen.lines.emplace_back(static_cast<int>(seen.numbers.size()), seen.size);
    word.clear();
  }
  return seen;
}

std::string random_text(std::mt19937& draw, const std::string& from, std::size_t size) {
  std::string text;
  for (std::size_t k = 0; k < size; ++k) text += from[draw() % from.size()];
  return text;
}

TEST(ScanNumbers, EndsAfterTheLastWhiteSpace) {
  EXPECT_EQ(scan("1 22 333\n4 55"), (Seen{11, {1, 22, 333, 4}, {{3, 9}}}));
  EXPECT_EQ(scan("12345678 9\n"), (Seen{11, {12345678, 9}, {{2, 11}}}));
  EXPECT_EQ(scan("\n \t7\r\n\n"), (Seen{7, {7}, {{0, 1}, {1, 6}, {1, 7}}}));
}

TEST(ScanNumbers, EndsBeforeAnythingButShortNumbers) {
  EXPECT_EQ(scan("1 2 -3 4\n"), (Seen{4, {1, 2}, {}}));
  EXPECT_EQ(scan("1 2x 4\n"), (Seen{2, {1}, {}}));
  EXPECT_EQ(scan("% 1\n"), (Seen{0, {}, {}}));
  EXPECT_EQ(scan("123456789 1234567890 1\n"), (Seen{10, {123456789}, {}}));
  EXPECT_EQ(scan("5"), (Seen{0, {}, {}}));
  EXPECT_EQ(scan(""), (Seen{0, {}, {}}));
}

TEST(ScanNumbers, AgreesWithReadingByteByByte) {
  std::mt19937 draw(1);
  const std::string plain = "0123456789 0123456789 \n";
  const std::string any = plain + "\t\v\f\r-+%x" + std::string(2, '\0') + "\x80\xff/:";
  for (int round = 0; round < 20000; ++round) {
    const std::string text = random_text(draw, round % 4 == 0 ? any : plain, draw() % 200);
    ASSERT_EQ(scan(text), slow_scan(text)) << testing::PrintToString(text);
  }
}

TEST(ScanNumbers, AgreesWithReadingByteByByteOnTextsWithOneOtherByte) {
  std::mt19937 draw(3);
  for (int byte = 0; byte < 256; ++byte) {
    for (int round = 0; round < 20; ++round) {
      std::string text = random_text(draw, "12345  \n", 200);
      text[draw() % text.size()] = static_cast<char>(byte);
      ASSERT_EQ(scan(text), slow_scan(text)) << testing::PrintToString(text);
    }
  }
}

TEST(ScanNumbers, AgreesWithReadingByteByByteOnLongTexts) {
  std::mt19937 draw(2);
  for (const char* const from : {"0123456789    \n", "1 ", "\n", "1\n", "12345678 ", "1234567890123 \n\t"}) {
    for (int round = 0; round < 40; ++round) {
      std::string text = random_text(draw, from, 3000);
      const std::size_t every = round % 2 == 0 ? 10 : 9;  // numbers of up to nine digits, or eight
      for (std::size_t k = every - 1; k < text.size(); k += every) text[k] = ' ';
      ASSERT_EQ(scan(text), slow_scan(text)) << text;
    }
  }
}

// The text and the values are in blocks of their own, so that the address sanitizer sees any access outside.
Seen short_scan(const std::string& text, int room) {
  const std::vector<char> block(text.begin(), text.end());
  std::vector<int> values(static_cast<std::size_t>(room));
  const ShortNumbers seen =
      scan_short_numbers(block.data(), block.data() + block.size(), values.data(), room);
  values.resize(static_cast<std::size_t>(seen.count));
  return {seen.size, values, std::vector<std::pair<int, int>>(static_cast<std::size_t>(seen.nlines))};
}

bool scans_short_numbers() {
#ifdef QUILLON_AVX2
  return static_cast<bool>(__builtin_cpu_supports("avx2")) &&
         static_cast<bool>(__builtin_cpu_supports("bmi2"));
#else
  return false;
#endif
}

TEST(ScanShortNumbers, AgreesWithReadingByteByByte) {
  std::mt19937 draw(4);
  std::size_t nscanned = 0;
  for (int round = 0; round < 20000; ++round) {
    std::string text = random_text(draw, "0123456789  \n", 40 + draw() % 200);
    for (std::size_t k = 2; k < text.size(); ++k)
      if (text[k - 2] > ' ' && text[k - 1] > ' ') text[k] = ' ';
    if (round % 4 == 0) text[draw() % text.size()] = "x-\t7\x80"[draw() % 5];
    const Seen seen = short_scan(text, static_cast<int>(draw() % 100));
    Seen expected = slow_scan(text.substr(0, static_cast<std::size_t>(seen.size)));
    std::fill(expected.lines.begin(), expected.lines.end(), std::pair<int, int>());
    ASSERT_EQ(seen, expected) << testing::PrintToString(text);
    nscanned += seen.numbers.size();
  }
  EXPECT_EQ(nscanned > 100000, scans_short_numbers());
}

TEST(ScanShortNumbers, StopsAtLongerNumbersAndWhereRoomOrTextEnds) {
  if (!scans_short_numbers()) GTEST_SKIP() << "this processor or this build has no such way";
  std::string text;
  for (int k = 0; k < 64; ++k) text += "1\n";
  EXPECT_EQ(short_scan(text, 36).numbers.size(), 32U);
  EXPECT_EQ(short_scan(text, 35).numbers.size(), 0U);
  EXPECT_EQ(short_scan(text, 100).size, 64);  // fewer than 72 bytes are left
  EXPECT_EQ(short_scan(text + "       \n", 100).size, 128);
  EXPECT_EQ(short_scan(std::string(61, ' ') + "123" + text, 100).size, 0);
  EXPECT_EQ(short_scan(std::string(62, ' ') + "12\n" + text, 100).size, 125);
}

std::string printed(int value) {
  char text[32];
  return {text, print(text, value)};
}

TEST(Print, WritesWhatPrintfWrites) {
  std::vector<int> values{0, 1, -1, INT_MAX, INT_MIN, INT_MIN + 1, 99999999, 100000000, -100000000};
  for (int power = 1; power <= 1000000000 / 10; power *= 10)
    values.insert(values.end(), {power - 1, power, power + 1, 10 * power - 1, -power, 7 * power});
  std::mt19937 draw(3);
  for (int k = 0; k < 100000; ++k) values.push_back(static_cast<int>(draw() >> draw() % 32));
  for (const int value : values) ASSERT_EQ(printed(value), std::to_string(value));
}

TEST(Print, GivesEveryFourDigits) {
  for (int value = 0; value < 10000; ++value) {
    ASSERT_EQ(printed(10000 * value + 9999 - value), std::to_string(10000 * value + 9999 - value));
  }
}

TEST(Printer, PassesLongTextOnInBlocks) {
  const TempFile file("");
  std::FILE* const stream = std::fopen(file.name(), "w");
  std::string expected;
  {
    Printer printer(stream);
    char* at = printer.block;
    for (int k = 0; k < 50000; ++k) {
      at = print_with_blank(make_room(printer, at), k - 25000);
      expected.append(std::to_string(k - 25000)).append(" ");
    }
    flush(printer, at);
  }
  std::fclose(stream);
  EXPECT_EQ(file.contents(), expected);
}

}  // namespace
}  // namespace quillon
