#include <gmock/gmock.h>

#include <climits>
#include <random>
#include <string>
#include <vector>

#include "hypergraph/detail/digits.h"
#include "hypergraph/detail/printer.h"
#include "tests/support/temp_file.h"

namespace quillon {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

// The fields of a run as plain values. The text is padded with NULs.
struct Seen {
  int size;
  std::vector<int> numbers;
  std::vector<int> line_ends;
  bool operator==(const Seen&) const = default;
};

void PrintTo(const Seen& seen, std::ostream* out) {
  *out << "size " << seen.size << " numbers " << testing::PrintToString(seen.numbers) << " line ends "
       << testing::PrintToString(seen.line_ends);
}

std::string padded(std::string text) {
  text.resize(kRunText, '\0');
  return text;
}

Seen run_over(const std::string& text, int shift = 0) {
  const std::string readable = padded(text);
  const NumberRun run = find_numbers(readable.data());
  Seen seen{run.size, std::vector<int>(static_cast<std::size_t>(run.count)), {}};
  store_numbers(readable.data(), run, shift, INT_MAX, seen.numbers.data());
  for (int k = 0; k < 64; ++k)
    if ((run.line_ends >> k & 1U) != 0) seen.line_ends.push_back(k);
  return seen;
}

bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// The same, byte by byte: the leading numbers of up to nine digits that white space ends within the first 64
// bytes.
Seen slow_run_over(const std::string& text, int shift) {
  const std::string readable = padded(text);
  Seen seen{0, {}, {}};
  std::string word;
  for (int k = 0; k < 64; ++k) {
    const char c = readable[static_cast<std::size_t>(k)];
    if (!is_space(c)) {
      word += c;
      if (c < '0' || c > '9' || word.size() > 9) break;
      continue;
    }
    if (!word.empty()) seen.numbers.push_back(std::stoi(word) + shift);
    if (c == '\n') seen.line_ends.push_back(k);
    word.clear();
    seen.size = k + 1;
  }
  return seen;
}

TEST(FindNumbers, EndsAfterTheLastWhiteSpace) {
  EXPECT_EQ(run_over("1 22 333\n4 55"), (Seen{11, {1, 22, 333, 4}, {8}}));
  EXPECT_EQ(run_over("12345678 9\n", 1), (Seen{11, {12345679, 10}, {10}}));
  EXPECT_EQ(run_over("\n \t7\r\n\n"), (Seen{7, {7}, {0, 5, 6}}));
}

TEST(FindNumbers, EndsBeforeWhatIsNoPlainNumber) {
  EXPECT_EQ(run_over("1 2 -3 4\n"), (Seen{4, {1, 2}, {}}));
  EXPECT_EQ(run_over("1 2x 4\n"), (Seen{2, {1}, {}}));
  EXPECT_EQ(run_over("% 1\n"), (Seen{0, {}, {}}));
  EXPECT_EQ(run_over("123456789 1234567890 1\n"), (Seen{10, {123456789}, {}}));
  EXPECT_EQ(run_over("5"), (Seen{0, {}, {}}));
}

TEST(FindNumbers, AgreesWithReadingByteByByte) {
  std::mt19937 draw(1);
  const std::string plain = "0123456789 0123456789 \n";
  const std::string any = plain + "\t\v\f\r-+%x" + std::string(2, '\0') + "\x80\xff/:";
  for (int round = 0; round < 20000; ++round) {
    const std::string& from = round % 4 == 0 ? any : plain;
    std::string text;
    for (int k = 0; k < 64; ++k) text += from[draw() % from.size()];
    ASSERT_EQ(run_over(text, round % 2), slow_run_over(text, round % 2)) << testing::PrintToString(text);
  }
}

TEST(StoreNumbers, SaysWhetherAllAreWithin) {
  const auto within = [](const std::string& text, int shift, int largest) {
    const std::string readable = padded(text);
    int numbers[kMostInRun];
    return store_numbers(readable.data(), find_numbers(readable.data()), shift, largest, numbers);
  };
  for (const char* const text : {"1 5\n", "1 2 3 5\n", "1 2 3 4 5 5 5 5 5\n", ""}) {
    EXPECT_TRUE(within(text, 0, 5)) << text;
    EXPECT_TRUE(within(text, 1, 6)) << text;
  }
  for (const char* const text : {"0 1 2 3\n", "1 2 3 6\n", "1 1 1 1 0\n", "1 1 1 1 6\n", "123456789 1\n"})
    EXPECT_FALSE(within(text, 0, 5)) << text;
}

TEST(AllLinesHaveTwo, CountsTheNumbersOfEveryLineThatEnds) {
  const auto answer = [](const std::string& text, int before) {
    return all_lines_have_two(find_numbers(padded(text).data()), before);
  };
  EXPECT_TRUE(answer("1 2\n3 4 5\n6 7\n8 ", 0));
  EXPECT_FALSE(answer("1 2\n3\n6 7\n", 0));
  EXPECT_FALSE(answer("1 2\n\n6 7\n", 0));
  EXPECT_FALSE(answer("1\n6 7\n", 0));
  EXPECT_TRUE(answer("1\n6 7\n", 1));
  EXPECT_FALSE(answer("\n6 7\n", 1));
  EXPECT_TRUE(answer("\n6 7\n", 2));
  EXPECT_FALSE(answer("\n6\n", 2));
  EXPECT_TRUE(answer("1 ", 0));
}

TEST(AllLinesHaveTwo, AgreesWithCountingOnRandomRuns) {
  std::mt19937 draw(2);
  const std::string from = "123 4 5 6 7 \n\n ";
  for (int round = 0; round < 5000; ++round) {
    std::string text;
    for (int k = 0; k < 64; ++k) text += from[draw() % from.size()];
    const int before = static_cast<int>(draw() % 4);
    const NumberRun run = find_numbers(text.append(8, '\0').data());
    RunLines lines;
    split_into_lines(run, lines);
    bool all = true;
    for (int k = 0; k < lines.count; ++k) all = all && lines.numbers[k] + (k == 0 ? before : 0) >= 2;
    ASSERT_EQ(all_lines_have_two(run, before), all) << text;
  }
}

TEST(SplitIntoLines, SaysHowManyNumbersEachLineHas) {
  const std::string text = padded("1 2\n\n3\n4 5 ");
  RunLines lines;
  split_into_lines(find_numbers(text.data()), lines);
  ASSERT_EQ(lines.count, 3);
  EXPECT_THAT(std::vector<int>(lines.numbers, lines.numbers + 3), ElementsAre(2, 0, 1));
  EXPECT_THAT(std::vector<int>(lines.ends, lines.ends + 3), ElementsAre(4, 5, 7));
  EXPECT_EQ(lines.rest, 2);
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
