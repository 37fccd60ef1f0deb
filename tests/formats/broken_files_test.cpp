// A program that survives every broken file: twelve thousand files of all formats read in one process.

#include <gmock/gmock.h>
#include <malloc.h>

#include <cctype>
#include <charconv>
#include <cstdint>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "formats/labels.h"
#include "formats/part_vector.h"
#include "tests/formats/finding_of.h"
#include "tests/formats/temp_folder.h"
#include "tests/support/broken_texts.h"
#include "tests/support/resources.h"
#include "tests/support/throwing.h"
#include "tests/util/variant.h"
#include "util/scope.h"
#include "util/util.h"

// Requests of arrays that no machine has fail like those of the system, in place of ending the program.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the address sanitizer looks for this name
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
  return "allocator_may_return_null=1:max_allocation_size_mb=4000";
}

namespace quillon::formats {
namespace {

using testing::Ge;
using testing::SizeIs;

constexpr int kFiles = 12'000;
constexpr int kWarmedUp = 1'000;
constexpr std::uint64_t kTolerance = 4 << 20;  // bytes of resident memory
constexpr int kCells = 8;                      // for formats without a number of cells in the file

// Whether a text holds a number that is a valid count and leads to large arrays. Still larger numbers are
// refused.
bool announces_much(const std::string& text) {
  constexpr std::int64_t kMuch = 20'000;
  constexpr std::int64_t kMost = 2147483645;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (std::isdigit(static_cast<unsigned char>(text[at])) == 0) continue;
    std::int64_t value = 0;
    const char* const end = text.data() + text.size();
    at = static_cast<std::size_t>(std::from_chars(text.data() + at, end, value).ptr - text.data());
    if (value > kMuch && value <= kMost) return true;
  }
  return false;
}

// A kind of file: how it is read, and its broken texts.
struct Kind {
  std::string name;
  std::function<void(const std::string& filename)> read;
  BrokenTexts texts;

  std::string next_text() {
    std::string text = texts.next();
    while (!name.ends_with(".gz") && announces_much(text)) text = texts.next();
    return text;
  }
};

void read_record(const Format& format, const std::string& filename, const ReadOptions& options) {
  Record record;
  to_record(read_file(filename, format, options), record);
}

void load_record(const std::string& filename, SmallNets small_nets) {
  Record record;
  load(record, filename, {.small_nets = small_nets});
}

std::vector<std::string> originals_of(const std::string& format) {
  const std::map<std::string, std::vector<std::string>> samples = {
      {"quillon", {"1 3 3 5 3\n5 1 2\n6 2 3\n7 3\n1\n2\n3\n", "% c\n0 2 1 2\n0 1\n"}},
      {"hmetis", {"3 4 11\n5 4 1\n6\n7 2\n8\n9\n0\n2\n", "2 3\n1 2\n3\n"}},
      {"kub", {"3\n2\n5 3 2 0 2\n7 0\n7\n0\n9"}},
      {"mtx", {"%%MatrixMarket matrix coordinate real symmetric\n% c\n3 3 3\n1 1 .5\n2 1 1\n3 2 -4e2\n"}},
      {"metis", {"3 2 11\n4 2 5\n1 1 5 3 6\n2 2 6\n", "4 4\n4 2 3\n1\n4 1\n3 1\n"}},
      {"hif",
       {R"({"nodes":[{"node":1,"weight":3},{"node":"a"}],"edges":[{"edge":2,"attrs":{"x":[1]}}],)"
        R"("incidences":[{"edge":2,"node":"a","direction":"head"},{"edge":"e","node":1,"weight":2.5}]})"}},
      {"edges", {"# 1\na, \"b c\"\n2 a %\n", "1 2 3\n4\n"}},
      {"cnf", {"c 1\np cnf 4 3\n1 -2\n0 4 3 4 0\n-1 0\n%\n0\n"}}};
  std::vector<std::string> texts = samples.at(format);
  const std::string corpus = QUILLON_CORPUS "/import_" + (format == "mtx" ? "matrix_market" : format);
  if (std::filesystem::exists(corpus))
    for (std::string& text : texts_in(corpus, "")) texts.push_back(std::move(text));
  if (format == "quillon")
    for (const char* const folder : {QUILLON_TEST_FILES "/good", QUILLON_TEST_FILES "/broken"})
      for (std::string& text : texts_in(folder, ".qhg")) texts.push_back(std::move(text));
  return texts;
}

// Gzip data as of a file with a name: changes of the name mean nothing, so that some broken files are read.
std::string with_name(std::string packed) {
  constexpr std::size_t kFlags = 3;
  constexpr std::size_t kHeader = 10;
  packed[kFlags] = 8;
  return packed.insert(kHeader, std::string("the name of the file before it was compressed") + '\0');
}

std::vector<Kind> all_kinds() {
  std::vector<Kind> kinds;
  unsigned seed = 0;
  for (const Format& format : all_formats()) {
    const auto read = [&format](const std::string& file) { read_record(format, file, {}); };
    const std::vector<std::string> originals = originals_of(std::string(format.name));
    kinds.push_back({std::string(format.name), read, {originals, ++seed}});
    std::vector<std::string> packed;
    for (const std::string& text : originals) packed.push_back(with_name(gzipped(text)));
    kinds.push_back({std::string(format.name) + ".gz", read, {packed, ++seed}});
  }
  const auto read_fine = [](const std::string& file) {
    read_record(format("mtx"), file, {Model::kFineGrain, true});
  };
  kinds.push_back({"fine-grain", read_fine, {originals_of("mtx"), ++seed}});
  for (const SmallNets small_nets : {SmallNets::kFold, SmallNets::kKeep}) {
    const auto read = [small_nets](const std::string& file) { load_record(file, small_nets); };
    kinds.push_back({"detected", read, {originals_of("quillon"), ++seed}});
  }
  kinds.push_back({"parts",
                   [](const std::string& file) { read_parts(file, kCells, 3); },
                   {{"0 1 0 1 2 2 1 0\n", "0\n1\n2\n1\n0\n1\n2\n0\n"}, ++seed}});
  kinds.push_back({"permutation",
                   [](const std::string& file) { read_permutation(file, kCells); },
                   {{"1\n3\n2\n8\n7\n6\n5\n4\n"}, ++seed}});
  kinds.push_back({"labels",
                   [](const std::string& file) { read_labels(file, 2, 1); },
                   {{"cell 1 \"a b\"\ncell 2 5\nnet 1 \"\\u00e9\"\n"}, ++seed}});
  return kinds;
}

class BrokenFilesOfAllFormats : public testing::Test {
 protected:
  void SetUp() override {
#ifdef __GLIBC__
    // Otherwise the heap learns from the blocks freed how much memory to keep, and keeps up to twice as much.
    mallopt(M_MMAP_THRESHOLD, 128 << 10);
    mallopt(M_TRIM_THRESHOLD, 128 << 10);
#endif
    warning_ = set_warning_handler([](const char* /*text*/) {});
  }
  void TearDown() override { set_warning_handler(warning_); }

