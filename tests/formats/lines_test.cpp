// Readers on blocks of any size and on any number of threads, against the same readers on a whole text, where
// all lines are read by their words.

#include "formats/lines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "formats/audit.h"
#include "tests/formats/finding_of.h"
#include "tests/formats/on_blocks.h"
#include "tests/formats/temp_folder.h"
#include "tests/support/plain_lines.h"
#include "util/util.h"

namespace quillon::formats {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Outcome {
  Finding finding;
  NetLists lists;
};

// A changed count may ask for more memory than there is.
struct OutOfMemory {};

[[noreturn]] void out_of_memory(const char* /*message*/) { throw OutOfMemory(); }

Outcome read(Scanner& in, const Format& format, const ReadOptions& options) {
  Outcome outcome;
  outcome.finding = finding_of([&] { format.read(in, outcome.lists, options); });
  return outcome;
}

void expect_same(const Outcome& outcome, const Outcome& expected) {
  ASSERT_EQ(outcome.finding, expected.finding);
  if (expected.finding.rule != kNoFinding) return;
  const NetLists& a = outcome.lists;
  const NetLists& b = expected.lists;
  EXPECT_EQ(a.ncells, b.ncells);
  EXPECT_EQ(a.nnets, b.nnets);
  EXPECT_TRUE(a.xnadj == b.xnadj);
  EXPECT_TRUE(a.nadj == b.nadj);
  EXPECT_EQ(a.diagonal, b.diagonal);
  EXPECT_EQ(a.cell_weights, b.cell_weights);
  EXPECT_EQ(a.net_weights, b.net_weights);
  EXPECT_EQ(a.remarks, b.remarks);
  EXPECT_EQ(a.losses, b.losses);
}

const std::vector<std::pair<int, BlockSizes>> kSettings{{1, {1, 64}},    {1, {7, 4096}}, {1, {100, 4096}},
                                                        {2, {16, 4096}}, {7, {1, 4096}}, {7, {50, 4096}},
                                                        {2, {}}};

void expect_same_on_any_blocks(const Format& format, const std::string& text, const ReadOptions& options) {
  SCOPED_TRACE(testing::PrintToString(text));
  Scanner whole("in", text);
  const Outcome expected = read(whole, format, options);
  Scanner whole_again("in", text);
  const std::vector<Finding> findings = findings_in(whole_again, format, options);
  const Finding none{kNoFinding, Severity::kNote, "", 0, 0, "", ""};
  EXPECT_EQ(findings.empty() ? none : findings.front(), expected.finding);

  for (const auto& [nthreads, sizes] : kSettings) {
    SCOPED_TRACE(testing::Message() << nthreads << " threads, blocks of " << sizes.usual);
    const Settings settings(nthreads, sizes);
    Scanner in("in", reader_of(text));
    expect_same(read(in, format, options), expected);
    Scanner again("in", reader_of(text));
    EXPECT_EQ(findings_in(again, format, options), findings);
    if (testing::Test::HasFailure()) return;
  }
}

class Random {
 public:
  explicit Random(unsigned seed) : engine_(seed) {}
  int below(int bound) { return static_cast<int>(engine_() % static_cast<unsigned>(bound)); }

