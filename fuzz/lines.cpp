// The scanner of lines of numbers on any text, against the obvious way.

#include <string>

#include "fuzz/driver.h"
#include "tests/support/plain_lines.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillon;
  const std::string text = fuzz::expanded(data, size);
  const auto lines = plain_lines_of(text);
  fuzz::expect(scanned_lines_of(text) == lines, "other lines of numbers than there are");
  fuzz::expect(scanned_lines_of(text, true) == odd_lines_of(text), "other odd lines than there are");
  fuzz::expect(scanned_words_of(text) == odd_line_of(text, 0, text.size()), "other words than there are");
  return 0;
}