  // Reads a file and notes the outcome. Any exception other than these two fails the test.
  void read(const Kind& kind, const std::string& filename) {
    const ThrowingHandler throwing;
    const Scope scope;
    try {
      kind.read(filename);
      ++naccepted_;
    } catch (const BadFile& error) {
      copy_to(outcome_, error.finding().rule);
    } catch (const FatalError& error) {
      copy_to(outcome_, "fatal");
    }
  }

  // Reads the next text of a kind and checks that the read has released everything.
  void read_next(Kind& kind, const std::string& filename) {
    const std::string text = kind.next_text();
    std::ofstream(filename, std::ios::binary) << text;
    outcome_[0] = '\0';
    const Held before;
    read(kind, filename);
    const Held after;
    ASSERT_EQ(after, before) << kind.name << ": " << outcome_ << "\nfor a text of " << text.size()
                             << " bytes:\n"
                             << testing::PrintToString(text);
    if (outcome_[0] != '\0') outcomes_.insert(outcome_);
    ++(outcome_[0] == '\0' ? accepted_ : refused_)[kind.name];
  }

  int naccepted_ = 0;
  std::set<std::string> outcomes_;
  std::map<std::string, int> accepted_;
  std::map<std::string, int> refused_;

 private:
  // Copies without allocating: the memory in use is being compared.
  template <std::size_t kSize>
  static void copy_to(char (&copy)[kSize], const std::string& text) {
    copy[text.copy(copy, kSize - 1)] = '\0';
  }

  char outcome_[64] = "";
  TextHandler warning_ = nullptr;
};

TEST_F(BrokenFilesOfAllFormats, LeaveNothingBehind) {
  const TempFolder folder;
  const std::string filename = folder.at("file");
  std::vector<Kind> kinds = all_kinds();
  // The first error, stream and block of each kind may allocate memory that is kept for reuse.
  for (Kind kind : kinds)
    for (int nfiles = 0; nfiles < 20; ++nfiles) read(kind, folder.write("file", kind.next_text()));
  naccepted_ = 0;

  std::uint64_t warmed_up = 0;
  for (int nfiles = 1; nfiles <= kFiles && !HasFatalFailure(); ++nfiles) {
    read_next(kinds[static_cast<std::size_t>(nfiles) % kinds.size()], filename);
    if (nfiles == kWarmedUp) warmed_up = resident_bytes();
  }

  for (const Kind& kind : kinds) {
    EXPECT_GE(accepted_[kind.name], 5) << kind.name;
    EXPECT_GE(refused_[kind.name], 100) << kind.name;
  }
  EXPECT_GE(naccepted_, kFiles / 25);
  EXPECT_LE(naccepted_, kFiles / 2);
  EXPECT_THAT(outcomes_, SizeIs(Ge(25)));
  if (kAddressSanitizer)
    GTEST_SKIP() << "resident memory not compared: the address sanitizer keeps freed blocks";
  const std::uint64_t resident = resident_bytes();
  RecordProperty("resident_kib_then", static_cast<int>(warmed_up >> 10));
  RecordProperty("resident_kib_now", static_cast<int>(resident >> 10));
  EXPECT_LE(resident, warmed_up + kTolerance);
}

}  // namespace
}  // namespace quillon::formats