 private:
  std::mt19937 engine_;
};

const std::string kBanner = "%%MatrixMarket matrix coordinate ";

std::map<std::string, std::vector<std::string>> samples() {
  const std::string weights = " 3 0\n123456789 1\n0 2 2\n2147483647 3\n1\n";
  return {
      {"quillon",
       {"1 3 3 5 3\n5 1 2\n6 2 3\n7 3\n1\n2\n3\n",
        "% c\n0 12 4 9 1 2\n0 1 11\n\n7 8 9\n% c\n10 6 5\n1 2 3 4\n5 "
        "6 7 8 9 1\n1 1 1 1 1 1 1 1 1 1 1 1 1 1\n",
        "1 3 2 3 1\n1 2\n3\n-4 5 6\n"}},
      {"hmetis",
       {"3 4 11\n5 4 1\n6\n7 2\n8\n9\n0\n2147483647\n", "% c\n4 4\n2 4\n1 3\n2 4\n3 1\n%\n\n",
        "2 1000000 10\n1 2 3 4 5 6 7 8 9 10\n100000 1000000\n", "5 3\r\n1 2\r\n\r\n3\t1\r\n2 \r\n 1\r\n"}},
      {"kub",
       {"3\n2\n5 3 2 0 2\n2147483647 0\n7\n0\n9",
        "5\n3\n1 2 0 4\n1 1 3\n123456789 5 0 1 2 3 4\n1\n1\n1\n1\n1\n"}},
      {"metis",
       {"3 2 11\n4 2 5\n1 1 5 3 6\n2 2 6\n", "4 4\n4 2 3\n1\n4 1\n3 1\n",
        "3 2 111 2\n1 2 3 2 7\n1 2 3 1 7 3 8\n4 5 6 2 8\n", "4 3\n2\n1 3\n2 4\n% c\n3\n", "3 1\n3\n\n1"}},
      {"mtx",
       {kBanner + "real symmetric\n% c\n3 3 3\n1 1 .5\n2 1 1\n3 2 -4e2\n",
        kBanner + "pattern general\n4 4 6\n1 1\n1 2\n\n2 4\n2 4\n1 2\n4 1\n",
        kBanner + "integer general\n2 3 3\n1 3 -5\n1 3 +7\n2 1 0\n",
        kBanner + "integer general\n9 9 8\n1 3 5\n1 3 0\n2 1 1234567890123\n\n3 3 7\n4 4 -1\n5 5 1\n6\t6 "
                  "1\r\n7 9 2",
        kBanner + "complex hermitian\n3 3 3\n1 1 1 0\n3 1 1e3 -2.5\n1 3 .5 .5\n",
        kBanner + "pattern skew-symmetric\n3 3 2\n2 1\n3 2\n"}}};
}

// Words that readers treat in different ways.
const std::vector<std::string> kWords{"0",           "1",
                                      "2",           "3",
                                      "4",           "5",
                                      "12",          "-1",
                                      "+2",          "007",
                                      "1234567890",  "x",
                                      "%",           "% 1 2\n",
                                      "\n",          "\n\n",
                                      " ",           "\t",
                                      "\r\n",        "2x",
                                      "99999999999", ".5",
                                      "1e5",         std::string(1, '\0'),
                                      "   \n",       "12 13 14 15\n",
                                      "1 2\n"};

std::string changed(std::string text, Random& random) {
  for (int count = random.below(4); count >= 0; --count) {
    const auto at = static_cast<std::size_t>(random.below(static_cast<int>(text.size()) + 1));
    const auto length = static_cast<std::size_t>(random.below(3));
    text.replace(at, std::min(length, text.size() - at),
                 kWords[random.below(static_cast<int>(kWords.size()))]);
  }
  return text;
}

TEST(Lines, OfAnyTextGiveTheSameOnAnyBlocksAndThreads) {
  const FatalHandler previous = set_fatal_handler(out_of_memory);
  int nskipped = 0;
  for (const auto& [name, texts] : samples()) {
    Random random(1);
    for (const std::string& text : texts) {
      expect_same_on_any_blocks(format(name), text, {});
      for (int k = 0; k < 60 && !HasFailure(); ++k) {
        ReadOptions options;
        options.model = static_cast<Model>(random.below(3));
        options.add_diagonal = random.below(4) == 0;
        try {
          expect_same_on_any_blocks(format(name), changed(text, random), options);
        } catch (const OutOfMemory&) {
          ++nskipped;
        }
      }
    }
  }
  set_fatal_handler(previous);
  EXPECT_LT(nskipped, 200);
}

// What lint notes on its first read.
struct Audited {
  std::map<std::string, std::int64_t> counts;
  std::map<std::string, std::vector<std::pair<std::size_t, std::size_t>>> places;  // of wanted findings
  NetLists lists;
  Audit audit;
};

// Reads a text of which the first `nwanted` findings of each rule are wanted.
void read_audited(Scanner& in, const Format& format, std::size_t nwanted, Audited& audited) {
  const auto add = [&audited](const Finding& finding) {
    ++audited.counts[finding.rule];
    audited.places[finding.rule].emplace_back(finding.line, finding.column);
  };
  audited.audit.wants = [&audited, nwanted](std::string_view rule) {
    return audited.places[std::string(rule)].size() < nwanted;
  };
  audited.audit.counted = [&audited](std::string_view rule, std::int64_t nmore) {
    audited.counts[std::string(rule)] += nmore;
  };
  audited.audit.oddity = add;
  in.audit = &audited.audit;
  in.listener = add;
  try {
    format.read(in, audited.lists, {});
  } catch (const BadFile& error) {
    ++audited.counts[error.finding().rule];
  }
  in.audit = nullptr;
}

void expect_same_audit(const Audited& a, const Audited& b) {
  EXPECT_EQ(a.counts, b.counts);
  EXPECT_TRUE(a.lists.xnadj == b.lists.xnadj);
  EXPECT_TRUE(a.lists.nadj == b.lists.nadj);
  EXPECT_EQ(a.lists.cell_weights, b.lists.cell_weights);
  EXPECT_EQ(a.lists.net_weights, b.lists.net_weights);
  EXPECT_EQ(a.audit.damaged, b.audit.damaged);
  EXPECT_EQ(a.audit.reaches_last, b.audit.reaches_last);
  EXPECT_EQ(a.audit.outside.count, b.audit.outside.count);
  EXPECT_EQ(a.audit.outside.smallest, b.audit.outside.smallest);
  EXPECT_EQ(a.audit.outside.largest, b.audit.outside.largest);
}

// Puts words into many of its lines, none of them with a line end.
std::string damaged(const std::string& text, Random& random) {
  const std::string& word = kWords[static_cast<std::size_t>(random.below(static_cast<int>(kWords.size())))];
  const std::string inserted = word.substr(0, word.find('\n'));
  const int often = 1 + random.below(3);
  std::string result = text.substr(0, text.find('\n') + 1);
  for (const char c : text.substr(result.size())) {
    const bool is_blank = c == ' ' || c == '\n';
    if (is_blank && random.below(often) == 0) result += (random.below(2) == 0 ? "" : " ") + inserted;
    result += c;
  }
  return result;
}

void expect_same_where_counted(const Format& format, const std::string& text, const Audited& expected,
                               std::size_t nwanted) {
  Scanner in("in", reader_of(text));
  Audited audited;
  read_audited(in, format, nwanted, audited);
  expect_same_audit(audited, expected);
  for (auto [rule, places] : expected.places) {
    places.resize(std::min(places.size(), nwanted));
    EXPECT_EQ(audited.places[rule], places) << rule;
  }
}

TEST(Lines, WithErrorsThatAreCountedGiveTheSameAsByTheirWords) {
  const FatalHandler previous = set_fatal_handler(out_of_memory);
  std::size_t nrules = 0;
  for (const auto& [name, texts] : samples()) {
    Random random(2);
    for (const std::string& text : texts) {
      for (int k = 0; k < 40 && !HasFailure(); ++k) {
        const std::string bad = damaged(text, random);
        SCOPED_TRACE(name + " " + testing::PrintToString(bad));
        Scanner whole("in", bad);
        Audited expected;
        read_audited(whole, format(name), bad.size(), expected);
        nrules += expected.counts.size();
        for (const auto& [nthreads, sizes] : kSettings) {
          const Settings settings(nthreads, sizes);
          expect_same_where_counted(format(name), bad, expected, 0);
          expect_same_where_counted(format(name), bad, expected, 2);
        }
      }
    }
  }
  set_fatal_handler(previous);
  EXPECT_GT(nrules, 500U);
}

std::string contents_of(const std::filesystem::path& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

// As every format that is read in blocks.
TEST(Lines, OfAllTestFilesGiveTheSameOnAnyBlocksAndThreads) {
  const FatalHandler previous = set_fatal_handler(out_of_memory);
  int nfiles = 0;
  for (const char* const folder : {QUILLON_CONFORMANCE_CORPUS, QUILLON_TEST_FILES, QUILLON_DATA}) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
      if (!entry.is_regular_file() || entry.file_size() > 20000) continue;
      const std::string text = contents_of(entry.path());
      SCOPED_TRACE(entry.path());
      ++nfiles;
      for (const Format& format : all_formats()) {
        if (format.reads_whole_text || HasFailure()) continue;
        try {
          expect_same_on_any_blocks(format, text, {});
        } catch (const OutOfMemory&) {
          // The counts of its header, on any number of threads.
        }
      }
    }
  }
  set_fatal_handler(previous);
  EXPECT_GT(nfiles, 150);
}

