// Telling formats apart by the beginning of a file.

#include "formats/detect.h"

#include <gmock/gmock.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "tests/formats/finding_of.h"
#include "tests/formats/temp_folder.h"
#include "tests/support/records.h"

namespace quillon::formats {
namespace {

std::string detected(const std::string& text, bool is_whole = true) {
  const Format* const format = format_of_text({text, is_whole});
  return format == nullptr ? "none" : std::string(format->name);
}

TEST(FormatOfText, KnowsOurOwnByItsHeader) {
  for (const char* const text : {"1 2 1 2\n1 2\n", "% c\n0 2 1 2 3 1\n5 0 1\n1 1\n", "1 0 0 0",
                                 "1 2 1 2 words\n", " 1\t3  2 5\r\n", "0 0 10 1\n"})
    EXPECT_EQ(detected(text), "quillon") << text;
}

TEST(FormatOfText, KnowsHmetisByItsHeaderAndItsLines) {
  for (const char* const text : {"3 4\n1 2\n2 3 4\n1\n", "2 3 1\n7 1 2\n8 3\n", "1 2 10\n1 2\n4\n5\n",
                                 "% c\n2 3 11\n1 1\n1 2 3\n1\n1\n1", "2 2\n\n1 2\n", "0 3\n",
                                 "3 3\n1 2 3\n1 2\n3 1\n", "2 5\n1 2\n9 9\n"})
    EXPECT_EQ(detected(text), "hmetis") << text;
}

TEST(FormatOfText, KnowsMetisByEdgesThatBothEndsName) {
  for (const char* const text :
       {"3 3\n2 3\n1 3\n1 2\n", "2 1 1\n2 7\n1 7\n", "3 2 11\n5 2 1\n5 1 1 3 1\n5 2 1\n",
        "2 1 100\n1 2\n1 1\n", "2 1 10 2\n4 4 2\n4 4 1\n", "% c\n4 1\n\n3\n2\n\n",
        "3 2 010\n1 2\n1 1 3\n1 2\n"})
    EXPECT_EQ(detected(text), "metis") << text;
  // A loop, an edge named once, a line too few or an edge too few: these are hypergraphs.
  for (const char* const text : {"3 3\n1 3\n1 3\n1 2\n", "3 3\n2 3\n3\n1 2\n", "2 2\n2\n1\n"})
    EXPECT_EQ(detected(text), "hmetis") << text;
}

TEST(FormatOfText, KnowsTheOtherFormatsByTheirFirstBytes) {
  EXPECT_EQ(detected("%%MatrixMarket matrix coordinate pattern general\n1 1 0\n"), "mtx");
  EXPECT_EQ(detected("%%matrixmarket MATRIX"), "mtx");
  EXPECT_EQ(detected("\n {\"incidences\":[]}"), "hif");
  EXPECT_EQ(detected("2\n1\n1 2 0 1\n1\n1\n"), "kub");
  EXPECT_EQ(detected("0\n0\n"), "kub");
}

TEST(FormatOfText, SaysNothingOfOtherTexts) {
  for (const char* const text : {"", "\n", "% only\n", "words\n", "1\n", "5 2 7\n1 2\n", "a b\nb c\n", "[1]",
                                 "2 3 2 3\n", "-1 2\n", "%"})
    EXPECT_EQ(detected(text), "none") << text;
}

// A graph of many vertices in a ring, of which the sample shows the first.
TEST(FormatOfText, DecidesByTheLinesThatItHas) {
  std::string ring = "1000000 1000000\n1000000 2\n";
  std::string nets = "1000000 1000000\n1000000 2\n";
  for (int v = 2; v < 50; ++v) {
    ring += std::to_string(v - 1) + " " + std::to_string(v + 1) + "\n";
    nets += std::to_string(v - 1) + " " + std::to_string(v + 2) + "\n";
  }
  EXPECT_EQ(detected(ring, false), "metis");
  EXPECT_EQ(detected(ring + "49 5", false), "metis");  // the last line goes on
  EXPECT_EQ(detected(nets, false), "hmetis");
  EXPECT_EQ(detected(ring, true), "hmetis");  // cut off: neither; the reader says where
}

// The file is read once: what was looked at is still there for the reader.
TEST(Load, FindsTheFormatOfEveryExampleWithoutItsSuffix) {
  const TempFolder folder;
  int nexamples = 0;
  for (const auto& [name, subfolder] :
       std::vector<std::pair<std::string, std::string>>{{"hmetis", "import_hmetis"},
                                                        {"kub", "import_kub"},
                                                        {"mtx", "import_matrix_market"},
                                                        {"metis", "import_metis"},
                                                        {"hif", "import_hif"}}) {
    for (const auto& entry :
         std::filesystem::directory_iterator(std::filesystem::path(QUILLON_CORPUS) / subfolder)) {
      if (entry.path().filename() == "like_a_graph") continue;  // and therefore read as one
      SCOPED_TRACE(entry.path());
      std::ostringstream text;
      text << std::ifstream(entry.path(), std::ios::binary).rdbuf();
      Record expected;
      load(expected, entry.path(), {.format = &format(name)});
      for (const std::string& file :
           {folder.write("plain", text.str()), folder.write("packed", gzipped(text.str()))}) {
        Record record;
        std::string chosen;
        const Loaded loaded =
            load(record, file, {.on_choice = [&chosen](const Format& f) { chosen = f.name; }});
        EXPECT_EQ(loaded.format->name, name);
        EXPECT_EQ(chosen, name);
        EXPECT_EQ(pins_of_nets(record.h), pins_of_nets(expected.h));
      }
      ++nexamples;
    }
  }
  EXPECT_GE(nexamples, 10);
}

TEST(Load, BelievesTheContentWhereItContradictsTheSuffix) {
  const TempFolder folder;
  const auto format_of = [&folder](const std::string& name, const std::string& text) {
    Record record;
    std::string choice = "by name ";
    const Loaded loaded = load(record, folder.write(name, text),
                               {.on_choice = [&choice](const Format&) { choice = "by content "; }});
    return choice + std::string(loaded.format->name);
  };
  EXPECT_EQ(format_of("a.hgr", "1 2 1 2\n1 2\n"), "by content quillon");
  EXPECT_EQ(format_of("a.qhg", "2 2\n1 2\n1 2\n"), "by content hmetis");
  EXPECT_EQ(format_of("a.mtx", "{\"incidences\":[]}"), "by content hif");
  EXPECT_EQ(format_of("a.json", "%%MatrixMarket matrix coordinate pattern general\n1 1 0\n"),
            "by content mtx");
  EXPECT_EQ(format_of("a.kub", "3 3\n2 3\n1 3\n1 2\n"), "by content metis");
  // No contradiction: the header fits.
  EXPECT_EQ(format_of("a.hgr", "3 3\n2 3\n1 3\n1 2\n"), "by name hmetis");
  EXPECT_EQ(format_of("b.qhg", "1 2 1 2\n1 2\n"), "by name quillon");
}

TEST(Load, LeavesABrokenFileToTheReaderOfItsSuffix) {
  const TempFolder folder;
  Record record;
  const std::string graph = folder.write("a.graph", "3 3\n2 3\n1 3\n1\n");
  EXPECT_EQ(finding_of([&] { load(record, graph, {}); }).rule,
            finding_of([&] { read_file(graph, format("metis"), {}); }).rule);
  const std::string own = folder.write("a.qhg", "words\n");
  EXPECT_EQ(finding_of([&] { load(record, own, {}); }).rule, "not-a-number");
}

TEST(Load, RefusesAFileOfNoKnownFormat) {
  const TempFolder folder;
  Record record;
  const std::string words = folder.write("words.txt", "words\n");
  EXPECT_EQ(
      finding_of([&] { load(record, words, {}); }),
      error_of_file("unknown-format", words, "cannot tell the format of '" + words + "'; name the format"));
  const std::string empty = folder.write("empty.txt", "");
  EXPECT_EQ(finding_of([&] { load(record, empty, {}); }),
            error_of_file("unknown-format", empty,
                          "cannot tell the format of '" + empty + "', which is empty; name the format"));
}

// A text that ends where a page ends, with nothing readable after it.
class GuardedText {
 public:
  explicit GuardedText(std::size_t capacity)
      : page_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))), size_((capacity / page_ + 2) * page_) {
    begin_ =
        static_cast<char*>(mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    mprotect(begin_ + size_ - page_, page_, PROT_NONE);
  }
  ~GuardedText() { munmap(begin_, size_); }
  GuardedText(const GuardedText&) = delete;
  GuardedText& operator=(const GuardedText&) = delete;

  std::string_view put(const std::string& text) {
    char* const at = begin_ + size_ - page_ - text.size();
    std::memcpy(at, text.data(), text.size());
    return {at, text.size()};
  }

 private:
  std::size_t page_;
  std::size_t size_;
  char* begin_;
};

TEST(FormatOfText, NeverReadsOutsideTheText) {
  constexpr std::string_view kPieces[] = {"1",
                                          "0",
                                          "2 ",
                                          "11",
                                          " ",
                                          "\n",
                                          "\n\n",
                                          "%",
                                          "%%MatrixMarket",
                                          "{",
                                          "-",
                                          "+",
                                          "\r",
                                          "\t",
                                          "x",
                                          "9999999999999999999999",
                                          "3 3\n",
                                          "2 1\n2\n1\n",
                                          "1 2 1 2\n"};
  GuardedText guarded(4096);
  std::mt19937 random(1);
  int nfound = 0;
  for (int k = 0; k < 20000; ++k) {
    std::string text;
    for (std::size_t n = random() % 12; n > 0; --n) text += kPieces[random() % std::size(kPieces)];
    const bool is_whole = random() % 2 == 0;
    const Format* const format = format_of_text({guarded.put(text), is_whole});
    EXPECT_EQ(format, format_of_text({text, is_whole}));  // depends on the text alone
    nfound += format != nullptr ? 1 : 0;
  }
  EXPECT_GT(nfound, 1000);
}

}  // namespace
}  // namespace quillon::formats
