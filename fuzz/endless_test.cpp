// The fuzzers skip texts whose last line is a comment, because the readers may never return from them. These
// tests show, with the twins, which detect the endless loop, that no other text needs to be skipped. The only
// exception is a header line longer than 16 MiB, whose rest may be a comment: the fuzzers generate none.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

#include "fuzz/driver.h"
#include "tests/support/reader_outcome.h"

namespace quillon {
namespace {

bool is_endless(const std::string& text, const ReaderPair& readers) {
  fuzz::Source source(text);
  const Stream stream = source.open_file();
  return outcome_of(readers.oracle, stream.get(), 0).endless;
}

std::map<std::string, std::string> texts_of(const std::filesystem::path& folder) {
  std::map<std::string, std::string> texts;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
    if (entry.path().extension() == ".qhg") {
      std::ifstream file(entry.path(), std::ios::binary);
      texts[entry.path()] = std::string(std::istreambuf_iterator<char>(file), {});
    }
  return texts;
}

// All lengths of a short text; for a longer one, the lengths around each line end.
bool is_of_interest(const std::string& text, std::size_t length) {
  return text.size() < 600 || length == text.size() || text[length] == '\n' ||
         (length > 0 && text[length - 1] == '\n');
}

struct Count {
  int ntexts = 0;
  int nendless = 0;
};

void expect_endless_only_in_comment(const std::string& text, Count& count) {
  for (const ReaderPair& readers : {kStandardReader, kOnePinReader}) {
    const bool endless = is_endless(text, readers);
    ++count.ntexts;
    count.nendless += endless ? 1 : 0;
    ASSERT_TRUE(!endless || ends_in_comment(text)) << testing::PrintToString(text);
  }
}

TEST(TextsLeftOut, EndInACommentWhateverPrefixOfAFileTheyAre) {
  Count plain;
  Count commented;
  for (const char* const folder : {QUILLON_TEST_FILES, QUILLON_DATA}) {
    const auto texts = texts_of(folder);
    ASSERT_FALSE(texts.empty());
    for (const auto& [name, text] : texts) {
      SCOPED_TRACE(name);
      for (std::size_t length = 0; length <= text.size(); ++length) {
        if (!is_of_interest(text, length)) continue;
        expect_endless_only_in_comment(text.substr(0, length), plain);
        expect_endless_only_in_comment(text.substr(0, length) + "%", commented);
        expect_endless_only_in_comment(text.substr(0, length) + "\n% 1 2\n", commented);
        if (HasFailure()) return;
      }
    }
  }
  EXPECT_GT(plain.ntexts, 4000);
  EXPECT_GT(plain.nendless, 10);        // prefixes that end in a comment of the file
  EXPECT_GT(commented.nendless, 1000);  // most lack further lines
  EXPECT_LT(commented.nendless, commented.ntexts);
}

TEST(TextsLeftOut, AreThoseThatTheReadersWaitForEverIn) {
  EXPECT_TRUE(is_endless("1 2 1 2\n%", kStandardReader));
  EXPECT_TRUE(is_endless("1 2 1 2\n%\n", kOnePinReader));
  EXPECT_TRUE(is_endless("1 2 1 2 1\n1 2\n% a\n", kOnePinReader));
  EXPECT_FALSE(is_endless("%", kStandardReader));  // the readers do not wait for a header
  EXPECT_FALSE(is_endless("1 2 1 2\n1 2\n%\n", kStandardReader));
  EXPECT_FALSE(is_endless("1 2 1 2\n%\n1 2", kStandardReader));
  EXPECT_FALSE(is_endless("1 2 1 2\n", kStandardReader));
}

TEST(TextsLeftOut, AreNotThoseOfWhichTheHeaderIsCutBeforeAComment) {
  std::string text = "1 2 1 2";
  text.resize(16777215, ' ');
  EXPECT_TRUE(is_endless(text + "%", kStandardReader));
  EXPECT_TRUE(is_endless(text + "%\n", kOnePinReader));
  EXPECT_FALSE(ends_in_comment(text + "%"));
  text.pop_back();
  EXPECT_FALSE(is_endless(text + "%", kStandardReader));
}

}  // namespace
}  // namespace quillon
