// Files of one number per cell, and files of names.

#include "formats/part_vector.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "formats/labels.h"
#include "tests/formats/finding_of.h"
#include "tests/support/extremes.h"
#include "tests/support/temp_file.h"
#include "tests/support/throwing.h"

namespace quillon::formats {
namespace {

using testing::ElementsAre;

TEST(ReadParts, ReadsNumbersOnAnyLines) {
  const TempFile file("0 2\r\n\n\t1\n");
  EXPECT_THAT(read_parts(file.name(), 3, 0), ElementsAre(0, 0, 2, 1));
  EXPECT_THAT(read_parts(file.name(), 3, 3), ElementsAre(0, 0, 2, 1));
  const TempFile empty("\n ");
  EXPECT_THAT(read_parts(empty.name(), 0, 0), ElementsAre(0));
  const TempFile large("2147483647");
  EXPECT_THAT(read_parts(large.name(), 1, kMost), ElementsAre(0, kMost));
}

struct Bad {
  std::string text;
  std::size_t line;
  std::size_t column;
  const char* rule;
  std::string message;
  std::string hint = {};
};

template <typename Read>
void expect_findings(const Read& read, const std::vector<Bad>& table) {
  for (const Bad& bad : table) {
    SCOPED_TRACE(bad.text);
    const TempFile file(bad.text);
    EXPECT_EQ(finding_of([&] { read(file.name()); }), (Finding{bad.rule, Severity::kError, file.name(),
                                                               bad.line, bad.column, bad.message, bad.hint}));
  }
}

TEST(ReadParts, SaysWhatIsWrongWithAFile) {
  expect_findings(
      [](const char* name) { read_parts(name, 3, 2); },
      {{"0\n1 2\n", 2, 3, "part-out-of-range",
        "found \"2\", expected the part number, from 0 to 1, of cell 3"},
       {"0 -1 0", 1, 3, "part-out-of-range",
        "found \"-1\", expected the part number, from 0 to 1, of cell 2"},
       {"0\n1\n", 3, 1, "missing-part",
        "found the end of the file, expected the part number, from 0 to 1, of cell 3"},
       {"0 1\n0\n1\n", 3, 1, "trailing-text", "found \"1\", expected nothing after the parts of 3 cells"}});
  expect_findings(
      [](const char* name) { read_parts(name, 2, 0); },
      {{"0 2\n", 1, 3, "part-out-of-range", "found \"2\", expected the part number, from 0 to 1, of cell 2",
        "are there more parts than cells?"},
       {"0 x\n", 1, 3, "not-a-number", "found \"x\", expected the part number, from 0 to 1, of cell 2"},
       {"0 2147483648\n", 1, 3, "number-too-large",
        "found \"2147483648\", expected the part number, from 0 to 1, of cell 2"}});
  expect_findings([](const char* name) { read_parts(name, 1, kMost); },
                  {{"x", 1, 1, "not-a-number", "found \"x\", expected the part number, from 0, of cell 1"}});
}

TEST(ReadParts, CountsFrom1WhenAskedTo) {
  const TempFile file("1 3 2\n");
  EXPECT_THAT(read_parts(file.name(), 3, 0, 1), ElementsAre(0, 0, 2, 1));
  EXPECT_THAT(read_parts(file.name(), 3, 3, 1), ElementsAre(0, 0, 2, 1));
  expect_findings(
      [](const char* name) { read_parts(name, 2, 2, 1); },
      {{"1 0", 1, 3, "part-out-of-range", "found \"0\", expected the part number, from 1 to 2, of cell 2"},
       {"3 1", 1, 1, "part-out-of-range", "found \"3\", expected the part number, from 1 to 2, of cell 1"}});
}

TEST(ReadParts, HintsAtPartsThatCountFrom1) {
  expect_findings(
      [](const char* name) { read_parts(name, 3, 2); },
      {{"1 2 1", 1, 3, "part-out-of-range", "found \"2\", expected the part number, from 0 to 1, of cell 2",
        "do the parts count from 1?"},
       {"1 3 1", 1, 3, "part-out-of-range",
        "found \"3\", expected the part number, from 0 to 1, of cell 2"}});
}

TEST(ReadFixedParts, AcceptsMinus1ForFreeCells) {
  const TempFile file("-1 2\n0\n");
  EXPECT_THAT(read_fixed_parts(file.name(), 3, 3), ElementsAre(-1, -1, 2, 0));
  EXPECT_THAT(read_fixed_parts(file.name(), 3, 0), ElementsAre(-1, -1, 2, 0));
  const TempFile from_1("-1 2\n1\n");
  EXPECT_THAT(read_fixed_parts(from_1.name(), 3, 2, 1), ElementsAre(-1, -1, 1, 0));
}

TEST(ReadFixedParts, SaysWhatIsWrongWithAFile) {
  expect_findings(
      [](const char* name) { read_fixed_parts(name, 2, 2); },
      {{"0 2", 1, 3, "part-out-of-range",
        "found \"2\", expected the part number, from 0 to 1, or -1, of cell 2"},
       {"0 -2", 1, 3, "part-out-of-range",
        "found \"-2\", expected the part number, from 0 to 1, or -1, of cell 2"},
       {"0 1 1", 1, 5, "trailing-text", "found \"1\", expected nothing after the parts of 2 cells"}});
}

TEST(WriteParts, AreReadBack) {
  const TempFile file;
  write_parts_by_line({-7, 2, 0, 1}, file.name());
  EXPECT_EQ(file.contents(), "2\n0\n1\n");
  EXPECT_THAT(read_parts(file.name(), 3, 3), ElementsAre(0, 2, 0, 1));
  write_parts_by_line({0}, file.name());
  EXPECT_EQ(file.contents(), "");
}

TEST(ReadPermutation, ReadsWhatIsWritten) {
  const TempFile file;
  write_permutation({-7, 2, 3, 1}, file.name());
  EXPECT_EQ(file.contents(), "2\n3\n1\n");
  EXPECT_THAT(read_permutation(file.name(), 3), ElementsAre(0, 2, 3, 1));
  const TempFile empty;
  EXPECT_THAT(read_permutation(empty.name(), 0), ElementsAre(0));
}

TEST(ReadPermutation, SaysWhatIsWrongWithAFile) {
  expect_findings(
      [](const char* name) { read_permutation(name, 3); },
      {{"1\n2\n", 3, 1, "missing-part", "found the end of the file, expected a cell number from 1 to 3"},
       {"1\n0\n2\n", 2, 1, "cell-out-of-range", "found \"0\", expected a cell number from 1 to 3"},
       {"4\n", 1, 1, "cell-out-of-range", "found \"4\", expected a cell number from 1 to 3"},
       {"1\n2\n 1\n", 3, 2, "repeated-cell",
        "found \"1\", expected a cell not named before, which it was on line 1"},
       {"3\n2\n1\n1\n", 4, 1, "trailing-text",
        "found \"1\", expected nothing after the numbers of 3 cells"}});
  expect_findings(
      [](const char* name) { read_permutation(name, 0); },
      {{"1", 1, 1, "trailing-text", "found \"1\", expected nothing after the numbers of 0 cells"}});
}

TEST(WritersOfNumbers, ReportAFullDisk) {
  const std::vector<int> numbers(100000, 12345);
  const std::string message = "ufclose: '/dev/full' is not whole, data was lost: No space left on device";
  EXPECT_EQ(fatal_text([&] { write_parts_by_line(numbers, "/dev/full"); }), message);
  EXPECT_EQ(fatal_text([&] { write_permutation(numbers, "/dev/full"); }), message);
  EXPECT_EQ(fatal_text([] { write_labels({{"", "1"}, {}}, "/dev/full"); }), message);
}

TEST(ReadLabels, ReadsNamesInAnyOrder) {
  const TempFile file("net 1 \"a  b\" \r\n\n cell  2\t5 \ncell 1 \"\\u0035\"");
  const Labels labels = read_labels(file.name(), 2, 1);
  EXPECT_THAT(labels.cells, ElementsAre("", "\"5\"", "5"));
  EXPECT_THAT(labels.nets, ElementsAre("", "\"a  b\""));

  const TempFile same("cell 1 7\nnet 1 7\n");  // a cell and a net may have the same name
  EXPECT_THAT(read_labels(same.name(), 1, 1).nets, ElementsAre("", "7"));
  const TempFile empty("");
  EXPECT_THAT(read_labels(empty.name(), 0, 0).cells, ElementsAre(""));
}

TEST(ReadLabels, SaysWhatIsWrongWithAFile) {
  const std::string name = "expected a name: a string in double quotes, or an integer";
  expect_findings(
      [](const char* file) { read_labels(file, 2, 1); },
      {{"cell 1 7\nvertex 1 8\n", 2, 1, "bad-keyword", "found \"vertex\", expected cell or net"},
       {"cell 3 7\n", 1, 6, "bad-number", "found \"3\", expected the number of a cell, from 1 to 2"},
       {"net 0 7\n", 1, 5, "bad-number", "found \"0\", expected the number of a net, from 1 to 1"},
       {"cell\n", 1, 5, "bad-number",
        "found the end of the line, expected the number of a cell, from 1 to 2"},
       {"cell 1 7\ncell 1 8\n", 2, 6, "repeated-number", "found \"1\", expected a cell not named before"},
       {"cell 1 7\ncell 2 7\n", 2, 8, "repeated-name", "found \"7\", expected a name that no other cell has"},
       {"cell 1 a b \n", 1, 8, "bad-name", "found \"a b\", " + name},
       {"cell 1 1.5\n", 1, 8, "bad-name", "found \"1.5\", " + name},
       {"cell 1 \"a\n", 1, 8, "bad-name", "found \"\"a\", " + name},
       {"cell 1 \"a\" x\n", 1, 8, "bad-name", "found \"\"a\" x\", " + name},
       {"cell 1 \"\xff\"\n", 1, 8, "bad-name", "found \"\"?\"\", " + name},
       {"cell 1 null\n", 1, 8, "bad-name", "found \"null\", " + name},
       {"cell 1 [1]\n", 1, 8, "bad-name", "found \"[1]\", " + name},
       {"cell 1 \n", 1, 8, "bad-name", "found the end of the line, " + name},
       {"cell 1", 1, 7, "bad-name", "found the end of the file, " + name},
       {"cell 2 7\nnet 1 7\n", 3, 1, "missing-name",
        "found the end of the file, expected the name of cell 1"},
       {"cell 2 7\ncell 1 8", 2, 9, "missing-name",
        "found the end of the file, expected the name of net 1"}});
  expect_findings([](const char* file) { read_labels(file, 0, 0); },
                  {{"net 1 7\n", 1, 5, "bad-number", "found \"1\", expected no net, as there are none"}});
}

TEST(WriteLabels, IsReadBack) {
  const Labels labels{{"", "\"a b \"", "-5"}, {"", "\"\\\"\\n\""}};
  const TempFile file;
  write_labels(labels, file.name());
  EXPECT_EQ(file.contents(), "cell 1 \"a b \"\ncell 2 -5\nnet 1 \"\\\"\\n\"\n");

  const Labels read = read_labels(file.name(), 2, 1);
  EXPECT_EQ(read.cells, labels.cells);
  EXPECT_EQ(read.nets, labels.nets);
}

std::vector<int> read_digits(const std::string& text) {
  const TempFile file(text);
  return read_numbers(file.name(), 0, 9, "a digit");
}

TEST(ReadNumbers, ReadsThemBetweenAnyWhiteSpace) {
  EXPECT_THAT(read_digits("3 0\n\n7\t9"), ElementsAre(3, 0, 7, 9));
  EXPECT_THAT(read_digits("1\n2\n3\n"), ElementsAre(1, 2, 3));
  EXPECT_THAT(read_digits(""), ElementsAre());
  EXPECT_THAT(read_digits(" \n\n"), ElementsAre());
}

TEST(ReadNumbers, RefusesOthers) {
  const Finding found = finding_of([] { read_digits("1\n2 10\n"); });
  EXPECT_EQ(found.rule, "number-out-of-range");
  EXPECT_EQ(found.message, "found \"10\", expected a digit");
  EXPECT_EQ(found.line, 2U);
  EXPECT_EQ(found.column, 3U);
}

}  // namespace
}  // namespace quillon::formats
