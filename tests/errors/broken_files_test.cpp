// A program that survives every error of the module: thousands of broken files read in one process.

#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "tests/support/broken_texts.h"
#include "tests/support/records.h"
#include "tests/support/resources.h"
#include "tests/support/temp_file.h"
#include "tests/support/throwing.h"
#include "tests/util/variant.h"
#include "util/scope.h"
#include "util/util.h"

namespace quillon {
namespace {

using testing::Ge;
using testing::SizeIs;

constexpr int kFiles = 10'000;
constexpr int kWarmedUp = 1'000;
constexpr std::uint64_t kTolerance = 3 << 20;  // bytes of resident memory

// Whether the readers of hypergraphs get a text. They never return if its last line is a comment, and a
// header of large numbers makes them fill large arrays.
bool is_readable(const std::string& text) {
  const std::size_t last = text.find_last_of('\n', text.size() < 2 ? 0 : text.size() - 2);
  if (text.empty() || text[last == std::string::npos ? 0 : std::min(last + 1, text.size() - 1)] == '%')
    return false;

  std::size_t header = 0;
  while (text[header] == '%') header = text.find('\n', header) + 1;
  int ndigits = 0;
  for (; header < text.size() && text[header] != '\n'; ++header) {
    ndigits = std::isdigit(static_cast<unsigned char>(text[header])) != 0 ? ndigits + 1 : 0;
    if (ndigits > 5) return false;
  }
  return true;
}

using Reader = void (*)(const char* filename);

void read_standard(const char* filename) {
  Hypergraph h;
  read_hypergraph(&h, filename, 1);
  free_hypergraph(&h);
}

void read_one_pin(const char* filename) {
  Hypergraph h;
  read_hypergraph_with_onepin_nets(&h, filename, 1);
  free_hypergraph(&h);
}

void read_net_arrays(const char* filename) {
  int ncells = 0, nnets = 0, *xnadj = nullptr, *nadj = nullptr;
  read_hypergraph_netar(filename, &ncells, &nnets, &xnadj, &nadj);
  _usfree(nadj);
  _usfree(xnadj);
}

void read_parts(const char* filename) {
  Record r({.ncells = 8, .pins = {}});
  read_part_info(&r.h, filename);
}

std::vector<std::string> hypergraph_texts() {
  std::vector<std::string> texts = texts_in(QUILLON_TEST_FILES "/good", ".qhg");
  for (const char* const folder : {QUILLON_TEST_FILES "/broken", QUILLON_DATA})
    for (std::string& text : texts_in(folder, ".qhg")) texts.push_back(std::move(text));
  return texts;
}

std::vector<std::string> part_texts() {
  return {"0 1 0 1 2 2 1 0\n", "0\n1\n2\n3\n0\n1\n2\n3\n", "-1 2147483647 -2147483648 0 0 0 0 0 9\n", ""};
}

class BrokenFiles : public testing::Test {
 protected:
  void SetUp() override {
    warning_ = set_warning_handler([](const char* /*text*/) {});
    // Warms up: the first error, stream and block may allocate memory that is kept for reuse.
    fatal_text([] { read_standard("no/such/file"); });
    fatal_text([] { read_standard(QUILLON_DATA "/davis.qhg"); });
  }
  void TearDown() override { set_warning_handler(warning_); }

  // Reads a text with each reader and checks that each call has released everything.
  void read(const std::string& text, const std::vector<Reader>& readers) {
    const TempFile file(text);
    for (const Reader reader : readers) {
      char message[100];
      const Held before;
      std::snprintf(message, sizeof message, "%s", fatal_text([&] { reader(file.name()); }).c_str());
      const Held after;
      ASSERT_EQ(after, before) << message << "\nfor a text of " << text.size() << " bytes:\n" << text;
      note(message, file.name());
    }
  }

  // Counts errors, and kinds of errors by the first words of the message.
  void note(std::string message, const std::string& filename) {
    ++(message == kNoFatalError ? nread_ : nerrors_);
    if (const std::size_t at = message.find(filename); at != std::string::npos)
      message.erase(at, filename.size());
    std::erase_if(message, [](char byte) { return byte == '-' || (byte >= '0' && byte <= '9'); });
    kinds_.insert(message.substr(0, 40));
  }

  int nerrors_ = 0;
  int nread_ = 0;
  std::set<std::string> kinds_;

 private:
  TextHandler warning_ = nullptr;
};

TEST_F(BrokenFiles, LeaveNothingBehind) {
  BrokenTexts hypergraphs(hypergraph_texts(), 1);
  BrokenTexts parts(part_texts(), 2);
  const std::vector<Reader> readers = {read_standard, read_one_pin, read_net_arrays, read_parts};
  // Touches the pages of the line buffer that longer lines, which are rare, would touch later.
  read(std::string(8 << 20, '%') + "\n0 0 0 0\n", {read_standard});
  std::uint64_t warmed_up = 0;
  for (int nfiles = 1; nfiles <= kFiles && !HasFatalFailure(); ++nfiles) {
    if (nfiles % 10 == 0) {
      read(parts.next(), {read_parts});
    } else {
      std::string text = hypergraphs.next();
      while (!is_readable(text)) text = hypergraphs.next();
      if (kAddressSanitizer)  // it needs 4 ms to allocate the line buffer of 16 MiB
        read(text, {readers[static_cast<std::size_t>(nfiles) % readers.size()]});
      else
        read(text, readers);
    }
    if (nfiles == kWarmedUp) warmed_up = resident_bytes();
  }

  EXPECT_GE(nerrors_, kFiles / 2);
  EXPECT_GE(nread_, kFiles / 20);
  EXPECT_THAT(kinds_, SizeIs(Ge(12)));
  if (kAddressSanitizer)
    GTEST_SKIP() << "resident memory not compared: the address sanitizer keeps freed blocks";
  const std::uint64_t resident = resident_bytes();
  RecordProperty("resident_kib_then", static_cast<int>(warmed_up >> 10));
  RecordProperty("resident_kib_now", static_cast<int>(resident >> 10));
  EXPECT_LE(resident, warmed_up + kTolerance);
}

// write_kub_hypergraph closes its stream by std::fclose.
TEST_F(BrokenFiles, WrittenAfterOthersLeaveNothingBehind) {
  const Record r({.ncells = 2, .pins = {{1, 2}}});
  const TempFile file;
  for (int round = 0; round < 2; ++round) {
    const Held before;
    EXPECT_EQ(fatal_text([&] {
                write_kub_hypergraph(&r.h, file.name());
                write_hmetis_hypergraph(&r.h, file.name());
                write_kub_hypergraph(&r.h, file.name());
                write_partvec(2, r.cell_list.data(), "no/such/file");
              }),
              "ufopen: cannot open 'no/such/file' with mode \"w\" for \"write_part_info: ofp\": "
              "No such file or directory");
    if (round > 0) {
      EXPECT_EQ(Held(), before);
    }
  }
}

}  // namespace
}  // namespace quillon
