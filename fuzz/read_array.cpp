// The reader of numbers beside one that goes word by word.

#include <algorithm>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

#include "fuzz/driver.h"
#include "util/util.h"

namespace {

// Opened last: what an error leaves open has to be closed.
std::FILE* opened = nullptr;

}  // namespace

// In place of fopen, by --wrap of the linker, with the name that it asks for.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" std::FILE* __real_fopen(const char* name, const char* mode);
extern "C" std::FILE* __wrap_fopen(const char* name, const char* mode);

extern "C" std::FILE* __wrap_fopen(const char* name, const char* mode) {
  opened = __real_fopen(name, mode);
  return opened;
}
// NOLINTEND(bugprone-reserved-identifier)

namespace quillon {
namespace fuzz {
namespace {

struct Fatal {
  std::string text;
};

constexpr int kMarker = -7;
constexpr int kFirst = 2;

struct Outcome {
  std::string fatal;
  std::vector<int> values;
  bool operator==(const Outcome&) const = default;
};

Outcome read_with_module(const char* filename, int count) {
  Outcome outcome{"", std::vector<int>(static_cast<std::size_t>(kFirst + count), kMarker)};
  try {
    read_array(filename, outcome.values.data(), count, kFirst);
  } catch (const Fatal& fatal) {
    outcome.fatal = fatal.text;
    ufclose(opened);
  }
  return outcome;
}

bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

struct Word {
  std::string text;
  int line;
};

std::vector<Word> words_of(const std::string& text) {
  std::vector<Word> words;
  bool in_word = false;
  int line = 1;
  for (const char c : text) {
    if (c == '\n') ++line;
    if (!is_space(c)) {
      if (!in_word) words.push_back({"", line});
      words.back().text += c;
    }
    in_word = !is_space(c);
  }
  return words;
}

std::string shown(const std::string& word) {
  std::string text = word.substr(0, 40);
  for (char& c : text)
    if (c < 32 || c > 126) c = '?';
  return text + (word.size() > 40 ? "..." : "");
}

// Why a word cannot be taken, or nothing.
std::string fault(const std::string& word, int& value) {
  const std::string digits = word.substr(word.starts_with('-') || word.starts_with('+') ? 1 : 0);
  if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) return "not an integer";
  const std::string number = word.starts_with('+') ? digits : word;
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
  return error == std::errc() ? "" : "out of 32-bit range";
}

// Whether word k can be taken; if not, `fatal` says why.
bool take(const std::string& name, const std::vector<Word>& words, std::size_t k, int& value,
          std::string& fatal) {
  if (k == words.size()) {
    fatal.append(" is missing, '").append(name).append("' ends after entry ").append(std::to_string(k));
    return false;
  }
  const std::string why = fault(words[k].text, value);
  if (why.empty()) return true;
  fatal.append(" is ").append(why).append(" in '").append(name).append("', line ");
  fatal.append(std::to_string(words[k].line)).append(": \"").append(shown(words[k].text)).append("\"");
  return false;
}

Outcome read_slowly(const std::string& name, const std::vector<Word>& words, int count) {
  Outcome outcome{"", std::vector<int>(static_cast<std::size_t>(kFirst + count), kMarker)};
  for (int k = 0; k < count; ++k) {
    std::string fatal = "read_array: entry " + std::to_string(k + 1) + " of " + std::to_string(count);
    int value = 0;
    if (!take(name, words, static_cast<std::size_t>(k), value, fatal)) {
      outcome.fatal = fatal;
      return outcome;
    }
    outcome.values.at(kFirst + static_cast<std::size_t>(k)) = value;
  }
  return outcome;
}

void compare(const MemoryFile& file, const std::vector<Word>& words, int count) {
  const Outcome seen = read_with_module(file.name(), count);
  const Outcome expected = read_slowly(file.name(), words, count);
  if (seen == expected) return;
  std::fprintf(stderr, "seen:     %s\nexpected: %s\n", seen.fatal.c_str(), expected.fatal.c_str());
  for (std::size_t k = 0; k < seen.values.size(); ++k)
    if (seen.values[k] != expected.values[k])
      std::fprintf(stderr, "entry %zu is %d, expected %d\n", k, seen.values[k], expected.values[k]);
  found("the readers differ");
}

}  // namespace
}  // namespace fuzz

// In place of those that write, and of the one that ends the program.
void errexit(const char* format, ...) {
  char text[1024];
  std::va_list arguments;
  va_start(arguments, format);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): started one line above
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  throw fuzz::Fatal{text};
}

void uwarning(const char* /*format*/, ...) {}

int uprintf(const char* /*format*/, ...) { return 0; }

}  // namespace quillon

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillon::fuzz;
  static const MemoryFile file;
  const std::string text = expanded(data, size);
  file.fill(text);
  const std::vector<Word> words = words_of(text);
  const int nwords = static_cast<int>(words.size());
  for (const int count : {0, nwords / 2, nwords, nwords + 1}) compare(file, words, count);
  return 0;
}