TEST(Scan, FindsThePlainAndTheOddLinesOfAnyText) {
  for (unsigned seed = 1; seed <= 3000; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Random random(seed);
    std::string text;
    const int mostly_plain = 2 + random.below(40);
    for (int k = random.below(120); k > 0; --k) {
      text += random.below(mostly_plain) == 0
                  ? kWords[static_cast<std::size_t>(random.below(static_cast<int>(kWords.size())))]
                  : std::to_string(random.below(2) == 0 ? random.below(100) : random.below(1000000000));
      text += random.below(5) == 0 ? "\n" : " ";
    }
    if (random.below(2) == 0 && !text.empty()) text.pop_back();
    ASSERT_EQ(scanned_lines_of(text) == plain_lines_of(text), true) << testing::PrintToString(text);
    ASSERT_EQ(scanned_lines_of(text, true) == odd_lines_of(text), true) << testing::PrintToString(text);
  }
}

// A reader to whom lines do not matter sees the same words.
TEST(Scan, FindsTheWordsOfAnyTextWithoutItsLines) {
  for (unsigned seed = 1; seed <= 3000; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Random random(seed);
    std::string text;
    const int mostly_short = 2 + random.below(200);
    const int line = 1 + random.below(8);
    for (int k = random.below(400); k > 0; --k) {
      text += random.below(mostly_short) == 0
                  ? kWords[random.below(static_cast<int>(kWords.size()))]
                  : std::to_string(random.below(random.below(9) == 0 ? 1000 : 100));
      text += random.below(line) == 0 ? "\n" : " ";
    }
    if (random.below(2) == 0 && !text.empty()) text.pop_back();
    ASSERT_EQ(scanned_words_of(text) == odd_line_of(text, 0, text.size()), true)
        << testing::PrintToString(text);
  }
}

