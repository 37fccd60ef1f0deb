// The reader of numbers against its twin.

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/driver.h"
#include "oracle/oracle.h"
#include "util/util.h"

namespace quillon::fuzz {
namespace {

struct Fatal {
  std::string text;
};

[[noreturn]] void throw_fatal(const char* message) { throw Fatal{message}; }

constexpr int kMarker = -7;
constexpr int kFirst = 2;

struct Outcome {
  std::string fatal;
  std::vector<int> values;
  bool operator==(const Outcome&) const = default;
};

using Reader = void(const char* filename, std::int32_t* array, int count, int first);

// Of the first entry with an error, in "read_array: entry 3 of 5 ..."; 0 if none is named.
int entry_of(const std::string& fatal) {
  constexpr std::string_view kStart = "read_array: entry ";
  return fatal.starts_with(kStart) ? static_cast<int>(std::strtol(fatal.c_str() + kStart.size(), nullptr, 10))
                                   : 0;
}

// Entries from an error on are left out: they may be overwritten.
Outcome read_by(Reader* reader, const char* filename, int count) {
  Outcome outcome{"", std::vector<int>(static_cast<std::size_t>(kFirst + count), kMarker)};
  try {
    reader(filename, outcome.values.data(), count, kFirst);
  } catch (const Fatal& fatal) {
    outcome.fatal = fatal.text;
    if (const int entry = entry_of(fatal.text); entry > 0)
      outcome.values.resize(static_cast<std::size_t>(kFirst + entry - 1));
  }
  return outcome;
}

int count_words(const std::string& text) {
  int nwords = 0;
  bool in_word = false;
  for (const char c : text) {
    const bool is_space = c == ' ' || (c >= '\t' && c <= '\r');
    if (!is_space && !in_word) ++nwords;
    in_word = !is_space;
  }
  return nwords;
}

void compare(const MemoryFile& file, int count) {
  const Outcome seen = read_by(quillon::read_array, file.name(), count);
  const Outcome expected = read_by(oracle::read_array, file.name(), count);
  if (seen == expected) return;
  std::fprintf(stderr, "seen:     %s\nexpected: %s\n", seen.fatal.c_str(), expected.fatal.c_str());
  for (std::size_t k = 0; k < seen.values.size(); ++k)
    if (seen.values[k] != expected.values[k])
      std::fprintf(stderr, "entry %zu is %d, expected %d\n", k, seen.values[k], expected.values[k]);
  found("the readers differ");
}

}  // namespace
}  // namespace quillon::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillon::fuzz;
  static const MemoryFile file;
  quillon::set_fatal_handler(throw_fatal);
  const std::string text = expanded(data, size);
  file.fill(text);
  const int nwords = count_words(text);
  for (const int count : {0, nwords / 2, nwords, nwords + 1}) compare(file, count);
  return 0;
}
