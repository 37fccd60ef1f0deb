// The scanner of lines of numbers on any text, against the obvious way.

#include <string>

#include "fuzz/driver.h"
#include "tests/support/plain_lines.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillon;
  const std::string text = fuzz::expanded(data, size);
  fuzz::expect(scanned_lines_of(text) == plain_lines_of(text), "other lines of numbers than there are");
  return 0;
}