std::vector<std::string> places_of_errors(const char* name, const std::string& text) {
  Scanner in("in", reader_of(text));
  std::vector<std::string> errors;
  for (const Finding& finding : findings_in(in, format(name), {}))
    errors.push_back(std::to_string(finding.line) + ":" + std::to_string(finding.column) + " " +
                     finding.rule);
  return errors;
}

TEST(FindingsIn, GoOnAtTheNextLine) {
  EXPECT_THAT(places_of_errors("hmetis", "5 3 11\n1 2\n1 4\nx 1\n2 3\n1 1 y 2\n1\n-2\n3 3\n7\n"),
              ElementsAre("3:3 cell-out-of-range", "4:1 not-a-number", "6:5 not-a-number", "8:1 bad-weight",
                          "9:3 trailing-text", "10:1 trailing-text"));
  EXPECT_THAT(places_of_errors("quillon", "1 3 4 4\n1 2\n0\n4 1\n"),
              ElementsAre("3:1 cell-out-of-range", "4:1 cell-out-of-range", "5:1 missing-line"));
  EXPECT_THAT(places_of_errors("kub", "3\n3\n1 1 3\n1 2 1\n1 1 0\n1\nx\n1\n"),
              ElementsAre("3:5 cell-out-of-range", "4:6 missing-pin", "7:1 not-a-number"));
  EXPECT_THAT(places_of_errors("metis", "3 2\n2 4\n2\n0\n"),
              ElementsAre("2:3 cell-out-of-range", "3:1 self-loop", "4:1 cell-out-of-range"));
  EXPECT_THAT(places_of_errors("mtx", kBanner + "real general\n2 2 4\n1 1 1\n3 1 1\n1 2 x\n2 2 1 1\n"),
              ElementsAre("4:1 cell-out-of-range", "5:5 bad-value", "6:7 trailing-text"));
  EXPECT_THAT(places_of_errors("hmetis", "1 2\n1 2\n"), IsEmpty());
}

