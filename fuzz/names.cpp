// Tables of names against a map: the input is a list of names, a line each. Then the file of names that the
// input may be.

#include "formats/names.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "formats/findings.h"
#include "formats/labels.h"
#include "fuzz/driver.h"

namespace quillon::fuzz {
namespace {

std::vector<std::string_view> lines_of(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    lines.push_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

void compare_with_map(const std::vector<std::string_view>& lines) {
  std::unordered_map<std::string_view, int> expected;
  std::vector<int> numbers;
  for (const std::string_view line : lines)
    numbers.push_back(expected.try_emplace(line, static_cast<int>(expected.size()) + 1).first->second);

  formats::Names one_by_one;
  formats::Names together;
  std::vector<int> seen(lines.size());
  together.numbers_of(lines, seen.data());
  expect(seen == numbers, "names numbered together differ from the map");
  for (std::size_t k = 0; k < lines.size(); ++k)
    expect(one_by_one.number_of(lines[k]) == numbers[k], "a name differs from the map");
  for (const auto& [name, number] : expected) {
    expect(together.find(name) == number, "a name is not found");
    expect(together.name_of(number) == name, "a number has another name");
  }
  expect(together.size() == static_cast<int>(expected.size()), "the number of names");
}

// What is accepted reads back to the same names after it was written.
void try_labels(const std::string& text) {
  constexpr int kMost = 4;
  static const MemoryFile input;
  static const MemoryFile output;
  input.fill(text);
  for (int count = 0; count <= kMost; ++count) {
    formats::Labels labels;
    try {
      labels = formats::read_labels(input.name(), count, kMost - count);
    } catch (const formats::BadFile&) {
      continue;
    }
    formats::write_labels(labels, output.name());
    const formats::Labels again = formats::read_labels(output.name(), count, kMost - count);
    expect(again.cells == labels.cells && again.nets == labels.nets, "names change by writing");
  }
}

}  // namespace
}  // namespace quillon::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  quillon::fuzz::compare_with_map(quillon::fuzz::lines_of(text));
  quillon::fuzz::try_labels(text);
  return 0;
}
