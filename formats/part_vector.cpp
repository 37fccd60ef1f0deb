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

std::vector<int> read_parts(const std::string& filename, int ncells, int nparts, int first) {
  Scanner in = open_scanner(filename);
  const bool is_bounded = nparts < kAnyNumber;
  const int last = nparts == 0 ? ncells - 1 + first : is_bounded ? nparts - 1 + first : nparts;
  const std::string range = ", from " + std::to_string(first) +
                            (is_bounded ? " to " + std::to_string(last) + ", of cell " : ", of cell ");
  std::vector<int> parts{0};
  bool has_part_0 = first == 1;
  for (int i = 1; i <= ncells; ++i) {
    const Token token = next_token(in);
    const std::optional<int> part = number_in(token, {first, last, {}});
    if (!part) {
      const bool is_large = nparts == 0 && number_in(token, {first, kAnyNumber, {}});
      const bool is_last_from_1 = !has_part_0 && number_in(token, {nparts, nparts, {}});
      unexpected(in, token, "part-out-of-range", "the part number" + range + std::to_string(i),
                 is_large ? "if there are more parts than cells, say it with -k and --allow-empty-parts"
                 : is_last_from_1 ? "if the parts count from 1, say it with --parts-from 1"
                                  : "");
    }
    has_part_0 = has_part_0 || *part == 0;
    parts.push_back(*part - first);
  }
  expect_end(in, "the parts of " + std::to_string(ncells) + " cells");
  return parts;
}

std::vector<int> read_fixed_parts(const std::string& filename, int ncells, int nparts, int first) {
  Scanner in = open_scanner(filename);
  const int last = nparts == 0 ? kAnyNumber : nparts - 1 + first;
  const std::string range = "the part number, from " + std::to_string(first) +
                            (nparts == 0 ? "" : " to " + std::to_string(last)) + ", or -1, of cell ";
  std::vector<int> parts{-1};
  for (int i = 1; i <= ncells; ++i) {
    const Token token = next_token(in);
    if (number_in(token, {-1, -1, {}}))
      parts.push_back(-1);
    else
      parts.push_back(as_number(in, token, {first, last, range + std::to_string(i), "part-out-of-range"}) -
                      first);
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