TEST(Scanner, RefusesEndlessBytesAtTheFirstBlock) {
  for (const char byte : {'\0', '7'}) {
    std::size_t nread = 0;
    Scanner in("in", [&](char* bytes, std::size_t size) {
      std::fill_n(bytes, size, byte);
      nread += size;
      return size;
    });
    NetLists lists;
    EXPECT_EQ(finding_of([&] { format("hmetis").read(in, lists, {}); }).rule,
              byte == '7' ? "number-too-large" : "not-a-number");
    EXPECT_LE(nread, std::size_t{8} << 20);
  }
}

TEST(Finish, RefusesATextThatWasCut) {
  Scanner whole("in", std::string_view("1 2\n"));
  finish(whole);
  Scanner cut("in", Text(std::string_view("1 2\n3\0 4\n", 9)), true);
  EXPECT_EQ(finding_of([&] { finish(cut); }), (Finding{"nul-byte", Severity::kError, "in", 2, 2,
                                                       "found a byte of value 0, expected text", ""}));
}

TEST(ReadText, EndsAtTheFirstBlockOfZeros) {
  const TempFolder folder;
  const std::string path = folder.write("zeros", "");
  std::filesystem::resize_file(path, std::uintmax_t{256} << 20);  // a sparse file
  Source zeros(path);
  Text text;
  EXPECT_FALSE(read_text(zeros, text));
  EXPECT_LE(text.view().size(), std::size_t{4} << 20);

  Source lines(folder.write("lines", std::string("1\n\0\n", 4)));
  Text all;
  EXPECT_TRUE(read_text(lines, all));
  EXPECT_EQ(all.view(), std::string_view("1\n\0\n", 4));
}

TEST(Scanner, ReadsLinesLongerThanABlock) {
  std::string text = "2 300000\n";
  for (int i = 1; i <= 300000; ++i) text += std::to_string(i) + " ";
  text += "\n1 x\n";
  const Settings settings(2, {4096, 8192});
  Scanner in("in", reader_of(text));
  NetLists lists;
  const Finding finding = finding_of([&] { format("hmetis").read(in, lists, {}); });
  EXPECT_EQ(finding.line, 3u);
  EXPECT_EQ(finding.column, 3u);
  EXPECT_EQ(lists.nadj.size(), 300001u);
  const std::size_t error = text.find("299999 ");
  text[error] = 'y';
  Scanner again("in", reader_of(text));
  NetLists others;
  EXPECT_EQ(finding_of([&] { format("hmetis").read(again, others, {}); }).column, error - 9 + 1);
}

TEST(Threads, AreSetByTheProgramOrTheEnvironment) {
  setenv("QUILLON_THREADS", "3", 1);
  EXPECT_EQ(threads(), 3);
  set_threads(5);
  EXPECT_EQ(threads(), 5);
  set_threads(0);
  for (const char* const text : {"", "0", "-1", "x", "3x", "2000"}) {
    setenv("QUILLON_THREADS", text, 1);
    const int nprocessors = threads();
    unsetenv("QUILLON_THREADS");
    EXPECT_EQ(threads(), nprocessors) << text;
  }
}

}  // namespace
}  // namespace quillon::formats
