#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/extremes.h"
#include "tests/support/throwing.h"
#include "util/util.h"

namespace quillon {
namespace {

using testing::ElementsAre;

constexpr std::int32_t kMarker = -77;

// read_array reads its file in pieces of this size.
constexpr std::size_t kPiece = 16384;

std::string unused_name() {
  static int count = 0;
  return testing::TempDir() + "quillon_files_test_" + std::to_string(getpid()) + "_" +
         std::to_string(++count);
}

// A file that exists during the lifetime of the object.
class TempFile {
 public:
  explicit TempFile(const std::string& bytes) {
    std::ofstream(name_, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  }
  ~TempFile() { std::remove(name_.c_str()); }
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;

  const char* name() const { return name_.c_str(); }
  std::string bytes() const {
    std::ifstream stream(name_, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  }

 private:
  std::string name_ = unused_name();
};

// A folder that exists during the lifetime of the object.
class TempFolder {
 public:
  TempFolder() { std::filesystem::create_directory(name_); }
  ~TempFolder() { std::filesystem::remove(name_); }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::string& name() const { return name_; }

 private:
  std::string name_ = unused_name();
};

bool full_device_is_missing() { return access("/dev/full", W_OK) != 0; }

/// The entries 1..count read from a file with this text, between a marker on either side.
std::vector<std::int32_t> read_from(const std::string& text, int count) {
  const TempFile file(text);
  std::vector<std::int32_t> array(std::max(count, 0) + 2, kMarker);
  read_array(file.name(), array.data(), count, 1);
  return array;
}

/// Expects that reading `count` entries fails with this message, in which FILE stands for the file name.
void expect_refusal(const std::string& text, int count, std::string message) {
  SCOPED_TRACE(message);
  const TempFile file(text);
  std::vector<std::int32_t> array(count + 2, kMarker);
  message.replace(message.find("FILE"), 4, file.name());

  EXPECT_EQ(fatal_text([&] { read_array(file.name(), array.data(), count, 1); }), message);
}

void write_and_close(const char* name) {
  std::FILE* const stream = ufopen(name, "w", "test: full");
  std::fputs("text", stream);
  ufclose(stream);
}

// Opens the same full device under three names, writes through one stream and closes all in the given order.
// Returns the reported error.
std::string error_of_one_of_three(std::size_t written, const std::vector<std::size_t>& order) {
  std::FILE* const streams[] = {ufopen("/dev/full", "w", "test: 0"), ufopen("/dev/./full", "w", "test: 1"),
                                ufopen("/dev/../dev/full", "w", "test: 2")};
  std::fputs("text", streams[written]);
  std::string error;
  for (const std::size_t i : order) {
    const std::string text = fatal_text([&] { ufclose(streams[i]); });
    if (text != kNoFatalError) error += text;
  }
  return error;
}

void expect_cannot_open(const std::string& name, const char* mode, const std::string& reason) {
  EXPECT_EQ(fatal_text([&] { (void)ufopen(name.c_str(), mode, "test: input"); }),
            "ufopen: cannot open '" + name + "' with mode \"" + mode + "\" for \"test: input\": " + reason);
}

TEST(Ufopen, OpensForReading) {
  const TempFile file("two words");
  std::FILE* const stream = ufopen(file.name(), "r", "test: input");
  char text[20];
  ASSERT_NE(std::fgets(text, sizeof text, stream), nullptr);
  EXPECT_STREQ(text, "two words");
  ufclose(stream);
}

TEST(Ufopen, OpensForWritingAndEmptiesTheFile) {
  const TempFile file("a longer text than the new one");
  std::FILE* const stream = ufopen(file.name(), "w", "test: output");
  std::fputs("new", stream);
  ufclose(stream);
  EXPECT_EQ(file.bytes(), "new");
}

TEST(Ufopen, RefusesAMissingFile) { expect_cannot_open(unused_name(), "r", "No such file or directory"); }

TEST(Ufopen, RefusesADirectoryInEveryMode) {
  const TempFolder folder;
  for (const char* const mode : {"r", "w", "a", "r+"})
    expect_cannot_open(folder.name(), mode, "Is a directory");
}

TEST(Ufopen, RefusesAFileThatCannotBeWritten) {
  const TempFile file("a file is no folder");
  expect_cannot_open(unused_name() + "/missing", "w", "No such file or directory");
  expect_cannot_open(std::string(file.name()) + "/inside", "w", "Not a directory");
  expect_cannot_open(testing::TempDir() + std::string(5000, 'x'), "w", "File name too long");
}

TEST(Ufopen, RefusesAWriteProtectedFile) {
  const TempFile file("old");
  std::filesystem::permissions(file.name(), std::filesystem::perms::owner_read);
  if (access(file.name(), W_OK) == 0) GTEST_SKIP() << "this user may write everything";
  expect_cannot_open(file.name(), "w", "Permission denied");
  EXPECT_EQ(file.bytes(), "old");
}

TEST(Ufclose, WritesWhatIsStillBuffered) {
  const TempFile file("");
  std::FILE* const stream = ufopen(file.name(), "w", "test: output");
  std::fputs("12 34\n", stream);
  EXPECT_EQ(file.bytes(), "");
  ufclose(stream);
  EXPECT_EQ(file.bytes(), "12 34\n");
}

TEST(Ufclose, AllowsAFileReadToItsEnd) {
  const TempFile file("1");
  std::FILE* const stream = ufopen(file.name(), "r", "test: input");
  while (std::fgetc(stream) != EOF) continue;
  ufclose(stream);
}

TEST(Ufclose, FailsWhenTheLastBytesAreLost) {
  if (full_device_is_missing()) GTEST_SKIP() << "the system has no device that is always full";
  EXPECT_EQ(fatal_text([&] { write_and_close("/dev/full"); }),
            "ufclose: '/dev/full' is not whole, data was lost: No space left on device");
}

TEST(Ufclose, FailsWhenAnEarlierWriteFailed) {
  if (full_device_is_missing()) GTEST_SKIP() << "the system has no device that is always full";
  std::FILE* const stream = ufopen("/dev/full", "w", "test: full");
  std::setvbuf(stream, nullptr, _IONBF, 0);
  EXPECT_EQ(std::fputc('x', stream), EOF);

  // The byte was lost before: closing has nothing left to write.
  EXPECT_EQ(fatal_text([&] { ufclose(stream); }),
            "ufclose: '/dev/full' is not whole, reading or writing it failed");
}

TEST(Ufclose, FailsWhenReadingFailed) {
  const TempFile file("");
  std::FILE* const stream = ufopen(file.name(), "w", "test: output");
  EXPECT_EQ(std::fgetc(stream), EOF);
  ASSERT_NE(std::ferror(stream), 0);

  EXPECT_EQ(fatal_text([&] { ufclose(stream); }),
            std::string("ufclose: '") + file.name() + "' is not whole, reading or writing it failed");
}

TEST(Ufclose, SaysWhyReadingFailed) {
  const char* const unreadable = "/proc/self/mem";  // its first page is nobody's
  if (access(unreadable, R_OK) != 0) GTEST_SKIP() << "the system has no file that cannot be read";
  std::FILE* const stream = ufopen(unreadable, "r", "test: input");
  EXPECT_EQ(std::fgetc(stream), EOF);
  ASSERT_NE(std::ferror(stream), 0);

  EXPECT_EQ(fatal_text([&] { ufclose(stream); }),
            "ufclose: '/proc/self/mem' is not whole, reading or writing it failed: Input/output error");
}

TEST(ReadArray, DoesNotWaitForMoreThanItNeeds) {
  const std::string name = unused_name();
  ASSERT_EQ(mkfifo(name.c_str(), 0600), 0);
  const int pipe = open(name.c_str(), O_RDWR);  // stays open, so that the input does not end
  ASSERT_GE(pipe, 0);
  ASSERT_EQ(write(pipe, "1 22\n333\n", 9), 9);
  std::vector<std::int32_t> array(4, kMarker);
  read_array(name.c_str(), array.data(), 3, 1);
  close(pipe);
  std::remove(name.c_str());

  EXPECT_THAT(array, ElementsAre(kMarker, 1, 22, 333));
}

TEST(Ufclose, ClosesAStreamThatWasOpenedOtherwise) {
  const TempFile file("");
  std::FILE* const stream = std::fopen(file.name(), "w");
  ASSERT_NE(stream, nullptr);
  std::fputs("text", stream);
  ufclose(stream);
  EXPECT_EQ(file.bytes(), "text");
}

TEST(Ufclose, HasNoNameForAStreamThatWasOpenedOtherwise) {
  if (full_device_is_missing()) GTEST_SKIP() << "the system has no device that is always full";
  std::FILE* const stream = std::fopen("/dev/full", "w");
  ASSERT_NE(stream, nullptr);
  std::fputs("text", stream);
  EXPECT_EQ(fatal_text([&] { ufclose(stream); }),
            "ufclose: '(unnamed stream)' is not whole, data was lost: No space left on device");
}

TEST(Ufclose, NamesTheRightOneOfSeveralFilesInEveryOrder) {
  if (full_device_is_missing()) GTEST_SKIP() << "the system has no device that is always full";
  const std::string names[] = {"/dev/full", "/dev/./full", "/dev/../dev/full"};
  std::vector<std::size_t> order = {0, 1, 2};
  do {
    for (std::size_t written = 0; written < 3; ++written) {
      EXPECT_EQ(error_of_one_of_three(written, order),
                "ufclose: '" + names[written] + "' is not whole, data was lost: No space left on device");
    }
  } while (std::next_permutation(order.begin(), order.end()));
}

TEST(Ufclose, ForgetsTheNameOfAClosedFile) {
  if (full_device_is_missing()) GTEST_SKIP() << "the system has no device that is always full";
  const TempFile file("");
  const auto run = [&file] {
    // The C library is likely to reuse the stream.
    ufclose(ufopen(file.name(), "r", "test: input"));
    write_and_close("/dev/full");
  };
  EXPECT_EQ(fatal_text(run), "ufclose: '/dev/full' is not whole, data was lost: No space left on device");
}

TEST(Ufclose, ForgetsTheNameOfAFileThatWasClosedOtherwise) {
  if (full_device_is_missing()) GTEST_SKIP() << "the system has no device that is always full";
  const TempFile file("");
  const auto run = [&file] {
    std::fclose(ufopen(file.name(), "r", "test: input"));
    write_and_close("/dev/full");
  };
  EXPECT_EQ(fatal_text(run), "ufclose: '/dev/full' is not whole, data was lost: No space left on device");
}

TEST(Ufclose, KeepsItsOwnCopyOfTheName) {
  if (full_device_is_missing()) GTEST_SKIP() << "the system has no device that is always full";
  const auto run = [] {
    std::string name = "/dev/full";
    std::FILE* const stream = ufopen(name.c_str(), "w", "test: full");
    name.assign("overwritten");
    std::fputs("text", stream);
    ufclose(stream);
  };
  EXPECT_EQ(fatal_text(run), "ufclose: '/dev/full' is not whole, data was lost: No space left on device");
}

TEST(ReadArray, FillsTheEntriesInFileOrder) {
  EXPECT_THAT(read_from("3 1\n2\n", 3), ElementsAre(kMarker, 3, 1, 2, kMarker));
}

TEST(ReadArray, AcceptsAnyWhiteSpaceBetweenEntries) {
  EXPECT_THAT(read_from("1 2\t3\n4\r\n5\v6\f7\r8", 8), ElementsAre(kMarker, 1, 2, 3, 4, 5, 6, 7, 8, kMarker));
  EXPECT_THAT(read_from(" \t\n\r\v\f1 \t\n\r\v\f2 \t\n\r\v\f", 2), ElementsAre(kMarker, 1, 2, kMarker));
}

TEST(ReadArray, NeedsNoLineEndAtTheEndOfTheFile) {
  EXPECT_THAT(read_from("12", 1), ElementsAre(kMarker, 12, kMarker));
  EXPECT_THAT(read_from("12\n-0", 2), ElementsAre(kMarker, 12, 0, kMarker));
}

TEST(ReadArray, AcceptsSignsAndLeadingZeros) {
  EXPECT_THAT(read_from("+5 -5 0 -0 +0 007 -010 08", 8),
              ElementsAre(kMarker, 5, -5, 0, 0, 0, 7, -10, 8, kMarker));
}

TEST(ReadArray, AcceptsAnyNumberOfLeadingZeros) {
  const std::string zeros(3 * kPiece, '0');
  EXPECT_THAT(read_from(zeros + "12 -" + zeros + "2147483648 " + zeros, 3),
              ElementsAre(kMarker, 12, kLeast, 0, kMarker));
}

TEST(ReadArray, AcceptsEvery32BitInteger) {
  EXPECT_THAT(read_from("-2147483648 2147483647 -2147483647 2147483646", 4),
              ElementsAre(kMarker, kLeast, kMost, -2147483647, 2147483646, kMarker));
}

TEST(ReadArray, RefusesIntegersOutOfRange) {
  expect_refusal("2147483648", 1,
                 "read_array: entry 1 of 1 is out of 32-bit range in 'FILE', line 1: \"2147483648\"");
  expect_refusal("1 -2147483649 3", 3,
                 "read_array: entry 2 of 3 is out of 32-bit range in 'FILE', line 1: \"-2147483649\"");
  expect_refusal("4294967296", 1,
                 "read_array: entry 1 of 1 is out of 32-bit range in 'FILE', line 1: \"4294967296\"");
  expect_refusal("-4294967296", 1,
                 "read_array: entry 1 of 1 is out of 32-bit range in 'FILE', line 1: \"-4294967296\"");
  expect_refusal(
      "18446744073709551617", 1,
      "read_array: entry 1 of 1 is out of 32-bit range in 'FILE', line 1: \"18446744073709551617\"");
  expect_refusal("\n1000000000000000000000000000000", 1,
                 "read_array: entry 1 of 1 is out of 32-bit range in 'FILE', line 2: "
                 "\"1000000000000000000000000000000\"");
  expect_refusal("-1000000000000000000000000000000", 1,
                 "read_array: entry 1 of 1 is out of 32-bit range in 'FILE', line 1: "
                 "\"-1000000000000000000000000000000\"");
}

TEST(ReadArray, RefusesWordsThatAreNoIntegers) {
  for (const std::string word :
       {"12a", "a12", "1.5", "1e3", "--1", "+-1", "+", "-", "1-", "0x10", "1,", "%"}) {
    expect_refusal("7 " + word + " 8", 2,
                   "read_array: entry 2 of 2 is not an integer in 'FILE', line 1: \"" + word + "\"");
  }
}

TEST(ReadArray, ShowsBytesThatCannotBePrintedAsQuestionMarks) {
  expect_refusal(std::string("12\0003", 4), 1,
                 "read_array: entry 1 of 1 is not an integer in 'FILE', line 1: \"12?3\"");
  expect_refusal(std::string("\0", 1), 1,
                 "read_array: entry 1 of 1 is not an integer in 'FILE', line 1: \"?\"");
  expect_refusal(
      "\xef\xbb\xbf"
      "1",
      1,  // a byte order mark
      "read_array: entry 1 of 1 is not an integer in 'FILE', line 1: \"???1\"");
  expect_refusal("1\xff\x7f\x1b", 1,
                 "read_array: entry 1 of 1 is not an integer in 'FILE', line 1: \"1???\"");
}

TEST(ReadArray, ShowsLongWordsShortened) {
  const std::string forty(40, 'x');
  const std::string nines(40, '9');
  expect_refusal(forty, 1, "read_array: entry 1 of 1 is not an integer in 'FILE', line 1: \"" + forty + "\"");
  expect_refusal(forty + "y", 1,
                 "read_array: entry 1 of 1 is not an integer in 'FILE', line 1: \"" + forty + "...\"");
  expect_refusal(
      "1" + std::string(3 * kPiece, 'x') + " 2", 1,
      "read_array: entry 1 of 1 is not an integer in 'FILE', line 1: \"1" + std::string(39, 'x') + "...\"");
  expect_refusal(nines + std::string(kPiece, '9'), 1,
                 "read_array: entry 1 of 1 is out of 32-bit range in 'FILE', line 1: \"" + nines + "...\"");
}

TEST(ReadArray, RefusesAFileThatEndsTooEarly) {
  expect_refusal("", 1, "read_array: entry 1 of 1 is missing, 'FILE' ends after entry 0");
  expect_refusal(" \n\n ", 3, "read_array: entry 1 of 3 is missing, 'FILE' ends after entry 0");
  expect_refusal("1 2 3", 4, "read_array: entry 4 of 4 is missing, 'FILE' ends after entry 3");
  expect_refusal("1 2 3\n", 5, "read_array: entry 4 of 5 is missing, 'FILE' ends after entry 3");
}

TEST(ReadArray, CountsLinesByTheirLineFeeds) {
  expect_refusal("1 2\r\n\r\n3\r\nx\r\n", 4,
                 "read_array: entry 4 of 4 is not an integer in 'FILE', line 4: \"x\"");
  expect_refusal("1\r2\v3\fx\n", 4, "read_array: entry 4 of 4 is not an integer in 'FILE', line 1: \"x\"");
  expect_refusal("1\n2\nx\n4\n", 4, "read_array: entry 3 of 4 is not an integer in 'FILE', line 3: \"x\"");
}

TEST(ReadArray, CountsLinesOfALongFile) {
  std::string text;
  for (int line = 1; line <= 20'000; ++line) text += std::to_string(line) + (line % 3 == 0 ? "\r\n" : "\n");
  ASSERT_GT(text.size(), 6 * kPiece);

  expect_refusal(
      text + "99999999999", 20'001,
      "read_array: entry 20001 of 20001 is out of 32-bit range in 'FILE', line 20001: \"99999999999\"");
}

TEST(ReadArray, CountsTheLineFeedAtTheEndOfAPiece) {
  expect_refusal(std::string(2 * kPiece, '\n') + "x", 1,
                 "read_array: entry 1 of 1 is not an integer in 'FILE', line 32769: \"x\"");
}

TEST(ReadArray, RefusesAMissingFile) {
  const std::string name = unused_name();
  std::int32_t array[2] = {};
  EXPECT_EQ(
      fatal_text([&] { read_array(name.c_str(), array, 1, 1); }),
      "ufopen: cannot open '" + name + "' with mode \"r\" for \"read_array\": No such file or directory");
}

TEST(ReadArray, TellsAReadErrorFromTheEndOfTheFile) {
  // The first page of a process is never mapped: reading it fails.
  const char* const name = "/proc/self/mem";
  if (access(name, R_OK) != 0) GTEST_SKIP() << "the system has no file that opens but cannot be read";
  std::int32_t array[2] = {};
  EXPECT_EQ(fatal_text([&] { read_array(name, array, 1, 1); }),
            "read_array: entry 1 of 1 cannot be read, '/proc/self/mem' fails after entry 0");
}

TEST(ReadArray, FillsFromTheFirstIndexOn) {
  const TempFile file("7 8");
  for (const int first : {0, 1, 4}) {
    std::vector<std::int32_t> array(7, kMarker);
    std::vector<std::int32_t> expected = array;
    expected[first] = 7;
    expected[first + 1] = 8;

    read_array(file.name(), array.data(), 2, first);
    EXPECT_EQ(array, expected) << "first " << first;
  }
}

TEST(ReadArray, FillsFromANegativeIndexOn) {
  const TempFile file("7 8");
  std::vector<std::int32_t> array(5, kMarker);
  read_array(file.name(), array.data() + 3, 2, -2);
  EXPECT_THAT(array, ElementsAre(kMarker, 7, 8, kMarker, kMarker));
}

TEST(ReadArray, ReadsNothingForACountOf0OrLess) {
  for (const int count : {0, -1, static_cast<int>(kLeast)})
    EXPECT_THAT(read_from("1 x", count), ElementsAre(kMarker, kMarker)) << count;
}

TEST(ReadArray, IgnoresWhatFollowsTheLastEntry) {
  EXPECT_THAT(read_from("1 2 3", 2), ElementsAre(kMarker, 1, 2, kMarker));
  EXPECT_THAT(read_from("1 2\nx 99999999999 %", 2), ElementsAre(kMarker, 1, 2, kMarker));
}

TEST(ReadArray, HasStoredTheEntriesBeforeAWrongOne) {
  const TempFile file("7 8 x 9");
  std::int32_t array[5] = {kMarker, kMarker, kMarker, kMarker, kMarker};
  EXPECT_EQ(
      fatal_text([&] { read_array(file.name(), array, 4, 1); }),
      std::string("read_array: entry 3 of 4 is not an integer in '") + file.name() + "', line 1: \"x\"");
  EXPECT_THAT(array, ElementsAre(kMarker, 7, 8, kMarker, kMarker));
}

TEST(ReadArray, ReadsAWordAcrossPieces) {
  const std::string word = "-1234567890";
  for (std::size_t before = kPiece - word.size() - 2; before <= kPiece + 2; ++before) {
    EXPECT_THAT(read_from(std::string(before, ' ') + word, 1), ElementsAre(kMarker, -1234567890, kMarker));
    EXPECT_THAT(read_from(std::string(before, '\n') + word + " 5\n", 2),
                ElementsAre(kMarker, -1234567890, 5, kMarker));
  }
}

std::string random_word(std::mt19937& random) {
  const int digits = static_cast<int>(random() % 10);
  std::string word = random() % 4 == 0 ? "-" : random() % 8 == 0 ? "+" : "";
  if (random() % 10 == 0) word.append(random() % 30, '0');
  word += static_cast<char>('0' + random() % 2);
  for (int i = 0; i < digits; ++i) word += static_cast<char>('0' + random() % 10);
  return word;
}

std::string random_space(std::mt19937& random) {
  constexpr char kSpaces[] = {' ', '\n', '\t', '\r', '\v', '\f'};
  std::string space(1 + random() % 4, ' ');
  for (char& byte : space) byte = kSpaces[random() % 6];
  return space;
}

TEST(ReadArray, AgreesWithTheStandardStreamsOnRandomTexts) {
  constexpr int kWords = 10'000;
  for (unsigned seed = 1; seed <= 20; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    std::string text;
    for (int i = 0; i < kWords; ++i) text += random_word(random) + random_space(random);
    ASSERT_GT(text.size(), 4 * kPiece);

    std::vector<std::int32_t> expected(1, kMarker);
    std::istringstream stream(text);
    for (std::int32_t value = 0; stream >> value;) expected.push_back(value);
    ASSERT_EQ(expected.size(), kWords + 1U);
    expected.push_back(kMarker);

    EXPECT_EQ(read_from(text, kWords), expected);
  }
}

}  // namespace
}  // namespace quillon
