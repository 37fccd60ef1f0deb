#include <cctype>
#include <cinttypes>
#include <cstdlib>
#include <cstring>
#include <string>

#include "oracle/oracle.h"
#include "oracle/services.h"
#include "util/util.h"

namespace quillon::oracle {
namespace {

std::string contents(const char* filename) {
  std::FILE* const file = ufopen(filename, "r", "read_array");
  std::string text;
  char block[1 << 16];
  for (std::size_t n = 0; (n = std::fread(block, 1, sizeof block, file)) > 0;) text.append(block, n);
  ufclose(file);
  return text;
}

bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

bool is_integer(const char* word, const char* end) {
  if (*word == '-' || *word == '+') ++word;
  if (word == end) return false;
  for (; word != end; ++word)
    if (*word < '0' || *word > '9') return false;
  return true;
}

// A word as messages show it.
std::string shown(const char* word, const char* end) {
  std::string text(word, end);
  const bool is_cut = text.size() > 40;
  text.resize(is_cut ? 40 : text.size());
  for (char& c : text)
    if (std::isprint(static_cast<unsigned char>(c)) == 0) c = '?';
  return is_cut ? text + "..." : text;
}

}  // namespace

void read_array(const char* filename, std::int32_t* array, int count, int first) {
  const std::string text = contents(filename);
  const char* at = text.data();
  const char* const text_end = at + text.size();
  std::int64_t line = 1;
  for (int k = 0; k < count; ++k) {
    for (; at != text_end && is_space(*at); ++at)
      if (*at == '\n') ++line;
    if (at == text_end)
      errexit("read_array: entry %d of %d is missing, '%s' ends after entry %d", k + 1, count, filename, k);

    const char* const word = at;
    while (at != text_end && !is_space(*at)) ++at;
    if (!is_integer(word, at))
      errexit("read_array: entry %d of %d is not an integer in '%s', line %" PRId64 ": \"%s\"", k + 1, count,
              filename, line, shown(word, at).c_str());
    const long long value = std::strtoll(word, nullptr, 10);
    if (value != static_cast<std::int32_t>(value))
      errexit("read_array: entry %d of %d is out of 32-bit range in '%s', line %" PRId64 ": \"%s\"", k + 1,
              count, filename, line, shown(word, at).c_str());
    array[first + k] = static_cast<std::int32_t>(value);
  }
}

void read_part_info(Hypergraph* h, const char* filename) {
  int* const parts = services.imalloc(std::int64_t{h->_c} + 1, "read_part_info: ta");
  services.read_array(filename, parts, h->_c, 1);
  for (int i = 1; i <= h->_c; ++i) h->_clst[i].pno = parts[i];
  services.free(parts);
}

}  // namespace quillon::oracle
