#include "formats/part_vector.h"

#include <limits>
#include <optional>

#include "formats/scanner.h"
#include "formats/text_writer.h"

namespace quillon::formats {
namespace {

constexpr int kAnyNumber = std::numeric_limits<int>::max();

void write_by_line(const std::vector<int>& values, const char* filename, const char* tag) {
  TextWriter out(filename, tag);
  for (std::size_t i = 1; i < values.size(); ++i) {
    char* at = print(out.room(TextWriter::kNumber), values[i]);
    *at++ = '\n';
    out.end(at);
  }
  out.close();
}

}  // namespace

std::vector<int> read_parts(const std::string& filename, int ncells, int nparts) {
  Scanner in = open_scanner(filename);
  const bool is_bounded = nparts < kAnyNumber;
  const int last = nparts == 0 ? ncells - 1 : is_bounded ? nparts - 1 : nparts;
  const std::string range =
      is_bounded ? ", from 0 to " + std::to_string(last) + ", of cell " : ", from 0, of cell ";
  std::vector<int> parts{0};
  for (int i = 1; i <= ncells; ++i) {
    const Token token = next_token(in);
    const std::optional<int> part = number_in(token, {0, last, {}});
    if (!part) {
      const bool is_large = nparts == 0 && number_in(token, {0, kAnyNumber, {}});
      unexpected(in, token, "part-out-of-range", "the part number" + range + std::to_string(i),
                 is_large ? "if there are more parts than cells, say it with -k" : "");
    }
    parts.push_back(*part);
  }
  expect_end(in, "the parts of " + std::to_string(ncells) + " cells");
  return parts;
}

void write_parts_by_line(const std::vector<int>& parts, const char* filename) {
  write_by_line(parts, filename, "quillon partition-info: parts");
}

std::vector<int> read_permutation(const std::string& filename, int ncells) {
  Scanner in = open_scanner(filename);
  const Range cells{1, ncells, "a cell number from 1 to " + std::to_string(ncells), "cell-out-of-range"};
  constexpr std::size_t kUnseen = std::numeric_limits<std::size_t>::max();
  std::vector<int> order(static_cast<std::size_t>(ncells) + 1);
  std::vector<std::size_t> seen_at(order.size(), kUnseen);
  for (int i = 1; i <= ncells; ++i) {
    const Token token = next_token(in);
    const int cell = as_number(in, token, cells);
    std::size_t& seen = seen_at[static_cast<std::size_t>(cell)];
    if (seen != kUnseen)
      unexpected(in, token, "repeated-cell",
                 "a cell not named before, which it was on line " + std::to_string(line_of(in, seen)));
    seen = token.offset;
    order[static_cast<std::size_t>(i)] = cell;
  }
  expect_end(in, "the numbers of " + std::to_string(ncells) + " cells");
  return order;
}

void write_permutation(const std::vector<int>& order, const char* filename) {
  write_by_line(order, filename, "quillon reorder: order");
}

}  // namespace quillon::formats
